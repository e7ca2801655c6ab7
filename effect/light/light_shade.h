// LightShade: the lighting state of one frame.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "light/geometry.h"

namespace vorlin {

/// Light type codes of both light records; a light of any other type is passed over when shading.
inline constexpr std::int16_t LightTypeDistant = 1;  // parallel light from direction
inline constexpr std::int16_t LightTypePoint = 2;    // from position, in all directions
inline constexpr std::int16_t LightTypeSpot = 3;     // from position, in a cone around direction

/// A light as offered to the model.
struct NewLightSource {
  std::int16_t type;
  FX_Double_Pixel color;  // multiplied by its intensity; alpha is not read
  FX_D_Point direction;   // unit, from the lit surface toward the light
  FX_D_Point position;    // layer units, before the model's offset
  double coneOuterCos;    // spots: cosine of the half cone angle, where the light ends
  double coneInnerCos;    // spots: cosine inside which there is full light
};

/// A light as the model keeps it, its colour multiplied by the model's factors. The alphas of the
/// three colours are not used.
struct LightSource {
  std::int16_t type;
  FX_Double_Pixel diffuseColor;   // diffuseShading x colour
  FX_Double_Pixel dustColor;      // 0.5 x dustShading x colour
  FX_Double_Pixel specularColor;  // specularShading x max(colour, 0)
  FX_D_Point direction;
  FX_D_Point position;  // the model's offset added
  double coneOuterCos;
  double coneInnerCos;
};

/// What one surface point has gathered so far. The alphas of specular and dust are never set and no
/// alpha is read.
struct TSLightGather {
  FX_Double_Pixel diffuse;
  FX_Double_Pixel specular;
  FX_Double_Pixel dust;
};

/// Filled before shading starts, then only read, by any number of threads. One flat object: adding
/// a light allocates nothing.
class LightShade {
 public:
  static constexpr std::uint16_t kMaxLights = 19;

  /// in_data is borrowed; its math callbacks are used. All factors 1, smoothness 50, no lights.
  explicit LightShade(PF_InData* in_data);
  /// A smoothness not greater than 0.5 becomes 0.5.
  LightShade(PF_InData* in_data, double ambient_shading, double diffuse_shading,
             double specular_shading, double dust_shading, double metallicity_value,
             double smoothness_value);

  /// Also multiplies the ambient light gathered so far by the new value.
  void SetAmbientShading(double value);
  // The factors and the offset hold for lights added afterwards.
  void SetDiffuseShading(double value) { diffuseShading = value; }
  void SetSpecularShading(double value) { specularShading = value; }
  void SetDustShading(double value) { dustShading = value; }
  void SetMetallicity(double value) { metallicity = value; }
  /// A value not greater than 0.5 becomes 0.5.
  void SetSmoothness(double value);
  /// Added to the x and y of light positions, layer units.
  void SetOffset(double x, double y);

  /// ambientShading x color becomes the ambient light; that of later ones is added to it.
  void AddAmbientLight(const FX_Double_Pixel& color);
  /// False only when the table is full. A black light is counted but not stored.
  bool AddLightSource(const NewLightSource& light);

  /// Delivers the position of the first point or spot light at or after index and moves index past
  /// it; false when there is none. Start with index 0.
  bool GetNextLightPosition(FX_D_Point& position, int& index) const;

  /// Moves all lights: x and y back by (dx, dy), z mirrored, then the matrix, then the translation.
  /// dz is not applied.
  void TransformAll(const FX_3D_Matrix& matrix, const FX_D_Point& translation, double dx, double dy,
                    double dz);
  /// Moves all lights: z mirrored, then the translation, then the matrix.
  void TransformAll(const FX_3D_Matrix& matrix, const FX_D_Point& translation);

  /// The lit colour of the surface point (x, y, 0) with unit normal, seen along (0, 0, -1). color
  /// is the unlit surface, 0..1; its alpha passes through. Not clamped.
  FX_Double_Pixel ShadePixel(const FX_Double_Pixel& color, const FX_D_Point& normal, double x,
                             double y) const;
  /// The same for any surface point, seen along the unit direction view (from the eye).
  FX_Double_Pixel ShadePixelView(const FX_Double_Pixel& color, const FX_D_Point& normal,
                                 const FX_D_Point& surface, const FX_D_Point& view) const;

  // One light's contribution to a surface point, seen along (0, 0, -1) ...
  void ShadeDistant(const FX_D_Point& normal, const LightSource& light,
                    TSLightGather& gather) const;
  void ShadePoint(const FX_D_Point& normal, const LightSource& light, TSLightGather& gather,
                  double x, double y) const;
  void ShadeSpot(const FX_D_Point& normal, const LightSource& light, TSLightGather& gather,
                 double x, double y) const;
  // ... and along any view.
  void ShadeDistantView(const FX_D_Point& normal, const LightSource& light, TSLightGather& gather,
                        const FX_D_Point& view) const;
  void ShadePointView(const FX_D_Point& normal, const LightSource& light, TSLightGather& gather,
                      const FX_D_Point& surface, const FX_D_Point& view) const;
  void ShadeSpotView(const FX_D_Point& normal, const LightSource& light, TSLightGather& gather,
                     const FX_D_Point& surface, const FX_D_Point& view) const;

  std::span<const LightSource> Lights() const { return {lights.data(), numLights}; }
  double ambientShading = 1.0;
  double diffuseShading = 1.0;
  double specularShading = 1.0;
  double dustShading = 1.0;
  double metallicity = 1.0;  // how far the highlight takes the surface colour
  double smoothness = 50.0;  // specular exponent
  PF_InData* inData;
  // Valid up to numLights, in order of addition.
  std::array<LightSource, kMaxLights> lights;
  FX_Double_Pixel ambientLight{};
  bool hasAmbient = false;
  std::uint16_t numLights = 0;
  std::uint16_t numOffered = 0;  // calls of AddLightSource
  double offsetX = 0.0;
  double offsetY = 0.0;

 private:
  /// The light vector, shorter than 1 by a hair, and how much of the light it brings: 0 to 1.
  struct Ray {
    FX_D_Point toward;
    double part;
  };
  /// What a ray and the surface make of each other.
  struct Meeting {
    double part;
    double diffuse;   // cosine of normal and light
    double dust;      // weight of the dust colour
    double specular;  // cosine of mirrored view and light
  };

  Ray PointRay(const LightSource& light, const FX_D_Point& surface) const;
  /// None outside the cone.
  std::optional<Ray> SpotRay(const LightSource& light, const FX_D_Point& surface) const;
  /// Of a light that has a place; none when nothing of it reaches the surface, or its type is
  /// unknown.
  std::optional<Ray> RayOf(const LightSource& light, const FX_D_Point& surface) const;
  static void AddMatte(const LightSource& light, const Meeting& meeting, TSLightGather& gather);
  void AddHighlight(const LightSource& light, double cosine, double part,
                    TSLightGather& gather) const;
  void Add(const LightSource& light, const Meeting& meeting, TSLightGather& gather) const;
  template <class Meet>
  TSLightGather Gathered(const FX_D_Point& surface, const Meet& meet) const;
  FX_Double_Pixel Lit(const FX_Double_Pixel& color, const TSLightGather& gather,
                      double dust_weight) const;

  static Meeting Orthographic(const FX_D_Point& normal, const Ray& ray);
  static Meeting Viewed(const FX_D_Point& normal, const Ray& ray, const FX_D_Point& view);
};

}  // namespace vorlin
