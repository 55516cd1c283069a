// A family of device libraries as their makers' compiler builds it: clang with Microsoft's ABI, without any
// of the headers of the project or of Windows, so that the layout is this file's own. Its objects have a
// virtual destructor in a position that is reserved, and a second base in front; results of 32 bits come with
// rubbish above.

#include "tests/foreign/foreign_script.h"

using enum ForeignPoint;
using Wide = wchar_t;
using Wrong64 = unsigned long long;  // a result of 32 bits, with what happens to stand above it

extern "C" {
__declspec(dllimport) unsigned long GetEnvironmentVariableA(const char*, char*, unsigned long);
// What the compiler asks for and no library here has.
extern const void* const kTypeInfoTable[1] __asm__("??_7type_info@@6B@") = {nullptr};
[[noreturn]] void __std_terminate() {
  __builtin_trap();
}
void* memset(void* target, int value, Wrong64 size) {
  for (Wrong64 i = 0; i < size; ++i) {
    static_cast<volatile unsigned char*>(target)[i] = static_cast<unsigned char>(value);
  }
  return target;
}
void* memcpy(void* target, const void* source, Wrong64 size) {
  for (Wrong64 i = 0; i < size; ++i) {
    static_cast<volatile unsigned char*>(target)[i] = static_cast<const unsigned char*>(source)[i];
  }
  return target;
}
}
void operator delete(void*) noexcept {}  // the deleting destructors want them; nothing is ever allocated
void operator delete(void*, Wrong64) noexcept {}

