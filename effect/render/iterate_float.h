// Iteration over float pixels.
#pragma once

#include "pf_effect.h"

namespace vorlin {

/// The host's float iteration, with the arguments and results of the other two. Acquires its suite
/// for this one call; throws when the host has none.
PF_Err ZT_Iterate(PF_InData* in_data, int progress_base, int progress_final, PF_LayerDef* src,
                  const PF_Rect* area, void* refcon, PF_IteratePixelFunc<PF_PixelFloat> pix_fn,
                  PF_LayerDef* dst);

}  // namespace vorlin
