#include "probe.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cmath>
#include <cstring>
#include <functional>
#include <type_traits>

#include "pf_smart.h"
#include "pf_suites.h"

namespace validate {

Probe::Plan Probe::plan;
std::vector<std::string> Probe::findings;
int Probe::promises = 0;

namespace {

constexpr int kWidth = 21;
constexpr int kHeight = 13;
constexpr int kSlider = 1;  // indices of the controls
constexpr int kPoint = 2;
constexpr int kPopup = 3;
constexpr double kSlope = 10.0;  // of the slider, a second, from 0 s to 1 s
constexpr hosting::Point kPlace{3.25, 4.5};
constexpr PF_Err kPixelCode = 77;

void Expect(bool kept, const std::string& promise) {
  ++Probe::promises;
  std::vector<std::string>& told = Probe::findings;
  if (!kept && std::find(told.begin(), told.end(), promise) == told.end()) told.push_back(promise);
}

/// Whether a colour channel of the layer is full there, or else empty: exact at every depth.
bool Full(int x, int y, int channel) { return ((7 * x + 13 * y + 5 * channel) / 3) % 2 == 1; }

template <class Pixel>
constexpr auto kWhite = std::is_same_v<Pixel, PF_Pixel> ? 255 : 32768;
template <>
constexpr auto kWhite<PF_PixelFloat> = 1.0f;

template <class Pixel>
bool IsLayers(const Pixel& pixel, int x, int y) {
  const auto is = [](auto value, bool full) { return value == (full ? kWhite<Pixel> : 0); };
  return is(pixel.alpha, true) && is(pixel.red, Full(x, y, 0)) && is(pixel.green, Full(x, y, 1)) &&
         is(pixel.blue, Full(x, y, 2));
}

template <class Pixel>
Pixel* At(const PF_EffectWorld& world, int x, int y) {
  return reinterpret_cast<Pixel*>(reinterpret_cast<char*>(world.data) +
                                  static_cast<std::ptrdiff_t>(world.rowbytes) * y) +
         x;
}

template <class Pixel>
bool AllPixels(const PF_EffectWorld& world, const std::function<bool(const Pixel&, int, int)>& is) {
  for (int y = 0; y < world.height; ++y) {
    for (int x = 0; x < world.width; ++x) {
      if (!is(*At<Pixel>(world, x, y), x, y)) return false;
    }
  }
  return true;
}

template <class Pixel>
bool AllBytes(const PF_EffectWorld& world, int byte) {
  Pixel same;
  std::memset(&same, byte, sizeof same);
  return AllPixels<Pixel>(world, [&](const Pixel& p, int, int) {
    return std::memcmp(&p, &same, sizeof same) == 0;  // NOLINT
  });
}

bool Apart(const PF_EffectWorld& a, const PF_EffectWorld& b) {
  const auto ends = [](const PF_EffectWorld& world) {
    const auto first = reinterpret_cast<std::uintptr_t>(At<PF_Pixel>(world, 0, 0));
    const auto last = reinterpret_cast<std::uintptr_t>(At<PF_Pixel>(world, 0, world.height - 1));
    return std::pair(std::min(first, last), std::max(first, last));
  };
  return ends(a).second < ends(b).first || ends(b).second < ends(a).first;
}

/// One render, as the effect sees it.
template <class Pixel>
class Look {
 public:
  Look(PF_InData& in, PF_EffectWorld& input, PF_EffectWorld& output)
      : in_(in), input_(input), output_(output) {}

  PF_Err All() {
    AtTime();
    AtWorlds();
    AtControls();
    AtArithmetic();
    AtSuites();
    AtScratchWorlds();
    AtSamples();
    return AtPass();
  }

 private:
  void AtTime() const {
    Expect(in_.width == kWidth && in_.height == kHeight, "PF_InData has the layer's size");
    Expect(in_.current_time == Probe::plan.time, "PF_InData has the frame's time");
    Expect(in_.time_step > 0 && in_.local_time_step == in_.time_step && in_.time_scale > 0,
           "PF_InData has a frame's length");
  }

  void AtWorlds() const {
    const PF_LRect& region = Probe::plan.region;
    Expect(output_.width == region.right - region.left &&
               output_.height == region.bottom - region.top && output_.origin_x == region.left &&
               output_.origin_y == region.top,
           "the output covers what was asked for");
    Expect(input_.width == kWidth && input_.height == kHeight, "the input is the whole layer");
    for (const PF_EffectWorld* world : {&input_, &output_}) {
      Expect(std::abs(world->rowbytes) > world->width * static_cast<int>(sizeof(Pixel)),
             "rows are padded");
    }
    Expect(Apart(input_, output_), "input and output lie apart");
    Expect(AllPixels<Pixel>(input_, IsLayers<Pixel>), "the input holds the layer's pixels");
  }

