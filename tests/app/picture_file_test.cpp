#include "picture_file.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "support.h"

namespace app {
namespace {

using hosting::Depth;
using hosting::World;

using PictureFiles = InFolder;

template <class Pixel>
std::vector<decltype(Pixel::alpha)> Channels(const World& world) {
  std::vector<decltype(Pixel::alpha)> channels;
  for (int y = 0; y < world.height(); ++y) {
    for (int x = 0; x < world.width(); ++x) {
      const Pixel& p = world.Row<Pixel>(y)[x];
      channels.insert(channels.end(), {p.alpha, p.red, p.green, p.blue});
    }
  }
  return channels;
}

/// A world whose pixel (x, y) is `pixel(x, y)`.
template <class Pixel, class F>
World Made(int width, int height, Depth depth, F pixel) {
  World world(width, height, depth);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) world.Row<Pixel>(y)[x] = pixel(x, y);
  }
  return world;
}

World Reread(const World& world, const char* name) {
  WritePicture(world, PictureFormat(name, world.depth()), {}, name);
  return ReadPicture(name).ToWorld(world.depth());
}

TEST_F(PictureFiles, IntegersComeBackAsTheyWere) {
  // Every alpha with every level, transparent colours among them.
  const World bytes = Made<PF_Pixel>(256, 256, Depth::k8, [](int x, int y) {
    const auto a = static_cast<A_u_char>(y);
    const auto v = static_cast<A_u_char>(x);
    return PF_Pixel{a, v, static_cast<A_u_char>(255 - v), a};
  });
  // Every level from 0 to the worlds' white 32768.
  const World words = Made<PF_Pixel16>(257, 128, Depth::k16, [](int x, int y) {
    const auto v = static_cast<A_u_short>(std::min(y * 257 + x, 32768));
    return PF_Pixel16{v, static_cast<A_u_short>(32768 - v), v, 32768};
  });
  for (const char* name : {"a.png", "a.tif"}) {
    EXPECT_EQ(Channels<PF_Pixel>(Reread(bytes, name)), Channels<PF_Pixel>(bytes)) << name;
    EXPECT_EQ(Channels<PF_Pixel16>(Reread(words, name)), Channels<PF_Pixel16>(words)) << name;
  }
}

TEST_F(PictureFiles, FloatsComeBackAsTheyWere) {
  // Alphas that divide without rounding; colours over white, below zero, and under zero alpha.
  const World world = Made<PF_PixelFloat>(40, 30, Depth::k32, [](int x, int y) {
    const float alpha = y % 5 == 0 ? 1.0F : std::ldexp(1.0F, -(y % 5));
    return PF_PixelFloat{alpha, static_cast<float>(x) * 0.37F, -0.1F * static_cast<float>(y),
                         1e-3F};
  });
  for (const char* name : {"a.exr", "a.tif"}) {
    EXPECT_EQ(Channels<PF_PixelFloat>(Reread(world, name)), Channels<PF_PixelFloat>(world)) << name;
  }
}

/// The numbers that the file itself holds, in its own type and order.
std::vector<float> Raw(const char* name, OIIO::TypeDesc* type) {
  OIIO::ImageSpec wishes;
  wishes.attribute("oiio:UnassociatedAlpha", 1);
  const auto input = OIIO::ImageInput::open(name, &wishes);
  EXPECT_TRUE(input) << name;
  *type = input->spec().format;
  std::vector<float> pixels(input->spec().image_pixels() * 4);
  EXPECT_TRUE(input->read_image(0, 0, 0, 4, OIIO::TypeDesc::FLOAT, pixels.data()));
  return pixels;
}

