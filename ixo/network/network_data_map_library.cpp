// The data-map library: items, SNMP objects and strings of devices on a network.

#include <array>
#include <list>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "base/utf.h"
#include "ixo/network/ipp/ipp_client.h"
#include "ixo/network/ipp/ipp_message.h"
#include "ixo/network/ipp/strings_file.h"
#include "ixo/network/network_data_map.h"
#include "ixo/network/snmp/device_oids.h"
#include "ixo/support/contract_bases.h"
#include "ixo/support/objects.h"
#include "ixo/support/results.h"

namespace custom_bidi::network {
namespace {

constexpr char kDeviceIdAttribute[] = "printer-device-id";      // PWG 5107.2
constexpr char kStringsUriAttribute[] = "printer-strings-uri";  // PWG 5100.13

/// The language in which the caller is going to ask for strings, so that one request can bring their URI,
/// too.
std::string UserLanguage() {
  std::array<WCHAR, 16> language{};
  const int length =
      GetLocaleInfoW(0, LOCALE_SISO639LANGNAME, language.data(), static_cast<int>(language.size()));
  return length > 1 ? base::ToUtf8(language.data()) : "en";
}

/// One device during one call of the library: what it was asked and what it said, each at most once. Any
/// thread may call; the others wait meanwhile.
class Device {
 public:
  Device(DeviceAddress& address, const Settings& settings)
      : address_(address), settings_(settings), oids_(address, settings) {}

  /// The items that are going to be read. What was said before is forgotten.
  void Describe(DataMap map);

  /// An item of the map, or "DeviceID"; kElementNotFound when the device has none, and the code of what went
  /// wrong when it could not say so.
  HRESULT ReadItem(WStringView name, VARIANT* value);

  /// For the OID provider.
  DeviceOids& Oids() { return oids_; }

  /// The printer's own strings in the language (two letters of ISO 639), as lines `"key" = "value";`. Returns
  /// 0, ERROR_NOT_FOUND for a printer that has none, or the code of what went wrong.
  DWORD ReadStrings(WStringView language, WString& text);

 private:
  const support::Value* FindItem(WStringView name);
  const support::Value* FindAttribute(const std::string& name);
  void AskForAttributes();
  DWORD FindStringsUri(const std::string& language, std::string& uri);

  DeviceAddress& address_;
  const Settings& settings_;
  DeviceOids oids_;

  SRWLOCK lock_ = SRWLOCK_INIT;
  DataMap map_;
  bool speaks_ipp_ = false;  // according to the map
  bool asked_ = false;
  DWORD code_ = ERROR_SUCCESS;  // of the asking
  std::string language_;        // that was asked in
  std::string strings_uri_;
  /// What was handed out stays, so each description has an answer of its own; the last is the present one.
  std::list<std::map<std::string, support::Value, std::less<>>> answers_{1};
};

void Device::Describe(DataMap map) {
  const support::Locked locked(lock_);
  map_ = std::move(map);
  asked_ = false;
  code_ = ERROR_SUCCESS;
  speaks_ipp_ = !AttributesOf(map_).empty();
  answers_.emplace_back();
  oids_.Describe(OidsOf(map_));
}

HRESULT Device::ReadItem(WStringView name, VARIANT* value) {
  const support::Locked locked(lock_);
  const support::Value* const found = FindItem(name);
  if (found == nullptr) {
    return code_ == ERROR_SUCCESS ? support::kElementNotFound : support::ResultFromWin32(code_);
  }
  found->CopyTo(value);
  return S_OK;
}

const support::Value* Device::FindItem(WStringView name) {
  const auto item = map_.find(name);
  if (item == map_.end()) {
    return name == W("DeviceID") ? FindAttribute(kDeviceIdAttribute) : nullptr;
  }
  const ItemSource& source = item->second;
  const support::Value* const found = source.ipp.empty() ? nullptr : FindAttribute(source.ipp);
  if (found != nullptr || source.oid.empty()) {
    return found;
  }
  if (speaks_ipp_) {
    // First, since a printer whose SNMP is blocked would else seem not to be there at all.
    AskForAttributes();
  }
  return oids_.FindItem(source.oid);
}

const support::Value* Device::FindAttribute(const std::string& name) {
  AskForAttributes();
  const auto found = answers_.back().find(name);
  return found == answers_.back().end() ? nullptr : &found->second;
}

/// For everything at once, and once: a failure is the answer to all that follows.
void Device::AskForAttributes() {
  if (asked_) {
    return;
  }
  asked_ = true;
  code_ = ERROR_NOT_ENOUGH_MEMORY;  // unless all that follows is done
  language_ = UserLanguage();
  std::vector<std::string> names = AttributesOf(map_);
  names.insert(names.end(), {kDeviceIdAttribute, kStringsUriAttribute});
  IppAnswer answer;
  if (const DWORD code = GetPrinterAttributes(address_, settings_, names, language_, answer)) {
    code_ = code;
    return;
  }
  strings_uri_ = FirstTextOf(answer, kStringsUriAttribute);
  for (const std::string& name : names) {
    if (std::optional<support::Value> value = ValueOf(answer, name)) {
      answers_.back().emplace(name, std::move(*value));
    }
  }
  code_ = ERROR_SUCCESS;
}

DWORD Device::ReadStrings(WStringView language, WString& text) {
  const support::Locked locked(lock_);
  std::string uri;
  if (const DWORD code = FindStringsUri(base::ToUtf8(language), uri)) {
    return code;
  }
  if (uri.empty()) {
    return ERROR_NOT_FOUND;
  }
  std::string content;
  if (const DWORD code = FetchStrings(address_, settings_, uri, content)) {
    return code;
  }
  text = base::ToUtf16(WriteStrings(network::ReadStrings(content)));
  return ERROR_SUCCESS;
}

DWORD Device::FindStringsUri(const std::string& language, std::string& uri) {
  AskForAttributes();
  uri = strings_uri_;
  // A printer that stopped amid all that it was asked for may well say this one thing.
  if (code_ != kStopped && (code_ != ERROR_SUCCESS || language == language_)) {
    return code_;
  }
  const std::array<std::string, 1> names = {kStringsUriAttribute};
  IppAnswer answer;
  const DWORD code = GetPrinterAttributes(address_, settings_, names, language, answer);
  uri = FirstTextOf(answer, kStringsUriAttribute);
  return code;
}

/// The devices of this load, one for each address. They stay, since items and strings that were handed out
/// are theirs.
class Devices {
 public:
  /// Null when there are no settings to work with.
  Device* At(DeviceAddress& address) {
    const Settings* const settings = TheSettings();
    if (settings == nullptr) {
      return nullptr;
    }
    const support::Locked locked(lock_);
    return &devices_.try_emplace(address.Id(), address, *settings).first->second;
  }

