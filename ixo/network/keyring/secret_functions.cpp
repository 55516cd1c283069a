#include "ixo/network/keyring/secret_functions.h"

namespace custom_bidi::network {
namespace {

/// SecretService's own constructor would have every instance use the connection that GLib shares with the
/// host, and which ends the process with the bus. This type is the same without it, and holds no code of
/// ours: types are there until the process ends, also when we are long unloaded.
GType MakeServiceType(const SecretFunctions& functions) {
  constexpr char kName[] = "CustomBidiConnectedSecretService";
  if (const GType type = functions.Call<&::g_type_from_name>(kName); type != 0) {
    return type;  // since an earlier load
  }
  GTypeInfo info{};
  info.class_size = sizeof(SecretServiceClass);
  info.instance_size = sizeof(SecretService);
  const GType type = functions.Call<&::g_type_register_static>(functions.Call<&::secret_service_get_type>(),
                                                               kName, &info, G_TYPE_FLAG_NONE);
  auto* const own = static_cast<GObjectClass*>(functions.Call<&::g_type_class_ref>(type));
  const auto* const proxy = static_cast<const GObjectClass*>(
      functions.Call<&::g_type_class_peek_parent>(functions.Call<&::g_type_class_peek_parent>(own)));
  own->constructor = proxy->constructor;
  return type;
}

}  // namespace

SecretFunctions::SecretFunctions() : LateFunctions("libsecret-1.so.0") {
  if (*this) {
    connected_service_type = MakeServiceType(*this);
  }
}

const SecretFunctions* TheSecretFunctions() {
  return base::BoundOnce<SecretFunctions>();
}

}  // namespace custom_bidi::network
