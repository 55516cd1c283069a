#include <algorithm>
#include <cstdint>

#include "ixo/simulated/printer_reader.h"
#include "ixo/support/host_files.h"

namespace custom_bidi::simulated {
namespace {

using Bytes = std::vector<BYTE>;

/// Decodes base64 with its padding; blanks and line ends do not count. nullopt for anything else.
std::optional<Bytes> DecodeBase64(std::string_view text) {
  constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  Bytes bytes;
  uint32_t bits = 0;
  size_t count = 0;
  size_t padding = 0;
  for (const char c : text) {
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      continue;
    }
    const size_t digit = kDigits.find(c);
    padding += c == '=' ? 1 : 0;
    if (c != '=' && (digit == std::string_view::npos || padding > 0)) {
      return std::nullopt;
    }
    bits = bits << 6 | static_cast<uint32_t>(c == '=' ? 0 : digit);
    if (++count % 4 == 0) {
      bytes.insert(bytes.end(),
                   {static_cast<BYTE>(bits >> 16), static_cast<BYTE>(bits >> 8), static_cast<BYTE>(bits)});
    }
  }
  if (count % 4 != 0 || padding > 2) {
    return std::nullopt;
  }
  bytes.resize(bytes.size() - padding);
  return bytes;
}

Bytes Decode(std::string_view base64, const std::string& where) {
  std::optional<Bytes> bytes = DecodeBase64(base64);
  if (!bytes) {
    support::Fail(where, "this is not base64");
  }
  return *std::move(bytes);
}

/// A text, or an array of lines.
std::string Base64From(const support::Json& json, const std::string& where) {
  if (json.is_string()) {
    return json.string();
  }
  if (!json.is_array() || !std::ranges::all_of(json.elements(), &support::Json::is_string)) {
    support::Fail(where, "a text or an array of texts is expected, not " + json.dump());
  }
  std::string text;
  for (const support::Json& line : json.elements()) {
    text += line.string();
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
    support::Fail(where, "the PEM certificate has no end");
  }
  const size_t body = begin + kBegin.size();
  return Decode(std::string_view(content).substr(body, end - body), where);
}

Bytes ReadCertificateFile(const support::Json& json, const std::string& where) {
  const std::string name = FileNameFrom(json, where);
  std::string shown_path;
  const std::optional<std::string> content = support::ReadBesideHost(name.c_str(), shown_path);
  if (!content) {
    support::Fail(where, "there is no file " + shown_path);
  }
  return BytesOfFile(*content, where);
}

std::vector<DWORD> CodesFrom(const support::Json& json, const std::string& where) {
  if (!json.is_array()) {
    support::Fail(where, "an array of codes is expected, not " + json.dump());
  }
  std::vector<DWORD> codes;
  for (const support::Json& code : json.elements()) {
    codes.push_back(support::CodeFrom(code, support::Element(where, codes.size())));
  }
  return codes;
}

}  // namespace

std::string FileNameFrom(const support::Json& json, const std::string& where) {
  const auto is_plain = [](char c) { return c > ' ' && c <= '~' && c != '/' && c != '\\' && c != ':'; };
  std::string name = json.is_string() ? json.string() : "";
  if (name.empty() || !std::ranges::all_of(name, is_plain)) {
    support::Fail(where, "the plain name of a file beside the executable is expected, not " + json.dump());
  }
  return name;
}

void AddCertificate(const support::Json& json, const std::string& where, Printer& printer) {
  support::RequireMembers(json, {"file", "der", "uuid", "warnings", "last_error"}, where);
  if (json.contains("file") && json.contains("der")) {
    support::Fail(where, "only one of \"file\" and \"der\" can be the certificate");
  }
  Certificate certificate;
  if (json.contains("file")) {
    certificate.der = ReadCertificateFile(json["file"], support::Member(where, "file"));
  }
  if (json.contains("der")) {
    const std::string place = support::Member(where, "der");
    certificate.der = Decode(Base64From(json["der"], place), place);
  }
  if (json.contains("uuid")) {
    certificate.uuid = support::TextFrom(json["uuid"], support::Member(where, "uuid"));
  }
  if (json.contains("warnings")) {
    certificate.warnings = CodesFrom(json["warnings"], support::Member(where, "warnings"));
  }
  if (json.contains("last_error")) {
    certificate.last_error = support::CodeFrom(json["last_error"], support::Member(where, "last_error"));
  }
  printer.certificate = std::move(certificate);
}

}  // namespace custom_bidi::simulated
