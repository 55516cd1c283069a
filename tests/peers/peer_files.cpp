#include "tests/peers/peer_files.h"

namespace fs = std::filesystem;

namespace custom_bidi_test {

fs::path PeerFile(const std::string& name) {
  return fs::path(PEER_FOLDER) / name;
}

fs::path PrinterKeys(const std::string& name) {
  return fs::path(PRINTER_KEY_FOLDER) / name;
}

fs::path PrinterAuthority() {
  return fs::path(PRINTER_KEY_FOLDER) / "ca.crt";
}

fs::path PrinterRevocations() {
  return fs::path(PRINTER_KEY_FOLDER) / "crl.pem";
}

}  // namespace custom_bidi_test
