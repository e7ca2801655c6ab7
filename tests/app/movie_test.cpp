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
#include "picture_file.h"
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

/// What a clip's Y'CbCr means: red, green and blue from 0 to 1.
std::array<double, 3> Meaning(std::array<int, 3> ycc, double kr, double kb, bool full, int depth) {
  const double one = 1 << (depth - 8);
  const double y = full ? ycc[0] / (256 * one - 1) : (ycc[0] / one - 16) / 219;
  const double scale = full ? (256 * one - 1) / one : 224;
  const double cb = (ycc[1] / one - 128) / scale;
  const double cr = (ycc[2] / one - 128) / scale;
  const double r = y + 2 * (1 - kr) * cr;
  const double b = y + 2 * (1 - kb) * cb;
  return {r, (y - kr * r - kb * b) / (1 - kr - kb), b};
}

TEST_F(InFolder, MoviesKeepTheColoursOfTheirMatrixAndRange) {
  struct Case {
    const char* matrix;
    double kr;
    double kb;
    bool full;
    int depth;
    int height;
  };
  const Case cases[]{{"smpte170m", 0.299, 0.114, false, 8, 64},
                     {"bt709", 0.2126, 0.0722, false, 8, 64},
                     {"bt2020nc", 0.2627, 0.0593, false, 8, 64},
                     {"bt709", 0.2126, 0.0722, true, 8, 64},
                     {"bt709", 0.2126, 0.0722, false, 10, 64},
                     {"", 0.299, 0.114, false, 8, 64},      // what is not said is
                     {"", 0.2126, 0.0722, false, 8, 720}};  // guessed by the height
  constexpr std::array<std::array<int, 3>, 8> kPatches{{{16, 128, 128},
                                                        {235, 128, 128},
                                                        {126, 128, 128},
                                                        {120, 100, 160},
                                                        {120, 160, 100},
                                                        {150, 120, 110},
                                                        {90, 140, 150},
                                                        {180, 118, 136}}};
  for (const Case& c : cases) {
    const int one = 1 << (c.depth - 8);
    std::string planes;
    for (std::size_t plane = 0; plane < 3; ++plane) {
      for (int y = 0; y < c.height; ++y) {
        for (int x = 0; x < 64; ++x) {
          const int value = kPatches.at(static_cast<std::size_t>(x / 8)).at(plane) * one + one / 2;
          planes += static_cast<char>(value & 255);
          if (one > 1) planes += static_cast<char>(value >> 8);
        }
      }
    }
    WriteText("planes.raw", planes);
    Ffmpeg(fmt::format(
        "-f rawvideo -pix_fmt yuv444p{} -s 64x{} -i planes.raw -c:v libx264 -qp 0 {} "
        "-color_range {} clip.mp4",
        one > 1 ? "10le" : "", c.height,
        *c.matrix != 0 ? fmt::format("-colorspace {}", c.matrix) : "", c.full ? "pc" : "tv"));
    MovieReader reader("clip.mp4");
    const auto picture = reader.At(0);
    EXPECT_EQ(std::holds_alternative<std::vector<std::uint16_t>>(picture->pixels()), one > 1);
    const hosting::World world = picture->ToWorld(hosting::Depth::k32);
    double worst = 0;
    for (std::size_t i = 0; i < kPatches.size(); ++i) {
      std::array<int, 3> written = kPatches.at(i);
      for (int& v : written) v = v * one + one / 2;
      const auto meant = Meaning(written, c.kr, c.kb, c.full, c.depth);
      const auto& p = world.Row<PF_PixelFloat>(c.height / 2)[i * 8 + 4];
      const std::array<float, 3> read{p.red, p.green, p.blue};
      for (std::size_t k = 0; k < 3; ++k) {
        worst = std::max(worst, std::abs(std::clamp(meant.at(k), 0.0, 1.0) - read.at(k)) * 255);
      }
    }
    EXPECT_LT(worst, one > 1 ? 0.1 : 1) << c.matrix << " " << c.full << " " << c.depth;
  }
}

/// The scene of a clip whose stroke lies outside of the picture.
void WriteScene(const std::string& clip, const std::string& more = {}) {
  WriteText("s.json", fmt::format(R"({{"layer": "{}", {} "controls":
    {{"Brush Position": {{"keys": [{{"time": 0, "value": [-900, -900]}},
                                  {{"time": 9, "value": [-800, -900]}}]}}}}}})",
                                  clip, more));
}

std::string Said(const std::string& command) {
  std::string said;
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  for (int c = std::fgetc(pipe.get()); c != EOF; c = std::fgetc(pipe.get())) {
    said += c == '\n' ? ' ' : static_cast<char>(c);
  }
  return said;
}

