#include "tests/support/call_test.h"

#include <algorithm>
#include <filesystem>
#include <ostream>

#include "tools/bidictl/queue_store.h"
#include "tools/bidictl/text.h"

namespace custom_bidi_test {
namespace {

constexpr CustomBidiChar kPoison = 0xA5A5;
constexpr size_t kGuardChars = 256;
constexpr size_t kBufferChars = 65536;

/// A text argument that may be null.
class Argument {
 public:
  explicit Argument(const MaybeText& text) {
    if (text)
      text_ = ToWide(*text);
  }
  const CustomBidiChar* Get() const { return text_ ? text_->c_str() : nullptr; }

 private:
  std::optional<WString> text_;
};

}  // namespace

std::string ToUtf8(WStringView text) {
  return custom_bidi_tools::ToUtf8(text);
}

WString ToWide(std::string_view text) {
  return custom_bidi_tools::ToWide(text).value();
}

RegistryBytes RegistryBytes::Dword(uint32_t number) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8)
    bytes.push_back(static_cast<char>(number >> shift));
  return {kDword, bytes};
}

RegistryBytes RegistryBytes::Text(std::string_view text) {
  const WString units = ToWide(text);
  return {kText, std::string(reinterpret_cast<const char*>(units.c_str()), (units.size() + 1) * 2)};
}

std::ostream& operator<<(std::ostream& stream, const Answer& answer) {
  return stream << (answer.ok ? "TRUE, " : "FALSE, ") << answer.text.value_or("nothing written");
}

std::ostream& operator<<(std::ostream& stream, const PortAnswer& answer) {
  return stream << (answer.ok ? "TRUE, " : "FALSE, ") << answer.status;
}

CallTest::CallTest() = default;
CallTest::~CallTest() = default;

void CallTest::SetUp() {
  printer = {{"addresses", Json::object()},
             {"items", {{"DeviceID", "MFG:Vexmo;CID:Vexmo_1;"}, {"A", "1"}}},
             {"oids", {{kPrinterStatusOid, 3}, {kDeviceStatusOid, 2}, {kErrorStateOid, "00"}}},
             {"locale", Json::object()},
             {"faults", Json::object()}};
  for (const char* kind : {"queues", "ports", "ip"})
    printer["addresses"][kind] = {{"*", {{"text", kAddress}}}};
  WriteConfiguration("");
  WriteDataMap({"A"});
  MakeTraceFolder();
  AddQueue(kQueue, kAddress);
  RemoveQueueKey(kAddress);  // of a run that crashed
  std::filesystem::remove(TraceFile());
}

void CallTest::TearDown() {
  for (const std::string& key : keys_)
    RemoveQueueKey(key);
  for (const std::string& queue : queues_)
    custom_bidi_tools::RemoveQueue(queue);
  std::error_code code;
  std::filesystem::remove(TraceFile(), code);
  EXPECT_FALSE(code) << "the trace file is still open: " << code.message();
  EXPECT_EQ(LeftOpen(), "");
}

void CallTest::AddQueue(const std::string& name, const std::string& port) {
  const auto known = custom_bidi_tools::ListQueues();
  if (std::ranges::find(known, name, &custom_bidi_tools::Queue::name) != known.end())
    custom_bidi_tools::RemoveQueue(name);  // of a run that crashed
  custom_bidi_tools::AddQueue(name, port);
  queues_.insert(name);
}

void CallTest::WriteDataMap(const std::vector<std::string>& names) {
  std::string xml = "<DataMap><IPPDataMap>";
  for (const std::string& name : names)
    xml += "<DataItem Name=\"" + name + "\"/>";
  host.Write("vexmoixodatamap.xml", xml + "</IPPDataMap></DataMap>");
}

void CallTest::WriteConfiguration(const std::string& content) {
  host.Write(HostFolder::ConfigurationName(), "<PrinterExtension>" + content + "</PrinterExtension>");
}

