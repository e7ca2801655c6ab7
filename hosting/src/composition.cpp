#include "hosting/composition.h"

#include <algorithm>
#include <utility>

#include "hosting/errors.h"

namespace hosting {
namespace {

bool IsEffects(const Layer& layer) { return layer.kind == Layer::Kind::kEffect; }

}  // namespace

void Composition::AddLight(Layer light) {
  const auto below = std::find_if(layers.begin(), layers.end(), [](const Layer& layer) {
    return layer.kind != Layer::Kind::kLight;
  });
  layers.insert(below, std::move(light));
}

const Layer& Composition::EffectLayer() const {
  const auto at = std::find_if(layers.begin(), layers.end(), IsEffects);
  if (at == layers.end()) throw Error("the composition lacks the effect's layer");
  return *at;
}

Layer& Composition::EffectLayer() { return const_cast<Layer&>(std::as_const(*this).EffectLayer()); }

void Composition::Check() const {
  if (const auto count = std::count_if(layers.begin(), layers.end(), IsEffects); count != 1) {
    throw Error("a composition holds the effect's layer once, not " + std::to_string(count) +
                " times");
  }
  for (const Layer& layer : layers) {
    if (layer.kind == Layer::Kind::kLight) layer.light.Check(layer.name);
  }
}

}  // namespace hosting
