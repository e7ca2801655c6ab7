#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <variant>

#include "errors.h"
#include "files.h"
#include "output_file.h"
#include "picture_file.h"

namespace app {
namespace {

using hosting::Depth;

/// Rows that are converted and packed at a time: whole blocks of every format.
constexpr int kRowsAtOnce = 64;
/// The PNG library's name of the Paeth filter. Alone, with runs of equal bytes packed, it makes
/// files as small as all filters tried on every row, in a quarter of the time.
constexpr int kPngPaethFilter = 0x80;

[[noreturn]] void Fail(const std::filesystem::path& path, const std::string& why) {
  throw FileError(
      fmt::format("cannot write \"{}\": {}", path.string(), why.substr(0, why.find('\n'))));
}

/// Multiplies colours by their alpha. Returns whether a colour was lost under an alpha of zero.
template <class Channel>
bool Premultiply(std::vector<Channel>& pixels) {
  bool lost = false;
  for (std::size_t i = 0; i < pixels.size(); i += 4) {
    const Channel alpha = pixels[i + 3];
    for (std::size_t c = 0; c < 3; ++c) {
      lost = lost || (alpha == Channel{} && pixels[i + c] != Channel{});
      if constexpr (std::is_same_v<Channel, float>) {
        pixels[i + c] *= alpha;
      } else {
        constexpr std::uint32_t kWhite = std::numeric_limits<Channel>::max();
        const std::uint32_t product = std::uint32_t{pixels[i + c]} * alpha;
        pixels[i + c] = static_cast<Channel>((product + kWhite / 2) / kWhite);
      }
    }
  }
  return lost;
}

/// What the pixels are handed to the picture library as.
Depth StoredDepth(const PictureFormat& format) {
  if (format.kind == PictureFormat::Kind::kExr) return Depth::k32;
  if (format.kind == PictureFormat::Kind::kTiff) return format.depth;
  return format.kind == PictureFormat::Kind::kPng ? std::min(format.depth, Depth::k16) : Depth::k8;
}

OIIO::TypeDesc StoredType(const PictureFormat& format) {
  switch (StoredDepth(format)) {
    case Depth::k8:
      return OIIO::TypeDesc::UINT8;
    case Depth::k16:
      return OIIO::TypeDesc::UINT16;
    case Depth::k32:
      break;
  }
  const bool half = format.kind == PictureFormat::Kind::kExr && format.depth != Depth::k32;
  return half ? OIIO::TypeDesc::HALF : OIIO::TypeDesc::FLOAT;
}

OIIO::ImageSpec SpecOf(const PictureFormat& format, int width, int height,
                       const std::string& software) {
  using Kind = PictureFormat::Kind;
  OIIO::ImageSpec spec(width, height, format.one_channel ? 1 : 4, StoredType(format));
  if (!format.has_alpha()) spec.nchannels = 3;
  if (format.one_channel) spec.channelnames = {"Y"};
  // The PNG library divides what it is told to be premultiplied; TIFF notes which of both it is.
  if (format.kind == Kind::kPng || !format.premultiplied) {
    spec.attribute("oiio:UnassociatedAlpha", 1);
  }
  // Without one the library writes the time of day, and no two runs would give the same bytes.
  spec.attribute("DateTime", "");
  if (!software.empty()) spec.attribute("Software", software);
  switch (format.kind) {
    case Kind::kPng:
      spec.attribute("compression", format.small ? "filtered" : "rle");
      spec.attribute("png:compressionLevel", format.small ? 9 : 1);
      if (!format.small) spec.attribute("png:filter", kPngPaethFilter);
      break;
    case Kind::kTiff:
      spec.attribute("compression", "zip");
      spec.attribute("tiff:zipquality", format.small ? 9 : 1);
      break;
    case Kind::kJpeg:
      spec.attribute("compression", format.fleeting ? "jpeg:90" : "jpeg:95");
      spec.attribute("jpeg:subsampling", format.fleeting ? "4:2:0" : "4:4:4");
      break;
    case Kind::kWebp:
      spec.attribute("compression", "webp:95");
      break;
    case Kind::kExr:  // both smaller and faster than zip for these pictures
      spec.attribute("compression", "piz");
      break;
  }
  return spec;
}

}  // namespace

bool IsClipped(const hosting::World& world, int first_row, int rows) {
  if (world.depth() != Depth::k32) return false;
  const auto outside = [](float v) { return !(v >= 0 && v <= 1); };
  for (int y = first_row; y < first_row + rows; ++y) {
    const auto* row = world.Row<PF_PixelFloat>(y);
    if (std::any_of(row, row + world.width(), [&](const PF_PixelFloat& p) {
          return outside(p.red) || outside(p.green) || outside(p.blue) || outside(p.alpha);
        })) {
      return true;
    }
  }
  return false;
}

PictureFormat::PictureFormat(const std::filesystem::path& name, Depth bits) : depth(bits) {
  const std::string extension = ExtensionOf(name);
  constexpr std::pair<const char*, Kind> kKinds[] = {
      {".png", Kind::kPng},  {".tif", Kind::kTiff},  {".tiff", Kind::kTiff}, {".exr", Kind::kExr},
      {".jpg", Kind::kJpeg}, {".jpeg", Kind::kJpeg}, {".webp", Kind::kWebp}};
  const auto* const found = std::find_if(std::begin(kKinds), std::end(kKinds),
                                         [&](const auto& row) { return extension == row.first; });
  if (found == std::end(kKinds)) {
    throw InputError(
        fmt::format("\"{}\": pictures are written as .png, .jpg, .webp, .tif or .exr, "
                    "movies as .mp4, .mov, .mkv, .webm, .gif or .apng",
                    name.string()));
  }
  kind = found->second;
  premultiplied = kind == Kind::kExr || !has_alpha();
}

EncodedPicture PictureFormat::Encode(const hosting::World& world, const std::string& software,
                                     const std::filesystem::path& path) const {
  EncodedPicture result;
  OIIO::Filesystem::IOVecOutput memory(result.bytes);
  const char* const kinds[] = {"png", "tiff", "openexr", "jpeg", "webp"};
  const auto output = OIIO::ImageOutput::create(kinds[static_cast<int>(kind)], &memory);
  if (!output) Fail(path, OIIO::geterror());
  if (!output->open(path.filename().string(),
                    SpecOf(*this, world.width(), world.height(), software))) {
    Fail(path, output->geterror());
  }
  const Depth stored = StoredDepth(*this);
  for (int y = 0; y < world.height(); y += kRowsAtOnce) {
    const int rows = std::min(kRowsAtOnce, world.height() - y);
    if (stored != Depth::k32) result.clipped = result.clipped || IsClipped(world, y, rows);
    hosting::Picture::Pixels pixels = hosting::Picture(world, stored, y, rows).TakePixels();
    const bool written = std::visit(
        [&]<class Channel>(std::vector<Channel>& p) {
          if (premultiplied && Premultiply(p) && has_alpha()) result.hidden_color_lost = true;
          return output->write_scanlines(y, y + rows, 0, OIIO::BaseTypeFromC<Channel>::value,
                                         p.data(), 4 * sizeof(Channel));
        },
        pixels);
    if (!written) Fail(path, output->geterror());
  }
  if (!output->close()) Fail(path, output->geterror());
  return result;
}

void StorePicture(const EncodedPicture& picture, const std::filesystem::path& path) {
  OutputFile file(path);
  file.Write(std::as_bytes(std::span(picture.bytes)));
  file.Commit();
}

void WritePicture(const hosting::World& world, const PictureFormat& format,
                  const std::string& software, const std::filesystem::path& path) {
  StorePicture(format.Encode(world, software, path), path);
}

}  // namespace app
