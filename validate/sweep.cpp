// Every call, every report of progress and every allocation fails in turn.
#include <algorithm>
#include <functional>
#include <random>

#include "allocations.h"
#include "bench.h"
#include "checks.h"
#include "hosting/errors.h"
#include "injector.h"

namespace validate {
namespace {

/// Something that gives the effect commands, under the bench's observer.
struct Run {
  const char* name;
  std::function<void()> go;
};

/// Everything that a host asks of an effect besides rendering.
std::vector<Run> OtherRuns(Bench& bench, const hosting::Observer& observer) {
  const hosting::Effect& effect = bench.effect();
  return {
      {"setup", [&] { hosting::Effect(Interposer::Entry, observer); }},
      {"about", [&] { effect.About(observer); }},
      {"refresh", [&] { effect.Supervise(bench.setup(), 0, effect.InitialPanel(), 0, observer); }},
      {"changed", [&] { effect.Supervise(bench.setup(), 0, effect.InitialPanel(), 8, observer); }},
      {"flags", [&] { effect.DynamicFlags(bench.setup(), 0, observer); }},
  };
}

bool Untouched(const std::string& output) {
  return output.find_first_not_of('\xFF') == std::string::npos;
}

bool Clear(const std::string& output) {
  return output.find_first_not_of('\0') == std::string::npos;
}

/// Pixels that are neither clear nor as in the whole picture.
int StrangePixels(const std::string& output, const std::string& whole, std::size_t size) {
  int strange = 0;
  for (std::size_t i = 0; i + size <= output.size(); i += size) {
    const std::string pixel = output.substr(i, size);
    if (!Clear(pixel) && pixel != whole.substr(i, size)) ++strange;
  }
  return strange;
}

/// What the render left in its output, against how far it should have come.
std::string JudgeOutput(const Injector& injector, const Bench& bench, const std::string& whole,
                        PF_Err code) {
  const std::string& output = bench.seen().output;
  if (output.empty()) return "";  // it never got so far as to know its output
  if (code == 0) {
    if (!bench.seen().pass_begun) return "success without a pass over the pixels";
    if (!bench.seen().cleared) return "the output was not cleared before the pass";
    return injector.harmless() && output != whole ? "another picture" : "";
  }
  if (!injector.output_filled()) return Untouched(output) ? "" : "the output was touched";
  if (!injector.pass_reached()) return Clear(output) ? "" : "the output is not clear";
  if (!injector.harmless()) return "";
  const int strange = StrangePixels(output, whole, hosting::PixelSize(bench.config().depth));
  return strange <= 1 ? "" : std::to_string(strange) + " pixels are neither clear nor drawn";
}

class Sweep {
 public:
  Sweep(const Case& of, Bench& bench) : case_(of), bench_(bench) {}

  void Of(const Run& run) {
    Injector clean(bench_.config().depth);
    const Outcome whole = Watch(clean, run);
    const bool render = std::string(run.name) == "render";
    const std::string picture = render ? bench_.seen().output : std::string();
    case_.report.Trying(std::string(run.name) + ":clean");
    case_.report.Expect(whole.code == 0 && whole.breach.empty(),
                        "gave " + std::to_string(whole.code) + " " + whole.breach);
    for (std::uint64_t at = 0; at < clean.calls().size(); ++at) {
      bool visited = false;
      for (const Injection injection : kInjections) {
        const hosting::CallKind kind = clean.calls()[at];
        if (!Throws(injection) && !HasCode(kind)) continue;
        const Fault fault{at, kind, injection};
        if (!case_.Tries(fault.Text(run.name))) continue;
        Injector injector(bench_.config().depth, {fault});
        const Outcome outcome = Watch(injector, run);
        visited = visited || (injector.struck() && injector.calls()[at] == kind);
        case_.report.Expect(injector.struck(), "the call was not made again");
        Judge(outcome.breach);
        Judge(injector.Judge(outcome.code));
        if (!injector.late_call().empty()) Judge(injector.late_call() + " came after it");
        if (render) Judge(JudgeOutput(injector, bench_, picture, outcome.code));
      }
      case_.report.Count("points");
      if (visited) case_.report.Count("visited");
      if (!visited && case_.fault.empty()) case_.report.Fail("a call was not visited");
    }
  }

  /// Two calls at a time, and what befalls them, drawn by lot.
  void PairsOf(const Run& run, int pairs) {
    Injector clean(bench_.config().depth);
    Watch(clean, run);
    const std::vector<hosting::CallKind>& calls = clean.calls();
    for (int pair = 0; pair < pairs; ++pair) {
      if (!case_.Tries(std::string(run.name) + ":pair#" + std::to_string(pair))) continue;
      std::mt19937 lots(case_.seed * 1000003u + static_cast<unsigned>(pair));
      std::vector<Fault> faults;
      for (int i = 0; i < 2; ++i) {
        const std::size_t at = lots() % calls.size();
        faults.push_back({at, calls[at], kInjections[lots() % kInjections.size()]});
      }
      Injector injector(bench_.config().depth, faults);
      const Outcome outcome = Watch(injector, run);
      Judge(outcome.breach);
      Judge(injector.Judge(outcome.code));
      if (!injector.late_call().empty()) Judge(injector.late_call() + " came after it");
    }
  }

