#pragma once

#include <span>
#include <vector>

#include "ixo/vault/secure_bytes.h"

namespace custom_bidi::vault {

inline constexpr size_t kKeyBytes = 32;
/// How much longer sealed bytes are.
inline constexpr size_t kSealBytes = 8 + 12 + 16;

/// A new random key. ERROR_ENCRYPTION_FAILED (6000) when there is no randomness to be had.
DWORD MakeKey(SecureBytes& key);

/// Encrypts and authenticates with AES-256-GCM under a key of kKeyBytes: a header of 8 bytes that names the
/// format, a nonce of 12 that is random each time, the encrypted bytes, and a tag of 16 over all of it.
/// ERROR_ENCRYPTION_FAILED on failure.
DWORD Seal(const SecureBytes& key, std::span<const BYTE> plain, std::vector<BYTE>& sealed);

/// The reverse. ERROR_INVALID_DATA, and `plain` empty, for anything that `Seal` did not make under this key.
DWORD Unseal(const SecureBytes& key, std::span<const BYTE> sealed, SecureBytes& plain);

}  // namespace custom_bidi::vault
