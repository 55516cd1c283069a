#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "include/custom_bidi.h"
#include "tests/support/host_folder.h"
#include "tests/support/machine.h"
#include "tests/support/trace_lines.h"

namespace custom_bidi_test {

using Json = nlohmann::json;
using MaybeText = std::optional<std::string>;

/// What a call with a response buffer came to. Every character around what it wrote was checked to be as
/// before.
struct Answer {
  bool ok;
  /// nullopt when nothing was written.
  MaybeText text;

  bool operator==(const Answer&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const Answer& answer);

inline Answer Yes(const std::string& text) {
  return {true, text};
}
inline const Answer kRefused = {false, std::nullopt};

struct PortAnswer {
  bool ok;
  long status;

  bool operator==(const PortAnswer&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const PortAnswer& answer);

/// Arguments of GetBidiResponse; what is left out is null.
struct BidiArguments {
  MaybeText queue = std::nullopt;
  MaybeText cid = std::nullopt;
  std::optional<std::vector<MaybeText>> names = std::nullopt;
  std::optional<CustomBidiLong> count = std::nullopt;  // else that of the names
};

/// A test of whole calls: a host with a configuration, a data map, a printer and a queue, all of which are
/// gone afterwards. No call and no test may leave anything open.
class CallTest : public ::testing::Test {
 public:
  static constexpr char kQueue[] = "CustomBidi call test";
  static constexpr char kAddress[] = "192.0.2.10";
  static constexpr long kUntouchedStatus = 0x5A5A5A5A;
  static constexpr char kPrinterStatusOid[] = "1.3.6.1.2.1.25.3.5.1.1.1";
  static constexpr char kDeviceStatusOid[] = "1.3.6.1.2.1.25.3.2.1.5.1";
  static constexpr char kErrorStateOid[] = "1.3.6.1.2.1.25.3.5.1.2.1";

 protected:
  CallTest();
  ~CallTest() override;
  void SetUp() override;
  void TearDown() override;

  /// Adds a queue until the end of the test.
  void AddQueue(const std::string& name, const std::string& port);
  void WriteDataMap(const std::vector<std::string>& names);
  /// `content` stands inside the root element.
  void WriteConfiguration(const std::string& content);
  void WritePrinter() { host.Write("printer.json", printer.dump()); }

  /// Switches the trace for the queue and for kAddress.
  void SetTrace(bool on);
  void SetSwitch(const std::string& queue, const RegistryBytes& value);
  /// What was traced since the last call of this or the start of the test; the file goes.
  Lines TakeTrace();

  // Each writes printer.json first, and checks afterwards that nothing is left open.
  Answer Bidi(const BidiArguments& arguments = {.queue = kQueue});
  Answer Items(const std::vector<MaybeText>& names) { return Bidi({.queue = kQueue, .names = names}); }
  Answer Status(const MaybeText& address = kAddress);
  PortAnswer Port(const MaybeText& queue = kQueue);

  HostFolder host;
  /// The printer of the next call: reachable under every name, idle, with the CID "Vexmo_1" and the item A.
  Json printer;

 private:
  Answer WithBuffer(const std::function<CustomBidiBool(CustomBidiChar*)>& call);

  std::set<std::string> queues_;
  std::set<std::string> keys_;
};

std::string TraceFile();
void MakeTraceFolder();

/// Characters that each stand for themselves in an answer: the members, then the CID.
std::string BidiText(const std::vector<std::pair<std::string, std::string>>& members, const std::string& cid);
std::string StatusText(long printer_state, long response_code, unsigned long status_code);
inline constexpr char kUnreadableStatus[] = R"({"printerState": 5,"responseCode": 1,"statusCode": 0})";

}  // namespace custom_bidi_test
