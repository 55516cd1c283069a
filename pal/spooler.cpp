#include "pal/spooler.h"

#include <algorithm>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "base/cups_queues.h"
#include "base/files.h"
#include "base/home_registry.h"
#include "pal/internal.h"

namespace {

using pal::FailWith;

struct Printer {
  std::u16string name;
  std::optional<std::u16string> port;  // as it was when the printer was opened
};

constinit pal::HandleTable<Printer*, pal::kPrinterTag> g_printers;

std::u16string KeyOfQueue(std::u16string_view name) {
  constexpr std::u16string_view kPrinters =
      u"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\";
  return std::u16string(kPrinters).append(name);
}

DWORD FindQueue(std::u16string_view name, Printer* printer) {
  // A backslash would lead to the keys below a queue's; a name that has one means another machine's queue.
  if (name.empty() || name.find(u'\\') != std::u16string_view::npos) {
    return ERROR_INVALID_PRINTER_NAME;
  }
  base::RegistryFile registry;
  const DWORD code = base::RegistryFile::Load(base::RegistryFilePath(), &registry);
  if (code != ERROR_SUCCESS) {
    return code;
  }
  const std::u16string key = KeyOfQueue(name);
  printer->name = name;
  if (const base::RegistryValue* port = registry.FindValue(key, u"Port")) {
    printer->port = port->Text();
  }
  if (!printer->port) {
    printer->port = base::FindCupsDevice(name);
  }
  return printer->port || registry.HasKey(key) ? ERROR_SUCCESS : ERROR_INVALID_PRINTER_NAME;
}

size_t SizeOf(const std::u16string& text) {
  return (text.size() + 1) * sizeof(WCHAR);
}

// Puts the text at `at`, moves `at` behind it, and tells where the text is.
LPWSTR PlaceText(const std::u16string& text, BYTE*& at) {
  const LPWSTR placed = reinterpret_cast<LPWSTR>(at);
  std::copy_n(text.c_str(), text.size() + 1, placed);
  at += SizeOf(text);
  return placed;
}

}  // namespace

BOOL OpenPrinterW(LPWSTR name, HANDLE* printer, PRINTER_DEFAULTSW* defaults) {
  if (printer == nullptr) {
    return FailWith(ERROR_INVALID_PARAMETER, FALSE);
  }
  *printer = nullptr;
  if (pal::MustFail("OpenPrinterW")) {
    return FailWith(ERROR_ACCESS_DENIED, FALSE);
  }
  if (name == nullptr || defaults != nullptr) {
    return FailWith(ERROR_INVALID_PARAMETER, FALSE);
  }
  return pal::Guarded(BOOL{FALSE}, [&]() -> BOOL {
    auto opened = std::make_unique<Printer>();
    const DWORD code = FindQueue(name, opened.get());
    if (code != ERROR_SUCCESS) {
      return FailWith(static_cast<LONG>(code), FALSE);
    }
    *printer = g_printers.Insert(opened.get());
    if (*printer == nullptr) {
      return FailWith(ERROR_NOT_ENOUGH_MEMORY, FALSE);
    }
    static_cast<void>(opened.release());  // the table's now
    pal::CountUp(pal::Kind::kPrinter);
    return TRUE;
  });
}

BOOL GetPrinterW(HANDLE printer, DWORD level, BYTE* info, DWORD size_bytes, DWORD* needed_bytes) {
  if (needed_bytes == nullptr || (info == nullptr && size_bytes != 0)) {
    return FailWith(ERROR_INVALID_PARAMETER, FALSE);
  }
  *needed_bytes = 0;
  if (pal::MustFail("GetPrinterW")) {
    return FailWith(ERROR_NOT_ENOUGH_MEMORY, FALSE);
  }
  if (level != 2) {
    return FailWith(ERROR_INVALID_LEVEL, FALSE);
  }
  return pal::Guarded(BOOL{FALSE}, [&]() -> BOOL {
    const auto opened = g_printers.Find(printer);
    if (!opened) {
      return FailWith(ERROR_INVALID_HANDLE, FALSE);
    }
    const auto& [name, port] = **opened;
    *needed_bytes = static_cast<DWORD>(sizeof(PRINTER_INFO_2W) + SizeOf(name) + (port ? SizeOf(*port) : 0));
    if (size_bytes < *needed_bytes) {
      return FailWith(ERROR_INSUFFICIENT_BUFFER, FALSE);
    }
    auto* queue = new (info) PRINTER_INFO_2W{};
    BYTE* texts = info + sizeof(PRINTER_INFO_2W);
    queue->pPrinterName = PlaceText(name, texts);
    if (port) {
      queue->pPortName = PlaceText(*port, texts);
    }
    return TRUE;
  });
}

BOOL ClosePrinter(HANDLE printer) {
  const auto opened = g_printers.Remove(printer);
  if (!opened) {
    return FailWith(ERROR_INVALID_HANDLE, FALSE);
  }
  delete *opened;
  pal::CountDown(pal::Kind::kPrinter);
  return TRUE;
}
