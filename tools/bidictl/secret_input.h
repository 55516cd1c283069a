#pragma once

#include <string>

#include "tools/bidictl/secret.h"

namespace custom_bidi_tools {

/// Takes a password in: from a prompt that does not show it, asked twice when `confirm` says so, where
/// standard input is a terminal; else all of standard input, without one line end at its end. The bytes are
/// those of the text as UTF-8 where it is typed, and the very bytes of standard input otherwise.
///
/// Throws CommandError for a password that is empty, too long or begins with a zero byte, when the two
/// differ, and when there is nothing to read from.
Secret ReadPassword(bool confirm);

/// Asks a question that "y" or "yes" answers with yes. Standard input must be a terminal.
bool AskYesOrNo(const std::string& question);

// The machine's part.

bool InputIsTerminal();
/// Reads on from standard input, which is no terminal; 0 at its end.
size_t ReadInput(std::span<uint8_t> buffer);
/// Reads a line that is not shown while it is typed. Its line end may come with it. `prompt` is shown on
/// standard error.
Secret ReadHiddenLine(const std::string& prompt);

}  // namespace custom_bidi_tools