TEST_F(InFolder, RunsShowAMoviesFramesWhoeverRendersThem) {
  WriteFrames("frames.raw");
  Ffmpeg(Input("30000/1001") + kTone + kH264 + "-c:a aac clip.mp4");
  struct Case {
    const char* scene;
    std::vector<std::string> options;
    int frame;  // looked at
    int shows;  // -1: nothing
  };
  const Case cases[]{{"", {"-j", "2", "-F", "90-110"}, 101, 101},
                     {"", {"--chunk", "2/3"}, 70, 70},
                     {"", {}, 149, 149},
                     {"", {"-F", "145-160", "-j", "2"}, 160, 149},
                     {R"("frame_rate": 23.976, "duration": 4,)", {"-F", "80"}, 80, 100},
                     {R"("layer_start": 1.001,)", {"-F", "40"}, 40, 10},
                     {R"("layer_in": 1, "layer_out": 2,)", {"-F", "29"}, 29, -1},
                     {R"("layer_in": 1, "layer_out": 2,)", {"-F", "60"}, 60, -1},
                     {R"("layer_in": 1, "layer_out": 2,)", {"-F", "59"}, 59, 59}};
  for (const Case& c : cases) {
    WriteScene("clip.mp4", c.scene);
    std::vector<std::string> arguments{"render", "s.json", "-o",     "o.####.png",
                                       "-q",     "-y",     "--over", "layer"};
    arguments.insert(arguments.end(), c.options.begin(), c.options.end());
    const RunResult run = RunVorlin(arguments);
    ASSERT_EQ(run.exit_code, 0) << run.err;
    const hosting::Picture picture = ReadPicture(fmt::format("o.{:04}.png", c.frame));
    const bool empty = std::get<std::vector<std::uint8_t>>(picture.pixels())[3] == 0;
    EXPECT_EQ(empty ? -1 : NumberIn(picture), c.shows) << c.scene << c.frame;
  }
}

TEST_F(InFolder, MoviesAreRefusedInOneLine) {
  WriteFrames("frames.raw");
  Ffmpeg(Input("30") + "-c:v libx264 -g 30 -movflags +faststart whole.mp4");
  Ffmpeg(Input("30") + "-c:v libx264 -g 30 whole.mkv");
  for (const std::string kind : {"mp4", "mkv"}) {
    const std::string bytes = ReadAll("whole." + kind);
    WriteText("cut." + kind, bytes.substr(0, bytes.size() / 2));
  }
  WriteText("empty.mp4", "");
  WriteText("text.mov", "This is not a movie. It only has the name of one.");
  Ffmpeg(kTone + "-c:a aac sound.mp4");
  WritePlate("plate.png");
  std::filesystem::rename("plate.png", "picture.mp4");
  const std::pair<const char*, const char*> cases[]{
      {"empty.mp4", "cannot read the movie \"empty.mp4\": Invalid data found"},
      {"text.mov", "cannot read the movie \"text.mov\": Invalid data found"},
      {"sound.mp4", "cannot read the movie \"sound.mp4\": it has no moving picture"},
      {"picture.mp4", "cannot read the movie \"picture.mp4\": "},
      {"missing.mp4", "cannot read the movie \"missing.mp4\": No such file"},
      {"cut.mp4", "cannot read the movie \"cut.mp4\": it breaks off at "},
      {"cut.mkv", "cannot read the movie \"cut.mkv\": it breaks off at "}};
  for (const auto& [file, said] : cases) {
    WriteScene(file, R"("duration": 5,)");
    const RunResult run =
        RunVorlin({"render", "s.json", "-o", "o.####.png", "-q", "-y", "-j", "1"});
    EXPECT_EQ(run.exit_code, 3) << file;
    EXPECT_TRUE(run.err.starts_with("vorlin: error: ")) << run.err;
    EXPECT_NE(run.err.find(said), std::string::npos) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    // The frames before the place where a clip breaks off are there.
    const bool has_frames = std::string_view(file).starts_with("cut");
    EXPECT_EQ(std::filesystem::exists("o.0010.png"), has_frames) << file;
    for (int i = 0; i < 150; ++i) std::filesystem::remove(fmt::format("o.{:04}.png", i));
  }
}

