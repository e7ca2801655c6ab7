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

class StrokeLayer {
 public:
  StrokeLayer(PF_InData* in_data, const Stroke& stroke, PF_EffectWorld* field)
      : in_data_(in_data), stroke_(stroke), field_(field) {}

  PF_Err Lay() {
    const std::int32_t progress_total = TruncTo<std::int32_t>(2.0 * stroke_.frame_count);
    const FX_TimeInfo& time = stroke_.time;
    for (std::int64_t i = 0; static_cast<double>(i) < stroke_.frame_count; ++i) {
      const double frames_back = static_cast<double>(i) + time.frameFraction;
      const std::int32_t slice_time =
          TruncTo<std::int32_t>(static_cast<double>(time.currentTime) -
                                static_cast<double>(time.localTimeStep) * frames_back);
      // All further slices lie before time 0 too, and nothing is drawn there.
      if (slice_time < 0) break;
      rnext = static_cast<std::uint32_t>(time.frameTime) -
              static_cast<std::uint32_t>(i) * static_cast<std::uint32_t>(time.localTimeStep);
      const auto slice = ReadSlice(slice_time, stroke_.frame_unit * frames_back);
      if (!slice) continue;
      LaySlice(*slice);
      if (const PF_Err err = in_data_->inter.progress(in_data_->effect_ref, static_cast<A_long>(i),
                                                      progress_total);
          err != 0) {
        return err;
      }
    }
    return PF_Err_NONE;
  }

 private:
  ControlsAt At(std::int32_t time) const {
    return {in_data_, time, stroke_.time.localTimeStep, stroke_.time.timeScale};
  }

  /// None when the slice is not drawn.
  std::optional<Slice> ReadSlice(std::int32_t time, double age) const {
    const ControlsAt end = At(time);
    const double density = end.Slider(kDensity) * 0.01;
    if (density <= 0.0) return std::nullopt;
    const FX_Point p1 = end.Point(kBrushPosition);
    const FX_Point p0 = At(time - stroke_.time.localTimeStep).Point(kBrushPosition);
    // A brush at rest adds nothing, but it marks the place where it starts.
    if (p1.x == p0.x && p1.y == p0.y && time != 0) return std::nullopt;

    Slice slice{};
    slice.time = time;
    slice.age = age;
    slice.wobble_width = end.Slider(kWobbleWidth) * stroke_.wobble_unit;
    slice.wobble_height = end.Slider(kWobbleHeight) * stroke_.wobble_unit;
    slice.wobble_speed = end.Slider(kWobbleSpeed) * 0.02;
    slice.strength = end.Slider(kStrength) * 0.01;
    if (slice.strength <= 0.0) return std::nullopt;

    const FX_PAR& scales = stroke_.scales;
    const double dx = p1.x * scales.toLayerX - p0.x * scales.toLayerX;
    const double dy = p1.y * scales.toLayerY - p0.y * scales.toLayerY;
    const double wanted = density * in_data_->utils->ansi.sqrt(dx * dx + dy * dy);
    slice.samples = wanted > 1.0 && std::isfinite(wanted) ? wanted : 1.0;
    return slice;
  }

  void LaySlice(const Slice& slice) const {
    const auto count = TruncTo<std::int32_t>(slice.samples);
    for (std::int32_t j = 0; j < count; ++j) LaySample(slice, j / slice.samples);
  }

  /// f in [0, 1): how far the sample is from the slice's beginning to its end.
  void LaySample(const Slice& slice, double f) const {
    const bool wobbly = stroke_.paint_style == kWobbly;
    Disc offset{0.0, 0.0};
    double angles[3] = {};
    if (wobbly) {
      const Disc disc = RandomInDisc();
      offset = {slice.wobble_width * disc.u, slice.wobble_height * disc.v};
      for (double& angle : angles) angle = 180.0 * RandomSigned();
    }

    const auto sample_time =
        TruncTo<std::int32_t>(static_cast<double>(slice.time) -
                              (1.0 - f) * static_cast<double>(stroke_.time.localTimeStep));
    const ControlsAt then = At(sample_time);
    const FX_Point brush = then.Point(kBrushPosition);
    const FX_PAR& scales = stroke_.scales;
    FX_D_Point centre{(brush.x + stroke_.shift_x) * scales.toLayerX + offset.u,
                      (brush.y + stroke_.shift_y) * scales.toLayerY + offset.v, 0.0};
    const double radius = then.Slider(kStrokeWidth) * stroke_.width_unit;

    if (wobbly) {
      const double phase = (slice.age + f) * slice.wobble_speed;
      const auto& m = XR_Set_Rot(in_data_, phase + angles[0], phase + angles[1], angles[2]).m;
      centre = {offset.u * m[0][0] + offset.v * m[1][0] + (centre.x - offset.u),
                offset.u * m[0][1] + offset.v * m[1][1] + (centre.y - offset.v), 0.0};
    }
    FX_DrawForce(&scales, centre, slice.strength, radius, field_);
  }

  PF_InData* in_data_;
  const Stroke& stroke_;
  PF_EffectWorld* field_;
};

}  // namespace

PF_Err LayStroke(PF_InData* in_data, const Stroke& stroke, PF_EffectWorld* field) {
  return StrokeLayer(in_data, stroke, field).Lay();
}

}  // namespace vorlin
