// Another process with the same vault: vault_visitor TARGET USER OLD NEW, all ASCII. Ends with 0 when the entry
// held OLD, and puts NEW in its place.

#include <algorithm>
#include <string_view>

#include "ixo/vault/vault.h"

int main(int argc, char** argv) {
  namespace vault = custom_bidi::vault;
  const auto argument = [&](int at) { return std::string_view(at < argc ? argv[at] : ""); };
  const auto wide = [&](int at) { return custom_bidi::WString(argument(at).begin(), argument(at).end()); };
  const auto bytes = [&](int at) { return vault::SecureBytes(argument(at).begin(), argument(at).end()); };
  vault::SecureBytes loaded;
  const bool held = vault::Load(wide(1), wide(2), loaded) == 0 && loaded == bytes(3);
  return held && vault::Save(wide(1), wide(2), bytes(4)) == 0 ? 0 : 1;
}
