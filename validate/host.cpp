// The host that everything else relies on is looked at from within.
#include "checks.h"
#include "hosting/effect.h"
#include "hosting/errors.h"
#include "hosting/render.h"
#include "probe.h"

namespace validate {
namespace {

struct Way {
  Probe::Plan plan;
  bool smart;
  int threads;
  bool bottom_up;

  std::string Text() const {
    return std::to_string(static_cast<int>(plan.depth)) + (smart ? " smart" : " classic") + " x" +
           std::to_string(threads) + (bottom_up ? " upward" : "") +
           (plan.region.left > 0 ? " region" : "") + (plan.cancelled ? " cancelled" : "");
  }
};

std::vector<Way> Ways(const hosting::Setup& setup) {
  constexpr int kFrame = 4;
  const PF_LRect whole{0, 0, setup.width, setup.height};
  std::vector<Way> ways;
  for (const auto depth : {hosting::Depth::k8, hosting::Depth::k16, hosting::Depth::k32}) {
    const Probe::Plan plan{depth, whole, setup.time.FrameTime(kFrame), false};
    for (const bool smart : {true, false}) {
      for (const int threads : {1, 4}) ways.push_back({plan, smart, threads, threads == 1});
      Probe::Plan cancelled = plan;
      cancelled.cancelled = true;
      ways.push_back({cancelled, smart, 2, false});
    }
    Probe::Plan part = plan;
    part.region = {2, 3, 17, 11};
    ways.push_back({part, true, 2, false});
  }
  return ways;
}

}  // namespace

void CheckHost(const Case& c) {
  const hosting::Effect effect(c.between != nullptr ? c.between : Probe::Entry);
  const hosting::Setup setup = Probe::LayerFor(effect.controls());
  for (const Way& way : Ways(setup)) {
    if (!c.Tries(way.Text())) continue;
    Probe::plan = way.plan;
    Probe::findings.clear();
    Probe::promises = 0;
    hosting::RenderOptions options;
    options.depth = way.plan.depth;
    options.smart = way.smart;
    options.threads = way.threads;
    options.region = way.plan.region;
    options.layout.bottom_up = way.bottom_up;
    options.layout.guards = true;
    options.progress = [&](A_long, A_long) { return !way.plan.cancelled; };
    try {
      hosting::Renderer(effect, setup, options).Render(way.plan.time);
      c.report.Expect(!way.plan.cancelled, "a cancelled frame succeeded");
    } catch (const hosting::EffectError& error) {
      c.report.Expect(way.plan.cancelled, error.what());
    } catch (const hosting::Breach& breach) {
      c.report.Fail(breach.what());
    }
    c.report.Count("promises", static_cast<std::uint64_t>(Probe::promises));
    for (const std::string& promise : Probe::findings) c.report.Fail("not kept: " + promise);
  }
}

}  // namespace validate
