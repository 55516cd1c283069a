#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include "src/xml/ccixml.h"
#include "tests/unit/trace_file.h"

namespace custom_bidi::test {

using Node = ComPtr<IXMLDOMNode>;
using NodeList = ComPtr<IXMLDOMNodeList>;

inline constexpr DWORD kOk = ERROR_SUCCESS;

/// An XML file in the working directory, for as long as this lives.
class XmlFile {
 public:
  explicit XmlFile(const std::string& text) : path_(W("unit-0.xml")) {
    static int count = 0;
    path_[5] = static_cast<WCHAR>('0' + ++count % 10);  // of those that live at a time
    std::ofstream(std::filesystem::path(path_), std::ios::binary) << text;
  }
  ~XmlFile() { std::filesystem::remove(path_); }
  XmlFile(const XmlFile&) = delete;
  XmlFile& operator=(const XmlFile&) = delete;

  const WCHAR* Path() const { return path_.c_str(); }

 private:
  WString path_;
};

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
    ASSERT_EQ(xml_.Load(file_.Path()), kOk);
    ASSERT_EQ(xml_.GetPathedNode(W("A"), node_.Put()), kOk);
  }

  XmlFile file_{
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Root><!-- text -->"
      "<A Name=\"first \xC3\xA9\xF0\x9F\x96\xA8\" Empty=\"\"/>text<B><A Name=\"deeper\"/></B><A Long=\"" +
      std::string(300, 'x') + "\" Pair=\"" + std::string(254, 'x') + "\xF0\x9F\x96\xA8\"/></Root>"};
  CCIXML xml_;
  Node node_;  // the first A
  Node out_;
  NodeList list_;
  std::vector<Node> nodes_;
  WCHAR value_[CCIXML::kValueChars + 1] = {};
};

}  // namespace custom_bidi::test
