// What bidictl prints and how it ends, for lines as a user types them. Every program run here is the real one,
// with the simulated device family.

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <sstream>
#include <thread>

#include "ixo/vault/vault.h"
#include "tests/bidictl/program_run.h"
#include "tools/bidictl/platform/queue_store.h"

namespace custom_bidi_test {
namespace {

namespace fs = std::filesystem;

/// Bars part the lines. In `out` and `err` a star stands for any text. Of standard error only what stands
/// between "bidictl: " and the line's end is told; nothing means that it is empty.
struct Row {
  std::string lines;
  int code;
  std::string out;
  std::string err = "";
  std::string input = "";
};

bool Matches(std::string_view pattern, std::string_view text) {
  for (bool at_start = true;; at_start = false) {
    const size_t star = pattern.find('*');
    const std::string_view part = pattern.substr(0, star);
    if (star == std::string_view::npos) {
      return at_start ? text == part : text.ends_with(part);
    }
    const size_t found = text.find(part);
    if (found == std::string_view::npos || (at_start && found != 0)) {
      return false;
    }
    text.remove_prefix(found + star);
    pattern.remove_prefix(star + 1);
  }
}

/// A queue "cli-test" on the port 192.0.2.10, the default printer, and nothing kept or traced.
class CommandLine : public testing::Test {
 protected:
  CommandLine() {
    CleanUp();
    SetVariable("COLUMNS", "");
    custom_bidi_tools::AddQueue("cli-test", "192.0.2.10");
  }
  ~CommandLine() override { CleanUp(); }

  static void Check(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
      std::istringstream lines(row.lines + "|");
      for (std::string line; std::getline(lines, line, '|');) {
        const ProgramEnd end = RunBidictl(line, row.input);
        EXPECT_EQ(end.exit_code, row.code) << line;
        EXPECT_TRUE(Matches(row.out, end.output)) << line << "\nprinted\n" << end.output;
        const std::string errors = row.err.empty() ? "" : "bidictl: " + row.err + "\n";
        EXPECT_TRUE(Matches(errors, end.errors)) << line << "\ncomplained\n" << end.errors;
      }
    }
  }

  /// A program takes half a second to start under Wine, and what reads a line is the same there: two rows do.
  static void CheckReading(const std::vector<Row>& rows) {
    Check(kIsWindows ? std::vector{rows.front(), rows.back()} : rows);
  }

  static std::string KeptBytes(std::string_view target) {
    custom_bidi::vault::SecureBytes bytes;
    const DWORD code = custom_bidi::vault::Load(ToWide(target), ToWide("cli-user"), bytes);
    return code == 0 ? std::string(bytes.begin(), bytes.end()) : "code " + std::to_string(code);
  }

