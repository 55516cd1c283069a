#include "src/context/item_map.h"

#include <bit>
#include <cstdint>

namespace custom_bidi {
namespace {

constexpr size_t kFirstBucketCount = 8;
constexpr size_t kSteepGrowthLimit = 512;

static_assert(sizeof(size_t) == sizeof(uint64_t));

// Offset basis and prime as published for 64-bit FNV-1a.
uint64_t Fnv1a(WStringView key) {
  uint64_t hash = 0xcbf29ce484222325;
  const auto add = [&hash](uint64_t byte) { hash = (hash ^ byte) * 0x100000001b3; };
  for (const WCHAR unit : key) {
    add(unit & 0xFFU);
    add(static_cast<uint16_t>(unit) >> 8U);
  }
  return hash;
}

}  // namespace

ItemMap::ItemMap() : first_of_bucket_(kFirstBucketCount, entries_.end()) {}

void ItemMap::Set(WStringView key, WStringView value) {
  const size_t hash = Fnv1a(key);
  const auto present = Find(key, hash);
  if (present != entries_.end()) {
    present->value = value;
  } else {
    Insert(key, value, hash);
  }
}

void ItemMap::AddIfAbsent(WStringView key, WStringView value) {
  const size_t hash = Fnv1a(key);
  if (Find(key, hash) == entries_.end()) {
    Insert(key, value, hash);
  }
}

ItemMap::Sequence::iterator ItemMap::Find(WStringView key, size_t hash) {
  const size_t bucket = hash & (first_of_bucket_.size() - 1);
  for (auto at = first_of_bucket_[bucket]; at != entries_.end() && BucketOf(*at) == bucket; ++at) {
    if (at->hash == hash && at->key == key) {
      return at;
    }
  }
  return entries_.end();
}

void ItemMap::Insert(WStringView key, WStringView value, size_t hash) {
  GrowFor(entries_.size() + 1);
  auto& first = first_of_bucket_[hash & (first_of_bucket_.size() - 1)];
  first = entries_.insert(first, Entry{WString(key), WString(value), hash});
}

void ItemMap::GrowFor(size_t new_size) {
  const size_t count = first_of_bucket_.size();
  if (new_size <= count) {
    return;
  }
  const size_t new_count = count < kSteepGrowthLimit ? count * 8 : std::bit_ceil(new_size);
  first_of_bucket_.assign(new_count, entries_.end());
  // In sequence: an entry stays when it is the first of its bucket, else it moves before the one that was.
  for (auto at = entries_.begin(); at != entries_.end();) {
    const auto entry = at++;
    auto& first = first_of_bucket_[BucketOf(*entry)];
    if (first != entries_.end()) {
      entries_.splice(first, entries_, entry);
    }
    first = entry;
  }
}

}  // namespace custom_bidi
