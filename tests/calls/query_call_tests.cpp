// What GetBidiResponse, GetStatusData and GetPortStatus answer, and which libraries they ask.

#include <algorithm>

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

using Members = std::vector<std::pair<std::string, std::string>>;

constexpr char kComplete[] = "JobJsonDeviceCapsComplete";
constexpr char kDisplayName[] = "vexmo-print-quality-supported.com.vexmo.display-string.21";
constexpr char kMode[] = "vexmo-print-quality-supported.com.vexmo.pq-mode.21";

/// Those that a trace says were looked for.
Lines FilesIn(const Lines& trace) {
  Lines files;
  for (const std::string& line : trace) {
    if (line.find("_DLL: [") != line.npos || line.starts_with("CreateDataCollection from xml: [")) {
      files.push_back(line.substr(line.find('[') + 1, line.rfind(']') - line.find('[') - 1));
    }
  }
  return files;
}

class Answers : public CallTest {
 protected:
  /// Asked for the items by name, without a default CID; no members: refused.
  void ExpectItems(const std::vector<MaybeText>& names, const Members& members) {
    EXPECT_EQ(Items(names), members.empty() ? kRefused : Yes(BidiText(members, "")))
        << testing::PrintToString(names);
  }
  /// Asked for the data map's.
  void ExpectMapped(const Members& members) { EXPECT_EQ(Bidi(), Yes(BidiText(members, "Vexmo_1"))); }
  /// The files of one call, as traced, with this inside the configuration's root.
  Lines FilesWith(const std::string& content, bool answered = true) {
    SetTrace(true);
    WriteConfiguration(content);
    EXPECT_EQ(Bidi().ok, answered) << content;
    return FilesIn(TakeTrace());
  }

  const Lines defaults_ = {HostFolder::Text("//vexmoixo.dll"), HostFolder::Text("//vexmoixodm.dll"),
                           HostFolder::Text("//vexmobixocert.dll"),
                           HostFolder::Text("//vexmoixodatamap.xml")};
};

TEST_F(Answers, DataMapNamesTheItems) {
  WriteDataMap({"B", "Missing", "A"});
  printer["items"]["B"] = "two";
  const Members members = {{"B", "two"}, {"A", "1"}, {kComplete, "true"}};
  ExpectMapped(members);
  for (const CustomBidiLong count : {-1, 7}) {
    EXPECT_EQ(Bidi({.queue = kQueue, .count = count}), Yes(BidiText(members, "Vexmo_1"))) << count;
  }
  WriteDataMap({"CID", kComplete});
  printer["items"] = {{"DeviceID", "CID:Vexmo_1"}, {"CID", "item"}, {kComplete, "false"}, {"A", "1"}};
  ExpectMapped({{"CID", "item"}, {kComplete, "true"}});
  host.Write("vexmoixodatamap.xml",
             "<DataMap><DataItem Name='Outside'/><IPPDataMap><Group><DataItem Name='A' Unit='x'/></Group>"
             "<DataItem/><DataItem Name=''/><DataItem name='B'/></IPPDataMap>"
             "<IPPDataMap><DataItem Name='" +
                 std::string(300, 'n') + "'/></IPPDataMap></DataMap>");
  printer["items"]["Outside"] = "no";
  printer["items"][std::string(255, 'n')] = "cut";
  ExpectMapped({{"A", "1"}, {std::string(255, 'n'), "cut"}, {kComplete, "true"}});
}

TEST_F(Answers, ListNamesTheItems) {
  const Members a = {{"A", "1"}};
  const std::pair<std::vector<MaybeText>, Members> rows[] = {
      {{"A"}, a},
      {{std::nullopt, "A", std::nullopt}, a},
      {{"", "Missing", "a", "A"}, a},  // names count by their exact characters
      {{std::nullopt}, {}},
      {{"DeviceID"}, {{"DeviceID", "MFG:Vexmo;CID:Vexmo_1;"}}}};
  for (const auto& [names, members] : rows) {
    ExpectItems(names, members);
  }
  EXPECT_EQ(Bidi({.queue = kQueue, .cid = "Given", .names = {{"A"}}}), Yes(BidiText(a, "Given")));
  EXPECT_EQ(Bidi({.queue = kQueue, .names = {{"A", "DeviceID"}}, .count = 1}), Yes(BidiText(a, "")));
  EXPECT_EQ(Bidi({.queue = kQueue, .names = {{"A"}}, .count = -1}), kRefused);
}

