#include <algorithm>
#include <limits>

#include "ixo/simulated/base64.h"
#include "ixo/simulated/printer_reader.h"
#include "ixo/support/host_files.h"

namespace custom_bidi::simulated {
namespace {

using Bytes = std::vector<BYTE>;

Bytes Decode(std::string_view base64, const std::string& where) {
  std::optional<Bytes> bytes = DecodeBase64(base64);
  if (!bytes) {
    device::Fail(where, "this is not base64");
  }
  return *std::move(bytes);
}

/// A text, or an array of lines.
std::string Base64From(const device::Json& json, const std::string& where) {
  if (json.is_string()) {
    return json.get<std::string>();
  }
  std::string text;
  const bool has_lines = json.is_array() && std::ranges::all_of(json, [&text](const device::Json& line) {
                           text += line.is_string() ? line.get_ref<const std::string&>() : "";
                           return line.is_string();
                         });
  if (!has_lines) {
    device::Fail(where, "a text or an array of texts is expected, not " + json.dump());
  }
  return text;
}

/// The first certificate of a PEM file; any other file as it stands.
Bytes BytesOfFile(const std::string& content, const std::string& where) {
  constexpr std::string_view kBegin = "-----BEGIN CERTIFICATE-----";
  const size_t begin = content.find(kBegin);
  if (begin == std::string::npos) {
    return {content.begin(), content.end()};
  }
  const size_t end = content.find("-----END CERTIFICATE-----", begin);
  if (end == std::string::npos) {
    device::Fail(where, "the PEM certificate has no end");
  }
  const size_t body = begin + kBegin.size();
  return Decode(std::string_view(content).substr(body, end - body), where);
}

Bytes ReadCertificateFile(const device::Json& json, const std::string& where) {
  const std::string name = FileNameFrom(json, where);
  std::string shown_path;
  const std::optional<std::string> content = device::ReadBesideHost(name.c_str(), shown_path);
  if (!content) {
    device::Fail(where, "there is no file " + shown_path);
  }
  return BytesOfFile(*content, where);
}

std::optional<DWORD> NumberFrom(const device::Json& json, const char* name, const std::string& where) {
  if (!json.contains(name)) {
    return std::nullopt;
  }
  return static_cast<DWORD>(
      device::IntegerFrom(json[name], 0, std::numeric_limits<uint32_t>::max(), device::Member(where, name)));
}

std::vector<DWORD> CodesFrom(const device::Json& json, const std::string& where) {
  if (!json.is_array()) {
    device::Fail(where, "an array of codes is expected, not " + json.dump());
  }
  std::vector<DWORD> codes;
  for (size_t i = 0; i < json.size(); ++i) {
    codes.push_back(device::CodeFrom(json[i], where + "[" + std::to_string(i) + "]"));
  }
  return codes;
}

}  // namespace

std::string FileNameFrom(const device::Json& json, const std::string& where) {
  const auto is_plain = [](char c) { return c > ' ' && c <= '~' && c != '/' && c != '\\' && c != ':'; };
  std::string name = json.is_string() ? json.get<std::string>() : "";
  if (name.empty() || !std::ranges::all_of(name, is_plain)) {
    device::Fail(where, "the plain name of a file beside the executable is expected, not " + json.dump());
  }
  return name;
}

void AddCertificate(const device::Json& json, const std::string& where, Printer& printer) {
  device::RequireMembers(
      json, {"file", "der", "uuid", "uuid_length", "warnings", "warning_count", "last_error"}, where);
  if (json.contains("file") && json.contains("der")) {
    device::Fail(where, "only one of \"file\" and \"der\" can be the certificate");
  }
  Certificate certificate;
  if (json.contains("file")) {
    certificate.der = ReadCertificateFile(json["file"], device::Member(where, "file"));
  }
  if (json.contains("der")) {
    const std::string place = device::Member(where, "der");
    certificate.der = Decode(Base64From(json["der"], place), place);
  }
  if (json.contains("uuid")) {
    certificate.uuid = device::TextFrom(json["uuid"], device::Member(where, "uuid"));
  }
  certificate.uuid_length = NumberFrom(json, "uuid_length", where);
  if (json.contains("warnings")) {
    certificate.warnings = CodesFrom(json["warnings"], device::Member(where, "warnings"));
  }
  certificate.warning_count = NumberFrom(json, "warning_count", where);
  if (json.contains("last_error")) {
    certificate.last_error = device::CodeFrom(json["last_error"], device::Member(where, "last_error"));
  }
  printer.certificate = std::move(certificate);
}

}  // namespace custom_bidi::simulated
