// Loads the effect, draws a stroke across a white layer and writes one frame as a PAM picture.

#include <cstdio>
#include <vector>

#include "hosting/render.h"

using namespace hosting;

int main() {
  const Effect effect{std::filesystem::path(EFFECT)};
  Setup setup;
  setup.width = 320;
  setup.height = 180;
  setup.picture = Still(Picture(320, 180, std::vector<std::uint8_t>(320 * 180 * 4, 255)));
  setup.controls = ControlTracks(effect.controls(), setup.width, setup.height);
  using Keys = std::vector<Key<Point>>;
  setup.controls.Set("Brush Position", Track<Point>(Keys{{.seconds = 0, .value = {40, 120}},
                                                         {.seconds = 1, .value = {280, 60}}}));
  Renderer renderer(effect, setup, {});
  const Frame frame = renderer.Render(setup.time.FrameTime(30));

  std::printf("P7\nWIDTH 320\nHEIGHT 180\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n");
  for (int y = 0; y < frame.picture.height(); ++y) {
    for (int x = 0; x < frame.picture.width(); ++x) {
      const PF_Pixel& p = frame.picture.Row<PF_Pixel>(y)[x];
      for (const A_u_char channel : {p.red, p.green, p.blue, p.alpha}) std::putchar(channel);
    }
  }
}