TEST_F(Answers, ValuesAsText) {
  const std::string longest(4095, 'x');
  const auto expect = [this](const Json& item, const Members& read) {
    SCOPED_TRACE(item.dump());
    printer["items"]["X"] = item;
    Members members = read;
    members.push_back({"A", "1"});
    ExpectItems({"X", "A"}, members);
  };
  const std::pair<std::string, std::string> integers[] = {{"I1", "-56"},         {"UI1", "200"},
                                                          {"I2", "-5"},          {"UI2", "65535"},
                                                          {"I4", "-2147483648"}, {"UI4", "4294967295"}};
  for (const auto& [type, value] : integers) {
    expect(Json::parse("{\"type\": \"VT_" + type + "\", \"value\": " + value + "}"), {{"X", value}});
  }
  for (const Json& none :
       {R"({"type": "VT_BSTR", "value": null})"_json, Json(""), R"({"type": "VT_BOOL", "value": true})"_json,
        R"({"type": "VT_R8", "value": 1})"_json, R"({"type": "VT_EMPTY"})"_json}) {
    expect(none, {});
  }
  expect(longest, {{"X", longest}});
  expect(longest + "x", {});
  expect(std::string(1 << 20, 'x'), {});
  // VT_CY, VT_DATE, VT_DISPATCH, VT_ERROR, VT_VARIANT, VT_UNKNOWN, VT_DECIMAL, VT_I8, VT_ARRAY | VT_UI1,
  // VT_BYREF | VT_I4, VT_BYREF | VT_BSTR, VT_BYREF | VT_VARIANT, all bits
  for (const int type : {6, 7, 9, 10, 12, 13, 14, 20, 0x2011, 0x4003, 0x4008, 0x400C, 0xFFFF}) {
    expect({{"type", type}, {"value", 1}}, {});
  }
  for (const char* text : {"\"\\\r\n\t\x01", " ", "{}", "f\u00fcr \u65e5\u672c \U0001F5A8", "100%s %d"}) {
    expect(text, {{"X", text}});  // unchanged
  }
  expect("a,", {{"X_Value", "a,"}, {"X", "Valid"}});
}

TEST_F(Answers, CidOfTheDeviceElseTheDefault) {
  const std::string most(1023, 'x');
  const std::tuple<Json, std::string, MaybeText> rows[] = {
      {"MFG:Maker;MDL:Model 7;CID:Maker_Model_7;", "Given", "Maker_Model_7"},
      {"MFG:Maker;", "", std::nullopt},
      {"", "Given", "Given"},
      {5, "Given", "Given"},
      {"CID:;", "Given", ""},  // found, and empty
      {"CID", "", "CID"},
      {";;CID;", "Given", "CID"},
      {"CID: a:b ;", "", " a:b "},
      {"CID:first;CID:second;", "", "first"},
      {" CID:a;cid:b;CID :c;CIDs:d;:CID;MFG:CID:e;", "", std::nullopt},
      {most.substr(6) + ";CID:x", "Given", "x"},  // 1023 characters
      {most.substr(5) + ";CID:x", "Given", "Given"},
      {std::string(1 << 20, ';') + "CID:x", "Given", "Given"},
      {"", most.substr(1) + "\U0001F5A8", most.substr(1) + "\uFFFD"}};
  for (const auto& [device_id, given, cid] : rows) {
    printer["items"]["DeviceID"] = device_id;
    EXPECT_EQ(Bidi({.queue = kQueue, .cid = given}),
              cid ? Yes(BidiText({{"A", "1"}, {kComplete, "true"}}, *cid)) : kRefused)
        << device_id;
  }
}

