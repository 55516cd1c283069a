#include <memory>

#include "include/custom_bidi.h"
#include "tools/bidictl/command.h"
#include "tools/bidictl/secret_input.h"

namespace custom_bidi_tools {

namespace {

struct PasswordOptions {
  std::string queue;
  std::string user;
  std::string target;
};

/// The three names of an entry as the library takes them.
struct Names {
  explicit Names(const PasswordOptions& options)
      : queue(WideName("queue name", options.queue)),
        user(WideName("user name", options.user)),
        target(WideName("target name", options.target)) {}

  WideString queue;
  WideString user;
  WideString target;
};

void Save(const PasswordOptions& options) {
  const Names names(options);
  const Secret password = ReadPassword(/*confirm=*/true);
  if (!SavePassword(password.bytes().data(), static_cast<CustomBidiDword>(password.bytes().size()),
                    names.user.c_str(), names.target.c_str(), names.queue.c_str())) {
    throw CommandError(std::string("the password was not saved. ") + WhereToLook());
  }
  Print("The password is saved.\n");
}

int Test(const PasswordOptions& options) {
  const Names names(options);
  if (IsPasswordPresent(names.user.c_str(), names.target.c_str(), names.queue.c_str())) {
    Print("There is a password.\n");
    return kExitDone;
  }
  Print("There is no password, or the vault could not be asked.\n");
  return kExitFailed;
}

void Delete(const PasswordOptions& options) {
  const Names names(options);
  if (!DeletePassword(names.user.c_str(), names.target.c_str(), names.queue.c_str())) {
    throw CommandError(std::string("the password was not deleted; perhaps there is none. ") + WhereToLook());
  }
  Print("The password is deleted.\n");
}

using Options = std::shared_ptr<PasswordOptions>;

CLI::App* AddOperation(CLI::App& group,
                       const std::string& name,
                       const std::string& description,
                       const Options& options) {
  auto* command = group.add_subcommand(name, description);
  command->add_option("QUEUE", options->queue, "Name of the print queue")->required();
  command->add_option("--user", options->user, "The user whose password it is")
      ->type_name("USER")
      ->required();
  command->add_option("--target", options->target, "The vault's name for what it is a password of")
      ->type_name("TARGET")
      ->required();
  return command;
}

}  // namespace

void AddPasswordCommand(CLI::App& program, int& exit_code) {
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

  const auto options = std::make_shared<PasswordOptions>();
  AddOperation(*group, "save", "Save a password, in place of one that is there", options)
      ->callback([options] { Save(*options); });
  AddOperation(*group, "test", "Say whether there is a password", options)->callback([options, &exit_code] {
    exit_code = Test(*options);
  });
  AddOperation(*group, "delete", "Delete a password", options)->callback([options] { Delete(*options); });
}

}  // namespace custom_bidi_tools
