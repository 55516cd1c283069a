// What GetBidiResponse, GetStatusData and GetPortStatus answer, and which libraries they ask.

#include <algorithm>

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

using Members = std::vector<std::pair<std::string, std::string>>;

constexpr char kComplete[] = "JobJsonDeviceCapsComplete";
constexpr char kDisplayName[] = "vexmo-print-quality-supported.com.vexmo.display-string.21";
constexpr char kMode[] = "vexmo-print-quality-supported.com.vexmo.pq-mode.21";

class Answers : public CallTest {
 protected:
  /// Asked for the items by name, without a default CID; no members: refused.
  void ExpectItems(const std::vector<MaybeText>& names, const Members& members) {
    EXPECT_EQ(Items(names), members.empty() ? kRefused : Yes(BidiText(members, "")));
  }
  /// Asked for the data map's.
  void ExpectMapped(const Members& members) { EXPECT_EQ(Bidi(), Yes(BidiText(members, "Vexmo_1"))); }
};

TEST_F(Answers, DataMapNamesTheItems) {
  WriteDataMap({"B", "Missing", "A"});
  printer["items"]["B"] = "two";
  const Members members = {{"B", "two"}, {"A", "1"}, {kComplete, "true"}};
  ExpectMapped(members);
  for (const CustomBidiLong count : {-1, 7}) {
    EXPECT_EQ(Bidi({.queue = kQueue, .count = count}), Yes(BidiText(members, "Vexmo_1"))) << count;
  }
  WriteDataMap({kComplete});
  printer["items"][kComplete] = "false";
  ExpectMapped({{kComplete, "true"}});
  WriteDataMap({"CID"});
  printer["items"]["CID"] = "item";
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
      {{"", "Missing", "A"}, a},
      {{"a"}, {}},  // names count by their exact characters
      {{}, {}},
      {{std::nullopt}, {}},
      {{"DeviceID"}, {{"DeviceID", "MFG:Vexmo;CID:Vexmo_1;"}}}};
  for (const auto& [names, members] : rows) {
    SCOPED_TRACE(testing::PrintToString(names));
    ExpectItems(names, members);
  }
  EXPECT_EQ(Bidi({.queue = kQueue, .cid = "Given", .names = {{"A"}}}), Yes(BidiText(a, "Given")));
  EXPECT_EQ(Bidi({.queue = kQueue, .names = {{"A", "DeviceID"}}, .count = 1}), Yes(BidiText(a, "")));
  EXPECT_EQ(Bidi({.queue = kQueue, .names = {{"A"}}, .count = -1}), kRefused);
  EXPECT_EQ(Bidi({.queue = kQueue, .names = {{"A"}}, .count = 0}), kRefused);
}

TEST_F(Answers, ValuesAsText) {
  const std::string longest(4095, 'x');
  const auto expect = [this](const Json& item, const Members& read) {
    SCOPED_TRACE(item.Text());
    printer["items"]["X"] = item;
    Members members = read;
    members.push_back({"A", "1"});
    ExpectItems({"X", "A"}, members);
  };
  for (const auto& [type, value] :
       std::initializer_list<std::pair<std::string, std::string>>{{"I1", "-56"},
                                                                  {"UI1", "200"},
                                                                  {"I2", "-5"},
                                                                  {"UI2", "65535"},
                                                                  {"I4", "-2147483648"},
                                                                  {"UI4", "4294967295"}}) {
    expect(Json::Raw("{\"type\": \"VT_" + type + "\", \"value\": " + value + "}"), {{"X", value}});
  }
  for (const char* value :
       {R"("VT_BSTR", "value": null)", R"("VT_BSTR", "value": "")", R"("VT_BOOL", "value": true)",
        R"("VT_R8", "value": 1.5)", R"("VT_NULL")", R"("VT_EMPTY")"}) {
    expect(Json::Raw(std::string("{\"type\":") + value + "}"), {});
  }
  expect(0, {{"X", "0"}});
  expect(longest, {{"X", longest}});
  expect(longest + "x", {});
  for (const char* text : {"\"\\\r\n\t\x01", " ", "{}", "f\u00fcr \u65e5\u672c \U0001F5A8", "100%s %d"}) {
    expect(text, {{"X", text}});  // unchanged
  }
  expect("a,", {{"X_Value", "a,"}, {"X", "Valid"}});
}

