#pragma once

/// What the tests need of the machine: texts and files, the folder of the host, the registry, the environment
/// and what is left open. All text is UTF-8.

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>

#include "src/platform.h"
#include "tools/bidictl/text/bidictl_text.h"

namespace custom_bidi_test {

using custom_bidi::WString;
using custom_bidi::WStringView;

using custom_bidi_tools::ToUtf8;
/// Throws for text that is not UTF-8.
inline WString ToWide(std::string_view text) {
  return custom_bidi_tools::ToWide(text).value();
}
/// A whole file; empty when there is none.
std::string ReadBytes(const std::filesystem::path& path);

std::filesystem::path ProgramPath();

/// The folder of the running test program, where the library looks for its files. What a test puts there or
/// takes away is as before when the object goes, and also after a run that crashed.
class HostFolder {
 public:
  HostFolder();
  ~HostFolder() { Restore(); }
  HostFolder(const HostFolder&) = delete;
  HostFolder& operator=(const HostFolder&) = delete;

  /// `name` may lie in a folder of its own, which is made.
  void Write(const std::string& name, std::string_view content);
  void Copy(const std::string& source, const std::string& name);
  void Remove(const std::string& name);
  void Restore();

  /// The file that the library takes its configuration from: the program's name with the extension ".xml".
  static std::string ConfigurationName() { return ProgramPath().stem().string() + ".xml"; }
  static std::filesystem::path Path() { return ProgramPath().parent_path(); }
  /// The folder as the library names it, for a file in it by its configured name ("\") or its default ("//").
  static std::string Text(std::string_view separator_and_name = "");

 private:
  void SetAside(const std::string& name);

  std::set<std::string> changed_;
};

/// A registry value as it is stored, whatever its type.
struct RegistryBytes {
  enum Type : uint32_t { kText = 1, kBinary = 3, kDword = 4, kQword = 11 };

  Type type;
  std::string bytes;

  static RegistryBytes Dword(uint32_t number) {
    return {kDword, std::string(reinterpret_cast<const char*>(&number), sizeof(number))};
  }
};

// These differ between the lanes.

/// Writes a value into the PrinterDriverData key of a queue, of which nothing else need exist.
void SetDriverValue(const std::string& queue, const std::string& name, const RegistryBytes& value);

/// The key with all below it, which need not exist.
void RemoveQueueKey(const std::string& queue);

void SetVariable(const std::string& name, const std::string& value);

/// What the library has not given back, in words; empty when nothing is left open.
std::string LeftOpen();

/// Handles or file descriptors that the process has open.
long CountOpenHandles();

}  // namespace custom_bidi_test
