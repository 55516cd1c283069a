#include "bench/summary.h"

/// 0 when every aim was reached, 1 when one was missed.
int main(int count, char** arguments) {
  benchmark::Initialize(&count, arguments);
  if (benchmark::ReportUnrecognizedArguments(count, arguments))
    return 2;
  custom_bidi::bench::Summary summary;
  benchmark::RunSpecifiedBenchmarks(&summary);
  return summary.has_missed() ? 1 : 0;
}
