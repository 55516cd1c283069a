#pragma once

#include <CLI/CLI.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tools/bidictl/text.h"

/// What the commands share. Each adds itself to the program and, when it is the one asked for, runs while the
/// command line is parsed and leaves the program's exit code.
namespace custom_bidi_tools {

enum ExitCode {
  kExitDone = 0,
  kExitFailed = 1,
  kExitUsage = 64,  ///< the command line was not understood
};

/// What a message says when a call for a queue failed, for the library tells no reason but in its trace: that
/// the library's configuration is not where it looks for it, or else where to look.
std::string WhereToLook();

/// Ends a command with one line on standard error.
class CommandError : public std::runtime_error {
 public:
  explicit CommandError(const std::string& message, int exit_code = kExitFailed)
      : std::runtime_error(message), exit_code_(exit_code) {}
  int exit_code() const { return exit_code_; }

 private:
  int exit_code_;
};

void AddItemsCommand(CLI::App& program, int& exit_code);
void AddStatusCommand(CLI::App& program, int& exit_code);
void AddPortCommand(CLI::App& program, int& exit_code);
void AddQueueCommand(CLI::App& program, int& exit_code);
void AddPasswordCommand(CLI::App& program, int& exit_code);
void AddCertificateCommand(CLI::App& program, int& exit_code);
void AddTraceCommand(CLI::App& program, int& exit_code);

/// An argument as the library takes it; throws when it is not UTF-8. `what` names it in the message.
WideString WideArgument(const std::string& what, const std::string& argument);

/// The same for one that must not be empty.
WideString WideName(const std::string& what, const std::string& argument);

/// Writes to standard output.
void Print(std::string_view text);

/// Writes everything out; throws when standard output took not all of it.
void FlushOutput();

/// Writes the line "bidictl: <message>" to standard error.
void Complain(const std::string& message);

}  // namespace custom_bidi_tools
