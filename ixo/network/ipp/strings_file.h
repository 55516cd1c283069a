#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ixo/network/location.h"
#include "ixo/network/settings.h"

namespace custom_bidi::network {

using StringPairs = std::vector<std::pair<std::string, std::string>>;

/// Reads a printer's strings file (PWG 5100.13, section 4.5.10): entries `"key" = "value";` in UTF-8 with
/// comments between them. In a text `\n`, `\t` and `\r`, an octal number and `\u` or `\U` with four
/// hexadecimal digits stand for a character, any other character behind a backslash for itself. What is no
/// entry is skipped up to the next line.
StringPairs ReadStrings(std::string_view text);

/// Writes them again, one to a line, with no other escapes than `\"`, `\\` and `\n`.
std::string WriteStrings(const StringPairs& pairs);

/// Fetches the file that a printer's printer-strings-uri names, by a GET of what stands there. The printer
/// itself is asked, at its own address, when the URI names it: by the host that it is known by, by a name that
/// leads to the same address, or by a name that leads nowhere, as the names do that printers give themselves.
/// For any other host the settings have to allow it, and there must be no query in the URI, since that host
/// has not put it there. A printer is not to send us to other services than printers have: the port is its
/// IPP port, 80, 443 or 631, and on this machine itself, where others listen on those, a printer's IPP port
/// alone. Else ERROR_ACCESS_DENIED. kBadAnswer for a URI that is none, and for an answer other than 200.
DWORD FetchStrings(DeviceAddress& address,
                   const Settings& settings,
                   const std::string& uri,
                   std::string& content);

}  // namespace custom_bidi::network
