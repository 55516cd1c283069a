#pragma once

#include <gtest/gtest.h>

#include "base/utf.h"
#include "ixo/network/location.h"
#include "tests/peers/local_servers.h"
#include "tests/peers/loopback_peers.h"

namespace custom_bidi_test {

using std::chrono::milliseconds;

/// Of exchanges with devices that do not answer, and with those that do.
inline constexpr milliseconds kDeadline{300};
inline constexpr milliseconds kPatience{10000};
/// What a sanitized build on a busy machine may take on top. Whoever minds no deadline waits longer than
/// that: the devices of these tests are silent, or go on talking, without end.
inline constexpr milliseconds kSlack{3000};

/// What the call gives, which has to be over by its deadline.
template <class Call>
auto InTime(Call&& call, milliseconds deadline = kDeadline) {
  const auto begin = std::chrono::steady_clock::now();
  auto result = call();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, deadline + kSlack);
  return result;
}

/// Checks all rows of a table at once, each in a thread, since most of them wait.
void AtOnce(const auto& rows, auto&& check) {
  std::vector<std::jthread> threads;
  for (const auto& row : rows) {
    threads.emplace_back([&check, &row] {
      SCOPED_TRACE(row.name);
      check(row);
    });
  }
}

/// The address of a device that was not asked yet.
class TestAddress final : public custom_bidi::network::DeviceAddress {
 public:
  explicit TestAddress(const std::string& port_name)
      : DeviceAddress(*custom_bidi::network::LocationFromPortName(base::ToUtf16(port_name)), 1) {}
  LONG IsActive() override { return 0; }
  const WCHAR* GetAddressString() override { return W(""); }
};

inline std::string Failed(DWORD code) {
  return "failed: " + std::to_string(code);
}

inline std::string Local(uint16_t port, const std::string& scheme = "ipp") {
  return scheme + "://127.0.0.1:" + std::to_string(port) + "/ipp/print";
}

}  // namespace custom_bidi_test
