#include "field_picture.h"

#include <cstring>

namespace app {
namespace {

/// What the effect's field holds where there is no stroke.
constexpr float kNoStroke = -0.25F;

}  // namespace

hosting::World FieldOf(const hosting::Frame& frame) {
  const PF_LRect rect = frame.picture.rect();
  hosting::World grey(frame.picture.width(), frame.picture.height(), hosting::Depth::k32);
  grey.SetOrigin(rect.left, rect.top);
  const hosting::World* field = frame.worlds.empty() ? nullptr : &frame.worlds.front();
  for (int y = 0; y < grey.height(); ++y) {
    auto* to = grey.Row<PF_PixelFloat>(y);
    for (int x = 0; x < grey.width(); ++x) {
      float height = kNoStroke;
      if (field != nullptr) {
        const PF_LRect part = field->rect();
        const int field_x = x + rect.left - part.left;
        const int field_y = y + rect.top - part.top;
        if (field_x >= 0 && field_x < field->width() && field_y >= 0 && field_y < field->height()) {
          std::memcpy(&height, field->Row<PF_Pixel>(field_y) + field_x, sizeof height);
        }
      }
      to[x] = {1, height, height, height};
    }
  }
  return grey;
}

}  // namespace app
