// The same frame is the same bytes, whatever came before it and however it is computed.
#include <cstring>
#include <new>
#include <random>
#include <stdexcept>

#include "bench.h"
#include "checks.h"
#include "fault.h"

namespace validate {
namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 40;

/// A bench whose worlds are not watched and that runs at full speed.
hosting::RenderOptions Unwatched(Bench& bench, int threads) {
  hosting::RenderOptions options = bench.Options();
  options.observer = {};
  options.layout = {};
  options.threads = threads;
  return options;
}

hosting::Setup Setup(const Bench& bench) {
  return StrokeSetup(bench.effect(), bench.config(), kWidth, kHeight);
}

class Comparison {
 public:
  Comparison(const Case& of, Bench& bench) : case_(of), bench_(bench) {
    bench.Use(Setup(bench), Unwatched(bench, 1));
    case_.report.Trying("first");
    case_.report.Count("runs");
    Render();
    first_ = bench.seen().output;
    case_.report.Expect(first_.find_first_not_of('\0') != std::string::npos, "an empty picture");
    case_.report.Fact("frame " + bench.config().Text(), Digest(first_));
  }

  /// Renders the frame under that name and compares.
  void Again(const std::string& what) {
    if (!case_.Tries(what)) return;
    Render();
    const std::string& now = bench_.seen().output;
    std::size_t differing = now.size() == first_.size() ? 0 : 1;
    for (std::size_t i = 0; i < std::min(now.size(), first_.size()); ++i) {
      differing += now[i] != first_[i];
    }
    case_.report.Expect(differing == 0, std::to_string(differing) + " bytes differ");
  }

 private:
  void Render() {
    const Outcome outcome = bench_.Render();
    case_.report.Expect(outcome.code == 0 && outcome.breach.empty(),
                        "gave " + std::to_string(outcome.code) + " " + outcome.breach);
  }

  const Case& case_;
  Bench& bench_;
  std::string first_;
};

}  // namespace

void CheckFresh(const Case& c) {
  Bench bench(c.plugin, c.config);
  const Comparison comparison(c, bench);
}

void CheckOrders(const Case& c) {
  Bench bench(c.plugin, c.config);
  Comparison comparison(c, bench);
  for (const int threads : {0, 1, 2, 3, 4, 8, 16}) {
    bench.Use(Setup(bench), Unwatched(bench, threads));
    comparison.Again("host:" + std::to_string(threads));
  }
  bench.Use(Setup(bench), Unwatched(bench, 1));
  using Kind = PixelOrder::Kind;
  const auto run = [&](const char* name, Kind kind, unsigned seed) {
    for (const int threads : {1, 2, 5, 16}) {
      bench.interposer().changes.order = {kind, seed, threads};
      comparison.Again(std::string(name) + ":" + std::to_string(threads));
    }
  };
  run("forward", Kind::kForward, 0);
  run("reversed", Kind::kReversed, 0);
  run("columns", Kind::kColumns, 0);
  run("tiles", Kind::kTiles, 0);
  for (unsigned i = 0; i < 3; ++i) {
    run(("shuffled-" + std::to_string(c.seed + i)).c_str(), Kind::kShuffled, c.seed + i);
  }
}

void CheckRepeats(const Case& c) {
  Bench bench(c.plugin, c.config);
  Comparison comparison(c, bench);
  comparison.Again("at once");
  for (const int frame : {0, 2, 9, 400}) {
    bench.RenderAt(frame);
    comparison.Again("after frame " + std::to_string(frame));
  }
  for (const Config& other : AllConfigs()) {
    hosting::RenderOptions options = Unwatched(bench, 2);
    options.depth = other.depth;
    options.smart = other.smart;
    bench.Use(StrokeSetup(bench.effect(), other, 17, 31), options);
    bench.Render();
    bench.Use(Setup(bench), Unwatched(bench, 1));
    comparison.Again("after " + other.Text());
  }
  for (const int at : {1, 5, 20, 60, 90, 120, 400}) {
    bench.Use(Setup(bench), bench.Options());
    int calls = 0;
    bench.observer = [&](const hosting::Call&) -> PF_Err {
      if (++calls == at) throw std::runtime_error("host");
      return PF_Err_NONE;
    };
    bench.Render();
    bench.observer = {};
    bench.Use(Setup(bench), Unwatched(bench, 1));
    comparison.Again("after failure " + std::to_string(at));
  }
}

