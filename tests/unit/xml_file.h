#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "src/xml/ccixml.h"

namespace custom_bidi::test {

/// An XML file in the working directory, for as long as this lives.
class XmlFile {
 public:
  /// `name` without folder, ASCII only.
  XmlFile(std::string name, std::string_view text) : name_(std::move(name)) {
    std::ofstream(name_, std::ios::binary) << text;
  }
  ~XmlFile() { std::filesystem::remove(name_); }
  XmlFile(const XmlFile&) = delete;
  XmlFile& operator=(const XmlFile&) = delete;

  /// As the library wants it.
  WString Path() const { return WString(name_.begin(), name_.end()); }

 private:
  std::string name_;
};

inline WString ErrorTextOf(const CCIXML& xml) {
  WCHAR text[CCIXML::kErrorTextChars] = {};
  xml.GetErrorText(text);
  return text;
}

}  // namespace custom_bidi::test
