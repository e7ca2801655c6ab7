#include "movie_feed.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <limits>
#include <utility>
#include <variant>

#include "errors.h"
#include "hosting/picture.h"

namespace app {
namespace {

/// Puts straight colours over black.
template <class Channel>
void PutOverBlack(std::vector<Channel>& pixels) {
  constexpr std::uint64_t kWhite = std::numeric_limits<Channel>::max();
  for (std::size_t i = 0; i < pixels.size(); i += 4) {
    for (std::size_t c = 0; c < 3; ++c) {
      pixels[i + c] = static_cast<Channel>(
          (std::uint64_t{pixels[i + c]} * pixels[i + 3] + kWhite / 2) / kWhite);
    }
    pixels[i + 3] = static_cast<Channel>(kWhite);
  }
}

}  // namespace

MovieFeed::MovieFeed(const RenderPlan& plan, int slots)
    : format_(*plan.movie()),
      frame_bytes_(format_.FrameBytes(plan.width(), plan.height())),
      frames_(static_cast<int>(plan.shots().size())),
      slots_(slots),
      memory_(frame_bytes_ * static_cast<std::size_t>(slots)),
      file_(plan.arguments().shots.output),
      ffmpeg_(format_.Command(plan.width(), plan.height(), plan.scene().setup.time.frame_rate(),
                              plan.scene().setup.pixel_aspect, plan.Sound(), file_.hidden())) {}

FrameStore MovieFeed::Store() const {
  return [this](int frame, hosting::World picture) {
    Losses losses;
    losses.clipped = IsClipped(picture, 0, picture.height());
    auto pixels = hosting::Picture(picture, format_.depth).TakePixels();
    picture = {};
    std::visit(
        [&]<class Channel>(std::vector<Channel>& p) {
          if constexpr (std::is_integral_v<Channel>) {
            if (!format_.has_alpha) PutOverBlack(p);
          }
          std::memcpy(Slot(frame).data(), p.data(), frame_bytes_);
        },
        pixels);
    return losses;
  };
}

std::span<std::byte> MovieFeed::Slot(int frame) const {
  return memory_.bytes().subspan(static_cast<std::size_t>(frame % slots_) * frame_bytes_,
                                 frame_bytes_);
}

std::vector<pollfd> MovieFeed::Waits() const {
  std::vector<pollfd> waits{{ffmpeg_.errors(), POLLIN, 0}};
  if (ready_.contains(next_)) waits.push_back({ffmpeg_.input(), POLLOUT, 0});
  return waits;
}

void MovieFeed::Pump() {
  if (!ffmpeg_.ReadErrors()) {
    ffmpeg_.Finish();  // says why, if it is an error
    throw FileError("ffmpeg ended before it had all frames");
  }
  while (ready_.contains(next_)) {
    const auto rest = Slot(next_).subspan(written_);
    const ssize_t size = write(ffmpeg_.input(), rest.data(), rest.size());
    if (size < 0) {
      if (errno == EPIPE) {  // the reason comes by its standard error
        ffmpeg_.CloseInput();
        ffmpeg_.Finish();
        throw FileError("ffmpeg ended before it had all frames");
      }
      return;
    }
    written_ += static_cast<std::size_t>(size);
    if (written_ < frame_bytes_) return;
    written_ = 0;
    ready_.erase(next_++);
  }
}

void MovieFeed::Finish() {
  ffmpeg_.CloseInput();
  while (ffmpeg_.ReadErrors()) {
    NotedSignals::Check();
    pollfd wait{ffmpeg_.errors(), POLLIN, 0};
    poll(&wait, 1, 100);
  }
  ffmpeg_.Finish();
  file_.Commit();
}

}  // namespace app
