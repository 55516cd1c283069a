// What is kept in the vault: passwords, and the certificates of printers.

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <span>
#include <sstream>

#include "tools/bidictl/commands/commands.h"
#include "tools/bidictl/text/printer_answers.h"
#include "tools/bidictl/text/shown_certificate.h"

namespace custom_bidi_tools {

namespace {

constexpr CustomBidiDword kFullReading = 0;
constexpr CustomBidiDword kWithoutAddress = 1;

enum VerifyExitCode {
  kExitMatches = 0,
  kExitNotChecked = 1,
  kExitNotKept = 2,
  kExitDatesInvalid = 3,
  kExitDiffers = 4,
  kExitNonNegotiable = 5,
};

/// The three names of a password as the library takes them.
struct PasswordNames {
  explicit PasswordNames(const PasswordOptions& options)
      : queue(WideArgument("queue name", options.queue)),
        user(WideArgument("user name", options.user)),
        target(WideArgument("target name", options.target)) {}

  WideString queue;
  WideString user;
  WideString target;
};

/// A printer's certificate as GetDeviceCertificate gave it, with all its memory.
class CertificateRecord {
 public:
  /// Takes the record over; it may be null.
  explicit CertificateRecord(DeviceCertificate* record) : record_(record) {}
  ~CertificateRecord() {
    if (record_ != nullptr) {
      DeleteDeviceCertificate(record_);
      FreeTaskMemory(record_);
    }
  }
  CertificateRecord(const CertificateRecord&) = delete;
  CertificateRecord& operator=(const CertificateRecord&) = delete;

  explicit operator bool() const { return record_ != nullptr; }
  DeviceCertificate* Get() const { return record_; }

  std::span<const uint8_t> certificate() const {
    if (record_->certificate == nullptr) {
      return {};
    }
    return {record_->certificate, record_->certificate_length};
  }
  std::vector<uint32_t> warnings() const {
    if (record_->warnings == nullptr) {
      return {};
    }
    return {record_->warnings, record_->warnings + record_->warning_count};
  }
  /// Empty when there is none.
  std::string device_uuid() const {
    return record_->identifier != nullptr ? ToUtf8(record_->identifier) : "";
  }

