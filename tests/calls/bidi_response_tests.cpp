// What GetBidiResponse answers.

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

class BidiResponse : public CallTest {};

constexpr char kComplete[] = "JobJsonDeviceCapsComplete";
constexpr char kDisplayName[] = "vexmo-print-quality-supported.com.vexmo.display-string.21";
constexpr char kMode[] = "vexmo-print-quality-supported.com.vexmo.pq-mode.21";

/// Two print-quality entries as a device sends them.
Json LocaleStrings() {
  return {{"*", "\"" + std::string(kDisplayName) + "\" = \"Fine\";\r\n\"" + kMode + "\" = \"5\";\r\n"}};
}

TEST_F(BidiResponse, DataMapFormReadsTheItemsOfTheMapAndTheCid) {
  WriteDataMap({"B", "Missing", "A"});
  printer["items"]["B"] = "two";
  EXPECT_EQ(Bidi(), Yes(BidiText({{"B", "two"}, {"A", "1"}, {kComplete, "true"}}, "Vexmo_1")));
}

TEST_F(BidiResponse, ListFormReadsTheNamedItemsAndNoCid) {
  EXPECT_EQ(Items({"A"}), Yes(BidiText({{"A", "1"}}, "")));
  EXPECT_EQ(Bidi({.queue = kQueue, .cid = "Given", .names = {{"Missing", "A"}}}),
            Yes(BidiText({{"A", "1"}}, "Given")));
  EXPECT_EQ(Items({"DeviceID"}), Yes(BidiText({{"DeviceID", "MFG:Vexmo;CID:Vexmo_1;"}}, "")));
}

TEST_F(BidiResponse, ListFormSkipsWhatIsNoName) {
  const Answer only_a = Yes(BidiText({{"A", "1"}}, ""));
  EXPECT_EQ(Items({std::nullopt, "A", std::nullopt}), only_a);
  EXPECT_EQ(Items({"", "A"}), only_a);
  EXPECT_EQ(Items({"a"}), kRefused) << "names count by their exact characters";
  EXPECT_EQ(Bidi({.queue = kQueue, .names = {{"A", "DeviceID"}}, .count = 1}), only_a);
}

TEST_F(BidiResponse, ListFormWithoutAnyItemFails) {
  EXPECT_EQ(Items({}), kRefused);
  EXPECT_EQ(Items({std::nullopt}), kRefused);
  EXPECT_EQ(Items({"Missing", "Unknown"}), kRefused);
  EXPECT_EQ(Bidi({.queue = kQueue, .names = {{"A"}}, .count = -1}), kRefused);
  EXPECT_EQ(Bidi({.queue = kQueue, .names = {{"A"}}, .count = 0}), kRefused);
}

TEST_F(BidiResponse, NullArrayIsTheDataMapFormWhateverTheCount) {
  const Answer expected = Yes(BidiText({{"A", "1"}, {kComplete, "true"}}, "Vexmo_1"));
  for (const CustomBidiLong count : {0, -1, 7})
    EXPECT_EQ(Bidi({.queue = kQueue, .count = count}), expected) << count;
}

TEST_F(BidiResponse, NullBufferFails) {
  WritePrinter();
  EXPECT_EQ(GetBidiResponse(nullptr, ToWide(kQueue).c_str(), nullptr, nullptr, 0), 0);
  EXPECT_EQ(GetBidiResponse(nullptr, nullptr, nullptr, nullptr, 0), 0);
}

