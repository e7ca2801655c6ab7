#include <algorithm>
#include <cmath>

#include "oracle.h"

namespace oracle {

namespace {

double Dot(const Vec& a, const Vec& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

void Add(double k, double factor, const Rgb& color, Rgb& sum) {
  for (int c = 0; c < 3; ++c) {
    const auto i = static_cast<std::size_t>(c);
    sum[i] += k * (factor * color[i]);
  }
}

struct Sum {
  Rgb diffuse{};
  Rgb specular{};
  Rgb dust{};
};

/// Adds one light's terms at a surface point.
void Gather(const Factors& factors, const Light& light, const Vec& n, const Vec& surface,
            const Vec* view, Sum& sum) {
  Vec l = light.direction;
  if (light.type != 1) {
    const Vec d{light.position.x - surface.x, light.position.y - surface.y,
                view != nullptr ? light.position.z - surface.z : light.position.z};
    const double inverse = 1.0 / (std::sqrt(Dot(d, d)) + 1e-5);
    l = {d.x * inverse, d.y * inverse, d.z * inverse};
  }
  double s = 1.0;
  if (light.type == 3) {
    const double c = Dot(l, light.direction);
    if (c < light.outer_cos) return;
    if (c < light.inner_cos) {
      const double t = (c - light.outer_cos) / (light.inner_cos - light.outer_cos);
      s = t <= 0 ? 0 : t >= 1 ? 1 : (t * -2.0 + 3.0) * (t * t);
    }
  }
  const double d = Dot(n, l);
  if (d > 0) Add(s * d, factors.diffuse, light.color, sum.diffuse);

  double dust = 0;
  double r = 0;
  if (view == nullptr) {
    dust = (1.0 - (d > 0 ? d : std::min(1.0, 9.0 * (d * d)))) * s;
    const double k = -2.0 * n.z;
    r = -(k * n.x * l.x + k * n.y * l.y + (k * n.z + 1.0) * l.z);
  } else {
    const Vec& v = *view;
    dust = (1.0 - d * d) * s * (d + 1.0);
    const double m = 2.0 * Dot(n, v);
    r = -Dot({n.x * m - v.x, n.y * m - v.y, n.z * m - v.z}, l);
  }
  Add(dust, 0.5 * factors.dust, light.color, sum.dust);
  if (r > 0) {
    Rgb positive = light.color;
    for (double& c : positive) c = c > 0.0 ? c : 0.0;
    Add(std::pow(r, factors.smoothness) * s, factors.specular, positive, sum.specular);
  }
}

}  // namespace

Rgb Shade(const Factors& factors, const std::vector<Light>& lights, const Rgb& ambient_light,
          const Rgb& color, const Vec& n, const Vec& surface, const Vec* view) {
  Sum sum{ambient_light, {}, {}};
  for (const Light& light : lights) {
    if (light.type >= 1 && light.type <= 3) Gather(factors, light, n, surface, view, sum);
  }
  Rgb lit{};
  for (std::size_t c = 0; c < 3; ++c) {
    const double glossy = (1.0 + (color[c] - 1.0) * factors.metal) * sum.specular[c];
    if (view == nullptr) {
      lit[c] = color[c] * sum.diffuse[c] + sum.dust[c] + glossy;
    } else {
      const double facing = Dot(n, *view);
      const double f = facing >= 0 ? 1.0 - facing : 1.0 + facing;
      lit[c] = f * sum.dust[c] + color[c] * sum.diffuse[c] + glossy;
    }
  }
  return lit;
}

}  // namespace oracle
