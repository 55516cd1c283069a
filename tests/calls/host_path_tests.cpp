// Hosts that lie elsewhere: a copy of the C caller in the folder in question. Native tests, as the folders
// are longer than Windows takes them.

#include <cstdlib>

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

namespace fs = std::filesystem;

class HostPath : public CallTest {
 protected:
  ~HostPath() override { fs::remove_all(root_); }

  /// Copies the program with the libraries to `folder`, under `name`.
  void MakeHost(const fs::path& folder, const std::string& name) {
    fs::remove_all(root_);
    fs::create_directories(folder);
    fs::copy(fs::path(C_CALLER).parent_path(), folder);  // without its folders
    fs::rename(folder / fs::path(C_CALLER).filename(), folder / name);
    program_ = folder / name;
  }

  void WriteBeside(const std::string& name, const std::string& content) {
    host.Write((fs::relative(program_.parent_path(), HostFolder::Path()) / name).string(), content);
  }
  bool Succeeds() { return std::system(("'" + program_.string() + "' '" + kQueue + "'").c_str()) == 0; }

  const fs::path root_ = HostFolder::Path() / "elsewhere";

 private:
  fs::path program_;
};

TEST_F(HostPath, ExtensionIsWhatStandsBehindTheLastDotOfTheWholePath) {
  MakeHost(root_ / "x.y" / "a.b", "app");
  EXPECT_FALSE(Succeeds()) << "there is no configuration";
  WriteBeside("../a.xml", "<PrinterExtension/>");
  EXPECT_TRUE(Succeeds());
}

TEST_F(HostPath, JoinedPathsCountUpTo1023Characters) {
  fs::path folder = root_;
  while (folder.native().size() < 560) {
    folder /= std::string(100, 'd');
  }
  folder /= std::string(765 - folder.native().size(), 'd');  // before it stands the drive
  MakeHost(folder, "app.exe");
  SetTrace(true);
  const std::tuple<const char*, size_t, std::string> rows[] = {
      {"xdm_xml", 254, kLoadSucceeded},
      {"xdm_xml", 255, ">>>>>Custom Bidi : Load Config XML fail!! ["},  // though the library takes it
      {"xdm_dll", 254, ErrorLine(ERROR_MOD_NOT_FOUND, "LoadLibrary-XDM DLL").front()},  // with ".dll"
      {"xdm_dll", 255, ErrorLine(ERROR_FILENAME_EXCED_RANGE, "LoadLibrary-XDM DLL").front()}};
  for (const auto& [attribute, chars, line] : rows) {
    const std::string name(chars, 'n');
    fs::copy(folder / "vexmoixodatamap.xml", folder / name, fs::copy_options::overwrite_existing);
    WriteBeside("app.xml", "<P><FILE_INFO64 " + std::string(attribute) + "='" + name + "'/></P>");
    EXPECT_EQ(Succeeds(), line == kLoadSucceeded) << attribute << chars;
    From(TakeTrace(), line);
  }
}

}  // namespace
}  // namespace custom_bidi_test
