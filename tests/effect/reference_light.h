// The reference's light: lights as they are stored, and what a surface point receives from them.
#pragma once

#include <vector>

#include "reference_host.h"

namespace reference {

struct Vec {
  double x, y, z;
};

struct Light {
  int type;  // 1 distant, 2 point, 3 spot
  Rgb color;
  Vec direction;
  Vec position;
  double outer_cos;
  double inner_cos;
};

struct Model {
  double ambient, diffuse, specular, dust, metal, smoothness;
  double offset_x = 0, offset_y = 0;
  Rgb ambient_light{0, 0, 0};
  bool has_ambient = false;
  int offered = 0;
  std::vector<Light> lights{};

  void AddAmbient(const Rgb& color);
  void Offer(Light light);
};

/// view null: seen along (0, 0, -1).
Rgb Shade(const PF_ANSICallbacks& ansi, const Model& model, const Rgb& color, const Vec& normal,
          const Vec& surface, const Vec* view);

/// Whether the composition's lights are in the model.
bool AddCompositionLights(Env& env, Model& model);

/// The light of the controls. Sizes in layer units.
void AddEffectLight(Env& env, Model& model, PF_PixelFormat format, double to_layer_x,
                    double to_layer_y, double width, double height);

}  // namespace reference
