// The order of the items, and the paths of the modules.

#include <gtest/gtest.h>

#include "src/context/item_map.h"
#include "src/context/library_paths.h"

namespace custom_bidi {
namespace {

TEST(ItemMap, HashesAsPublished) {
  // The published values for these bytes, two of which make a character.
  const std::pair<WString, uint64_t> cases[] = {
      {{}, 0xcbf29ce484222325},
      {{0x6F66}, 0x08985907b541d342},                  // "fo"
      {{0x6F66, 0x626F, 0x7261}, 0x85944171f73967e8},  // "foobar"
  };
  for (const auto& [key, hash] : cases) {
    ItemMap items;
    items.Set(key, W("v"));
    EXPECT_EQ(items.begin()->hash, hash);
  }
}

/// With keys of one character each.
void SetAll(ItemMap& items, WStringView keys) {
  for (const WCHAR key : keys) {
    items.Set(WString(1, key), W("v"));
  }
}

// The buckets of 8 and of 64 that the keys below fall into:
//   A 4  4   B 7 63   C 6 22   D 1  9   E 0 32   F 3 27
//   G 2 50   H 5 53   I 4 12   J 7  7   p 5 29   0 5 29
TEST(ItemMap, KeepsBucketsTogetherAndRegroupsThemWhenItGrows) {
  const std::pair<WStringView, WStringView> cases[] = {
      {W("ABCDI"), W("IABCD")},
      {W("ABCDIEHJ"), W("IAJBCDEH")},
      {W("ABCDIEHJF"), W("IAJBCDEHF")},
      // Two keys of one bucket change places, wherever else they stand.
      {W("Bp0ACDEF"), W("B0pACDEF")},
      {W("Bp0ACDEFG"), W("Bp0ACDEFG")},
  };
  for (const auto& [keys, order] : cases) {
    ItemMap items;
    SetAll(items, keys);
    WString found;
    for (const ItemMap::Entry& entry : items) {
      found += entry.key;
    }
    EXPECT_EQ(found, order);
  }
}

TEST(ItemMap, NeverMovesAPresentKey) {
  ItemMap items;
  SetAll(items, W("ABCDI"));
  items.Set(W("C"), W("new"));
  items.AddIfAbsent(W("D"), W("ignored"));
  items.AddIfAbsent(W("E"), W("added"));
  WString found;
  for (const ItemMap::Entry& entry : items) {
    found += entry.key + W("=") + entry.value + W(";");
  }
  EXPECT_EQ(found, W("I=v;A=v;B=v;C=new;D=v;E=added;"));
}

TEST(ModulePaths, NameTheExecutableAndAreCutToTheCapacity) {
  const WString folder = HostFolder().data();
  for (const auto function : {GetModuleFolder, GetModuleFullPath}) {
    WCHAR whole[1024] = {};
    EXPECT_EQ(function(nullptr, 1024, false), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(function(whole, 0, false), DWORD{ERROR_PATH_NOT_FOUND});
    // This program holds the library's code, so its "own module" is the executable, too.
    ASSERT_EQ(function(whole, 1024, true), DWORD{ERROR_SUCCESS});
    const WString path = whole;
    EXPECT_EQ(path.find(function == GetModuleFolder ? folder : folder + W("\\unit_tests")), 0u);
    EXPECT_EQ(path.find(W('\\'), folder.size() + 1), WString::npos);
    for (const size_t capacity : {size_t{1}, path.size(), path.size() + 1}) {
      WString buffer(1024, '#');
      ASSERT_EQ(function(buffer.data(), capacity, false), DWORD{ERROR_SUCCESS});
      EXPECT_EQ(buffer, path.substr(0, capacity - 1) + WString(1, 0) + WString(1024 - capacity, '#'));
    }
  }
}

}  // namespace
}  // namespace custom_bidi
