// The machine's queues, and their trace.

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

#include "tools/bidictl/commands/commands.h"
#include "tools/bidictl/platform/printer_address.h"
#include "tools/bidictl/platform/queue_store.h"
#include "tools/bidictl/text/printer_answers.h"

namespace custom_bidi_tools {

namespace {

using std::chrono::steady_clock;

constexpr auto kPollInterval = std::chrono::milliseconds(200);

volatile std::sig_atomic_t g_interrupted = 0;

/// Prints what has come to the file since the last time.
class TraceReader {
 public:
  explicit TraceReader(std::filesystem::path path) : path_(std::move(path)) {}

  void SkipToEnd() { position_ = FileSize() & ~std::uintmax_t{1}; }

  /// False when the file cannot be opened. A file that has become shorter is a new one.
  bool PrintNew() {
    // A pipe in its place would be waited for.
    std::error_code ignored;
    std::ifstream file;
    if (std::filesystem::is_regular_file(path_, ignored)) {
      file.open(path_, std::ios::binary);
    }
    if (!file.is_open()) {
      return false;
    }
    if (FileSize() < position_) {
      position_ = 0;
      Print(decoder_.Finish());
    }
    file.seekg(static_cast<std::streamoff>(position_));
    std::array<char, size_t{64} * 1024> block;
    while (file.read(block.data(), block.size()), file.gcount() > 0) {
      const std::string_view bytes(block.data(), static_cast<size_t>(file.gcount()));
      position_ += bytes.size();
      Print(decoder_.Decode(bytes));
    }
    return true;
  }

  void Finish() { Print(decoder_.Finish()); }

 private:
  std::uintmax_t FileSize() const {
    std::error_code code;
    const auto size = std::filesystem::file_size(path_, code);
    return code ? 0 : size;
  }

  std::filesystem::path path_;
  std::uintmax_t position_ = 0;
  TraceDecoder decoder_;
};

void CheckGivenQueue(const std::string& queue) {
  if (!queue.empty()) {
    RequireQueue(queue);
  }
}

}  // namespace

int RunQueueAdd(const QueueOptions& options) {
  AddQueue(options.name, options.port);
  if (HostOfPort(options.port).empty()) {
    Complain("the port '" + options.port +
             "' leads to no device on a network; the queue is added all the same");
  }
  if (IsSpoolersQueue(options.name)) {
    Complain("CUPS has a queue '" + options.name + "', too, which this one hides until it is removed");
  }
  return kExitDone;
}

int RunQueueList(const QueueOptions& options) {
  std::vector<std::string> complaints;
  const std::vector<Queue> queues = ListQueues(&complaints);
  std::ranges::for_each(complaints, Complain);
  const int exit_code = queues.empty() && !complaints.empty() ? kExitFailed : kExitDone;
  if (options.json) {
    std::vector<JsonObject> list;
    for (const Queue& queue : queues) {
      list.push_back(JsonObject().Add("name", queue.name).Add("port", queue.port));
    }
    Print(JsonList(list) + "\n");
    return exit_code;
  }
  std::vector<Row> rows;
  for (const Queue& queue : queues) {
    rows.push_back({queue.name, queue.port});
  }
  Print(LayOut(rows, OutputWidth()));
  return exit_code;
}

int RunQueueRemove(const QueueOptions& options) {
  RemoveQueue(options.name);
  return kExitDone;
}

int RunTraceSwitch(const TraceOptions& options, bool on) {
  SetTrace(options.queue, on);
  if (on) {
    MakeTraceFolder();
  }
  return kExitDone;
}

int RunTraceShow(const TraceOptions& options) {
  CheckGivenQueue(options.queue);
  const auto path = TraceFilePath();
  TraceReader reader(path);
  if (!reader.PrintNew()) {
    throw CommandError(
        "there is no trace yet: " + path.string() +
        " cannot be opened. Switch the trace on with 'bidictl trace on QUEUE' and make a call first.");
  }
  reader.Finish();
  return kExitDone;
}

int RunTraceFollow(const TraceOptions& options) {
  CheckGivenQueue(options.queue);
  const auto end = steady_clock::now() + std::chrono::seconds(options.seconds);
  std::signal(SIGINT, [](int) { g_interrupted = 1; });
  TraceReader reader(TraceFilePath());
  reader.SkipToEnd();
  while (!g_interrupted) {
    reader.PrintNew();
    FlushOutput();
    if (options.seconds > 0 && steady_clock::now() >= end) {
      break;
    }
    std::this_thread::sleep_for(kPollInterval);
  }
  reader.Finish();
  return kExitDone;
}

}  // namespace custom_bidi_tools
