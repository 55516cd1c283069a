// The entry operations and the three initialisations: the configuration, which libraries are loaded, from
// where, and what is made from them.

#include <algorithm>

#include "src/context/library_paths.h"
#include "src/context/request_context.h"
#include "src/trace/guard.h"

namespace custom_bidi {
namespace {

// The line has two blanks after its colon, but one after a password or certificate call.
constexpr const WCHAR* kInitIoFailed = W(">>>>>Custom Bidi :  Init IO fail!!!");
constexpr const WCHAR* kInitIoFailedForSecurity = W(">>>>>Custom Bidi : Init IO fail!!!");
}  // namespace

/// Keeps the queue's name and the default CID (which may be null), and starts the queue's trace.
DWORD CCustomBiDi::StartForQueue(const WCHAR* queue, const WCHAR* default_cid) {
  if (IsNullOrEmpty(queue)) {
    TraceLog(W(">>>> Custom Bidi : Invalid Printer Name"));
    return ERROR_INVALID_PARAMETER;
  }
  if (!IsNullOrEmpty(default_cid)) {
    TraceLog(W(">>>> Custom Bidi : Default CID present"));
    CopyText(cid_, default_cid);
  }
  CopyText(queue_, queue);
  StartTraceForQueue(queue_);
  return ERROR_SUCCESS;
}

DWORD CCustomBiDi::FailInitialisation() {
  TraceLog(W(">>>> Custom Bidi : InitIOWrapper Initialization failed!!"));
  return kFailed;
}

DWORD CCustomBiDi::Init(const WCHAR* queue, const WCHAR* default_cid) noexcept {
  return GuardedOperation(W("CCustomBiDi::Init"), W("Error in Run"), ERROR_SUCCESS, [&]() -> DWORD {
    if (const DWORD code = StartForQueue(queue, default_cid); code != ERROR_SUCCESS) {
      return code;
    }
    if (LoadConfigXml() != ERROR_SUCCESS || InitIOWrapper() != ERROR_SUCCESS) {
      return FailInitialisation();
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

DWORD CCustomBiDi::LoadConfigXml() {
  constexpr size_t kPathChars = 1024;
  WCHAR path[kPathChars] = {};
  if (GetModuleFullPath(path, kPathChars, false) != ERROR_SUCCESS) {
    // Two blanks after the colon.
    TraceLog(W(">>>>>Custom Bidi :  Get Current file name fail!!!"));
    return ERROR_PATH_NOT_FOUND;
  }

  // The extension gets no more room than the whole path leaves.
  const WStringView whole(path);
  const size_t room = kPathChars - whole.size();
  const size_t dot = std::min(whole.rfind(WCHAR{'.'}), whole.size());
  CopyText(std::span(path).subspan(dot, room), W(".xml"));

  return LoadXmlFile(path, configuration_);
}

DWORD CCustomBiDi::LoadXmlFile(const WCHAR* path, CCIXML& document) {
  // A joined path may be longer than any that is loaded.
  if (TextLength(path) > kMaxModulePathChars || document.Load(path) != ERROR_SUCCESS) {
    TraceLog(W(">>>>>Custom Bidi : Load Config XML fail!! [%s]"), path);
    return ERROR_INVALID_DATA;
  }
  if (!document.HasDocument()) {
    TraceLog(W(">>>>>Custom Bidi : Config XML is not valid!!!"));
    return ERROR_INVALID_DATA;
  }
  return ERROR_SUCCESS;
}

DWORD CCustomBiDi::InitIOWrapper() noexcept {
  constexpr const WCHAR* kOperation = W("CCustomBiDi::InitIOWrapper");
  return GuardedOperation(kOperation, W("Error in InitIOWrapper"), ERROR_SUCCESS, [&]() -> DWORD {
    const FolderText folder = HostFolder();
    constexpr LibraryFile kFiles[] = {kIxoFile, kXdmFile, kCertFile, kDataMapFile};
    const LibraryPaths paths = ResolveLibraryPaths(configuration_, folder.data(), kFiles);
    const PortName port = ReadPortName();

    ixo_.set_data_map_path(paths.Path(kDataMapFile));
    DWORD code = LoadLibrarySet(paths.Path(kIxoFile), paths.Path(kXdmFile), paths.Path(kCertFile),
                                W("Load IXO / XDM / IXO Cert Libraries Success"));
    if (code == ERROR_SUCCESS) {
      code = port[0] != 0 ? ConnectTo(port.data(), AddressKind::kPortName)
                          : ConnectTo(queue_, AddressKind::kQueueName);
    }
    if (code == ERROR_SUCCESS) {
      code = ixo_.BiDiData();
    }
    if (code != ERROR_SUCCESS) {
      TraceLog(kInitIoFailed);
      return code;
    }
    return LoadXmlFile(paths.Path(kDataMapFile), data_map_);
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
        FailInitialisation();
        return ERROR_INVALID_DATA;
      }
    }

    constexpr LibraryFile kFiles[] = {kIxoFile, kXdmFile, kCertFile};
    const LibraryPaths paths = ResolveLibraryPaths(configuration_, folder.data(), kFiles);
    const DWORD code = LoadLibrarySet(paths.Path(kIxoFile), paths.Path(kXdmFile), paths.Path(kCertFile),
                                      W("Load IXO / XDM / IXO Cert Libraries Success"));
    if (code != ERROR_SUCCESS) {
      TraceLog(kInitIoFailedForSecurity);
    }
    return code;
  });
}

DWORD CCustomBiDi::InitIOWrapperForStatus(const WCHAR* address) {
  const FolderText folder = HostFolder();
  const LibraryPaths paths = StatusLibraryPaths(folder.data());
  // This success line lacks a blank, on purpose.
  DWORD code = LoadLibrarySet(paths.Path(kIxoFile), paths.Path(kXdmFile), paths.Path(kCertFile),
                              W("Load IXO / XDM / IXOCert Libraries Success"));
  if (code == ERROR_SUCCESS) {
    code = ConnectTo(address, AddressKind::kIpAddress);
  }
  if (code == ERROR_SUCCESS) {
    code = ixo_.BindOidProviderMaker();
  }
  if (code != ERROR_SUCCESS) {
    TraceLog(kInitIoFailed);
  }
  return code;
}

DWORD CCustomBiDi::LoadLibrarySet(const WCHAR* ixo_path,
                                  const WCHAR* xdm_path,
                                  const WCHAR* cert_path,
                                  const WCHAR* success) {
  TraceLog(W("Load IXO / XDM / IXO Cert Libraries!"));
  const DWORD code = ixo_.LoadIxoLibraries(ixo_path, xdm_path, cert_path);
  if (code == ERROR_SUCCESS) {
    TraceLog(success);
  }
  return code;
}

/// Makes the printer address that the later device operations use; 13 when there is none.
DWORD CCustomBiDi::ConnectTo(const WCHAR* name, AddressKind kind) {
  TraceLog(W("Get Address from [%s][%d]"), name, static_cast<DWORD>(kind));
  if (!ixo_.KeepAddress(name, kind)) {
    return ERROR_INVALID_DATA;
  }
  TraceLog(W("Get Address from Port success"));
  return ERROR_SUCCESS;
}

}  // namespace custom_bidi
