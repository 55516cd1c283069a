#include "tests/peers/message_bus.h"

#include "tests/peers/peer_files.h"
#include "tests/peers/peer_process.h"

namespace custom_bidi_test {
namespace {

std::string WithAddress(std::string configuration, const std::string& address) {
  constexpr std::string_view kMark = "@ADDRESS@";
  return configuration.replace(configuration.find(kMark), kMark.size(), address);
}

}  // namespace

MessageBus::MessageBus() {
  const auto configuration =
      folder_.WriteFile("bus.conf", WithAddress(ReadWholeFile(PeerFile("bus.conf.in")), Address()));
  Command command{{"dbus-daemon", "--config-file=" + configuration.string(), "--nofork", "--nopidfile"}};
  const auto answers = [this] {
    return RunProgram({{"dbus-send", "--bus=" + Address(), "--print-reply", "--dest=org.freedesktop.DBus",
                        "/", "org.freedesktop.DBus.GetId"}})
               .exit_code == 0;
  };
  process_ = StartPeer({std::move(command), folder_ / "output", answers});
}

}  // namespace custom_bidi_test
