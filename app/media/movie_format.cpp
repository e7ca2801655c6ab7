#include "movie_format.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <utility>

namespace app {
namespace {

/// Rec. 709, which players take for granted; ffmpeg's own choice is the older Rec. 601.
constexpr const char* kRec709 = "scale=out_color_matrix=bt709:out_range=tv";

std::vector<std::string> Rec709Tags(std::vector<std::string> encoder) {
  encoder.insert(encoder.end(), {"-colorspace", "bt709", "-color_primaries", "bt709", "-color_trc",
                                 "bt709", "-color_range", "tv"});
  return encoder;
}

}  // namespace

std::optional<MovieFormat> MovieFormatFor(const std::filesystem::path& name, hosting::Depth depth) {
  std::string extension = name.extension().string();
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  MovieFormat format;
  format.filter = kRec709;
  if (extension == ".mp4") {
    format.container = "mp4";
    format.even_sides = true;
    format.encoder = Rec709Tags(
        {"-c:v", "libx264", "-crf", "16", "-pix_fmt", "yuv420p", "-movflags", "+faststart"});
  } else if (extension == ".mov") {
    format.container = "mov";
    format.has_alpha = true;
    format.depth = std::min(depth, hosting::Depth::k16);
    format.encoder = Rec709Tags({"-c:v", "prores_ks", "-profile:v", "4444", "-alpha_bits", "16",
                                 "-vendor", "apl0", "-pix_fmt", "yuva444p10le"});
  } else if (extension == ".webm") {
    format.container = "webm";
    format.has_alpha = true;
    format.encoder = Rec709Tags({"-c:v", "libvpx-vp9", "-crf", "20", "-b:v", "0", "-row-mt", "1",
                                 "-cpu-used", "4", "-auto-alt-ref", "0", "-pix_fmt", "yuva420p"});
  } else if (extension == ".gif") {
    format.container = "gif";
    format.has_alpha = true;
    // A palette for every frame: one for all would need all frames at once.
    format.filter =
        "split[a][b];[a]palettegen=stats_mode=single:reserve_transparent=1[p];"
        "[b][p]paletteuse=new=1:alpha_threshold=128";
    format.encoder = {"-c:v", "gif"};
  } else {
    return std::nullopt;
  }
  if (format.even_sides) format.filter += ",pad=ceil(iw/2)*2:ceil(ih/2)*2";
  return format;
}

std::size_t MovieFormat::FrameBytes(int width, int height) const {
  return hosting::PixelSize(depth) * static_cast<std::size_t>(width) *
         static_cast<std::size_t>(height);
}

std::vector<std::string> MovieFormat::Command(int width, int height, hosting::Rational rate,
                                              hosting::Rational pixel_aspect,
                                              const std::filesystem::path& file) const {
  std::string whole_filter = filter;
  if (pixel_aspect != hosting::Rational()) {
    whole_filter += fmt::format(",setsar={}/{}", pixel_aspect.num(), pixel_aspect.den());
  }
  const bool deep = depth != hosting::Depth::k8;
  std::vector<std::string> command{"ffmpeg",
                                   "-hide_banner",
                                   "-loglevel",
                                   "error",
                                   "-nostdin",
                                   "-y",
                                   "-f",
                                   "rawvideo",
                                   "-pix_fmt",
                                   deep ? "rgba64le" : "rgba",
                                   "-video_size",
                                   fmt::format("{}x{}", width, height),
                                   "-framerate",
                                   rate.Text(),
                                   "-i",
                                   "pipe:0",
                                   "-filter_complex",
                                   whole_filter};
  command.insert(command.end(), encoder.begin(), encoder.end());
  // Nothing in the file may depend on when and by which version it was made.
  command.insert(command.end(), {"-fflags", "+bitexact", "-flags:v", "+bitexact", "-map_metadata",
                                 "-1", "-f", container, "file:" + file.string()});
  return command;
}

}  // namespace app
