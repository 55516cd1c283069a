// A registry file: what was read is written so that it reads back as the same.

#include "base/home_registry.h"

#include "fuzz/fuzz_input.h"

namespace custom_bidi::fuzz {

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  base::RegistryFile registry = base::RegistryFile::Parse(bytes);
  const std::string written = registry.Serialise();
  base::RegistryFile again = base::RegistryFile::Parse(written);
  Demand(again.Serialise() == written, "what is written reads back");

  const std::u16string key = u"HKEY_LOCAL_MACHINE\\Fuzz \"key\"";
  const std::u16string name = u"name \\ \"quoted\"";
  Demand(again.SetValue(key, name, base::RegistryValue::FromText(u"text")), "a value can be added");
  const base::RegistryFile third = base::RegistryFile::Parse(again.Serialise());
  const base::RegistryValue* const value = third.FindValue(key, name);
  Demand(value != nullptr && value->Text() == u"text", "an added value reads back");
  Demand(again.RemoveKey(key), "the key is there");
  return 0;
}

}  // namespace custom_bidi::fuzz
