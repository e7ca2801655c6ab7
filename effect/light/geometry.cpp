#include "light/geometry.h"

namespace vorlin {

FX_D_Point Transformed(const FX_D_Point& p, const FX_3D_Matrix& matrix) {
  const auto& m = matrix.m;
  return {p.x * m[0][0] + p.y * m[1][0] + p.z * m[2][0],
          p.x * m[0][1] + p.y * m[1][1] + p.z * m[2][1],
          p.x * m[0][2] + p.y * m[1][2] + p.z * m[2][2]};
}

FX_3D_Matrix XR_Set_Rot(PF_InData* in_data, double a, double b, double c) {
  const PF_ANSICallbacks& ansi = in_data->utils->ansi;
  a *= kRadiansPerDegree;
  b *= kRadiansPerDegree;
  c *= kRadiansPerDegree;
  const double c1 = ansi.cos(a);
  const double s1 = ansi.sin(a);
  const double c2 = ansi.cos(b);
  const double s2 = ansi.sin(b);
  const double c3 = ansi.cos(c);
  const double s3 = ansi.sin(c);
  return {{{c2 * c3, c2 * s3, -s2},
           {s1 * s2 * c3 - c1 * s3, s1 * s2 * s3 + c1 * c3, s1 * c2},
           {c1 * s2 * c3 + s1 * s3, c1 * s2 * s3 - s1 * c3, c1 * c2}}};
}

FX_D_Point FX_VectorDivision(FX_D_Point v, double d) {
  if (d == 0.0) return v;
  const double r = 1.0 / d;
  return {v.x * r, v.y * r, v.z * r};
}

}  // namespace vorlin
