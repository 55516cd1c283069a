// Many calls of each of the nine functions, and what the process holds before and after them:
//   soak COUNT PORT
// makes COUNT calls of each, then as many again from 16 threads, to a printer at PORT by the device libraries
// in this program's folder. Ends with 1 when a call failed, or when the process has grown.

#include <barrier>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "bench/soak_state.h"
#include "tests/support/machine.h"
#include "tools/bidictl/platform/queue_store.h"

namespace custom_bidi::bench {
namespace {

using custom_bidi_test::ToWide;

constexpr char kQueue[] = "CustomBidi soak";
constexpr char kUser[] = "jdoe";
constexpr char kAddress[] = "127.0.0.1";
constexpr size_t kThreads = 16;
constexpr long kMostGrowthKib = 256;
/// A thread that has called a few times has its heap, caches and tables; those are not growth.
constexpr long kLeastWarmUp = 200;

/// One caller's texts and buffer, and which of the functions have failed it how often.
class Caller {
 public:
  static constexpr std::array kNames = {
      "SavePassword",  "IsPasswordPresent",    "GetBidiResponse",           "GetStatusData",
      "GetPortStatus", "GetDeviceCertificate", "VerifyCertificateValidity", "DeleteDeviceCertificate",
      "DeletePassword"};

  explicit Caller(size_t number) : target_(ToWide("CustomBidi soak " + std::to_string(number))) {}

  /// Each function once.
  void CallAll() {
    const uint8_t password[] = {'p', 'a', 's', 's'};
    size_t at = 0;
    const auto note = [&](bool succeeded) { failures_[at++] += succeeded ? 0 : 1; };
    note(SavePassword(password, sizeof(password), user_.c_str(), target_.c_str(), queue_.c_str()) != 0);
    note(IsPasswordPresent(user_.c_str(), target_.c_str(), queue_.c_str()) != 0);
    note(GetBidiResponse(answer_.data(), queue_.c_str(), nullptr, nullptr, 0) != 0);
    note(GetStatusData(address_.c_str(), answer_.data()) != 0);
    CustomBidiLong status = 0;
    note(GetPortStatus(queue_.c_str(), &status) != 0 && status == kCustomBidiPortConnected);
    DeviceCertificate* const record = GetDeviceCertificate(user_.c_str(), queue_.c_str(), 0);
    note(record != nullptr);
    note(record != nullptr && VerifyCertificateValidity(user_.c_str(), queue_.c_str(), 0, record) != 0);
    note(DeleteDeviceCertificate(record));
    CoTaskMemFree(record);
    note(DeletePassword(user_.c_str(), target_.c_str(), queue_.c_str()) != 0);
  }

  /// How many calls have failed, which it prints.
  long PrintFailures() const {
    long all = 0;
    for (size_t i = 0; i < kNames.size(); ++i) {
      all += failures_[i];
      if (failures_[i] > 0) {
        std::printf("  %s failed %ld times\n", kNames[i], failures_[i]);
      }
    }
    return all;
  }

