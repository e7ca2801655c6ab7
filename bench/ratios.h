// Benchmarks in pairs: a subject and the reference it is held against, measured in the same run.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace bench {

using Loop = std::function<void(benchmark::State&)>;

/// Registers both; the table at the end of the run has their ratio. With faster_is_more the ratio
/// is reference / subject, else subject / reference. Several subjects may share a reference's name:
/// it is then measured once.
void Pair(const std::string& subject, Loop subject_loop, const std::string& reference,
          Loop reference_loop, bool faster_is_more = true);

/// Runs what the arguments select and prints the ratios of medians. Returns the exit code.
int RunMain(int argc, char** argv);

}  // namespace bench
