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
termios g_silent;    // as it is while a password is typed
std::string_view g_prompt;

void HandleOnce(int signal_number, struct sigaction* before);

extern "C" void RestoreTerminalAndObey(int signal_number) {
  const int error = errno;
  tcsetattr(STDIN_FILENO, TCSANOW, &g_terminal);
  // The handler was for once: this time the signal does what it does by itself.
  raise(signal_number);
  // It goes on: it was only stopped, or nobody was there who could have let it go on.
  HandleOnce(signal_number, nullptr);
  tcsetattr(STDIN_FILENO, TCSANOW, &g_silent);
  errno = error;
}

/// Whoever stopped the program, a shell has shown what was typed since then and may have left the terminal so.
extern "C" void SilenceTerminalAndPrompt(int /*signal_number*/) {
  const int error = errno;
  tcsetattr(STDIN_FILENO, TCSANOW, &g_silent);
  // Where nobody can read it nobody misses it.
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, g_prompt.data(), g_prompt.size());
  errno = error;
}

void HandleOnce(int signal_number, struct sigaction* before) {
  struct sigaction action {};
  action.sa_handler = RestoreTerminalAndObey;
  action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_NODEFER;
  sigaction(signal_number, &action, before);
}

/// The terminal as long as it does not show what is typed. A signal that ends or stops the program sets it back, and
/// one that lets it go on silences it again and shows the prompt, which must outlive this.
class SilentTerminal {
 public:
  explicit SilentTerminal(std::string_view prompt) {
    if (tcgetattr(STDIN_FILENO, &g_terminal) != 0) {
      throw CommandError(std::string("the terminal cannot be asked: ") + std::strerror(errno));
    }
    g_silent = g_terminal;
    g_silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    g_silent.c_lflag |= ECHONL;
    g_prompt = prompt;
    for (size_t i = 0; i < kSignalCount; ++i) {
      HandleOnce(kSignals[i], &before_[i]);
    }
    struct sigaction action {};
    action.sa_handler = SilenceTerminalAndPrompt;
    sigaction(SIGCONT, &action, &before_continuing_);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &g_silent);
  }
  ~SilentTerminal() {
    sigaction(SIGCONT, &before_continuing_, nullptr);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &g_terminal);
    for (size_t i = 0; i < kSignalCount; ++i) {
      sigaction(kSignals[i], &before_[i], nullptr);
    }
  }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

 private:
  static constexpr int kSignals[] = {SIGINT, SIGTERM, SIGQUIT, SIGHUP, SIGTSTP};
  static constexpr size_t kSignalCount = sizeof kSignals / sizeof *kSignals;

  struct sigaction before_[kSignalCount];
  struct sigaction before_continuing_;
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
  const SilentTerminal silent(prompt);
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
