#include "ixo/network/snmp/snmp.h"

#include <algorithm>
#include <numeric>

#include "ixo/network/connection/connection.h"
#include "ixo/network/snmp/snmp_session.h"

namespace custom_bidi::network {
namespace {

using Version = SnmpSettings::Version;
using Values = std::vector<std::optional<SnmpValue>>;

/// A request is to stay whole on its way: below 1,400 bytes, of which some 250 are for what is around the
/// objects.
constexpr size_t kMaxObjectBytes = 1100;
constexpr size_t kMaxObjects = 60;

/// Asks one agent, in one version, until all objects are answered.
class Inquiry {
 public:
  Inquiry(SnmpSession& session, std::span<const Oid> objects, Values& values)
      : session_(session), objects_(objects), values_(values), pending_(objects.size()) {
    std::iota(pending_.begin(), pending_.end(), size_t{0});
    values_.assign(objects.size(), std::nullopt);
  }

  /// An agent that has not answered by `first` does not answer this version.
  DWORD Run(Deadline first, Deadline deadline) {
    for (Deadline until = first; !pending_.empty(); until = deadline) {
      if (const DWORD code = AskOnce(until)) {
        return code;
      }
    }
    return ERROR_SUCCESS;
  }

 private:
  DWORD AskOnce(Deadline deadline) {
    const std::vector<Oid> request = NextRequest();
    SnmpAnswer answer;
    if (const DWORD code = session_.Get(request, deadline, answer)) {
      return code;
    }
    switch (answer.error_status) {
      case SNMP_ERR_NOERROR:
        return Take(request, answer);
      case SNMP_ERR_NOSUCHNAME:
        return DropMissing(request.size(), answer.error_index);
      case SNMP_ERR_TOOBIG:
        max_objects_ = request.size() / 2;
        return max_objects_ > 0 ? DWORD{ERROR_SUCCESS} : kBadAnswer;
      default:
        return kBadAnswer;
    }
  }

  /// As many of the pending objects as fit.
  std::vector<Oid> NextRequest() const {
    std::vector<Oid> request;
    size_t bytes = 0;
    for (const size_t index : pending_) {
      bytes += EncodedBytes(objects_[index]);
      if (!request.empty() && (bytes > kMaxObjectBytes || request.size() == max_objects_)) {
        break;
      }
      request.push_back(objects_[index]);
    }
    return request;
  }

  DWORD Take(const std::vector<Oid>& request, SnmpAnswer& answer) {
    if (!std::ranges::equal(request, answer.variables, {}, {}, &SnmpAnswer::Variable::object)) {
      return kBadAnswer;
    }
    for (size_t i = 0; i < request.size(); ++i) {
      values_[pending_[i]] = std::move(answer.variables[i].value);
    }
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<ptrdiff_t>(request.size()));
    return ERROR_SUCCESS;
  }

  /// An agent of version 1 refuses a whole request for the sake of one object (RFC 1157, section 4.1.2).
  DWORD DropMissing(size_t request_size, long error_index) {
    if (error_index < 1 || static_cast<size_t>(error_index) > request_size) {
      return kBadAnswer;
    }
    pending_.erase(pending_.begin() + (error_index - 1));
    return ERROR_SUCCESS;
  }

  SnmpSession& session_;
  std::span<const Oid> objects_;
  Values& values_;
  std::vector<size_t> pending_;
  size_t max_objects_ = kMaxObjects;
};

/// Everything that stays the same while addresses and versions are tried.
struct Task {
  const SnmpSettings& settings;
  std::span<const Oid> objects;
  Deadline deadline;
  Values& values;
  /// Whether anything came instead of an answer.
  bool heard = false;
};

DWORD AskVersion(Task& task, const SocketAddress& address, Version version, Deadline first) {
  SnmpSession session;
  if (const DWORD code = session.Open(address, version, task.settings)) {
    return code;
  }
  const DWORD code = Inquiry(session, task.objects, task.values).Run(first, task.deadline);
  task.heard = task.heard || session.HasHeard();
  return code;
}

DWORD AskAddress(Task& task, const SocketAddress& address) {
  if (task.settings.version != Version::kAuto) {
    return AskVersion(task, address, task.settings.version, task.deadline);
  }
  const DWORD code = AskVersion(task, address, Version::k2c, task.deadline.Halfway());
  return code == kTimeout && !task.deadline.IsOver() ? AskVersion(task, address, Version::k1, task.deadline)
                                                     : code;
}

bool IsNobodyThere(DWORD code) {
  return code == kConnectionRefused || code == kHostUnreachable;
}

DWORD AskAddresses(Task& task, std::span<const SocketAddress> addresses) {
  DWORD code = kHostUnknown;
  for (const SocketAddress& address : addresses) {
    code = AskAddress(task, address);
    if (!IsNobodyThere(code)) {
      break;
    }
  }
  return code == kTimeout && task.heard ? kBadAnswer : code;
}

}  // namespace

DWORD GetObjects(const std::string& host,
                 const SnmpSettings& settings,
                 std::span<const std::string> oids,
                 Deadline deadline,
                 std::vector<std::optional<SnmpValue>>& values) {
  std::vector<Oid> objects;
  for (const std::string& text : oids) {
    std::optional<Oid> object = ParseOid(text);
    if (!object) {
      return ERROR_INVALID_PARAMETER;
    }
    objects.push_back(std::move(*object));
  }
  std::vector<SocketAddress> addresses;
  if (const DWORD code = Resolve(host, settings.port, deadline, addresses)) {
    return code;
  }
  Task task{.settings = settings, .objects = objects, .deadline = deadline, .values = values};
  return AskAddresses(task, addresses);
}

}  // namespace custom_bidi::network