TEST_F(Answers, PrintQualityEntriesComeAfterTheItems) {
  printer["locale"]["*"] =
      std::string("\"") + kDisplayName + "\" = \"Fine\";\r\n\"" + kMode + "\" = \"5\";\r\n";
  ExpectMapped({{"A", "1"}, {kComplete, "true"}, {kDisplayName, "Fine"}, {kMode, "5"}});
  ExpectItems({"CustomPQ"}, {{kDisplayName, "Fine"}, {kMode, "5"}});
  printer["items"][kMode] = "own";  // an item of the same name keeps its value
  WriteDataMap({kMode});
  ExpectMapped({{kMode, "own"}, {kComplete, "true"}, {kDisplayName, "Fine"}});
  WriteDataMap({});  // the entries are enough, but for a CID
  ExpectMapped({{kComplete, "true"}, {kDisplayName, "Fine"}, {kMode, "5"}});
  printer["items"].erase("DeviceID");
  EXPECT_EQ(Bidi(), kRefused);
  printer["items"]["CustomPQ"] = "";
  ExpectItems({"CustomPQ"}, {});  // an item without text is an item

  WCHAR language[16] = {};
  ASSERT_GT(GetLocaleInfoW(0, LOCALE_SISO639LANGNAME, language, 16), 0);
  printer["items"].erase("CustomPQ");
  printer["locale"][ToUtf8(language)] = std::string(1 << 20, 'x') + kMode + "=of the user's language";
  ExpectItems({"CustomPQ"}, {{kMode, "of the user's language"}});
}

TEST_F(Answers, StatusValues) {
  const Json empty = R"({"type": "VT_EMPTY"})"_json;
  const std::tuple<Json, Json, Json, std::string> rows[] = {
      {3, 2, "00", StatusText(3, 0, 0)},
      {4, 4, "0080", StatusText(4, 2, 128)},
      {3, 5, "", StatusText(3, 0, 0)},
      {1, 5, "0x8000", StatusText(1, 2, 32768)},
      {-2147483648LL, -1, "-1", StatusText(-2147483648LL, 0, 4294967295)},
      // The payload of an integer counts whatever its type says; only an empty one has none.
      {R"({"type": "VT_UI1", "value": 4})"_json, R"({"type": "VT_I2", "value": 4})"_json, "1",
       StatusText(4, 2, 1)},
      {empty, 4, "1", StatusText(0, 2, 1)},
      {4, empty, "1", StatusText(4, 0, 1)},
      {{{"type", 20}, {"value", 4294967300}}, {{"type", 0x4003}, {"value", 4}}, "1", StatusText(4, 2, 1)},
      // What is no text reads as an empty one.
      {3, 2, empty, StatusText(3, 0, 0)},
      {3, 2, {{"type", 0x4008}, {"value", 1}}, StatusText(3, 0, 0)},
      {3, 2, std::string(1 << 20, '0') + "80", StatusText(3, 0, 128)},
  };
  for (const auto& [printer_status, device_status, error_state, answer] : rows) {
    printer["oids"][kPrinterStatusOid] = printer_status;
    printer["oids"][kDeviceStatusOid] = device_status;
    printer["oids"][kErrorStateOid] = error_state;
    EXPECT_EQ(Status(), Yes(answer)) << printer["oids"].dump();
  }
}

TEST_F(Answers, StatusLibrariesByProcessor) {
  SetTrace(true);
  for (const auto& [processor, suffix] :
       {std::pair{"ARM64", "64"}, {"x86", "32"}, {"X86", "64"}, {"x86 ", "64"}, {"", "64"}}) {
    SCOPED_TRACE(processor);
    SetVariable("PROCESSOR_ARCHITECTURE", processor);
    EXPECT_EQ(Status(), Yes(StatusText(3, 0, 0)));
    Lines loaded = {HostFolder::Text("//vexmobixo"), HostFolder::Text("//vexmobixodm"),
                    HostFolder::Text("//vexmobixocert")};
    for (std::string& file : loaded) {
      file += suffix + std::string(".dll");
    }
    EXPECT_EQ(FilesIn(TakeTrace()), loaded);
  }
}

