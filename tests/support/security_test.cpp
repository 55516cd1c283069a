#include "tests/support/security_test.h"

#include <algorithm>
#include <fstream>
#include <ostream>

namespace custom_bidi_test {
namespace {

constexpr char kLog[] = "calls.log";
constexpr char kCertificateFile[] = "certificate.der";
constexpr uint32_t kPoison = 0xA5A5A5A5;

class Argument {
 public:
  explicit Argument(const MaybeText& text) {
    if (text)
      text_ = ToWide(*text);
  }
  const CustomBidiChar* Get() const { return text_ ? text_->c_str() : nullptr; }

 private:
  std::optional<WString> text_;
};

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void Show(std::ostream& stream, const Codes& codes) {
  stream << '{';
  for (const uint32_t code : codes)
    stream << code << ' ';
  stream << '}';
}

/// Each object that a line says was made is taken back by one line. The lines are those of one load of the
/// library: another one gives the objects the same names.
void ExpectAllGivenBack(const Lines& log, bool providers_go_back) {
  for (const std::string& line : log) {
    const size_t blank = line.find(' ');
    const std::string object = line.substr(blank + 1);
    if (!line.starts_with("Create") || object == "none")
      continue;
    const auto disposes = std::ranges::count_if(log, [&object](const std::string& other) {
      return other.starts_with("Dispose") && other.ends_with(" " + object);
    });
    EXPECT_EQ(disposes, providers_go_back ? 1 : 0) << object;
  }
  for (const std::string& line : log) {
    const bool is_odd =
        line.starts_with("Dispose") && (line.ends_with(" none") || line.ends_with(" unknown"));
    EXPECT_FALSE(is_odd) << line;
  }
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const Record& record) {
  stream << record.identifier << ", " << record.certificate.size() << " bytes, ";
  Show(stream, record.warnings);
  return stream;
}

std::ostream& operator<<(std::ostream& stream, const CheckAnswer& answer) {
  stream << (answer.ok ? "TRUE, " : "FALSE, ");
  Show(stream, answer.warnings);
  return stream;
}

void SecurityTest::SetUp() {
  CallTest::SetUp();
  printer["certificate"] = {{"file", kCertificateFile}, {"uuid", kUuid}, {"warnings", Json::array()}};
  printer["log"] = kLog;
  SetDeviceCertificate(Certificate("device"));
  host.Write(kLog, "");
}

void SecurityTest::TearDown() {
  SetTrace(false);
  printer["faults"] = Json::object();
  const bool was_healthy = !HasFailure();
  for (const auto& [user, target] : saved_) {
    const bool is_left = IsPresent({user, target}) && !Delete({user, target});
    EXPECT_FALSE(is_left && was_healthy) << target;
  }
  CallTest::TearDown();
}

std::string SecurityTest::Certificate(const std::string& name) {
  std::string bytes = ReadFile(CERTIFICATE_FOLDER "/" + name + ".der");
  EXPECT_GT(bytes.size(), 500U) << name;
  return bytes;
}

void SecurityTest::SetDeviceCertificate(const std::string& bytes) {
  host.Write(kCertificateFile, bytes);
}

bool SecurityTest::Save(const MaybeText& password, const PasswordNames& names) {
  WritePrinter();
  if (names.user && names.target)
    saved_.insert({*names.user, *names.target});
  const CustomBidiBool result =
      SavePassword(password ? reinterpret_cast<const uint8_t*>(password->c_str()) : nullptr,
                   password ? static_cast<CustomBidiDword>(password->size()) : 0, Argument(names.user).Get(),
                   Argument(names.target).Get(), Argument(names.queue).Get());
  FinishCall();
  EXPECT_TRUE(result == 0 || result == 1) << result;
  return result != 0;
}

bool SecurityTest::IsPresent(const PasswordNames& names) {
  WritePrinter();
  const CustomBidiBool result = IsPasswordPresent(Argument(names.user).Get(), Argument(names.target).Get(),
                                                  Argument(names.queue).Get());
  FinishCall();
  EXPECT_TRUE(result == 0 || result == 1) << result;
  return result != 0;
}

bool SecurityTest::Delete(const PasswordNames& names) {
  WritePrinter();
  const CustomBidiBool result =
      DeletePassword(Argument(names.user).Get(), Argument(names.target).Get(), Argument(names.queue).Get());
  FinishCall();
  EXPECT_TRUE(result == 0 || result == 1) << result;
  return result != 0;
}

std::optional<Record> SecurityTest::Read(uint32_t mode, const MaybeText& user, const MaybeText& queue) {
  WritePrinter();
  DeviceCertificate* const record = GetDeviceCertificate(Argument(user).Get(), Argument(queue).Get(), mode);
  std::optional<Record> content;
  if (record != nullptr) {
    content.emplace();
    if (record->identifier != nullptr)
      content->identifier = ToUtf8(record->identifier);
    else
      ADD_FAILURE() << "no identifier";
    EXPECT_EQ(record->certificate == nullptr, record->certificate_length == 0);
    if (record->certificate != nullptr) {
      content->certificate.assign(record->certificate, record->certificate + record->certificate_length);
      EXPECT_EQ(record->certificate[record->certificate_length], 0) << "the block has one byte more";
    }
    EXPECT_NE(record->warnings, nullptr);
    EXPECT_LE(record->warning_count, kWarningRoom);
    content->warnings.assign(record->warnings, record->warnings + record->warning_count);
    std::fill_n(record->warnings, kWarningRoom, 1);  // room for ten, whatever the count
    EXPECT_TRUE(DeleteDeviceCertificate(record));
    CoTaskMemFree(record);
  }
  FinishCall();
  return content;
}

CheckAnswer SecurityTest::Check(const Record& record, uint32_t mode, const MaybeText& user) {
  Record mine = record;
  const WString identifier = ToWide(mine.identifier);
  std::vector<CustomBidiDword> codes(kWarningRoom + 2, kPoison);
  std::ranges::copy(mine.warnings, codes.begin() + 1);
  DeviceCertificate raw = {};
  raw.identifier = const_cast<CustomBidiChar*>(identifier.c_str());
  raw.certificate = reinterpret_cast<uint8_t*>(mine.certificate.data());
  raw.certificate_length = static_cast<CustomBidiDword>(mine.certificate.size());
  raw.warnings = &codes[1];
  raw.warning_count = static_cast<CustomBidiDword>(mine.warnings.size());
  const DeviceCertificate before = raw;

  const bool ok = CheckRaw(&raw, mode, user);
  EXPECT_TRUE(raw.identifier == before.identifier && ToUtf8(raw.identifier) == record.identifier);
  EXPECT_TRUE(raw.certificate == before.certificate && mine.certificate == record.certificate);
  EXPECT_EQ(raw.certificate_length, before.certificate_length);
  EXPECT_EQ(raw.warnings, before.warnings);
  EXPECT_TRUE(codes.front() == kPoison && codes.back() == kPoison) << "written around the warnings";
  EXPECT_LE(raw.warning_count, kWarningRoom);
  for (size_t i = 1 + std::max<size_t>(raw.warning_count, record.warnings.size()); i < codes.size(); ++i)
    EXPECT_EQ(codes[i], kPoison) << "written behind the codes";
  return {ok, {codes.begin() + 1, codes.begin() + 1 + raw.warning_count}};
}

bool SecurityTest::CheckRaw(DeviceCertificate* record,
                            uint32_t mode,
                            const MaybeText& user,
                            const MaybeText& queue) {
  WritePrinter();
  const CustomBidiBool result =
      VerifyCertificateValidity(Argument(user).Get(), Argument(queue).Get(), mode, record);
  FinishCall();
  EXPECT_TRUE(result == 0 || result == 1) << result;
  return result != 0;
}

void SecurityTest::FinishCall() {
  EXPECT_EQ(LeftOpen(), "");
  Lines log;
  std::ifstream file(HostFolder::Path() / kLog);
  for (std::string line; std::getline(file, line);)
    log.push_back(line);
  file.close();
  host.Write(kLog, "");
  for (auto begin = log.begin(); begin != log.end();) {
    const auto end = std::find(begin + 1, log.end(), "load");
    ExpectAllGivenBack({begin, end}, providers_go_back);
    begin = end;
  }
  for (const std::string& line : log) {
    if (line != "load")
      calls_.push_back(line.substr(0, line.find(' ')));
  }
}

Lines SecurityTest::TakeCalls() {
  return std::exchange(calls_, {});
}

}  // namespace custom_bidi_test