TEST_F(Answers, LaterReadOfANameCountsUnlessItFails) {
  WriteDataMap({"A", "B", "A"});
  printer["items"]["B"] = "2";
  Fail("DataCollection.GetValue", With(kEFail, "\"call\": 4"));  // the first read is that of DeviceID
  ExpectMapped({{"A", "1"}, {"B", "2"}, {kComplete, "true"}});
  Heal();
  printer["items"]["A"] = "x,y";
  printer["items"]["A_Value"] = "own";
  ExpectItems({"A", "A_Value"}, {{"A_Value", "own"}, {"A", "Valid"}});
}

TEST_F(Answers, CidOfTheDeviceElseTheDefault) {
  const std::string filler(1003, 'f');
  const std::tuple<Json, std::string, MaybeText> rows[] = {
      {"MFG:Maker;MDL:Model 7;CID:Maker_Model_7;", "Given", "Maker_Model_7"},
      {"MFG:Maker;", "", std::nullopt},
      {5, "Given", "Given"},
      {filler + std::string(14, 'x') + ";CID:x", "Given", "x"},  // 1023 characters
      {filler + std::string(15, 'x') + ";CID:x", "Given", "Given"},
      {"MFG:Maker;", filler + std::string(19, 'c') + "\U0001F5A8", filler + std::string(19, 'c') + "\uFFFD"}};
  for (const auto& [device_id, given, cid] : rows) {
    printer["items"]["DeviceID"] = device_id;
    EXPECT_EQ(Bidi({.queue = kQueue, .cid = given}),
              cid ? Yes(BidiText({{"A", "1"}, {kComplete, "true"}}, *cid)) : kRefused);
  }
}

TEST_F(Answers, PrintQualityEntriesComeAfterTheItems) {
  printer["locale"]["*"] =
      std::string("\"") + kDisplayName + "\" = \"Fine\";\r\n\"" + kMode + "\" = \"5\";\r\n";
  ExpectMapped({{"A", "1"}, {kComplete, "true"}, {kDisplayName, "Fine"}, {kMode, "5"}});
  ExpectItems({"CustomPQ"}, {{kDisplayName, "Fine"}, {kMode, "5"}});
  ExpectItems({"customPQ"}, {});
  ExpectItems({"A"}, {{"A", "1"}});  // not asked for

  printer["items"][kMode] = "own";  // an item of the same name keeps its value
  ExpectItems({"CustomPQ", kMode}, {{kDisplayName, "Fine"}, {kMode, "own"}});
  WriteDataMap({kMode});
  ExpectMapped({{kMode, "own"}, {kComplete, "true"}, {kDisplayName, "Fine"}});
  WriteDataMap({});
  printer["items"].erase("DeviceID");
  EXPECT_EQ(Bidi({.queue = kQueue, .cid = "Given"}),
            Yes(BidiText({{kComplete, "true"}, {kDisplayName, "Fine"}, {kMode, "5"}}, "Given")));
  EXPECT_EQ(Bidi(), kRefused) << "there is no CID at all";

  printer["items"]["CustomPQ"] = "item";
  ExpectItems({"CustomPQ"}, {{"CustomPQ", "item"}});
  printer["items"]["CustomPQ"] = "";
  ExpectItems({"CustomPQ"}, {});  // an item without text is an item

  WCHAR language[16] = {};
  ASSERT_GT(GetLocaleInfoW(0, LOCALE_SISO639LANGNAME, language, 16), 0);
  printer["items"].erase("CustomPQ");
  printer["locale"][ToUtf8(language)] = std::string(kMode) + "=of the user's language";
  ExpectItems({"CustomPQ"}, {{kMode, "of the user's language"}});
}

