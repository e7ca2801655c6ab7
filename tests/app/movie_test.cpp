// Movies as layers: clips that ffmpeg makes here, each frame of which carries its number as black
// and white blocks.
#include "movie_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <random>

#include "layer_source.h"
#include "support.h"

namespace app {
namespace {

constexpr int kBlocks = 16;
constexpr int kBlock = 16;  // pixels
constexpr int kWidth = kBlocks * kBlock;
constexpr int kHeight = 64;
constexpr int kFrames = 150;

/// Block b is white where bit b of the frame's number is set.
void WriteFrames(const char* name) {
  std::string frames;
  for (int n = 0; n < kFrames; ++n) {
    for (int y = 0; y < kHeight; ++y) {
      for (int b = 0; b < kBlocks; ++b) frames.append(kBlock, (n >> b & 1) != 0 ? '\xE0' : '\x20');
    }
  }
  WriteText(name, frames);
}

int NumberIn(const hosting::Picture& picture) {
  int number = 0;
  const hosting::World world = picture.ToWorld(hosting::Depth::k8);
  for (int b = 0; b < kBlocks; ++b) {
    const PF_Pixel& pixel = world.Row<PF_Pixel>(kHeight / 2)[b * kBlock + kBlock / 2];
    if (pixel.green > 127) number |= 1 << b;
  }
  return number;
}

void Ffmpeg(const std::string& options) {
  ASSERT_EQ(std::system(("ffmpeg -v error -nostdin -y " + options).c_str()), 0) << options;
}

/// The blocks as ffmpeg's input at that rate.
std::string Input(const std::string& rate) {
  return fmt::format("-f rawvideo -pix_fmt gray -s {}x{} -r {} -i frames.raw ", kWidth, kHeight,
                     rate);
}

struct Clip {
  std::string name;
  std::string rate;
  std::string options;
  std::string before{};  // further inputs
  /// Seconds from the first frame to a frame; empty: at an even rate.
  std::function<double(int)> time{};
};

const std::string kH264 = "-c:v libx264 -pix_fmt yuv420p -g 40 -bf 3 ";
const std::string kTone = "-f lavfi -i sine=440:d=5 ";

double Uneven(int n) { return (n + (n % 3 == 1 ? 0.5 : 0)) / 30 + (n >= 60 ? 1.0 : 0); }

const Clip kClips[]{
    {"cfr.mp4", "30", kH264},
    {"ntsc.mp4", "30000/1001", kH264 + "-c:a aac", kTone},
    {"film.mkv", "24000/1001", kH264},
    {"open.ts", "25", "-c:v mpeg2video -q:v 3 -g 12 -bf 2 -flags -cgop"},
    {"open.mpg", "25", "-c:v mpeg2video -q:v 3 -g 12 -bf 2"},
    {"opengop.mp4", "30", kH264 + "-x264-params open-gop=1:keyint=20"},
    {"deep.mkv", "30", "-c:v libx265 -pix_fmt yuv420p10le -x265-params log-level=error:keyint=30"},
    {"web.webm", "30", "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -g 50"},
    {"edit.mov", "24", "-c:v prores_ks"},
    {"old.avi", "25", "-c:v mpeg4 -q:v 3 -bf 2 -g 30"},
    {"small.gif", "20", ""},
    {"late.mp4", "30", kH264 + "-c:a aac -map 0:v -map 1:a", "-itsoffset -0.5 " + kTone},
    {"uneven.mkv",
     "30",
     kH264 + "-fps_mode passthrough -enc_time_base 1/60000 -vf "
             "\"settb=1/60000,setpts='(N+0.5*eq(mod(N,3),1)+30*gte(N,60))/30/TB'\"",
     {},
     Uneven},
};

TEST_F(InFolder, MoviesShowTheRightFrameInAnyOrder) {
  WriteFrames("frames.raw");
  int looked_at = 0;
  for (const Clip& clip : kClips) {
    Ffmpeg(Input(clip.rate) + clip.before + clip.options + " " + clip.name);
    const double rate = hosting::Rational::Parse(clip.rate).value();
    const auto time = clip.time ? clip.time : [rate](int n) { return n / rate; };
    for (const char* text : {clip.rate.c_str(), "24", "30000/1001", "7"}) {
      const hosting::Rational layer_rate = hosting::Rational::Parse(text);
      const LayerSource layer = OpenLayer(clip.name);
      ASSERT_TRUE(layer.movie);
      const int count = static_cast<int>(std::ceil((time(kFrames - 1) + 0.3) * layer_rate.value()));
      std::vector<int> order(static_cast<std::size_t>(count));
      std::iota(order.begin(), order.end(), 0);
      std::vector<int> shuffled(order);
      std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(1));
      shuffled.resize(40);
      order.insert(order.end(), shuffled.begin(), shuffled.end());
      order.insert(order.end(), {count - 1, count / 2, count / 2 - 1, 1, 0, -5});
      int wrong = 0;
      std::string first_wrong;
      for (const int k : order) {
        const double at = k / layer_rate.value();
        int expected = kFrames - 1;
        while (expected > 0 && time(expected) > at + 1e-9) --expected;
        const int shown = NumberIn(*layer.picture(k, layer_rate));
        ++looked_at;
        // Containers round times to milliseconds.
        const bool nearly_next = time(expected + 1) < at + 0.001;
        if (shown == expected || (shown == expected + 1 && nearly_next)) continue;
        if (wrong++ == 0)
          first_wrong = fmt::format("frame {} shows {}, not {}", k, shown, expected);
      }
      EXPECT_EQ(wrong, 0) << clip.name << " at " << text << ": " << first_wrong;
    }
  }
  EXPECT_GT(looked_at, 9000);
}

}  // namespace
}  // namespace app
