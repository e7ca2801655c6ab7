// Draws the pictures of the example scenes into the folder given: make_pictures FOLDER
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <numbers>
#include <string>
#include <vector>

namespace {

constexpr int kWidth = 960;
constexpr int kHeight = 540;
// Subpixels along each side of a pixel; edges are drawn hard and softened by their mean.
constexpr int kSubpixels = 4;

struct Color {
  float r = 0;
  float g = 0;
  float b = 0;
};

Color operator+(Color a, Color b) { return {a.r + b.r, a.g + b.g, a.b + b.b}; }
Color operator*(float k, Color a) { return {k * a.r, k * a.g, k * a.b}; }
Color Mix(Color a, Color b, float t) { return (1 - t) * a + t * b; }

float SmoothStep(float from, float to, float x) {
  const float t = std::clamp((x - from) / (to - from), 0.0F, 1.0F);
  return t * t * (3 - 2 * t);
}

// Repeatable numbers in [0, 1), the same on every machine.
class Random {
 public:
  explicit Random(std::uint32_t seed) : state_(seed) {}
  float operator()() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 17;
    state_ ^= state_ << 5;
    return static_cast<float>(state_ >> 8) / 16777216.0F;
  }
  float Between(float low, float high) { return low + (high - low) * (*this)(); }

 private:
  std::uint32_t state_;
};

// A picture's colour at a point; x runs over 0 to 16/9, y from 0 at the top to 1.
using Painting = std::function<Color(float x, float y)>;

struct Stop {
  float at;
  Color color;
};

template <std::size_t N>
Color Gradient(const std::array<Stop, N>& stops, float t) {
  Color color = stops.front().color;
  for (std::size_t i = 1; i < N; ++i) {
    color = Mix(color, stops[i].color, SmoothStep(stops[i - 1].at, stops[i].at, t));
  }
  return color;
}

// A sun going down behind rows of hills, doubled in still water.
Color DuskSky(float x, float y) {
  constexpr std::array<Stop, 5> kSky{{{0.0F, {0.06F, 0.07F, 0.24F}},
                                      {0.25F, {0.30F, 0.16F, 0.45F}},
                                      {0.42F, {0.80F, 0.28F, 0.44F}},
                                      {0.54F, {0.99F, 0.55F, 0.32F}},
                                      {0.66F, {1.00F, 0.86F, 0.52F}}}};
  Color color = Gradient(kSky, y);
  const float to_sun = std::hypot(x - 1.12F, y - 0.50F);
  color = color + 0.45F * std::exp(-to_sun * 5.0F) * Color{1.0F, 0.75F, 0.4F};
  if (to_sun < 0.085F) color = {1.0F, 0.95F, 0.78F};
  for (int hill = 0; hill < 4; ++hill) {
    const auto n = static_cast<float>(hill);
    const float ridge = 0.50F + 0.045F * n + 0.035F * std::sin(x * (3.1F + n) + 2.3F * n) +
                        0.018F * std::sin(x * (7.7F + 2 * n) + 1.1F * n);
    if (y > ridge) color = Mix({0.62F, 0.30F, 0.46F}, {0.10F, 0.07F, 0.20F}, n / 3);
  }
  return color;
}

Color Dusk(float x, float y) {
  constexpr float kShore = 0.70F;
  if (y < kShore) return DuskSky(x, y);
  const float depth = (y - kShore) / (1 - kShore);
  const float ripple = 0.012F * depth * std::sin(depth * depth * 90 + 3 * std::sin(x * 4));
  const Color mirrored = DuskSky(x + ripple, kShore - 0.95F * (y - kShore) * (1.6F - 0.3F * depth));
  return Mix(mirrored, {0.12F, 0.14F, 0.35F}, 0.15F + 0.35F * depth);
}

// Lights of a town far out of focus.
struct LightDisc {
  float x;
  float y;
  float radius;
  float strength;
  Color color;
};

