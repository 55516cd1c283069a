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

/// Copies the queue's port name; `port` stays as it was when the queue or its port cannot be had.
void GetQueuePortName(const WCHAR* queue, std::span<WCHAR> port) noexcept {
  WCHAR name[1024];
  CopyText(name, queue);  // the spooler takes a name that it might write to
  Unique<PrinterTraits> printer;
  if (!OpenPrinterW(name, printer.Put(), nullptr) || !printer) {
    return;
  }

  DWORD size_bytes = 0;
  GetPrinterW(printer.Get(), 2, nullptr, 0, &size_bytes);
  if (size_bytes == 0) {
    return;
  }
  const Unique<GlobalBlockTraits> block(GlobalAlloc(GPTR, size_bytes));
  if (!block) {
    return;
  }
  if (!GetPrinterW(printer.Get(), 2, static_cast<BYTE*>(block.Get()), size_bytes, &size_bytes)) {
    return;
  }
  const auto* const info = static_cast<const PRINTER_INFO_2W*>(block.Get());
  if (info->pPortName != nullptr) {
    CopyText(port, info->pPortName);
  }
}

}  // namespace

PortName CCustomBiDi::ReadPortName() const {
  PortName port{};
  GetQueuePortName(queue_, port);
  TraceLog(W(" the port name from the printer is: [%s]"), port.data());
  return port;
}

}  // namespace custom_bidi
