#pragma once

#include <condition_variable>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "ixo/network/exchange.h"
#include "ixo/network/keyring/secret_functions.h"
#include "ixo/vault/secure_bytes.h"

namespace custom_bidi::network {

/// There is no session bus, or no Secret Service on it: ERROR_SERVICE_NOT_ACTIVE.
inline constexpr DWORD kNobodyAnswers = 1062;

/// The names of an entry, as UTF-8.
struct KeyringNames {
  std::string target;
  std::string user;
};

/// The Secret Service of the user's session, for one operation that ends at the deadline, by one thread.
/// Nothing here shows a prompt or waits for one.
///
/// The connection to the bus is our own: the one that GLib shares with the host would end the process with
/// the bus. Nor is libsecret's own service used that a host may have.
///
/// Every function returns 0; kNobodyAnswers; kTimeout; ERROR_ACCESS_DENIED when the service refuses, is
/// locked or would ask the user first; or ERROR_GEN_FAILURE for anything else. What is done with an item
/// returns ERROR_NOT_FOUND when it is gone.
class Keyring {
 public:
  Keyring(const SecretFunctions& functions, Deadline deadline);
  Keyring(const Keyring&) = delete;
  Keyring& operator=(const Keyring&) = delete;

  /// To come before anything else.
  DWORD Connect(const std::string& bus_address);

  /// D-Bus paths of the items that have these names.
  struct Found {
    std::vector<std::string> unlocked;
    std::vector<std::string> locked;
  };
  DWORD Search(const KeyringNames& names, Found& found);

  struct Collection {
    std::string path;
    bool locked = false;
  };
  /// The collection for new items; its path is empty when there is none.
  DWORD FindDefaultCollection(Collection& collection);

  /// Puts an item into a collection, in place of one with the same names.
  DWORD Create(const std::string& collection, const KeyringNames& names, std::span<const BYTE> secret);
  DWORD GetSecret(const std::string& item, vault::SecureBytes& secret);
  DWORD SetSecret(const std::string& item, std::span<const BYTE> secret);
  DWORD Delete(const std::string& item);

 private:
  /// What GLib brings back to a thread comes here, where no loop of the host's sees it.
  class OwnContext {
   public:
    explicit OwnContext(const SecretFunctions& functions);
    ~OwnContext();
    OwnContext(const OwnContext&) = delete;
    OwnContext& operator=(const OwnContext&) = delete;

   private:
    const SecretFunctions& functions_;
    GMainContext* const context_;
  };

  /// A method that may answer with the path of a prompt, the last value of its reply.
  struct Method {
    const char* interface;
    const char* name;
    const char* reply_type;
    size_t prompt_index;
  };

  Owned<SecretItem> Open(const std::string& item, GError*& error);
  Owned<SecretValue> NewValue(std::span<const BYTE> secret);
  DWORD CallUnprompted(const std::string& path, const Method& method, GVariant* arguments);
  DWORD CodeOf(GError* error);

  const SecretFunctions& functions_;
  OwnContext context_;
  Owned<GCancellable> cancellable_;
  Owned<GDBusConnection> connection_;
  Owned<SecretService> service_;
  std::jthread timer_;
};

}  // namespace custom_bidi::network
