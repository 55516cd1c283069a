#pragma once

#include <filesystem>
#include <functional>
#include <memory>

#include "tests/peers/process.h"

namespace custom_bidi_test {

/// A server as it is started: it has some 10 s to answer.
struct PeerStart {
  Command command;
  std::filesystem::path output;
  /// True once the server answers.
  std::function<bool()> answers;
};

/// Starts a server and waits until it answers. Throws std::runtime_error, with the last that the server said,
/// when it does not, or ends before.
std::unique_ptr<Process> StartPeer(const PeerStart& start);

/// Calls `start` again, a few times, when it throws std::runtime_error: it chose a port that somebody else
/// was quicker to take. The last failure is thrown on.
void StartOnFreePort(const std::function<void()>& start);

}  // namespace custom_bidi_test
