#pragma once

/// The contract with the three closed device libraries: the entry points that are bound by name, and the
/// objects they hand back. The library calls through these declarations and every stand-in implements them.
///
/// An object is reached only through its table of operations, so the order of the virtual functions below is
/// the contract: it counts from 0, an operation that is never called stands as ReservedN. No interface has a
/// virtual destructor (compilers give it one or two positions), no overloads (they are laid out in different
/// orders), and no results that are structs (they are passed differently).
///
/// All text is UTF-16 and NUL-terminated. Nothing that a library hands back is released by its caller unless
/// an entry point of its own says so: the library owns its objects and frees them when it is unloaded. Any of
/// these functions may throw: a DWORD as a Win32 code, or anything else, as its compiler throws. A structured
/// exception of another kind (an access violation) is a crash of the host, and is not caught.

#include <cstddef>
#include <type_traits>

#include "src/platform.h"

namespace custom_bidi::deviceio {

/// A device address, made by one of the four address makers of the I/O library.
class PrinterAddress {
 public:
  /// Non-zero when the device answers at this address.
  virtual LONG IsActive() = 0;  // 0
  /// The address as text, owned by the object.
  virtual const WCHAR* GetAddressString() = 0;  // 1

 protected:
  ~PrinterAddress() = default;
};

/// The data items of one device, made from the data-map XML.
class DataCollection {
 public:
  virtual void Reserved0() = 0;
  virtual void Reserved1() = 0;
  virtual void Reserved2() = 0;
  virtual void Reserved3() = 0;
  virtual void Reserved4() = 0;
  /// Reads the item `name` into `value`, which the caller has set to VT_EMPTY. `flag` is always 1.
  /// The caller does not clear what it receives: a text stays the library's. Negative is a failure.
  virtual HRESULT GetValue(const WCHAR* name, VARIANT* value, LONG flag) = 0;  // 5

 protected:
  ~DataCollection() = default;
};

/// Reads single SNMP objects of one device.
class OidProvider {
 public:
  virtual void Reserved0() = 0;
  virtual void Reserved1() = 0;
  virtual void Reserved2() = 0;
  virtual void Reserved3() = 0;
  virtual void Reserved4() = 0;
  /// Reads the object `oid` (dotted decimal, no leading dot) into `value`, which the caller has set to
  /// VT_EMPTY and does not clear. Only S_OK is a success.
  virtual HRESULT GetValue(const WCHAR* oid, VARIANT* value) = 0;  // 5

 protected:
  ~OidProvider() = default;
};

/// Keeps credentials in a vault, under a target and a user name that are set on it first.
class VaultStoreProvider {
 public:
  virtual void Reserved0() = 0;
  virtual void Reserved1() = 0;
  virtual void Reserved2() = 0;
  virtual void Reserved3() = 0;
  virtual void Reserved4() = 0;
  virtual void Reserved5() = 0;
  /// Stores the bytes; a Win32 code, 0 when they are stored.
  virtual DWORD SaveTarget(const BYTE* bytes, DWORD length_bytes) = 0;  // 6
  /// Hands out the stored bytes, which stay the provider's. Negative is a failure.
  virtual HRESULT GetCertFromVault(BYTE** bytes, DWORD* length_bytes) = 0;  // 7
  /// Removes the entry; a Win32 code, 0 when it is removed.
  virtual DWORD DeleteTarget() = 0;  // 8
  /// Non-zero when there is an entry.
  virtual LONG IsTargetPresent() = 0;  // 9
  /// Negative when the name is refused.
  virtual HRESULT SetTargetName(const WCHAR* target) = 0;  // 10
  virtual HRESULT SetUserName(const WCHAR* user) = 0;      // 11

 protected:
  ~VaultStoreProvider() = default;
};

/// The key types that a certificate is asked for with. Read by the library, so the layout is fixed.
struct KeyTypeList {
  const WCHAR* const* names;  // room for two, of which `count` are set
  DWORD count;
  DWORD padding;
};

/// Reads a device's certificate, and what there is to say about it.
class CertificateProvider {
 public:
  virtual void Reserved0() = 0;
  /// `capacity_chars` is always 256; `length_chars` receives the length. Negative is a failure.
  virtual HRESULT GetDeviceUUID(WCHAR* uuid, DWORD capacity_chars, DWORD* length_chars) = 0;  // 1
  /// `capacity` is always 10; `count` receives how many codes there are. Negative is a failure.
  virtual HRESULT GetCertificateAllSecurityWarnings(DWORD* codes, DWORD capacity, DWORD* count) = 0;  // 2
  /// Copies the DER-encoded certificate; with a null buffer only its length. `eight` points to 8, `ten` is
  /// 10, and `unread` to a 0: what they mean is the library's. Only 0 is a success.
  virtual DWORD GetDeviceCertificate(const KeyTypeList* key_types,
                                     BYTE* bytes,
                                     DWORD* length_bytes,
                                     const WORD* eight,
                                     DWORD ten,
                                     DWORD* unread) = 0;  // 3
  virtual void Reserved4() = 0;
  virtual void Reserved5() = 0;
  /// `valid` receives non-zero when the certificate's dates hold. Negative is a failure.
  virtual HRESULT CheckCertificateDate(const BYTE* bytes, DWORD length_bytes, LONG* valid) = 0;  // 6
  virtual void Reserved7() = 0;
  /// The code of the provider's last failure.
  virtual DWORD GetLastErrorCode() = 0;  // 8

