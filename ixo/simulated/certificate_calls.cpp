#include "ixo/simulated/certificate_calls.h"

#include <cstdio>
#include <exception>
#include <utility>

#include "ixo/support/host_files.h"

namespace custom_bidi::simulated {
namespace {

Library library;

/// Tells the loads apart in the log.
constexpr char kFirstLine[] = "load\n";

SRWLOCK log_lock = SRWLOCK_INIT;
bool log_begun = false;

void Append(const std::string& file, const std::string& line) {
  const device::Locked locked(log_lock);
  const bool begun = std::exchange(log_begun, true);
  device::AppendBesideHost(file.c_str(), begun ? line : kFirstLine + line);
}

}  // namespace

Library& CertificateLibrary() {
  return library;
}

void NoteCall(Operation operation, const std::string& object) {
  const Printer* const printer = library.ThePrinter();
  if (!printer || !printer->log) {
    return;
  }
  std::string line(kOperations[static_cast<size_t>(operation)].name);
  line += ' ' + object + '\n';
  try {
    Append(*printer->log, line);
  } catch (const std::exception& error) {
    std::fputs((std::string(error.what()) + "\n").c_str(), stderr);
  }
}

Course EnterNoted(Operation operation, const std::string& object, WStringView subject) {
  NoteCall(operation, object);
  return library.Enter(operation, subject);
}

}  // namespace custom_bidi::simulated
