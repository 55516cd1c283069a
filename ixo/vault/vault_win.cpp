// The vault in the Credential Manager: generic credentials of this user that stay on this machine.

#include "ixo/vault/vault.h"

#include <wincred.h>

namespace custom_bidi::vault {

// The limit since Windows 7. The headers still have an older one.
const size_t kMaxEntryBytes = size_t{5} * 512;

namespace {

constexpr DWORD kNoFlags = 0;

/// A credential that was read, wiped when it is given back.
class Credential {
 public:
  Credential() = default;
  ~Credential() {
    if (credential_ != nullptr) {
      Wipe(credential_->CredentialBlob, credential_->CredentialBlobSize);
      CredFree(credential_);
    }
  }
  Credential(const Credential&) = delete;
  Credential& operator=(const Credential&) = delete;

  DWORD Read(const WString& name) {
    if (CredReadW(name.c_str(), CRED_TYPE_GENERIC, kNoFlags, &credential_)) {
      return ERROR_SUCCESS;
    }
    credential_ = nullptr;
    return GetLastError();
  }

  std::span<const BYTE> Bytes() const {
    return {credential_->CredentialBlob, credential_->CredentialBlobSize};
  }

 private:
  CREDENTIALW* credential_ = nullptr;
};

void AppendEscaped(WStringView part, WString& name) {
  constexpr WStringView kPlain = W("abcdefghijklmnopqrstuvwxyz0123456789.-_");
  constexpr WStringView kDigits = W("0123456789abcdef");
  for (const WCHAR unit : part) {
    if (kPlain.find(unit) != WStringView::npos) {
      name += unit;
    } else if (unit >= W('A') && unit <= W('Z')) {
      name += W('^');
      name += static_cast<WCHAR>(unit - W('A') + W('a'));
    } else {
      name += W('%');
      for (int shift = 12; shift >= 0; shift -= 4) {
        name += kDigits[(unit >> shift) & 0xF];
      }
    }
  }
}

/// The one name under which the Credential Manager knows an entry, which looks names up without regard to
/// case and has no second name: "CustomBidi/<target>/<user>". In both parts small letters, digits, '.', '-'
/// and '_' stand for themselves, '^' goes before a letter that is a capital, and any other unit is '%' and
/// four hexadecimal digits. So different pairs have different names, in any case.
WString CredentialName(WStringView target, WStringView user) {
  WString name = W("CustomBidi/");
  AppendEscaped(target, name);
  name += W('/');
  AppendEscaped(user, name);
  return name;
}

}  // namespace

DWORD Save(WStringView target, WStringView user, std::span<const BYTE> bytes) {
  if (const DWORD code = CheckNames(target, user)) {
    return code;
  }
  if (bytes.size() > kMaxEntryBytes) {
    return kTooLarge;
  }
  WString name = CredentialName(target, user);
  WString user_name(user);
  SecureBytes blob(bytes.begin(), bytes.end());
  CREDENTIALW credential{};
  credential.Type = CRED_TYPE_GENERIC;
  credential.Persist = CRED_PERSIST_LOCAL_MACHINE;
  credential.TargetName = name.data();
  credential.UserName = user_name.data();
  credential.CredentialBlob = blob.data();
  credential.CredentialBlobSize = static_cast<DWORD>(blob.size());
  return CredWriteW(&credential, kNoFlags) ? DWORD{ERROR_SUCCESS} : GetLastError();
}

DWORD Load(WStringView target, WStringView user, SecureBytes& bytes) {
  bytes.clear();
  if (const DWORD code = CheckNames(target, user)) {
    return code;
  }
  Credential credential;
  if (const DWORD code = credential.Read(CredentialName(target, user))) {
    return code;
  }
  bytes.assign(credential.Bytes().begin(), credential.Bytes().end());
  return ERROR_SUCCESS;
}

DWORD Delete(WStringView target, WStringView user) {
  if (const DWORD code = CheckNames(target, user)) {
    return code;
  }
  const WString name = CredentialName(target, user);
  return CredDeleteW(name.c_str(), CRED_TYPE_GENERIC, kNoFlags) ? DWORD{ERROR_SUCCESS} : GetLastError();
}

DWORD IsPresent(WStringView target, WStringView user, bool& present) {
  if (const DWORD code = CheckNames(target, user)) {
    return code;
  }
  Credential credential;
  const DWORD code = credential.Read(CredentialName(target, user));
  if (code != ERROR_SUCCESS && code != ERROR_NOT_FOUND) {
    return code;
  }
  present = code == ERROR_SUCCESS;
  return ERROR_SUCCESS;
}

}  // namespace custom_bidi::vault
