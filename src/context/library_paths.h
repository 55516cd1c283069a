#pragma once

#include <array>
#include <span>

#include "src/xml/ccixml.h"

namespace custom_bidi {

/// Copies the folder of the process's executable (of this library's own file with `own_module`) into
/// `buffer`, without the backslash at its end, at most `capacity_chars - 1` characters and terminated.
/// Returns 0, 3 for a missing buffer, or the system's code with the buffer untouched.
DWORD GetModuleFolder(WCHAR* buffer, size_t capacity_chars, bool own_module) noexcept;

/// The same for the file's full path.
DWORD GetModuleFullPath(WCHAR* buffer, size_t capacity_chars, bool own_module) noexcept;

/// The files that the configuration names, in the order in which they are asked for.
enum LibraryFile : size_t { kIxoFile, kXdmFile, kCertFile, kDataMapFile, kLibraryFileCount };

/// Room for every joined path: a folder of at most 1023 characters, two separators, and a name of at most
/// 255. Whether a path is too long for the system is the loader's to say.
using JoinedPath = std::array<WCHAR, 1024 + 2 + 256>;

struct LibraryPaths {
  std::array<JoinedPath, kLibraryFileCount> paths{};

  JoinedPath& operator[](LibraryFile file) { return paths[file]; }
  const WCHAR* Path(LibraryFile file) const { return paths[file].data(); }
};

/// The executable's folder, or "." when it cannot be had.
using FolderText = std::array<WCHAR, 1024>;
FolderText HostFolder() noexcept;

/// Joins a name that the configuration gives (one backslash).
void JoinConfigured(const WCHAR* folder, const WCHAR* name, JoinedPath& path) noexcept;

/// Joins a default name (two forward slashes, as it has always been).
void JoinDefault(const WCHAR* folder, const WCHAR* name, JoinedPath& path) noexcept;

/// Fills the paths of `files` from the attributes of the configuration's first FILE_INFO64 element, else from
/// the default names. A set but empty attribute gives the folder with a backslash.
LibraryPaths ResolveLibraryPaths(CCIXML& configuration,
                                 const WCHAR* folder,
                                 std::span<const LibraryFile> files) noexcept;

/// The libraries that the status path loads, by processor and without a configuration; empty paths when the
/// environment does not name the processor.
LibraryPaths StatusLibraryPaths(const WCHAR* folder);

}  // namespace custom_bidi
