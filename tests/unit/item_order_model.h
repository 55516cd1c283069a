#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <vector>

#include "src/platform.h"

namespace custom_bidi::test {

/// The order and content of an item map, worked out the slow and plain way: one vector that is searched from
/// its start.
class ItemOrderModel {
 public:
  static uint64_t Hash(WStringView key) {
    uint64_t hash = 14695981039346656037U;
    for (const WCHAR unit : key) {
      const auto value = static_cast<uint16_t>(unit);
      for (const int shift : {0, 8}) {
        hash ^= static_cast<uint64_t>(value >> shift) & 255U;
        hash *= 1099511628211U;
      }
    }
    return hash;
  }

  void Set(const WString& key, const WString& value) {
    AddIfAbsent(key, value);
    values_[key] = value;
  }

  void AddIfAbsent(const WString& key, const WString& value) {
    if (!values_.emplace(key, value).second)
      return;
    if (order_.size() + 1 > bucket_count_) {
      GrowTo(order_.size() + 1);
    }
    Place({key, Hash(key)}, order_);
  }

  /// Keys and values in the map's order.
  std::vector<std::pair<WString, WString>> Entries() const {
    std::vector<std::pair<WString, WString>> entries;
    for (const Key& key : order_)
      entries.emplace_back(key.text, values_.at(key.text));
    return entries;
  }

  size_t bucket_count() const { return bucket_count_; }

 private:
  struct Key {
    WString text;
    uint64_t hash;
  };

  void Place(const Key& key, std::vector<Key>& order) const {
    const auto first = std::find_if(order.begin(), order.end(), [&](const Key& other) {
      return other.hash % bucket_count_ == key.hash % bucket_count_;
    });
    order.insert(first, key);
  }

  void GrowTo(size_t size) {
    if (bucket_count_ < 512) {
      bucket_count_ *= 8;
    } else {
      while (bucket_count_ < size)
        bucket_count_ *= 2;
    }
    std::vector<Key> regrouped;
    for (const Key& key : order_)
      Place(key, regrouped);
    order_ = regrouped;
  }

  std::vector<Key> order_;
  std::map<WString, WString> values_;
  size_t bucket_count_ = 8;
};

}  // namespace custom_bidi::test
