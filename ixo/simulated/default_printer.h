#pragma once

#include <string_view>

namespace custom_bidi::simulated {

/// The text of ixo/simulated/printer.json, put in at build time.
extern const std::string_view kDefaultPrinter;

}  // namespace custom_bidi::simulated
