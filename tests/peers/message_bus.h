#pragma once

#include <memory>
#include <string>

#include "tests/peers/process.h"
#include "tests/peers/temporary_folder.h"

namespace custom_bidi_test {

/// A D-Bus daemon of its own, with nobody on it, that starts nobody either.
class MessageBus {
 public:
  MessageBus();

  /// For DBUS_SESSION_BUS_ADDRESS or DBUS_SYSTEM_BUS_ADDRESS.
  std::string Address() const { return "unix:path=" + (folder_ / "bus").string(); }

 private:
  TemporaryFolder folder_;
  std::unique_ptr<Process> process_;
};

}  // namespace custom_bidi_test
