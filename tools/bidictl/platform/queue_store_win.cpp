#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <winspool.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <string_view>

#include "tools/bidictl/platform/queue_store.h"
#include "tools/bidictl/text/bidictl_text.h"

namespace custom_bidi_tools {

namespace {

constexpr wchar_t kDriverName[] = L"CustomBidi simulated";
constexpr wchar_t kPrintersKey[] = L"SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\";
constexpr char kTraceFile[] = "C:\\temp\\CustomBidi.log";

[[noreturn]] void Fail(const std::string& what, DWORD code) {
  const std::string reason = code == RPC_S_SERVER_UNAVAILABLE ? ": the print spooler is not running" : "";
  throw QueueError(what + reason + " (Windows error " + std::to_string(code) + ")");
}

WideString Wide(const std::string& text) {
  return ToWide(text).value();  // names were checked when they came in
}

class Printer {
 public:
  /// Opens a queue or one of the spooler's named services; `IsOpen` says whether that worked.
  Printer(const WideString& name, ACCESS_MASK access) {
    WideString writable_name = name;
    PRINTER_DEFAULTSW defaults{nullptr, nullptr, access};
    if (!OpenPrinterW(writable_name.data(), &handle_, &defaults)) {
      handle_ = nullptr;
    }
  }
  ~Printer() {
    if (handle_) {
      ClosePrinter(handle_);
    }
  }
  Printer(const Printer&) = delete;
  Printer& operator=(const Printer&) = delete;

  bool IsOpen() const { return handle_ != nullptr; }
  HANDLE Get() const { return handle_; }

 private:
  HANDLE handle_ = nullptr;
};

/// Asks an enumeration for its size and then for its records, again when more came up in between.
/// `enumerate` is (buffer, size, needed, count) -> BOOL.
template <class Enumerate>
std::vector<std::byte> ReadRecords(const std::string& what, DWORD& count, Enumerate enumerate) {
  std::vector<std::byte> block;
  for (;;) {
    DWORD needed = 0;
    count = 0;
    if (enumerate(reinterpret_cast<BYTE*>(block.data()), static_cast<DWORD>(block.size()), &needed, &count)) {
      return block;
    }
    const DWORD code = GetLastError();
    if (code != ERROR_INSUFFICIENT_BUFFER || needed <= block.size()) {
      Fail(what, code);
    }
    block.resize(needed);
  }
}

bool SameName(const WideString& left, const wchar_t* right) {
  return CompareStringOrdinal(left.c_str(), -1, right, -1, TRUE) == CSTR_EQUAL;
}

bool IsKnownPort(const WideString& port) {
  DWORD count = 0;
  const auto block = ReadRecords("the spooler does not list its ports", count,
                                 [](BYTE* buffer, DWORD size, DWORD* needed, DWORD* found) {
                                   return EnumPortsW(nullptr, 1, buffer, size, needed, found);
                                 });
  const auto* ports = reinterpret_cast<const PORT_INFO_1W*>(block.data());
  return std::any_of(ports, ports + count, [&](const auto& known) { return SameName(port, known.pName); });
}

/// A queue can only be on a port that the spooler knows, so an unknown one becomes a local port of that name.
void MakePort(const WideString& port) {
  if (IsKnownPort(port)) {
    return;
  }
  const Printer monitor(L",XcvMonitor Local Port", SERVER_ACCESS_ADMINISTER);
  if (!monitor.IsOpen()) {
    Fail("the spooler's local ports cannot be opened; is this an administrator's console?", GetLastError());
  }
  WideString name = port;
  const auto size = static_cast<DWORD>((name.size() + 1) * sizeof(wchar_t));
  DWORD needed = 0;
  DWORD status = ERROR_SUCCESS;
  if (!XcvDataW(monitor.Get(), L"AddPort", reinterpret_cast<BYTE*>(name.data()), size, nullptr, 0, &needed,
                &status)) {
    status = GetLastError();
  }
  if (status != ERROR_SUCCESS && status != ERROR_ALREADY_EXISTS) {
    Fail("the port '" + ToUtf8(port) + "' cannot be made", status);
  }
}

std::filesystem::path DriverFolder() {
  std::wstring folder(MAX_PATH, L'\0');
  DWORD needed = 0;
  const auto size = static_cast<DWORD>(folder.size() * sizeof(wchar_t));
  if (!GetPrinterDriverDirectoryW(nullptr, nullptr, 1, reinterpret_cast<BYTE*>(folder.data()), size,
                                  &needed)) {
    Fail("the spooler's driver folder cannot be found", GetLastError());
  }
  return folder.c_str();
}

/// A queue needs a driver, and nothing is ever printed through it: one empty file serves as all its parts.
DWORD InstallDriver() {
  const auto file = DriverFolder() / "custombidi-simulated.drv";
  std::error_code ignored;
  std::filesystem::create_directories(file.parent_path(), ignored);
  std::ofstream(file, std::ios::app).flush();

  std::wstring name = kDriverName;
  std::wstring path = file.native();
  DRIVER_INFO_3W driver{};
  driver.cVersion = 3;
  driver.pName = name.data();
  driver.pDriverPath = path.data();
  driver.pDataFile = path.data();
  driver.pConfigFile = path.data();
  if (AddPrinterDriverExW(nullptr, 3, reinterpret_cast<BYTE*>(&driver),
                          APD_COPY_NEW_FILES | APD_COPY_FROM_DIRECTORY)) {
    return ERROR_SUCCESS;
  }
  const DWORD code = GetLastError();
  return code == ERROR_PRINTER_DRIVER_ALREADY_INSTALLED ? ERROR_SUCCESS : code;
}

std::vector<Queue> ReadQueues() {
  DWORD count = 0;
  const auto block =
      ReadRecords("the spooler does not list its queues", count,
                  [](BYTE* buffer, DWORD size, DWORD* needed, DWORD* found) {
                    return EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, 2, buffer, size, needed, found);
                  });
  const auto* printers = reinterpret_cast<const PRINTER_INFO_2W*>(block.data());
  std::vector<Queue> queues;
  for (DWORD i = 0; i < count; ++i) {
    // A bare key in the registry is listed too, without a name.
    if (printers[i].pPrinterName) {
      queues.push_back(
          {ToUtf8(printers[i].pPrinterName), printers[i].pPortName ? ToUtf8(printers[i].pPortName) : ""});
    }
  }
  return queues;
}

const Queue* FindQueue(const std::vector<Queue>& queues, const std::string& name) {
  const WideString wanted = Wide(name);
  const auto found = std::ranges::find_if(
      queues, [&](const Queue& queue) { return SameName(wanted, Wide(queue.name).c_str()); });
  return found == queues.end() ? nullptr : &*found;
}

}  // namespace

