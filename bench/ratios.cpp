#include "ratios.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>
#include <vector>

namespace bench {
namespace {

struct Ratio {
  std::string subject;
  std::string reference;
  bool faster_is_more;
};

std::vector<Ratio>& Ratios() {
  static std::vector<Ratio> ratios;
  return ratios;
}

/// Prints as the library does, and keeps the times.
class KeepingReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
        times_[run.run_name.function_name].push_back(run.GetAdjustedRealTime());
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }

  double Median(const std::string& name) {
    std::vector<double>& times = times_[name];
    if (times.empty()) return 0.0;
    std::sort(times.begin(), times.end());
    const std::size_t middle = times.size() / 2;
    return times.size() % 2 != 0 ? times[middle] : (times[middle - 1] + times[middle]) / 2;
  }

 private:
  std::map<std::string, std::vector<double>> times_;
};

void Register(const std::string& name, Loop loop) {
  static std::set<std::string> known;
  if (!known.insert(name).second) return;
  benchmark::RegisterBenchmark(name.c_str(), std::move(loop))->UseRealTime();
}

}  // namespace

void Pair(const std::string& subject, Loop subject_loop, const std::string& reference,
          Loop reference_loop, bool faster_is_more) {
  Register(reference, std::move(reference_loop));
  Register(subject, std::move(subject_loop));
  Ratios().push_back({subject, reference, faster_is_more});
}

int RunMain(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  KeepingReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\n%-44s %-36s %s\n", "medians of one run", "against", "ratio");
  for (const Ratio& ratio : Ratios()) {
    const double subject = reporter.Median(ratio.subject);
    const double reference = reporter.Median(ratio.reference);
    if (subject == 0.0 || reference == 0.0) continue;  // not selected
    std::printf("%-44s %-36s %.2f %s\n", ratio.subject.c_str(), ratio.reference.c_str(),
                ratio.faster_is_more ? reference / subject : subject / reference,
                ratio.faster_is_more ? "times faster" : "times its time");
  }
  benchmark::Shutdown();
  return 0;
}

}  // namespace bench
