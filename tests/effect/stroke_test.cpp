// The stroke's relief: the field that a frame lays down, to the last bit.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "fake_host.h"

namespace {

using fake::Host;

constexpr A_long kStep = 1024;

/// A host whose brush winds over a layer of 96 x 54 pixels; positions in its buffer's pixels.
struct Brush : Host {
  explicit Brush(A_u_long reduced = 1) {
    in.downsample_x = in.downsample_y = {1, reduced};
    Allocate(input, 96 / static_cast<int>(reduced), 54 / static_cast<int>(reduced), 4);
    Allocate(output, input.width, input.height, 4);
    SetSlider(2, 20);
    SetSlider(4, 0.4);
    in.current_time = 15 * kStep;
    animate = [this, reduced](PF_ParamDef& p, int index, A_long time) {
      if (index != 1) return;
      const double s = 6.0 * time / in.time_scale;
      // Whole sixteenths, so that a shift by whole pixels loses nothing.
      const auto pixels = [&](double v) { return std::round(v * 16 / reduced) / 16; };
      p.u.td.x_value = Fixed(pixels(48 + 44 * std::sin(s)));
      p.u.td.y_value = Fixed(pixels(27 + 25 * std::cos(1.7 * s)));
    };
  }
  std::vector<float> Field(bool smart = true) {
    EXPECT_EQ(smart ? RenderSmart() : RenderClassic(), 0);
    return last_field;
  }
  /// Makes the output a part of the layer.
  void Crop(int left, int top, int width, int height) {
    Allocate(output, width, height, 4);
    output.origin_x = left;
    output.origin_y = top;
  }
  void MakeWobbly() {
    SetPopup(8, 2);
    SetSlider(9, 6);
    SetSlider(10, 11);
    SetSlider(11, 250);
  }
};

bool Same(const std::vector<float>& a, const std::vector<float>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

int Risen(const std::vector<float>& field) {
  return static_cast<int>(
      std::count_if(field.begin(), field.end(), [](float f) { return f >= 0; }));
}

TEST(Stroke, FieldEqualsThePlainImplementation) {
  const struct {
    const char* name;
    std::function<void(Brush&)> change;
  } cases[]{
      {"plain", [](Brush&) {}},
      {"low quality", [](Brush& b) { b.in.quality = PF_Quality_LO; }},
      {"wobbly", [](Brush& b) { b.MakeWobbly(); }},
      {"between frames",
       [](Brush& b) {
         b.MakeWobbly();
         b.in.current_time += 777;
       }},
      {"the layer's frames are shorter",
       [](Brush& b) {
         b.MakeWobbly();
         b.in.local_time_step = 700;
         b.in.time_step = -1024;
       }},
      {"one unit a frame",
       [](Brush& b) {
         b.in.local_time_step = b.in.time_step = 1;
         b.in.time_scale = 30;
         b.in.current_time = 9000;
       }},
      {"just before time 0", [](Brush& b) { b.in.current_time = -1; }},
      {"span of part of a frame", [](Brush& b) { b.SetSlider(4, 0.05); }},
      {"no span is 3000 seconds", [](Brush& b) { b.SetSlider(4, 0); }},
      {"wide pixels, uneven",
       [](Brush& b) {
         b.MakeWobbly();
         b.in.pixel_aspect_ratio = {10, 11};
         b.in.downsample_y = {2, 3};
       }},
      {"cropped",
       [](Brush& b) {
         b.MakeWobbly();
         b.Crop(5, 3, 70, 40);
       }},
  };
  for (const auto& c : cases) {
    for (const bool smart : {true, false}) {
      Brush brush;
      c.change(brush);
      const std::vector<float> field = brush.Field(smart);
      EXPECT_TRUE(Same(field, oracle::StrokeField(brush.Job(smart)).cells)) << c.name << smart;
      EXPECT_GT(Risen(field), 40) << c.name;
    }
  }
}

TEST(Stroke, WobbleRepeatsWhateverWasRenderedBefore) {
  Brush brush;
  brush.MakeWobbly();
  const std::vector<float> first = brush.Field();
  brush.in.current_time -= 3 * kStep;
  EXPECT_FALSE(Same(brush.Field(), first));
  brush.in.current_time += 3 * kStep;
  EXPECT_TRUE(Same(brush.Field(), first));
}

TEST(Stroke, SlicesThatDrawNothing) {
  const std::vector<float> empty(96 * 54, -0.25f);
  const struct {
    const char* name;
    std::function<void(Brush&)> change;
  } cases[]{
      {"density 0", [](Brush& b) { b.SetSlider(3, 0); }},
      {"strength 0", [](Brush& b) { b.SetSlider(6, 0); }},
      {"before time 0", [](Brush& b) { b.in.current_time = -kStep; }},
      {"brush at rest",
       [](Brush& b) {
         b.animate = nullptr;
         b.SetPoint(1, 40, 30);
       }},
  };
  for (const auto& c : cases) {
    Brush brush;
    brush.SetSlider(4, 0.2);
    c.change(brush);
    EXPECT_TRUE(Same(brush.Field(), empty)) << c.name;
  }
}

}  // namespace