TEST_F(PictureFiles, AlphaIsAsEachFormatWantsIt) {
  const World world = Made<PF_Pixel16>(1, 1, Depth::k16, [](int, int) {
    return PF_Pixel16{16384, 32768, 8192, 0};
  });
  struct Case {
    const char* name;
    Depth depth;
    OIIO::TypeDesc type;
    float red;
    float green;
  };
  const Case cases[] = {
      {"a.png", Depth::k8, OIIO::TypeDesc::UINT8, 1.0F, 64 / 255.0F},
      {"a.png", Depth::k16, OIIO::TypeDesc::UINT16, 1.0F, 16384 / 65535.0F},
      {"a.png", Depth::k32, OIIO::TypeDesc::UINT16, 1.0F, 16384 / 65535.0F},
      {"a.tif", Depth::k32, OIIO::TypeDesc::FLOAT, 1.0F, 0.25F},
      {"a.exr", Depth::k8, OIIO::TypeDesc::HALF, 0.5F, 0.125F},
      {"a.exr", Depth::k16, OIIO::TypeDesc::HALF, 0.5F, 0.125F},
      {"a.exr", Depth::k32, OIIO::TypeDesc::FLOAT, 0.5F, 0.125F},
  };
  for (const Case& c : cases) {
    WritePicture(world, PictureFormat(c.name, c.depth), {}, c.name);
    OIIO::TypeDesc type;
    const std::vector<float> raw = Raw(c.name, &type);
    EXPECT_EQ(type, c.type) << c.name;
    EXPECT_FLOAT_EQ(raw[0], c.red) << c.name;
    EXPECT_FLOAT_EQ(raw[1], c.green) << c.name;
    EXPECT_EQ(raw[2], 0) << c.name;
    EXPECT_NEAR(raw[3], 0.5, 1 / 255.0) << c.name;
  }
}

/// A file of one row of pixels, written plainly.
template <class Channel>
void WriteRaw(const char* name, OIIO::ImageSpec spec, const std::vector<Channel>& row) {
  spec.set_format(OIIO::BaseTypeFromC<Channel>::value);
  const auto output = OIIO::ImageOutput::create(name);
  ASSERT_TRUE(output && output->open(name, spec) && output->write_image(spec.format, row.data()) &&
              output->close());
}

TEST_F(PictureFiles, OtherChannelsAndPremultipliedColoursAreUnderstood) {
  using Bytes = std::vector<std::uint8_t>;
  const auto bytes_of = [](const char* name) {
    return std::get<Bytes>(ReadPicture(name).pixels());
  };
  WriteRaw<std::uint8_t>("grey.png", OIIO::ImageSpec(2, 1, 1, OIIO::TypeDesc()), {7, 250});
  EXPECT_EQ(bytes_of("grey.png"), (Bytes{7, 7, 7, 255, 250, 250, 250, 255}));
  WriteRaw<std::uint8_t>("rgb.png", OIIO::ImageSpec(1, 1, 3, OIIO::TypeDesc()), {7, 8, 9});
  EXPECT_EQ(bytes_of("rgb.png"), (Bytes{7, 8, 9, 255}));
  WriteRaw<std::uint8_t>("jpeg.jpg", OIIO::ImageSpec(1, 1, 3, OIIO::TypeDesc()), {255, 255, 255});
  EXPECT_EQ(bytes_of("jpeg.jpg"), (Bytes{255, 255, 255, 255}));
  // Without the hint the library's colours are premultiplied, and TIFF stores them so.
  WriteRaw<std::uint8_t>("associated.tif", OIIO::ImageSpec(2, 1, 4, OIIO::TypeDesc()),
                         {50, 100, 0, 128, 9, 8, 7, 0});
  EXPECT_EQ(bytes_of("associated.tif"), (Bytes{100, 199, 0, 128, 9, 8, 7, 0}));

  OIIO::ImageSpec cropped(1, 1, 4, OIIO::TypeDesc::FLOAT);
  cropped.x = 2;
  cropped.full_width = 3;
  WriteRaw<float>("cropped.exr", cropped, {0.25F, 0, 0, 0.5F});
  const hosting::Picture canvas = ReadPicture("cropped.exr");
  EXPECT_EQ(canvas.width(), 3);
  EXPECT_EQ(std::get<std::vector<float>>(canvas.pixels()),
            (std::vector<float>{0, 0, 0, 0, 0, 0, 0, 0, 0.5F, 0, 0, 0.5F}));
}

