// The pixel function on small fields made by hand.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "fake_host.h"
#include "render/blob.h"

namespace {

struct Sampled {
  PF_Fixed x, y, x_radius, y_radius, area;
  bool operator==(const Sampled&) const = default;
};
std::vector<Sampled> g_samples;
PF_PixelFloat g_color{1, 0.5f, 0.25f, 1};  // what the sampler finds
PF_Err g_sample_err = 0;

template <class Pixel>
PF_Err Sampler(PF_ProgPtr, PF_Fixed x, PF_Fixed y, const PF_SampPB* samp, Pixel* out) {
  g_samples.push_back({x, y, samp->x_radius, samp->y_radius, samp->area});
  const float white = sizeof(Pixel) == 4 ? 255.0f : sizeof(Pixel) == 8 ? 32768.0f : 1.0f;
  using Channel = decltype(Pixel::red);
  *out = {static_cast<Channel>(g_color.alpha * white), static_cast<Channel>(g_color.red * white),
          static_cast<Channel>(g_color.green * white), static_cast<Channel>(g_color.blue * white)};
  return g_sample_err;
}

/// A frame of 3 x 2 cells over a layer of 101 x 51 pixels with white ambient light.
template <class Pixel>
struct Frame {
  explicit Frame(std::vector<float> field) : cells(std::move(field)) {
    g_samples.clear();
    g_color = {1, 0.5f, 0.25f, 1};
    g_sample_err = 0;
    world.width = 3;
    world.height = 2;
    world.rowbytes = 12;
    world.data = reinterpret_cast<PF_Pixel*>(cells.data());
    info.lightShade = std::make_unique<vorlin::LightShade>(&host.in);
    info.lightShade->AddAmbientLight({1, 1, 1, 1});
    info.reflectionScale = 40;
    info.field = &world;
    info.fieldStride = 3;
    info.layerMaxX = 100;
    info.layerMaxY = 50;
    info.toLayerX = info.toLayerY = 1;
    info.toFixedX = info.toFixedY = 65536;
    info.slopeX = info.slopeY = 4;
    info.samp = {32768, 32768, 65536, nullptr};
    info.inData = &host.in;
    info.areaSample = Sampler<Pixel>;
  }
  Pixel Draw(int x, int y) {
    Pixel out = {7, 7, 7, 7};
    err = vorlin::BlobRIP<Pixel>(&info, x, y, nullptr, &out);
    return out;
  }
  fake::Host host;
  std::vector<float> cells;
  PF_EffectWorld world{};
  vorlin::RIPInfo<Pixel> info{};
  PF_Err err = -1;
};

template <class Pixel>
std::array<double, 4> Channels(const Pixel& p) {
  return {1.0 * p.alpha, 1.0 * p.red, 1.0 * p.green, 1.0 * p.blue};
}
using Four = std::array<double, 4>;

TEST(Blob, PixelsOutsideAreLeftAlone) {
  const float e = -1e-30f;
  Frame<PF_Pixel> frame({e, e, 1, e, e, e});
  g_sample_err = 5;
  const std::pair<int, int> outside[]{{0, 0}, {1, 0}, {0, 1}, {1, 1}};
  for (const auto& [x, y] : outside) {
    EXPECT_EQ(Channels(frame.Draw(x, y)), (Four{7, 7, 7, 7}));
    EXPECT_EQ(frame.err, 0);
  }
  EXPECT_TRUE(g_samples.empty());
}

/// Where the sample of a pixel with a steep slope lands: the reflection moves it by almost offset.
std::vector<Sampled> Moved(double origin, double offset, bool high) {
  Frame<PF_PixelFloat> frame({9, 9, 9, offset > 0 ? 1e9f : -1e9f, 0, 9});
  frame.cells[1] = 0;
  frame.info.slopeX = 1e9;
  frame.info.reflectionScale = std::abs(offset);
  frame.info.originX = origin - 1;
  frame.info.highQuality = high;
  frame.Draw(1, 1);
  return g_samples;
}

TEST(Blob, ReflectionIsMirroredAtTheBorders) {
  const struct {
    double origin, offset, at;
  } cases[]{{50, 20, 70},  {50, 55, 95}, {50, -55, 5}, {0, 100, 100}, {100, -100, 0}, {0, 105, 95},
            {0, -105, 95}, {0, 205, 5},  {0, -205, 5}, {0, 305, 95},  {0, -395, 5}};
  for (const auto& c : cases) {
    const std::vector<Sampled> low = Moved(c.origin, c.offset, false);
    ASSERT_EQ(low.size(), 1u);
    EXPECT_NEAR(low[0].x / 65536.0, c.at, 2e-3) << c.origin << ' ' << c.offset;
    EXPECT_EQ(low[0].x_radius, 32768);
    EXPECT_EQ(low[0].area, 65536);
  }
}

TEST(Blob, LayersTooSmallForTheBlurAreLeftAlone) {
  EXPECT_TRUE(Moved(50, 256, true).empty()) << "64 on both sides of 100";
  EXPECT_EQ(Moved(50, 256, false).size(), 1u);
  EXPECT_EQ(Moved(50, 197, true).size(), 1u) << "1.5 left";
  EXPECT_TRUE(Moved(50, 199, true).empty()) << "0.5 left";

  Frame<PF_PixelFloat> wide(std::vector<float>{9, 0, 9, 1e9f, 0, 9});
  wide.info.slopeX = 1e9;
  wide.info.reflectionScale = 10000;
  wide.info.layerMaxX = 4000;
  wide.info.highQuality = true;
  wide.Draw(1, 1);
  ASSERT_EQ(g_samples.size(), 1u);
  EXPECT_EQ(g_samples[0].x_radius, 64 * 65536 + 32768);
  EXPECT_EQ(wide.info.samp.x_radius, 32768) << "only the pixel's own copy changes";

  // Without blur a layer one pixel wide or high is sampled on that one column or row.
  for (const bool high : {false, true}) {
    Frame<PF_PixelFloat> thin(std::vector<float>{9, 9, 9, 1, 0.5f, 9});
    thin.info.layerMaxX = 0;
    thin.info.highQuality = high;
    EXPECT_EQ(thin.Draw(1, 1).red == 7, high);
    EXPECT_EQ(thin.err, 0);
    if (!high) {
      EXPECT_EQ(g_samples.at(0).x, 0);
    }
  }
}

TEST(Blob, ResultsAreClampedExceptInFloat) {
  const struct {
    double ambient, c8, c16;
    float cf;
  } cases[]{{3, 255, 32768, 3.0f},
            {1, 255, 32768, 1.0f},
            {0.5, 127, 16384, 0.5f},
            {-0.5, 0, 0, -0.5f},
            {1e300, 255, 32768, std::numeric_limits<float>::infinity()},
            {std::numeric_limits<double>::quiet_NaN(), 0, 0, NAN}};
  for (const auto& c : cases) {
    const std::vector<float> flat(6, 1.0f);
    Frame<PF_Pixel> f8(flat);
    f8.info.lightShade->ambientLight.blue = c.ambient;
    EXPECT_EQ(f8.Draw(1, 1).blue, c.c8);
    Frame<PF_Pixel16> f16(flat);
    f16.info.lightShade->ambientLight.blue = c.ambient;
    EXPECT_EQ(f16.Draw(1, 1).blue, c.c16);
    if (c.ambient > 1e30) continue;  // beyond single precision
    Frame<PF_PixelFloat> f32(flat);
    f32.info.lightShade->ambientLight.blue = c.ambient;
    const float blue = f32.Draw(1, 1).blue;
    EXPECT_TRUE(blue == c.cf || (std::isnan(blue) && std::isnan(c.cf))) << blue;
  }
}

TEST(Blob, SamplersErrorIsReturnedAfterThePixelIsWritten) {
  Frame<PF_Pixel16> frame(std::vector<float>(6, 1.0f));
  frame.info.lightShade->SetAmbientShading(0.5);
  g_sample_err = 29;
  EXPECT_EQ(Channels(frame.Draw(1, 1)), (Four{32768, 8192, 4096, 16384}));
  EXPECT_EQ(frame.err, 29);
}

}  // namespace
