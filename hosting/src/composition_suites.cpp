// The suites about the composition. A layer's handle is its record in the setup, the composition's
// the setup's.
#include <optional>

#include "command.h"

namespace hosting {
namespace {

AEGP_LayerH Handle(const Layer& layer) {
  return reinterpret_cast<AEGP_LayerH>(const_cast<Layer*>(&layer));
}

AEGP_CompH Handle(const Composition& comp) {
  return reinterpret_cast<AEGP_CompH>(const_cast<Composition*>(&comp));
}

/// A call about the composition: announces it, then answers with the given function of the setup.
template <class Answer>
PF_Err AboutComposition(CallKind kind, std::initializer_list<Argument> arguments, Answer answer) {
  Command* const command = Command::Current();
  if (command == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  if (const PF_Err err = command->Arrive(kind, arguments); err != 0) return err;
  return command->setup == nullptr ? PF_Err_BAD_CALLBACK_PARAM : answer(*command->setup);
}

/// A call about a layer of the composition: answers with the given function of setup and layer. The
/// observer is told the layer's name, and more.
template <class Answer>
PF_Err AboutLayer(CallKind kind, AEGP_LayerH handle, std::optional<Argument> more, Answer answer) {
  const Command* const command = Command::Current();
  if (command == nullptr || command->setup == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  for (const Layer& layer : command->setup->composition.layers) {
    if (Handle(layer) != handle) continue;
    const Argument name = Arg("", layer.name);
    const auto answer_both = [&](const Setup& setup) { return answer(setup, layer); };
    return more ? AboutComposition(kind, {name, *more}, answer_both)
                : AboutComposition(kind, {name}, answer_both);
  }
  return PF_Err_BAD_CALLBACK_PARAM;
}

/// Composition time in seconds; layer time differs by the effect layer's start only.
double CompSeconds(const Setup& setup, AEGP_LTimeMode mode, const A_Time& time) {
  const double seconds = time.scale == 0 ? 0 : static_cast<double>(time.value) / time.scale;
  return mode == AEGP_LTimeMode_LayerTime ? seconds + setup.time.Seconds(setup.layer_start)
                                          : seconds;
}

PF_Err GetEffectLayer(PF_ProgPtr effect_ref, AEGP_LayerH* layer) {
  if (Command::Of(effect_ref) == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  return AboutComposition(CallKind::kGetEffectLayer, {}, [&](const Setup& setup) -> PF_Err {
    *layer = Handle(setup.composition.EffectLayer());
    return PF_Err_NONE;
  });
}

PF_Err ConvertEffectToCompTime(PF_ProgPtr effect_ref, A_long what_time, A_u_long time_scale,
                               A_Time* comp_time) {
  if (Command::Of(effect_ref) == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  return AboutComposition(CallKind::kConvertEffectToCompTime,
                          {Arg("t", what_time), Arg("scale", time_scale)},
                          [&](const Setup& setup) -> PF_Err {
                            if (time_scale != setup.time.scale()) return PF_Err_BAD_CALLBACK_PARAM;
                            const std::int64_t value = std::int64_t{what_time} + setup.layer_start;
                            if (value != static_cast<A_long>(value))
                              return PF_Err_BAD_CALLBACK_PARAM;
                            *comp_time = {static_cast<A_long>(value), time_scale};
                            return PF_Err_NONE;
                          });
}

PF_Err GetCompNumLayers(AEGP_CompH comp, A_long* num_layers) {
  return AboutComposition(CallKind::kGetCompNumLayers, {}, [&](const Setup& setup) -> PF_Err {
    if (comp != Handle(setup.composition)) return PF_Err_BAD_CALLBACK_PARAM;
    *num_layers = static_cast<A_long>(setup.composition.layers.size());
    return PF_Err_NONE;
  });
}

PF_Err GetCompLayerByIndex(AEGP_CompH comp, A_long layer_index, AEGP_LayerH* layer) {
  return AboutComposition(CallKind::kGetCompLayerByIndex, {Arg("", layer_index)},
                          [&](const Setup& setup) -> PF_Err {
                            const auto& layers = setup.composition.layers;
                            if (comp != Handle(setup.composition) || layer_index < 0 ||
                                layer_index >= static_cast<A_long>(layers.size())) {
                              return PF_Err_BAD_CALLBACK_PARAM;
                            }
                            *layer = Handle(layers[static_cast<std::size_t>(layer_index)]);
                            return PF_Err_NONE;
                          });
}

PF_Err GetLayerParentComp(AEGP_LayerH layer, AEGP_CompH* comp) {
  return AboutLayer(CallKind::kGetLayerParentComp, layer, std::nullopt,
                    [&](const Setup& setup, const Layer&) -> PF_Err {
                      *comp = Handle(setup.composition);
                      return PF_Err_NONE;
                    });
}

PF_Err IsVideoActive(AEGP_LayerH layer, AEGP_LTimeMode time_mode, const A_Time* time,
                     A_Boolean* is_active) {
  return AboutLayer(CallKind::kIsVideoActive, layer, Arg("t", time->value),
                    [&](const Setup& setup, const Layer& asked) -> PF_Err {
                      *is_active = asked.ActiveAt(CompSeconds(setup, time_mode, *time));
                      return PF_Err_NONE;
                    });
}

PF_Err GetLayerObjectType(AEGP_LayerH layer, AEGP_ObjectType* object_type) {
  return AboutLayer(CallKind::kGetLayerObjectType, layer, std::nullopt,
                    [&](const Setup&, const Layer& asked) -> PF_Err {
                      *object_type = asked.kind == Layer::Kind::kLight ? AEGP_ObjectType_LIGHT
                                                                       : AEGP_ObjectType_AV;
                      return PF_Err_NONE;
                    });
}

PF_Err GetLayerToWorldXform(AEGP_LayerH layer, const A_Time*, const A_Time* comp_time,
                            A_Matrix4* transform) {
  return AboutLayer(CallKind::kGetLayerToWorldXform, layer, Arg("t", comp_time->value),
                    [&](const Setup& setup, const Layer& asked) -> PF_Err {
                      // Other layers lie flat in the world: the identity, as a light at rest has.
                      *transform = asked.light.ToWorld(
                          CompSeconds(setup, AEGP_LTimeMode_CompTime, *comp_time),
                          setup.pixel_aspect.value());
                      return PF_Err_NONE;
                    });
}

PF_Err GetLightType(AEGP_LayerH light_layer, AEGP_LightType* light_type) {
  return AboutLayer(CallKind::kGetLightType, light_layer, std::nullopt,
                    [&](const Setup&, const Layer& asked) -> PF_Err {
                      if (asked.kind != Layer::Kind::kLight) return PF_Err_BAD_CALLBACK_PARAM;
                      *light_type = static_cast<AEGP_LightType>(asked.light.kind);
                      return PF_Err_NONE;
                    });
}

PF_Err StreamValue(const Light& light, AEGP_LayerStream stream, double seconds,
                   AEGP_StreamVal& value, AEGP_StreamType& type) {
  type = stream == AEGP_LayerStream_COLOR ? AEGP_StreamType_COLOR : AEGP_StreamType_OneD;
  switch (stream) {
    case AEGP_LayerStream_INTENSITY:
      value.one_d = light.IntensityAt(seconds);
      return PF_Err_NONE;
    case AEGP_LayerStream_CONE_ANGLE:
      value.one_d = light.ConeAngleAt(seconds);
      return PF_Err_NONE;
    case AEGP_LayerStream_CONE_FEATHER:
      value.one_d = light.ConeFeatherAt(seconds);
      return PF_Err_NONE;
    case AEGP_LayerStream_COLOR: {
      const Color color = light.ColorAt(seconds);
      value.color = {1, color.red, color.green, color.blue};
      return PF_Err_NONE;
    }
    default:
      return PF_Err_BAD_CALLBACK_PARAM;
  }
}

PF_Err GetLayerStreamValue(AEGP_LayerH layer, AEGP_LayerStream which_stream,
                           AEGP_LTimeMode time_mode, const A_Time* time, A_Boolean,
                           AEGP_StreamVal* value, AEGP_StreamType* stream_type) {
  return AboutLayer(CallKind::kGetLayerStreamValue, layer, Arg("stream", which_stream),
                    [&](const Setup& setup, const Layer& asked) -> PF_Err {
                      if (asked.kind != Layer::Kind::kLight) return PF_Err_BAD_CALLBACK_PARAM;
                      AEGP_StreamType type = 0;
                      const PF_Err err =
                          StreamValue(asked.light, which_stream,
                                      CompSeconds(setup, time_mode, *time), *value, type);
                      if (stream_type != nullptr) *stream_type = type;
                      return err;
                    });
}

}  // namespace

const AEGP_PFInterfaceSuite1& PFInterfaceSuite() {
  static constexpr AEGP_PFInterfaceSuite1 kSuite{GetEffectLayer, ConvertEffectToCompTime};
  return kSuite;
}

const AEGP_LayerSuite5& LayerSuite() {
  static constexpr AEGP_LayerSuite5 kSuite{GetCompNumLayers,   GetCompLayerByIndex,
                                           GetLayerParentComp, IsVideoActive,
                                           GetLayerObjectType, GetLayerToWorldXform};
  return kSuite;
}

const AEGP_LightSuite1& LightSuite() {
  static constexpr AEGP_LightSuite1 kSuite{GetLightType};
  return kSuite;
}

const AEGP_StreamSuite4& StreamSuite() {
  static constexpr AEGP_StreamSuite4 kSuite{GetLayerStreamValue};
  return kSuite;
}

}  // namespace hosting
