// What the XML wrapper does when the DOM or the memory fails it.

#include <gtest/gtest.h>

#include <functional>

#include "pal/test_hooks.h"
#include "tests/unit/trace_file.h"
#include "tests/unit/xml_file.h"

namespace custom_bidi {
namespace {

using test::ErrorTextOf;
using test::XmlFile;
using Node = ComPtr<IXMLDOMNode>;
using NodeList = ComPtr<IXMLDOMNodeList>;

constexpr DWORD kOk = ERROR_SUCCESS;

class CcixmlFaultTest : public test::TraceFileTest {
 protected:
  void SetUp() override {
    TraceFileTest::SetUp();
    ASSERT_EQ(xml_.Load(file_.Path().c_str()), kOk);
    ASSERT_EQ(xml_.GetPathedNode(W("A"), node_.Put()), kOk);
  }

  /// The result of `body` while the n-th call of `function` fails.
  static DWORD WithFault(const char* function, int n, const std::function<DWORD()>& body) {
    pal::FailNthCallOf(function, n);
    const DWORD code = body();
    EXPECT_TRUE(pal::FaultFired()) << function;
    pal::ClearFaults();
    return code;
  }

  XmlFile file_{"ccixml-fault.xml", "<Root><A Name=\"a\"/><A/><A/></Root>"};
  CCIXML xml_;
  Node node_;
  std::vector<Node> nodes_;
};

TEST_F(CcixmlFaultTest, EachGivesItsCode) {
  Node out;
  NodeList list;
  WCHAR value[CCIXML::kValueChars] = {};
  const auto root = [&] { return xml_.GetRootNode(out.Put()); };
  const auto one = [&] { return xml_.GetPathedNode(W("A"), out.Put()); };
  const auto all = [&] { return xml_.GetPathedNodeList(W("A"), list.Put()); };
  const auto array = [&] { return xml_.GetPathedNodeListAsArray(W("A"), nodes_); };
  const auto attribute = [&] { return xml_.GetAttributeValue(node_.Get(), W("Name"), value); };
  const auto load = [&] { return xml_.Load(file_.Path().c_str()); };
  struct Case {
    const char* function;
    std::function<DWORD()> body;
    DWORD code;
  };
  const Case cases[] = {
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
  for (const Case& c : cases)
    EXPECT_EQ(WithFault(c.function, 1, c.body), c.code) << c.function;
  EXPECT_TRUE(nodes_.empty());
  EXPECT_EQ(*value, 0);
  EXPECT_EQ(all(), kOk);  // the document is still there
}

TEST_F(CcixmlFaultTest, NodesBeforeAFailureStay) {
  EXPECT_EQ(WithFault("IXMLDOMNodeList::get_item", 3,
                      [&] { return xml_.GetPathedNodeListAsArray(W("A"), nodes_); }),
            kXmlParseError);
  EXPECT_EQ(nodes_.size(), 2u);
}

TEST_F(CcixmlFaultTest, AnErrorThatCannotBeReadIsNotRecorded) {
  WCHAR value[CCIXML::kValueChars] = {};
  const auto missing = [&] { return xml_.GetAttributeValue(node_.Get(), W("Missing"), value); };
  EXPECT_EQ(WithFault("IXMLDOMNode::get_ownerDocument", 1, missing), DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_EQ(WithFault("IXMLDOMDocument::get_parseError", 1, missing), DWORD{ERROR_INVALID_DATA});
  const auto load = [&] { return xml_.Load(W("no such file.xml")); };
  EXPECT_EQ(WithFault("IXMLDOMDocument::get_parseError", 1, load), DWORD{ERROR_INVALID_DATA});
  EXPECT_EQ(ErrorTextOf(xml_), W(""));
}

TEST_F(CcixmlFaultTest, AnUnexpectedExceptionIsRecordedAndTraced) {
  Node out;
  const WString trace = TextOf([&] {
    EXPECT_EQ(
        WithFault("SysAllocString", 1, [&] { return xml_.GetPathedNode(node_.Get(), W("A"), out.Put()); }),
        kXmlGpf);
  });
  EXPECT_NE(trace.find(W("  Error in CCIXML::GetPathedNode\r\n")), WString::npos);
  EXPECT_EQ(ErrorTextOf(xml_),
            W("\r\n\r\n !!!!! XML Error :GPF in CCIXML::GetPathedNode function  !!!!!!!!!!!!!!\r\n\r\n"));
}

TEST_F(CcixmlFaultTest, TriesEachClassOfDocument) {
  const WString trace = TextOf([&] {
    EXPECT_EQ(WithFault("CoCreateInstance", 1, [&] { return xml_.Load(file_.Path().c_str()); }), kOk);
  });
  EXPECT_NE(trace.find(W("  Failed to CoCreateInstance DOMDocument60\r\n")), WString::npos);
  EXPECT_EQ(trace.find(W("DOMDocument30")), WString::npos);
}

TEST_F(CcixmlFaultTest, ErrorTextsOfUpTo256CharactersAreGiven) {
  // A longer name of the element in error makes the reason longer, one character for one.
  const auto describe = [](size_t name_chars, WString* text) {
    const XmlFile bad("ccixml-long.xml", "<R>\n<" + std::string(name_chars, 'n') + ">\n</R>");
    CCIXML xml;
    EXPECT_EQ(xml.Load(bad.Path().c_str()), DWORD{ERROR_INVALID_DATA});
    *text = ErrorTextOf(xml);
  };
  WString shortest;
  describe(1, &shortest);
  ASSERT_GT(shortest.size(), 10u);
  const size_t rest = shortest.size() - 1;
  for (const size_t length : {size_t{255}, size_t{256}, size_t{257}}) {
    WString text;
    describe(length - rest, &text);
    EXPECT_EQ(text.size(), length <= 256 ? 255u : 0u) << length;
  }
}

}  // namespace
}  // namespace custom_bidi
