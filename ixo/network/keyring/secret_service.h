#pragma once

#include <span>
#include <string>

#include "ixo/network/keyring/keyring.h"
#include "ixo/vault/secure_bytes.h"

namespace custom_bidi::network {

/// The address of the user's session bus; empty when there is none, or only a bus that would first have to be
/// started, or when the process runs with other rights than its user's.
std::string SessionBusAddress();

}  // namespace custom_bidi::network

/// The keyring of the user's session, by the Secret Service of freedesktop.org: bytes by target and user, as
/// in ixo/vault/vault.h. libsecret is loaded by the first operation that finds a session bus.
///
/// The functions, limits and codes are those of vault.h, and these besides:
///   kNobodyAnswers         there is no session bus, no Secret Service on it, or no libsecret on the machine
///   ERROR_ACCESS_DENIED    the keyring is locked, or the service would ask the user first
///   kNoKeyring             there is no keyring to save to
///   kTimeout               the service has not answered within kSecretServiceTime
///   ERROR_INVALID_NAME     also for a name that is not UTF-16
///   ERROR_GEN_FAILURE      the service could not do it
/// A user is never asked for anything. No entry is said to be missing while a keyring is locked that may hold
/// it.
namespace custom_bidi::network::secret_service {

/// For the whole of an operation.
inline constexpr milliseconds kSecretServiceTime{5000};

inline constexpr DWORD kNoKeyring = 1312;  // ERROR_NO_SUCH_LOGON_SESSION, as the Credential Manager says it

DWORD Save(WStringView target, WStringView user, std::span<const BYTE> bytes);
DWORD Load(WStringView target, WStringView user, vault::SecureBytes& bytes);
DWORD Delete(WStringView target, WStringView user);
DWORD IsPresent(WStringView target, WStringView user, bool& present);

}  // namespace custom_bidi::network::secret_service
