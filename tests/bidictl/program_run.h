#pragma once

#include <filesystem>
#include <string>
#include <string_view>

/// bidictl, run as a user runs it.
namespace custom_bidi_test {

#ifdef _WIN32
inline constexpr bool kIsWindows = true;
#else
inline constexpr bool kIsWindows = false;
#endif

struct ProgramEnd {
  int exit_code;
  std::string output, errors;
};

/// The folder with bidictl and all that it needs, where tests may put the printer's files.
std::filesystem::path BidictlFolder();

/// Has the machine's shell run bidictl with a line of arguments, which may lead its output elsewhere.
ProgramEnd RunBidictl(const std::string& line, std::string_view input = "");

/// What COLUMNS is for the programs that are run from now on.
void SetColumns(const std::string& columns);

std::string ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, std::string_view content);

/// A printer with this certificate, a UUID and warnings, of which JSON has the list.
void UseCertificate(const std::string& name, const std::string& uuid, const std::string& warnings = "[]");

}  // namespace custom_bidi_test
