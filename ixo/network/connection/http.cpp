#include "ixo/network/connection/http.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>

namespace custom_bidi::network {
namespace {

/// A line of a header, and the size of a chunk with what may stand behind it.
constexpr size_t kMaxLineBytes = 8192;
constexpr size_t kMaxHeaderLines = 100;

std::vector<BYTE> RequestBytes(const HttpRequest& request) {
  std::string head = std::string(request.method) + ' ' + request.path + " HTTP/1.1\r\nHost: " + request.host +
                     "\r\nConnection: close\r\n";
  if (!request.body.empty()) {
    head += "Content-Type: " + request.content_type +
            "\r\nContent-Length: " + std::to_string(request.body.size()) + "\r\n";
  }
  head += "\r\n";
  std::vector<BYTE> bytes(head.begin(), head.end());
  bytes.insert(bytes.end(), request.body.begin(), request.body.end());
  return bytes;
}

/// What comes from the device, by lines and by bytes.
class Reader {
 public:
  Reader(Connection& connection, const Patience& patience) : connection_(connection), patience_(patience) {}

  size_t ReceivedBytes() const { return received_bytes_; }

  /// Without its line end; kBadAnswer when it is too long.
  DWORD ReadLine(std::string& line) {
    line.clear();
    for (;;) {
      if (begin_ == end_) {
        if (const DWORD code = Fill()) {
          return code;
        }
      }
      const auto* const from = buffer_.data() + begin_;
      const auto* const until = buffer_.data() + end_;
      const auto* const line_end = std::find(from, until, '\n');
      line.append(from, line_end);
      if (line.size() > kMaxLineBytes) {
        return kBadAnswer;
      }
      begin_ = static_cast<size_t>(line_end - buffer_.data());
      if (line_end != until) {
        ++begin_;
        if (line.ends_with('\r')) {
          line.pop_back();
        }
        return ERROR_SUCCESS;
      }
    }
  }

  /// Appends exactly so many bytes.
  DWORD ReadBytes(size_t count, std::vector<BYTE>& bytes) {
    while (count > 0) {
      if (begin_ == end_) {
        if (const DWORD code = Fill()) {
          return code;
        }
      }
      const size_t length = std::min(count, end_ - begin_);
      bytes.insert(bytes.end(), buffer_.data() + begin_, buffer_.data() + begin_ + length);
      begin_ += length;
      count -= length;
    }
    return ERROR_SUCCESS;
  }

  /// Appends all that comes until the device closes.
  DWORD ReadRest(size_t max_bytes, std::vector<BYTE>& bytes) {
    for (;;) {
      if (const DWORD code = ReadBytes(end_ - begin_, bytes)) {
        return code;
      }
      if (bytes.size() > max_bytes) {
        return kTooLarge;
      }
      const DWORD code = Fill();
      if (code != ERROR_SUCCESS) {
        return closed_ ? DWORD{ERROR_SUCCESS} : code;
      }
    }
  }

 private:
  DWORD Fill() {
    begin_ = 0;
    const Deadline deadline = patience_.UntilNext(received_bytes_ > 0);
    if (const DWORD code = connection_.Read(buffer_, end_, deadline)) {
      end_ = 0;
      return code;
    }
    received_bytes_ += end_;
    closed_ = end_ == 0;
    return closed_ ? kConnectionAborted : DWORD{ERROR_SUCCESS};
  }

