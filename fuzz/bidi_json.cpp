// The item map's order, and the answer made from it, which parses to the map's members.

#include <algorithm>
#include <nlohmann/json.hpp>

#include "fuzz/fuzz_input.h"
#include "src/response/item_store.h"
#include "src/response/json_text.h"
#include "tests/unit/item_order_model.h"

namespace {

using custom_bidi::ItemMap;
using custom_bidi::WString;
using custom_bidi::fuzz::Demand;
using nlohmann::json;

/// Nothing is escaped in an answer: what would need it is taken out.
WString Harmless(WString text) {
  std::replace_if(
      text.begin(), text.end(),
      [](WCHAR unit) {
        return unit < ' ' || unit == '"' || unit == '\\' || (unit >= 0xD800 && unit <= 0xDFFF);
      },
      WCHAR{'_'});
  return text;
}

std::string Utf8(const WString& text) {
  return json::parse(W("\"") + text + W("\"")).get<std::string>();
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace custom_bidi;
  fuzz::Input input(data, size);
  const WString cid = Harmless(input.TakeText());
  ItemMap items;
  test::ItemOrderModel model;
  while (!input.empty()) {
    const bool overwrites = input.TakeByte() % 2 != 0;
    const WString name = Harmless(input.TakeText());
    const WString text = Harmless(input.TakeText());
    if (!overwrites) {
      items.AddIfAbsent(name, text);
      model.AddIfAbsent(name, text);
      continue;
    }
    StoreItem(name, text, items);
    const bool has_comma = text.find(',') != WString::npos;
    if (has_comma)
      model.Set(name + W("_Value"), text);
    if (!text.empty())
      model.Set(name, has_comma ? W("Valid") : text);
  }

  json members = json::object();
  auto item = items.begin();
  for (const auto& [name, text] : model.Entries()) {
    Demand(item != items.end() && item->key == name && item->value == text, "the order is the model's");
    ++item;
    members[Utf8(name)] = Utf8(text);
  }
  Demand(item == items.end(), "nothing else is in the map");
  members["CID"] = Utf8(cid);
  Demand(json::parse(BidiJson(items, fuzz::ExactText(cid).View())) == members, "the answer is the map");
  return 0;
}
