#include "render_crew.h"

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

RenderCrew::RenderCrew(int jobs, RenderBoard& board, Start start)
    : board_(board), start_(std::move(start)), members_(static_cast<std::size_t>(jobs)) {}

RenderCrew::~RenderCrew() {
  board_.stop = true;
  End();
}

std::optional<int> RenderCrew::Idle() const {
  const auto load = [](const std::optional<Member>& m) { return m ? m->to_render.size() : 0; };
  const auto least =
      std::min_element(members_.begin(), members_.end(),
                       [&](const auto& a, const auto& b) { return load(a) < load(b); });
  if (load(*least) >= kFramesAhead) return std::nullopt;
  return static_cast<int>(least - members_.begin());
}

void RenderCrew::GiveOrder(int place, int shot) {
  std::optional<Member>& member = members_[static_cast<std::size_t>(place)];
  if (!member) {
    board_.places[static_cast<std::size_t>(place)].shot = kNoShot;
    member.emplace(Member{WorkerProcess([&](const Line& line) { start_(place, line); }), {}, {}});
  }
  member->to_render.push_back(shot);
  member->process.line().Send(Order{shot});
}

std::vector<RenderCrew::Event> RenderCrew::Wait(int milliseconds, std::vector<pollfd>& others) {
  std::vector<pollfd> all = others;
  std::vector<int> places;
  for (std::size_t i = 0; i < members_.size(); ++i) {
    if (!members_[i]) continue;
    all.push_back({members_[i]->process.line().descriptor(), POLLIN, 0});
    places.push_back(static_cast<int>(i));
  }
  std::vector<Event> events;
  if (poll(all.data(), all.size(), milliseconds) <= 0) return events;
  std::copy_n(all.begin(), others.size(), others.begin());
  for (std::size_t i = 0; i < places.size(); ++i) {
    if (all[others.size() + i].revents == 0) continue;
    std::optional<Member>& member = members_[static_cast<std::size_t>(places[i])];
    if (const auto report = member->process.line().Receive<Report>()) {
      Erase(member->to_render, report->shot);
      if (report->kind == Report::Kind::kRendered) {
        member->to_store.push_back(report->shot);
      } else {
        Erase(member->to_store, report->shot);
      }
      events.push_back({*report, {}, {}});
    } else if (auto event = Bury(places[i])) {
      events.push_back(std::move(*event));
    }
  }
  return events;
}

std::optional<RenderCrew::Event> RenderCrew::Bury(int place) {
  std::optional<Member>& member = members_[static_cast<std::size_t>(place)];
  const ProcessEnd end = member->process.Wait();
  peak_kib_ = std::max(peak_kib_, end.peak_kib);
  std::deque<int> shots = std::move(member->to_store);
  shots.insert(shots.end(), member->to_render.begin(), member->to_render.end());
  member.reset();
  if (shots.empty()) return std::nullopt;
  const int rendering = board_.places[static_cast<std::size_t>(place)].shot;
  const int at_fault = rendering != kNoShot ? rendering : shots.front();
  Erase(shots, at_fault);
  Report report{};
  report.kind = Report::Kind::kFailed;
  report.shot = at_fault;
  return Event{report, end, {shots.begin(), shots.end()}};
}

void RenderCrew::End() {
  for (auto& member : members_) {
    if (member) member->process.line().EndSending();
  }
  const auto deadline = std::chrono::steady_clock::now() + kGrace;
  for (auto& member : members_) {
    if (!member) continue;
    while (true) {
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
          deadline - std::chrono::steady_clock::now());
      pollfd line{member->process.line().descriptor(), POLLIN, 0};
      const int ready = poll(&line, 1, std::max(0, static_cast<int>(left.count())));
      if (ready == 0) member->process.Kill();
      if (ready > 0 && !member->process.line().Receive<Report>()) break;
    }
    peak_kib_ = std::max(peak_kib_, member->process.Wait().peak_kib);
    member.reset();
  }
}

}  // namespace app
