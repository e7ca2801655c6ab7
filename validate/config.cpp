#include "config.h"

#include <array>
#include <cstdint>
#include <utility>

namespace validate {
namespace {

using hosting::Layer;
using hosting::LightKind;
using hosting::Point;
using hosting::Track;
using hosting::Vec3;

constexpr const char* kLightNames[]{"distant", "point", "composition"};

/// Smooth, with an alpha that varies: any misplaced sample shows.
hosting::Picture TestPicture(int width, int height) {
  std::vector<std::uint8_t> pixels;
  pixels.reserve(static_cast<std::size_t>(4 * width) * static_cast<std::size_t>(height));
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (const int v : {40 + 9 * x, 200 - 7 * y, 90 + 5 * x + 3 * y, 255 - 2 * x}) {
        pixels.push_back(static_cast<std::uint8_t>(v));
      }
    }
  }
  return {width, height, std::move(pixels)};
}

Layer LightLayer(const char* name, LightKind kind, Vec3 position) {
  Layer layer;
  layer.kind = Layer::Kind::kLight;
  layer.name = name;
  layer.light.kind = kind;
  layer.light.position = Track<Vec3>(position);
  layer.light.color = Track<hosting::Color>(hosting::Color{0.9, 0.8, 0.6});
  return layer;
}

/// One light of every kind.
void AddLights(hosting::Composition& composition) {
  composition.AddLight(LightLayer("Sun", LightKind::kParallel, {10, -20, -30}));
  Layer spot = LightLayer("Spot", LightKind::kSpot, {12, 2, -20});
  spot.light.target = Track<Vec3>(Vec3{12, 8, 0});
  composition.AddLight(std::move(spot));
  composition.AddLight(LightLayer("Lamp", LightKind::kPoint, {4, 4, -12}));
  Layer sky = LightLayer("Sky", LightKind::kAmbient, {});
  sky.light.intensity = Track<double>(40.0);
  composition.AddLight(std::move(sky));
}

}  // namespace

std::string Config::Text() const {
  return std::to_string(static_cast<int>(depth)) + (smart ? "-smart-" : "-classic-") +
         kLightNames[static_cast<std::size_t>(lights)] + (wobbly ? "-wobbly" : "-plain");
}

std::vector<Config> AllConfigs() {
  std::vector<Config> configs;
  for (const auto depth : {hosting::Depth::k8, hosting::Depth::k16, hosting::Depth::k32}) {
    for (const bool smart : {true, false}) {
      for (const Lights lights : {Lights::kDistant, Lights::kPoint, Lights::kComposition}) {
        for (const bool wobbly : {false, true}) configs.push_back({depth, smart, lights, wobbly});
      }
    }
  }
  return configs;
}

hosting::Setup StrokeSetup(const hosting::Effect& effect, const Config& config,
                           hosting::Picture picture) {
  hosting::Setup setup;
  setup.width = picture.width();
  setup.height = picture.height();
  setup.picture = hosting::Still(std::move(picture));
  setup.controls = hosting::ControlTracks(effect.controls(), setup.width, setup.height);
  const double w = setup.width;
  const double h = setup.height;
  hosting::ControlTracks& controls = setup.controls;
  controls.Set("Brush Position", Track<Point>({{.seconds = 0, .value = {0.1 * w, 0.2 * h}},
                                               {.seconds = 0.08, .value = {0.6 * w, 0.4 * h}},
                                               {.seconds = 0.2, .value = {0.9 * w, 0.9 * h}}}));
  controls.Set("Stroke Width", Track<double>(60.0));
  controls.Set("Density", Track<double>(60.0));
  controls.Set("Time Span (sec)", Track<double>(0.1));
  controls.Set("Paint Style", Track<int>(config.wobbly ? 2 : 1));
  controls.Set("Using", Track<int>(config.lights == Lights::kComposition ? 2 : 1));
  controls.Set("Light Type", Track<int>(config.lights == Lights::kPoint ? 2 : 1));
  controls.Set("Light Color", Track<hosting::Color>(hosting::Color{1, 0.8, 0.5}));
  if (config.lights == Lights::kComposition) AddLights(setup.composition);
  return setup;
}

hosting::Setup StrokeSetup(const hosting::Effect& effect, const Config& config, int width,
                           int height) {
  return StrokeSetup(effect, config, TestPicture(width, height));
}

}  // namespace validate
