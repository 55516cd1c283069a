#pragma once

#include <span>
#include <string>

#include "ixo/network/ipp/ipp_message.h"
#include "ixo/network/location.h"
#include "ixo/network/settings.h"

namespace custom_bidi::network {

/// Asks a printer for attributes by name, all in one Get-Printer-Attributes (RFC 8011, section 4.2.5), with
/// texts in the language (RFC 5646). Returns 0 or a code of exchange.h: kBadAnswer for an answer that is no IPP,
/// that is to another request, or in which the printer refuses. A printer that falls silent amid its answer
/// before half of the time is over is asked once more; kStopped, and how far it came in `answer.failure`, when
/// that does not help. The device's standing is minded and kept.
DWORD GetPrinterAttributes(DeviceAddress& address,
                           const Settings& settings,
                           std::span<const std::string> names,
                           const std::string& language,
                           IppAnswer& answer);

}  // namespace custom_bidi::network