namespace {

struct Variant {
  unsigned short type, reserved1, reserved2, reserved3;
  union {
    long long number;
    const Wide* text;
  };
  void* second;
};
static_assert(sizeof(Variant) == 24);

constexpr Wrong64 kRubbish = 0xDEADBEEF00000000;
constexpr unsigned kFail = 0x80004005;

ForeignScript& Script() {
  char text[32] = {};
  GetEnvironmentVariableA("FOREIGN_SCRIPT", text, sizeof(text));
  Wrong64 address = 0;
  for (const char* at = text; *at != 0; ++at) {
    address = address * 16 + static_cast<Wrong64>(*at <= '9' ? *at - '0' : (*at | 0x20) - 'a' + 10);
  }
  return *reinterpret_cast<ForeignScript*>(address);
}

void Expect(bool right) {
  Script().wrong += !right;
}

bool Same(const Wide* left, const Wide* right) {
  for (; *left == *right; ++left, ++right) {
    if (*left == 0) {
      return true;
    }
  }
  return false;
}

struct Thrown {
  Thrown() { ++Script().objects; }
  Thrown(const Thrown&) { ++Script().objects; }
  ~Thrown() {
    --Script().objects;
    ++Script().destroyed;
  }
  char body[64] = {};
};

struct Frame {
  Frame() { ++Script().frames; }
  ~Frame() { --Script().frames; }
};

[[noreturn]] void Raise(const ForeignScript& script) {
  const Frame frame;
  switch (script.kind) {
    case ForeignKind::kDword:
      throw static_cast<unsigned long>(script.code);
    case ForeignKind::kObject:
      throw Thrown();
    case ForeignKind::kRethrownDword:
      try {
        throw static_cast<unsigned long>(script.code);
      } catch (...) {
        const Frame handler;
        throw;
      }
    case ForeignKind::kAccessViolation:
      *reinterpret_cast<volatile int*>(8) = 1;
  }
  __builtin_unreachable();
}

/// Each call throws and catches something of its own first, as libraries do. Returns what the call does.
Wrong64 Enter(ForeignPoint point, unsigned result = 0) {
  const Frame frame;
  try {
    throw static_cast<short>(1);
  } catch (short) {
  }
  ForeignScript& script = Script();
  if (script.point == point && ++script.calls == script.nth_call) {
    Raise(script);
  }
  return kRubbish | result;
}

struct Front {
  virtual ~Front() = default;
  virtual int Other() { return 1; }
  long long member = 0x1122334455667788;
};

template <class Object>
struct Full : Front, Object {};

struct Address {
  virtual Wrong64 IsActive() { return Enter(kIsActive, 1); }
  virtual const Wide* GetAddressString() {
    Enter(kGetAddressString);
    return L"192.0.2.10";
  }
};
constinit Full<Address> g_address;

/// What stands in front of a reader's one operation.
struct Reader {
  virtual ~Reader() = default;
  virtual void Second() {}
  virtual void Third() {}
  virtual void Fourth() {}
  virtual void Fifth() {}
};

struct Text {
  unsigned size_bytes;
  Wide units[32];
};
Text g_one = {2, L"1"};
Text g_device_id = {44, L"MFG:Vexmo;CID:Vexmo_1;"};
Text g_no_error = {4, L"00"};

struct Item {
  const Wide* name;
  unsigned short type;
  long long number;
  const Text* text;
};
constexpr long long kAbove = static_cast<long long>(kRubbish);
const Item kItems[] = {
    {L"A", 8, 0, &g_one},
    {L"DeviceID", 8, 0, &g_device_id},
    {L"I1", 16, kAbove | 0x7777FF, nullptr},
    {L"I2", 2, kAbove | 0x7777FFFE, nullptr},
    {L"I4", 3, kAbove | 0xFFFFFFFD, nullptr},
    {L"UI1", 17, kAbove | 0x7777FF, nullptr},
    {L"UI2", 18, kAbove | 0x7777FFFF, nullptr},
    {L"UI4", 19, kAbove | 0xFFFFFFFF, nullptr},
    {L"1.3.6.1.2.1.25.3.5.1.1.1", 3, kAbove | 3, nullptr},
    {L"1.3.6.1.2.1.25.3.2.1.5.1", 3, kAbove | 2, nullptr},
    {L"1.3.6.1.2.1.25.3.5.1.2.1", 8, 0, &g_no_error},
};

Wrong64 Read(ForeignPoint point, const Wide* name, Variant* value) {
  const Wrong64 success = Enter(point);
  Expect(value->type == 0);
  for (const Item& item : kItems) {
    if (Same(item.name, name)) {
      value->type = item.type;
      value->number = item.text != nullptr ? reinterpret_cast<long long>(item.text->units) : item.number;
      return success;
    }
  }
  return kRubbish | kFail;
}

struct Collection : Reader {
  virtual Wrong64 GetValue(const Wide* name, Variant* value, long flag) {
    Expect(flag == 1);
    return Read(kGetItem, name, value);
  }
};
constinit Full<Collection> g_collection;

struct Oids : Reader {
  virtual Wrong64 GetValue(const Wide* oid, Variant* value) { return Read(kGetOid, oid, value); }
};
constinit Full<Oids> g_oids;

struct Vault : Reader {
  virtual void Sixth() {}
  virtual Wrong64 SaveTarget(const unsigned char* bytes, unsigned long size_bytes) {
    Expect(size_bytes == 3 && bytes[0] == 'p' && bytes[2] == 'w');
    return Enter(kSaveTarget);
  }
  virtual Wrong64 GetCertFromVault(const unsigned char** bytes, unsigned long* size_bytes) {
    Enter(kGetCertFromVault);
    *bytes = Script().certificate;
    *size_bytes = Script().certificate_bytes;
    return kRubbish;
  }
  virtual Wrong64 DeleteTarget() { return Enter(kDeleteTarget); }
  virtual Wrong64 IsTargetPresent() { return Enter(kIsTargetPresent, 1); }
  virtual Wrong64 SetTargetName(const Wide* target) {
    Expect(Same(target, L"target") || Same(target, L"Vexmo.VIB.NQDRV4.user.0123-ABCD"));
    return Enter(kSetTargetName);
  }
  virtual Wrong64 SetUserName(const Wide* user) {
    Expect(Same(user, L"user"));
    return Enter(kSetUserName);
  }
};
constinit Full<Vault> g_vault;

struct KeyTypes {
  const Wide* const* names;
  unsigned long count;
};

struct Certificates {
  using Size = unsigned long;
  virtual ~Certificates() = default;
  virtual Wrong64 GetDeviceUUID(Wide* uuid, Size capacity, Size* length) {
    Enter(kGetDeviceUuid);
    Expect(capacity == 256);
    memcpy(uuid, L"0123-ABCD", 20);
    *length = 9;
    return kRubbish | (Script().without_uuid ? kFail : 0);
  }
  virtual Wrong64 GetCertificateAllSecurityWarnings(Size* codes, Size capacity, Size* count) {
    Enter(kGetWarnings);
    Expect(capacity == 10);
    codes[0] = 12044;
    *count = 1;
    return kRubbish;
  }
  virtual Wrong64 GetDeviceCertificate(const KeyTypes* types,
                                       unsigned char* bytes,
                                       Size* size_bytes,
                                       const unsigned short* eight,
                                       Size ten,
                                       Size* unread) {
    Enter(kGetCertificate);
    Expect(types->count == 1 && Same(types->names[0], L"RSA") && types->names[1] == nullptr && *eight == 8 &&
           ten == 10 && *unread == 0);
    *size_bytes = Script().certificate_bytes;
    if (bytes != nullptr) {
      memcpy(bytes, Script().certificate, *size_bytes);
    }
    return kRubbish;
  }
  virtual void Fifth() {}
  virtual void Sixth() {}
  virtual Wrong64 CheckCertificateDate(const unsigned char* bytes, Size size_bytes, long* valid) {
    Enter(kCheckDate);
    Expect(bytes[0] == Script().certificate[0] && size_bytes == Script().certificate_bytes);
    *valid = 1;
    return kRubbish;
  }
  virtual void Eighth() {}
  virtual Wrong64 GetLastErrorCode() { return Enter(kGetLastErrorCode, 5); }
};
constinit Full<Certificates> g_certificates;

Wide g_strings[] = L"\"vexmo-print-quality-supported.com.vexmo.pq-mode.21\" = \"1\";";
constexpr Wrong64 kStringsLength = 0x123456789ABCDEF0;

Address* MakeAddress(ForeignPoint point, const Wide* name, const Wide* expected) {
  Enter(point);
  Expect(Same(name, expected));
  return &g_address;
}

}  // namespace

