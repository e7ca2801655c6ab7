#include "test_host.h"

#include <bit>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>
#include <thread>
#include <utility>

namespace testhost {
namespace {

constexpr std::byte kPoison{0xCD};
constexpr int kGuard = 64;  // bytes before and after the pixels
const auto kEffectRef = reinterpret_cast<PF_ProgPtr>(std::uintptr_t{0x5eed});

template <class Value>
std::int64_t Word(const Value& value) {
  if constexpr (std::is_floating_point_v<Value>) {
    return std::bit_cast<std::int64_t>(static_cast<double>(value));
  } else if constexpr (std::is_pointer_v<Value>) {
    return value == nullptr ? 0 : 1;
  } else {
    return static_cast<std::int64_t>(value);
  }
}

std::int64_t Word(std::string_view text) {
  std::uint64_t hash = 14695981039346656037u;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211u;
  return static_cast<std::int64_t>(hash);
}

template <class Record>
std::string_view Bytes(const Record& record) {
  return {reinterpret_cast<const char*>(&record), sizeof record};
}

std::uint32_t Mixed(std::uint32_t x) {
  x ^= x >> 16;
  x *= 0x7feb352du;
  x ^= x >> 15;
  x *= 0x846ca68bu;
  return x ^ (x >> 16);
}

struct Verdict {
  bool act;  // whether the call does its work
  PF_Err code;
};

/// A buffer with guards; every pixel takes that many bytes.
struct Memory {
  std::vector<std::byte> bytes;
  int row;

  Memory(int width, int height, int pixel, int padding)
      : bytes(static_cast<std::size_t>(2 * kGuard + (width * pixel + padding) * height), kPoison),
        row(width * pixel + padding) {}
  PF_Pixel* Pixels() { return reinterpret_cast<PF_Pixel*>(bytes.data() + kGuard); }
};

class Host;
Host* g_host = nullptr;  // the running command's

class Host {
 public:
  explicit Host(const Situation& situation);

  Outcome Run(PF_MainEntry entry);

  template <class... Args>
  Verdict Note(Callback callback, const Args&... args);

  const Situation& s;
  Outcome out;
  PF_InData in{};
  std::map<std::pair<std::string, int>, int> lent_suites;
  std::map<const PF_ParamDef*, int> lent_params;
  std::map<const void*, std::unique_ptr<Memory>> scratch;
  PF_EffectWorld input{};
  PF_EffectWorld output{};
  std::vector<PF_ParamDef> params = std::vector<PF_ParamDef>(29);

  void Blame(const std::string& what) {
    if (out.ownership.empty()) out.ownership = what;
  }
  /// Which world a pointer means.
  std::int64_t Name(const PF_EffectWorld* world) const {
    if (world == nullptr) return 0;
    if (world == &input || world == &params[0].u.ld) return 1;
    if (world == &output) return 2;
    return scratch.contains(world->data) ? 3 : 99;
  }

 private:
  void FillParams();

