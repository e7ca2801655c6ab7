#include "ratios.h"

#include <algorithm>
#include <chrono>
#include <vector>

namespace bench {
namespace {

double Seconds(const Work& work) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  work();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

void Pair(const std::string& name, int items, Ratio ratio, MakeWork subject, MakeWork reference) {
  const auto run = [=](benchmark::State& state) {
    const Work one = subject();
    const Work other = reference();
    std::vector<double> ones;
    std::vector<double> others;
    std::vector<double> ratios;
    for (auto _ : state) {
      others.push_back(Seconds(other));
      ones.push_back(Seconds(one));
      ratios.push_back(ratio == Ratio::kTimesFaster ? others.back() / ones.back()
                                                    : ones.back() / others.back());
      state.SetIterationTime(ones.back() + others.back());
    }
    state.counters["ratio"] = Median(ratios);
    state.counters["ns"] = Median(ones) / items * 1e9;
    state.counters["reference_ns"] = Median(others) / items * 1e9;
  };
  benchmark::RegisterBenchmark(name.c_str(), run)->UseManualTime()->Unit(benchmark::kMillisecond);
}

int RunMain(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

}  // namespace bench
