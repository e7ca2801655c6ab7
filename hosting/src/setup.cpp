#include "hosting/setup.h"

#include <limits>

#include "hosting/errors.h"

namespace hosting {

PictureSource Still(Picture picture) {
  return [shared = std::make_shared<const Picture>(std::move(picture))](std::int64_t) {
    return shared;
  };
}

std::optional<std::int64_t> Setup::LayerFrame(A_long comp_time) const {
  if (!composition.EffectLayer().ActiveAt(time.Seconds(comp_time))) return std::nullopt;
  const std::int64_t layer_time = std::int64_t{comp_time} - layer_start;
  const std::int64_t frame = layer_time / time.layer_step();
  return layer_time % time.layer_step() < 0 ? frame - 1 : frame;
}

void Setup::Check() const {
  if (width < 1 || height < 1 || width > kMaxSide || height > kMaxSide) {
    throw Error("a layer of " + std::to_string(width) + " x " + std::to_string(height) +
                " pixels: sides go from 1 to " + std::to_string(kMaxSide));
  }
  constexpr std::int64_t kMaxPart = std::numeric_limits<A_long>::max();
  if (!(pixel_aspect.value() >= 0.01 && pixel_aspect.value() <= 100) ||
      pixel_aspect.num() > kMaxPart || pixel_aspect.den() > kMaxPart) {
    throw Error("a pixel aspect ratio of " + pixel_aspect.Text() +
                ": expected 0.01 to 100, as a ratio of 32-bit numbers");
  }
  if (!picture) throw Error("the layer has no picture");
  composition.Check();
}

}  // namespace hosting
