// What is left when a call has returned: nothing.

#include <functional>
#include <thread>

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

class Teardown : public CallTest {
 protected:
  void RunOnThread(const std::function<void()>& body) { std::thread(body).join(); }
};

TEST_F(Teardown, CallsOneAfterTheOtherStandForThemselves) {
  SetTrace(true);
  const Answer items = Items({"A"});
  EXPECT_TRUE(items.ok);
  EXPECT_TRUE(Status().ok);
  EXPECT_TRUE(Port().ok);
  // A fault that strikes the first call since the libraries were loaded strikes every call.
  printer["faults"] = {{"CreateAddressFromPortName", {{"null", true}, {"call", 1}}}};
  EXPECT_EQ(Items({"A"}), kRefused);
  EXPECT_EQ(Items({"A"}), kRefused);
  printer["faults"] = Json::object();
  EXPECT_EQ(Items({"A"}), items);
}

TEST_F(Teardown, ThreadIsInNoApartmentAfterwards) {
  RunOnThread([this] {
    EXPECT_TRUE(Items({"A"}).ok);
    EXPECT_EQ(Items({"Missing"}), kRefused);
    EXPECT_TRUE(Status().ok);
    const HRESULT result = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    EXPECT_EQ(result, S_OK) << "COM was left initialised";
    CoUninitialize();
  });
}

TEST_F(Teardown, ThreadStaysInTheApartmentThatItWasIn) {
  constexpr DWORD kSingle = COINIT_APARTMENTTHREADED;
  constexpr DWORD kMulti = COINIT_MULTITHREADED;
  for (const DWORD own : {kSingle, kMulti}) {
    RunOnThread([this, own, other = own == kMulti ? kSingle : kMulti] {
      ASSERT_EQ(CoInitializeEx(nullptr, own), S_OK);
      WritePrinter();
      CustomBidiLong status = 0;
      std::vector<CustomBidiChar> response(4096);
      EXPECT_EQ(GetBidiResponse(response.data(), ToWide(kQueue).c_str(), nullptr, nullptr, 0), 1);
      EXPECT_EQ(GetPortStatus(ToWide(kQueue).c_str(), &status), 1);
      EXPECT_EQ(CoInitializeEx(nullptr, other), RPC_E_CHANGED_MODE);
      CoUninitialize();
      EXPECT_EQ(CoInitializeEx(nullptr, other), S_OK) << "there was one initialisation too many";
      CoUninitialize();
    });
  }
}

TEST_F(Teardown, ManyCallsLeaveNothing) {
  SetTrace(true);
  // None that is thrown: the runtime of a mingw device library keeps handles when it has thrown and is
  // unloaded.
  const Json faults[] = {
      Json::object(),
      {{"CreateAddressFromPortName", "null"}, {"CreateAddressFromIPAddress", "null"}},
      {{"CreateDataCollectionFromFile", "null"}, {"OidProvider.GetValue", {{"hresult", "0x80004005"}}}},
      {{"DataCollection.GetValue", "null"},
       {"CreateOIDProvider", "null"},
       {"PrinterAddress.IsActive", "null"}},
  };
  const auto call_all = [&](int rounds) {
    for (int round = 0; round < rounds; ++round) {
      printer["faults"] = faults[static_cast<size_t>(round) % std::size(faults)];
      Bidi();
      Status();
      Port();
    }
  };
  call_all(8);  // what the platform itself makes once and keeps
  const long before = CountOpenHandles();
  EXPECT_GT(before, 0);
  call_all(86);  // 258 calls
  EXPECT_LE(CountOpenHandles(), before);
}

TEST_F(Teardown, LibraryThatCannotBeFoundLeavesTheOthersUnloaded) {
  for (const char* name : {"vexmoixodm.dll", "vexmobixocert.dll"}) {
    host.Remove(name);
    for (int i = 0; i < 10; ++i)
      EXPECT_EQ(Bidi(), kRefused) << name;  // which looks for libraries that are still loaded
  }
}

}  // namespace
}  // namespace custom_bidi_test
