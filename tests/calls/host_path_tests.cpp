// Hosts that lie elsewhere: a copy of the C caller in the folder in question. Native tests, as the folders
// are longer than Windows takes them.

#include <cstdlib>
#include <filesystem>

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
    const fs::path caller = C_CALLER;
    for (const fs::directory_entry& entry : fs::directory_iterator(caller.parent_path())) {
      const std::string extension = entry.path().extension().string();
      if (extension == ".so" || extension == ".dll" || entry.path().filename() == "vexmoixodatamap.xml")
        fs::copy(entry.path(), folder);
    }
    fs::copy(caller, folder / name);
    program_ = folder / name;
  }

  bool Succeeds() {
    const std::string command = "'" + program_.string() + "' '" + kQueue + "'";
    return std::system(command.c_str()) == 0;
  }

  const fs::path root_ = HostFolder::Path() / "elsewhere";

 private:
  fs::path program_;
};

TEST_F(HostPath, ExtensionIsWhatStandsBehindTheLastDotOfTheWholePath) {
  MakeHost(root_ / "x.y" / "a.b", "app");
  EXPECT_FALSE(Succeeds()) << "there is no configuration";
  host.Write("elsewhere/x.y/a.xml", "<PrinterExtension/>");
  EXPECT_TRUE(Succeeds());
}

TEST_F(HostPath, JoinedPathThatIsTooLong) {
  const fs::path folder =
      root_ / std::string(200, 'd') / std::string(200, 'd') / std::string(200, 'd') / std::string(200, 'd');
  MakeHost(folder, "app.exe");
  const auto run = [&](const std::string& content) {
    host.Write((fs::relative(folder, HostFolder::Path()) / "app.xml").string(),
               "<PrinterExtension>" + content + "</PrinterExtension>");
    const bool succeeded = Succeeds();
    return std::pair{succeeded, TakeTrace()};
  };
  EXPECT_TRUE(run("").first);

  const std::string name(255, 'n');
  const auto [succeeded, lines] = run("<FILE_INFO64 xdm_dll='" + name + "'/>");
  EXPECT_FALSE(succeeded);
  const auto failed = std::ranges::find(lines, ErrorLine(206, "LoadLibrary-XDM DLL").front());
  ASSERT_NE(failed, lines.end());
  EXPECT_TRUE((failed - 1)->starts_with("XDM_DLL: [") && (failed - 1)->ends_with("\\" + name + "]"))
      << *(failed - 1);
}

}  // namespace
}  // namespace custom_bidi_test
