// A printer for many calls: it answers every question with the same words, at any rate and from memory.
//   soak_printer KEYS
// speaks IPP with and without TLS on a port of the loopback interface, which it prints; its certificate and key are
// KEYS/localhost.crt and .key. It ends with its parent.

#include <arpa/inet.h>
#include <openssl/ssl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

constexpr size_t kWorkers = 16;

struct Free {
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
  void operator()(SSL* session) const { SSL_free(session); }
};

/// RFC 8010, section 3.1.4.
std::string Attribute(char tag, std::string_view name, std::string_view value) {
  std::string bytes(1, tag);
  for (const std::string_view text : {name, value}) {
    bytes += {static_cast<char>(text.size() >> 8), static_cast<char>(text.size())};
    bytes += text;
  }
  return bytes;
}

/// What stands behind the version, the status and the number of the request.
std::string Attributes() {
  return std::string(1, '\x01') + Attribute('\x47', "attributes-charset", "utf-8") +
         Attribute('\x48', "attributes-natural-language", "en") + '\x04' +
         Attribute('\x41', "printer-device-id", "MFG:Vexmo;MDL:VX 400;CMD:PDF;CID:VXP400A;") +
         Attribute('\x41', "printer-make-and-model", "Vexmo VX 400") +
         Attribute('\x45', "printer-uuid", "urn:uuid:6f0d6a52-7c1e-4b1a-9a64-02005e10000a") + '\x03';
}

/// A connection with or without TLS.
class Client {
 public:
  Client(int socket, SSL_CTX* context) : socket_(socket) {
    char first = 0;
    constexpr char kHandshake = 22;  // RFC 8446, section 5.1
    if (recv(socket_, &first, 1, MSG_PEEK) == 1 && first == kHandshake) {
      session_.reset(SSL_new(context));
      SSL_set_fd(session_.get(), socket_);
      SSL_accept(session_.get());
    }
  }
  ~Client() {
    session_.reset();
    close(socket_);
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  void Serve() {
    const std::string request = Read();
    const size_t body = request.find("\r\n\r\n") + 4;
    constexpr size_t kHead = 8;
    if (body < 4 || request.size() < body + kHead) {
      return;
    }
    const std::string answer =
        request.substr(body, 2) + std::string(2, '\0') + request.substr(body + 4, 4) + Attributes();
    Write("HTTP/1.1 200 OK\r\nContent-Type: application/ipp\r\nConnection: close\r\nContent-Length: " +
          std::to_string(answer.size()) + "\r\n\r\n" + answer);
  }

 private:
  /// A request, which ends with the last byte of its attributes.
  std::string Read() {
    std::string request;
    char bytes[4096];
    while (!request.ends_with('\x03')) {
      const ssize_t size =
          session_ ? SSL_read(session_.get(), bytes, sizeof(bytes)) : recv(socket_, bytes, sizeof(bytes), 0);
      if (size <= 0) {
        return "";
      }
      request.append(bytes, static_cast<size_t>(size));
    }
    return request;
  }

  void Write(const std::string& answer) {
    if (session_) {
      SSL_write(session_.get(), answer.data(), static_cast<int>(answer.size()));
      SSL_shutdown(session_.get());
    } else {
      send(socket_, answer.data(), answer.size(), MSG_NOSIGNAL);
    }
  }

  int socket_;
  std::unique_ptr<SSL, Free> session_;
};

int Listen() {
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = {
      .sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}, .sin_zero = {}};
  socklen_t size = sizeof(address);
  if (bind(listener, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(listener, 128) != 0 ||
      getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    return -1;
  }
  std::printf("%d\n", ntohs(address.sin_port));
  std::fflush(stdout);
  return listener;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string keys = argc == 2 ? argv[1] : "";
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  std::signal(SIGPIPE, SIG_IGN);
  const std::unique_ptr<SSL_CTX, Free> context(SSL_CTX_new(TLS_server_method()));
  if (SSL_CTX_use_certificate_chain_file(context.get(), (keys + "/localhost.crt").c_str()) != 1 ||
      SSL_CTX_use_PrivateKey_file(context.get(), (keys + "/localhost.key").c_str(), SSL_FILETYPE_PEM) != 1) {
    std::fputs("usage: soak_printer FOLDER-OF-KEYS\n", stderr);
    return 64;
  }
  const int listener = Listen();
  std::vector<std::jthread> workers;
  for (size_t i = 0; listener >= 0 && i < kWorkers; ++i) {
    workers.emplace_back([listener, &context] {
      for (;;) {
        Client(accept(listener, nullptr, nullptr), context.get()).Serve();
      }
    });
  }
  return workers.empty() ? 1 : 0;  // once the workers have ended: never
}
