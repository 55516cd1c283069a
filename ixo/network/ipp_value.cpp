#include "ixo/network/ipp_value.h"

#include <array>
#include <cstdio>

#include "pal/text.h"

namespace custom_bidi::network {
namespace {

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

std::optional<device::Value> ValueOf(const IppAnswer& answer, const std::string& name) {
  const std::vector<IppValue>* const values = Find(answer, name);
  if (!values) {
    return std::nullopt;
  }
  if (values->size() == 1 && IsNumber(values->front().tag)) {
    return device::Value::Integer(VT_I4, IppNumber(values->front()));
  }
  return device::Value::Text(pal::ToUtf16(Join(
      *values, [](const IppValue& value) { return IsText(value.tag) ? value.bytes : Describe(value); })));
}

std::string FirstTextOf(const IppAnswer& answer, const std::string& name) {
  const std::vector<IppValue>* const values = Find(answer, name);
  return values && IsText(values->front().tag) ? values->front().bytes : "";
}

}  // namespace custom_bidi::network