void CheckSequences(const Case& c) {
  constexpr int kSequences = 300;
  constexpr int kMostSteps = 12;
  Bench bench(c.plugin, c.config);
  Comparison comparison(c, bench);
  const std::vector<Config> configs = AllConfigs();
  for (int sequence = 0; sequence < kSequences; ++sequence) {
    std::mt19937 lots(c.seed * 1000003u + static_cast<unsigned>(sequence));
    const auto draw = [&](int below) { return static_cast<int>(lots() % unsigned(below)); };
    for (int steps = 1 + draw(kMostSteps); steps > 0; --steps) {
      const Config& other = configs[static_cast<std::size_t>(draw(int(configs.size())))];
      hosting::RenderOptions options = bench.Options();
      options.depth = other.depth;
      options.smart = other.smart;
      bench.Use(StrokeSetup(bench.effect(), other, 1 + draw(40), 1 + draw(40)), options);
      int until_fault = draw(200);
      const int way = draw(3);
      bench.observer = [&](const hosting::Call&) -> PF_Err {
        if (until_fault-- != 0) return PF_Err_NONE;
        if (way == 0) throw std::runtime_error("host");
        if (way == 1) throw std::bad_alloc();
        return kFailCode;
      };
      const hosting::Effect& effect = bench.effect();
      const int frame = draw(12);
      switch (draw(4)) {
        case 0:
          bench.Run([&] { effect.Supervise(bench.setup(), 0, effect.InitialPanel(), 8); });
          break;
        case 1:
          bench.Run([&] { effect.DynamicFlags(bench.setup(), frame); });
          break;
        default:
          bench.RenderAt(frame);
      }
      bench.observer = {};
      c.report.Count("commands");
      c.report.Expect(bench.seen().breach.empty(), bench.seen().breach);
    }
    bench.Use(Setup(bench), Unwatched(bench, 1));
    comparison.Again("sequence " + std::to_string(sequence));
  }
}

void CheckRegions(const Case& c) {
  Bench bench(c.plugin, c.config);
  bench.Use(Setup(bench), Unwatched(bench, 1));
  bench.Render();
  const std::string whole = bench.seen().field;
  c.report.Expect(whole.size() == kWidth * kHeight * sizeof(float), "no field was seen");
  const auto compare = [&](const PF_LRect& part) {
    const std::string what = "part:" + std::to_string(part.left) + "," + std::to_string(part.top) +
                             "," + std::to_string(part.right) + "," + std::to_string(part.bottom);
    if (!c.Tries(what)) return;
    hosting::RenderOptions options = Unwatched(bench, 1);
    options.region = part;
    bench.Use(Setup(bench), options);
    const Outcome outcome = bench.Render();
    c.report.Expect(outcome.code == 0 && outcome.breach.empty(),
                    "gave " + std::to_string(outcome.code) + " " + outcome.breach);
    const std::string& field = bench.seen().field;
    const auto row = static_cast<std::size_t>(part.right - part.left) * sizeof(float);
    if (field.size() != row * static_cast<std::size_t>(part.bottom - part.top)) {
      return c.report.Fail("a field of another size");
    }
    std::size_t differing = 0;
    for (A_long y = part.top; y < part.bottom; ++y) {
      const char* const ours = field.data() + row * static_cast<std::size_t>(y - part.top);
      const char* const theirs =
          whole.data() + sizeof(float) * static_cast<std::size_t>(y * kWidth + part.left);
      for (std::size_t i = 0; i < row; i += sizeof(float)) {
        differing += std::memcmp(ours + i, theirs + i, sizeof(float)) != 0;
      }
    }
    c.report.Count("cells", field.size() / sizeof(float));
    c.report.Expect(differing == 0, std::to_string(differing) + " cells differ");
  };
  // Every way to cut the layer in four, from a coarse grid and its odd neighbours.
  for (const A_long x : {1, 8, 21, 32, 63}) {
    for (const A_long y : {1, 11, 20, 39}) {
      for (const PF_LRect& part : {PF_LRect{0, 0, x, y}, PF_LRect{x, 0, kWidth, y},
                                   PF_LRect{0, y, x, kHeight}, PF_LRect{x, y, kWidth, kHeight}}) {
        compare(part);
      }
    }
  }
}

}  // namespace validate
