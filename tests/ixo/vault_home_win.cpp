#include "tests/ixo/vault_home.h"

namespace custom_bidi::vault {

std::filesystem::path UseOwnHome() {
  return {};
}

}  // namespace custom_bidi::vault