  Memory input_memory_;
  Memory output_memory_;
  std::size_t throw_count_ = 0;
};

template <class... Args>
Verdict Host::Note(Callback callback, const Args&... args) {
  if (s.threads > 1) return {true, 0};
  const auto first = static_cast<std::uint32_t>(out.words.size());
  (out.words.push_back(Word(args)), ...);
  out.calls.push_back({callback, first, static_cast<std::uint32_t>(sizeof...(args))});
  const int nth = out.counts[static_cast<std::size_t>(callback)]++;
  for (const Rule& rule : s.rules) {
    if (rule.callback != callback || (rule.from_then_on ? nth < rule.nth : nth != rule.nth))
      continue;
    switch (rule.misdeed) {
      case Misdeed::kRefuse:
        return {false, rule.code};
      case Misdeed::kRefuseYetDo:
        return {true, rule.code};
      case Misdeed::kNothing:
        return {false, 0};
      case Misdeed::kThrowInt:
        throw int{rule.code};
      case Misdeed::kThrowBadAlloc:
        throw std::bad_alloc();
      case Misdeed::kThrowOther:
        throw std::runtime_error("thrown by the host");
    }
  }
  return {true, 0};
}

// Slightly other numbers than the library's, so that whoever does not ask the host is seen.
double Own(double v) { return v * (1.0 + 0x1p-40); }
double Cos(double v) {
  g_host->Note(Callback::kCos, v);
  return Own(std::cos(v));
}
double Sin(double v) {
  g_host->Note(Callback::kSin, v);
  return Own(std::sin(v));
}
double Sqrt(double v) {
  g_host->Note(Callback::kSqrt, v);
  return Own(std::sqrt(v));
}
double Pow(double v, double e) {
  g_host->Note(Callback::kPow, v, e);
  return Own(std::pow(v, e));
}

A_long Sprintf(A_char* to, const A_char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char text[2048];
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  g_host->Note(Callback::kSprintf, std::string_view(format), std::string_view(text));
  std::strcpy(to, text);
  return length;
}

A_char* Strcpy(A_char* to, const A_char* from) {
  g_host->Note(Callback::kStrcpy, std::string_view(from));
  return std::strcpy(to, from);
}

PF_Err CheckoutParam(PF_ProgPtr ref, A_long index, A_long time, A_long step, A_u_long scale,
                     PF_ParamDef* param) {
  Host& h = *g_host;
  ++h.lent_params[param];
  const Verdict v = h.Note(Callback::kCheckoutParam, ref == kEffectRef, index, time, step, scale);
  if (!v.act) return v.code;
  const ControlValue& value = h.s.controls[static_cast<std::size_t>(index)];
  *param = h.params[static_cast<std::size_t>(index)];
  switch (param->param_type) {
    case PF_Param_FIX_SLIDER:
      param->u.fd.value = value.x.At(time);
      break;
    case PF_Param_ANGLE:
      param->u.ad.value = value.x.At(time);
      break;
    case PF_Param_POPUP:
      param->u.pd.value = value.x.At(time);
      break;
    case PF_Param_COLOR:
      param->u.cd.value = value.color;
      break;
    case PF_Param_POINT:
      param->u.td.x_value = value.x.At(time);
      param->u.td.y_value = value.y.At(time);
      break;
    default:
      h.Blame("a control without a value was checked out");
  }
  return v.code;
}

PF_Err CheckinParam(PF_ProgPtr ref, PF_ParamDef* param) {
  Host& h = *g_host;
  if (h.lent_params[param]-- <= 0) h.Blame("a control was checked in that was not out");
  return h.Note(Callback::kCheckinParam, ref == kEffectRef).code;
}

PF_Err AddParam(PF_ProgPtr ref, A_long index, PF_ParamDef* def) {
  PF_ParamDef copy = *def;
  std::string choices;
  if (copy.param_type == PF_Param_POPUP) choices = std::exchange(copy.u.pd.u.namesptr, nullptr);
  return g_host
      ->Note(Callback::kAddParam, ref == kEffectRef, index, std::string_view(def->name), def->uu.id,
             def->param_type, std::string_view(choices), Bytes(copy))
      .code;
}

PF_Err Progress(PF_ProgPtr ref, A_long current, A_long total) {
  return g_host->Note(Callback::kProgress, ref == kEffectRef, current, total).code;
}

int PixelBytes(const PF_EffectWorld& world) {
  const Host& h = *g_host;
  if (h.Name(&world) == 3) return 4;
  return h.s.format == PF_PixelFormat_ARGB128 ? 16 : h.s.format == PF_PixelFormat_ARGB64 ? 8 : 4;
}

PF_Err Fill(PF_ProgPtr ref, const PF_Pixel* color, const PF_Rect* rect, PF_EffectWorld* world) {
  Host& h = *g_host;
  const Verdict v =
      h.Note(Callback::kFill, ref == kEffectRef, color,
             color == nullptr ? std::string_view() : Bytes(*color), rect, h.Name(world));
  if (!v.act) return v.code;
  const auto row = static_cast<std::size_t>(world->width * PixelBytes(*world));
  for (A_long y = 0; y < world->height; ++y) {
    auto* to = reinterpret_cast<std::byte*>(world->data) + std::ptrdiff_t{y} * world->rowbytes;
    for (std::size_t i = 0; i < row; ++i) {
      to[i] = color == nullptr ? std::byte{} : reinterpret_cast<const std::byte*>(color)[i % 4];
    }
  }
  return v.code;
}

template <class Pixel>
PF_Err Rows(PF_EffectWorld* world, PF_IteratePixelFunc<Pixel> function, void* refcon, A_long from,
            A_long by) {
  for (A_long y = from; y < world->height; y += by) {
    auto* row = reinterpret_cast<Pixel*>(reinterpret_cast<std::byte*>(world->data) +
                                         std::ptrdiff_t{y} * world->rowbytes);
    for (A_long x = 0; x < world->width; ++x) {
      if (const PF_Err err = function(refcon, x, y, nullptr, row + x); err != 0) return err;
    }
  }
  return 0;
}

template <class Pixel, Callback kCallback>
PF_Err Iterate(PF_InData* in, A_long base, A_long final, PF_EffectWorld* src, const PF_Rect* area,
               void* refcon, PF_IteratePixelFunc<Pixel> function, PF_EffectWorld* dst) {
  Host& h = *g_host;
  const Verdict v = h.Note(kCallback, in == &h.in, base, final, h.Name(src), area, refcon,
                           function != nullptr, h.Name(dst));
  if (!v.act) return v.code;
  if (h.s.threads == 1) {
    const PF_Err err = Rows(dst, function, refcon, 0, 1);
    return err != 0 ? err : v.code;
  }
  std::vector<std::thread> threads;
  for (int i = 0; i < h.s.threads; ++i) {
    threads.emplace_back([&, i] { Rows(dst, function, refcon, i, h.s.threads); });
  }
  for (std::thread& thread : threads) thread.join();
  return v.code;
}

template <class Pixel>
PF_Err AreaSample(PF_ProgPtr ref, PF_Fixed x, PF_Fixed y, const PF_SampPB* samp, Pixel* to) {
  Host& h = *g_host;
  const Verdict v = h.Note(Callback::kAreaSample, ref == kEffectRef, sizeof(Pixel), x, y,
                           samp->x_radius, samp->y_radius, samp->area, h.Name(samp->src));
  if (!v.act) return v.code;
  std::uint32_t hash = Mixed(static_cast<std::uint32_t>(x) * 31 + static_cast<std::uint32_t>(y));
  for (const auto channel : {&Pixel::alpha, &Pixel::red, &Pixel::green, &Pixel::blue}) {
    hash = Mixed(hash + static_cast<std::uint32_t>(samp->area));
    if constexpr (std::is_same_v<Pixel, PF_Pixel>) {
      to->*channel = static_cast<A_u_char>(hash);
    } else if constexpr (std::is_same_v<Pixel, PF_Pixel16>) {
      to->*channel = static_cast<A_u_short>(hash % 32769);
    } else {
      to->*channel = static_cast<float>(hash % 4096) / 2048.0F - 0.25F;
    }
  }
  return v.code;
}

template <class Pixel, Callback kCallback>
PF_Err OtherSample(PF_ProgPtr, PF_Fixed, PF_Fixed, const PF_SampPB*, Pixel*) {
  return g_host->Note(kCallback).code;
}

PF_Err UpdateParamUI(PF_ProgPtr ref, A_long index, const PF_ParamDef* def) {
  return g_host
      ->Note(Callback::kUpdateParamUI, ref == kEffectRef, index, def->flags, def->ui_flags,
             Bytes(*def))
      .code;
}

PF_Err FloatColor(PF_ProgPtr ref, const PF_ParamDef* def, PF_PixelFloat* color) {
  Host& h = *g_host;
  const Verdict v = h.Note(Callback::kFloatColor, ref == kEffectRef, h.lent_params[def] > 0,
                           Bytes(def->u.cd.value));
  if (v.act) *color = h.s.float_color;
  return v.code;
}

PF_Err MakeWorld(const Verdict& v, A_long width, A_long height, PF_EffectWorld* world) {
  Host& h = *g_host;
  if (!v.act) return v.code;
  auto memory = std::make_unique<Memory>(std::max(width, 0), std::max(height, 0), 4, 4);
  *world = {0, memory->Pixels(), memory->row, width, height, 0, 0};
  // One that the effect was told not to have is nobody's.
  if (v.code == 0) h.scratch[world->data] = std::move(memory);
  return v.code;
}

PF_Err NewWorld1(PF_ProgPtr ref, A_long width, A_long height, PF_NewWorldFlags flags,
                 PF_EffectWorld* world) {
  return MakeWorld(
      g_host->Note(Callback::kNewWorld1, ref == kEffectRef, width, height, flags, world), width,
      height, world);
}

PF_Err NewWorld2(PF_ProgPtr ref, A_long width, A_long height, PF_Boolean clear,
                 PF_PixelFormat format, PF_EffectWorld* world) {
  return MakeWorld(
      g_host->Note(Callback::kNewWorld2, ref == kEffectRef, width, height, clear, format, world),
      width, height, world);
}

template <Callback kCallback>
PF_Err DisposeWorld(PF_ProgPtr ref, PF_EffectWorld* world) {
  Host& h = *g_host;
  const auto found = h.scratch.find(world->data);
  std::unique_ptr<Memory> memory;
  if (found != h.scratch.end()) {
    memory = std::move(found->second);
    h.scratch.erase(found);
  } else if (world->data != nullptr) {
    h.Blame("a world was disposed of that is not lent");
  }
  // The field as it was left: what the stroke summed up to.
  const std::string_view field =
      memory ? std::string_view(reinterpret_cast<const char*>(memory->bytes.data()),
                                memory->bytes.size())
             : std::string_view();
  return h.Note(kCallback, ref == kEffectRef, world->width, world->height, field).code;
}

PF_Err PixelFormat(const PF_EffectWorld* world, PF_PixelFormat* format) {
  Host& h = *g_host;
  const Verdict v = h.Note(Callback::kPixelFormat, h.Name(world));
  if (v.act) *format = h.s.format;
  return v.code;
}

// The composition. A handle is the layer's place, counted from 1; the effect's own is a hundred.

AEGP_LayerH Handle(std::size_t number) { return reinterpret_cast<AEGP_LayerH>(number); }
const auto kComp = reinterpret_cast<AEGP_CompH>(std::uintptr_t{0xc0});
constexpr std::size_t kEffectLayer = 100;
const Layer& Of(AEGP_LayerH layer) {
  return g_host->s.layers[reinterpret_cast<std::uintptr_t>(layer) - 1];
}
std::int64_t Number(AEGP_LayerH layer) {
  return static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(layer));
}

PF_Err GetEffectLayer(PF_ProgPtr ref, AEGP_LayerH* layer) {
  const Verdict v = g_host->Note(Callback::kEffectLayer, ref == kEffectRef);
  *layer = v.act && g_host->s.has_effect_layer ? Handle(kEffectLayer) : nullptr;
  return v.code;
}

PF_Err ConvertTime(PF_ProgPtr ref, A_long time, A_u_long scale, A_Time* comp_time) {
  const Verdict v = g_host->Note(Callback::kConvertTime, ref == kEffectRef, time, scale);
  if (v.act) *comp_time = {time + 17, scale};
  return v.code;
}

PF_Err NumLayers(AEGP_CompH comp, A_long* count) {
  const Verdict v = g_host->Note(Callback::kNumLayers, comp == kComp);
  if (v.act) *count = static_cast<A_long>(g_host->s.layers.size());
  return v.code;
}

PF_Err LayerByIndex(AEGP_CompH comp, A_long index, AEGP_LayerH* layer) {
  const Verdict v = g_host->Note(Callback::kLayerByIndex, comp == kComp, index);
  const auto i = static_cast<std::size_t>(index);
  *layer = v.act && !g_host->s.layers[i].null ? Handle(i + 1) : nullptr;
  return v.code;
}

PF_Err ParentComp(AEGP_LayerH layer, AEGP_CompH* comp) {
  const Verdict v = g_host->Note(Callback::kParentComp, Number(layer));
  *comp = v.act && g_host->s.has_comp ? kComp : nullptr;
  return v.code;
}

PF_Err IsVideoActive(AEGP_LayerH layer, AEGP_LTimeMode mode, const A_Time* time,
                     A_Boolean* active) {
  const Verdict v =
      g_host->Note(Callback::kIsVideoActive, Number(layer), mode, time->value, time->scale);
  if (v.act) *active = Of(layer).active;
  return v.code;
}

PF_Err ObjectType(AEGP_LayerH layer, AEGP_ObjectType* type) {
  const Verdict v = g_host->Note(Callback::kObjectType, Number(layer));
  if (v.act) *type = Of(layer).object;
  return v.code;
}

PF_Err LightType(AEGP_LayerH layer, AEGP_LightType* type) {
  const Verdict v = g_host->Note(Callback::kLightType, Number(layer));
  if (v.act) *type = Of(layer).light;
  return v.code;
}

PF_Err ToWorld(AEGP_LayerH layer, const A_Time* view, const A_Time* time, A_Matrix4* matrix) {
  const Verdict v = g_host->Note(Callback::kToWorld, Number(layer), view->value, view->scale,
                                 time->value, time->scale);
  if (v.act) *matrix = Of(layer).world;
  return v.code;
}

PF_Err StreamValue(AEGP_LayerH layer, AEGP_LayerStream stream, AEGP_LTimeMode mode,
                   const A_Time* time, A_Boolean pre_expression, AEGP_StreamVal* value,
                   AEGP_StreamType* type) {
  const Verdict v = g_host->Note(Callback::kStreamValue, Number(layer), stream, mode, time->value,
                                 time->scale, pre_expression, type);
  if (!v.act) return v.code;
  const Layer& l = Of(layer);
  switch (stream) {
    case AEGP_LayerStream_INTENSITY:
      value->one_d = l.intensity;
      break;
    case AEGP_LayerStream_COLOR:
      value->color = {1, l.color[0], l.color[1], l.color[2]};
      break;
    case AEGP_LayerStream_CONE_ANGLE:
      value->one_d = l.cone_angle;
      break;
    case AEGP_LayerStream_CONE_FEATHER:
      value->one_d = l.cone_feather;
      break;
    default:
      g_host->Blame("a stream was asked for that lights do not have");
  }
  return v.code;
}

PF_Err CheckoutLayer(PF_ProgPtr ref, A_long index, A_long id, const PF_RenderRequest* request,
                     A_long time, A_long step, A_u_long scale, PF_CheckoutResult* result) {
  Host& h = *g_host;
  const Verdict v =
      h.Note(Callback::kCheckoutLayer, ref == kEffectRef, index, id, request->rect.left,
             request->rect.top, request->rect.right, request->rect.bottom, request->field,
             request->channel_mask, request->preserve_rgb_of_zero_alpha, time, step, scale);
  if (v.act) *result = {request->rect, h.s.max_rect};
  return v.code;
}

PF_Err CheckoutLayerPixels(PF_ProgPtr ref, A_long id, PF_EffectWorld** world) {
  Host& h = *g_host;
  const Verdict v = h.Note(Callback::kCheckoutLayerPixels, ref == kEffectRef, id);
  *world = v.act && !h.s.input.null ? &h.input : nullptr;
  return v.code;
}

PF_Err CheckoutOutput(PF_ProgPtr ref, PF_EffectWorld** world) {
  Host& h = *g_host;
  const Verdict v = h.Note(Callback::kCheckoutOutput, ref == kEffectRef);
  *world = v.act && !h.s.output.null ? &h.output : nullptr;
  return v.code;
}

template <class Pixel>
constexpr PF_SamplingSuite<Pixel> kSampling{OtherSample<Pixel, Callback::kNearestSample>,
                                            OtherSample<Pixel, Callback::kSubpixelSample>,
                                            AreaSample<Pixel>};

/// The table of a suite; every pair has its own.
const void* Table(std::string_view name, int version) {
  static const PF_WorldSuite1 kWorld1{NewWorld1, DisposeWorld<Callback::kDisposeWorld1>};
  static const PF_WorldSuite2 kWorld2{NewWorld2, DisposeWorld<Callback::kDisposeWorld2>,
                                      PixelFormat};
  static const PF_ParamUtilsSuite1 kParamUtils{UpdateParamUI};
  static const PF_ColorParamSuite1 kColorParam{FloatColor};
  static const PF_iterateFloatSuite1 kIterate{Iterate<PF_PixelFloat, Callback::kIterateFloat>};
  static const AEGP_PFInterfaceSuite1 kInterface{GetEffectLayer, ConvertTime};
  static const AEGP_LayerSuite5 kLayer{NumLayers,     LayerByIndex, ParentComp,
                                       IsVideoActive, ObjectType,   ToWorld};
  static const AEGP_LightSuite1 kLight{LightType};
  static const AEGP_StreamSuite4 kStream{StreamValue};
  struct Row {
    std::string_view name;
    int version;
    const void* table;
  };
  static const Row kRows[] = {{kPFWorldSuite, 1, &kWorld1},
                              {kPFWorldSuite, 2, &kWorld2},
                              {kPFParamUtilsSuite, 1, &kParamUtils},
                              {kPFSampling8Suite, 1, &kSampling<PF_Pixel>},
                              {kPFSampling16Suite, 1, &kSampling<PF_Pixel16>},
                              {kPFSamplingFloatSuite, 1, &kSampling<PF_PixelFloat>},
                              {kPFColorParamSuite, 1, &kColorParam},
                              {kPFIterateFloatSuite, 1, &kIterate},
                              {kAEGPPFInterfaceSuite, 1, &kInterface},
                              {kAEGPLayerSuite, 5, &kLayer},
                              {kAEGPLightSuite, 1, &kLight},
                              {kAEGPStreamSuite, 4, &kStream}};
  for (const Row& row : kRows) {
    if (row.name == name && row.version == version) return row.table;
  }
  return nullptr;
}

SPErr Acquire(const char* name, std::int32_t version, const void** suite) {
  Host& h = *g_host;
  const Verdict v = h.Note(Callback::kAcquire, std::string_view(name), version);
  *suite = v.act ? Table(name, version) : nullptr;
  if (v.code == 0 && *suite != nullptr) ++h.lent_suites[{name, version}];
  return v.code;
}

SPErr Release(const char* name, std::int32_t version) {
  Host& h = *g_host;
  if (h.lent_suites[{name, version}]-- <= 0) h.Blame(std::string("released without need: ") + name);
  return h.Note(Callback::kRelease, std::string_view(name), version).code;
}

PF_UtilCallbacks g_utils{Fill,
                         Iterate<PF_Pixel, Callback::kIterate>,
                         Iterate<PF_Pixel16, Callback::kIterate16>,
                         {Cos, Pow, Sin, Sqrt, Sprintf, Strcpy}};
SPBasicSuite g_basic{Acquire, Release};

PF_EffectWorld Lent(const World& world, Memory& memory, PF_WorldFlags flags) {
  return {flags,        memory.Pixels(), memory.row,    world.width,
          world.height, world.origin_x,  world.origin_y};
}

Host::Host(const Situation& situation)
    : s(situation),
      input_memory_(std::max(s.input.width, 0), std::max(s.input.height, 0), 16, s.input.padding),
      output_memory_(std::max(s.output.width, 0), std::max(s.output.height, 0), 16,
                     s.output.padding) {
  in.inter = {CheckoutParam, CheckinParam, AddParam, Progress};
  in.utils = &g_utils;
  in.effect_ref = kEffectRef;
  in.quality = s.quality;
  in.version = s.version;
  in.current_time = s.current_time;
  in.time_step = s.time_step;
  in.local_time_step = s.local_time_step;
  in.time_scale = s.time_scale;
  in.width = s.width;
  in.height = s.height;
  in.downsample_x = s.downsample_x;
  in.downsample_y = s.downsample_y;
  in.pixel_aspect_ratio = s.pixel_aspect;
  in.shutter_angle = s.shutter_angle;
  in.pica_basicP = s.has_basic_suite ? &g_basic : nullptr;
  input = Lent(s.input, input_memory_, s.world_flags);
  output = Lent(s.output, output_memory_, s.world_flags);
  FillParams();
}

void Host::FillParams() {
  constexpr PF_ParamType kTypes[29] = {
      PF_Param_LAYER,      PF_Param_POINT,       PF_Param_FIX_SLIDER,  PF_Param_FIX_SLIDER,
      PF_Param_FIX_SLIDER, PF_Param_FIX_SLIDER,  PF_Param_FIX_SLIDER,  PF_Param_GROUP_START,
      PF_Param_POPUP,      PF_Param_FIX_SLIDER,  PF_Param_FIX_SLIDER,  PF_Param_FIX_SLIDER,
      PF_Param_GROUP_END,  PF_Param_GROUP_START, PF_Param_POPUP,       PF_Param_FIX_SLIDER,
      PF_Param_COLOR,      PF_Param_POPUP,       PF_Param_FIX_SLIDER,  PF_Param_POINT,
      PF_Param_ANGLE,      PF_Param_GROUP_END,   PF_Param_GROUP_START, PF_Param_FIX_SLIDER,
      PF_Param_FIX_SLIDER, PF_Param_FIX_SLIDER,  PF_Param_FIX_SLIDER,  PF_Param_FIX_SLIDER,
      PF_Param_GROUP_END};
  for (std::size_t i = 0; i < params.size(); ++i) {
    std::memset(&params[i], 0x2a, sizeof params[i]);
    params[i].param_type = kTypes[i];
    params[i].flags = s.flags;
    params[i].ui_flags = s.ui_flags;
    if (kTypes[i] == PF_Param_POPUP) params[i].u.pd.value = s.popups_passed[i];
  }
  params[0].u.ld = input;
}

Outcome Host::Run(PF_MainEntry entry) {
  g_host = this;
  PF_OutData out_data{};
  out_data.my_version = 0x1234;
  out_data.num_params = -5;
  out_data.out_flags = s.out_flags;
  out_data.out_flags2 = s.out_flags2;
  std::memset(out_data.return_msg, 0x2a, sizeof out_data.return_msg);
  s.message.copy(out_data.return_msg, PF_MAX_EFFECT_MSG_LEN);
  out_data.return_msg[std::min<std::size_t>(s.message.size(), PF_MAX_EFFECT_MSG_LEN)] = '\0';
  std::vector<PF_ParamDef*> pointers;
  for (PF_ParamDef& param : params) pointers.push_back(&param);

  PF_PreRenderInput pre_input{s.request};
  PF_PreRenderOutput pre_output{{1, 2, 3, 4}, {5, 6, 7, 8}, 1, 9, &pre_input};
  PF_PreRenderCallbacks pre_callbacks{CheckoutLayer};
  PF_PreRenderExtra pre_extra{&pre_input, &pre_output, &pre_callbacks};
  PF_SmartRenderInput smart_input{s.request};
  PF_SmartRenderCallbacks smart_callbacks{CheckoutLayerPixels, CheckoutOutput};
  PF_SmartRenderExtra smart_extra{&smart_input, &smart_callbacks};
  void* extra = &smart_extra;
  if (s.command == PF_Cmd_SMART_PRE_RENDER) extra = &pre_extra;
  if (s.command != PF_Cmd_SMART_PRE_RENDER && s.command != PF_Cmd_SMART_RENDER && !s.has_extra) {
    extra = nullptr;
  }
  const std::vector<std::byte> input_before = input_memory_.bytes;
  try {
    out.code = entry(s.command, &in, &out_data, pointers.data(), &output, extra);
  } catch (...) {
    out.escaped = "an exception passed the entry point";
  }
  out.output = output_memory_.bytes;
  out.input_touched = input_memory_.bytes != input_before;
  // Addresses of this host stand in some records; they must be what they were.
  if (params[0].u.ld.data != input_memory_.Pixels() || input.data != input_memory_.Pixels() ||
      output.data != output_memory_.Pixels() || pre_output.pre_render_data != &pre_input) {
    Blame("a pointer in the host's records was changed");
  }
  params[0].u.ld.data = input.data = output.data = nullptr;
  pre_output.pre_render_data = nullptr;
  const auto keep = [&](const auto& record) {
    const auto* bytes = reinterpret_cast<const std::byte*>(&record);
    out.records.insert(out.records.end(), bytes, bytes + sizeof record);
  };
  keep(in);
  keep(out_data);
  for (const PF_ParamDef& param : params) keep(param);
  keep(input);
  keep(output);
  keep(pre_input);
  keep(pre_output.result_rect);
  keep(pre_output.max_result_rect);
  keep(pre_output.solid);
  keep(pre_output.flags);
  keep(smart_input);
  for (const auto& [suite, count] : lent_suites) {
    if (count > 0) Blame("not released: " + suite.first);
  }
  for (const auto& [param, count] : lent_params) {
    if (count > 0) Blame("a control was not checked in");
  }
  if (!scratch.empty()) Blame("a world was not disposed of");
  g_host = nullptr;
  return std::move(out);
}

}  // namespace

