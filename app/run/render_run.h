#pragma once

#include "render_plan.h"
#include "render_progress.h"
#include "render_results.h"

namespace app {

/// Renders a plan's frames in worker processes. `results` tells what became of them even when this
/// throws: Error for the first frame that fails, Interrupted after a signal.
void RunPlan(const RenderPlan& plan, ProgressStyle style, RenderResults& results);

}  // namespace app
