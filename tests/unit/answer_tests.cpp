// The order of the items, the CID of a device ID, and the exact texts of both answers.

#include <gtest/gtest.h>

#include "src/context/request_context.h"
#include "src/response/answers.h"

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

// The buckets of 8 and of 64 that the keys below fall into:
//   A 4  4   B 7 63   C 6 22   D 1  9   E 0 32   F 3 27
//   G 2 50   H 5 53   I 4 12   J 7  7   p 5 29   0 5 29
TEST(ItemMap, KeepsBucketsTogetherAndRegroupsThemWhenItGrows) {
  const std::pair<WStringView, WStringView> cases[] = {
      {W("ABCD"), W("ABCD")},
      {W("ABCDI"), W("IABCD")},
      {W("ABCDIEHJ"), W("IAJBCDEH")},
      {W("JBIA"), W("BJAI")},
      {W("ABCDIEHJF"), W("IAJBCDEHF")},
      // Two keys of one bucket change places, wherever else they stand.
      {W("Bp0ACDEF"), W("B0pACDEF")},
      {W("Bp0ACDEFG"), W("Bp0ACDEFG")},
  };
  for (const auto& [keys, order] : cases) {
    ItemMap items;
    for (const WCHAR key : keys) {
      items.Set(WString(1, key), W("v"));
    }
    WString found;
    for (const ItemMap::Entry& entry : items) {
      found += entry.key;
    }
    EXPECT_EQ(found, order);
  }
}

TEST(ItemMap, NeverMovesAPresentKey) {
  ItemMap items;
  for (const WCHAR* const key : {W("A"), W("B"), W("C"), W("D"), W("I")}) {
    items.Set(key, W("v"));
  }
  items.Set(W("C"), W("new"));
  items.AddIfAbsent(W("D"), W("ignored"));
  items.AddIfAbsent(W("E"), W("added"));
  WString found;
  for (const ItemMap::Entry& entry : items) {
    found += entry.key + W("=") + entry.value + W(";");
  }
  EXPECT_EQ(found, W("I=v;A=v;B=v;C=new;D=v;E=added;"));
}

TEST(Cid, IsTakenFromTheDeviceIdOrTheDefault) {
  const struct {
    WString device_id, default_cid;
    DWORD code;
    WString cid;
  } cases[] = {
      {W("MFG:Maker;MDL:Model 7;CID:Maker_Model_7;"), W("Default"), 0, W("Maker_Model_7")},
      {W("MFG:Maker;MDL:Model 7;"), W("Default"), 0, W("Default")},
      {W("MFG:Maker;MDL:Model 7;"), W(""), 1, W("")},
      {W(""), W("Default"), 0, W("Default")},
      {W("CID:ABC"), W(""), 0, W("ABC")},
      {W("CID:;"), W("Default"), 0, W("")},  // found, and empty
      {W("CID"), W(""), 0, W("CID")},
      {W(";;CID;"), W("Default"), 0, W("CID")},
      {W("CID:a:b;"), W(""), 0, W("a:b")},
      {W("CID: a ;"), W(""), 0, W(" a ")},
      {W("CID:first;CID:second;"), W(""), 0, W("first")},
      {W(" CID:a;cid:b;CID :c;CIDs:d;:CID;"), W(""), 1, W("")},
      {W("MFG:CID:a;"), W(""), 1, W("")},
      {W("CID:") + WString(1500, 'x'), W(""), 0, WString(1023, 'x')},
      {W(""), WString(1500, 'x'), 0, WString(1023, 'x')},
  };
  for (const auto& c : cases) {
    CCustomBiDi context;
    // The default is kept although there is no configuration to go on with.
    EXPECT_NE(context.Init(W("Unit tests"), c.default_cid.c_str()), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(context.ParseAndSaveCIDInfo(c.device_id), c.code);
    EXPECT_EQ(context.ComposeBidiJson(), W("{\"CID\": \"") + c.cid + W("\"}"));
  }
}

TEST(BidiJson, WritesWhatIsStoredInOrderWithTheCidLast) {
  const std::pair<const WCHAR*, WString> cases[] = {
      {W(""), W("")},  // an empty text is no item
      {W("A4"), W("\"Media\": \"A4\",")},
      {W("A4,\n\U0001F5A8\"\\"), W("\"Media_Value\": \"A4,\n\U0001F5A8\"\\\",\"Media\": \"Valid\",")},
  };
  for (const auto& [text, members] : cases) {
    ItemMap items;
    StoreItem(W("Media"), text, items);
    EXPECT_EQ(BidiJson(items, W("")), W("{") + members + W("\"CID\": \"\"}"));
    EXPECT_EQ(BidiJson(items, W("device")), W("{") + members + W("\"CID\": \"device\"}"));
  }
}

TEST(StatusJson, WritesTwoSignedNumbersAndAnUnsignedOne) {
  EXPECT_EQ(StatusJson(4, 2, 128), W("{\"printerState\":4,\"responseCode\":2,\"statusCode\":128}"));
  EXPECT_EQ(StatusJson(0x80000000, 0xFFFFFFFF, 0xFFFFFFFF),
            W("{\"printerState\":-2147483648,\"responseCode\":-1,\"statusCode\":4294967295}"));
  EXPECT_EQ(StatusJson(0x80000000, 0x80000000, 0xFFFFFFFF).size(), 79u);  // the longest
}

}  // namespace
}  // namespace custom_bidi