void AddQueue(const std::string& name, const std::string& port) {
  CheckQueueName(name);
  CheckPortName(port);
  if (FindQueue(ReadQueues(), name)) {
    throw QueueError("there is a queue '" + name + "' already; remove it first");
  }
  MakePort(Wide(port));
  const DWORD driver_code = InstallDriver();

  std::wstring wide_name = Wide(name);
  std::wstring wide_port = Wide(port);
  // Windows proper takes no driver without real modules; its own one for PDF files is there on every machine.
  std::wstring driver = driver_code == ERROR_SUCCESS ? kDriverName : L"Microsoft Print To PDF";
  std::wstring processor = L"winprint";
  std::wstring data_type = L"RAW";
  PRINTER_INFO_2W printer{};
  printer.pPrinterName = wide_name.data();
  printer.pPortName = wide_port.data();
  printer.pDriverName = driver.data();
  printer.pPrintProcessor = processor.data();
  printer.pDatatype = data_type.data();
  const HANDLE added = AddPrinterW(nullptr, 2, reinterpret_cast<BYTE*>(&printer));
  if (added) {
    ClosePrinter(added);
    return;
  }
  const DWORD code = GetLastError();
  // Wine reports the driver's missing module as a failure of the whole, after it has made the queue.
  const auto queues = ReadQueues();
  const Queue* made = FindQueue(queues, name);
  if (!made || !SameName(wide_port, Wide(made->port).c_str())) {
    Fail("the queue '" + name + "' cannot be added; is this an administrator's console?", code);
  }
}

bool IsSpoolersQueue(const std::string& /*name*/) {
  return false;  // there is one spooler, and it has each name once
}

std::vector<Queue> ListQueues(std::vector<std::string>* /*complaints*/) {
  auto queues = ReadQueues();
  std::ranges::sort(queues, {}, &Queue::name);
  return queues;
}

std::optional<std::string> FindPort(const std::string& name) {
  if (!ToWide(name)) {
    return std::nullopt;
  }
  const auto queues = ReadQueues();
  const Queue* queue = FindQueue(queues, name);
  return queue != nullptr ? std::optional(queue->port) : std::nullopt;
}

void RequireQueue(const std::string& name) {
  CheckQueueName(name);
  if (!FindQueue(ReadQueues(), name)) {
    throw QueueError("there is no queue '" + name + "'; 'bidictl queue list' shows the queues");
  }
}

void RemoveQueue(const std::string& name) {
  RequireQueue(name);
  const Printer printer(Wide(name), PRINTER_ALL_ACCESS);
  if (!printer.IsOpen() || !DeletePrinter(printer.Get())) {
    Fail("the queue '" + name + "' cannot be removed", GetLastError());
  }
}

void SetTrace(const std::string& name, bool on) {
  RequireQueue(name);
  const WideString path = kPrintersKey + Wide(name) + L"\\PrinterDriverData";
  HKEY key = nullptr;
  LSTATUS code =
      RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key, nullptr);
  if (code == ERROR_SUCCESS) {
    const DWORD value = on ? 1 : 0;
    code = RegSetValueExW(key, L"DebugTraceEnable", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                          sizeof(value));
    RegCloseKey(key);
  }
  if (code != ERROR_SUCCESS) {
    Fail("the trace switch of '" + name + "' cannot be written", static_cast<DWORD>(code));
  }
}

void CheckQueueStore() {}

std::filesystem::path TraceFilePath() {
  return kTraceFile;
}

}  // namespace custom_bidi_tools
