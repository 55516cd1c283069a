#include "src/response/json_text.h"

#include "src/text.h"

namespace custom_bidi {

WString BidiJson(const ItemMap& items, WStringView cid) {
  constexpr WStringView kBetween = W("\": \"");
  constexpr WStringView kAfter = W("\",");
  constexpr WStringView kCidMember = W("\"CID\": \"");

  size_t length = kCidMember.size() + cid.size() + 3;
  for (const ItemMap::Entry& entry : items)
    length += 1 + entry.key.size() + kBetween.size() + entry.value.size() + kAfter.size();

  WString json;
  json.reserve(length);
  json.push_back('{');
  for (const ItemMap::Entry& entry : items)
    json.append(1, '"').append(entry.key).append(kBetween).append(entry.value).append(kAfter);
  return json.append(kCidMember).append(cid).append(W("\"}"));
}

WString StatusJson(DWORD printer_status, DWORD response_code, DWORD status_code) {
  WCHAR json[80];  // the longest has 79 characters
  FormatText(json, W("{\"printerState\":%d,\"responseCode\":%d,\"statusCode\":%u}"), printer_status,
             response_code, status_code);
  return json;
}

}  // namespace custom_bidi
