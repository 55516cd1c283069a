#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace custom_bidi_test {

/// A new folder of the user's own below /tmp, short enough for the paths of sockets; goes with all that is in
/// it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  std::filesystem::path operator/(std::string_view name) const { return path_ / name; }

  /// Makes a folder in it, with those on the way there, for the user alone.
  std::filesystem::path MakeFolder(std::string_view name) const;
  std::filesystem::path WriteFile(std::string_view name, std::string_view content) const;

 private:
  std::filesystem::path path_;
};

/// Empty for a file that is not there.
std::string ReadWholeFile(const std::filesystem::path& path);

}  // namespace custom_bidi_test
