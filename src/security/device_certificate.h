#pragma once

#include "include/custom_bidi.h"

namespace custom_bidi {

/// Releases what a record holds and empties it; its own 40 bytes stay the caller's. Null is allowed.
void ReleaseDeviceCertificate(DeviceCertificate* record) noexcept;

}  // namespace custom_bidi
