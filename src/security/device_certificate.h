#pragma once

#include <memory>

#include "include/custom_bidi.h"
#include "src/security/warning_list.h"

namespace custom_bidi {

/// Releases what a record holds and empties it; its own 40 bytes stay the caller's. Null is allowed.
void ReleaseDeviceCertificate(DeviceCertificate* record) noexcept;

struct DeviceCertificateDeleter {
  void operator()(DeviceCertificate* record) const noexcept;
};

/// A record that has not been handed out yet.
using DeviceCertificatePtr = std::unique_ptr<DeviceCertificate, DeviceCertificateDeleter>;

/// Makes a record: the identifier and the record itself from the COM task allocator, the rest from this
/// library's heap. Throws std::bad_alloc; only an identifier that cannot be allocated stays null.
DeviceCertificatePtr MakeDeviceCertificate(std::span<const BYTE> certificate,
                                           const WarningList& warnings,
                                           WStringView identifier);

}  // namespace custom_bidi
