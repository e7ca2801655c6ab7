// The host's suites: sampling, iteration, scratch worlds, and the table of all.
#include <limits>
#include <thread>

#include "host_state.h"

namespace testhost {
namespace {

std::uint32_t Mixed(std::uint32_t x) {
  x ^= x >> 16;
  x *= 0x7feb352du;
  x ^= x >> 15;
  x *= 0x846ca68bu;
  return x ^ (x >> 16);
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

}  // namespace

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

template PF_Err Iterate<PF_Pixel, Callback::kIterate>(PF_InData*, A_long, A_long, PF_EffectWorld*,
                                                      const PF_Rect*, void*,
                                                      PF_IteratePixelFunc<PF_Pixel>,
                                                      PF_EffectWorld*);
template PF_Err Iterate<PF_Pixel16, Callback::kIterate16>(PF_InData*, A_long, A_long,
                                                          PF_EffectWorld*, const PF_Rect*, void*,
                                                          PF_IteratePixelFunc<PF_Pixel16>,
                                                          PF_EffectWorld*);

namespace {

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
      constexpr float kInf = std::numeric_limits<float>::infinity();
      constexpr float kOdd[] = {std::numeric_limits<float>::quiet_NaN(), kInf, -kInf, 1e38F,
                                1e-44F};
      to->*channel = static_cast<float>(hash % 4096) / 2048.0F - 0.25F;
      if (h.s.odd_samples && hash % 3 == 0) to->*channel = kOdd[hash / 3 % 5];
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

template <class Pixel>
constexpr PF_SamplingSuite<Pixel> kSampling{OtherSample<Pixel, Callback::kNearestSample>,
                                            OtherSample<Pixel, Callback::kSubpixelSample>,
                                            AreaSample<Pixel>};

/// The table of a suite; every pair has its own.
const void* Table(std::string_view name, int version) {
  static const PF_ParamUtilsSuite1 kParamUtils{UpdateParamUI};
  static const PF_ColorParamSuite1 kColorParam{FloatColor};
  static const PF_iterateFloatSuite1 kIterate{Iterate<PF_PixelFloat, Callback::kIterateFloat>};
  struct Row {
    std::string_view name;
    int version;
    const void* table;
  };
  static const Row kRows[] = {{kPFWorldSuite, 1, &g_world_suite1},
                              {kPFWorldSuite, 2, &g_world_suite2},
                              {kPFParamUtilsSuite, 1, &kParamUtils},
                              {kPFSampling8Suite, 1, &kSampling<PF_Pixel>},
                              {kPFSampling16Suite, 1, &kSampling<PF_Pixel16>},
                              {kPFSamplingFloatSuite, 1, &kSampling<PF_PixelFloat>},
                              {kPFColorParamSuite, 1, &kColorParam},
                              {kPFIterateFloatSuite, 1, &kIterate},
                              {kAEGPPFInterfaceSuite, 1, &g_interface_suite},
                              {kAEGPLayerSuite, 5, &g_layer_suite},
                              {kAEGPLightSuite, 1, &g_light_suite},
                              {kAEGPStreamSuite, 4, &g_stream_suite}};
  for (const Row& row : kRows) {
    if (row.name == name && row.version == version) return row.table;
  }
  return nullptr;
}

SPErr Acquire(const char* name, std::int32_t version, const void** suite) {
  Host& h = *g_host;
  const Verdict v = h.Note(Callback::kAcquire, std::string_view(name), version);
  static constexpr void (*kHollow[8])() = {};
  *suite = v.hollow ? kHollow : v.act ? Table(name, version) : nullptr;
  if (v.code == 0 && *suite != nullptr) ++h.lent_suites[{name, version}];
  return v.code;
}

SPErr Release(const char* name, std::int32_t version) {
  Host& h = *g_host;
  if (h.lent_suites[{name, version}]-- <= 0) h.Blame(std::string("released without need: ") + name);
  return h.Note(Callback::kRelease, std::string_view(name), version).code;
}

}  // namespace

SPBasicSuite g_basic{Acquire, Release};

}  // namespace testhost
