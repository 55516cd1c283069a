#include "tools/bidictl/status_words.h"

#include <gtest/gtest.h>

namespace custom_bidi_tools {
namespace {

using Names = std::vector<std::string>;

TEST(StatusWords, ReadsTheErrorStateByItsBytes) {
  const struct {
    uint32_t code;
    Names names;
    bool has_unknown_bits;
  } cases[] = {
      {0, {}, false},
      {0x80, {"lowPaper"}, false},
      {0x40, {"noPaper"}, false},
      {0x01, {"serviceRequested"}, false},
      {0xFF,
       {"lowPaper", "noPaper", "lowToner", "noToner", "doorOpen", "jammed", "offline", "serviceRequested"},
       false},
      {0x4000, {"noPaper"}, false},
      {0x8810, {"lowPaper", "doorOpen", "outputNearFull"}, false},
      {0x0102, {"serviceRequested", "overduePreventMaint"}, false},
      {0x80FE,
       {"lowPaper", "inputTrayMissing", "outputTrayMissing", "markerSupplyMissing", "outputNearFull",
        "outputFull", "inputTrayEmpty", "overduePreventMaint"},
       false},
      {0x8001, {"lowPaper"}, true},
      {0x400000, {"noPaper"}, false},
      {0x408001, {"noPaper", "inputTrayMissing"}, true},
      {0x04000000, {"jammed"}, false},
      {0x04000001, {"jammed"}, true},
  };
  for (const auto& expected : cases) {
    const ErrorState state = ReadErrorState(expected.code);
    EXPECT_EQ(state.names, expected.names) << std::hex << expected.code;
    EXPECT_EQ(state.has_unknown_bits, expected.has_unknown_bits) << std::hex << expected.code;
  }
}

TEST(StatusWords, TakesBothFormsOfTheAnswer) {
  StatusAnswer answer;
  ASSERT_TRUE(TryParseStatus(R"({"printerState":-1,"responseCode":2,"statusCode":4294967295})", answer));
  EXPECT_EQ(answer.printer_state, -1);
  EXPECT_EQ(answer.response_code, 2);
  EXPECT_EQ(answer.status_code, 0xFFFFFFFF);
  ASSERT_TRUE(TryParseStatus(R"({"printerState": 5,"responseCode": 1,"statusCode": 0})", answer));
  EXPECT_EQ(ExplainStatus(answer), "the printer could not be read\n");

  for (const char* other : {"{}", "", "[]", R"({"printerState":"3","responseCode":0,"statusCode":0})"})
    EXPECT_FALSE(TryParseStatus(other, answer)) << other;
}

TEST(StatusWords, ExplainsEachMember) {
  EXPECT_EQ(ExplainStatus({3, 0, 0}),
            "printer state  idle (3)\n"
            "response code  the device is in service (0)\n"
            "error state    none (0x00)\n");
  EXPECT_EQ(ExplainStatus({0, 2, 0x4001}),
            "printer state  no value (0)\n"
            "response code  the device is testing itself, or is down and neither idle nor printing (2)\n"
            "error state    noPaper, bits without a name (0x4001)\n");
  EXPECT_EQ(PrinterStateName(-1), PrinterStateName(6));
}

}  // namespace
}  // namespace custom_bidi_tools
