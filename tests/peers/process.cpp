#include "tests/peers/process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <thread>

#include "tests/peers/loopback.h"
#include "tests/peers/temporary_folder.h"

namespace fs = std::filesystem;

namespace custom_bidi_test {
namespace {

[[noreturn]] void Fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

std::string FindProgram(const std::string& name) {
  std::string folders = "/usr/sbin:/sbin";
  if (const char* path = std::getenv("PATH"))
    folders = std::string(path) + ':' + folders;
  for (size_t start = 0; start <= folders.size();) {
    const size_t end = std::min(folders.find(':', start), folders.size());
    const std::string program = folders.substr(start, end - start) + '/' + name;
    if (access(program.c_str(), X_OK) == 0)
      return program;
    start = end + 1;
  }
  return name;
}

std::vector<std::string> Environment(const Command& command) {
  std::vector<std::string> environment;
  const auto is_changed = [&](std::string_view entry) {
    return std::ranges::any_of(command.variables,
                               [&](const auto& variable) { return entry.starts_with(variable.first + '='); });
  };
  for (char** entry = environ; *entry; ++entry) {
    if (!is_changed(*entry))
      environment.emplace_back(*entry);
  }
  for (const auto& [name, value] : command.variables) {
    if (value)
      environment.push_back(name + '=' + *value);
  }
  return environment;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts)
    pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// A file without a name that is read from its start.
FileDescriptor OpenInput(const std::string& input) {
  FileDescriptor file(open("/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
  if (file.Get() < 0 || write(file.Get(), input.data(), input.size()) != static_cast<ssize_t>(input.size()) ||
      lseek(file.Get(), 0, SEEK_SET) != 0)
    Fail("input of a program");
  return file;
}

FileDescriptor OpenOutput(const fs::path& path) {
  FileDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
  if (file.Get() < 0)
    Fail(path);
  return file;
}

/// The child between fork and exec, where only what is safe in a signal handler may be called.
[[noreturn]] void BecomeProgram(const char* program,
                                char* const* words,
                                char* const* environment,
                                int input,
                                int output,
                                pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  setpgid(0, 0);
  const bool parent_lives = getppid() == parent;
  if (parent_lives && dup2(input, 0) == 0 && dup2(output, 1) == 1 && dup2(output, 2) == 2)
    execve(program, words, environment);
  _exit(127);
}

}  // namespace

Process::Process(const Command& command, const fs::path& output) {
  std::string program = FindProgram(command.words.at(0));
  std::vector<std::string> words = command.words;
  std::vector<std::string> environment = Environment(command);
  const std::vector<char*> word_pointers = Pointers(words);
  const std::vector<char*> environment_pointers = Pointers(environment);
  const FileDescriptor input = OpenInput(command.input);
  const FileDescriptor output_file = OpenOutput(output);
  const pid_t parent = getpid();
  id_ = fork();
  if (id_ < 0)
    Fail("fork");
  if (id_ == 0) {
    BecomeProgram(program.c_str(), word_pointers.data(), environment_pointers.data(), input.Get(),
                  output_file.Get(), parent);
  }
  setpgid(id_, id_);  // whichever of us comes first
}

Process::~Process() {
  Kill();
}

bool Process::IsRunning() {
  siginfo_t info = {};
  return !exit_code_ && waitid(P_PID, static_cast<id_t>(id_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         info.si_pid == 0;
}

int Process::WaitForEnd(std::chrono::milliseconds limit) {
  WaitUntil([this] { return !IsRunning(); }, limit);
  Kill();
  return *exit_code_;
}

/// Takes along what the program started. As long as nobody has asked for its exit code, its id, which is that
/// of the group too, is nobody else's, even when it has ended.
void Process::Kill() {
  if (exit_code_)
    return;
  kill(-id_, SIGKILL);
  int status = 0;
  while (waitpid(id_, &status, 0) < 0 && errno == EINTR) {
  }
  exit_code_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

Outcome RunProgram(const Command& command) {
  const TemporaryFolder folder;
  const fs::path output = folder / "output";
  Process process(command, output);
  const int exit_code = process.WaitForEnd(std::chrono::seconds(30));
  return {exit_code, ReadWholeFile(output)};
}

bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= end)
      return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
  }
  return true;
}

}  // namespace custom_bidi_test
