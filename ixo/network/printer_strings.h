#pragma once

#include <string>

#include "ixo/network/address.h"
#include "ixo/network/settings.h"

namespace custom_bidi::network {

/// Fetches the file that a printer's printer-strings-uri names. The printer itself is asked, at its own
/// address, when the URI names it: by the host that it is known by, by a name that leads to the same address,
/// or by a name that leads nowhere, as the names do that printers give themselves. For any other host the
/// settings have to allow it; else ERROR_ACCESS_DENIED. kBadAnswer for a URI that is none, and for an answer
/// other than 200.
DWORD FetchStrings(DeviceAddress& address,
                   const Settings& settings,
                   const std::string& uri,
                   std::string& content);

}  // namespace custom_bidi::network
