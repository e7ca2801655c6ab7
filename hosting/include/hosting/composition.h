// The composition around the effect's layer: a stack of layers, some of them lights.
//
// The world has x right, y down and z away from the viewer, in full-resolution pixels.
#pragma once

#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "aegp_suites.h"
#include "hosting/keyframes.h"
#include "hosting/values.h"

namespace hosting {

/// From in up to, not including, out: seconds of composition time.
struct Span {
  double in = -std::numeric_limits<double>::infinity();
  double out = std::numeric_limits<double>::infinity();
  bool Holds(double seconds) const { return in <= seconds && seconds < out; }
};

enum class LightKind { kParallel, kSpot, kPoint, kAmbient };

/// Shines along its own z axis. All tracks are in composition time.
struct Light {
  LightKind kind = LightKind::kPoint;
  Track<Vec3> position;
  /// The point that the z axis points at; without one the axes are the world's. One that falls on
  /// the position counts as none.
  std::optional<Track<Vec3>> target;
  /// Degrees about the light's own axes, applied about z first, then y, then x, before it is
  /// pointed at its target. Positive turns lead x to y, z to x and y to z.
  Track<Vec3> rotation;
  Track<double> intensity{100.0};  // percent
  Track<Color> color{Color{1, 1, 1}};
  Track<double> cone_angle{90.0};    // degrees, the whole cone; spots only
  Track<double> cone_feather{50.0};  // percent; spots only

  /// For row vectors: rows 0 to 2 are the light's unit axes, row 3 its position.
  A_Matrix4 ToWorld(double seconds) const;
};

struct Layer {
  enum class Kind { kEffect, kPicture, kLight };
  Kind kind = Kind::kPicture;
  std::string name;
  bool enabled = true;
  Span span;
  Light light;  // for lights

  bool ActiveAt(double seconds) const { return enabled && span.Holds(seconds); }
};

/// Layers from the top of the stack; one of them, by kind, is the effect's.
struct Composition {
  std::vector<Layer> layers{Layer{Layer::Kind::kEffect, "Layer", true, {}, {}}};

  /// Puts a light on top of the stack's lights: before the first layer that is none.
  void AddLight(Layer light);
  /// Throws Error unless there is exactly one effect layer, and every light's numbers are in range:
  /// intensities finite, colours 0..1, cone angles 0..180, feathers 0..100.
  void Check() const;
};

}  // namespace hosting
