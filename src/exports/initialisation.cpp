// The entry operations and the three initialisations: which libraries are loaded, from where, and what is
// made from them.

#include "src/exports/library_paths.h"
#include "src/exports/queue_port.h"
#include "src/exports/request_context.h"
#include "src/trace/guard.h"

namespace custom_bidi {
namespace {

// The line has two blanks after its colon, but one after a password or certificate call.
constexpr const WCHAR* kInitIoFailed = W(">>>>>Custom Bidi :  Init IO fail!!!");
constexpr const WCHAR* kInitIoFailedForSecurity = W(">>>>>Custom Bidi : Init IO fail!!!");
constexpr const WCHAR* kInitFailed = W(">>>> Custom Bidi : InitIOWrapper Initialization failed!!");

constexpr DWORD kFailed = 1;

/// The device libraries that the status path loads, by processor.
struct StatusLibraryNames {
  const WCHAR* ixo;
  const WCHAR* xdm;
  const WCHAR* cert;
};

constexpr StatusLibraryNames kStatusLibraries32 = {W("vexmobixo32.dll"), W("vexmobixodm32.dll"),
                                                   W("vexmobixocert32.dll")};
constexpr StatusLibraryNames kStatusLibraries64 = {W("vexmobixo64.dll"), W("vexmobixodm64.dll"),
                                                   W("vexmobixocert64.dll")};

/// Null when the environment does not name the processor.
const StatusLibraryNames* StatusLibraries() {
  constexpr DWORD kChars = 1024;
  WCHAR processor[kChars] = {};
  SetLastError(ERROR_SUCCESS);
  if (GetEnvironmentVariableW(W("PROCESSOR_ARCHITECTURE"), processor, kChars) == 0 &&
      GetLastError() == ERROR_ENVVAR_NOT_FOUND)
    return nullptr;
  return WStringView(processor) == W("x86") ? &kStatusLibraries32 : &kStatusLibraries64;
}

LibraryPaths StatusLibraryPaths(const WCHAR* folder) {
  LibraryPaths paths;
  if (const StatusLibraryNames* const names = StatusLibraries()) {
    JoinDefault(folder, names->ixo, paths[kIxoFile]);
    JoinDefault(folder, names->xdm, paths[kXdmFile]);
    JoinDefault(folder, names->cert, paths[kCertFile]);
  }
  return paths;
}

}  // namespace

/// Keeps the queue's name and starts its trace.
void CCustomBiDi::StartForQueue(const WCHAR* queue) {
  CopyText(queue_, queue);
  StartTraceForQueue(queue_);
}

DWORD CCustomBiDi::Init(const WCHAR* queue, const WCHAR* default_cid) noexcept {
  return GuardedOperation(W("CCustomBiDi::Init"), W("Error in Run"), ERROR_SUCCESS, [&]() -> DWORD {
    if (IsNullOrEmpty(queue)) {
      TraceLog(W(">>>> Custom Bidi : Invalid Printer Name"));
      return ERROR_INVALID_PARAMETER;
    }
    if (!IsNullOrEmpty(default_cid)) {
      TraceLog(W(">>>> Custom Bidi : Default CID present"));
      CopyText(cid_, default_cid);
    }
    StartForQueue(queue);
    if (LoadConfigXml() != ERROR_SUCCESS || InitIOWrapper() != ERROR_SUCCESS) {
      TraceLog(kInitFailed);
      return kFailed;
    }
    return ERROR_SUCCESS;
  });
}

DWORD CCustomBiDi::InitForStatus(const WCHAR* address) noexcept {
  return GuardedOperation(W("CCustomBiDi::InitForStatus"), W("Error in Run"), ERROR_SUCCESS, [&]() -> DWORD {
    if (IsNullOrEmpty(address)) {
      TraceLog(W(">>>> Custom Bidi : Invalid Address"));
      return ERROR_INVALID_PARAMETER;
    }
    CopyText(status_address_, address);
    // The address stands where a queue's name would.
    StartTraceForQueue(status_address_);
    if (InitIOWrapperForStatus(address) != ERROR_SUCCESS) {
      TraceLog(W(">>>> Custom Bidi : InitIOWrapperForStatus Initialization failed!!"));
      return kFailed;
    }
    return ERROR_SUCCESS;
  });
}

DWORD CCustomBiDi::InitIOWrapper() noexcept {
  constexpr const WCHAR* kOperation = W("CCustomBiDi::InitIOWrapper");
  return GuardedOperation(kOperation, W("Error in InitIOWrapper"), ERROR_SUCCESS, [&]() -> DWORD {
    const FolderText folder = HostFolder();
    constexpr LibraryFile kFiles[] = {kIxoFile, kXdmFile, kCertFile, kDataMapFile};
    const LibraryPaths paths = ResolveLibraryPaths(configuration_, folder.data(), kFiles);

    WCHAR port[kPortChars] = {};
    GetQueuePortName(queue_, port);
    TraceLog(W(" the port name from the printer is: [%s]"), port);

    ixo_.set_data_map_path(paths.Path(kDataMapFile));
    DWORD code = LoadLibrarySet(paths.Path(kIxoFile), paths.Path(kXdmFile), paths.Path(kCertFile),
                                W("Load IXO / XDM / IXO Cert Libraries Success"));
    if (code == ERROR_SUCCESS) {
      code = *port != 0 ? ConnectTo(port, AddressKind::PortName) : ConnectTo(queue_, AddressKind::QueueName);
    }
    if (code == ERROR_SUCCESS)
      code = ixo_.BiDiData();
    if (code != ERROR_SUCCESS) {
      TraceLog(kInitIoFailed);
      return code;
    }
    return LoadDataMap(paths.Path(kDataMapFile));
  });
}

DWORD CCustomBiDi::InitIOWrapperForSEPassword() noexcept {
  constexpr const WCHAR* kOperation = W("CCustomBiDi::InitIOWrapperForSEPassword");
  return GuardedOperation(kOperation, W("Error in InitIOWrapper"), ERROR_SUCCESS, [&]() -> DWORD {
    const FolderText folder = HostFolder();
    if (LoadConfigXml() != ERROR_SUCCESS) {
      JoinedPath fallback{};
      JoinConfigured(folder.data(), W("Vexmo.Quellix.V4.PrinterExtension.xml"), fallback);
      if (LoadXmlFile(fallback.data(), configuration_) != ERROR_SUCCESS) {
        TraceLog(kInitFailed);
        return ERROR_INVALID_DATA;
      }
    }

    constexpr LibraryFile kFiles[] = {kIxoFile, kXdmFile, kCertFile};
    const LibraryPaths paths = ResolveLibraryPaths(configuration_, folder.data(), kFiles);
    const DWORD code = LoadLibrarySet(paths.Path(kIxoFile), paths.Path(kXdmFile), paths.Path(kCertFile),
                                      W("Load IXO / XDM / IXO Cert Libraries Success"));
    if (code != ERROR_SUCCESS)
      TraceLog(kInitIoFailedForSecurity);
    return code;
  });
}

DWORD CCustomBiDi::InitIOWrapperForStatus(const WCHAR* address) {
  const FolderText folder = HostFolder();
  const LibraryPaths paths = StatusLibraryPaths(folder.data());
  // This success line lacks a blank, on purpose.
  DWORD code = LoadLibrarySet(paths.Path(kIxoFile), paths.Path(kXdmFile), paths.Path(kCertFile),
                              W("Load IXO / XDM / IXOCert Libraries Success"));
  if (code == ERROR_SUCCESS)
    code = ConnectTo(address, AddressKind::IpAddress);
  if (code == ERROR_SUCCESS)
    code = ixo_.BindOidProviderMaker();
  if (code != ERROR_SUCCESS)
    TraceLog(kInitIoFailed);
  return code;
}

DWORD CCustomBiDi::LoadLibrarySet(const WCHAR* ixo_path,
                                  const WCHAR* xdm_path,
                                  const WCHAR* cert_path,
                                  const WCHAR* success) {
  TraceLog(W("Load IXO / XDM / IXO Cert Libraries!"));
  const DWORD code = ixo_.LoadIxoLibraries(ixo_path, xdm_path, cert_path);
  if (code == ERROR_SUCCESS)
    TraceLog(success);
  return code;
}

/// Makes the printer address that the later device operations use; 13 when there is none.
DWORD CCustomBiDi::ConnectTo(const WCHAR* name, AddressKind kind) {
  TraceLog(W("Get Address from [%s][%d]"), name, static_cast<DWORD>(kind));
  ixo::PrinterAddress* const address = ixo_.GetAddress(name, kind);
  ixo_.set_printer_address(address);
  if (address == nullptr)
    return ERROR_INVALID_DATA;
  TraceLog(W("Get Address from Port success"));
  return ERROR_SUCCESS;
}

DWORD CCustomBiDi::LoadDataMap(const WCHAR* path) {
  if (TextLength(path) > kMaxModulePathChars) {
    TraceLog(W(">>>>>Custom Bidi : Load Config XML fail!! [%s]"), path);
    return ERROR_FILENAME_EXCED_RANGE;
  }
  return LoadXmlFile(path, data_map_);
}

}  // namespace custom_bidi