TEST_F(BidiResponse, ValuesByTheirType) {
  const struct {
    Json item;
    MaybeText text;
  } rows[] = {
      {{{"type", "VT_I1"}, {"value", -56}}, "-56"},
      {{{"type", "VT_UI1"}, {"value", 200}}, "200"},
      {{{"type", "VT_I2"}, {"value", -5}}, "-5"},
      {{{"type", "VT_UI2"}, {"value", 65535}}, "65535"},
      {{{"type", "VT_I4"}, {"value", -2147483648LL}}, "-2147483648"},
      {{{"type", "VT_UI4"}, {"value", 4294967295U}}, "4294967295"},
      {{{"type", "VT_I4"}, {"value", 0}}, "0"},
      {{{"type", "VT_BSTR"}, {"value", "text"}}, "text"},
      {{{"type", "VT_BSTR"}, {"value", nullptr}}, std::nullopt},
      {{{"type", "VT_BSTR"}, {"value", ""}}, std::nullopt},
      {{{"type", "VT_BOOL"}, {"value", true}}, std::nullopt},
      {{{"type", "VT_R8"}, {"value", 1.5}}, std::nullopt},
      {{{"type", "VT_NULL"}}, std::nullopt},
      {{{"type", "VT_EMPTY"}}, std::nullopt},
  };
  for (const auto& row : rows) {
    printer["items"]["X"] = row.item;
    EXPECT_EQ(Items({"X"}), row.text ? Yes(BidiText({{"X", *row.text}}, "")) : kRefused) << row.item;
  }
}

TEST_F(BidiResponse, TextGoesThroughUnchanged) {
  for (const char* text : {"a \"quoted\" name", "back\\slash", "line\r\nend\ttab\x01", " blanks ", "{}",
                           "f\u00fcr \u65e5\u672c \U0001F5A8", "100%s %d"}) {
    printer["items"]["X"] = text;
    EXPECT_EQ(Items({"X"}), Yes(BidiText({{"X", text}}, ""))) << text;
  }
  printer["items"]["odd \"name\""] = "1";
  EXPECT_EQ(Items({"odd \"name\""}), Yes("{\"odd \"name\"\": \"1\",\"CID\": \"\"}"));
}

TEST_F(BidiResponse, TextWithCommaIsStoredBesideItsName) {
  for (const char* text : {",", "iso_a4,na_letter", "a,"}) {
    printer["items"]["Media"] = text;
    EXPECT_EQ(Items({"Media"}), Yes(BidiText({{"Media_Value", text}, {"Media", "Valid"}}, ""))) << text;
  }
}

TEST_F(BidiResponse, TextThatFillsItsBufferIsReadAndLongerTextIsNot) {
  const std::string longest(4095, 'x');
  printer["items"]["X"] = longest;
  EXPECT_EQ(Items({"X", "A"}), Yes(BidiText({{"X", longest}, {"A", "1"}}, "")));
  printer["items"]["X"] = longest + "x";
  EXPECT_EQ(Items({"X", "A"}), Yes(BidiText({{"A", "1"}}, "")));
}

// The order was worked out by hand: A and I share the fifth of eight buckets, B and J the eighth, and so on;
// a newcomer goes before those of its bucket. The ninth member moves all to 64 buckets, of which none is
// shared.
TEST_F(BidiResponse, MembersFollowTheOrderOfTheItemMap) {
  const auto answer_in_order = [](const std::string& order) {
    std::vector<std::pair<std::string, std::string>> members;
    for (const char name : order)
      members.emplace_back(std::string(1, name), "1");
    return Yes(BidiText(members, ""));
  };
  std::vector<MaybeText> names;
  for (const char name : std::string("AIBJCKDLE"))
    printer["items"][std::string(1, name)] = "1";
  EXPECT_EQ(Items({"A", "B", "I", "J"}), answer_in_order("IAJB"));
  EXPECT_EQ(Items({"A", "I", "B", "J", "C", "K", "D", "L", "E"}), answer_in_order("IAJBKCLDE"));
  EXPECT_EQ(Items({"A", "I", "B", "J", "C", "K", "D", "L", "E", "A", "B"}), answer_in_order("IAJBKCLDE"))
      << "an item that is set again keeps its place";
}

TEST_F(BidiResponse, LaterReadOfANameCountsUnlessItFails) {
  WriteDataMap({"A", "B", "A"});
  printer["items"]["B"] = "2";
  const auto answer = [](const char* a) {
    return Yes(BidiText({{"A", a}, {"B", "2"}, {kComplete, "true"}}, "Vexmo_1"));
  };
  // The first read is that of DeviceID.
  printer["faults"]["DataCollection.GetValue"] = {{"hresult", "0x80004005"}, {"call", 4}};
  EXPECT_EQ(Bidi(), answer("1"));
  // A list of A (which makes A_Value) and then of the item that is really named so.
  printer["faults"] = Json::object();
  printer["items"]["A"] = "x,y";
  printer["items"]["A_Value"] = "own";
  EXPECT_EQ(Items({"A", "A_Value"}), Yes(BidiText({{"A_Value", "own"}, {"A", "Valid"}}, "")));
}

