// The trace file: when it is written, and how; and what is left when a call has returned: nothing.

#include <fstream>

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

namespace fs = std::filesystem;

class Trace : public CallTest {};
class Teardown : public CallTest {};

TEST_F(Trace, SwitchIsWhateverBytesTheValueHolds) {
  using Type = RegistryBytes::Type;
  const std::pair<RegistryBytes, bool> rows[] = {
      {RegistryBytes::Dword(0), false},
      {RegistryBytes::Dword(2), true},
      {RegistryBytes::Dword(0xFFFFFFFF), false},
      {RegistryBytes::Dword(0xFFFFFFFE), true},
      {{Type::kText, std::string("1\0000\0\0\0", 6)}, false},
      {{Type::kBinary, ""}, false},
      {{Type::kBinary, std::string(1, '\0')}, true},
      {{Type::kBinary, std::string(4, '\0')}, false},
      {{Type::kBinary, "\1\0\0\0\0"}, true},
      {{Type::kQword, std::string("\1\0\0\0\0\0\0\0", 8)}, false},
  };
  for (const auto& [value, on] : rows) {
    SCOPED_TRACE(testing::PrintToString(value.bytes));
    SetSwitch(kQueue, value);
    EXPECT_TRUE(Bidi().ok);
    EXPECT_EQ(fs::exists(TraceFile()), on);
    EXPECT_EQ(TakeTrace().empty(), !on);
  }
}

TEST_F(Trace, EachCallReadsTheSwitchOfItsQueue) {
  AddQueue("CustomBidi silent queue", kAddress);
  SetDriverValue("CustomBidi silent queue", "Other", RegistryBytes::Dword(1));
  const auto expect_silence = [&] {
    EXPECT_TRUE(Bidi({.queue = "CustomBidi silent queue"}).ok);
    EXPECT_TRUE(Bidi({.queue = "CustomBidi unknown queue"}).ok);
    EXPECT_TRUE(Status("192.0.2.99").ok);
    EXPECT_FALSE(fs::exists(TraceFile()));
  };
  expect_silence();
  SetTrace(true);
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(Bidi().ok);
    ExpectTraced(BidiCall(kQueue, kAddress, 1));
    expect_silence();
  }
}

TEST_F(Trace, CallsAppend) {
  const std::string before("e\0a\0r\0l\0i\0e\0r\0\r\0\n\0", 18);
  std::ofstream(TraceFile(), std::ios::binary) << before;
  SetTrace(true);
  WriteDataMap({"A", "Missing", "A"});
  EXPECT_TRUE(Bidi().ok);
  EXPECT_TRUE(Bidi({.queue = kQueue, .cid = "Given", .names = {{"A"}}}).ok);
  const std::string content = ReadBytes(TraceFile());
  EXPECT_TRUE(content.starts_with(before));
  std::ofstream(TraceFile(), std::ios::binary) << content.substr(before.size());
  ExpectTraced(BidiCall(kQueue, kAddress, 3) + BidiInitialisation(kQueue, kAddress) + Lines{kLoadSucceeded});
}

TEST_F(Trace, LinesAreLostWithoutAFileToWriteTo) {
  SetTrace(true);
  fs::create_directory(TraceFile());
  EXPECT_TRUE(Bidi().ok);
  EXPECT_TRUE(fs::is_directory(TraceFile()));
  fs::remove(TraceFile());

  const fs::path folder = fs::path(TraceFile()).parent_path();
  std::error_code in_use;
  fs::remove(folder, in_use);
  if (in_use) {
    GTEST_SKIP() << folder << " holds files that are not ours";
  }
  EXPECT_TRUE(Bidi().ok);
  EXPECT_FALSE(fs::exists(folder));
  fs::create_directory(folder);
  EXPECT_TRUE(Status().ok);
  EXPECT_FALSE(TakeTrace().empty()) << "the next call tries again";
}

TEST_F(Teardown, ThreadStaysInTheApartmentThatItWasIn) {
  constexpr DWORD kSingle = COINIT_APARTMENTTHREADED;
  constexpr DWORD kMulti = COINIT_MULTITHREADED;
  constexpr DWORD kNone = 100;
  for (const DWORD own : {kSingle, kMulti, kNone}) {
    OnThreads(1, [&](int) {
      WritePrinter();
      const DWORD other = own == kMulti ? kSingle : kMulti;
      ASSERT_EQ(own == kNone ? S_OK : CoInitializeEx(nullptr, own), S_OK);
      CustomBidiLong status = 0;
      StraightCalls calls;
      EXPECT_TRUE(calls.Bidi() && calls.Status() && calls.Port(&status));
      if (own != kNone) {
        EXPECT_EQ(CoInitializeEx(nullptr, other), RPC_E_CHANGED_MODE);
        CoUninitialize();
      }
      EXPECT_EQ(CoInitializeEx(nullptr, other), S_OK) << "there was one initialisation too many";
      CoUninitialize();
    });
  }
}

TEST_F(Teardown, ManyCallsLeaveNothing) {
  SetTrace(true);
  // Entries that are there: Wine's CredReadW keeps a handle whenever it finds nothing.
  KeepInVault(Certificate("device"));
  ASSERT_TRUE(Save(kPassword));
  // None that is thrown: the runtime of a mingw device library keeps handles when it has thrown and is
  // unloaded.
  const char* const faults[] = {
      "{}", R"({"CreateAddressFromPortName": "null", "CreateAddressFromIPAddress": "null"})",
      R"({"CreateDataCollectionFromFile": "null", "CertificateProvider.GetDeviceCertificate": {"hresult": 31}})",
      R"({"DataCollection.GetValue": "null", "CreateOIDProvider": "null", "PrinterAddress.IsActive": "null"})"};
  const auto call_all = [&](size_t rounds) {
    for (size_t round = 0; round < rounds; ++round) {
      printer["faults"] = Json::Raw(faults[round % std::size(faults)]);
      Bidi();
      Status();
      Port();
      Read();
      EXPECT_TRUE(Check({kUuid, Certificate("device"), {2}}).first && IsPresent());
    }
  };
  call_all(8);  // what the platform itself makes once and keeps
  const long before = CountOpenHandles();
  EXPECT_GT(before, 0);
  call_all(80);
  EXPECT_LE(CountOpenHandles(), before);
}

}  // namespace
}  // namespace custom_bidi_test
