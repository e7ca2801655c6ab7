#include "faulty_host.h"

#include <cstring>
#include <string_view>
#include <vector>

#include "pf_smart.h"
#include "probe.h"

namespace {

std::string_view g_planted;
PF_InData* g_host = nullptr;  // as it is without a fault, of the running command
PF_SmartRenderCallbacks* g_smart = nullptr;
PF_PreRenderCallbacks* g_pre = nullptr;
std::vector<PF_EffectWorld> g_made;

bool Planted(std::string_view fault) { return fault == g_planted; }

const PF_WorldSuite2& Worlds() {
  static const void* table = nullptr;
  if (g_host->pica_basicP->AcquireSuite(kPFWorldSuite, 2, &table) == 0) {
    g_host->pica_basicP->ReleaseSuite(kPFWorldSuite, 2);
  }
  return *static_cast<const PF_WorldSuite2*>(table);
}

PF_Err NewWorld(PF_ProgPtr ref, A_long width, A_long height, PF_Boolean clear,
                PF_PixelFormat format, PF_EffectWorld* world) {
  const bool dirty = Planted("does not clear");
  if (Planted("swaps width and height")) std::swap(width, height);
  const PF_Err err = Worlds().PF_NewWorld(ref, width, height, !dirty && clear, format, world);
  g_made.push_back(*world);
  if (Planted("hands out a world twice")) world->data = g_made.front().data;
  return err;
}

PF_Err DisposeWorld(PF_ProgPtr ref, PF_EffectWorld* world) {
  return Planted("keeps worlds") ? 0 : Worlds().PF_DisposeWorld(ref, world);
}

PF_Err GetPixelFormat(const PF_EffectWorld* world, PF_PixelFormat* format) {
  const PF_Err err = Worlds().PF_GetPixelFormat(world, format);
  if (Planted("tells another format")) *format = PF_PixelFormat_INVALID;
  return err;
}

template <class Pixel>
PF_Err ShiftedSample(PF_ProgPtr ref, PF_Fixed x, PF_Fixed y, const PF_SampPB* box, Pixel* out) {
  const auto row = reinterpret_cast<const char*>(box->src->data) +
                   std::ptrdiff_t{box->src->rowbytes} * (y >> 16);
  static_cast<void>(ref);
  *out = reinterpret_cast<const Pixel*>(row)[((x >> 16) + 1) % box->src->width];
  return 0;
}

SPErr Acquire(const char* name, std::int32_t version, const void** table) {
  static constexpr PF_WorldSuite2 kWorlds{NewWorld, DisposeWorld, GetPixelFormat};
  static constexpr PF_Sampling8Suite1 kShifted{nullptr, nullptr, ShiftedSample<PF_Pixel>};
  if (Planted("takes any version") && std::string_view(name) == kPFWorldSuite) version = 2;
  const SPErr err = g_host->pica_basicP->AcquireSuite(name, version, table);
  if (err != 0 && Planted("has every suite")) return *table = &kWorlds, 0;
  if (err != 0) return err;
  if (std::string_view(name) == kPFWorldSuite && version == 2) *table = &kWorlds;
  if (Planted("samples beside") && std::string_view(name) == kPFSampling8Suite) *table = &kShifted;
  return err;
}

SPErr Release(const char* name, std::int32_t version) {
  if (Planted("forgets a release")) return 0;
  if (Planted("releases another version")) version = 1;
  return g_host->pica_basicP->ReleaseSuite(name, version);
}

PF_Err CheckOut(PF_ProgPtr ref, A_long index, A_long time, A_long step, A_u_long scale,
                PF_ParamDef* record) {
  if (Planted("answers for another time")) time /= 2;
  if (Planted("answers for another control")) index = index % 3 + 1;
  const PF_Err err = g_host->inter.checkout_param(ref, index, time, step, scale, record);
  return Planted("refuses nothing") ? 0 : err;
}

PF_Err CheckIn(PF_ProgPtr ref, PF_ParamDef* record) {
  return Planted("forgets a check-in") ? 0 : g_host->inter.checkin_param(ref, record);
}

PF_Err Progress(PF_ProgPtr ref, A_long current, A_long total) {
  return Planted("never cancels") ? 0 : g_host->inter.progress(ref, current, total);
}

PF_Err Fill(PF_ProgPtr ref, const PF_Pixel* color, const PF_Rect* rect, PF_EffectWorld* world) {
  PF_EffectWorld less = *world;
  if (Planted("fills all but the last row")) --less.height;
  return g_host->utils->fill(ref, color, rect, &less);
}

using PixelFunc = PF_IteratePixelFunc<PF_Pixel>;
struct Pass {
  void* refcon;
  PixelFunc function;
};

PF_Err Twice(void* refcon, A_long x, A_long y, PF_Pixel* in, PF_Pixel* out) {
  const Pass& pass = *static_cast<Pass*>(refcon);
  if (Planted("leaves out a column") && x == 3) return 0;
  if (Planted("renders a row twice") && y == 2) pass.function(pass.refcon, x, y, in, out);
  if (Planted("mirrors the rows")) return pass.function(pass.refcon, x, y, in, out - 2 * x + 20);
  return pass.function(pass.refcon, x, y, in, out);
}

PF_Err Iterate(PF_InData* in, A_long base, A_long final, PF_EffectWorld* src, const PF_Rect* area,
               void* refcon, PixelFunc function, PF_EffectWorld* dst) {
  Pass pass{refcon, function};
  const PF_Err err = g_host->utils->iterate(in, base, final, src, area, &pass, Twice, dst);
  return Planted("loses a pixel's code") ? 0 : err;
}

double CrudeSqrt(double v) { return static_cast<double>(static_cast<float>(v)); }

void Spoil(PF_EffectWorld& input, PF_EffectWorld& output) {
  if (Planted("writes the input")) input.data[5].green ^= 0xFF;
  if (Planted("forgets the padding")) output.rowbytes = output.width * 4;
  if (Planted("lends a smaller output")) --output.width;
  if (Planted("lends one world as both")) output.data = input.data;
  if (Planted("forgets the origin")) output.origin_x = 0;
}

PF_EffectWorld g_input, g_output;  // as lent in smart render

PF_Err LendInput(PF_ProgPtr ref, A_long id, PF_EffectWorld** pixels) {
  const PF_Err err = g_smart->checkout_layer_pixels(ref, id, pixels);
  *pixels = &(g_input = **pixels);
  return err;
}

PF_Err LendOutput(PF_ProgPtr ref, PF_EffectWorld** output) {
  const PF_Err err = g_smart->checkout_output(ref, output);
  *output = &(g_output = **output);
  Spoil(g_input, g_output);
  return Planted("lends nothing") ? (*output = nullptr, err) : err;
}

PF_Err CheckOutLayer(PF_ProgPtr ref, A_long index, A_long id, const PF_RenderRequest* request,
                     A_long time, A_long step, A_u_long scale, PF_CheckoutResult* result) {
  const PF_Err err = g_pre->checkout_layer(ref, index, id, request, time, step, scale, result);
  if (Planted("tells another extent")) ++result->max_result_rect.right;
  return err;
}

}  // namespace

