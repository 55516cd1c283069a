// Another process with the same vault:
//   vault_visitor save TARGET USER BYTES     keeps BYTES
//   vault_visitor load TARGET USER BYTES     checks that these are the entry's bytes
//   vault_visitor delete TARGET USER
// All ASCII. Ends with 0 when it could, else with 1.

#include <algorithm>
#include <string_view>

#include "ixo/vault/vault.h"

namespace {

using custom_bidi::WString;
namespace vault = custom_bidi::vault;

bool Visit(std::string_view what, const WString& target, const WString& user, std::string_view bytes) {
  if (what == "save") {
    return vault::Save(target, user, {reinterpret_cast<const BYTE*>(bytes.data()), bytes.size()}) == 0;
  }
  if (what == "load") {
    vault::SecureBytes loaded;
    return vault::Load(target, user, loaded) == 0 &&
           std::ranges::equal(loaded, bytes, {}, [](BYTE byte) { return static_cast<char>(byte); });
  }
  return what == "delete" && vault::Delete(target, user) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view bytes = argc > 4 ? argv[4] : "";
  const auto wide = [](std::string_view text) { return WString(text.begin(), text.end()); };
  return argc >= 4 && Visit(argv[1], wide(argv[2]), wide(argv[3]), bytes) ? 0 : 1;
}
