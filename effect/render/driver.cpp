#include "render/driver.h"

#include <bit>
#include <cstdlib>

#include "host/control_values.h"
#include "host/safe_cast.h"
#include "light/composition_lights.h"
#include "light/effect_light.h"
#include "render/blob.h"
#include "render/iterate_float.h"
#include "render/scratch_world.h"
#include "render/stroke.h"

namespace vorlin {
namespace {

constexpr double kReflectionUnit = 0.0075;  // per percent of "Reflection"
constexpr double kReflectionReach = 0.125;  // of the layer's width, at full reflection
constexpr double kWidthUnits = 500.0;       // "Stroke Width" units in the layer's diagonal
constexpr double kWobbleUnits = 200.0;      // wobble units in the layer's diagonal
constexpr double kUnlimitedSpan = 3000.0;   // seconds; what a time span of 0 means
constexpr double kSlopeUnit = 4.0;          // normal tilt per field difference in a layer unit
constexpr PF_Fixed kHalfPixel = 32768;
constexpr A_long kCellBytes = sizeof(float);

// Four bytes that read as the float -0.25: no stroke yet, and its edge where the forces sum to
// 0.25.
constexpr PF_Pixel kEmptyField{0x00, 0x00, 0x80, 0xBE};
static_assert(std::endian::native == std::endian::little);
static_assert(std::bit_cast<float>(kEmptyField) == -0.25f);

/// What the three depths do differently.
template <class Pixel>
struct DepthServices;

template <>
struct DepthServices<PF_Pixel> {
  static constexpr SuiteId<PF_Sampling8Suite1> kSampling = kSampling8Suite;
  static PF_IterateFunc<PF_Pixel> Iterator(const PF_InData& in) { return in.utils->iterate; }
};
template <>
struct DepthServices<PF_Pixel16> {
  static constexpr SuiteId<PF_Sampling16Suite1> kSampling = kSampling16Suite;
  static PF_IterateFunc<PF_Pixel16> Iterator(const PF_InData& in) { return in.utils->iterate16; }
};
template <>
struct DepthServices<PF_PixelFloat> {
  static constexpr SuiteId<PF_SamplingFloatSuite1> kSampling = kSamplingFloatSuite;
  static PF_IterateFunc<PF_PixelFloat> Iterator(const PF_InData&) { return ZT_Iterate; }
};

/// Where the frame's worlds lie on the layer.
struct FrameGeometry {
  FrameGeometry(const Fxenv& env, const FX_PARc& scales)
      : input_width(env.input->width * scales.toLayerX),
        input_height(env.input->height * scales.toLayerY),
        layer_width(input_width),
        layer_height(input_height) {
    if (env.extra == nullptr) return;
    // The stroke scales with the layer, not with the part of it that is asked for.
    layer_width = env.inData->width / scales.aspectInverse;
    layer_height = env.inData->height;
    shift_x = -static_cast<double>(env.output->origin_x);
    shift_y = -static_cast<double>(env.output->origin_y);
    const auto distance = [](A_long to, A_long from) { return static_cast<double>(to) - from; };
    origin_x = distance(env.output->origin_x, env.input->origin_x) * scales.toLayerX;
    origin_y = distance(env.output->origin_y, env.input->origin_y) * scales.toLayerY;
  }

