#include "ixo/network/ipp/ipp_message.h"

#include <array>
#include <cstdio>
#include <utility>

#include "base/utf.h"

namespace custom_bidi::network {
namespace {

constexpr uint16_t kGetPrinterAttributes = 0x000B;

/// A connection carries one request, so one number will do.
constexpr uint32_t kRequestId = 1;

/// Delimiters (RFC 8010, section 3.5.1).
constexpr uint8_t kOperationAttributes = 0x01;
constexpr uint8_t kEndOfAttributes = 0x03;
constexpr uint8_t kPrinterAttributes = 0x04;
constexpr uint8_t kLastDelimiter = 0x0F;

/// No attribute that is registered comes near this.
constexpr int kMaxDepth = 16;

class Encoder {
 public:
  void AddNumber(uint32_t number, int bytes) {
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
      bytes_.push_back(static_cast<BYTE>(number >> shift));
    }
  }

  /// Without a name it is one more value of the attribute before.
  void AddText(IppTag tag, std::string_view name, std::string_view value) {
    bytes_.push_back(static_cast<BYTE>(tag));
    AddBytes(name);
    AddBytes(value);
  }

  std::vector<BYTE> Take() { return std::move(bytes_); }

 private:
  void AddBytes(std::string_view text) {
    AddNumber(static_cast<uint32_t>(text.size()), 2);
    bytes_.insert(bytes_.end(), text.begin(), text.end());
  }

  std::vector<BYTE> bytes_;
};

/// How many bytes a value of the tag has; 0 when that is not fixed.
size_t FixedSize(IppTag tag) {
  switch (tag) {
    case IppTag::kInteger:
    case IppTag::kEnum:
      return 4;
    case IppTag::kBoolean:
      return 1;
    case IppTag::kRange:
      return 8;
    case IppTag::kResolution:
      return 9;
    case IppTag::kDateTime:
      return 11;
    default:
      return 0;
  }
}

/// Reads a message from its beginning to its end. Every function is false at what cannot be read.
class Decoder {
 public:
  explicit Decoder(std::span<const BYTE> bytes) : rest_(bytes) {}

  bool ReadMessage(IppAnswer& answer) {
    uint32_t version = 0;
    uint32_t status = 0;
    uint32_t request_id = 0;
    if (!ReadNumber(2, version) || !ReadNumber(2, status) || !ReadNumber(4, request_id)) {
      return false;
    }
    answer.status = static_cast<uint16_t>(status);
    return request_id == kRequestId && ReadGroups(answer);
  }

 private:
  bool ReadGroups(IppAnswer& answer) {
    bool is_printer = false;
    std::vector<IppValue> ignored;
    std::vector<IppValue>* values = &ignored;
    for (;;) {
      uint32_t tag = 0;
      if (!ReadNumber(1, tag)) {
        return false;
      }
      if (tag == kEndOfAttributes) {
        return true;
      }
      if (tag <= kLastDelimiter) {
        is_printer = tag == kPrinterAttributes;
        values = &ignored;
        continue;
      }
      std::string name;
      IppValue value{.tag = static_cast<IppTag>(tag)};
      if (!ReadText(name) || !ReadValue(value, 0)) {
        return false;
      }
      if (!name.empty()) {
        const auto [entry, is_new] =
            is_printer ? answer.attributes.try_emplace(name) : std::pair(answer.attributes.end(), false);
        values = is_new ? &entry->second : &ignored;
      }
      values->push_back(std::move(value));
    }
  }

  /// Behind the tag and the name.
  bool ReadValue(IppValue& value, int depth) {
    if (!ReadText(value.bytes)) {
      return false;
    }
    if (value.tag == IppTag::kCollection) {
      return ReadMembers(value, depth + 1);
    }
    if (value.tag == IppTag::kTextWithLanguage || value.tag == IppTag::kNameWithLanguage) {
      return SplitLanguage(value);
    }
    const size_t size = FixedSize(value.tag);
    const bool has_place = value.tag != IppTag::kEndCollection && value.tag != IppTag::kMemberName;
    return has_place && (size == 0 || value.bytes.size() == size);
  }

