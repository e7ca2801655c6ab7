#include "hosting/area_sampler.h"

#include "box_sum.h"
#include "sum_table.h"

namespace hosting {
namespace {

// Boxes up to this many pixels wide and high are added up directly: that is faster than a look-up.
constexpr std::int64_t kSmallBox = 3 * kOne;
constexpr std::size_t kMaxBytesPerPixel = 40;

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

template <class Pixel>
const AreaSampler::Sums* AreaSampler::GetSums() const {
  if (!asked_.load(std::memory_order_acquire)) {
    std::call_once(once_, [this] {
      // Narrow sources are quickly added up, and their border of zeros would weigh too much.
      const auto pixels =
          static_cast<std::size_t>(source_.width) * static_cast<std::size_t>(source_.height);
      if (SumTable<Pixel>::Size(source_) > kMaxBytesPerPixel * pixels) return;
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