std::vector<LightDisc> TownLights() {
  constexpr std::array<Color, 6> kColors{{{1.0F, 0.62F, 0.22F},
                                          {1.0F, 0.34F, 0.26F},
                                          {0.25F, 0.70F, 1.0F},
                                          {0.96F, 0.85F, 0.55F},
                                          {0.78F, 0.30F, 0.95F},
                                          {0.25F, 0.95F, 0.70F}}};
  Random random(20111);
  std::vector<LightDisc> discs;
  for (int i = 0; i < 130; ++i) {
    const float y = 0.5F + 0.42F * (random() + random() + random() - 1.5F);
    discs.push_back({random.Between(-0.05F, 1.83F), y, random.Between(0.022F, 0.075F),
                     random.Between(0.12F, 0.55F),
                     kColors[static_cast<std::size_t>(random() * 5.99F)]});
  }
  return discs;
}

Color Town(const std::vector<LightDisc>& discs, float x, float y) {
  constexpr std::array<Stop, 3> kNight{{{0.0F, {0.03F, 0.05F, 0.13F}},
                                        {0.5F, {0.10F, 0.09F, 0.22F}},
                                        {1.0F, {0.03F, 0.04F, 0.09F}}}};
  Color color = Gradient(kNight, y);
  for (const LightDisc& disc : discs) {
    const float r = std::hypot(x - disc.x, y - disc.y) / disc.radius;
    // A lens out of focus shows a flat disc with a slightly brighter rim.
    const float shape = SmoothStep(1.0F, 0.94F, r) * (0.62F + 0.38F * r * r * r * r);
    color = color + shape * disc.strength * disc.color;
  }
  return color;
}

// Quarter-circle tiles in a few colours.
Color Tiles(float x, float y) {
  constexpr std::array<Color, 6> kColors{{{0.96F, 0.91F, 0.80F},
                                          {0.90F, 0.34F, 0.22F},
                                          {0.10F, 0.42F, 0.46F},
                                          {0.97F, 0.72F, 0.24F},
                                          {0.13F, 0.18F, 0.30F},
                                          {0.54F, 0.74F, 0.66F}}};
  constexpr float kSide = 1.0F / 6;
  const int column = static_cast<int>(std::floor(x / kSide));
  const int row = static_cast<int>(std::floor(y / kSide));
  Random random(static_cast<std::uint32_t>(7919 * (column + 31) + 104729 * (row + 57)));
  for (int i = 0; i < 8; ++i) random();
  const auto pick = [&](int count) {
    return static_cast<std::size_t>(random.Between(0, static_cast<float>(count) - 0.01F));
  };
  const std::size_t ground = pick(6);
  const std::size_t figure = (ground + 1 + pick(5)) % 6;
  const std::size_t centre = (figure + 1 + pick(4)) % 6;
  const std::size_t corner = pick(4);
  float u = x / kSide - static_cast<float>(column);
  float v = y / kSide - static_cast<float>(row);
  if (corner % 2 == 1) u = 1 - u;
  if (corner / 2 == 1) v = 1 - v;
  const float r = std::hypot(u, v);
  if (r < 0.42F) return kColors[centre];
  return kColors[r < 0.98F ? figure : ground];
}

// Smooth random heights in [0, 1): corners of a unit grid, blended.
float Noise(float x, float y) {
  const float column = std::floor(x);
  const float row = std::floor(y);
  const auto corner = [&](int i, int j) {
    auto h = static_cast<std::uint32_t>(static_cast<int>(column) + i) * 374761393U +
             static_cast<std::uint32_t>(static_cast<int>(row) + j) * 668265263U;
    h = (h ^ (h >> 13)) * 1274126177U;
    return static_cast<float>((h ^ (h >> 16)) >> 8) / 16777216.0F;
  };
  const float u = SmoothStep(0, 1, x - column);
  const float v = SmoothStep(0, 1, y - row);
  return std::lerp(std::lerp(corner(0, 0), corner(1, 0), u),
                   std::lerp(corner(0, 1), corner(1, 1), u), v);
}

// Noise at several scales, the finer the weaker.
float Clouds(float x, float y) {
  float sum = 0;
  float weight = 0.5F;
  for (int octave = 0; octave < 5; ++octave) {
    sum += weight * Noise(x, y);
    x = 2 * x + 17.3F;
    y = 2 * y + 5.9F;
    weight /= 2;
  }
  return sum;
}

