#include "tests/peers/udp_peer.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <map>
#include <optional>

namespace custom_bidi_test {
namespace {

struct Datagram {
  std::string bytes;
  sockaddr_in sender;
};

/// Nothing when an error came instead, such as that of a datagram which went to a closed port.
std::optional<Datagram> Receive(int socket) {
  std::array<char, 65536> block;
  sockaddr_in sender = {};
  socklen_t sender_size = sizeof(sender);
  const ssize_t size = recvfrom(socket, block.data(), block.size(), MSG_DONTWAIT,
                                reinterpret_cast<sockaddr*>(&sender), &sender_size);
  if (size < 0)
    return std::nullopt;
  return Datagram{.bytes = {block.data(), static_cast<size_t>(size)}, .sender = sender};
}

void Send(int socket, const std::string& bytes, const sockaddr_in& receiver) {
  // What is lost here is lost as datagrams are.
  static_cast<void>(sendto(socket, bytes.data(), bytes.size(), 0,
                           reinterpret_cast<const sockaddr*>(&receiver), sizeof(receiver)));
}

/// The clients of a relay, each with a socket of its own to the target so that answers find their way back.
class Clients {
 public:
  explicit Clients(uint16_t target) : target_(target) {}

  int SocketFor(const sockaddr_in& client) {
    const auto [found, is_new] = sockets_.try_emplace(client.sin_port, -1);
    if (is_new)
      found->second = ConnectLoopback(Transport::kUdp, target_);
    return found->second.Get();
  }

  void AddTo(std::vector<pollfd>& files) const {
    for (const auto& [port, socket] : sockets_)
      files.push_back({.fd = socket.Get(), .events = POLLIN, .revents = 0});
  }

  /// In the order of AddTo.
  std::vector<sockaddr_in> Addresses() const {
    std::vector<sockaddr_in> addresses;
    for (const auto& [port, socket] : sockets_)
      addresses.push_back(LoopbackAddress(ntohs(port)));
    return addresses;
  }

 private:
  uint16_t target_;
  std::map<in_port_t, FileDescriptor> sockets_;
};

}  // namespace

UdpPeer::UdpPeer(Handler handler)
    : handler_(std::move(handler)), socket_(BindLoopback(Transport::kUdp)), port_(PortOf(socket_)) {
  thread_ = std::thread([this] { AnswerAll(); });
}

UdpPeer::~UdpPeer() {
  stop_.Give();
  thread_.join();
}

UdpPeer::Handler UdpPeer::StaySilent() {
  return [](const std::string&) { return std::vector<std::string>(); };
}

void UdpPeer::AnswerAll() {
  while (stop_.WaitFor(socket_.Get(), POLLIN)) {
    const auto datagram = Receive(socket_.Get());
    if (!datagram)
      continue;
    ++datagrams_;
    for (const std::string& answer : handler_(datagram->bytes))
      Send(socket_.Get(), answer, datagram->sender);
  }
}

UdpRelay::UdpRelay(uint16_t target)
    : target_(target), socket_(BindLoopback(Transport::kUdp)), port_(PortOf(socket_)) {
  thread_ = std::thread([this] { ForwardAll(); });
}

UdpRelay::~UdpRelay() {
  stop_.Give();
  thread_.join();
}

void UdpRelay::ForwardAll() {
  Clients clients(target_);
  while (true) {
    std::vector<pollfd> files = {{.fd = stop_.File(), .events = POLLIN, .revents = 0},
                                 {.fd = socket_.Get(), .events = POLLIN, .revents = 0}};
    const size_t own_files = files.size();
    clients.AddTo(files);
    const std::vector<sockaddr_in> addresses = clients.Addresses();
    poll(files.data(), files.size(), -1);
    if (files[0].revents != 0)
      return;
    for (size_t at = 0; at < addresses.size(); ++at) {
      const auto answer = files[own_files + at].revents ? Receive(files[own_files + at].fd) : std::nullopt;
      if (!answer)
        continue;
      ++to_client_;
      Send(socket_.Get(), answer->bytes, addresses[at]);
    }
    if (const auto question = files[1].revents ? Receive(socket_.Get()) : std::nullopt) {
      ++to_target_;
      send(clients.SocketFor(question->sender), question->bytes.data(), question->bytes.size(), 0);
    }
  }
}

}  // namespace custom_bidi_test
