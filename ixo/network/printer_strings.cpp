#include "ixo/network/printer_strings.h"

#include <algorithm>

#include "ixo/network/http.h"
#include "ixo/network/uri.h"

namespace custom_bidi::network {
namespace {

/// Where the file is to be fetched from, when it may be.
DWORD FindHost(const Location& printer,
               const Settings& settings,
               const Uri& uri,
               Deadline deadline,
               std::vector<SocketAddress>& addresses) {
  if (const DWORD code = Resolve(printer.host, uri.port, deadline, addresses)) {
    return code;
  }
  std::vector<SocketAddress> named;
  if (uri.host == printer.host || Resolve(uri.host, uri.port, deadline.Halfway(), named) != ERROR_SUCCESS) {
    return ERROR_SUCCESS;
  }
  const bool is_printer = std::ranges::any_of(named, [&](const SocketAddress& name) {
    return std::ranges::any_of(addresses, [&](const SocketAddress& own) { return own.IsSameHost(name); });
  });
  if (is_printer) {
    return ERROR_SUCCESS;
  }
  addresses = named;
  return settings.follow_other_hosts ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

DWORD Fetch(const Location& printer, const Settings& settings, const Uri& uri, std::string& content) {
  const Deadline deadline(settings.deadline);
  std::vector<SocketAddress> addresses;
  if (const DWORD code = FindHost(printer, settings, uri, deadline, addresses)) {
    return code;
  }
  Connection connection;
  if (const DWORD code = connection.Open(addresses, deadline)) {
    return code;
  }
  if (uri.scheme == "https") {
    const TlsContext context = MakeTlsContext();
    if (const DWORD code = connection.StartTls(context.get(), uri.host, deadline)) {
      return code;
    }
  }
  const HttpRequest request{.host = HostField(uri.host, uri.port), .path = uri.path};
  HttpAnswer answer;
  if (const DWORD code = ExchangeHttp(connection, request, settings.max_answer_bytes, deadline, answer)) {
    return code;
  }
  constexpr int kHttpOk = 200;
  content.assign(answer.body.begin(), answer.body.end());
  return answer.status == kHttpOk ? DWORD{ERROR_SUCCESS} : kBadAnswer;
}

}  // namespace

DWORD FetchStrings(DeviceAddress& address,
                   const Settings& settings,
                   const std::string& uri,
                   std::string& content) {
  std::optional<Uri> parsed = ParseUri(uri);
  if (!parsed || (parsed->scheme != "http" && parsed->scheme != "https")) {
    return kBadAnswer;
  }
  if (parsed->port == 0) {
    parsed->port = parsed->scheme == "https" ? kHttpsPort : kHttpPort;
  }
  if (!address.TheStanding().MayTry(Protocol::kIpp)) {
    return kTimeout;
  }
  const DWORD code = Fetch(address.Where(), settings, *parsed, content);
  address.TheStanding().Note(Protocol::kIpp, code);
  return code;
}

}  // namespace custom_bidi::network
