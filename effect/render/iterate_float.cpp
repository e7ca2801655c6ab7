#include "render/iterate_float.h"

#include "host/suite_handler.h"

namespace vorlin {

PF_Err ZT_Iterate(PF_InData* in_data, int progress_base, int progress_final, PF_LayerDef* src,
                  const PF_Rect* area, void* refcon, PF_IteratePixelFunc<PF_PixelFloat> pix_fn,
                  PF_LayerDef* dst) {
  AEGP_SuiteHandler suites(in_data->pica_basicP);
  return suites.Use(kIterateFloatSuite, &PF_iterateFloatSuite1::iterate)(
      in_data, progress_base, progress_final, src, area, refcon, pix_fn, dst);
}

}  // namespace vorlin
