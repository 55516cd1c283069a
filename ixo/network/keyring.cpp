#include "ixo/network/keyring.h"

namespace custom_bidi::network {
namespace {

constexpr char kService[] = "org.freedesktop.secrets";
constexpr char kServicePath[] = "/org/freedesktop/secrets";
constexpr char kServiceInterface[] = "org.freedesktop.Secret.Service";
constexpr char kCollectionInterface[] = "org.freedesktop.Secret.Collection";
constexpr char kItemInterface[] = "org.freedesktop.Secret.Item";

/// The path that means none.
constexpr char kNoPath[] = "/";

/// Floating.
GVariant* NewBytes(const GlibLibrary& library, std::span<const BYTE> bytes) {
  return library.g_variant_new_fixed_array(VariantType("y"), bytes.data(), bytes.size(), 1);
}

/// Only an item can be gone; a service or collection that does not know what it is asked is a failure.
DWORD NotOfItem(DWORD code) {
  return code == ERROR_NOT_FOUND ? DWORD{ERROR_GEN_FAILURE} : code;
}

}  // namespace

DWORD Keyring::Search(const KeyringNames& names, Found& found) {
  Owned<GVariant> reply;
  const DWORD code =
      Call({kServicePath, kServiceInterface, "SearchItems"},
           library_.g_variant_new_parsed("({'xdg:schema': 'CustomBidi.Entry', 'target': %s, 'user': %s},)",
                                         names.target.c_str(), names.user.c_str()),
           "(aoao)", reply);
  if (code == ERROR_SUCCESS) {
    found = {.unlocked = PathsAt(reply, 0), .locked = PathsAt(reply, 1)};
  }
  return NotOfItem(code);
}

DWORD Keyring::FindDefaultCollection(std::string& path) {
  Owned<GVariant> reply;
  const DWORD code = Call({kServicePath, kServiceInterface, "ReadAlias"},
                          library_.g_variant_new("(s)", "default"), "(o)", reply);
  if (code == ERROR_SUCCESS) {
    path = PathAt(reply, 0);
    path = path == kNoPath ? "" : path;
  }
  return NotOfItem(code);
}

DWORD Keyring::IsLocked(const std::string& collection, bool& locked) {
  Owned<GVariant> reply;
  const DWORD code = Call({collection.c_str(), "org.freedesktop.DBus.Properties", "Get"},
                          library_.g_variant_new("(ss)", kCollectionInterface, "Locked"), "(v)", reply);
  if (code != ERROR_SUCCESS) {
    return NotOfItem(code);
  }
  const Owned<GVariant> boxed(library_.g_variant_get_child_value(reply.get(), 0));
  const Owned<GVariant> value(library_.g_variant_get_child_value(boxed.get(), 0));
  if (!library_.g_variant_is_of_type(value.get(), VariantType("b"))) {
    return ERROR_GEN_FAILURE;
  }
  locked = library_.g_variant_get_boolean(value.get()) != FALSE;
  return ERROR_SUCCESS;
}

DWORD Keyring::Create(const std::string& collection,
                      const KeyringNames& names,
                      std::span<const BYTE> secret) {
  GVariant* encoded = nullptr;
  if (const DWORD code = Encode(secret, encoded)) {
    return code;
  }
  GVariant* const properties = library_.g_variant_new_parsed(
      "{'org.freedesktop.Secret.Item.Label': <%s>,"
      " 'org.freedesktop.Secret.Item.Attributes':"
      " <{'xdg:schema': 'CustomBidi.Entry', 'target': %s, 'user': %s}>}",
      names.target.c_str(), names.target.c_str(), names.user.c_str());
  Owned<GVariant> reply;
  const DWORD code =
      Call({collection.c_str(), kCollectionInterface, "CreateItem"},
           library_.g_variant_new("(@a{sv}@(oayays)b)", properties, encoded, TRUE), "(oo)", reply);
  return code == ERROR_SUCCESS ? DismissPrompt(reply, 1) : NotOfItem(code);
}

DWORD Keyring::GetSecret(const std::string& item, vault::SecureBytes& secret) {
  if (const DWORD code = OpenSession()) {
    return code;
  }
  Owned<GVariant> reply;
  const DWORD code = Call({item.c_str(), kItemInterface, "GetSecret"},
                          library_.g_variant_new("(o)", session_.c_str()), "((oayays))", reply);
  if (code != ERROR_SUCCESS) {
    return code;
  }
  const Owned<GVariant> encoded(library_.g_variant_get_child_value(reply.get(), 0));
  return cipher_.Decrypt(BytesAt(encoded.get(), 1), BytesAt(encoded.get(), 2), secret);
}

DWORD Keyring::SetSecret(const std::string& item, std::span<const BYTE> secret) {
  GVariant* encoded = nullptr;
  if (const DWORD code = Encode(secret, encoded)) {
    return code;
  }
  Owned<GVariant> reply;
  return Call({item.c_str(), kItemInterface, "SetSecret"}, library_.g_variant_new("(@(oayays))", encoded),
              "()", reply);
}

DWORD Keyring::Delete(const std::string& item) {
  Owned<GVariant> reply;
  const DWORD code = Call({item.c_str(), kItemInterface, "Delete"}, nullptr, "(o)", reply);
  return code == ERROR_SUCCESS ? DismissPrompt(reply, 0) : code;
}

DWORD Keyring::Call(const SessionBus::Method& method,
                    GVariant* arguments,
                    const char* reply_type,
                    Owned<GVariant>& reply) {
  return bus_.Call(kService, method, arguments, reply_type, reply);
}

/// `encoded` is floating.
DWORD Keyring::Encode(std::span<const BYTE> secret, GVariant*& encoded) {
  if (const DWORD code = OpenSession()) {
    return code;
  }
  std::vector<BYTE> vector;
  std::vector<BYTE> encrypted;
  if (const DWORD code = cipher_.Encrypt(secret, vector, encrypted)) {
    return code;
  }
  encoded = library_.g_variant_new("(o@ay@ays)", session_.c_str(), NewBytes(library_, vector),
                                   NewBytes(library_, encrypted), "application/octet-stream");
  return ERROR_SUCCESS;
}

/// The service forgets the session with the connection.
DWORD Keyring::OpenSession() {
  if (!session_.empty()) {
    return ERROR_SUCCESS;
  }
  std::vector<BYTE> half;
  if (const DWORD code = cipher_.Offer(half)) {
    return code;
  }
  Owned<GVariant> reply;
  if (const DWORD code =
          Call({kServicePath, kServiceInterface, "OpenSession"},
               library_.g_variant_new("(sv)", SecretCipher::kAlgorithm, NewBytes(library_, half)), "(vo)",
               reply)) {
    return NotOfItem(code);
  }
  const Owned<GVariant> boxed(library_.g_variant_get_child_value(reply.get(), 0));
  if (const DWORD code = cipher_.Agree(BytesAt(boxed.get(), 0))) {
    return code;
  }
  session_ = PathAt(reply, 1);
  return ERROR_SUCCESS;
}

/// Empty when it holds something else than bytes.
std::vector<BYTE> Keyring::BytesAt(GVariant* container, size_t index) const {
  const Owned<GVariant> bytes(library_.g_variant_get_child_value(container, index));
  if (!library_.g_variant_is_of_type(bytes.get(), VariantType("ay"))) {
    return {};
  }
  gsize length = 0;
  const auto* const first =
      static_cast<const BYTE*>(library_.g_variant_get_fixed_array(bytes.get(), &length, 1));
  return {first, first + length};
}

/// What a reply names as the prompt that has to be gone through first is told that nobody will.
DWORD Keyring::DismissPrompt(const Owned<GVariant>& reply, size_t index) {
  const std::string prompt = PathAt(reply, index);
  if (prompt == kNoPath) {
    return ERROR_SUCCESS;
  }
  Owned<GVariant> dismissed;
  Call({prompt.c_str(), "org.freedesktop.Secret.Prompt", "Dismiss"}, nullptr, "()", dismissed);
  return ERROR_ACCESS_DENIED;
}

std::string Keyring::PathAt(const Owned<GVariant>& reply, size_t index) const {
  const char* path = nullptr;
  library_.g_variant_get_child(reply.get(), index, "&o", &path);
  return path;
}

std::vector<std::string> Keyring::PathsAt(const Owned<GVariant>& reply, size_t index) const {
  const Owned<GVariant> list(library_.g_variant_get_child_value(reply.get(), index));
  std::vector<std::string> paths(library_.g_variant_n_children(list.get()));
  for (size_t i = 0; i < paths.size(); ++i) {
    paths[i] = PathAt(list, i);
  }
  return paths;
}

}  // namespace custom_bidi::network
