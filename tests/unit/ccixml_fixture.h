#pragma once

#include "src/xml/ccixml.h"
#include "tests/unit/trace_file.h"

namespace custom_bidi::test {

using Node = ComPtr<IXMLDOMNode>;
using NodeList = ComPtr<IXMLDOMNodeList>;

inline constexpr DWORD kOk = ERROR_SUCCESS;

inline WString ErrorTextOf(const CCIXML& xml) {
  WCHAR text[CCIXML::kErrorTextChars] = {};
  xml.GetErrorText(text);
  return text;
}

/// A wrapper with a loaded document.
class CcixmlTest : public TraceFileTest {
 protected:
  void SetUp() override {
    TraceFileTest::SetUp();
    Write(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Root><!-- text -->"
        "<A Name=\"first \xC3\xA9\xF0\x9F\x96\xA8\" Empty=\"\"/>text<B><A Name=\"deeper\"/></B><A Long=\"" +
        std::string(300, 'x') + "\" Pair=\"" + std::string(254, 'x') + "\xF0\x9F\x96\xA8\"/></Root>");
    ASSERT_EQ(xml_.Load(kFile), kOk);
    ASSERT_EQ(xml_.GetPathedNode(W("A"), node_.Put()), kOk);
  }
  void TearDown() override {
    std::filesystem::remove(kFile);
    TraceFileTest::TearDown();
  }

  static void Write(const std::string& text) {
    std::ofstream(std::filesystem::path(kFile), std::ios::binary) << text;
  }

  static constexpr const WCHAR* kFile = W("unit.xml");
  CCIXML xml_;
  Node node_;  // the first A
  Node out_;
  NodeList list_;
  std::vector<Node> nodes_;
  WCHAR value_[CCIXML::kValueChars + 1] = {};
};

}  // namespace custom_bidi::test
