#pragma once

#include <poll.h>

#include <deque>
#include <functional>
#include <optional>
#include <vector>

#include "render_worker.h"
#include "shared_memory.h"
#include "worker_process.h"

namespace app {

/// The worker processes of a run, what each has been told to render, and what they answer.
class WorkerPool {
 public:
  /// Starts a process for a place on the status, with that end of its line.
  using Start = std::function<void(int place, const MessageSocket& socket)>;

  WorkerPool(int jobs, SharedStatus& status, Start start);
  /// Ends all processes within a second; what they had not yet stored is lost.
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  /// Something that happened to a frame.
  struct Event {
    JobResult result;
    /// How its process ended when it ended untimely: the frame is the one that was at fault.
    std::optional<ProcessEnd> crash;
    /// That process's other frames.
    std::vector<int> also_lost;
  };

  /// The place that has least to render; nothing when all have enough.
  std::optional<int> Idle() const;
  void Give(int place, int shot);
  /// Waits for at most that long, and for less when something happens, to one of `others` too.
  std::vector<Event> Wait(int milliseconds, std::vector<pollfd>& others);
  /// Waits for all processes to end.
  void End();

  long peak_kib() const { return peak_kib_; }

 private:
  struct Worker {
    WorkerProcess process;
    std::deque<int> to_render;
    std::deque<int> to_store;
  };

  std::optional<Event> CollectEnd(int place);

  SharedStatus& status_;
  Start start_;
  std::vector<std::optional<Worker>> workers_;
  long peak_kib_ = 0;
};

}  // namespace app
