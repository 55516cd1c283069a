#include <array>
#include <memory>

#include "include/custom_bidi.h"
#include "tools/bidictl/command.h"
#include "tools/bidictl/status_words.h"

namespace custom_bidi_tools {

namespace {

// The longest answer has 79 characters; the rest is in reserve.
constexpr size_t kAnswerChars = 256;

struct StatusOptions {
  std::string address;
  bool pretty = false;
};

void PrintStatus(const StatusOptions& options) {
  const WideString address = WideArgument("address", options.address);
  std::array<CustomBidiChar, kAnswerChars> answer{};
  if (!GetStatusData(address.c_str(), answer.data())) {
    throw CommandError(
        "no status could be had from '" + options.address +
        "'. Are the device libraries beside this program? The trace is that of a queue with the "
        "address as its name: 'bidictl queue add ADDRESS --port ADDRESS', 'bidictl trace on ADDRESS', "
        "another try, 'bidictl trace show'.");
  }
  const std::string json = ToUtf8(answer.data());
  StatusAnswer status;
  if (options.pretty && TryParseStatus(json, status))
    Print(ExplainStatus(status));
  else
    Print(json + "\n");
}

}  // namespace

void AddStatusCommand(CLI::App& program, int& /*exit_code*/) {
  const auto options = std::make_shared<StatusOptions>();
  auto* command = program.add_subcommand("status", "Read the state of the printer at an address, as JSON");
  command->add_option("ADDRESS", options->address, "The printer's IP address")->required();
  command->add_flag("--pretty", options->pretty, "Show the state in words instead of JSON");
  command->footer(
      "Examples:\n"
      "  bidictl status 192.0.2.10\n"
      "  bidictl status 192.0.2.10 --pretty\n"
      "\n"
      "The error state is answered as a number, which does not tell how many bytes the printer gave. "
      "--pretty reads\n"
      "a number up to 255 as one byte and a greater one by its first two bytes, so 00 80 is shown as 80 "
      "would be.\n"
      "Exit codes: 0 there was an answer, which may say that the printer could not be read; 1 there was "
      "none.");
  command->callback([options] { PrintStatus(*options); });
}

}  // namespace custom_bidi_tools
