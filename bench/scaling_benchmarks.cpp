// What handles text from outside must cost the same for each character or item, however many there are.

#include <benchmark/benchmark.h>

#include <string>

#include "src/context/request_context.h"
#include "src/deviceio/locale_strings.h"
#include "src/response/answers.h"

namespace custom_bidi::bench {
namespace {

WString Wide(const std::string& ascii) {
  return WString(ascii.begin(), ascii.end());
}

/// Entries of attributes that nobody asks for, up to `size` characters, with the last wanted one at the end.
WString LocaleStrings(size_t size) {
  const std::string prefix = "\"vexmo-print-quality-supported.com.vexmo.";
  const std::string last = prefix + "pq-mode.22\" = \"3\";\n";
  std::string strings;
  for (int index = 1; strings.size() + last.size() < size; ++index) {
    strings += prefix + "display-string.9" + std::to_string(index) + "\" = \"Quality mode\";\n";
  }
  strings.resize(size - last.size());
  return Wide(strings + last);
}

void CleanAndFindEntries(benchmark::State& state) {
  const WString strings = LocaleStrings(static_cast<size_t>(state.range()));
  for (auto _ : state) {
    std::map<WString, WString> entries;
    AddPrintQualityEntries(CleanLocaleStrings(strings), entries);
    if (entries.size() != 1) {
      state.SkipWithError("the wanted entry was not found");
    }
  }
  state.SetComplexityN(state.range());
}

void FindCid(benchmark::State& state) {
  const std::string last = ";CID:Maker";
  std::string device_id;
  for (int i = 0; device_id.size() < static_cast<size_t>(state.range()); ++i) {
    device_id += "KEY" + std::to_string(i) + ":some value;";
  }
  device_id.resize(static_cast<size_t>(state.range()) - last.size());
  const WString text = Wide(device_id + last);
  CCustomBiDi context;
  for (auto _ : state) {
    if (context.ParseAndSaveCIDInfo(text) != ERROR_SUCCESS) {
      state.SkipWithError("the CID was not found");
    }
  }
  state.SetComplexityN(state.range());
}

std::vector<WString> ItemNames(int64_t count) {
  std::vector<WString> names;
  for (int64_t i = 0; i < count; ++i) {
    names.push_back(Wide("MediaSupportedItem" + std::to_string(i)));
  }
  return names;
}

void Fill(ItemMap& items, const std::vector<WString>& names) {
  for (const WString& name : names) {
    items.Set(name, W("iso_a4_210x297mm"));
  }
}

void SetItems(benchmark::State& state) {
  const std::vector<WString> names = ItemNames(state.range());
  for (auto _ : state) {
    ItemMap items;
    Fill(items, names);
    benchmark::DoNotOptimize(items.size());
  }
  state.SetComplexityN(state.range());
}

void EnumerateItems(benchmark::State& state) {
  ItemMap items;
  Fill(items, ItemNames(state.range()));
  for (auto _ : state) {
    size_t chars = 0;
    for (const ItemMap::Entry& entry : items) {
      chars += entry.key.size() + entry.value.size();
    }
    benchmark::DoNotOptimize(chars);
  }
  state.SetComplexityN(state.range());
}

void ComposeAnswer(benchmark::State& state) {
  ItemMap items;
  Fill(items, ItemNames(state.range()));
  for (auto _ : state) {
    benchmark::DoNotOptimize(BidiJson(items, W("Maker_Model_7")));
  }
  state.SetComplexityN(state.range());
}

void OverItems(benchmark::internal::Benchmark* benchmark) {
  benchmark->RangeMultiplier(10)->Range(1'000, 100'000)->Repetitions(7)->MinTime(0.05);
}

void OverCharacters(benchmark::internal::Benchmark* benchmark) {
  benchmark->RangeMultiplier(10)->Range(1'000, 1'000'000)->Repetitions(7)->MinTime(0.05);
}

BENCHMARK(CleanAndFindEntries)->Name("locale strings, per character")->Apply(OverCharacters);
BENCHMARK(FindCid)->Name("CID of a device ID, per character")->Apply(OverCharacters);
BENCHMARK(SetItems)->Name("item map, set, per item")->Apply(OverItems);
BENCHMARK(EnumerateItems)->Name("item map, enumerate, per item")->Apply(OverItems);
BENCHMARK(ComposeAnswer)->Name("bidi answer, per item")->Apply(OverItems);

}  // namespace
}  // namespace custom_bidi::bench
