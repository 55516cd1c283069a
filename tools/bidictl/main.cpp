#include <algorithm>

#include "tools/bidictl/command.h"
#include "tools/bidictl/console.h"

namespace custom_bidi_tools {

namespace {

/// The parser would only say that a command is missing.
void CheckCommandName(const CLI::App& program, const std::vector<std::string>& arguments) {
  if (arguments.empty() || arguments.front().starts_with('-'))
    return;
  const auto& name = arguments.front();
  const auto is_it = [&name](const CLI::App* command) { return command->check_name(name); };
  if (program.get_subcommands(is_it).empty())
    throw CommandError("there is no command '" + name + "' ('bidictl --help' lists them)", kExitUsage);
}

int RunBidictl(std::vector<std::string> arguments) {
  CLI::App program("Ask a printer what its driver needs to know, through CustomBidi.", "bidictl");
  program.set_version_flag("--version", "bidictl " BIDICTL_VERSION);
  program.require_subcommand(1);
  program.footer(
      "Examples:\n"
      "  bidictl queue add Office --port 192.0.2.10\n"
      "  bidictl items Office --pretty\n"
      "  bidictl status 192.0.2.10\n"
      "\n"
      "'bidictl COMMAND --help' tells more. Exit codes: 0 done, 1 failed, 64 the command line was not "
      "understood;\n"
      "'port' and 'certificate verify' have their own.");
  int exit_code = kExitDone;
  AddItemsCommand(program, exit_code);
  AddStatusCommand(program, exit_code);
  AddPortCommand(program, exit_code);
  AddPasswordCommand(program, exit_code);
  AddCertificateCommand(program, exit_code);
  AddQueueCommand(program, exit_code);
  AddTraceCommand(program, exit_code);

  try {
    CheckCommandName(program, arguments);
    std::ranges::reverse(arguments);  // the parser takes them from the back
    program.parse(std::move(arguments));
    FlushOutput();
    return exit_code;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
      return program.exit(error);  // --help and --version
    Complain(std::string(error.what()) + " ('bidictl --help' tells more)");
    return kExitUsage;
  } catch (const CommandError& error) {
    Complain(error.what());
    return error.exit_code();
  } catch (const std::exception& error) {
    Complain(error.what());
    return kExitFailed;
  }
}

}  // namespace

}  // namespace custom_bidi_tools

// NOLINTNEXTLINE(bugprone-exception-escape): with no memory even for the arguments there is nobody to tell
int main(int argc, char** argv) {
  custom_bidi_tools::PrepareOutput();
  return custom_bidi_tools::RunBidictl(custom_bidi_tools::CommandLineArguments(argc, argv));
}