 private:
  static void CleanUp() {
    for (const auto& queue : custom_bidi_tools::ListQueues()) {
      if (queue.name.starts_with("cli-")) {
        custom_bidi_tools::RemoveQueue(queue.name);
      }
    }
    for (const char* target : {"cli-target", "Vexmo.VIB.NQDRV4.cli-user.u-1"}) {
      custom_bidi::vault::Delete(ToWide(target), ToWide("cli-user"));
    }
    for (const auto& file : {custom_bidi_tools::TraceFilePath(), kFolder / "printer.json"}) {
      fs::remove(file);
    }
  }
};

TEST_F(CommandLine, Help) {
  CheckReading(
      {{"--version", 0, "bidictl " BIDICTL_VERSION "\n"},
       {"--help", 0, "Ask a *items *status *port *password *certificate *queue *trace *their own.\n"},
       {"items --help", 0, "Read*QUEUE TEXT REQ*--default-cid CID *--name NAME *--pretty *read.\n"},
       {"status -h", 0, "Read*PRINTER TEXT REQ*--pretty *could not be read.\n"},
       {"password --help", 0, "Save*save *test *delete *its trace does.\n"},
       {"password save --help|password test --help|password delete --help", 0,
        "*QUEUE TEXT REQ*--user USER REQ*--target TARGET REQ*\n"},
       {"certificate --help", 0, "Show*show *verify *trust *certificate verify Office --user jdoe\n"},
       {"certificate show -h", 0, "Show*QUEUE TEXT REQ*--user USER REQ*--mode N*--pem *--der FILE *read.\n"},
       {"certificate verify --help", 0, "Check*QUEUE TEXT REQ*--user USER REQ*that applies counts.\n"},
       {"certificate trust -h", 0, "Keep*QUEUE TEXT REQ*--user USER REQ*--yes *0 it is kept, 1 it is not.\n"},
       {"queue --help", 0, "Add*add *list *remove *bidictl queue remove Office\n"},
       {"queue add --help", 0, "Add*QUEUE TEXT REQ*--port PORT REQ*there is a queue of that name.\n"},
       {"port --help|queue list --help|queue remove --help", 0, "*Exit codes: 0 *not *.\n"},
       {"trace --help", 0, "Switch*on *off *show *follow *1 no such queue or no trace file.\n"},
       {"trace on --help|trace off --help", 0,
        "Switch the trace of a queue o*QUEUE TEXT REQ*no trace file.\n"},
       {"trace show --help", 0, "Print the trace file*QUEUE TEXT  *no trace file.\n"},
       {"trace follow --help", 0, "Print what*QUEUE TEXT  *--seconds N:INT in *no trace file.\n"}});
}

TEST_F(CommandLine, WhatIsNotUnderstood) {
  CheckReading(
      {{"\"\"", 64, "", "there is no command '' ('bidictl --help' lists them)"},
       {"frob|frob --help", 64, "", "there is no command 'frob' ('bidictl --help' lists them)"},
       {"", 64, "", "a command is missing behind 'bidictl' ('bidictl --help' lists them)"},
       {"queue", 64, "", "a command is missing behind 'bidictl queue' ('bidictl queue --help' lists them)"},
       {"password|certificate|trace", 64, "", "a command is missing behind 'bidictl *"},
       {"queue frob", 64, "", "there is no command 'queue frob' ('bidictl queue --help' lists them)"},
       {"items|port|password save|password test|password delete|certificate show|certificate "
        "verify|certificate trust|queue add|queue remove|trace on|trace off",
        64, "", "QUEUE is required ('bidictl --help' tells more)"},
       {"status", 64, "", "PRINTER is required ('bidictl --help' tells more)"},
       {"items q --frob|status 192.0.2.10 --frob|port q --frob|queue list --frob|queue remove cli-test "
        "--frob|trace on cli-test --frob|trace show --frob",
        64, "", "The following argument was not expected: --frob *"},
       {"queue list cli-test|port q cli-test", 64, "", "*not expected: cli-test *"},
       {"queue add cli-new --port|items cli-test --name", 64, "", "--*: 1 required * missing *"},
       {"queue add q|password save q --target t|certificate show q|certificate trust q|password delete q "
        "--user u",
        64, "", "--* is required *"},
       {"items \"\"|port \"\"|password test \"\" --user u --target t|queue remove \"\"|trace on \"\"", 64, "",
        "QUEUE: must not be empty *"},
       {"status \"\"", 64, "", "PRINTER: must not be empty *"},
       {"password test q --user \"\" --target t|certificate verify q --user \"\"", 64, "",
        "--user: must not be empty *"},
       {"password test q --user u --target \"\"|queue add q --port \"\"|items q --name \"\"|certificate show "
        "q "
        "--user u --der \"\"",
        64, "", "--*: must not be empty *"},
       {"trace follow --seconds 0|trace follow --seconds 86401", 64, "",
        "--seconds: Value * not in range 1 to 86400 *"},
       {"certificate show q --user u --pem --json", 64, "", "--* excludes --* *"},
       {"certificate show q --user u --pem --der f", 64, "", "--pem excludes --der *"},
       {"certificate show q --user u --mode x|certificate show q --user u --mode 2", 64, "", "*--mode*"}});
}

TEST_F(CommandLine, Items) {
  const std::string serial = "items cli-test --name SerialNumber";
  const std::string wide = "Alerts                           Tray 3 is low on paper, Yellow*";
  const std::string narrow = "Alerts                 Tray 3 is low on paper, Yellow toner\n*";
  SetVariable("COLUMNS", "20");
  Check({{"items cli-test --name SerialNumber --pretty", 0, "CID\nSerialNumber\n     VXQ7C2140387\n"}});
  for (const char* columns : {"60", "19", "60x", ""}) {  // all but the first count as 100
    SetVariable("COLUMNS", columns);
    Check({{"items cli-test --pretty", 0, std::string(columns) == "60" ? narrow : wide}});
  }
  Check({{"items cli-test", 0,
          R"({"*"PrinterName": "Quellix C740 Second Floor",*"CID": "Vexmo_Quellix_C740"}*)"},
         {serial + " --name=HostName", 0,
          "{\"SerialNumber\": \"VXQ7C2140387\",\"HostName\": \"vexmo-c740-2\",\"CID\": \"\"}\n"},
         {"items CLI-TEST --name SerialNumber --pretty", 0, "CID\nSerialNumber  VXQ7C2140387\n"},
         {"items cli-test --name Nothing", 1, "", "nothing could be read for 'cli-test'. *tell more."}});
  UsePrinter(R"({"addresses": {"ports": {"*": {}}},
                 "items": {"SerialNumber": "12\" \u00FCber \uD83D\uDE00", "DeviceID": "MFG:Vexmo;"}})");
  const std::string answer = "{\"SerialNumber\": \"12\" über 😀\",\"CID\": \"VX Ü\"}\n";
  Check({{serial + " --default-cid \"VX Ü\"", 0, answer},
         {serial + " --default-cid \"VX Ü\" --pretty", 0, answer,
          "the answer is not well-formed JSON*as it came"}});
}

