// The CID of a device ID, against a plain search.

#include <algorithm>
#include <optional>

#include "fuzz/fuzz_input.h"
#include "src/context/request_context.h"

namespace custom_bidi::fuzz {
namespace {

/// What stands behind the colon of the first field that begins with "CID:", unless one that is "CID" comes first.
std::optional<WString> CidBySearch(const WString& device_id) {
  const WString fields = W(";") + device_id + W(";");
  const size_t at = std::min(fields.find(W(";CID;")), fields.find(W(";CID:")));
  if (at == WString::npos) {
    return std::nullopt;
  }
  const size_t start = at + (fields[at + 4] == ':' ? 5 : 1);
  return fields.substr(start, fields.find(';', start) - start);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const WString device_id = Input(data, size).TakeText();
  const std::optional<WString> expected = CidBySearch(device_id);
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
