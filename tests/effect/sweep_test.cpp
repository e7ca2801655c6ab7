// Each call of the host fails, throws and lies in turn, in every kind of command; extremes; failed
// allocations; threads. The reference says what must come of it.
#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <functional>

#include "light/light_shade.h"
#include "reference.h"
#include "refusing_new.h"
#include "test_host.h"

namespace {

using namespace testhost;

constexpr PF_PixelFormat kFormats[] = {PF_PixelFormat_ARGB32, PF_PixelFormat_ARGB64,
                                       PF_PixelFormat_ARGB128};
constexpr std::size_t kStyle = 8, kUsing = 14, kType = 17;

Layer Light(AEGP_LightType type) {
  Layer layer;
  layer.light = type;
  layer.world = {{{2, 0, 0, 0}, {0, 1, 0, 0}, {0.3, 0.2, 1, 0}, {5, 4, -20, 1}}};
  return layer;
}

/// Every kind of frame, and every other command.
std::vector<Situation> Situations() {
  std::vector<Situation> all;
  for (const PF_PixelFormat format : kFormats) {
    for (const PF_Cmd command : {PF_Cmd_SMART_RENDER, PF_Cmd_RENDER}) {
      for (const int kind : {0, 1, 2}) {
        for (const int variant : {0, 1, 2, 3}) {
          const bool wobbly = variant % 2 == 1;
          Situation s = PlainFrame(command, format);
          s.output = {8, 7, 4, 3, 4};
          s.controls[kStyle].x.first = s.controls[kStyle].x.last = wobbly ? 2 : 1;
          s.controls[kUsing].x.first = s.controls[kUsing].x.last = kind == 2 ? 2 : 1;
          s.controls[kType].x.first = s.controls[kType].x.last = kind == 1 ? 2 : 1;
          for (const AEGP_LightType type : {0, 1, 2, 3}) s.layers.push_back(Light(type));
          s.quality = variant / 2;
          all.push_back(s);
        }
      }
    }
  }
  for (const PF_Cmd command :
       {PF_Cmd_ABOUT, PF_Cmd_GLOBAL_SETUP, PF_Cmd_PARAMS_SETUP, PF_Cmd_USER_CHANGED_PARAM,
        PF_Cmd_UPDATE_PARAMS_UI, PF_Cmd_QUERY_DYNAMIC_FLAGS, PF_Cmd_SMART_PRE_RENDER}) {
    all.push_back(PlainFrame(command, PF_PixelFormat_ARGB32));
  }
  return all;
}

std::string Difference(const Situation& s) {
  return FirstDifference(RunCommand(s, MainEntry), RunCommand(s, reference::MainEntry));
}

TEST(Sweep, EveryCallFailsThrowsAndLies) {
  long runs = 0, calls = 0;
  const std::vector<Situation> all = Situations();
  for (std::size_t i = 0; i < all.size(); ++i) {
    const Outcome clean = RunCommand(all[i], MainEntry);
    ASSERT_EQ(clean.code, 0);
    for (std::size_t c = 0; c < clean.counts.size(); ++c) {
      calls += clean.counts[c];
      for (int nth = 0; nth < clean.counts[c]; ++nth) {
        for (const Misdeed misdeed :
             {Misdeed::kRefuse, Misdeed::kRefuseYetDo, Misdeed::kNothing, Misdeed::kThrowInt,
              Misdeed::kThrowBadAlloc, Misdeed::kThrowOther, Misdeed::kHollow}) {
          if (misdeed == Misdeed::kHollow && c != static_cast<std::size_t>(Callback::kAcquire))
            continue;
          for (const bool from_then_on : {false, true}) {
            if (from_then_on && nth != 0) continue;
            Situation s = all[i];
            const auto callback = static_cast<Callback>(c);
            s.rules = {{callback, nth, misdeed, 77, from_then_on}};
            const Outcome effect = RunCommand(s, MainEntry);
            ASSERT_GT(effect.counts[c], nth) << "the call was not reached";
            ASSERT_EQ(FirstDifference(effect, RunCommand(s, reference::MainEntry)), "")
                << "situation " << i << ", " << CallbackName(callback) << " " << nth << ", misdeed "
                << static_cast<int>(misdeed);
            ++runs;
          }
        }
      }
    }
  }
  std::printf("%ld runs, %ld calls, each visited\n", runs, calls);
  EXPECT_GE(runs, 100000);
}

struct Extreme {
  const char* name;
  std::function<void(Situation&)> make;
};

TEST(Extremes, AreTheReferences) {
  const auto raw = [](Track& track, PF_Fixed value) { track = {value, value, 0, 1}; };
  std::vector<Extreme> rows{
      {"first time", [](Situation& s) { s.current_time = INT_MIN; }},
      {"last time", [](Situation& s) { s.current_time = INT_MAX; }},
      {"largest step", [](Situation& s) { s.local_time_step = s.time_step = INT_MAX; }},
      {"smallest step", [](Situation& s) { s.local_time_step = INT_MIN; }},
      {"no step", [](Situation& s) { s.local_time_step = 0; }},
      {"backward step", [](Situation& s) { s.local_time_step = -1; }},
      {"no scale", [](Situation& s) { s.time_scale = 0; }},
      {"largest scale", [](Situation& s) { s.time_scale = UINT_MAX; }},
      {"no downsample", [](Situation& s) { s.downsample_x.num = 0; }},
      {"downsample by nothing", [](Situation& s) { s.downsample_y.den = 0; }},
      {"negative downsample", [](Situation& s) { s.downsample_x.num = -1; }},
      {"no aspect",
       [](Situation& s) {
         s.pixel_aspect = {0, 0};
       }},
      {"wide blur",
       [](Situation& s) {
         s.downsample_x = s.downsample_y = {400, 1};
       }},
      {"farthest reflections, most blurred",
       [](Situation& s) {
         s.downsample_x = s.downsample_y = {1, 16};
         s.width = s.height = 4000;
         s.input.width = s.input.height = 24;
         s.controls[2].x.first = s.controls[2].x.last = 8 * 65536;
       }},
      {"a field that reaches 0 and no more",
       [](Situation& s) {
         s.current_time = 0;
         s.controls[kStyle].x = {1, 1, 0, 1};
         s.controls[1] = {{5 << 16, 5 << 16}, {4 << 16, 4 << 16}};
         s.controls[2].x.first = s.controls[2].x.last = 20 << 16;
         s.controls[6].x.first = s.controls[6].x.last = 25 << 16;
       }},
      {"far origins",
       [](Situation& s) { s.output.origin_x = INT_MIN, s.input.origin_y = INT_MAX; }},
      {"largest layer", [](Situation& s) { s.width = s.height = INT_MAX; }},
      {"inverted request",
       [](Situation& s) {
         s.request.rect = {INT_MAX, 0, INT_MIN, 9};
       }},
      {"inverted bounds",
       [](Situation& s) {
         s.max_rect = {9, 9, 0, 0};
       }},
      {"widest bounds",
       [](Situation& s) {
         s.max_rect = {INT_MIN, INT_MIN, INT_MAX, INT_MAX};
       }},
  };
  for (const int index : {2, 4, 5, 6, 9, 10, 11, 15, 18, 20, 23, 24, 25, 26, 27}) {
    const auto i = static_cast<std::size_t>(index);
    for (const PF_Fixed value : {INT_MIN, -1, 0, 1, INT_MAX}) {
      rows.push_back({"slider", [=](Situation& s) { raw(s.controls[i].x, value); }});
    }
  }
  for (const std::size_t i : {std::size_t{1}, std::size_t{19}}) {
    for (const PF_Fixed value : {INT_MIN, INT_MAX}) {
      // A jump across all that points can say, with few samples.
      rows.push_back({"point", [=](Situation& s) {
                        s.controls[i].x.last = value;
                        raw(s.controls[3].x, 655);
                      }});
    }
  }
  for (std::size_t row = 0; row < rows.size(); ++row) {
    for (const PF_PixelFormat format : kFormats) {
      for (const PF_Cmd command : {PF_Cmd_SMART_RENDER, PF_Cmd_RENDER, PF_Cmd_SMART_PRE_RENDER}) {
        Situation s = PlainFrame(command, format);
        s.controls[kStyle].x = {2, 2, 0, 1};
        rows[row].make(s);
        ASSERT_EQ(Difference(s), "") << rows[row].name << ", row " << row;
      }
    }
  }
}

TEST(Extremes, UnknownCommandsTouchNothing) {
  for (const PF_Cmd command : {-1, 2, 3, 5, 10, 12, 15, 17, 19, 22, 25, INT_MAX, INT_MIN}) {
    EXPECT_EQ(MainEntry(command, nullptr, nullptr, nullptr, nullptr, nullptr), PF_Err_NONE);
  }
}

TEST(Allocation, FailingOneEndsTheFrame) {
  for (const PF_PixelFormat format : kFormats) {
    for (const PF_Cmd command : {PF_Cmd_SMART_RENDER, PF_Cmd_RENDER}) {
      g_refused_size = sizeof(vorlin::LightShade);
      const Outcome outcome = RunCommand(PlainFrame(command, format), MainEntry);
      g_refused_size = 0;
      EXPECT_EQ(outcome.code, PF_Err_OUT_OF_MEMORY);
      EXPECT_EQ(outcome.ownership, "");
      EXPECT_EQ(outcome.counts[static_cast<std::size_t>(Callback::kAreaSample)], 0);
    }
  }
}

TEST(Threads, GiveTheSameBytesInAnyOrder) {
  for (const PF_PixelFormat format : kFormats) {
    std::vector<Situation> frames;
    for (const A_long time : {4096, 0, 3072, 1500}) {
      Situation s = PlainFrame(PF_Cmd_SMART_RENDER, format);
      s.current_time = time;
      s.controls[kStyle].x = {2, 2, 0, 1};
      s.output = {16, 12, 0, 0, 0};
      s.request.rect = {0, 0, 16, 12};
      frames.push_back(s);
    }
    std::vector<Outcome> alone;
    for (const Situation& s : frames) alone.push_back(RunCommand(s, MainEntry));
    EXPECT_NE(alone[0].output, alone[2].output);
    for (std::size_t i = frames.size(); i-- > 0;) {
      frames[i].threads = 4;
      EXPECT_EQ(RunCommand(frames[i], MainEntry).output, alone[i].output) << i;
    }
  }
}

}  // namespace