TEST_F(CommandLine, StatusAndPort) {
  custom_bidi_tools::AddQueue("cli-local", "LPT1:");
  Check(
      {{"status 192.0.2.10", 0, "{\"printerState\":3,\"responseCode\":0,\"statusCode\":0}\n"},
       {"status 192.0.2.10 --pretty", 0,
        "printer state  idle (3)\nresponse code  the device is in service (0)\nerror state    none (0x00)\n"},
       {"status cli-local", 1, "",
        "the queue 'cli-local' is on the port 'LPT1:', behind which there is no network device"},
       {"status " + std::string(64, 'x'), 1, "", "neither a queue nor a host is known by the name 'xx*"},
       {"port cli-test", 0, "The queue's port leads to a network device that answers.\n"},
       {"port cli-test --json", 0, "{\"queue\":\"cli-test\",\"state\":\"connected\"}\n"},
       {"port cli-local --json", 2, "*\"noDevice\"}\n"},
       {"port cli-local", 2,
        "There is no network device behind the queue's port, or there is no such queue.\n"}});
  UsePrinter(R"({"addresses": {"ports": {"*": {"active": false}}, "ip": {"192.0.2.10": {}}},
                 "faults": {"OidProvider.GetValue": {"hresult": "0x80004005"}}})");
  Check({{"port cli-test", 1, "The queue's port leads to a network device that does not answer.\n"},
         {"status 192.0.2.10|status CLI-TEST|status socket://192.0.2.10:9100", 2,
          "{\"printerState\": 5,\"responseCode\": 1,\"statusCode\": 0}\n"},
         {"status 192.0.2.10 --pretty", 2, "the printer could not be read\n"}});
  if (!kIsWindows) {
    UsePrinter("{\"addresses\": {\"ports\": 7}}");
    Check({{"port cli-test", 3, "",
            "the port of 'cli-test' could not be asked: *printer.json: *addresses.ports*"}});
  }
  UsePrinter(R"({"addresses": {"ip": {"127.0.0.1": {}}}})");
  Check({{"status localhost", 0, "{\"printerState\":*"},
         {"status cli-test", 1, "", "no status could be had *"}});
}

