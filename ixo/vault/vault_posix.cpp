// The vault in a file below the platform layer's home: `vault/vault`, sealed with the key in `vault/key`.

#include "ixo/vault/vault.h"

#include <utility>

#include "ixo/vault/entries.h"
#include "ixo/vault/sealing.h"
#include "ixo/vault/vault_folder.h"

namespace custom_bidi::vault {

const size_t kMaxEntryBytes = size_t{128} * 1024;

namespace {

constexpr size_t kMaxVaultBytes = size_t{1024} * 1024;
constexpr char kKeyFile[] = "key";
constexpr char kVaultFile[] = "vault";

/// ERROR_FILE_NOT_FOUND when there is none.
DWORD ReadKey(const VaultFolder& folder, SecureBytes& key) {
  if (const DWORD code = folder.Read(kKeyFile, kKeyBytes, key)) {
    return code;
  }
  return key.size() == kKeyBytes ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

/// The folder is open. No vault is an empty one, and then the key may be missing, too.
DWORD ReadEntries(const VaultFolder& folder, Entries& entries) {
  SecureBytes sealed;
  const DWORD code = folder.Read(kVaultFile, kMaxVaultBytes, sealed);
  if (code != ERROR_SUCCESS) {
    return code == ERROR_FILE_NOT_FOUND ? DWORD{ERROR_SUCCESS} : code;
  }
  SecureBytes key;
  if (const DWORD key_code = ReadKey(folder, key)) {
    return key_code == ERROR_FILE_NOT_FOUND ? kKeyMissing : key_code;
  }
  SecureBytes plain;
  if (const DWORD unseal_code = Unseal(key, sealed, plain)) {
    return unseal_code;
  }
  return entries.Read(plain) ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

/// The key of a vault that was read, or a new one for the first entry of all.
DWORD ReadOrMakeKey(const VaultFolder& folder, SecureBytes& key) {
  DWORD code = ReadKey(folder, key);
  if (code != ERROR_FILE_NOT_FOUND) {
    return code;
  }
  code = MakeKey(key);
  return code == ERROR_SUCCESS ? folder.Replace(kKeyFile, key) : code;
}

DWORD WriteEntries(const VaultFolder& folder, const Entries& entries) {
  const SecureBytes plain = entries.Write();
  if (plain.size() > kMaxVaultBytes - kSealBytes) {
    return kTooLarge;
  }
  SecureBytes key;
  if (const DWORD code = ReadOrMakeKey(folder, key)) {
    return code;
  }
  std::vector<BYTE> sealed;
  if (const DWORD code = Seal(key, plain, sealed)) {
    return code;
  }
  return folder.Replace(kVaultFile, sealed);
}

/// Reads what there is, without a lock: a vault is never seen half written. No folder is an empty vault.
DWORD OpenAndRead(Entries& entries) {
  VaultFolder folder;
  if (const DWORD code = folder.Open()) {
    return code == ERROR_FILE_NOT_FOUND ? DWORD{ERROR_SUCCESS} : code;
  }
  return ReadEntries(folder, entries);
}

/// Applies `change` to the entries of an open folder while nobody else changes them, and writes them unless
/// it returns a code.
template <class Change>
DWORD ChangeEntries(VaultFolder& folder, Change&& change) {
  if (const DWORD code = folder.Lock()) {
    return code;
  }
  Entries entries;
  if (const DWORD code = ReadEntries(folder, entries)) {
    return code;
  }
  if (const DWORD code = change(entries)) {
    return code;
  }
  return WriteEntries(folder, entries);
}

}  // namespace

DWORD Save(WStringView target, WStringView user, std::span<const BYTE> bytes) {
  if (const DWORD code = CheckNames(target, user)) {
    return code;
  }
  if (bytes.size() > kMaxEntryBytes) {
    return kTooLarge;
  }
  VaultFolder folder;
  if (const DWORD code = folder.OpenOrMake()) {
    return code;
  }
  return ChangeEntries(folder, [&](Entries& entries) {
    entries.Set(target, user, bytes);
    return DWORD{ERROR_SUCCESS};
  });
}

DWORD Load(WStringView target, WStringView user, SecureBytes& bytes) {
  bytes.clear();
  if (const DWORD code = CheckNames(target, user)) {
    return code;
  }
  Entries entries;
  if (const DWORD code = OpenAndRead(entries)) {
    return code;
  }
  const Entry* const entry = entries.Find(target, user);
  if (entry == nullptr) {
    return ERROR_NOT_FOUND;
  }
  bytes = entry->bytes;
  return ERROR_SUCCESS;
}

DWORD Delete(WStringView target, WStringView user) {
  if (const DWORD code = CheckNames(target, user)) {
    return code;
  }
  VaultFolder folder;
  if (const DWORD code = folder.Open()) {
    return code == ERROR_FILE_NOT_FOUND ? DWORD{ERROR_NOT_FOUND} : code;
  }
  return ChangeEntries(folder, [&](Entries& entries) {
    return entries.Remove(target, user) ? DWORD{ERROR_SUCCESS} : DWORD{ERROR_NOT_FOUND};
  });
}

DWORD IsPresent(WStringView target, WStringView user, bool& present) {
  if (const DWORD code = CheckNames(target, user)) {
    return code;
  }
  Entries entries;
  if (const DWORD code = OpenAndRead(entries)) {
    return code;
  }
  present = entries.Find(target, user) != nullptr;
  return ERROR_SUCCESS;
}

}  // namespace custom_bidi::vault
