#include "worker_pool.h"

#include <poll.h>

#include <algorithm>
#include <chrono>

namespace app {
namespace {

/// Frames that a process has before it: the one it renders, and one whose layer it reads.
constexpr std::size_t kFramesAhead = 2;
/// How long processes may take to end after they were told to, before they are killed.
constexpr std::chrono::milliseconds kGrace{600};

void Erase(std::deque<int>& shots, int shot) {
  shots.erase(std::remove(shots.begin(), shots.end(), shot), shots.end());
}

}  // namespace

WorkerPool::WorkerPool(int jobs, SharedStatus& status, Start start)
    : status_(status), start_(std::move(start)), workers_(static_cast<std::size_t>(jobs)) {}

WorkerPool::~WorkerPool() {
  status_.stop = true;
  End();
}

std::optional<int> WorkerPool::Idle() const {
  const auto load = [](const std::optional<Worker>& m) { return m ? m->to_render.size() : 0; };
  const auto least =
      std::min_element(workers_.begin(), workers_.end(),
                       [&](const auto& a, const auto& b) { return load(a) < load(b); });
  if (load(*least) >= kFramesAhead) return std::nullopt;
  return static_cast<int>(least - workers_.begin());
}

void WorkerPool::Give(int place, int shot) {
  std::optional<Worker>& worker = workers_[static_cast<std::size_t>(place)];
  if (!worker) {
    status_.places[static_cast<std::size_t>(place)].shot = kNoShot;
    worker.emplace(
        Worker{WorkerProcess([&](const MessageSocket& socket) { start_(place, socket); }), {}, {}});
  }
  worker->to_render.push_back(shot);
  worker->process.socket().Send(Job{shot});
}

std::vector<WorkerPool::Event> WorkerPool::Wait(int milliseconds, std::vector<pollfd>& others) {
  std::vector<pollfd> all = others;
  std::vector<int> places;
  for (std::size_t i = 0; i < workers_.size(); ++i) {
    if (!workers_[i]) continue;
    all.push_back({workers_[i]->process.socket().descriptor(), POLLIN, 0});
    places.push_back(static_cast<int>(i));
  }
  std::vector<Event> events;
  if (poll(all.data(), all.size(), milliseconds) <= 0) return events;
  std::copy_n(all.begin(), others.size(), others.begin());
  for (std::size_t i = 0; i < places.size(); ++i) {
    if (all[others.size() + i].revents == 0) continue;
    std::optional<Worker>& worker = workers_[static_cast<std::size_t>(places[i])];
    if (const auto result = worker->process.socket().Receive<JobResult>()) {
      Erase(worker->to_render, result->shot);
      if (result->kind == JobResult::Kind::kRendered) {
        worker->to_store.push_back(result->shot);
      } else {
        Erase(worker->to_store, result->shot);
      }
      events.push_back({*result, {}, {}});
    } else if (auto event = CollectEnd(places[i])) {
      events.push_back(std::move(*event));
    }
  }
  return events;
}

std::optional<WorkerPool::Event> WorkerPool::CollectEnd(int place) {
  std::optional<Worker>& worker = workers_[static_cast<std::size_t>(place)];
  const ProcessEnd end = worker->process.Wait();
  peak_kib_ = std::max(peak_kib_, end.peak_kib);
  std::deque<int> shots = std::move(worker->to_store);
  shots.insert(shots.end(), worker->to_render.begin(), worker->to_render.end());
  worker.reset();
  if (shots.empty()) return std::nullopt;
  const int rendering = status_.places[static_cast<std::size_t>(place)].shot;
  const int at_fault = rendering != kNoShot ? rendering : shots.front();
  Erase(shots, at_fault);
  JobResult result{};
  result.kind = JobResult::Kind::kFailed;
  result.shot = at_fault;
  return Event{result, end, {shots.begin(), shots.end()}};
}

void WorkerPool::End() {
  for (auto& worker : workers_) {
    if (worker) worker->process.socket().EndSending();
  }
  const auto deadline = std::chrono::steady_clock::now() + kGrace;
  for (auto& worker : workers_) {
    if (!worker) continue;
    while (true) {
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
          deadline - std::chrono::steady_clock::now());
      pollfd ready_end{worker->process.socket().descriptor(), POLLIN, 0};
      const int ready = poll(&ready_end, 1, std::max(0, static_cast<int>(left.count())));
      if (ready == 0) worker->process.Kill();
      if (ready > 0 && !worker->process.socket().Receive<JobResult>()) break;
    }
    peak_kib_ = std::max(peak_kib_, worker->process.Wait().peak_kib);
    worker.reset();
  }
}

}  // namespace app
