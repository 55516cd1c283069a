#include <array>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <memory>
#include <sstream>

#include "tools/bidictl/certificate_record.h"
#include "tools/bidictl/certificate_text.h"
#include "tools/bidictl/certificate_warnings.h"
#include "tools/bidictl/command.h"
#include "tools/bidictl/console.h"
#include "tools/bidictl/secret_input.h"
#include "tools/bidictl/table.h"

namespace custom_bidi_tools {

namespace {

constexpr CustomBidiDword kFullReading = 0;

enum VerifyExitCode {
  kExitMatches = 0,
  kExitNotChecked = 1,
  kExitNotKept = 2,
  kExitDatesInvalid = 3,
  kExitDiffers = 4,
  kExitNonNegotiable = 5,
};

struct CertificateOptions {
  std::string queue;
  std::string user;
  CustomBidiDword mode = kFullReading;
  bool pem = false;
  std::string der_file;
  bool yes = false;
};

/// The certificate behind a queue as it is now, and the names that further calls about it take.
class PrinterCertificate {
 public:
  PrinterCertificate(const CertificateOptions& options, CustomBidiDword mode)
      : user_(WideName("user name", options.user)),
        queue_(WideName("queue name", options.queue)),
        record_(GetDeviceCertificate(user_.c_str(), queue_.c_str(), mode)) {
    if (!record_) {
      throw CommandError("no certificate could be read from the printer behind '" + options.queue + "'. " +
                         WhereToLook());
    }
    target_ = WideArgument("target name", CertificateTarget(options.user, record_.device_uuid()));
  }

  const CertificateRecord& record() const { return record_; }
  std::span<const uint8_t> certificate() const { return record_.certificate(); }

  bool IsKept() const { return IsPasswordPresent(user_.c_str(), target_.c_str(), queue_.c_str()) != 0; }

  bool Keep() const {
    return SavePassword(certificate().data(), static_cast<CustomBidiDword>(certificate().size()),
                        user_.c_str(), target_.c_str(), queue_.c_str()) != 0;
  }

  /// Checks the certificate under these warnings and gives those that it then has; nothing when the check
  /// could not be run.
  std::optional<std::vector<uint32_t>> Check(const std::vector<uint32_t>& warnings) const {
    std::array<CustomBidiDword, 10> codes{};  // the room that the library wants
    std::ranges::copy(warnings, codes.begin());
    DeviceCertificate checked = *record_.Get();
    checked.warnings = codes.data();
    checked.warning_count = static_cast<CustomBidiDword>(warnings.size());
    if (!VerifyCertificateValidity(user_.c_str(), queue_.c_str(), kFullReading, &checked))
      return std::nullopt;
    return std::vector<uint32_t>(codes.begin(), codes.begin() + checked.warning_count);
  }

 private:
  WideString user_;
  WideString queue_;
  CertificateRecord record_;
  WideString target_;
};

std::string CodeText(uint32_t code) {
  std::ostringstream text;
  text << WarningName(code) << " (" << code << ", 0x" << std::hex << std::uppercase << std::setfill('0')
       << std::setw(8) << code << ")";
  return text.str();
}

/// One row for each warning, of which the first has the name.
void AddWarnings(const char* name, const std::vector<uint32_t>& warnings, std::vector<Row>& rows) {
  if (warnings.empty())
    rows.push_back({name, "none"});
  for (size_t i = 0; i < warnings.size(); ++i)
    rows.push_back({i == 0 ? name : "", CodeText(warnings[i])});
}

void AddCertificate(std::span<const uint8_t> der, std::vector<Row>& rows) {
  const auto text = ReadCertificate(der);
  if (!text) {
    rows.push_back({"certificate", der.empty() ? "none was read" : "not a certificate"});
    return;
  }
  rows.push_back({"subject", text->subject});
  rows.push_back({"issuer", text->issuer});
  rows.push_back({"valid from", text->valid_from + " UTC"});
  rows.push_back({"valid until", text->valid_until + " UTC"});
  rows.push_back({"SHA-1", text->sha1});
  rows.push_back({"SHA-256", text->sha256});
}

void WriteDer(const std::string& file, std::span<const uint8_t> der) {
  const std::filesystem::path path(std::u8string(file.begin(), file.end()));
  std::ofstream stream(path, std::ios::binary);
  stream.write(reinterpret_cast<const char*>(der.data()), static_cast<std::streamsize>(der.size()));
  stream.close();
  if (!stream)
    throw CommandError("the file '" + file + "' cannot be written");
}

void Show(const CertificateOptions& options) {
  const PrinterCertificate printer(options, options.mode);
  const auto der = printer.certificate();
  if ((options.pem || !options.der_file.empty()) && der.empty())
    throw CommandError("there are warnings, but no certificate was read");
  if (!options.der_file.empty())
    return WriteDer(options.der_file, der);
  if (options.pem)
    return Print(PemOf(der));

  std::vector<Row> rows;
  const std::string uuid = printer.record().device_uuid();
  rows.push_back({"device UUID", uuid.empty() ? "none was read" : uuid});
  AddCertificate(der, rows);
  AddWarnings("warnings", printer.record().warnings(), rows);
  Print(LayOut(rows, OutputWidth()));
}

int ExitCodeOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::kMatches:
      return kExitMatches;
    case Verdict::kNotKept:
      return kExitNotKept;
    case Verdict::kDatesInvalid:
      return kExitDatesInvalid;
    case Verdict::kDiffers:
      return kExitDiffers;
    case Verdict::kNonNegotiable:
      return kExitNonNegotiable;
  }
  return kExitNotChecked;
}