TEST_F(CommandLine, Passwords) {
  const std::string names = " cli-test --user cli-user --target cli-target";
  const std::string save = "password save" + names;
  const std::string saved = "The password is saved.\n";
  const Row none = {"password test" + names, 1, "There is no password, or the vault could not be asked.\n"};
  Check({none, {"password delete" + names, 1, "", "the password was not deleted; perhaps there is none. *"}});
  const std::pair<std::string, std::string> kept[] = {{"correct horse\n", "correct horse"},
                                                      {"a\r\n", "a"},
                                                      {"a\n\n", "a\n"},
                                                      {"a\r", "a\r"},
                                                      {std::string("\xFF\0b", 3), std::string("\xFF\0b", 3)}};
  for (const auto& [input, bytes] : kept) {
    Check({{save, 0, saved, "", input}});
    EXPECT_EQ(KeptBytes("cli-target"), bytes);
  }
  const std::string longest(65536, 'x');
  Check({{"password test" + names, 0, "There is a password.\n"},
         {save, 1, "", "the password is empty", ""},
         {save, 1, "", "the password is empty", "\r\n"},
         {save, 1, "", "the password begins with a zero byte*", std::string("\0a", 2)},
         {save, 1, "", "the password is longer than 65536 bytes", longest + "x"},
         // The vault of Windows has less room.
         kIsWindows ? Row{save, 1, "", "the password was not saved. *", longest + "\r\n"}
                    : Row{save, 0, saved, "", longest + "\r\n"}});
  EXPECT_EQ(KeptBytes("cli-target"), kIsWindows ? kept[4].second : longest);
  Check({{"password delete" + names, 0, "The password is deleted.\n"}, none});
}

TEST_F(CommandLine, CertificateShown) {
  const std::string show = "certificate show cli-test --user cli-user";
  const fs::path copy = kFolder / "copy.der";
  UseCertificate("chained", "u-1", "[2, 12038]");
  Check(
      {{show, 0,
        "device UUID  u-1\nsubject      CN=vexmo-printer, O=Vexmo, C=XX\n"
        "issuer       CN=vexmo-root, O=Vexmo, C=XX\n"
        "valid from   2020-01-01 00:00:00 UTC\nvalid until  2099-12-31 23:59:59 UTC\n"
        "SHA-1        *:*\nSHA-256      *:*\n"
        "warnings     CERT_TRUST_IS_NOT_TIME_NESTED (2, 0x00000002)\n"
        "             ERROR_INTERNET_SEC_CERT_CN_INVALID (12038, 0x00002F06)\n"},
       {show + " --json", 0,
        R"({"deviceUuid":"u-1","subject":"CN=vexmo-printer, O=Vexmo, C=XX","issuer":"CN=vexmo-root, *",)"
        R"("validFrom":"2020-01-01T00:00:00Z","validUntil":"2099-12-31T23:59:59Z","sha1":"*:*","sha256":"*:*",)"
        R"("warnings":[{"code":2,"name":"CERT_TRUST_IS_NOT_TIME_NESTED"},{"code":12038,*}]})"
        "\n"},
       {show + " --pem", 0, "-----BEGIN CERTIFICATE-----\n*\n-----END CERTIFICATE-----\n"},
       {show + " --der -", 0, ReadBytes(CERTIFICATE_FOLDER "/chained.der")},
       {show + " --der \"" + copy.string() + "\"", 0, ""},
       {show + " --der \"" + (copy / "x").string() + "\"", 1, "", "the file '*x' cannot be written"},
       {show + " --mode 1", 0, "device UUID  none was read\n*"}});
  EXPECT_EQ(ReadBytes(copy), ReadBytes(CERTIFICATE_FOLDER "/chained.der"));
  fs::remove(copy);
  UsePrinter(R"({"addresses": {"ports": {"*": {}}}, "certificate": {"der": "eA==", "uuid": "u-1"}})");
  const std::string trust = "certificate trust cli-test --user cli-user";
  Check({{show, 0, "device UUID  u-1\ncertificate  not a certificate\nwarnings     none\n"},
         {trust, 1, "", "what the printer gave is not a certificate"}});
  UsePrinter(R"({"addresses": {"ports": {"*": {}}}, "certificate": {"warnings": [32]}})");
  Check({{show + " --mode 1", 0,
          "*\ncertificate  none was read\nwarnings     CERT_TRUST_IS_UNTRUSTED_ROOT (32, *"},
         {show + " --mode 1 --json", 0,
          R"({"warnings":[{"code":32,"name":"CERT_TRUST_IS_UNTRUSTED_ROOT"}]})"
          "\n"},
         {show + " --mode 1 --pem", 1, "", "there are warnings, but no certificate was read"}});
  UsePrinter("{}");
  Check({{show, 1, "", "no certificate could be read from the printer behind 'cli-test'. *"},
         {show + " --mode 1", 1, "", "no certificate * without its address: --mode 1 needs *"}});
}

