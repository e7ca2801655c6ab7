#include <algorithm>
#include <cmath>
#include <random>

#include "situation.h"

namespace testhost {
namespace {

PF_Fixed Fixed(double v) { return static_cast<PF_Fixed>(v * 65536); }
Track Constant(double v) { return {Fixed(v), Fixed(v), 0, 1}; }

// The place of a control in params.
enum : std::size_t {
  kBrush = 1,
  kWidth = 2,
  kDensity = 3,
  kSpan = 4,
  kReflection = 5,
  kStrength = 6,
  kStyle = 8,
  kWobbleWidth = 9,
  kWobbleHeight = 10,
  kWobbleSpeed = 11,
  kUsing = 14,
  kIntensity = 15,
  kColor = 16,
  kType = 17,
  kHeight = 18,
  kPosition = 19,
  kDirection = 20,
  kAmbient = 23,
  kDiffuse = 24,
  kSpecular = 25,
  kRoughness = 26,
  kMetal = 27
};

class Dice {
 public:
  explicit Dice(const NextNumber& next) : next_(next) {}

  int Int(int from, int to) {
    return from + static_cast<int>(next_() % static_cast<std::uint32_t>(to - from + 1));
  }
  double Real(double from, double to) { return from + (to - from) * (next_() % 65536) / 65536.0; }
  bool Once(int in) { return Int(1, in) == 1; }
  template <class Value>
  Value Of(std::initializer_list<Value> values) {
    return values.begin()[Int(0, static_cast<int>(values.size()) - 1)];
  }

