#pragma once

#include <memory>
#include <string>

#include "tests/peers/message_bus.h"
#include "tests/peers/process.h"
#include "tests/peers/temporary_folder.h"

namespace custom_bidi_test {

/// GNOME's keyring as the Secret Service of a session bus, in a home of its own. It begins empty and
/// unlocked. Nobody is there who could ask a user for a password, so what is locked stays locked.
///
/// For a bus without a Secret Service use MessageBus.
class SecretService {
 public:
  SecretService();

  /// For DBUS_SESSION_BUS_ADDRESS.
  std::string BusAddress() const { return bus_.Address(); }

  /// Locks the default collection. Throws std::runtime_error when it stays open.
  void Lock() const;

 private:
  Outcome Call(const std::vector<std::string>& words) const;

  MessageBus bus_;
  TemporaryFolder home_;
  std::unique_ptr<Process> process_;
};

}  // namespace custom_bidi_test
