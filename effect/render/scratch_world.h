// FX_NewWorld: owner of one scratch image of the host's.
#pragma once

#include "host/fxenv.h"

namespace vorlin {

/// Empty or holding one world, which is disposed of exactly once: by Dispose, by the next New or on
/// destruction.
class FX_NewWorld {
 public:
  /// env must outlive the owner.
  explicit FX_NewWorld(Fxenv& environment) : env(&environment) {}
  ~FX_NewWorld();
  FX_NewWorld(const FX_NewWorld&) = delete;
  FX_NewWorld& operator=(const FX_NewWorld&) = delete;

  /// Replaces the world by a new one, cleared or with undefined content. Returns the host's code;
  /// throws when the host lacks the suite for that format.
  PF_Err New(A_long width, A_long height, PF_PixelFormat new_format, bool clear);

  /// Forgets the world whatever the host answers, and returns that.
  PF_Err Dispose();

  /// Null while there is no world with pixels.
  PF_EffectWorld* Layer();

 private:
  using DisposeFunction = PF_Err (*)(PF_ProgPtr effect_ref, PF_EffectWorld* world);
  /// The host's, for worlds of that format.
  DisposeFunction Disposal(PF_PixelFormat of) const;

  bool allocated = false;
  Fxenv* env;
  PF_EffectWorld world{};  // all zero while empty
  PF_PixelFormat format = PF_PixelFormat_INVALID;
};

}  // namespace vorlin
