#include "ixo/network/device_uuid.h"

#include <strings.h>

#include <string>
#include <string_view>

#include "ixo/network/ipp_client.h"
#include "ixo/network/ipp_value.h"

namespace custom_bidi::network {
namespace {

bool IsHexadecimal(char letter) {
  return (letter >= '0' && letter <= '9') || (letter >= 'a' && letter <= 'f') ||
         (letter >= 'A' && letter <= 'F');
}

bool IsUuid(std::string_view text) {
  constexpr std::string_view kPattern = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
  if (text.size() != kPattern.size()) {
    return false;
  }
  for (size_t i = 0; i < text.size(); ++i) {
    if (kPattern[i] == 'x' ? !IsHexadecimal(text[i]) : text[i] != '-') {
      return false;
    }
  }
  return true;
}

/// What follows "urn:uuid:", in which case does not count (RFC 4122, section 3).
std::string_view WithoutScheme(std::string_view uri) {
  constexpr std::string_view kScheme = "urn:uuid:";
  const bool has_scheme =
      uri.size() >= kScheme.size() && strncasecmp(uri.data(), kScheme.data(), kScheme.size()) == 0;
  return has_scheme ? uri.substr(kScheme.size()) : uri;
}

}  // namespace

DWORD ReadDeviceUuid(DeviceAddress& address, const Settings& settings, WString& uuid) {
  const std::string names[] = {"printer-uuid"};
  IppAnswer answer;
  if (const DWORD code = GetPrinterAttributes(address, settings, names, "en", answer)) {
    return code;
  }
  const std::string uri = FirstTextOf(answer, names[0]);
  const std::string_view text = WithoutScheme(uri);
  if (!IsUuid(text)) {
    return ERROR_NOT_FOUND;
  }
  uuid.assign(text.begin(), text.end());
  return ERROR_SUCCESS;
}

}  // namespace custom_bidi::network
