#include "hosting/setup.h"

#include "hosting/errors.h"

namespace hosting {
namespace {

constexpr int kMaxSide = 30000;

}  // namespace

PictureSource Still(Picture picture) {
  return [shared = std::make_shared<const Picture>(std::move(picture))](std::int64_t) {
    return shared;
  };
}

void Setup::Check() const {
  if (width < 1 || height < 1 || width > kMaxSide || height > kMaxSide) {
    throw Error("a layer of " + std::to_string(width) + " x " + std::to_string(height) +
                " pixels: sides go from 1 to " + std::to_string(kMaxSide));
  }
  if (!(pixel_aspect.value() >= 0.01 && pixel_aspect.value() <= 100)) {
    throw Error("a pixel aspect ratio of " + pixel_aspect.Text() + ": expected 0.01 to 100");
  }
  if (!picture) throw Error("the layer has no picture");
  composition.Check();
}

}  // namespace hosting
