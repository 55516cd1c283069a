// A family of device libraries as their makers' compiler builds it: clang with Microsoft's ABI, without any
// of the headers of the project or of Windows, so that the layout is this file's own. Its objects have a
// virtual destructor in a position that is reserved, and a second base in front; results of 32 bits come with
// rubbish above.

#include "tests/foreign/foreign_script.h"

using Wide = wchar_t;
using Byte = unsigned char;
using Half = unsigned short;
using Wrong64 = unsigned long long;  // a result of 32 bits, with what happens to stand above it

extern "C" {
__declspec(dllimport) ForeignScript* TheForeignScript();
// What the compiler asks for and no library here has.
extern const void* const kTypeInfoTable[1] __asm__("??_7type_info@@6B@") = {nullptr};
[[noreturn]] void __std_terminate() {
  __builtin_trap();
}
void* memcpy(void* target, const void* source, Wrong64 size) {
  for (Wrong64 i = 0; i < size; ++i) {
    static_cast<volatile Byte*>(target)[i] = static_cast<const Byte*>(source)[i];
  }
  return target;
}
}
void operator delete(void*) noexcept {}  // the deleting destructors want them; nothing is ever allocated
void operator delete(void*, Wrong64) noexcept {}

namespace {

struct Variant {
  Half type, reserved1, reserved2, reserved3;
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
  return *TheForeignScript();
}

template <class Char>
bool Same(const Char* left, const Char* right) {
  for (; *left == *right; ++left, ++right) {
    if (*left == 0) {
      return true;
    }
  }
  return false;
}

/// A frame of the family, or what it throws.
struct Counted {
  Counted() { ++Script().alive; }
  Counted(const Counted&) { ++Script().alive; }
  ~Counted() { --Script().alive; }
  char body[64];
};

[[noreturn]] void Raise(const ForeignScript& script) {
  const Counted frame;
  switch (script.kind) {
    case ForeignKind::kDword:
      throw static_cast<unsigned long>(script.code);
    case ForeignKind::kObject:
      throw Counted();
    case ForeignKind::kRethrownDword:
      try {
        throw static_cast<unsigned long>(script.code);
      } catch (...) {
        const Counted handler;
        throw;
      }
    case ForeignKind::kAccessViolation:
      *reinterpret_cast<volatile int*>(8) = 1;
  }
  __builtin_unreachable();
}

bool IsPoint(const char* name) {
  return Script().point != nullptr && Same(Script().point, name);
}

/// Each call throws and catches something of its own first, as libraries do. Returns what the call does.
Wrong64 Enter(const char* name, bool arguments_are_right = true, unsigned result = 0) {
  const Counted frame;
  Script().wrong += !arguments_are_right;
  try {
    throw static_cast<short>(1);
  } catch (short) {
  }
  if (IsPoint(name) && ++Script().calls == Script().nth_call) {
    Raise(Script());
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
  virtual Wrong64 IsActive() { return Enter("IsActive", true, 1); }
  virtual const Wide* GetAddressString() {
    Enter("GetAddressString");
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
  Half type;
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

Wrong64 Read(const char* point, const Wide* name, Variant* value, bool is_right = true) {
  const Wrong64 success = Enter(point, value->type == 0 && is_right);
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
    return Read("GetItem", name, value, flag == 1);
  }
};
constinit Full<Collection> g_collection;

struct Oids : Reader {
  virtual Wrong64 GetValue(const Wide* oid, Variant* value) { return Read("GetOid", oid, value); }
};
constinit Full<Oids> g_oids;

struct Vault : Reader {
  virtual void Sixth() {}
  virtual Wrong64 SaveTarget(const Byte* bytes, unsigned long size_bytes) {
    return Enter("SaveTarget", size_bytes == 3 && bytes[0] == 'p' && bytes[2] == 'w');
  }
  virtual Wrong64 GetCertFromVault(const Byte** bytes, unsigned long* size_bytes) {
    Enter("GetCertFromVault");
    *bytes = Script().certificate;
    *size_bytes = Script().certificate_bytes;
    return kRubbish;
  }
  virtual Wrong64 DeleteTarget() { return Enter("DeleteTarget"); }
  virtual Wrong64 IsTargetPresent() { return Enter("IsTargetPresent", true, 1); }
  virtual Wrong64 SetTargetName(const Wide* target) {
    return Enter("SetTargetName",
                 Same(target, L"target") || Same(target, L"Vexmo.VIB.NQDRV4.user.0123-ABCD"));
  }
  virtual Wrong64 SetUserName(const Wide* user) { return Enter("SetUserName", Same(user, L"user")); }
};
constinit Full<Vault> g_vault;

struct Keys {
  const Wide* const* names;
  unsigned long count;
};

struct Certificates {
  using Size = unsigned long;
  virtual ~Certificates() = default;
  virtual Wrong64 GetDeviceUUID(Wide* uuid, Size capacity, Size* length) {
    Enter("GetDeviceUUID", capacity == 256);
    memcpy(uuid, L"0123-ABCD", 20);
    *length = 9;
    return kRubbish | (IsPoint("GetLastErrorCode") ? kFail : 0);
  }
  virtual Wrong64 GetCertificateAllSecurityWarnings(Size* codes, Size capacity, Size* count) {
    Enter("GetCertificateAllSecurityWarnings", capacity == 10);
    codes[0] = 12044;
    *count = 1;
    return kRubbish;
  }
  virtual Wrong64 GetDeviceCertificate(Keys* keys, Byte* der, Size* size, Half* eight, Size ten, Size* rest) {
    Enter("GetDeviceCertificate", keys->count == 1 && Same(keys->names[0], L"RSA") &&
                                      keys->names[1] == nullptr && *eight == 8 && ten == 10 && *rest == 0);
    *size = Script().certificate_bytes;
    if (der != nullptr) {
      memcpy(der, Script().certificate, *size);
    }
    return kRubbish;
  }
  virtual void Fifth() {}
  virtual void Sixth() {}
  virtual Wrong64 CheckCertificateDate(const Byte* bytes, Size size_bytes, long* valid) {
    Enter("CheckCertificateDate",
          bytes[0] == Script().certificate[0] && size_bytes == Script().certificate_bytes);
    *valid = 1;
    return kRubbish;
  }
  virtual void Eighth() {}
  virtual Wrong64 GetLastErrorCode() { return Enter("GetLastErrorCode", true, 5); }
};
constinit Full<Certificates> g_certificates;

Wide g_strings[] = L"\"vexmo-print-quality-supported.com.vexmo.pq-mode.21\" = \"1\";";
constexpr Wrong64 kStringsLength = 0x123456789ABCDEF0;

Address* MakeAddress(const char* point, const Wide* name, const Wide* expected) {
  Enter(point, Same(name, expected));
  return &g_address;
}

}  // namespace

extern "C" {

Address* CreateAddressFromQueueName(const Wide* name) {
  return MakeAddress("CreateAddressFromQueueName", name, L"nobody's queue");
}
Address* CreateAddressFromPortName(const Wide* name) {
  return MakeAddress("CreateAddressFromPortName", name, L"192.0.2.10");
}
Address* CreateAddressFromIPAddress(const Wide* name) {
  return MakeAddress("CreateAddressFromIPAddress", name, L"192.0.2.10");
}
Address* CreateAddressFromHostName(const Wide* name) {
  return MakeAddress("CreateAddressFromHostName", name, L"printer");
}

// The other libraries have another copy of these objects than the one that made an address.
Wrong64 CreateDataCollectionFromFile(Address* address, const Wide* path, Collection** made, long reserved) {
  Enter("CreateDataCollectionFromFile", address != nullptr && path[1] == L':' && reserved == 0);
  *made = &g_collection;
  return kRubbish;
}
Oids* CreateOIDProvider(Address* address) {
  Enter("CreateOIDProvider", address != nullptr);
  return &g_oids;
}
Wrong64 GetDeviceLocaleStrings(Address* address, const Wide* language, Wide** strings, Wrong64* length) {
  *strings = g_strings;
  *length = kStringsLength;
  return Enter("GetDeviceLocaleStrings",
               address != nullptr && language[0] >= L'a' && language[1] >= L'a' && language[2] == 0);
}
void DisposeStringBuffer(Wide* strings, Wrong64 length) {
  Enter("DisposeStringBuffer", strings == g_strings && length == kStringsLength);
}
Vault* CreateVaultStoreProvider() {
  Enter("CreateVaultStoreProvider");
  ++Script().alive;
  return &g_vault;
}
void DisposeVaultStoreProvider(Vault* vault) {
  --Script().alive;
  Enter("DisposeVaultStoreProvider", vault == &g_vault);
}
Certificates* CreateCertificateProvider(Address* address, unsigned long mode) {
  Enter("CreateCertificateProvider", mode == 0 || address == nullptr);
  ++Script().alive;
  return &g_certificates;
}
void DisposeCertificateProviderPtr(Certificates* provider) {
  --Script().alive;
  Enter("DisposeCertificateProviderPtr", provider == &g_certificates);
}

}  // extern "C"