TEST_F(Answers, StatusValues) {
  const Json empty = R"({"type": "VT_EMPTY"})"_json;
  const std::tuple<Json, Json, Json, std::string> rows[] = {
      {3, 2, "00", StatusText(3, 0, 0)},
      {4, 4, "0080", StatusText(4, 2, 128)},
      {3, 5, "", StatusText(3, 0, 0)},
      {1, 5, "0x8000", StatusText(1, 2, 32768)},
      {3, 4, "00", StatusText(3, 2, 0)},
      {5, 1, "FFFFFFFF", StatusText(5, 0, 4294967295)},
      {-2147483648LL, -1, "+10", StatusText(-2147483648LL, 0, 16)},
      // The payload of an integer counts whatever its type says; only an empty one has none.
      {R"({"type": "VT_UI1", "value": 4})"_json, R"({"type": "VT_I2", "value": 4})"_json, "1",
       StatusText(4, 2, 1)},
      {empty, 4, "1", StatusText(0, 2, 1)},
      {4, empty, "1", StatusText(4, 0, 1)},
      // What is no text reads as an empty one.
      {3, 2, empty, StatusText(3, 0, 0)},
      {3, 2, R"({"type": "VT_BSTR", "value": null})"_json, StatusText(3, 0, 0)},
      {3, 2, 80, StatusText(3, 0, 0)},
  };
  for (const auto& [printer_status, device_status, error_state, answer] : rows) {
    printer["oids"][kPrinterStatusOid] = printer_status;
    printer["oids"][kDeviceStatusOid] = device_status;
    printer["oids"][kErrorStateOid] = error_state;
    EXPECT_EQ(Status(), Yes(answer)) << printer["oids"].Text();
  }
}

TEST_F(Answers, StatusLibrariesByProcessor) {
  SetTrace(true);
  for (const auto& [processor, suffix] :
       {std::pair{"ARM64", "64"}, {"x86", "32"}, {"X86", "64"}, {"x86 ", "64"}, {"", "64"}}) {
    SCOPED_TRACE(processor);
    SetVariable("PROCESSOR_ARCHITECTURE", processor);
    EXPECT_EQ(Status(), Yes(StatusText(3, 0, 0)));
    const Lines trace = TakeTrace();
    for (const char* name : {"vexmobixo", "vexmobixodm", "vexmobixocert"}) {
      const std::string file = HostFolder::Text("//" + (name + std::string(suffix)) + ".dll]");
      EXPECT_TRUE(std::ranges::any_of(trace, [&](const std::string& line) { return line.ends_with(file); }))
          << file;
    }
  }
  HideProcessor();
  EXPECT_EQ(Status(), kRefused);
  ExpectTraced({"Load IXO / XDM / IXO Cert Libraries!", ">> IxoWrapper: Invalid DLL Name",
                ">>>>>Custom Bidi :  Init IO fail!!!",
                ">>>> Custom Bidi : InitIOWrapperForStatus Initialization failed!!"});
}

TEST_F(Answers, MissingArguments) {
  SetTrace(true);
  DeviceCertificate record = {};
  for (const MaybeText& none : {MaybeText(), MaybeText("")}) {
    EXPECT_EQ(Bidi({.queue = none}), kRefused);
    EXPECT_EQ(Bidi({.queue = none, .cid = "Given", .names = {{"A"}}}), kRefused);
    EXPECT_EQ(Status(none), kRefused);
    EXPECT_EQ(Port(none), (PortAnswer{false, kUntouchedStatus}));
    for (const PasswordNames& names :
         {PasswordNames{.user = none}, {.target = none}, {.queue = none}, {none, none, none}}) {
      EXPECT_FALSE(Save(kPassword, names) || IsPresent(names) || Delete(names));
    }
    for (const uint32_t mode : {0u, 1u, 7u}) {
      EXPECT_EQ(Read(mode, kUser, none), std::nullopt);
      EXPECT_FALSE(CheckRaw(&record, mode, kUser, none) || CheckRaw(nullptr, mode, std::nullopt, none));
    }
  }
  ExpectTraced({});  // nobody has the file open; held_trace_tests.cpp has the lines
  EXPECT_EQ(TakeCalls(), Lines{}) << "nothing was loaded";
  SetTrace(false);
  WritePrinter();
  for (const char* queue : {kQueue, ""}) {
    EXPECT_EQ(GetBidiResponse(nullptr, ToWide(queue).c_str(), nullptr, nullptr, 0), 0);
    EXPECT_EQ(GetStatusData(*queue == 0 ? nullptr : ToWide(kAddress).c_str(), nullptr), 0);
  }
  for (const char* address : {R"({"active": true})", R"({"active": false})", "null"}) {
    printer["addresses"]["ports"]["*"] = Json::Raw(address);
    WritePrinter();
    EXPECT_EQ(GetPortStatus(ToWide(kQueue).c_str(), nullptr), 1);
  }
}

