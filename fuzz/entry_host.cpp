#include "entry_host.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "invariant.h"

extern "C" PF_Err MainEntry(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                            PF_ParamDef* params[], PF_LayerDef* output, void* extra);

namespace fuzz {
namespace {

PF_ProgPtr const kRef = reinterpret_cast<PF_ProgPtr>(std::uintptr_t{0x5EED});
AEGP_CompH const kComp = reinterpret_cast<AEGP_CompH>(std::uintptr_t{0xC0});
constexpr PF_Err kEnough = 4713;  // thrown by a host that has been asked too often
constexpr int kMostQuestions = 400;
constexpr A_long kLastUpdated = 20;  // the control whose update gives a supervision's result

struct Foreign {};  // of no type that the effect could know

bool GivesBack(CallKind call) {
  return call == CallKind::kReleaseSuite || call == CallKind::kCheckinParam ||
         call == CallKind::kDisposeWorld;
}

/// Whether a failure of the call is the command's result.
bool IsReturned(CallKind call) {
  switch (call) {
    case CallKind::kAddParam:
    case CallKind::kProgress:
    case CallKind::kFill:
    case CallKind::kIterate:
    case CallKind::kCheckoutLayer:
    case CallKind::kCheckoutPixels:
    case CallKind::kCheckoutOutput:
    case CallKind::kNewWorld:
    case CallKind::kSample:
    case CallKind::kUpdateParamUI:
      return true;
    default:
      return false;
  }
}

/// Bytes that are not overwritten unnoticed, as far as a byte can tell.
constexpr char kPadding = '\x5A';

/// A world in a block of its own, so that the address sanitizer sees every step beside it.
struct World {
  World() = default;
  World(const WorldPlan& plan, int channel_bytes);
  /// For the effect: as it asked for.
  World(A_long width, A_long height) : World(WorldPlan{width, height, 0, 0, 8, false, false}, 1) {}

  std::size_t pixel_bytes = 4;
  std::size_t row_pixels = 0;  // bytes
  std::size_t stride = 1;
  std::vector<char> memory;
  PF_EffectWorld view{};

  char* Row(A_long y) const {
    return reinterpret_cast<char*>(view.data) + static_cast<std::ptrdiff_t>(view.rowbytes) * y;
  }
  bool PaddingIsSound() const {
    static const std::vector<char> kSound(4 * kMostPadding, kPadding);
    for (std::size_t at = row_pixels; at < memory.size(); at += stride) {
      if (std::memcmp(&memory[at], kSound.data(), stride - row_pixels) != 0) return false;
    }
    return true;
  }
};

World::World(const WorldPlan& plan, int channel_bytes)
    : pixel_bytes(static_cast<std::size_t>(4 * channel_bytes)) {
  const auto width = static_cast<std::size_t>(std::max(plan.width, 0));
  const auto height = static_cast<std::size_t>(std::max(plan.height, 0));
  row_pixels = width * pixel_bytes;
  stride = row_pixels + plan.padding * static_cast<std::size_t>(channel_bytes);
  memory.assign(stride * height, kPadding);
  memory.reserve(1);  // so that the smallest world has an address, too
  stride = std::max(stride, std::size_t{1});
  const bool flipped = plan.upward && height > 0;
  char* const first = memory.data() + (flipped ? stride * (height - 1) : 0);
  view.world_flags = channel_bytes == 2 ? PF_WorldFlag_DEEP : 0;
  view.data = reinterpret_cast<PF_Pixel*>(first);
  view.rowbytes = static_cast<A_long>(stride) * (flipped ? -1 : 1);
  view.width = plan.width;
  view.height = plan.height;
  view.origin_x = plan.origin_x;
  view.origin_y = plan.origin_y;
}

/// Fills the pixels, not the padding.
void Paint(World& world, unsigned pattern) {
  static constexpr float kFloats[]{0.0F,   0.5F,   1.0F,  -1.0F, 1e38F,
                                   -1e38F, 1e-42F, 40.0F, NAN,   INFINITY};
  std::uint32_t state = pattern + 1;
  for (A_long y = 0; y < world.view.height; ++y) {
    char* const row = world.Row(y);
    const std::size_t channel = world.pixel_bytes / 4;
    for (std::size_t at = 0; at < world.row_pixels; at += channel) {
      state = state * 1664525u + 1013904223u;
      if (channel == 4) {
        // The first patterns are ordinary pictures.
        const float f = pattern < 4 ? static_cast<float>(state >> 24) / 255.0F
                                    : kFloats[(state >> 24) % std::size(kFloats)];
        std::memcpy(row + at, &f, sizeof f);
      } else if (channel == 2) {
        const auto white = static_cast<std::uint16_t>(pattern < 4 ? 32769 : 65535);
        const auto value = static_cast<std::uint16_t>((state >> 16) % white);
        std::memcpy(row + at, &value, sizeof value);
      } else {
        row[at] = static_cast<char>(state >> 24);
      }
    }
  }
}

/// The one command that is running.
class Running {
 public:
  Running(const Plan& plan, const Command& command);
  ~Running() { now = nullptr; }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