  double input_width;  // layer units
  double input_height;
  double layer_width;  // layer units
  double layer_height;
  double shift_x = 0.0;  // from the layer to the output, buffer pixels
  double shift_y = 0.0;
  double origin_x = 0.0;  // of the output, measured from the input's corner, layer units
  double origin_y = 0.0;
};

/// The scratch world as a force field for the output; null when the host made less than was asked
/// for.
PF_EffectWorld* UsableField(FX_NewWorld& scratch, const PF_EffectWorld& output) {
  PF_EffectWorld* const field = scratch.Layer();
  if (field == nullptr) return nullptr;
  const std::int64_t row_cells = std::abs(std::int64_t{field->rowbytes}) / kCellBytes;
  const bool aligned = reinterpret_cast<std::uintptr_t>(field->data) % alignof(float) == 0 &&
                       field->rowbytes % kCellBytes == 0;
  const bool covers =
      field->width >= output.width && field->height >= output.height && row_cells >= field->width;
  return aligned && covers ? field : nullptr;
}

/// The frame's light model with its lights: the composition's where they are wanted and there are
/// any, else the effect's own.
template <class Pixel>
std::unique_ptr<LightShade> BuildLightShade(Fxenv& env, const FX_PARc& scales,
                                            const FrameGeometry& geometry) {
  PF_InData* const in = env.inData;
  auto model = NewLightShade(in);
  model->SetOffset(-(env.output->origin_x * scales.toLayerX),
                   -(env.output->origin_y * scales.toLayerY));
  const bool effect_light = ControlsAt::Frame(in).PopUp(kUsing) == kEffectLight;
  if (effect_light || !GetAllLights(env, *model, {in->current_time, in->time_scale})) {
    AddEffectLight<Pixel>(env, *model, scales, geometry.layer_width, geometry.layer_height);
  }
  return model;
}

template <class Pixel>
PF_Err RenderThisSmart(Fxenv& env) {
  PF_InData* const in = env.inData;
  PF_EffectWorld* const output = env.output;
  const FX_PARc scales(in);
  const FrameGeometry geometry(env, scales);
  RIPInfo<Pixel> info{};  // outlives the scratch world
  info.inData = in;

  const ControlsAt frame = ControlsAt::Frame(in);
  const double span = frame.Slider(kTimeSpan);
  const double reflection = frame.Slider(kReflection) * kReflectionUnit;
  const int paint_style = frame.PopUp(kPaintStyle);
  const double diagonal = in->utils->ansi.sqrt(geometry.layer_width * geometry.layer_width +
                                               geometry.layer_height * geometry.layer_height);

  if (const PF_Err err = in->utils->fill(in->effect_ref, nullptr, nullptr, output); err != 0) {
    return err;
  }

  const FX_TimeInfo time = FX_CopyTime(in);
  if (time.localTimeStep == 0) return PF_Err_NONE;
  const double frames_per_second =
      static_cast<double>(time.timeScale) / static_cast<double>(time.localTimeStep);
  if (frames_per_second == 0.0) return PF_Err_NONE;
  const double frame_count = (span > 0.0 ? span : kUnlimitedSpan) * frames_per_second;
  if (frame_count < 0.0) return PF_Err_NONE;

  FX_NewWorld scratch(env);
  if (const PF_Err err = scratch.New(output->width, output->height, PF_PixelFormat_ARGB32, false);
      err != 0) {
    return err;
  }
  PF_EffectWorld* const field = UsableField(scratch, *output);
  if (field == nullptr) return PF_Err_OUT_OF_MEMORY;
  if (const PF_Err err = in->utils->fill(in->effect_ref, &kEmptyField, nullptr, field); err != 0) {
    return err;
  }

  const Stroke stroke{.in_data = in,
                      .field = field,
                      .time = time,
                      .frame_count = frame_count,
                      .frame_unit = 30.0 / frames_per_second,
                      .paint_style = paint_style,
                      .width_unit = diagonal / kWidthUnits,
                      .wobble_unit = diagonal / kWobbleUnits,
                      .shift_x = geometry.shift_x,
                      .shift_y = geometry.shift_y,
                      .scales = {scales.aspectInverse, scales.toLayerX, scales.toLayerY,
                                 scales.toBufferX, scales.toBufferY}};
  if (const PF_Err err = LayStroke(stroke); err != 0) return err;

  using Services = DepthServices<Pixel>;
  info.reflectionScale = geometry.layer_width * reflection * kReflectionReach;
  info.areaSample = env.suites.Use(Services::kSampling, &PF_SamplingSuite<Pixel>::area_sample);
  info.lightShade = BuildLightShade<Pixel>(env, scales, geometry);
  info.highQuality = env.highQuality;
  info.field = field;
  info.fieldStride = field->rowbytes / kCellBytes;
  info.layerMaxX = geometry.input_width - 1.0;
  info.layerMaxY = geometry.input_height - 1.0;
  info.toLayerX = scales.toLayerX;
  info.toLayerY = scales.toLayerY;
  info.toFixedX = scales.toFixedX;
  info.toFixedY = scales.toFixedY;
  info.slopeX = kSlopeUnit * scales.toBufferX;
  info.slopeY = kSlopeUnit * scales.toBufferY;
  info.originX = geometry.origin_x;
  info.originY = geometry.origin_y;
  info.effectRef = in->effect_ref;
  info.samp = {.x_radius = kHalfPixel,
               .y_radius = kHalfPixel,
               .area = 4 * FixMul(kHalfPixel, kHalfPixel),
               .src = env.input};
  return Services::Iterator(*in)(in, 0, output->height, nullptr, nullptr, &info, BlobRIP<Pixel>,
                                 output);
}

}  // namespace

PF_Err RenderSmart(Fxenv& env) {
  switch (env.PixelFormat()) {
    case PF_PixelFormat_ARGB32:
      return RenderThisSmart<PF_Pixel>(env);
    case PF_PixelFormat_ARGB64:
      return RenderThisSmart<PF_Pixel16>(env);
    case PF_PixelFormat_ARGB128:
      return RenderThisSmart<PF_PixelFloat>(env);
    default:
      return PF_Err_BAD_CALLBACK_PARAM;
  }
}

}  // namespace vorlin
