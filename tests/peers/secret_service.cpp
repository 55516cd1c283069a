#include "tests/peers/secret_service.h"

#include <optional>
#include <stdexcept>

#include "tests/peers/peer_process.h"

namespace custom_bidi_test {
namespace {

constexpr char kCollection[] = "/org/freedesktop/secrets/collection/login";

}  // namespace

SecretService::SecretService() {
  // The line on its input is the password that the new collection is made with, and unlocked by: an empty
  // one.
  Command command{
      .words = {"gnome-keyring-daemon", "--foreground", "--unlock", "--components=secrets"},
      .variables = {{"DBUS_SESSION_BUS_ADDRESS", BusAddress()},
                    {"HOME", home_.Path()},
                    {"XDG_RUNTIME_DIR", home_.MakeFolder("run")},
                    {"XDG_DATA_HOME", home_.MakeFolder("data")},
                    {"XDG_CONFIG_HOME", home_.MakeFolder("config")},
                    {"XDG_CACHE_HOME", home_.MakeFolder("cache")},
                    {"DISPLAY", std::nullopt},
                    {"WAYLAND_DISPLAY", std::nullopt},
                    {"GNOME_KEYRING_CONTROL", std::nullopt}},
      .input = "\n",
  };
  const auto answers = [this] {
    const Outcome outcome = Call({"org.freedesktop.Secret.Service.ReadAlias", "string:default"});
    return outcome.output.find(kCollection) != std::string::npos;
  };
  process_ = StartPeer({std::move(command), home_ / "output", answers});
}

void SecretService::Lock() const {
  const Outcome outcome =
      Call({"org.freedesktop.Secret.Service.Lock", std::string("array:objpath:") + kCollection});
  // The answer names what was locked.
  if (outcome.output.find(kCollection) == std::string::npos)
    throw std::runtime_error("the keyring stays unlocked: " + outcome.output);
}

Outcome SecretService::Call(const std::vector<std::string>& words) const {
  Command command{{"dbus-send", "--bus=" + BusAddress(), "--print-reply", "--reply-timeout=5000",
                   "--dest=org.freedesktop.secrets", "/org/freedesktop/secrets"}};
  command.words.insert(command.words.end(), words.begin(), words.end());
  return RunProgram(command);
}

}  // namespace custom_bidi_test