  Result Run();
  PF_Err Arrive(CallKind call, bool matters = true);

  static Running* now;

  const Plan& plan;
  const Command& command;
  World input;
  World output;
  bool output_filled = false;
  std::vector<const PF_ParamDef*> check_outs;
  std::array<int, kSuites> acquired{};
  std::vector<std::unique_ptr<World>> worlds;  // made for the effect
  std::array<std::array<const void*, 8>, kSuites> tables{};

 private:
  PF_Err Strike(const Fault& fault, bool matters);
  void Decide(CallKind call, PF_Err code);
  void CheckCode(PF_Err code) const;
  bool IsOdd() const;

  std::array<std::uint32_t, kCallKinds> calls_{};
  int questions_ = 0;
  std::optional<PF_Err> decided_;
  CallKind decided_by_{};
  std::vector<PF_Err> swallowed_;  // thrown while giving back: may or may not have an effect
};

Running* Running::now = nullptr;

PF_Err Running::Arrive(CallKind call, bool matters) {
  if (decided_ && swallowed_.empty() && !GivesBack(call)) {
    // A pixel is shaded also when its sample failed.
    const bool shading = decided_by_ == CallKind::kSample && call == CallKind::kArithmetic;
    Require(shading, "a call after the result was decided");
  }
  const bool question = call == CallKind::kCheckoutParam || call == CallKind::kComposition;
  if (question && ++questions_ > kMostQuestions) {
    Decide(call, kEnough);
    throw int{kEnough};
  }
  const std::uint32_t nth = calls_[static_cast<std::size_t>(call)]++;
  for (const Fault& fault : plan.faults) {
    if (fault.call != call) continue;
    if (nth == fault.nth || (fault.persists && nth > fault.nth)) return Strike(fault, matters);
  }
  return PF_Err_NONE;
}

PF_Err Running::Strike(const Fault& fault, bool matters) {
  if (fault.misfortune == Misfortune::kFail) {
    if (fault.call == CallKind::kArithmetic) return PF_Err_NONE;
    if (!matters || GivesBack(fault.call)) return fault.code;
    if (IsReturned(fault.call)) Decide(fault.call, fault.code);
    if (fault.call == CallKind::kAcquireSuite || fault.call == CallKind::kGetPixelFormat) {
      Decide(fault.call, PF_Err_BAD_CALLBACK_PARAM);
    }
    return fault.code;
  }
  const PF_Err code = fault.misfortune == Misfortune::kThrowCode    ? fault.code
                      : fault.misfortune == Misfortune::kThrowAlloc ? PF_Err_OUT_OF_MEMORY
                                                                    : PF_Err_BAD_CALLBACK_PARAM;
  if (GivesBack(fault.call)) {
    swallowed_.push_back(code);
  } else {
    Decide(fault.call, code);
  }
  if (fault.misfortune == Misfortune::kThrowCode) throw int{fault.code};
  if (fault.misfortune == Misfortune::kThrowAlloc) throw std::bad_alloc();
  throw Foreign{};
}

void Running::Decide(CallKind call, PF_Err code) {
  // What is thrown while a pixel is shaded whose sample failed is thrown before that is told.
  const bool told = decided_by_ != CallKind::kSample || call != CallKind::kArithmetic;
  if (decided_ && told) return;
  decided_ = code;
  decided_by_ = call;
}

/// Whether the host is such that a command may fail by itself.
bool Running::IsOdd() const {
  return plan.no_basic_suite || plan.output.null || plan.input.null ||
         plan.scratch != Scratch::kSound || plan.format != Format::kTold ||
         std::any_of(plan.suites.begin(), plan.suites.end(), [](auto mode) { return mode != 0; }) ||
         std::any_of(plan.faults.begin(), plan.faults.end(), [](const Fault& fault) {
           // The format is then told from flags, which know nothing of float pixels.
           return fault.call == CallKind::kAcquireSuite;
         });
}

void Running::CheckCode(PF_Err code) const {
  std::vector<PF_Err> allowed = swallowed_;
  if (decided_) {
    allowed.push_back(*decided_);
  } else {
    allowed.push_back(PF_Err_NONE);
    if (IsOdd()) allowed.insert(allowed.end(), {PF_Err_OUT_OF_MEMORY, PF_Err_BAD_CALLBACK_PARAM});
  }
  Require(std::find(allowed.begin(), allowed.end(), code) != allowed.end(),
          "command " + std::to_string(command.cmd) + " gave " + std::to_string(code) + ", not " +
              std::to_string(allowed.back()));
}

Running& Now() { return *Running::now; }
PF_Err Arrive(CallKind call, bool matters = true) { return Now().Arrive(call, matters); }

// Callbacks about controls.

A_long Moved(A_long value, A_long slope, A_long time) {
  const double moved = value + static_cast<double>(slope) * time / 1024.0;
  return static_cast<A_long>(std::clamp(moved, double{INT_MIN}, double{INT_MAX}));
}

PF_Err CheckoutParam(PF_ProgPtr ref, A_long index, A_long time, A_long, A_u_long,
                     PF_ParamDef* param) {
  Require(ref == kRef, "another effect_ref");
  Require(index >= 1 && index <= kControls && param != nullptr, "no such control");
  const PF_Err err = Arrive(CallKind::kCheckoutParam);
  Now().check_outs.push_back(param);  // a refused one is checked in as well
  if (err != 0) return err;
  const auto at = static_cast<std::size_t>(index);
  *param = Now().plan.values[at];
  const auto [dx, dy] = Now().plan.slopes[at];
  if (param->param_type == PF_Param_POINT) {
    param->u.td.x_value = Moved(param->u.td.x_value, dx, time);
    param->u.td.y_value = Moved(param->u.td.y_value, dy, time);
  } else if (param->param_type == PF_Param_FIX_SLIDER) {
    param->u.fd.value = Moved(param->u.fd.value, dx, time);
  }
  return PF_Err_NONE;
}

PF_Err CheckinParam(PF_ProgPtr, PF_ParamDef* param) {
  auto& outs = Now().check_outs;
  const auto found = std::find(outs.rbegin(), outs.rend(), param);
  Require(found != outs.rend(), "a control checked in that was not checked out");
  outs.erase(std::next(found).base());
  return Arrive(CallKind::kCheckinParam);
}

PF_Err AddParam(PF_ProgPtr, A_long, PF_ParamDef*) { return Arrive(CallKind::kAddParam); }
PF_Err Progress(PF_ProgPtr, A_long, A_long) { return Arrive(CallKind::kProgress); }

// Utilities.

World* Find(const PF_EffectWorld* view) {
  Running& now = Now();
  for (World* world : {&now.input, &now.output}) {
    if (view->data == world->view.data) return world;
  }
  for (const auto& world : now.worlds) {
    if (view->data == world->view.data) return world.get();
  }
  Require(false, "a world that is not the host's");
  return nullptr;
}

PF_Err Fill(PF_ProgPtr, const PF_Pixel* color, const PF_Rect* rect, PF_EffectWorld* view) {
  if (const PF_Err err = Arrive(CallKind::kFill)) return err;
  World& world = *Find(view);
  Require(rect == nullptr && &world != &Now().input, "an odd fill");
  if (&world == &Now().output) Now().output_filled = true;
  for (A_long y = 0; y < world.view.height; ++y) {
    char* const row = world.Row(y);
    if (color == nullptr) {
      std::fill_n(row, world.row_pixels, '\0');
    } else {
      for (std::size_t at = 0; at < world.row_pixels; at += 4) std::memcpy(row + at, color, 4);
    }
  }
  return PF_Err_NONE;
}

template <class Pixel>
PF_Err Iterate(PF_InData*, A_long, A_long, PF_EffectWorld* src, const PF_Rect* area, void* refcon,
               PF_IteratePixelFunc<Pixel> function, PF_EffectWorld* dst) {
  if (const PF_Err err = Arrive(CallKind::kIterate)) return err;
  const World& world = *Find(dst);
  Require(src == nullptr && area == nullptr && &world == &Now().output, "an odd pass");
  if (world.pixel_bytes != sizeof(Pixel)) return PF_Err_BAD_CALLBACK_PARAM;
  const A_long width = std::max(dst->width, 0);
  const A_long count = width * std::max(dst->height, 0);
  for (A_long i = 0; i < count; ++i) {
    const A_long at = Now().command.backward ? count - 1 - i : i;
    auto* const row = reinterpret_cast<Pixel*>(world.Row(at / width));
    if (const PF_Err err = function(refcon, at % width, at / width, nullptr, row + at % width)) {
      return err;
    }
  }
  return PF_Err_NONE;
}

template <class Pixel>
PF_Err Sample(PF_ProgPtr, PF_Fixed x, PF_Fixed y, const PF_SampPB* samp, Pixel* dst) {
  if (const PF_Err err = Arrive(CallKind::kSample)) return err;
  const World& world = *Find(samp->src);
  Require(&world == &Now().input, "a sample of another world");
  Require(samp->x_radius >= 0 && samp->y_radius >= 0, "a negative radius");
  if (world.pixel_bytes != sizeof(Pixel)) return PF_Err_BAD_CALLBACK_PARAM;
  const PF_EffectWorld& view = world.view;
  if (view.width <= 0 || view.height <= 0) return PF_Err_NONE;
  const PF_InData& in = Now().plan.in;
  const auto one = [](const PF_RationalScale& scale) { return scale.num == 1 && scale.den == 1; };
  if (one(in.downsample_x) && one(in.downsample_y) && one(in.pixel_aspect_ratio)) {
    Require(x >= 0 && x <= (view.width - 1) * 65536 && y >= 0 && y <= (view.height - 1) * 65536,
            "a sample outside the layer");
  }
  const A_long i = std::clamp(x / 65536, 0, view.width - 1);
  const A_long j = std::clamp(y / 65536, 0, view.height - 1);
  *dst = reinterpret_cast<const Pixel*>(world.Row(j))[i];
  return PF_Err_NONE;
}

template <double (*function)(double)>
A_FpLong Arithmetic(A_FpLong v) {
  Arrive(CallKind::kArithmetic);
  return function(v);
}

A_FpLong Pow(A_FpLong base, A_FpLong exponent) {
  Arrive(CallKind::kArithmetic);
  return std::pow(base, exponent);
}

A_long Sprintf(A_char* buffer, const A_char* format, ...) {
  Arrive(CallKind::kArithmetic);
  va_list args;
  va_start(args, format);
  const int n = std::vsprintf(buffer, format, args);
  va_end(args);
  return n;
}

A_char* Strcpy(A_char* to, const A_char* from) {
  Arrive(CallKind::kArithmetic);
  return std::strcpy(to, from);
}

double Cos(double v) { return std::cos(v); }
double Sin(double v) { return std::sin(v); }
double Sqrt(double v) { return std::sqrt(v); }

// Suites.

PF_Err NewWorld(A_long width, A_long height, PF_EffectWorld* made) {
  if (const PF_Err err = Arrive(CallKind::kNewWorld)) return err;
  const Scratch scratch = Now().plan.scratch;
  Require(width <= 64 && height <= 64, "a world larger than any of the host's");
  auto world = std::make_unique<World>(width, height);
  PF_EffectWorld& view = world->view;
  if (scratch == Scratch::kLow) --view.height;
  if (scratch == Scratch::kNarrow) --view.width;
  if (scratch == Scratch::kNoData) view.data = nullptr;
  if (scratch == Scratch::kOddRows) view.rowbytes -= 1;
  if (scratch == Scratch::kCrooked) {
    view.data = reinterpret_cast<PF_Pixel*>(reinterpret_cast<char*>(view.data) + 1);
  }
  *made = view;
  Now().worlds.push_back(std::move(world));
  return PF_Err_NONE;
}

PF_Err DisposeWorld(PF_EffectWorld* disposed) {
  auto& worlds = Now().worlds;
  const auto found = std::find_if(worlds.begin(), worlds.end(), [&](const auto& world) {
    return world->view.data == disposed->data;
  });
  Require(found != worlds.end(), "a world disposed of that was not made");
  Require((*found)->PaddingIsSound(), "the effect wrote beside its own world");
  worlds.erase(found);
  return Arrive(CallKind::kDisposeWorld);
}

const PF_WorldSuite1 kWorld1{[](PF_ProgPtr, A_long width, A_long height, PF_NewWorldFlags,
                                PF_EffectWorld* world) { return NewWorld(width, height, world); },
                             [](PF_ProgPtr, PF_EffectWorld* world) { return DisposeWorld(world); }};

const PF_WorldSuite2 kWorld2{[](PF_ProgPtr, A_long width, A_long height, PF_Boolean, PF_PixelFormat,
                                PF_EffectWorld* world) { return NewWorld(width, height, world); },
                             [](PF_ProgPtr, PF_EffectWorld* world) { return DisposeWorld(world); },
                             [](const PF_EffectWorld* view, PF_PixelFormat* format) {
                               if (const PF_Err err = Arrive(CallKind::kGetPixelFormat)) return err;
                               const std::size_t bytes = Find(view)->pixel_bytes;
                               const Format told = Now().plan.format;
                               *format = told == Format::kInvalid   ? PF_PixelFormat_INVALID
                                         : told == Format::kUnknown ? 0x1234
                                         : bytes == 4               ? PF_PixelFormat_ARGB32
                                         : bytes == 8               ? PF_PixelFormat_ARGB64
                                                                    : PF_PixelFormat_ARGB128;
                               return PF_Err_NONE;
                             }};

const PF_ParamUtilsSuite1 kParamUtils{[](PF_ProgPtr, A_long index, const PF_ParamDef* def) {
  Require(index >= 1 && index <= kControls && def != nullptr, "an update of no control");
  return Arrive(CallKind::kUpdateParamUI, index == kLastUpdated);
}};
const PF_Sampling8Suite1 kSampling8{nullptr, nullptr, Sample<PF_Pixel>};
const PF_Sampling16Suite1 kSampling16{nullptr, nullptr, Sample<PF_Pixel16>};
const PF_SamplingFloatSuite1 kSamplingFloat{nullptr, nullptr, Sample<PF_PixelFloat>};
const PF_iterateFloatSuite1 kIterateFloat{Iterate<PF_PixelFloat>};
const PF_ColorParamSuite1 kColorParam{[](PF_ProgPtr, const PF_ParamDef* def, PF_PixelFloat* color) {
  const auto& outs = Now().check_outs;
  Require(std::find(outs.begin(), outs.end(), def) != outs.end(), "a colour not checked out");
  if (const PF_Err err = Arrive(CallKind::kFloatColor)) return err;
  const PF_Pixel& value = def->u.cd.value;
  *color = {1, static_cast<float>(value.red) / 100.0F, static_cast<float>(value.green) / 255.0F,
            value.blue == 7 ? NAN : static_cast<float>(value.blue)};
  return PF_Err_NONE;
}};

// The composition. A layer's handle is its index + 1.

AEGP_LayerH Handle(std::size_t index) { return reinterpret_cast<AEGP_LayerH>(index + 1); }
const Layer& LayerOf(AEGP_LayerH handle) {
  const auto index = reinterpret_cast<std::uintptr_t>(handle) - 1;
  Require(index < Now().plan.layers.size(), "a layer that is not the host's");
  return Now().plan.layers[index];
}

/// Answers a question about the composition.
template <class Answer>
PF_Err Composition(Answer answer) {
  if (const PF_Err err = Arrive(CallKind::kComposition)) return err;
  return answer() ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
}

const AEGP_PFInterfaceSuite1 kPFInterface{
    [](PF_ProgPtr, AEGP_LayerH* layer) {
      return Composition([&] {
        const Plan& plan = Now().plan;
        *layer = plan.no_effect_layer || plan.layers.empty() ? nullptr : Handle(0);
        return true;
      });
    },
    [](PF_ProgPtr, A_long time, A_u_long scale, A_Time* comp_time) {
      return Composition([&] {
        Require(time >= 0, "a time before 0");
        *comp_time = {time, scale};
        return true;
      });
    }};

const AEGP_LayerSuite5 kLayer{
    [](AEGP_CompH comp, A_long* count) {
      return Composition([&] {
        Require(comp == kComp, "another composition");
        const Plan& plan = Now().plan;
        *count = plan.layer_count.value_or(static_cast<A_long>(plan.layers.size()));
        return true;
      });
    },
    [](AEGP_CompH, A_long index, AEGP_LayerH* layer) {
      return Composition([&] {
        const auto at = static_cast<std::size_t>(index);
        const auto& layers = Now().plan.layers;
        if (at >= layers.size()) return Now().plan.layer_count == INT_MAX;  // says nothing
        *layer = layers[at].null ? nullptr : Handle(at);
        return true;
      });
    },
    [](AEGP_LayerH layer, AEGP_CompH* comp) {
      return Composition([&] {
        LayerOf(layer);
        *comp = Now().plan.no_composition ? nullptr : kComp;
        return true;
      });
    },
    [](AEGP_LayerH layer, AEGP_LTimeMode, const A_Time*, A_Boolean* active) {
      return Composition([&] {
        *active = LayerOf(layer).active;
        return true;
      });
    },
    [](AEGP_LayerH layer, AEGP_ObjectType* type) {
      return Composition([&] {
        *type = LayerOf(layer).object;
        return true;
      });
    },
    [](AEGP_LayerH layer, const A_Time*, const A_Time*, A_Matrix4* world) {
      return Composition([&] {
        *world = LayerOf(layer).world;
        return true;
      });
    }};

const AEGP_LightSuite1 kLight{[](AEGP_LayerH layer, AEGP_LightType* type) {
  return Composition([&] {
    *type = LayerOf(layer).light;
    return true;
  });
}};

const AEGP_StreamSuite4 kStream{[](AEGP_LayerH layer, AEGP_LayerStream stream, AEGP_LTimeMode,
                                   const A_Time*, A_Boolean, AEGP_StreamVal* value,
                                   AEGP_StreamType*) {
  return Composition([&] {
    const auto& values = LayerOf(layer).streams;
    Require(stream >= AEGP_LayerStream_INTENSITY && stream <= AEGP_LayerStream_CONE_FEATHER,
            "no such stream");
    if (stream == AEGP_LayerStream_COLOR) {
      value->color = {1, values[1], values[1] / 2, 1};
    } else {
      value->one_d = values[static_cast<std::size_t>(stream - AEGP_LayerStream_INTENSITY)];
    }
    return true;
  });
}};

struct SuiteEntry {
  const char* name;
  std::int32_t version;
  const void* table;
  std::size_t functions;
};

template <class Table>
constexpr SuiteEntry Entry(const char* name, std::int32_t version, const Table& table) {
  return {name, version, &table, sizeof(Table) / sizeof(void*)};
}

const std::array<SuiteEntry, kSuites> kTables{{
    Entry(kPFWorldSuite, 1, kWorld1),
    Entry(kPFWorldSuite, 2, kWorld2),
    Entry(kPFParamUtilsSuite, 1, kParamUtils),
    Entry(kPFSampling8Suite, 1, kSampling8),
    Entry(kPFSampling16Suite, 1, kSampling16),
    Entry(kPFSamplingFloatSuite, 1, kSamplingFloat),
    Entry(kPFIterateFloatSuite, 1, kIterateFloat),
    Entry(kPFColorParamSuite, 1, kColorParam),
    Entry(kAEGPPFInterfaceSuite, 1, kPFInterface),
    Entry(kAEGPLayerSuite, 5, kLayer),
    Entry(kAEGPLightSuite, 1, kLight),
    Entry(kAEGPStreamSuite, 4, kStream),
}};

std::size_t SuiteIndex(std::string_view name, std::int32_t version) {
  const auto found = std::find_if(kTables.begin(), kTables.end(), [&](const SuiteEntry& entry) {
    return entry.name == name && entry.version == version;
  });
  return static_cast<std::size_t>(found - kTables.begin());
}

SPErr AcquireSuite(const char* name, std::int32_t version, const void** suite) {
  const std::size_t index = SuiteIndex(name, version);
  *suite = nullptr;
  // Without World Suite 2 the format is told from the world's flags.
  if (const PF_Err err = Arrive(CallKind::kAcquireSuite, index != 1)) return err;
  if (index == kSuites || Now().plan.suites[index] == 1) return 77;
  const std::uint8_t mode = Now().plan.suites[index];
  if (mode == 2) return 0;
  auto& table = Now().tables[index];
  std::memcpy(table.data(), kTables[index].table, kTables[index].functions * sizeof(void*));
  if (mode >= 3) table[(mode - 3) % kTables[index].functions] = nullptr;
  ++Now().acquired[index];
  *suite = table.data();
  return 0;
}

SPErr ReleaseSuite(const char* name, std::int32_t version) {
  const std::size_t index = SuiteIndex(name, version);
  Require(index < kSuites && Now().acquired[index] > 0, "a suite released that was not acquired");
  --Now().acquired[index];
  return Arrive(CallKind::kReleaseSuite);
}

// Smart render.

PF_Err CheckoutLayer(PF_ProgPtr, A_long index, A_long id, const PF_RenderRequest* request, A_long,
                     A_long, A_u_long, PF_CheckoutResult* result) {
  Require(index == 0 && id >= 0 && request != nullptr, "an odd check-out");
  if (const PF_Err err = Arrive(CallKind::kCheckoutLayer)) return err;
  *result = {request->rect, Now().plan.extent};
  return PF_Err_NONE;
}

PF_Err CheckoutPixels(PF_ProgPtr, A_long, PF_EffectWorld** pixels) {
  if (const PF_Err err = Arrive(CallKind::kCheckoutPixels)) return err;
  *pixels = Now().plan.input.null ? nullptr : &Now().input.view;
  return PF_Err_NONE;
}

PF_Err CheckoutOutput(PF_ProgPtr, PF_EffectWorld** output) {
  if (const PF_Err err = Arrive(CallKind::kCheckoutOutput)) return err;
  *output = Now().plan.output.null ? nullptr : &Now().output.view;
  return PF_Err_NONE;
}

// The command.

template <class Record>
bool Same(const Record& a, const Record& b) {
  // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
  return std::memcmp(&a, &b, sizeof a) == 0;
}

bool AnswersInOutData(PF_Cmd cmd) {
  return cmd == PF_Cmd_ABOUT || cmd == PF_Cmd_GLOBAL_SETUP || cmd == PF_Cmd_PARAMS_SETUP ||
         cmd == PF_Cmd_QUERY_DYNAMIC_FLAGS;
}

bool NeedsParams(PF_Cmd cmd) {
  return cmd == PF_Cmd_RENDER || cmd == PF_Cmd_USER_CHANGED_PARAM || cmd == PF_Cmd_UPDATE_PARAMS_UI;
}

Running::Running(const Plan& of, const Command& what)
    : plan(of),
      command(what),
      input(of.input, of.channel_bytes),
      output(of.output, of.channel_bytes) {
  Paint(input, plan.pixels);
  Paint(output, plan.pixels + 1);
  now = this;
}

Result Running::Run() {
  PF_UtilCallbacks utils{
      Fill,
      Iterate<PF_Pixel>,
      Iterate<PF_Pixel16>,
      {Arithmetic<Cos>, Pow, Arithmetic<Sin>, Arithmetic<Sqrt>, Sprintf, Strcpy}};
  SPBasicSuite basic{AcquireSuite, ReleaseSuite};
  PF_InData in = plan.in;
  in.inter = {CheckoutParam, CheckinParam, AddParam, Progress};
  in.utils = &utils;
  in.effect_ref = kRef;
  in.pica_basicP = plan.no_basic_suite ? nullptr : &basic;
  std::array<PF_ParamDef, kControls + 1> records = plan.values;
  records[0].u.ld = input.view;
  std::array<PF_ParamDef*, kControls + 1> params{};
  std::transform(records.begin(), records.end(), params.begin(), [](auto& r) { return &r; });
  PF_OutData out;
  std::memset(&out, 'x', sizeof out);

  PF_PreRenderInput pre_input{{plan.asked, 1, 2, 1}};
  PF_PreRenderOutput pre_output{};
  PF_PreRenderCallbacks pre_callbacks{CheckoutLayer};
  PF_PreRenderExtra pre{&pre_input, &pre_output, &pre_callbacks};
  PF_SmartRenderInput smart_input{{plan.asked, 0, 0, 0}};
  PF_SmartRenderCallbacks smart_callbacks{CheckoutPixels, CheckoutOutput};
  PF_SmartRenderExtra smart{&smart_input, &smart_callbacks};
  void* const extra = command.cmd == PF_Cmd_SMART_PRE_RENDER ? static_cast<void*>(&pre)
                      : command.cmd == PF_Cmd_SMART_RENDER   ? static_cast<void*>(&smart)
                                                             : nullptr;

  const PF_InData in_before = in;
  const PF_UtilCallbacks utils_before = utils;
  const auto records_before = records;
  const PF_OutData out_before = out;
  const std::vector<char> input_before = input.memory;
  const std::vector<char> output_before = output.memory;
  const bool classic = command.cmd == PF_Cmd_RENDER;
  const bool with_params = NeedsParams(command.cmd) || !command.no_params;

  Result result;
  result.code = MainEntry(command.cmd, &in, &out, with_params ? params.data() : nullptr,
                          classic && !plan.output.null ? &output.view : nullptr, extra);

  CheckCode(result.code);
  Require(check_outs.empty(), "a control is still checked out");
  Require(worlds.empty(), "a world was kept");
  Require(std::all_of(acquired.begin(), acquired.end(), [](int n) { return n == 0; }),
          "a suite was kept");
  Require(Same(in, in_before) && Same(utils, utils_before), "the effect wrote to PF_InData");
  Require(Same(records, records_before), "the effect wrote to the controls");
  // The about text is ended before it is read, and so before anything can fail.
  const bool wrote =
      AnswersInOutData(command.cmd) && (result.code == 0 || command.cmd == PF_Cmd_ABOUT);
  Require(wrote || Same(out, out_before), "the effect wrote to PF_OutData");
  Require(input.memory == input_before, "the effect wrote to the input");
  Require(output.PaddingIsSound(), "the effect wrote beside the output");
  Require(output_filled || output.memory == output_before, "the effect drew before clearing");
  if (command.cmd == PF_Cmd_SMART_PRE_RENDER && result.code == 0) {
    const PF_LRect& all = plan.extent;
    const PF_LRect& given = pre_output.result_rect;
    Require(Same(pre_output.max_result_rect, all), "another extent");
    if (all.left < all.right && all.top < all.bottom) {
      for (const A_long x : {given.left, given.right})
        Require(x >= all.left && x <= all.right, "x");
      for (const A_long y : {given.top, given.bottom})
        Require(y >= all.top && y <= all.bottom, "y");
    }
  }
  result.output.assign(output.memory.begin(), output.memory.end());
  return result;
}

/// The controls as the effect describes them.
std::array<PF_ParamDef, kControls + 1> Defaults() {
  static std::vector<PF_ParamDef> added;
  added.clear();
  PF_UtilCallbacks utils{};
  utils.ansi.strcpy = [](A_char* to, const A_char* from) { return std::strcpy(to, from); };
  PF_InData in{};
  in.utils = &utils;
  in.inter.add_param = [](PF_ProgPtr, A_long, PF_ParamDef* def) {
    added.push_back(*def);
    return PF_Err_NONE;
  };
  PF_OutData out{};
  MainEntry(PF_Cmd_PARAMS_SETUP, &in, &out, nullptr, nullptr, nullptr);
  Require(added.size() == kControls, "another number of controls");
  std::array<PF_ParamDef, kControls + 1> records;
  std::memset(records.data(), 0, sizeof records);
  std::copy(added.begin(), added.end(), records.begin() + 1);
  return records;
}

}  // namespace

Plan SoundPlan() {
  static const auto kDefaults = Defaults();
  Plan plan;
  plan.values = kDefaults;
  plan.values[1].u.td.x_value = 65536;
  plan.values[1].u.td.y_value = 2 * 65536;
  plan.slopes[1] = {2 * 65536, 65536};
  plan.values[2].u.fd.value = 80 * 65536;  // "Stroke Width"
  plan.values[4].u.fd.value = 65536 / 20;  // "Time Span (sec)"
  plan.in.quality = PF_Quality_HI;
  plan.in.version = {13, 0};
  plan.in.current_time = 3 * 1024;
  plan.in.time_step = plan.in.local_time_step = 1024;
  plan.in.time_scale = 30720;
  plan.in.width = 12;
  plan.in.height = 8;
  plan.in.downsample_x = plan.in.downsample_y = plan.in.pixel_aspect_ratio = {1, 1};
  return plan;
}

Result Give(const Plan& plan, const Command& command) { return Running(plan, command).Run(); }

}  // namespace fuzz
