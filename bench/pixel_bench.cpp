// The pixel pass: BlobRIP on pixels without and with stroke, against callbacks that do nothing, or
// make only those calls of the host that a stroke pixel cannot do without. The host's own work is
// left out: the sampler answers at once.

#include <cmath>
#include <string>
#include <vector>

#include "ratios.h"
#include "render/blob.h"
#include "render/force_field.h"

namespace {

using namespace vorlin;

constexpr int kSide = 256;

/// A world of that pixel type.
template <class Pixel>
struct Image {
  std::vector<Pixel> pixels = std::vector<Pixel>(kSide * kSide);
  PF_EffectWorld world{};

  Image() {
    world.data = reinterpret_cast<PF_Pixel*>(pixels.data());
    world.width = world.height = kSide;
    world.rowbytes = kSide * static_cast<A_long>(sizeof(Pixel));
  }
};

template <class Pixel>
PF_Err SampleNothing(PF_ProgPtr, PF_Fixed, PF_Fixed, const PF_SampPB*, Pixel* dst) {
  dst->alpha = dst->red = dst->green = dst->blue = 1;
  return PF_Err_NONE;
}

PF_UtilCallbacks MakeUtils() {
  PF_UtilCallbacks utils{};
  utils.ansi.sqrt = std::sqrt;
  utils.ansi.pow = std::pow;
  utils.ansi.sin = std::sin;
  utils.ansi.cos = std::cos;
  return utils;
}

/// A frame whose every pixel is stroke, or none is, under distant lights spread over the half
/// sphere.
template <class Pixel>
struct Scene {
  PF_UtilCallbacks utils = MakeUtils();
  PF_InData in{};
  Image<float> field;
  RIPInfo<Pixel> info{};

  Scene(bool stroke, int lights) {
    in.utils = &utils;
    for (int y = 0; y < kSide; ++y) {
      for (int x = 0; x < kSide; ++x) {
        const double height = 1.5 + std::sin(x * 0.11) * 0.6 + std::cos(y * 0.13) * 0.6;
        FieldRow(field.world, y)[x] = stroke ? static_cast<float>(height) : -0.25f;
      }
    }
    info.lightShade = std::make_unique<LightShade>(&in, 1.0, 0.25, 1.0, 0.0, 1.0, 40.0);
    info.lightShade->AddAmbientLight({1.0, 1.0, 1.0, 1.0});
    for (int i = 0; i < lights; ++i) {
      NewLightSource light{};
      light.type = LightTypeDistant;
      light.color = {1.0, 1.0, 0.9, 0.8};
      const double height = 1.0 - (i + 0.5) / lights * 0.7;
      const double flat = std::sqrt(1.0 - height * height);
      light.direction = {flat * std::cos(i * 2.4), flat * std::sin(i * 2.4), height};
      info.lightShade->AddLightSource(light);
    }
    info.reflectionScale = kSide * 0.75 * 0.125;
    info.highQuality = true;
    info.field = &field.world;
    info.fieldStride = kSide;
    info.layerMaxX = info.layerMaxY = kSide - 1.0;
    info.toLayerX = info.toLayerY = 1.0;
    info.toFixedX = info.toFixedY = 65536.0;
    info.slopeX = info.slopeY = 4.0;
    info.samp = {32768, 32768, 65536, nullptr};
    info.inData = &in;
    info.areaSample = SampleNothing<Pixel>;
  }
};

template <class Pixel>
void Iterate(benchmark::State& state, PF_IteratePixelFunc<Pixel> function, Scene<Pixel>& scene) {
  Image<Pixel> out;
  benchmark::DoNotOptimize(function);
  for (auto _ : state) {
    for (int y = 0; y < kSide; ++y) {
      for (int x = 0; x < kSide; ++x) {
        function(&scene.info, x, y, nullptr, &out.pixels[static_cast<std::size_t>(y * kSide + x)]);
      }
    }
  }
  state.SetItemsProcessed(state.iterations() * kSide * kSide);
}

template <class Pixel>
PF_Err DoNothing(void*, A_long, A_long, Pixel*, Pixel*) {
  return PF_Err_NONE;
}

/// One square root, one sample, and for every light its power; the arguments are those of a stroke.
template <class Pixel>
PF_Err ForcedCalls(void* refcon, A_long x, A_long y, Pixel*, Pixel* out) {
  const auto& info = *static_cast<const RIPInfo<Pixel>*>(refcon);
  const float height = FieldRow(*info.field, y)[x];
  const PF_ANSICallbacks& ansi = info.inData->utils->ansi;
  double sum = ansi.sqrt(static_cast<double>(height));
  const PF_Err err = info.areaSample(info.effectRef, x << 16, y << 16, &info.samp, out);
  for (const LightSource& light : info.lightShade->Lights()) {
    sum += ansi.pow(light.direction.z, info.lightShade->smoothness);
  }
  benchmark::DoNotOptimize(sum);
  return err;
}

template <class Pixel>
bench::Loop Over(PF_IteratePixelFunc<Pixel> function, bool stroke, int lights) {
  return [=](benchmark::State& state) {
    Scene<Pixel> scene(stroke, lights);
    Iterate(state, function, scene);
  };
}

template <class Pixel>
void PairsOf(const std::string& depth) {
  bench::Pair("empty pixel " + depth, Over(BlobRIP<Pixel>, false, 1), "callback that does nothing",
              Over(DoNothing<Pixel>, false, 1), false);
  for (const int lights : {1, 5, 19}) {
    const std::string what = depth + ", " + std::to_string(lights) + " lights";
    bench::Pair("stroke pixel " + what, Over(BlobRIP<Pixel>, true, lights), "forced calls " + what,
                Over(ForcedCalls<Pixel>, true, lights), false);
  }
}

}  // namespace

int main(int argc, char** argv) {
  PairsOf<PF_Pixel>("8 bit");
  PairsOf<PF_Pixel16>("16 bit");
  PairsOf<PF_PixelFloat>("float");
  return bench::RunMain(argc, argv);
}