  bool ReadMembers(IppValue& collection, int depth) {
    if (depth > kMaxDepth) {
      return false;
    }
    for (;;) {
      uint32_t tag = 0;
      std::string no_name;
      if (!ReadNumber(1, tag) || !ReadText(no_name)) {
        return false;
      }
      IppValue value{.tag = static_cast<IppTag>(tag)};
      if (value.tag == IppTag::kEndCollection) {
        return ReadText(value.bytes);
      }
      if (value.tag == IppTag::kMemberName) {
        IppMember& member = collection.members.emplace_back();
        if (!ReadText(member.name)) {
          return false;
        }
      } else if (tag <= kLastDelimiter || collection.members.empty() || !ReadValue(value, depth)) {
        return false;
      } else {
        collection.members.back().values.push_back(std::move(value));
      }
    }
  }

  /// The language and the text are a value's bytes, each behind its length.
  static bool SplitLanguage(IppValue& value) {
    const std::vector<BYTE> bytes(value.bytes.begin(), value.bytes.end());
    Decoder parts(bytes);
    return parts.ReadText(value.language) && parts.ReadText(value.bytes) && parts.rest_.empty();
  }

  bool ReadNumber(size_t size, uint32_t& number) {
    if (rest_.size() < size) {
      return false;
    }
    for (const BYTE byte : rest_.first(size)) {
      number = number << 8 | byte;
    }
    rest_ = rest_.subspan(size);
    return true;
  }

  /// Behind its length.
  bool ReadText(std::string& text) {
    uint32_t size = 0;
    if (!ReadNumber(2, size) || rest_.size() < size) {
      return false;
    }
    text.assign(rest_.begin(), rest_.begin() + size);
    rest_ = rest_.subspan(size);
    return true;
  }

  std::span<const BYTE> rest_;
};

bool IsNumber(IppTag tag) {
  return tag == IppTag::kInteger || tag == IppTag::kEnum;
}

bool IsText(IppTag tag) {
  return tag == IppTag::kTextWithLanguage || tag == IppTag::kNameWithLanguage ||
         (tag >= IppTag::kFirstText && tag <= IppTag::kLastText);
}

unsigned ByteAt(const IppValue& value, size_t at) {
  return static_cast<BYTE>(value.bytes[at]);
}

std::string DescribeOutOfBand(IppTag tag) {
  switch (tag) {
    case IppTag::kUnsupported:
      return "unsupported";
    case IppTag::kUnknown:
      return "unknown";
    default:
      return "no-value";
  }
}

/// RFC 2579's DateAndTime.
std::string DescribeDate(const IppValue& value) {
  std::array<char, 40> text{};
  const int length = std::snprintf(text.data(), text.size(), "%04u-%02u-%02uT%02u:%02u:%02u",
                                   ByteAt(value, 0) << 8 | ByteAt(value, 1), ByteAt(value, 2),
                                   ByteAt(value, 3), ByteAt(value, 4), ByteAt(value, 5), ByteAt(value, 6));
  const std::string moment(text.data(), static_cast<size_t>(length));
  if (ByteAt(value, 9) == 0 && ByteAt(value, 10) == 0) {
    return moment + 'Z';
  }
  std::snprintf(text.data(), text.size(), "%02u%02u", ByteAt(value, 9), ByteAt(value, 10));
  return moment + value.bytes[8] + text.data();
}

std::string DescribeResolution(const IppValue& value) {
  constexpr unsigned kDotsPerInch = 3;  // RFC 8011, section 5.1.16
  const std::string across = std::to_string(IppNumber(value, 0));
  const std::string along = std::to_string(IppNumber(value, 4));
  return (across == along ? across : across + 'x' + along) +
         (ByteAt(value, 8) == kDotsPerInch ? "dpi" : "dpcm");
}

/// Blanks behind a backslash, what cannot be printed as an octal number.
std::string DescribeOctets(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) {
    const auto unit = static_cast<BYTE>(byte);
    if (unit == '\\' || unit == ' ' || (unit >= '\t' && unit <= '\r')) {
      text += {'\\', byte};
    } else if (unit > ' ' && unit < 0x7F) {
      text += byte;
    } else {
      std::array<char, 5> octal{};
      std::snprintf(octal.data(), octal.size(), "\\%03o", unit);
      text += octal.data();
    }
  }
  return text;
}

/// A text where it has to be told from what stands around it.
std::string DescribeText(const IppValue& value) {
  std::string text;
  for (const char unit : value.bytes) {
    if (unit == '"' || unit == '\\' || unit == '[') {
      text += '\\';
    }
    text += unit;
  }
  return value.language.empty() ? text : text + '[' + value.language + ']';
}

