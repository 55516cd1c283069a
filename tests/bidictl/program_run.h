#pragma once

#include <atomic>
#include <cstdlib>
#include <fstream>

#include "tests/support/machine.h"

/// bidictl, run as a user runs it.
namespace custom_bidi_test {

#ifdef _WIN32
inline constexpr bool kIsWindows = true;
/// The shell takes one pair of quotation marks off, and its arguments are not of the code page.
inline int RunShell(const std::string& line) {
  return _wsystem(ToWide('"' + line + '"').c_str());
}
#else
inline constexpr bool kIsWindows = false;
inline int RunShell(const std::string& line) {
  const int status = std::system(line.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -status;
}
#endif

/// The folder with bidictl and all that it needs, where tests may put the printer's files.
inline const std::filesystem::path kFolder = std::filesystem::absolute(BIDICTL_HOST).make_preferred();

inline void WriteFile(const std::filesystem::path& path, std::string_view content) {
  std::ofstream(path, std::ios::binary) << content;
}

struct ProgramEnd {
  int exit_code;
  std::string output, errors;
};

/// Has the machine's shell run bidictl with a line of arguments, which may lead its output elsewhere.
inline ProgramEnd RunBidictl(const std::string& line, std::string_view input = "") {
  static std::atomic<int> runs = 0;  // several may run at once
  const std::string files = (kFolder / "run").string() + std::to_string(++runs);
  WriteFile(files + ".in", input);
  const int code = RunShell('"' + (kFolder / "bidictl.exe").string() + "\" <" + files + ".in 2>" + files +
                            ".err >" + files + ".out " + line);
  ProgramEnd end = {code, ReadBytes(files + ".out"), ReadBytes(files + ".err")};
  std::erase(end.errors, '\r');  // standard error has the system's line ends
  for (const char* extension : {".in", ".out", ".err"}) {
    std::filesystem::remove(files + extension);
  }
  return end;
}

inline void UsePrinter(std::string_view json) {
  WriteFile(kFolder / "printer.json", json);
}

/// A printer with this certificate, a UUID and warnings, of which JSON has the list.
inline void UseCertificate(const std::string& name,
                           const std::string& uuid,
                           const std::string& warnings = "[]") {
  WriteFile(kFolder / "certificate.der", ReadBytes(CERTIFICATE_FOLDER "/" + name + ".der"));
  UsePrinter(R"({"addresses": {"ports": {"*": {}}}, "certificate": {"file": "certificate.der", "uuid": ")" +
             uuid + R"(", "warnings": )" + warnings + "}}");
}

}  // namespace custom_bidi_test