// A chequered cloth in morning light.
Color Cloth(float x, float y) {
  constexpr float kStripe = 0.095F;
  const float fold = 0.02F * std::sin(3.1F * x + 2.0F * y);
  const auto dark = [&](float t) { return std::fmod(t + 4 * kStripe, 2 * kStripe) < kStripe; };
  const int share = static_cast<int>(dark(x + fold)) + static_cast<int>(dark(y + fold));
  const std::array<Color, 3> kDyes{
      {{0.99F, 0.96F, 0.89F}, {0.95F, 0.85F, 0.74F}, {0.86F, 0.68F, 0.54F}}};
  const float weave = std::sin(x * 900) * std::sin(y * 900);
  const float light = 1.05F - 0.28F * std::hypot(x - 0.55F, y - 0.25F) +
                      0.12F * std::sin(5.0F * x + 3.4F * y + 2 * Clouds(x * 1.5F, y * 1.5F));
  return (light + 0.03F * weave) * kDyes[static_cast<std::size_t>(share)];
}

// A grey sweep between two tall lamps, as products are photographed.
Color Studio(float x, float y) {
  constexpr std::array<Stop, 5> kSweep{{{0.0F, {0.10F, 0.11F, 0.15F}},
                                        {0.42F, {0.34F, 0.37F, 0.44F}},
                                        {0.54F, {0.07F, 0.08F, 0.11F}},
                                        {0.66F, {0.20F, 0.22F, 0.27F}},
                                        {1.0F, {0.62F, 0.64F, 0.68F}}}};
  const auto lamp = [&](float centre) {
    return SmoothStep(0.11F, 0.08F, std::abs(x - centre)) * SmoothStep(0.03F, 0.06F, y) *
           SmoothStep(0.50F, 0.46F, y);
  };
  const auto post = [&](float centre) {
    return SmoothStep(0.030F, 0.024F, std::abs(x - centre)) * SmoothStep(0.56F, 0.52F, y);
  };
  const Color color =
      Mix(Gradient(kSweep, y), {0.10F, 0.11F, 0.14F}, 0.85F * std::max(post(0.12F), post(1.66F)));
  const Color lit = Mix(color, {1.0F, 0.98F, 0.94F}, lamp(0.36F));
  return Mix(lit, {0.80F, 0.90F, 1.0F}, lamp(1.42F));
}

// Laid paper with a wash of watercolour.
Color Paper(float x, float y) {
  const Color sheet = (0.965F + 0.05F * Clouds(x * 60, y * 60)) * Color{0.97F, 0.94F, 0.87F};
  const float edge = 0.10F * Clouds(x * 5, y * 5) + 0.05F * Clouds(x * 19, y * 19);
  const float rose = SmoothStep(0.36F, 0.26F, std::hypot(x - 1.28F, 1.25F * (y - 0.46F)) + edge);
  const float blue = SmoothStep(0.44F, 0.30F, std::hypot(0.8F * (x - 0.62F), y - 0.62F) + edge);
  const float grain = 0.75F + 0.5F * Clouds(x * 12, y * 12);
  const Color washed = Mix(sheet, {0.90F, 0.52F, 0.50F}, 0.62F * rose * grain);
  return Mix(washed, {0.42F, 0.66F, 0.74F}, 0.60F * blue * grain);
}

// Cooled rock, cracked, with a glow left in the cracks.
Color Rock(float x, float y) {
  const float bend = 0.25F * Clouds(x * 3, y * 3);
  float nearest = 9;
  float second = 9;
  for (int j = -1; j <= 1; ++j) {
    for (int i = -1; i <= 1; ++i) {
      const float column = std::floor(6 * (x + bend)) + static_cast<float>(i);
      const float row = std::floor(6 * (y + bend)) + static_cast<float>(j);
      const float px = column + Noise(column * 7.1F + 0.5F, row * 3.3F);
      const float py = row + Noise(column * 2.7F, row * 9.7F + 0.5F);
      const float r = std::hypot(6 * (x + bend) - px, 6 * (y + bend) - py);
      second = std::min(second, std::max(nearest, r));
      nearest = std::min(nearest, r);
    }
  }
  const float crack = SmoothStep(0.10F, 0.0F, second - nearest);
  const float stone = 0.35F + 0.9F * Clouds(x * 14, y * 14);
  const Color color = stone * Color{0.150F, 0.125F, 0.125F};
  const float heat = SmoothStep(0.25F, 0.75F, Clouds(x * 2 + 3, y * 2));
  return Mix(color, Mix({0.20F, 0.02F, 0.01F}, {1.0F, 0.42F, 0.08F}, heat),
             crack * (0.3F + 0.7F * heat));
}