 private:
  DeviceCertificate* record_;
};

/// The certificate behind a queue as it is now, and the names that further calls about it take.
class PrinterCertificate {
 public:
  PrinterCertificate(const CertificateOptions& options, CustomBidiDword mode)
      : user_(WideArgument("user name", options.user)),
        queue_(WideArgument("queue name", options.queue)),
        record_(GetDeviceCertificate(user_.c_str(), queue_.c_str(), mode)) {
    if (!record_) {
      const std::string needs = mode == kWithoutAddress
                                    ? " without its address: --mode 1 needs a device library that knows its "
                                      "printer without one, and those for a network do not. "
                                    : ". ";
      throw CommandError("no certificate could be read from the printer behind '" + options.queue + "'" +
                         needs + WhereToLook());
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
    if (!VerifyCertificateValidity(user_.c_str(), queue_.c_str(), kFullReading, &checked)) {
      return std::nullopt;
    }
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
  if (warnings.empty()) {
    rows.push_back({name, "none"});
  }
  for (size_t i = 0; i < warnings.size(); ++i) {
    rows.push_back({i == 0 ? name : "", CodeText(warnings[i])});
  }
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

std::vector<JsonObject> WarningsAsJson(const std::vector<uint32_t>& warnings) {
  std::vector<JsonObject> list;
  for (const uint32_t code : warnings) {
    list.push_back(JsonObject().Add("code", int64_t{code}).Add("name", WarningName(code)));
  }
  return list;
}

/// A time as RFC 3339 has it.
std::string JsonTime(std::string time) {
  std::ranges::replace(time, ' ', 'T');
  return time + 'Z';
}

/// What was not read is left out.
JsonObject RecordAsJson(const CertificateRecord& record) {
  JsonObject object;
  if (const std::string uuid = record.device_uuid(); !uuid.empty()) {
    object.Add("deviceUuid", uuid);
  }
  if (const auto text = ReadCertificate(record.certificate())) {
    object.Add("subject", text->subject)
        .Add("issuer", text->issuer)
        .Add("validFrom", JsonTime(text->valid_from))
        .Add("validUntil", JsonTime(text->valid_until))
        .Add("sha1", text->sha1)
        .Add("sha256", text->sha256);
  }
  return object.Add("warnings", WarningsAsJson(record.warnings()));
}

void WriteDer(const std::string& file, std::span<const uint8_t> der) {
  if (file == "-") {
    Print({reinterpret_cast<const char*>(der.data()), der.size()});
    return;
  }
  const std::filesystem::path path(std::u8string(file.begin(), file.end()));
  std::ofstream stream(path, std::ios::binary);
  stream.write(reinterpret_cast<const char*>(der.data()), static_cast<std::streamsize>(der.size()));
  stream.close();
  if (!stream) {
    throw CommandError("the file '" + file + "' cannot be written");
  }
}

/// How a verdict is told to programs.
struct ToldVerdict {
  VerifyExitCode exit_code;
  const char* name;
};

ToldVerdict Tell(Verdict verdict) {
  switch (verdict) {
    case Verdict::kMatches:
      return {kExitMatches, "matches"};
    case Verdict::kNotKept:
      return {kExitNotKept, "notKept"};
    case Verdict::kDatesInvalid:
      return {kExitDatesInvalid, "datesInvalid"};
    case Verdict::kDiffers:
      return {kExitDiffers, "differs"};
    case Verdict::kNonNegotiable:
      return {kExitNonNegotiable, "nonNegotiable"};
  }
  return {kExitNotChecked, "notChecked"};
}

/// Whether the vault's entry is this very certificate; false also when it cannot be compared.
bool IsTheOneKept(const PrinterCertificate& printer) {
  // Without the device's warnings, so that none of them ends the check before the comparison.
  const auto after = printer.Check({});
  return after && JudgeCheck({}, *after, true) != Verdict::kDiffers;
}

void RequireConsent(const CertificateOptions& options, const std::string& thumbprint) {
  if (options.yes) {
    return;
  }
  const std::string kept = "the vault keeps another certificate of this printer for '" + options.user + "'";
  if (!InputIsTerminal()) {
    throw CommandError(kept + "; it is replaced with --yes only");
  }
  if (!AskYesOrNo("bidictl: " + kept + ".\nReplace it by the one with the SHA-256 thumbprint " + thumbprint +
                  "?")) {
    throw CommandError("the vault stays as it is");
  }
}

}  // namespace

int RunPasswordSave(const PasswordOptions& options) {
  const PasswordNames names(options);
  const Secret password = ReadPassword(/*confirm=*/true);
  if (SavePassword(password.bytes().data(), static_cast<CustomBidiDword>(password.bytes().size()),
                   names.user.c_str(), names.target.c_str(), names.queue.c_str()) == 0) {
    throw CommandError(std::string("the password was not saved. ") + WhereToLook());
  }
  Print("The password is saved.\n");
  return kExitDone;
}

int RunPasswordTest(const PasswordOptions& options) {
  const PasswordNames names(options);
  if (IsPasswordPresent(names.user.c_str(), names.target.c_str(), names.queue.c_str())) {
    Print("There is a password.\n");
    return kExitDone;
  }
  Print("There is no password, or the vault could not be asked.\n");
  return kExitFailed;
}

int RunPasswordDelete(const PasswordOptions& options) {
  const PasswordNames names(options);
  if (!DeletePassword(names.user.c_str(), names.target.c_str(), names.queue.c_str())) {
    throw CommandError(std::string("the password was not deleted; perhaps there is none. ") + WhereToLook());
  }
  Print("The password is deleted.\n");
  return kExitDone;
}

int RunCertificateShow(const CertificateOptions& options) {
  const PrinterCertificate printer(options, options.mode);
  const auto der = printer.certificate();
  if ((options.pem || !options.der_file.empty()) && der.empty()) {
    throw CommandError("there are warnings, but no certificate was read");
  }
  if (!options.der_file.empty()) {
    WriteDer(options.der_file, der);
    return kExitDone;
  }
  if (options.pem) {
    Print(PemOf(der));
    return kExitDone;
  }
  if (options.json) {
    Print(RecordAsJson(printer.record()).ToText() + "\n");
    return kExitDone;
  }

  std::vector<Row> rows;
  const std::string uuid = printer.record().device_uuid();
  rows.push_back({"device UUID", uuid.empty() ? "none was read" : uuid});
  AddCertificate(der, rows);
  AddWarnings("warnings", printer.record().warnings(), rows);
  Print(LayOut(rows, OutputWidth()));
  return kExitDone;
}

int RunCertificateVerify(const CertificateOptions& options) {
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
  const ToldVerdict told = Tell(verdict);
  if (options.json) {
    const JsonObject object = JsonObject()
                                  .Add("verdict", told.name)
                                  .Add("warnings", WarningsAsJson(before))
                                  .Add("warningsAfterCheck", WarningsAsJson(*after));
    Print(object.ToText() + "\n");
    return told.exit_code;
  }
  std::vector<Row> rows;
  AddWarnings("the device's warnings", before, rows);
  AddWarnings("after the check", *after, rows);
  Print(VerdictText(verdict) + "\n" + LayOut(rows, OutputWidth()));
  return told.exit_code;
}

int RunCertificateTrust(const CertificateOptions& options) {
  const PrinterCertificate printer(options, kFullReading);
  const auto text = ReadCertificate(printer.certificate());
  if (!text) {
    throw CommandError("what the printer gave is not a certificate");
  }
  if (printer.IsKept()) {
    if (IsTheOneKept(printer)) {
      Print("The vault keeps this certificate already.\n");
      return kExitDone;
    }
    RequireConsent(options, text->sha256);
  } else if (!printer.Check({})) {
    // What cannot be read may be another certificate.
    throw CommandError(std::string("the vault could not be asked what it keeps. ") + WhereToLook());
  }
  if (!printer.Keep()) {
    throw CommandError("the certificate, of " + std::to_string(printer.certificate().size()) +
                       " bytes, was not kept. A vault has a limit: that of Windows takes 2560 bytes. " +
                       WhereToLook());
  }
  Print("The vault now keeps the certificate with the SHA-256 thumbprint " + text->sha256 + ".\n");
  return kExitDone;
}

}  // namespace custom_bidi_tools
