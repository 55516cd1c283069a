#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/peers/local_servers.h"

namespace custom_bidi_test {
namespace {

// However a program that has started a server ends without a word to it.
TEST(LocalServer, EndsWithItsParent) {
  for (const int signal : {SIGKILL, SIGTERM, SIGCONT}) {
    int pipe_ends[2];
    ASSERT_EQ(pipe(pipe_ends), 0);
    const pid_t parent = fork();
    if (parent == 0) {
      const LocalServer printer("printer", {PrinterKeys("good"), PeerFile("good.attributes")});
      const std::string folder = printer.Folder().Path();
      const bool is_told = write(pipe_ends[1], folder.data(), folder.size()) > 0;
      raise(signal);
      _exit(is_told ? 0 : 1);
    }
    char folder[200] = {};
    close(pipe_ends[1]);
    ASSERT_GT(read(pipe_ends[0], folder, sizeof(folder) - 1), 0);
    close(pipe_ends[0]);
    waitpid(parent, nullptr, 0);
    const auto is_gone = [&] { return RunProgram({"pgrep", "-f", folder}).exit_code == 1; };
    EXPECT_TRUE(WaitUntil(is_gone, std::chrono::seconds(20))) << "script, bus and printer";
    std::filesystem::remove_all(folder);
  }
}

}  // namespace
}  // namespace custom_bidi_test