 private:
  const WString user_ = ToWide(kUser);
  const WString target_;
  const WString queue_ = ToWide(kQueue);
  const WString address_ = ToWide(kAddress);
  std::vector<CustomBidiChar> answer_ = std::vector<CustomBidiChar>(1 << 18);
  std::array<long, kNames.size()> failures_{};
};

/// Prints both states. Whether the process holds no more afterwards.
bool Compare(const char* how, const ProcessState& before, const ProcessState& after) {
  bool is_good = true;
  for (size_t i = 0; i < ProcessState::kNames.size(); ++i) {
    const long growth = after.Values()[i] - before.Values()[i];
    const bool is_size = i < 2;
    const bool is_grown = growth > (is_size ? kMostGrowthKib : 0);
    std::printf("%-11s %-11s before %8ld  after %8ld  growth %6ld%s\n", how, ProcessState::kNames[i],
                before.Values()[i], after.Values()[i], growth, is_grown ? "  TOO MUCH" : "");
    is_good = is_good && !is_grown;
  }
  std::fflush(stdout);
  return is_good;
}

/// So many calls of each function from each of the threads, after some that are not counted.
bool Soak(const char* how, size_t threads, long rounds) {
  std::vector<std::unique_ptr<Caller>> callers;
  std::barrier phases(static_cast<std::ptrdiff_t>(threads) + 1);
  std::vector<std::jthread> workers;
  for (size_t i = 0; i < threads; ++i) {
    callers.push_back(std::make_unique<Caller>(i));
    workers.emplace_back([&phases, rounds, &caller = *callers[i]] {
      for (const long count : {std::max(kLeastWarmUp, rounds / 10), rounds}) {
        phases.arrive_and_wait();
        for (long round = 0; round < count; ++round) {
          caller.CallAll();
        }
        phases.arrive_and_wait();
      }
      phases.arrive_and_wait();
    });
  }
  phases.arrive_and_wait();
  phases.arrive_and_wait();
  const ProcessState before = StateOfProcess();
  phases.arrive_and_wait();
  phases.arrive_and_wait();
  const ProcessState after = StateOfProcess();
  phases.arrive_and_wait();
  long failures = 0;
  for (const auto& caller : callers) {
    failures += caller->PrintFailures();
  }
  return Compare(how, before, after) && failures == 0;
}

/// The vault's copy of the printer's certificate, with which it is compared. (Wine loses a handle for each credential that
/// is looked for and not there.)
class VaultCopy {
 public:
  VaultCopy() {
    DeviceCertificate* const record = GetDeviceCertificate(user_.c_str(), queue_.c_str(), 0);
    if (record == nullptr) {
      throw std::runtime_error("the printer shows no certificate");
    }
    target_ += record->identifier;
    SavePassword(record->certificate, record->certificate_length, user_.c_str(), target_.c_str(),
                 queue_.c_str());
    DeleteDeviceCertificate(record);
    CoTaskMemFree(record);
  }
  ~VaultCopy() { DeletePassword(user_.c_str(), target_.c_str(), queue_.c_str()); }
  VaultCopy(const VaultCopy&) = delete;
  VaultCopy& operator=(const VaultCopy&) = delete;

 private:
  const WString user_ = ToWide(kUser);
  const WString queue_ = ToWide(kQueue);
  WString target_ = ToWide(std::string("Vexmo.VIB.NQDRV4.") + kUser + ".");
};

/// The queue, and the configuration without which nothing is loaded.
class Surroundings {
 public:
  explicit Surroundings(const char* port) {
    const std::filesystem::path program = custom_bidi_test::ProgramPath();
    std::ofstream(std::filesystem::path(program).replace_extension(".xml")) << "<PrinterExtension/>";
    Remove();  // of a run that did not come to its end
    custom_bidi_tools::AddQueue(kQueue, port);
  }
  ~Surroundings() { Remove(); }
  Surroundings(const Surroundings&) = delete;
  Surroundings& operator=(const Surroundings&) = delete;

 private:
  static void Remove() {
    try {
      custom_bidi_tools::RemoveQueue(kQueue);
    } catch (const custom_bidi_tools::QueueError&) {
      // There is none.
    }
  }
};

bool Run(long count, const char* port) {
  const Surroundings surroundings(port);
  const VaultCopy copy;
  std::printf("%s family: %ld calls of each function\n",
              custom_bidi_test::ProgramPath().parent_path().filename().string().c_str(), count);
  const bool plain = Soak("plain", 1, count);
  const bool threaded = Soak("16 threads", kThreads, std::max(1L, count / static_cast<long>(kThreads)));
  return plain && threaded;
}

}  // namespace
}  // namespace custom_bidi::bench

int main(int argc, char** argv) {
  const long count = argc == 3 ? std::strtol(argv[1], nullptr, 10) : 0;
  if (count <= 0) {
    std::fputs("usage: soak COUNT PORT\n", stderr);
    return 64;
  }
  try {
    return custom_bidi::bench::Run(count, argv[2]) ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "soak: %s\n", error.what());
    return 1;
  }
}
