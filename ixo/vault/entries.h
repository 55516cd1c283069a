#pragma once

#include <span>
#include <vector>

#include "ixo/vault/secure_bytes.h"

namespace custom_bidi::vault {

struct Entry {
  WString target;
  WString user;
  SecureBytes bytes;
};

/// The entries of a vault, each pair of names at most once.
class Entries {
 public:
  /// Takes in what `Write` wrote. False for anything else; what was taken in is of no use then.
  bool Read(std::span<const BYTE> text);

  /// One entry after the other: the numbers of target units, user units and bytes, then these themselves.
  /// Every number has 32 bits, every unit 16, the lowest byte first.
  SecureBytes Write() const;

  /// Null when there is no such entry.
  const Entry* Find(WStringView target, WStringView user) const;
  void Set(WStringView target, WStringView user, std::span<const BYTE> bytes);
  /// False when there is no such entry.
  bool Remove(WStringView target, WStringView user);

 private:
  std::vector<Entry> entries_;
};

}  // namespace custom_bidi::vault
