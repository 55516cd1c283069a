#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

#include "ixo/simulated/printer.h"
#include "ixo/support/objects.h"
#include "ixo/support/results.h"
#include "src/deviceio/ixo_contract.h"

namespace custom_bidi::simulated {

/// What a call is to do in place of its work, or together with it.
struct Course {
  /// Give nothing: no object, no text, no buffer, the integer 0.
  bool give_null = false;
  /// The result. A failure comes alone, any other goes with whatever the call gives.
  HRESULT result = S_OK;
  /// Whatever the call gives comes with a failure, too.
  bool deliver = false;
  /// The length or number to tell in place of the true one.
  std::optional<DWORD> length;

  /// For an operation that answers with an HRESULT, or with nothing that could be a failure.
  bool StopsWork() const { return give_null || (FAILED(result) && !deliver); }
  /// For one that answers with a Win32 code.
  bool StopsCodedWork() const { return give_null || (result != S_OK && !deliver); }
};

/// One load of a device library: the printer that it plays and how often each operation was called. Lives as
/// long as the library is loaded; any number of threads may call.
class Library {
 public:
  /// The printer, read at the first call: printer.json of the running executable's folder, or the embedded
  /// default when there is no such file. Null when the file is no good, which the first call says on stderr.
  const Printer* ThePrinter();

  /// To be called first in every operation, once there is a printer. Counts the call, and raises or throws
  /// when the printer's file says so.
  Course Enter(Operation operation, WStringView subject);

 private:
  SRWLOCK lock_ = SRWLOCK_INIT;
  bool read_ = false;
  std::unique_ptr<const Printer> printer_;
  std::array<std::atomic<uint64_t>, kOperationCount> calls_{};
};

}  // namespace custom_bidi::simulated
