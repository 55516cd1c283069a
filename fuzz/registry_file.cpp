// A registry file: what was read is written so that it reads back as the same.

#include "pal/registry_file.h"

#include "fuzz/fuzz_input.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using custom_bidi::fuzz::Demand;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  pal::RegistryFile registry = pal::RegistryFile::Parse(bytes);
  const std::string written = registry.Serialise();
  pal::RegistryFile again = pal::RegistryFile::Parse(written);
  Demand(again.Serialise() == written, "what is written reads back");

  const std::u16string key = u"HKEY_LOCAL_MACHINE\\Fuzz \"key\"";
  const std::u16string name = u"name \\ \"quoted\"";
  Demand(again.SetValue(key, name, pal::RegistryValue::FromText(u"text")), "a value can be added");
  const pal::RegistryFile third = pal::RegistryFile::Parse(again.Serialise());
  const pal::RegistryValue* const value = third.FindValue(key, name);
  Demand(value != nullptr && value->Text() == u"text", "an added value reads back");
  Demand(again.RemoveKey(key), "the key is there");
  return 0;
}
