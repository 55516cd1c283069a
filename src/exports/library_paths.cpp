#include "src/exports/library_paths.h"

#include "src/exports/module_paths.h"
#include "src/text.h"

namespace custom_bidi {
namespace {

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

}  // namespace

FolderText HostFolder() noexcept {
  FolderText folder{};
  if (GetModuleFolder(folder.data(), folder.size(), false) != ERROR_SUCCESS)
    CopyText(folder, W("."));
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
      if (configuration.GetAttributeValue(file_info.Get(), kSettings[file].attribute, value) == ERROR_SUCCESS)
        JoinConfigured(folder, value, resolved[file]);
    }
  }
  for (const LibraryFile file : files) {
    if (resolved[file].front() == 0)
      JoinDefault(folder, kSettings[file].default_name, resolved[file]);
  }
  return resolved;
}

}  // namespace custom_bidi
