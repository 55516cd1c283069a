#include "ixo/vault/entries.h"

#include <algorithm>
#include <utility>

namespace custom_bidi::vault {
namespace {

constexpr size_t kHeadBytes = 12;

void WriteNumber(size_t number, SecureBytes& text) {
  for (int shift = 0; shift < 32; shift += 8) {
    text.push_back(static_cast<BYTE>(number >> shift));
  }
}

void WriteUnits(WStringView units, SecureBytes& text) {
  for (const WCHAR unit : units) {
    text.push_back(static_cast<BYTE>(unit));
    text.push_back(static_cast<BYTE>(unit >> 8));
  }
}

/// Takes parts off the front of a text that is known to be long enough.
class Reader {
 public:
  explicit Reader(std::span<const BYTE> text) : text_(text) {}

  size_t SizeLeft() const { return text_.size(); }

  std::span<const BYTE> Bytes(size_t count) {
    const auto front = text_.first(count);
    text_ = text_.subspan(count);
    return front;
  }

  size_t Number() {
    size_t number = 0;
    for (int shift = 0; const BYTE byte : Bytes(4)) {
      number |= size_t{byte} << shift;
      shift += 8;
    }
    return number;
  }

  WString Units(size_t count) {
    const auto bytes = Bytes(2 * count);
    WString units;
    for (size_t i = 0; i < bytes.size(); i += 2) {
      units += static_cast<WCHAR>(bytes[i] | bytes[i + 1] << 8);
    }
    return units;
  }

 private:
  std::span<const BYTE> text_;
};

auto HasNames(WStringView target, WStringView user) {
  return [=](const Entry& entry) { return entry.target == target && entry.user == user; };
}

}  // namespace

bool Entries::Read(std::span<const BYTE> text) {
  Reader reader(text);
  while (reader.SizeLeft() > 0) {
    if (reader.SizeLeft() < kHeadBytes) {
      return false;
    }
    const size_t target_chars = reader.Number();
    const size_t user_chars = reader.Number();
    const size_t bytes = reader.Number();
    if (2 * target_chars + 2 * user_chars + bytes > reader.SizeLeft()) {
      return false;
    }
    Entry entry{.target = reader.Units(target_chars), .user = reader.Units(user_chars), .bytes = {}};
    const auto secret = reader.Bytes(bytes);
    entry.bytes.assign(secret.begin(), secret.end());
    entries_.push_back(std::move(entry));
  }
  return true;
}

SecureBytes Entries::Write() const {
  SecureBytes text;
  for (const Entry& entry : entries_) {
    WriteNumber(entry.target.size(), text);
    WriteNumber(entry.user.size(), text);
    WriteNumber(entry.bytes.size(), text);
    WriteUnits(entry.target, text);
    WriteUnits(entry.user, text);
    text.insert(text.end(), entry.bytes.begin(), entry.bytes.end());
  }
  return text;
}

const Entry* Entries::Find(WStringView target, WStringView user) const {
  const auto found = std::ranges::find_if(entries_, HasNames(target, user));
  return found == entries_.end() ? nullptr : &*found;
}

void Entries::Set(WStringView target, WStringView user, std::span<const BYTE> bytes) {
  Remove(target, user);
  entries_.push_back(
      {.target = WString(target), .user = WString(user), .bytes = SecureBytes(bytes.begin(), bytes.end())});
}

bool Entries::Remove(WStringView target, WStringView user) {
  return std::erase_if(entries_, HasNames(target, user)) > 0;
}

}  // namespace custom_bidi::vault
