// Smart render: the effect first says what it needs and yields, then renders just that.
#pragma once

#include "pf_types.h"

struct PF_RenderRequest {
  PF_LRect rect;  // in buffer pixels of the layer
  A_long field;
  A_long channel_mask;
  PF_Boolean preserve_rgb_of_zero_alpha;
};

struct PF_CheckoutResult {
  PF_LRect result_rect;      // what the check-out will give
  PF_LRect max_result_rect;  // the most that it could ever give
};

struct PF_PreRenderInput {
  PF_RenderRequest output_request;
};

struct PF_PreRenderOutput {
  PF_LRect result_rect;      // what the effect will write; inside max_result_rect
  PF_LRect max_result_rect;  // what it would write if asked for everything
  PF_Boolean solid;
  A_short flags;
  void* pre_render_data;
};

struct PF_PreRenderCallbacks {
  /// Announces that the smart render will read layer control index; checkout_id (>= 0, unique
  /// within the frame) names the pixels then.
  PF_Err (*checkout_layer)(PF_ProgPtr effect_ref, A_long index, A_long checkout_id,
                           const PF_RenderRequest* req, A_long what_time, A_long time_step,
                           A_u_long time_scale, PF_CheckoutResult* result);
};

struct PF_PreRenderExtra {
  PF_PreRenderInput* input;
  PF_PreRenderOutput* output;
  PF_PreRenderCallbacks* cb;
};

struct PF_SmartRenderInput {
  PF_RenderRequest output_request;
};

struct PF_SmartRenderCallbacks {
  /// Lends the world announced under checkout_id until the command ends; null where it is empty.
  PF_Err (*checkout_layer_pixels)(PF_ProgPtr effect_ref, A_long checkout_id,
                                  PF_EffectWorld** pixels);
  /// Lends the world to draw into until the command ends; its content is undefined.
  PF_Err (*checkout_output)(PF_ProgPtr effect_ref, PF_EffectWorld** output);
};

struct PF_SmartRenderExtra {
  PF_SmartRenderInput* input;
  PF_SmartRenderCallbacks* cb;
};
