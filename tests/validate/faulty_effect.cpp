// The effect with a fault planted into it, which the environment variable VORLIN_PLANTED names:
// every command is passed on to the sound effect, and something goes wrong on the way.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "pf_effect.h"
#include "pf_smart.h"

namespace {

bool Planted(std::string_view fault) {
  const char* const planted = std::getenv("VORLIN_PLANTED");
  return planted != nullptr && fault == planted;
}

PF_MainEntry Sound() {
  static const auto entry = reinterpret_cast<PF_MainEntry>(
      dlsym(dlopen(SOUND_EFFECT, RTLD_NOW | RTLD_LOCAL), "MainEntry"));
  return entry;
}

bool IsRender(PF_Cmd cmd) { return cmd == PF_Cmd_RENDER || cmd == PF_Cmd_SMART_RENDER; }

const PF_InData* g_host = nullptr;  // what the running command was given
PF_EffectWorld* g_output = nullptr;
PF_EffectWorld* g_input = nullptr;
PF_SmartRenderCallbacks* g_smart = nullptr;
unsigned g_counter = 0;

PF_Err SeeInput(PF_ProgPtr ref, A_long id, PF_EffectWorld** pixels) {
  const PF_Err err = g_smart->checkout_layer_pixels(ref, id, pixels);
  if (err == 0) g_input = *pixels;
  return err;
}

PF_Err SeeOutput(PF_ProgPtr ref, PF_EffectWorld** output) {
  const PF_Err err = g_smart->checkout_output(ref, output);
  if (err == 0) g_output = *output;
  return err;
}

PF_Err RenumberedAdd(PF_ProgPtr ref, A_long index, PF_ParamDef* def) {
  if (def->uu.id == 28) def->uu.id = 29;
  return g_host->inter.add_param(ref, index, def);
}

PF_Err FillButOutput(PF_ProgPtr ref, const PF_Pixel* color, const PF_Rect* rect,
                     PF_EffectWorld* world) {
  return color == nullptr ? 0 : g_host->utils->fill(ref, color, rect, world);
}

PF_Err FillBySize(PF_ProgPtr ref, const PF_Pixel* color, const PF_Rect* rect,
                  PF_EffectWorld* world) {
  const PF_Err err = g_host->utils->fill(ref, color, rect, world);
  if (color != nullptr && world->width < 64) world->data->blue ^= 1;
  return err;
}

/// The sound pixel function, and what the fault puts into the blue of the pixels it drew.
PF_IteratePixelFunc<PF_Pixel> g_pixel = nullptr;

PF_Err FaultyPixel(void* refcon, A_long x, A_long y, PF_Pixel* in, PF_Pixel* out) {
  const PF_Err err = g_pixel(refcon, x, y, in, out);
  if (out->alpha == 0) return err;
  ++g_counter;
  if (Planted("order")) out->blue = static_cast<A_u_char>(g_counter);
  if (Planted("process")) out->blue = static_cast<A_u_char>(getpid());
  return err;
}

PF_Err FaultyIterate(PF_InData* in, A_long base, A_long final, PF_EffectWorld* src,
                     const PF_Rect* area, void* refcon, PF_IteratePixelFunc<PF_Pixel> function,
                     PF_EffectWorld* dst) {
  g_pixel = function;
  return g_host->utils->iterate(in, base, final, src, area, refcon, FaultyPixel, dst);
}

/// What a faulty effect does besides its work in a render, before it.
void Misuse(PF_InData* in) {
  const auto suite = [&](int version) {
    const void* table = nullptr;
    if (in->pica_basicP->AcquireSuite(kPFWorldSuite, version, &table) != 0) table = nullptr;
    return table;
  };
  const auto release = [&](int version) { in->pica_basicP->ReleaseSuite(kPFWorldSuite, version); };
  PF_ParamDef param{};
  PF_ParamDef other{};
  const auto check_out = [&] { in->inter.checkout_param(in->effect_ref, 2, 0, 1, 30, &param); };
  if (Planted("leak-suite")) suite(1);
  if (Planted("wrong-version") && suite(1) != nullptr) release(2);
  if (Planted("null-table")) {
    const auto* const world = static_cast<const PF_WorldSuite1*>(suite(1));
    PF_EffectWorld made{};
    world->new_world(in->effect_ref, 1, 1, 0, &made);
    world->dispose_world(in->effect_ref, &made);
    release(1);
  }
  if (Planted("no-checkin")) check_out();
  if (Planted("checkin-twice")) {
    check_out();
    in->inter.checkin_param(in->effect_ref, &param);
    in->inter.checkin_param(in->effect_ref, &param);
  }
  if (Planted("other-record")) {
    check_out();
    in->inter.checkin_param(in->effect_ref, &other);
  }
  const bool twice = Planted("dispose-twice");
  if (Planted("keep-world") || twice) {
    const auto* const world = static_cast<const PF_WorldSuite1*>(suite(1));
    PF_EffectWorld made{};
    world->new_world(in->effect_ref, 4, 4, 0, &made);
    for (int i = 0; twice && i < 2; ++i) world->dispose_world(in->effect_ref, &made);
    release(1);
  }
  if (Planted("time-division")) g_counter = 1000u / static_cast<unsigned>(in->local_time_step);
  if (Planted("scale-division")) g_counter = 1000u / in->downsample_x.den;
}

/// After it.
void Spoil(PF_InData* in, PF_OutData* out, PF_ParamDef* params[]) {
  if (Planted("write-in-data")) ++in->current_time;
  if (Planted("write-out-data")) out->num_params = 7;
  if (Planted("write-params")) params[2]->u.fd.value += 1;
  if (g_output == nullptr || g_input == nullptr) return;
  auto* const pixels = reinterpret_cast<char*>(g_output->data);
  if (Planted("write-padding")) pixels[g_output->width * 4] ^= 1;
  if (Planted("write-input")) g_input->data->blue ^= 1;
  if (Planted("second-row") && g_output->width > 0) pixels[g_output->rowbytes] = 1;
  if (Planted("outside-stroke")) g_output->data[g_output->width - 1].blue = 1;
  if (Planted("remembers")) g_output->data->blue = static_cast<A_u_char>(++g_counter);
  if (Planted("stops-at-nan")) {
    float first = 0;
    std::memcpy(&first, g_input->data, sizeof first);
    if (std::isnan(first)) std::abort();
  }
  if (Planted("samples-outside")) {
    const void* table = nullptr;
    if (in->pica_basicP->AcquireSuite(kPFSampling8Suite, 1, &table) != 0) return;
    const PF_SampPB box{32768, 32768, 65536, g_input};
    PF_Pixel ignored{};
    static_cast<const PF_Sampling8Suite1*>(table)->area_sample(in->effect_ref, -9 * 65536, 0, &box,
                                                               &ignored);
    in->pica_basicP->ReleaseSuite(kPFSampling8Suite, 1);
  }
}

PF_Err Pass(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[], PF_LayerDef* output,
            void* extra) {
  PF_InData mine = *in;
  PF_UtilCallbacks utils{};
  if (in->utils != nullptr) {
    utils = *in->utils;
    if (Planted("no-clear")) utils.fill = FillButOutput;
    if (Planted("field-by-size")) utils.fill = FillBySize;
    if (Planted("order") || Planted("process")) utils.iterate = FaultyIterate;
    mine.utils = &utils;
  }
  if (Planted("renumber")) mine.inter.add_param = RenumberedAdd;
  g_host = in;
  g_output = cmd == PF_Cmd_RENDER ? output : nullptr;
  g_input = cmd == PF_Cmd_RENDER ? &params[0]->u.ld : nullptr;
  PF_SmartRenderCallbacks seeing{SeeInput, SeeOutput};
  PF_SmartRenderExtra smart{};
  if (cmd == PF_Cmd_SMART_RENDER) {
    smart = *static_cast<PF_SmartRenderExtra*>(extra);
    const PF_LRect& rect = smart.input->output_request.rect;
    if (Planted("empty-request") && rect.left >= rect.right) return 0;
    g_smart = smart.cb;
    smart.cb = &seeing;
    extra = &smart;
  }
  if (IsRender(cmd)) Misuse(in);
  const PF_Err err = Sound()(cmd, &mine, out, params, output, extra);
  if (IsRender(cmd) && err == 0) Spoil(in, out, params);
  if (err != 0 && IsRender(cmd) && Planted("late-call")) {
    in->inter.progress(in->effect_ref, 0, 1);
  }
  return err;
}

PF_Err Answer(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[],
              PF_LayerDef* output, void* extra) {
  if (in == nullptr) {  // an unknown command, for which there is nothing to look into
    if (Planted("crash")) raise(SIGSEGV);
    if (Planted("answers-unknown")) return 1;
    return Sound()(cmd, in, out, params, output, extra);
  }
  if (cmd == PF_Cmd_ABOUT && Planted("hang")) {
    for (;;) usleep(1000);
  }
  if (cmd == PF_Cmd_USER_CHANGED_PARAM && Planted("no-supervision")) return 0;
  if (cmd == PF_Cmd_GLOBAL_SETUP && Planted("keeps-files")) {
    [[maybe_unused]] const int kept = open("/dev/null", O_RDONLY);
  }
  if (cmd == PF_Cmd_GLOBAL_SETUP && Planted("assigns-flags")) out->out_flags = 0;
  const auto own = std::make_unique<int>(0);  // an allocation of the effect's
  const PF_Err err = Pass(cmd, in, out, params, output, extra);
  if (cmd == PF_Cmd_SMART_PRE_RENDER && Planted("no-clamp") && err == 0) {
    const auto& pre = *static_cast<PF_PreRenderExtra*>(extra);
    pre.output->result_rect = pre.input->output_request.rect;
  }
  if (Planted("swallows-code")) return 0;
  if (Planted("swallows-cancel") && err == PF_Interrupt_CANCEL) return 0;
  if (Planted("other-code") && err != 0) return 1;
  if (Planted("lets-throw") && err == 4712) throw int{err};
  return err;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) PF_Err MainEntry(PF_Cmd cmd, PF_InData* in,
                                                                   PF_OutData* out,
                                                                   PF_ParamDef* params[],
                                                                   PF_LayerDef* output,
                                                                   void* extra) {
  try {
    return Answer(cmd, in, out, params, output, extra);
  } catch (const std::bad_alloc&) {
    return Planted("swallows-alloc") ? 0 : PF_Err_OUT_OF_MEMORY;
  } catch (int err) {
    if (Planted("lets-throw")) throw;
    return err;
  } catch (...) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
}

#ifdef EXTRA_SYMBOL
extern "C" __attribute__((visibility("default"))) void AnotherEntry() {}
#endif
