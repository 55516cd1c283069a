// Hosts that lie elsewhere: a copy of the C caller in the folder in question. Native tests, as the folders
// are longer than Windows takes them.

#include <algorithm>
#include <cstdlib>

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

namespace fs = std::filesystem;

class HostPath : public CallTest {
 protected:
  void SetUp() override {
    CallTest::SetUp();
    SetTrace(true);
    fs::remove_all(root_);
  }
  void TearDown() override {
    fs::remove_all(root_);
    CallTest::TearDown();
  }

  /// Copies the program with the libraries to `folder`, under `name`.
  void MakeHost(const fs::path& folder, const std::string& name) {
    fs::create_directories(folder);
    fs::copy(fs::path(C_CALLER).parent_path(), folder);  // without its folders
    fs::rename(folder / fs::path(C_CALLER).filename(), folder / name);
    program_ = folder / name;
  }

  void WriteBeside(const std::string& name, const std::string& content) {
    host.Write((fs::relative(program_.parent_path(), HostFolder::Path()) / name).string(), content);
  }
  bool Succeeds(const std::string& more = "") {
    return std::system(("'" + program_.string() + "' '" + kQueue + "'" + more).c_str()) == 0;
  }

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

TEST_F(HostPath, JoinedPathThatIsTooLong) {
  fs::path folder = root_;
  for (int i = 0; i < 4; ++i) {
    folder /= std::string(200, 'd');
  }
  MakeHost(folder, "app.exe");
  const std::string name(255, 'n');
  fs::copy(folder / "vexmoixodatamap.xml", folder / name);
  for (const auto& [attribute, line] : {std::pair{"other", std::string(kLoadSucceeded)},
                                        {"xdm_dll", ErrorLine(206, "LoadLibrary-XDM DLL").front()},
                                        // The library takes it, the XML parser does not.
                                        {"xdm_xml", ">>>>>Custom Bidi : Load Config XML fail!! ["}}) {
    WriteBeside("app.xml", "<P><FILE_INFO64 " + std::string(attribute) + "='" + name + "'/></P>");
    EXPECT_EQ(Succeeds(), line == kLoadSucceeded);
    From(TakeTrace(), line);
  }
}

TEST_F(HostPath, FallbackConfigurationIsLoadedFromAtMost1023Characters) {
  const std::string name = "Vexmo.Quellix.V4.PrinterExtension.xml";
  for (const bool is_loaded : {true, false}) {
    fs::path folder = root_;
    while (folder.native().size() < 760) {
      folder /= std::string(100, 'd');
    }
    // Before it stands the drive, and between them two separators.
    folder /= std::string((is_loaded ? 1019 : 1020) - name.size() - folder.native().size(), 'd');
    MakeHost(folder, "app");
    WriteBeside(name, "<PrinterExtension/>");
    Succeeds(" password");
    const Lines lines = TakeTrace();
    EXPECT_EQ(std::ranges::count(lines, kTargetNotPresent), is_loaded);
    EXPECT_EQ(
        std::ranges::count_if(lines, [&](const auto& line) { return line.ends_with("\\" + name + "]"); }),
        !is_loaded);
  }
}

}  // namespace
}  // namespace custom_bidi_test