  /// The control's record at that time; given back before it is returned.
  PF_Err Read(int index, A_long time, PF_ParamDef& record) const {
    const auto& inter = in_.inter;
    const PF_Err err =
        inter.checkout_param(in_.effect_ref, index, time, in_.time_step, in_.time_scale, &record);
    inter.checkin_param(in_.effect_ref, &record);
    return err;
  }

  void AtControls() const {
    const auto second = static_cast<A_long>(in_.time_scale);
    PF_ParamDef record{};
    for (const A_long time : {INT_MIN, -second, 0, second / 4, second / 2, 3 * second, INT_MAX}) {
      const double seconds = std::clamp(static_cast<double>(time) / second, 0.0, 1.0);
      Expect(Read(kSlider, time, record) == 0 &&
                 record.u.fd.value == std::lround(seconds * kSlope * 65536),
             "a slider is answered for any time");
    }
    Expect(Read(kPoint, 0, record) == 0 && record.u.td.x_value == kPlace.x * 65536 &&
               record.u.td.y_value == kPlace.y * 65536,
           "a point is answered in buffer pixels");
    Expect(Read(kPopup, 0, record) == 0 && record.u.pd.value == 2, "a popup is answered");
    Expect(Read(kPopup + 1, 0, record) != 0, "a control that is not there is refused");
  }

  void AtArithmetic() const {
    const PF_ANSICallbacks& ansi = in_.utils->ansi;
    bool exact = true;
    for (const double v : {0.0, 0.3, 1.0, 2.5, 1e6}) {
      exact = exact && ansi.sqrt(v) == std::sqrt(v) && ansi.sin(v) == std::sin(v) &&
              ansi.cos(v) == std::cos(v) && ansi.pow(v, 1.7) == std::pow(v, 1.7);
    }
    Expect(exact, "arithmetic is the C library's");
    char text[16];
    ansi.sprintf(text, "%s %d", "a", 7);
    Expect(std::strcmp(text, "a 7") == 0, "sprintf formats");
  }

  const void* Acquire(const char* name, int version) const {
    const void* table = nullptr;
    const SPErr err = in_.pica_basicP->AcquireSuite(name, version, &table);
    return err == 0 ? table : nullptr;
  }
  void Release(const char* name, int version) const {
    in_.pica_basicP->ReleaseSuite(name, version);
  }

  void AtSuites() const {
    Expect(Acquire("PF No Such Suite", 1) == nullptr, "a suite that is not there is refused");
    Expect(Acquire(kPFWorldSuite, 3) == nullptr, "a version that is not there is refused");
    const void* const one = Acquire(kPFWorldSuite, 1);
    Expect(one != nullptr && one == Acquire(kPFWorldSuite, 1), "a suite is one table");
    const auto* const two = static_cast<const PF_WorldSuite2*>(Acquire(kPFWorldSuite, 2));
    Expect(two != one, "versions are tables of their own");
    PF_PixelFormat format = PF_PixelFormat_INVALID;
    two->PF_GetPixelFormat(&output_, &format);
    Expect(format == hosting::FormatOf(Probe::plan.depth), "the output's format is told");
    for (const int version : {1, 1, 2}) Release(kPFWorldSuite, version);
  }