 protected:
  ~CertificateProvider() = default;
};

// The I/O library.

/// Makes the address of a print queue, port, IP address or host, as the entry point's name says; null on
/// failure.
using CreateAddressFunction = PrinterAddress*(const WCHAR* name);
inline constexpr char kCreateAddressFromQueueName[] = "CreateAddressFromQueueName";
inline constexpr char kCreateAddressFromPortName[] = "CreateAddressFromPortName";
inline constexpr char kCreateAddressFromIpAddress[] = "CreateAddressFromIPAddress";
inline constexpr char kCreateAddressFromHostName[] = "CreateAddressFromHostName";

// The data-map library.

/// Makes the data collection that the XML file describes. `reserved` is always 0. Negative is a failure.
using CreateDataCollectionFromFileFunction = HRESULT(PrinterAddress* address,
                                                     const WCHAR* xml_path,
                                                     DataCollection** collection,
                                                     LONG reserved);
inline constexpr char kCreateDataCollectionFromFile[] = "CreateDataCollectionFromFile";

/// Makes a provider for the device; null on failure.
using CreateOidProviderFunction = OidProvider*(PrinterAddress* address);
inline constexpr char kCreateOidProvider[] = "CreateOIDProvider";

/// Hands out the device's strings in a language (two letters of ISO 639). `length` is 0 on entry and receives
/// whatever the library wants back with the buffer. 0 is success. The buffer goes back through
/// DisposeStringBuffer after every call, also after one that failed.
using GetDeviceLocaleStringsFunction = LONG(PrinterAddress* address,
                                            const WCHAR* language,
                                            WCHAR** buffer,
                                            ULONGLONG* length);
inline constexpr char kGetDeviceLocaleStrings[] = "GetDeviceLocaleStrings";

/// Takes back what GetDeviceLocaleStrings handed out, null included.
using DisposeStringBufferFunction = void(WCHAR* buffer, ULONGLONG length);
inline constexpr char kDisposeStringBuffer[] = "DisposeStringBuffer";

// The certificate library.

/// Makes a vault store provider; null on failure.
using CreateVaultStoreProviderFunction = VaultStoreProvider*();
inline constexpr char kCreateVaultStoreProvider[] = "CreateVaultStoreProvider";

/// Takes a vault store provider back.
using DisposeVaultStoreProviderFunction = void(VaultStoreProvider* provider);
inline constexpr char kDisposeVaultStoreProvider[] = "DisposeVaultStoreProvider";

/// Makes a certificate provider for a device (mode 0), or for none (a null address); null on failure.
using CreateCertificateProviderFunction = CertificateProvider*(PrinterAddress* address, DWORD mode);
inline constexpr char kCreateCertificateProvider[] = "CreateCertificateProvider";

/// Takes a certificate provider back.
using DisposeCertificateProviderFunction = void(CertificateProvider* provider);
inline constexpr char kDisposeCertificateProvider[] = "DisposeCertificateProviderPtr";

template <class Interface>
inline constexpr bool kIsPlainTable =
    std::is_abstract_v<Interface> && !std::has_virtual_destructor_v<Interface>;

static_assert(kIsPlainTable<PrinterAddress> && sizeof(PrinterAddress) == sizeof(void*));
static_assert(kIsPlainTable<DataCollection> && sizeof(DataCollection) == sizeof(void*));
static_assert(kIsPlainTable<OidProvider> && sizeof(OidProvider) == sizeof(void*));
static_assert(kIsPlainTable<VaultStoreProvider> && sizeof(VaultStoreProvider) == sizeof(void*));
static_assert(kIsPlainTable<CertificateProvider> && sizeof(CertificateProvider) == sizeof(void*));
static_assert(sizeof(KeyTypeList) == 16 && offsetof(KeyTypeList, count) == 8);

}  // namespace custom_bidi::deviceio
