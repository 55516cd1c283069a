// Everything that a call asks for fails once: each call of the platform, each system call and each
// allocation, one after the other, in each of the nine exports. None may crash, hang, or say what is not so;
// nothing stays open, and the next call is good. SWEEP_STEP is how many positions are passed over for one
// that is tried, and with SWEEP_COLD each is tried in a process that has made no call before.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "pal/test_hooks.h"
#include "tests/network/network_test.h"
#include "tests/support/call_test.h"
#include "tests/sweep/failing_calls.h"

// Of a sanitizer, where there is one.
extern "C" int __lsan_do_recoverable_leak_check() __attribute__((weak));

namespace custom_bidi_test {
namespace {

namespace fs = std::filesystem;

constexpr bool kIsNetwork = SWEEP_NETWORK;
constexpr bool kIntercepts = SWEEP_INTERCEPTS;
constexpr std::chrono::seconds kLongest{20};
const std::string kCrashLog = HostFolder::Path() / "crash.log";
const int kStep = std::getenv("SWEEP_STEP") != nullptr ? std::atoi(std::getenv("SWEEP_STEP")) : SWEEP_SAMPLE;

constexpr char kPlatformCall[] = "call of the platform";
/// Functions of other people's libraries that end the process when they lack memory.
constexpr const char* kFragile[] = {"netsnmp_tdomain_transport_tspec"};

struct Kind {
  const char* name;
  void (*begin)(int n);
  std::string (*end)();
};

void PrintTo(const Kind& kind, std::ostream* stream) {
  *stream << kind.name;
}

std::string EndOfPlatformFault() {
  const bool fired = pal::FaultFired();
  pal::ClearFaults();
  return fired ? kPlatformCall : "";
}

template <Failing kWhat, bool kForEver>
void Begin(int n) {
  BeginFailing(kWhat, n, kForEver);
}

std::vector<Kind> Kinds() {
  std::vector<Kind> kinds = {{"PlatformCall", pal::FailNthCall, EndOfPlatformFault}};
  if constexpr (kIntercepts) {
    kinds.insert(kinds.end(), {{"SystemCall", Begin<Failing::kSystemCalls, false>, EndFailing},
                               {"SystemCallForEver", Begin<Failing::kSystemCalls, true>, EndFailing},
                               {"Allocation", Begin<Failing::kAllocations, false>, EndFailing},
                               {"AllocationForEver", Begin<Failing::kAllocations, true>, EndFailing}});
  }
  return kinds;
}

/// What the process that makes the calls leaves to the one that watches it.
struct Shared {
  std::atomic<int> position;
  std::atomic<int> tried;
  std::atomic<int> wrong;
  std::atomic<bool> done;
  // What the calls answer when nothing fails.
  char answer[65536];
  size_t certificate_size;
  char certificate[8192];
  char uuid[64];
  CustomBidiDword warning;
};

/// The agent and the printer, which the calls reach from a process of their own, one by one.
struct Servers {
  SnmpAgent agent;
  IppPrinter printer = IppPrinter({.strings = PeerFile("good.strings")});
};

class Sweep : public CallTest, public ::testing::WithParamInterface<Kind> {
 protected:
  static void SetUpTestSuite() {
    void* const memory =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    shared_ = static_cast<Shared*>(memory);
    if constexpr (kIsNetwork) {
      servers_ = std::make_unique<Servers>();
    }
  }
  static void TearDownTestSuite() { servers_.reset(); }

