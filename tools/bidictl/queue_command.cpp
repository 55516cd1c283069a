#include <memory>

#include "tools/bidictl/command.h"
#include "tools/bidictl/console.h"
#include "tools/bidictl/queue_store.h"
#include "tools/bidictl/table.h"

namespace custom_bidi_tools {

namespace {

void PrintQueues() {
  std::vector<Row> rows;
  for (auto& queue : ListQueues())
    rows.push_back({std::move(queue.name), std::move(queue.port)});
  Print(LayOut(rows, OutputWidth()));
}

void AddAdd(CLI::App& group) {
  const auto queue = std::make_shared<Queue>();
  auto* command = group.add_subcommand("add", "Add a queue on a port");
  command->add_option("QUEUE", queue->name, "Name of the new queue")->required();
  command->add_option("--port", queue->port, "Its port, such as a printer's IP address")
      ->type_name("PORT")
      ->required();
  command->footer(
      "Example:\n"
      "  bidictl queue add Office --port 192.0.2.10\n"
      "\n"
      "On Windows the queue gets a driver that prints nothing, and a port that the spooler does not know yet "
      "is made\n"
      "as a local port; this takes an administrator.\n"
      "Exit codes: 0 done, 1 it could not be added, among others because there is a queue of that name.");
  command->callback([queue] { AddQueue(queue->name, queue->port); });
}

void AddList(CLI::App& group) {
  auto* command = group.add_subcommand("list", "List the queues with their ports");
  command->footer("Exit codes: 0 done, 1 the queues could not be read.");
  command->callback(PrintQueues);
}

void AddRemove(CLI::App& group) {
  const auto name = std::make_shared<std::string>();
  auto* command = group.add_subcommand("remove", "Remove a queue");
  command->add_option("QUEUE", *name, "Name of the queue")->required();
  command->footer(
      "Example:\n  bidictl queue remove Office\n\nExit codes: 0 done, 1 it could not be removed.");
  command->callback([name] { RemoveQueue(*name); });
}

}  // namespace

void AddQueueCommand(CLI::App& program, int& /*exit_code*/) {
  auto* group = program.add_subcommand("queue", "Add, list and remove print queues");
  group->require_subcommand(1);
  group->footer(
      "Examples:\n"
      "  bidictl queue add Office --port 192.0.2.10\n"
      "  bidictl queue list\n"
      "  bidictl queue remove Office");
  AddAdd(*group);
  AddList(*group);
  AddRemove(*group);
}

}  // namespace custom_bidi_tools
