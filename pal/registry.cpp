#include "pal/registry.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include "base/files.h"
#include "base/home_registry.h"
#include "pal/internal.h"

namespace {

constexpr char16_t kLocalMachine[] = u"HKEY_LOCAL_MACHINE";

struct OpenKey {
  std::u16string path;
  base::RegistryFile registry;
};

constinit pal::HandleTable<OpenKey*, pal::kRegistryKeyTag> g_keys;

std::optional<std::u16string> PathOf(HKEY key) {
  if (key == HKEY_LOCAL_MACHINE) {
    return kLocalMachine;
  }
  const auto open_key = g_keys.Find(key);
  return open_key ? std::optional((*open_key)->path) : std::nullopt;
}

LSTATUS OpenPath(const std::u16string& path, HKEY* opened) {
  auto open_key = std::make_unique<OpenKey>();
  const DWORD code = base::RegistryFile::Load(base::RegistryFilePath(), &open_key->registry);
  if (code != ERROR_SUCCESS) {
    return static_cast<LSTATUS>(code);
  }
  if (path != kLocalMachine && !open_key->registry.HasKey(path)) {
    return ERROR_FILE_NOT_FOUND;
  }
  open_key->path = path;
  const HANDLE handle = g_keys.Insert(open_key.get());
  if (handle == nullptr) {
    return ERROR_NOT_ENOUGH_MEMORY;
  }
  static_cast<void>(open_key.release());  // the table's now
  pal::CountUp(pal::Kind::kRegistryKey);
  *opened = static_cast<HKEY>(handle);
  return ERROR_SUCCESS;
}

LSTATUS CopyValue(const base::RegistryValue& value, DWORD* type, BYTE* data, DWORD* size_bytes) {
  if (type != nullptr) {
    *type = value.type;
  }
  if (size_bytes == nullptr) {
    return ERROR_SUCCESS;
  }
  const DWORD capacity_bytes = *size_bytes;
  *size_bytes = static_cast<DWORD>(value.data.size());
  if (data == nullptr) {
    return ERROR_SUCCESS;
  }
  if (capacity_bytes < *size_bytes) {
    return ERROR_MORE_DATA;
  }
  std::copy(value.data.begin(), value.data.end(), data);
  return ERROR_SUCCESS;
}

}  // namespace

LSTATUS RegOpenKeyExW(HKEY key, const WCHAR* subkey, DWORD options, REGSAM access, HKEY* opened) {
  if (opened == nullptr) {
    return ERROR_INVALID_PARAMETER;
  }
  *opened = nullptr;
  if (pal::MustFail("RegOpenKeyExW")) {
    return ERROR_ACCESS_DENIED;
  }
  if (options != 0 || access != KEY_READ) {
    return ERROR_INVALID_PARAMETER;
  }
  return pal::Guarded(LSTATUS{ERROR_NOT_ENOUGH_MEMORY}, [&]() -> LSTATUS {
    auto path = PathOf(key);
    if (!path) {
      return ERROR_INVALID_HANDLE;
    }
    if (subkey != nullptr && *subkey) {
      path->append(u"\\").append(subkey);
    }
    return OpenPath(*path, opened);
  });
}

LSTATUS RegQueryValueExW(HKEY key,
                         const WCHAR* name,
                         DWORD* reserved,
                         DWORD* type,
                         BYTE* data,
                         DWORD* size_bytes) {
  if (pal::MustFail("RegQueryValueExW")) {
    return ERROR_FILE_NOT_FOUND;
  }
  if (reserved != nullptr || (data != nullptr && size_bytes == nullptr)) {
    return ERROR_INVALID_PARAMETER;
  }
  return pal::Guarded(LSTATUS{ERROR_NOT_ENOUGH_MEMORY}, [&]() -> LSTATUS {
    const auto open_key = g_keys.Find(key);
    if (!open_key) {
      return ERROR_INVALID_HANDLE;
    }
    const base::RegistryValue* value =
        (*open_key)->registry.FindValue((*open_key)->path, name != nullptr ? name : u"");
    return value != nullptr ? CopyValue(*value, type, data, size_bytes) : ERROR_FILE_NOT_FOUND;
  });
}

LSTATUS RegCloseKey(HKEY key) {
  const auto open_key = g_keys.Remove(key);
  if (!open_key) {
    return ERROR_INVALID_HANDLE;
  }
  delete *open_key;
  pal::CountDown(pal::Kind::kRegistryKey);
  return ERROR_SUCCESS;
}
