// SavePassword, IsPasswordPresent and DeletePassword: one entry of the vault by user and target, and exactly
// these lines for whatever goes wrong.

#include <algorithm>
#include <fstream>

#include "tests/support/security_test.h"

namespace custom_bidi_test {
namespace {

constexpr char kStepFailed[] = ">>>> Custom Bidi : IXO SEP Target Processing failed!!";
constexpr char kSaved[] = "[IxoWrapper]:Saved Target";
constexpr char kEmpty[] = "[IxoWrapper]:Target is empty";
constexpr char kPresent[] = "[IxoWrapper]:Target present";
constexpr char kNotPresent[] = "[IxoWrapper]:Target NOT present";
constexpr char kDeleted[] = "[IxoWrapper]:Deleted Target key";
constexpr char kThrown[] = "Error in IxoWrapper::ProcessPasswordInCredManager!!";

Lines Initialisation() {
  return Lines{std::string(">>>> Custom Bidi : Print Queue Name is [") + CallTest::kQueue + "]"} +
         SecurityInitialisation() + Lines{"[IxoWrapper]:Trying to save target"};
}

Lines Made() {
  return Initialisation() + Lines{"[IxoWrapper]:Store provider Created "};
}

Lines Named() {
  return Made() + Lines{"[IxoWrapper]:Target Name Created", "[IxoWrapper]:USER Name Created"};
}

class Password : public SecurityTest {
 protected:
  void SetUp() override {
    SecurityTest::SetUp();
    Delete();  // of a run that crashed
    SetTrace(true);
    TakeTrace();
    TakeCalls();
  }

  void ExpectTraced(const Lines& lines) { ExpectTrace(lines, TakeTrace()); }