 private:
  SRWLOCK lock_ = SRWLOCK_INIT;
  std::map<uint64_t, Device> devices_;
};

class NetworkDataCollection final : public support::DataCollection {
 public:
  explicit NetworkDataCollection(Device& device) : device_(device) {}

 private:
  HRESULT DoGetValue(const WCHAR* name, VARIANT* value, LONG /*flag*/) override {
    return name != nullptr && value != nullptr ? device_.ReadItem(name, value) : E_INVALIDARG;
  }

  Device& device_;
};

Devices g_devices;
support::Keep<NetworkDataCollection> g_collections;
support::Keep<NetworkOidProvider> g_oid_providers;
support::StringBuffers g_string_buffers;

/// Null for an address that is none of this family's, too.
Device* DeviceAt(deviceio::PrinterAddress* address) {
  DeviceAddress* const of_family = AsDeviceAddress(address);
  return of_family != nullptr ? g_devices.At(*of_family) : nullptr;
}

}  // namespace

extern "C" {

HRESULT CreateDataCollectionFromFile(deviceio::PrinterAddress* address,
                                     const WCHAR* xml_path,
                                     deviceio::DataCollection** collection,
                                     LONG /*reserved*/) {
  if (address == nullptr || xml_path == nullptr || collection == nullptr) {
    return E_INVALIDARG;
  }
  *collection = nullptr;
  return support::OrNoMemory(support::kNoMemory, [=] {
    Device* const device = DeviceAt(address);
    if (device == nullptr) {
      return E_FAIL;
    }
    DataMap map;
    if (const DWORD code = ReadDataMap(xml_path, map)) {
      return support::ResultFromWin32(code);
    }
    device->Describe(std::move(map));
    *collection = g_collections.Make(*device);
    return S_OK;
  });
}

deviceio::OidProvider* CreateOIDProvider(deviceio::PrinterAddress* address) {
  return support::RaisingNoMemory([=] {
    Device* const device = DeviceAt(address);
    return device != nullptr ? g_oid_providers.Make(device->Oids()) : nullptr;
  });
}

LONG GetDeviceLocaleStrings(deviceio::PrinterAddress* address,
                            const WCHAR* language,
                            WCHAR** buffer,
                            ULONGLONG* length) {
  if (buffer == nullptr || length == nullptr) {
    return E_INVALIDARG;
  }
  *buffer = nullptr;
  *length = 0;
  if (address == nullptr || language == nullptr) {
    return E_INVALIDARG;
  }
  return support::OrNoMemory(support::kNoMemory, [=]() -> LONG {
    Device* const device = DeviceAt(address);
    if (device == nullptr) {
      return E_FAIL;
    }
    WString text;
    if (const DWORD code = device->ReadStrings(language, text)) {
      return support::ResultFromWin32(code);
    }
    *buffer = g_string_buffers.Make(text);
    *length = text.size();
    return ERROR_SUCCESS;
  });
}

void DisposeStringBuffer(WCHAR* buffer, ULONGLONG /*length*/) {
  g_string_buffers.Dispose(buffer);
}

}  // extern "C"

static_assert(
    std::is_same_v<decltype(CreateDataCollectionFromFile), deviceio::CreateDataCollectionFromFileFunction>);
static_assert(std::is_same_v<decltype(CreateOIDProvider), deviceio::CreateOidProviderFunction>);
static_assert(std::is_same_v<decltype(GetDeviceLocaleStrings), deviceio::GetDeviceLocaleStringsFunction>);
static_assert(std::is_same_v<decltype(DisposeStringBuffer), deviceio::DisposeStringBufferFunction>);

}  // namespace custom_bidi::network
