#include "ixo/network/device.h"

#include <array>

#include "ixo/network/ipp_client.h"
#include "ixo/network/ipp_value.h"
#include "ixo/network/printer_strings.h"
#include "ixo/network/strings_file.h"
#include "ixo/support/results.h"
#include "pal/text.h"

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
  return length > 1 ? pal::ToUtf8(language.data()) : "en";
}

}  // namespace

void Device::Describe(DataMap map) {
  const device::Locked locked(lock_);
  map_ = std::move(map);
  asked_ = false;
  speaks_ipp_ = !AttributesOf(map_).empty();
  answers_.emplace_back();
  oids_.Describe(OidsOf(map_));
}

HRESULT Device::ReadItem(WStringView name, VARIANT* value) {
  const device::Locked locked(lock_);
  const device::Value* const found = FindItem(name);
  if (!found) {
    return device::kElementNotFound;
  }
  found->CopyTo(value);
  return S_OK;
}

const device::Value* Device::FindItem(WStringView name) {
  const auto item = map_.find(name);
  if (item == map_.end()) {
    return name == W("DeviceID") ? FindAttribute(kDeviceIdAttribute) : nullptr;
  }
  const ItemSource& source = item->second;
  const device::Value* const found = source.ipp.empty() ? nullptr : FindAttribute(source.ipp);
  if (found || source.oid.empty()) {
    return found;
  }
  if (speaks_ipp_) {
    // First, since a printer whose SNMP is blocked would else seem not to be there at all.
    AskForAttributes();
  }
  return oids_.FindItem(source.oid);
}

const device::Value* Device::FindAttribute(const std::string& name) {
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
  language_ = UserLanguage();
  std::vector<std::string> names = AttributesOf(map_);
  names.insert(names.end(), {kDeviceIdAttribute, kStringsUriAttribute});
  IppAnswer answer;
  code_ = GetPrinterAttributes(address_, settings_, names, language_, answer);
  if (code_ != ERROR_SUCCESS) {
    return;
  }
  strings_uri_ = FirstTextOf(answer, kStringsUriAttribute);
  for (const std::string& name : names) {
    if (std::optional<device::Value> value = ValueOf(answer, name)) {
      answers_.back().emplace(name, std::move(*value));
    }
  }
}

DWORD Device::ReadStrings(WStringView language, WString& text) {
  const device::Locked locked(lock_);
  std::string uri;
  if (const DWORD code = FindStringsUri(pal::ToUtf8(language), uri)) {
    return code;
  }
  if (uri.empty()) {
    return ERROR_NOT_FOUND;
  }
  std::string content;
  if (const DWORD code = FetchStrings(address_, settings_, uri, content)) {
    return code;
  }
  text = pal::ToUtf16(WriteStrings(network::ReadStrings(content)));
  return ERROR_SUCCESS;
}

DWORD Device::FindStringsUri(const std::string& language, std::string& uri) {
  AskForAttributes();
  uri = strings_uri_;
  if (code_ != ERROR_SUCCESS || language == language_) {
    return code_;
  }
  const std::array<std::string, 1> names = {kStringsUriAttribute};
  IppAnswer answer;
  const DWORD code = GetPrinterAttributes(address_, settings_, names, language, answer);
  uri = FirstTextOf(answer, kStringsUriAttribute);
  return code;
}

}  // namespace custom_bidi::network
