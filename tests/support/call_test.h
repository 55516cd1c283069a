#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "include/custom_bidi.h"
#include "tests/support/machine.h"
#include "tests/support/trace_lines.h"
#include "tools/bidictl/platform/queue_store.h"

namespace custom_bidi_test {

using MaybeText = std::optional<std::string>;
using Json = nlohmann::json;
using Codes = std::vector<CustomBidiDword>;

/// What a call with a response buffer came to.
struct Answer {
  bool ok;
  MaybeText text;  // nullopt when nothing was written

  bool operator==(const Answer&) const = default;
};
inline void PrintTo(const Answer& answer, std::ostream* stream) {
  *stream << answer.ok << ' ' << answer.text.value_or("nothing written");
}
inline Answer Yes(const std::string& text) {
  return {true, text};
}
inline const Answer kRefused = {false, std::nullopt};

/// A text argument that may be null.
class Argument {
 public:
  explicit Argument(const MaybeText& text) : is_null_(!text), text_(ToWide(text.value_or(""))) {}
  operator const CustomBidiChar*() const { return is_null_ ? nullptr : text_.c_str(); }

 private:
  bool is_null_;
  WString text_;
};

using PortAnswer = std::pair<bool, long>;    // the result and the status
using CheckAnswer = std::pair<bool, Codes>;  // the result, and the warnings that the record then had

/// What a record holds; the caller's own copy.
struct Record {
  std::string identifier;
  std::string certificate;
  Codes warnings;

  bool operator==(const Record&) const = default;
};

/// A record of a caller's own, in memory of `content`, which it outlives not, and `identifier`.
DeviceCertificate RawRecord(Record& content, WString& identifier);

/// Arguments of GetBidiResponse; what is left out is null.
struct BidiArguments {
  MaybeText queue = std::nullopt;
  MaybeText cid = std::nullopt;
  std::optional<std::vector<MaybeText>> names = std::nullopt;
  std::optional<CustomBidiLong> count = std::nullopt;  // else that of the names
};
/// Arguments of the password calls.
struct PasswordNames {
  MaybeText user = "jdoe";
  MaybeText target = "CustomBidi test target";
  MaybeText queue = "CustomBidi call test";
};

inline std::string TraceFile() {
  return custom_bidi_tools::TraceFilePath().string();
}

/// A test of whole calls: a host with a configuration, a data map, a printer and a queue, all of which are
/// gone afterwards. No call may leave anything open, keep a provider, or write around its answer.
class CallTest : public ::testing::Test {
 public:
  static constexpr char kQueue[] = "CustomBidi call test";
  static constexpr char kAddress[] = "192.0.2.10";
  static constexpr long kUntouchedStatus = 0x5A5A5A5A;
  static constexpr char kPrinterStatusOid[] = "1.3.6.1.2.1.25.3.5.1.1.1";
  static constexpr char kDeviceStatusOid[] = "1.3.6.1.2.1.25.3.2.1.5.1";
  static constexpr char kErrorStateOid[] = "1.3.6.1.2.1.25.3.5.1.2.1";
  static constexpr char kUser[] = "jdoe";
  static constexpr char kTarget[] = "CustomBidi test target";
  static constexpr char kPassword[] = "correct horse \xE2\x82\xAC";
  static constexpr char kUuid[] = "0123-ABCD";
  static constexpr char kCertificateTarget[] = "Vexmo.VIB.NQDRV4.jdoe.0123-ABCD";
  static constexpr uint32_t kFullCheck = 0;
  static constexpr uint32_t kWithoutAddress = 1;
  static constexpr size_t kWarningRoom = 10;

 protected:
  void SetUp() override;
  void TearDown() override;

  /// All files and the printer as they are at a test's start.
  void MakeHealthy();
  /// Adds a queue until the end of the test.
  void AddQueue(const std::string& name, const std::string& port);
  void WriteDataMap(const std::vector<std::string>& names);
  /// `content` stands inside the root element.
  void WriteConfiguration(const std::string& content) {
    host.Write(HostFolder::ConfigurationName(), "<PrinterExtension>" + content + "</PrinterExtension>");
  }
  void WritePrinter() { host.Write("printer.json", printer.dump()); }
  /// The one operation that fails; `fault` as in a printer's file.
  void Fail(const std::string& operation, const std::string& fault) {
    Heal();
    printer["faults"][operation] = Json::parse(fault);
  }
  void Heal() { printer["faults"] = Json::object(); }

  /// Switches the trace for the queue and for kAddress.
  void SetTrace(bool on) {
    for (const char* queue : {kQueue, kAddress}) {
      SetSwitch(queue, RegistryBytes::Dword(on ? 1 : 0));
    }
  }
  void SetSwitch(const std::string& queue, const RegistryBytes& value) {
    keys_.insert(queue);
    SetDriverValue(queue, "DebugTraceEnable", value);
  }
  /// What was traced since the last call of this or the start of the test; the file goes.
  Lines TakeTrace() {
    const Lines lines = ReadTrace(TraceFile());
    std::filesystem::remove(TraceFile());
    return lines;
  }
  void ExpectTraced(const Lines& lines) { ExpectTrace(lines, TakeTrace()); }