const char* CallbackName(Callback callback) {
  constexpr const char* kNames[] = {"checkout_param",
                                    "checkin_param",
                                    "add_param",
                                    "progress",
                                    "cos",
                                    "pow",
                                    "sin",
                                    "sqrt",
                                    "sprintf",
                                    "strcpy",
                                    "fill",
                                    "iterate",
                                    "iterate16",
                                    "iterate (float)",
                                    "AcquireSuite",
                                    "ReleaseSuite",
                                    "new_world",
                                    "dispose_world",
                                    "PF_NewWorld",
                                    "PF_DisposeWorld",
                                    "PF_GetPixelFormat",
                                    "PF_UpdateParamUI",
                                    "nn_sample",
                                    "subpixel_sample",
                                    "area_sample",
                                    "PF_GetFloatingPointColorFromColorDef",
                                    "AEGP_GetEffectLayer",
                                    "AEGP_ConvertEffectToCompTime",
                                    "AEGP_GetCompNumLayers",
                                    "AEGP_GetCompLayerByIndex",
                                    "AEGP_GetLayerParentComp",
                                    "AEGP_IsVideoActive",
                                    "AEGP_GetLayerObjectType",
                                    "AEGP_GetLayerToWorldXformFromView",
                                    "AEGP_GetLightType",
                                    "AEGP_GetLayerStreamValue",
                                    "checkout_layer",
                                    "checkout_layer_pixels",
                                    "checkout_output"};
  static_assert(std::size(kNames) == static_cast<std::size_t>(Callback::kCount));
  return kNames[static_cast<std::size_t>(callback)];
}

