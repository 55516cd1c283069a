#include "tests/peers/temporary_folder.h"

#include <stdlib.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace fs = std::filesystem;

namespace custom_bidi_test {

TemporaryFolder::TemporaryFolder() {
  char name[] = "/tmp/peer-XXXXXX";
  if (!mkdtemp(name))
    throw std::system_error(errno, std::generic_category(), name);
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

fs::path TemporaryFolder::MakeFolder(std::string_view name) const {
  const fs::path folder = path_ / name;
  fs::create_directories(folder);
  fs::permissions(folder, fs::perms::owner_all);
  return folder;
}

fs::path TemporaryFolder::WriteFile(std::string_view name, std::string_view content) const {
  const fs::path path = path_ / name;
  std::ofstream file(path, std::ios::binary);
  if (!file.write(content.data(), static_cast<std::streamsize>(content.size())).flush())
    throw std::runtime_error(path.string() + " cannot be written");
  return path;
}

std::string ReadWholeFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace custom_bidi_test
