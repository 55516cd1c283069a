#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace custom_bidi_tools {

/// The arguments behind the program's name, as UTF-8 where the system can tell.
std::vector<std::string> CommandLineArguments(int argc, char** argv);

/// The running program's file as UTF-8; empty when the system does not tell.
std::string ProgramPath();

/// Makes standard output and the console take UTF-8 as it stands. Called once, at the start.
void PrepareOutput();

/// How wide the terminal on standard output is; nothing when there is none.
std::optional<size_t> TerminalColumns();

/// The width to lay text out in: the environment's COLUMNS, else the terminal's, else 100.
size_t OutputWidth();

}  // namespace custom_bidi_tools
