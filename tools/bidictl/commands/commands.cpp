#include "tools/bidictl/commands/commands.h"

#include <filesystem>

namespace custom_bidi_tools {

std::string WhereToLook() {
  // The library cuts the program's path at its last dot, wherever that is.
  const std::string program = ProgramPath();
  const std::string configuration = program.substr(0, program.rfind('.')) + ".xml";
  std::error_code error;
  const std::filesystem::path file(std::u8string(configuration.begin(), configuration.end()));
  if (!program.empty() && !std::filesystem::exists(file, error)) {
    return "The library looks for its configuration in '" + configuration + "', which is not there.";
  }
  return "Are the device libraries beside this program? 'bidictl trace on QUEUE' and, after another try, "
         "'bidictl trace show' tell more.";
}

WideString WideArgument(const std::string& what, const std::string& argument) {
  auto wide = ToWide(argument);
  if (!wide) {
    throw CommandError("the " + what + " is not valid UTF-8", kExitUsage);
  }
  return *std::move(wide);
}

}  // namespace custom_bidi_tools
