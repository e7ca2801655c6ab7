#pragma once

#include <optional>
#include <string>
#include <vector>

#include "render_worker.h"
#include "shots.h"

namespace app {

/// What became of the frames of a run.
struct RenderResults {
  enum class State { kSkipped, kWritten, kFailed, kNotRendered };
  struct Frame {
    Shot shot;
    State state = State::kNotRendered;
    std::string error;  // kFailed
  };

  std::vector<Frame> frames;
  std::vector<std::string> notes;
  std::vector<FrameSeconds> seconds;  // of the frames written
  double wall_seconds = 0;
  int jobs = 0;
  int threads = 0;
  long peak_kib = 0;  // of the process that needed most

  /// One JSON object: counts and files, and the statistics if asked for.
  std::string Json(bool with_statistics) const;
  /// One line of JSON.
  std::string StatisticsJson() const;
};

}  // namespace app
