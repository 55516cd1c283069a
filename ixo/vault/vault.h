#pragma once

#include <cstddef>
#include <span>

#include "ixo/vault/secure_bytes.h"
#include "src/platform.h"

/// Where the stand-ins for the device libraries keep credentials: bytes by target and user. On Windows that
/// is the Credential Manager, elsewhere an encrypted file. An entry is there from one process to the next,
/// until it is deleted. Any number of threads and processes may call at once.
///
/// Every function returns a Win32 code, 0 when it did what it says:
///   ERROR_INVALID_PARAMETER     a name is empty
///   ERROR_INVALID_NAME          a name has a NUL inside
///   ERROR_FILENAME_EXCED_RANGE  a name is too long
///   ERROR_NOT_FOUND             there is no such entry
///   kTooLarge                   the bytes, or all entries together, are more than the vault takes
/// or the system's code for what went wrong. Elsewhere than on Windows also:
///   ERROR_ACCESS_DENIED         a file or folder of the vault is not this user's alone, or is a link
///   ERROR_INVALID_DATA          the vault or its key is damaged, or the one does not belong to the other
///   kKeyMissing                 there is a vault without its key
/// Memory that cannot be had is a std::bad_alloc.
namespace custom_bidi::vault {

/// Names are compared unit by unit, so case counts.
inline constexpr size_t kMaxTargetChars = 4096;
inline constexpr size_t kMaxUserChars = 512;
/// What one entry can hold differs: 2560 bytes on Windows, 128 KiB elsewhere.
extern const size_t kMaxEntryBytes;

inline constexpr DWORD kTooLarge = 223;     // ERROR_FILE_TOO_LARGE
inline constexpr DWORD kKeyMissing = 6001;  // ERROR_DECRYPTION_FAILED

/// 0 when the two can name an entry, or the code that says why not.
inline DWORD CheckNames(WStringView target, WStringView user) {
  if (target.empty() || user.empty()) {
    return ERROR_INVALID_PARAMETER;
  }
  if (target.find(WCHAR()) != WStringView::npos || user.find(WCHAR()) != WStringView::npos) {
    return ERROR_INVALID_NAME;
  }
  if (target.size() > kMaxTargetChars || user.size() > kMaxUserChars) {
    return ERROR_FILENAME_EXCED_RANGE;
  }
  return ERROR_SUCCESS;
}

/// Keeps a copy of the bytes, in place of those that the entry held. There may be none of them.
DWORD Save(WStringView target, WStringView user, std::span<const BYTE> bytes);

/// Reads an entry's bytes; `bytes` is empty on failure.
DWORD Load(WStringView target, WStringView user, SecureBytes& bytes);

/// Removes an entry.
DWORD Delete(WStringView target, WStringView user);

/// Whether there is an entry; `present` is written on success only, and "no" is a success.
DWORD IsPresent(WStringView target, WStringView user, bool& present);

}  // namespace custom_bidi::vault
