#include "tests/ixo/vault_home.h"

#include <cstdlib>

namespace custom_bidi::vault {

std::filesystem::path UseOwnHome() {
  const std::filesystem::path home =
      std::filesystem::read_symlink("/proc/self/exe").parent_path() / "vault home";
  setenv("CUSTOMBIDI_HOME", home.c_str(), 1);
  return home;
}

}  // namespace custom_bidi::vault
