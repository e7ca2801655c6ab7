// The pixel pass: BlobRIP on pixels without and with stroke, against callbacks that do nothing, or
// make only the calls of the host that the formulas name. The host's own work is left out: the
// sampler answers at once.

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "ratios.h"
#include "render/blob.h"
#include "render/force_field.h"

namespace {

using namespace vorlin;

constexpr int kWidth = 256;
constexpr int kHeight = 64;
constexpr int kPixels = kWidth * kHeight;

/// A world of that pixel type.
template <class Pixel>
struct Image {
  std::vector<Pixel> pixels = std::vector<Pixel>(kPixels);
  PF_EffectWorld world{};

  Image() {
    world.data = reinterpret_cast<PF_Pixel*>(pixels.data());
    world.width = kWidth;
    world.height = kHeight;
    world.rowbytes = kWidth * static_cast<A_long>(sizeof(Pixel));
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

/// A frame whose every pixel is stroke, or none is, in the middle of a 1080p layer, under distant
/// lights spread evenly over the half sphere.
template <class Pixel>
struct Scene : RIPInfo<Pixel> {
  PF_UtilCallbacks utils = MakeUtils();
  PF_InData in{};
  Image<float> heights;
  // What the formulas call `sqrt` and `pow` with: for each pixel the squared length of its gradient
  // and then, for each light, how near it is to the mirrored viewing ray, as a cosine.
  std::vector<double> arguments;

  Scene(bool stroke, int lights) : RIPInfo<Pixel>{} {
    in.utils = &utils;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const double height = 1.5 + std::sin(x * 0.11) * 0.6 + std::cos(y * 0.13) * 0.6;
        FieldRow(heights.world, y)[x] = stroke ? static_cast<float>(height) : -0.25f;
      }
    }
    this->lightShade = std::make_unique<LightShade>(&in, 1.0, 0.25, 1.0, 0.0, 1.0, 40.0);
    this->lightShade->AddAmbientLight({1.0, 1.0, 1.0, 1.0});
    for (int i = 0; i < lights; ++i) {
      NewLightSource light{};
      light.type = LightTypeDistant;
      light.color = {1.0, 1.0, 0.9, 0.8};
      const double height = 1.0 - (i + 0.5) / lights;
      const double flat = std::sqrt(1.0 - height * height);
      light.direction = {flat * std::cos(i * 2.4), flat * std::sin(i * 2.4), height};
      this->lightShade->AddLightSource(light);
    }
    this->reflectionScale = kWidth * 0.75 * 0.125;
    this->highQuality = true;
    this->field = &heights.world;
    this->fieldStride = kWidth;
    this->layerMaxX = 1919.0;
    this->layerMaxY = 1079.0;
    this->originX = 800.0;
    this->originY = 500.0;
    this->toLayerX = this->toLayerY = 1.0;
    this->toFixedX = this->toFixedY = 65536.0;
    this->slopeX = this->slopeY = 4.0;
    this->samp = {32768, 32768, 65536, nullptr};
    this->inData = &in;
    this->areaSample = SampleNothing<Pixel>;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) AddArgumentsOf(x, y);
    }
  }

  void AddArgumentsOf(int x, int y) {
    const auto at = [&](int i, int j) {
      return FieldRow(heights.world, std::max(j, 0))[std::max(i, 0)];
    };
    const double z = at(x, y);
    const FX_D_Point gradient{4.0 * (at(x - 1, y) - z), 4.0 * (at(x, y - 1) - z), z};
    arguments.push_back(Dot(gradient, gradient));
    const double inverse = 1.0 / std::sqrt(arguments.back());
    for (const LightSource& light : this->lightShade->Lights()) {
      const double cosine =
          2.0 * z * inverse * Dot(gradient, light.direction) * inverse - light.direction.z;
      arguments.push_back(std::abs(cosine));
    }
  }
};

template <class Pixel>
PF_Err DoNothing(void*, A_long, A_long, Pixel*, Pixel*) {
  return PF_Err_NONE;
}

/// One square root, one sample, and one power for every light. kInTurn: the sample and the powers
/// wait for the root, as the formulas have it; else the processor may make all of them at once, and
/// those of the next pixels.
template <class Pixel, bool kInTurn>
PF_Err ForcedCalls(void* refcon, A_long x, A_long y, Pixel*, Pixel* out) {
  const auto& scene = *static_cast<const Scene<Pixel>*>(static_cast<RIPInfo<Pixel>*>(refcon));
  const PF_ANSICallbacks& ansi = scene.inData->utils->ansi;
  const int lights = scene.lightShade->numLights;
  const double* argument =
      &scene.arguments[static_cast<std::size_t>((y * kWidth + x) * (1 + lights))];
  const double root = ansi.sqrt(*argument);
  const double wait = kInTurn ? 0.0 * root : 0.0;
  const PF_Err err = scene.areaSample(scene.effectRef, (x << 16) + static_cast<int>(wait), y << 16,
                                      &scene.samp, out);
  double sum = root;
  for (int i = 0; i < lights; ++i) {
    sum += ansi.pow(*++argument + wait, scene.lightShade->smoothness);
  }
  benchmark::DoNotOptimize(sum);
  return err;
}

