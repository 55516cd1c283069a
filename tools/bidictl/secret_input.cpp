#include "tools/bidictl/secret_input.h"

#include <cstdio>
#include <iostream>

#include "tools/bidictl/command.h"

namespace custom_bidi_tools {

namespace {

Secret ReadAllInput() {
  Secret secret;
  while (!secret.room().empty()) {
    const size_t count = ReadInput(secret.room());
    if (count == 0)
      break;
    secret.Grow(count);
  }
  return secret;
}

Secret ReadTyped(const std::string& prompt) {
  Secret line = ReadHiddenLine(prompt);
  line.DropLineEnd();
  return line;
}

void CheckPassword(const Secret& password) {
  if (password.bytes().empty())
    throw CommandError("the password is empty");
  if (password.bytes().front() == 0)
    throw CommandError("the password begins with a zero byte, which would count as no password");
  if (password.bytes().size() > Secret::kMaxBytes)
    throw CommandError("the password is longer than " + std::to_string(Secret::kMaxBytes) + " bytes");
}

}  // namespace

Secret ReadPassword(bool confirm) {
  if (!InputIsTerminal()) {
    Secret password = ReadAllInput();
    password.DropLineEnd();
    CheckPassword(password);
    return password;
  }
  Secret password = ReadTyped("Password: ");
  CheckPassword(password);
  if (confirm && !(ReadTyped("The same once more: ") == password))
    throw CommandError("the two passwords differ");
  return password;
}

bool AskYesOrNo(const std::string& question) {
  std::fprintf(stderr, "%s [y/N] ", question.c_str());
  std::string answer;
  std::getline(std::cin, answer);
  if (answer.ends_with('\r'))
    answer.pop_back();
  return answer == "y" || answer == "Y" || answer == "yes";
}

}  // namespace custom_bidi_tools
