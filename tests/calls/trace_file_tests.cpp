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
      {RegistryBytes::Dword(0xFFFFFFFF), false},
      {{Type::kText, std::string("1\0000\0\0\0", 6)}, false},
      {{Type::kBinary, ""}, false},
      {{Type::kBinary, std::string(1, '\0')}, true},
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
  for (const bool on : {false, true, true}) {
    SetTrace(on);
    EXPECT_TRUE(Bidi().ok);
    ExpectTraced(on ? BidiCall(kQueue, kAddress, 1) : Lines{});
    for (const char* queue : {"CustomBidi silent queue", "CustomBidi unknown queue"}) {
      EXPECT_TRUE(Bidi({.queue = queue}).ok);
    }
    EXPECT_TRUE(Status("192.0.2.99").ok);
    EXPECT_FALSE(fs::exists(TraceFile()));
  }
}

TEST_F(Trace, LinesAreLostWithoutAFileToWriteTo) {
  SetTrace(true);
  fs::create_directory(TraceFile());
  EXPECT_TRUE(Bidi().ok);
  EXPECT_TRUE(fs::is_directory(TraceFile()));
  fs::remove(TraceFile());
  EXPECT_TRUE(Status().ok);
  EXPECT_FALSE(TakeTrace().empty()) << "the next call tries again";
}

TEST_F(Trace, HalfAUnitIsMadeAWholeOne) {
  SetTrace(true);
  std::ofstream(TraceFile(), std::ios::binary).write("\r\0\n", 3);
  EXPECT_TRUE(Bidi().ok);
  const std::string bytes = ReadBytes(TraceFile());
  EXPECT_EQ(bytes.substr(0, 6), std::string("\r\0\n\0[\0", 6));
  EXPECT_EQ(bytes.size() % 2, 0U);
  fs::remove(TraceFile());
}

TEST_F(Teardown, ThreadStaysInTheApartmentThatItWasIn) {
  constexpr DWORD kNone = 100;
  for (const DWORD own : {DWORD{COINIT_APARTMENTTHREADED}, DWORD{COINIT_MULTITHREADED}, kNone}) {
    OnThreads(1, [&](int) {
      WritePrinter();
      const DWORD other = own == COINIT_MULTITHREADED ? COINIT_APARTMENTTHREADED : COINIT_MULTITHREADED;
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
      R"({"DataCollection.GetValue": "null", "CreateOIDProvider": "null", "PrinterAddress.IsActive": "null",
          "CertificateProvider.GetDeviceCertificate": {"hresult": 31}})"};
  const auto call_all = [&](size_t rounds) {
    for (size_t round = 0; round < rounds; ++round) {
      printer["faults"] = Json::parse(faults[round % std::size(faults)]);
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
