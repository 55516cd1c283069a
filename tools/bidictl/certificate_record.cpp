#include "tools/bidictl/certificate_record.h"

#include "tools/bidictl/certificate_text.h"

namespace custom_bidi_tools {

CertificateRecord::~CertificateRecord() {
  if (record_ == nullptr)
    return;
  DeleteDeviceCertificate(record_);
  FreeTaskMemory(record_);
}

std::span<const uint8_t> CertificateRecord::certificate() const {
  if (record_->certificate == nullptr)
    return {};
  return {record_->certificate, record_->certificate_length};
}

std::vector<uint32_t> CertificateRecord::warnings() const {
  if (record_->warnings == nullptr)
    return {};
  return {record_->warnings, record_->warnings + record_->warning_count};
}

std::string CertificateRecord::device_uuid() const {
  return record_->identifier != nullptr ? ToUtf8(record_->identifier) : "";
}

}  // namespace custom_bidi_tools
