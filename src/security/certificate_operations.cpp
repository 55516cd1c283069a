// Reading the printer's certificate into a record, and checking a record.

#include <algorithm>

#include "src/context/request_context.h"
#include "src/security/certificate_wrapper.h"
#include "src/text.h"
#include "src/trace/guard.h"

namespace custom_bidi {
namespace {

constexpr const WCHAR* kDriverIdentifier = W("NQDRV4");
constexpr const WCHAR* kRunLabel = W("Error in Run");

std::span<const BYTE> CertificateOf(const DeviceCertificate& record) {
  if (record.certificate_length != 0 && record.certificate != nullptr) {
    return {record.certificate, record.certificate_length};
  }
  TraceLog(W("[DeviceCertificate]:Certificate Error"));
  return {};
}

WarningList WarningsOf(const DeviceCertificate& record) {
  if (record.warnings != nullptr && record.warning_count == 0) {
    TraceLog(W("[DeviceCertificate]:No certificate security warnings to report"));
  } else {
    TraceLog(W("[DeviceCertificate]:Number of errors reported"));
  }
  return {record.warnings, record.warning_count};
}

void WriteBack(const WarningList& warnings, DeviceCertificate& record) {
  if (warnings.count() == 0) {
    TraceLog(W("[CertificateHandlingWrapper]:No certificate security warnings to report"));
  }
  record.warning_count = warnings.count();
  if (record.warnings == nullptr) {
    TraceLog(W("[DeviceCertificate]:No memory allocated to get Certificate security warnings"));
  } else if (warnings.count() == 0) {
    TraceLog(W("[DeviceCertificate]:No certificate security warnings to report"));
  } else {
    std::ranges::copy(warnings.codes(), record.warnings);
  }
}

}  // namespace

DeviceCertificate* CCustomBiDi::GetPrinterCertificate(const WCHAR* user,
                                                      const WCHAR* queue,
                                                      DWORD mode) noexcept {
  return Guarded(
      [&]() -> DeviceCertificate* {
        if (StartForQueue(queue) != ERROR_SUCCESS) {
          return nullptr;
        }
        if (InitIOWrapperForSEPassword() != ERROR_SUCCESS) {
          FailInitialisation();
          return nullptr;
        }
        return ixo_.FetchDeviceCertificate(user, ReadPortName().data(), mode);
      },
      [](DWORD code) -> DeviceCertificate* {
        if (code != ERROR_SUCCESS) {
          TraceErrorCode(code, kRunLabel);
        }
        return nullptr;
      },
      []() -> DeviceCertificate* {
        TraceLog(W("Error in %s"), W("CCustomBiDi::GetPrinterCertificate"));
        return nullptr;
      });
}

DeviceCertificate* IxoWrapper::FetchDeviceCertificate(const WCHAR* user, const WCHAR* port, DWORD mode) {
  // A queue without a port has no address: its own name never stands for one here.
  const PrinterAddress address = GetAddress(port, AddressKind::kPortName);
  if (!address && mode == kFullCheck) {
    return nullptr;
  }
  CertificateHandlingWrapper wrapper(address, cert_module_.Get(), user, kDriverIdentifier, mode);
  if (FAILED(wrapper.FetchCertificate())) {
    return nullptr;
  }

  DWORD length_bytes = 0;
  wrapper.CopyCertificate(nullptr, &length_bytes);
  std::vector<BYTE> certificate(length_bytes);
  wrapper.CopyCertificate(certificate.data(), &length_bytes);
  if (wrapper.warnings().count() == 0) {
    TraceLog(W("[CertificateHandlingWrapper]:No certificate security warnings to report"));
  }
  return MakeDeviceCertificate(certificate, wrapper.warnings(), wrapper.device_uuid()).release();
}

DWORD CCustomBiDi::VerifyCertificateValidity(const WCHAR* user,
                                             const WCHAR* queue,
                                             DWORD mode,
                                             DeviceCertificate* record) noexcept {
  constexpr const WCHAR* kOperation = W("CCustomBiDi::VerifyCertificateValidity");
  return GuardedOperation(kOperation, kRunLabel, ERROR_SUCCESS, [&]() -> DWORD {
    if (const DWORD code = StartForQueue(queue); code != ERROR_SUCCESS) {
      return code;
    }
    if (InitIOWrapperForSEPassword() != ERROR_SUCCESS) {
      return FailInitialisation();
    }
    return ixo_.VerifyDeviceCertificate(user, mode, record);
  });
}

DWORD IxoWrapper::VerifyDeviceCertificate(const WCHAR* user, DWORD mode, DeviceCertificate* record) {
  if (record == nullptr) {
    return kFailed;
  }
  const std::span<const BYTE> certificate = CertificateOf(*record);
  const WarningList warnings = WarningsOf(*record);
  CertificateHandlingWrapper wrapper(cert_module_.Get(), user, kDriverIdentifier, mode, certificate, warnings,
                                     record->identifier);
  if (FAILED(wrapper.ValidateCertificate())) {
    return kFailed;
  }
  WriteBack(wrapper.warnings(), *record);
  return ERROR_SUCCESS;
}

}  // namespace custom_bidi
