#pragma once

#include <optional>
#include <string>

#include "ixo/network/ipp_message.h"
#include "ixo/support/value.h"

namespace custom_bidi::network {

/// The value of an attribute: one integer or enum as VT_I4; everything else as a text, several values with
/// commas between them. Integers and enums are in decimal; texts, names, keywords and the like stand as they
/// are; all others have the form that ipptool prints: "true", "1-10", "600dpi", "300x600dpcm",
/// "2026-01-02T03:04:05Z",
/// "{x-dimension=21000 media-key=a4}", octets with a backslash before blanks and as octal numbers. Nothing
/// when the printer did not send the attribute, or sent no value.
std::optional<device::Value> ValueOf(const IppAnswer& answer, const std::string& name);

/// The first of the attribute's values when it is a text of any kind; empty otherwise.
std::string FirstTextOf(const IppAnswer& answer, const std::string& name);

}  // namespace custom_bidi::network