  void AtScratchWorlds() const {
    const auto& suite = *static_cast<const PF_WorldSuite2*>(Acquire(kPFWorldSuite, 2));
    PF_EffectWorld a{};
    PF_EffectWorld b{};
    const PF_PixelFormat format = hosting::FormatOf(Probe::plan.depth);
    suite.PF_NewWorld(in_.effect_ref, 9, 5, 1, format, &a);
    suite.PF_NewWorld(in_.effect_ref, 7, 6, 0, format, &b);
    Expect(a.width == 9 && a.height == 5 && b.width == 7 && b.height == 6,
           "new worlds have the size asked for");
    Expect(AllBytes<Pixel>(a, 0), "a new world is cleared when asked");
    Expect(Apart(a, b) && Apart(a, input_) && Apart(a, output_), "new worlds lie apart");
    for (const auto& [world, byte] : {std::pair(&a, 0x11), {&b, 0x22}}) {
      for (int y = 0; y < world->height; ++y) {
        std::memset(At<Pixel>(*world, 0, y), byte,
                    static_cast<std::size_t>(world->width) * sizeof(Pixel));
      }
    }
    Expect(AllBytes<Pixel>(a, 0x11) && AllBytes<Pixel>(b, 0x22), "worlds keep what is written");
    in_.utils->fill(in_.effect_ref, nullptr, nullptr, &a);
    Expect(AllBytes<Pixel>(a, 0) && AllBytes<Pixel>(b, 0x22), "fill clears all of its world");
    if constexpr (std::is_same_v<Pixel, PF_Pixel>) {
      const PF_Pixel color{0x33, 0x33, 0x33, 0x33};
      in_.utils->fill(in_.effect_ref, &color, nullptr, &b);
      Expect(AllBytes<Pixel>(b, 0x33), "fill paints all of its world");
    }
    suite.PF_DisposeWorld(in_.effect_ref, &a);
    suite.PF_DisposeWorld(in_.effect_ref, &b);
    Release(kPFWorldSuite, 2);
  }

  void AtSamples() const {
    static constexpr const char* kName = std::is_same_v<Pixel, PF_Pixel> ? kPFSampling8Suite
                                         : std::is_same_v<Pixel, PF_Pixel16>
                                             ? kPFSampling16Suite
                                             : kPFSamplingFloatSuite;
    const auto& suite = *static_cast<const PF_SamplingSuite<Pixel>*>(Acquire(kName, 1));
    const PF_SampPB box{32768, 32768, 65536, &input_};
    for (const auto& [x, y] : {std::pair(0, 0), {5, 7}, {kWidth - 1, kHeight - 1}}) {
      Pixel pixel{};
      const PF_Err err = suite.area_sample(in_.effect_ref, x << 16, y << 16, &box, &pixel);
      Expect(err == 0 && IsLayers(pixel, x, y), "a sample of one pixel is that pixel");
    }
    Release(kName, 1);
  }

  /// How often each pixel was visited, and whether at its own address.
  struct Visits {
    const PF_EffectWorld& world;
    std::vector<std::atomic<int>> counts;
    std::atomic<int> astray{0};
    bool fails = false;
  };

  static PF_Err Visit(void* refcon, A_long x, A_long y, Pixel*, Pixel* out) {
    auto& visits = *static_cast<Visits*>(refcon);
    const PF_EffectWorld& world = visits.world;
    if (x < 0 || y < 0 || x >= world.width || y >= world.height || out != At<Pixel>(world, x, y)) {
      ++visits.astray;
      return 0;
    }
    ++visits.counts[static_cast<std::size_t>(y) * static_cast<std::size_t>(world.width) +
                    static_cast<std::size_t>(x)];
    *out = {};
    return visits.fails && x == 1 && y == world.height / 2 ? kPixelCode : 0;
  }

  PF_Err Iterate(Visits& visits) const {
    const auto pass = [&](PF_IterateFunc<Pixel> iterate) {
      return iterate(&in_, 0, output_.height, nullptr, nullptr, &visits, Visit, &output_);
    };
    if constexpr (std::is_same_v<Pixel, PF_Pixel>) return pass(in_.utils->iterate);
    if constexpr (std::is_same_v<Pixel, PF_Pixel16>) return pass(in_.utils->iterate16);
    if constexpr (std::is_same_v<Pixel, PF_PixelFloat>) {
      const void* const suite = Acquire(kPFIterateFloatSuite, 1);
      const PF_Err err = pass(static_cast<const PF_iterateFloatSuite1*>(suite)->iterate);
      Release(kPFIterateFloatSuite, 1);
      return err;
    }
  }

  PF_Err AtPass() const {
    const auto pixels =
        static_cast<std::size_t>(output_.width) * static_cast<std::size_t>(output_.height);
    Visits failing{output_, std::vector<std::atomic<int>>(pixels)};
    failing.fails = true;
    const PF_Err code = Iterate(failing);
    Expect(Probe::plan.cancelled || code == kPixelCode, "a pass returns its pixel's code");
    Visits visits{output_, std::vector<std::atomic<int>>(pixels)};
    const PF_Err err = Iterate(visits);
    const PF_Err progress = in_.inter.progress(in_.effect_ref, 1, 2);
    if (Probe::plan.cancelled) {
      Expect(err != 0 && progress != 0, "a pass is cancelled when the user asks");
      return err;
    }
    Expect(err == 0 && progress == 0, "a pass is not cancelled");
    Expect(visits.astray == 0 && std::all_of(visits.counts.begin(), visits.counts.end(),
                                             [](int count) { return count == 1; }),
           "a pass visits every pixel once, at its own place");
    return err;
  }

