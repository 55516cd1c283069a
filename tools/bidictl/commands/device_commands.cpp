// What is asked of a printer: its items, its state, and whether it answers.

#include <algorithm>
#include <array>
#include <limits>
#include <memory>

#include "tools/bidictl/commands/commands.h"
#include "tools/bidictl/platform/printer_address.h"
#include "tools/bidictl/platform/queue_store.h"
#include "tools/bidictl/text/printer_answers.h"

namespace custom_bidi_tools {

namespace {

// The library is told no capacity and never cuts its answer, so the room must do for any answer that can
// come. A text has at most 4095 characters and the name of an item in the data map at most 255, twice where
// the text is a list: room for some 900 items of the longest kind, many times what a device has. Names from
// the command line are not bounded, so each brings its own room.
constexpr size_t kItemsChars = size_t{4} << 20;
constexpr size_t kCharsPerNamedItem = 4096 + 32;

// The longest answer has 79 characters; the rest is in reserve.
constexpr size_t kStatusChars = 256;

constexpr int kExitNotRead = 2;  // of `status`
enum PortExitCode { kExitConnected = 0, kExitNotAnswering = 1, kExitNoDevice = 2, kExitPortFailed = 3 };

// None of the three answers: the call leaves it standing when it has none to give.
constexpr CustomBidiLong kNoAnswer = std::numeric_limits<CustomBidiLong>::min();

struct PortAnswer {
  CustomBidiLong status;
  PortExitCode exit_code;
  const char* name;
  const char* sentence;
};
constexpr std::array kPortAnswers = {
    PortAnswer{kCustomBidiPortConnected, kExitConnected, "connected",
               "The queue's port leads to a network device that answers.\n"},
    PortAnswer{kCustomBidiPortOffline, kExitNotAnswering, "notAnswering",
               "The queue's port leads to a network device that does not answer.\n"},
    PortAnswer{kCustomBidiPortNonPhysical, kExitNoDevice, "noDevice",
               "There is no network device behind the queue's port, or there is no such queue.\n"},
};

size_t AnswerChars(const std::vector<WideString>& names) {
  size_t chars = kItemsChars;
  for (const auto& name : names) {
    chars += kCharsPerNamedItem + 2 * name.size();
  }
  return chars;
}

std::string ReadItems(const ItemsOptions& options) {
  const WideString queue = WideArgument("queue name", options.queue);
  const WideString default_cid = WideArgument("default CID", options.default_cid);
  std::vector<WideString> names;
  for (const auto& name : options.names) {
    names.push_back(WideArgument("item name", name));
  }
  std::vector<const CustomBidiChar*> pointers;
  for (const auto& name : names) {
    pointers.push_back(name.c_str());
  }

  const auto answer = std::make_unique_for_overwrite<CustomBidiChar[]>(AnswerChars(names));
  const auto count = static_cast<CustomBidiLong>(pointers.size());
  if (!GetBidiResponse(answer.get(), queue.c_str(), default_cid.c_str(),
                       pointers.empty() ? nullptr : pointers.data(), count)) {
    throw CommandError(
        "nothing could be read for '" + options.queue +
        "'. Is the queue known ('bidictl queue list')? Does its printer answer ('bidictl port QUEUE')? " +
        WhereToLook());
  }
  return ToUtf8(answer.get());
}

/// What the library is to ask about a printer: an address itself; else the host of the queue of that name, else
/// the host of that name, by their addresses.
std::vector<std::string> AddressesOf(const std::string& printer) {
  if (IsAddress(printer)) {
    return {printer};
  }
  const auto port = FindPort(printer);
  std::string host = HostOfPort(port.value_or(printer));
  if (host.empty() && port) {
    throw CommandError("the queue '" + printer + "' is on the port '" + *port +
                       "', behind which there is no network device");
  }
  if (host.empty()) {
    host = printer;  // a name without a dot
  }
  return IsAddress(host) ? std::vector{host} : ResolveHost(host);
}

/// The library's answer; empty when there is none.
std::string ReadStatus(const std::string& address) {
  std::array<CustomBidiChar, kStatusChars> answer{};
  return GetStatusData(WideArgument("address", address).c_str(), answer.data()) ? ToUtf8(answer.data()) : "";
}

/// Says on standard error what may keep a queue, if it is not to be found, from being there.
void ExplainMissing(const std::string& queue) {
  try {
    std::vector<std::string> complaints;
    if (!FindPort(queue)) {
      ListQueues(&complaints);
    }
    std::ranges::for_each(complaints, Complain);
  } catch (const QueueError& error) {
    Complain(error.what());
  }
}

}  // namespace

int RunItems(const ItemsOptions& options) {
  const std::string answer = ReadItems(options);
  if (options.pretty) {
    if (const auto rows = ItemRows(answer)) {
      Print(LayOut(*rows, OutputWidth()));
      return kExitDone;
    }
    Complain(
        "the answer is not well-formed JSON, for a text of the device is copied into it as it is; here it "
        "stands as it came");
  }
  Print(answer + "\n");
  return kExitDone;
}

int RunStatus(const StatusOptions& options) {
  std::string json;  // the last answer
  StatusAnswer status;
  bool is_answered = false;
  for (const std::string& address : AddressesOf(options.printer)) {
    const std::string answer = ReadStatus(address);
    if (answer.empty()) {
      continue;
    }
    json = answer;
    is_answered = TryParseStatus(json, status);
    if (is_answered && status.WasRead()) {
      break;
    }
  }
  if (json.empty()) {
    throw CommandError(
        "no status could be had from '" + options.printer +
        "'. Are the device libraries beside this program? The trace is that of a queue with the "
        "address as its name: 'bidictl queue add ADDRESS --port ADDRESS', 'bidictl trace on ADDRESS', "
        "another try, 'bidictl trace show'.");
  }
  Print(options.pretty && is_answered ? LayOut(ExplainStatus(status), OutputWidth()) : json + "\n");
  return is_answered && !status.WasRead() ? kExitNotRead : kExitDone;
}

int RunPort(const PortOptions& options) {
  const WideString name = WideArgument("queue name", options.queue);
  CustomBidiLong status = kNoAnswer;
  bool done = false;
  std::string reason = HoldErrors([&] { done = GetPortStatus(name.c_str(), &status) != 0; });
  reason.resize(reason.find_last_not_of('\n') + 1);
  const auto answer = std::ranges::find(kPortAnswers, status, &PortAnswer::status);
  const bool is_unknown = !done || answer == kPortAnswers.end();
  if (is_unknown || answer->exit_code == kExitNoDevice) {
    ExplainMissing(options.queue);
    // A device library whose settings cannot be read knows no device.
    if (is_unknown || !reason.empty()) {
      throw CommandError("the port of '" + options.queue + "' could not be asked" +
                             (reason.empty() ? ". " + WhereToLook() : ": " + reason),
                         kExitPortFailed);
    }
  } else if (!reason.empty()) {
    Complain(reason);
  }
  if (options.json) {
    Print(JsonObject().Add("queue", options.queue).Add("state", answer->name).ToText() + "\n");
  } else {
    Print(answer->sentence);
  }
  return answer->exit_code;
}

}  // namespace custom_bidi_tools
