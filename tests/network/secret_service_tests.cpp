// The keyring of a session, and the choice between it and the file vault.

#include "ixo/network/secret_service.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <thread>
#include <vector>

#include "ixo/network/keyring.h"
#include "ixo/network/network_vault.h"
#include "ixo/network/session_bus.h"
#include "ixo/vault/vault.h"
#include "pal/text.h"
#include "tests/peers/loopback.h"
#include "tests/peers/message_bus.h"
#include "tests/peers/process.h"
#include "tests/peers/secret_service.h"
#include "tests/peers/temporary_folder.h"

namespace custom_bidi::network {
namespace {

constexpr WStringView kTarget = W("Vexmo.VIB.NQDRV4.Jörg.😀");
constexpr WStringView kUser = W("Jörg");

vault::SecureBytes Bytes(std::string_view text) {
  return {text.begin(), text.end()};
}

/// The entry's bytes, or "code N".
template <class Load>
std::string Loaded(Load&& load, WStringView target = kTarget, WStringView user = kUser) {
  vault::SecureBytes bytes = Bytes("old");
  const DWORD code = load(target, user, bytes);
  EXPECT_TRUE(code == ERROR_SUCCESS || bytes.empty());
  return code == ERROR_SUCCESS ? std::string(bytes.begin(), bytes.end()) : "code " + std::to_string(code);
}

/// "yes", "no", or "code N".
template <class IsPresent>
std::string Present(IsPresent&& is_present, WStringView target = kTarget, WStringView user = kUser) {
  bool present = false;
  const DWORD code = is_present(target, user, present);
  return code != ERROR_SUCCESS ? "code " + std::to_string(code) : present ? "yes" : "no";
}

void UseBus(const std::string& address) {
  setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
}

/// Each test has a home of its own, and no session unless it takes one.
class SecretServiceTest : public testing::Test {
 protected:
  SecretServiceTest() {
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    setenv("XDG_RUNTIME_DIR", home_.Path().c_str(), 1);
    setenv("CUSTOMBIDI_HOME", home_.Path().c_str(), 1);
  }

  bool HasFileVault() const { return std::filesystem::exists(home_ / "vault/vault"); }

