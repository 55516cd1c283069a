// An SNMP object's type and content, as net-snmp takes them out of a datagram, as callers get them.

#include <vector>

#include "base/utf.h"
#include "fuzz/fuzz_input.h"
#include "ixo/network/snmp/device_oids.h"
#include "ixo/network/snmp/snmp_values.h"
#include "src/deviceio/snmp_status.h"

namespace custom_bidi::fuzz {

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace custom_bidi::network;
  netsnmp_variable_list variable{};
  variable.type = Input(data, size).TakeByte();
  const bool is_object = variable.type == ASN_OBJECT_ID;
  const std::span<const uint8_t> content(data + (size > 0), size - (size > 0));
  // Numbers have as much room as they need, and an object identifier consists of whole ones.
  const bool is_bytes = variable.type == ASN_OCTET_STR || variable.type == ASN_IPADDRESS;
  std::vector<uint8_t> exact(std::max(content.size(), is_bytes ? 0 : sizeof(counter64)));
  std::ranges::copy(content, exact.begin());
  exact.shrink_to_fit();
  variable.val.string = exact.data();
  variable.val_len = is_object ? exact.size() / sizeof(oid) * sizeof(oid) : content.size();
  const std::optional<SnmpValue> value = ValueOf(variable);
  for (int i = 0; value && i < 2; ++i) {
    const support::Value given = i == 0 ? AsObject(*value) : AsItem(*value);
    VARIANT variant{};
    given.CopyTo(&variant);
    Demand(variant.vt == VT_I4 || variant.vt == VT_UI4 || variant.vt == VT_BSTR, "a number or a text");
    if (variant.vt == VT_BSTR) {
      const WStringView text(variant.bstrVal, SysStringLen(variant.bstrVal));
      Demand(base::IsValidUtf16(text), "the text is well-formed");
      ParseErrorState(ExactText(text).View());
    }
  }
  return 0;
}

}  // namespace custom_bidi::fuzz
