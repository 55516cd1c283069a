// Texts, tables, answers, certificates and queues, where the command line shows only some of the cases.

#include <gtest/gtest.h>

#include <sstream>
#include <thread>

#include "tools/bidictl/platform/console.h"
#include "tools/bidictl/platform/printer_address.h"
#include "tools/bidictl/platform/queue_store.h"
#include "tools/bidictl/text/bidictl_text.h"
#include "tools/bidictl/text/printer_answers.h"
#include "tools/bidictl/text/shown_certificate.h"

namespace custom_bidi_tools {
namespace {

using Lines = std::vector<std::string>;

TEST(BidictlText, ConvertsWhatIsWellFormed) {
  for (const char* text : {"", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80", "\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBD",
                           "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"}) {
    EXPECT_EQ(ToUtf8(ToWide(text).value()), text);
  }
  EXPECT_TRUE(*ToWide("\xF0\x9F\x98\x80") == (WideString{0xD83D, 0xDE00}));
  for (const char* text :
       {"a\x80", "\xC3", "\xE2\x82", "\xF0\x9F\x98", "\xE2\x82x", "\xC0\xAF", "\xE0\x9F\xBF", "\xED\xA0\x80",
        "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xFF"}) {
    EXPECT_FALSE(ToWide(text)) << text;
  }
  EXPECT_EQ(ToUtf8(WideString{0xDE00, 0xD83D, 'x', 0xD83D}), "\xEF\xBF\xBD\xEF\xBF\xBDx\xEF\xBF\xBD");
}

std::string FileBytes(const std::u16string& text) {
  return {reinterpret_cast<const char*>(text.data()), 2 * text.size()};
}

TEST(TraceDecoder, IsTheSameInPiecesOfAnySize) {
  constexpr char16_t kHigh = 0xD83D;
  constexpr char16_t kLow = 0xDE00;
  const std::pair<std::string, std::string> cases[] = {
      {FileBytes(u"[09:05]  Gr\u00FC \U0001F600\r\nr\ralone\r\n\nend\r\n"),
       "[09:05]  Gr\xC3\xBC \xF0\x9F\x98\x80\nr\ralone\n\nend\n"},
      {FileBytes(u"a") + "b", "a\xEF\xBF\xBD"},
      {FileBytes({u'a', kHigh}), "a\xEF\xBF\xBD"},
      {FileBytes({kHigh}) + "b", "\xEF\xBF\xBD"},
      {FileBytes({kLow, u'-'}), "\xEF\xBF\xBD-"},
      {FileBytes({kHigh, kHigh, kLow}), "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
      {FileBytes({kHigh, u'\r', u'\n'}), "\xEF\xBF\xBD\n"},
      {FileBytes(u"a\r"), "a\r"}};
  for (const auto& [bytes, expected] : cases) {
    for (size_t piece = 1; piece <= bytes.size(); ++piece) {
      TraceDecoder decoder;
      std::string text;
      for (size_t at = 0; at < bytes.size(); at += piece) {
        text += decoder.Decode(bytes.substr(at, piece));
      }
      EXPECT_EQ(text + decoder.Finish(), expected) << "in pieces of " << piece;
      EXPECT_EQ(decoder.Decode(FileBytes(u"new")), "new") << "begins anew";
    }
  }
}

TEST(WrapText, CutsAtBlanksWhereItCan) {
  const struct {
    const char* text;
    size_t width;
    Lines lines;
  } cases[] = {{"", 5, {""}},
               {"abcde fgh", 5, {"abcde", "fgh"}},
               {"abcdefgh", 5, {"abcdefgh"}},
               {" abcdefg 12345678  x", 5, {" abcdefg", "12345678", " x"}},
               {"aa bb cc dd", 5, {"aa bb", "cc dd"}},
               {"abcdef ", 5, {"abcdef"}},
               {"a b", 0, {"a", "b"}},
               {"\xC3\xBC\xC3\xBC \xF0\x9F\x98\x80", 2, {"\xC3\xBC\xC3\xBC", "\xF0\x9F\x98\x80"}},
               {"a\tb\x1B[2J\x7F\xC2\x9B\xC2\xA0", 20, {"a b [2J  \xC2\xA0"}}};
  for (const auto& row : cases) {
    EXPECT_EQ(WrapText(row.text, row.width), row.lines) << row.text;
  }
}

TEST(LayOut, AlignsValuesWithinTheWidth) {
  EXPECT_EQ(LayOut({{"CID", "VX"}, {"Gr\xC3\xBC\xC3\x9F", "one two three four five six"}}, 30),
            "CID   VX\nGr\xC3\xBC\xC3\x9F  one two three four five\n      six\n");
  EXPECT_EQ(LayOut({{"CID", "VX"}, {"a-name-of-nearly-all-of-the-width", "value"}}, 40),
            "CID  VX\na-name-of-nearly-all-of-the-width\n     value\n");
  EXPECT_EQ(LayOut({{"a-name-of-nearly-all-of-the-width", ""}}, 40), "a-name-of-nearly-all-of-the-width\n");
  for (const size_t width : {20, 42, 60, 100}) {
    std::istringstream text(
        LayOut({{"name", "12345678 is a number"}, {std::string(19, 'n'), "a b c d e f g h i j k"}}, width));
    for (std::string line; std::getline(text, line);) {
      EXPECT_LE(line.size(), width) << line;
    }
  }
}

TEST(PrinterAddress, HostOfPort) {
  const std::pair<const char*, const char*> cases[] = {
      {"192.0.2.10", "192.0.2.10"},
      {"192.0.2.10:8631", "192.0.2.10"},
      {"192.0.2.10:", ""},
      {"192.0.2.10:65536", ""},
      {"192.0.2.256", ""},
      {"fe80::1%eth0", "fe80::1%eth0"},
      {"[2001:db8::10]:8631", "2001:db8::10"},
      {"[2001:db8::10", ""},
      {"[printer.example.org]", ""},
      {"IP_192.0.2.10", "192.0.2.10"},
      {"ip_192.0.2.10_1", "192.0.2.10"},
      {"printer.example.org:9100", "printer.example.org"},
      {"ipp://Office/ipp/print?waitjob=false", "Office"},
      {"IPPS://jdoe:x@[fe80::1%25eth0]:631/a@b", "fe80::1%eth0"},
      {"socket://192.0.2.10", "192.0.2.10"},
      {"lpd:///queue", ""},
      {"usb://Vexmo.example/C740", ""},
      {"Office", ""},
      {"LPT1:", ""},
      {"C:\\out.prn", ""},
      {"a port.name", ""},
      {"", ""}};
  for (const auto& [port, host] : cases) {
    EXPECT_EQ(HostOfPort(port), host) << port;
  }
}

TEST(ItemRows, SortsAndJoinsLists) {
  const std::pair<const char*, const char*> cases[] = {
      {R"({"b": "2","a": "1","CID": ""})", "CID=;a=1;b=2;"},
      {R"({"M_Value": "a4,a3, a5,","M": "Valid","CID": "X"})", "CID=X;M=a4, a3, a5,;"},
      {R"({"M": "Valid","CID": "X"})", "CID=X;M=Valid;"},
      {R"({"M": "no","M_Value": "a,b","CID": "X"})", "CID=X;M=no;M_Value=a,b;"},
      {R"({"CID": "item","CID": "device"})", "CID=device;"},
      {R"({"M": "C:\temp\x","CID": "X"})", "nothing"},
      {"\"text\"", "nothing"}};
  for (const auto& [answer, expected] : cases) {
    const auto rows = ItemRows(answer);
    std::string text = rows ? "" : "nothing";
    for (const auto& row : rows.value_or(std::vector<Row>())) {
      text += row.name + "=" + row.value + ";";
    }
    EXPECT_EQ(text, expected) << answer;
  }
}

TEST(StatusWords, ReadTheErrorStateByItsBytes) {
  const std::pair<uint32_t, std::string> cases[] = {
      {0xFF, "lowPaper, noPaper, lowToner, noToner, doorOpen, jammed, offline, serviceRequested (0xFF)"},
      {0xFFFF,
       "lowPaper, noPaper, lowToner, noToner, doorOpen, jammed, offline, serviceRequested, inputTrayMissing, "
       "outputTrayMissing, markerSupplyMissing, outputNearFull, outputFull, inputTrayEmpty, "
       "overduePreventMaint, bits without a name (0xFFFF)"},
      {0x0102, "serviceRequested, overduePreventMaint (0x0102)"},
      {0x400000, "noPaper (0x400000)"},
      {0x408001, "noPaper, inputTrayMissing, bits without a name (0x408001)"},
      {0x04000000, "jammed (0x4000000)"}};
  for (const auto& [code, errors] : cases) {
    EXPECT_EQ(
        LayOut(ExplainStatus({0, 2, code}), 1000),
        "printer state  no value (0)\nresponse code  the device is testing itself, or is down and neither "
        "idle nor printing (2)\nerror state    " +
            errors + "\n");
  }
  StatusAnswer answer;
  ASSERT_TRUE(TryParseStatus(R"({"printerState":-1,"responseCode": 3,"statusCode":4294967295})", answer));
  EXPECT_EQ(answer.status_code, 0xFFFFFFFF);
  for (const int64_t state : {answer.printer_state, int64_t{6}}) {
    EXPECT_TRUE(LayOut(ExplainStatus({state, answer.response_code, 0}), 1000)
                    .starts_with("printer state  not a known state (" + std::to_string(state) +
                                 ")\nresponse code  not a known code (3)\n"));
  }
  EXPECT_EQ(PrinterStateName(5), "warmup");
  for (const char* other : {"", "[]", R"({"printerState":"3","responseCode":0,"statusCode":0})"}) {
    EXPECT_FALSE(TryParseStatus(other, answer)) << other;
  }
}

TEST(ShownCertificate, NamesOfWarnings) {
  const std::pair<uint32_t, const char*> cases[] = {
      {1169, "ERROR_NO_MATCH"},  // and not the bits of that number
      {0x5, "CERT_TRUST_IS_NOT_TIME_VALID | CERT_TRUST_IS_REVOKED"},
      {0x00100020, "CERT_TRUST_IS_UNTRUSTED_ROOT | CERT_TRUST_HAS_WEAK_SIGNATURE"},
      {0, "without a name"},
      {12000, "without a name"},
      {0x80000001, "without a name"}};
  for (const auto& [code, name] : cases) {
    EXPECT_EQ(WarningName(code), name) << code;
  }
}

// The command line shows the other verdicts.
TEST(ShownCertificate, Verdicts) {
  using Codes = std::vector<uint32_t>;
  const struct {
    Codes before, after;
    bool is_kept;
    Verdict verdict;
  } cases[] = {{{1169}, {}, true, Verdict::kMatches},
               {{1169}, {1169}, false, Verdict::kNotKept},  // the device's own
               {{1169}, {1169, 1169}, true, Verdict::kDiffers},
               {{2}, {2, 1169, 12037}, true, Verdict::kDiffers},
               {{2, 1, 1169}, {2, 1, 1169}, false, Verdict::kNonNegotiable}};
  for (const auto& row : cases) {
    EXPECT_EQ(JudgeCheck(row.before, row.after, row.is_kept), row.verdict)
        << testing::PrintToString(row.before);
  }
  for (const uint32_t code : {0x1u, 0x4u, 0x8u, 0x10u, 0x20u, 0x40u, 0x00100000u, 0x04000000u}) {
    EXPECT_TRUE(IsNonNegotiable(code)) << code;
  }
  for (const uint32_t code : {0u, 2u, 5u, 0x80u, 0x04000001u, 1169u, 12037u}) {
    EXPECT_FALSE(IsNonNegotiable(code)) << code;
  }
}

TEST(ShownCertificate, IsReadOrIsNone) {
  using Bytes = std::vector<uint8_t>;
  for (const Bytes& bytes : {Bytes(), Bytes{'x'}, Bytes(1000, 0x30)}) {
    EXPECT_FALSE(ReadCertificate(bytes)) << bytes.size();
  }
  const std::pair<Bytes, std::string> pems[] = {{{'f'}, "Zg==\n"},
                                                {{0xFB, 0xFF, 0xFE, 'f', 'o'}, "+//+Zm8=\n"},
                                                {Bytes(48, 0), std::string(64, 'A') + "\n"},
                                                {Bytes(49, 0), std::string(64, 'A') + "\nAA==\n"}};
  for (const auto& [bytes, body] : pems) {
    EXPECT_EQ(PemOf(bytes), "-----BEGIN CERTIFICATE-----\n" + body + "-----END CERTIFICATE-----\n");
  }
}

TEST(Secret, Wiping) {
  std::vector<uint8_t> bytes(4, 0xA5);
  Wipe(bytes.data() + 1, 2);
  EXPECT_EQ(bytes, (std::vector<uint8_t>{0xA5, 0, 0, 0xA5}));
}

TEST(QueueStore, TakesOnlyWhatAQueueCanHaveAndLosesNothing) {
  const auto remove_all = [] {
    int removed = 0;
    for (const Queue& queue : ListQueues()) {
      if (queue.name.starts_with("bidictl-test")) {
        RemoveQueue(queue.name);
        ++removed;
      }
    }
    return removed;
  };
  remove_all();
  for (const char* name : {"bidictl-test\\x", "bidictl-test\n", "bidictl-test\x7F", "bidictl-test\xFF"}) {
    EXPECT_THROW(AddQueue(name, "192.0.2.10"), QueueError) << name;
  }
  for (const char* port : {"a\rb", "\xC3"}) {
    EXPECT_THROW(AddQueue("bidictl-test", port), QueueError) << port;
  }
  std::vector<std::jthread> threads;
  for (const std::string thread : {"0", "1", "2", "3"}) {
    threads.emplace_back([thread] {
      for (const char* queue : {"-0", "-1", "-2", "-3", "-4"}) {
        AddQueue("bidictl-test " + thread + queue, "192.0.2.10");
      }
    });
  }
  threads.clear();
  EXPECT_EQ(remove_all(), 4 * 5);
}

}  // namespace
}  // namespace custom_bidi_tools