 private:
  const NextNumber& next_;
};

void DrawTimes(Dice& dice, Situation& s) {
  s.local_time_step = dice.Once(20) ? dice.Of<A_long>({0, -1001, INT32_MAX})
                                    : dice.Of<A_long>({1, 7, 100, 1000, 1001, 1001, 1024, 30000});
  s.time_step = dice.Once(3) ? dice.Of<A_long>({512, 1001, 2048, -1024, 0}) : s.local_time_step;
  s.time_scale = dice.Once(20) ? dice.Of<A_u_long>({0, 0xF0000000u})
                               : dice.Of<A_u_long>({30000, 30720, 24576, 25, 600});
  // From a few frames in: whole frames, between them, and before the layer begins.
  const A_long frame = std::clamp(s.local_time_step, -30000, 30000);
  s.current_time = dice.Int(0, 9) * std::abs(frame);
  if (dice.Once(2)) s.current_time += dice.Int(0, std::max(1, std::abs(frame)) - 1);
  if (dice.Once(20)) s.current_time = -s.current_time - 3;
  s.shutter_angle = dice.Once(2) ? 0 : Fixed(180);
}

void DrawWorlds(Dice& dice, Situation& s) {
  const auto scale = [&]() -> PF_RationalScale {
    return dice.Of<PF_RationalScale>({{1, 1}, {1, 1}, {1, 2}, {1, 3}, {2, 3}, {2, 1}});
  };
  s.downsample_x = scale();
  s.downsample_y = dice.Once(2) ? s.downsample_x : scale();
  s.pixel_aspect = dice.Of<PF_RationalScale>({{1, 1}, {1, 1}, {2, 1}, {10, 11}, {1, 2}});
  if (dice.Once(60)) s.pixel_aspect = {0x7FFFFFFF, 0x80000001u};
  if (dice.Once(60)) s.downsample_x = {0x60000000, 0xC0000000u};
  s.width = dice.Once(8) ? dice.Int(1, 4) : dice.Int(6, 40);
  s.height = dice.Once(8) ? dice.Int(1, 4) : dice.Int(6, 30);
  const auto world = [&](bool whole) -> World {
    World w;
    const auto scaled = [](A_long size, const PF_RationalScale& by) {
      return std::max<A_long>(
          1, std::min<A_long>(24, static_cast<A_long>(double(size) * by.num / by.den)));
    };
    w.width = whole ? scaled(s.width, s.downsample_x) : dice.Int(1, 16);
    w.height = whole ? scaled(s.height, s.downsample_y) : dice.Int(1, 12);
    if (!whole || dice.Once(3)) {
      w.origin_x = dice.Int(-5, 9);
      w.origin_y = dice.Int(-4, 7);
    }
    w.padding = dice.Of({0, 4, 16, 60});
    w.upward = dice.Once(4);
    return w;
  };
  s.input = world(dice.Int(1, 4) != 1);
  s.output = world(dice.Once(3));
  if (dice.Once(30)) s.input.null = true;
  if (dice.Once(30)) s.output.null = true;
  if (dice.Once(25))
    dice.Of({&s.input.width, &s.input.height, &s.output.height})[0] = dice.Int(-1, 0);
  s.format = dice.Of({PF_PixelFormat_ARGB32, PF_PixelFormat_ARGB64, PF_PixelFormat_ARGB128});
  s.world_flags = s.format == PF_PixelFormat_ARGB64 ? PF_WorldFlag_DEEP : 0;
  if (dice.Once(40)) s.world_flags ^= PF_WorldFlag_DEEP;
  if (dice.Once(40)) s.format = dice.Of<PF_PixelFormat>({PF_PixelFormat_INVALID, 0, 0x12345678});
}

void DrawControls(Dice& dice, Situation& s) {
  const auto track = [&](double from, double to, double often) {
    // Every second control moves, over a part of the time or all of it.
    Track t = Constant(dice.Once(3) ? often : dice.Real(from, to));
    if (dice.Once(2)) {
      t.last = Fixed(dice.Real(from, to));
      t.start = dice.Int(-3000, 3000);
      t.end = t.start + dice.Int(1, 12000);
    }
    return t;
  };
  const auto popup = [&] {
    const int choice = dice.Once(12) ? dice.Of({-1, 0, 3}) : dice.Int(1, 2);
    return Track{choice, choice, 0, 1};
  };
  const double w = s.width * double(s.downsample_x.num) / s.downsample_x.den;
  const double h = s.height * double(s.downsample_y.num) / s.downsample_y.den;
  s.controls[kBrush] = {track(-2, w + 2, w / 2), track(-2, h + 2, h / 2)};
  if (!dice.Once(8)) {  // it moves in the frames that are drawn
    Track& x = s.controls[kBrush].x;
    const A_long frame = std::clamp(std::abs(s.local_time_step), 1, 30000);
    x.last = Fixed(dice.Real(w / 2, w + 2));
    x.start = s.current_time - dice.Int(1, 6) * frame - dice.Int(0, 3);
    x.end = s.current_time + dice.Int(0, 2) * frame;
  }
  s.controls[kWidth].x = track(0, 300, 60);
  if (dice.Once(12)) s.controls[kWidth].x = track(0, 3, 0.1);
  s.controls[kDensity].x = dice.Once(20) ? Constant(0) : track(0, 200, 25);
  s.controls[kSpan].x = dice.Once(2) ? Constant(0) : track(0, 0.4, 0.1);
  s.controls[kReflection].x = track(0, 200, 100);
  s.controls[kStrength].x = dice.Once(20) ? Constant(0) : track(0, 100, 100);
  for (const auto i : {kStyle, kUsing, kType}) {
    s.controls[i].x = popup();
    s.popups_passed[i] = popup().first;
  }
  s.controls[kWobbleWidth].x = track(0, 40, 2.5);
  s.controls[kWobbleHeight].x = track(0, 40, 2.5);
  s.controls[kWobbleSpeed].x = track(0, 3000, 100);
  s.controls[kIntensity].x = dice.Once(20) ? Constant(0) : track(0, 1000, 100);
  const auto byte = [&] { return static_cast<A_u_char>(dice.Int(0, 255)); };
  s.controls[kColor].color = {byte(), byte(), byte(), byte()};
  s.controls[kHeight].x = track(-100, 100, 65);
  s.controls[kPosition] = {track(-w, 2 * w, w / 4), track(-h, 2 * h, h / 4)};
  s.controls[kDirection].x = track(-400, 400, -45);
  s.controls[kAmbient].x = track(0, 200, 100);
  s.controls[kDiffuse].x = track(0, 100, 25);
  s.controls[kSpecular].x = track(0, 100, 100);
  s.controls[kRoughness].x = track(0.001, dice.Once(10) ? 4 : 0.5, 0.025);
  s.controls[kMetal].x = track(0, 100, 100);
  const auto channel = [&] { return static_cast<float>(dice.Real(-0.2, 1.6)); };
  s.float_color = {channel(), channel(), channel(), channel()};
}

/// A brush of so many whole samples a frame: their times fall on whole units, where every other way
/// to round shows.
void DrawWholeSamples(Dice& dice, Situation& s) {
  s.exact_math = true;
  s.local_time_step = s.time_step = dice.Of<A_long>({1001, 1000, 1024, 30000});
  s.current_time = dice.Int(3, 9) * s.local_time_step;
  s.downsample_x = s.downsample_y = s.pixel_aspect = {1, 1};
  const int samples = dice.Of({3, 5, 6, 7, 9, 11, 13});
  const PF_Fixed start = Fixed(dice.Int(-60, 0));
  s.controls[kBrush] = {{start, start + Fixed(4 * 3 * samples),
                         s.current_time - 3 * s.local_time_step, s.current_time},
                        Constant(s.height / 2)};
  s.controls[kDensity].x = Constant(25);
}

Layer DrawLayer(Dice& dice, const Situation& s) {
  Layer layer;
  layer.null = dice.Once(12);
  layer.active = !dice.Once(6);
  layer.object = dice.Once(6) ? dice.Of({0, 2, 3}) : AEGP_ObjectType_LIGHT;
  layer.light = dice.Once(12) ? dice.Of({-1, 4}) : dice.Int(0, 3);
  // Any axes; the first column is not of length 1.
  for (auto& row : layer.world.mat) {
    for (double& v : row) v = dice.Real(-1.5, 1.5);
  }
  layer.world.mat[3][0] = dice.Real(-10, s.width + 10);
  layer.world.mat[3][1] = dice.Real(-10, s.height + 10);
  layer.world.mat[3][2] = dice.Real(-60, 5);
  layer.intensity = dice.Once(8) ? dice.Of({-50.0, 0.0}) : dice.Real(10, 200);
  for (double& c : layer.color) c = dice.Once(6) ? 0 : dice.Real(0, 1);
  layer.cone_angle = dice.Real(0, 180);
  layer.cone_feather = dice.Of({0.0, 0.5, 50.0, 100.0});
  return layer;
}

void DrawRules(Dice& dice, Situation& s) {
  const int rules = dice.Int(1, 5) < 4 ? 0 : dice.Once(4) ? dice.Int(2, 4) : 1;
  for (int i = 0; i < rules; ++i) {
    Rule rule;
    rule.callback = static_cast<Callback>(dice.Int(0, static_cast<int>(Callback::kCount) - 1));
    if (dice.Once(3)) {
      rule.callback = dice.Of({Callback::kCheckoutParam, Callback::kAcquire, Callback::kProgress,
                               Callback::kAreaSample, Callback::kCheckinParam});
    }
    rule.nth = dice.Once(2) ? dice.Int(0, 2) : dice.Int(0, 40);
    rule.misdeed = static_cast<Misdeed>(dice.Int(0, kMisdeeds - 1));
    rule.code = dice.Of<PF_Err>({1, 4, 77, 516, PF_Interrupt_CANCEL, -3});
    rule.from_then_on = dice.Once(4);
    s.rules.push_back(rule);
  }
}

}  // namespace

Situation Drawn(const NextNumber& next) {
  Dice dice(next);
  Situation s;
  s.command = !dice.Once(5) ? dice.Of({PF_Cmd_SMART_RENDER, PF_Cmd_SMART_RENDER, PF_Cmd_RENDER})
                            : dice.Of<PF_Cmd>({0, 1, 4, 13, 14, 18, 18, 23, 23, dice.Int(-3, 40)});
  s.has_basic_suite = !dice.Once(40);
  s.has_extra = !dice.Once(3);
  s.quality = dice.Of<PF_Quality>({0, 1, 1, 1, 2, -1});
  s.version = dice.Of<PF_SpecVersion>({{13, 0}, {12, 10}, {12, 11}, {11, 99}, {14, 2}, {12, 9}});
  DrawTimes(dice, s);
  DrawWorlds(dice, s);
  DrawControls(dice, s);
  if (dice.Once(8)) DrawWholeSamples(dice, s);
  const auto edge = [&] { return dice.Int(-6, 30); };
  s.request = {
      {edge(), edge(), edge() + 20, edge() + 20}, dice.Int(0, 2), dice.Int(0, 15), dice.Once(2)};
  if (s.command == PF_Cmd_SMART_RENDER && !dice.Once(15)) s.request.rect = {-3, 1, 30, 20};
  s.max_rect = {edge(), edge(), edge() + 15, edge() + 15};
  s.ui_flags = dice.Of({0, 0x20, 0x21});
  s.flags = dice.Of({0, 0x20, 0x42});
  if (s.command == PF_Cmd_UPDATE_PARAMS_UI) s.other_types = dice.Int(0, 14);
  s.has_effect_layer = !dice.Once(20);
  s.has_comp = !dice.Once(20);
  if (dice.Once(40)) s.scratch = static_cast<Scratch>(dice.Int(1, 4));
  const int layers = dice.Once(10) ? 25 : dice.Int(0, 6);
  for (int i = 0; i < layers; ++i) s.layers.push_back(DrawLayer(dice, s));
  s.out_flags = dice.Int(0, 0xFFFF);
  s.out_flags2 = dice.Int(0, 0xFFFF);
  s.odd_samples = dice.Once(10);
  s.message = std::string(static_cast<std::size_t>(dice.Once(2) ? 0 : dice.Int(1, 255)), 'm');
  DrawRules(dice, s);
  return s;
}

Situation Random(std::uint64_t seed) {
  std::mt19937 random(static_cast<std::uint32_t>(seed * 2654435761u));
  return Drawn([&] { return static_cast<std::uint32_t>(random()); });
}

Situation PlainFrame(PF_Cmd command, PF_PixelFormat format) {
  Situation s;
  s.command = command;
  s.format = format;
  s.world_flags = format == PF_PixelFormat_ARGB64 ? PF_WorldFlag_DEEP : 0;
  s.current_time = 3 * 1024;
  s.input = {16, 12, 0, 0, 4};
  s.output = {9, 7, 3, 2, 4};
  s.request = {{3, 2, 12, 9}, 0, 15, 0};
  s.max_rect = {0, 0, 16, 12};
  s.controls[kBrush] = {{Fixed(3), Fixed(12), 0, 4096}, {Fixed(9), Fixed(4), 0, 4096}};
  constexpr std::pair<std::size_t, double> kValues[] = {
      {kWidth, 100},      {kDensity, 25},      {kReflection, 100},  {kStrength, 100},
      {kWobbleWidth, 10}, {kWobbleHeight, 10}, {kWobbleSpeed, 100}, {kIntensity, 100},
      {kHeight, 65},      {kDirection, -45},   {kAmbient, 100},     {kDiffuse, 25},
      {kSpecular, 100},   {kRoughness, 0.025}, {kMetal, 100}};
  for (const auto& [index, value] : kValues) s.controls[index].x = Constant(value);
  for (const auto i : {kStyle, kUsing, kType}) {
    s.controls[i].x = {1, 1, 0, 1};
    s.popups_passed[i] = 1;
  }
  s.controls[kPosition] = {Constant(4), Constant(3)};
  return s;
}

}  // namespace testhost
