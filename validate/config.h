// What a check is run on: one way of rendering out of all that the effect distinguishes.
#pragma once

#include <string>
#include <vector>

#include "hosting/effect.h"
#include "hosting/render.h"
#include "hosting/setup.h"

namespace validate {

enum class Lights { kDistant, kPoint, kComposition };

struct Config {
  hosting::Depth depth = hosting::Depth::k8;
  bool smart = true;
  Lights lights = Lights::kDistant;
  bool wobbly = false;

  /// As "16-smart-point-wobbly".
  std::string Text() const;
};

/// Every depth, protocol, light source and style.
std::vector<Config> AllConfigs();

/// A layer of that size with a short stroke across it, lit and styled as config says, and small
/// enough that a frame takes well under a millisecond at 24 x 16.
hosting::Setup StrokeSetup(const hosting::Effect& effect, const Config& config, int width = 24,
                           int height = 16);
/// The same with another layer picture.
hosting::Setup StrokeSetup(const hosting::Effect& effect, const Config& config,
                           hosting::Picture picture);

/// The frame of StrokeSetup that shows its stroke.
inline constexpr int kStrokeFrame = 4;

}  // namespace validate
