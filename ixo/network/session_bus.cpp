#include "ixo/network/session_bus.h"

#include <sys/stat.h>

#include <cstdlib>

namespace custom_bidi::network {

std::string SessionBusAddress() {
  const char* const given = secure_getenv("DBUS_SESSION_BUS_ADDRESS");
  if (given && *given != '\0') {
    const std::string address = given;
    return address.find("autolaunch:") == std::string::npos ? address : "";
  }
  const char* const folder = secure_getenv("XDG_RUNTIME_DIR");
  const std::string path = std::string(folder ? folder : "") + "/bus";
  struct stat status {};
  const bool is_bus =
      folder && folder[0] == '/' && stat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode);
  // In an address these would have to be escaped, and no system has such a folder.
  return is_bus && path.find_first_of(",;%") == std::string::npos ? "unix:path=" + path : "";
}

}  // namespace custom_bidi::network
