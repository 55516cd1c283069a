#pragma once

/// What every target is made of: its entry point, its input, and its one way to complain.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>

#include "src/platform.h"

namespace custom_bidi::fuzz {

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

/// Ends the program, which makes the input a finding, unless the property holds.
inline void Demand(bool holds, const char* property) {
  if (!holds) {
    std::fprintf(stderr, "Violated: %s\n", property);
    std::abort();
  }
}

/// A text in a block of exactly its size, so that a sanitizer sees a step beyond its end.
class ExactText {
 public:
  explicit ExactText(WStringView text) : units_(new WCHAR[text.size()]), size_(text.size()) {
    std::char_traits<WCHAR>::copy(units_.get(), text.data(), size_);
  }
  WStringView View() const { return {units_.get(), size_}; }

 private:
  std::unique_ptr<WCHAR[]> units_;
  size_t size_;
};

/// Takes an input apart from its front. When it is used up, numbers are 0 and texts empty.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : bytes_(data, size) {}

  bool empty() const { return bytes_.empty(); }

  uint8_t TakeByte() {
    const uint8_t byte = bytes_.empty() ? uint8_t{0} : bytes_.front();
    bytes_ = bytes_.subspan(bytes_.empty() ? 0 : 1);
    return byte;
  }

  uint32_t TakeNumber() {
    uint32_t number = 0;
    for (int i = 0; i < 4; ++i) {
      number = number << 8 | TakeByte();
    }
    return number;
  }

  /// Up to the next byte 0. A byte below 0x80 stands for its ASCII character, any other with the byte behind
  /// it for a character of up to 15 bits, or for half a surrogate pair: so corpora and dictionaries are plain
  /// text.
  WString TakeText() {
    WString text;
    while (const uint8_t byte = TakeByte()) {
      text.push_back(static_cast<WCHAR>(byte < 0x80 ? byte : Wide(byte, TakeByte())));
    }
    return text;
  }

 private:
  static unsigned Wide(uint8_t first, uint8_t second) {
    constexpr uint8_t kSurrogate = 0xF8;  // and above: D800 to DFFF
    const unsigned high = first >= kSurrogate ? 0xD8U + (first & 7U) : first & 0x7FU;
    const unsigned unit = high << 8 | second;
    return unit != 0 ? unit : 1;
  }

  std::span<const uint8_t> bytes_;
};

}  // namespace custom_bidi::fuzz
