#include "render_run.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <limits>
#include <new>
#include <numeric>
#include <set>
#include <string>
#include <thread>

#include "errors.h"
#include "movie_feed.h"
#include "output_file.h"
#include "worker_pool.h"

namespace app {
namespace {

constexpr int kRedrawMilliseconds = 100;

/// How a run shares the machine.
struct Parallelism {
  int processes;  // a frame each
  int threads;    // in each of them
};

/// Memory that processes can have without driving others out; a great deal when nobody knows.
std::uint64_t AvailableBytes() {
  std::ifstream file("/proc/meminfo");
  std::string name;
  std::uint64_t kib = 0;
  while (file >> name >> kib) {
    if (name == "MemAvailable:") return kib << 10;
    std::getline(file, name);
  }
  return std::numeric_limits<std::uint64_t>::max();
}

/// `jobs` and `threads` are what the user asks for, 0 where they do not. A process for every core
/// wastes least, if there are as many frames and memory allows; what cores are left become threads.
/// Of a movie every process decodes all frames: there two cores share one.
Parallelism ChooseParallelism(int jobs, int threads, std::size_t frames, std::uint64_t bytes_a_job,
                              bool layer_is_movie) {
  const int cores = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  const auto bounded = [](std::uint64_t n) {
    return static_cast<int>(std::clamp<std::uint64_t>(n, 1, kMostJobs));
  };
  const int useful = bounded(frames);
  if (jobs == 0) {
    const int for_memory = bounded(AvailableBytes() / 4 * 3 / bytes_a_job);
    const int cores_a_job = threads > 0 ? threads : layer_is_movie ? 2 : 1;
    jobs = std::min({useful, for_memory, std::max(1, cores / cores_a_job)});
  }
  jobs = std::min(jobs, useful);
  return {jobs, threads > 0 ? threads : std::max(1, cores / jobs)};
}

/// Clears what killed processes have left, once all processes are gone.
struct LeftoverCleaner {
  explicit LeftoverCleaner(const RenderPlan& p) : plan(p) {}
  ~LeftoverCleaner() {
    if (!plan.shots().empty()) ClearLeftovers(plan.shots().front().file.parent_path());
  }
  LeftoverCleaner(const LeftoverCleaner&) = delete;
  LeftoverCleaner& operator=(const LeftoverCleaner&) = delete;

  const RenderPlan& plan;
};

Error CrashError(const Shot& shot, const ProcessEnd& end) {
  // A process is killed from outside, as by a system short of memory; all else is the effect.
  return {end.killed() ? ExitCode::kFile : ExitCode::kEffect,
          fmt::format("frame {}: the process that rendered it {}", shot.number, end.Text())};
}

class RenderRun {
 public:
  RenderRun(const RenderPlan& plan, ProgressStyle style, RenderResults& results)
      : plan_(plan),
        results_(results),
        choice_(Choice(plan)),
        progress_(style, static_cast<int>(plan.shots().size())),
        status_memory_(sizeof(SharedStatus)),
        status_(*new (status_memory_.bytes().data()) SharedStatus{}),
        cleaner_(plan),
        workers_(choice_.processes, status_,
                 [this](int place, const MessageSocket& socket) { Work(place, socket); }) {
    results.jobs = choice_.processes;
    results.threads = choice_.threads;
    for (int i = 0; i < static_cast<int>(plan.shots().size()); ++i) waiting_.insert(i);
    if (plan.movie()) movie_.emplace(plan, choice_.processes + 2);
    for (const std::string& note : plan.notes()) Tell(note);
    if (!plan.arguments().trace.empty()) trace_.emplace(plan.arguments().trace);
  }

  void Run() {
    while (settled_ < plan_.shots().size() || (movie_ && !movie_->done())) {
      HandOut();
      std::vector<pollfd> others;
      if (movie_) others = movie_->Waits();
      for (const WorkerPool::Event& event : workers_.Wait(kRedrawMilliseconds, others)) {
        NotedSignals::Check();
        Handle(event);
      }
      NotedSignals::Check();
      if (movie_) movie_->Pump();
      Show();
    }
    workers_.End();
    results_.peak_kib = workers_.peak_kib();
    if (movie_) movie_->Finish();
    if (trace_) trace_->Commit();
    TellLosses();
    if (first_error_) throw Error(first_error_->code(), "not every frame could be rendered");
  }

 private:
  static Parallelism Choice(const RenderPlan& plan) {
    const RenderArguments& arguments = plan.arguments();
    // A trace is of one frame after the other, each in order.
    if (!arguments.trace.empty()) return {1, 1};
    return ChooseParallelism(arguments.jobs, arguments.threads, plan.shots().size(),
                             plan.BytesAWorker(), plan.scene().layer.movie.has_value());
  }

