#include "ixo/simulated/library.h"

#include <cstdio>
#include <exception>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>

#include "ixo/simulated/printer_reader.h"
#include "ixo/support/host_files.h"
#include "ixo/support/host_system.h"

namespace custom_bidi::simulated {
namespace {

std::unique_ptr<const Printer> TryReadPrinter() {
  constexpr char kFileName[] = "printer.json";
  std::string shown_path = kFileName;
  try {
    const std::optional<std::string> content = support::ReadBesideHost(kFileName, shown_path);
    return std::make_unique<const Printer>(ReadPrinter(content ? *content : kDefaultPrinter));
  } catch (const std::bad_alloc&) {
    throw;  // not the file's fault
  } catch (const std::exception& error) {
    std::fputs((shown_path + ": " + error.what() + "\n").c_str(), stderr);
    return nullptr;
  }
}

}  // namespace

const Printer* Library::ThePrinter() {
  const support::Locked locked(lock_);
  if (!read_) {
    printer_ = TryReadPrinter();
    read_ = true;
  }
  return printer_.get();
}

Course Library::Enter(Operation operation, WStringView subject) {
  const uint64_t call = ++calls_[static_cast<size_t>(operation)];
  const Fault* const fault = ThePrinter()->FindFault(operation, subject, call);
  if (fault == nullptr) {
    return {};
  }
  if (fault->delay_ms != 0) {
    support::Pause(fault->delay_ms);
  }
  switch (fault->kind) {
    case Fault::Kind::kRaise:
      throw fault->code;
    case Fault::Kind::kThrow:
      throw std::runtime_error("simulated failure");
    default:
      return {.give_null = fault->kind == Fault::Kind::kNull,
              .result = static_cast<HRESULT>(fault->code),
              .deliver = fault->deliver,
              .length = fault->length};
  }
}

}  // namespace custom_bidi::simulated
