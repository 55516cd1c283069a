#include "ixo/network/network_data_map.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <set>

#include "base/files.h"
#include "base/utf.h"
#include "base/xml_functions.h"
#include "ixo/network/exchange.h"

namespace custom_bidi::network {
namespace {

/// Empty when there is none.
std::string AttributeOf(const base::XmlFunctions& xml, xmlNode* element, const char* name) {
  xmlChar* const value = xml.Call<&::xmlGetNoNsProp>(element, reinterpret_cast<const xmlChar*>(name));
  std::string text = value != nullptr ? reinterpret_cast<const char*>(value) : "";
  (*xml.Get<&::xmlFree>())(value);
  return text;
}

bool IsNamed(const xmlNode* node, std::string_view name) {
  return node->type == XML_ELEMENT_NODE && name == reinterpret_cast<const char*>(node->name);
}

/// A keyword of IPP (RFC 8011, section 5.1.4).
bool IsAttributeName(const std::string& name) {
  constexpr size_t kMaxKeywordChars = 255;
  return name.size() <= kMaxKeywordChars && std::ranges::all_of(name, [](unsigned char unit) {
           return std::isalnum(unit) != 0 || unit == '-' || unit == '_' || unit == '.';
         });
}

/// Numbers of 32 bits with single dots between them, at least two and at most 128 of them (RFC 2578,
/// section 3.5).
bool IsOid(const std::string& text) {
  constexpr size_t kMaxNumbers = 128;
  constexpr size_t kMaxDigits = std::numeric_limits<uint32_t>::digits10 + 1;
  size_t numbers = 1;
  size_t digits = 0;
  for (const char unit : text) {
    if (unit == '.' && digits > 0) {
      ++numbers;
      digits = 0;
    } else if (unit < '0' || unit > '9' || ++digits > kMaxDigits) {
      return false;
    }
  }
  return digits > 0 && numbers >= 2 && numbers <= kMaxNumbers;
}

void AddItem(const base::XmlFunctions& xml, xmlNode* element, DataMap& map) {
  const WString name = base::ToUtf16(AttributeOf(xml, element, "Name"));
  ItemSource source{.ipp = AttributeOf(xml, element, "ipp"), .oid = AttributeOf(xml, element, "oid")};
  if (!IsAttributeName(source.ipp)) {
    source.ipp.clear();
  }
  if (!IsOid(source.oid)) {
    source.oid.clear();
  }
  if (!name.empty() && !(source.ipp.empty() && source.oid.empty())) {
    map.emplace(name, std::move(source));
  }
}

/// The node that follows in the order of the document, within `top`.
xmlNode* Next(xmlNode* node, const xmlNode* top) {
  if (node->type == XML_ELEMENT_NODE && node->children != nullptr) {
    return node->children;
  }
  while (node != top && node->next == nullptr) {
    node = node->parent;
  }
  return node == top ? nullptr : node->next;
}

bool IsBelowMap(const xmlNode* node) {
  for (const xmlNode* parent = node->parent; parent != nullptr && parent->type == XML_ELEMENT_NODE;
       parent = parent->parent) {
    if (IsNamed(parent, "IPPDataMap")) {
      return true;
    }
  }
  return false;
}

template <class Pick>
std::vector<std::string> Collect(const DataMap& map, Pick&& pick) {
  std::set<std::string> texts;
  for (const auto& [name, source] : map) {
    if (!pick(source).empty()) {
      texts.insert(pick(source));
    }
  }
  return {texts.begin(), texts.end()};
}

}  // namespace

DWORD ReadDataMap(const WCHAR* path, DataMap& map) {
  std::string posix_path;
  if (const DWORD code = base::ToPosixPath(path, &posix_path)) {
    return code;
  }
  std::string text;
  if (const DWORD code = base::ReadWholeFile(posix_path, &text, base::kMaxDocumentBytes)) {
    return code;
  }
  constexpr int kOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
  const base::XmlFunctions* const xml = base::TheXmlFunctions();
  if (xml == nullptr) {
    return kNotSupported;
  }
  const std::unique_ptr<xmlDoc, decltype(&::xmlFreeDoc)> document(
      xml->Call<&::xmlReadMemory>(text.data(), static_cast<int>(text.size()), nullptr, nullptr, kOptions),
      xml->Get<&::xmlFreeDoc>());
  xmlNode* const top = document ? xml->Call<&::xmlDocGetRootElement>(document.get()) : nullptr;
  if (top == nullptr) {
    return ERROR_INVALID_DATA;
  }
  for (xmlNode* node = top; node != nullptr; node = Next(node, top)) {
    if (IsNamed(node, "DataItem") && IsBelowMap(node)) {
      AddItem(*xml, node, map);
    }
  }
  return ERROR_SUCCESS;
}

std::vector<std::string> AttributesOf(const DataMap& map) {
  return Collect(map, [](const ItemSource& source) -> const std::string& { return source.ipp; });
}

std::vector<std::string> OidsOf(const DataMap& map) {
  return Collect(map, [](const ItemSource& source) -> const std::string& { return source.oid; });
}

}  // namespace custom_bidi::network