// A brick wall at night under a lamp of its own.
Color Wall(float x, float y) {
  constexpr float kHeight = 0.068F;
  constexpr float kLength = 0.20F;
  const float row = std::floor(y / kHeight);
  const float along = x / kLength + 0.5F * std::fmod(row, 2.0F) + 8;
  const float brick = std::floor(along);
  const float to_side = kLength * std::min(along - brick, brick + 1 - along);
  const float to_bed = kHeight * std::min(y / kHeight - row, row + 1 - y / kHeight);
  const float mortar =
      SmoothStep(0.0075F, 0.0035F, std::min(to_side, to_bed) - 0.003F * Clouds(x * 40, y * 40));
  const float tone = 0.7F + 0.6F * Noise(brick * 5.3F, row * 7.9F);
  const float grain = 0.7F + 0.6F * Clouds(x * 45, y * 45);
  const Color clay = tone * grain * Color{0.30F, 0.15F, 0.15F};
  const Color color = Mix(clay, grain * Color{0.14F, 0.13F, 0.17F}, mortar);
  const float lamp = std::exp(-1.6F * std::hypot(x - 0.89F, y - 0.35F));
  return (0.25F + 1.0F * lamp) * Mix(color, {0.20F, 0.16F, 0.34F}, 0.25F);
}

// Four pictures that no look was made for. A room at night, with a little light through a door.
Color Night(float x, float y) {
  const float door = SmoothStep(0.17F, 0.15F, std::abs(x - 1.36F)) * SmoothStep(0.12F, 0.15F, y);
  const float floor = SmoothStep(0.70F, 0.74F, y);
  const float spill = std::exp(-2.2F * std::hypot(x - 1.36F, 1.6F * (y - 0.8F))) * floor;
  const Color room = (0.75F + 0.5F * Clouds(x * 6, y * 6)) *
                     Mix({0.055F, 0.060F, 0.090F}, {0.030F, 0.026F, 0.030F}, floor);
  const Color lit = room + spill * Color{0.22F, 0.16F, 0.10F};
  return Mix(lit, (0.8F + 0.3F * (1 - y)) * Color{0.30F, 0.23F, 0.15F}, door * (1 - floor));
}

// Leaves and trunks in the shade.
Color Forest(float x, float y) {
  const float leaves = Clouds(x * 7, y * 7);
  Color color = Mix({0.20F, 0.27F, 0.15F}, {0.58F, 0.62F, 0.36F}, SmoothStep(0.25F, 0.8F, leaves));
  for (int i = 0; i < 7; ++i) {
    const auto n = static_cast<float>(i);
    const float centre =
        0.14F + 0.26F * n + 0.05F * std::sin(2.7F * n) + 0.02F * std::sin(4 * y + n);
    const float half = 0.022F + 0.014F * Noise(n, 3.5F);
    const float trunk = SmoothStep(half, 0.8F * half, std::abs(x - centre));
    const float bark = 0.8F + 0.5F * Clouds(x * 60, y * 8);
    color = Mix(color, bark * Color{0.33F, 0.27F, 0.21F}, trunk);
  }
  const float ground = SmoothStep(0.76F, 0.84F, y + 0.05F * Clouds(x * 3, y));
  return Mix(color, (0.7F + 0.6F * Clouds(x * 20, y * 30)) * Color{0.38F, 0.31F, 0.20F}, ground);
}

