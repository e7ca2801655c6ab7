// The entry point: what each command answers, and that nothing escapes it.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>

#include "fake_host.h"

namespace {

using fake::FailNth;
using fake::Host;
using fake::Log;

TEST(Commands, UnknownOnesTouchNothing) {
  for (const PF_Cmd cmd :
       {-1, 2, 3, 5, 6, 7, 8, 9, 10, 12, 15, 16, 17, 19, 20, 21, 22, 25, 1000, INT_MAX, INT_MIN}) {
    EXPECT_EQ(MainEntry(cmd, nullptr, nullptr, nullptr, nullptr, nullptr), 0) << cmd;
  }
}

TEST(Commands, AboutTellsTheNameAndKeepsWhatWasThere) {
  const std::string text =
      "Nuvrik 1.7.1\rZT Vorlin, v1.7  (MachO Intel)\rMade by the Nuvrik team\r\r"
      "Liquid stroke from animated producer point.";
  for (const std::size_t length : {0u, 5u, 144u, 145u, 146u, 254u, 255u}) {
    Host host;
    std::memset(host.out.return_msg, '%', length);
    std::string want = text + host.out.return_msg;
    want.resize(std::min<std::size_t>(want.size(), 255));
    EXPECT_EQ(host.Run(PF_Cmd_ABOUT), 0);
    EXPECT_STREQ(host.out.return_msg, want.c_str()) << length;
  }
}

int g_longest = 0;

A_long MeasuringSprintf(A_char* buffer, const A_char* format, ...) {
  va_list args;
  va_start(args, format);
  const A_long length = std::vsprintf(buffer, format, args);
  va_end(args);
  g_longest = std::max(g_longest, length);
  return length;
}

TEST(Commands, AboutReadsNoFurtherThanTheMessageGoes) {
  Host host;
  host.utils.ansi.sprintf = MeasuringSprintf;
  // Without an end of its own.
  std::memset(host.out.return_msg, 'x', sizeof host.out.return_msg);
  EXPECT_EQ(host.Run(PF_Cmd_ABOUT), 0);
  EXPECT_EQ(g_longest, 112 + 255) << "the text, and all of the message but what its end replaced";
  EXPECT_EQ(std::strlen(host.out.return_msg), 255u);
}

TEST(Commands, GlobalSetupKeepsTheHostsFlags) {
  Host host;
  host.out.out_flags = 0x40000009;
  host.out.out_flags2 = 0x00010010;
  EXPECT_EQ(host.Run(PF_Cmd_GLOBAL_SETUP), 0);
  EXPECT_EQ(host.out.my_version, 0x000B8600u);
  EXPECT_EQ(host.out.out_flags, 0x4600000F);
  EXPECT_EQ(host.out.out_flags2, 0x00011415);
  EXPECT_EQ(host.log, Log{});
}

TEST(Commands, DynamicFlagsFollowUsing) {
  for (const int light : {1, 2, 3}) {
    for (const PF_OutFlags2 before : {0, 0x1405, 0x40}) {
      Host host;
      host.SetPopup(14, light);
      host.out.out_flags2 = before;
      host.in.current_time = 333;
      host.in.time_step = -512;
      EXPECT_EQ(host.Run(PF_Cmd_QUERY_DYNAMIC_FLAGS), 0);
      EXPECT_EQ(host.out.out_flags2, light == 1 ? before & ~4 : before | 4);
      EXPECT_EQ(host.log, (Log{"checkout_param 14 333 -512 30720", "checkin_param 14"}));
    }
  }
  Host host;
  host.SetPopup(14, 2);
  host.out.out_flags2 = 0x1405;
  host.answer = FailNth("checkout_param", 9);
  EXPECT_EQ(host.Run(PF_Cmd_QUERY_DYNAMIC_FLAGS), 0);
  EXPECT_EQ(host.out.out_flags2, 0x1401) << "the default's answer";
}

// Pre-render.

std::array<A_long, 4> Edges(const PF_LRect& r) { return {r.left, r.top, r.right, r.bottom}; }

struct PreRender {
  explicit PreRender(Host& host, PF_LRect asked) {
    input.output_request = {asked, 3, 5, 1};
    output = {{-1, -2, -3, -4}, {-5, -6, -7, -8}, 9, 10, this};
    PF_PreRenderCallbacks callbacks{[](PF_ProgPtr, A_long index, A_long id,
                                       const PF_RenderRequest* req, A_long time, A_long step,
                                       A_u_long scale, PF_CheckoutResult* result) {
      Host::Current().requests.push_back(*req);
      *result = Host::Current().checkout_result;
      return Host::Current().Say("checkout_layer", index, id, time, step, scale);
    }};
    PF_PreRenderExtra extra{&input, &output, &callbacks};
    err = host.Run(PF_Cmd_SMART_PRE_RENDER, nullptr, &extra);
  }
  PF_PreRenderInput input{};
  PF_PreRenderOutput output{};
  PF_Err err;
};

TEST(PreRender, ChecksOutAPixelThenTheWholeLayer) {
  Host host;
  host.in.current_time = 5;
  host.checkout_result = {{1, 2, 3, 4}, {-10, -20, 30, 40}};
  const PreRender pre(host, {0, 0, 8, 8});
  EXPECT_EQ(pre.err, 0);
  EXPECT_EQ(host.log,
            (Log{"checkout_layer 0 9999 5 1024 30720", "checkout_layer 0 0 5 1024 30720"}));
  ASSERT_EQ(host.requests.size(), 2u);
  EXPECT_EQ(Edges(host.requests[0].rect), (std::array<A_long, 4>{0, 0, 1, 1}));
  EXPECT_EQ(Edges(host.requests[1].rect), (std::array<A_long, 4>{-10, -20, 30, 40}));
  for (const PF_RenderRequest& request : host.requests) {
    EXPECT_EQ(request.field, 3);
    EXPECT_EQ(request.channel_mask, 5);
    EXPECT_EQ(request.preserve_rgb_of_zero_alpha, 0);
  }
  EXPECT_EQ(pre.input.output_request.preserve_rgb_of_zero_alpha, 1) << "the host's own";
  EXPECT_EQ(Edges(pre.output.max_result_rect), (std::array<A_long, 4>{-10, -20, 30, 40}));
  EXPECT_EQ(pre.output.solid, 9);
  EXPECT_EQ(pre.output.flags, 10);
  EXPECT_EQ(pre.output.pre_render_data, &pre);
}

TEST(PreRender, ResultIsTheRequestClampedIntoTheMaximum) {
  const PF_LRect max{-10, -20, 30, 40};
  const struct {
    PF_LRect max, asked, result;
  } cases[]{
      {max, {0, 1, 8, 9}, {0, 1, 8, 9}},
      {max, {-100, -100, 100, 100}, max},
      {max, {-15, 5, 5, 60}, {-10, 5, 5, 40}},
      {max, {50, 0, 60, 10}, {30, 0, 30, 10}},            // right of it
      {max, {-60, -50, -50, -40}, {-10, -20, -10, -20}},  // left and above
      {max, {8, 9, 0, 1}, {8, 9, 0, 1}},                  // inverted
      {max, {INT_MIN, INT_MIN, INT_MAX, INT_MAX}, max},
      {{5, 5, 5, 9}, {0, 0, 8, 8}, {5, 5, 5, 9}},  // empty maxima
      {{5, 9, 9, 5}, {0, 0, 8, 8}, {5, 9, 9, 5}},
      {{0, 0, 0, 0}, {3, 3, 8, 8}, {0, 0, 0, 0}},
  };
  for (const auto& c : cases) {
    Host host;
    host.checkout_result.max_result_rect = c.max;
    const PreRender pre(host, c.asked);
    EXPECT_EQ(pre.err, 0);
    EXPECT_EQ(Edges(pre.output.result_rect), Edges(c.result));
    EXPECT_EQ(Edges(pre.output.max_result_rect), Edges(c.max));
  }
}

TEST(PreRender, ReturnsTheHostsRefusalAtOnce) {
  for (const int nth : {1, 2}) {
    Host host;
    host.answer = FailNth("checkout_layer", 71, nth);
    const PreRender pre(host, {0, 0, 8, 8});
    EXPECT_EQ(pre.err, 71);
    EXPECT_EQ(host.log.size(), static_cast<std::size_t>(nth));
    EXPECT_EQ(Edges(pre.output.result_rect), (std::array<A_long, 4>{-1, -2, -3, -4}));
    EXPECT_EQ(Edges(pre.output.max_result_rect), (std::array<A_long, 4>{-5, -6, -7, -8}));
  }
}

// Smart render's early ends.

struct Frame : Host {
  explicit Frame(int bytes = 4) {
    Allocate(input, 4, 3, bytes);
    Allocate(output, 4, 3, bytes);
  }
  bool Poisoned() const { return AllAre(0xCDCDCDCDu); }
  bool Cleared() const { return AllAre(0u); }
  bool AllAre(std::uint32_t value) const {
    const auto words = Pixels<std::uint32_t>(output);
    return std::all_of(words.begin(), words.end(), [=](std::uint32_t w) { return w == value; });
  }
};
const Log kCheckOuts{"checkout_layer_pixels 0", "checkout_output"};

TEST(SmartRender, DrawsNothingWithoutWorlds) {
  for (const int which : {0, 1, 2, 3, 4, 5}) {
    Frame host;
    if (which == 0) host.lent_input = nullptr;
    if (which == 1) host.lent_output = nullptr;
    if (which == 2) host.input.width = 0;
    if (which == 3) host.input.height = -1;
    if (which == 4) host.output.width = -7;
    if (which == 5) host.output.height = 0;
    EXPECT_EQ(host.RenderSmart(), 0) << which;
    EXPECT_EQ(host.log, kCheckOuts) << which;
    host.output.width = 4;
    host.output.height = 3;
    EXPECT_TRUE(host.Poisoned()) << which;
  }
}

TEST(SmartRender, EmptyRequestClearsTheOutput) {
  for (const PF_LRect empty : {PF_LRect{0, 0, 0, 5}, {3, 0, 2, 5}, {0, 5, 5, 5}, {0, 0, 0, 0}}) {
    Frame host;
    EXPECT_EQ(host.RenderSmart(empty), 0);
    EXPECT_TRUE(host.Cleared());
    EXPECT_EQ(host.log, (Log{kCheckOuts[0], kCheckOuts[1], "fill output clear all"}));
    host.answer = FailNth("fill", 63);
    EXPECT_EQ(host.RenderSmart(empty), 63);
  }
}

TEST(Render, UnknownFormatIsRefusedUntouched) {
  for (const PF_PixelFormat format : {PF_PixelFormat{0}, PF_PixelFormat{0x62677260}}) {
    Frame host;
    host.format = format;
    EXPECT_EQ(host.RenderSmart(), 516);
    EXPECT_EQ(host.RenderClassic(), 516);
    EXPECT_TRUE(host.Poisoned());
  }
}

TEST(Render, DegenerateTimingClearsTheOutput) {
  const struct {
    A_long local_step;
    A_u_long scale;
  } cases[]{{0, 30720}, {1024, 0}, {-1024, 30720}, {INT_MIN, 1}};
  for (const auto& c : cases) {
    for (const bool smart : {false, true}) {
      Frame host;
      host.in.local_time_step = c.local_step;
      host.in.time_scale = c.scale;
      EXPECT_EQ(smart ? host.RenderSmart() : host.RenderClassic(), 0);
      EXPECT_TRUE(host.Cleared());
      EXPECT_EQ(host.Lines({"new_world", "progress", "iterate"}), Log{});
    }
  }
}

// The fence.

TEST(Fence, HoldsForEveryCommand) {
  for (const PF_Cmd cmd : {PF_Cmd_PARAMS_SETUP, PF_Cmd_UPDATE_PARAMS_UI, PF_Cmd_USER_CHANGED_PARAM,
                           PF_Cmd_QUERY_DYNAMIC_FLAGS}) {
    Host host;
    host.answer = [](const std::string& line) -> PF_Err {
      if (!line.starts_with("ReleaseSuite")) throw 31;
      return PF_Err_NONE;
    };
    EXPECT_EQ(host.Run(cmd), 31) << cmd;
  }
  for (const PF_Cmd cmd : {PF_Cmd_RENDER, PF_Cmd_UPDATE_PARAMS_UI, PF_Cmd_QUERY_DYNAMIC_FLAGS,
                           PF_Cmd_SMART_RENDER, PF_Cmd_SMART_PRE_RENDER}) {
    Host host;
    host.in.pica_basicP = nullptr;
    EXPECT_EQ(host.Run(cmd, &host.output), 516) << cmd << " without a basic suite";
  }
}

}  // namespace
