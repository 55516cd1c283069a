#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "src/platform.h"

namespace custom_bidi::simulated {

/// Decodes base64 with its padding; blanks and line ends do not count. nullopt for anything else.
std::optional<std::vector<BYTE>> DecodeBase64(std::string_view text);

}  // namespace custom_bidi::simulated
