#include "movie_format.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <thread>
#include <utility>

#include "errors.h"
#include "files.h"

namespace app {
namespace {

using Words = std::vector<std::string>;

/// How a codec keeps colours.
enum class Colors {
  kVideo,    // Y'CbCr
  kFull,     // RGB
  kPalette,  // 256 of them for every frame
};

struct Codec {
  std::string name;
  std::string says;
  Words files;    // the extensions of files that take it
  Words encoder;  // ffmpeg's options
  std::string pixels{};
  std::string deep_pixels{};             // from frames of more than 8 bits; empty: the same
  std::array<const char*, 4> quality{};  // the value of -crf from low to best; null: it has none
  bool has_alpha = false;
  bool even_sides = false;  // odd sides get one more row or column, black
  Colors colors = Colors::kVideo;
};

const std::vector<Codec>& Codecs() {
  static const std::vector<Codec> kCodecs{
      {.name = "h264",
       .says = "plays everywhere",
       .files = {"mp4", "mov", "mkv"},
       // Looking ahead 40 frames, as it does by itself, takes twice the memory for the same size.
       .encoder = {"-c:v", "libx264", "-x264-params", "rc-lookahead=10:sync-lookahead=0"},
       .pixels = "yuv420p",
       .quality = {"28", "22", "16", "10"},
       .even_sides = true},
      {.name = "h265",
       .says = "half the size of h264; 10 bits with --depth 16",
       .files = {"mp4", "mov", "mkv"},
       .encoder = {"-c:v", "libx265", "-x265-params", "log-level=error", "-tag:v", "hvc1"},
       .pixels = "yuv420p",
       .deep_pixels = "yuv420p10le",
       .quality = {"30", "24", "18", "12"},
       .even_sides = true},
      {.name = "prores",
       .says = "for editing, with transparency",
       .files = {"mov", "mkv"},
       .encoder = {"-c:v", "prores_ks", "-profile:v", "4444", "-alpha_bits", "16", "-vendor",
                   "apl0"},
       .pixels = "yuva444p10le",
       .has_alpha = true},
      {.name = "prores422",
       .says = "for editing, without transparency",
       .files = {"mov", "mkv"},
       .encoder = {"-c:v", "prores_ks", "-profile:v", "hq", "-vendor", "apl0"},
       .pixels = "yuv422p10le",
       .even_sides = true},
      {.name = "vp9",
       .says = "for the web, with transparency",
       .files = {"webm", "mkv"},
       .encoder = {"-c:v", "libvpx-vp9", "-b:v", "0", "-row-mt", "1", "-cpu-used", "4",
                   "-auto-alt-ref", "0"},
       .pixels = "yuva420p",
       .quality = {"40", "30", "20", "10"},
       .has_alpha = true},
      {.name = "av1",
       .says = "the smallest files",
       .files = {"mp4", "webm", "mkv"},
       .encoder = {"-c:v", "libsvtav1", "-preset", "8"},
       .pixels = "yuv420p",
       .deep_pixels = "yuv420p10le",
       .quality = {"45", "35", "25", "15"},
       .even_sides = true},
      {.name = "ffv1",
       .says = "lossless, with transparency, for archives",
       .files = {"mkv"},
       .encoder = {"-c:v", "ffv1", "-level", "3"},
       .pixels = "bgra",
       .deep_pixels = "rgba64le",
       .has_alpha = true,
       .colors = Colors::kFull},
      {.name = "png",
       .says = "lossless, with transparency, for editing",
       .files = {"mov", "mkv"},
       .encoder = {"-c:v", "png"},
       .pixels = "rgba",
       .deep_pixels = "rgba64be",
       .has_alpha = true,
       .colors = Colors::kFull},
      {.name = "gif",
       .says = "256 colours, hard edges",
       .files = {"gif"},
       .encoder = {"-c:v", "gif"},
       .has_alpha = true,
       .colors = Colors::kPalette},
      {.name = "apng",
       .says = "lossless moving pictures for pages, with transparency",
       .files = {"apng"},
       .encoder = {"-c:v", "apng", "-plays", "0"},
       .pixels = "rgba",
       .deep_pixels = "rgba64be",
       .has_alpha = true,
       .colors = Colors::kFull},
  };
  return kCodecs;
}

/// A kind of file.
struct Container {
  const char* extension;
  const char* name;  // ffmpeg's
  const char* codec;
  Words options;
  Words sound;
};

const std::vector<Container>& Containers() {
  static const Words kAac{"-c:a", "aac", "-b:a", "192k"};
  static const Words kOpus{"-c:a", "libopus", "-b:a", "160k"};
  static const std::vector<Container> kContainers{
      {"mp4", "mp4", "h264", {"-movflags", "+faststart"}, kAac},
      {"mov", "mov", "prores", {}, {"-c:a", "pcm_s16le"}},
      {"mkv", "matroska", "h264", {}, {"-c:a", "flac"}},
      {"webm", "webm", "vp9", {}, kOpus},
      {"gif", "gif", "gif", {}, {}},
      {"apng", "apng", "apng", {}, {}},
  };
  return kContainers;
}

const Codec& FindCodec(const std::string& name, const Container& container) {
  const auto found = std::find_if(Codecs().begin(), Codecs().end(),
                                  [&](const Codec& codec) { return codec.name == name; });
  if (found == Codecs().end()) {
    throw InputError(fmt::format("there is no codec \"{}\"; --codec list shows them", name));
  }
  if (std::find(found->files.begin(), found->files.end(), container.extension) ==
      found->files.end()) {
    throw InputError(fmt::format("a .{} file does not take {}; use .{}", container.extension, name,
                                 fmt::join(found->files, ", .")));
  }
  return *found;
}

/// What happens to the pictures on their way to the encoder.
std::string FilterFor(const Codec& codec, bool deep) {
  switch (codec.colors) {
    case Colors::kFull:
      return "null";
    case Colors::kPalette:
      // A palette for every frame: one for all would need all frames at once.
      return "split[a][b];[a]palettegen=stats_mode=single:reserve_transparent=1[p];"
             "[b][p]paletteuse=new=1:alpha_threshold=128";
    case Colors::kVideo:
      break;
  }
  // ffmpeg takes 65280 of 16 bits for white.
  const char* white = deep ? "lut=r=val*256/257:g=val*256/257:b=val*256/257," : "";
  // Rec. 709, which players take for granted; ffmpeg's own choice is the older Rec. 601.
  const char* pad = codec.even_sides ? ",pad=ceil(iw/2)*2:ceil(ih/2)*2" : "";
  return fmt::format(
      "{}scale=out_color_matrix=bt709:out_range=tv,setparams=range=tv:color_primaries=bt709:"
      "color_trc=bt709:colorspace=bt709{}",
      white, pad);
}

template <class List>
void Append(Words& to, const List& more) {
  to.insert(to.end(), more.begin(), more.end());
}

}  // namespace

std::optional<MovieFormat> MovieFormatFor(const std::filesystem::path& name, hosting::Depth depth,
                                          const std::string& codec_name, MovieQuality quality) {
  const std::string extension = ExtensionOf(name);
  const auto container =
      std::find_if(Containers().begin(), Containers().end(),
                   [&](const Container& c) { return extension == std::string(".") + c.extension; });
  if (container == Containers().end()) return std::nullopt;
  const Codec& codec = FindCodec(codec_name.empty() ? container->codec : codec_name, *container);

  const bool deep_frames = depth != hosting::Depth::k8;
  // Codecs of 10 bits and more get 16.
  const bool deep =
      deep_frames && (!codec.deep_pixels.empty() || codec.pixels.find("10") != std::string::npos);
  MovieFormat format;
  format.container = container->name;
  format.sound = container->sound;
  format.has_alpha = codec.has_alpha;
  format.depth = deep ? hosting::Depth::k16 : hosting::Depth::k8;
  format.filter = FilterFor(codec, deep);
  format.encoder = codec.encoder;
  if (const char* crf = codec.quality.at(static_cast<std::size_t>(quality))) {
    Append(format.encoder, Words{"-crf", crf});
  }
  const std::string& pixels = deep && !codec.deep_pixels.empty() ? codec.deep_pixels : codec.pixels;
  if (!pixels.empty()) Append(format.encoder, Words{"-pix_fmt", pixels});
  if (codec.colors == Colors::kVideo) {
    Append(format.encoder, Words{"-colorspace", "bt709", "-color_primaries", "bt709", "-color_trc",
                                 "bt709", "-color_range", "tv"});
  }
  Append(format.encoder, container->options);
  return format;
}

std::string CodecList() {
  std::string list;
  for (const Codec& codec : Codecs()) {
    list += fmt::format("{:<10} {:<17} {}\n", codec.name,
                        fmt::format(".{}", fmt::join(codec.files, " .")), codec.says);
  }
  return list;
}

std::size_t MovieFormat::FrameBytes(int width, int height) const {
  return hosting::PixelSize(depth) * static_cast<std::size_t>(width) *
         static_cast<std::size_t>(height);
}

Words MovieFormat::Command(int width, int height, hosting::Rational rate,
                           hosting::Rational pixel_aspect, const std::optional<MovieSound>& with,
                           const std::filesystem::path& file) const {
  std::string whole_filter = "[0:v]" + filter;
  if (pixel_aspect != hosting::Rational()) {
    whole_filter += fmt::format(",setsar={}/{}", pixel_aspect.num(), pixel_aspect.den());
  }
  const bool deep = depth != hosting::Depth::k8;
  Words command{"ffmpeg", "-hide_banner", "-loglevel", "error", "-nostdin", "-y"};
  // Of the frames, which are large, one waits at a time.
  Append(command, Words{"-thread_queue_size", "1", "-threads", "1"});
  Append(command,
         Words{"-f", "rawvideo", "-pix_fmt", deep ? "rgba64le" : "rgba", "-video_size",
               fmt::format("{}x{}", width, height), "-framerate", rate.Text(), "-i", "pipe:0"});
  if (with) {
    Append(command,
           Words{"-ss", fmt::format("{:.6f}", with->from), "-t",
                 fmt::format("{:.6f}", with->seconds), "-i", "file:" + with->file.string()});
  }
  Append(command, Words{"-filter_complex_threads", "1", "-filter_complex", whole_filter + "[v]",
                        "-map", "[v]"});
  if (with) {
    Append(command, Words{"-map", "1:a:0?"});
    Append(command, sound);
    Append(command, Words{"-flags:a", "+bitexact"});
    if (with->delay > 0) {
      Append(command, Words{"-af", fmt::format("adelay={:.3f}:all=1", with->delay * 1000)});
    }
  }
  Append(command, encoder);
  // By itself x264 takes half as many again, with all their memory.
  Append(command, Words{"-threads:v", std::to_string(std::thread::hardware_concurrency())});
  // Nothing in the file may depend on when and by which version it was made.
  Append(command, Words{"-fflags", "+bitexact", "-flags:v", "+bitexact", "-map_metadata", "-1",
                        "-f", container, "file:" + file.string()});
  return command;
}

}  // namespace app
