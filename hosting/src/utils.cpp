// Utility callbacks: filling and iterating over worlds.
#include <algorithm>
#include <cstring>

#include "command.h"
#include "rects.h"

namespace hosting {
namespace {

constexpr std::size_t kWorthSharing = 1 << 20;  // bytes that take longer than to wake a thread

PF_LRect Clipped(const PF_Rect* rect, const PF_EffectWorld& world) {
  const PF_LRect all{0, 0, world.width, world.height};
  if (rect == nullptr) return all;
  return Intersection({rect->left, rect->top, rect->right, rect->bottom}, all);
}

PF_Err Fill(PF_ProgPtr effect_ref, const PF_Pixel* color, const PF_Rect* rect,
            PF_EffectWorld* world) {
  Command* const command = Command::Of(effect_ref);
  if (command == nullptr || world == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  const PF_LRect area = Clipped(rect, *world);
  const PF_Pixel shown = color == nullptr ? PF_Pixel{} : *color;
  const PF_Err err =
      command->Arrive(CallKind::kFill, {Arg("alpha", shown.alpha), Arg("red", shown.red),
                                        Arg("green", shown.green), Arg("blue", shown.blue),
                                        Arg("width", world->width), Arg("height", world->height)});
  if (err != 0) return err;
  const World* const ours = command->Find(world);
  if (ours == nullptr) {
    command->ledger.Note("fill of a world that the host did not lend");
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (color != nullptr && ours->depth() != Depth::k8) return PF_Err_BAD_CALLBACK_PARAM;
  if (IsEmpty(area)) return PF_Err_NONE;
  const std::size_t size = PixelSize(ours->depth());
  const auto columns = static_cast<std::size_t>(area.right - area.left);
  const auto rows = static_cast<std::size_t>(area.bottom - area.top);
  const auto fill_row = [&](int y) -> PF_Err {
    if (color == nullptr) {
      std::memset(RowOf<char>(*world, y) + static_cast<std::size_t>(area.left) * size, 0,
                  columns * size);
    } else {
      std::fill_n(RowOf<PF_Pixel>(*world, y) + area.left, columns, *color);
    }
    return PF_Err_NONE;
  };
  if (command->workers != nullptr && rows * columns * size >= kWorthSharing) {
    return ForEachRow(*command->workers, area.top, area.bottom, fill_row, [](int) { return 0; });
  }
  for (A_long y = area.top; y < area.bottom; ++y) fill_row(y);
  return PF_Err_NONE;
}

template <class Pixel>
PF_Err Iterate(PF_InData* in_data, A_long progress_base, A_long progress_final, PF_EffectWorld* src,
               const PF_Rect* area, void* refcon, PF_IteratePixelFunc<Pixel> pix_fn,
               PF_EffectWorld* dst) {
  constexpr CallKind kKind =
      ByDepth<Pixel>(CallKind::kIterate, CallKind::kIterate16, CallKind::kIterateFloat);
  Command* const command = in_data == nullptr ? nullptr : Command::Of(in_data->effect_ref);
  if (command == nullptr || dst == nullptr || pix_fn == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  const PF_LRect rect = Clipped(area, *dst);
  const PF_Err err =
      command->Arrive(kKind, {Arg("base", progress_base), Arg("final", progress_final),
                              Arg("src", src == nullptr ? "none" : "world"),
                              Arg("area", area == nullptr ? "all" : "rect"),
                              Arg("width", dst->width), Arg("height", dst->height)});
  if (err != 0) return err;
  const World* const ours = command->Find(dst);
  const bool fits = src == nullptr || (src->width >= rect.right && src->height >= rect.bottom);
  if (ours == nullptr || ours->depth() != kDepthOf<Pixel> || !fits || command->workers == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (IsEmpty(rect)) return PF_Err_NONE;

  const auto row = [&](int y) -> PF_Err {
    Pixel* out = RowOf<Pixel>(*dst, y);
    Pixel* in = src == nullptr ? nullptr : RowOf<Pixel>(*src, y);
    for (A_long x = rect.left; x < rect.right; ++x) {
      const PF_Err pixel_err = pix_fn(refcon, x, y, in == nullptr ? nullptr : in + x, out + x);
      if (pixel_err != 0) return pixel_err;
    }
    return PF_Err_NONE;
  };
  const auto done = [&](int rows) -> PF_Err {
    const Progress* const progress = command->progress;
    if (progress == nullptr || !*progress) return PF_Err_NONE;
    const std::int64_t span = std::int64_t{progress_final} - progress_base;
    const auto current =
        static_cast<A_long>(progress_base + span * rows / (rect.bottom - rect.top));
    return (*progress)(current, progress_final) ? PF_Err_NONE : PF_Interrupt_CANCEL;
  };
  return ForEachRow(*command->workers, rect.top, rect.bottom, row, done);
}

}  // namespace

PF_UtilCallbacks UtilCallbacks(bool observed) {
  return {Fill, Iterate<PF_Pixel>, Iterate<PF_Pixel16>, AnsiCallbacks(observed)};
}

const PF_iterateFloatSuite1& IterateFloatSuite() {
  static constexpr PF_iterateFloatSuite1 kSuite{Iterate<PF_PixelFloat>};
  return kSuite;
}

}  // namespace hosting