extern "C" {

Address* CreateAddressFromQueueName(const Wide* name) {
  return MakeAddress(kAddressFromQueueName, name, L"nobody's queue");
}
Address* CreateAddressFromPortName(const Wide* name) {
  return MakeAddress(kAddressFromPortName, name, L"192.0.2.10");
}
Address* CreateAddressFromIPAddress(const Wide* name) {
  return MakeAddress(kAddressFromIpAddress, name, L"192.0.2.10");
}
Address* CreateAddressFromHostName(const Wide* name) {
  return MakeAddress(kAddressFromHostName, name, L"printer");
}

// The other libraries have another copy of these objects than the one that made an address.
Wrong64 CreateDataCollectionFromFile(Address* address, const Wide* path, Collection** made, long reserved) {
  Enter(kCreateDataCollection);
  Expect(address != nullptr && path[1] == L':' && reserved == 0);
  *made = &g_collection;
  return kRubbish;
}
Oids* CreateOIDProvider(Address* address) {
  Enter(kCreateOidProvider);
  Expect(address != nullptr);
  return &g_oids;
}
Wrong64 GetDeviceLocaleStrings(Address* address, const Wide* language, Wide** strings, Wrong64* length) {
  *strings = g_strings;
  *length = kStringsLength;
  Expect(address != nullptr && language[0] >= L'a' && language[1] >= L'a' && language[2] == 0);
  return Enter(kGetLocaleStrings);
}
void DisposeStringBuffer(Wide* strings, Wrong64 length) {
  Expect(strings == g_strings && length == kStringsLength);
  Enter(kDisposeStringBuffer);
}
Vault* CreateVaultStoreProvider() {
  Enter(kCreateVault);
  ++Script().providers;
  return &g_vault;
}
void DisposeVaultStoreProvider(Vault* vault) {
  Expect(vault == &g_vault);
  --Script().providers;
  Enter(kDisposeVault);
}
Certificates* CreateCertificateProvider(Address* address, unsigned long mode) {
  Enter(kCreateCertificateProvider);
  Expect(mode == 0 || address == nullptr);
  ++Script().providers;
  return &g_certificates;
}
void DisposeCertificateProviderPtr(Certificates* provider) {
  Expect(provider == &g_certificates);
  --Script().providers;
  Enter(kDisposeCertificateProvider);
}

}  // extern "C"
