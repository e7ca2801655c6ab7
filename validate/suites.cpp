// Suites that the host does not have, or not in full.
#include <cstring>
#include <map>
#include <utility>

#include "aegp_suites.h"
#include "bench.h"
#include "checks.h"
#include "pf_suites.h"

namespace validate {
namespace {

/// A suite's functions, and those of them that the effect calls, by their place in the table.
struct SuiteFacts {
  std::string_view name;
  int version;
  std::size_t functions;
  std::size_t first_called;  // all from here on are called
};

constexpr SuiteFacts kSuites[]{
    {kPFWorldSuite, 1, 2, 0},         {kPFWorldSuite, 2, 3, 2},
    {kPFParamUtilsSuite, 1, 1, 0},    {kPFSampling8Suite, 1, 3, 2},
    {kPFSampling16Suite, 1, 3, 2},    {kPFSamplingFloatSuite, 1, 3, 2},
    {kPFIterateFloatSuite, 1, 1, 0},  {kPFColorParamSuite, 1, 1, 0},
    {kAEGPPFInterfaceSuite, 1, 2, 0}, {kAEGPLayerSuite, 5, 6, 0},
    {kAEGPLightSuite, 1, 1, 0},       {kAEGPStreamSuite, 4, 1, 0},
};
constexpr std::size_t kMostFunctions = 6;

using Table = const void* [kMostFunctions];

/// Renders, or arranges the panel, which is what uses the one suite that rendering does not.
Outcome Use(Bench& bench, const SuiteFacts& suite) {
  if (suite.name != kPFParamUtilsSuite) return bench.Render();
  const hosting::Effect& effect = bench.effect();
  return bench.Run([&] { effect.Supervise(bench.setup(), 0, effect.InitialPanel()); });
}

void CheckSuite(const Case& c, Bench& bench, const SuiteFacts& suite, const std::string& picture) {
  // Place of the function that is missing; all of them when it is not in the table.
  for (std::size_t missing = 0; missing <= suite.functions; ++missing) {
    const bool whole = missing == suite.functions;
    const std::string what = std::string(suite.name) + " " + std::to_string(suite.version) +
                             (whole ? ":no table" : ":no function " + std::to_string(missing));
    c.report.Trying(what);
    Table table{};
    bool asked = false;
    bench.interposer().changes.suite = [&](std::string_view name, int version,
                                           const void* given) -> const void* {
      if (name != suite.name || version != suite.version || given == nullptr) return given;
      asked = true;
      std::memcpy(table, given, suite.functions * sizeof(void*));
      if (!whole) table[missing] = nullptr;
      return whole ? nullptr : static_cast<const void*>(table);
    };
    const Outcome outcome = Use(bench, suite);
    bench.interposer().changes.suite = {};
    // A suite that this configuration has no use for says nothing.
    if (!asked || !c.Tries(what)) continue;

    const bool format = suite.name == kPFWorldSuite && suite.version == 2;
    const bool called = whole || missing >= suite.first_called;
    // Without the format the world's flags tell 8 from 16 bits; float pixels are then taken for 8
    // bits, and the host refuses the pass.
    const bool fails = called && (!format || c.config.depth == hosting::Depth::k32);
    const PF_Err expected = fails ? PF_Err_BAD_CALLBACK_PARAM : PF_Err_NONE;
    c.report.Expect(outcome.code == expected,
                    "gave " + std::to_string(outcome.code) + ", not " + std::to_string(expected));
    c.report.Expect(outcome.breach.empty(), outcome.breach);
    if (!fails && suite.name != kPFParamUtilsSuite) {
      c.report.Expect(bench.seen().output == picture, "another picture");
    }
  }
}

}  // namespace

void CheckSuites(const Case& c) {
  Bench bench(c.plugin, c.config);
  const Outcome clean = bench.Render();
  c.report.Expect(clean.code == 0 && clean.breach.empty(), "a clean run fails: " + clean.breach);
  const std::string picture = bench.seen().output;
  for (const SuiteFacts& suite : kSuites) CheckSuite(c, bench, suite, picture);

  bench.interposer().changes.in_data = [](PF_Cmd, PF_InData& in) { in.pica_basicP = nullptr; };
  const hosting::Effect& effect = bench.effect();
  const std::pair<const char*, std::function<void()>> commands[]{
      {"frame", [&] { hosting::Renderer(effect, bench.setup(), bench.Options()).Render(0); }},
      {"panel", [&] { effect.Supervise(bench.setup(), 0, effect.InitialPanel()); }},
      {"flags", [&] { effect.DynamicFlags(bench.setup(), 0); }}};
  for (const auto& [name, command] : commands) {
    if (!c.Tries(std::string("no basic suite:") + name)) continue;
    const Outcome outcome = bench.Run(command);
    c.report.Expect(outcome.code == PF_Err_BAD_CALLBACK_PARAM,
                    "gave " + std::to_string(outcome.code) + ", not 516");
    c.report.Expect(outcome.breach.empty(), outcome.breach);
  }
}

}  // namespace validate
