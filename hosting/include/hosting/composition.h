// The composition around the effect's layer: a stack of layers, some of them lights.
#pragma once

#include <string>
#include <vector>

#include "hosting/light.h"

namespace hosting {

struct Layer {
  enum class Kind { kEffect, kLight };
  Kind kind = Kind::kLight;
  std::string name;
  bool enabled = true;
  Span span;    // of composition time
  Light light;  // for lights

  bool ActiveAt(double seconds) const { return enabled && span.Holds(seconds); }
};

/// Layers from the top of the stack; one of them, by kind, is the effect's.
struct Composition {
  std::vector<Layer> layers{Layer{Layer::Kind::kEffect, "Layer", true, {}, {}}};

  /// Puts a light on top of the stack's lights: before the first layer that is none.
  void AddLight(Layer light);
  /// The layer that the effect is applied to; throws Error when there is none.
  const Layer& EffectLayer() const;
  Layer& EffectLayer();
  /// Throws Error unless there is exactly one effect layer, and every light's values are in range.
  void Check() const;
};

}  // namespace hosting
