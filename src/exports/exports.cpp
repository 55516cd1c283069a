// The nine exports: each builds a request context, runs its operation, copies an answer where it has one, and
// maps the operation's code to its result.

#include "include/custom_bidi.h"

#include "src/context/request_context.h"
#include "src/security/device_certificate.h"
#include "src/trace/guard.h"

namespace {

using custom_bidi::CCustomBiDi;
using custom_bidi::Guarded;
using custom_bidi::PasswordMode;
using custom_bidi::WString;

/// Runs `body` so that nothing leaves the export: whatever escapes gives `otherwise`.
template <class Body, class Result = std::invoke_result_t<Body>>
Result ExportBody(Result otherwise, Body&& body) noexcept {
  return Guarded(
      body, [otherwise](DWORD) { return otherwise; }, [otherwise] { return otherwise; });
}

/// The caller's buffer holds the whole answer and its terminator: it has no capacity to check against.
void CopyAnswer(const WString& answer, WCHAR* response) {
  std::char_traits<WCHAR>::copy(response, answer.c_str(), answer.size() + 1);
}

BOOL RunPasswordCall(const BYTE* password,
                     DWORD length_bytes,
                     const WCHAR* user,
                     const WCHAR* target,
                     PasswordMode mode,
                     const WCHAR* queue) {
  return ExportBody(FALSE, [&]() -> BOOL {
    CCustomBiDi context;
    return context.ProcessPassword(password, length_bytes, user, target, mode, queue) == ERROR_SUCCESS
               ? TRUE
               : FALSE;
  });
}

}  // namespace

extern "C" {

CustomBidiBool GetBidiResponse(CustomBidiChar* response,
                               const CustomBidiChar* queue,
                               const CustomBidiChar* default_cid,
                               const CustomBidiChar* const* items,
                               CustomBidiLong item_count) {
  return ExportBody(FALSE, [&]() -> BOOL {
    CCustomBiDi context;
    if (context.Init(queue, default_cid) != ERROR_SUCCESS) {
      return FALSE;
    }
    const DWORD code =
        items != nullptr ? context.LoadIPPResponse(items, item_count) : context.LoadIPPResponse();
    if (code != ERROR_SUCCESS || response == nullptr) {
      return FALSE;
    }
    CopyAnswer(context.ComposeBidiJson(), response);
    return TRUE;
  });
}

CustomBidiBool GetStatusData(const CustomBidiChar* address, CustomBidiChar* response) {
  return ExportBody(FALSE, [&]() -> BOOL {
    CCustomBiDi context;
    if (context.InitForStatus(address) != ERROR_SUCCESS || response == nullptr) {
      return FALSE;
    }
    WString answer;
    const DWORD code = context.ComposeStatusJson(answer);
    CopyAnswer(answer, response);
    return code == ERROR_SUCCESS ? TRUE : FALSE;
  });
}

CustomBidiBool GetPortStatus(const CustomBidiChar* queue, CustomBidiLong* status) {
  return ExportBody(FALSE, [&]() -> BOOL {
    CCustomBiDi context;
    return context.GetPortStatus(queue, status) == ERROR_SUCCESS ? TRUE : FALSE;
  });
}

CustomBidiBool SavePassword(const uint8_t* password,
                            CustomBidiDword password_length,
                            const CustomBidiChar* user,
                            const CustomBidiChar* target,
                            const CustomBidiChar* queue) {
  return RunPasswordCall(password, password_length, user, target, PasswordMode::kSave, queue);
}

CustomBidiBool DeletePassword(const CustomBidiChar* user,
                              const CustomBidiChar* target,
                              const CustomBidiChar* queue) {
  return RunPasswordCall(nullptr, 0, user, target, PasswordMode::kDelete, queue);
}

CustomBidiBool IsPasswordPresent(const CustomBidiChar* user,
                                 const CustomBidiChar* target,
                                 const CustomBidiChar* queue) {
  return RunPasswordCall(nullptr, 0, user, target, PasswordMode::kPresent, queue);
}

DeviceCertificate* GetDeviceCertificate(const CustomBidiChar* user,
                                        const CustomBidiChar* queue,
                                        CustomBidiDword mode) {
  return ExportBody(static_cast<DeviceCertificate*>(nullptr), [&] {
    CCustomBiDi context;
    return context.GetPrinterCertificate(user, queue, mode);
  });
}

bool DeleteDeviceCertificate(DeviceCertificate* record) {
  custom_bidi::ReleaseDeviceCertificate(record);
  return true;
}

CustomBidiBool VerifyCertificateValidity(const CustomBidiChar* user,
                                         const CustomBidiChar* queue,
                                         CustomBidiDword mode,
                                         DeviceCertificate* record) {
  return ExportBody(FALSE, [&]() -> BOOL {
    CCustomBiDi context;
    return context.VerifyCertificateValidity(user, queue, mode, record) == ERROR_SUCCESS ? TRUE : FALSE;
  });
}

}  // extern "C"
