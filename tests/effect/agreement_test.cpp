// Frames that must agree: between depths, commands, regions and sequences.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "frame_support.h"

namespace {

using hosting::Depth;
using hosting::RenderOptions;
using hosting::Track;
using hosting::World;

World Render(const hosting::Setup& setup, const RenderOptions& options, double frame = 9) {
  return hosting::Renderer(frames::TheEffect(), setup, options)
      .Render(static_cast<A_long>(frame * setup.time.step()))
      .picture;
}

void MakeWobbly(hosting::Setup& setup) {
  setup.controls.Set("Paint Style", Track<int>(2));
  setup.controls.Set("Wobble Width", Track<double>(8));
}

/// Pixel (x, y) cut to whole steps of a white level.
template <class Pixel>
std::array<int, 4> Steps(const World& world, int x, int y, double own_white, double white) {
  const Pixel& p = world.Row<Pixel>(y)[x];
  const auto cut = [&](double v) {
    return static_cast<int>(std::clamp(std::floor(v / own_white * white + 1e-6), 0.0, white));
  };
  return {cut(p.alpha), cut(p.red), cut(p.green), cut(p.blue)};
}

/// The largest difference of two worlds, in steps.
template <class Coarse, class Fine>
int Distance(const World& coarse, double white, const World& fine, double fine_white) {
  int most = 0;
  for (int y = 0; y < coarse.height(); ++y) {
    for (int x = 0; x < coarse.width(); ++x) {
      const auto a = Steps<Coarse>(coarse, x, y, white, white);
      const auto b = Steps<Fine>(fine, x, y, fine_white, white);
      for (std::size_t c = 0; c < 4; ++c) most = std::max(most, std::abs(a[c] - b[c]));
    }
  }
  return most;
}

/// Pixels whose alpha is not 0.
int Drawn(const World& world8) {
  int drawn = 0;
  for (int y = 0; y < world8.height(); ++y) {
    const PF_Pixel* row = world8.Row<PF_Pixel>(y);
    drawn += static_cast<int>(
        std::count_if(row, row + world8.width(), [](const PF_Pixel& p) { return p.alpha > 0; }));
  }
  return drawn;
}

void ExpectDepthsAgree(const hosting::Setup& setup) {
  RenderOptions options;
  const World w8 = Render(setup, options);
  options.depth = Depth::k16;
  const World w16 = Render(setup, options);
  options.depth = Depth::k32;
  const World w32 = Render(setup, options);
  EXPECT_GT(Drawn(w8), 300);
  EXPECT_LE((Distance<PF_Pixel, PF_Pixel16>(w8, 255, w16, 32768)), 1);
  EXPECT_LE((Distance<PF_Pixel, PF_PixelFloat>(w8, 255, w32, 1)), 1);
  EXPECT_LE((Distance<PF_Pixel16, PF_PixelFloat>(w16, 32768, w32, 1)), 1);
}

TEST(Agreement, DepthsAgreeWithinAStepOfTheCoarser) {
  // Light that does not magnify the rounding of the pictures and of their samples.
  hosting::Setup matte = frames::TestSetup();
  std::vector<std::uint8_t> pixels;
  std::mt19937 random(8);
  for (int i = 0; i < 96 * 54; ++i) {
    for (int c = 0; c < 3; ++c) pixels.push_back(static_cast<std::uint8_t>(random() % 256));
    pixels.push_back(static_cast<std::uint8_t>(i % 3 == 0 ? random() % 256 : 255));
  }
  matte.picture = hosting::Still({96, 54, std::move(pixels)});
  matte.controls.Set("Ambient", Track<double>(60));
  matte.controls.Set("Specular", Track<double>(0));
  ExpectDepthsAgree(matte);

  // Highlights on a single colour, which all depths hold well.
  hosting::Setup glossy = frames::TestSetup();
  std::vector<std::uint8_t> flat;
  for (int i = 0; i < 96 * 54; ++i) flat.insert(flat.end(), {51, 85, 170, 255});
  glossy.picture = hosting::Still({96, 54, std::move(flat)});
  ExpectDepthsAgree(glossy);
}

/// Where two worlds of the same depth differ, counting from column and row first on; empty if
/// nowhere.
std::string Difference(const World& a, const World& b, int a_x, int a_y, int first_x = 0,
                       int first_y = 0) {
  const std::size_t size = hosting::PixelSize(b.depth());
  for (int y = first_y; y < b.height(); ++y) {
    for (int x = first_x; x < b.width(); ++x) {
      const std::byte* in_a = a.RowBytes(y + a_y) + static_cast<std::size_t>(x + a_x) * size;
      const std::byte* in_b = b.RowBytes(y) + static_cast<std::size_t>(x) * size;
      if (!std::equal(in_b, in_b + size, in_a)) {
        return std::to_string(x) + ',' + std::to_string(y);
      }
    }
  }
  return "";
}

TEST(Agreement, SmartAndClassicRenderTheSameWholeFrame) {
  for (const Depth depth : {Depth::k8, Depth::k16, Depth::k32}) {
    for (const int reduced : {1, 2}) {
      hosting::Setup setup = frames::TestSetup();
      MakeWobbly(setup);
      RenderOptions options;
      options.depth = depth;
      options.downsample_x = options.downsample_y = {1, reduced};
      const World smart = Render(setup, options, 8.3);
      options.smart = false;
      EXPECT_EQ(Difference(Render(setup, options, 8.3), smart, 0, 0), "");
    }
  }
}

TEST(Agreement, RegionIsThatPartOfTheWholeFrame) {
  // The light is distant and the scales are powers of two, so that the shift to the region's corner
  // costs nothing. Beyond its left and top borders the region does not know the field's slope.
  for (const Depth depth : {Depth::k8, Depth::k16, Depth::k32}) {
    for (const int reduced : {1, 2}) {
      RenderOptions options;
      options.depth = depth;
      options.downsample_x = options.downsample_y = {1, reduced};
      const hosting::Setup setup = frames::TestSetup();
      const World whole = Render(setup, options);
      for (const PF_LRect r : {PF_LRect{0, 0, 40, 20}, {13, 6, 44, 25}, {0, 11, 48, 27}}) {
        options.region = r;
        const World part = Render(setup, options);
        EXPECT_EQ(Difference(whole, part, r.left, r.top, r.left > 0, r.top > 0), "");
      }
    }
  }
}

TEST(Agreement, FrameAloneEqualsFrameInSequence) {
  hosting::Setup setup = frames::TestSetup();
  MakeWobbly(setup);
  const World alone = Render(setup, {});
  hosting::Renderer sequence(frames::TheEffect(), setup, {});
  for (const int frame : {12, 3, 9}) {
    const World picture = sequence.Render(setup.time.FrameTime(frame)).picture;
    EXPECT_EQ(Difference(picture, alone, 0, 0) == "", frame == 9) << frame;
  }
}

}  // namespace
