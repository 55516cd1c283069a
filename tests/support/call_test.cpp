#include "tests/support/call_test.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <thread>

namespace custom_bidi_test {
namespace {

constexpr CustomBidiChar kPoison = 0xA5A5;
constexpr CustomBidiDword kPoisonCode = 0xA5A5A5A5;
constexpr size_t kGuardChars = 256;
constexpr size_t kBufferChars = 65536;
constexpr char kLog[] = "calls.log";

}  // namespace

DeviceCertificate RawRecord(Record& content, WString& identifier) {
  return {.identifier = identifier.data(),
          .certificate_length = static_cast<CustomBidiDword>(content.certificate.size()),
          .certificate = reinterpret_cast<uint8_t*>(content.certificate.data()),
          .warning_count = static_cast<CustomBidiDword>(content.warnings.size()),
          .warnings = content.warnings.data()};
}

void CallTest::SetUp() {
  MakeHealthy();
  SetVariable("PROCESSOR_ARCHITECTURE", "AMD64");
  custom_bidi_tools::MakeTraceFolder();
  AddQueue(kQueue, kAddress);
  AddQueue(kAddress, kAddress);  // a bare key for its switch would do, but not for the spooler
  std::filesystem::remove(TraceFile());
}

void CallTest::TearDown() {
  SetTrace(false);
  Heal();
  for (const auto& [user, target] : saved_) {
    Delete({user, target});
  }
  for (const std::string& queue : queues_) {
    custom_bidi_tools::RemoveQueue(queue);
  }
  for (const std::string& key : keys_) {
    RemoveQueueKey(key);
  }
  std::error_code code;
  std::filesystem::remove(TraceFile(), code);
  EXPECT_FALSE(code) << "the trace file is still open: " << code.message();
  EXPECT_EQ(LeftOpen(), "");
}

void CallTest::MakeHealthy() {
  host.Restore();
  const Json address = {{"*", {{"text", kAddress}}}};
  printer = {{"addresses", {{"queues", address}, {"ports", address}, {"ip", address}}},
             {"items", {{"DeviceID", "MFG:Vexmo;CID:Vexmo_1;"}, {"A", "1"}}},
             {"oids", {{kPrinterStatusOid, 3}, {kDeviceStatusOid, 2}, {kErrorStateOid, "00"}}},
             {"certificate", {{"file", "certificate.der"}, {"uuid", kUuid}, {"warnings", Codes()}}},
             {"log", kLog}};
  WriteConfiguration("");
  WriteDataMap({"A"});
  host.Write("certificate.der", Certificate("device"));
  host.Write(kLog, "");
}

void CallTest::AddQueue(const std::string& name, const std::string& port) {
  const auto known = custom_bidi_tools::ListQueues();
  if (std::ranges::find(known, name, &custom_bidi_tools::Queue::name) != known.end()) {
    custom_bidi_tools::RemoveQueue(name);  // of a run that crashed
  }
  custom_bidi_tools::AddQueue(name, port);
  queues_.insert(name);
}

void CallTest::WriteDataMap(const std::vector<std::string>& names) {
  std::string xml = "<DataMap><IPPDataMap>";
  for (const std::string& name : names) {
    xml += "<DataItem Name=\"" + name + "\"/>";
  }
  host.Write("vexmoixodatamap.xml", xml + "</IPPDataMap></DataMap>");
}

Answer CallTest::WithBuffer(const std::function<CustomBidiBool(CustomBidiChar*)>& call) {
  WritePrinter();
  std::vector<CustomBidiChar> buffer(kBufferChars, kPoison);
  const auto start = buffer.begin() + kGuardChars;
  const bool ok = FinishCall(call(&*start));

  const auto end = std::find(start, buffer.end(), CustomBidiChar{});
  if (end == buffer.end()) {
    EXPECT_EQ(std::ranges::count(buffer, kPoison), std::ssize(buffer)) << "written without a NUL";
    return {ok, std::nullopt};
  }
  const std::string text = ToUtf8({&*start, static_cast<size_t>(end - start)});
  std::fill(start, end + 1, kPoison);
  EXPECT_EQ(std::ranges::count(buffer, kPoison), std::ssize(buffer)) << "written around the answer";
  return {ok, text};
}

Answer CallTest::Bidi(const BidiArguments& arguments) {
  const Argument queue(arguments.queue);
  const Argument cid(arguments.cid);
  const std::vector<MaybeText> given = arguments.names.value_or(std::vector<MaybeText>());
  const std::vector<Argument> names(given.begin(), given.end());
  std::vector<const CustomBidiChar*> pointers(names.begin(), names.end());
  pointers.push_back(nullptr);  // so that there is an array also for no names
  const auto count = arguments.count.value_or(static_cast<CustomBidiLong>(names.size()));
  return WithBuffer([&](CustomBidiChar* response) {
    return GetBidiResponse(response, queue, cid, arguments.names ? pointers.data() : nullptr, count);
  });
}

PortAnswer CallTest::Port(const MaybeText& queue) {
  WritePrinter();
  CustomBidiLong status[3] = {kUntouchedStatus, kUntouchedStatus, kUntouchedStatus};
  const bool ok = FinishCall(GetPortStatus(Argument(queue), &status[1]));
  EXPECT_TRUE(status[0] == kUntouchedStatus && status[2] == kUntouchedStatus) << "written around the status";
  return {ok, status[1]};
}

bool CallTest::Save(const MaybeText& password, const PasswordNames& names) {
  if (names.user && names.target) {
    saved_.insert({*names.user, *names.target});
  }
  return CallFor(
      [&](auto user, auto target, auto queue) {
        return SavePassword(password ? reinterpret_cast<const uint8_t*>(password->c_str()) : nullptr,
                            static_cast<CustomBidiDword>(password.value_or("").size()), user, target, queue);
      },
      names);
}

bool CallTest::CallFor(const std::function<CustomBidiBool(Text, Text, Text)>& call,
                       const PasswordNames& names) {
  WritePrinter();
  return FinishCall(call(Argument(names.user), Argument(names.target), Argument(names.queue)));
}

std::optional<Record> CallTest::Read(uint32_t mode, const MaybeText& user, const MaybeText& queue) {
  WritePrinter();
  DeviceCertificate* const record = GetDeviceCertificate(Argument(user), Argument(queue), mode);
  std::optional<Record> content;
  if (record != nullptr) {
    EXPECT_NE(record->identifier, nullptr);
    EXPECT_NE(record->warnings, nullptr);
    EXPECT_LE(record->warning_count, kWarningRoom);
    EXPECT_EQ(record->certificate == nullptr, record->certificate_length == 0);
    content = {ToUtf8(record->identifier),
               {record->certificate, record->certificate + record->certificate_length},
               {record->warnings, record->warnings + record->warning_count}};
    if (record->certificate != nullptr) {
      EXPECT_EQ(record->certificate[record->certificate_length], 0) << "the block has one byte more";
    }
    std::fill_n(record->warnings, kWarningRoom, 1);  // room for ten, whatever the count
    EXPECT_TRUE(DeleteDeviceCertificate(record));
    CoTaskMemFree(record);
  }
  FinishCall(0);
  return content;
}

CheckAnswer CallTest::Check(const Record& record, uint32_t mode, const MaybeText& user) {
  Record mine = record;
  WString identifier = ToWide(mine.identifier);
  Codes codes(kWarningRoom + 2, kPoisonCode);
  std::ranges::copy(mine.warnings, codes.begin() + 1);
  DeviceCertificate raw = RawRecord(mine, identifier);
  raw.warnings = &codes[1];
  const DeviceCertificate before = raw;

  const bool ok = CheckRaw(&raw, mode, user);
  const auto count = std::exchange(raw.warning_count, before.warning_count);
  EXPECT_EQ(std::memcmp(&raw, &before, sizeof(raw)), 0) << "only the count is written";
  EXPECT_TRUE(ToUtf8(identifier) == record.identifier && mine.certificate == record.certificate);
  const Codes warnings(codes.begin() + 1, codes.begin() + 1 + count);
  std::fill_n(codes.begin() + 1, std::max<size_t>(count, record.warnings.size()), kPoisonCode);
  EXPECT_EQ(codes, Codes(kWarningRoom + 2, kPoisonCode)) << "written around the warnings";
  return {ok, warnings};
}

std::string CallTest::Certificate(const std::string& name) {
  return ReadBytes(CERTIFICATE_FOLDER "/" + name + ".der");
}

/// Looks at what every call has to leave behind; what an export's result says.
bool CallTest::FinishCall(CustomBidiBool result) {
  EXPECT_TRUE(result == 0 || result == 1) << result;
  EXPECT_EQ(LeftOpen(), "");
  // Each object that a call makes goes back once. Another load of the library gives its objects the same names.
  std::set<std::string> open;
  std::istringstream log(ReadBytes(HostFolder::Path() / kLog) + "load\n");
  for (std::string line; std::getline(log, line);) {
    if (line == "load") {
      EXPECT_TRUE(open.empty() || !providers_go_back) << *open.begin();
      open.clear();
      continue;
    }
    const std::string object = line.substr(line.find(' ') + 1);
    EXPECT_TRUE(!line.starts_with("Create") || object == "none" || open.insert(object).second) << line;
    EXPECT_TRUE(!line.starts_with("Dispose") || open.erase(object) == 1) << line;
  }
  host.Write(kLog, "");
  return result != 0;
}

void OnThreads(int count, const std::function<void(int)>& body) {
  std::vector<std::jthread> threads;
  for (int i = 0; i < count; ++i) {
    threads.emplace_back(body, i);
  }
}

std::string BidiText(const std::vector<std::pair<std::string, std::string>>& members,
                     const std::string& cid) {
  std::string text = "{";
  for (const auto& [name, value] : members) {
    text += "\"" + name + "\": \"" + value + "\",";
  }
  return text + "\"CID\": \"" + cid + "\"}";
}

}  // namespace custom_bidi_test
