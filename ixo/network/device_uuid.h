#pragma once

#include "ixo/network/address.h"
#include "ixo/network/settings.h"

namespace custom_bidi::network {

/// Asks a printer for its UUID (printer-uuid, PWG 5100.13, section 5.6.23): 36 characters, letters as the
/// printer has them, without the "urn:uuid:" in front. Returns 0; ERROR_NOT_FOUND when the printer has none
/// or what it has is none; or a code of GetPrinterAttributes.
DWORD ReadDeviceUuid(DeviceAddress& address, const Settings& settings, WString& uuid);

}  // namespace custom_bidi::network
