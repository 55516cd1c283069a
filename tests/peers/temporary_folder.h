#pragma once

#include <stdlib.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace custom_bidi_test {

/// A new folder of the user's own below /tmp, short enough for the paths of sockets; goes with all that is in
/// it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    char name[] = "/tmp/peer-XXXXXX";
    if (mkdtemp(name) == nullptr) {
      throw std::system_error(errno, std::generic_category(), name);
    }
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  std::filesystem::path operator/(std::string_view name) const { return path_ / name; }

  std::filesystem::path WriteFile(std::string_view name, std::string_view content) const {
    std::ofstream file(path_ / name, std::ios::binary);
    if (!(file << content).flush()) {
      throw std::runtime_error((path_ / name).string() + " cannot be written");
    }
    return path_ / name;
  }

 private:
  std::filesystem::path path_;
};

/// Empty for a file that is not there.
inline std::string ReadWholeFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace custom_bidi_test
