#include "ixo/network/certificate/network_certificate_provider.h"

#include <strings.h>

#include <algorithm>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "base/openssl_errors.h"
#include "ixo/network/connection/connection.h"
#include "ixo/network/ipp/ipp_client.h"
#include "ixo/network/ipp/ipp_message.h"
#include "ixo/support/provider_answers.h"
#include "ixo/support/results.h"

namespace custom_bidi::network {
namespace {

std::vector<BYTE> DerOf(const X509* certificate) {
  const int length = i2d_X509(certificate, nullptr);
  std::vector<BYTE> der(length > 0 ? static_cast<size_t>(length) : 0);
  BYTE* at = der.data();
  if (!der.empty() && i2d_X509(certificate, &at) != length) {
    der.clear();
  }
  return der;
}

/// The moments by which one port has to be connected, and to have carried the handshake through.
struct Turn {
  Deadline connected;
  Patience done;
};

class Prober {
 public:
  Prober(const std::string& host, X509_STORE* store, PresentedCertificate& presented)
      : host_(host), store_(store), presented_(presented) {}

  DWORD Try(uint16_t port, const Turn& turn) const {
    Connection connection;
    if (const DWORD code = Connect(host_, port, turn.connected, connection)) {
      return code;
    }
    if (const DWORD code = connection.StartTls(context_.get(), host_, turn.done)) {
      return code;
    }
    return TakeCertificate(connection.Tls());
  }

 private:
  DWORD TakeCertificate(SSL* session) const {
    const base::KeptOpenSslErrors kept;
    X509* const leaf = SSL_get0_peer_certificate(session);
    presented_.der = leaf != nullptr ? DerOf(leaf) : std::vector<BYTE>();
    if (presented_.der.empty()) {
      return ERROR_NOT_FOUND;
    }
    STACK_OF(X509)* const chain = SSL_get_peer_cert_chain(session);
    presented_.problems = VerifyPresented(store_, leaf, chain, host_);
    if (presented_.problems.any()) {
      // To OpenSSL what it has no memory to read is a problem, too: only those count that are seen twice.
      // In new copies, since what could not be read stays so.
      const auto free_all = [](STACK_OF(X509) * certificates) { sk_X509_pop_free(certificates, X509_free); };
      const std::unique_ptr<STACK_OF(X509), decltype(free_all)> again(
          sk_X509_deep_copy(chain, X509_dup, X509_free), free_all);
      if (!again ||
          VerifyPresented(store_, sk_X509_value(again.get(), 0), again.get(), host_) != presented_.problems) {
        throw std::bad_alloc();
      }
    }
    return ERROR_SUCCESS;
  }

