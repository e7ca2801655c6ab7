#pragma once

#include <functional>
#include <memory>

#include "backdrop.h"
#include "hosting/render.h"
#include "render_plan.h"

namespace app {

/// Renders a plan's frames in one process, one after the other.
class FrameMaker {
 public:
  /// `plan` must outlive this.
  FrameMaker(const RenderPlan& plan, int threads, hosting::Progress progress,
             hosting::Observer observer);

  /// The finished picture of a shot. `layer` is the plan's for it. Throws EffectError when the
  /// effect fails or is cancelled, hosting::Error when it breaks the rules.
  hosting::World Make(const Shot& shot, std::shared_ptr<const hosting::Picture> layer);

 private:
  Backdrop backdrop_;
  hosting::RenderOptions written_;  // what the pictures are like in the end
  int supersample_;
  bool field_;
  std::shared_ptr<const hosting::Picture> layer_;
  hosting::Renderer renderer_;
};

}  // namespace app