std::string Describe(const IppValue& value);

template <class DescribeOne>
std::string Join(const std::vector<IppValue>& values, DescribeOne&& describe) {
  std::string joined;
  for (const IppValue& value : values) {
    joined += (&value == values.data() ? "" : ",") + describe(value);
  }
  return joined;
}

/// Collections lie only so deep within each other as the message's reader lets them.
std::string DescribeCollection(const IppValue& value) {
  std::string text = "{";
  for (const IppMember& member : value.members) {
    text += (text.size() > 1 ? " " : "") + member.name + '=' + Join(member.values, Describe);
  }
  return text + '}';
}

std::string Describe(const IppValue& value) {
  switch (value.tag) {
    case IppTag::kInteger:
    case IppTag::kEnum:
      return std::to_string(IppNumber(value));
    case IppTag::kBoolean:
      return value.bytes[0] != 0 ? "true" : "false";
    case IppTag::kRange:
      return std::to_string(IppNumber(value, 0)) + '-' + std::to_string(IppNumber(value, 4));
    case IppTag::kResolution:
      return DescribeResolution(value);
    case IppTag::kDateTime:
      return DescribeDate(value);
    case IppTag::kCollection:
      return DescribeCollection(value);
    default:
      break;
  }
  if (value.tag <= IppTag::kLastOutOfBand) {
    return DescribeOutOfBand(value.tag);
  }
  return IsText(value.tag) ? DescribeText(value) : DescribeOctets(value.bytes);
}

/// Null when the printer has not told anything by the attribute.
const std::vector<IppValue>* Find(const IppAnswer& answer, const std::string& name) {
  const auto found = answer.attributes.find(name);
  const bool has_value =
      found != answer.attributes.end() && found->second.front().tag > IppTag::kLastOutOfBand;
  return has_value ? &found->second : nullptr;
}

}  // namespace

std::vector<BYTE> EncodeAttributesRequest(IppVersion version,
                                          const std::string& printer_uri,
                                          std::span<const std::string> names,
                                          const std::string& language) {
  Encoder encoder;
  encoder.AddNumber(version.major_number, 1);
  encoder.AddNumber(version.minor_number, 1);
  encoder.AddNumber(kGetPrinterAttributes, 2);
  encoder.AddNumber(kRequestId, 4);
  encoder.AddNumber(kOperationAttributes, 1);
  encoder.AddText(IppTag::kCharset, "attributes-charset", "utf-8");
  encoder.AddText(IppTag::kNaturalLanguage, "attributes-natural-language", language);
  encoder.AddText(IppTag::kUri, "printer-uri", printer_uri);
  std::string_view attribute = "requested-attributes";
  for (const std::string& name : names) {
    encoder.AddText(IppTag::kKeyword, std::exchange(attribute, ""), name);
  }
  encoder.AddNumber(kEndOfAttributes, 1);
  return encoder.Take();
}

std::optional<IppAnswer> DecodeAnswer(std::span<const BYTE> bytes) {
  IppAnswer answer;
  return Decoder(bytes).ReadMessage(answer) ? std::optional(std::move(answer)) : std::nullopt;
}

int32_t IppNumber(const IppValue& value, size_t at) {
  uint32_t number = 0;
  for (const char byte : value.bytes.substr(at, 4)) {
    number = number << 8 | static_cast<BYTE>(byte);
  }
  return static_cast<int32_t>(number);
}

std::optional<support::Value> ValueOf(const IppAnswer& answer, const std::string& name) {
  const std::vector<IppValue>* const values = Find(answer, name);
  if (values == nullptr) {
    return std::nullopt;
  }
  if (values->size() == 1 && IsNumber(values->front().tag)) {
    return support::Value::Integer(VT_I4, IppNumber(values->front()));
  }
  return support::Value::Text(base::ToUtf16(Join(
      *values, [](const IppValue& value) { return IsText(value.tag) ? value.bytes : Describe(value); })));
}

std::string FirstTextOf(const IppAnswer& answer, const std::string& name) {
  const std::vector<IppValue>* const values = Find(answer, name);
  return values != nullptr && IsText(values->front().tag) ? values->front().bytes : "";
}

}  // namespace custom_bidi::network
