#pragma once

#include <poll.h>

#include <set>
#include <span>
#include <vector>

#include "movie_format.h"
#include "output_file.h"
#include "render_worker.h"
#include "shared_memory.h"
#include "tool_process.h"

namespace app {

/// Feeds frames that are finished in any order into a movie, in their own order. Worker processes
/// put them into shared memory, from where this process writes them to ffmpeg as it takes them.
class MovieFeed {
 public:
  /// Starts ffmpeg. `slots` frames are kept at a time. Throws FileError.
  MovieFeed(const RenderPlan& plan, int slots);

  /// Whether there is, or will be, a slot for that frame: it may be given to a worker.
  bool HasRoomFor(int frame) const { return frame < next_ + slots_; }
  /// In a worker process: puts frames where the feed finds them.
  FrameStore Store() const;
  /// The frame is in its slot.
  void Add(int frame) { ready_.insert(frame); }

  /// What to wait for before the next call of Pump.
  std::vector<pollfd> Waits() const;
  /// Writes as much as ffmpeg takes now. Throws FileError when ffmpeg has ended.
  void Pump();
  bool done() const { return next_ == frames_; }
  /// Waits for ffmpeg to end and gives the movie its name. Throws FileError, and Interrupted.
  void Finish();

 private:
  std::span<std::byte> Slot(int frame) const;

  MovieFormat format_;
  std::size_t frame_bytes_;
  int frames_;
  int slots_;
  SharedMemory memory_;
  OutputFile file_;
  ToolProcess ffmpeg_;
  std::set<int> ready_;
  int next_ = 0;             // the frame that ffmpeg gets next
  std::size_t written_ = 0;  // bytes of it that it has
};

}  // namespace app
