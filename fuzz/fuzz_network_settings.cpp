// network.json: refused with a reason, or settings within their limits.

#include <stdexcept>

#include "fuzz/fuzz_input.h"
#include "ixo/network/settings.h"

namespace custom_bidi::fuzz {

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace custom_bidi::network;
  try {
    const Settings settings = ReadSettings({reinterpret_cast<const char*>(data), size}, "/folder/");
    Demand(settings.deadline >= milliseconds(50) && settings.deadline <= milliseconds(60000), "a deadline");
    Demand(settings.max_answer_bytes >= 1024 && settings.max_answer_bytes <= 64 << 20, "a size");
    Demand(settings.snmp.port > 0 && settings.snmp.retries >= 0, "a port, and sendings");
    for (const std::string& path : settings.tls.trust_anchors) {
      Demand(path.starts_with('/'), "a whole path");
    }
    HoldsSecret(settings);
  } catch (const std::runtime_error& error) {
    Demand(*error.what() != 0, "a reason");
  }
  return 0;
}

}  // namespace custom_bidi::fuzz
