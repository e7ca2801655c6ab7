#include "render/stroke.h"

#include <cmath>
#include <optional>

#include "host/control_values.h"
#include "host/safe_cast.h"
#include "light/geometry.h"

namespace vorlin {
namespace {

/// State of the random generator, reseeded for every slice from its absolute time: a slice wobbles
/// the same way in every later frame.
std::uint32_t rnext = 1;

/// The classic linear congruential generator; a number in [-1, 1) in steps of 1/16384.
double RandomSigned() {
  rnext = rnext * 1103515245u + 12345u;
  const std::uint32_t draw = (rnext >> 16) & 0x7FFF;
  return draw * (1.0 / 16384.0) - 1.0;
}

struct Disc {
  double u;
  double v;
};

/// Evenly spread over the unit disc.
Disc RandomInDisc() {
  for (;;) {
    const double u = RandomSigned();
    const double v = RandomSigned();
    if (!(u * u + v * v > 1.0)) return {u, v};
  }
}

/// The controls that hold for a whole slice.
struct Slice {
  std::int32_t time;     // its end; it begins one frame earlier
  double age;            // thirtieths of a second
  double samples;        // at least 1, not rounded
  double strength;       // amplitude of its blobs
  double wobble_width;   // layer units
  double wobble_height;  // layer units
  double wobble_speed;   // degrees per thirtieth of a second
};

ControlsAt At(const Stroke& stroke, std::int32_t time) {
  return {stroke.in_data, time, stroke.time.localTimeStep, stroke.time.timeScale};
}

/// None when the slice is not drawn.
std::optional<Slice> ReadSlice(const Stroke& stroke, std::int32_t time, double age) {
  const ControlsAt end = At(stroke, time);
  const double density = end.Slider(kDensity) * 0.01;
  if (density <= 0.0) return std::nullopt;
  const FX_Point p1 = end.Point(kBrushPosition);
  const FX_Point p0 = At(stroke, time - stroke.time.localTimeStep).Point(kBrushPosition);
  // A brush at rest adds nothing, but it marks the place where it starts.
  if (p1.x == p0.x && p1.y == p0.y && time != 0) return std::nullopt;

  Slice slice{};
  slice.time = time;
  slice.age = age;
  slice.wobble_width = end.Slider(kWobbleWidth) * stroke.wobble_unit;
  slice.wobble_height = end.Slider(kWobbleHeight) * stroke.wobble_unit;
  slice.wobble_speed = end.Slider(kWobbleSpeed) * 0.02;
  slice.strength = end.Slider(kStrength) * 0.01;
  if (slice.strength <= 0.0) return std::nullopt;

  const FX_PAR& scales = stroke.scales;
  const double dx = p1.x * scales.toLayerX - p0.x * scales.toLayerX;
  const double dy = p1.y * scales.toLayerY - p0.y * scales.toLayerY;
  const double wanted = density * stroke.in_data->utils->ansi.sqrt(dx * dx + dy * dy);
  slice.samples = wanted > 1.0 && std::isfinite(wanted) ? wanted : 1.0;
  return slice;
}

/// f in [0, 1): how far the sample is from the slice's beginning to its end.
void LaySample(const Stroke& stroke, const Slice& slice, double f) {
  const bool wobbly = stroke.paint_style == kWobbly;
  Disc offset{0.0, 0.0};
  double angles[3] = {};
  if (wobbly) {
    const Disc disc = RandomInDisc();
    offset = {slice.wobble_width * disc.u, slice.wobble_height * disc.v};
    for (double& angle : angles) angle = 180.0 * RandomSigned();
  }

  const auto sample_time = TruncTo<std::int32_t>(
      static_cast<double>(slice.time) - (1.0 - f) * static_cast<double>(stroke.time.localTimeStep));
  const ControlsAt then = At(stroke, sample_time);
  const FX_Point brush = then.Point(kBrushPosition);
  const FX_PAR& scales = stroke.scales;
  FX_D_Point centre{(brush.x + stroke.shift_x) * scales.toLayerX + offset.u,
                    (brush.y + stroke.shift_y) * scales.toLayerY + offset.v, 0.0};
  const double radius = then.Slider(kStrokeWidth) * stroke.width_unit;

  if (wobbly) {
    const double phase = (slice.age + f) * slice.wobble_speed;
    const auto& m = XR_Set_Rot(stroke.in_data, phase + angles[0], phase + angles[1], angles[2]).m;
    centre = {offset.u * m[0][0] + offset.v * m[1][0] + (centre.x - offset.u),
              offset.u * m[0][1] + offset.v * m[1][1] + (centre.y - offset.v), 0.0};
  }
  FX_DrawForce(&scales, centre, slice.strength, radius, stroke.field);
}

}  // namespace

PF_Err LayStroke(const Stroke& stroke) {
  const std::int32_t progress_total = TruncTo<std::int32_t>(2.0 * stroke.frame_count);
  const FX_TimeInfo& time = stroke.time;
  for (std::int64_t i = 0; static_cast<double>(i) < stroke.frame_count; ++i) {
    const double frames_back = static_cast<double>(i) + time.frameFraction;
    const std::int32_t slice_time =
        TruncTo<std::int32_t>(static_cast<double>(time.currentTime) -
                              static_cast<double>(time.localTimeStep) * frames_back);
    // All further slices lie before time 0 too, and nothing is drawn there.
    if (slice_time < 0) break;
    rnext = static_cast<std::uint32_t>(time.frameTime) -
            static_cast<std::uint32_t>(i) * static_cast<std::uint32_t>(time.localTimeStep);
    const auto slice = ReadSlice(stroke, slice_time, stroke.frame_unit * frames_back);
    if (!slice) continue;
    const auto count = TruncTo<std::int32_t>(slice->samples);
    for (std::int32_t j = 0; j < count; ++j) LaySample(stroke, *slice, j / slice->samples);
    if (const PF_Err err = stroke.in_data->inter.progress(stroke.in_data->effect_ref,
                                                          static_cast<A_long>(i), progress_total);
        err != 0) {
      return err;
    }
  }
  return PF_Err_NONE;
}

}  // namespace vorlin
