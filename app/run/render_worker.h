#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

#include "errors.h"
#include "hosting/calls.h"
#include "hosting/world.h"
#include "render_plan.h"
#include "shared_memory.h"
#include "worker_process.h"

namespace app {

/// A frame that a process is to render: an index of the plan's shots.
struct Job {
  std::int32_t shot;
};

/// Seconds that a frame took.
struct FrameSeconds {
  double decode = 0;  // reading the layer
  double net = 0;     // rendering
  double encode = 0;  // packing and storing the picture
};

/// What writing a frame could not keep.
struct Losses {
  bool clipped = false;
  bool hidden_color = false;
};

/// What a process tells of a frame.
struct JobResult {
  enum class Kind { kRendered, kStored, kFailed };
  Kind kind;
  std::int32_t shot;
  FrameSeconds seconds;  // kStored
  Losses losses;         // kStored
  ExitCode code;         // kFailed
  char message[1500];    // kFailed; ends with a zero
};

/// Takes a frame's picture; what it throws is the frame's failure.
using FrameStore = std::function<Losses(int shot, hosting::World picture)>;
/// Encodes pictures and stores them in the plan's files.
FrameStore StoreAsPictures(const RenderPlan& plan);

/// What a worker process does until there are no more jobs. While a frame is rendered, the next
/// one's layer is read and the last one's picture is stored.
struct RenderWorker {
  const RenderPlan& plan;
  int threads;
  FrameStore store;
  /// Told of every call of the effect in a shot; may be empty.
  std::function<void(const Shot&, const hosting::Call&)> trace;
  SharedStatus& status;
  int place;

  void Work(const MessageSocket& socket) const;
};

}  // namespace app
