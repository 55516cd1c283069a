#include "tests/support/machine.h"

#include <fstream>
#include <stdexcept>

namespace custom_bidi_test {
namespace {

namespace fs = std::filesystem;

constexpr char kAside[] = ".aside";

fs::path PathOf(const std::string& name) {
  return HostFolder::Path() / ToWide(name);
}

}  // namespace

std::string ReadBytes(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

HostFolder::HostFolder() {
  for (const fs::directory_entry& entry : fs::directory_iterator(Path())) {
    if (entry.path().extension() == kAside) {
      fs::rename(entry.path(), fs::path(entry.path()).replace_extension());
    }
  }
}

void HostFolder::Restore() {
  std::error_code ignored;
  for (const std::string& name : changed_) {
    const fs::path path = PathOf(name);
    fs::remove(path, ignored);
    fs::rename(fs::path(path) += kAside, path, ignored);
    if (path.parent_path() != Path()) {
      fs::remove(path.parent_path(), ignored);
    }
  }
  changed_.clear();
}

void HostFolder::Write(const std::string& name, std::string_view content) {
  SetAside(name);
  std::ofstream file(PathOf(name), std::ios::binary);
  if (!file.write(content.data(), static_cast<std::streamsize>(content.size())).flush()) {
    throw std::runtime_error(name + " cannot be written");
  }
}

void HostFolder::Copy(const std::string& source, const std::string& name) {
  Remove(name);  // mingw's copy_file does not overwrite, whatever it is told
  fs::copy_file(PathOf(source), PathOf(name));
}

void HostFolder::Remove(const std::string& name) {
  SetAside(name);
  fs::remove(PathOf(name));
}

std::string HostFolder::Text(std::string_view separator_and_name) {
  WCHAR path[1024];
  const std::string program = ToUtf8({path, GetModuleFileNameW(nullptr, path, 1024)});
  return program.substr(0, program.rfind('\\')) + std::string(separator_and_name);
}

/// Keeps what stands under the name now, unless this was done before.
void HostFolder::SetAside(const std::string& name) {
  const fs::path path = PathOf(name);
  fs::create_directories(path.parent_path());
  if (changed_.insert(name).second && fs::exists(path)) {
    fs::rename(path, fs::path(path) += kAside);
  }
}

}  // namespace custom_bidi_test