// A clear day: sky, a white house, grass in the sun.
Color Meadow(float x, float y) {
  const float cloud = SmoothStep(0.52F, 0.72F, Clouds(x * 2.2F, y * 5));
  Color color = Mix(Mix({0.36F, 0.62F, 0.94F}, {0.78F, 0.89F, 0.98F}, y / 0.6F),
                    {0.98F, 0.98F, 0.99F}, cloud * 0.9F);
  const float hill = 0.58F + 0.03F * std::sin(3 * x + 1);
  if (y > hill) {
    color = (0.8F + 0.4F * Clouds(x * 18, y * 50)) *
            Mix({0.55F, 0.73F, 0.30F}, {0.76F, 0.84F, 0.38F}, (y - hill) / 0.4F);
  }
  const bool house = std::abs(x - 0.52F) < 0.13F && y > 0.42F && y < 0.66F;
  const bool roof = y > 0.30F && y < 0.42F && std::abs(x - 0.52F) < 0.15F * (y - 0.28F) / 0.14F;
  if (house) color = x > 0.58F ? Color{0.80F, 0.82F, 0.88F} : Color{0.98F, 0.96F, 0.92F};
  if (roof) color = {0.80F, 0.38F, 0.28F};
  return color;
}

// A painted wall with the shadow of a window's frame.
Color White(float x, float y) {
  const float u = x + 0.35F * y;
  const float v = y - 0.12F * x;
  const bool pane = u > 0.55F && u < 1.45F && v > 0.05F && v < 0.72F &&
                    std::abs(u - 1.0F) > 0.02F && std::abs(v - 0.38F) > 0.02F;
  const float grain = 0.985F + 0.03F * Clouds(x * 80, y * 80);
  const Color shade = Mix({0.86F, 0.87F, 0.90F}, {0.80F, 0.80F, 0.83F}, y);
  const Color skirting = y > 0.93F ? Color{0.70F, 0.69F, 0.68F} : shade;
  return grain * (pane ? Color{0.985F, 0.965F, 0.93F} : skirting);
}

bool Save(const std::string& path, const Painting& painting, int jpeg_quality) {
  std::vector<std::uint8_t> pixels;
  pixels.reserve(std::size_t{3} * kWidth * kHeight);
  for (int row = 0; row < kHeight; ++row) {
    for (int column = 0; column < kWidth; ++column) {
      Color sum;
      for (int s = 0; s < kSubpixels * kSubpixels; ++s) {
        const float dx = (static_cast<float>(s % kSubpixels) + 0.5F) / kSubpixels;
        const float dy = (static_cast<float>(s / kSubpixels) + 0.5F) / kSubpixels;
        sum = sum + painting((static_cast<float>(column) + dx) / kHeight,
                             (static_cast<float>(row) + dy) / kHeight);
      }
      constexpr float kMean = 1.0F / (kSubpixels * kSubpixels);
      for (const float channel : {sum.r, sum.g, sum.b}) {
        pixels.push_back(
            static_cast<std::uint8_t>(std::lround(std::clamp(channel * kMean, 0.0F, 1.0F) * 255)));
      }
    }
  }
  OIIO::ImageSpec spec(kWidth, kHeight, 3, OIIO::TypeDesc::UINT8);
  spec.attribute("Compression", "jpeg:" + std::to_string(jpeg_quality));
  const auto file = OIIO::ImageOutput::create(path);
  return file && file->open(path, spec) &&
         file->write_image(OIIO::TypeDesc::UINT8, pixels.data()) && file->close();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
    return 2;
  }
  const std::string folder = argv[1];
  const std::vector<LightDisc> discs = TownLights();
  const bool good =
      Save(folder + "/dusk.jpg", Dusk, 92) &&
      Save(
          folder + "/town.jpg", [&](float x, float y) { return Town(discs, x, y); }, 92) &&
      Save(folder + "/tiles.png", Tiles, 0) && Save(folder + "/cloth.jpg", Cloth, 90) &&
      Save(folder + "/paper.jpg", Paper, 90) && Save(folder + "/rock.jpg", Rock, 90) &&
      Save(folder + "/wall.jpg", Wall, 90) && Save(folder + "/studio.jpg", Studio, 90) &&
      Save(folder + "/night.jpg", Night, 88) && Save(folder + "/forest.jpg", Forest, 88) &&
      Save(folder + "/meadow.jpg", Meadow, 88) && Save(folder + "/white.jpg", White, 88);
  if (!good) std::fprintf(stderr, "%s: cannot write the pictures to %s\n", argv[0], argv[1]);
  return good ? 0 : 1;
}