  Connection& connection_;
  const Patience patience_;
  size_t received_bytes_ = 0;
  std::array<BYTE, 16384> buffer_{};
  size_t begin_ = 0;
  size_t end_ = 0;
  bool closed_ = false;
};

/// What the header says of the body.
struct Framing {
  std::optional<size_t> length;
  bool chunked = false;
};

std::string_view Trimmed(std::string_view text) {
  const size_t begin = text.find_first_not_of(" \t");
  return begin == std::string_view::npos ? "" : text.substr(begin, text.find_last_not_of(" \t") + 1 - begin);
}

bool IsSame(std::string_view text, const char* word) {
  return text.size() == std::string_view(word).size() && strncasecmp(text.data(), word, text.size()) == 0;
}

/// The whole text as a number.
std::optional<size_t> NumberFrom(std::string_view text, int base) {
  size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  const bool is_number = error == std::errc() && end == text.data() + text.size() && !text.empty();
  return is_number ? std::optional(number) : std::nullopt;
}

DWORD ReadStatus(Reader& reader, int& status) {
  std::string line;
  if (const DWORD code = reader.ReadLine(line)) {
    return code;
  }
  const bool is_http = line.starts_with("HTTP/1.") && line.size() >= 12 && line[8] == ' ';
  const auto number = is_http ? NumberFrom(std::string_view(line).substr(9, 3), 10) : std::nullopt;
  status = static_cast<int>(number.value_or(0));
  return status >= 100 ? DWORD{ERROR_SUCCESS} : kBadAnswer;
}

DWORD ReadFields(Reader& reader, Framing& framing) {
  std::string line;
  for (size_t count = 0; count < kMaxHeaderLines; ++count) {
    if (const DWORD code = reader.ReadLine(line)) {
      return code;
    }
    if (line.empty()) {
      return ERROR_SUCCESS;
    }
    const size_t colon = line.find(':');
    if (colon == std::string::npos) {
      return kBadAnswer;
    }
    const std::string_view name = std::string_view(line).substr(0, colon);
    const std::string_view value = Trimmed(std::string_view(line).substr(colon + 1));
    if (IsSame(name, "Content-Length")) {
      framing.length = NumberFrom(value, 10);
      if (!framing.length) {
        return kBadAnswer;
      }
    } else if (IsSame(name, "Transfer-Encoding")) {
      framing.chunked = IsSame(value, "chunked");
      if (!framing.chunked) {
        return kBadAnswer;
      }
    }
  }
  return kBadAnswer;
}

/// The header of the answer proper: answers of the 1xx class only announce it.
DWORD ReadHead(Reader& reader, int& status, Framing& framing) {
  do {
    framing = {};
    if (const DWORD code = ReadStatus(reader, status)) {
      return code;
    }
    if (const DWORD code = ReadFields(reader, framing)) {
      return code;
    }
  } while (status < 200);
  return ERROR_SUCCESS;
}

DWORD ReadChunks(Reader& reader, size_t max_bytes, std::vector<BYTE>& body) {
  std::string line;
  for (;;) {
    if (const DWORD code = reader.ReadLine(line)) {
      return code;
    }
    const auto size = NumberFrom(Trimmed(std::string_view(line).substr(0, line.find(';'))), 16);
    if (!size) {
      return kBadAnswer;
    }
    if (*size == 0) {
      return ERROR_SUCCESS;  // what may follow says nothing of the body
    }
    if (*size > max_bytes - body.size()) {
      return kTooLarge;
    }
    if (const DWORD code = reader.ReadBytes(*size, body)) {
      return code;
    }
    if (const DWORD code = reader.ReadLine(line)) {
      return code;
    }
    if (!line.empty()) {
      return kBadAnswer;
    }
  }
}

DWORD ReadBody(Reader& reader, const Framing& framing, size_t max_bytes, std::vector<BYTE>& body) {
  if (framing.chunked) {
    return ReadChunks(reader, max_bytes, body);
  }
  if (!framing.length) {
    return reader.ReadRest(max_bytes, body);
  }
  return *framing.length > max_bytes ? kTooLarge : reader.ReadBytes(*framing.length, body);
}

}  // namespace

std::string StoppedAfter(size_t received_bytes, std::optional<size_t> all_bytes) {
  return "stopped after " + std::to_string(received_bytes) + " of " +
         (all_bytes ? std::to_string(*all_bytes) : "unknown") + " bytes";
}

DWORD ExchangeHttp(Connection& connection,
                   const HttpRequest& request,
                   size_t max_bytes,
                   const Patience& patience,
                   HttpAnswer& answer) {
  answer = {};
  // A device may answer before it has read everything, and close: its answer counts.
  const DWORD write_code = connection.Write(RequestBytes(request), patience.End());
  if (write_code != ERROR_SUCCESS && write_code != kConnectionAborted) {
    return write_code;
  }
  Reader reader(connection, patience);
  Framing framing;
  if (const DWORD code = ReadHead(reader, answer.status, framing)) {
    answer.failure = code == kStopped ? StoppedAfter(reader.ReceivedBytes()) : "";
    return code;
  }
  const DWORD code = ReadBody(reader, framing, max_bytes, answer.body);
  answer.failure = code == kStopped ? StoppedAfter(answer.body.size(), framing.length) : "";
  return code;
}

}  // namespace custom_bidi::network
