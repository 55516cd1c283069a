#include "tests/bidictl/program_run.h"

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "tools/bidictl/text/bidictl_text.h"

namespace custom_bidi_test {
namespace {

int RunShell(const std::string& line) {
#ifdef _WIN32
  // The shell takes one pair of quotation marks off, and its arguments are not of the code page.
  return _wsystem(custom_bidi_tools::ToWide('"' + line + '"').value().c_str());
#else
  const int status = std::system(line.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -status;
#endif
}

}  // namespace

std::filesystem::path BidictlFolder() {
  return std::filesystem::absolute(BIDICTL_HOST).make_preferred();
}

ProgramEnd RunBidictl(const std::string& line, std::string_view input) {
  static std::atomic<int> runs = 0;  // several may run at once
  const std::string files = (BidictlFolder() / "run").string() + std::to_string(++runs);
  WriteFile(files + ".in", input);
  const int code = RunShell('"' + (BidictlFolder() / "bidictl.exe").string() + "\" <" + files + ".in 2>" +
                            files + ".err >" + files + ".out " + line);
  ProgramEnd end = {code, ReadFile(files + ".out"), ReadFile(files + ".err")};
  std::erase(end.errors, '\r');  // standard error has the system's line ends
  for (const char* extension : {".in", ".out", ".err"}) {
    std::filesystem::remove(files + extension);
  }
  return end;
}

void SetColumns(const std::string& columns) {
#ifdef _WIN32
  _putenv_s("COLUMNS", columns.c_str());
#else
  setenv("COLUMNS", columns.c_str(), 1);
#endif
}

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const std::filesystem::path& path, std::string_view content) {
  std::ofstream(path, std::ios::binary) << content;
}

void UseCertificate(const std::string& name, const std::string& uuid, const std::string& warnings) {
  WriteFile(BidictlFolder() / "certificate.der", ReadFile(CERTIFICATE_FOLDER "/" + name + ".der"));
  WriteFile(BidictlFolder() / "printer.json",
            R"({"addresses": {"ports": {"*": {}}}, "certificate": {"file": "certificate.der", "uuid": ")" +
                uuid + R"(", "warnings": )" + warnings + "}}");
}

}  // namespace custom_bidi_test
