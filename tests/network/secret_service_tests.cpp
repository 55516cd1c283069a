// The keyring of a session, and the choice between it and the file vault.

#include "ixo/network/keyring/secret_service.h"

#include <signal.h>

#include <cstdlib>
#include <filesystem>

#include "ixo/network/keyring/network_vault.h"
#include "ixo/vault/vault.h"
#include "tests/network/network_test.h"

namespace custom_bidi::network {
namespace {

using namespace custom_bidi_test;
using namespace std::string_literals;

using Texts = Words;

constexpr WStringView kTarget = W("Vexmo.VIB.NQDRV4.Jörg.😀");
constexpr WStringView kUser = W("Jörg");
const KeyringNames kNames{.target = "t", .user = "u"};

std::span<const BYTE> Bytes(const std::string& text) {
  return {reinterpret_cast<const BYTE*>(text.data()), text.size()};
}

/// One of the places where entries are kept, with answers as texts: the entry's bytes, "yes", "no", "done" or
/// "code N".
struct Store {
  decltype(&vault::Save) save;
  decltype(&vault::Load) load;
  decltype(&vault::Delete) remove;
  decltype(&vault::IsPresent) is_present;

  static std::string Text(DWORD code, const std::string& text) {
    return code == ERROR_SUCCESS ? text : "code " + std::to_string(code);
  }
  std::string Save(const std::string& bytes, WStringView user = kUser, WStringView target = kTarget) const {
    return Text(save(target, user, Bytes(bytes)), "done");
  }
  std::string Load(WStringView user = kUser) const {
    vault::SecureBytes bytes = {'o', 'l', 'd'};
    const DWORD code = load(kTarget, user, bytes);
    return Text(code, {bytes.begin(), bytes.end()}) + (code != 0 && !bytes.empty() ? " and bytes" : "");
  }
  std::string Delete(WStringView user = kUser) const { return Text(remove(kTarget, user), "done"); }
  std::string IsPresent(WStringView user = kUser, WStringView target = kTarget) const {
    bool present = false;
    const DWORD code = is_present(target, user, present);
    return Text(code, present ? "yes" : "no");
  }
};
constexpr Store kKeyring = {secret_service::Save, secret_service::Load, secret_service::Delete,
                            secret_service::IsPresent};
constexpr Store kEither = {network_vault::Save, network_vault::Load, network_vault::Delete,
                           network_vault::IsPresent};

/// Each test has a home of its own, and no session unless it takes one.
class SecretServiceTest : public testing::Test {
 protected:
  SecretServiceTest() {
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    setenv("XDG_RUNTIME_DIR", home_.Path().c_str(), 1);
    setenv("CUSTOMBIDI_HOME", home_.Path().c_str(), 1);
  }

  static void UseBus(const std::string& address) { setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1); }
  bool HasFileVault() const { return std::filesystem::exists(home_ / "vault/vault"); }