TEST_F(InFolder, MoviesStandUprightWithTheirAlphaAndAspect) {
  WriteFrames("frames.raw");
  Ffmpeg(Input("30") + "-frames:v 3 -c:v libx264 -aspect 2:1 flat.mp4");
  Ffmpeg("-i flat.mp4 -c copy -metadata:s:v rotate=90 turned.mp4");
  const LayerSource turned = OpenLayer("turned.mp4");
  EXPECT_EQ(std::pair(turned.width, turned.height), std::pair(kHeight, kWidth));
  EXPECT_EQ(turned.pixel_aspect, hosting::Rational(2, 1));  // stored as 1:2
  const auto stored = OpenLayer("flat.mp4").picture(1, {30, 1})->ToWorld(hosting::Depth::k8);
  const auto upright = turned.picture(1, {30, 1})->ToWorld(hosting::Depth::k8);
  for (int y = 0; y < kWidth;
       y += kBlock) {  // counter-clockwise: the right column becomes the top row
    EXPECT_EQ(upright.Row<PF_Pixel>(y)[5].green, stored.Row<PF_Pixel>(5)[kWidth - 1 - y].green);
  }

  const std::string half = "-f lavfi -i color=c=0x0080ff@0.5:s=64x32:r=10:d=0.3,format=rgba ";
  const std::pair<const char*, const char*> kinds[]{
      {"a.webm", "-c:v libvpx-vp9 -pix_fmt yuva420p -auto-alt-ref 0"},
      {"a.mov", "-c:v prores_ks -profile:v 4444 -pix_fmt yuva444p10le -alpha_bits 16"},
      {"a.mkv", "-c:v ffv1 -pix_fmt bgra"}};
  for (const auto& [name, options] : kinds) {
    Ffmpeg(half + options + " " + name);
    const auto world = OpenLayer(name).picture(1, {10, 1})->ToWorld(hosting::Depth::k8);
    const PF_Pixel& pixel = world.Row<PF_Pixel>(16)[32];
    EXPECT_NEAR(pixel.alpha, 128, 2) << name;
    EXPECT_NEAR(pixel.green, 128, 4) << name;  // straight
    EXPECT_NEAR(pixel.blue, 255, 4) << name;
  }
}

TEST_F(InFolder, WrittenMoviesKeepSoundInSyncAndSayTheirColours) {
  // A click and a white picture together, once a second.
  Ffmpeg(
      "-f lavfi -i "
      "\"color=c=black:s=64x64:r=30:d=5,drawbox=c=white:t=fill:enable='eq(mod(n,30),0)'\" "
      "-f lavfi -i \"aevalsrc='0.9*lt(mod(t,1),0.004)*sin(6283*t)':s=48000:d=5\" "
      "-c:v libx264 -g 60 -bf 2 -c:a pcm_s16le clip.mov");
  struct Case {
    const char* scene;
    const char* file;
    std::vector<std::string> options;
    std::vector<double> clicks;  // seconds; none: no sound
  };
  const Case cases[]{{"", "o.mp4", {}, {0, 1, 2, 3, 4}},
                     {"", "o.mov", {"-F", "45-104"}, {0.5, 1.5}},
                     {"", "o.webm", {"-F", "20-89"}, {1.0 / 3, 4.0 / 3}},
                     {"", "o.mkv", {"--codec", "h265"}, {0, 1, 2, 3, 4}},
                     {R"("layer_start": 0.5, "duration": 3,)", "o.mp4", {}, {0.5, 1.5, 2.5}},
                     {R"("layer_out": 1.5, "duration": 3,)", "o.mp4", {}, {0, 1}},
                     {"", "o.mp4", {"--no-sound"}, {}},
                     {"", "o.mp4", {"-F", "0-90x2"}, {}},
                     {"", "o.gif", {"-F", "0-9"}, {}}};
  for (const Case& c : cases) {
    WriteScene("clip.mov", c.scene);
    std::vector<std::string> arguments{"render", "s.json", "-o", c.file, "-q", "-y"};
    arguments.insert(arguments.end(), c.options.begin(), c.options.end());
    const RunResult run = RunVorlin(arguments);
    ASSERT_EQ(run.exit_code, 0) << run.err;
    const std::string what = std::string(c.file) + " " + c.scene;
    const std::string file(c.file);
    EXPECT_EQ(
        Said("ffprobe -v error -select_streams a -show_entries stream=codec_type -of csv=p=0 " +
             file),
        c.clicks.empty() ? "" : "audio ")
        << what;
    if (file != "o.gif") {
      EXPECT_TRUE(Said("ffprobe -v error -select_streams v -read_intervals %+#1 -show_entries "
                       "frame=color_range,color_space,color_primaries,color_transfer -of csv=p=0 " +
                       file)
                      .starts_with("tv,bt709,bt709,bt709"))
          << what;
    }
    if (c.clicks.empty()) continue;
    Said("ffmpeg -v error -y -i " + file +
         " -af aresample=async=1:first_pts=0 -f s16le -ac 1 -ar 48000 sound.raw");
    const std::string raw = ReadAll("sound.raw");
    std::vector<double> clicks;
    for (std::size_t i = 0; i + 1 < raw.size(); i += 2) {
      const int sample = static_cast<std::int16_t>(static_cast<unsigned char>(raw[i]) |
                                                   static_cast<unsigned char>(raw[i + 1]) << 8);
      const double at = static_cast<double>(i) / 96000;
      if (std::abs(sample) > 6000 && (clicks.empty() || at > clicks.back() + 0.5))
        clicks.push_back(at);
    }
    ASSERT_EQ(clicks.size(), c.clicks.size()) << what;
    for (std::size_t i = 0; i < clicks.size(); ++i)
      EXPECT_NEAR(clicks[i], c.clicks[i], 0.015) << what;
  }
}

}  // namespace
}  // namespace app