TEST_F(Answers, NamesOfQueuesPortsAndAddresses) {
  const std::string longest(1023, 'q');
  const Json known = R"({"text": "192.0.2.10"})"_json;
  printer["addresses"] = {};
  printer["addresses"]["queues"][longest] = known;
  for (const size_t more : {0u, 1u, 977u}) {
    EXPECT_EQ(Items({"A"}), kRefused);
    EXPECT_TRUE(Bidi({.queue = longest + std::string(more, 'q')}).ok) << "it counts up to 1023 characters";
    EXPECT_EQ(Port(longest + std::string(more, 'q')), (PortAnswer{true, 0}));
    EXPECT_TRUE(Save(kPassword, {.queue = longest + std::string(more, 'q')}));
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
  // The items of such a queue come from an address by the queue's name; its certificate has none.
  EXPECT_EQ(Bidi({.queue = unknown, .names = {{"A"}}}), Yes(BidiText({{"A", "1"}}, "")));
  ExpectTraced(BidiInitialisation(unknown, "") + Lines{kLoadSucceeded});
  EXPECT_EQ(Read(kFullCheck, kUser, unknown), std::nullopt);
  ExpectTraced(SecurityInitialisation() + Lines{" the port name from the printer is: []"});
  EXPECT_EQ(Read(kWithoutAddress, kUser, unknown), (Record{"", Certificate("device"), {}}));
}

/// Which files are loaded from where.
class Configuration : public CallTest {
 protected:
  /// Those of one call, as traced, with this inside the configuration's root.
  Lines FilesWith(const std::string& content, bool answered = true) {
    SetTrace(true);
    WriteConfiguration(content);
    EXPECT_EQ(Bidi().ok, answered) << content;
    Lines files;
    for (const std::string& line : TakeTrace()) {
      if (line.find("_DLL: [") != line.npos || line.starts_with("CreateDataCollection from xml: [")) {
        files.push_back(line.substr(line.find('[') + 1, line.rfind(']') - line.find('[') - 1));
      }
    }
    return files;
  }

  const Lines defaults_ = {HostFolder::Text("//vexmoixo.dll"), HostFolder::Text("//vexmoixodm.dll"),
                           HostFolder::Text("//vexmobixocert.dll"),
                           HostFolder::Text("//vexmoixodatamap.xml")};
};

TEST_F(Configuration, NamesEachFileOrNone) {
  for (const char* content :
       {"", "<FILE_INFO64/>", "<FILE_INFO64 IXO_DLL='other.dll'/>", "<FILE_INFO ixo_dll='o.dll'/>",
        "<Deeper><FILE_INFO64 ixo_dll='other.dll'/></Deeper>",
        "<FILE_INFO64/><FILE_INFO64 ixo_dll='other.dll'/>"}) {
    EXPECT_EQ(FilesWith(content), defaults_) << content;
  }
  const char* const rows[][3] = {{"ixo_dll", "vexmoixo.dll", "lib\\io.dll"},
                                 {"xdm_dll", "vexmoixodm.dll", "lib\\dm.dll"},
                                 {"ixo_cert_dll", "vexmobixocert.dll", "lib\\cert.dll"},
                                 {"xdm_xml", "vexmoixodatamap.xml", "ger\xC3\xA4t \xE6\x97\xA5.xml"}};
  Lines all;
  std::string attributes;
  for (const auto& [attribute, file, copy] : rows) {
    std::string path = copy;
    std::ranges::replace(path, '\\', '/');
    host.Copy(file, path);
    attributes += std::string(attribute) + "='" + copy + "' ";
    all.push_back(HostFolder::Text("\\" + std::string(copy)));
    EXPECT_EQ(FilesWith("<FILE_INFO64 " + attributes + "/>"),
              all + Lines(defaults_.begin() + static_cast<std::ptrdiff_t>(all.size()), defaults_.end()));
  }
  for (const auto& row : rows) {
    host.Remove(row[1]);
  }
  EXPECT_EQ(FilesWith("<FILE_INFO64 " + attributes + "/>"), all);
  EXPECT_EQ(Port(), (PortAnswer{true, 1}));
}

TEST_F(Configuration, NamesAreTakenAsTheyAre) {
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
