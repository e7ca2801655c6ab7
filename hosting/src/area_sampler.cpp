#include "hosting/area_sampler.h"

#include "box_sum.h"
#include "sum_table.h"

namespace hosting {
namespace {

// Boxes up to this many pixels wide and high are added up directly: that is faster than a look-up.
constexpr std::int64_t kSmallBox = 3 * kOne;
// A table of more bytes is not worth its while: narrow sources, to which its border of zeros adds
// much, are quickly added up.
constexpr std::size_t kMaxBytesPerPixel = 40;

template <class Pixel>
std::size_t WorthwhileSize(int width, int height) {
  const std::size_t size = SumTable<Pixel>::Size(width, height);
  const auto pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  return size <= kMaxBytesPerPixel * pixels ? size : 0;
}

}  // namespace

struct AreaSampler::Sums {
  std::variant<SumTable<PF_Pixel>, SumTable<PF_Pixel16>, SumTable<PF_PixelFloat>> table;
};

template <class Pixel>
void PlainAreaSample(const PF_EffectWorld& source, const SampleBox& box, Pixel* out) {
  const Sides sides(box, source);
  if (sides.empty()) {
    *out = {};
  } else {
    StoreMean(AddUp<Pixel>(source, sides), sides, out);
  }
}

AreaSampler::AreaSampler(const PF_EffectWorld& source, Depth depth,
                         std::shared_ptr<MemoryPool> pool)
    : source_(source), depth_(depth), pool_(std::move(pool)) {}

AreaSampler::~AreaSampler() = default;

std::size_t AreaSampler::TableBytes(int width, int height, Depth depth) {
  if (depth == Depth::k8) return WorthwhileSize<PF_Pixel>(width, height);
  return depth == Depth::k16 ? WorthwhileSize<PF_Pixel16>(width, height)
                             : WorthwhileSize<PF_PixelFloat>(width, height);
}

template <class Pixel>
const AreaSampler::Sums* AreaSampler::GetSums() const {
  if (!asked_.load(std::memory_order_acquire)) {
    std::call_once(once_, [this] {
      if (WorthwhileSize<Pixel>(source_.width, source_.height) == 0) return;
      constexpr auto kKind = std::in_place_type<SumTable<Pixel>>;
      sums_.reset(new Sums{decltype(Sums::table)(kKind, source_, pool_)});
    });
    asked_.store(true, std::memory_order_release);
  }
  return sums_.get();
}

template <class Pixel>
void AreaSampler::Sample(const SampleBox& box, Pixel* out) const {
  const Sides sides(box, source_);
  if (!sides.empty() && std::max(sides.x.length, sides.y.length) > kSmallBox) {
    const Sums* const sums = GetSums<Pixel>();
    if (sums != nullptr && std::get_if<SumTable<Pixel>>(&sums->table)->Sample(sides, out)) return;
  }
  PlainAreaSample(source_, box, out);
}

template void PlainAreaSample(const PF_EffectWorld&, const SampleBox&, PF_Pixel*);
template void PlainAreaSample(const PF_EffectWorld&, const SampleBox&, PF_Pixel16*);
template void PlainAreaSample(const PF_EffectWorld&, const SampleBox&, PF_PixelFloat*);
template void AreaSampler::Sample(const SampleBox&, PF_Pixel*) const;
template void AreaSampler::Sample(const SampleBox&, PF_Pixel16*) const;
template void AreaSampler::Sample(const SampleBox&, PF_PixelFloat*) const;

}  // namespace hosting