int Verify(const CertificateOptions& options) {
  const PrinterCertificate printer(options, kFullReading);
  const std::vector<uint32_t> before = printer.record().warnings();
  const bool is_kept = printer.IsKept();
  const auto after = printer.Check(before);
  if (!after) {
    throw CommandError(
        std::string("the check could not be run to its end: the vault, what it keeps or the dates could not "
                    "be read. ") +
            WhereToLook(),
        kExitNotChecked);
  }
  const Verdict verdict = JudgeCheck(before, *after, is_kept);
  std::vector<Row> rows;
  AddWarnings("the device's warnings", before, rows);
  AddWarnings("after the check", *after, rows);
  Print(VerdictText(verdict) + "\n" + LayOut(rows, OutputWidth()));
  return ExitCodeOf(verdict);
}

/// Whether the vault's entry is this very certificate; false also when it cannot be compared.
bool IsTheOneKept(const PrinterCertificate& printer) {
  // Without the device's warnings, so that none of them ends the check before the comparison.
  const auto after = printer.Check({});
  return after && JudgeCheck({}, *after, true) != Verdict::kDiffers;
}

void RequireConsent(const CertificateOptions& options, const std::string& thumbprint) {
  if (options.yes)
    return;
  const std::string kept = "the vault keeps another certificate of this printer for '" + options.user + "'";
  if (!InputIsTerminal())
    throw CommandError(kept + "; it is replaced with --yes only");
  if (!AskYesOrNo("bidictl: " + kept + ".\nReplace it by the one with the SHA-256 thumbprint " + thumbprint +
                  "?"))
    throw CommandError("the vault stays as it is");
}

void Trust(const CertificateOptions& options) {
  const PrinterCertificate printer(options, kFullReading);
  const auto text = ReadCertificate(printer.certificate());
  if (!text)
    throw CommandError("what the printer gave is not a certificate");
  if (printer.IsKept()) {
    if (IsTheOneKept(printer)) {
      Print("The vault keeps this certificate already.\n");
      return;
    }
    RequireConsent(options, text->sha256);
  }
  if (!printer.Keep()) {
    throw CommandError("the certificate, of " + std::to_string(printer.certificate().size()) +
                       " bytes, was not kept. A vault has a limit: that of Windows takes 2560 bytes. " +
                       WhereToLook());
  }
  Print("The vault now keeps the certificate with the SHA-256 thumbprint " + text->sha256 + ".\n");
}

using Options = std::shared_ptr<CertificateOptions>;

CLI::App* AddOperation(CLI::App& group,
                       const std::string& name,
                       const std::string& description,
                       const Options& options) {
  auto* command = group.add_subcommand(name, description);
  command->add_option("QUEUE", options->queue, "Name of the print queue")->required();
  command->add_option("--user", options->user, "The user whom the vault's copy is kept for")
      ->type_name("USER")
      ->required();
  return command;
}

void AddShow(CLI::App& group, const Options& options) {
  auto* command = AddOperation(group, "show", "Show the printer's certificate and its warnings", options);
  command
      ->add_option(
          "--mode", options->mode,
          "0: certificate, warnings and UUID from the printer's address (the default); 1: what there "
          "is without an address")
      ->type_name("N");
  auto* pem = command->add_flag("--pem", options->pem, "Print the certificate as PEM instead");
  command->add_option("--der", options->der_file, "Write the certificate into this file instead")
      ->type_name("FILE")
      ->excludes(pem);
  command->footer("Exit codes: 0 done, 1 no certificate could be read.");
  command->callback([options] { Show(*options); });
}

void AddVerify(CLI::App& group, const Options& options, int& exit_code) {
  auto* command =
      AddOperation(group, "verify", "Check the printer's certificate against the vault's copy", options);
  command->footer(
      "Exit codes: 0 it is the vault's copy and its dates hold; 1 it could not be read or checked; 2 the "
      "vault "
      "has no\n"
      "copy; 3 the dates do not hold; 4 it is another one than the vault's copy; 5 a warning ended the "
      "check. "
      "The\n"
      "greatest that applies counts.");
  command->callback([options, &exit_code] { exit_code = Verify(*options); });
}

void AddTrust(CLI::App& group, const Options& options) {
  auto* command = AddOperation(group, "trust", "Keep the printer's certificate in the vault", options);
  command->add_flag("--yes", options->yes, "Replace another certificate without asking");
  command->footer(
      "It is kept for 'verify' under the name Vexmo.VIB.NQDRV4.<user>.<device UUID>. Look at its thumbprint "
      "with 'show'\n"
      "first: whatever the printer gives now is what it is compared with from then on. An entry that is "
      "another\n"
      "certificate, or none at all, is replaced when you say so; without a terminal and without --yes it "
      "stays.\n"
      "Exit codes: 0 it is kept, 1 it is not.");
  command->callback([options] { Trust(*options); });
}

}  // namespace

void AddCertificateCommand(CLI::App& program, int& exit_code) {
  auto* group =
      program.add_subcommand("certificate", "Show, verify and trust the certificate of a queue's printer");
  group->require_subcommand(1);
  group->footer(
      "Examples:\n"
      "  bidictl certificate show Office --user jdoe\n"
      "  bidictl certificate trust Office --user jdoe\n"
      "  bidictl certificate verify Office --user jdoe");
  const auto options = std::make_shared<CertificateOptions>();
  AddShow(*group, options);
  AddVerify(*group, options, exit_code);
  AddTrust(*group, options);
}

}  // namespace custom_bidi_tools
