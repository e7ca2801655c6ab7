#include "hosting/composition.h"

#include <algorithm>
#include <cmath>
#include <numbers>

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

template <class Value, class Valid>
void CheckTrack(const Layer& layer, const char* what, const Track<Value>& track, Valid valid,
                const char* expected) {
  for (const auto& key : track.keys()) {
    if (!valid(key.value)) {
      throw Error("light \"" + layer.name + "\": " + what + " must be " + expected);
    }
  }
}

}  // namespace

A_Matrix4 Light::ToWorld(double seconds) const {
  const Vec3 at = position.At(seconds);
  const Rows frame = target ? Pointing(at, target->At(seconds)) : kWorldAxes;
  const Rows axes = Times(Rotated(rotation.At(seconds)), frame);
  A_Matrix4 m{};
  for (std::size_t row = 0; row < 4; ++row) {
    const Vec3& v = row < 3 ? axes[row] : at;
    m.mat[row][0] = v.x;
    m.mat[row][1] = v.y;
    m.mat[row][2] = v.z;
  }
  m.mat[3][3] = 1;
  return m;
}

void Composition::AddLight(Layer light) {
  const auto below = std::find_if(layers.begin(), layers.end(), [](const Layer& layer) {
    return layer.kind != Layer::Kind::kLight;
  });
  layers.insert(below, std::move(light));
}

void Composition::Check() const {
  const auto effect_layers = std::count_if(layers.begin(), layers.end(), [](const Layer& layer) {
    return layer.kind == Layer::Kind::kEffect;
  });
  if (effect_layers != 1) {
    throw Error("a composition holds the effect's layer once, not " +
                std::to_string(effect_layers) + " times");
  }
  const auto finite = [](double v) { return std::isfinite(v); };
  const auto place = [](const Vec3& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
  };
  const auto within = [](double min, double max) {
    return [=](double v) { return v >= min && v <= max; };
  };
  const auto unit = within(0, 1);
  for (const Layer& layer : layers) {
    if (layer.kind != Layer::Kind::kLight) continue;
    const Light& light = layer.light;
    CheckTrack(layer, "position", light.position, place, "finite");
    if (light.target) CheckTrack(layer, "target", *light.target, place, "finite");
    CheckTrack(layer, "rotation", light.rotation, place, "finite");
    CheckTrack(layer, "intensity", light.intensity, finite, "finite");
    CheckTrack(
        layer, "color", light.color,
        [&](const Color& c) { return unit(c.red) && unit(c.green) && unit(c.blue); }, "0 to 1");
    CheckTrack(layer, "cone_angle", light.cone_angle, within(0, 180), "0 to 180 degrees");
    CheckTrack(layer, "cone_feather", light.cone_feather, within(0, 100), "0 to 100 percent");
  }
}

}  // namespace hosting
