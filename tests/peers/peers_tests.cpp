#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

#include "tests/peers/local_servers.h"

namespace custom_bidi_test {
namespace {

/// How a program that has started a server can end without a word to it.
class LocalServerTest : public testing::TestWithParam<int> {};

TEST_P(LocalServerTest, EndsWithItsParent) {
  std::array<int, 2> pipe_ends{};
  ASSERT_EQ(pipe(pipe_ends.data()), 0);
  const pid_t parent = fork();
  if (parent == 0) {
    const LocalServer printer("printer", {PrinterKeys("good"), PeerFile("good.attributes")});
    const std::string folder = printer.Folder().Path();
    const bool is_told = write(pipe_ends[1], folder.data(), folder.size()) > 0;
    raise(GetParam());
    _exit(is_told ? 0 : 1);
  }
  std::array<char, 200> folder{};
  close(pipe_ends[1]);
  ASSERT_GT(read(pipe_ends[0], folder.data(), folder.size() - 1), 0);
  close(pipe_ends[0]);
  waitpid(parent, nullptr, 0);
  const auto is_gone = [&] { return RunProgram({"pgrep", "-f", folder.data()}).exit_code == 1; };
  EXPECT_TRUE(WaitUntil(is_gone, std::chrono::seconds(20))) << "script, bus and printer";
  std::filesystem::remove_all(folder.data());
}

INSTANTIATE_TEST_SUITE_P(Ends, LocalServerTest, testing::Values(SIGKILL, SIGTERM, SIGCONT));

}  // namespace
}  // namespace custom_bidi_test
