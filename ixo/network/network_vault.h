#pragma once

#include <span>

#include "ixo/vault/secure_bytes.h"
#include "src/platform.h"

/// Where the user's passwords and certificates for printers are kept: in the keyring of the user's session
/// when somebody answers there (secret_service.h), else in the file vault (ixo/vault/vault.h), with the
/// functions and codes of both.
///
/// An entry that was saved while there was no session is found with one, too, until it is saved anew or
/// deleted. An entry of the keyring is not to be had while there is no session.
namespace custom_bidi::network::network_vault {

DWORD Save(WStringView target, WStringView user, std::span<const BYTE> bytes);
DWORD Load(WStringView target, WStringView user, vault::SecureBytes& bytes);
/// From both; ERROR_NOT_FOUND when it was in neither.
DWORD Delete(WStringView target, WStringView user);
DWORD IsPresent(WStringView target, WStringView user, bool& present);

}  // namespace custom_bidi::network::network_vault
