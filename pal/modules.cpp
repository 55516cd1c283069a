#include "pal/modules.h"

#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/files.h"
#include "base/utf.h"
#include "pal/internal.h"

using ElfHeader = ElfW(Ehdr);

// The header of the very module that this is linked into; the linker defines it.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the linker's name
extern "C" __attribute__((visibility("hidden"))) const ElfHeader __ehdr_start;

namespace {

namespace fs = std::filesystem;
using pal::FailWith;
using ProgramHeader = ElfW(Phdr);

bool ReadAt(int fd, void* bytes, size_t size, uint64_t offset) {
  return pread(fd, bytes, size, static_cast<off_t>(offset)) == static_cast<ssize_t>(size);
}

// A shared library for this machine, none of whose loaded parts is missing.
bool IsWholeLibrary(int fd, uint64_t file_bytes) {
  const ElfHeader& own = __ehdr_start;
  ElfHeader header{};
  if (!ReadAt(fd, &header, sizeof(header), 0)) {
    return false;
  }
  const bool is_for_us = std::equal(header.e_ident, header.e_ident + EI_VERSION, own.e_ident) &&
                         header.e_machine == own.e_machine && header.e_type == ET_DYN &&
                         header.e_phentsize == sizeof(ProgramHeader);
  if (!is_for_us) {
    return false;
  }
  std::vector<ProgramHeader> parts(header.e_phnum);
  if (!ReadAt(fd, parts.data(), parts.size() * sizeof(ProgramHeader), header.e_phoff)) {
    return false;
  }
  return std::all_of(parts.begin(), parts.end(), [file_bytes](const ProgramHeader& part) {
    return part.p_offset <= file_bytes && part.p_filesz <= file_bytes - part.p_offset;
  });
}

// dlopen can say only in words, in whatever language, what is wrong with a file, and a library that was cut
// short ends the process with SIGBUS there. So the file is looked at first.
DWORD CheckLibrary(const std::string& posix_path) {
  const base::FileDescriptor file(open(posix_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!file.IsOpen()) {
    return errno == EACCES ? ERROR_ACCESS_DENIED : ERROR_MOD_NOT_FOUND;
  }
  struct stat status {};
  if (fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return ERROR_ACCESS_DENIED;
  }
  return IsWholeLibrary(file.Get(), static_cast<uint64_t>(status.st_size)) ? ERROR_SUCCESS
                                                                           : ERROR_BAD_EXE_FORMAT;
}

// The path without the blanks at its end, and with ".dll" if the name has no extension. A dot at the end says
// that none is wanted, and goes.
std::u16string WithExtension(std::u16string_view path) {
  path = path.substr(0, path.find_last_not_of(u' ') + 1);
  if (path.ends_with(u'.')) {
    return std::u16string(path.substr(0, path.find_last_not_of(u". ") + 1));
  }
  const std::u16string_view name = path.substr(path.find_last_of(u"\\/") + 1);
  return std::u16string(path) + (name.find(u'.') == name.npos ? u".dll" : u"");
}

// The file of that name, or else one whose name differs from it in the case of letters alone.
std::string FindLibrary(const std::string& posix_path) {
  if (access(posix_path.c_str(), F_OK) == 0) {
    return posix_path;
  }
  const fs::path wanted(posix_path);
  const std::u16string folded = base::FoldCase(base::ToUtf16(wanted.filename().native()));
  fs::path found;  // the first one of several, in whatever order the system gives them
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(wanted.parent_path(), ignored)) {
    const fs::path& path = entry.path();
    if (base::FoldCase(base::ToUtf16(path.filename().native())) == folded &&
        (found.empty() || path < found)) {
      found = path;
    }
  }
  return found.empty() ? posix_path : found.string();
}

bool IsModule(HMODULE module) {
  return module != nullptr && module != reinterpret_cast<HMODULE>(INVALID_HANDLE_VALUE);
}

// The loader's record of the module that holds the address; null when none does.
const link_map* ModuleAt(const void* address) {
  Dl_info info{};
  link_map* module = nullptr;
  if (!dladdr1(address, &info, reinterpret_cast<void**>(&module), RTLD_DL_LINKMAP)) {
    return nullptr;
  }
  return module;
}

const link_map* RecordOf(HMODULE module) {
  link_map* record = nullptr;
  return dlinfo(module, RTLD_DI_LINKMAP, &record) == 0 ? record : nullptr;
}

constexpr char kExecutable[] = "/proc/self/exe";

// Empty when it cannot be had.
std::string NameOfExecutable() {
  std::string path(256, 0);
  for (;;) {
    const ssize_t length = readlink(kExecutable, path.data(), path.size());
    if (length < 0) {
      return "";
    }
    if (static_cast<size_t>(length) < path.size()) {
      path.resize(static_cast<size_t>(length));
      return path;
    }
    path.resize(path.size() * 2);
  }
}

bool IsExecutable(const std::string& path) {
  struct stat running {};
  struct stat named {};
  return stat(kExecutable, &running) == 0 && stat(path.c_str(), &named) == 0 &&
         running.st_dev == named.st_dev && running.st_ino == named.st_ino;
}

// The system marks the name of a file that is gone or was replaced, as by the upgrade of a package. What lies
// beside it is still there.
std::string ExecutablePath() {
  constexpr std::string_view kMark = " (deleted)";
  std::string path = NameOfExecutable();
  if (path.ends_with(kMark) && !IsExecutable(path)) {
    path.resize(path.size() - kMark.size());
  }
  return path;
}

// Empty when it cannot be had. The loader gives the executable itself no name.
std::string FileOfModule(HMODULE module) {
  if (module == nullptr) {
    return ExecutablePath();
  }
  const link_map* record = IsModule(module) ? RecordOf(module) : nullptr;
  if (record == nullptr) {
    return "";
  }
  return *record->l_name ? record->l_name : ExecutablePath();
}

bool IsLoaded(const void* library) {
  const link_map* record = ModuleAt(reinterpret_cast<const void*>(&IsModule));
  while (record != nullptr && record->l_prev != nullptr) {
    record = record->l_prev;
  }
  while (record != nullptr && record != library) {
    record = record->l_next;
  }
  return record != nullptr;
}

}  // namespace

