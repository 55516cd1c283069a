#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace custom_bidi::bench {

/// Prints what was measured once all is done, each figure beside its aim.
class Summary : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

  /// True when an aim was missed or a benchmark failed.
  bool has_missed() const { return has_missed_; }

 private:
  void PrintWholeCalls();
  void PrintScaling();
  void PrintTrace();
  const char* Verdict(bool reached);

  std::vector<Run> whole_calls_;
  // Nanoseconds per unit, by subject and size.
  std::map<std::string, std::map<int64_t, std::vector<double>>> scaling_;
  std::vector<double> trace_ns_;
  bool has_missed_ = false;
};

}  // namespace custom_bidi::bench
