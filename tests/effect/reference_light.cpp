#include "reference_light.h"

#include <algorithm>
#include <cmath>

namespace reference {
namespace {

constexpr double kRadians = 0.017453292519943295;

double Dot(const Vec& a, const Vec& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

void Add(Rgb& sum, double k, const Rgb& color) {
  sum.red += k * color.red;
  sum.green += k * color.green;
  sum.blue += k * color.blue;
}

Rgb Times(double k, const Rgb& c) { return {k * c.red, k * c.green, k * c.blue}; }

}  // namespace

void Model::AddAmbient(const Rgb& color) {
  if (has_ambient) {
    Add(ambient_light, ambient, color);
  } else {
    ambient_light = Times(ambient, color);
  }
  has_ambient = true;
}

void Model::Offer(Light light) {
  ++offered;
  const Rgb& c = light.color;
  if (lights.size() >= 19 || (c.red == 0 && c.green == 0 && c.blue == 0)) return;
  light.position.x += offset_x;
  light.position.y += offset_y;
  lights.push_back(light);
}

Rgb Shade(const PF_ANSICallbacks& ansi, const Model& model, const Rgb& color, const Vec& n,
          const Vec& surface, const Vec* view) {
  struct Ray {
    const Light* light;
    Vec to;
    double s;
  };
  std::vector<Ray> rays;
  for (const Light& light : model.lights) {
    if (light.type < 1 || light.type > 3) continue;
    Vec to = light.direction;
    double s = 1;
    if (light.type != 1) {
      const Vec d{light.position.x - surface.x, light.position.y - surface.y,
                  light.position.z - surface.z};
      const double scale = 1 / (ansi.sqrt(Dot(d, d)) + 1e-5);
      to = {d.x * scale, d.y * scale, d.z * scale};
    }
    if (light.type == 3) {
      const double c = Dot(to, light.direction);
      if (c < light.outer_cos) continue;
      if (c < light.inner_cos) {
        const double t = (c - light.outer_cos) / (light.inner_cos - light.outer_cos);
        s = t <= 0 ? 0 : t >= 1 ? 1 : (t * -2.0 + 3.0) * (t * t);
      }
    }
    rays.push_back({&light, to, s});
  }
  Rgb diffuse = model.ambient_light, specular{}, dust{};
  for (const auto& [light, to, s] : rays) {
    const auto positive = [](double v) { return v > 0 ? v : 0; };
    const Rgb& c = light->color;
    const Rgb shine = Times(model.specular, {positive(c.red), positive(c.green), positive(c.blue)});
    double d = Dot(n, to);
    double r = 0;
    if (d > 0) Add(diffuse, s * d, Times(model.diffuse, c));
    if (view == nullptr) {
      if (!(d > 0)) d = std::min(1.0, 9.0 * (d * d));
      Add(dust, (1 - d) * s, Times(0.5 * model.dust, c));
      const double k = -2.0 * n.z;
      r = -(k * n.x * to.x + k * n.y * to.y + (k * n.z + 1.0) * to.z);
    } else {
      Add(dust, (1 - d * d) * s * (d + 1), Times(0.5 * model.dust, c));
      const double m = 2 * Dot(n, *view);
      r = -Dot({n.x * m - view->x, n.y * m - view->y, n.z * m - view->z}, to);
    }
    if (r > 0) Add(specular, ansi.pow(r, model.smoothness) * s, shine);
  }
  const double f = view == nullptr ? 1 : 1 - std::abs(Dot(n, *view));
  const auto lit = [&](double c, double d, double u, double sp) {
    return c * d + f * u + (1 + (c - 1) * model.metal) * sp;
  };
  return {lit(color.red, diffuse.red, dust.red, specular.red),
          lit(color.green, diffuse.green, dust.green, specular.green),
          lit(color.blue, diffuse.blue, dust.blue, specular.blue)};
}

bool AddCompositionLights(Env& env, Model& model) {
  PF_InData* in = env.in;
  const auto& ansi = in->utils->ansi;
  A_Time t{};
  if (env.suites.Get<AEGP_PFInterfaceSuite1>(kAEGPPFInterfaceSuite, 1)
          .AEGP_ConvertEffectToCompTime(in->effect_ref, std::max(in->current_time, 0),
                                        in->time_scale, &t) != 0)
    return false;
  AEGP_LayerH own = nullptr;
  if (env.suites.Get<AEGP_PFInterfaceSuite1>(kAEGPPFInterfaceSuite, 1)
              .AEGP_GetEffectLayer(in->effect_ref, &own) != 0 ||
      own == nullptr)
    return false;
  const auto& layers = env.suites.Get<AEGP_LayerSuite5>(kAEGPLayerSuite, 5);
  AEGP_CompH comp = nullptr;
  if (layers.AEGP_GetLayerParentComp(own, &comp) != 0 || comp == nullptr) return false;
  A_long count = 0;
  if (layers.AEGP_GetCompNumLayers(comp, &count) != 0 || count < 2) return false;

  for (A_long i = 0; i < count; ++i) {
    AEGP_LayerH layer = nullptr;
    if (layers.AEGP_GetCompLayerByIndex(comp, i, &layer) != 0) return false;
    if (layer == nullptr) continue;
    A_Boolean active = 0;
    if (layers.AEGP_IsVideoActive(layer, AEGP_LTimeMode_CompTime, &t, &active) != 0) return false;
    if (!active) continue;
    AEGP_ObjectType object = 0;
    if (layers.AEGP_GetLayerObjectType(layer, &object) != 0) return false;
    if (object != 1) continue;
    AEGP_LightType type = -1;
    if (env.suites.Get<AEGP_LightSuite1>(kAEGPLightSuite, 1).AEGP_GetLightType(layer, &type) != 0)
      return false;
    if (type < 0 || type > 3) continue;
    A_Matrix4 world{};
    if (layers.AEGP_GetLayerToWorldXformFromView(layer, &t, &t, &world) != 0) return false;
    auto& m = world.mat;
    const double length = ansi.sqrt(m[0][0] * m[0][0] + m[1][0] * m[1][0] + m[2][0] * m[2][0]);
    for (auto& row : m) row[0] *= 1.0 / length;
    bool failed = false;
    const auto stream = [&](AEGP_LayerStream which) {
      AEGP_StreamVal value{};
      AEGP_StreamType ignored = 0;
      failed = failed || env.suites.Get<AEGP_StreamSuite4>(kAEGPStreamSuite, 4)
                                 .AEGP_GetLayerStreamValue(layer, which, AEGP_LTimeMode_CompTime,
                                                           &t, 0, &value, &ignored) != 0;
      return value;
    };
    const double k = stream(AEGP_LayerStream_INTENSITY).one_d * 0.01;
    if (failed) return false;
    const AEGP_ColorVal c = stream(AEGP_LayerStream_COLOR).color;
    if (failed) return false;
    const Rgb color{k * c.redF, k * c.greenF, k * c.blueF};
    if (type == AEGP_LightType_AMBIENT) {
      model.AddAmbient(color);
      continue;
    }
    Light light{type == AEGP_LightType_PARALLEL ? 1
                : type == AEGP_LightType_POINT  ? 2
                                                : 3,
                color,
                {-m[2][0], -m[2][1], m[2][2]},
                {m[3][0], m[3][1], -m[3][2]},
                0,
                0};
    if (light.type == 3) {
      const double angle = stream(AEGP_LayerStream_CONE_ANGLE).one_d;
      if (failed) return false;
      const double feather = stream(AEGP_LayerStream_CONE_FEATHER).one_d;
      if (failed) return false;
      const double half = angle * 0.5 * kRadians;
      light.outer_cos = ansi.cos(half);
      light.inner_cos = ansi.cos((1.0 - std::max(1.0, feather) * 0.01) * half);
    }
    model.Offer(light);
  }
  return model.has_ambient || model.offered != 0;
}

void AddEffectLight(Env& env, Model& model, PF_PixelFormat format, double to_layer_x,
                    double to_layer_y, double width, double height) {
  PF_InData* in = env.in;
  const auto& ansi = in->utils->ansi;
  model.AddAmbient({1, 1, 1});
  Light light{};
  light.type = Control(in, 17).u.pd.value == 2 ? 2 : 1;
  const double h = Slider(in, 18) * 0.01;
  const double phi = (180.0 - Control(in, 20).u.ad.value / 65536.0) * kRadians;
  const double f = h < 0 ? h + 1.0 : 1.0 - h;
  const double sine = ansi.sin(phi);
  const double cosine = ansi.cos(phi);
  const Vec v{f * sine, f * cosine, h};
  const double length = ansi.sqrt(Dot(v, v));
  const double r = length == 0 ? 1 : 1.0 / length;
  light.direction = {v.x * r, v.y * r, v.z * r};
  const PF_PointDef p = Control(in, 19).u.td;
  light.position = {p.x_value / 65536.0 * to_layer_x, p.y_value / 65536.0 * to_layer_y,
                    h * (width + height) * 0.5};
  const double intensity = Slider(in, 15) * 0.01;
  light.color = LightColor(env, format, intensity);
  model.Offer(light);
}

}  // namespace reference
