// Values at and beyond the ends of their ranges: frames end soon, without an error and, as the
// sanitizers see it, without undefined behaviour.
#include <gtest/gtest.h>

#include <climits>

#include "fake_host.h"

namespace {

using fake::Host;

/// A short stroke in a small layer.
struct Frame : Host {
  explicit Frame(int bytes) {
    Allocate(input, 24, 16, bytes);
    Allocate(output, 24, 16, bytes);
    SetSlider(2, 60);
    SetSlider(4, 0.05);
    SetPopup(8, 2);
    SetPopup(17, 2);
    in.current_time = 4 * 1024;
    animate = [](PF_ParamDef& p, int index, A_long time) {
      if (index == 1) p.u.td.x_value += time * 100;
    };
    SetPoint(1, 3, 8);
  }
  void ExpectRendered(const std::string& what) {
    EXPECT_EQ(RenderSmart(), 0) << what;
    EXPECT_EQ(RenderClassic(), 0) << what;
    EXPECT_EQ(Lines({"checkout_param"}).size(), Lines({"checkin_param"}).size()) << what;
  }
};

TEST(Extremes, EveryControlMayHoldAnything) {
  for (const int bytes : {4, 8, 16}) {
    for (const int index : {2, 4, 5, 6, 9, 10, 11, 15, 18, 19, 20, 23, 24, 25, 26, 27}) {
      for (const PF_Fixed value : {INT_MIN, -1, 0, 1, 65, INT_MAX}) {
        Frame frame(bytes);
        frame.Param(index).u.fd.value = value;
        if (index == 19) frame.Param(index).u.td = {value, value, 0, 0, 0};
        frame.ExpectRendered(std::to_string(index) + " is " + std::to_string(value));
      }
    }
    for (const int index : {8, 14, 17}) {
      for (const A_long choice : {INT_MIN, -1, 0, 3, INT_MAX}) {
        Frame frame(bytes);
        frame.Param(index).u.pd.value = choice;
        frame.ExpectRendered(std::to_string(index) + " is " + std::to_string(choice));
      }
    }
  }
}

TEST(Extremes, BrushMayJumpAcrossTheWholeRange) {
  Frame frame(4);
  frame.SetSlider(3, 2);
  frame.animate = [](PF_ParamDef& p, int index, A_long time) {
    if (index == 1) p.u.td.x_value = p.u.td.y_value = (time / 1024) % 2 == 0 ? INT_MIN : INT_MAX;
  };
  frame.ExpectRendered("brush");
}

TEST(Extremes, TimesMayBeAnything) {
  for (const A_long time : {INT_MIN, -1, 0, 1, INT_MAX}) {
    for (const A_long step : {INT_MIN, -1, 1, INT_MAX}) {
      for (const A_u_long scale : {1u, 30720u, UINT32_MAX}) {
        if (step == 1 && scale == UINT32_MAX) continue;  // millions of frames, all of them real
        Frame frame(4);
        frame.animate = nullptr;
        frame.in.current_time = time;
        frame.in.local_time_step = step;
        frame.in.time_scale = scale;
        frame.ExpectRendered(std::to_string(time) + ' ' + std::to_string(step));
      }
    }
  }
}

TEST(Extremes, EndlessSpanAtTimeZeroEndsAtOnce) {
  Frame frame(4);
  frame.SetSlider(4, 3000);
  frame.in.current_time = 0;
  frame.in.local_time_step = 1;
  frame.in.time_scale = UINT32_MAX;
  frame.animate = nullptr;
  EXPECT_EQ(frame.RenderSmart(), 0);
  EXPECT_EQ(frame.Lines({"progress"}), fake::Log{"progress 0 2147483647"});
}

TEST(Extremes, ATimeSpanOf0Is3000Seconds) {
  Frame frame(4);
  frame.SetSlider(4, 0);
  frame.in.time_scale = static_cast<A_u_long>(frame.in.local_time_step);  // a frame a second
  frame.in.current_time = 3100 * frame.in.local_time_step;
  frame.animate = nullptr;
  EXPECT_EQ(frame.RenderSmart(), 0);
  std::string earliest;
  for (const std::string& line : frame.Lines({"checkout_param"})) {
    if (line.starts_with("checkout_param 1 ")) earliest = line;
  }
  EXPECT_EQ(earliest, "checkout_param 1 102400 1024 1024") << "a frame before the first slice";
}

TEST(Extremes, WhereTheLayerLiesInItsBufferIsNoMatter) {
  const auto render = [](int x, int y) {
    Frame frame(4);
    frame.SetPopup(17, 1);  // a distant light
    frame.SetPoint(1, 3 + x, 8 + y);
    for (PF_EffectWorld* const world : {&frame.input, &frame.output}) {
      world->origin_x = x;
      world->origin_y = y;
    }
    for (int i = 0; i < frame.input.height; ++i) {
      char* const row = reinterpret_cast<char*>(frame.input.data) + i * frame.input.rowbytes;
      for (int j = 0; j < 4 * frame.input.width; ++j) row[j] = static_cast<char>(7 * i + 3 * j);
    }
    EXPECT_EQ(frame.RenderSmart(), 0);
    std::string bytes;
    for (const PF_Pixel& p : frame.Pixels<PF_Pixel>(frame.output)) {
      bytes += {char(p.alpha), char(p.red), char(p.green), char(p.blue)};
    }
    return bytes;
  };
  const std::string frame = render(0, 0);
  EXPECT_NE(frame.find_first_not_of('\0'), std::string::npos);
  EXPECT_TRUE(render(5, -9) == frame);
}

TEST(Extremes, ScalesMayBeAnything) {
  const PF_RationalScale scales[]{{0, 1},  {1, 0},        {0, 0},       {-1, 1},
                                  {1, 90}, {1, 1u << 31}, {INT_MAX, 1}, {INT_MIN, UINT32_MAX}};
  for (const int bytes : {4, 16}) {
    for (const PF_Quality quality : {PF_Quality_LO, PF_Quality_HI}) {
      for (const PF_RationalScale& scale : scales) {
        for (int which = 0; which < 3; ++which) {
          Frame frame(bytes);
          frame.animate = nullptr;
          frame.in.current_time = 0;  // where a brush at rest draws, too
          frame.in.quality = quality;
          PF_RationalScale* const set[]{&frame.in.downsample_x, &frame.in.downsample_y,
                                        &frame.in.pixel_aspect_ratio};
          *set[which] = scale;
          frame.ExpectRendered(std::to_string(scale.num) + '/' + std::to_string(scale.den));
        }
      }
    }
  }
}

TEST(Extremes, SmallestLayersAndOutputs) {
  for (const int bytes : {4, 8, 16}) {
    for (const auto& [width, height] : {std::pair{1, 1}, {1, 9}, {9, 1}, {2, 2}, {3, 3}}) {
      for (const PF_Quality quality : {PF_Quality_LO, PF_Quality_HI}) {
        Frame frame(bytes);
        frame.in.quality = quality;
        frame.Allocate(frame.input, width, height, bytes, 0);
        frame.ExpectRendered("input");
        frame.Allocate(frame.output, width, height, bytes, 0);
        frame.ExpectRendered("both");
      }
    }
  }
}

}  // namespace
