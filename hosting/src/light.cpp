#include "hosting/light.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <string>

#include "hosting/errors.h"

namespace hosting {
namespace {

using Rows = std::array<Vec3, 3>;

constexpr Rows kWorldAxes{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

Vec3 Cross(const Vec3& a, const Vec3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double Length(const Vec3& v) { return std::hypot(v.x, v.y, v.z); }

Vec3 Scaled(const Vec3& v, double k) { return {v.x * k, v.y * k, v.z * k}; }

/// v in the frame whose axes are the rows.
Vec3 Times(const Vec3& v, const Rows& rows) {
  return {v.x * rows[0].x + v.y * rows[1].x + v.z * rows[2].x,
          v.x * rows[0].y + v.y * rows[1].y + v.z * rows[2].y,
          v.x * rows[0].z + v.y * rows[1].z + v.z * rows[2].z};
}

Rows Times(const Rows& a, const Rows& b) {
  return {Times(a[0], b), Times(a[1], b), Times(a[2], b)};
}

/// Axes with z from position to target and x level with the world's ground.
Rows Pointing(const Vec3& position, const Vec3& target) {
  const Vec3 way{target.x - position.x, target.y - position.y, target.z - position.z};
  const double distance = Length(way);
  if (distance == 0) return kWorldAxes;
  const Vec3 z = Scaled(way, 1 / distance);
  const Vec3 level = Cross(kWorldAxes[1], z);
  const double tilt = Length(level);
  // Straight up or down, no direction is level: keep the world's x.
  const Vec3 x = tilt == 0 ? kWorldAxes[0] : Scaled(level, 1 / tilt);
  return {x, Cross(z, x), z};
}

struct Turn {
  double cos;
  double sin;
  explicit Turn(double degrees)
      : cos(std::cos(degrees * std::numbers::pi / 180)),
        sin(std::sin(degrees * std::numbers::pi / 180)) {}
};

Rows Rotated(const Vec3& degrees) {
  const Turn x(degrees.x);
  const Turn y(degrees.y);
  const Turn z(degrees.z);
  const Rows about_x{{{1, 0, 0}, {0, x.cos, x.sin}, {0, -x.sin, x.cos}}};
  const Rows about_y{{{y.cos, 0, -y.sin}, {0, 1, 0}, {y.sin, 0, y.cos}}};
  const Rows about_z{{{z.cos, z.sin, 0}, {-z.sin, z.cos, 0}, {0, 0, 1}}};
  return Times(Times(about_z, about_y), about_x);
}

/// p of a layer whose pixels are that many times as wide as high, in square pixels.
Vec3 Squared(const Vec3& p, double pixel_aspect) { return {p.x * pixel_aspect, p.y, p.z}; }

std::array<double, 1> Numbers(double v) { return {v}; }
std::array<double, 3> Numbers(const Vec3& v) { return {v.x, v.y, v.z}; }
std::array<double, 3> Numbers(const Color& c) { return {c.red, c.green, c.blue}; }

std::string Expected(const LightProperty& property) {
  const auto text = [](double v) { return std::to_string(std::lround(v)); };
  if (property.range.max == LightProperties::kAnyNumber.max) return "finite";
  const std::string unit = property.unit;
  return text(property.range.min) + " to " + text(property.range.max) +
         (unit.empty() ? "" : " " + unit);
}

template <class Value>
void CheckTrack(const std::string& light, const LightProperty& property,
                const Track<Value>& track) {
  for (const auto& key : track.keys()) {
    const auto numbers = Numbers(key.value);
    if (!std::all_of(numbers.begin(), numbers.end(),
                     [&](double v) { return property.range.Holds(v); })) {
      throw Error("light \"" + light + "\": " + property.name + " must be " + Expected(property));
    }
  }
}

}  // namespace

A_Matrix4 Light::ToWorld(double seconds, double pixel_aspect) const {
  const Vec3 at = position.At(seconds);
  const Rows frame =
      target ? Pointing(Squared(at, pixel_aspect), Squared(target->At(seconds), pixel_aspect))
             : kWorldAxes;
  const Rows axes = Times(Rotated(rotation.At(seconds)), frame);
  A_Matrix4 m{};
  for (std::size_t row = 0; row < 3; ++row) {
    m.mat[row][0] = axes[row].x / pixel_aspect;
    m.mat[row][1] = axes[row].y;
    m.mat[row][2] = axes[row].z;
  }
  m.mat[3][0] = at.x;
  m.mat[3][1] = at.y;
  m.mat[3][2] = at.z;
  m.mat[3][3] = 1;
  return m;
}

double Light::IntensityAt(double seconds) const {
  return Within(intensity.At(seconds), kLightProperties.intensity.range);
}

Color Light::ColorAt(double seconds) const {
  return Within(color.At(seconds), kLightProperties.color.range);
}

double Light::ConeAngleAt(double seconds) const {
  return Within(cone_angle.At(seconds), kLightProperties.cone_angle.range);
}

double Light::ConeFeatherAt(double seconds) const {
  return Within(cone_feather.At(seconds), kLightProperties.cone_feather.range);
}

void Light::Check(const std::string& name) const {
  CheckTrack(name, kLightProperties.position, position);
  if (target) CheckTrack(name, kLightProperties.target, *target);
  CheckTrack(name, kLightProperties.rotation, rotation);
  CheckTrack(name, kLightProperties.intensity, intensity);
  CheckTrack(name, kLightProperties.color, color);
  CheckTrack(name, kLightProperties.cone_angle, cone_angle);
  CheckTrack(name, kLightProperties.cone_feather, cone_feather);
}

}  // namespace hosting
