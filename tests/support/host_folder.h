#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <string_view>

namespace custom_bidi_test {

/// The folder of the running test program, where the library looks for its files. What a test puts there or
/// takes away is as before when the object goes, and also after a run that crashed.
class HostFolder {
 public:
  HostFolder();
  ~HostFolder();
  HostFolder(const HostFolder&) = delete;
  HostFolder& operator=(const HostFolder&) = delete;

  /// `name` may lie in a folder of its own, which is made.
  void Write(const std::string& name, std::string_view content);
  void Copy(const std::string& source, const std::string& name);
  void Remove(const std::string& name);

  /// The file that the library takes its configuration from: the program's name with the extension ".xml".
  static std::string ConfigurationName();
  static std::filesystem::path Path();
  /// The folder as the library names it, for a file in it by its configured name ("\") or its default ("//").
  static std::string Text(std::string_view separator_and_name = "");

 private:
  void SetAside(const std::string& name);

  std::set<std::string> changed_;
};

}  // namespace custom_bidi_test
