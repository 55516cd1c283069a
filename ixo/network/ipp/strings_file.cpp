#include "ixo/network/ipp/strings_file.h"

#include <algorithm>
#include <optional>

#include "base/utf.h"
#include "ixo/network/connection/http.h"
#include "ixo/network/location.h"

namespace custom_bidi::network {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t\r\n";

int DigitFrom(char unit, int base) {
  int digit = base;
  if (unit >= '0' && unit <= '9') {
    digit = unit - '0';
  } else if (unit >= 'a' && unit <= 'f') {
    digit = unit - 'a' + 10;
  } else if (unit >= 'A' && unit <= 'F') {
    digit = unit - 'A' + 10;
  }
  return digit < base ? digit : -1;
}

class StringsReader {
 public:
  explicit StringsReader(std::string_view text)
      : text_(text.substr(text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0)) {}

  /// False when there are no more entries.
  bool Read(std::pair<std::string, std::string>& entry) {
    for (;;) {
      SkipBlanks();
      if (at_ == text_.size()) {
        return false;
      }
      const size_t begin = at_;
      if (ReadEntry(entry)) {
        return true;
      }
      at_ = begin;
      SkipLine();
    }
  }

 private:
  bool ReadEntry(std::pair<std::string, std::string>& entry) {
    if (!ReadText(entry.first)) {
      return false;
    }
    SkipBlanks();
    if (!Take('=')) {
      return false;
    }
    SkipBlanks();
    if (!ReadText(entry.second)) {
      return false;
    }
    SkipBlanks();
    return Take(';') && !entry.first.empty();
  }

  bool ReadText(std::string& text) {
    text.clear();
    if (!Take('"')) {
      return false;
    }
    while (at_ < text_.size()) {
      const char unit = text_[at_++];
      if (unit == '"') {
        return true;
      }
      if (unit == '\\') {
        text += ReadEscape();
      } else {
        text += unit;
      }
    }
    return false;
  }

  /// Behind the backslash. At the end of the file there is nothing that it could stand for.
  std::string ReadEscape() {
    if (at_ == text_.size()) {
      return "";
    }
    const char unit = text_[at_++];
    switch (unit) {
      case 'n':
        return "\n";
      case 't':
        return "\t";
      case 'r':
        return "\r";
      case 'u':
      case 'U':
        return ReadNumber(4, 4, 16).value_or(std::string(1, unit));
      default:
        return ReadOther();
    }
  }

  std::string ReadOther() {
    --at_;
    if (auto character = ReadNumber(1, 3, 8)) {
      return *character;
    }
    return {text_[at_++]};
  }

  /// The character of a number with so many digits; nothing, and nothing read, when they are too few.
  std::optional<std::string> ReadNumber(int min_digits, int max_digits, int base) {
    int number = 0;
    int digits = 0;
    for (; digits < max_digits && at_ + static_cast<size_t>(digits) < text_.size(); ++digits) {
      const int digit = DigitFrom(text_[at_ + static_cast<size_t>(digits)], base);
      if (digit < 0) {
        break;
      }
      number = number * base + digit;
    }
    if (digits < min_digits || number == 0) {
      return std::nullopt;
    }
    at_ += static_cast<size_t>(digits);
    return base::ToUtf8(std::u16string(1, static_cast<char16_t>(number)));
  }

  bool Take(char unit) {
    const bool is_there = at_ < text_.size() && text_[at_] == unit;
    at_ += is_there ? 1 : 0;
    return is_there;
  }

  /// Comments are blanks, too.
  void SkipBlanks() {
    for (;;) {
      at_ = std::min(text_.find_first_not_of(kBlanks, at_), text_.size());
      if (text_.substr(at_, 2) == "/*") {
        const size_t end = text_.find("*/", at_ + 2);
        at_ = end == std::string_view::npos ? text_.size() : end + 2;
      } else if (text_.substr(at_, 2) == "//") {
        SkipLine();
      } else {
        return;
      }
    }
  }

  void SkipLine() { at_ = std::min(text_.find('\n', at_), text_.size()); }

  const std::string_view text_;
  size_t at_ = 0;
};

void WriteText(const std::string& text, std::string& written) {
  written += '"';
  for (const char unit : text) {
    if (unit == '\n') {
      written += "\\n";
    } else {
      written += (unit == '"' || unit == '\\') ? std::string{'\\', unit} : std::string(1, unit);
    }
  }
  written += '"';
}

bool IsPrintersPort(const Location& printer, uint16_t port) {
  return port == printer.ipp_port || port == kHttpPort || port == kHttpsPort || port == kIppPort;
}

bool IsOwnMachine(const std::vector<SocketAddress>& addresses) {
  return std::ranges::any_of(addresses, &SocketAddress::IsLoopback);
}

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
  const bool is_lured_home = IsOwnMachine(named) && !IsOwnMachine(addresses);
  const bool has_query = uri.path.find('?') != std::string::npos;
  addresses = named;
  return settings.follow_other_hosts && !is_lured_home && !has_query ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

DWORD FetchFrom(const std::vector<SocketAddress>& addresses,
                const Settings& settings,
                const Uri& uri,
                const Patience& patience,
                std::string& content) {
  Connection connection;
  if (const DWORD code = connection.Open(addresses, patience.End())) {
    return code;
  }
  if (uri.scheme == "https") {
    const TlsContext context = MakeTlsContext();
    if (const DWORD code = connection.StartTls(context.get(), uri.host, patience)) {
      return code;
    }
  }
  const HttpRequest request{.host = HostField(uri.host, uri.port), .path = uri.path};
  HttpAnswer answer;
  if (const DWORD code = ExchangeHttp(connection, request, settings.max_answer_bytes, patience, answer)) {
    return code;
  }
  constexpr int kHttpOk = 200;
  content.assign(answer.body.begin(), answer.body.end());
  return answer.status == kHttpOk ? DWORD{ERROR_SUCCESS} : kBadAnswer;
}

DWORD Fetch(const Location& printer, const Settings& settings, const Uri& uri, std::string& content) {
  const Deadline deadline(settings.deadline);
  std::vector<SocketAddress> addresses;
  if (const DWORD code = FindHost(printer, settings, uri, deadline, addresses)) {
    return code;
  }
  if (IsOwnMachine(addresses) && uri.port != printer.ipp_port) {
    return ERROR_ACCESS_DENIED;
  }
  const DWORD code = FetchFrom(addresses, settings, uri, {deadline.Halfway(), deadline}, content);
  return code == kStopped && !deadline.IsOver() ? FetchFrom(addresses, settings, uri, deadline, content)
                                                : code;
}

}  // namespace

StringPairs ReadStrings(std::string_view text) {
  StringPairs pairs;
  StringsReader reader(text);
  std::pair<std::string, std::string> entry;
  while (reader.Read(entry)) {
    pairs.push_back(entry);
  }
  return pairs;
}

std::string WriteStrings(const StringPairs& pairs) {
  std::string written;
  for (const auto& [key, value] : pairs) {
    WriteText(key, written);
    written += " = ";
    WriteText(value, written);
    written += ";\n";
  }
  return written;
}

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
  if (!IsPrintersPort(address.Where(), parsed->port)) {
    return ERROR_ACCESS_DENIED;
  }
  if (!address.TheStanding().MayTry(Protocol::kIpp)) {
    return kTimeout;
  }
  const DWORD code = Fetch(address.Where(), settings, *parsed, content);
  address.TheStanding().Note(Protocol::kIpp, code);
  return code;
}

}  // namespace custom_bidi::network
