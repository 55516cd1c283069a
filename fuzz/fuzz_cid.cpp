// The CID of a device ID, against a reading that cuts it into fields first.

#include <algorithm>
#include <optional>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "src/context/request_context.h"

namespace custom_bidi::fuzz {
namespace {

std::optional<WString> CidByFields(const WString& device_id) {
  std::vector<WString> fields(1);
  for (const WCHAR unit : device_id) {
    if (unit == ';') {
      fields.emplace_back();
    } else {
      fields.back().push_back(unit);
    }
  }
  for (const WString& field : fields) {
    if (field == W("CID")) {
      return field;
    }
    if (field.starts_with(W("CID:"))) {
      return field.substr(4);
    }
  }
  return std::nullopt;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const WString device_id = Input(data, size).TakeText();
  const std::optional<WString> expected = CidByFields(device_id);
  constexpr size_t kMostChars = 1023;
  const WString kept = expected.value_or(W("")).substr(0, kMostChars);

  CCustomBiDi context;
  const DWORD code = context.ParseAndSaveCIDInfo(ExactText(device_id).View());
  Demand((code == ERROR_SUCCESS) == expected.has_value(), "found when there is one");
  Demand(context.ComposeBidiJson() == W("{\"CID\": \"") + kept + W("\"}"), "the CID is the field's value");
  // The next device ID has none: what is there now stands for the default.
  const DWORD default_code = context.ParseAndSaveCIDInfo({});
  Demand((default_code == ERROR_SUCCESS) == !kept.empty(), "an empty CID is none");
  return 0;
}

}  // namespace custom_bidi::fuzz