TEST_F(BidiResponse, DataMapElementsCountWhereverTheyStand) {
  host.Write("vexmoixodatamap.xml",
             "<DataMap><DataItem Name='Outside'/><IPPDataMap><Group><DataItem Name='A' Unit='x'/></Group>"
             "<DataItem/><DataItem Name=''/><DataItem name='B'/></IPPDataMap>"
             "<IPPDataMap><DataItem Name='" +
                 std::string(300, 'n') + "'/></IPPDataMap></DataMap>");
  printer["items"]["Outside"] = "no";
  printer["items"]["B"] = "no";
  printer["items"][std::string(255, 'n')] = "cut";
  EXPECT_EQ(Bidi(),
            Yes(BidiText({{"A", "1"}, {std::string(255, 'n'), "cut"}, {kComplete, "true"}}, "Vexmo_1")));
}

TEST_F(BidiResponse, MarkerOverwritesAnItemOfItsName) {
  WriteDataMap({kComplete});
  printer["items"][kComplete] = "false";
  EXPECT_EQ(Bidi(), Yes(BidiText({{kComplete, "true"}}, "Vexmo_1")));
}

TEST_F(BidiResponse, ItemNamedCidStandsBesideTheCid) {
  WriteDataMap({"CID", "DeviceID"});
  printer["items"]["CID"] = "item";
  printer["items"]["DeviceID"] = "CID:device";
  EXPECT_EQ(Bidi(),
            Yes(BidiText({{"CID", "item"}, {"DeviceID", "CID:device"}, {kComplete, "true"}}, "device")));
}

TEST_F(BidiResponse, CidOfTheDeviceElseTheDefault) {
  const std::string filler(1003, 'f');
  const struct {
    const char* what;
    Json device_id;
    MaybeText given;
    MaybeText cid;
  } rows[] = {
      {"found", "MFG:Maker;MDL:Model 7;CID:Maker_Model_7;", "Given", "Maker_Model_7"},
      {"without semicolon", "CID:ABC", std::nullopt, "ABC"},
      {"first of two", "CID:one;CID:two", std::nullopt, "one"},
      {"value with colons", "CID:a:b;", std::nullopt, "a:b"},
      {"behind empty fields", ";;CID:x", std::nullopt, "x"},
      {"no colon", "MFG:M;CID;", std::nullopt, "CID"},
      {"empty value", "CID:;", "Given", ""},
      {"blank before the key", " CID:x;", "Given", "Given"},
      {"lower case", "cid:x;", "Given", "Given"},
      {"longer key", "CIDS:x;XCID:y", "Given", "Given"},
      {"no field", "MFG:Maker;", "Given", "Given"},
      {"no field and no default", "MFG:Maker;", std::nullopt, std::nullopt},
      {"no field and an empty default", "MFG:Maker;", "", std::nullopt},
      {"empty device ID", "", "Given", "Given"},
      {"no text", {{"type", "VT_I4"}, {"value", 5}}, "Given", "Given"},
      {"1023 characters", filler + std::string(14, 'x') + ";CID:x", "Given", "x"},
      {"1024 characters", filler + std::string(15, 'x') + ";CID:x", "Given", "Given"},
      {"1024 characters, no default", filler + std::string(15, 'x') + ";CID:x", std::nullopt, std::nullopt},
      {"long default", "MFG:Maker;", std::string(1500, 'c'), std::string(1023, 'c')},
      {"default cut within a pair", "MFG:Maker;", std::string(1022, 'c') + "\U0001F5A8",
       std::string(1022, 'c')},
  };
  for (const auto& row : rows) {
    printer["items"]["DeviceID"] = row.device_id;
    EXPECT_EQ(Bidi({.queue = kQueue, .cid = row.given}),
              row.cid ? Yes(BidiText({{"A", "1"}, {kComplete, "true"}}, *row.cid)) : kRefused)
        << row.what;
  }
  printer["items"].erase("DeviceID");
  EXPECT_EQ(Bidi(), kRefused);
  EXPECT_EQ(Bidi({.queue = kQueue, .cid = "Given"}),
            Yes(BidiText({{"A", "1"}, {kComplete, "true"}}, "Given")));
}

