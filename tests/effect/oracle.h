// A second, plain implementation of the effect, to compare the real one with.
//
// It shares no code with the effect: everything is written in the shortest way that follows the
// formulas, whatever it costs. Controls, lights and pixels are had from the host of the frame.
#pragma once

#include <array>
#include <functional>
#include <vector>

#include "aegp_suites.h"
#include "pf_effect.h"

namespace oracle {

struct Vec {
  double x = 0;
  double y = 0;
  double z = 0;
};
using Rgb = std::array<double, 3>;

// Shading.

struct Factors {
  double ambient = 1;
  double diffuse = 1;
  double specular = 1;
  double dust = 1;
  double metal = 1;
  double smoothness = 50;
};

/// type 1 distant, 2 point, 3 spot; color before the factors.
struct Light {
  int type = 1;
  Rgb color{};
  Vec direction;
  Vec position;
  double outer_cos = 0;
  double inner_cos = 0;
};

/// The lit colour of a surface point under lights and an ambient light that holds its factor.
/// view null: seen along (0, 0, -1).
Rgb Shade(const Factors& factors, const std::vector<Light>& lights, const Rgb& ambient_light,
          const Rgb& color, const Vec& normal, const Vec& surface, const Vec* view);

// The force field.

struct Scales {
  double aspect_inverse;
  double to_buffer_x;
  double to_buffer_y;
  double to_layer_x;
  double to_layer_y;
};
Scales ScalesOf(const PF_InData& in);

struct Field {
  int width;
  int height;
  std::vector<float> cells;

  Field(int w, int h)
      : width(w), height(h), cells(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}
  float& At(int x, int y) { return cells[static_cast<std::size_t>(y * width + x)]; }
  float At(int x, int y) const { return cells[static_cast<std::size_t>(y * width + x)]; }
};

void AddBlob(Field& field, const Scales& scales, Vec centre, double amplitude, double radius);

// Whole frames.

/// A light layer of the composition that is active at the frame's time.
struct CompositionLight {
  AEGP_LightType type;
  A_Matrix4 world;
  double intensity;
  Rgb color;
  double cone_angle;
  double cone_feather;
};

/// A control's value.
PF_ParamDefUnion Read(const PF_InData& in, int index, A_long time, A_long time_step);

struct Job {
  PF_InData* in;
  const PF_EffectWorld* input;
  const PF_EffectWorld* output;
  bool smart;
  int composition_layers;
  std::vector<CompositionLight> lights;  // top of the stack first
};

Field StrokeField(const Job& job);

template <class Pixel>
using Sampler = std::function<PF_Err(PF_Fixed x, PF_Fixed y, const PF_SampPB& samp, Pixel* out)>;

/// The output's pixels, row by row without padding.
template <class Pixel>
std::vector<Pixel> Frame(const Job& job, const Sampler<Pixel>& sampler);

}  // namespace oracle