TEST_F(Answers, NamesOfQueuesPortsAndAddresses) {
  const std::string longest(1023, 'q');
  const Json known = R"({"text": "192.0.2.10"})"_json;
  printer["addresses"] = Json::object();
  printer["addresses"]["queues"][longest] = known;
  EXPECT_EQ(Items({"A"}), kRefused);
  for (const std::string& queue : {longest, longest + "q", longest + longest}) {
    EXPECT_TRUE(Bidi({.queue = queue}).ok) << "it counts up to 1023 characters";
    EXPECT_EQ(Port(queue), (PortAnswer{true, 0}));
    EXPECT_TRUE(Save(kPassword, {.queue = queue}));
  }
  EXPECT_EQ(Bidi({.queue = longest.substr(1)}), kRefused);

  const std::string address(1500, '1');
  printer["addresses"]["ip"][address] = known;
  EXPECT_EQ(Status(address), Yes(StatusText(3, 0, 0))) << "it goes whole to the library";
  EXPECT_EQ(Status(address.substr(0, 1023)), kRefused);

  const std::string long_port(300, 'p');
  for (const auto& [queue, port, known_as] :
       {std::tuple{"CustomBidi LPT test", std::string("LPT1:"), std::string("LPT1:")},
        {"CustomBidi port with blanks", "IP 192.0.2.10 \xC3\xBC", "IP 192.0.2.10 \xC3\xBC"},
        {"CustomBidi long port", long_port, long_port.substr(0, 255)}}) {
    AddQueue(queue, port);
    printer["addresses"]["ports"][known_as] = known;
    EXPECT_EQ(Port(queue), (PortAnswer{true, 1})) << queue;
    EXPECT_TRUE(Bidi({.queue = queue}).ok) << queue;
  }
}

TEST_F(Answers, QueueThatDoesNotExistHasNoPort) {
  const std::string unknown = "CustomBidi queue without a printer";
  SetSwitch(unknown, RegistryBytes::Dword(1));
  EXPECT_EQ(Port(unknown), (PortAnswer{true, 0}));
  ExpectTraced(Before(PortStatusOf(""), "Get Address from") +
               Lines{"Driver is connected to non-physical port(Local/LPT/Serial port"});
  EXPECT_EQ(Read(kFullCheck, kUser, unknown), std::nullopt);
  ExpectTraced(SecurityInitialisation() + Lines{" the port name from the printer is: []"});
  EXPECT_EQ(Read(kWithoutAddress, kUser, unknown), (Record{"", Certificate("device"), {}}));
}

TEST_F(Answers, ConfigurationNamesEachFileOrNone) {
  for (const char* content : {"", "<Deeper><FILE_INFO64 ixo_dll='other.dll'/></Deeper>",
                              "<FILE_INFO64 IXO_DLL='o.dll'/><FILE_INFO64 ixo_dll='o.dll'/>"}) {
    EXPECT_EQ(FilesWith(content), defaults_) << content;
  }
  const char* const rows[][3] = {{"ixo_dll", "vexmoixo.dll", "lib\\io.dll"},
                                 {"xdm_dll", "vexmoixodm.dll", "lib\\dm.dll"},
                                 {"ixo_cert_dll", "vexmobixocert.dll", "lib\\cert.dll"},
                                 {"xdm_xml", "vexmoixodatamap.xml", "ger\xC3\xA4t \xE6\x97\xA5.xml"}};
  Lines files = defaults_;
  std::string attributes;
  for (size_t i = 0; i < std::size(rows); ++i) {
    const auto& [attribute, file, copy] = rows[i];
    std::string path = copy;
    std::ranges::replace(path, '\\', '/');
    host.Copy(file, path);
    host.Remove(file);
    attributes += std::string(attribute) + "='" + copy + "' ";
    files[i] = HostFolder::Text("\\" + std::string(copy));
    EXPECT_EQ(FilesWith("<FILE_INFO64 " + attributes + "/>"), files);
  }
  EXPECT_EQ(Port(), (PortAnswer{true, 1}));
}

TEST_F(Answers, ConfigurationNamesAreTakenAsTheyAre) {
  EXPECT_EQ(FilesWith("<FILE_INFO64 ixo_dll=''/>", false), Lines{HostFolder::Text("\\")});
  EXPECT_EQ(FilesWith("<FILE_INFO64 xdm_dll='none.dll'/>", false),
            (Lines{defaults_[0], HostFolder::Text("\\none.dll")}));
  const std::string name(255, 'n');
  EXPECT_EQ(FilesWith("<FILE_INFO64 ixo_dll='" + name + std::string(45, 'x') + "'/>", false),
            Lines{HostFolder::Text("\\" + name)});
  EXPECT_EQ(Port(), (PortAnswer{false, kUntouchedStatus}));
}

}  // namespace
}  // namespace custom_bidi_test