  // Each writes printer.json first, and checks afterwards that nothing is left open.
  Answer Bidi(const BidiArguments& arguments = {.queue = kQueue});
  Answer Items(const std::vector<MaybeText>& names) { return Bidi({.queue = kQueue, .names = names}); }
  Answer Status(const MaybeText& address = kAddress) {
    return WithBuffer([&](CustomBidiChar* response) { return GetStatusData(Argument(address), response); });
  }
  PortAnswer Port(const MaybeText& queue = kQueue);
  bool Save(const MaybeText& password, const PasswordNames& names = {});
  bool IsPresent(const PasswordNames& names = {}) { return CallFor(IsPasswordPresent, names); }
  bool Delete(const PasswordNames& names = {}) { return CallFor(DeletePassword, names); }
  /// Reads the printer's certificate and releases the record.
  std::optional<Record> Read(uint32_t = kFullCheck, const MaybeText& user = kUser, const MaybeText& = kQueue);
  /// Checks a record of the test's own making.
  CheckAnswer Check(const Record& record, uint32_t mode = kFullCheck, const MaybeText& user = kUser);
  /// The same with a record as it stands.
  bool CheckRaw(DeviceCertificate* record,
                uint32_t mode = kFullCheck,
                const MaybeText& user = kUser,
                const MaybeText& queue = kQueue) {
    WritePrinter();
    return FinishCall(VerifyCertificateValidity(Argument(user), Argument(queue), mode, record));
  }

  /// One of the certificates of the tests, DER-encoded.
  static std::string Certificate(const std::string& name);
  /// Keeps these bytes as the vault's copy of the printer's certificate.
  void KeepInVault(const std::string& bytes) {
    ASSERT_TRUE(Save(bytes, {kUser, kCertificateTarget}));
    TakeTrace();
  }

  HostFolder host;
  /// The printer of the next call: reachable under every name, idle, with the CID "Vexmo_1", the item A, the
  /// certificate "device" and a UUID.
  Json printer;
  /// Set when the library in use has no entry points to give providers back through.
  bool providers_go_back = true;

 private:
  Answer WithBuffer(const std::function<CustomBidiBool(CustomBidiChar*)>& call);
  using Text = const CustomBidiChar*;
  bool CallFor(const std::function<CustomBidiBool(Text, Text, Text)>& call, const PasswordNames& names);
  bool FinishCall(CustomBidiBool result);

  std::set<std::string> queues_;
  std::set<std::string> keys_;
  std::set<std::pair<std::string, std::string>> saved_;
};

/// The exports with arguments made beforehand, and no look at anything else.
struct StraightCalls {
  explicit StraightCalls(const std::string& user_name = CallTest::kUser,
                         const std::string& target_name = CallTest::kTarget,
                         const std::string& queue_name = CallTest::kQueue)
      : user(user_name), target(target_name), queue(queue_name) {}

  bool Bidi() { return GetBidiResponse(response.data(), queue, nullptr, nullptr, 0) != 0; }
  bool Status() { return GetStatusData(address, response.data()) != 0; }
  bool Port(CustomBidiLong* status) const { return GetPortStatus(queue, status) != 0; }
  bool Save(std::string_view password) const {
    const auto* const bytes = reinterpret_cast<const uint8_t*>(password.data());
    return SavePassword(bytes, static_cast<CustomBidiDword>(password.size()), user, target, queue) != 0;
  }
  bool IsPresent() const { return IsPasswordPresent(user, target, queue) != 0; }
  bool Delete() const { return DeletePassword(user, target, queue) != 0; }
  DeviceCertificate* Read() const { return GetDeviceCertificate(user, queue, 0); }
  bool Check(DeviceCertificate* record, uint32_t mode = CallTest::kFullCheck) const {
    return VerifyCertificateValidity(user, queue, mode, record) != 0;
  }
  std::string Response() const { return ToUtf8(response.data()); }

  Argument user, target, queue, address = Argument(CallTest::kAddress);
  std::vector<CustomBidiChar> response = std::vector<CustomBidiChar>(65536);
};

/// Runs `body(0)` to `body(count - 1)` at once, each on a thread of its own, and waits for all.
void OnThreads(int count, const std::function<void(int)>& body);

/// Characters that each stand for themselves in an answer: the members, then the CID.
std::string BidiText(const std::vector<std::pair<std::string, std::string>>& members, const std::string& cid);
inline std::string StatusText(long printer_state, long response_code, unsigned long status_code) {
  return "{\"printerState\":" + std::to_string(printer_state) +
         ",\"responseCode\":" + std::to_string(response_code) +
         ",\"statusCode\":" + std::to_string(status_code) + "}";
}
inline constexpr char kUnreadableStatus[] = R"({"printerState": 5,"responseCode": 1,"statusCode": 0})";

// Faults of an operation, as in a printer's file.
inline constexpr char kNull[] = R"({"null": true})";
inline constexpr char kRaise5[] = R"({"raise": 5})";
inline constexpr char kRaise0[] = R"({"raise": 0})";
inline constexpr char kThrow[] = R"({"throw": true})";
inline constexpr char kEFail[] = R"({"hresult": "0x80004005"})";
inline std::string Length(uint32_t told) {
  return "{\"length\": " + std::to_string(told) + "}";
}
/// The same with one more member, such as `"call": 2`.
inline std::string With(std::string fault, const std::string& member) {
  return fault.replace(fault.size() - 1, 1, ", " + member + "}");
}

}  // namespace custom_bidi_test
