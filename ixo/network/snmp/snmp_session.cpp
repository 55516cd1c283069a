#include "ixo/network/snmp/snmp_session.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <new>

namespace custom_bidi::network {
namespace {

DWORD CodeFromErrno(int error) {
  switch (error) {
    case 0:
    case EAGAIN:  // a datagram that was damaged on its way is there for poll and not for its reader
    case EINTR:
      return ERROR_SUCCESS;
    case ECONNREFUSED:
      return kConnectionRefused;
    default:
      return kHostUnreachable;
  }
}

/// The sockets of a session in the form that net-snmp wants them in.
class Sockets {
 public:
  Sockets(const SnmpAccess& net_snmp, void* session) : net_snmp_(net_snmp) {
    net_snmp_->Call<&::netsnmp_large_fd_set_init>(&sockets_, FD_SETSIZE);
    NETSNMP_LARGE_FD_ZERO(&sockets_);
    int count = 0;
    net_snmp_->Call<&::snmp_sess_select_info2>(session, &count, &sockets_, &wait_, &is_idle_);
  }
  ~Sockets() { net_snmp_->Call<&::netsnmp_large_fd_set_cleanup>(&sockets_); }
  Sockets(const Sockets&) = delete;
  Sockets& operator=(const Sockets&) = delete;

  netsnmp_large_fd_set* Get() { return &sockets_; }

  /// How long until a request is due to be sent again; nothing when no answer is waited for.
  std::optional<int> WaitMs() const {
    if (is_idle_) {
      return std::nullopt;
    }
    return static_cast<int>(wait_.tv_sec * 1000 + (wait_.tv_usec + 999) / 1000);
  }