TEST_F(CommandLine, CertificateTrusted) {
  const std::string names = " cli-test --user cli-user";
  const std::string verify = "certificate verify" + names;
  const std::string trust = "certificate trust" + names;
  const std::string target = "Vexmo.VIB.NQDRV4.cli-user.u-1";
  const std::string now_kept = "The vault now keeps the certificate with the SHA-256 thumbprint *:*.\n";
  const Row kept_already = {trust, 0, "The vault keeps this certificate already.\n"};
  const Row refused = {
      trust, 1, "", "the vault keeps another certificate of this printer for 'cli-user'; *with --yes only"};
  const std::string differs = "The certificate is not the one kept in the vault (1169).\n";
  UseCertificate("device", "u-1", "[2]");
  Check({{verify, 2,
          "The vault keeps no certificate of this printer for this user; the dates of the printer's hold.\n"
          "the device's warnings  CERT_TRUST_IS_NOT_TIME_NESTED (2, 0x00000002)\n"
          "after the check        CERT_TRUST_IS_NOT_TIME_NESTED (2, 0x00000002)\n"},
         {trust, 0, now_kept},
         kept_already,
         {verify, 0,
          "The certificate is the one kept in the vault, and its dates hold.\n*after the check        "
          "none\n"}});
  EXPECT_EQ(KeptBytes(target), ReadBytes(CERTIFICATE_FOLDER "/device.der"));
  UseCertificate("expired", "u-1");
  Check({{verify, 4, differs + "*ERROR_NO_MATCH (1169, *_DATE_INVALID (12037, *"},
         refused,
         {trust + " --yes", 0, now_kept},
         {verify + " --json", 3,
          R"({"verdict":"datesInvalid","warnings":[],"warningsAfterCheck":[*12037,*)"
          "\n"},
         {verify, 3, "The certificate's dates do not hold (12037).\n*"}});
  UseCertificate("renewed", "u-1");
  Check({{verify, 4, differs + "*"}, refused});
  UseCertificate("expired", "u-1", "[1]");
  Check({{verify, 5, "A warning that nobody may wave through ended the check.\n*"}, kept_already});
  UseCertificate("device", "u-1");
  Check({{"password save" + names + " --target " + target, 0, "*", "", "no certificate"},
         {verify, 1, "", "the check could not be run to its end: *tell more."},
         refused});
  UsePrinter(R"({"addresses": {"ports": {"*": {}}}, "certificate": {"file": "certificate.der", "uuid": "u-1"},
                 "faults": {"VaultStoreProvider.IsTargetPresent": {"raise": 5}}})");
  Check({{trust, 1, "", "the vault could not be asked what it keeps. *tell more."}});
}

TEST_F(CommandLine, Queues) {
  const std::string none = "there is no queue 'cli-test'; 'bidictl queue list' shows the queues";
  const std::string no_cups =
      kIsWindows ? "" : "CUPS does not answer at '/nonexistent/cups.sock' (CUPS_SERVER)*";
  Check(
      {{"queue add \"cli-Büro 😀\" --port LPT1:", 0, "",
        "the port 'LPT1:' leads to no device on a network; *"},
       {"queue add CLI-TEST --port LPT1:", 1, "", "there is a queue 'CLI-TEST' already; remove it first"},
       {"queue add cli,x --port LPT1:", 1, "", "a queue name must not hold a backslash or a comma: 'cli,x'"},
       {"queue list", 0, "*cli-Büro 😀 * LPT1:\n*cli-test *192.0.2.10\n*", no_cups},
       {"queue list --json", 0,
        R"([*{"name":"cli-Büro 😀","port":"LPT1:"},{"name":"cli-test","port":"192.0.2.10"}*])"
        "\n",
        no_cups},
       {"queue remove Cli-Test", 0, ""},
       {"queue remove cli-test", 1, "", none},
       {"trace on cli-test", 1, "", none},
       {"trace show cli-test", 1, "", none},
       {"trace follow cli-test --seconds 1", 1, "", none}});
}

