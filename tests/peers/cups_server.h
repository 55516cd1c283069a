#pragma once

#include <memory>
#include <string>

#include "tests/peers/process.h"
#include "tests/peers/temporary_folder.h"

namespace custom_bidi_test {

/// CUPS's spooler, with queues of its own, on a socket in its own folder: no port, nobody else's queues. It
/// takes queues for the schemes ipp, ipps, http, https, socket and usb; nothing can be printed on the last
/// two.
class CupsServer {
 public:
  CupsServer();

  /// For CUPS_SERVER, which libcups reads at a thread's first use of it.
  std::string Server() const { return folder_ / "socket"; }

  /// Adds a queue without a driver, or gives one another address. Throws std::runtime_error when the spooler
  /// refuses.
  void AddQueue(const std::string& name, const std::string& uri) const;

  /// A client of CUPS, such as lpstat, that asks this spooler.
  Command Client(std::vector<std::string> words) const;

 private:
  void MakeServerPrograms() const;
  std::string Files() const;
  std::string Settings() const;

  TemporaryFolder folder_;
  std::unique_ptr<Process> process_;
};

}  // namespace custom_bidi_test
