#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// What goes in and out of the program: its arguments, its output, its exit code, and what it is told on
/// standard input.
namespace custom_bidi_tools {

enum ExitCode {
  kExitDone = 0,
  kExitFailed = 1,
  kExitUsage = 64,  ///< the command line was not understood
};

/// Ends a command with one line on standard error.
class CommandError : public std::runtime_error {
 public:
  explicit CommandError(const std::string& message, int exit_code = kExitFailed)
      : std::runtime_error(message), exit_code_(exit_code) {}
  int exit_code() const { return exit_code_; }

 private:
  int exit_code_;
};

/// The arguments behind the program's name, as UTF-8 where the system can tell.
std::vector<std::string> CommandLineArguments(int argc, char** argv);

/// The running program's file as UTF-8; empty when the system does not tell.
std::string ProgramPath();

/// Makes standard output and the console take UTF-8 as it stands. Called once, at the start.
void PrepareOutput();

/// Writes to standard output.
void Print(std::string_view text);

/// Writes everything out; throws when standard output took not all of it.
void FlushOutput();

/// Writes the line "bidictl: <message>" to standard error.
void Complain(const std::string& message);

/// Runs `call` and gives what it wrote to standard error, where that can be held back: the device libraries, which
/// have nobody else to tell, complain there of a settings file. On Windows nothing is held back.
std::string HoldErrors(const std::function<void()>& call);

/// How wide the terminal on standard output is; nothing when there is none.
std::optional<size_t> TerminalColumns();

/// The width to lay text out in: the environment's COLUMNS, else the terminal's, else 100.
size_t OutputWidth();

/// Overwrites memory in a way that no compiler leaves out.
void Wipe(void* memory, size_t size_bytes);

/// Bytes that are nobody else's business: they lie in one block, which is never copied and is wiped when the
/// object goes.
class Secret {
 public:
  static constexpr size_t kMaxBytes = 65536;

  Secret();
  Secret(Secret&&) noexcept = default;
  Secret& operator=(Secret&&) = delete;
  ~Secret();

  std::span<const uint8_t> bytes() const { return {block_.get(), size_}; }
  /// Where the next bytes may be written; there is room for one line end more than kMaxBytes.
  std::span<uint8_t> room() { return {block_.get() + size_, kCapacity - size_}; }
  /// Takes that many of the bytes written there as the secret's.
  void Grow(size_t size_bytes) { size_ += size_bytes; }
  /// Drops one LF or CR LF at the end.
  void DropLineEnd();
  bool operator==(const Secret& other) const;

 private:
  static constexpr size_t kCapacity = kMaxBytes + 2;

  std::unique_ptr<uint8_t[]> block_;
  size_t size_ = 0;
};

/// Takes a password in: from a prompt that does not show it, asked twice when `confirm` says so, where
/// standard input is a terminal; else all of standard input, without one line end at its end. The bytes are
/// those of the text as UTF-8 where it is typed, and the very bytes of standard input otherwise.
///
/// Throws CommandError for a password that is empty, too long or begins with a zero byte, when the two
/// differ, and when there is nothing to read from.
Secret ReadPassword(bool confirm);

/// Asks a question that "y" or "yes" answers with yes. Standard input must be a terminal.
bool AskYesOrNo(const std::string& question);

bool InputIsTerminal();
/// Reads on from standard input, which is no terminal; 0 at its end.
size_t ReadInput(std::span<uint8_t> buffer);
/// Reads a line that is not shown while it is typed. Its line end may come with it. `prompt` is shown on
/// standard error.
Secret ReadHiddenLine(const std::string& prompt);

}  // namespace custom_bidi_tools
