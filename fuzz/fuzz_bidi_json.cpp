// The item map's order, and the answer made from it, which parses to the map's members.

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "fuzz/fuzz_input.h"
#include "src/response/answers.h"

namespace custom_bidi::fuzz {
namespace {
using nlohmann::json;

/// An item map worked out the slow and plain way: one sequence that is searched from its start.
struct Model {
  ItemMap::Sequence entries;
  size_t bucket_count = 8;

  void Set(const WString& key, const WString& value, size_t hash) {
    const auto present = std::ranges::find(entries, key, &ItemMap::Entry::key);
    if (present != entries.end()) {
      present->value = value;
      return;
    }
    if (entries.size() == bucket_count) {
      bucket_count *= bucket_count < 512 ? 8 : 2;
      for (const ItemMap::Entry& entry : std::exchange(entries, {})) {
        Place(entry);
      }
    }
    Place({key, value, hash});
  }

  /// Before the first of its bucket, else at the end.
  void Place(const ItemMap::Entry& entry) {
    const auto in_bucket = [&](size_t hash) { return hash % bucket_count == entry.hash % bucket_count; };
    entries.insert(std::ranges::find_if(entries, in_bucket, &ItemMap::Entry::hash), entry);
  }
};

/// Nothing is escaped in an answer: what would need it is taken out.
WString Harmless(WString text) {
  for (WCHAR& unit : text) {
    if (unit < ' ' || unit == '"' || unit == '\\' || (unit >= 0xD800 && unit <= 0xDFFF)) {
      unit = '_';
    }
  }
  return text;
}

std::string Utf8(const WString& text) {
  return json::parse(W("\"") + text + W("\"")).get<std::string>();
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const WString cid = Harmless(input.TakeText());
  ItemMap items;
  Model model;
  const auto set = [&](const WString& name, const WString& text) {
    model.Set(name, text, std::ranges::find(items, name, &ItemMap::Entry::key)->hash);
  };
  while (!input.empty()) {
    const bool overwrites = input.TakeByte() % 2 != 0;
    const WString name = Harmless(input.TakeText());
    const WString text = Harmless(input.TakeText());
    const bool has_comma = text.find(',') != WString::npos;
    if (!overwrites) {
      const bool is_new = std::ranges::find(items, name, &ItemMap::Entry::key) == items.end();
      items.AddIfAbsent(name, text);
      if (is_new) {
        set(name, text);
      }
      continue;
    }
    StoreItem(name, text, items);
    if (has_comma) {
      set(name + W("_Value"), text);
    }
    if (!text.empty()) {
      set(name, has_comma ? W("Valid") : text);
    }
  }

  json members = json::object();
  Demand(items.size() == model.entries.size(), "there are as many as in the model");
  for (auto expected = model.entries.begin(); const ItemMap::Entry& item : items) {
    Demand(item.key == expected->key && item.value == expected->value, "each is the model's");
    members[Utf8(item.key)] = Utf8(item.value);
    ++expected;
  }
  members["CID"] = Utf8(cid);
  Demand(json::parse(BidiJson(items, ExactText(cid).View())) == members, "the answer is the map");
  return 0;
}

}  // namespace custom_bidi::fuzz
