#include "ixo/network/ipp/ipp_client.h"

#include <array>

#include "ixo/network/connection/http.h"
#include "ixo/network/location.h"

namespace custom_bidi::network {
namespace {

/// "Upgrade Required" (RFC 9110, section 15.5.22): the printer wants TLS.
constexpr int kHttpUpgradeRequired = 426;
constexpr int kHttpOk = 200;

/// server-error-version-not-supported (RFC 8011, appendix B.1.5.4).
constexpr uint16_t kVersionNotSupported = 0x0503;

/// What IPP Everywhere asks for, and what older printers know.
constexpr std::array kVersions = {IppVersion{2, 0}, IppVersion{1, 1}};

DWORD Post(const Location& where,
           bool with_tls,
           std::vector<BYTE> body,
           size_t max_bytes,
           const Patience& patience,
           HttpAnswer& answer) {
  Connection connection;
  if (const DWORD code = Connect(where.host, where.ipp_port, patience.End(), connection)) {
    return code;
  }
  if (with_tls) {
    const TlsContext context = MakeTlsContext();
    if (const DWORD code = connection.StartTls(context.get(), where.host, patience)) {
      answer.failure = code == kStopped ? StoppedAfter(connection.ReceivedBytes()) : "";
      return code;
    }
  }
  const HttpRequest request{.method = "POST",
                            .host = HostField(where.host, where.ipp_port),
                            .path = where.ipp_path,
                            .content_type = "application/ipp",
                            .body = std::move(body)};
  return ExchangeHttp(connection, request, max_bytes, patience, answer);
}

/// An answer that is one, whatever it says.
DWORD Ask(const Location& where,
          const std::vector<BYTE>& request,
          const Settings& settings,
          const Patience& patience,
          IppAnswer& answer) {
  answer = {};
  HttpAnswer http;
  DWORD code = Post(where, where.ipp_tls, request, settings.max_answer_bytes, patience, http);
  if (code == ERROR_SUCCESS && http.status == kHttpUpgradeRequired && !where.ipp_tls) {
    code = Post(where, true, request, settings.max_answer_bytes, patience, http);
  }
  if (code != ERROR_SUCCESS) {
    answer.failure = std::move(http.failure);
    return code;
  }
  std::optional<IppAnswer> decoded = http.status == kHttpOk ? DecodeAnswer(http.body) : std::nullopt;
  if (!decoded) {
    return kBadAnswer;
  }
  answer = std::move(*decoded);
  return ERROR_SUCCESS;
}

DWORD AskInSomeVersion(const Location& where,
                       const Settings& settings,
                       std::span<const std::string> names,
                       const std::string& language,
                       IppAnswer& answer) {
  const std::string uri =
      (where.ipp_tls ? "ipps://" : "ipp://") + HostField(where.host, where.ipp_port) + where.ipp_path;
  const Deadline deadline(settings.deadline);
  for (const IppVersion version : kVersions) {
    const std::vector<BYTE> request = EncodeAttributesRequest(version, uri, names, language);
    DWORD code = Ask(where, request, settings, {deadline.Halfway(), deadline}, answer);
    if (code == kStopped && !deadline.IsOver()) {
      code = Ask(where, request, settings, deadline, answer);
    }
    if (code != ERROR_SUCCESS) {
      return code;
    }
    if (answer.status != kVersionNotSupported) {
      break;
    }
  }
  // The codes below 0x0100 are the successful ones.
  constexpr uint16_t kFirstError = 0x0100;
  return answer.status < kFirstError ? DWORD{ERROR_SUCCESS} : kBadAnswer;
}

}  // namespace

DWORD GetPrinterAttributes(DeviceAddress& address,
                           const Settings& settings,
                           std::span<const std::string> names,
                           const std::string& language,
                           IppAnswer& answer) {
  if (!address.TheStanding().MayTry(Protocol::kIpp)) {
    return kTimeout;
  }
  const DWORD code = AskInSomeVersion(address.Where(), settings, names, language, answer);
  address.TheStanding().Note(Protocol::kIpp, code);
  return code;
}

}  // namespace custom_bidi::network
