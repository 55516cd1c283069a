// Reading the printer's certificate into a record, and checking a record.

#include <algorithm>

#include "src/exports/queue_port.h"
#include "src/exports/request_context.h"
#include "src/security/certificate_wrapper.h"
#include "src/security/device_certificate.h"
#include "src/text.h"
#include "src/trace/guard.h"

namespace custom_bidi {
namespace {

constexpr DWORD kFailed = 1;
constexpr const WCHAR* kDriverIdentifier = W("NQDRV4");
constexpr const WCHAR* kRunLabel = W("Error in Run");
constexpr const WCHAR* kInitFailed = W(">>>> Custom Bidi : InitIOWrapper Initialization failed!!");

std::span<const BYTE> CertificateOf(const DeviceCertificate& record) {
  if (record.certificate_length != 0 && record.certificate != nullptr)
    return {record.certificate, record.certificate_length};
  TraceLog(W("[DeviceCertificate]:Certificate Error"));
  return {};
}

WarningList WarningsOf(const DeviceCertificate& record) {
  if (record.warnings != nullptr && record.warning_count == 0)
    TraceLog(W("[DeviceCertificate]:No certificate security warnings to report"));
  else
    TraceLog(W("[DeviceCertificate]:Number of errors reported"));
  return {record.warnings, record.warning_count};
}

void WriteBack(const WarningList& warnings, DeviceCertificate& record) {
  if (warnings.count() == 0)
    TraceLog(W("[CertificateHandlingWrapper]:No certificate security warnings to report"));
  record.warning_count = warnings.count();
  if (record.warnings == nullptr)
    TraceLog(W("[DeviceCertificate]:No memory allocated to get Certificate security warnings"));
  else if (warnings.count() == 0)
    TraceLog(W("[DeviceCertificate]:No certificate security warnings to report"));
  else
    std::ranges::copy(warnings.codes(), record.warnings);
}

}  // namespace

DeviceCertificate* CCustomBiDi::GetPrinterCertificate(const WCHAR* user,
                                                      const WCHAR* queue,
                                                      DWORD mode) noexcept {
  return Guarded(
      [&]() -> DeviceCertificate* {
        if (IsNullOrEmpty(queue)) {
          TraceLog(W(">>>> Custom Bidi : Invalid Printer Name"));
          return nullptr;
        }
        StartForQueue(queue);
        if (InitIOWrapperForSEPassword() != ERROR_SUCCESS) {
          TraceLog(kInitFailed);
          return nullptr;
        }
        WCHAR port[kPortChars] = {};
        GetQueuePortName(queue_, port);
        TraceLog(W(" the port name from the printer is: [%s]"), port);
        const AddressKind kind = *port != 0 ? AddressKind::PortName : AddressKind::QueueName;
        return ixo_.FetchDeviceCertificate(user, port, kind, mode);
      },
      [](DWORD code) -> DeviceCertificate* {
        if (code != ERROR_SUCCESS)
          TraceErrorCode(code, kRunLabel);
        return nullptr;
      },
      []() -> DeviceCertificate* {
        TraceLog(W("Error in %s"), W("CCustomBiDi::GetPrinterCertificate"));
        return nullptr;
      });
}

DeviceCertificate* IxoWrapper::FetchDeviceCertificate(const WCHAR* user,
                                                      const WCHAR* port,
                                                      AddressKind kind,
                                                      DWORD mode) {
  ixo::PrinterAddress* const address = GetAddress(port, kind);
  if (address == nullptr && mode == kFullCheck)
    return nullptr;
  CertificateHandlingWrapper wrapper(address, cert_module_.Get(), user, kDriverIdentifier, mode);
  if (FAILED(wrapper.FetchCertificate()))
    return nullptr;

  DWORD length_bytes = 0;
  wrapper.CopyCertificate(nullptr, &length_bytes);
  std::vector<BYTE> certificate(length_bytes);
  wrapper.CopyCertificate(certificate.data(), &length_bytes);
  if (wrapper.warnings().count() == 0)
    TraceLog(W("[CertificateHandlingWrapper]:No certificate security warnings to report"));
  return MakeDeviceCertificate(certificate, wrapper.warnings(), wrapper.device_uuid()).release();
}

DWORD CCustomBiDi::VerifyCertificateValidity(const WCHAR* user,
                                             const WCHAR* queue,
                                             DWORD mode,
                                             DeviceCertificate* record) noexcept {
  constexpr const WCHAR* kOperation = W("CCustomBiDi::VerifyCertificateValidity");
  return GuardedOperation(kOperation, kRunLabel, ERROR_SUCCESS, [&]() -> DWORD {
    if (IsNullOrEmpty(queue)) {
      TraceLog(W(">>>> Custom Bidi : Invalid Printer Name"));
      return ERROR_INVALID_PARAMETER;
    }
    StartForQueue(queue);
    if (InitIOWrapperForSEPassword() != ERROR_SUCCESS) {
      TraceLog(kInitFailed);
      return kFailed;
    }
    return ixo_.VerifyDeviceCertificate(user, mode, record);
  });
}

DWORD IxoWrapper::VerifyDeviceCertificate(const WCHAR* user, DWORD mode, DeviceCertificate* record) {
  if (record == nullptr)
    return kFailed;
  const std::span<const BYTE> certificate = CertificateOf(*record);
  const WarningList warnings = WarningsOf(*record);
  CertificateHandlingWrapper wrapper(cert_module_.Get(), user, kDriverIdentifier, mode, certificate, warnings,
                                     record->identifier);
  if (FAILED(wrapper.ValidateCertificate()))
    return kFailed;
  WriteBack(wrapper.warnings(), *record);
  return ERROR_SUCCESS;
}

}  // namespace custom_bidi
