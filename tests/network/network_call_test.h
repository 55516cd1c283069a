#pragma once

#include <chrono>
#include <fstream>

#include "tests/peers/temporary_folder.h"
#include "tests/support/security_test.h"

namespace custom_bidi_test {

/// A test of whole calls with the device libraries for printers on a network. There is no session bus and no
/// spooler but what a test names.
class NetworkCallTest : public SecurityTest {
 protected:
  /// For each exchange with a device that does not answer, and what a sanitized build on a busy machine may
  /// take on top.
  static constexpr std::chrono::milliseconds kDeadline{400};
  static constexpr std::chrono::milliseconds kSlack{600};

  void SetUp() override {
    SecurityTest::SetUp();
    host.Write("vexmoixodatamap.xml", ReadWholeFile(NETWORK_DATA_MAP));
    SetVariable("DBUS_SESSION_BUS_ADDRESS", "");
    SetVariable("XDG_RUNTIME_DIR", "");
    SetVariable("CUPS_SERVER", "/nonexistent/cups.sock");
  }

  /// Members of network.json beside the short deadline.
  void WriteSettings(const std::string& members) {
    host.Write("network.json", "{\"deadline_ms\": " + std::to_string(kDeadline.count()) +
                                   (members.empty() ? "" : ", " + members) + "}");
  }

  void UsePort(const std::string& port_name) { AddQueue(kQueue, port_name); }

  static void SetVariable(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }

  template <class Call>
  static std::chrono::milliseconds TimeOf(Call&& call) {
    const auto begin = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
  }
};

}  // namespace custom_bidi_test
