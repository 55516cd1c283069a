#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "tools/bidictl/platform/console.h"
#include "tools/bidictl/text/bidictl_text.h"

namespace custom_bidi_tools {

namespace {

HANDLE Input() {
  return GetStdHandle(STD_INPUT_HANDLE);
}

DWORD g_console_mode = 0;  // as it was

BOOL WINAPI RestoreConsole(DWORD /*event*/) {
  SetConsoleMode(Input(), g_console_mode);
  return FALSE;  // and go on to what ends the program
}

/// The console as long as it does not show what is typed.
class SilentConsole {
 public:
  SilentConsole() {
    GetConsoleMode(Input(), &g_console_mode);
    SetConsoleCtrlHandler(RestoreConsole, TRUE);
    SetConsoleMode(Input(), (g_console_mode & ~DWORD{ENABLE_ECHO_INPUT}) | ENABLE_LINE_INPUT);
  }
  ~SilentConsole() {
    SetConsoleMode(Input(), g_console_mode);
    SetConsoleCtrlHandler(RestoreConsole, FALSE);
  }
  SilentConsole(const SilentConsole&) = delete;
  SilentConsole& operator=(const SilentConsole&) = delete;
};

/// Typed characters, which the console gives as UTF-16.
struct TypedLine {
  std::array<wchar_t, 4096> text{};
  DWORD length = 0;

  TypedLine() = default;
  TypedLine(const TypedLine&) = delete;
  TypedLine& operator=(const TypedLine&) = delete;
  ~TypedLine() { Wipe(text.data(), sizeof text); }
};

}  // namespace

std::vector<std::string> CommandLineArguments(int /*argc*/, char** /*argv*/) {
  // What `main` is given went through the system's code page, which does not have every character.
  int count = 0;
  const std::unique_ptr<wchar_t*, decltype(&LocalFree)> list(CommandLineToArgvW(GetCommandLineW(), &count),
                                                             &LocalFree);
  std::vector<std::string> arguments;
  for (int i = 1; list && i < count; ++i) {
    arguments.push_back(ToUtf8(list.get()[i]));
  }
  return arguments;
}

std::string ProgramPath() {
  std::wstring path(32768, L'\0');  // no path is longer
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return ToUtf8(path);
}

void PrepareOutput() {
  // The console keeps its code page when the program has ended.
  static const UINT previous_code_page = GetConsoleOutputCP();
  if (previous_code_page != 0 && SetConsoleOutputCP(CP_UTF8)) {
    std::atexit([] { SetConsoleOutputCP(previous_code_page); });
  }
  // Line ends are the same in both systems, and none is added to those of the trace file.
  _setmode(_fileno(stdout), _O_BINARY);
}

std::string HoldErrors(const std::function<void()>& call) {
  call();
  return "";
}

std::optional<size_t> TerminalColumns() {
  CONSOLE_SCREEN_BUFFER_INFO info;
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info)) {
    return std::nullopt;
  }
  return static_cast<size_t>(info.srWindow.Right - info.srWindow.Left + 1);
}

bool InputIsTerminal() {
  DWORD mode = 0;
  return GetConsoleMode(Input(), &mode) != 0;
}

size_t ReadInput(std::span<uint8_t> buffer) {
  // Not through stdio, which would keep a copy.
  DWORD count = 0;
  if (!ReadFile(Input(), buffer.data(), static_cast<DWORD>(buffer.size()), &count, nullptr)) {
    const DWORD code = GetLastError();
    if (code == ERROR_BROKEN_PIPE || code == ERROR_HANDLE_EOF) {
      return 0;
    }
    throw CommandError("standard input cannot be read (error " + std::to_string(code) + ")");
  }
  return count;
}

Secret ReadHiddenLine(const std::string& prompt) {
  const SilentConsole silent;
  std::fputs(prompt.c_str(), stderr);
  TypedLine typed;
  const bool is_read = ReadConsoleW(Input(), typed.text.data(), static_cast<DWORD>(typed.text.size()),
                                    &typed.length, nullptr) != 0;
  std::fputs("\n", stderr);
  if (!is_read) {
    throw CommandError("the console cannot be read (error " + std::to_string(GetLastError()) + ")");
  }
  Secret line;
  if (typed.length == 0) {
    return line;
  }
  const int count = WideCharToMultiByte(
      CP_UTF8, WC_ERR_INVALID_CHARS, typed.text.data(), static_cast<int>(typed.length),
      reinterpret_cast<char*>(line.room().data()), static_cast<int>(line.room().size()), nullptr, nullptr);
  if (count <= 0) {
    throw CommandError("the password is no text that UTF-8 could write");
  }
  line.Grow(static_cast<size_t>(count));
  return line;
}

}  // namespace custom_bidi_tools
