#include "ixo/network/snmp/device_oids.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

#include "base/utf.h"
#include "ixo/support/results.h"

namespace custom_bidi::network {
namespace {

/// RFC 2790, each of the first device, which is also the first printer.
struct StateObject {
  std::string_view oid;
  SnmpValue::Kind kind;
};
constexpr StateObject kPrinterStatus = {"1.3.6.1.2.1.25.3.5.1.1.1", SnmpValue::Kind::kInteger};
constexpr StateObject kDeviceStatus = {"1.3.6.1.2.1.25.3.2.1.5.1", SnmpValue::Kind::kInteger};
constexpr StateObject kDetectedErrorState = {"1.3.6.1.2.1.25.3.5.1.2.1", SnmpValue::Kind::kOctets};
constexpr std::array<StateObject, 3> kState = {kPrinterStatus, kDeviceStatus, kDetectedErrorState};

/// Two digits per byte.
std::string ToHexDigits(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string digits;
  for (const char c : bytes) {
    const auto byte = static_cast<BYTE>(c);
    digits += kDigits[byte >> 4];
    digits += kDigits[byte & 0xF];
  }
  return digits;
}

bool IsPrintable(WCHAR c) {
  const bool is_control = c < 0x20 || (c >= 0x7F && c < 0xA0);
  return !is_control || c == '\t' || c == '\n' || c == '\r';
}

std::string_view WithoutPadding(std::string_view bytes) {
  const size_t last = bytes.find_last_not_of(std::string_view("\0 ", 2));
  return bytes.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

/// Nothing for bytes that are no text.
std::optional<WString> ToText(std::string_view bytes) {
  const bool is_nothing_but_zeros = !bytes.empty() && bytes.find_first_not_of('\0') == std::string_view::npos;
  const std::string_view unpadded = WithoutPadding(bytes);
  WString text = base::ToUtf16(unpadded);
  // Whatever is not UTF-8 comes back as something else.
  if (is_nothing_but_zeros || base::ToUtf8(text) != unpadded || !std::ranges::all_of(text, IsPrintable)) {
    return std::nullopt;
  }
  return text;
}

support::Value NumberOrText(const SnmpValue& value, WStringView text) {
  switch (value.kind) {
    case SnmpValue::Kind::kInteger:
      return support::Value::Integer(VT_I4, value.integer);
    case SnmpValue::Kind::kUnsigned:
      return support::Value::Integer(VT_UI4, value.number);
    default:
      return support::Value::Text(text);
  }
}

/// Whether the exchange, or the lack of it, says anything of the device.
bool IsOfDevice(DWORD code) {
  return code != ERROR_INVALID_PARAMETER && code != kNotSupported;
}

}  // namespace

support::Value AsObject(const SnmpValue& value) {
  const bool is_text = value.kind == SnmpValue::Kind::kText;
  return NumberOrText(value, base::ToUtf16(is_text ? value.bytes : ToHexDigits(value.bytes)));
}

support::Value AsItem(const SnmpValue& value) {
  const std::optional<WString> text = ToText(value.bytes);
  return NumberOrText(value, text ? *text : base::ToUtf16(ToHexDigits(value.bytes)));
}

HRESULT DeviceOids::Read(WStringView oid, VARIANT* value) {
  const std::string text = base::ToUtf8(oid);
  const auto found = std::ranges::find(kState, text, &StateObject::oid);
  const support::Locked locked(lock_);
  return found != kState.end() ? ReadState(static_cast<size_t>(found - kState.begin()), value)
                               : ReadOther(text, value);
}

HRESULT DeviceOids::ReadState(size_t index, VARIANT* value) {
  if (!state_) {
    AskForState();
  }
  if (state_->result != S_OK) {
    return state_->result;
  }
  const support::Value* const found = state_->values[index];
  if (found == nullptr) {
    return support::kElementNotFound;
  }
  found->CopyTo(value);
  return S_OK;
}

void DeviceOids::AskForState() {
  State state;
  std::vector<std::string> oids;
  std::ranges::transform(kState, std::back_inserter(oids),
                         [](const StateObject& of) { return std::string(of.oid); });
  Values values;
  if (Ask(oids, values) == ERROR_SUCCESS) {
    for (size_t i = 0; i < kState.size(); ++i) {
      // Receivers take a number for granted where there ought to be one, so a text must not pass for it.
      const bool is_usable = values[i] && values[i]->kind == kState[i].kind;
      state.values.push_back(is_usable ? &values_.emplace_back(AsObject(*values[i])) : nullptr);
      state.result = is_usable ? S_OK : state.result;
    }
  }
  state_ = std::move(state);
}

HRESULT DeviceOids::ReadOther(const std::string& oid, VARIANT* value) {
  Values values;
  if (Ask({&oid, 1}, values) != ERROR_SUCCESS) {
    return E_FAIL;
  }
  if (!values[0]) {
    return support::kElementNotFound;
  }
  values_.emplace_back(AsObject(*values[0])).CopyTo(value);
  return S_OK;
}

void DeviceOids::Describe(std::vector<std::string> oids) {
  const support::Locked locked(lock_);
  described_ = std::move(oids);
  items_.reset();
}

const support::Value* DeviceOids::FindItem(const std::string& oid) {
  const support::Locked locked(lock_);
  if (!items_) {
    AskForItems();
  }
  const auto found = items_->find(oid);
  return found == items_->end() ? nullptr : found->second;
}

void DeviceOids::AskForItems() {
  std::map<std::string, const support::Value*> items;
  Values values;
  const bool is_told = !described_.empty() && Ask(described_, values) == ERROR_SUCCESS;
  for (size_t i = 0; is_told && i < described_.size(); ++i) {
    if (values[i]) {
      items.emplace(described_[i], &values_.emplace_back(AsItem(*values[i])));
    }
  }
  items_ = std::move(items);
}

DWORD DeviceOids::Ask(std::span<const std::string> oids, Values& values) {
  Standing& standing = address_.TheStanding();
  if (!standing.MayTry(Protocol::kSnmp)) {
    return kTimeout;
  }
  const DWORD code =
      GetObjects(address_.Where().host, settings_.snmp, oids, Deadline(settings_.deadline), values);
  if (IsOfDevice(code)) {
    standing.Note(Protocol::kSnmp, code);
  }
  return code;
}

}  // namespace custom_bidi::network
