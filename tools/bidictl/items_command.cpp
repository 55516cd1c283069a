#include <memory>
#include <vector>

#include "include/custom_bidi.h"
#include "tools/bidictl/command.h"
#include "tools/bidictl/console.h"
#include "tools/bidictl/items_table.h"

namespace custom_bidi_tools {

namespace {

// The library is told no capacity and never cuts its answer, so the room must do for any answer that can
// come. A text has at most 4095 characters and the name of an item in the data map at most 255, twice where
// the text is a list: room for some 900 items of the longest kind, many times what a device has. Names from
// the command line are not bounded, so each brings its own room.
constexpr size_t kAnswerChars = size_t{4} << 20;
constexpr size_t kCharsPerNamedItem = 4096 + 32;

struct ItemsOptions {
  std::string queue;
  std::string default_cid;
  std::vector<std::string> names;
  bool pretty = false;
};

size_t AnswerChars(const std::vector<WideString>& names) {
  size_t chars = kAnswerChars;
  for (const auto& name : names)
    chars += kCharsPerNamedItem + 2 * name.size();
  return chars;
}

std::string ReadItems(const ItemsOptions& options) {
  const WideString queue = WideArgument("queue name", options.queue);
  const WideString default_cid = WideArgument("default CID", options.default_cid);
  std::vector<WideString> names;
  for (const auto& name : options.names)
    names.push_back(WideArgument("item name", name));
  std::vector<const CustomBidiChar*> pointers;
  for (const auto& name : names)
    pointers.push_back(name.c_str());

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

void PrintItems(const ItemsOptions& options) {
  const std::string answer = ReadItems(options);
  if (options.pretty) {
    if (const auto rows = ItemRows(answer)) {
      Print(LayOut(*rows, OutputWidth()));
      return;
    }
    Complain(
        "the answer is not well-formed JSON, for a text of the device is copied into it as it is; here it "
        "stands "
        "as it came");
  }
  Print(answer + "\n");
}

}  // namespace

void AddItemsCommand(CLI::App& program, int& /*exit_code*/) {
  const auto options = std::make_shared<ItemsOptions>();
  auto* command = program.add_subcommand("items", "Read the data items of a queue's printer, as JSON");
  command->add_option("QUEUE", options->queue, "Name of the print queue")->required();
  command->add_option("--default-cid", options->default_cid, "CID to answer with when the device names none")
      ->type_name("CID");
  command
      ->add_option("--name", options->names, "Item to read, instead of all of the data map; may be repeated")
      ->type_name("NAME")
      ->expected(1)
      ->take_all();
  command->add_flag("--pretty", options->pretty, "Show a table instead of JSON");
  command->footer(
      "Examples:\n"
      "  bidictl items Office --pretty\n"
      "  bidictl items Office --name MediaSize --name Duplex\n"
      "  bidictl items Office --default-cid VX_PS\n"
      "\n"
      "The table is as wide as COLUMNS says, else as the terminal, else 100 characters.\n"
      "Exit codes: 0 items were read, 1 none could be read.");
  command->callback([options] { PrintItems(*options); });
}

}  // namespace custom_bidi_tools