TEST_F(BidiResponse, PrintQualityEntriesComeAfterTheItems) {
  printer["locale"] = LocaleStrings();
  EXPECT_EQ(Bidi(), Yes(BidiText({{"A", "1"}, {kComplete, "true"}, {kDisplayName, "Fine"}, {kMode, "5"}},
                                 "Vexmo_1")));
  WriteDataMap({kMode});
  printer["items"][kMode] = "own";
  EXPECT_EQ(Bidi(), Yes(BidiText({{kMode, "own"}, {kComplete, "true"}, {kDisplayName, "Fine"}}, "Vexmo_1")))
      << "an item of the same name keeps its value";
}

TEST_F(BidiResponse, PrintQualityEntriesAreThoseOfTheUsersLanguage) {
  WCHAR language[16] = {};
  ASSERT_GT(GetLocaleInfoW(0, LOCALE_SISO639LANGNAME, language, 16), 0);
  printer["locale"] = {{ToUtf8(language), std::string(kMode) + "=own"}, {"*", std::string(kMode) + "=other"}};
  EXPECT_EQ(Items({"CustomPQ"}), Yes(BidiText({{kMode, "own"}}, "")));
}

TEST_F(BidiResponse, PrintQualityEntriesAreEnough) {
  WriteDataMap({});
  printer["items"].erase("DeviceID");
  EXPECT_EQ(Bidi({.queue = kQueue, .cid = "Given"}), kRefused) << "neither items nor entries";
  printer["locale"] = LocaleStrings();
  EXPECT_EQ(Bidi({.queue = kQueue, .cid = "Given"}),
            Yes(BidiText({{kComplete, "true"}, {kDisplayName, "Fine"}, {kMode, "5"}}, "Given")));
  EXPECT_EQ(Bidi(), kRefused) << "there is no CID at all";
}

TEST_F(BidiResponse, CustomPqInANameListStandsForTheEntriesUnlessItIsAnItem) {
  printer["locale"] = LocaleStrings();
  const Answer entries = Yes(BidiText({{kDisplayName, "Fine"}, {kMode, "5"}}, ""));
  EXPECT_EQ(Items({"CustomPQ"}), entries);
  EXPECT_EQ(Items({"customPQ"}), kRefused);
  EXPECT_EQ(Items({"A"}), Yes(BidiText({{"A", "1"}}, ""))) << "not asked for";

  printer["items"][kMode] = "own";
  const Answer own = Yes(BidiText({{kDisplayName, "Fine"}, {kMode, "own"}}, ""));
  EXPECT_EQ(Items({"CustomPQ", kMode}), own);
  printer["items"]["CustomPQ"] = "item";
  EXPECT_EQ(Items({"CustomPQ"}), Yes(BidiText({{"CustomPQ", "item"}}, "")));
  printer["items"]["CustomPQ"] = "";
  EXPECT_EQ(Items({"CustomPQ"}), kRefused) << "an item without text is an item";
}

TEST_F(BidiResponse, QueueNameCountsUpTo1023Characters) {
  const std::string longest(1023, 'q');
  printer["addresses"]["queues"] = {{longest, {{"text", kAddress}}}};
  const Answer reached = Yes(BidiText({{"A", "1"}, {kComplete, "true"}}, "Vexmo_1"));
  EXPECT_EQ(Bidi({.queue = longest}), reached);
  EXPECT_EQ(Bidi({.queue = longest + "q"}), reached);
  EXPECT_EQ(Bidi({.queue = longest + std::string(977, 'z')}), reached);
  EXPECT_EQ(Bidi({.queue = longest.substr(1)}), kRefused);
}

}  // namespace
}  // namespace custom_bidi_test
