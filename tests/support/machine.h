#pragma once

/// What the tests need of the machine that differs between the lanes. All text is UTF-8.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "src/platform.h"

namespace custom_bidi_test {

using custom_bidi::WString;
using custom_bidi::WStringView;

std::string ToUtf8(WStringView text);
/// Throws for text that is not UTF-8.
WString ToWide(std::string_view text);

/// The running program's file.
std::filesystem::path ProgramPath();

/// A registry value as it is stored, whatever its type.
struct RegistryBytes {
  enum Type : uint32_t { kText = 1, kBinary = 3, kDword = 4, kQword = 11 };

  Type type;
  std::string bytes;

  static RegistryBytes Dword(uint32_t number);
  /// UTF-16 with its NUL.
  static RegistryBytes Text(std::string_view text);
};

/// Writes a value into the PrinterDriverData key of a queue, of which nothing else need exist.
void SetDriverValue(const std::string& queue, const std::string& name, const RegistryBytes& value);

/// Removes a queue's registry key with all below it; it need not exist.
void RemoveQueueKey(const std::string& queue);

/// Sets an environment variable, or with nullopt removes it.
void SetVariable(const std::string& name, const std::optional<std::string>& value);

/// The next look at PROCESSOR_ARCHITECTURE finds nothing.
void HideProcessor();

/// What the library has not given back, in words; empty when nothing is left open.
std::string LeftOpen();

/// Handles or file descriptors that the process has open.
long CountOpenHandles();

}  // namespace custom_bidi_test
