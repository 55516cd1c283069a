#include "src/security/device_certificate.h"

#include <cstddef>

#include "src/trace/trace_log.h"

namespace custom_bidi {

// The caller reads the record directly.
static_assert(sizeof(DeviceCertificate) == 40);
static_assert(offsetof(DeviceCertificate, identifier) == 0);
static_assert(offsetof(DeviceCertificate, certificate_length) == 8);
static_assert(offsetof(DeviceCertificate, certificate) == 16);
static_assert(offsetof(DeviceCertificate, warning_count) == 24);
static_assert(offsetof(DeviceCertificate, warnings) == 32);

void ReleaseDeviceCertificate(DeviceCertificate* record) noexcept {
  TraceLog(W("[DeviceCertificate]:Destroyed"));
  if (record == nullptr)
    return;
  delete[] record->certificate;
  delete[] record->warnings;
  CoTaskMemFree(record->identifier);
  *record = {};
}

}  // namespace custom_bidi
