#pragma once

#include <span>
#include <string>
#include <vector>

#include "ixo/network/secret_cipher.h"
#include "ixo/network/session_bus.h"
#include "ixo/vault/secure_bytes.h"

namespace custom_bidi::network {

/// The names of an entry, as UTF-8.
struct KeyringNames {
  std::string target;
  std::string user;
};

/// The Secret Service of the user's session, for one operation that ends at the deadline. Nothing here shows
/// a prompt or waits for one. Every function returns 0 or a code of SessionBus::Call.
class Keyring {
 public:
  Keyring(const GlibLibrary& library, Deadline deadline) : library_(library), bus_(library, deadline) {}

  DWORD Connect(const std::string& bus_address) { return bus_.Connect(bus_address); }

  /// D-Bus paths of the items that have these names.
  struct Found {
    std::vector<std::string> unlocked;
    std::vector<std::string> locked;
  };
  DWORD Search(const KeyringNames& names, Found& found);

  /// The collection for new items; empty when there is none.
  DWORD FindDefaultCollection(std::string& path);
  DWORD IsLocked(const std::string& collection, bool& locked);

  /// Puts an item into a collection, in place of one with the same names. ERROR_ACCESS_DENIED when the
  /// service would ask the user first.
  DWORD Create(const std::string& collection, const KeyringNames& names, std::span<const BYTE> secret);
  DWORD GetSecret(const std::string& item, vault::SecureBytes& secret);
  DWORD SetSecret(const std::string& item, std::span<const BYTE> secret);
  /// ERROR_ACCESS_DENIED when the service would ask the user first.
  DWORD Delete(const std::string& item);

 private:
  DWORD Call(const SessionBus::Method& method,
             GVariant* arguments,
             const char* reply_type,
             Owned<GVariant>& reply);
  DWORD Encode(std::span<const BYTE> secret, GVariant*& encoded);
  DWORD OpenSession();
  std::vector<BYTE> BytesAt(GVariant* container, size_t index) const;
  DWORD DismissPrompt(const Owned<GVariant>& reply, size_t index);
  std::string PathAt(const Owned<GVariant>& reply, size_t index) const;
  std::vector<std::string> PathsAt(const Owned<GVariant>& reply, size_t index) const;

  const GlibLibrary& library_;
  SessionBus bus_;
  std::string session_;
  SecretCipher cipher_;
};

}  // namespace custom_bidi::network
