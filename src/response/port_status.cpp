// Whether a queue's port reaches a device.

#include "src/context/library_paths.h"
#include "src/context/request_context.h"
#include "src/trace/guard.h"

namespace custom_bidi {
namespace {

void Report(LONG* status, LONG value, const WCHAR* line) {
  if (status != nullptr) {
    *status = value;
  }
  TraceLog(line);
}

}  // namespace

DWORD CCustomBiDi::GetPortStatus(const WCHAR* queue, LONG* status) noexcept {
  return GuardedOperation(W("CCustomBiDi::GetPortStatus"), W("Error in Run"), ERROR_SUCCESS, [&]() -> DWORD {
    if (const DWORD code = StartForQueue(queue); code != ERROR_SUCCESS) {
      return code;
    }
    if (LoadConfigXml() != ERROR_SUCCESS || GetPortInfoIOWrapper(status) != ERROR_SUCCESS) {
      return FailInitialisation();
    }
    return ERROR_SUCCESS;
  });
}

DWORD CCustomBiDi::GetPortInfoIOWrapper(LONG* status) noexcept {
  constexpr const WCHAR* kOperation = W("CCustomBiDi::GetPortInfoIOWrapper");
  return GuardedOperation(kOperation, W("Error in GetPortInfoIOWrapper"), ERROR_SUCCESS, [&]() -> DWORD {
    const FolderText folder = HostFolder();
    constexpr LibraryFile kFiles[] = {kIxoFile};
    const LibraryPaths paths = ResolveLibraryPaths(configuration_, folder.data(), kFiles);
    DWORD port_code = ERROR_SUCCESS;
    const PortName port = ReadPortName(&port_code);
    // Nobody has a device behind a queue that is not there. Of one that cannot be asked nobody knows.
    const bool is_unknown = port_code != ERROR_SUCCESS && port_code != ERROR_INVALID_PRINTER_NAME;

    TraceLog(W("Load IXO DLL!"));
    DWORD code = ixo_.LoadIxoLibrary(paths.Path(kIxoFile));
    if (code == ERROR_SUCCESS) {
      TraceLog(W("Load IXO DLL Success"));
      code = is_unknown ? port_code : ERROR_SUCCESS;
    }
    if (code != ERROR_SUCCESS) {
      TraceLog(W(">>>>>Custom Bidi :  GetPortInformationFromIXO fail!!!"));
      return code;
    }

    if (port[0] != 0) {
      TraceLog(W("Get Address from [%s][%d]"), port.data(), static_cast<DWORD>(AddressKind::kPortName));
    }
    // A queue without a port name has no address, and so no device.
    if (!ixo_.KeepAddress(port.data(), AddressKind::kPortName)) {
      Report(status, kCustomBidiPortNonPhysical,
             W("Driver is connected to non-physical port(Local/LPT/Serial port"));
      return ERROR_SUCCESS;
    }

    DWORD connected = 0;
    if (ixo_.IsPortConnected(port.data(), connected) != ERROR_SUCCESS) {
      return ERROR_SUCCESS;
    }
    if (connected != 0) {
      Report(status, kCustomBidiPortConnected,
             W("Get Address from Port success and the connected IP is active"));
    } else {
      Report(status, kCustomBidiPortOffline, W("The connected IP is offline.Check the connectivity!!"));
    }
    return ERROR_SUCCESS;
  });
}

}  // namespace custom_bidi
