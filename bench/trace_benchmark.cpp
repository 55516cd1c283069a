#include <benchmark/benchmark.h>

#include "src/trace/trace_log.h"

namespace custom_bidi::bench {
namespace {

void TraceOff(benchmark::State& state) {
  const WCHAR* name = W("Item");
  int number = 42;
  for (auto _ : state) {
    benchmark::DoNotOptimize(name);
    benchmark::DoNotOptimize(number);
    TraceLog(W("Get Address from [%s][%d]"), name, number);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(TraceOff)->Name("trace off")->Repetitions(9)->MinTime(0.1);

}  // namespace
}  // namespace custom_bidi::bench