PF_Fixed Track::At(A_long time) const {
  if (time <= start) return first;
  if (time >= end) return last;
  const double part = (double{1.0} * time - start) / (double{1.0} * end - start);
  return static_cast<PF_Fixed>(std::lround(first + part * (double{1.0} * last - first)));
}

Outcome Run(const Situation& situation, PF_MainEntry entry) { return Host(situation).Run(entry); }

std::string Text(const Outcome& outcome, std::size_t call) {
  if (call >= outcome.calls.size()) return "nothing more";
  const Call& c = outcome.calls[call];
  std::string text = CallbackName(c.callback);
  for (std::uint32_t i = 0; i < c.count; ++i) {
    const std::int64_t word = outcome.words[c.first + i];
    char number[64];
    const bool whole = word > -4'000'000'000 && word < 4'000'000'000'000;
    if (whole) {
      std::snprintf(number, sizeof number, " %lld", static_cast<long long>(word));
    } else {
      std::snprintf(number, sizeof number, " %.17g", std::bit_cast<double>(word));
    }
    text += number;
  }
  return text;
}

std::string FirstDifference(const Outcome& effect, const Outcome& reference) {
  if (!effect.escaped.empty()) return effect.escaped;
  if (!effect.ownership.empty()) return effect.ownership;
  if (effect.input_touched) return "the input's pixels were changed";
  const auto same_call = [&](std::size_t i) {
    const Call &a = effect.calls[i], &b = reference.calls[i];
    return a.callback == b.callback && a.count == b.count &&
           std::equal(effect.words.begin() + a.first, effect.words.begin() + a.first + a.count,
                      reference.words.begin() + b.first);
  };
  const std::size_t common = std::min(effect.calls.size(), reference.calls.size());
  std::size_t i = 0;
  while (i < common && same_call(i)) ++i;
  if (i < effect.calls.size() || i < reference.calls.size()) {
    return "call " + std::to_string(i) + (i > 0 ? ", after " + Text(effect, i - 1) : "") +
           "\n  effect:    " + Text(effect, i) + "\n  reference: " + Text(reference, i);
  }
  if (effect.code != reference.code) {
    return "result " + std::to_string(effect.code) + ", not " + std::to_string(reference.code);
  }
  const auto first_byte = [](const auto& a, const auto& b) {
    return std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first - a.begin();
  };
  if (effect.output != reference.output) {
    return "the output differs at byte " +
           std::to_string(first_byte(effect.output, reference.output));
  }
  if (effect.records != reference.records) {
    return "the records differ at byte " +
           std::to_string(first_byte(effect.records, reference.records));
  }
  return {};
}

}  // namespace testhost
