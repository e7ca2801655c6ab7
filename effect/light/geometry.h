// Points, colours and rotations of the lighting frame: x right, y down the image rows, z toward the
// viewer.
#pragma once

#include "pf_effect.h"

namespace vorlin {

/// A point, direction or normal.
struct FX_D_Point {
  double x;
  double y;
  double z;
};

/// A colour on a 0..1 scale, not clamped.
struct FX_Double_Pixel {
  double alpha;
  double red;
  double green;
  double blue;
};

/// Row-major, for row vectors.
struct FX_3D_Matrix {
  double m[3][3];
};

inline constexpr double kRadiansPerDegree = 0.017453292519943295;

inline double Dot(const FX_D_Point& a, const FX_D_Point& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// Adds k times the colour to the sum, channel by channel; no alpha.
inline void AddScaled(FX_Double_Pixel& sum, double k, const FX_Double_Pixel& color) {
  sum.red += k * color.red;
  sum.green += k * color.green;
  sum.blue += k * color.blue;
}

/// p as a row vector times the matrix.
FX_D_Point Transformed(const FX_D_Point& p, const FX_3D_Matrix& matrix);

/// The rotation of row vectors by a about x, then b about y, then c about z; degrees.
FX_3D_Matrix XR_Set_Rot(PF_InData* in_data, double a, double b, double c);

/// v / d; v itself when d is 0.
FX_D_Point FX_VectorDivision(FX_D_Point v, double d);

}  // namespace vorlin
