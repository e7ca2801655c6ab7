#include <OpenImageIO/imageio.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>

#include "errors.h"
#include "files.h"
#include "orientation.h"
#include "picture_file.h"

namespace app {
namespace {

/// The longest side of a layer.
constexpr int kLongestSide = 30000;
/// A file that claims more than kTrustedBytes of pixels must have a byte for every kBestPacking of
/// them: no lossless format packs pixels tighter.
constexpr std::size_t kTrustedBytes = std::size_t{256} << 20;
constexpr std::size_t kBestPacking = 1100;
constexpr int kRowsAtOnce = 64;

[[noreturn]] void Fail(const std::filesystem::path& path, const std::string& why) {
  const std::string line = why.substr(0, why.find('\n'));
  throw FileError(fmt::format("cannot read the picture \"{}\": {}", path.string(),
                              line.empty() ? "unknown reason" : line));
}

/// While it lives, what is written to standard error goes nowhere: the PNG library reports there,
/// beside the error that it returns.
class SilencedStandardError {
 public:
  SilencedStandardError() : kept_(dup(STDERR_FILENO)) {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0) return;
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
  }
  ~SilencedStandardError() {
    if (kept_ < 0) return;
    dup2(kept_, STDERR_FILENO);
    close(kept_);
  }
  SilencedStandardError(const SilencedStandardError&) = delete;
  SilencedStandardError& operator=(const SilencedStandardError&) = delete;

 private:
  int kept_;
};

/// The JPEG library fills what is missing of a file with grey and calls that a picture. A whole
/// file has an end-of-image marker after its last scan; inside a scan neither marker can occur.
bool EndsEarly(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes(std::istreambuf_iterator<char>(file), {});
  const std::size_t scan = bytes.rfind("\xFF\xDA");
  const std::size_t end = bytes.rfind("\xFF\xD9");
  return scan == bytes.npos || end == bytes.npos || end < scan;
}

class PictureReader {
 public:
  explicit PictureReader(const std::filesystem::path& path) : path_(path) {
    std::error_code error;
    const std::uintmax_t file_size = std::filesystem::file_size(path, error);
    if (error) Fail(path, error.message());
    OIIO::ImageSpec wishes;
    wishes.attribute("oiio:UnassociatedAlpha", 1);
    input_ = OIIO::ImageInput::open(path.string(), &wishes);
    if (!input_) Fail(path, OIIO::geterror());
    CheckSize(file_size);
    if (input_->format_name() == std::string_view("jpeg") && EndsEarly(path)) {
      Fail(path, "the file ends early");
    }
  }

  PictureSize size() const {
    // The display window, when the pixels cover another one.
    const PictureSize stored{spec().full_width, spec().full_height};
    return SwapsSides(orientation()) ? PictureSize{stored.height, stored.width} : stored;
  }

  std::string Software() const { return spec().get_string_attribute("Software"); }

  hosting::Picture Read() { return Oriented(ReadStored(), orientation()); }

 private:
  hosting::Picture ReadStored() {
    const auto type = static_cast<OIIO::TypeDesc::BASETYPE>(spec().format.basetype);
    if (type == OIIO::TypeDesc::UINT8) return ReadAs<std::uint8_t>();
    if (type == OIIO::TypeDesc::UINT16) return ReadAs<std::uint16_t>();
    return ReadAs<float>();
  }

  Orientation orientation() const {
    return static_cast<Orientation>(spec().get_int_attribute("Orientation", 1));
  }

  const OIIO::ImageSpec& spec() const { return input_->spec(); }

  void CheckSize(std::uintmax_t file_size) const {
    const OIIO::ImageSpec& s = spec();
    if (s.depth > 1) Fail(path_, "it has more than two dimensions");
    for (const int side : {s.width, s.height, s.full_width, s.full_height}) {
      if (side < 1 || side > kLongestSide) {
        Fail(path_, fmt::format("it claims {} x {} pixels; sides go from 1 to {}", s.width,
                                s.height, kLongestSide));
      }
    }
    const std::size_t claimed = s.image_bytes(true);
    if (claimed > kTrustedBytes && claimed / kBestPacking > file_size) {
      Fail(path_,
           fmt::format("it claims {} x {} pixels in {} bytes", s.width, s.height, file_size));
    }
  }

  /// The file's channels that are shown: grey, grey and alpha, RGB, or RGBA.
  int Channels() const {
    const int alpha = spec().alpha_channel;
    if (spec().nchannels >= 3) return alpha == 3 ? 4 : 3;
    return alpha == 1 ? 2 : 1;
  }

  /// The rows from y on in the file's channels.
  template <class Channel>
  void ReadRows(int y, int rows, std::vector<Channel>& band) {
    const OIIO::ImageSpec& s = spec();
    const OIIO::TypeDesc type = OIIO::BaseTypeFromC<Channel>::value;
    const int end = y + rows;
    const bool good =
        s.tile_width > 0
            ? input_->read_tiles(0, 0, s.x, s.x + s.width, y, end, s.z, s.z + 1, 0, Channels(),
                                 type, band.data())
            : input_->read_scanlines(0, 0, y, end, s.z, 0, Channels(), type, band.data());
    if (!good) Fail(path_, input_->geterror());
  }

