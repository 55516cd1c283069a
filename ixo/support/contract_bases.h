#pragma once

/// What every stand-in's objects have in common: the positions of their tables that nobody calls, and that
/// memory which cannot be had is a code of the contract, not an exception of ours. Each operation is done by
/// the member of its name with "Do" in front.

#include "ixo/support/results.h"
#include "src/deviceio/ixo_contract.h"

namespace custom_bidi::support {

class DataCollection : public deviceio::DataCollection {
 public:
  void Reserved0() final {}
  void Reserved1() final {}
  void Reserved2() final {}
  void Reserved3() final {}
  void Reserved4() final {}
  HRESULT GetValue(const WCHAR* name, VARIANT* value, LONG flag) final {
    return OrNoMemory(kNoMemory, [&] { return DoGetValue(name, value, flag); });
  }

 protected:
  ~DataCollection() = default;

 private:
  virtual HRESULT DoGetValue(const WCHAR* name, VARIANT* value, LONG flag) = 0;
};

class OidProvider : public deviceio::OidProvider {
 public:
  void Reserved0() final {}
  void Reserved1() final {}
  void Reserved2() final {}
  void Reserved3() final {}
  void Reserved4() final {}
  HRESULT GetValue(const WCHAR* oid, VARIANT* value) final {
    return OrNoMemory(kNoMemory, [&] { return DoGetValue(oid, value); });
  }

 protected:
  ~OidProvider() = default;

 private:
  virtual HRESULT DoGetValue(const WCHAR* oid, VARIANT* value) = 0;
};

class VaultStoreProvider : public deviceio::VaultStoreProvider {
 public:
  void Reserved0() final {}
  void Reserved1() final {}
  void Reserved2() final {}
  void Reserved3() final {}
  void Reserved4() final {}
  void Reserved5() final {}
  DWORD SaveTarget(const BYTE* bytes, DWORD length_bytes) final {
    return OrNoMemory(DWORD{ERROR_NOT_ENOUGH_MEMORY}, [&] { return DoSaveTarget(bytes, length_bytes); });
  }
  HRESULT GetCertFromVault(BYTE** bytes, DWORD* length_bytes) final {
    return OrNoMemory(kNoMemory, [&] { return DoGetCertFromVault(bytes, length_bytes); });
  }
  DWORD DeleteTarget() final {
    return OrNoMemory(DWORD{ERROR_NOT_ENOUGH_MEMORY}, [&] { return DoDeleteTarget(); });
  }
  LONG IsTargetPresent() final {
    return RaisingNoMemory([&] { return DoIsTargetPresent(); });
  }
  HRESULT SetTargetName(const WCHAR* target) final {
    return OrNoMemory(kNoMemory, [&] { return DoSetTargetName(target); });
  }
  HRESULT SetUserName(const WCHAR* user) final {
    return OrNoMemory(kNoMemory, [&] { return DoSetUserName(user); });
  }

 protected:
  ~VaultStoreProvider() = default;

 private:
  virtual DWORD DoSaveTarget(const BYTE* bytes, DWORD length_bytes) = 0;
  virtual HRESULT DoGetCertFromVault(BYTE** bytes, DWORD* length_bytes) = 0;
  virtual DWORD DoDeleteTarget() = 0;
  virtual LONG DoIsTargetPresent() = 0;
  virtual HRESULT DoSetTargetName(const WCHAR* target) = 0;
  virtual HRESULT DoSetUserName(const WCHAR* user) = 0;
};

class CertificateProvider : public deviceio::CertificateProvider {
 public:
  void Reserved0() final {}
  void Reserved4() final {}
  void Reserved5() final {}
  void Reserved7() final {}
  HRESULT GetDeviceUUID(WCHAR* uuid, DWORD capacity_chars, DWORD* length_chars) final {
    return OrNoMemory(kNoMemory, [&] { return DoGetDeviceUUID(uuid, capacity_chars, length_chars); });
  }
  HRESULT GetCertificateAllSecurityWarnings(DWORD* codes, DWORD capacity, DWORD* count) final {
    return OrNoMemory(kNoMemory, [&] { return DoGetCertificateAllSecurityWarnings(codes, capacity, count); });
  }
  DWORD GetDeviceCertificate(const deviceio::KeyTypeList* key_types,
                             BYTE* bytes,
                             DWORD* length_bytes,
                             const WORD* eight,
                             DWORD ten,
                             DWORD* unread) final {
    return OrNoMemory(DWORD{ERROR_NOT_ENOUGH_MEMORY}, [&] {
      return DoGetDeviceCertificate(key_types, bytes, length_bytes, eight, ten, unread);
    });
  }
  HRESULT CheckCertificateDate(const BYTE* bytes, DWORD length_bytes, LONG* valid) final {
    return OrNoMemory(kNoMemory, [&] { return DoCheckCertificateDate(bytes, length_bytes, valid); });
  }
  DWORD GetLastErrorCode() final {
    return OrNoMemory(DWORD{ERROR_NOT_ENOUGH_MEMORY}, [&] { return DoGetLastErrorCode(); });
  }

 protected:
  ~CertificateProvider() = default;

 private:
  virtual HRESULT DoGetDeviceUUID(WCHAR* uuid, DWORD capacity_chars, DWORD* length_chars) = 0;
  virtual HRESULT DoGetCertificateAllSecurityWarnings(DWORD* codes, DWORD capacity, DWORD* count) = 0;
  virtual DWORD DoGetDeviceCertificate(const deviceio::KeyTypeList* key_types,
                                       BYTE* bytes,
                                       DWORD* length_bytes,
                                       const WORD* eight,
                                       DWORD ten,
                                       DWORD* unread) = 0;
  virtual HRESULT DoCheckCertificateDate(const BYTE* bytes, DWORD length_bytes, LONG* valid) = 0;
  virtual DWORD DoGetLastErrorCode() = 0;
};

}  // namespace custom_bidi::support
