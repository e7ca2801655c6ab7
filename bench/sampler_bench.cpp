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

/// The time of one box.
template <class Pixel, class Sample>
void OverBoxes(benchmark::State& state, const std::vector<SampleBox>& boxes, Sample sample) {
  std::size_t i = 0;
  for (auto _ : state) {
    Pixel out;
    sample(boxes[i], &out);
    benchmark::DoNotOptimize(out);
    if (++i == boxes.size()) i = 0;
  }
}

using Boxes = std::shared_ptr<const std::vector<SampleBox>>;

template <class Pixel>
bench::Loop Sampled(Depth depth, const Boxes& boxes) {
  return [=](benchmark::State& state) {
    const AreaSampler sampler(Source(depth).record(), depth);
    Pixel out;
    sampler.Sample(kEverywhere, &out);
    OverBoxes<Pixel>(state, *boxes,
                     [&](const SampleBox& box, Pixel* p) { sampler.Sample(box, p); });
  };
}

template <class Pixel>
bench::Loop Plainly(Depth depth, const Boxes& boxes) {
  return [=](benchmark::State& state) {
    const PF_EffectWorld& source = Source(depth).record();
    OverBoxes<Pixel>(state, *boxes, [&](const SampleBox& box, Pixel* p) {
      hosting::PlainAreaSample(source, box, p);
    });
  };
}

template <class Pixel>
bench::Loop MakeTable(Depth depth) {
  return [=](benchmark::State& state) {
    const auto pool = std::make_shared<MemoryPool>();
    for (auto _ : state) {
      const AreaSampler sampler(Source(depth).record(), depth, pool);
      Pixel out;
      sampler.Sample(kEverywhere, &out);
      benchmark::DoNotOptimize(out);
    }
  };
}

bench::Loop Write(std::size_t bytes) {
  return [=](benchmark::State& state) {
    const MemoryPool::Block memory = MemoryPool::Take(nullptr, bytes);
    for (auto _ : state) {
      std::memset(memory.get(), 1, bytes);
      benchmark::ClobberMemory();
    }
  };
}

template <class Pixel>
void PairsOf(const std::string& name, Depth depth, int table_bytes, const Boxes& stroke) {
  const auto pair = [&](const std::string& boxes_name, const Boxes& boxes) {
    const std::string subject = boxes_name + ", " + name;
    bench::Pair(subject, Sampled<Pixel>(depth, boxes), "plain sum, " + subject,
                Plainly<Pixel>(depth, boxes));
  };
  const auto boxes_of = [](int side) {
    return std::make_shared<const std::vector<SampleBox>>(InScanOrder(side));
  };
  for (const int side : {1, 3, 9, 33, 129}) pair("box of " + std::to_string(side), boxes_of(side));
  pair("a stroke's boxes", stroke);
  bench::Pair("box of 129, " + name, Sampled<Pixel>(depth, boxes_of(129)), "box of 1, " + name,
              Sampled<Pixel>(depth, boxes_of(1)), false);
  const World& source = Source(depth);
  const auto bytes = static_cast<std::size_t>(source.width() * source.height() * table_bytes);
  bench::Pair("making the table, " + name, MakeTable<Pixel>(depth),
              "writing " + std::to_string(bytes >> 20) + " MiB", Write(bytes), false);
}

}  // namespace

int main(int argc, char** argv) {
  const auto stroke = std::make_shared<const std::vector<SampleBox>>(bench::StrokeBoxes({}));
  PairsOf<PF_Pixel>("8 bits", Depth::k8, 16, stroke);
  PairsOf<PF_Pixel16>("16 bits", Depth::k16, 32, stroke);
  PairsOf<PF_PixelFloat>("float", Depth::k32, 32, stroke);
  return bench::RunMain(argc, argv);
}
