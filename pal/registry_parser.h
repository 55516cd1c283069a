#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "pal/registry_file.h"

namespace pal {

/// Reads the lines of a registry file into a RegistryFile, in time linear in their length.
class RegistryParser {
 public:
  RegistryParser(std::u16string_view text, RegistryFile* registry) : rest_(text), registry_(registry) {}

  void Run();

 private:
  std::u16string_view NextLine();
  void ReadKey(std::u16string_view line);
  void ReadValue(std::u16string_view line);
  std::optional<RegistryValue> ReadData(std::u16string_view data);
  std::optional<RegistryValue> ReadHex(std::u16string_view data);

  std::u16string_view rest_;
  RegistryFile* registry_;
  RegistryFile::Key* key_ = nullptr;  // the values belong to it; null behind a malformed or removed key
};

}  // namespace pal
