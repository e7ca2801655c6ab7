// A light of the composition.
//
// Positions and targets are pixels of the layer, like the points of the controls: x right, y down
// and z away from the viewer. A pixel is as deep as it is high.
#pragma once

#include <limits>
#include <optional>

#include "aegp_suites.h"
#include "hosting/keyframes.h"
#include "hosting/values.h"

namespace hosting {

/// What a property of lights may be. Every number of every key is in range; where the values
/// between two keys overshoot, they stop at the range's end.
struct LightProperty {
  const char* name;
  const char* unit;
  Range range;
  double initial;  // each number, where nothing is said
};

struct LightProperties {
  static constexpr Range kAnyNumber{std::numeric_limits<double>::lowest(),
                                    std::numeric_limits<double>::max()};
  LightProperty position{"position", "layer pixels", kAnyNumber, 0};
  LightProperty target{"target", "layer pixels", kAnyNumber, 0};
  LightProperty rotation{"rotation", "degrees", kAnyNumber, 0};
  LightProperty intensity{"intensity", "percent", kAnyNumber, 100};
  LightProperty color{"color", "", {0, 1}, 1};
  LightProperty cone_angle{"cone_angle", "degrees", {0, 180}, 90};
  LightProperty cone_feather{"cone_feather", "percent", {0, 100}, 50};
};
/// The one place that knows them.
inline constexpr LightProperties kLightProperties;

enum class LightKind {
  kParallel = AEGP_LightType_PARALLEL,
  kSpot = AEGP_LightType_SPOT,
  kPoint = AEGP_LightType_POINT,
  kAmbient = AEGP_LightType_AMBIENT,
};

/// Shines along its own z axis. All tracks are in composition time.
struct Light {
  LightKind kind = LightKind::kPoint;
  Track<Vec3> position;
  /// The point that the z axis points at; without one the axes are the world's. One that falls on
  /// the position counts as none.
  std::optional<Track<Vec3>> target;
  /// About the light's own axes, applied about z first, then y, then x, before it is pointed at its
  /// target. Positive turns lead x to y, z to x and y to z.
  Track<Vec3> rotation;
  Track<double> intensity{kLightProperties.intensity.initial};
  Track<Color> color{Color{1, 1, 1}};
  Track<double> cone_angle{kLightProperties.cone_angle.initial};      // the whole cone; spots only
  Track<double> cone_feather{kLightProperties.cone_feather.initial};  // spots only

  /// For row vectors: rows 0 to 2 are the light's axes, row 3 its position. The axes are of unit
  /// length in square pixels; then the first column, x, is divided by the pixel aspect ratio (width
  /// / height), so that it counts the layer's own pixels.
  A_Matrix4 ToWorld(double seconds, double pixel_aspect) const;
  /// Values at a time, within the property's range.
  double IntensityAt(double seconds) const;
  Color ColorAt(double seconds) const;
  double ConeAngleAt(double seconds) const;
  double ConeFeatherAt(double seconds) const;

  /// Throws Error, with the light's name, unless every key's value is in its property's range.
  void Check(const std::string& name) const;
};

}  // namespace hosting