void PlantHostFault(const char* fault) { g_planted = fault; }

PF_Err FaultyHost(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                  PF_LayerDef* output, void* extra) {
  PF_InData in = *in_data;
  PF_UtilCallbacks utils = *in.utils;
  SPBasicSuite basic{Acquire, Release};
  g_host = in_data;
  g_made.clear();
  in.inter.checkout_param = CheckOut;
  in.inter.checkin_param = CheckIn;
  in.inter.progress = Progress;
  in.pica_basicP = &basic;
  in.utils = &utils;
  utils.fill = Fill;
  utils.iterate = Iterate;
  if (Planted("reckons crudely")) utils.ansi.sqrt = CrudeSqrt;
  if (Planted("is late")) in.current_time += in.time_step;
  if (Planted("halves the layer")) in.width /= 2;

  PF_SmartRenderCallbacks lending{LendInput, LendOutput};
  PF_PreRenderCallbacks looking{CheckOutLayer};
  PF_SmartRenderExtra smart{};
  PF_PreRenderExtra pre{};
  PF_ParamDef layer{};
  PF_EffectWorld lent{};
  if (cmd == PF_Cmd_SMART_RENDER) {
    smart = *static_cast<PF_SmartRenderExtra*>(extra);
    g_smart = smart.cb;
    smart.cb = &lending;
    extra = &smart;
  } else if (cmd == PF_Cmd_SMART_PRE_RENDER) {
    pre = *static_cast<PF_PreRenderExtra*>(extra);
    g_pre = pre.cb;
    pre.cb = &looking;
    extra = &pre;
  } else if (cmd == PF_Cmd_RENDER) {
    layer = *params[0];
    lent = *output;
    Spoil(layer.u.ld, lent);
    params[0] = &layer;
    output = &lent;
  }
  return validate::Probe::Entry(cmd, &in, out_data, params, output, extra);
}