TEST_F(CommandLine, QueuesThatAreNotKnown) {
  if (kIsWindows) {
    GTEST_SKIP() << "the spooler's registry is no file, and there is no other spooler";
  }
  const fs::path home = kFolder / "other-home";
  const fs::path registry = home / "registry.reg";
  const std::string home_before = std::getenv("CUSTOMBIDI_HOME");
  SetVariable("CUSTOMBIDI_HOME", home.string());
  const std::string no_cups = "CUPS does not answer at '/nonexistent/cups.sock' (CUPS_SERVER)*";
  const std::string both = registry.string() + ":4: this line is not understood*\nbidictl: " + no_cups;
  const Row none = {"port Office", 2, "There is no network device*", no_cups};
  Check({{"queue list", 1, "", no_cups}, {"queue list --json", 1, "[]\n", no_cups}, none});
  fs::create_directories(home);
  WriteFile(registry,
            "Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\"
            "Control\\Print\\Printers\\Office]\n\"Port\"=\"192.0.2.10\n");
  Check({{"queue list", 0, "Office\n", both}, {none.lines, 2, none.out, both}});
  fs::remove_all(home);
  SetVariable("CUSTOMBIDI_HOME", home_before);
}

TEST_F(CommandLine, Trace) {
  std::error_code ignored;
  fs::remove(custom_bidi_tools::TraceFilePath().parent_path(), ignored);  // "trace on" makes it
  const Row call = {"port cli-test", 0, "*"};
  const std::string one_call =
      "[*]  CCIXML::Load << Enter\n[*] *the port name from the printer is: [192.0.2.10]\n*Get Address from "
      "Port success and the connected IP is active\n";
  Check({{"trace show", 1, "", "there is no trace yet: *CustomBidi.log cannot be opened. *"},
         {"trace on CLI-TEST", 0, ""},
         call,
         {"trace show cli-test", 0, one_call}});
  const std::string before = RunBidictl("trace show").output;
  const int seconds = kIsWindows ? 12 : 3;  // programs start slowly under Wine
  const std::string follow = "trace follow --seconds " + std::to_string(seconds);
  auto follower = std::async(std::launch::async, [follow] { return RunBidictl(follow); });
  std::this_thread::sleep_for(std::chrono::milliseconds(500) * seconds);
  // A queue's switch goes with it.
  Check({call,
         {"trace off cli-test", 0, ""},
         call,
         {"trace on cli-test", 0, ""},
         {"queue remove cli-test", 0, ""},
         {"queue add cli-test --port 192.0.2.10", 0, ""},
         call});
  const ProgramEnd followed = follower.get();
  EXPECT_EQ(followed.exit_code, 0);
  EXPECT_TRUE(Matches(one_call, followed.output)) << followed.output;
  EXPECT_EQ(RunBidictl("trace show").output, before + followed.output);
}

TEST_F(CommandLine, WithoutItsConfiguration) {
  const fs::path file = kFolder / "bidictl.xml";
  fs::rename(file, kFolder / "elsewhere.xml");
  const std::string why = "The library looks for its configuration in '*bidictl.xml', which is not there.";
  Check({{"items cli-test", 1, "", "nothing could be read for 'cli-test'. *" + why},
         {"port cli-test", 3, "", "the port of 'cli-test' could not be asked. " + why},
         {"password save cli-test --user u --target t", 1, "", "the password was not saved. " + why, "x"},
         {"certificate verify cli-test --user cli-user", 1, "", "no certificate could be read *" + why}});
  fs::rename(kFolder / "elsewhere.xml", file);
}

}  // namespace
}  // namespace custom_bidi_test
