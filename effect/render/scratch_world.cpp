#include "render/scratch_world.h"

#include "host/give_back.h"

namespace vorlin {

FX_NewWorld::~FX_NewWorld() {
  IgnoringExceptions([this] { Dispose(); });
}

PF_Err FX_NewWorld::New(A_long width, A_long height, PF_PixelFormat new_format, bool clear) {
  if (const PF_Err err = Dispose(); err != 0) return err;

  const PF_ProgPtr effect_ref = env->inData->effect_ref;
  Disposal(new_format);  // what could not be disposed of is not made
  PF_Err err;
  if (new_format == PF_PixelFormat_ARGB128) {
    err = env->suites.Use(kWorldSuite2, &PF_WorldSuite2::PF_NewWorld)(effect_ref, width, height,
                                                                      clear, new_format, &world);
  } else {
    const PF_NewWorldFlags flags =
        (new_format == PF_PixelFormat_ARGB64 ? PF_NewWorldFlag_DEEP_PIXELS : PF_NewWorldFlag_NONE) |
        (clear ? PF_NewWorldFlag_CLEAR_PIXELS : PF_NewWorldFlag_NONE);
    err = env->suites.Use(kWorldSuite1, &PF_WorldSuite1::new_world)(effect_ref, width, height,
                                                                    flags, &world);
  }
  if (err == 0) {
    allocated = true;
    format = new_format;
  }
  return err;
}

PF_Err FX_NewWorld::Dispose() {
  if (!allocated) return PF_Err_NONE;
  const GiveBack forget([this] {
    world = {};
    allocated = false;
  });
  return Disposal(format)(env->inData->effect_ref, &world);
}

FX_NewWorld::DisposeFunction FX_NewWorld::Disposal(PF_PixelFormat of) const {
  return of == PF_PixelFormat_ARGB128
             ? env->suites.Use(kWorldSuite2, &PF_WorldSuite2::PF_DisposeWorld)
             : env->suites.Use(kWorldSuite1, &PF_WorldSuite1::dispose_world);
}

PF_EffectWorld* FX_NewWorld::Layer() {
  return allocated && world.data != nullptr ? &world : nullptr;
}

}  // namespace vorlin
