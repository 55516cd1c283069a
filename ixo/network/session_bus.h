#pragma once

#include <string>

#include "ixo/network/codes.h"
#include "ixo/network/deadline.h"
#include "ixo/network/glib_library.h"

namespace custom_bidi::network {

/// There is no session bus, or nobody of that name on it: ERROR_SERVICE_NOT_ACTIVE.
inline constexpr DWORD kNobodyAnswers = 1062;

/// The address of the user's session bus; empty when there is none, or only a bus that would first have to be
/// started, or when the process runs with other rights than its user's.
std::string SessionBusAddress();

/// A connection of our own to a D-Bus daemon: the one that GLib shares with the host would end the process
/// with the bus. Everything that happens on it happens in a main context of its own, during the calls, which
/// all end at the deadline; no loop of the host's sees any of it. It belongs to the thread that made it.
class SessionBus {
 public:
  SessionBus(const GlibLibrary& library, Deadline deadline);
  ~SessionBus();
  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;

  /// Returns 0, kNobodyAnswers, or kTimeout when somebody is there who says nothing.
  DWORD Connect(const std::string& address);

  struct Method {
    const char* path;
    const char* interface;
    const char* name;
  };

  /// Calls a method of the service `name`. The arguments, a tuple, may be floating, and are taken. `reply` is
  /// of the type that is given. Returns 0; kNobodyAnswers when there is no such service; kTimeout;
  /// ERROR_ACCESS_DENIED when the service refuses or is locked; ERROR_NOT_FOUND for an object that is not
  /// there; ERROR_GEN_FAILURE for anything else.
  DWORD Call(const char* name,
             const Method& method,
             GVariant* arguments,
             const char* reply_type,
             Owned<GVariant>& reply);

 private:
  struct Wait;

  const GlibLibrary& library_;
  const Deadline deadline_;
  GMainContext* const context_;
  Owned<GDBusConnection> connection_;
};

}  // namespace custom_bidi::network
