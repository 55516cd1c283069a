#include "tools/bidictl/command.h"

#include <cstdio>

namespace custom_bidi_tools {

WideString WideArgument(const std::string& what, const std::string& argument) {
  auto wide = ToWide(argument);
  if (!wide)
    throw CommandError("the " + what + " is not valid UTF-8", kExitUsage);
  return *std::move(wide);
}

WideString WideName(const std::string& what, const std::string& argument) {
  if (argument.empty())
    throw CommandError("the " + what + " is empty", kExitUsage);
  return WideArgument(what, argument);
}

void Print(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

void FlushOutput() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout))
    throw CommandError("standard output cannot be written");
}

void Complain(const std::string& message) {
  std::fprintf(stderr, "bidictl: %s\n", message.c_str());
}

}  // namespace custom_bidi_tools
