// The printer's state from three objects of the Host Resources MIB (RFC 2790), for device and printer 1.

#include "src/deviceio/snmp_status.h"

#include <cstdint>
#include <cstdio>
#include <limits>

#include "src/deviceio/ixo_wrapper.h"
#include "src/text.h"
#include "src/trace/guard.h"

namespace custom_bidi {
namespace {

constexpr const WCHAR* kHrPrinterStatus = W("1.3.6.1.2.1.25.3.5.1.1.1");
constexpr const WCHAR* kHrDeviceStatus = W("1.3.6.1.2.1.25.3.2.1.5.1");
constexpr const WCHAR* kHrPrinterDetectedErrorState = W("1.3.6.1.2.1.25.3.5.1.2.1");

// hrPrinterStatus
constexpr DWORD kPrinterIdle = 3;
constexpr DWORD kPrinterPrinting = 4;
// hrDeviceStatus
constexpr DWORD kDeviceTesting = 4;
constexpr DWORD kDeviceDown = 5;

constexpr DWORD kResponseReady = 0;
constexpr DWORD kResponseNotReady = 2;

/// These messages go to the process's standard output, not to the trace.
void Print(const char* message) {
  std::puts(message);
  std::fflush(stdout);
}

DWORD ResponseCode(DWORD device_status, DWORD printer_status) {
  const bool at_work = printer_status == kPrinterIdle || printer_status == kPrinterPrinting;
  if (device_status == kDeviceTesting || (device_status == kDeviceDown && !at_work)) {
    return kResponseNotReady;
  }
  return kResponseReady;
}

constexpr int kNoDigit = -1;

int HexDigit(WCHAR unit) {
  if (unit >= '0' && unit <= '9') {
    return unit - '0';
  }
  if (unit >= 'a' && unit <= 'f') {
    return unit - 'a' + 10;
  }
  if (unit >= 'A' && unit <= 'F') {
    return unit - 'A' + 10;
  }
  return kNoDigit;
}

bool IsSpace(WCHAR unit) {
  return unit == ' ' || (unit >= '\t' && unit <= '\r');
}

bool HasHexPrefix(WStringView text) {
  return text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X') &&
         HexDigit(text[2]) != kNoDigit;
}

}  // namespace

DWORD ParseErrorState(WStringView text) noexcept {
  while (!text.empty() && IsSpace(text.front())) {
    text.remove_prefix(1);
  }
  const bool negative = !text.empty() && text.front() == '-';
  if (negative || (!text.empty() && text.front() == '+')) {
    text.remove_prefix(1);
  }
  if (HasHexPrefix(text)) {
    text.remove_prefix(2);
  }

  constexpr uint32_t kLimit = std::numeric_limits<uint32_t>::max();
  uint32_t number = 0;
  for (; !text.empty() && HexDigit(text.front()) != kNoDigit; text.remove_prefix(1)) {
    if (number > kLimit / 16) {
      return kLimit;
    }
    number = number * 16 + static_cast<uint32_t>(HexDigit(text.front()));
  }
  return negative ? 0 - number : number;
}

DWORD IxoWrapper::BindOidProviderMaker() noexcept {
  make_oid_provider_ =
      FindEntry<deviceio::CreateOidProviderFunction>(xdm_module_.Get(), deviceio::kCreateOidProvider);
  return make_oid_provider_ ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

DWORD IxoWrapper::GetPrinterStatus(DWORD& printer_status, DWORD& response_code, DWORD& status_code) {
  if (ReadInteger(kHrPrinterStatus, printer_status) == E_FAIL) {
    return ERROR_INVALID_DATA;
  }

  DWORD device_status = 0;
  if (ReadInteger(kHrDeviceStatus, device_status) == E_FAIL) {
    return ERROR_INVALID_DATA;
  }
  response_code = ResponseCode(device_status, printer_status);

  WString error_state;
  if (ReadPrinterErrorState(error_state) == E_FAIL) {
    return ERROR_INVALID_DATA;
  }
  status_code = ParseErrorState(error_state);
  return ERROR_SUCCESS;
}

HRESULT IxoWrapper::ReadPrinterErrorState(WString& text) {
  VARIANT value;
  const HRESULT result = ReadOid(kHrPrinterDetectedErrorState, value);
  if (result == S_OK && value.vt == VT_BSTR) {
    text = BstrText(value.bstrVal);
  }
  return result;
}

HRESULT IxoWrapper::ReadInteger(const WCHAR* oid, DWORD& value) noexcept {
  const auto raised = []() -> HRESULT {
    Print("Exception occured in OID Get Value");
    return E_FAIL;
  };
  return Guarded(
      [&] {
        VARIANT answer;
        const HRESULT result = ReadOid(oid, answer);
        // The payload counts, whatever the type says.
        if (result == S_OK && answer.vt != VT_EMPTY) {
          value = static_cast<DWORD>(answer.lVal);
        }
        return result;
      },
      [&raised](DWORD) { return raised(); }, raised);
}

/// Reads with a provider of its own. Neither the provider nor what `value` receives is ever released.
HRESULT IxoWrapper::ReadOid(const WCHAR* oid, VARIANT& value) {
  VariantInit(&value);
  if (!make_oid_provider_) {
    Print("Invalid OID Provider");
    return E_FAIL;
  }
  const OidProvider provider(make_oid_provider_(printer_address_.Get()));
  return provider ? provider.GetValue(oid, &value) : E_FAIL;
}

}  // namespace custom_bidi
