#include "tests/support/call_test.h"

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <thread>

namespace custom_bidi_test {
namespace {

constexpr CustomBidiChar kPoison = 0xA5A5;
constexpr CustomBidiDword kPoisonCode = 0xA5A5A5A5;
constexpr size_t kGuardChars = 256;
constexpr size_t kBufferChars = 65536;
constexpr char kLog[] = "calls.log";

/// Each object that a line says was made is taken back by one line. The lines are those of one load of the
/// library: another one gives the objects the same names.
void ExpectAllGivenBack(const Lines& log, bool providers_go_back) {
  for (const std::string& line : log) {
    const std::string object = line.substr(line.find(' ') + 1);
    if (line.starts_with("Create") && object != "none") {
      const auto disposes = std::ranges::count_if(log, [&object](const std::string& other) {
        return other.starts_with("Dispose") && other.ends_with(" " + object);
      });
      EXPECT_EQ(disposes, providers_go_back ? 1 : 0) << object;
    }
    EXPECT_FALSE(line.starts_with("Dispose") && (object == "none" || object == "unknown")) << line;
  }
}

}  // namespace

Json::Json(const std::string& text) : value_("\"") {
  for (const unsigned char unit : text) {
    char shown[8];
    snprintf(shown, sizeof(shown), unit < ' ' || unit == '"' || unit == '\\' ? "\\u%04x" : "%c", unit);
    value_ += shown;
  }
  value_ += '"';
}

std::string Json::Text() const {
  if (!value_.empty()) {
    return value_;
  }
  std::string text;
  for (const auto& [name, member] : members_) {
    text += (text.empty() ? "" : ",") + Json(name).value_ + ":" + member.Text();
  }
  return "{" + text + "}";
}

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
  RemoveQueueKey(kAddress);  // of a run that crashed
  std::filesystem::remove(TraceFile());
}

void CallTest::TearDown() {
  SetTrace(false);
  Heal();
  const bool was_healthy = !HasFailure();
  for (const auto& [user, target] : saved_) {
    EXPECT_FALSE(IsPresent({user, target}) && !Delete({user, target}) && was_healthy) << target;
  }
  for (const std::string& key : keys_) {
    RemoveQueueKey(key);
  }
  for (const std::string& queue : queues_) {
    custom_bidi_tools::RemoveQueue(queue);
  }
  std::error_code code;
  std::filesystem::remove(TraceFile(), code);
  EXPECT_FALSE(code) << "the trace file is still open: " << code.message();
  EXPECT_EQ(LeftOpen(), "");
}

void CallTest::MakeHealthy() {
  host.Restore();
  printer = {};
  for (const char* kind : {"queues", "ports", "ip"}) {
    printer["addresses"][kind]["*"]["text"] = kAddress;
  }
  printer["items"]["DeviceID"] = "MFG:Vexmo;CID:Vexmo_1;";
  printer["items"]["A"] = "1";
  printer["oids"][kPrinterStatusOid] = 3;
  printer["oids"][kDeviceStatusOid] = 2;
  printer["oids"][kErrorStateOid] = "00";
  printer["certificate"]["file"] = "certificate.der";
  printer["certificate"]["uuid"] = kUuid;
  printer["certificate"]["warnings"] = "[]"_json;
  printer["log"] = kLog;
  WriteConfiguration("");
  WriteDataMap({"A"});
  SetDeviceCertificate(Certificate("device"));
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

void CallTest::SetTrace(bool on) {
  // A bare key for the address would do, but the spooler would take it for a broken queue.
  if (on && !queues_.contains(kAddress)) {
    AddQueue(kAddress, kAddress);
  }
  for (const char* queue : {kQueue, kAddress}) {
    if (queues_.contains(queue)) {
      SetSwitch(queue, RegistryBytes::Dword(on ? 1 : 0));
    }
  }
}

Answer CallTest::WithBuffer(const std::function<CustomBidiBool(CustomBidiChar*)>& call) {
  WritePrinter();
  std::vector<CustomBidiChar> buffer(kBufferChars, kPoison);
  const auto start = buffer.begin() + kGuardChars;
  const bool ok = FinishCall(call(&*start));

  const auto is_poison = [](CustomBidiChar unit) { return unit == kPoison; };
  EXPECT_TRUE(std::all_of(buffer.begin(), start, is_poison)) << "written before the buffer";
  if (std::all_of(start, buffer.end(), is_poison)) {
    return {ok, std::nullopt};
  }
  const auto end = std::find(start, buffer.end(), CustomBidiChar{});
  if (end == buffer.end() || !std::all_of(end + 1, buffer.end(), is_poison)) {
    ADD_FAILURE() << "written beyond the answer and its NUL";
  }
  return {ok, ToUtf8({&*start, static_cast<size_t>(end - start)})};
}

Answer CallTest::Bidi(const BidiArguments& arguments) {
  const Argument queue(arguments.queue);
  const Argument cid(arguments.cid);
  std::vector<Argument> names;
  for (const MaybeText& name : arguments.names.value_or(std::vector<MaybeText>())) {
    names.emplace_back(name);
  }
  std::vector<const CustomBidiChar*> pointers;
  for (const Argument& name : names) {
    pointers.push_back(name);
  }
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
  EXPECT_TRUE(raw.identifier == before.identifier && ToUtf8(raw.identifier) == record.identifier);
  EXPECT_TRUE(raw.certificate == before.certificate && mine.certificate == record.certificate);
  EXPECT_TRUE(raw.certificate_length == before.certificate_length && raw.warnings == before.warnings);
  EXPECT_LE(raw.warning_count, kWarningRoom);
  const auto written = static_cast<int64_t>(std::max<size_t>(raw.warning_count, record.warnings.size()));
  EXPECT_TRUE(codes.front() == kPoisonCode &&
              std::all_of(codes.begin() + 1 + written, codes.end(), [](auto c) { return c == kPoisonCode; }))
      << "written around the warnings";
  return {ok, {codes.begin() + 1, codes.begin() + 1 + raw.warning_count}};
}

std::string CallTest::Certificate(const std::string& name) {
  return ReadBytes(CERTIFICATE_FOLDER "/" + name + ".der");
}

/// Looks at what every call has to leave behind; what an export's result says.
bool CallTest::FinishCall(CustomBidiBool result) {
  EXPECT_TRUE(result == 0 || result == 1) << result;
  EXPECT_EQ(LeftOpen(), "");
  Lines log;
  std::istringstream file(ReadBytes(HostFolder::Path() / kLog));
  for (std::string line; std::getline(file, line);) {
    log.push_back(line);
  }
  host.Write(kLog, "");
  for (auto begin = log.begin(); begin != log.end();) {
    const auto end = std::find(begin + 1, log.end(), "load");
    ExpectAllGivenBack({begin, end}, providers_go_back);
    begin = end;
  }
  for (const std::string& line : log) {
    if (line != "load") {
      calls_.push_back(line.substr(0, line.find(' ')));
    }
  }
  return result != 0;
}

void OnThreads(int count, const std::function<void(int)>& body) {
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) {
    threads.emplace_back(body, i);
  }
  for (std::thread& thread : threads) {
    thread.join();
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
