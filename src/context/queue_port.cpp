// The port of a print queue, as the spooler has it.

#include "src/context/request_context.h"
#include "src/text.h"
#include "src/unique.h"

namespace custom_bidi {
namespace {

struct PrinterTraits {
  using Value = HANDLE;
  static Value Empty() { return nullptr; }
  static void Close(Value value) { ClosePrinter(value); }
};

struct GlobalBlockTraits {
  using Value = HGLOBAL;
  static Value Empty() { return nullptr; }
  static void Close(Value value) { GlobalFree(value); }
};

/// Of a call that failed, whatever the system says.
DWORD LastFailure() {
  const DWORD code = GetLastError();
  return code != ERROR_SUCCESS ? code : DWORD{ERROR_INVALID_PRINTER_NAME};
}

/// Copies the queue's port name; `port` stays as it was when the queue or its port cannot be had. The code
/// tells why not; 0 for a queue without one.
DWORD GetQueuePortName(const WCHAR* queue, std::span<WCHAR> port) noexcept {
  WCHAR name[1024];
  CopyText(name, queue);  // the spooler takes a name that it might write to
  Unique<PrinterTraits> printer;
  if (!OpenPrinterW(name, printer.Put(), nullptr) || !printer) {
    return LastFailure();
  }

  DWORD size_bytes = 0;
  GetPrinterW(printer.Get(), 2, nullptr, 0, &size_bytes);
  if (size_bytes == 0) {
    return LastFailure();
  }
  const Unique<GlobalBlockTraits> block(GlobalAlloc(GPTR, size_bytes));
  if (!block) {
    return ERROR_NOT_ENOUGH_MEMORY;
  }
  if (!GetPrinterW(printer.Get(), 2, static_cast<BYTE*>(block.Get()), size_bytes, &size_bytes)) {
    return LastFailure();
  }
  const auto* const info = static_cast<const PRINTER_INFO_2W*>(block.Get());
  if (info->pPortName != nullptr) {
    CopyText(port, info->pPortName);
  }
  return ERROR_SUCCESS;
}

}  // namespace

PortName CCustomBiDi::ReadPortName(DWORD* code) const {
  PortName port{};
  const DWORD failure = GetQueuePortName(queue_, port);
  if (code != nullptr) {
    *code = failure;
  }
  TraceLog(W(" the port name from the printer is: [%s]"), port.data());
  return port;
}

}  // namespace custom_bidi
