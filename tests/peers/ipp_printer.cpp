#include "tests/peers/ipp_printer.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <sstream>
#include <string_view>
#include <system_error>

#include "tests/peers/loopback.h"
#include "tests/peers/peer_files.h"
#include "tests/peers/peer_process.h"

namespace fs = std::filesystem;

namespace custom_bidi_test {
namespace {

/// Asks by a request that no count includes.
bool AnswersHttp(uint16_t port) {
  constexpr std::string_view kQuestion = "OPTIONS * HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n";
  constexpr std::string_view kAnswer = "HTTP/1.1";
  try {
    const FileDescriptor socket = ConnectLoopback(Transport::kTcp, port);
    const timeval limit = {.tv_sec = 2, .tv_usec = 0};
    setsockopt(socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    char answer[kAnswer.size()];
    return send(socket.Get(), kQuestion.data(), kQuestion.size(), MSG_NOSIGNAL) > 0 &&
           recv(socket.Get(), answer, sizeof(answer), MSG_WAITALL) == sizeof(answer) &&
           std::string_view(answer, sizeof(answer)) == kAnswer;
  } catch (const std::system_error&) {
    return false;
  }
}

int CountLinesWith(const std::string& text, const std::string& part) {
  int count = 0;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);)
    count += line.find(part) != std::string::npos ? 1 : 0;
  return count;
}

}  // namespace

IppPrinter::IppPrinter(const IppPrinterOptions& options) : log_(folder_ / "log") {
  StartOnFreePort([&] { Start(options); });
}

void IppPrinter::Start(const IppPrinterOptions& options) {
  port_ = FreePort(Transport::kTcp);
  const fs::path keys = options.keys.empty() ? folder_.MakeFolder("keys") : options.keys;
  const fs::path attributes = options.attributes.empty() ? PeerFile("good.attributes") : options.attributes;
  // The host name is what keeps it to the loopback interface. It looks for a service of its network
  // announcements even when it is told to announce nothing: the bus without one is enough.
  std::vector<std::string> words = {"ippeveprinter",
                                    "-v",
                                    "-v",
                                    "-r",
                                    "off",
                                    "-n",
                                    "localhost",
                                    "-p",
                                    std::to_string(port_),
                                    "-d",
                                    folder_.MakeFolder("spool"),
                                    "-K",
                                    keys,
                                    "-a",
                                    attributes};
  if (!options.strings.empty())
    words.insert(words.end(), {"-S", options.strings});
  words.push_back(options.name);
  Command command{std::move(words), {{"DBUS_SYSTEM_BUS_ADDRESS", bus_.Address()}}};
  process_ = StartPeer({std::move(command), log_, [this] { return AnswersHttp(port_); }});
}

std::string IppPrinter::Uri(const std::string& scheme, const std::string& host) const {
  return scheme + "://" + host + ':' + std::to_string(port_) + "/ipp/print";
}

int IppPrinter::AttributeRequests() const {
  return CountLinesWith(Log(), "operation-id=Get-Printer-Attributes");
}

int IppPrinter::FileRequests() const {
  return CountLinesWith(Log(), " GET /");
}

}  // namespace custom_bidi_test
