#include "host/fxenv.h"

#include "host/give_back.h"

namespace vorlin {

Fxenv::Fxenv(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** param_array,
             PF_EffectWorld* output_world)
    : inData(in_data),
      outData(out_data),
      params(param_array),
      output(output_world),
      suites(in_data->pica_basicP),
      highQuality(in_data->quality == PF_Quality_HI) {}

bool Fxenv::AskPixelFormat() {
  // Not through the cache: a host without this suite is served too.
  const void* table = nullptr;
  if (suites.basicSuite->AcquireSuite(kPFWorldSuite, 2, &table) != 0 || table == nullptr) {
    return false;
  }
  const GiveBack release([this] { suites.ReleaseSuite(kPFWorldSuite, 2); });
  const auto ask = static_cast<const PF_WorldSuite2*>(table)->PF_GetPixelFormat;
  if (ask == nullptr) return false;
  ask(output, &pixelFormat);
  return true;
}

PF_PixelFormat Fxenv::PixelFormat() noexcept {
  if (pixelFormat != PF_PixelFormat_INVALID || output == nullptr) return pixelFormat;
  bool answered = false;
  IgnoringExceptions([&] { answered = AskPixelFormat(); });
  if (!answered) {
    const bool deep = (output->world_flags & PF_WorldFlag_DEEP) != 0;
    pixelFormat = deep ? PF_PixelFormat_ARGB64 : PF_PixelFormat_ARGB32;
  }
  return pixelFormat;
}

}  // namespace vorlin
