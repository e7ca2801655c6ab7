// The pixel pass on many threads.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <random>

#include "frame_support.h"

namespace {

using hosting::Depth;

constexpr Depth kDepths[]{Depth::k8, Depth::k16, Depth::k32};

hosting::Setup WobblySetup() {
  hosting::Setup setup = frames::TestSetup();
  setup.controls.Set("Paint Style", hosting::Track<int>(2));
  setup.controls.Set("Light Type", hosting::Track<int>(2));
  return setup;
}

std::vector<std::byte> Bytes(const hosting::World& world) {
  std::vector<std::byte> bytes;
  const auto size = static_cast<std::size_t>(world.width()) * hosting::PixelSize(world.depth());
  for (int y = 0; y < world.height(); ++y) {
    bytes.insert(bytes.end(), world.RowBytes(y), world.RowBytes(y) + size);
  }
  return bytes;
}

std::vector<std::byte> Rendered(const hosting::Setup& setup,
                                const hosting::RenderOptions& options) {
  return Bytes(hosting::Renderer(frames::TheEffect(), setup, options)
                   .Render(setup.time.FrameTime(9))
                   .picture);
}

TEST(Threads, AnyNumberGivesTheSameBytes) {
  const hosting::Setup setup = WobblySetup();
  for (const Depth depth : kDepths) {
    hosting::RenderOptions options;
    options.depth = depth;
    options.threads = 1;
    const std::vector<std::byte> one = Rendered(setup, options);
    for (const int threads : {2, 3, 8}) {
      options.threads = threads;
      for (int repeat = 0; repeat < 3; ++repeat)
        EXPECT_EQ(Rendered(setup, options), one) << threads;
    }
  }
}

/// The host's 8-bit iteration, but with its rows in an order of our own.
std::vector<int> row_order;
PF_Err IterateInOrder(PF_InData*, A_long, A_long, PF_EffectWorld*, const PF_Rect*, void* refcon,
                      PF_IteratePixelFunc<PF_Pixel> pix_fn, PF_EffectWorld* dst) {
  for (const int y : row_order) {
    auto* const row = reinterpret_cast<PF_Pixel*>(reinterpret_cast<char*>(dst->data) +
                                                  std::ptrdiff_t{dst->rowbytes} * y);
    for (A_long x = dst->width; x-- > 0;) {
      if (const PF_Err err = pix_fn(refcon, x, y, nullptr, row + x); err != 0) return err;
    }
  }
  return PF_Err_NONE;
}

PF_Err EntryInOrder(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[],
                    PF_LayerDef* output, void* extra) {
  PF_UtilCallbacks utils = *in->utils;
  utils.iterate = IterateInOrder;
  PF_InData ours = *in;
  ours.utils = &utils;
  return MainEntry(cmd, &ours, out, params, output, extra);
}

TEST(Threads, OrderOfPixelsDoesNotMatter) {
  const hosting::Setup setup = WobblySetup();
  const std::vector<std::byte> expected = Rendered(setup, {});
  const hosting::Effect effect(EntryInOrder);
  hosting::Renderer renderer(effect, setup, {});
  std::mt19937 random(3);
  row_order.resize(static_cast<std::size_t>(setup.height));
  for (int i = 0; i < setup.height; ++i) row_order[static_cast<std::size_t>(i)] = i;
  for (int repeat = 0; repeat < 5; ++repeat) {
    std::shuffle(row_order.begin(), row_order.end(), random);
    EXPECT_EQ(Bytes(renderer.Render(setup.time.FrameTime(9)).picture), expected);
  }
}

TEST(Threads, CancellingAnywhereGivesTheHostsCodeAndEverythingBack) {
  // The host library itself checks that all was given back.
  const hosting::Setup setup = WobblySetup();
  for (const Depth depth : kDepths) {
    hosting::RenderOptions options;
    options.depth = depth;
    options.threads = 4;
    std::atomic<int> reports = 0;
    options.progress = [&](A_long, A_long) { return ++reports > 0; };
    const std::vector<std::byte> whole = Rendered(setup, options);
    const int all = reports;
    ASSERT_GT(all, 12) << "some slices, then some bands of rows";
    for (int cancel_at = 1; cancel_at <= all; ++cancel_at) {
      reports = 0;
      options.progress = [&](A_long, A_long) { return ++reports < cancel_at; };
      try {
        Rendered(setup, options);
        ADD_FAILURE() << "not cancelled at " << cancel_at;
      } catch (const hosting::EffectError& error) {
        EXPECT_TRUE(error.cancelled()) << error.what();
      }
    }
    options.progress = nullptr;
    EXPECT_EQ(Rendered(setup, options), whole) << "cancelled frames leave nothing behind";
  }
}

TEST(Threads, SamplersFailureEndsTheFrameWithItsCode) {
  const hosting::Setup setup = WobblySetup();
  const hosting::CallKind samplers[]{hosting::CallKind::kAreaSample8,
                                     hosting::CallKind::kAreaSample16,
                                     hosting::CallKind::kAreaSampleFloat};
  for (std::size_t i = 0; i < 3; ++i) {
    hosting::RenderOptions options;
    options.depth = kDepths[i];
    options.threads = 3;
    std::atomic<int> samples = 0;
    options.observer = [&](const hosting::Call& call) -> PF_Err {
      return call.kind == samplers[i] && ++samples == 100 ? 4321 : PF_Err_NONE;
    };
    try {
      Rendered(setup, options);
      ADD_FAILURE() << "not failed";
    } catch (const hosting::EffectError& error) {
      EXPECT_EQ(error.code(), 4321);
    }
  }
}

}  // namespace