  void SetUp() override {
    CallTest::SetUp();
    if constexpr (kIsNetwork) {
      for (const char* name : {"DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"}) {
        setenv(name, "", 1);
      }
      // Nothing that changes with time.
      host.Write("vexmoixodatamap.xml", R"(<DataMap><IPPDataMap>
        <DataItem Name="Model" ipp="printer-make-and-model" oid="1.3.6.1.2.1.1.1.0"/>
        <DataItem Name="Missing" ipp="no-such-attribute"/>
        <DataItem Name="State" oid="1.3.6.1.2.1.25.3.5.1.1.1"/></IPPDataMap></DataMap>)");
      host.Write("network.json", R"({"deadline_ms": 1000, "snmp": {"port": )" +
                                     std::to_string(servers_->agent.Port()) + "}}");
      AddQueue(kQueue, servers_->printer.Uri("ipp"));
      calls_.address = Argument("127.0.0.1");
    } else {
      WriteDataMap({"A", "Media", "Missing", "DeviceID"});
      printer["items"]["Media"] = "a4,letter";
      printer["locale"]["*"] = "\"vexmo-print-quality-supported.com.vexmo.pq-mode.21\" = \"5\";";
      printer["certificate"]["warnings"] = "[2]"_json;
    }
    printer.erase("log");  // a provider stays out when the way back is not found
    WritePrinter();
    SetTrace(true);
    ASSERT_EQ(InAProcess([this] { TakeAnswers(); }), 0);
    content_ = {shared_->uuid, Certificate(), Codes(kWarningRoom, shared_->warning)};
    uuid_ = ToWide(shared_->uuid);
    record_ = RawRecord(content_, uuid_);
    record_.warning_count = 1;
  }

  static std::string Certificate() { return {shared_->certificate, shared_->certificate_size}; }

