// bidictl on a terminal: what is typed as a password is never shown, and the terminal is as before afterwards.
// And without anything to write to.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>

#include "tests/bidictl/program_run.h"
#include "tools/bidictl/platform/queue_store.h"

namespace custom_bidi_test {
namespace {

/// bidictl on a terminal of 44 columns, which outlives it. The line may go on with commands of a shell.
class ProgramOnTerminal {
 public:
  explicit ProgramOnTerminal(const std::string& line, const std::string& before = "exec ") {
    const winsize size = {.ws_row = 24, .ws_col = 44, .ws_xpixel = 0, .ws_ypixel = 0};
    const std::string command = before + "'" + (kFolder / "bidictl.exe").string() + "' " + line;
    id_ = forkpty(&terminal_, nullptr, nullptr, &size);
    if (id_ == 0) {
      unsetenv("COLUMNS");
      execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
      _exit(127);
    }
  }
  ~ProgramOnTerminal() {
    close(terminal_);  // which ends it
    if (id_ > 0) {
      WaitForEnd();
    }
  }
  ProgramOnTerminal(const ProgramOnTerminal&) = delete;
  ProgramOnTerminal& operator=(const ProgramOnTerminal&) = delete;

  const std::string& shown() const { return shown_; }

  bool ShowsWhatIsTyped() const {
    termios settings = {};
    EXPECT_EQ(tcgetattr(terminal_, &settings), 0);
    return (settings.c_lflag & ECHO) != 0;
  }

  /// Reads on until the text has been shown behind what was awaited before.
  bool Await(std::string_view text, int patience_milliseconds = 10000) {
    size_t found;
    while ((found = shown_.find(text, awaited_)) == std::string::npos) {
      pollfd ready = {.fd = terminal_, .events = POLLIN, .revents = 0};
      char block[4096];
      const ssize_t count =
          poll(&ready, 1, patience_milliseconds) > 0 ? read(terminal_, block, sizeof(block)) : 0;
      if (count <= 0) {
        return false;
      }
      shown_.append(block, static_cast<size_t>(count));
    }
    awaited_ = found + text.size();
    return true;
  }

  void Signal(int number) const { kill(id_, number); }

