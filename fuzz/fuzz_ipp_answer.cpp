// A printer's answer: whatever is understood of it has a value, in well-formed text.

#include "base/utf.h"
#include "fuzz/fuzz_input.h"
#include "ixo/network/ipp/ipp_message.h"

namespace custom_bidi::fuzz {

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace custom_bidi::network;
  const std::vector<BYTE> exact(data, data + size);
  const std::optional<IppAnswer> answer = DecodeAnswer(exact);
  if (!answer) {
    return 0;
  }
  for (const auto& [name, values] : answer->attributes) {
    Demand(!values.empty(), "an attribute has a value");
    const auto value = ValueOf(*answer, name);
    const bool is_told = values.front().tag > IppTag::kLastOutOfBand;
    Demand(value.has_value() == is_told, "what is told has a value");
    VARIANT variant{};
    if (value) {
      value->CopyTo(&variant);
      Demand(variant.vt == VT_I4 || variant.vt == VT_BSTR, "it is a number or a text");
      Demand(variant.vt == VT_I4 || base::IsValidUtf16({variant.bstrVal, SysStringLen(variant.bstrVal)}),
             "the text is well-formed");
    }
    Demand(FirstTextOf(*answer, name).size() <= values.front().bytes.size(),
           "the first text is the first value");
  }
  return 0;
}

}  // namespace custom_bidi::fuzz