  /// Runs in a process of its own; what it ends with, or -1 when it hangs.
  template <class Body>
  int InAProcess(Body&& body) {
    fflush(nullptr);
    const pid_t id = fork();
    if (id == 0) {
      body();
      const bool has_leaks =
          __lsan_do_recoverable_leak_check != nullptr && __lsan_do_recoverable_leak_check() != 0;
      _exit(HasFailure() || has_leaks ? 1 : 0);
    }
    int status = 0;
    int position = 0;
    const auto ended = [&] { return waitpid(id, &status, WNOHANG) == id; };
    while (!WaitUntil(ended, kLongest)) {
      if (position == shared_->position) {
        kill(id, SIGKILL);
        waitpid(id, &status, 0);
        return -1;
      }
      position = shared_->position;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

  void TakeAnswers() {
    ASSERT_TRUE(calls_.Bidi());
    std::strcpy(shared_->answer, calls_.Response().c_str());
    std::unique_ptr<DeviceCertificate, Release> read(calls_.Read());
    ASSERT_NE(read, nullptr);
    ASSERT_EQ(read->warning_count, 1U);
    shared_->warning = read->warnings[0];
    shared_->certificate_size = read->certificate_length;
    std::copy_n(read->certificate, read->certificate_length, shared_->certificate);
    std::strcpy(shared_->uuid, ToUtf8(read->identifier).c_str());
    read.reset();
    ASSERT_TRUE(Save(Certificate(), {kUser, std::string("Vexmo.VIB.NQDRV4.jdoe.") + shared_->uuid}));
    ASSERT_TRUE(Save(kPassword));
  }

  struct Release {
    void operator()(DeviceCertificate* record) const {
      DeleteDeviceCertificate(record);
      CoTaskMemFree(record);
    }
  };

  /// Makes the call of an export, in which something fails unless the position is 0.
  template <class Call>
  auto Make(Call&& call) {
    failed_.clear();
    if (position_ > 0) {
      GetParam().begin(position_);
    }
    const auto result = call();
    if (position_ > 0) {
      failed_ = GetParam().end();
    }
    return result;
  }

  // Each makes its call, looks at what has come of it, and leaves everything as it was. True for success.

  bool CallBidi() {
    std::ranges::fill(calls_.response, CustomBidiChar{});
    const bool ok = Make([this] { return calls_.Bidi(); });
    const Json whole = Json::parse(shared_->answer);
    const Json answer = ok ? Json::parse(calls_.Response()) : Json::object();
    for (const auto& [name, value] : answer.items()) {
      EXPECT_EQ(value, whole.value(name, "")) << name;
    }
    EXPECT_EQ(answer.contains("CID"), ok);
    EXPECT_TRUE(!failed_.empty() || answer == whole) << answer;
    return ok;
  }

  bool CallStatus() {
    std::ranges::fill(calls_.response, CustomBidiChar{});
    const bool ok = Make([this] { return calls_.Status(); });
    const std::string text = calls_.Response();
    const std::string good = StatusText(3, 0, 0);
    const std::set<std::string> right = {kUnreadableStatus, good, StatusText(0, 0, 0)};
    EXPECT_TRUE(ok ? right.contains(text) : text.empty() || text == "{}") << text;
    EXPECT_TRUE(!failed_.empty() || text == good) << text;
    return ok;
  }

  bool CallPort() {
    CustomBidiLong status = kUntouchedStatus;
    const bool ok = Make([&] { return calls_.Port(&status); });
    // Without its file the simulated printer is not to be found, nor any without its library's functions; and
    // where there is no way, nobody answers.
    const bool is_none = status == 0 && (!kIsNetwork || failed_ == kPlatformCall);
    const bool is_right =
        status == 1 || (is_none && !failed_.empty()) || (status == -1 && failed_ == "connect");
    EXPECT_TRUE(status == kUntouchedStatus ? !failed_.empty() : ok && is_right) << ok << ' ' << status;
    return ok;
  }

  bool CallIsPresent() {
    return Make([this] { return calls_.IsPresent(); });
  }

  // A refusal may have come too late.
  bool CallDelete() {
    const bool ok = Make([this] { return calls_.Delete(); });
    EXPECT_FALSE(ok && IsPresent());
    EXPECT_TRUE(Save(kPassword));
    return ok;
  }

  bool CallSave() {
    const bool ok = Make([this] { return calls_.Save("secret"); });
    EXPECT_TRUE(Delete() || !ok);
    return ok;
  }

  bool CallRead() {
    const std::unique_ptr<DeviceCertificate, Release> read(Make([this] { return calls_.Read(); }));
    if (!read) {
      return false;
    }
    EXPECT_EQ(std::string(read->certificate, read->certificate + read->certificate_length), Certificate());
    EXPECT_TRUE(read->warning_count == 1 && read->warnings[0] == shared_->warning);
    // Null when it could not be allocated.
    EXPECT_TRUE(read->identifier == nullptr || ToUtf8(read->identifier) == shared_->uuid);
    return true;
  }

  bool CallCheck() {
    const bool ok = Make([this] { return calls_.Check(&record_); });
    EXPECT_TRUE(record_.warning_count == 1 ? content_.warnings[0] == shared_->warning
                                           : ok && record_.warning_count == 0);
    content_.warnings.assign(kWarningRoom, shared_->warning);
    record_.warning_count = 1;
    return ok;
  }

  bool CallRelease() {
    DeviceCertificate* const read = calls_.Read();
    EXPECT_NE(read, nullptr);
    const bool ok = Make([&] { return DeleteDeviceCertificate(read) != 0; });
    CoTaskMemFree(read);
    return ok;
  }

  struct Export {
    const char* name;
    bool (Sweep::*call)();
  };

  /// Tries positions from this one on, until there are no more.
  void TryFrom(int position, const Export& row) {
    dup2(open((HostFolder::Path() / "sweep.log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600),
         STDERR_FILENO);
    if constexpr (kIntercepts) {
      WatchThisProcess(open(kCrashLog.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    }
    const bool is_cold = std::getenv("SWEEP_COLD") != nullptr;
    if (!is_cold) {
      (this->*row.call)();
    }
    do {
      SCOPED_TRACE(std::string(row.name) + " " + std::to_string(position));
      const int failures = Failures();
      const long handles = CountOpenHandles();
      fs::remove(TraceFile());
      shared_->position = position_ = position;
      const bool ok = (this->*row.call)();
      shared_->done = failed_.empty();
      const std::string failed = failed_;
      position_ = 0;
      EXPECT_TRUE(ok || !failed_.empty()) << "it failed by itself";
      const int before_next = Failures();
      const bool is_next_good = (this->*row.call)() && Failures() == before_next;
      if constexpr (kIntercepts) {
        if (!is_next_good && IsOfLoader()) {
          // Out of memory while it loads a library, it keeps a half of that which nobody can load again.
          _exit(kLoaderExit);
        }
      }
      EXPECT_TRUE(is_next_good) << "the next call";
      EXPECT_EQ(LeftOpen(), "");
      EXPECT_TRUE(is_cold || CountOpenHandles() == handles);
      shared_->wrong += Failures() > failures;
      if (Failures() > failures) {
        std::printf("%s %d: %s failed\n", row.name, position, failed.c_str());
        fflush(stdout);
        if constexpr (kIntercepts) {
          ShowWhereItFailed(STDOUT_FILENO);
        }
      }
      ++shared_->tried;
      position += kStep;
    } while (!shared_->done && !is_cold);
  }

  static int Failures() {
    return ::testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
  }

  void TryAll(const Export& row) {
    shared_->tried = shared_->wrong = 0;
    shared_->done = false;
    int crashes = 0;
    int hangs = 0;
    int of_others = 0;
    for (int position = 1; !shared_->done; position = shared_->position + kStep) {
      const int code = InAProcess([&] { TryFrom(position, row); });
      const std::string log = ReadWholeFile(kCrashLog);
      const std::string crash = log.substr(std::min(log.find("-- crashed"), log.size()));
      const bool is_known = std::ranges::any_of(
          kFragile, [&](const char* name) { return crash.find(name) != std::string::npos; });
      if (code == kLoaderExit || (code > 1 && is_known)) {
        ++of_others;
      } else if (code == -1 || code > 1) {
        ++(code == -1 ? hangs : crashes);
        ADD_FAILURE() << row.name << ' ' << shared_->position << (code == -1 ? " hangs" : " crashes with ")
                      << code << '\n'
                      << log;
      }
    }
    EXPECT_EQ(shared_->wrong, 0) << row.name;
    EXPECT_TRUE(shared_->position > 1 || row.call == &Sweep::CallRelease) << row.name << " asked for nothing";
    std::printf("%-9s %-17s %-25s %5d positions %3d crashes %3d hangs %3d wrong %3d of others\n",
                kIsNetwork ? "network" : "simulated", GetParam().name, row.name,
                shared_->tried + crashes + hangs + of_others, crashes, hangs, shared_->wrong.load(),
                of_others);
  }

  void TryAllExports() {
    for (const Export& row : {Export{"GetBidiResponse", &Sweep::CallBidi},
                              {"GetStatusData", &Sweep::CallStatus},
                              {"GetPortStatus", &Sweep::CallPort},
                              {"IsPasswordPresent", &Sweep::CallIsPresent},
                              {"DeletePassword", &Sweep::CallDelete},
                              {"SavePassword", &Sweep::CallSave},
                              {"GetDeviceCertificate", &Sweep::CallRead},
                              {"VerifyCertificateValidity", &Sweep::CallCheck},
                              {"DeleteDeviceCertificate", &Sweep::CallRelease}}) {
      TryAll(row);
    }
  }

  StraightCalls calls_;
  Record content_;
  WString uuid_;
  DeviceCertificate record_ = {};
  int position_ = 0;    // of what is to fail in a call; 0: nothing
  std::string failed_;  // in the last call
  static inline Shared* shared_ = nullptr;
  static inline std::unique_ptr<Servers> servers_;
};

TEST_P(Sweep, NothingFallsAndTheNextCallIsGood) {
  TryAllExports();
}

INSTANTIATE_TEST_SUITE_P(, Sweep, ::testing::ValuesIn(Kinds()), [](const auto& info) {
  return std::string(info.param.name);
});

}  // namespace
}  // namespace custom_bidi_test
