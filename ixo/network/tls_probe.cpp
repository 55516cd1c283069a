#include "ixo/network/tls_probe.h"

#include "ixo/network/chain_verification.h"
#include "ixo/network/connection.h"
#include "ixo/network/kept_errors.h"

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
  Deadline done;
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
    const KeptErrors kept;
    const X509* const leaf = SSL_get0_peer_certificate(session);
    presented_.der = leaf ? DerOf(leaf) : std::vector<BYTE>();
    if (presented_.der.empty()) {
      return ERROR_NOT_FOUND;
    }
    presented_.problems = VerifyPresented(store_, session, host_);
    return ERROR_SUCCESS;
  }

  const std::string& host_;
  X509_STORE* const store_;
  PresentedCertificate& presented_;
  const TlsContext context_ = MakeTlsContext();
};

/// Whether the device may be there nevertheless, and another port of it answer.
bool IsWorthAnotherPort(DWORD code) {
  return code == kConnectionRefused || code == kConnectionAborted || code == kTimeout || code == kBadAnswer ||
         code == ERROR_NOT_FOUND;
}

DWORD TryPorts(DeviceAddress& address, const Prober& prober, Deadline deadline, uint16_t https_port) {
  const Location& where = address.Where();
  Standing& standing = address.TheStanding();
  const bool has_other = where.ipp_port != https_port;
  const Deadline half = has_other ? deadline.Halfway() : deadline;
  const DWORD first = prober.Try(where.ipp_port, {half, where.ipp_tls ? deadline : half});
  if (!has_other || !IsWorthAnotherPort(first)) {
    standing.Note(Protocol::kTls, first);
    return first;
  }
  const DWORD second = prober.Try(https_port, {deadline, deadline});
  if (second != ERROR_SUCCESS) {
    standing.Note(Protocol::kTls, first);
  }
  standing.Note(Protocol::kTls, second);
  return second == ERROR_SUCCESS || first == kConnectionRefused ? second : first;
}

DWORD OpenKept(const TlsSettings& settings, TrustStore& store) {
  const KeptErrors kept;
  return OpenTrustStore(settings, store);
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

}  // namespace custom_bidi::network
