#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "ixo/support/value.h"
#include "src/platform.h"

/// Messages of IPP (RFC 8010), as far as asking a printer for its attributes needs them. libcups knows them
/// all, but loading it with the two dozen libraries that it brings along takes longer than everything else in
/// a call.
namespace custom_bidi::network {

/// Tags of values (RFC 8010, section 3.5.2).
enum class IppTag : uint8_t {
  kUnsupported = 0x10,
  kUnknown = 0x12,
  kNoValue = 0x13,
  kLastOutOfBand = 0x1F,
  kInteger = 0x21,
  kBoolean = 0x22,
  kEnum = 0x23,
  kOctetString = 0x30,
  kDateTime = 0x31,
  kResolution = 0x32,
  kRange = 0x33,
  kCollection = 0x34,
  kTextWithLanguage = 0x35,
  kNameWithLanguage = 0x36,
  kEndCollection = 0x37,
  kFirstText = 0x41,  // from text without language to MIME media type
  kUri = 0x45,
  kCharset = 0x47,
  kNaturalLanguage = 0x48,
  kKeyword = 0x44,
  kLastText = 0x49,
  kMemberName = 0x4A,
};

struct IppValue;

struct IppMember {
  std::string name;
  std::vector<IppValue> values;
};

struct IppValue {
  IppTag tag = IppTag::kNoValue;
  /// As they were sent; of a text with a language, only the text. A value of a fixed size has it.
  std::string bytes = {};
  std::string language = {};
  std::vector<IppMember> members = {};  // of a collection
};

struct IppVersion {
  uint8_t major_number;
  uint8_t minor_number;
};

struct IppAnswer {
  uint16_t status = 0;  // RFC 8011, appendix B
  /// The attributes of the printer, each with one value or more. Of two with the same name the first counts.
  std::map<std::string, std::vector<IppValue>, std::less<>> attributes = {};
  std::string failure = {};  // of reading it, in words; empty where the code says it all
};

/// A Get-Printer-Attributes request (RFC 8011, section 4.2.5). No text is longer than 1023 bytes.
std::vector<BYTE> EncodeAttributesRequest(IppVersion version,
                                          const std::string& printer_uri,
                                          std::span<const std::string> names,
                                          const std::string& language);

/// Nothing for what is no message, is not the answer to such a request, or holds collections that lie too
/// deep within each other.
std::optional<IppAnswer> DecodeAnswer(std::span<const BYTE> bytes);

/// The number of an integer or enum, and whichever of a value's 32-bit numbers begins at `at`.
int32_t IppNumber(const IppValue& value, size_t at = 0);

/// The value of an attribute: one integer or enum as VT_I4; everything else as a text, several values with
/// commas between them. Integers and enums are in decimal; texts, names, keywords and the like stand as they
/// are; all others have the form that ipptool prints: "true", "1-10", "600dpi", "300x600dpcm",
/// "2026-01-02T03:04:05Z",
/// "{x-dimension=21000 media-key=a4}", octets with a backslash before blanks and as octal numbers. Nothing
/// when the printer did not send the attribute, or sent no value.
std::optional<support::Value> ValueOf(const IppAnswer& answer, const std::string& name);

/// The first of the attribute's values when it is a text of any kind; empty otherwise.
std::string FirstTextOf(const IppAnswer& answer, const std::string& name);

}  // namespace custom_bidi::network
