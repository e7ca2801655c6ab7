// Values that no sensible host gives. The effect must neither crash nor hang nor break the rules,
// and must not look outside its layer.
#include <climits>
#include <cmath>
#include <ctime>
#include <limits>
#include <map>
#include <random>

#include "bench.h"
#include "checks.h"
#include "fault.h"

namespace validate {
namespace {

/// A frame under watch: every sample taken lies in the layer. Frames that ask without end are ended
/// by a host that throws at last.
class Watched {
 public:
  explicit Watched(const Case& of) : case_(of), bench_(of.plugin, of.config) {
    bench_.observer = [this](const hosting::Call& call) { return Observe(call); };
    hosting::RenderOptions options = bench_.Options();
    options.layout.guards = false;
    bench_.Use(StrokeSetup(bench_.effect(), of.config), options);
  }

  Bench& bench() { return bench_; }

  /// Samples stay that far from the layer's right and lower edge, in buffer pixels: one layer unit,
  /// which is less than a pixel where the frame is reduced.
  double margin = 1;

  /// Renders; returns whether it was not ended by the host.
  bool Render() {
    check_outs_ = 0;
    stray_.clear();
    layer_width_ = bench_.setup().width;
    layer_height_ = bench_.setup().height;
    const std::clock_t start = std::clock();
    const Outcome outcome = bench_.Render();
    const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    const bool ended = check_outs_ > kMostCheckOuts;
    const PF_Err expected = ended ? kThrownCode : PF_Err_NONE;
    Expect(outcome.code == expected,
           "gave " + std::to_string(outcome.code) + ", not " + std::to_string(expected));
    Expect(outcome.breach.empty(), outcome.breach);
    Expect(stray_.empty(), stray_ + " looks outside the layer");
    Expect(seconds < kMostSeconds, "took " + std::to_string(seconds) + " s");
    return !ended;
  }

  void Expect(bool condition, const std::string& what) { case_.report.Expect(condition, what); }

 private:
  // Far more than any of these frames needs, and soon reached.
  static constexpr int kMostCheckOuts = 20000;
  static constexpr double kMostSeconds = 0.5;  // of the processor

  PF_Err Observe(const hosting::Call& call) {
    switch (call.kind) {
      case hosting::CallKind::kCheckoutParam:
        if (++check_outs_ > kMostCheckOuts) throw int{kThrownCode};
        break;
      case hosting::CallKind::kAreaSample8:
      case hosting::CallKind::kAreaSample16:
      case hosting::CallKind::kAreaSampleFloat: {
        const double x = std::get<double>(call.arguments[0].value);
        const double y = std::get<double>(call.arguments[1].value);
        if (!(x >= 0 && y >= 0 && x <= layer_width_ - margin && y <= layer_height_ - margin)) {
          stray_ = call.Text();
        }
        break;
      }
      default:
        break;
    }
    return PF_Err_NONE;
  }

