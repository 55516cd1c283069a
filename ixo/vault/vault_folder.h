#pragma once

#include <optional>
#include <span>

#include "base/files.h"
#include "ixo/vault/secure_bytes.h"

namespace custom_bidi::vault {

/// The folder `vault` of the platform layer's home, and the files in it. Folder and files must be the user's
/// own and nobody else's to read or write, and nothing is reached through a link at their place; otherwise
/// the code is ERROR_ACCESS_DENIED.
class VaultFolder {
 public:
  /// ERROR_FILE_NOT_FOUND when there is no such folder.
  DWORD Open();

  /// Makes the folder when there is none.
  DWORD OpenOrMake();

  /// Waits until nobody else has the lock, for two seconds at most: then ERROR_LOCK_VIOLATION. It ends with
  /// this object, or with the process.
  DWORD Lock();

  /// Reads a whole file. ERROR_FILE_NOT_FOUND when there is none; ERROR_INVALID_DATA when it has more than
  /// `max_bytes`.
  DWORD Read(const char* name, size_t max_bytes, SecureBytes& content) const;

  /// Puts a new file into the place of one that is there or not, so that whatever happens, the one or the
  /// other is there as a whole. Needs the lock.
  DWORD Replace(const char* name, std::span<const BYTE> content) const;

 private:
  std::optional<base::FileDescriptor> folder_;
  std::optional<base::FileDescriptor> lock_;
};

}  // namespace custom_bidi::vault
