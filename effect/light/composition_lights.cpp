#include "light/composition_lights.h"

#include <algorithm>

namespace vorlin {
namespace {

/// Asks the host about the effect's composition at one time and adds its lights to the model.
/// Operations return the host's code.
class LightReader {
 public:
  LightReader(Fxenv& env, LightShade& model) : env_(env), model_(model) {}

  /// Walks the composition from the top of its stack. `time` is the effect's.
  PF_Err AddAll(const A_Time& time) {
    const PF_ProgPtr effect_ref = env_.inData->effect_ref;
    PF_Err err = Interface(&AEGP_PFInterfaceSuite1::AEGP_ConvertEffectToCompTime)(
        effect_ref, std::max(time.value, 0), time.scale, &comp_time_);
    if (err != 0) return err;
    AEGP_LayerH effect_layer = nullptr;
    err = Interface(&AEGP_PFInterfaceSuite1::AEGP_GetEffectLayer)(effect_ref, &effect_layer);
    if (err != 0 || effect_layer == nullptr) return err;
    AEGP_CompH comp = nullptr;
    err = Layers(&AEGP_LayerSuite5::AEGP_GetLayerParentComp)(effect_layer, &comp);
    if (err != 0 || comp == nullptr) return err;
    A_long count = 0;
    err = Layers(&AEGP_LayerSuite5::AEGP_GetCompNumLayers)(comp, &count);
    if (err != 0 || count < 2) return err;  // only the effect's own layer

    for (A_long index = 0; index < count; ++index) {
      AEGP_LayerH layer = nullptr;
      err = Layers(&AEGP_LayerSuite5::AEGP_GetCompLayerByIndex)(comp, index, &layer);
      if (err == 0 && layer != nullptr) err = AddLayer(layer);
      if (err != 0) return err;
    }
    return PF_Err_NONE;
  }

 private:
  /// Adds the layer to the model if it is an active light of a known type.
  PF_Err AddLayer(AEGP_LayerH layer) {
    A_Boolean active = 0;
    PF_Err err = Layers(&AEGP_LayerSuite5::AEGP_IsVideoActive)(layer, AEGP_LTimeMode_CompTime,
                                                               &comp_time_, &active);
    if (err != 0 || !active) return err;

    AEGP_ObjectType object_type = AEGP_ObjectType_AV;
    err = Layers(&AEGP_LayerSuite5::AEGP_GetLayerObjectType)(layer, &object_type);
    if (err != 0 || object_type != AEGP_ObjectType_LIGHT) return err;

    AEGP_LightType light_type = -1;
    err = env_.suites.Use(kLightSuite, &AEGP_LightSuite1::AEGP_GetLightType)(layer, &light_type);
    if (err != 0 || light_type < AEGP_LightType_PARALLEL || light_type > AEGP_LightType_AMBIENT) {
      return err;
    }
    return AddLight(layer, light_type);
  }

  PF_Err AddLight(AEGP_LayerH layer, AEGP_LightType light_type) {
    A_Matrix4 world{};
    if (const PF_Err err = ReadWorldMatrix(layer, world); err != 0) return err;
    FX_Double_Pixel color{};
    if (const PF_Err err = ReadLitColor(layer, color); err != 0) return err;
    if (light_type == AEGP_LightType_AMBIENT) {
      model_.AddAmbientLight(color);
      return PF_Err_NONE;
    }

    NewLightSource light{};
    light.type = light_type == AEGP_LightType_PARALLEL ? LightTypeDistant
                 : light_type == AEGP_LightType_SPOT   ? LightTypeSpot
                                                       : LightTypePoint;
    light.color = color;
    // The composition's z points away from the viewer, the model's toward it.
    const auto& m = world.mat;
    light.position = {m[3][0], m[3][1], -m[3][2]};
    light.direction = {-m[2][0], -m[2][1], m[2][2]};
    if (light_type == AEGP_LightType_SPOT) {
      if (const PF_Err err = ReadCone(layer, light); err != 0) return err;
    }
    model_.AddLightSource(light);
    return PF_Err_NONE;
  }

  /// The layer-to-world matrix, its first column divided by that column's length over the axes.
  PF_Err ReadWorldMatrix(AEGP_LayerH layer, A_Matrix4& world) {
    const PF_Err err = Layers(&AEGP_LayerSuite5::AEGP_GetLayerToWorldXformFromView)(
        layer, &comp_time_, &comp_time_, &world);
    if (err != 0) return err;
    auto& m = world.mat;
    const double length =
        env_.inData->utils->ansi.sqrt(m[0][0] * m[0][0] + m[1][0] * m[1][0] + m[2][0] * m[2][0]);
    const double scale = 1.0 / length;
    for (auto& row : m) row[0] *= scale;
    return PF_Err_NONE;
  }

  /// The light's colour times its intensity.
  PF_Err ReadLitColor(AEGP_LayerH layer, FX_Double_Pixel& color) {
    AEGP_StreamVal value{};
    if (const PF_Err err = ReadStream(layer, AEGP_LayerStream_INTENSITY, value); err != 0) {
      return err;
    }
    const double k = value.one_d * 0.01;
    if (const PF_Err err = ReadStream(layer, AEGP_LayerStream_COLOR, value); err != 0) return err;
    color = {0.0, k * value.color.redF, k * value.color.greenF, k * value.color.blueF};
    return PF_Err_NONE;
  }

  /// The cone narrows by the feather, but by one percent at least: a soft rim also without feather.
  PF_Err ReadCone(AEGP_LayerH layer, NewLightSource& light) {
    AEGP_StreamVal angle{};
    AEGP_StreamVal feather{};
    if (const PF_Err err = ReadStream(layer, AEGP_LayerStream_CONE_ANGLE, angle); err != 0) {
      return err;
    }
    if (const PF_Err err = ReadStream(layer, AEGP_LayerStream_CONE_FEATHER, feather); err != 0) {
      return err;
    }
    const PF_ANSICallbacks& ansi = env_.inData->utils->ansi;
    const double half = angle.one_d * 0.5 * kRadiansPerDegree;
    light.coneOuterCos = ansi.cos(half);
    light.coneInnerCos = ansi.cos((1.0 - std::max(1.0, feather.one_d) * 0.01) * half);
    return PF_Err_NONE;
  }

  PF_Err ReadStream(AEGP_LayerH layer, AEGP_LayerStream stream, AEGP_StreamVal& value) {
    AEGP_StreamType ignored = 0;
    return env_.suites.Use(kStreamSuite, &AEGP_StreamSuite4::AEGP_GetLayerStreamValue)(
        layer, stream, AEGP_LTimeMode_CompTime, &comp_time_, 0, &value, &ignored);
  }

  template <class Function>
  Function Interface(Function AEGP_PFInterfaceSuite1::*function) {
    return env_.suites.Use(kPFInterfaceSuite, function);
  }
  template <class Function>
  Function Layers(Function AEGP_LayerSuite5::*function) {
    return env_.suites.Use(kLayerSuite, function);
  }

  Fxenv& env_;
  LightShade& model_;
  A_Time comp_time_{};
};

}  // namespace

bool GetAllLights(Fxenv& env, LightShade& model, A_Time time) {
  if (LightReader(env, model).AddAll(time) != 0) return false;
  return model.hasAmbient || model.numOffered != 0;
}

}  // namespace vorlin
