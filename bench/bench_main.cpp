#include <malloc.h>

#include "bench/summary.h"

/// 0 when every aim was reached, 1 when one was missed.
int main(int count, char** arguments) {
  benchmark::Initialize(&count, arguments);
  if (benchmark::ReportUnrecognizedArguments(count, arguments)) {
    return 2;
  }
  // Memory once used stays with the process: what the kernel takes to hand out fresh pages is not measured.
  constexpr int kNever = 1 << 30;
  mallopt(M_MMAP_THRESHOLD, kNever);
  mallopt(M_TRIM_THRESHOLD, kNever);

  custom_bidi::bench::Summary summary;
  benchmark::RunSpecifiedBenchmarks(&summary);
  return summary.has_missed() ? 1 : 0;
}
