#include "frame_maker.h"

#include <cstring>
#include <utility>

namespace app {
namespace {

/// What the effect's field holds where there is no stroke.
constexpr float kNoStroke = -0.25F;

/// The effect's field, the one world that it makes for itself, as grey: its pixels' bytes are
/// floats. The frame's place without one is as empty as it is without a stroke.
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

}  // namespace

FrameMaker::FrameMaker(const RenderPlan& plan, int threads, hosting::Progress progress,
                       hosting::Observer observer)
    : backdrop_(plan.backdrop()), field_(plan.arguments().field), renderer_([&] {
        hosting::Setup setup = plan.scene().setup;
        setup.picture = [this](std::int64_t) { return layer_; };
        hosting::RenderOptions options = plan.Options();
        options.threads = threads;
        options.progress = std::move(progress);
        options.observer = std::move(observer);
        return hosting::Renderer(plan.effect(), std::move(setup), std::move(options));
      }()) {}

hosting::World FrameMaker::Make(const Shot& shot, std::shared_ptr<const hosting::Picture> layer) {
  layer_ = std::move(layer);
  hosting::Frame frame = renderer_.Render(shot.time);
  if (field_) return FieldOf(frame);
  backdrop_.PutUnder(frame, renderer_.options());
  return std::move(frame.picture);
}

}  // namespace app
