#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace custom_bidi_test {

struct Command {
  /// The program, looked up in PATH and /usr/sbin, and its arguments.
  std::vector<std::string> words;
  /// Variables that differ from our own; without a value, one that is removed.
  std::vector<std::pair<std::string, std::optional<std::string>>> variables = {};
  /// What it reads from standard input.
  std::string input = {};
};

/// A running program with its output in a file. It is killed, with all that it started, when the object goes,
/// and also when the thread that started it ends in whatever way.
class Process {
 public:
  /// Throws std::system_error when nothing can be started. A program that is not there ends with code 127.
  Process(const Command& command, const std::filesystem::path& output);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  bool IsRunning();
  /// Waits for its end and gives its exit code; -1 when a signal ended it. After the limit it is killed.
  int WaitForEnd(std::chrono::milliseconds limit);

 private:
  void Kill();

  pid_t id_;
  std::optional<int> exit_code_;
};

struct Outcome {
  int exit_code;
  /// Standard output and standard error.
  std::string output;
};

/// Runs a program to its end, but not for more than 30 s.
Outcome RunProgram(const Command& command);

/// Asks every few milliseconds until the answer is yes or the limit is over. The last answer.
bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit);

}  // namespace custom_bidi_test
