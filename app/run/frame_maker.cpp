#include "frame_maker.h"

#include <memory>
#include <utility>

#include "field_picture.h"

namespace app {
namespace {

/// The same, `n` times as large.
hosting::RenderOptions Enlarged(hosting::RenderOptions options, int n) {
  const auto enlarged = [n](hosting::Rational factor) {
    return hosting::Rational(factor.num() * n, factor.den());
  };
  options.downsample_x = enlarged(options.downsample_x);
  options.downsample_y = enlarged(options.downsample_y);
  if (options.region) {
    const PF_LRect r = *options.region;
    options.region = PF_LRect{r.left * n, r.top * n, r.right * n, r.bottom * n};
  }
  return options;
}

/// A picture of one of `n` times the size: means of its pixels, weighted by their alpha.
hosting::World Reduced(const hosting::World& large, int n) {
  const hosting::Rational factor(1, n);
  hosting::World world =
      hosting::Picture(large, large.depth()).ToWorld(large.depth(), factor, factor);
  const PF_LRect rect = large.rect();
  world.SetOrigin(rect.left / n, rect.top / n);
  return world;
}

}  // namespace

FrameMaker::FrameMaker(const RenderPlan& plan, int threads, hosting::Progress progress,
                       hosting::Observer observer)
    : backdrop_(plan.backdrop()),
      written_(plan.Options()),
      supersample_(plan.arguments().supersample),
      field_(plan.arguments().field),
      renderer_([&] {
        hosting::Setup setup = plan.scene().setup;
        setup.picture = [this](std::int64_t) { return layer_; };
        hosting::RenderOptions options = Enlarged(written_, supersample_);
        options.threads = threads;
        options.progress = std::move(progress);
        options.observer = std::move(observer);
        return hosting::Renderer(plan.effect(), std::move(setup), std::move(options));
      }()) {}

hosting::World FrameMaker::Make(const Shot& shot, std::shared_ptr<const hosting::Picture> layer) {
  layer_ = std::move(layer);
  hosting::Frame frame = renderer_.Render(shot.time);
  if (field_) return FieldOf(frame);
  if (supersample_ > 1) {
    frame.picture = Reduced(frame.picture, supersample_);
    if (frame.layer) {
      frame.layer = std::make_shared<const hosting::World>(Reduced(*frame.layer, supersample_));
    }
  }
  backdrop_.PutUnder(frame, written_);
  return std::move(frame.picture);
}

}  // namespace app
