#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>

#include "ixo/support/host_folder.h"

namespace custom_bidi::device {

std::FILE* OpenBesideHost(const char* name, Opening opening, std::string& shown_path) {
  std::array<char, PATH_MAX> executable;
  const ssize_t length = readlink("/proc/self/exe", executable.data(), executable.size());
  if (length < 0 || static_cast<size_t>(length) == executable.size()) {
    errno = ENAMETOOLONG;
    return nullptr;
  }
  shown_path.assign(executable.data(), static_cast<size_t>(length));
  shown_path.erase(shown_path.rfind('/') + 1);
  shown_path += name;
  return std::fopen(shown_path.c_str(), opening == Opening::kRead ? "rbe" : "abe");
}

}  // namespace custom_bidi::device