  template <class Channel>
  static constexpr Channel White() {
    return std::is_same_v<Channel, float> ? Channel{1} : std::numeric_limits<Channel>::max();
  }

  template <class Channel>
  static Channel Unpremultiplied(Channel value, Channel alpha) {
    if (alpha == Channel{}) return value;
    if constexpr (std::is_same_v<Channel, float>) {
      return value / alpha;
    } else {
      constexpr std::uint32_t white = White<Channel>();
      return static_cast<Channel>(
          std::min<std::uint32_t>(white, (value * white + alpha / 2U) / alpha));
    }
  }

  template <class Channel>
  hosting::Picture ReadAs() {
    const OIIO::ImageSpec& s = spec();
    const auto channels = static_cast<std::size_t>(Channels());
    const auto width = static_cast<std::size_t>(s.width);
    const bool associated = s.get_int_attribute("oiio:UnassociatedAlpha") == 0;
    const int rows = s.tile_width > 0 ? s.tile_height : kRowsAtOnce;

    // Grows as rows arrive, so that a file that holds less than it claims costs no more than it
    // holds.
    std::vector<Channel> pixels;
    std::vector<Channel> band(static_cast<std::size_t>(rows) * width * channels);
    for (int y = s.y; y < s.y + s.height; y += rows) {
      const int count = std::min(rows, s.y + s.height - y);
      ReadRows(y, count, band);
      for (std::size_t i = 0; i < static_cast<std::size_t>(count) * width; ++i) {
        const Channel* from = &band[i * channels];
        const bool has_alpha = channels % 2 == 0;
        const Channel alpha = has_alpha ? from[channels - 1] : White<Channel>();
        for (std::size_t c = 0; c < 3; ++c) {
          const Channel value = from[channels < 3 ? 0 : c];
          pixels.push_back(associated ? Unpremultiplied(value, alpha) : value);
        }
        pixels.push_back(alpha);
      }
    }
    if (!input_->close()) Fail(path_, input_->geterror());
    return InDisplayWindow(std::move(pixels));
  }

  /// The pixels on the picture's whole canvas, transparent where the file has none.
  template <class Channel>
  hosting::Picture InDisplayWindow(std::vector<Channel> pixels) const {
    const OIIO::ImageSpec& s = spec();
    const bool same =
        s.x == s.full_x && s.y == s.full_y && s.width == s.full_width && s.height == s.full_height;
    if (same) return {s.width, s.height, std::move(pixels)};

    const int width = s.full_width;
    const int height = s.full_height;
    std::vector<Channel> canvas(4 * static_cast<std::size_t>(width) *
                                static_cast<std::size_t>(height));
    const std::int64_t left = std::int64_t{s.x} - s.full_x;
    const std::int64_t top = std::int64_t{s.y} - s.full_y;
    const std::int64_t first = std::max<std::int64_t>(0, left);
    const std::int64_t last = std::min<std::int64_t>(width, left + s.width);
    for (std::int64_t y = std::max<std::int64_t>(0, top);
         y < std::min<std::int64_t>(height, top + s.height) && first < last; ++y) {
      const auto from = pixels.begin() + 4 * ((y - top) * s.width + first - left);
      std::copy(from, from + 4 * (last - first), canvas.begin() + 4 * (y * width + first));
    }
    return {width, height, std::move(canvas)};
  }

  std::filesystem::path path_;
  std::unique_ptr<OIIO::ImageInput> input_;
};

}  // namespace

void KeepPicturesSingleThreaded() {
  const auto threads = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
  };
  const auto before = threads();
  OIIO::attribute("exr_threads", -1);
  // Starts the library's threads only to end them, and does not wait for that. A process that is
  // forked meanwhile may inherit a lock that nobody will open.
  OIIO::attribute("threads", 1);
  for (int tries = 0; tries < 2000 && threads() > before; ++tries) {
    std::this_thread::sleep_for(std::chrono::microseconds(500));
  }
}

bool IsMovieName(const std::filesystem::path& path) {
  if (path.extension().empty()) return false;
  const std::string extension = ExtensionOf(path).substr(1);
  // "format:extension,extension;format:...": what the library reads movies with are two of them.
  std::istringstream formats(OIIO::get_string_attribute("extension_list"));
  for (std::string format; std::getline(formats, format, ';');) {
    if (format.starts_with("ffmpeg:") || format.starts_with("gif:")) continue;
    std::istringstream extensions(format.substr(format.find(':') + 1));
    for (std::string e; std::getline(extensions, e, ',');) {
      if (e == extension) return false;
    }
  }
  return true;
}

PictureSize SizeOfPicture(const std::filesystem::path& path) {
  const SilencedStandardError silenced;
  return PictureReader(path).size();
}

hosting::Picture ReadPicture(const std::filesystem::path& path) {
  const SilencedStandardError silenced;
  return PictureReader(path).Read();
}

std::string SoftwareOf(const std::filesystem::path& path) {
  const SilencedStandardError silenced;
  try {
    PictureReader reader(path);
    std::string software = reader.Software();
    reader.Read();
    return software;
  } catch (const FileError&) {
    return {};
  }
}

}  // namespace app
