#include "tests/peers/peer_process.h"

#include <algorithm>
#include <stdexcept>

#include "tests/peers/temporary_folder.h"

namespace custom_bidi_test {
namespace {

constexpr auto kStartLimit = std::chrono::seconds(10);
constexpr int kAttempts = 5;
constexpr size_t kShownOutput = 2000;

std::string EndOf(const std::string& text) {
  return text.substr(text.size() - std::min(text.size(), kShownOutput));
}

}  // namespace

std::unique_ptr<Process> StartPeer(const PeerStart& start) {
  auto process = std::make_unique<Process>(start.command, start.output);
  bool answers = false;
  WaitUntil([&] { return (answers = start.answers()) || !process->IsRunning(); }, kStartLimit);
  // Whoever answers on the port may be somebody else when this one has ended.
  if (answers && process->IsRunning())
    return process;
  throw std::runtime_error(start.command.words.at(0) +
                           (process->IsRunning() ? " does not answer" : " has ended") + ":\n" +
                           EndOf(ReadWholeFile(start.output)));
}

void StartOnFreePort(const std::function<void()>& start) {
  for (int attempt = 1;; ++attempt) {
    try {
      return start();
    } catch (const std::runtime_error&) {
      if (attempt == kAttempts)
        throw;
    }
  }
}

}  // namespace custom_bidi_test
