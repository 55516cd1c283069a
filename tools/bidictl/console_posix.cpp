#include <sys/ioctl.h>
#include <unistd.h>

#include <filesystem>

#include "tools/bidictl/console.h"

namespace custom_bidi_tools {

std::vector<std::string> CommandLineArguments(int argc, char** argv) {
  return argc > 0 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

std::string ProgramPath() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).string();
}

void PrepareOutput() {}

std::optional<size_t> TerminalColumns() {
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
    return std::nullopt;
  return size.ws_col;
}

}  // namespace custom_bidi_tools
