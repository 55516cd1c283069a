#include "ixo/network/keyring/secret_service.h"

#include <sys/stat.h>

#include <cstdlib>

#include "base/utf.h"
#include "ixo/vault/vault.h"

namespace custom_bidi::network {

std::string SessionBusAddress() {
  const char* const given = secure_getenv("DBUS_SESSION_BUS_ADDRESS");
  if (given != nullptr && *given != '\0') {
    const std::string address = given;
    return address.find("autolaunch:") == std::string::npos ? address : "";
  }
  const char* const folder = secure_getenv("XDG_RUNTIME_DIR");
  const std::string path = std::string(folder != nullptr ? folder : "") + "/bus";
  struct stat status {};
  const bool is_bus =
      folder != nullptr && folder[0] == '/' && stat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode);
  // In an address these would have to be escaped, and no system has such a folder.
  return is_bus && path.find_first_of(",;%") == std::string::npos ? "unix:path=" + path : "";
}

}  // namespace custom_bidi::network

namespace custom_bidi::network::secret_service {
namespace {

DWORD CheckNames(WStringView target, WStringView user) {
  if (const DWORD code = vault::CheckNames(target, user)) {
    return code;
  }
  // Two names must not become one on their way into UTF-8.
  return base::IsValidUtf16(target) && base::IsValidUtf16(user) ? ERROR_SUCCESS : ERROR_INVALID_NAME;
}

/// Does `operation` with the entry's names and the items that have them.
template <class Operation>
DWORD WithEntry(WStringView target, WStringView user, Operation&& operation) {
  if (const DWORD code = CheckNames(target, user)) {
    return code;
  }
  const std::string bus_address = SessionBusAddress();
  const SecretFunctions* const functions = bus_address.empty() ? nullptr : TheSecretFunctions();
  if (!functions) {
    return kNobodyAnswers;
  }
  Keyring keyring(*functions, Deadline(kSecretServiceTime));
  if (const DWORD code = keyring.Connect(bus_address)) {
    return code;
  }
  const KeyringNames names{.target = base::ToUtf8(target), .user = base::ToUtf8(user)};
  Keyring::Found found;
  if (const DWORD code = keyring.Search(names, found)) {
    return code;
  }
  return operation(keyring, names, found);
}

/// Why there is no entry: ERROR_NOT_FOUND, or a code that says that it cannot be known. Some services do not
/// tell what a locked collection holds.
DWORD ReasonForNone(Keyring& keyring) {
  Keyring::Collection collection;
  if (const DWORD code = keyring.FindDefaultCollection(collection)) {
    return code;
  }
  return collection.locked ? ERROR_ACCESS_DENIED : ERROR_NOT_FOUND;
}

DWORD SaveNew(Keyring& keyring, const KeyringNames& names, std::span<const BYTE> bytes) {
  Keyring::Collection collection;
  if (const DWORD code = keyring.FindDefaultCollection(collection)) {
    return code;
  }
  if (collection.path.empty()) {
    return kNoKeyring;
  }
  return collection.locked ? DWORD{ERROR_ACCESS_DENIED} : keyring.Create(collection.path, names, bytes);
}

}  // namespace

DWORD Save(WStringView target, WStringView user, std::span<const BYTE> bytes) {
  if (bytes.size() > vault::kMaxEntryBytes) {
    const DWORD code = CheckNames(target, user);
    return code == ERROR_SUCCESS ? vault::kTooLarge : code;
  }
  return WithEntry(target, user,
                   [bytes](Keyring& keyring, const KeyringNames& names, const Keyring::Found& found) {
                     if (!found.locked.empty()) {
                       return DWORD{ERROR_ACCESS_DENIED};
                     }
                     // An item is written over where it is, which need not be the default collection.
                     for (const std::string& item : found.unlocked) {
                       if (const DWORD code = keyring.SetSecret(item, bytes); code != ERROR_NOT_FOUND) {
                         return code;
                       }
                     }
                     return SaveNew(keyring, names, bytes);
                   });
}

DWORD Load(WStringView target, WStringView user, vault::SecureBytes& bytes) {
  bytes.clear();
  return WithEntry(target, user,
                   [&bytes](Keyring& keyring, const KeyringNames&, const Keyring::Found& found) {
                     if (!found.unlocked.empty()) {
                       return keyring.GetSecret(found.unlocked.front(), bytes);
                     }
                     return found.locked.empty() ? ReasonForNone(keyring) : DWORD{ERROR_ACCESS_DENIED};
                   });
}

DWORD Delete(WStringView target, WStringView user) {
  return WithEntry(target, user, [](Keyring& keyring, const KeyringNames&, const Keyring::Found& found) {
    if (!found.locked.empty()) {
      return DWORD{ERROR_ACCESS_DENIED};
    }
    if (found.unlocked.empty()) {
      return ReasonForNone(keyring);
    }
    for (const std::string& item : found.unlocked) {
      if (const DWORD code = keyring.Delete(item)) {
        return code;
      }
    }
    return DWORD{ERROR_SUCCESS};
  });
}

DWORD IsPresent(WStringView target, WStringView user, bool& present) {
  return WithEntry(
      target, user, [&present](Keyring& keyring, const KeyringNames&, const Keyring::Found& found) {
        present = !found.unlocked.empty();
        if (present) {
          return DWORD{ERROR_SUCCESS};
        }
        const DWORD code = found.locked.empty() ? ReasonForNone(keyring) : DWORD{ERROR_ACCESS_DENIED};
        return code == ERROR_NOT_FOUND ? DWORD{ERROR_SUCCESS} : code;
      });
}

}  // namespace custom_bidi::network::secret_service
