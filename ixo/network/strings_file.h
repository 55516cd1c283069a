#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace custom_bidi::network {

using StringPairs = std::vector<std::pair<std::string, std::string>>;

/// Reads a printer's strings file (PWG 5100.13, section 4.5.10): entries `"key" = "value";` in UTF-8 with
/// comments between them. In a text `\n`, `\t` and `\r`, an octal number and `\u` or `\U` with four
/// hexadecimal digits stand for a character, any other character behind a backslash for itself. What is no
/// entry is skipped up to the next line.
StringPairs ReadStrings(std::string_view text);

/// Writes them again, one to a line, with no other escapes than `\"`, `\\` and `\n`.
std::string WriteStrings(const StringPairs& pairs);

}  // namespace custom_bidi::network