  /// The life of a worker process.
  void Work(int place, const MessageSocket& socket) {
    const FrameStore store = movie_ ? movie_->Store() : StoreAsPictures(plan_);
    RenderWorker worker{plan_, choice_.threads, store, {}, status_, place};
    if (trace_) {
      worker.trace = [this](const Shot& shot, const hosting::Call& call) {
        trace_->Write(fmt::format("frame {} {} {}\n", shot.number,
                                  hosting::CommandName(call.command), call.Text()));
      };
    }
    worker.Work(socket);
  }

  void HandOut() {
    while (!waiting_.empty()) {
      const auto place = workers_.Idle();
      if (!place) return;
      const int shot = *waiting_.begin();
      if (movie_ && !movie_->HasRoomFor(shot)) return;
      waiting_.erase(waiting_.begin());
      workers_.Give(*place, shot);
    }
  }

  void Handle(const WorkerPool::Event& event) {
    const JobResult& result = event.result;
    waiting_.insert(event.also_lost.begin(), event.also_lost.end());
    for (const int shot : event.also_lost) rendered_.erase(shot);
    if (result.kind == JobResult::Kind::kRendered) {
      rendered_.insert(result.shot);
      return;
    }
    rendered_.erase(result.shot);
    ++settled_;
    RenderResults::Frame& frame = FrameOf(result.shot);
    if (result.kind == JobResult::Kind::kStored) {
      frame.state = RenderResults::State::kWritten;
      results_.seconds.push_back(result.seconds);
      clipped_ += result.losses.clipped ? 1 : 0;
      if (movie_) movie_->Add(result.shot);
      hidden_lost_ += result.losses.hidden_color ? 1 : 0;
      return progress_.Done(frame.shot);
    }
    const Error error =
        event.crash ? CrashError(frame.shot, *event.crash) : Error(result.code, result.message);
    frame.state = RenderResults::State::kFailed;
    frame.error = error.what();
    if (!plan_.arguments().keep_going) throw error;
    progress_.Failed(frame.shot, frame.error);
    if (!first_error_) first_error_ = error;
  }

  void Show() {
    int shown = kNoShot;
    auto parts = static_cast<double>(rendered_.size());
    for (int i = 0; i < choice_.processes; ++i) {
      const SharedStatus::Place& place = status_.places[static_cast<std::size_t>(i)];
      const int shot = place.shot;
      if (shot == kNoShot) continue;
      parts += static_cast<double>(place.part);
      shown = std::max(shown, shot);
    }
    if (shown != kNoShot) {
      progress_.Within(plan_.shots()[static_cast<std::size_t>(shown)].number, parts);
    }
  }

  void TellLosses() {
    const auto tell = [this](int frames, const char* what) {
      if (frames == 0) return;
      Tell(fmt::format("{} of {} {}", frames, results_.seconds.size(), what));
    };
    tell(clipped_, "pictures lost colours beyond black and white; .exr and 32-bit .tif keep them");
    tell(hidden_lost_, "pictures lost colours where alpha is 0; --alpha straight keeps them");
  }

  void Tell(const std::string& note) {
    results_.notes.push_back(note);
    progress_.Note(note);
  }

  RenderResults::Frame& FrameOf(int shot) {
    return results_
        .frames[results_.frames.size() - plan_.shots().size() + static_cast<std::size_t>(shot)];
  }

  const RenderPlan& plan_;
  RenderResults& results_;
  Parallelism choice_;
  RenderProgress progress_;
  std::optional<OutputFile> trace_;
  std::optional<MovieFeed> movie_;
  SharedMemory status_memory_;
  SharedStatus& status_;
  LeftoverCleaner cleaner_;
  WorkerPool workers_;
  std::set<int> waiting_;   // frames that no process has been told to render
  std::set<int> rendered_;  // frames that are being stored
  std::size_t settled_ = 0;
  int clipped_ = 0;
  int hidden_lost_ = 0;
  std::optional<Error> first_error_;
};

}  // namespace

void RunPlan(const RenderPlan& plan, ProgressStyle style, RenderResults& results) {
  for (const Shot& shot : plan.skipped()) {
    results.frames.push_back({shot, RenderResults::State::kSkipped, {}});
  }
  for (const Shot& shot : plan.shots()) results.frames.push_back({shot, {}, {}});
  const auto start = std::chrono::steady_clock::now();
  if (!plan.shots().empty()) RenderRun(plan, style, results).Run();
  results.wall_seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace app
