#include <climits>

#include "entry_callbacks.h"
#include "entry_running.h"
#include "invariant.h"

namespace fuzz {
namespace {

AEGP_CompH const kComp = reinterpret_cast<AEGP_CompH>(std::uintptr_t{0xC0});

// A layer's handle is its index + 1.
AEGP_LayerH Handle(std::size_t index) { return reinterpret_cast<AEGP_LayerH>(index + 1); }
const Layer& LayerOf(AEGP_LayerH handle) {
  const auto index = reinterpret_cast<std::uintptr_t>(handle) - 1;
  Require(index < Now().plan.layers.size(), "a layer that is not the host's");
  return Now().plan.layers[index];
}

/// Answers a question about the composition.
template <class Answer>
PF_Err Composition(Answer answer) {
  if (const PF_Err err = Arrive(CallKind::kComposition)) return err;
  answer();
  return PF_Err_NONE;
}

}  // namespace

const AEGP_PFInterfaceSuite1 kPFInterface{
    [](PF_ProgPtr, AEGP_LayerH* layer) {
      return Composition([&] {
        const Plan& plan = Now().plan;
        *layer = plan.no_effect_layer || plan.layers.empty() ? nullptr : Handle(0);
      });
    },
    [](PF_ProgPtr, A_long time, A_u_long scale, A_Time* comp_time) {
      return Composition([&] {
        Require(time >= 0, "a time before 0");
        *comp_time = {time, scale};
      });
    }};

const AEGP_LayerSuite5 kLayer{
    [](AEGP_CompH comp, A_long* count) {
      return Composition([&] {
        Require(comp == kComp, "another composition");
        const Plan& plan = Now().plan;
        *count = plan.layer_count.value_or(static_cast<A_long>(plan.layers.size()));
      });
    },
    [](AEGP_CompH, A_long index, AEGP_LayerH* layer) -> PF_Err {
      if (const PF_Err err = Arrive(CallKind::kComposition)) return err;
      const auto at = static_cast<std::size_t>(index);
      const auto& layers = Now().plan.layers;
      if (at >= layers.size()) {
        const bool says_nothing = Now().plan.layer_count == INT_MAX;
        return says_nothing ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
      }
      *layer = layers[at].null ? nullptr : Handle(at);
      return PF_Err_NONE;
    },
    [](AEGP_LayerH layer, AEGP_CompH* comp) {
      return Composition([&] {
        LayerOf(layer);
        *comp = Now().plan.no_composition ? nullptr : kComp;
      });
    },
    [](AEGP_LayerH layer, AEGP_LTimeMode, const A_Time*, A_Boolean* active) {
      return Composition([&] { *active = LayerOf(layer).active; });
    },
    [](AEGP_LayerH layer, AEGP_ObjectType* type) {
      return Composition([&] { *type = LayerOf(layer).object; });
    },
    [](AEGP_LayerH layer, const A_Time*, const A_Time*, A_Matrix4* world) {
      return Composition([&] { *world = LayerOf(layer).world; });
    }};

const AEGP_LightSuite1 kLight{[](AEGP_LayerH layer, AEGP_LightType* type) {
  return Composition([&] { *type = LayerOf(layer).light; });
}};

const AEGP_StreamSuite4 kStream{[](AEGP_LayerH layer, AEGP_LayerStream stream, AEGP_LTimeMode,
                                   const A_Time*, A_Boolean, AEGP_StreamVal* value,
                                   AEGP_StreamType*) {
  return Composition([&] {
    const auto& values = LayerOf(layer).streams;
    Require(stream >= AEGP_LayerStream_INTENSITY && stream <= AEGP_LayerStream_CONE_FEATHER,
            "no such stream");
    if (stream == AEGP_LayerStream_COLOR) {
      value->color = {1, values[1], values[1] / 2, 1};
    } else {
      value->one_d = values[static_cast<std::size_t>(stream - AEGP_LayerStream_INTENSITY)];
    }
  });
}};

}  // namespace fuzz