HMODULE LoadLibraryW(const WCHAR* path) {
  if (pal::MustFail("LoadLibraryW")) {
    return FailWith(ERROR_MOD_NOT_FOUND, HMODULE{});
  }
  if (path == nullptr) {
    return FailWith(ERROR_INVALID_PARAMETER, HMODULE{});
  }
  return pal::Guarded(HMODULE{}, [&] {
    std::string posix_path;
    if (base::ToPosixPath(WithExtension(path), &posix_path) != ERROR_SUCCESS) {
      return FailWith(ERROR_MOD_NOT_FOUND, HMODULE{});
    }
    posix_path = FindLibrary(posix_path);
    const DWORD code = CheckLibrary(posix_path);
    if (code != ERROR_SUCCESS) {
      return FailWith(static_cast<LONG>(code), HMODULE{});
    }
    void* module = dlopen(posix_path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
      return FailWith(ERROR_MOD_NOT_FOUND, HMODULE{});
    }
    pal::CountUp(pal::Kind::kModule);
    return static_cast<HMODULE>(module);
  });
}

BOOL FreeLibrary(HMODULE module) {
  // The loader needs memory to take a library out. Where there is none it drops the reference alone, and the
  // library goes when it is next loaded and freed.
  if (!IsModule(module) || (dlclose(module) != 0 && !IsLoaded(module))) {
    return FailWith(ERROR_INVALID_HANDLE, FALSE);
  }
  pal::CountDown(pal::Kind::kModule);
  return TRUE;
}

FARPROC GetProcAddress(HMODULE module, const char* name) {
  if (pal::MustFail("GetProcAddress")) {
    return FailWith(ERROR_PROC_NOT_FOUND, FARPROC{});
  }
  // Null is the executable to Windows, and ours exports nothing.
  if (!IsModule(module)) {
    return FailWith(module != nullptr ? ERROR_MOD_NOT_FOUND : ERROR_PROC_NOT_FOUND, FARPROC{});
  }
  // Below 64 K it would be the number of an export, which there are none of.
  if (reinterpret_cast<uintptr_t>(name) < 0x10000) {
    return FailWith(ERROR_INVALID_PARAMETER, FARPROC{});
  }
  void* address = dlsym(module, name);
  // dlsym looks into the module's dependencies too.
  if (address == nullptr || ModuleAt(address) != RecordOf(module)) {
    return FailWith(ERROR_PROC_NOT_FOUND, FARPROC{});
  }
  return reinterpret_cast<FARPROC>(address);
}

BOOL GetModuleHandleExW(DWORD flags, const WCHAR* name, HMODULE* module) {
  constexpr DWORD kFlags =
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  if (module == nullptr) {
    return FailWith(ERROR_INVALID_PARAMETER, FALSE);
  }
  *module = nullptr;
  if (pal::MustFail("GetModuleHandleExW")) {
    return FailWith(ERROR_MOD_NOT_FOUND, FALSE);
  }
  if (flags != kFlags) {
    return FailWith(ERROR_INVALID_PARAMETER, FALSE);
  }
  const link_map* record = ModuleAt(name);
  if (record == nullptr) {
    return FailWith(ERROR_MOD_NOT_FOUND, FALSE);
  }
  void* handle = dlopen(*record->l_name ? record->l_name : nullptr, RTLD_LAZY | RTLD_NOLOAD);
  if (handle == nullptr) {
    return FailWith(ERROR_MOD_NOT_FOUND, FALSE);
  }
  dlclose(handle);  // the count that dlopen added; the module stays
  *module = static_cast<HMODULE>(handle);
  return TRUE;
}

DWORD GetModuleFileNameW(HMODULE module, WCHAR* name, DWORD capacity_chars) {
  if (pal::MustFail("GetModuleFileNameW")) {
    return FailWith(ERROR_NOT_ENOUGH_MEMORY, DWORD{0});
  }
  if (name == nullptr && capacity_chars != 0) {
    return FailWith(ERROR_INVALID_PARAMETER, DWORD{0});
  }
  return pal::Guarded(DWORD{0}, [&] {
    const std::string posix_path = FileOfModule(module);
    if (posix_path.empty()) {
      return FailWith(ERROR_MOD_NOT_FOUND, DWORD{0});
    }
    const std::u16string path = base::ToWindowsPath(posix_path);
    const bool fits = path.size() < capacity_chars;
    if (capacity_chars != 0) {
      const size_t length = fits ? path.size() : capacity_chars - 1;
      *std::copy_n(path.data(), length, name) = 0;
    }
    return fits ? static_cast<DWORD>(path.size()) : FailWith(ERROR_INSUFFICIENT_BUFFER, capacity_chars);
  });
}
