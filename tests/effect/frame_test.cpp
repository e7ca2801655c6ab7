// Whole frames through the host library, compared to the last bit with the plain implementation.
#include <gtest/gtest.h>

#include <cstring>

#include "frame_support.h"

namespace {

using frames::Keys;
using hosting::Depth;
using hosting::Light;
using hosting::LightKind;
using hosting::RenderOptions;
using hosting::Setup;
using hosting::Track;

/// The host's own sampler, which its own tests hold against plain sums.
template <class Suite, class Pixel>
oracle::Sampler<Pixel> SamplerOf(PF_InData& in, const char* name) {
  const void* suite = nullptr;
  in.pica_basicP->AcquireSuite(name, 1, &suite);
  in.pica_basicP->ReleaseSuite(name, 1);
  const auto sample = static_cast<const Suite*>(suite)->area_sample;
  return [sample, ref = in.effect_ref](PF_Fixed x, PF_Fixed y, const PF_SampPB& samp, Pixel* out) {
    return sample(ref, x, y, &samp, out);
  };
}

struct Compared {
  int drawn = 0;
  int different = 0;
  std::string first;  // where they differ
};

template <class Suite, class Pixel>
Compared Compare(const oracle::Job& job, const char* sampling) {
  const auto want = oracle::Frame<Pixel>(job, SamplerOf<Suite, Pixel>(*job.in, sampling));
  Compared result;
  std::size_t i = 0;
  for (int y = 0; y < job.output->height; ++y) {
    const auto* row = reinterpret_cast<const Pixel*>(
        reinterpret_cast<const char*>(job.output->data) + std::ptrdiff_t{y} * job.output->rowbytes);
    for (int x = 0; x < job.output->width; ++x, ++i) {
      const Pixel &got = row[x], &right = want[i];
      result.drawn += right.alpha > 0;
      if (std::memcmp(&got, &right, sizeof got) == 0) continue;
      if (result.different++ > 0) continue;
      std::ostringstream text;
      text << x << ',' << y << ": got " << +got.alpha << ' ' << +got.red << ' ' << +got.green << ' '
           << +got.blue << ", plainly " << +right.alpha << ' ' << +right.red << ' ' << +right.green
           << ' ' << +right.blue;
      result.first = text.str();
    }
  }
  return result;
}

struct Row {
  const char* name;
  std::function<void(Setup&, RenderOptions&)> change = [](Setup&, RenderOptions&) {};
  double frame = 9;
  int least_drawn = 300;  // pixels, so that the comparison means something
};

void SetTo(Setup& setup, const char* control, double value) {
  setup.controls.Set(control, Track<double>(value));
}
void Choose(Setup& setup, const char* control, int choice) {
  setup.controls.Set(control, Track<int>(choice));
}
void MakeWobbly(Setup& setup) {
  Choose(setup, "Paint Style", 2);
  SetTo(setup, "Wobble Width", 9);
  SetTo(setup, "Wobble Height", 14);
  SetTo(setup, "Wobble Speed", 180);
}
Light LightAt(LightKind kind, hosting::Vec3 position, hosting::Vec3 target) {
  Light light;
  light.kind = kind;
  light.position = Track<hosting::Vec3>(position);
  light.target = Track<hosting::Vec3>(target);
  light.color = Track<hosting::Color>({1, 0.75, 0.3});
  light.intensity = Keys<double>({{0, 20}, {1, 190}});
  return light;
}
void AddLight(Setup& setup, const Light& light, hosting::Span span = {}) {
  setup.composition.AddLight({hosting::Layer::Kind::kLight, "Light", true, span, light});
}
void AddLights(Setup& setup) {
  Choose(setup, "Using", 2);
  AddLight(setup, LightAt(LightKind::kSpot, {30, 10, -60}, {50, 30, 0}));
  AddLight(setup, LightAt(LightKind::kParallel, {0, 0, -100}, {60, 50, 0}));
  AddLight(setup, LightAt(LightKind::kAmbient, {0, 0, 0}, {0, 0, 1}));
  AddLight(setup, LightAt(LightKind::kPoint, {80, 5, -30}, {0, 0, 0}), {0.1, 0.9});
  AddLight(setup, LightAt(LightKind::kPoint, {10, 5, -30}, {0, 0, 0}), {0.5, 0.9});
}

const Row kRows[]{
    {"plain"},
    {"low quality", [](Setup&, RenderOptions& o) { o.high_quality = false; }},
    {"first frame, brush at rest",
     [](Setup& s, RenderOptions&) {
       s.controls.Set("Brush Position", Track<hosting::Point>({48, 27}));
       SetTo(s, "Stroke Width", 90);
     },
     0},
    {"wobbly between frames", [](Setup& s, RenderOptions&) { MakeWobbly(s); }, 8.37},
    {"animated width, strength, density",
     [](Setup& s, RenderOptions&) {
       s.controls.Set("Stroke Width", Keys<double>({{0, 3}, {0.15, 50}, {0.3, 0.1}}));
       s.controls.Set("Strength", Keys<double>({{0, 100}, {0.3, 10}}));
       s.controls.Set("Density", Keys<double>({{0, 0}, {0.1, 100}, {0.3, 12}}));
     }},
    {"tiny blobs",
     [](Setup& s, RenderOptions&) {
       s.controls.Set("Stroke Width", Keys<double>({{0, 0}, {0.3, 2.5}}));
       SetTo(s, "Density", 200);
     },
     9, 20},
    {"short span, light from below",
     [](Setup& s, RenderOptions&) {
       SetTo(s, "Time Span (sec)", 0.12);
       SetTo(s, "Light Height", -35);
     },
     9.4, 100},
    {"span of less than a frame",
     [](Setup& s, RenderOptions&) { SetTo(s, "Time Span (sec)", 0.01); }, 9, 30},
    {"point light, coloured, rough, strong reflection",
     [](Setup& s, RenderOptions&) {
       Choose(s, "Light Type", 2);
       s.controls.Set("Light Color", Track<hosting::Color>({1, 0.6180339, 0.123}));
       s.controls.Set("Light Position", Keys<hosting::Point>({{0, {0, 0}}, {1, {90, 70}}}));
       SetTo(s, "Light Height", -20);
       SetTo(s, "Light Intensity", 230);
       SetTo(s, "Reflection", 200);
       SetTo(s, "Roughness", 0.31);
       SetTo(s, "Metal", 37);
       SetTo(s, "Ambient", 130);
       SetTo(s, "Diffuse", 88);
       SetTo(s, "Specular", 71);
     }},
    {"older host",
     [](Setup& s, RenderOptions& o) {
       o.interface_version = {12, 10};
       s.controls.Set("Light Color", Track<hosting::Color>({1, 0.6180339, 0.123}));
     }},
    {"composition lights", [](Setup& s, RenderOptions&) { AddLights(s); }},
    {"no composition lights", [](Setup& s, RenderOptions&) { Choose(s, "Using", 2); }},
    {"black composition light",
     [](Setup& s, RenderOptions&) {
       Choose(s, "Using", 2);
       Light black;
       black.intensity = Track<double>(0);
       AddLight(s, black);
     }},
    {"uneven, wide pixels, wobbly, point light",
     [](Setup& s, RenderOptions& o) {
       o.downsample_x = {1, 2};
       o.downsample_y = {2, 3};
       s.pixel_aspect = {12, 11};
       MakeWobbly(s);
       Choose(s, "Light Type", 2);
     },
     9, 90},
    {"region, wobbly, composition lights",
     [](Setup& s, RenderOptions& o) {
       o.region = PF_LRect{20, 7, 75, 50};
       MakeWobbly(s);
       AddLights(s);
     }},
    {"region at uneven size, point light",
     [](Setup& s, RenderOptions& o) {
       o.region = PF_LRect{3, 4, 20, 90};
       o.downsample_x = {1, 3};
       o.downsample_y = {1, 2};
       Choose(s, "Light Type", 2);
     },
     9, 30},
    {"region, uneven, narrow pixels",
     [](Setup& s, RenderOptions& o) {
       o.region = PF_LRect{7, 5, 60, 40};
       o.downsample_x = {2, 3};
       s.pixel_aspect = {1, 2};
     }},
    {"odd size, halved",
     [](Setup& s, RenderOptions& o) {
       s.width = 95;
       s.height = 53;
       s.picture = hosting::Still(frames::TestPicture(95, 53));
       o.downsample_x = o.downsample_y = {1, 2};
     },
     9, 90},
    {"density and strength of nothing",
     [](Setup& s, RenderOptions&) {
       s.controls.Set("Density", Keys<double>({{0, 25}, {0.1, 0}, {0.2, 0}, {0.3, 25}}));
       s.controls.Set("Strength", Keys<double>({{0, 100}, {0.05, 0}, {0.06, 100}}));
     },
     9, 100},
    {"just before time 0", [](Setup& s, RenderOptions&) { MakeWobbly(s); }, -0.01, 0},
    {"brush at rest after time 0",
     [](Setup& s, RenderOptions&) {
       s.controls.Set("Brush Position", Track<hosting::Point>({48, 27}));
       SetTo(s, "Time Span (sec)", 0.1);
     },
     9, 0},
    {"other layer rate",
     [](Setup& s, RenderOptions&) {
       s.time = hosting::TimeBase({30, 1}, {24, 1});
       MakeWobbly(s);
     },
     9.5},
    {"30000/1001, later layer",
     [](Setup& s, RenderOptions&) {
       s.time = hosting::TimeBase({30000, 1001});
       s.layer_start = -4000;
       AddLights(s);
     }},
    {"bottom-up worlds with guards",
     [](Setup&, RenderOptions& o) {
       o.layout.bottom_up = true;
       o.layout.guards = true;
     }},
};

Compared Render(const Row& row, Depth depth, bool smart) {
  Setup setup = frames::TestSetup();
  RenderOptions options;
  options.depth = depth;
  options.smart = smart;
  options.threads = 1;
  row.change(setup, options);
  const double scale = setup.time.scale();
  const auto time = static_cast<A_long>(row.frame * setup.time.step());
  Compared result;
  result.first = "no frame";
  frames::after_frame = [&](PF_InData& in, const PF_EffectWorld& input,
                            const PF_EffectWorld& output, bool is_smart) {
    const oracle::Job job{&in,
                          &input,
                          &output,
                          is_smart,
                          static_cast<int>(setup.composition.layers.size()),
                          frames::LightsAt(setup, (in.current_time + setup.layer_start) / scale)};
    result = depth == Depth::k8 ? Compare<PF_Sampling8Suite1, PF_Pixel>(job, kPFSampling8Suite)
             : depth == Depth::k16
                 ? Compare<PF_Sampling16Suite1, PF_Pixel16>(job, kPFSampling16Suite)
                 : Compare<PF_SamplingFloatSuite1, PF_PixelFloat>(job, kPFSamplingFloatSuite);
  };
  hosting::Renderer(frames::TheEffect(), setup, options).Render(time);
  frames::after_frame = nullptr;
  return result;
}

class Frames : public testing::TestWithParam<std::tuple<Row, Depth, bool>> {};

TEST_P(Frames, EqualThePlainImplementation) {
  const auto& [row, depth, smart] = GetParam();
  const Compared result = Render(row, depth, smart);
  EXPECT_EQ(result.different, 0) << result.first;
  EXPECT_EQ(result.first, "");
  EXPECT_GE(result.drawn, row.least_drawn);
}

INSTANTIATE_TEST_SUITE_P(All, Frames,
                         testing::Combine(testing::ValuesIn(kRows),
                                          testing::Values(Depth::k8, Depth::k16, Depth::k32),
                                          testing::Bool()),
                         [](const auto& info) {
                           std::string name = std::get<0>(info.param).name;
                           for (char& c : name) {
                             if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
                           }
                           const int bits = static_cast<int>(std::get<1>(info.param));
                           return name + '_' + std::to_string(bits) +
                                  (std::get<2>(info.param) ? "_smart" : "_classic");
                         });

}  // namespace
