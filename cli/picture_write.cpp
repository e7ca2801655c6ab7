#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <variant>

#include "errors.h"
#include "output_file.h"
#include "picture_file.h"

namespace cli {
namespace {

using hosting::Depth;

[[noreturn]] void Fail(const std::filesystem::path& path, const std::string& why) {
  throw FileError(
      fmt::format("cannot write \"{}\": {}", path.string(), why.substr(0, why.find('\n'))));
}

template <class Channel>
void Premultiply(std::vector<Channel>& pixels) {
  for (std::size_t i = 0; i < pixels.size(); i += 4) {
    const Channel alpha = pixels[i + 3];
    for (std::size_t c = 0; c < 3; ++c) {
      if constexpr (std::is_same_v<Channel, float>) {
        pixels[i + c] *= alpha;
      } else {
        constexpr std::uint32_t kWhite = std::numeric_limits<Channel>::max();
        const std::uint32_t product = std::uint32_t{pixels[i + c]} * alpha;
        pixels[i + c] = static_cast<Channel>((product + kWhite / 2) / kWhite);
      }
    }
  }
}

}  // namespace

PictureFormat::PictureFormat(const std::filesystem::path& name, Depth depth) : depth_(depth) {
  std::string extension = name.extension().string();
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (extension == ".png") {
    kind_ = Kind::kPng;
  } else if (extension == ".tif" || extension == ".tiff") {
    kind_ = Kind::kTiff;
  } else if (extension == ".exr") {
    kind_ = Kind::kExr;
  } else {
    throw InputError(
        fmt::format("\"{}\": pictures are written as .png, .tif, .tiff or .exr", name.string()));
  }
  premultiplied_ = kind_ == Kind::kExr;
}

std::vector<unsigned char> PictureFormat::Encode(const hosting::World& world,
                                                 const std::string& software,
                                                 const std::filesystem::path& path) const {
  const bool exr = kind_ == Kind::kExr;
  const Depth stored = exr                   ? Depth::k32
                       : kind_ == Kind::kPng ? std::min(depth_, Depth::k16)
                                             : depth_;
  hosting::Picture::Pixels pixels = hosting::Picture(world, stored).pixels();
  if (premultiplied_) std::visit([](auto& p) { Premultiply(p); }, pixels);

  const OIIO::TypeDesc type = stored == Depth::k8    ? OIIO::TypeDesc::UINT8
                              : stored == Depth::k16 ? OIIO::TypeDesc::UINT16
                                                     : OIIO::TypeDesc::FLOAT;
  const bool half = exr && depth_ != Depth::k32;
  OIIO::ImageSpec spec(world.width(), world.height(), 4, half ? OIIO::TypeDesc::HALF : type);
  // The PNG library divides what it is told to be premultiplied; TIFF notes which of both it is.
  if (kind_ == Kind::kPng || !premultiplied_) spec.attribute("oiio:UnassociatedAlpha", 1);
  // Without one the library writes the time of day, and no two runs would give the same bytes.
  spec.attribute("DateTime", "");
  if (!software.empty()) spec.attribute("Software", software);
  spec.attribute("compression", "zip");

  std::vector<unsigned char> bytes;
  OIIO::Filesystem::IOVecOutput memory(bytes);
  const auto output = OIIO::ImageOutput::create(exr                   ? "openexr"
                                                : kind_ == Kind::kPng ? "png"
                                                                      : "tiff",
                                                &memory);
  if (!output) Fail(path, OIIO::geterror());
  const void* data = std::visit([](const auto& p) -> const void* { return p.data(); }, pixels);
  if (!output->open(path.filename().string(), spec) || !output->write_image(type, data) ||
      !output->close()) {
    Fail(path, output->geterror());
  }
  return bytes;
}

void WritePicture(const hosting::World& world, const PictureFormat& format,
                  const std::string& software, const std::filesystem::path& path) {
  const std::vector<unsigned char> bytes = format.Encode(world, software, path);
  OutputFile file(path);
  file.Write(std::as_bytes(std::span(bytes)));
  file.Commit();
}

}  // namespace cli
