// The item map's order, and the answer made from it, which parses to the map's members.

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "src/response/answers.h"

namespace custom_bidi::fuzz {
namespace {
using nlohmann::json;

/// The order of an item map's keys, worked out the slow and plain way: one sequence that is searched from its
/// start.
class ItemOrderModel {
 public:
  void Add(const WString& key, uint64_t hash) {
    if (std::ranges::find(keys_, key) != keys_.end()) {
      return;
    }
    if (keys_.size() == bucket_count_) {
      bucket_count_ *= bucket_count_ < 512 ? 8 : 2;
      const std::vector<WString> keys = std::exchange(keys_, {});
      const std::vector<uint64_t> hashes = std::exchange(hashes_, {});
      for (size_t i = 0; i < keys.size(); ++i) {
        Place(keys[i], hashes[i]);
      }
    }
    Place(key, hash);
  }

  const std::vector<WString>& keys() const { return keys_; }

 private:
  /// Before the first of its bucket, else at the end.
  void Place(const WString& key, uint64_t hash) {
    const auto in_bucket = [&](uint64_t other) { return other % bucket_count_ == hash % bucket_count_; };
    const auto first = std::ranges::find_if(hashes_, in_bucket);
    keys_.insert(keys_.begin() + (first - hashes_.begin()), key);
    hashes_.insert(first, hash);
  }

  std::vector<WString> keys_;
  std::vector<uint64_t> hashes_;
  size_t bucket_count_ = 8;
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
  std::map<WString, WString> texts;
  ItemOrderModel model;
  const auto add = [&](const WString& name) {
    model.Add(name, std::ranges::find(items, name, &ItemMap::Entry::key)->hash);
  };
  while (!input.empty()) {
    const bool overwrites = input.TakeByte() % 2 != 0;
    const WString name = Harmless(input.TakeText());
    const WString text = Harmless(input.TakeText());
    if (!overwrites) {
      items.AddIfAbsent(name, text);
      texts.emplace(name, text);
      add(name);
      continue;
    }
    StoreItem(name, text, items);
    const bool has_comma = text.find(',') != WString::npos;
    if (has_comma) {
      texts[name + W("_Value")] = text;
      add(name + W("_Value"));
    }
    if (!text.empty()) {
      texts[name] = has_comma ? W("Valid") : text;
      add(name);
    }
  }

  Demand(std::ranges::equal(items, model.keys(), {}, &ItemMap::Entry::key), "the order is the model's");
  json members = json::object();
  for (const ItemMap::Entry& item : items) {
    Demand(texts.at(item.key) == item.value, "an item has the text that it was given last");
    members[Utf8(item.key)] = Utf8(item.value);
  }
  members["CID"] = Utf8(cid);
  Demand(json::parse(BidiJson(items, ExactText(cid).View())) == members, "the answer is the map");
  return 0;
}

}  // namespace custom_bidi::fuzz
