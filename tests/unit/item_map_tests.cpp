#include "src/response/item_map.h"

#include <gtest/gtest.h>

#include <random>

#include "src/response/item_store.h"
#include "tests/unit/item_order_model.h"

namespace custom_bidi {
namespace {

using Pairs = std::vector<std::pair<WString, WString>>;

Pairs EntriesOf(const ItemMap& items) {
  Pairs entries;
  for (const ItemMap::Entry& entry : items)
    entries.emplace_back(entry.key, entry.value);
  return entries;
}

void SetAll(WStringView keys, ItemMap& items) {
  for (const WCHAR key : keys)
    items.Set(WStringView(&key, 1), W("value"));
}

/// The order in which keys of one character each stand in the end.
WString OrderOf(WStringView keys) {
  ItemMap items;
  SetAll(keys, items);
  WString order;
  for (const ItemMap::Entry& entry : items)
    order += entry.key;
  return order;
}

TEST(ItemMap, HashesAsPublished) {
  // The published values for these bytes, two of which make a character.
  struct Case {
    WString key;
    uint64_t hash;
  };
  const Case cases[] = {
      {{}, 0xcbf29ce484222325},
      {{0x6F66}, 0x08985907b541d342},                  // "fo"
      {{0x6F66, 0x626F}, 0xdd120e790c2512af},          // "foob"
      {{0x6F66, 0x626F, 0x7261}, 0x85944171f73967e8},  // "foobar"
  };
  for (const Case& c : cases) {
    ItemMap items;
    items.Set(c.key, W("value"));
    EXPECT_EQ(items.begin()->hash, c.hash);
  }
}

// The buckets of 8 and of 64 that the keys below fall into:
//   A 4  4   B 7 63   C 6 22   D 1  9   E 0 32   F 3 27
//   G 2 50   H 5 53   I 4 12   J 7  7   p 5 29   0 5 29
TEST(ItemMap, KeepsBucketsTogetherInOneSequence) {
  EXPECT_EQ(OrderOf(W("ABCD")), W("ABCD"));
  EXPECT_EQ(OrderOf(W("ABCDI")), W("IABCD"));
  EXPECT_EQ(OrderOf(W("ABCDIEHJ")), W("IAJBCDEH"));
  EXPECT_EQ(OrderOf(W("JBIA")), W("BJAI"));
}

TEST(ItemMap, RegroupsWhenItGrows) {
  EXPECT_EQ(OrderOf(W("ABCDIEHJF")), W("IAJBCDEHF"));
  // Two keys of one bucket change places, wherever else they stand.
  EXPECT_EQ(OrderOf(W("Bp0ACDEF")), W("B0pACDEF"));
  EXPECT_EQ(OrderOf(W("Bp0ACDEFG")), W("Bp0ACDEFG"));
}

TEST(ItemMap, NeverMovesAPresentKey) {
  ItemMap items;
  SetAll(W("ABCDI"), items);
  items.Set(W("C"), W("new"));
  items.AddIfAbsent(W("D"), W("ignored"));
  items.AddIfAbsent(W("E"), W("added"));
  EXPECT_EQ(EntriesOf(items), (Pairs{{W("I"), W("value")},
                                     {W("A"), W("value")},
                                     {W("B"), W("value")},
                                     {W("C"), W("new")},
                                     {W("D"), W("value")},
                                     {W("E"), W("added")}}));
}

TEST(ItemMap, AgreesWithThePlainModelThroughAllGrowth) {
  for (const unsigned seed : {1u, 2u, 3u, 4u, 5u}) {
    std::mt19937 random(seed);
    // Few enough names that some come twice, and many that share a beginning as item names do.
    const auto random_key = [&random] {
      WString key = random() % 2 != 0 ? W("Media") : W("");
      for (size_t length = 1 + random() % 3; length > 0; --length)
        key.push_back(static_cast<WCHAR>('A' + random() % 24));
      return key;
    };
    ItemMap items;
    test::ItemOrderModel model;
    for (size_t step = 0; model.bucket_count() < 2048 || step % 100 != 0; ++step) {
      const WString key = random_key();
      const WString value(1, static_cast<WCHAR>('a' + step % 26));
      if (random() % 3 != 0) {
        items.Set(key, value);
        model.Set(key, value);
      } else {
        items.AddIfAbsent(key, value);
        model.AddIfAbsent(key, value);
      }
      if (step < 80 || step % 64 == 0) {
        ASSERT_EQ(EntriesOf(items), model.Entries()) << "seed " << seed << ", step " << step;
      }
    }
    EXPECT_EQ(EntriesOf(items), model.Entries()) << "seed " << seed;
    EXPECT_EQ(items.size(), model.Entries().size());
  }
}

TEST(StoreItem, SplitsTextsWithACommaAndDropsEmptyOnes) {
  struct Case {
    WString text;
    Pairs stored;
  };
  const Case cases[] = {
      {W(""), {}},
      {W("A4"), {{W("Media"), W("A4")}}},
      {W("A4,Letter"), {{W("Media_Value"), W("A4,Letter")}, {W("Media"), W("Valid")}}},
      {W(","), {{W("Media_Value"), W(",")}, {W("Media"), W("Valid")}}},
  };
  for (const Case& c : cases) {
    ItemMap items;
    StoreItem(W("Media"), c.text, items);
    EXPECT_EQ(EntriesOf(items), c.stored);
  }
}

}  // namespace
}  // namespace custom_bidi
