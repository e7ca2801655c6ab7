// The host under test: an effect of our own that draws nothing but looks, from where an effect
// stands, whether its host keeps its word.
#pragma once

#include <string>
#include <vector>

#include "hosting/setup.h"
#include "hosting/world.h"
#include "pf_effect.h"

namespace validate {

/// One at a time in a process.
class Probe {
 public:
  static PF_Err Entry(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                      PF_LayerDef* output, void* extra);

  /// A layer whose pixels and controls the probe knows.
  static hosting::Setup LayerFor(const std::vector<hosting::ControlInfo>& controls);

  /// What the next render must be like.
  struct Plan {
    hosting::Depth depth = hosting::Depth::k8;
    PF_LRect region{};  // buffer pixels
    A_long time = 0;
    bool cancelled = false;  // by the progress function
  };
  static Plan plan;
  /// Promises that were not kept since this was cleared.
  static std::vector<std::string> findings;
  static int promises;  // looked at
};

}  // namespace validate
