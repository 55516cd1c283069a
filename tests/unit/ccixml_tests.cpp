#include <gtest/gtest.h>

#include <algorithm>

#include "tests/unit/ccixml_fixture.h"

namespace custom_bidi::test {
namespace {

TEST_F(CcixmlTest, WithoutADocumentOrAnArgument) {
  CCIXML bare;
  EXPECT_FALSE(bare.HasDocument());
  EXPECT_EQ(bare.GetRootNode(out_.Put()), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(bare.GetPathedNode(W("A"), out_.Put()), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(bare.GetPathedNodeList(W("A"), list_.Put()), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(bare.GetPathedNodeListAsArray(W("A"), nodes_), kXmlParseError);
  EXPECT_EQ(ErrorTextOf(bare), W(""));

  const DWORD codes[] = {xml_.Load(nullptr),
                         xml_.Load(W("")),
                         xml_.GetRootNode(nullptr),
                         xml_.GetPathedNode(nullptr, W("A"), out_.Put()),
                         xml_.GetPathedNode(node_.Get(), nullptr, out_.Put()),
                         xml_.GetPathedNode(W("A"), nullptr),
                         xml_.GetPathedNodeList(nullptr, W("A"), list_.Put()),
                         xml_.GetPathedNodeList(node_.Get(), nullptr, list_.Put()),
                         xml_.GetPathedNodeList(node_.Get(), W("A"), nullptr),
                         xml_.GetPathedNodeList(W("A"), nullptr),
                         xml_.GetAttributeValue(nullptr, W("Name"), value_),
                         xml_.GetAttributeValue(node_.Get(), nullptr, value_),
                         xml_.GetAttributeValue(node_.Get(), W(""), value_),
                         xml_.GetAttributeValue(node_.Get(), W("Name"), nullptr)};
  EXPECT_EQ(std::ranges::count(codes, DWORD{ERROR_INVALID_PARAMETER}), std::ssize(codes));
}

TEST_F(CcixmlTest, SelectsFromTheRootElement) {
  for (const WCHAR* const query : {W("Nothing"), W("Root"), W("a"), W("[[[")}) {
    EXPECT_EQ(xml_.GetPathedNode(query, out_.Put()), DWORD{ERROR_PATH_NOT_FOUND});
  }
  size_t count = 0;
  for (const auto& [query, more] :
       {std::pair{W("A"), 2u}, {W("//Nothing//A"), 0u}, {W("//A"), 3u}, {W("//Root//A"), 3u}}) {
    EXPECT_EQ(xml_.GetPathedNodeListAsArray(query, nodes_), kOk);
    EXPECT_EQ(nodes_.size(), count += more);  // each adds to what there is, in the document's order
  }
  EXPECT_EQ(xml_.GetAttributeValue(nodes_[3].Get(), W("Name"), value_), kOk);
  EXPECT_EQ(WString(value_), W("deeper"));
  EXPECT_EQ(xml_.GetPathedNodeListAsArray(W("[[["), nodes_), kXmlParseError);
  EXPECT_EQ(xml_.GetPathedNodeList(W("[[["), list_.Put()), kXmlParseError);
  EXPECT_EQ(ErrorTextOf(xml_).find(W("XML Error [CCIXML::GetPathedNodeList]\r\n Error Code 0x")), 0u);
}

TEST_F(CcixmlTest, ReadsAttributes) {
  const WString untouched(CCIXML::kValueChars + 1, '#');
  const struct {
    const WCHAR *query, *name;
    DWORD code;
    WString value;
  } cases[] = {
      {W("A"), W("Name"), kOk, W("first \u00E9\U0001F5A8")},
      {W("A"), W("Empty"), kOk, W("")},
      {W("A[@Long]"), W("Long"), kOk, WString(255, 'x')},
      {W("A[@Long]"), W("Pair"), kOk, WString(254, 'x') + WCHAR{0xD83D}},  // the cut goes through a pair
      {W("A"), W("name"), kXmlParseError, untouched},
      {W("text()"), W("Name"), kXmlParseError, untouched},
      {W("comment()"), W("Name"), kXmlParseError, untouched},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(xml_.GetPathedNode(c.query, out_.Put()), kOk);
    WString text = untouched;
    EXPECT_EQ(xml_.GetAttributeValue(out_.Get(), c.name, text.data()), c.code);
    EXPECT_EQ(text[CCIXML::kValueChars], WCHAR{'#'});
    EXPECT_EQ(text.substr(0, text.find(WCHAR{0})), c.value);
  }
  EXPECT_EQ(ErrorTextOf(xml_).find(
                W("XML Error [CCIXML::GetAttributeValue]\r\n Error Code 0x00000000 on line 0, position 0")),
            0u);
}

TEST_F(CcixmlTest, SaysWhyAFileDidNotLoad) {
  Write("<Root>\r\n  <A>\r\n</Root>");
  for (const WCHAR* const path : {kFile, W("no such file.xml")}) {
    CCIXML xml;
    const WString trace = TextOf([&] { EXPECT_EQ(xml.Load(path), DWORD{ERROR_INVALID_DATA}); });
    EXPECT_FALSE(xml.HasDocument());
    const WString text = ErrorTextOf(xml);
    EXPECT_EQ(text.find(W("XML Error []\r\n Error Code 0x")), 0u);
    EXPECT_LT(text.find(W(" on line ")), text.find(W(", position ")));
    EXPECT_NE(trace.find(W("[XML] Load ") + WString(path) + W(" XML file Failed!!! <<") + text + W(">>\r\n")),
              WString::npos);
  }
}

TEST_F(CcixmlTest, KeepsItsDocumentUntilAnotherLoads) {
  EXPECT_EQ(xml_.GetAttributeValue(node_.Get(), W("Missing"), value_), kXmlParseError);
  EXPECT_EQ(xml_.Load(W("no such file.xml")), DWORD{ERROR_INVALID_DATA});
  // The location stays as well, the code does not.
  const WString text = ErrorTextOf(xml_);
  EXPECT_EQ(text.find(W("XML Error [CCIXML::GetAttributeValue]\r\n Error Code 0x")), 0u);
  EXPECT_EQ(text.find(W("0x00000000")), WString::npos);
  Write("<Other><C/></Other>");
  ASSERT_EQ(xml_.Load(kFile), kOk);
  EXPECT_EQ(xml_.GetPathedNode(W("C"), out_.Put()), kOk);
  EXPECT_EQ(xml_.GetPathedNode(W("A"), out_.Put()), DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_EQ(xml_.GetAttributeValue(node_.Get(), W("Empty"), value_), kOk);  // a node keeps its document
}

}  // namespace
}  // namespace custom_bidi::test