  const SecretFunctions& functions_ = *TheSecretFunctions();
  TemporaryFolder home_;
};

TEST_F(SecretServiceTest, KeepsEntriesApart) {
  const KeyringServer service;
  UseBus(service.Address());
  EXPECT_EQ((Texts{kKeyring.IsPresent(), kKeyring.Load(), kKeyring.Delete()}),
            (Texts{"no", "code 1168", "code 1168"}));
  const Texts contents = {"secret", "a\0b\0"s, "", std::string(vault::kMaxEntryBytes, 'x'), "for others"};
  for (const std::string& content : contents) {
    EXPECT_EQ(kKeyring.Save(content), "done");
    EXPECT_EQ(kKeyring.Load(), content);
  }
  EXPECT_EQ(kKeyring.Save(std::string(vault::kMaxEntryBytes + 1, 'x')), Store::Text(vault::kTooLarge, ""));
  EXPECT_EQ(RunProgram({"env", "DBUS_SESSION_BUS_ADDRESS=" + service.Address(), "secret-tool", "lookup",
                        "target", base::ToUtf8(kTarget), "user", base::ToUtf8(kUser)})
                .output,
            "for others");
  EXPECT_EQ((Texts{kKeyring.IsPresent(), kKeyring.IsPresent(W("jörg")), kKeyring.IsPresent(kTarget, kUser)}),
            (Texts{"yes", "no", "no"}));
  EXPECT_EQ(kKeyring.Save("other's", W("other")), "done");
  EXPECT_EQ(kKeyring.Delete(), "done");
  EXPECT_EQ((Texts{kKeyring.IsPresent(), kKeyring.Load(W("other"))}), (Texts{"no", "other's"}));

  const WCHAR half_a_pair[] = {0xD83D, 0};
  EXPECT_EQ(kKeyring.Save("", kUser, half_a_pair), Store::Text(ERROR_INVALID_NAME, ""));
  EXPECT_EQ(kKeyring.Save("", kUser, W("")), Store::Text(ERROR_INVALID_PARAMETER, ""));
}

// A keyring may be locked at any moment, so also between two calls of one operation.
TEST_F(SecretServiceTest, LockedKeyringIsAFailure) {
  const KeyringServer service;
  UseBus(service.Address());
  ASSERT_EQ(kEither.Save("secret"), "done");
  Keyring keyring(functions_, Deadline(kPatience));
  ASSERT_EQ(keyring.Connect(service.Address()), DWORD{ERROR_SUCCESS});
  Keyring::Collection collection;
  ASSERT_EQ(keyring.FindDefaultCollection(collection), DWORD{ERROR_SUCCESS});
  ASSERT_EQ(keyring.Create(collection.path, kNames, Bytes("secret")), DWORD{ERROR_SUCCESS});
  service.Lock();
  for (const WStringView user : {kUser, WStringView(W("nobody"))}) {
    EXPECT_EQ(
        (Texts{kEither.Save("new", user), kEither.Load(user), kEither.Delete(user), kEither.IsPresent(user)}),
        Texts(4, "code 5"));
  }
  EXPECT_FALSE(HasFileVault());
  Keyring::Found found;
  ASSERT_EQ(keyring.Search(kNames, found), DWORD{ERROR_SUCCESS});
  ASSERT_EQ(found.locked.size(), 1U);
  vault::SecureBytes secret;
  EXPECT_EQ(keyring.Create(collection.path, kNames, Bytes("new")), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(keyring.SetSecret(found.locked[0], Bytes("new")), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(keyring.GetSecret(found.locked[0], secret), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(keyring.Delete(found.locked[0]), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(SecretServiceTest, FileVaultServesWhenNobodyAnswers) {
  const MessageBus empty_bus;
  for (const std::string& address :
       {""s, "autolaunch:"s, "unix:path=/none/bus"s, "nonsense"s, empty_bus.Address()}) {
    SCOPED_TRACE(address);
    UseBus(address);
    EXPECT_EQ(kKeyring.Save("secret"), Store::Text(kNobodyAnswers, ""));
    EXPECT_EQ(kEither.Save("secret"), "done");
    EXPECT_TRUE(HasFileVault());
    EXPECT_EQ((Texts{kEither.Load(), kEither.Delete(), kEither.IsPresent()}),
              (Texts{"secret", "done", "no"}));
  }
  unsetenv("DBUS_SESSION_BUS_ADDRESS");
  EXPECT_EQ(SessionBusAddress(), "");
  setenv("XDG_RUNTIME_DIR", empty_bus.Folder().Path().c_str(), 1);
  EXPECT_EQ(SessionBusAddress(), empty_bus.Address()) << "that of the runtime folder";
}

TEST_F(SecretServiceTest, EntriesOfTheFileVaultAreFoundInASession) {
  ASSERT_EQ(kEither.Save("old"), "done");
  const KeyringServer service;
  UseBus(service.Address());
  EXPECT_EQ((Texts{kEither.IsPresent(), kEither.Load()}), (Texts{"yes", "old"}));
  ASSERT_EQ(kEither.Save("new"), "done");
  bool present = true;
  EXPECT_EQ(vault::IsPresent(kTarget, kUser, present), DWORD{ERROR_SUCCESS});
  EXPECT_FALSE(present);
  EXPECT_EQ(kEither.Load(), "new");

  ASSERT_EQ(vault::Save(kTarget, kUser, Bytes("left over")), DWORD{ERROR_SUCCESS});
  EXPECT_EQ((Texts{kEither.Delete(), kEither.IsPresent(), kEither.Delete()}),
            (Texts{"done", "no", "code 1168"}));

  service.Call({"--dest=org.freedesktop.secrets", "/org/freedesktop/secrets/collection/login",
                "org.freedesktop.Secret.Collection.Delete"});
  EXPECT_EQ(kKeyring.Save("secret"), Store::Text(secret_service::kNoKeyring, ""));
  EXPECT_EQ(kKeyring.Load(), "code 1168");
}

TEST_F(SecretServiceTest, WhoStaysSilentCostsTheDeadline) {
  const KeyringServer service;
  const auto search = [&](milliseconds deadline) {
    Keyring keyring(functions_, Deadline(deadline));
    Keyring::Found found;
    const DWORD code = keyring.Connect(service.Address());
    return code == ERROR_SUCCESS ? keyring.Search(kNames, found) : code;
  };
  for (const std::string name : {"org.freedesktop.DBus", "org.freedesktop.secrets"}) {
    const std::string answer =
        service.Call({"--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                      "org.freedesktop.DBus.GetConnectionUnixProcessID", "string:" + name});
    const size_t number = answer.rfind("uint32 ");
    ASSERT_NE(number, std::string::npos) << answer;
    const pid_t daemon = std::stoi(answer.substr(number + 7));
    kill(daemon, SIGSTOP);
    EXPECT_EQ(InTime([&] { return search(kDeadline); }), kTimeout) << name;
    kill(daemon, SIGCONT);
    EXPECT_EQ(search(kPatience), DWORD{ERROR_SUCCESS}) << name;
  }
}

TEST_F(SecretServiceTest, BusThatEndsLeavesTheProcessAlone) {
  Keyring::Found found;
  {
    std::optional<KeyringServer> service(std::in_place);
    UseBus(service->Address());
    Keyring keyring(functions_, Deadline(kPatience));
    ASSERT_EQ(keyring.Connect(service->Address()), DWORD{ERROR_SUCCESS});
    ASSERT_EQ(keyring.Search(kNames, found), DWORD{ERROR_SUCCESS});
    service.reset();
    EXPECT_NE(InTime([&] { return keyring.Search(kNames, found); }), DWORD{ERROR_SUCCESS});
  }
  EXPECT_EQ(kEither.Save("secret"), "done");
  EXPECT_TRUE(HasFileVault());
}

TEST_F(SecretServiceTest, ServesSeveralAtOnceAndLeavesNothingOpen) {
  const KeyringServer service;
  UseBus(service.Address());
  const auto use = [](const WString& user) {
    EXPECT_EQ(kKeyring.Save(base::ToUtf8(user), user), "done");
    EXPECT_EQ(kKeyring.Load(user), base::ToUtf8(user));
  };
  use(W("first"));
  const auto open_files = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = open_files();
  for (int i = 0; i < 5; ++i) {
    // Several at once, in threads that end, as a host's may.
    std::vector<std::jthread> threads;
    for (const WCHAR* const user : {W("one"), W("two"), W("three"), W("four")}) {
      threads.emplace_back(use, user);
    }
  }
  // GLib's own thread closes what was given back.
  EXPECT_TRUE(WaitUntil([&] { return open_files() <= before; }, kPatience));
}

}  // namespace
}  // namespace custom_bidi::network
