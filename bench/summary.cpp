#include "bench/summary.h"

#include <algorithm>
#include <cstdio>

namespace custom_bidi::bench {
namespace {

constexpr double kMostWholeCallRatio = 1.15;
constexpr double kMostScalingRatio = 2;
constexpr double kMostTraceNanoseconds = 2;

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

bool Summary::ReportContext(const Context&) {
  return true;
}

void Summary::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    const std::string name = run.benchmark_name();
    if (run.error_occurred) {
      std::fprintf(stderr, "%s failed: %s\n", name.c_str(), run.error_message.c_str());
      has_missed_ = true;
    } else if (run.run_type == Run::RT_Aggregate) {
      continue;  // medians are taken here
    } else if (name.starts_with("whole call")) {
      whole_calls_.push_back(run);
    } else if (run.complexity_n > 0) {
      const auto units = static_cast<double>(run.complexity_n);
      scaling_[run.run_name.function_name][run.complexity_n].push_back(run.GetAdjustedCPUTime() / units);
    } else {
      trace_ns_.push_back(run.GetAdjustedCPUTime());
    }
  }
}

void Summary::Finalize() {
  if (!whole_calls_.empty()) {
    PrintWholeCalls();
  }
  if (!scaling_.empty()) {
    PrintScaling();
  }
  if (!trace_ns_.empty()) {
    PrintTrace();
  }
}

void Summary::PrintWholeCalls() {
  std::printf("\nA whole GetBidiResponse, trace off, against the loads that it cannot avoid (aim: %.2f)\n",
              kMostWholeCallRatio);
  for (const Run& run : whole_calls_) {
    const double ratio = run.counters.at("ratio");
    std::printf("  %-44s %8.1f us  loads alone %8.1f us  ratio %.2f%s\n", run.run_name.function_name.c_str(),
                run.counters.at("whole_us").value, run.counters.at("loads_us").value, ratio,
                Verdict(ratio <= kMostWholeCallRatio));
  }
}

void Summary::PrintScaling() {
  std::printf(
      "\nNanoseconds per character or item, by size (aim: largest and smallest within a factor %.0f)\n",
      kMostScalingRatio);
  for (const auto& [subject, sizes] : scaling_) {
    std::printf("  %-34s", subject.c_str());
    double least = 0;
    double most = 0;
    for (const auto& [size, times] : sizes) {
      const double time = Median(times);
      std::printf("  %7lld: %7.2f", static_cast<long long>(size), time);
      least = least == 0 ? time : std::min(least, time);
      most = std::max(most, time);
    }
    std::printf("  ratio %.2f%s\n", most / least, Verdict(most / least <= kMostScalingRatio));
  }
}

void Summary::PrintTrace() {
  const double time = Median(trace_ns_);
  std::printf("\nA trace call, trace off: %.2f ns (aim: %.0f)%s\n", time, kMostTraceNanoseconds,
              Verdict(time <= kMostTraceNanoseconds));
}

const char* Summary::Verdict(bool reached) {
  has_missed_ |= !reached;
  return reached ? "" : "  MISSED";
}

}  // namespace custom_bidi::bench