  PF_InData& in_;
  PF_EffectWorld& input_;
  PF_EffectWorld& output_;
};

PF_Err Render(PF_InData& in, PF_EffectWorld& input, PF_EffectWorld& output) {
  switch (Probe::plan.depth) {
    case hosting::Depth::k8:
      return Look<PF_Pixel>(in, input, output).All();
    case hosting::Depth::k16:
      return Look<PF_Pixel16>(in, input, output).All();
    default:
      return Look<PF_PixelFloat>(in, input, output).All();
  }
}

PF_Err AddControls(PF_InData& in, PF_OutData& out) {
  PF_ParamDef slider{};
  slider.param_type = PF_Param_FIX_SLIDER;
  slider.u.fd.valid_max = slider.u.fd.slider_max = 100 << 16;
  PF_ParamDef point{};
  point.param_type = PF_Param_POINT;
  PF_ParamDef popup{};
  popup.param_type = PF_Param_POPUP;
  popup.u.pd = {1, 2, 1, {"One|Two"}};
  for (PF_ParamDef* const def : {&slider, &point, &popup}) {
    if (const PF_Err err = in.inter.add_param(in.effect_ref, -1, def); err != 0) return err;
  }
  out.num_params = 4;
  return 0;
}

PF_Err PreRender(const PF_InData& in, PF_PreRenderExtra& extra) {
  PF_RenderRequest request = extra.input->output_request;
  request.rect = {0, 0, kWidth, kHeight};
  PF_CheckoutResult result{};
  const PF_Err err = extra.cb->checkout_layer(in.effect_ref, 0, 5, &request, in.current_time,
                                              in.time_step, in.time_scale, &result);
  const PF_LRect& all = result.max_result_rect;
  Expect(all.left == 0 && all.top == 0 && all.right == kWidth && all.bottom == kHeight,
         "the layer's extent is told");
  extra.output->max_result_rect = all;
  extra.output->result_rect = extra.input->output_request.rect;
  return err;
}

PF_Err SmartRender(PF_InData& in, const PF_SmartRenderExtra& extra) {
  PF_EffectWorld* input = nullptr;
  PF_EffectWorld* output = nullptr;
  extra.cb->checkout_layer_pixels(in.effect_ref, 5, &input);
  extra.cb->checkout_output(in.effect_ref, &output);
  Expect(input != nullptr && output != nullptr, "worlds are lent");
  return input != nullptr && output != nullptr ? Render(in, *input, *output) : 0;
}

}  // namespace

PF_Err Probe::Entry(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                    PF_LayerDef* output, void* extra) {
  switch (cmd) {
    case PF_Cmd_PARAMS_SETUP:
      return AddControls(*in_data, *out_data);
    case PF_Cmd_RENDER:
      return Render(*in_data, params[0]->u.ld, *output);
    case PF_Cmd_SMART_PRE_RENDER:
      return PreRender(*in_data, *static_cast<PF_PreRenderExtra*>(extra));
    case PF_Cmd_SMART_RENDER:
      return SmartRender(*in_data, *static_cast<PF_SmartRenderExtra*>(extra));
    default:
      return 0;
  }
}

hosting::Setup Probe::LayerFor(const std::vector<hosting::ControlInfo>& controls) {
  std::vector<std::uint8_t> pixels;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      for (const int channel : {0, 1, 2}) pixels.push_back(Full(x, y, channel) ? 255 : 0);
      pixels.push_back(255);
    }
  }
  hosting::Setup setup;
  setup.width = kWidth;
  setup.height = kHeight;
  setup.picture = hosting::Still({kWidth, kHeight, std::move(pixels)});
  setup.controls = hosting::ControlTracks(controls, kWidth, kHeight);
  setup.controls.Set(kSlider, hosting::Track<double>(
                                  {{.seconds = 0, .value = 0.0}, {.seconds = 1, .value = kSlope}}));
  setup.controls.Set(kPoint, hosting::Track<hosting::Point>(kPlace));
  setup.controls.Set(kPopup, hosting::Track<int>(2));
  return setup;
}

}  // namespace validate
