#include <array>
#include <chrono>
#include <csignal>
#include <fstream>
#include <memory>
#include <thread>

#include "tools/bidictl/command.h"
#include "tools/bidictl/queue_store.h"
#include "tools/bidictl/trace_text.h"

namespace custom_bidi_tools {

namespace {

using std::chrono::steady_clock;

constexpr auto kPollInterval = std::chrono::milliseconds(200);

volatile std::sig_atomic_t interrupted = 0;

/// Prints what has come to the file since the last time.
class TraceReader {
 public:
  explicit TraceReader(std::filesystem::path path) : path_(std::move(path)) {}

  void SkipToEnd() { position_ = FileSize() & ~std::uintmax_t{1}; }

  /// False when the file cannot be opened. A file that has become shorter is a new one.
  bool PrintNew() {
    std::ifstream file(path_, std::ios::binary);
    if (!file)
      return false;
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

void SwitchOn(const std::string& queue) {
  SetTrace(queue, true);
  MakeTraceFolder();
}

void Show() {
  const auto path = TraceFilePath();
  TraceReader reader(path);
  if (!reader.PrintNew()) {
    throw CommandError(
        "there is no trace yet: " + path.string() +
        " cannot be opened. Switch the trace on with 'bidictl trace on QUEUE' and make a call first.");
  }
  reader.Finish();
}

/// `seconds` of 0: until interrupted.
void Follow(int seconds) {
  const auto end = steady_clock::now() + std::chrono::seconds(seconds);
  std::signal(SIGINT, [](int) { interrupted = 1; });
  TraceReader reader(TraceFilePath());
  reader.SkipToEnd();
  while (!interrupted) {
    reader.PrintNew();
    FlushOutput();
    if (seconds > 0 && steady_clock::now() >= end)
      break;
    std::this_thread::sleep_for(kPollInterval);
  }
  reader.Finish();
}

using QueueArgument = std::shared_ptr<std::string>;

CLI::App* AddQueueOperation(CLI::App& group,
                            const std::string& name,
                            const std::string& description,
                            const QueueArgument& queue) {
  auto* command = group.add_subcommand(name, description);
  command->add_option("QUEUE", *queue, "Name of the print queue")->required();
  return command;
}

/// The operations on the file take a queue too, which only has to exist: there is one file for all queues.
CLI::App* AddFileOperation(CLI::App& group,
                           const std::string& name,
                           const std::string& description,
                           const QueueArgument& queue) {
  auto* command = group.add_subcommand(name, description);
  command->add_option("QUEUE", *queue, "Name of a print queue; the trace of all queues is in one file");
  return command;
}

void CheckGivenQueue(const std::string& queue) {
  if (!queue.empty())
    RequireQueue(queue);
}

}  // namespace

void AddTraceCommand(CLI::App& program, int& /*exit_code*/) {
  auto* group = program.add_subcommand("trace", "Switch the trace of a queue and read the trace file");
  group->require_subcommand(1);
  group->footer(
      "Examples:\n"
      "  bidictl trace on Office\n"
      "  bidictl items Office\n"
      "  bidictl trace show\n"
      "\n"
      "Exit codes: 0 done, 1 no such queue or no trace file.");

  const auto queue = std::make_shared<std::string>();
  AddQueueOperation(*group, "on", "Switch the trace of a queue on, and make the trace file's folder", queue)
      ->callback([queue] { SwitchOn(*queue); });
  AddQueueOperation(*group, "off", "Switch the trace of a queue off", queue)->callback([queue] {
    SetTrace(*queue, false);
  });
  AddFileOperation(*group, "show", "Print the trace file as UTF-8", queue)->callback([queue] {
    CheckGivenQueue(*queue);
    Show();
  });
  const auto seconds = std::make_shared<int>(0);
  auto* follow =
      AddFileOperation(*group, "follow", "Print what is traced from now on, until interrupted", queue);
  follow->add_option("--seconds", *seconds, "End after this many seconds")
      ->type_name("N")
      ->check(CLI::Range(1, 86400));
  follow->callback([queue, seconds] {
    CheckGivenQueue(*queue);
    Follow(*seconds);
  });
}

}  // namespace custom_bidi_tools
