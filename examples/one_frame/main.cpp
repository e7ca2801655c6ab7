// Loads the effect, draws a stroke across a layer of colours and writes one frame as a PAM picture.

#include <cstdint>
#include <cstdio>
#include <vector>

#include "hosting/render.h"

using namespace hosting;

constexpr int kWidth = 320;
constexpr int kHeight = 180;

/// Red rises to the right, green downwards.
std::vector<std::uint8_t> Colours() {
  std::vector<std::uint8_t> channels;
  for (int i = 0; i < kWidth * kHeight; ++i) {
    const auto red = static_cast<std::uint8_t>(i % kWidth * 255 / kWidth);
    const auto green = static_cast<std::uint8_t>(i / kWidth * 255 / kHeight);
    channels.insert(channels.end(), {red, green, 128, 255});
  }
  return channels;
}

int main() {
  const Effect effect{std::filesystem::path(EFFECT)};

  Setup setup;
  setup.width = kWidth;
  setup.height = kHeight;
  setup.picture = Still(Picture(kWidth, kHeight, Colours()));
  setup.controls = ControlTracks(effect.controls(), kWidth, kHeight);
  setup.controls.Set("Brush Position",
                     Track<Point>({{.seconds = 0, .value = {40, 120}, .out_tangent = {60, -140}},
                                   {.seconds = 1, .value = {280, 60}, .in_tangent = {-60, 140}}}));
  setup.controls.Set("Stroke Width", Track<double>(14));
  // Blobs on 100 pixels: on a layer this small they must be close to flow together.
  setup.controls.Set("Density", Track<double>(100));

  Renderer renderer(effect, setup, {});
  const Frame frame = renderer.Render(setup.time.FrameTime(30));

  // Red, green, blue, alpha of every pixel, as files hold them.
  const Picture picture(frame.picture, Depth::k8);
  const auto& channels = std::get<std::vector<std::uint8_t>>(picture.pixels());
  std::printf("P7\nWIDTH %d\nHEIGHT %d\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n", kWidth,
              kHeight);
  std::fwrite(channels.data(), 1, channels.size(), stdout);
}
