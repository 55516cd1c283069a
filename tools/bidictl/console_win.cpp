#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "tools/bidictl/console.h"
#include "tools/bidictl/text.h"

namespace custom_bidi_tools {

std::vector<std::string> CommandLineArguments(int /*argc*/, char** /*argv*/) {
  // What `main` is given went through the system's code page, which does not have every character.
  int count = 0;
  const std::unique_ptr<wchar_t*, decltype(&LocalFree)> list(CommandLineToArgvW(GetCommandLineW(), &count),
                                                             &LocalFree);
  std::vector<std::string> arguments;
  for (int i = 1; list && i < count; ++i)
    arguments.push_back(ToUtf8(list.get()[i]));
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
  if (previous_code_page != 0 && SetConsoleOutputCP(CP_UTF8))
    std::atexit([] { SetConsoleOutputCP(previous_code_page); });
  // Line ends are the same in both systems, and none is added to those of the trace file.
  _setmode(_fileno(stdout), _O_BINARY);
}

std::optional<size_t> TerminalColumns() {
  CONSOLE_SCREEN_BUFFER_INFO info;
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info))
    return std::nullopt;
  return static_cast<size_t>(info.srWindow.Right - info.srWindow.Left + 1);
}

}  // namespace custom_bidi_tools
