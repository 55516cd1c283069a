#include "src/context/library_paths.h"

#include "src/text.h"
#include "src/trace/trace_log.h"

namespace custom_bidi {
namespace {

constexpr DWORD kPathChars = 1024;

/// Writes the module's file name into `path`; the code, 0 on success.
DWORD ReadModulePath(WCHAR (&path)[kPathChars], bool own_module) {
  HMODULE module = nullptr;
  if (own_module) {
    constexpr DWORD kFlags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    // An address within this library stands for the library.
    static constexpr char kOwnAddress = 0;
    if (!GetModuleHandleExW(kFlags, reinterpret_cast<const WCHAR*>(&kOwnAddress), &module)) {
      const DWORD code = GetLastError();
      TraceErrorCode(code, W("GetModuleHandleEx failed!!"));
      return code;
    }
  }
  if (GetModuleFileNameW(module, path, kPathChars) == 0) {
    return GetLastError();
  }
  path[kPathChars - 1] = 0;  // not every system terminates a name that it cut
  return ERROR_SUCCESS;
}

struct LibrarySetting {
  const WCHAR* attribute;
  const WCHAR* default_name;
};

/// By LibraryFile.
constexpr std::array<LibrarySetting, kLibraryFileCount> kSettings = {{
    {W("ixo_dll"), W("vexmoixo.dll")},
    {W("xdm_dll"), W("vexmoixodm.dll")},
    {W("ixo_cert_dll"), W("vexmobixocert.dll")},
    {W("xdm_xml"), W("vexmoixodatamap.xml")},
}};

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
      GetLastError() == ERROR_ENVVAR_NOT_FOUND) {
    return nullptr;
  }
  return WStringView(processor) == W("x86") ? &kStatusLibraries32 : &kStatusLibraries64;
}

}  // namespace

DWORD GetModuleFolder(WCHAR* buffer, size_t capacity_chars, bool own_module) noexcept {
  if (buffer == nullptr || capacity_chars == 0) {
    return ERROR_PATH_NOT_FOUND;
  }
  WCHAR path[kPathChars] = {};
  const DWORD code = ReadModulePath(path, own_module);
  if (code == ERROR_SUCCESS) {
    const WStringView whole(path);
    CopyText({buffer, capacity_chars}, whole.substr(0, whole.rfind(WCHAR{'\\'})));
  }
  return code;
}

DWORD GetModuleFullPath(WCHAR* buffer, size_t capacity_chars, bool own_module) noexcept {
  if (buffer == nullptr || capacity_chars == 0) {
    return ERROR_PATH_NOT_FOUND;
  }
  WCHAR path[kPathChars] = {};
  const DWORD code = ReadModulePath(path, own_module);
  if (code == ERROR_SUCCESS) {
    CopyText({buffer, capacity_chars}, path);
  }
  return code;
}

FolderText HostFolder() noexcept {
  FolderText folder{};
  if (GetModuleFolder(folder.data(), folder.size(), false) != ERROR_SUCCESS) {
    CopyText(folder, W("."));
  }
  return folder;
}

void JoinConfigured(const WCHAR* folder, const WCHAR* name, JoinedPath& path) noexcept {
  FormatText(path, W("%s\\%s"), folder, name);
}

void JoinDefault(const WCHAR* folder, const WCHAR* name, JoinedPath& path) noexcept {
  FormatText(path, W("%s//%s"), folder, name);
}

LibraryPaths ResolveLibraryPaths(CCIXML& configuration,
                                 const WCHAR* folder,
                                 std::span<const LibraryFile> files) noexcept {
  LibraryPaths resolved;
  ComPtr<IXMLDOMNode> file_info;
  if (configuration.GetPathedNode(W("FILE_INFO64"), file_info.Put()) == ERROR_SUCCESS && file_info) {
    for (const LibraryFile file : files) {
      WCHAR value[CCIXML::kValueChars] = {};
      if (configuration.GetAttributeValue(file_info.Get(), kSettings[file].attribute, value) ==
          ERROR_SUCCESS) {
        JoinConfigured(folder, value, resolved[file]);
      }
    }
  }
  for (const LibraryFile file : files) {
    if (resolved[file].front() == 0) {
      JoinDefault(folder, kSettings[file].default_name, resolved[file]);
    }
  }
  return resolved;
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

}  // namespace custom_bidi
