#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/bidictl/table.h"

namespace custom_bidi_tools {

/// The rows of a bidi answer, in the order of their names. An item that is "Valid" with a list of values
/// beside it becomes one row with the list. Nothing when the answer is not well-formed JSON, as happens when
/// the device's text holds a quote or a control character, for the library copies it as it is.
std::optional<std::vector<Row>> ItemRows(const std::string& answer);

}  // namespace custom_bidi_tools