/// The least that one light's pixel takes: the forced calls in turn, with the arithmetic between
/// them that its bits demand. The frame's constants are known, nothing is checked, nothing blurred.
PF_Err ForcedPixel(void* refcon, A_long x, A_long y, PF_Pixel*, PF_Pixel* out) {
  const auto& scene = *static_cast<const Scene<PF_Pixel>*>(static_cast<RIPInfo<PF_Pixel>*>(refcon));
  const PF_ANSICallbacks& ansi = scene.inData->utils->ansi;
  const LightSource& light = scene.lightShade->lights[0];
  const float* const cell = FieldRow(*scene.field, std::max(y, 1)) + std::max(x, 1);
  const double z = cell[0];
  const double gx = (cell[-1] - z) * 4.0;
  const double gy = (cell[-kWidth] - z) * 4.0;
  const double inverse = 1.0 / (ansi.sqrt(gx * gx + gy * gy + z * z) + 1e-5);
  const FX_D_Point normal{gx * inverse, gy * inverse, z * inverse};
  const auto fixed = [](double v) { return static_cast<PF_Fixed>(v * 65536.0); };
  const PF_Err err = scene.areaSample(scene.effectRef, fixed(x + 800.0 + normal.x * 24.0),
                                      fixed(y + 500.0 + normal.y * 24.0), &scene.samp, out);
  const double k = -2.0 * normal.z;
  const double facing = Dot(normal, light.direction);
  const double glance = -Dot({k * normal.x, k * normal.y, k * normal.z + 1.0}, light.direction);
  const double power = glance > 0.0 ? ansi.pow(glance, 40.0) : 0.0;
  const auto channel = [&](A_u_char& c, double diffuse, double specular) {
    const double surface = c * (1.0 / 255.0);
    const double lit = surface * (0.25 + facing * diffuse) + power * specular;
    c = static_cast<A_u_char>(static_cast<int>(std::clamp(lit * 255.0, 0.0, 255.0)));
  };
  channel(out->red, light.diffuseColor.red, light.specularColor.red);
  channel(out->green, light.diffuseColor.green, light.specularColor.green);
  channel(out->blue, light.diffuseColor.blue, light.specularColor.blue);
  return err;
}

/// All pixels of a scene.
template <class Pixel>
bench::MakeWork Iteration(PF_IteratePixelFunc<Pixel> function, bool stroke, int lights) {
  return [=]() -> bench::Work {
    const auto scene = std::make_shared<Scene<Pixel>>(stroke, lights);
    const auto out = std::make_shared<Image<Pixel>>();
    return [=] {
      RIPInfo<Pixel>* const info = scene.get();
      auto* call = function;
      benchmark::DoNotOptimize(call);
      Pixel* pixel = out->pixels.data();
      for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) call(info, x, y, nullptr, pixel++);
      }
    };
  };
}

template <class Pixel>
void PairsOf(const std::string& depth) {
  constexpr auto kRatio = bench::Ratio::kTimesItsTime;
  bench::Pair("empty pixel/no work, " + depth, kPixels, kRatio, Iteration(BlobRIP<Pixel>, false, 1),
              Iteration(DoNothing<Pixel>, false, 1));
  for (const int lights : {1, 5, 19}) {
    const std::string scene = ", " + depth + ", lights " + std::to_string(lights);
    const bench::MakeWork pixel = Iteration(BlobRIP<Pixel>, true, lights);
    bench::Pair("stroke pixel/forced calls" + scene, kPixels, kRatio, pixel,
                Iteration(ForcedCalls<Pixel, false>, true, lights));
    bench::Pair("stroke pixel/forced calls in turn" + scene, kPixels, kRatio, pixel,
                Iteration(ForcedCalls<Pixel, true>, true, lights));
  }
}

}  // namespace

int main(int argc, char** argv) {
  bench::Pair("least pixel/forced calls, 8 bit, lights 1", kPixels, bench::Ratio::kTimesItsTime,
              Iteration(ForcedPixel, true, 1), Iteration(ForcedCalls<PF_Pixel, false>, true, 1));
  PairsOf<PF_Pixel>("8 bit");
  PairsOf<PF_Pixel16>("16 bit");
  PairsOf<PF_PixelFloat>("float");
  return bench::RunMain(argc, argv);
}