  void Type(std::string_view text) {
    EXPECT_EQ(write(terminal_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }

  /// The exit code, or minus the signal.
  int WaitForEnd() {
    int status = 0;
    waitpid(std::exchange(id_, 0), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

 private:
  int terminal_ = -1;
  pid_t id_ = 0;
  std::string shown_;
  size_t awaited_ = 0;
};

TEST(Terminal, PasswordsAreNotShownHoweverItEnds) {
  const struct {
    const char* first;   // null: the signal is sent
    const char* second;  // null: it is not asked for
    int code;
    const char* message = "";
  } cases[] = {{"hidden \xC3\xBC\n", "hidden \xC3\xBC\n", 0, "The password is saved."},
               {"hidden\n", "hidden2\n", 1, "bidictl: the two passwords differ"},
               {"\n", nullptr, 1, "bidictl: the password is empty"},
               {"hidden\x03", nullptr, -SIGINT},
               {"hidden\n", "hid\x03", -SIGINT},
               {nullptr, nullptr, -SIGTERM},
               {nullptr, nullptr, -SIGHUP},
               {nullptr, nullptr, -SIGQUIT}};
  for (const auto& [first, second, code, message] : cases) {
    ProgramOnTerminal program("password save cli-terminal --user cli-user --target cli-target");
    ASSERT_TRUE(program.Await("Password: ")) << program.shown();
    EXPECT_FALSE(program.ShowsWhatIsTyped());
    if (first != nullptr) {
      program.Type(first);
    } else {
      program.Signal(-code);
    }
    if (second != nullptr) {
      ASSERT_TRUE(program.Await("The same once more: ")) << program.shown();
      EXPECT_FALSE(program.ShowsWhatIsTyped());
      program.Type(second);
    }
    EXPECT_TRUE(program.Await(message)) << program.shown();
    EXPECT_EQ(program.WaitForEnd(), code) << program.shown();
    EXPECT_TRUE(program.ShowsWhatIsTyped()) << "after " << code;
    EXPECT_EQ(program.shown().find("hid"), std::string::npos) << program.shown();
  }
  EXPECT_EQ(RunBidictl("password delete q --user cli-user --target cli-target").exit_code, 0);
}

TEST(Terminal, PasswordsAreNotShownAfterAStop) {
  // Twice, and with a shell that sets its own terminal in between.
  ProgramOnTerminal program(
      "password save q --user cli-user --target cli-target; stty -a | grep -q ' echo ' && echo shown; "
      "stty -echonl; fg; echo again; stty echo; fg",
      "set -m; ");
  ASSERT_TRUE(program.Await("Password: ")) << program.shown();
  for (const char* shells : {"shown", "again"}) {
    program.Type("\x1A");
    ASSERT_TRUE(program.Await(shells) && program.Await("Password: ")) << program.shown();
    EXPECT_FALSE(program.ShowsWhatIsTyped()) << shells;
  }
  program.Type("hidden\n");
  ASSERT_TRUE(program.Await("The same once more: ")) << program.shown();
  program.Type("hidden\n");
  EXPECT_TRUE(program.Await("The password is saved.")) << program.shown();
  EXPECT_EQ(program.WaitForEnd(), 0);
  EXPECT_EQ(program.shown().find("hid"), std::string::npos) << program.shown();
  EXPECT_EQ(RunBidictl("password delete q --user cli-user --target cli-target").exit_code, 0);
}

TEST(Terminal, AsksBeforeAnotherCertificateIsReplaced) {
  const std::string names = "cli-terminal --user cli-user";
  custom_bidi_tools::AddQueue("cli-terminal", "192.0.2.10");
  UseCertificate("device", "u-2");
  EXPECT_EQ(RunBidictl("certificate trust " + names).exit_code, 0);
  UseCertificate("renewed", "u-2");
  for (const std::string answer : {"\n", "n\n", "yess\n", "yes\n"}) {
    const bool is_yes = answer == "yes\n";
    ProgramOnTerminal program("certificate trust " + names);
    EXPECT_TRUE(
        program.Await("bidictl: the vault keeps another certificate of this printer for 'cli-user'.") &&
        program.Await("? [y/N] "))
        << program.shown();
    program.Type(answer);
    EXPECT_TRUE(program.Await(is_yes ? "The vault now keeps" : "bidictl: the vault stays as it is"))
        << program.shown();
    EXPECT_EQ(program.WaitForEnd(), is_yes ? 0 : 1) << answer;
  }
  std::filesystem::remove(kFolder / "printer.json");
  EXPECT_EQ(RunBidictl("password delete q --user cli-user --target Vexmo.VIB.NQDRV4.cli-user.u-2").exit_code,
            0);
  custom_bidi_tools::RemoveQueue("cli-terminal");
}

TEST(Terminal, TellsHowWideATableMayBeAndStopsFollowing) {
  custom_bidi_tools::AddQueue("cli-terminal", "a port with a name of many words, for the list");
  ProgramOnTerminal list("queue list");
  EXPECT_TRUE(list.Await("cli-terminal  a port with a name of many\r\n              words, for the list\r\n"))
      << list.shown();

  custom_bidi_tools::MakeTraceFolder();
  custom_bidi_tools::SetTrace("cli-terminal", true);
  ProgramOnTerminal follower("trace follow");
  int calls = 0;
  do {  // it may not follow yet
    RunBidictl("port cli-terminal");
  } while (!follower.Await("connected IP is active", 500) && ++calls < 20);
  follower.Type("\x03");
  EXPECT_EQ(follower.WaitForEnd(), 0) << follower.shown();
  custom_bidi_tools::RemoveQueue("cli-terminal");
}

TEST(Terminal, OutputThatNobodyTakes) {
  custom_bidi_tools::AddQueue("cli-terminal", "192.0.2.10");
  for (const std::string line :
       {"queue list", "items cli-terminal", "status 192.0.2.10", "port cli-terminal"}) {
    for (const char* nowhere : {" >/dev/full", " >&-"}) {
      const ProgramEnd end = RunBidictl(line + nowhere);
      EXPECT_EQ(end.exit_code, 1) << line;
      EXPECT_TRUE(end.errors.ends_with("bidictl: standard output cannot be written\n")) << end.errors;
    }
  }
  custom_bidi_tools::RemoveQueue("cli-terminal");
}

}  // namespace
}  // namespace custom_bidi_test