 private:
  const SnmpAccess& net_snmp_;
  netsnmp_large_fd_set sockets_;
  timeval wait_{};
  int is_idle_ = 1;
};

/// Turns a passphrase into a user's key (RFC 3414, section 2.6).
bool MakeKey(const SnmpAccess& net_snmp,
             const netsnmp_session& session,
             const std::string& passphrase,
             std::span<u_char> key,
             size_t& key_bytes) {
  key_bytes = key.size();
  return net_snmp->Call<&::generate_Ku>(session.securityAuthProto,
                                        static_cast<u_int>(session.securityAuthProtoLen),
                                        reinterpret_cast<const u_char*>(passphrase.data()), passphrase.size(),
                                        key.data(), &key_bytes) == SNMPERR_SUCCESS;
}

/// The names of the protocols are those that net-snmp's own configuration has.
DWORD SetUser(const SnmpAccess& net_snmp, const SnmpSettings& settings, netsnmp_session& session) {
  net_snmp.AddUserSecurity();
  const int authentication = net_snmp->Call<&::usm_lookup_auth_type>(settings.authentication.c_str());
  const int privacy = net_snmp->Call<&::usm_lookup_priv_type>(settings.privacy.c_str());
  if (authentication < 0 || privacy < 0) {
    return kNotSupported;
  }
  session.securityModel = SNMP_SEC_MODEL_USM;
  session.securityLevel = SNMP_SEC_LEVEL_AUTHPRIV;
  session.securityNameLen = settings.user.size();
  session.securityAuthProto =
      net_snmp->Call<&::sc_get_auth_oid>(authentication, &session.securityAuthProtoLen);
  session.securityPrivProto = net_snmp->Call<&::sc_get_priv_oid>(privacy, &session.securityPrivProtoLen);
  const bool has_keys = session.securityAuthProto != nullptr && session.securityPrivProto != nullptr &&
                        MakeKey(net_snmp, session, settings.authentication_passphrase,
                                session.securityAuthKey, session.securityAuthKeyLen) &&
                        MakeKey(net_snmp, session, settings.privacy_passphrase, session.securityPrivKey,
                                session.securityPrivKeyLen);
  return has_keys ? DWORD{ERROR_SUCCESS} : kNotSupported;
}

/// Makes the session's user known to net-snmp as one of its engine. The process may have had the same user
/// with other passphrases before, which net-snmp would keep.
bool RegisterUser(const SnmpAccess& net_snmp, netsnmp_session& session) {
  if (auto* const user = net_snmp->Call<&::usm_get_user>(session.securityEngineID,
                                                         session.securityEngineIDLen, session.securityName)) {
    net_snmp->Call<&::usm_remove_user>(user);
    net_snmp->Call<&::usm_free_user>(user);
  }
  return net_snmp->Call<&::usm_create_user_from_session>(&session) == SNMPERR_SUCCESS;
}

long NetSnmpVersion(SnmpSettings::Version version) {
  switch (version) {
    case SnmpSettings::Version::k1:
      return SNMP_VERSION_1;
    case SnmpSettings::Version::k3:
      return SNMP_VERSION_3;
    default:
      return SNMP_VERSION_2c;
  }
}

/// net-snmp leaves a community in each request, packet and buffer that it gives back. So it never gets one: it
/// is told zeros of the same length, in whose place the community stands only on the way.
struct Wire {
  const support::SecureText& community;
  decltype(netsnmp_transport::f_send) send;
  decltype(netsnmp_transport::f_recv) receive;
};

/// Of all sessions that have a community, by their transports. Open to whoever has net-snmp.
std::map<const netsnmp_transport*, Wire> g_wires;

/// The community in a message of version 1 or 2c (RFC 1157, section 4): the second field of a sequence. Empty
/// for what is no such message.
std::span<u_char> CommunityIn(std::span<u_char> message) {
  size_t at = 0;
  // The length of what has this type, behind whose header `at` stands then.
  const auto take = [&](u_char type) -> std::optional<size_t> {
    if (message.size() - at < 2 || message[at] != type) {
      return std::nullopt;
    }
    size_t length = message[at + 1];
    at += 2;
    if (length >= 0x80) {
      size_t count = length - 0x80;
      for (length = 0; count > 0 && at < message.size(); --count) {
        length = length << 8 | message[at++];
      }
    }
    return length <= message.size() - at ? std::optional(length) : std::nullopt;
  };
  if (!take(ASN_SEQUENCE | ASN_CONSTRUCTOR)) {
    return {};
  }
  const std::optional<size_t> version_bytes = take(ASN_INTEGER);
  at += version_bytes.value_or(0);
  const std::optional<size_t> community_bytes = version_bytes ? take(ASN_OCTET_STR) : std::nullopt;
  return message.subspan(at, community_bytes.value_or(0));
}

int SendOnWire(netsnmp_transport* transport,
               const void* bytes,
               int length,
               void** opaque,
               int* opaque_length) noexcept {
  try {
    const Wire& wire = g_wires.at(transport);
    const auto* const from = static_cast<const u_char*>(bytes);
    std::vector<u_char, support::WipingAllocator<u_char>> message(from, from + length);
    const std::span<u_char> place = CommunityIn(message);
    if (place.size() == wire.community.size()) {
      std::ranges::copy(wire.community, place.begin());
    }
    return wire.send(transport, message.data(), length, opaque, opaque_length);
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return -1;
  }
}

/// An answer has the community, too.
int ReceiveFromWire(netsnmp_transport* transport,
                    void* bytes,
                    int capacity,
                    void** opaque,
                    int* opaque_length) noexcept {
  const int length = g_wires.at(transport).receive(transport, bytes, capacity, opaque, opaque_length);
  if (length > 0) {
    std::ranges::fill(CommunityIn({static_cast<u_char*>(bytes), static_cast<size_t>(length)}), u_char{0});
  }
  return length;
}

void PutOnWire(netsnmp_transport& transport, const support::SecureText& community) {
  g_wires.try_emplace(&transport, Wire{community, transport.f_send, transport.f_recv});
  transport.f_send = SendOnWire;
  transport.f_recv = ReceiveFromWire;
}

/// A session's description, whose keys are wiped.
struct SessionSettings : netsnmp_session {
  SessionSettings() = default;
  ~SessionSettings() { support::Wipe(this, sizeof(netsnmp_session)); }
  SessionSettings(const SessionSettings&) = delete;
  SessionSettings& operator=(const SessionSettings&) = delete;
};

SnmpAnswer ReadAnswer(const netsnmp_pdu& pdu) {
  SnmpAnswer answer{.is_report = pdu.command != SNMP_MSG_RESPONSE,
                    .error_status = pdu.errstat,
                    .error_index = pdu.errindex};
  for (const netsnmp_variable_list* variable = pdu.variables; variable != nullptr;
       variable = variable->next_variable) {
    answer.variables.push_back(
        {.object = {variable->name, variable->name + variable->name_length}, .value = ValueOf(*variable)});
  }
  return answer;
}

}  // namespace

DWORD SnmpSession::Open(const SocketAddress& address,
                        SnmpSettings::Version version,
                        const SnmpSettings& settings) {
  std::string peer = (address.IsIpv6() ? "udp6:" : "udp:") + address.ToText();
  std::string community(settings.community.size(), '\0');
  std::string user = settings.user;
  const SnmpAccess net_snmp;
  if (!net_snmp) {
    return kNotSupported;
  }
  SessionSettings wanted;
  net_snmp->Call<&::snmp_sess_init>(&wanted);
  wanted.version = NetSnmpVersion(version);
  wanted.peername = peer.data();
  wanted.retries = settings.retries;
  wanted.myvoid = this;
  needs_engine_ = version == SnmpSettings::Version::k3;
  if (needs_engine_) {
    wanted.securityName = user.data();
    if (const DWORD code = SetUser(net_snmp, settings, wanted)) {
      return code;
    }
  } else {
    wanted.community = reinterpret_cast<u_char*>(community.data());
    wanted.community_len = community.size();
  }
  session_.reset(net_snmp->Call<&::snmp_sess_open>(&wanted));
  if (!session_) {
    return kHostUnreachable;
  }
  // Opening clears this, and then net-snmp would look for the engine by itself: in its own time, which is
  // without end when datagrams keep coming.
  net_snmp->Call<&::snmp_sess_session>(session_.get())->flags |= SNMP_FLAGS_DONT_PROBE;
  netsnmp_transport* const transport = net_snmp->Call<&::snmp_sess_transport>(session_.get());
  socket_ = transport->sock;
  if (!needs_engine_) {
    PutOnWire(*transport, settings.community);
  }
  return Connect(address);
}

void SnmpSession::Close::operator()(void* session) const {
  const SnmpAccess net_snmp;
  g_wires.erase(net_snmp->Call<&::snmp_sess_transport>(session));
  netsnmp_session& description = *net_snmp->Call<&::snmp_sess_session>(session);
  support::Wipe(description.securityAuthKey, sizeof(description.securityAuthKey));
  support::Wipe(description.securityPrivKey, sizeof(description.securityPrivKey));
  net_snmp->Call<&::snmp_sess_close>(session);
}

/// A connected socket takes in only what the agent sends, and learns when nobody has the agent's port.
DWORD SnmpSession::Connect(const SocketAddress& address) {
  fcntl(socket_, F_SETFL, fcntl(socket_, F_GETFL) | O_NONBLOCK);
  fcntl(socket_, F_SETFD, FD_CLOEXEC);
  return connect(socket_, address.Get(), address.length) == 0 ? DWORD{ERROR_SUCCESS} : CodeFromErrno(errno);
}

DWORD SnmpSession::Get(std::span<const Oid> objects, Deadline deadline, SnmpAnswer& answer) {
  if (needs_engine_) {
    if (const DWORD code = FindEngine(deadline)) {
      return code;
    }
  }
  if (const DWORD code = SendGet(objects, deadline)) {
    return code;
  }
  if (const DWORD code = Await(deadline)) {
    return code;
  }
  answer = std::move(*answer_);
  return answer.is_report ? kBadAnswer : DWORD{ERROR_SUCCESS};
}

/// Asks the agent for the name of its engine, of which the user's keys are made (RFC 3414, section 4).
DWORD SnmpSession::FindEngine(Deadline deadline) {
  if (const DWORD code = SendProbe(deadline)) {
    return code;
  }
  if (const DWORD code = Await(deadline)) {
    return code;
  }
  const SnmpAccess net_snmp;
  netsnmp_session& session = *net_snmp->Call<&::snmp_sess_session>(session_.get());
  if (session.securityEngineIDLen == 0 || !RegisterUser(net_snmp, session)) {
    return kBadAnswer;
  }
  needs_engine_ = false;
  return ERROR_SUCCESS;
}

DWORD SnmpSession::SendProbe(Deadline deadline) {
  const SnmpAccess net_snmp;
  netsnmp_pdu* const pdu = net_snmp->Call<&::snmp_pdu_create>(int{SNMP_MSG_GET});
  if (pdu == nullptr) {
    throw std::bad_alloc();
  }
  pdu->version = SNMP_VERSION_3;
  pdu->securityName = strdup("");
  pdu->securityLevel = SNMP_SEC_LEVEL_NOAUTH;
  pdu->securityModel = SNMP_SEC_MODEL_USM;
  return Send(net_snmp, pdu, deadline);
}

DWORD SnmpSession::SendGet(std::span<const Oid> objects, Deadline deadline) {
  const SnmpAccess net_snmp;
  netsnmp_pdu* const pdu = net_snmp->Call<&::snmp_pdu_create>(int{SNMP_MSG_GET});
  if (pdu == nullptr) {
    throw std::bad_alloc();
  }
  for (const Oid& object : objects) {
    net_snmp->Call<&::snmp_add_null_var>(pdu, object.data(), object.size());
  }
  return Send(net_snmp, pdu, deadline);
}

/// The pdu is net-snmp's afterwards, or freed.
DWORD SnmpSession::Send(const SnmpAccess& net_snmp, netsnmp_pdu* pdu, Deadline deadline) {
  heard_ = false;
  answer_.reset();
  netsnmp_session* const session = net_snmp->Call<&::snmp_sess_session>(session_.get());
  session->timeout = std::max(long{deadline.RemainingMs()} * 1000 / (session->retries + 1), 1L);
  if (net_snmp->Call<&::snmp_sess_async_send>(session_.get(), pdu, TakeEvent, nullptr) != 0) {
    return ERROR_SUCCESS;
  }
  net_snmp->Call<&::snmp_free_pdu>(pdu);
  const DWORD code = CodeFromErrno(session->s_errno);
  return code ? code : kHostUnreachable;
}

/// Nothing else than the answer that is waited for comes here, except reports. One that tells the agent's
/// time makes net-snmp send the request again, by that time, and go on waiting.
int SnmpSession::TakeEvent(int operation,
                           netsnmp_session* session,
                           int /*id*/,
                           netsnmp_pdu* pdu,
                           void* /*unused*/) noexcept {
  constexpr int kDone = 1;
  auto* const self = static_cast<SnmpSession*>(session->myvoid);
  if (operation != NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE) {
    return kDone;
  }
  try {
    self->answer_ = ReadAnswer(*pdu);
  } catch (const std::bad_alloc&) {
    // As if it had not come.
  }
  return kDone;
}

/// net-snmp's own waiting (snmp_sess_synch_response) looks at the clock only when nothing comes.
DWORD SnmpSession::Await(Deadline deadline) {
  while (const std::optional<int> next_sending_ms = NextSendingMs()) {
    if (deadline.IsOver()) {
      return kTimeout;
    }
    pollfd file{.fd = socket_, .events = POLLIN, .revents = 0};
    const int wait_ms = std::min(*next_sending_ms, deadline.RemainingMs());
    DWORD code = WaitForAny({&file, 1}, Deadline(milliseconds(wait_ms)));
    if (code == ERROR_SUCCESS) {
      code = Receive();
    }
    if (code != ERROR_SUCCESS && code != kTimeout) {
      return code;
    }
    if (code = SendAgain(); code != ERROR_SUCCESS) {
      return code;
    }
  }
  return answer_ ? DWORD{ERROR_SUCCESS} : kTimeout;
}

std::optional<int> SnmpSession::NextSendingMs() {
  const SnmpAccess net_snmp;
  return Sockets(net_snmp, session_.get()).WaitMs();
}

/// Takes in one datagram, or an error that one of ours has met with.
DWORD SnmpSession::Receive() {
  const SnmpAccess net_snmp;
  Sockets sockets(net_snmp, session_.get());
  netsnmp_session* const session = net_snmp->Call<&::snmp_sess_session>(session_.get());
  net_snmp->Call<&::snmp_sess_read2>(session_.get(), sockets.Get());
  const DWORD code = CodeFromErrno(session->s_errno);
  heard_ = heard_ || session->s_errno == 0;
  return code;
}

/// Sends again what is due.
DWORD SnmpSession::SendAgain() {
  const SnmpAccess net_snmp;
  netsnmp_session* const session = net_snmp->Call<&::snmp_sess_session>(session_.get());
  session->s_errno = 0;
  net_snmp->Call<&::snmp_sess_timeout>(session_.get());
  return CodeFromErrno(session->s_errno);
}

}  // namespace custom_bidi::network