TEST_F(PictureFiles, PicturesAreTurnedUpright) {
  // Where the first two pixels of 3 x 2 stored ones are shown.
  const std::pair<int, std::array<int, 4>> cases[] = {
      {1, {0, 0, 1, 0}}, {2, {2, 0, 1, 0}}, {3, {2, 1, 1, 1}}, {4, {0, 1, 1, 1}},
      {5, {0, 0, 0, 1}}, {6, {1, 0, 1, 1}}, {7, {1, 2, 1, 1}}, {8, {0, 2, 0, 1}}};
  for (const auto& [orientation, place] : cases) {
    OIIO::ImageSpec spec(3, 2, 1, OIIO::TypeDesc());
    spec.attribute("Orientation", orientation);
    WriteRaw<std::uint8_t>("turned.tif", spec, {10, 20, 0, 0, 0, 0});
    const hosting::Picture upright = ReadPicture("turned.tif");
    const bool on_side = orientation > 4;
    ASSERT_EQ(SizeOfPicture("turned.tif"), (on_side ? PictureSize{2, 3} : PictureSize{3, 2}));
    const auto& pixels = std::get<std::vector<std::uint8_t>>(upright.pixels());
    const auto at = [&](int x, int y) {
      return pixels[static_cast<std::size_t>(4 * (y * upright.width() + x))];
    };
    EXPECT_EQ(at(place[0], place[1]), 10) << orientation;
    EXPECT_EQ(at(place[2], place[3]), 20) << orientation;
  }
}

/// A PNG's signature and a header that claims that size.
std::string PngClaiming(std::uint32_t width, std::uint32_t height) {
  const auto word = [](std::uint32_t v) {
    return std::string{static_cast<char>(v >> 24), static_cast<char>(v >> 16),
                       static_cast<char>(v >> 8), static_cast<char>(v)};
  };
  const std::string header = "IHDR" + word(width) + word(height) + std::string("\x08\x06\0\0\0", 5);
  std::uint32_t crc = 0xFFFFFFFF;
  for (const char c : header) {
    crc ^= static_cast<std::uint8_t>(c);
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (crc % 2 == 0 ? 0 : 0xEDB88320);
  }
  return "\x89PNG\r\n\x1a\n" + word(13) + header + word(~crc) + word(0) + "IDAT" + word(0x35AF061E);
}

TEST_F(PictureFiles, BadPicturesAreRefusedCheaply) {
  WriteText("empty.png", "");
  WriteText("text.png", "no picture at all");
  WriteText("long.png", PngClaiming(2000000, 5));
  WriteText("giant.png", PngClaiming(30000, 30000));
  WriteText("hollow.png", PngClaiming(8000, 8000));
  World world(300, 200, Depth::k8);
  world.Clear();
  for (const char* name : {"cut.png", "cut.exr", "cut.tif"}) {
    WritePicture(world, PictureFormat(name, Depth::k8), {}, name);
    std::filesystem::resize_file(name, std::filesystem::file_size(name) / 2);
  }
  std::filesystem::copy_file(SCENES "/dusk.jpg", "cut.jpg");
  std::filesystem::resize_file("cut.jpg", std::filesystem::file_size("cut.jpg") * 9 / 10);
  std::filesystem::create_directory("folder.png");
  const std::pair<const char*, const char*> cases[] = {
      {"missing.png", "No such file or directory"},
      {"folder.png", ""},
      {"empty.png", ""},
      {"text.png", ""},
      {"long.png", ""},
      {"giant.png", "it claims 30000 x 30000 pixels in 45 bytes"},
      {"hollow.png", ""},
      {"cut.png", ""},
      {"cut.exr", ""},
      {"cut.tif", ""},
      {"cut.jpg", "the file ends early"},
  };
  for (const auto& [name, why] : cases) {
    const std::string message = MessageOf([&name = name] { ReadPicture(name); });
    EXPECT_EQ(message.find(std::string("cannot read the picture \"") + name + "\": " + why), 0U)
        << message;
    EXPECT_EQ(message.find('\n'), message.npos) << message;
  }
  for (const char* name : {"giant.png", "hollow.png", "long.png"}) {
    WriteText("scene.json", std::string(R"({"duration": 1, "layer": ")") + name + "\"}");
    const RunResult result = RunVorlin({"render", "scene.json", "-o", "o.png"});
    EXPECT_EQ(result.exit_code, 3);
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_LT(result.peak_kib, 256 * 1024) << name;
  }
}

}  // namespace
}  // namespace app
