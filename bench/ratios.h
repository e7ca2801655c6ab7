// Benchmarks in pairs: a subject and the reference it is held against, run in turn.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace bench {

/// A fixed amount of work, of the same size in a subject and its reference.
using Work = std::function<void()>;
/// Sets up what a work needs; called when its benchmark runs.
using MakeWork = std::function<Work()>;

enum class Ratio {
  kTimesFaster,   // reference / subject: more is better
  kTimesItsTime,  // subject / reference: less is better
};

/// Registers a benchmark whose every iteration runs the reference and the subject once each. They
/// meet the same moods of the machine in this way. Counters: `ratio`, the median of the iterations'
/// ratios, and the median nanoseconds an item of both. Its time is that of both together.
void Pair(const std::string& name, int items, Ratio ratio, MakeWork subject, MakeWork reference);

/// Runs what the arguments select. Returns the exit code.
int RunMain(int argc, char** argv);

}  // namespace bench
