#include "src/xml/ccixml.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/unit/trace_file.h"
#include "tests/unit/xml_file.h"

namespace custom_bidi {
namespace {

using test::ErrorTextOf;
using test::XmlFile;
using Node = ComPtr<IXMLDOMNode>;
using NodeList = ComPtr<IXMLDOMNodeList>;

constexpr DWORD kOk = ERROR_SUCCESS;

class CcixmlTest : public test::TraceFileTest {
 protected:
  /// The attribute of the first node that the query selects.
  DWORD Attribute(const WCHAR* query, const WCHAR* name, WString& value) {
    Node node;
    EXPECT_EQ(xml_.GetPathedNode(query, node.Put()), kOk);
    WCHAR text[CCIXML::kValueChars + 1];
    std::fill(std::begin(text), std::end(text), WCHAR{'#'});
    const DWORD code = xml_.GetAttributeValue(node.Get(), name, text);
    EXPECT_EQ(text[CCIXML::kValueChars], WCHAR{'#'});
    const bool untouched = text[0] == '#' && text[1] == '#';
    value = untouched ? W("(untouched)") : text;
    return code;
  }

  XmlFile file_{"ccixml.xml",
                "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
                "<Root><!-- text --><A Name=\"first \xC3\xA9\xF0\x9F\x96\xA8\" Empty=\"\"/>text"
                "<B><A Name=\"deeper\"/></B><A Long=\"" +
                    std::string(300, 'x') + "\" Pair=\"" + std::string(254, 'x') +
                    "\xF0\x9F\x96\xA8\"/></Root>"};
  CCIXML xml_;
};

TEST_F(CcixmlTest, WithoutADocument) {
  Node node;
  NodeList list;
  std::vector<Node> nodes;
  EXPECT_FALSE(xml_.HasDocument());
  EXPECT_EQ(xml_.Load(nullptr), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(xml_.Load(W("")), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(xml_.GetRootNode(node.Put()), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(xml_.GetPathedNode(W("A"), node.Put()), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(xml_.GetPathedNodeList(W("A"), list.Put()), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(xml_.GetPathedNodeListAsArray(W("A"), nodes), kXmlParseError);
  EXPECT_EQ(ErrorTextOf(xml_), W(""));
}

TEST_F(CcixmlTest, MissingArguments) {
  ASSERT_EQ(xml_.Load(file_.Path().c_str()), kOk);
  Node root;
  ASSERT_EQ(xml_.GetRootNode(root.Put()), kOk);
  Node node;
  NodeList list;
  WCHAR value[CCIXML::kValueChars];
  constexpr DWORD kMissing = ERROR_INVALID_PARAMETER;
  EXPECT_EQ(xml_.GetRootNode(nullptr), kMissing);
  EXPECT_EQ(xml_.GetPathedNode(nullptr, W("A"), node.Put()), kMissing);
  EXPECT_EQ(xml_.GetPathedNode(W("A"), nullptr), kMissing);
  EXPECT_EQ(xml_.GetPathedNodeList(nullptr, W("A"), list.Put()), kMissing);
  EXPECT_EQ(xml_.GetPathedNodeList(root.Get(), W("A"), nullptr), kMissing);
  EXPECT_EQ(xml_.GetPathedNodeList(W("A"), nullptr), kMissing);
  EXPECT_EQ(xml_.GetAttributeValue(nullptr, W("Name"), value), kMissing);
  EXPECT_EQ(xml_.GetAttributeValue(root.Get(), nullptr, value), kMissing);
  EXPECT_EQ(xml_.GetAttributeValue(root.Get(), W(""), value), kMissing);
  EXPECT_EQ(xml_.GetAttributeValue(root.Get(), W("Name"), nullptr), kMissing);
}

TEST_F(CcixmlTest, SelectsFromTheRootElement) {
  ASSERT_EQ(xml_.Load(file_.Path().c_str()), kOk);
  Node node;
  EXPECT_EQ(xml_.GetPathedNode(W("Nothing"), node.Put()), DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_EQ(xml_.GetPathedNode(W("Root"), node.Put()), DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_EQ(xml_.GetPathedNode(W("a"), node.Put()), DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_EQ(xml_.GetPathedNode(W("[[["), node.Put()), DWORD{ERROR_PATH_NOT_FOUND});

  const auto count = [this](const WCHAR* query) {
    NodeList list;
    EXPECT_EQ(xml_.GetPathedNodeList(query, list.Put()), kOk);
    LONG length = -1;
    EXPECT_TRUE(SUCCEEDED(list.Get()->get_length(&length)));
    return length;
  };
  EXPECT_EQ(count(W("A")), 2);
  EXPECT_EQ(count(W("//A")), 3);
  EXPECT_EQ(count(W("//Root//A")), 3);
  EXPECT_EQ(count(W("//Nothing//A")), 0);
}

TEST_F(CcixmlTest, ARefusedQueryIsRecorded) {
  ASSERT_EQ(xml_.Load(file_.Path().c_str()), kOk);
  NodeList list;
  EXPECT_EQ(xml_.GetPathedNodeList(W("[[["), list.Put()), kXmlParseError);
  EXPECT_EQ(ErrorTextOf(xml_).find(W("XML Error [CCIXML::GetPathedNodeList]\r\n Error Code 0x")), 0u);
}

TEST_F(CcixmlTest, AppendsNodesInDocumentOrder) {
  ASSERT_EQ(xml_.Load(file_.Path().c_str()), kOk);
  std::vector<Node> nodes;
  EXPECT_EQ(xml_.GetPathedNodeListAsArray(W("//Nothing"), nodes), kOk);
  EXPECT_TRUE(nodes.empty());
  EXPECT_EQ(xml_.GetPathedNodeListAsArray(W("B"), nodes), kOk);
  EXPECT_EQ(xml_.GetPathedNodeListAsArray(W("//A"), nodes), kOk);
  ASSERT_EQ(nodes.size(), 4u);
  WCHAR name[CCIXML::kValueChars] = {};
  EXPECT_EQ(xml_.GetAttributeValue(nodes[2].Get(), W("Name"), name), kOk);
  EXPECT_EQ(WString(name), W("deeper"));
  EXPECT_EQ(xml_.GetPathedNodeListAsArray(W("[[["), nodes), kXmlParseError);
  EXPECT_EQ(nodes.size(), 4u);
}

TEST_F(CcixmlTest, ReadsAttributes) {
  ASSERT_EQ(xml_.Load(file_.Path().c_str()), kOk);
  WString value;
  EXPECT_EQ(Attribute(W("A"), W("Name"), value), kOk);
  EXPECT_EQ(value, W("first \u00E9\U0001F5A8"));
  EXPECT_EQ(Attribute(W("A"), W("Empty"), value), kOk);
  EXPECT_EQ(value, W(""));
  EXPECT_EQ(Attribute(W("A[@Long]"), W("Long"), value), kOk);
  EXPECT_EQ(value, WString(255, 'x'));
  EXPECT_EQ(Attribute(W("A[@Long]"), W("Pair"), value), kOk);
  EXPECT_EQ(value, WString(254, 'x'));  // the cut would go through a pair
  EXPECT_EQ(Attribute(W("A"), W("name"), value), kXmlParseError);
  EXPECT_EQ(value, W("(untouched)"));
  EXPECT_EQ(ErrorTextOf(xml_).find(
                W("XML Error [CCIXML::GetAttributeValue]\r\n Error Code 0x00000000 on line 0, position 0")),
            0u);
}

TEST_F(CcixmlTest, OnlyElementsHaveAttributes) {
  ASSERT_EQ(xml_.Load(file_.Path().c_str()), kOk);
  WString value;
  for (const WCHAR* const query : {W("text()"), W("comment()")}) {
    EXPECT_EQ(Attribute(query, W("Name"), value), kXmlParseError);
    EXPECT_EQ(value, W("(untouched)"));
  }
}

TEST_F(CcixmlTest, SaysWhyAFileDidNotLoad) {
  const XmlFile bad("ccixml-bad.xml", "<Root>\r\n  <A>\r\n</Root>");
  for (const WString& path : {bad.Path(), WString(W("no such file.xml"))}) {
    CCIXML xml;
    DWORD code = kOk;
    const WString trace = TextOf([&] { code = xml.Load(path.c_str()); });
    EXPECT_EQ(code, DWORD{ERROR_INVALID_DATA});
    EXPECT_FALSE(xml.HasDocument());

    const WString text = ErrorTextOf(xml);
    EXPECT_EQ(text.find(W("XML Error []\r\n Error Code 0x")), 0u);
    EXPECT_NE(text.find(W(" on line ")), WString::npos);
    EXPECT_NE(text.find(W(", position ")), WString::npos);
    const WString line = W("[XML] Load ") + path + W(" XML file Failed!!! <<") + text + W(">>\r\n");
    EXPECT_NE(trace.find(line), WString::npos);
  }
}

TEST_F(CcixmlTest, AFailedLoadKeepsTheDocumentAndTheLocation) {
  ASSERT_EQ(xml_.Load(file_.Path().c_str()), kOk);
  WString value;
  EXPECT_EQ(Attribute(W("A"), W("Missing"), value), kXmlParseError);
  EXPECT_EQ(xml_.Load(W("no such file.xml")), DWORD{ERROR_INVALID_DATA});
  const WString text = ErrorTextOf(xml_);
  EXPECT_EQ(text.find(W("XML Error [CCIXML::GetAttributeValue]\r\n Error Code 0x")), 0u);
  EXPECT_EQ(text.find(W("0x00000000")), WString::npos);
  EXPECT_EQ(Attribute(W("A"), W("Name"), value), kOk);
}

TEST_F(CcixmlTest, ASecondLoadReplacesTheDocument) {
  ASSERT_EQ(xml_.Load(file_.Path().c_str()), kOk);
  Node kept;
  ASSERT_EQ(xml_.GetPathedNode(W("A"), kept.Put()), kOk);
  const XmlFile other("ccixml-other.xml", "<Other><C Name=\"new\"/></Other>");
  ASSERT_EQ(xml_.Load(other.Path().c_str()), kOk);
  WString value;
  EXPECT_EQ(Attribute(W("C"), W("Name"), value), kOk);
  EXPECT_EQ(value, W("new"));
  Node gone;
  EXPECT_EQ(xml_.GetPathedNode(W("A"), gone.Put()), DWORD{ERROR_PATH_NOT_FOUND});
  WCHAR name[CCIXML::kValueChars] = {};
  EXPECT_EQ(xml_.GetAttributeValue(kept.Get(), W("Empty"), name), kOk);  // a node keeps its document
}

TEST_F(CcixmlTest, FramesEveryMethodInTheTrace) {
  WCHAR stamp[kStampChars + 1] = {};
  WString lines;
  const WString trace = TextOf([&] { xml_.Load(nullptr); });
  for (size_t start = 0; start < trace.size(); start = trace.find(W("\r\n"), start) + 2)
    lines +=
        trace.substr(start + std::size(stamp) - 1, trace.find(W("\r\n"), start) + 2 - start - kStampChars);
  EXPECT_EQ(lines, W("CCIXML::Load << Enter\r\nCCIXML::Load >> Leave\r\n"));
}

TEST_F(CcixmlTest, WorksInAThreadOfAnotherApartment) {
  std::thread([this] {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    {
      CCIXML xml;
      EXPECT_EQ(xml.Load(file_.Path().c_str()), kOk);
      Node node;
      EXPECT_EQ(xml.GetPathedNode(W("A"), node.Put()), kOk);
    }
    // The thread is still where it was: nothing was undone that was not done.
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);
    CoUninitialize();
  }).join();
}

TEST_F(CcixmlTest, CountsItsComInitialisations) {
  std::thread([] {
    {
      const CCIXML first;
      const CCIXML second;
      EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
      CoUninitialize();
    }
    // Free to choose anew.
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    CoUninitialize();
  }).join();
}

}  // namespace
}  // namespace custom_bidi
