#include "src/exports/queue_port.h"

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

}  // namespace

void GetQueuePortName(const WCHAR* queue, std::span<WCHAR, kPortChars> port) noexcept {
  WCHAR name[1024];
  CopyText(name, queue);  // the spooler takes a name that it might write to
  Unique<PrinterTraits> printer;
  if (!OpenPrinterW(name, printer.Put(), nullptr) || !printer)
    return;

  DWORD size_bytes = 0;
  GetPrinterW(printer.Get(), 2, nullptr, 0, &size_bytes);
  if (size_bytes == 0)
    return;
  const Unique<GlobalBlockTraits> block(GlobalAlloc(GPTR, size_bytes));
  if (!block)
    return;
  if (!GetPrinterW(printer.Get(), 2, static_cast<BYTE*>(block.Get()), size_bytes, &size_bytes))
    return;
  const auto* const info = static_cast<const PRINTER_INFO_2W*>(block.Get());
  if (info->pPortName != nullptr)
    CopyText(port, info->pPortName);
}

}  // namespace custom_bidi