 private:
  Outcome Watch(Injector& injector, const Run& run) {
    bench_.observer = [&](const hosting::Call& call) { return injector.Observe(call); };
    Outcome outcome = bench_.Run(run.go);
    bench_.observer = {};
    return outcome;
  }
  void Judge(const std::string& fault) {
    if (!fault.empty()) case_.report.Fail(fault);
  }

  const Case& case_;
  Bench& bench_;
};

struct Foreign {};

}  // namespace

void SweepFaults(const Case& c) {
  Bench bench(c.plugin, c.config);
  const hosting::Observer observer = [&](const hosting::Call& call) {
    return bench.observer(call);
  };
  Sweep sweep(c, bench);
  for (const Run& run : OtherRuns(bench, observer)) sweep.Of(run);
  hosting::Renderer renderer(bench.effect(), bench.setup(), bench.Options());
  sweep.Of({"render", [&] { renderer.Render(bench.setup().time.FrameTime(kStrokeFrame)); }});
}

void SweepPairs(const Case& c) {
  constexpr int kPairs = 3000;
  Bench bench(c.plugin, c.config);
  Sweep sweep(c, bench);
  hosting::Renderer renderer(bench.effect(), bench.setup(), bench.Options());
  sweep.PairsOf({"render", [&] { renderer.Render(bench.setup().time.FrameTime(kStrokeFrame)); }},
                kPairs);
}

void SweepProgress(const Case& c) {
  Bench bench(c.plugin, c.config);
  int reports = 0;
  int stop_at = 0;  // 0: never
  int fault = 0;
  std::string late;
  bench.observer = [&](const hosting::Call& call) {
    if (stop_at > 0 && reports >= stop_at && !GivesBack(call.kind)) late = call.Text();
    return PF_Err_NONE;
  };
  bench.progress = [&](A_long, A_long) {
    if (++reports != stop_at) return true;
    switch (fault) {
      case 1:
        throw int{kThrownCode};
      case 2:
        throw std::bad_alloc();
      case 3:
        throw Foreign{};
      default:
        return false;
    }
  };
  const Outcome whole = bench.Render();
  c.report.Expect(whole.code == 0 && whole.breach.empty(), "a clean run fails: " + whole.breach);
  const int count = reports;
  static constexpr struct {
    const char* name;
    PF_Err code;
  } kWays[]{{"cancel", PF_Interrupt_CANCEL},
            {"throw-int", kThrownCode},
            {"throw-alloc", PF_Err_OUT_OF_MEMORY},
            {"throw-other", PF_Err_BAD_CALLBACK_PARAM}};
  for (int at = 1; at <= count; ++at) {
    c.report.Count("points");
    for (fault = 0; fault < 4; ++fault) {
      const auto& way = kWays[fault];
      if (!c.Tries("progress#" + std::to_string(at) + ":" + way.name)) continue;
      reports = 0;
      stop_at = at;
      late.clear();
      const Outcome outcome = bench.Render();
      c.report.Expect(outcome.code == way.code,
                      "gave " + std::to_string(outcome.code) + ", not " + std::to_string(way.code));
      c.report.Expect(outcome.breach.empty(), outcome.breach);
      c.report.Expect(late.empty(), late + " came after it");
      c.report.Expect(reports == at, "progress was reported again");
    }
  }
}

void SweepAllocations(const Case& c) {
  Bench bench(c.plugin, c.config);
  // Counted while the effect's own code asks, not the host's below it.
  allocations::Watch(bench.plugin_entry());
  allocations::Plan({});
  const Outcome whole = bench.Render();
  const std::uint64_t count = allocations::Made();
  c.report.Expect(whole.code == 0 && whole.breach.empty(), "a clean run fails: " + whole.breach);
  const std::string picture = bench.seen().output;
  for (std::uint64_t at = 1; at <= count; ++at) {
    for (const bool on : {false, true}) {
      if (!c.Tries("allocation#" + std::to_string(at) + (on ? ":fail-on" : ":fail-once"))) continue;
      c.report.Count("points");
      allocations::Plan({at, on});
      const Outcome outcome = bench.Render();
      allocations::Plan({});
      c.report.Expect(outcome.code == PF_Err_OUT_OF_MEMORY,
                      "gave " + std::to_string(outcome.code) + ", not 4");
      c.report.Expect(outcome.breach.empty(), outcome.breach);
      c.report.Expect(bench.Render().code == 0 && bench.seen().output == picture,
                      "the next frame is another");
    }
  }
}

}  // namespace validate