  const std::string& host_;
  X509_STORE* const store_;
  PresentedCertificate& presented_;
  const TlsContext context_ = MakeTlsContext();
};

/// Whether the device may be there nevertheless, and another port of it answer.
bool IsWorthAnotherPort(DWORD code) {
  return code == kConnectionRefused || code == kConnectionAborted || code == kTimeout || code == kStopped ||
         code == kBadAnswer || code == ERROR_NOT_FOUND;
}

DWORD TryPorts(DeviceAddress& address, const Prober& prober, Deadline deadline, uint16_t https_port) {
  const Location& where = address.Where();
  Standing& standing = address.TheStanding();
  const bool has_other = where.ipp_port != https_port;
  const Deadline half = deadline.Halfway();
  const bool has_tls = where.ipp_tls || !has_other;
  const Patience done = has_tls ? Patience(half, deadline) : Patience(half);
  const DWORD first = prober.Try(where.ipp_port, {has_other ? half : deadline, done});
  const bool is_worth_the_same = has_tls && first == kStopped;
  if (!is_worth_the_same && !(has_other && IsWorthAnotherPort(first))) {
    standing.Note(Protocol::kTls, first);
    return first;
  }
  const DWORD second = prober.Try(is_worth_the_same ? where.ipp_port : https_port, {deadline, deadline});
  if (second != ERROR_SUCCESS) {
    standing.Note(Protocol::kTls, first);
  }
  standing.Note(Protocol::kTls, second);
  return second == ERROR_SUCCESS || first == kConnectionRefused ? second : first;
}

DWORD OpenKept(const TlsSettings& settings, TrustStore& store) {
  const base::KeptOpenSslErrors kept;
  return OpenTrustStore(settings, store);
}

HRESULT ResultOf(DWORD code) {
  return code == ERROR_SUCCESS ? S_OK : support::ResultFromWin32(code);
}

}  // namespace

DWORD ProbeCertificate(DeviceAddress& address,
                       const Settings& settings,
                       PresentedCertificate& presented,
                       uint16_t https_port) {
  const Deadline deadline(settings.deadline);
  TrustStore store;
  if (const DWORD code = OpenKept(settings.tls, store)) {
    return code;
  }
  if (!address.TheStanding().MayTry(Protocol::kTls)) {
    return kTimeout;
  }
  return TryPorts(address, Prober(address.Where().host, store.get(), presented), deadline, https_port);
}

namespace {

bool IsHexadecimal(char letter) {
  return (letter >= '0' && letter <= '9') || (letter >= 'a' && letter <= 'f') ||
         (letter >= 'A' && letter <= 'F');
}

bool IsUuid(std::string_view text) {
  constexpr std::string_view kPattern = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
  if (text.size() != kPattern.size()) {
    return false;
  }
  for (size_t i = 0; i < text.size(); ++i) {
    if (kPattern[i] == 'x' ? !IsHexadecimal(text[i]) : text[i] != '-') {
      return false;
    }
  }
  return true;
}

/// What follows "urn:uuid:", in which case does not count (RFC 4122, section 3).
std::string_view WithoutScheme(std::string_view uri) {
  constexpr std::string_view kScheme = "urn:uuid:";
  const bool has_scheme =
      uri.size() >= kScheme.size() && strncasecmp(uri.data(), kScheme.data(), kScheme.size()) == 0;
  return has_scheme ? uri.substr(kScheme.size()) : uri;
}

/// Asks a printer for its UUID (printer-uuid, PWG 5100.13, section 5.6.23): 36 characters, letters as the
/// printer has them, without the "urn:uuid:" in front. Returns 0; ERROR_NOT_FOUND when the printer has none
/// or what it has is none; or a code of GetPrinterAttributes.
DWORD ReadDeviceUuid(DeviceAddress& address, const Settings& settings, WString& uuid) {
  const std::string names[] = {"printer-uuid"};
  IppAnswer answer;
  if (const DWORD code = GetPrinterAttributes(address, settings, names, "en", answer)) {
    return code;
  }
  const std::string uri = FirstTextOf(answer, names[0]);
  const std::string_view text = WithoutScheme(uri);
  if (!IsUuid(text)) {
    return ERROR_NOT_FOUND;
  }
  uuid.assign(text.begin(), text.end());
  return ERROR_SUCCESS;
}

}  // namespace

HRESULT NetworkCertificateProvider::DoGetDeviceUUID(WCHAR* uuid, DWORD capacity_chars, DWORD* length_chars) {
  if (uuid == nullptr || capacity_chars == 0 || length_chars == nullptr) {
    return E_INVALIDARG;
  }
  *uuid = 0;
  *length_chars = 0;
  if (const DWORD code = ReadUuid()) {
    return ResultOf(Remember(code));
  }
  if (uuid_.size() >= capacity_chars) {
    return ResultOf(Remember(ERROR_INSUFFICIENT_BUFFER));
  }
  uuid[uuid_.copy(uuid, uuid_.size())] = 0;
  *length_chars = static_cast<DWORD>(uuid_.size());
  return S_OK;
}

HRESULT NetworkCertificateProvider::DoGetCertificateAllSecurityWarnings(DWORD* codes,
                                                                        DWORD capacity,
                                                                        DWORD* count) {
  if (codes == nullptr || count == nullptr) {
    return E_INVALIDARG;
  }
  *count = 0;
  if (const DWORD code = ReadCertificate()) {
    return ResultOf(Remember(code));
  }
  const std::vector<DWORD> warnings = WarningsOf(presented_.problems);
  std::copy_n(warnings.begin(), std::min<size_t>(warnings.size(), capacity), codes);
  *count = static_cast<DWORD>(warnings.size());
  return S_OK;
}

DWORD NetworkCertificateProvider::DoGetDeviceCertificate(const deviceio::KeyTypeList* key_types,
                                                         BYTE* bytes,
                                                         DWORD* length_bytes,
                                                         const WORD* eight,
                                                         DWORD ten,
                                                         DWORD* unread) {
  if (!support::IsCertificateQuestion(key_types, length_bytes, eight, ten, unread)) {
    return ERROR_INVALID_PARAMETER;
  }
  if (const DWORD code = ReadCertificate()) {
    *length_bytes = 0;
    return Remember(code);
  }
  return Remember(support::AnswerCertificate(presented_.der, bytes, length_bytes));
}

HRESULT NetworkCertificateProvider::DoCheckCertificateDate(const BYTE* bytes,
                                                           DWORD length_bytes,
                                                           LONG* valid) {
  if (bytes == nullptr || valid == nullptr) {
    return E_INVALIDARG;
  }
  *valid = 0;
  bool holds = false;
  const HRESULT result = support::CheckDates({bytes, length_bytes}, holds);
  if (FAILED(result)) {
    Remember(support::CodeOf(result));
    return result;
  }
  *valid = holds ? 1 : 0;
  return S_OK;
}

DWORD NetworkCertificateProvider::ReadCertificate() {
  if (!presented_code_) {
    presented_code_ =
        address_ != nullptr ? ProbeCertificate(*address_, *settings_, presented_) : DWORD{ERROR_NOT_FOUND};
  }
  return *presented_code_;
}

DWORD NetworkCertificateProvider::ReadUuid() {
  if (!uuid_code_) {
    uuid_code_ = address_ != nullptr ? ReadDeviceUuid(*address_, *settings_, uuid_) : DWORD{ERROR_NOT_FOUND};
  }
  return *uuid_code_;
}

/// Keeps the code of a failure, and gives it back.
DWORD NetworkCertificateProvider::Remember(DWORD code) {
  if (code != ERROR_SUCCESS) {
    last_error_ = code;
  }
  return code;
}

}  // namespace custom_bidi::network
