#include "tools/bidictl/platform/console.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>

namespace custom_bidi_tools {

namespace {

constexpr size_t kLeastWidth = 20;
constexpr size_t kDefaultWidth = 100;

std::optional<size_t> ColumnsFromEnvironment() {
  const char* text = std::getenv("COLUMNS");
  if (text == nullptr) {
    return std::nullopt;
  }
  const char* end = text + std::strlen(text);
  size_t columns = 0;
  const auto [stop, error] = std::from_chars(text, end, columns);
  if (error != std::errc() || stop != end || columns < kLeastWidth) {
    return std::nullopt;
  }
  return columns;
}

Secret ReadAllInput() {
  Secret secret;
  while (!secret.room().empty()) {
    const size_t count = ReadInput(secret.room());
    if (count == 0) {
      break;
    }
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
  if (password.bytes().empty()) {
    throw CommandError("the password is empty");
  }
  if (password.bytes().front() == 0) {
    throw CommandError("the password begins with a zero byte, which would count as no password");
  }
  if (password.bytes().size() > Secret::kMaxBytes) {
    throw CommandError("the password is longer than " + std::to_string(Secret::kMaxBytes) + " bytes");
  }
}

}  // namespace

size_t OutputWidth() {
  if (const auto columns = ColumnsFromEnvironment()) {
    return *columns;
  }
  return TerminalColumns().value_or(kDefaultWidth);
}

void Print(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

void FlushOutput() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
    throw CommandError("standard output cannot be written");
  }
}

void Complain(const std::string& message) {
  std::fprintf(stderr, "bidictl: %s\n", message.c_str());
}

void Wipe(void* memory, size_t size_bytes) {
  auto* byte = static_cast<volatile uint8_t*>(memory);
  for (size_t i = 0; i < size_bytes; ++i) {
    byte[i] = 0;
  }
}

Secret::Secret() : block_(std::make_unique<uint8_t[]>(kCapacity)) {}

Secret::~Secret() {
  if (block_) {
    Wipe(block_.get(), kCapacity);
  }
}

void Secret::DropLineEnd() {
  if (size_ == 0 || block_[size_ - 1] != '\n') {
    return;
  }
  --size_;
  if (size_ > 0 && block_[size_ - 1] == '\r') {
    --size_;
  }
}

bool Secret::operator==(const Secret& other) const {
  return std::ranges::equal(bytes(), other.bytes());
}

Secret ReadPassword(bool confirm) {
  if (!InputIsTerminal()) {
    Secret password = ReadAllInput();
    password.DropLineEnd();
    CheckPassword(password);
    return password;
  }
  Secret password = ReadTyped("Password: ");
  CheckPassword(password);
  if (confirm && !(ReadTyped("The same once more: ") == password)) {
    throw CommandError("the two passwords differ");
  }
  return password;
}

bool AskYesOrNo(const std::string& question) {
  std::fprintf(stderr, "%s [y/N] ", question.c_str());
  std::string answer;
  std::getline(std::cin, answer);
  if (answer.ends_with('\r')) {
    answer.pop_back();
  }
  return answer == "y" || answer == "Y" || answer == "yes";
}

}  // namespace custom_bidi_tools
