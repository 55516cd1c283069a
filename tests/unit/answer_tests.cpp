// The CID of a device ID, and the exact texts of both answers.

#include <gtest/gtest.h>

#include "src/exports/request_context.h"
#include "src/response/json_text.h"

namespace custom_bidi {
namespace {

/// What the answer says, which holds nothing but the CID.
WString CidMember(WStringView cid) {
  return WString(W("{\"CID\": \"")).append(cid) + W("\"}");
}

TEST(Cid, IsTakenFromTheDeviceIdOrTheDefault) {
  struct Case {
    WString device_id;
    WString default_cid;
    DWORD code;
    WString cid;
  };
  const Case cases[] = {
      {W("MFG:Maker;MDL:Model 7;CID:Maker_Model_7;"), W(""), 0, W("Maker_Model_7")},
      {W("MFG:Maker;MDL:Model 7;CID:Maker_Model_7;"), W("Default"), 0, W("Maker_Model_7")},
      {W("MFG:Maker;MDL:Model 7;"), W("Default"), 0, W("Default")},
      {W("MFG:Maker;MDL:Model 7;"), W(""), 1, W("")},
      {W(""), W("Default"), 0, W("Default")},
      {W(""), W(""), 1, W("")},
      {W("CID:ABC"), W(""), 0, W("ABC")},
      {W("CID:;"), W("Default"), 0, W("")},  // found, and empty
      {W("CID"), W(""), 0, W("CID")},
      {W(";;CID;"), W("Default"), 0, W("CID")},
      {W("CID:a:b;"), W(""), 0, W("a:b")},
      {W("CID: a ;"), W(""), 0, W(" a ")},
      {W("CID:first;CID:second;"), W(""), 0, W("first")},
      {W(" CID:a;cid:b;CID :c;CIDs:d;:CID;"), W(""), 1, W("")},
      {W("MFG:CID:a;"), W(""), 1, W("")},
      {W(";;;"), W(""), 1, W("")},
      {W("CID:") + WString(1500, 'x'), W(""), 0, WString(1023, 'x')},
      {W(""), WString(1500, 'x'), 0, WString(1023, 'x')},
  };
  for (const Case& c : cases) {
    CCustomBiDi context;
    // The default is kept although there is no configuration to go on with.
    EXPECT_NE(context.Init(W("Unit tests"), c.default_cid.c_str()), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(context.ParseAndSaveCIDInfo(c.device_id), c.code);
    EXPECT_EQ(context.ComposeBidiJson(), CidMember(c.cid));
  }
}

TEST(BidiJson, WritesMembersInOrderWithTheCidLast) {
  ItemMap items;
  EXPECT_EQ(BidiJson(items, W("")), W("{\"CID\": \"\"}"));
  items.Set(W("K"), W("V"));
  EXPECT_EQ(BidiJson(items, W("")), W("{\"K\": \"V\",\"CID\": \"\"}"));
  items.Set(W("CID"), W("item"));
  items.Set(W("quote\"\\"), W("\n\U0001F5A8\""));
  WString members;
  for (const ItemMap::Entry& entry : items)
    members += W("\"") + entry.key + W("\": \"") + entry.value + W("\",");
  EXPECT_EQ(BidiJson(items, W("device")), W("{") + members + W("\"CID\": \"device\"}"));
}

TEST(StatusJson, WritesTwoSignedNumbersAndAnUnsignedOne) {
  EXPECT_EQ(StatusJson(3, 0, 0), W("{\"printerState\":3,\"responseCode\":0,\"statusCode\":0}"));
  EXPECT_EQ(StatusJson(4, 2, 128), W("{\"printerState\":4,\"responseCode\":2,\"statusCode\":128}"));
  constexpr DWORD kAllBits = 0xFFFFFFFF;
  EXPECT_EQ(StatusJson(kAllBits, kAllBits, kAllBits),
            W("{\"printerState\":-1,\"responseCode\":-1,\"statusCode\":4294967295}"));
  const WString longest = StatusJson(0x80000000, 0x80000000, kAllBits);
  EXPECT_EQ(longest, W("{\"printerState\":-2147483648,\"responseCode\":-2147483648,"
                       "\"statusCode\":4294967295}"));
  EXPECT_EQ(longest.size(), 79u);
}

}  // namespace
}  // namespace custom_bidi
