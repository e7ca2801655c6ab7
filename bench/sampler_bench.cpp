// The host's area sampler: boxes of several sizes in the order of the pixels and at the boxes that
// a real stroke asks for, against plain sums; and making its table, against merely writing as much
// memory.

#include <cstring>
#include <map>
#include <memory>
#include <string>

#include "brush_scene.h"
#include "ratios.h"

namespace {

using hosting::AreaSampler;
using hosting::Depth;
using hosting::MemoryPool;
using hosting::SampleBox;
using hosting::World;

const World& Source(Depth depth) {
  static std::map<Depth, World> worlds;
  World& world = worlds[depth];
  if (world.width() == 0) {
    world = bench::SetupOf({}).picture(0)->ToWorld(depth);
  }
  return world;
}

// Touches every row of the picture, so that it makes the whole table.
constexpr SampleBox kEverywhere{960 * 65536, 540 * 65536, 640 * 65536, 640 * 65536};

/// Boxes of so many pixels a side around the points (x + 1/3, y + 1/5) of a part of the picture,
/// row by row.
std::vector<SampleBox> InScanOrder(int side) {
  std::vector<SampleBox> boxes;
  const PF_Fixed radius = side * 32768;
  for (int y = 200; y < 800; ++y) {
    for (int x = 400; x < 1400; ++x) {
      boxes.push_back({x * 65536 + 21845, y * 65536 + 13107, radius, radius});
    }
  }
  return boxes;
}

using Boxes = std::shared_ptr<const std::vector<SampleBox>>;

/// So many boxes at a time, of all of them in turn.
template <class Sample>
bench::Work OverBoxes(const Boxes& boxes, int count, Sample sample) {
  return [=, i = std::size_t{0}]() mutable {
    for (int n = 0; n < count; ++n) {
      sample((*boxes)[i]);
      if (++i == boxes->size()) i = 0;
    }
  };
}

template <class Pixel>
bench::MakeWork Sampled(Depth depth, const Boxes& boxes, int count) {
  return [=]() -> bench::Work {
    const auto sampler = std::make_shared<const AreaSampler>(Source(depth).record(), depth);
    const auto sample = [=](const SampleBox& box) {
      Pixel out;
      sampler->Sample(box, &out);
      benchmark::DoNotOptimize(out);
    };
    sample(kEverywhere);
    return OverBoxes(boxes, count, sample);
  };
}

template <class Pixel>
bench::MakeWork Plainly(Depth depth, const Boxes& boxes, int count) {
  return [=]() -> bench::Work {
    return OverBoxes(boxes, count, [depth](const SampleBox& box) {
      Pixel out;
      hosting::PlainAreaSample(Source(depth).record(), box, &out);
      benchmark::DoNotOptimize(out);
    });
  };
}

template <class Pixel>
bench::MakeWork MakeTable(Depth depth) {
  return [=]() -> bench::Work {
    const auto pool = std::make_shared<MemoryPool>();
    return [=] {
      const AreaSampler sampler(Source(depth).record(), depth, pool);
      Pixel out;
      sampler.Sample(kEverywhere, &out);
      benchmark::DoNotOptimize(out);
    };
  };
}

bench::MakeWork Write(std::size_t bytes) {
  return [=]() -> bench::Work {
    const std::shared_ptr<std::byte> memory = MemoryPool::Take(nullptr, bytes);
    return [=] {
      std::memset(memory.get(), 1, bytes);
      benchmark::ClobberMemory();
    };
  };
}

template <class Pixel>
void PairsOf(const std::string& name, Depth depth, const Boxes& stroke) {
  const auto pair = [&](const std::string& boxes_name, const Boxes& boxes, int count) {
    bench::Pair(boxes_name + "/plain sum, " + name, count, bench::Ratio::kTimesFaster,
                Sampled<Pixel>(depth, boxes, count), Plainly<Pixel>(depth, boxes, count));
  };
  const auto boxes_of = [](int side) {
    return std::make_shared<const std::vector<SampleBox>>(InScanOrder(side));
  };
  for (const int side : {1, 3, 9, 33, 129}) {
    pair("box of " + std::to_string(side), boxes_of(side), side < 129 ? 20000 : 2000);
  }
  pair("a stroke's boxes", stroke, static_cast<int>(stroke->size()));
  constexpr int kCount = 100000;
  bench::Pair("box of 129/box of 1, " + name, kCount, bench::Ratio::kTimesItsTime,
              Sampled<Pixel>(depth, boxes_of(129), kCount),
              Sampled<Pixel>(depth, boxes_of(1), kCount));
  const World& source = Source(depth);
  const std::size_t bytes = AreaSampler::TableBytes(source.width(), source.height(), depth);
  bench::Pair("making the table/writing it, " + name, 1, bench::Ratio::kTimesItsTime,
              MakeTable<Pixel>(depth), Write(bytes));
}

}  // namespace

int main(int argc, char** argv) {
  const auto stroke = std::make_shared<const std::vector<SampleBox>>(bench::StrokeBoxes({}));
  PairsOf<PF_Pixel>("8 bits", Depth::k8, stroke);
  PairsOf<PF_Pixel16>("16 bits", Depth::k16, stroke);
  PairsOf<PF_PixelFloat>("float", Depth::k32, stroke);
  return bench::RunMain(argc, argv);
}
