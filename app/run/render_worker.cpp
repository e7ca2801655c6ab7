#include "render_worker.h"

#include <fmt/format.h>

#include <chrono>
#include <exception>
#include <optional>
#include <thread>
#include <utility>

#include "channel.h"
#include "frame_maker.h"

namespace app {
namespace {

class Stopwatch {
 public:
  double Seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

/// A frame on its way from the layer to the file.
struct Item {
  int shot = 0;
  FrameSeconds seconds;
  std::shared_ptr<const hosting::Picture> layer;
  hosting::World picture;
  std::exception_ptr failure;
};

JobResult FailureResult(int shot, int frame, const std::exception_ptr& failure) {
  JobResult result{};
  result.kind = JobResult::Kind::kFailed;
  result.shot = shot;
  const Error error = AsError(failure);
  result.code = error.code();
  std::string message = error.what();
  // Files are named; the rest needs a place.
  if (error.code() != ExitCode::kFile) message = fmt::format("frame {}: {}", frame, message);
  message.copy(result.message, sizeof result.message - 1);
  return result;
}

/// Three threads in a row, one frame in each.
class Pipeline {
 public:
  Pipeline(const RenderWorker& worker, const MessageSocket& socket)
      : worker_(worker),
        socket_(socket),
        place_(worker.status.places[static_cast<std::size_t>(worker.place)]),
        maker_(worker.plan, worker.threads, Progress(), Observer()) {}

  void Run() {
    std::thread reader([this] { Read(); });
    std::thread writer([this] { Store(); });
    Render();
    reader.join();
    writer.join();
  }

 private:
  void Read() {
    while (const auto job = socket_.Receive<Job>()) {
      read_.WaitForRoom();  // a layer that is read too early takes memory
      Item item;
      item.shot = job->shot;
      const Stopwatch watch;
      try {
        item.layer = worker_.plan.Layer(ShotOf(item));
      } catch (...) {
        item.failure = std::current_exception();
      }
      item.seconds.decode = watch.Seconds();
      read_.Put(std::move(item));
    }
    read_.Close();
  }

  void Render() {
    while (auto item = read_.Take()) {
      if (worker_.status.stop) continue;
      const Stopwatch watch;
      place_.part = 0;
      place_.shot = item->shot;
      try {
        if (item->failure) std::rethrow_exception(item->failure);
        item->picture = maker_.Make(ShotOf(*item), std::move(item->layer));
      } catch (...) {
        item->failure = std::current_exception();
      }
      place_.shot = kNoShot;
      item->seconds.net = watch.Seconds();
      JobResult result{};
      result.kind = JobResult::Kind::kRendered;
      result.shot = item->shot;
      socket_.Send(result);
      rendered_.Put(std::move(*item));
    }
    rendered_.Close();
  }

  void Store() {
    while (auto item = rendered_.Take()) {
      const Stopwatch watch;
      JobResult result{};
      try {
        if (item->failure) std::rethrow_exception(item->failure);
        result.losses = worker_.store(item->shot, std::move(item->picture));
        result.kind = JobResult::Kind::kStored;
        result.shot = item->shot;
        result.seconds = item->seconds;
        result.seconds.encode = watch.Seconds();
      } catch (...) {
        result = FailureResult(item->shot, ShotOf(*item).number, std::current_exception());
      }
      socket_.Send(result);
    }
  }

  hosting::Progress Progress() {
    return [this](A_long current, A_long total) {
      if (total > 0) place_.part = static_cast<float>(current) / static_cast<float>(total);
      return !worker_.status.stop;
    };
  }

  hosting::Observer Observer() {
    if (!worker_.trace) return {};
    return [this](const hosting::Call& call) {
      worker_.trace(worker_.plan.shots()[static_cast<std::size_t>(place_.shot.load())], call);
      return PF_Err_NONE;
    };
  }

  const Shot& ShotOf(const Item& item) const {
    return worker_.plan.shots()[static_cast<std::size_t>(item.shot)];
  }

  const RenderWorker& worker_;
  const MessageSocket& socket_;
  SharedStatus::Place& place_;
  FrameMaker maker_;
  Channel<Item> read_;
  Channel<Item> rendered_;
};

}  // namespace

FrameStore StoreAsPictures(const RenderPlan& plan) {
  return [&plan](int index, hosting::World picture) {
    const Shot& shot = plan.shots()[static_cast<std::size_t>(index)];
    const EncodedPicture encoded = plan.format()->Encode(picture, plan.Software(shot), shot.file);
    picture = {};
    StorePicture(encoded, shot.file);
    return Losses{encoded.clipped, encoded.hidden_color_lost};
  };
}

void RenderWorker::Work(const MessageSocket& socket) const { Pipeline(*this, socket).Run(); }

}  // namespace app
