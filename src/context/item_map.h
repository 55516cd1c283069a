#pragma once

#include <list>
#include <vector>

#include "src/platform.h"

namespace custom_bidi {

/// The data items of a bidi answer: a hash map from item name to text whose enumeration order is fixed, since
/// the answer's members come in it.
///
/// All entries form one sequence in which each bucket's entries stand together. A new entry goes directly
/// before the first of its bucket, or to the end of the sequence when its bucket is empty; a present key
/// never moves. Keys are hashed with 64-bit FNV-1a over their UTF-16 code units as little-endian bytes and
/// compared by code unit. The bucket count starts at 8 and grows before the entries would outnumber the
/// buckets: eightfold below 512, then to the next power of two.
class ItemMap {
 public:
  struct Entry {
    WString key;
    WString value;
    size_t hash = 0;
  };
  using Sequence = std::list<Entry>;

  ItemMap();
  ItemMap(const ItemMap&) = delete;
  ItemMap& operator=(const ItemMap&) = delete;

  /// Inserts the key, or overwrites its value.
  void Set(WStringView key, WStringView value);

  /// Inserts the key unless it is present.
  void AddIfAbsent(WStringView key, WStringView value);

  bool empty() const { return entries_.empty(); }
  size_t size() const { return entries_.size(); }
  Sequence::const_iterator begin() const { return entries_.begin(); }
  Sequence::const_iterator end() const { return entries_.end(); }

 private:
  size_t BucketOf(const Entry& entry) const { return entry.hash & (first_of_bucket_.size() - 1); }
  Sequence::iterator Find(WStringView key, size_t hash);
  void Insert(WStringView key, WStringView value, size_t hash);
  void GrowFor(size_t new_size);

  Sequence entries_;
  // The end of the sequence stands for an empty bucket.
  std::vector<Sequence::iterator> first_of_bucket_;
};

}  // namespace custom_bidi
