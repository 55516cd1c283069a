#pragma once

#include <span>

#include "src/platform.h"

namespace custom_bidi::device {

/// Whether the present moment lies within a certificate's dates. Negative, with `valid` untouched, when the
/// bytes are no certificate.
HRESULT CheckDates(std::span<const BYTE> der, bool& valid);

}  // namespace custom_bidi::device
