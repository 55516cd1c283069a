#include <limits>
#include <memory>

#include "include/custom_bidi.h"
#include "tools/bidictl/command.h"

namespace custom_bidi_tools {

namespace {

enum PortExitCode { kExitConnected = 0, kExitNotAnswering = 1, kExitNoDevice = 2, kExitPortFailed = 3 };

// None of the three answers: the call leaves it standing when it has none to give.
constexpr CustomBidiLong kNoAnswer = std::numeric_limits<CustomBidiLong>::min();

int PrintPort(const std::string& queue) {
  const WideString name = WideArgument("queue name", queue);
  CustomBidiLong status = kNoAnswer;
  const bool done = GetPortStatus(name.c_str(), &status) != 0;
  if (done && status == kCustomBidiPortConnected) {
    Print("The queue's port leads to a network device that answers.\n");
    return kExitConnected;
  }
  if (done && status == kCustomBidiPortOffline) {
    Print("The queue's port leads to a network device that does not answer.\n");
    return kExitNotAnswering;
  }
  if (done && status == kCustomBidiPortNonPhysical) {
    Print("There is no network device behind the queue's port, or there is no such queue.\n");
    return kExitNoDevice;
  }
  throw CommandError("the port of '" + queue + "' could not be asked. " + WhereToLook(), kExitPortFailed);
}

}  // namespace

void AddPortCommand(CLI::App& program, int& exit_code) {
  const auto queue = std::make_shared<std::string>();
  auto* command = program.add_subcommand("port", "Say whether a device answers behind a queue's port");
  command->add_option("QUEUE", *queue, "Name of the print queue")->required();
  command->footer(
      "Example:\n"
      "  bidictl port Office && echo connected\n"
      "\n"
      "Exit codes: 0 a network device answers, 1 it does not answer, 2 there is no network device behind the "
      "port,\n"
      "3 the question could not be answered.");
  command->callback([queue, &exit_code] { exit_code = PrintPort(*queue); });
}

}  // namespace custom_bidi_tools
