#include "tests/peers/local_servers.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace fs = std::filesystem;

namespace custom_bidi_test {
namespace {

using std::chrono::milliseconds;

/// Starts a program, in a group of its own, with its output in a file.
pid_t Start(const Words& words, const fs::path& output) {
  std::vector<char*> pointers;
  for (const std::string& word : words) {
    pointers.push_back(const_cast<char*>(word.c_str()));
  }
  pointers.push_back(nullptr);
  const pid_t id = fork();
  if (id == 0) {
    setpgid(0, 0);
    dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    dup2(open(output.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), STDOUT_FILENO);
    dup2(STDOUT_FILENO, STDERR_FILENO);
    execvp(pointers[0], pointers.data());
    _exit(127);
  }
  return id;
}

bool IsRunning(pid_t id) {
  siginfo_t info = {};
  return waitid(P_PID, static_cast<id_t>(id), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == 0;
}

/// Waits for the end of a program, kills it with all that it started after the limit, and gives its exit code
/// (-1: a signal). Until it was waited for its id, which is that of the group, too, is nobody else's.
int WaitForEnd(pid_t id, milliseconds limit) {
  WaitUntil([id] { return !IsRunning(id); }, limit);
  kill(-id, SIGKILL);
  int status = 0;
  while (waitpid(id, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Puts words in front of a command's own.
Words With(Words words, const Words& more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

/// Throws unless the program succeeds.
void MustRun(const Words& words) {
  if (const Outcome outcome = RunProgram(words); outcome.exit_code != 0) {
    throw std::runtime_error(words[1] + ": " + outcome.output);
  }
}

std::string Configuration(const SnmpAgentOptions& options) {
  std::ostringstream lines;
  lines << "com2sec tests 127.0.0.1 " << options.community << "\ncom2sec6 tests ::1 " << options.community
        << "\ngroup tests v1 tests\n"
        << (options.answers_v2c ? "group tests v2c tests\n" : "")
        << "view all included .1\naccess tests \"\" any noauth exact all all none\n";
  const auto add = [&](const char* oid, const char* type, const std::optional<std::string>& value) {
    if (value) {
      lines << "override -rw " << oid << type << *value << '\n';
    }
  };
  add(SnmpAgent::kDeviceStatusOid, " integer ", options.device_status);
  add(SnmpAgent::kPrinterStatusOid, " integer ", options.printer_status);
  add(SnmpAgent::kErrorStateOid, " octet_str ", options.error_state);
  for (const std::string& line : options.lines) {
    lines << line << '\n';
  }
  return lines.str();
}

}  // namespace

Outcome RunProgram(const Words& words) {
  const TemporaryFolder folder;
  const int exit_code = WaitForEnd(Start(words, folder / "output"), milliseconds(30000));
  return {exit_code, ReadWholeFile(folder / "output")};
}

bool WaitUntil(const std::function<bool()>& condition, milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= end) {
      return false;
    }
    std::this_thread::sleep_for(milliseconds(3));
  }
  return true;
}

fs::path PeerFile(const std::string& name) {
  return fs::path(PEER_FOLDER) / name;
}

fs::path PrinterKeys(const std::string& name) {
  return fs::path(PRINTER_KEY_FOLDER) / name;
}

LocalServer::LocalServer(const std::string& kind, const Words& words, const std::string& lines) {
  folder_.WriteFile("lines", lines);
  id_ = Start(With({SERVER_SCRIPT, kind, folder_.Path()}, words), folder_ / "output");
  WaitUntil([this] { return fs::exists(folder_ / "ready") || !IsRunning(id_); }, milliseconds(60000));
  if (!fs::exists(folder_ / "ready")) {
    WaitForEnd(id_, milliseconds(0));
    throw std::runtime_error(ReadWholeFile(folder_ / "output"));
  }
}

LocalServer::~LocalServer() {
  kill(id_, SIGTERM);
  WaitForEnd(id_, milliseconds(10000));
}

uint16_t LocalServer::Port() const {
  return static_cast<uint16_t>(std::stoi(ReadWholeFile(folder_ / "port")));
}

SnmpAgent::SnmpAgent(const SnmpAgentOptions& options) : LocalServer("agent", {}, Configuration(options)) {}

void SnmpAgent::Set(const std::string& oid, const std::string& type, const std::string& value) const {
  MustRun({"env", "SNMPCONFPATH=" + (Folder() / "none").string(), "MIBS=", "snmpset", "-v2c", "-c", "public",
           "-t", "2", "127.0.0.1:" + std::to_string(Port()), oid, type, value});
}

IppPrinter::IppPrinter(const IppPrinterOptions& options)
    : LocalServer("printer", {options.keys, options.attributes, options.strings}) {
  first_connections_ = Connections();
}

std::string IppPrinter::Uri(const std::string& scheme, const std::string& host) const {
  return scheme + "://" + host + ':' + std::to_string(Port()) + "/ipp/print";
}

int IppPrinter::CountLinesWith(const std::string& part) const {
  const std::string log = ReadWholeFile(Folder() / "log");
  const std::regex wanted(part);
  return static_cast<int>(std::distance(std::sregex_iterator(log.begin(), log.end(), wanted), {}));
}

void CupsServer::AddQueue(const std::string& name, const std::string& uri) const {
  MustRun({"env", "CUPS_SERVER=" + Server(), "HOME=" + Folder().Path().string(), "LC_ALL=C.UTF-8", "lpadmin",
           "-p", name, "-E", "-v", uri});
}

std::string MessageBus::Call(const Words& words) const {
  return RunProgram(With({"dbus-send", "--bus=" + Address(), "--print-reply", "--reply-timeout=5000"}, words))
      .output;
}

void KeyringServer::Lock() const {
  constexpr char kCollection[] = "/org/freedesktop/secrets/collection/login";
  const std::string answer =
      Call({"--dest=org.freedesktop.secrets", "/org/freedesktop/secrets",
            "org.freedesktop.Secret.Service.Lock", std::string("array:objpath:") + kCollection});
  // The answer names what was locked.
  if (answer.find(kCollection) == std::string::npos) {
    throw std::runtime_error("the keyring stays unlocked: " + answer);
  }
}

}  // namespace custom_bidi_test
