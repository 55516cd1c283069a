// What the XML wrapper does when the DOM or the memory fails it.

#include <gtest/gtest.h>

#include <functional>

#include "pal/test_hooks.h"
#include "tests/unit/ccixml_fixture.h"

namespace custom_bidi::test {
namespace {

class CcixmlFaultTest : public CcixmlTest {
 protected:
  /// The result of `body` while the n-th call of `function` fails.
  static DWORD WithFault(const char* function, int n, const std::function<DWORD()>& body) {
    pal::FailNthCallOf(function, n);
    const DWORD code = body();
    EXPECT_TRUE(pal::FaultFired()) << function;
    pal::ClearFaults();
    return code;
  }
};

TEST_F(CcixmlFaultTest, EachGivesItsCode) {
  const auto root = [&] { return xml_.GetRootNode(out_.Put()); };
  const auto one = [&] { return xml_.GetPathedNode(W("A"), out_.Put()); };
  const auto all = [&] { return xml_.GetPathedNodeList(W("A"), list_.Put()); };
  const auto array = [&] { return xml_.GetPathedNodeListAsArray(W("A"), nodes_); };
  const auto attribute = [&] { return xml_.GetAttributeValue(node_.Get(), W("Name"), value_); };
  const auto load = [&] { return xml_.Load(kFile); };
  const struct {
    const char* function;
    std::function<DWORD()> body;
    DWORD code;
  } cases[] = {
      {"IXMLDOMDocument::get_documentElement", root, ERROR_INVALID_HANDLE},
      {"IXMLDOMDocument::get_documentElement", all, ERROR_INVALID_HANDLE},
      {"IXMLDOMNode::selectSingleNode", one, ERROR_PATH_NOT_FOUND},
      {"IXMLDOMNode::selectNodes", all, kXmlParseError},
      {"IXMLDOMNode::selectNodes", array, kXmlParseError},
      {"IXMLDOMNodeList::get_length", array, kXmlParseError},
      {"IXMLDOMNode::get_attributes", attribute, kXmlParseError},
      {"IXMLDOMNamedNodeMap::getNamedItem", attribute, kXmlParseError},
      {"IXMLDOMNode::get_text", attribute, kXmlParseError},
      {"SysAllocString", one, kXmlGpf},
      {"SysAllocString", all, kXmlGpf},
      {"SysAllocString", attribute, kXmlGpf},
      {"SysAllocString", load, kXmlNoDocumentClass},
      {"IXMLDOMDocument::load", load, ERROR_INVALID_DATA},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(WithFault(c.function, 1, c.body), c.code) << c.function;
  }
  EXPECT_TRUE(nodes_.empty());
  EXPECT_EQ(*value_, 0);
  EXPECT_EQ(all(), kOk);  // the document is still there
  EXPECT_EQ(WithFault("IXMLDOMNodeList::get_item", 2, array), kXmlParseError);
  EXPECT_EQ(nodes_.size(), 1u);  // what was read before stays
}

TEST_F(CcixmlFaultTest, AnErrorThatCannotBeReadIsNotRecorded) {
  const auto missing = [&] { return xml_.GetAttributeValue(node_.Get(), W("Missing"), value_); };
  EXPECT_EQ(WithFault("IXMLDOMNode::get_ownerDocument", 1, missing), DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_EQ(WithFault("IXMLDOMDocument::get_parseError", 1, missing), DWORD{ERROR_INVALID_DATA});
  const auto load = [&] { return xml_.Load(W("no such file.xml")); };
  EXPECT_EQ(WithFault("IXMLDOMDocument::get_parseError", 1, load), DWORD{ERROR_INVALID_DATA});
  EXPECT_EQ(ErrorTextOf(xml_), W(""));
}

TEST_F(CcixmlFaultTest, AreTraced) {
  const auto select = [&] { return xml_.GetPathedNode(node_.Get(), W("A"), out_.Put()); };
  WString trace = TextOf([&] { EXPECT_EQ(WithFault("SysAllocString", 1, select), kXmlGpf); });
  EXPECT_NE(trace.find(W("  Error in CCIXML::GetPathedNode\r\n")), WString::npos);
  EXPECT_EQ(ErrorTextOf(xml_),
            W("\r\n\r\n !!!!! XML Error :GPF in CCIXML::GetPathedNode function  !!!!!!!!!!!!!!\r\n\r\n"));
  // The next class of document does as well.
  trace = TextOf([&] { EXPECT_EQ(WithFault("CoCreateInstance", 1, [&] { return xml_.Load(kFile); }), kOk); });
  EXPECT_NE(trace.find(W("  Failed to CoCreateInstance DOMDocument60\r\n")), WString::npos);
  EXPECT_EQ(trace.find(W("DOMDocument30")), WString::npos);
}

TEST_F(CcixmlFaultTest, ErrorTextsOfUpTo256CharactersAreGiven) {
  // A longer name of the element in error makes the reason longer, one character for one.
  const auto length_with = [](size_t name_chars) {
    Write("<R>\n<" + std::string(name_chars, 'n') + ">\n</R>");
    CCIXML xml;
    EXPECT_EQ(xml.Load(kFile), DWORD{ERROR_INVALID_DATA});
    return ErrorTextOf(xml).size();
  };
  const size_t rest = length_with(1) - 1;
  ASSERT_GT(rest, 10u);
  for (const size_t length : {size_t{255}, size_t{256}, size_t{257}}) {
    EXPECT_EQ(length_with(length - rest), length <= 256 ? 255u : 0u) << length;
  }
}

}  // namespace
}  // namespace custom_bidi::test
