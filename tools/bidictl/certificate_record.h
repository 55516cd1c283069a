#pragma once

#include <span>
#include <string>
#include <vector>

#include "include/custom_bidi.h"
#include "tools/bidictl/text.h"

namespace custom_bidi_tools {

/// A printer's certificate as GetDeviceCertificate gave it, with all its memory.
class CertificateRecord {
 public:
  /// Takes the record over; it may be null.
  explicit CertificateRecord(DeviceCertificate* record) : record_(record) {}
  ~CertificateRecord();
  CertificateRecord(const CertificateRecord&) = delete;
  CertificateRecord& operator=(const CertificateRecord&) = delete;

  explicit operator bool() const { return record_ != nullptr; }
  DeviceCertificate* Get() const { return record_; }

  std::span<const uint8_t> certificate() const;
  std::vector<uint32_t> warnings() const;
  /// Empty when there is none.
  std::string device_uuid() const;

 private:
  DeviceCertificate* record_;
};

}  // namespace custom_bidi_tools
