// The CID of a device ID, against a reading that cuts it into fields first.

#include <algorithm>
#include <optional>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "src/exports/request_context.h"

namespace {

using custom_bidi::WString;
using custom_bidi::WStringView;

std::optional<WString> CidByFields(const WString& device_id) {
  std::vector<WString> fields(1);
  for (const WCHAR unit : device_id) {
    if (unit == ';')
      fields.emplace_back();
    else
      fields.back().push_back(unit);
  }
  for (const WString& field : fields) {
    if (field == W("CID"))
      return field;
    if (field.starts_with(W("CID:")))
      return field.substr(4);
  }
  return std::nullopt;
}

WString Kept(WString cid) {
  constexpr size_t kMostChars = 1023;
  if (cid.size() > kMostChars) {
    cid.resize(kMostChars);
    if (cid.back() >= 0xD800 && cid.back() <= 0xDBFF)
      cid.pop_back();
  }
  return cid;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace custom_bidi;
  const WString device_id = fuzz::Input(data, size).TakeText();
  const std::optional<WString> expected = CidByFields(device_id);
  const WString kept = Kept(expected.value_or(W("")));

  CCustomBiDi context;
  const DWORD code = context.ParseAndSaveCIDInfo(fuzz::ExactText(device_id).View());
  fuzz::Demand((code == ERROR_SUCCESS) == expected.has_value(), "found when there is one");
  fuzz::Demand(context.ComposeBidiJson() == W("{\"CID\": \"") + kept + W("\"}"),
               "the CID is the field's value");
  // The next device ID has none: what is there now stands for the default.
  const DWORD default_code = context.ParseAndSaveCIDInfo({});
  fuzz::Demand((default_code == ERROR_SUCCESS) == !kept.empty(), "an empty CID is none");
  return 0;
}