  bool Run(const std::string& call) {
    if (call == "save")
      return Save(kPassword);
    return call == "test" ? IsPresent() : Delete();
  }
};

TEST_F(Password, FromSavingToDeleting) {
  EXPECT_FALSE(IsPresent());
  ExpectTraced(Named() + Lines{kNotPresent, kStepFailed});
  EXPECT_FALSE(Delete());
  ExpectTraced(Named() + Lines{kNotPresent, kStepFailed});
  const Lines calls = TakeCalls();
  EXPECT_EQ(std::ranges::count(calls, "VaultStoreProvider.DeleteTarget"), 0);

  EXPECT_TRUE(Save(kPassword));
  ExpectTraced(Named() + Lines{kSaved});
  EXPECT_EQ(TakeCalls(), (Lines{"CreateVaultStoreProvider", "VaultStoreProvider.SetTargetName",
                                "VaultStoreProvider.SetUserName", "VaultStoreProvider.SaveTarget",
                                "DisposeVaultStoreProvider"}));
  EXPECT_TRUE(IsPresent());
  ExpectTraced(Named() + Lines{kPresent});
  EXPECT_TRUE(Save("another")) << "in place of the first";
  EXPECT_TRUE(IsPresent());
  TakeTrace();
  EXPECT_TRUE(Delete());
  ExpectTraced(Named() + Lines{kDeleted});
  EXPECT_FALSE(IsPresent());
  EXPECT_FALSE(Delete());
}

TEST_F(Password, BelongsToItsUserAndTarget) {
  EXPECT_TRUE(Save(kPassword));
  EXPECT_FALSE(IsPresent({"jdoe2", kTarget}));
  EXPECT_FALSE(IsPresent({kUser, "CustomBidi test target 2"}));
  EXPECT_FALSE(Delete({"jdoe2", kTarget}));
  AddQueue("CustomBidi other queue", kAddress);
  EXPECT_TRUE(IsPresent({kUser, kTarget, "CustomBidi other queue"})) << "and to no queue";
  EXPECT_TRUE(IsPresent({kUser, kTarget, "CustomBidi no queue"}));
  // Odd names are kept apart and as they are.
  const PasswordNames odd[] = {{"first.last", "CustomBidi test/\\:*?\"<>|"},
                               {"first", "last.CustomBidi test/\\:*?\"<>|"},
                               {"J\xC3\xBCrgen \xF0\x9F\x96\xA8", "CustomBidi test \xE2\x82\xAC"}};
  for (const PasswordNames& names : odd) {
    EXPECT_FALSE(IsPresent(names)) << *names.target;
    EXPECT_TRUE(Save(kPassword, names)) << *names.target;
    EXPECT_TRUE(IsPresent(names)) << *names.target;
  }
  for (const PasswordNames& names : odd) {
    EXPECT_TRUE(Delete(names)) << *names.target;
    EXPECT_FALSE(IsPresent(names)) << *names.target;
  }
}

TEST_F(Password, FirstByteAloneSaysWhetherThereIsOne) {
  for (const MaybeText& none : {MaybeText(), MaybeText(""), MaybeText(std::string("\0secret", 7))}) {
    EXPECT_FALSE(Save(none));
    ExpectTraced(Named() + Lines{kEmpty, kStepFailed});
    EXPECT_FALSE(IsPresent());
    TakeTrace();
  }
  const Lines calls = TakeCalls();
  EXPECT_EQ(std::ranges::count(calls, "VaultStoreProvider.SaveTarget"), 0);
  for (const std::string& some : {std::string("s"), std::string("s\0\0x", 4), std::string(2000, '\xFF')}) {
    EXPECT_TRUE(Save(some));
    EXPECT_TRUE(Delete());
  }
}

TEST_F(Password, MissingNames) {
  const PasswordNames missing[] = {
      {std::nullopt, kTarget},        {"", kTarget},        {kUser, std::nullopt}, {kUser, ""},
      {kUser, kTarget, std::nullopt}, {kUser, kTarget, ""}, {"", "", ""}};
  for (const PasswordNames& names : missing) {
    EXPECT_FALSE(Save(kPassword, names));
    EXPECT_FALSE(IsPresent(names));
    EXPECT_FALSE(Delete(names));
  }
  ExpectTraced({});  // nobody has the file open; held_trace_tests.cpp has the lines
  EXPECT_EQ(TakeCalls(), Lines{}) << "nothing was loaded";
}

TEST_F(Password, LongQueueName) {
  const std::string queue(1500, 'q');
  EXPECT_TRUE(Save(kPassword, {kUser, kTarget, queue}));
  EXPECT_TRUE(Delete({kUser, kTarget, queue}));
}

TEST_F(Password, InitialisationFails) {
  const std::string fallback = "Vexmo.Quellix.V4.PrinterExtension.xml";
  const auto no_xml = [](const std::string& name) {
    const std::string path = HostFolder::Text("\\" + name);
    return Method("CCIXML::Load",
                  {"[XML] Load " + path + " XML file Failed!!! <<XML Error []\r\n Error Code 0x" + kAnything +
                   ">>"}) +
           Lines{">>>>>Custom Bidi : Load Config XML fail!! [" + path + "]"};
  };
  const Lines queue_line = {Initialisation().front()};
  const Lines failed = {">>>> Custom Bidi : InitIOWrapper Initialization failed!!"};
  host.Write(HostFolder::ConfigurationName(), "<a>");
  const Lines two_files = queue_line + no_xml(HostFolder::ConfigurationName());
  for (const char* call : {"save", "test", "delete"}) {
    SCOPED_TRACE(call);
    EXPECT_FALSE(Run(call));
    ExpectTraced(two_files + no_xml(fallback) + failed + failed);
  }
  host.Write(fallback, "<PrinterExtension/>");
  EXPECT_TRUE(Save(kPassword)) << "with the other file's configuration";
  EXPECT_TRUE(Delete());
  TakeTrace();
  WriteConfiguration("");

  host.Remove("vexmobixocert.dll");
  for (const char* call : {"save", "test", "delete"}) {
    EXPECT_FALSE(Run(call));
    ExpectTraced(UpTo(Initialisation(), "IXOCert_DLL: [") +
                 ErrorLine(ERROR_MOD_NOT_FOUND, "LoadLibrary-IXO Cert DLL") +
                 Lines{">>>>>Custom Bidi : Init IO fail!!!"} + failed);
  }
}

TEST_F(Password, LibraryWithoutEntryPoints) {
  host.Copy("vexmobixocert-bare.dll", "vexmobixocert.dll");
  for (const char* call : {"save", "test", "delete"}) {
    EXPECT_FALSE(Run(call));
    ExpectTraced(Initialisation() +
                 Lines{"[IxoWrapper]:GetProcAddress() for StoreProvider Failed", kStepFailed});
  }
  host.Copy("vexmobixocert-nodispose.dll", "vexmobixocert.dll");
  providers_go_back = false;
  EXPECT_TRUE(Save(kPassword)) << "a provider that cannot be given back does its work";
  EXPECT_TRUE(Delete());
  providers_go_back = true;
  host.Copy("vexmobixocert.dll.aside", "vexmobixocert.dll");
}

/// One operation of the vault fails in one way.
struct FaultRow {
  const char* operation;
  Json fault;
  /// Those of "save", "test" and "delete" that reach the operation.
  std::vector<const char*> calls;
  bool ok;
  Lines lines;
};

TEST_F(Password, OperationOfTheVaultFails) {
  const Json code = {{"hresult", 5}};
  const Json failure = {{"hresult", "0x80070005"}};
  const Json raised = {{"raise", 5}};
  const Json raised_0 = {{"raise", 0}};
  const Lines failed = {kStepFailed};
  const Lines thrown = {kThrown};
  const Lines none;
  const Lines no_provider = Lines{"[IxoWrapper]:IXO Failed"} + failed;
  const Lines target_named = {"[IxoWrapper]:Target Name Created"};
  const Lines user_named = {"[IxoWrapper]:USER Name Created"};
  const char* const kCreate = "CreateVaultStoreProvider";
  const char* const kSetTarget = "VaultStoreProvider.SetTargetName";
  const char* const kSetUser = "VaultStoreProvider.SetUserName";
  const char* const kSaveTarget = "VaultStoreProvider.SaveTarget";
  const char* const kIsPresent = "VaultStoreProvider.IsTargetPresent";
  const char* const kDeleteTarget = "VaultStoreProvider.DeleteTarget";
  const char* const kDispose = "DisposeVaultStoreProvider";
  const std::vector<const char*> all = {"save", "test", "delete"};
  const std::vector<const char*> asking = {"test", "delete"};
  const FaultRow rows[] = {
      {kCreate, "null", all, false, Initialisation() + no_provider},
      {kCreate, raised, all, false, Initialisation() + failed},
      {kCreate, raised_0, all, true, Initialisation()},
      {kCreate, "throw", all, true, Initialisation() + thrown},
      {kSetTarget, failure, all, false, Made() + user_named + failed},
      {kSetTarget, raised, all, false, Made() + failed},
      {kSetTarget, raised_0, all, true, Made()},
      {kSetTarget, "throw", all, true, Made() + thrown},
      {kSetUser, failure, all, false, Made() + target_named + failed},
      {kSetUser, raised, all, false, Made() + target_named + failed},
      {kSetUser, raised_0, all, true, Made() + target_named},
      {kSetUser, "throw", all, true, Made() + target_named + thrown},
      {kSaveTarget, code, {"save"}, false, Named() + Lines{kSaved} + failed},
      {kSaveTarget, raised, {"save"}, false, Named() + failed},
      {kSaveTarget, raised_0, {"save"}, true, Named()},
      {kSaveTarget, "throw", {"save"}, true, Named() + thrown},
      {kIsPresent, "null", asking, false, Named() + Lines{kNotPresent} + failed},
      {kIsPresent, raised, asking, false, Named() + failed},
      {kIsPresent, raised_0, asking, true, Named()},
      {kIsPresent, "throw", asking, true, Named() + thrown},
      {kDeleteTarget, code, {"delete"}, false, Named() + Lines{kDeleted} + failed},
      {kDeleteTarget, raised, {"delete"}, false, Named() + failed},
      {kDeleteTarget, raised_0, {"delete"}, true, Named()},
      {kDeleteTarget, "throw", {"delete"}, true, Named() + thrown},
      // Whatever is raised while the provider goes back stays without effect.
      {kDispose, raised, {"save"}, true, Named() + Lines{kSaved}},
      {kDispose, "throw", {"test"}, true, Named() + Lines{kPresent}},
  };
  for (const FaultRow& row : rows) {
    for (const char* call : row.calls) {
      SCOPED_TRACE(std::string(row.operation) + " " + row.fault.dump() + " at " + call);
      printer["faults"] = Json::object();
      ASSERT_TRUE(Save(kPassword));
      TakeTrace();
      printer["faults"][row.operation] = row.fault;
      EXPECT_EQ(Run(call), row.ok);
      ExpectTraced(row.lines);
      printer["faults"] = Json::object();
      EXPECT_TRUE(IsPresent()) << "nothing was deleted";
      TakeTrace();
    }
  }
}

// A refused name says nothing of the other, and a positive result is no failure.
TEST_F(Password, NamesAreSetBothAndAnyPositiveResultWillDo) {
  printer["faults"] = {{"VaultStoreProvider.SetTargetName", {{"hresult", 1}}},
                       {"VaultStoreProvider.SetUserName", {{"hresult", 1}}}};
  EXPECT_TRUE(Save(kPassword));
  ExpectTraced(Named() + Lines{kSaved});
  printer["faults"] = {{"VaultStoreProvider.SetTargetName", {{"hresult", "0x80004005"}}},
                       {"VaultStoreProvider.SetUserName", {{"hresult", "0x80004005"}}}};
  EXPECT_FALSE(Save(kPassword));
  ExpectTraced(Made() + Lines{kStepFailed});
}

TEST_F(Password, StandsNowhereInTheTrace) {
  const std::string secret = "Zq9-only-here";
  EXPECT_TRUE(Save(secret));
  EXPECT_TRUE(IsPresent());
  printer["faults"] = {{"VaultStoreProvider.SaveTarget", {{"hresult", 5}}}};
  EXPECT_FALSE(Save(secret));
  printer["faults"] = {{"VaultStoreProvider.SaveTarget", "throw"}};
  Save(secret);
  printer["faults"] = Json::object();
  EXPECT_TRUE(Delete());
  std::ifstream file(TraceFile(), std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  EXPECT_GT(bytes.size(), 1000U);
  std::string wide;
  for (const char character : secret)
    wide += {character, '\0'};
  EXPECT_EQ(bytes.find(secret), std::string::npos);
  EXPECT_EQ(bytes.find(wide), std::string::npos);
}

}  // namespace
}  // namespace custom_bidi_test