  const Case& case_;
  Bench bench_;
  int check_outs_ = 0;
  int layer_width_ = 0;
  int layer_height_ = 0;
  std::string stray_;
};

bool IsClear(const std::string& output) {
  return output.find_first_not_of('\0') == std::string::npos;
}

bool IsUntouched(const std::string& output) {
  return output.find_first_not_of('\xFF') == std::string::npos;
}

/// Values of a control's record that are to be tried: limits, just beyond them, and the extremes.
std::vector<PF_Fixed> Extremes(const hosting::ControlInfo& control) {
  std::vector<PF_Fixed> values{INT_MIN, INT_MAX, -1, 0, 1};
  if (control.type == hosting::ControlType::kPopup) values.push_back(3);
  if (control.type == hosting::ControlType::kSlider) {
    const PF_FixedSliderDef& slider = control.record.u.fd;
    for (const PF_Fixed limit : {slider.valid_min, slider.valid_max}) {
      for (const int beyond : {-1, 0, 1}) values.push_back(limit + beyond);
    }
  }
  return values;
}

void Put(PF_Fixed value, hosting::ControlType type, bool odd, PF_ParamDef& param) {
  switch (type) {
    case hosting::ControlType::kSlider:
      param.u.fd.value = value;
      break;
    case hosting::ControlType::kAngle:
      param.u.ad.value = value;
      break;
    case hosting::ControlType::kPopup:
      param.u.pd.value = value;
      break;
    case hosting::ControlType::kColor: {
      const auto channel = static_cast<A_u_char>(value);
      param.u.cd.value = {channel, channel, channel, channel};
      break;
    }
    case hosting::ControlType::kPoint:
      // There and back between two read-outs: the longest way that a brush can go.
      param.u.td.x_value = odd ? value : static_cast<PF_Fixed>(~static_cast<A_u_long>(value));
      param.u.td.y_value = value;
      break;
    default:
      break;
  }
}

}  // namespace

void CheckControlValues(const Case& c) {
  Watched watched(c);
  for (const hosting::ControlInfo& control : watched.bench().effect().controls()) {
    if (!control.has_value()) continue;
    for (const PF_Fixed value : Extremes(control)) {
      if (!c.Tries(control.name + "=" + std::to_string(value))) continue;
      bool odd = false;
      watched.bench().interposer().changes.control = [&](A_long index, PF_ParamDef& param) {
        if (index == control.index) Put(value, control.type, odd = !odd, param);
      };
      watched.Render();
    }
  }
}

void CheckMixes(const Case& c) {
  constexpr int kMixes = 3000;
  Watched watched(c);
  Interposer::Changes& changes = watched.bench().interposer().changes;
  const auto& controls = watched.bench().effect().controls();
  for (int mix = 0; mix < kMixes; ++mix) {
    if (!c.Tries("mix " + std::to_string(mix))) continue;
    std::mt19937 lots(c.seed * 1000003u + static_cast<unsigned>(mix));
    const auto one_of = [&](const auto& values) { return values[lots() % std::size(values)]; };
    std::map<A_long, PF_Fixed> values;
    for (const hosting::ControlInfo& control : controls) {
      if (control.has_value() && lots() % 3 == 0) values[control.index] = one_of(Extremes(control));
    }
    bool odd = false;
    changes.control = [&](A_long index, PF_ParamDef& param) {
      const auto at = values.find(index);
      if (at == values.end()) return;
      Put(at->second, controls[static_cast<std::size_t>(index) - 1].type, odd = !odd, param);
    };
    static constexpr A_long kLongs[]{0, -1, 1, 2, 1024, 4096, INT_MIN, INT_MAX};
    static constexpr A_u_long kScales[]{0, 1, 2, 30720, 0x80000000u, 0xFFFFFFFFu};
    const PF_InData drawn = [&] {
      PF_InData in{};
      in.current_time = one_of(kLongs);
      in.local_time_step = in.time_step = one_of(kLongs);
      in.time_scale = one_of(kScales);
      in.downsample_x = {one_of(kLongs), one_of(kScales)};
      in.downsample_y = {one_of(kLongs), one_of(kScales)};
      in.pixel_aspect_ratio = {one_of(kLongs), one_of(kScales)};
      return in;
    }();
    const bool other_time = lots() % 2 == 0;
    const bool other_scale = lots() % 2 == 0;
    watched.margin = other_scale ? 0 : 1;
    changes.in_data = [&](PF_Cmd cmd, PF_InData& in) {
      if (cmd != PF_Cmd_RENDER && cmd != PF_Cmd_SMART_RENDER) return;
      if (other_time) {
        in.current_time = drawn.current_time;
        in.local_time_step = in.time_step = drawn.local_time_step;
        in.time_scale = drawn.time_scale;
      }
      if (other_scale) {
        in.downsample_x = drawn.downsample_x;
        in.downsample_y = drawn.downsample_y;
        in.pixel_aspect_ratio = drawn.pixel_aspect_ratio;
      }
    };
    watched.Render();
  }
}

void CheckTimes(const Case& c) {
  Watched watched(c);
  Interposer::Changes& changes = watched.bench().interposer().changes;
  // The longest span that the control has.
  changes.control = [](A_long index, PF_ParamDef& param) {
    if (index == 4) param.u.fd.value = 3000 << 16;
  };
  for (const A_long time : {0, -1, 4096, INT_MIN, INT_MAX}) {
    for (const A_long local_step : {0, -1, 1, 1024, INT_MIN, INT_MAX}) {
      for (const A_long step : {local_step, A_long{0}, A_long{-1}}) {
        for (const A_u_long scale : {0u, 1u, 30720u, 0x80000000u, 0xFFFFFFFFu}) {
          if (!c.Tries("time " + std::to_string(time) + " step " + std::to_string(step) +
                       " local " + std::to_string(local_step) + " scale " +
                       std::to_string(scale))) {
            continue;
          }
          changes.in_data = [&](PF_Cmd cmd, PF_InData& in) {
            if (cmd != PF_Cmd_RENDER && cmd != PF_Cmd_SMART_RENDER) return;
            in.current_time = time;
            in.time_step = step;
            in.local_time_step = local_step;
            in.time_scale = scale;
          };
          const bool whole = watched.Render();
          const Interposer::Seen& seen = watched.bench().seen();
          if (local_step <= 0 || scale == 0) {
            watched.Expect(!seen.pass_begun && IsClear(seen.output),
                           "a frame without length is not clear");
          }
          // All that lies before time 0 is passed over at once.
          if (time <= 0) watched.Expect(whole, "asks on and on");
        }
      }
    }
  }
}

void CheckScales(const Case& c) {
  Watched watched(c);
  using Scale = PF_RationalScale PF_InData::*;
  const std::pair<const char*, std::vector<Scale>> places[]{
      {"downsample x", {&PF_InData::downsample_x}},
      {"downsample y", {&PF_InData::downsample_y}},
      {"downsample", {&PF_InData::downsample_x, &PF_InData::downsample_y}},
      {"aspect", {&PF_InData::pixel_aspect_ratio}},
      {"all",
       {&PF_InData::downsample_x, &PF_InData::downsample_y, &PF_InData::pixel_aspect_ratio}}};
  for (const auto& [name, scales] : places) {
    for (const A_long num : {0, -1, 1, 2, INT_MIN, INT_MAX}) {
      for (const A_u_long den : {0u, 1u, 2u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        if (!c.Tries(std::string(name) + " " + std::to_string(num) + "/" + std::to_string(den))) {
          continue;
        }
        watched.bench().interposer().changes.in_data = [&, to = &scales](PF_Cmd, PF_InData& in) {
          for (const Scale scale : *to) in.*scale = {num, den};
        };
        watched.Render();
      }
    }
  }
}

void CheckSizes(const Case& c) {
  Bench bench(c.plugin, c.config);
  constexpr int kLong = hosting::kMaxSide;
  const std::pair<int, int> sizes[]{{1, 1},  {1, 2},     {2, 1},     {2, 2}, {2, 3},
                                    {3, 2},  {3, 3},     {1, 3},     {3, 1}, {1, 50},
                                    {50, 1}, {kLong, 1}, {1, kLong}, {7, 5}};
  for (const auto& [width, height] : sizes) {
    for (const int alignment : {4, 64}) {
      for (const bool upward : {false, true}) {
        for (const bool high : {false, true}) {
          // Long sides take long, for guards stand around every row.
          const bool is_long = std::max(width, height) > 1000;
          if (is_long && (upward != high || upward != (alignment == 4))) continue;
          if (!c.Tries(std::to_string(width) + "x" + std::to_string(height) + " rows " +
                       std::to_string(alignment) + (upward ? " upward" : " downward") +
                       (high ? " high" : " low"))) {
            continue;
          }
          hosting::RenderOptions options = bench.Options();
          options.layout.alignment = alignment;
          options.layout.bottom_up = upward;
          options.high_quality = high;
          hosting::Setup setup = StrokeSetup(bench.effect(), c.config, width, height);
          if (is_long) {
            setup.controls.Set("Density", hosting::Track<double>(0.02));
            setup.controls.Set("Stroke Width", hosting::Track<double>(2.0));
          }
          bench.Use(std::move(setup), options);
          const Outcome outcome = bench.Render();
          c.report.Expect(outcome.code == 0, "gave " + std::to_string(outcome.code));
          c.report.Expect(outcome.breach.empty(), outcome.breach);
          c.report.Expect(bench.seen().cleared, "the output was not cleared before the pass");
        }
      }
    }
  }
}

void CheckSmartWorlds(const Case& c) {
  Bench bench(c.plugin, c.config);
  Interposer::Changes& changes = bench.interposer().changes;
  enum class After { kUntouched, kClear };
  const auto render = [&](const std::string& what, PF_Err code, After after) {
    if (c.Tries(what)) {
      const Outcome outcome = bench.Render();
      c.report.Expect(outcome.code == code, "gave " + std::to_string(outcome.code));
      c.report.Expect(outcome.breach.empty(), outcome.breach);
      const Interposer::Seen& seen = bench.seen();
      c.report.Expect(!seen.output.empty(), "no output was seen");
      c.report.Expect(after == After::kClear ? IsClear(seen.output) : IsUntouched(seen.output),
                      "the output is otherwise");
      c.report.Expect(!seen.pass_begun, "it drew");
    }
    changes = {};
  };

  changes.suite = [](std::string_view name, int version, const void* table) -> const void* {
    static constexpr PF_WorldSuite2 kOdd{nullptr, nullptr,
                                         [](const PF_EffectWorld*, PF_PixelFormat* format) {
                                           *format = 0x12345678;
                                           return PF_Err{PF_Err_NONE};
                                         }};
    return name == kPFWorldSuite && version == 2 ? &kOdd : table;
  };
  render("unknown format", PF_Err_BAD_CALLBACK_PARAM, After::kUntouched);
  if (!c.config.smart) return;

  changes.no_input = true;
  render("no input", 0, After::kUntouched);
  changes.no_output = true;
  render("no output", 0, After::kUntouched);
  for (const PF_LRect rect : {PF_LRect{}, PF_LRect{5, 0, 5, 9}, PF_LRect{0, 7, 9, 7},
                              PF_LRect{9, 9, 1, 1}, PF_LRect{INT_MAX, 0, INT_MIN, 9}}) {
    changes.request = [&](PF_RenderRequest& request) { request.rect = rect; };
    render("empty request " + std::to_string(rect.left) + " " + std::to_string(rect.top), 0,
           After::kClear);
  }
  for (const bool of_input : {false, true}) {
    for (const bool wide : {false, true}) {
      for (const A_long size : {0, -1, INT_MIN}) {
        changes.worlds = [&](PF_EffectWorld& input, PF_EffectWorld& output) {
          PF_EffectWorld& world = of_input ? input : output;
          (wide ? world.width : world.height) = size;
        };
        render(std::string(of_input ? "input" : "output") + (wide ? " width " : " height ") +
                   std::to_string(size),
               0, After::kUntouched);
      }
    }
  }
}

void CheckFloatPixels(const Case& c) {
  constexpr int kWidth = 24;
  constexpr int kHeight = 16;
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  constexpr std::size_t kPixel = sizeof(PF_PixelFloat);
  Bench bench(c.plugin, c.config);
  bench.Render();
  const std::string usual = bench.seen().output;
  for (const float value : {kNaN, kInfinity, -kInfinity, 1e38f, -1e38f, 1e-42f, -1.0f, 0.0f}) {
    for (const int channel : {0, 1, 3}) {
      if (!c.Tries("channel " + std::to_string(channel) + "=" + std::to_string(value))) continue;
      std::vector<float> pixels(std::size_t{4} * kWidth * kHeight, 0.5f);
      for (std::size_t i = static_cast<std::size_t>(channel); i < pixels.size(); i += 4) {
        pixels[i] = value;
      }
      bench.Use(StrokeSetup(bench.effect(), c.config, {kWidth, kHeight, std::move(pixels)}),
                bench.Options());
      const Outcome outcome = bench.Render();
      c.report.Expect(outcome.code == 0, "gave " + std::to_string(outcome.code));
      c.report.Expect(outcome.breach.empty(), outcome.breach);
      const std::string& output = bench.seen().output;
      for (std::size_t i = 0; i + kPixel <= output.size(); i += kPixel) {
        if (IsClear(usual.substr(i, kPixel)) && !IsClear(output.substr(i, kPixel))) {
          c.report.Fail("drew outside the stroke");
          break;
        }
      }
    }
  }
}

}  // namespace validate