  custom_bidi_test::TemporaryFolder home_;
};

/// Calls a method of a service on the bus, and gives what dbus-send says of the answer.
std::string CallByHand(const std::string& bus, const std::vector<std::string>& words) {
  custom_bidi_test::Command command{{"dbus-send", "--bus=" + bus, "--print-reply"}};
  command.words.insert(command.words.end(), words.begin(), words.end());
  return custom_bidi_test::RunProgram(command).output;
}

TEST_F(SecretServiceTest, KeepsEntriesApart) {
  const custom_bidi_test::SecretService service;
  UseBus(service.BusAddress());
  EXPECT_EQ(Present(secret_service::IsPresent), "no");
  EXPECT_EQ(Loaded(secret_service::Load), "code 1168");
  EXPECT_EQ(secret_service::Delete(kTarget, kUser), DWORD{ERROR_NOT_FOUND});

  using namespace std::string_literals;
  const std::vector<std::string> contents = {"secret", "a\0b\0"s, "",
                                             std::string(vault::kMaxEntryBytes, 'x')};
  for (const std::string& content : contents) {
    EXPECT_EQ(secret_service::Save(kTarget, kUser, Bytes(content)), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Loaded(secret_service::Load), content);
  }
  EXPECT_EQ(secret_service::Save(kTarget, kUser, Bytes(std::string(vault::kMaxEntryBytes + 1, 'x'))),
            vault::kTooLarge);
  EXPECT_EQ(secret_service::Save(kTarget, kUser, Bytes("for others")), DWORD{ERROR_SUCCESS});
  const custom_bidi_test::Command by_hand{
      .words = {"secret-tool", "lookup", "target", pal::ToUtf8(kTarget), "user", pal::ToUtf8(kUser)},
      .variables = {{"DBUS_SESSION_BUS_ADDRESS", service.BusAddress()}}};
  EXPECT_EQ(custom_bidi_test::RunProgram(by_hand).output, "for others");
  EXPECT_EQ(Present(secret_service::IsPresent), "yes");
  EXPECT_EQ(Present(secret_service::IsPresent, kTarget, W("jörg")), "no");
  EXPECT_EQ(Present(secret_service::IsPresent, kUser, kTarget), "no");
  EXPECT_EQ(secret_service::Save(kTarget, W("other"), Bytes("other's")), DWORD{ERROR_SUCCESS});

  EXPECT_EQ(secret_service::Delete(kTarget, kUser), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(Present(secret_service::IsPresent), "no");
  EXPECT_EQ(Loaded(secret_service::Load, kTarget, W("other")), "other's");

  const WCHAR half_a_pair[] = {0xD83D, 0};
  EXPECT_EQ(secret_service::Save(half_a_pair, kUser, {}), DWORD{ERROR_INVALID_NAME});
  EXPECT_EQ(secret_service::Save(W(""), kUser, {}), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_FALSE(HasFileVault());
}

TEST_F(SecretServiceTest, LockedKeyringIsAFailure) {
  const custom_bidi_test::SecretService service;
  UseBus(service.BusAddress());
  ASSERT_EQ(network_vault::Save(kTarget, kUser, Bytes("secret")), DWORD{ERROR_SUCCESS});
  service.Lock();
  for (const WStringView user : {kUser, WStringView(W("nobody"))}) {
    EXPECT_EQ(network_vault::Save(kTarget, user, Bytes("new")), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(Loaded(network_vault::Load, kTarget, user), "code 5");
    EXPECT_EQ(network_vault::Delete(kTarget, user), DWORD{ERROR_ACCESS_DENIED});
  }
  EXPECT_EQ(Present(network_vault::IsPresent), "yes");
  EXPECT_EQ(Present(network_vault::IsPresent, kTarget, W("nobody")), "code 5");
  EXPECT_FALSE(HasFileVault());
}

// A keyring may be locked at any moment, so also between two calls of one operation.
TEST_F(SecretServiceTest, LockingBetweenTwoCallsIsAFailure) {
  const custom_bidi_test::SecretService service;
  Keyring keyring(*TheSecretLibrary(), Deadline(milliseconds(5000)));
  ASSERT_EQ(keyring.Connect(service.BusAddress()), DWORD{ERROR_SUCCESS});
  Keyring::Collection collection;
  ASSERT_EQ(keyring.FindDefaultCollection(collection), DWORD{ERROR_SUCCESS});
  const KeyringNames names{.target = "t", .user = "u"};
  ASSERT_EQ(keyring.Create(collection.path, names, Bytes("secret")), DWORD{ERROR_SUCCESS});
  service.Lock();
  Keyring::Found found;
  ASSERT_EQ(keyring.Search(names, found), DWORD{ERROR_SUCCESS});
  ASSERT_EQ(found.locked.size(), 1U);
  vault::SecureBytes secret;
  EXPECT_EQ(keyring.Create(collection.path, names, Bytes("new")), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(keyring.SetSecret(found.locked[0], Bytes("new")), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(keyring.GetSecret(found.locked[0], secret), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(keyring.Delete(found.locked[0]), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(SecretServiceTest, WithoutAKeyringNothingIsSaved) {
  const custom_bidi_test::SecretService service;
  UseBus(service.BusAddress());
  const std::string answer = CallByHand(
      service.BusAddress(), {"--dest=org.freedesktop.secrets", "/org/freedesktop/secrets/collection/login",
                             "org.freedesktop.Secret.Collection.Delete"});
  EXPECT_NE(answer.find("object path \"/\""), std::string::npos) << answer;
  EXPECT_EQ(secret_service::Save(kTarget, kUser, Bytes("secret")), secret_service::kNoKeyring);
  EXPECT_EQ(Loaded(secret_service::Load), "code 1168");
}

TEST_F(SecretServiceTest, FileVaultServesWhenNobodyAnswers) {
  const custom_bidi_test::MessageBus empty_bus;
  const std::vector<std::string> addresses = {"", "autolaunch:", "unix:path=/none/bus", "nonsense",
                                              empty_bus.Address()};
  for (const std::string& address : addresses) {
    SCOPED_TRACE(address);
    UseBus(address);
    EXPECT_EQ(secret_service::Save(kTarget, kUser, Bytes("secret")), kNobodyAnswers);
    EXPECT_EQ(network_vault::Save(kTarget, kUser, Bytes("secret")), DWORD{ERROR_SUCCESS});
    EXPECT_TRUE(HasFileVault());
    EXPECT_EQ(Loaded(network_vault::Load), "secret");
    EXPECT_EQ(network_vault::Delete(kTarget, kUser), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Present(network_vault::IsPresent), "no");
  }
}

TEST_F(SecretServiceTest, EntriesOfTheFileVaultAreFoundInASession) {
  ASSERT_EQ(network_vault::Save(kTarget, kUser, Bytes("old")), DWORD{ERROR_SUCCESS});
  const custom_bidi_test::SecretService service;
  UseBus(service.BusAddress());
  EXPECT_EQ(Present(network_vault::IsPresent), "yes");
  EXPECT_EQ(Loaded(network_vault::Load), "old");
  ASSERT_EQ(network_vault::Save(kTarget, kUser, Bytes("new")), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(Present(vault::IsPresent), "no");
  EXPECT_EQ(Loaded(network_vault::Load), "new");

  ASSERT_EQ(vault::Save(kTarget, kUser, Bytes("left over")), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(network_vault::Delete(kTarget, kUser), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(Present(network_vault::IsPresent), "no");
  EXPECT_EQ(network_vault::Delete(kTarget, kUser), DWORD{ERROR_NOT_FOUND});
}

TEST_F(SecretServiceTest, BusIsFoundInTheRuntimeFolder) {
  EXPECT_EQ(SessionBusAddress(), "");
  const custom_bidi_test::MessageBus bus;
  const std::string path = bus.Address().substr(std::string("unix:path=").size());
  setenv("XDG_RUNTIME_DIR", std::filesystem::path(path).parent_path().c_str(), 1);
  EXPECT_EQ(SessionBusAddress(), bus.Address());
}

constexpr milliseconds kDeadline{300};
constexpr milliseconds kSlack{300};

/// What the call answers, as long as it answers in time.
template <class Call>
DWORD InTime(Call&& call) {
  const auto start = std::chrono::steady_clock::now();
  const DWORD code = call();
  EXPECT_LT(std::chrono::steady_clock::now() - start, kDeadline + kSlack);
  return code;
}

TEST_F(SecretServiceTest, WhoStaysSilentCostsTheDeadline) {
  const SecretLibrary* const library = TheSecretLibrary();
  ASSERT_NE(library, nullptr);

  // Its backlog connects, and nobody ever says a word.
  const custom_bidi_test::FileDescriptor mute(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
  const std::string path = home_ / "mute";
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  ASSERT_EQ(bind(mute.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  ASSERT_EQ(listen(mute.Get(), 5), 0);
  EXPECT_EQ(InTime([&] { return Keyring(*library, Deadline(kDeadline)).Connect("unix:path=" + path); }),
            kTimeout);

  const custom_bidi_test::SecretService service;
  const std::string answer =
      CallByHand(service.BusAddress(),
                 {"--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                  "org.freedesktop.DBus.GetConnectionUnixProcessID", "string:org.freedesktop.secrets"});
  const size_t number = answer.rfind("uint32 ");
  ASSERT_NE(number, std::string::npos) << answer;
  const pid_t daemon = std::stoi(answer.substr(number + 7));
  const KeyringNames names{.target = "t", .user = "u"};
  Keyring::Found found;
  const auto search = [&] {
    Keyring keyring(*library, Deadline(kDeadline));
    const DWORD code = keyring.Connect(service.BusAddress());
    return code == ERROR_SUCCESS ? keyring.Search(names, found) : code;
  };
  kill(daemon, SIGSTOP);
  const DWORD stopped = InTime(search);
  kill(daemon, SIGCONT);
  EXPECT_EQ(stopped, kTimeout);
  EXPECT_EQ(search(), DWORD{ERROR_SUCCESS});
}

TEST_F(SecretServiceTest, BusThatEndsLeavesTheProcessAlone) {
  const SecretLibrary* const library = TheSecretLibrary();
  ASSERT_NE(library, nullptr);
  Keyring::Found found;
  {
    std::optional<custom_bidi_test::SecretService> service(std::in_place);
    UseBus(service->BusAddress());
    Keyring keyring(*library, Deadline(kDeadline));
    ASSERT_EQ(keyring.Connect(service->BusAddress()), DWORD{ERROR_SUCCESS});
    ASSERT_EQ(keyring.Search({.target = "t", .user = "u"}, found), DWORD{ERROR_SUCCESS});
    service.reset();
    EXPECT_NE(InTime([&] { return keyring.Search({.target = "t", .user = "u"}, found); }),
              DWORD{ERROR_SUCCESS});
  }
  EXPECT_EQ(network_vault::Save(kTarget, kUser, Bytes("secret")), DWORD{ERROR_SUCCESS});
  EXPECT_TRUE(HasFileVault());
}

size_t EntriesOf(const char* folder) {
  const std::filesystem::directory_iterator entries(folder);
  return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

TEST_F(SecretServiceTest, ServesSeveralAtOnceAndLeavesNothingOpen) {
  const custom_bidi_test::SecretService service;
  UseBus(service.BusAddress());
  const auto use = [](const WString& user) {
    EXPECT_EQ(secret_service::Save(kTarget, user, Bytes(pal::ToUtf8(user))), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Loaded(secret_service::Load, kTarget, user), pal::ToUtf8(user));
  };
  use(W("first"));
  const size_t before = EntriesOf("/proc/self/fd");
  for (int i = 0; i < 10; ++i) {
    // Several at once, in threads that end, as a host's may.
    std::vector<std::thread> threads;
    for (const WCHAR* const user : {W("one"), W("two"), W("three"), W("four")}) {
      threads.emplace_back(use, user);
    }
    std::ranges::for_each(threads, &std::thread::join);
  }
  // GLib's own thread closes what was given back.
  for (int i = 0; i < 100 && EntriesOf("/proc/self/fd") > before; ++i) {
    std::this_thread::sleep_for(milliseconds(10));
  }
  EXPECT_LE(EntriesOf("/proc/self/fd"), before);
}

}  // namespace
}  // namespace custom_bidi::network
