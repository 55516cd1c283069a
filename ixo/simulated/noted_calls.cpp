#include "ixo/simulated/noted_calls.h"

#include <cstdio>
#include <exception>
#include <new>
#include <utility>

#include "ixo/support/host_files.h"

namespace custom_bidi::simulated {
namespace {

Library g_library;

/// Tells the loads apart in the log.
constexpr char kFirstLine[] = "load\n";

SRWLOCK g_log_lock = SRWLOCK_INIT;
bool g_log_begun = false;

void Append(const std::string& file, const std::string& line) {
  const support::Locked locked(g_log_lock);
  const bool begun = std::exchange(g_log_begun, true);
  support::AppendBesideHost(file.c_str(), begun ? line : kFirstLine + line);
}

}  // namespace

Library& CertificateLibrary() {
  return g_library;
}

void NoteCall(Operation operation, const std::string& object) {
  const Printer* const printer = g_library.ThePrinter();
  if (printer == nullptr || !printer->log) {
    return;
  }
  std::string line(kOperations[static_cast<size_t>(operation)].name);
  line += ' ' + object + '\n';
  try {
    Append(*printer->log, line);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    std::fputs((std::string(error.what()) + "\n").c_str(), stderr);
  }
}

Course EnterNoted(Operation operation, const std::string& object, WStringView subject) {
  NoteCall(operation, object);
  return g_library.Enter(operation, subject);
}

}  // namespace custom_bidi::simulated
