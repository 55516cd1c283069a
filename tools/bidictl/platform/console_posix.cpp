#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <utility>

#include "tools/bidictl/platform/console.h"

namespace custom_bidi_tools {

namespace {

termios g_terminal;  // as it was

extern "C" void RestoreTerminalAndDie(int signal_number) {
  tcsetattr(STDIN_FILENO, TCSANOW, &g_terminal);
  // The handler was for once: this time the signal does what it does by itself.
  raise(signal_number);
}

/// The terminal as long as it does not show what is typed; a signal that ends the program sets it back.
class SilentTerminal {
 public:
  SilentTerminal() {
    if (tcgetattr(STDIN_FILENO, &g_terminal) != 0) {
      throw CommandError(std::string("the terminal cannot be asked: ") + std::strerror(errno));
    }
    struct sigaction action {};
    action.sa_handler = RestoreTerminalAndDie;
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_NODEFER;
    for (size_t i = 0; i < kSignalCount; ++i) {
      sigaction(kSignals[i], &action, &before_[i]);
    }
    termios silent = g_terminal;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    silent.c_lflag |= ECHONL;
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
  }
  ~SilentTerminal() {
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &g_terminal);
    for (size_t i = 0; i < kSignalCount; ++i) {
      sigaction(kSignals[i], &before_[i], nullptr);
    }
  }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

 private:
  static constexpr int kSignals[] = {SIGINT, SIGTERM, SIGQUIT, SIGHUP};
  static constexpr size_t kSignalCount = sizeof kSignals / sizeof *kSignals;

  struct sigaction before_[kSignalCount];
};

}  // namespace

std::vector<std::string> CommandLineArguments(int argc, char** argv) {
  return argc > 0 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

std::string ProgramPath() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).string();
}

void PrepareOutput() {}

std::string HoldErrors(const std::function<void()>& call) {
  char* text = nullptr;
  size_t size = 0;
  // The stream alone is another one for a while: what a crash has to say goes to the descriptor.
  FILE* const held = open_memstream(&text, &size);
  FILE* const before = held != nullptr ? std::exchange(stderr, held) : nullptr;
  call();
  if (held == nullptr) {
    return "";
  }
  stderr = before;
  std::fclose(held);
  std::string errors(text, size);
  std::free(text);
  return errors;
}

std::optional<size_t> TerminalColumns() {
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
    return std::nullopt;
  }
  return size.ws_col;
}

bool InputIsTerminal() {
  return isatty(STDIN_FILENO) == 1;
}

size_t ReadInput(std::span<uint8_t> buffer) {
  // Not through stdio, which would keep a copy.
  for (;;) {
    const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
    if (count >= 0) {
      return static_cast<size_t>(count);
    }
    if (errno != EINTR) {
      throw CommandError(std::string("standard input cannot be read: ") + std::strerror(errno));
    }
  }
}

Secret ReadHiddenLine(const std::string& prompt) {
  const SilentTerminal silent;
  std::fputs(prompt.c_str(), stderr);
  Secret line;
  while (!line.room().empty() && (line.bytes().empty() || line.bytes().back() != '\n')) {
    const size_t count = ReadInput(line.room());
    if (count == 0) {
      break;
    }
    line.Grow(count);
  }
  return line;
}

}  // namespace custom_bidi_tools
