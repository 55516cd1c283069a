// The trace file: when it is written, and what one call of each kind writes.

#include <filesystem>
#include <fstream>

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

namespace fs = std::filesystem;

constexpr char kLoadSucceeded[] = ">>>>>Custom Bidi :  LoadIPPResponse success!!!";

class Trace : public CallTest {};

TEST_F(Trace, SwitchIsWhateverBytesTheValueHolds) {
  using Type = RegistryBytes::Type;
  const struct {
    const char* what;
    RegistryBytes value;
    bool on;
  } rows[] = {
      {"0", RegistryBytes::Dword(0), false},
      {"1", RegistryBytes::Dword(1), true},
      {"2", RegistryBytes::Dword(2), true},
      {"all bits", RegistryBytes::Dword(0xFFFFFFFF), false},
      {"all bits but one", RegistryBytes::Dword(0xFFFFFFFE), true},
      {"text of one character", RegistryBytes::Text("1"), true},
      {"text of two characters", RegistryBytes::Text("10"), false},
      {"empty text", RegistryBytes::Text(""), true},
      {"no bytes", {Type::kBinary, ""}, false},
      {"one byte 0", {Type::kBinary, std::string(1, '\0')}, true},
      {"one byte with all bits", {Type::kBinary, "\xFF"}, false},
      {"four bytes", {Type::kBinary, std::string(4, '\0')}, false},
      {"five bytes", {Type::kBinary, "\1\0\0\0\0"}, true},
      {"eight bytes", {Type::kQword, std::string("\1\0\0\0\0\0\0\0", 8)}, false},
  };
  for (const auto& row : rows) {
    SetSwitch(kQueue, row.value);
    EXPECT_TRUE(Bidi().ok) << row.what;
    EXPECT_EQ(fs::exists(TraceFile()), row.on) << row.what;
    EXPECT_EQ(TakeTrace().empty(), !row.on) << row.what;
  }
}

TEST_F(Trace, OffWithoutAValueOrAKey) {
  EXPECT_TRUE(Bidi().ok);
  EXPECT_TRUE(Bidi({.queue = "CustomBidi unknown queue"}).ok);
  EXPECT_TRUE(Status("192.0.2.99").ok);
  SetDriverValue(kQueue, "Other", RegistryBytes::Dword(1));
  EXPECT_TRUE(Bidi().ok);
  EXPECT_FALSE(fs::exists(TraceFile()));
}

TEST_F(Trace, EachCallReadsTheSwitchOfItsQueue) {
  AddQueue("CustomBidi silent queue", kAddress);
  SetTrace(true);
  EXPECT_TRUE(Bidi().ok);
  const Lines traced = TakeTrace();
  EXPECT_TRUE(Bidi({.queue = "CustomBidi silent queue"}).ok);
  EXPECT_FALSE(fs::exists(TraceFile()));
  EXPECT_TRUE(Bidi().ok);
  ExpectTrace(traced, TakeTrace());
  SetTrace(false);
  EXPECT_TRUE(Bidi().ok);
  EXPECT_FALSE(fs::exists(TraceFile()));
}

TEST_F(Trace, CallsAppend) {
  const std::string before("e\0a\0r\0l\0i\0e\0r\0\r\0\n\0", 18);
  std::ofstream(TraceFile(), std::ios::binary) << before;
  SetTrace(true);
  EXPECT_TRUE(Bidi().ok);
  const auto after_one = fs::file_size(TraceFile());
  EXPECT_TRUE(Bidi().ok);
  EXPECT_EQ(fs::file_size(TraceFile()) - after_one, after_one - before.size());

  std::ifstream file(TraceFile(), std::ios::binary);
  const std::string content{std::istreambuf_iterator<char>(file), {}};
  file.close();
  EXPECT_TRUE(content.starts_with(before));
  std::ofstream(TraceFile(), std::ios::binary) << content.substr(before.size());
  const Lines one_call = BidiInitialisation(kQueue, kAddress) + DataMapLoading(1) + Lines{kLoadSucceeded};
  ExpectTrace(one_call + one_call, TakeTrace());
}

TEST_F(Trace, LinesAreLostWithoutAFileToWriteTo) {
  SetTrace(true);
  fs::create_directory(TraceFile());
  EXPECT_TRUE(Bidi().ok);
  EXPECT_TRUE(fs::is_directory(TraceFile()));
  fs::remove(TraceFile());

  const fs::path folder = fs::path(TraceFile()).parent_path();
  std::error_code in_use;
  fs::remove(folder, in_use);
  if (in_use)
    GTEST_SKIP() << folder << " holds files that are not ours";
  EXPECT_TRUE(Bidi().ok);
  EXPECT_TRUE(Status().ok);
  EXPECT_FALSE(fs::exists(folder));
  MakeTraceFolder();
  EXPECT_TRUE(Status().ok);
  EXPECT_FALSE(TakeTrace().empty()) << "the next call tries again";
}

TEST_F(Trace, OfOneCallOfEachKind) {
  SetTrace(true);
  WriteDataMap({"A", "Missing", "A"});
  EXPECT_TRUE(Bidi().ok);
  ExpectTrace(BidiInitialisation(kQueue, kAddress) + DataMapLoading(3) + Lines{kLoadSucceeded}, TakeTrace());
  EXPECT_TRUE(Bidi({.queue = kQueue, .cid = "Given", .names = {{"A"}}}).ok);
  ExpectTrace(BidiInitialisation(kQueue, kAddress) + Lines{kLoadSucceeded}, TakeTrace());
  EXPECT_TRUE(Status().ok);
  ExpectTrace(StatusInitialisation(kAddress), TakeTrace());
  EXPECT_TRUE(Port().ok);
  ExpectTrace(PortStatusOf(kAddress), TakeTrace());
}

TEST_F(Trace, LongMessageIsCutAndItsLineEnds) {
  SetTrace(true);
  const std::string head = "Get the printer address from the name [192.0.2.10] success ==> [";
  // A line has 4095 characters at most; 16 are the stamp's and 2 its end's.
  constexpr size_t kLongest = 4095 - 16 - 2;
  printer["addresses"]["ip"]["*"]["text"] = std::string(6000, 'x');
  EXPECT_TRUE(Status().ok);
  Lines expected = StatusInitialisation(kAddress);
  const auto cut =
      std::ranges::find_if(expected, [&](const std::string& line) { return line.starts_with(head); });
  *cut = head + std::string(kLongest - head.size(), 'x');
  ExpectTrace(expected, TakeTrace());

  printer["addresses"]["ip"]["*"]["text"] = std::string(kLongest - 1 - head.size(), 'x') + "\U0001F5A8";
  EXPECT_TRUE(Status().ok);
  *cut = head + std::string(kLongest - 1 - head.size(), 'x');
  ExpectTrace(expected, TakeTrace());
}

}  // namespace
}  // namespace custom_bidi_test
