#include "fake_host.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <type_traits>

namespace fake {

namespace {

Host* g_host = nullptr;
PF_ProgPtr const kRef = reinterpret_cast<PF_ProgPtr>(std::uintptr_t{0x5EED});
AEGP_CompH const kComp = reinterpret_cast<AEGP_CompH>(std::uintptr_t{0xC0});

Host& H() { return Host::Current(); }
AEGP_LayerH Handle(std::size_t i) { return reinterpret_cast<AEGP_LayerH>(i + 1); }
std::size_t IndexOf(AEGP_LayerH handle) { return reinterpret_cast<std::size_t>(handle) - 1; }
const Layer& LayerOf(AEGP_LayerH handle) { return H().layers.at(IndexOf(handle)); }
int BytesOf(const PF_EffectWorld* world) { return H().memory.at(world->data).second; }

PF_Err CheckoutParam(PF_ProgPtr, A_long index, A_long time, A_long step, A_u_long scale,
                     PF_ParamDef* param) {
  if (const PF_Err err = H().Say("checkout_param", index, time, step, scale)) return err;
  *param = H().Param(index);
  if (H().animate) H().animate(*param, index, time);
  param->unused = index;  // recognises the record at check-in
  return PF_Err_NONE;
}
PF_Err CheckinParam(PF_ProgPtr, PF_ParamDef* param) {
  return H().Say("checkin_param", param->unused);
}
PF_Err AddParam(PF_ProgPtr, A_long index, PF_ParamDef* def) {
  if (const PF_Err err = H().Say("add_param", index)) return err;
  H().added.push_back(*def);
  return PF_Err_NONE;
}
PF_Err Progress(PF_ProgPtr, A_long current, A_long total) {
  return H().Say("progress", current, total);
}
PF_Err Fill(PF_ProgPtr, const PF_Pixel* color, const PF_Rect* rect, PF_EffectWorld* world) {
  const char* where = world == H().lent_output ? "output" : "scratch";
  const PF_Err err =
      color == nullptr
          ? H().Say("fill", where, "clear", rect == nullptr ? "all" : "part")
          : H().Say("fill", where, int{color->alpha}, int{color->red}, int{color->green},
                    int{color->blue}, rect == nullptr ? "all" : "part");
  if (err != PF_Err_NONE) return err;
  const auto bytes = static_cast<std::size_t>(BytesOf(world));
  for (int y = 0; y < world->height; ++y) {
    char* row = reinterpret_cast<char*>(world->data) + std::ptrdiff_t{y} * world->rowbytes;
    for (int x = 0; x < world->width; ++x, row += bytes) {
      if (color == nullptr) {
        std::memset(row, 0, bytes);
      } else {
        std::memcpy(row, color, sizeof *color);
      }
    }
  }
  return PF_Err_NONE;
}

template <class Pixel>
PF_Err Iterate(PF_InData*, A_long base, A_long final, PF_EffectWorld* src, const PF_Rect* area,
               void* refcon, PF_IteratePixelFunc<Pixel> function, PF_EffectWorld* dst) {
  const char* name = sizeof(Pixel) == 4   ? "iterate"
                     : sizeof(Pixel) == 8 ? "iterate16"
                                          : "iterate_float";
  if (const PF_Err err =
          H().Say(name, base, final, src == nullptr && area == nullptr ? "all" : "part"))
    return err;
  for (int y = 0; y < dst->height; ++y) {
    auto* row = reinterpret_cast<Pixel*>(reinterpret_cast<char*>(dst->data) +
                                         std::ptrdiff_t{y} * dst->rowbytes);
    for (int x = 0; x < dst->width; ++x) {
      if (const PF_Err err = function(refcon, x, y, nullptr, row + x)) return err;
    }
  }
  return PF_Err_NONE;
}

template <class Pixel>
PF_Err Sample(PF_ProgPtr, PF_Fixed x, PF_Fixed y, const PF_SampPB* samp, Pixel* out) {
  const std::int64_t area = 4 * std::int64_t{FixMul(samp->x_radius, samp->y_radius)};
  if (samp->area != std::min<std::int64_t>(area, INT32_MAX)) return PF_Err_BAD_CALLBACK_PARAM;
  const PF_EffectWorld& src = *samp->src;
  const int i = std::clamp(x / 65536, 0, src.width - 1),
            j = std::clamp(y / 65536, 0, src.height - 1);
  *out = reinterpret_cast<const Pixel*>(reinterpret_cast<const char*>(src.data) +
                                        std::ptrdiff_t{j} * src.rowbytes)[i];
  return PF_Err_NONE;
}

A_long Sprintf(A_char* buffer, const A_char* format, ...) {
  va_list args;
  va_start(args, format);
  const int n = std::vsprintf(buffer, format, args);
  va_end(args);
  return n;
}

PF_Err Made(PF_EffectWorld* world, int width, int height, bool clear, int bytes) {
  H().Allocate(*world, width, height, bytes);
  if (clear) std::memset(world->data, 0, static_cast<std::size_t>(world->rowbytes * height));
  return PF_Err_NONE;
}
/// Counts as done whatever the call is answered with.
void Disposed(PF_EffectWorld* world) { H().memory.erase(world->data); }

const PF_WorldSuite1 kWorld1{
    [](PF_ProgPtr, A_long w, A_long h, PF_NewWorldFlags flags, PF_EffectWorld* world) {
      if (const PF_Err err = H().Say("new_world", w, h, flags)) return err;
      return Made(world, w, h, flags & 1, flags & 2 ? 8 : 4);
    },
    [](PF_ProgPtr, PF_EffectWorld* world) {
      Disposed(world);
      return H().Say("dispose_world");
    }};
const PF_WorldSuite2 kWorld2{
    [](PF_ProgPtr, A_long w, A_long h, PF_Boolean clear, PF_PixelFormat format,
       PF_EffectWorld* world) {
      if (const PF_Err err = H().Say("PF_NewWorld", w, h, int{clear}, format)) return err;
      return Made(world, w, h, clear, 16);
    },
    [](PF_ProgPtr, PF_EffectWorld* world) {
      Disposed(world);
      return H().Say("PF_DisposeWorld");
    },
    [](const PF_EffectWorld* world, PF_PixelFormat* format) {
      if (const PF_Err err = H().Say("PF_GetPixelFormat")) return err;
      const int bytes = BytesOf(world);
      *format = H().format != PF_PixelFormat_INVALID ? H().format
                : bytes == 4                         ? PF_PixelFormat_ARGB32
                : bytes == 8                         ? PF_PixelFormat_ARGB64
                                                     : PF_PixelFormat_ARGB128;
      return PF_Err_NONE;
    }};
const PF_ParamUtilsSuite1 kParamUtils{[](PF_ProgPtr, A_long index, const PF_ParamDef* def) {
  H().updates.emplace_back(index, *def);
  return H().Say("PF_UpdateParamUI", index);
}};
const PF_Sampling8Suite1 kSampling8{nullptr, nullptr, Sample<PF_Pixel>};
const PF_Sampling16Suite1 kSampling16{nullptr, nullptr, Sample<PF_Pixel16>};
const PF_SamplingFloatSuite1 kSamplingFloat{nullptr, nullptr, Sample<PF_PixelFloat>};
const PF_iterateFloatSuite1 kIterateFloat{Iterate<PF_PixelFloat>};
const PF_ColorParamSuite1 kColorParam{[](PF_ProgPtr, const PF_ParamDef* def, PF_PixelFloat* color) {
  *color = H().float_color;
  return H().Say("PF_GetFloatingPointColorFromColorDef", def->unused);
}};
const AEGP_PFInterfaceSuite1 kPFInterface{
    [](PF_ProgPtr, AEGP_LayerH* layer) {
      *layer = H().effect_layer < 0 ? nullptr : Handle(static_cast<std::size_t>(H().effect_layer));
      return H().Say("AEGP_GetEffectLayer");
    },
    [](PF_ProgPtr, A_long time, A_u_long scale, A_Time* comp_time) {
      *comp_time = {time + 7, scale};
      return H().Say("AEGP_ConvertEffectToCompTime", time, scale);
    }};
const AEGP_LayerSuite5 kLayer5{
    [](AEGP_CompH, A_long* n) {
      *n = static_cast<A_long>(H().layers.size());
      return H().Say("AEGP_GetCompNumLayers");
    },
    [](AEGP_CompH, A_long i, AEGP_LayerH* layer) {
      const auto index = static_cast<std::size_t>(i);
      *layer = H().layers.at(index).null ? nullptr : Handle(index);
      return H().Say("AEGP_GetCompLayerByIndex", i);
    },
    [](AEGP_LayerH layer, AEGP_CompH* comp) {
      *comp = LayerOf(layer).null ? nullptr : kComp;
      return H().Say("AEGP_GetLayerParentComp", IndexOf(layer));
    },
    [](AEGP_LayerH layer, AEGP_LTimeMode mode, const A_Time* time, A_Boolean* active) {
      *active = LayerOf(layer).active;
      return H().Say("AEGP_IsVideoActive", IndexOf(layer), mode, time->value, time->scale);
    },
    [](AEGP_LayerH layer, AEGP_ObjectType* type) {
      *type = LayerOf(layer).object;
      return H().Say("AEGP_GetLayerObjectType", IndexOf(layer));
    },
    [](AEGP_LayerH layer, const A_Time* view, const A_Time* comp, A_Matrix4* world) {
      *world = LayerOf(layer).world;
      return H().Say("AEGP_GetLayerToWorldXformFromView", IndexOf(layer), view->value, comp->value);
    }};
const AEGP_LightSuite1 kLight1{[](AEGP_LayerH layer, AEGP_LightType* type) {
  *type = LayerOf(layer).light;
  return H().Say("AEGP_GetLightType", IndexOf(layer));
}};
const AEGP_StreamSuite4 kStream4{[](AEGP_LayerH handle, AEGP_LayerStream stream,
                                    AEGP_LTimeMode mode, const A_Time* time, A_Boolean pre,
                                    AEGP_StreamVal* value, AEGP_StreamType*) {
  const Layer& layer = LayerOf(handle);
  switch (stream) {
    case AEGP_LayerStream_INTENSITY:
      value->one_d = layer.intensity;
      break;
    case AEGP_LayerStream_CONE_ANGLE:
      value->one_d = layer.cone_angle;
      break;
    case AEGP_LayerStream_CONE_FEATHER:
      value->one_d = layer.cone_feather;
      break;
    default:
      value->color = {1, layer.color[0], layer.color[1], layer.color[2]};
  }
  return H().Say("AEGP_GetLayerStreamValue", IndexOf(handle), stream, mode, time->value, int{pre});
}};

const std::map<std::pair<std::string, int>, const void*> kTables{
    {{kPFWorldSuite, 1}, &kWorld1},
    {{kPFWorldSuite, 2}, &kWorld2},
    {{kPFParamUtilsSuite, 1}, &kParamUtils},
    {{kPFSampling8Suite, 1}, &kSampling8},
    {{kPFSampling16Suite, 1}, &kSampling16},
    {{kPFSamplingFloatSuite, 1}, &kSamplingFloat},
    {{kPFIterateFloatSuite, 1}, &kIterateFloat},
    {{kPFColorParamSuite, 1}, &kColorParam},
    {{kAEGPPFInterfaceSuite, 1}, &kPFInterface},
    {{kAEGPLayerSuite, 5}, &kLayer5},
    {{kAEGPLightSuite, 1}, &kLight1},
    {{kAEGPStreamSuite, 4}, &kStream4}};

SPErr Acquire(const char* name, std::int32_t version, const void** suite) {
  *suite = nullptr;
  if (const PF_Err err = H().Say("AcquireSuite", name, version)) return err;
  if (H().missing.contains({name, version})) return H().null_tables ? 0 : 1;
  *suite = "any";
  for (const auto* tables : {&kTables, &std::as_const(H().replaced)}) {
    if (const auto table = tables->find({name, version}); table != tables->end()) {
      *suite = table->second;
    }
  }
  return 0;
}
SPErr Release(const char* name, std::int32_t version) {
  return H().Say("ReleaseSuite", name, version);
}

}  // namespace

Host& Host::Current() { return *g_host; }

Host::Host() {
  g_host = this;
  basic = {Acquire, Release};
  utils.fill = Fill;
  utils.iterate = Iterate<PF_Pixel>;
  utils.iterate16 = Iterate<PF_Pixel16>;
  utils.ansi = {std::cos, std::pow, std::sin, std::sqrt, Sprintf, std::strcpy};
  in.inter = {CheckoutParam, CheckinParam, AddParam, Progress};
  in.utils = &utils;
  in.effect_ref = kRef;
  in.quality = PF_Quality_HI;
  in.version = {13, 0};
  in.time_step = in.local_time_step = 1024;
  in.time_scale = 30720;
  in.width = 96;
  in.height = 54;
  in.downsample_x = in.downsample_y = in.pixel_aspect_ratio = {1, 1};
  in.pica_basicP = &basic;
  records.resize(29);
  MainEntry(PF_Cmd_PARAMS_SETUP, &in, &out, nullptr, nullptr, nullptr);
  for (std::size_t i = 0; i < added.size() && i < 28; ++i) records[i + 1] = added[i];
  added.clear();
  log.clear();
  out = {};
}

Host::~Host() { g_host = nullptr; }

PF_Err Host::Run(PF_Cmd cmd, PF_LayerDef* output_world, void* extra) {
  records[0].u.ld = input;
  std::vector<PF_ParamDef*> params;
  for (PF_ParamDef& record : records) params.push_back(&record);
  return MainEntry(cmd, &in, &out, params.data(), output_world, extra);
}

PF_Err Host::RenderSmart(PF_LRect asked) {
  PF_SmartRenderInput request{{asked, 0, 0, 0}};
  PF_SmartRenderCallbacks callbacks{[](PF_ProgPtr, A_long id, PF_EffectWorld** world) {
                                      *world = H().lent_input;
                                      return H().Say("checkout_layer_pixels", id);
                                    },
                                    [](PF_ProgPtr, PF_EffectWorld** world) {
                                      *world = H().lent_output;
                                      return H().Say("checkout_output");
                                    }};
  PF_SmartRenderExtra extra{&request, &callbacks};
  return Run(PF_Cmd_SMART_RENDER, nullptr, &extra);
}

void Host::Allocate(PF_EffectWorld& world, int width, int height, int bytes, int padding) {
  const int rowbytes = width * bytes + padding;
  const auto size = static_cast<std::size_t>(rowbytes * height) + 16;
  auto pixels = std::make_unique<char[]>(size);
  std::memset(pixels.get(), 0xCD, size);
  world = {bytes == 8 ? PF_WorldFlag_DEEP : 0,
           reinterpret_cast<PF_Pixel*>(pixels.get()),
           rowbytes,
           width,
           height,
           0,
           0};
  void* const key = pixels.get();
  memory[key] = {std::move(pixels), bytes};
}

void Host::SetPoint(int index, double x, double y) {
  Param(index).u.td.x_value = Fixed(x);
  Param(index).u.td.y_value = Fixed(y);
}

Log Host::Lines(const std::set<std::string>& words) const {
  Log lines;
  for (const std::string& line : log) {
    if (words.empty() || words.contains(line.substr(0, line.find(' ')))) lines.push_back(line);
  }
  return lines;
}

std::function<PF_Err(const std::string&)> FailNth(std::string prefix, PF_Err code, int nth) {
  return [prefix = std::move(prefix), code, nth](const std::string& line) mutable {
    return line.starts_with(prefix) && --nth == 0 ? code : PF_Err_NONE;
  };
}

}  // namespace fake
