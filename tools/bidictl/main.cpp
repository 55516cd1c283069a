// The command line: what every command takes, how its help reads, and which function it runs.

#include <CLI/CLI.hpp>
#include <algorithm>

#include "tools/bidictl/commands/commands.h"
#include "tools/bidictl/platform/queue_store.h"

namespace custom_bidi_tools {

namespace {

/// What the command line says. A command runs while the line is parsed and leaves the program's exit code.
struct CommandLine {
  ItemsOptions items;
  StatusOptions status;
  PortOptions port;
  PasswordOptions password;
  CertificateOptions certificate;
  QueueOptions queue;
  TraceOptions trace;
  int exit_code = kExitDone;
};

CLI::Option* AddJson(CLI::App& command, bool& json) {
  return command.add_flag("--json", json, "Print JSON on one line, for programs");
}

void AddItems(CLI::App& program, CommandLine& line) {
  auto* command = program.add_subcommand("items", "Read the data items of a queue's printer, as JSON");
  auto& options = line.items;
  command->add_option("QUEUE", options.queue, "Name of the print queue")->required();
  command->add_option("--default-cid", options.default_cid, "CID to answer with when the device names none")
      ->type_name("CID");
  command
      ->add_option("--name", options.names, "Item to read, instead of all of the data map; may be repeated")
      ->type_name("NAME")
      ->expected(1)
      ->take_all();
  command->add_flag("--pretty", options.pretty, "Show a table instead of JSON");
  command->footer(
      "Examples:\n"
      "  bidictl items Office --pretty\n"
      "  bidictl items Office --name MediaSize --name Duplex\n"
      "  bidictl items Office --default-cid VX_PS\n"
      "\n"
      "The table is as wide as COLUMNS says, else as the terminal, else 100 characters.\n"
      "Exit codes: 0 items were read, 1 none could be read.");
  command->callback([&line] { line.exit_code = RunItems(line.items); });
}

void AddStatus(CLI::App& program, CommandLine& line) {
  auto* command = program.add_subcommand("status", "Read the state of a printer, as JSON");
  command->add_option("PRINTER", line.status.printer, "Its IP address, its print queue or its host name")
      ->required();
  command->add_flag("--pretty", line.status.pretty, "Show the state in words instead of JSON");
  command->footer(
      "Examples:\n"
      "  bidictl status 192.0.2.10\n"
      "  bidictl status Office --pretty\n"
      "  bidictl status printer.example.org\n"
      "\n"
      "A queue stands for the host of its port. A name that is no queue's is resolved by the system, and its "
      "addresses\n"
      "are asked in turn until the printer could be read.\n"
      "The error state is answered as a number, which does not tell how many bytes the printer gave. "
      "--pretty reads\n"
      "a number up to 255 as one byte and a greater one by its first two bytes, so 00 80 is shown as 80 "
      "would be.\n"
      "Exit codes: 0 the state was read; 1 there was no answer, or no address to ask; 2 the answer is that "
      "the printer\n"
      "could not be read.");
  command->callback([&line] { line.exit_code = RunStatus(line.status); });
}

void AddPort(CLI::App& program, CommandLine& line) {
  auto* command = program.add_subcommand("port", "Say whether a device answers behind a queue's port");
  command->add_option("QUEUE", line.port.queue, "Name of the print queue")->required();
  AddJson(*command, line.port.json);
  command->footer(
      "Example:\n"
      "  bidictl port Office && echo connected\n"
      "\n"
      "Exit codes: 0 a network device answers, 1 it does not answer, 2 there is no network device behind the "
      "port,\n"
      "3 the question could not be answered.");
  command->callback([&line] { line.exit_code = RunPort(line.port); });
}

void AddPasswordOperation(CLI::App& group,
                          const std::string& name,
                          const std::string& description,
                          CommandLine& line,
                          int (*run)(const PasswordOptions&)) {
  auto* command = group.add_subcommand(name, description);
  auto& options = line.password;
  command->add_option("QUEUE", options.queue, "Name of the print queue")->required();
  command->add_option("--user", options.user, "The user whose password it is")->type_name("USER")->required();
  command->add_option("--target", options.target, "The vault's name for what it is a password of")
      ->type_name("TARGET")
      ->required();
  command->callback([&line, run] { line.exit_code = run(line.password); });
}

void AddPassword(CLI::App& program, CommandLine& line) {
  auto* group = program.add_subcommand("password", "Save, test and delete a password in the vault");
  group->require_subcommand(1);
  group->footer(
      "Examples:\n"
      "  bidictl password save Office --user jdoe --target secure-print\n"
      "  bidictl password test Office --user jdoe --target secure-print && echo there\n"
      "  bidictl password delete Office --user jdoe --target secure-print\n"
      "\n"
      "'save' asks for the password, twice and without showing it. When standard input is no terminal, all "
      "bytes up to\n"
      "its end are the password, without one line end behind them. The command line never holds it.\n"
      "Exit codes: 0 done, or there is one; 1 failed, or there is none. 'test' also ends with 1 when the "
      "vault could\n"
      "not be asked: the library does not tell the two apart, but its trace does.");
  AddPasswordOperation(*group, "save", "Save a password, in place of one that is there", line,
                       RunPasswordSave);
  AddPasswordOperation(*group, "test", "Say whether there is a password", line, RunPasswordTest);
  AddPasswordOperation(*group, "delete", "Delete a password", line, RunPasswordDelete);
}

CLI::App* AddCertificateOperation(CLI::App& group,
                                  const std::string& name,
                                  const std::string& description,
                                  CommandLine& line,
                                  int (*run)(const CertificateOptions&)) {
  auto* command = group.add_subcommand(name, description);
  command->add_option("QUEUE", line.certificate.queue, "Name of the print queue")->required();
  command->add_option("--user", line.certificate.user, "The user whom the vault's copy is kept for")
      ->type_name("USER")
      ->required();
  command->callback([&line, run] { line.exit_code = run(line.certificate); });
  return command;
}

void AddCertificateShow(CLI::App& group, CommandLine& line) {
  auto& options = line.certificate;
  auto* command = AddCertificateOperation(group, "show", "Show the printer's certificate and its warnings",
                                          line, RunCertificateShow);
  command
      ->add_option(
          "--mode", options.mode,
          "0: certificate, warnings and UUID from the printer's address (the default); 1: what there "
          "is without an address, of\nwhich a printer on a network has nothing")
      ->type_name("N")
      ->check(CLI::Range(0, 1));
  auto* pem = command->add_flag("--pem", options.pem, "Print the certificate as PEM instead");
  auto* der = command
                  ->add_option("--der", options.der_file,
                               "Write the certificate into this file instead; - is standard output")
                  ->type_name("FILE")
                  ->excludes(pem);
  AddJson(*command, options.json)->excludes(pem)->excludes(der);
  command->footer("Exit codes: 0 done, 1 no certificate could be read.");
}

void AddCertificateVerify(CLI::App& group, CommandLine& line) {
  auto* command =
      AddCertificateOperation(group, "verify", "Check the printer's certificate against the vault's copy",
                              line, RunCertificateVerify);
  AddJson(*command, line.certificate.json);
  command->footer(
      "Exit codes: 0 it is the vault's copy and its dates hold; 1 it could not be read or checked; 2 the "
      "vault "
      "has no\n"
      "copy; 3 the dates do not hold; 4 it is another one than the vault's copy; 5 a warning ended the "
      "check. "
      "The\n"
      "greatest that applies counts.");
}

void AddCertificateTrust(CLI::App& group, CommandLine& line) {
  auto* command = AddCertificateOperation(group, "trust", "Keep the printer's certificate in the vault", line,
                                          RunCertificateTrust);
  command->add_flag("--yes", line.certificate.yes, "Replace another certificate without asking");
  command->footer(
      "It is kept for 'verify' under the name Vexmo.VIB.NQDRV4.<user>.<device UUID>. Look at its thumbprint "
      "with 'show'\n"
      "first: whatever the printer gives now is what it is compared with from then on. An entry that is "
      "another\n"
      "certificate, or none at all, is replaced when you say so; without a terminal and without --yes it "
      "stays.\n"
      "Exit codes: 0 it is kept, 1 it is not.");
}

void AddCertificate(CLI::App& program, CommandLine& line) {
  auto* group =
      program.add_subcommand("certificate", "Show, verify and trust the certificate of a queue's printer");
  group->require_subcommand(1);
  group->footer(
      "Examples:\n"
      "  bidictl certificate show Office --user jdoe\n"
      "  bidictl certificate trust Office --user jdoe\n"
      "  bidictl certificate verify Office --user jdoe");
  AddCertificateShow(*group, line);
  AddCertificateVerify(*group, line);
  AddCertificateTrust(*group, line);
}

void AddQueueAdd(CLI::App& group, CommandLine& line) {
  auto* command = group.add_subcommand("add", "Add a queue on a port");
  command->add_option("QUEUE", line.queue.name, "Name of the new queue")->required();
  command->add_option("--port", line.queue.port, "Its port, such as a printer's IP address")
      ->type_name("PORT")
      ->required();
  command->footer(
      "Example:\n"
      "  bidictl queue add Office --port 192.0.2.10\n"
      "\n"
      "On Windows the queue gets a driver that prints nothing, and a port that the spooler does not know yet "
      "is made\n"
      "as a local port; this takes an administrator.\n"
      "What is odd is added all the same, with a word on standard error: a port behind which there is no "
      "device on "
      "a network,\n"
      "and the name of a queue that CUPS has, which the new one hides.\n"
      "Exit codes: 0 done, 1 it could not be added, among others because there is a queue of that name.");
  command->callback([&line] { line.exit_code = RunQueueAdd(line.queue); });
}

void AddQueues(CLI::App& program, CommandLine& line) {
  auto* group = program.add_subcommand("queue", "Add, list and remove print queues");
  group->require_subcommand(1);
  group->footer(
      "Examples:\n"
      "  bidictl queue add Office --port 192.0.2.10\n"
      "  bidictl queue list\n"
      "  bidictl queue remove Office");
  AddQueueAdd(*group, line);

  auto* list = group->add_subcommand("list", "List the queues with their ports");
  AddJson(*list, line.queue.json);
  list->footer(
      "Queues that are not listed because a spooler does not answer, or a line of the registry is not "
      "understood, are told\n"
      "on standard error.\n"
      "Exit codes: 0 done, 1 the queues could not be read, or none could.");
  list->callback([&line] { line.exit_code = RunQueueList(line.queue); });

  auto* remove = group->add_subcommand("remove", "Remove a queue");
  remove->add_option("QUEUE", line.queue.name, "Name of the queue")->required();
  remove->footer("Example:\n  bidictl queue remove Office\n\nExit codes: 0 done, 1 it could not be removed.");
  remove->callback([&line] { line.exit_code = RunQueueRemove(line.queue); });
}

void AddTraceSwitch(CLI::App& group,
                    const std::string& name,
                    const std::string& description,
                    CommandLine& line,
                    bool on) {
  auto* command = group.add_subcommand(name, description);
  command->add_option("QUEUE", line.trace.queue, "Name of the print queue")->required();
  command->callback([&line, on] { line.exit_code = RunTraceSwitch(line.trace, on); });
}

CLI::App* AddTraceOutput(CLI::App& group,
                         const std::string& name,
                         const std::string& description,
                         CommandLine& line,
                         int (*run)(const TraceOptions&)) {
  auto* command = group.add_subcommand(name, description);
  command->add_option("QUEUE", line.trace.queue,
                      "Name of a print queue; the trace of all queues is in one file");
  command->callback([&line, run] { line.exit_code = run(line.trace); });
  return command;
}

void AddTrace(CLI::App& program, CommandLine& line) {
  auto* group = program.add_subcommand("trace", "Switch the trace of a queue and read the trace file");
  group->require_subcommand(1);
  group->footer(
      "Examples:\n"
      "  bidictl trace on Office\n"
      "  bidictl items Office\n"
      "  bidictl trace show\n"
      "\n"
      "Exit codes: 0 done, 1 no such queue or no trace file.");
  AddTraceSwitch(*group, "on", "Switch the trace of a queue on, and make the trace file's folder", line,
                 true);
  AddTraceSwitch(*group, "off", "Switch the trace of a queue off", line, false);
  AddTraceOutput(*group, "show", "Print the trace file as UTF-8", line, RunTraceShow);
  AddTraceOutput(*group, "follow", "Print what is traced from now on, until interrupted", line,
                 RunTraceFollow)
      ->add_option("--seconds", line.trace.seconds, "End after this many seconds")
      ->type_name("N")
      ->check(CLI::Range(1, 86400));
}

/// Before anything else is said: the parser would only tell that a command is missing, and a command that there is
/// no such queue.
void CheckCommandNames(const CLI::App& program, const std::vector<std::string>& arguments) {
  const CLI::App* group = &program;
  std::string words;
  for (size_t i = 0;; ++i) {
    const auto commands = group->get_subcommands([](const CLI::App*) { return true; });
    if (commands.empty()) {
      break;
    }
    const std::string where = " ('bidictl " + words + "--help' lists them)";
    if (i == arguments.size()) {
      throw CommandError(
          "a command is missing behind 'bidictl" + (i == 0 ? "" : ' ' + arguments[i - 1]) + "'" + where,
          kExitUsage);
    }
    if (arguments[i].starts_with('-')) {
      return;
    }
    const auto found = std::ranges::find_if(
        commands, [&](const CLI::App* command) { return command->check_name(arguments[i]); });
    if (found == commands.end()) {
      throw CommandError("there is no command '" + words + arguments[i] + "'" + where, kExitUsage);
    }
    group = *found;
    words += arguments[i] + ' ';
  }
  CheckQueueStore();
}

/// Nothing has the empty text for its name, and "--der ''" would be taken for no option at all. Only a CID may be
/// empty, as it is without the option.
void RefuseEmptyTexts(CLI::App& app) {
  for (CLI::Option* option : app.get_options()) {
    if (option->get_name() != "--default-cid") {
      option->check([](const std::string& text) { return text.empty() ? "must not be empty" : ""; });
    }
  }
  for (CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    RefuseEmptyTexts(*command);
  }
}

int RunBidictl(std::vector<std::string> arguments) {
  CLI::App program("Ask a printer what its driver needs to know, through CustomBidi.", "bidictl");
  program.set_version_flag("--version", "bidictl " BIDICTL_VERSION);
  program.require_subcommand(1);
  program.footer(
      "Examples:\n"
      "  bidictl queue add Office --port 192.0.2.10\n"
      "  bidictl items Office --pretty\n"
      "  bidictl status 192.0.2.10\n"
      "\n"
      "'bidictl COMMAND --help' tells more. Exit codes: 0 done, 1 failed, 64 the command line was not "
      "understood;\n"
      "'status', 'port' and 'certificate verify' have their own.");
  CommandLine line;
  for (const auto add : {AddItems, AddStatus, AddPort, AddPassword, AddCertificate, AddQueues, AddTrace}) {
    add(program, line);
  }

  try {
    RefuseEmptyTexts(program);
    CheckCommandNames(program, arguments);
    std::ranges::reverse(arguments);  // the parser takes them from the back
    program.parse(std::move(arguments));
    FlushOutput();
    return line.exit_code;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      return program.exit(error);  // --help and --version
    }
    Complain(std::string(error.what()) + " ('bidictl --help' tells more)");
    return kExitUsage;
  } catch (const CommandError& error) {
    Complain(error.what());
    return error.exit_code();
  } catch (const std::exception& error) {
    Complain(error.what());
    return kExitFailed;
  }
}

}  // namespace

}  // namespace custom_bidi_tools

// NOLINTNEXTLINE(bugprone-exception-escape): with no memory even for the arguments there is nobody to tell
int main(int argc, char** argv) {
  custom_bidi_tools::PrepareOutput();
  return custom_bidi_tools::RunBidictl(custom_bidi_tools::CommandLineArguments(argc, argv));
}