void CallTest::SetTrace(bool on) {
  // A bare key for the address would do, but the spooler would take it for a broken queue.
  if (!queues_.contains(kAddress))
    AddQueue(kAddress, kAddress);
  SetSwitch(kQueue, RegistryBytes::Dword(on ? 1 : 0));
  SetSwitch(kAddress, RegistryBytes::Dword(on ? 1 : 0));
}

void CallTest::SetSwitch(const std::string& queue, const RegistryBytes& value) {
  if (!queues_.contains(queue))
    keys_.insert(queue);
  SetDriverValue(queue, "DebugTraceEnable", value);
}

Lines CallTest::TakeTrace() {
  const Lines lines = ReadTrace(TraceFile());
  std::filesystem::remove(TraceFile());
  return lines;
}

Answer CallTest::WithBuffer(const std::function<CustomBidiBool(CustomBidiChar*)>& call) {
  WritePrinter();
  std::vector<CustomBidiChar> buffer(kBufferChars, kPoison);
  const auto start = buffer.begin() + kGuardChars;
  const CustomBidiBool result = call(&*start);
  EXPECT_TRUE(result == 0 || result == 1) << result;
  EXPECT_EQ(LeftOpen(), "");

  const auto is_poison = [](CustomBidiChar unit) { return unit == kPoison; };
  EXPECT_TRUE(std::all_of(buffer.begin(), start, is_poison)) << "written before the buffer";
  if (std::all_of(start, buffer.end(), is_poison))
    return {result != 0, std::nullopt};
  const auto end = std::find(start, buffer.end(), CustomBidiChar{});
  if (end == buffer.end() || !std::all_of(end + 1, buffer.end(), is_poison))
    ADD_FAILURE() << "written beyond the answer and its NUL";
  return {result != 0, ToUtf8({&*start, static_cast<size_t>(end - start)})};
}

Answer CallTest::Bidi(const BidiArguments& arguments) {
  const Argument queue(arguments.queue);
  const Argument cid(arguments.cid);
  std::vector<Argument> names;
  for (const MaybeText& name : arguments.names.value_or(std::vector<MaybeText>()))
    names.emplace_back(name);
  std::vector<const CustomBidiChar*> pointers;
  for (const Argument& name : names)
    pointers.push_back(name.Get());
  pointers.push_back(nullptr);  // so that there is an array also for no names
  const auto count = arguments.count.value_or(static_cast<CustomBidiLong>(names.size()));
  return WithBuffer([&](CustomBidiChar* response) {
    return GetBidiResponse(response, queue.Get(), cid.Get(), arguments.names ? pointers.data() : nullptr,
                           count);
  });
}

Answer CallTest::Status(const MaybeText& address) {
  const Argument text(address);
  return WithBuffer([&](CustomBidiChar* response) { return GetStatusData(text.Get(), response); });
}

PortAnswer CallTest::Port(const MaybeText& queue) {
  WritePrinter();
  const Argument name(queue);
  CustomBidiLong status[3] = {kUntouchedStatus, kUntouchedStatus, kUntouchedStatus};
  const CustomBidiBool result = GetPortStatus(name.Get(), &status[1]);
  EXPECT_TRUE(result == 0 || result == 1) << result;
  EXPECT_TRUE(status[0] == kUntouchedStatus && status[2] == kUntouchedStatus) << "written around the status";
  EXPECT_EQ(LeftOpen(), "");
  return {result != 0, status[1]};
}

std::string TraceFile() {
  return custom_bidi_tools::TraceFilePath().string();
}

void MakeTraceFolder() {
  custom_bidi_tools::MakeTraceFolder();
}

std::string BidiText(const std::vector<std::pair<std::string, std::string>>& members,
                     const std::string& cid) {
  std::string text = "{";
  for (const auto& [name, value] : members)
    text += "\"" + name + "\": \"" + value + "\",";
  return text + "\"CID\": \"" + cid + "\"}";
}

std::string StatusText(long printer_state, long response_code, unsigned long status_code) {
  return "{\"printerState\":" + std::to_string(printer_state) +
         ",\"responseCode\":" + std::to_string(response_code) +
         ",\"statusCode\":" + std::to_string(status_code) + "}";
}

}  // namespace custom_bidi_test
