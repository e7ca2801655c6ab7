#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "oracle.h"

namespace oracle {

namespace {

constexpr int kReflection = 5, kUsing = 14, kIntensity = 15, kColor = 16, kType = 17, kHeight = 18,
              kPosition = 19, kDirection = 20, kAmbient = 23, kDiffuse = 24, kSpecular = 25,
              kRoughness = 26, kMetal = 27;
constexpr double kRadians = 0.017453292519943295;

template <class Pixel>
constexpr bool kIsFloat = std::is_same_v<Pixel, PF_PixelFloat>;
template <class Pixel>
constexpr bool kIs8 = std::is_same_v<Pixel, PF_Pixel>;
template <class Pixel>
constexpr double kUnit = kIs8<Pixel>       ? 0.00392156862745098
                         : kIsFloat<Pixel> ? 1.0
                                           : 3.0517578125e-05;
template <class Pixel>
constexpr double kWhite = kIs8<Pixel> ? 255.0 : 32768.0;

template <class Pixel>
void Store(double v, Pixel& out, decltype(Pixel::red) Pixel::*channel) {
  using Channel = decltype(Pixel::red);
  if constexpr (kIsFloat<Pixel>) {
    out.*channel = static_cast<float>(v);
  } else {
    v *= kWhite<Pixel>;
    out.*channel = static_cast<Channel>(!(v > 0) ? 0.0 : std::min(v, kWhite<Pixel>));
  }
}

/// The light colour's channels on a 0..1 scale times k, read in the precision of the render.
template <class Pixel>
Rgb LightColor(PF_InData& in, double k) {
  PF_ParamDef param{};
  in.inter.checkout_param(in.effect_ref, kColor, in.current_time, in.time_step, in.time_scale,
                          &param);
  const PF_Pixel rounded = param.u.cd.value;
  PF_PixelFloat exact{};
  const bool is_new = in.version.major > 12 || (in.version.major == 12 && in.version.minor > 10);
  if (!kIs8<Pixel> && is_new) {
    const void* suite = nullptr;
    in.pica_basicP->AcquireSuite(kPFColorParamSuite, 1, &suite);
    static_cast<const PF_ColorParamSuite1*>(suite)->PF_GetFloatingPointColorFromColorDef(
        in.effect_ref, &param, &exact);
    in.pica_basicP->ReleaseSuite(kPFColorParamSuite, 1);
  }
  in.inter.checkin_param(in.effect_ref, &param);
  const auto channel = [&](int c8, float cf) -> double {
    if (kIs8<Pixel>) return c8 * (kUnit<Pixel> * k);
    if (kIsFloat<Pixel>) return (is_new ? cf : static_cast<float>(c8) * 0.003921569f) * k;
    const float deep = std::clamp(cf * 32768.0f, 0.0f, 32768.0f);
    const int c16 = is_new ? static_cast<int>(deep) : (c8 * 32768 + 128) / 255;
    return c16 * (kUnit<Pixel> * k);
  };
  return {channel(rounded.red, exact.red), channel(rounded.green, exact.green),
          channel(rounded.blue, exact.blue)};
}

struct Model {
  Factors factors;
  Rgb ambient{};
  std::vector<Light> lights;
  bool offered = false;

  void AddAmbient(const Rgb& color) {
    offered = true;
    for (std::size_t c = 0; c < 3; ++c) ambient[c] += factors.ambient * color[c];
  }
  void Offer(const Light& light) {
    offered = true;
    const bool black = light.color == Rgb{0, 0, 0};
    if (lights.size() < 19 && !black) lights.push_back(light);
  }
};

Light FromComposition(const CompositionLight& from, const Rgb& color, double shift_x,
                      double shift_y) {
  const auto& m = from.world.mat;
  const double scale = 1.0 / std::sqrt(m[0][0] * m[0][0] + m[1][0] * m[1][0] + m[2][0] * m[2][0]);
  Light light;
  light.type = from.type == AEGP_LightType_PARALLEL ? 1 : from.type == AEGP_LightType_POINT ? 2 : 3;
  light.color = color;
  light.position = {m[3][0] * scale + shift_x, m[3][1] + shift_y, -m[3][2]};
  light.direction = {-(m[2][0] * scale), -m[2][1], m[2][2]};
  if (light.type == 3) {
    const double half = from.cone_angle * 0.5 * kRadians;
    light.outer_cos = std::cos(half);
    light.inner_cos = std::cos((1.0 - std::max(1.0, from.cone_feather) * 0.01) * half);
  }
  return light;
}

template <class Pixel>
Model LightModel(const Job& job, double width, double height) {
  PF_InData& in = *job.in;
  const Scales scales = ScalesOf(in);
  const auto read = [&](int index) { return Read(in, index, in.current_time, in.time_step); };
  const auto slider = [&](int index) { return read(index).fd.value / 65536.0; };

  Model model;
  model.factors = {slider(kAmbient) * 0.01,  slider(kDiffuse) * 0.01,
                   slider(kSpecular) * 0.01, 0.0,
                   slider(kMetal) * 0.01,    std::max(0.5, 1.0 / slider(kRoughness))};
  const double shift_x = -(job.output->origin_x * scales.to_layer_x);
  const double shift_y = -(job.output->origin_y * scales.to_layer_y);
  if (read(kUsing).pd.value != 1 && job.composition_layers >= 2) {
    for (const CompositionLight& from : job.lights) {
      const double k = from.intensity * 0.01;
      const Rgb color{k * from.color[0], k * from.color[1], k * from.color[2]};
      if (from.type == AEGP_LightType_AMBIENT) {
        model.AddAmbient(color);
      } else {
        model.Offer(FromComposition(from, color, shift_x, shift_y));
      }
    }
    if (model.offered) return model;
  }
  model.AddAmbient({1, 1, 1});
  const double h = slider(kHeight) * 0.01;
  const double phi = (180.0 - read(kDirection).ad.value / 65536.0) * kRadians;
  const double f = 1.0 - std::fabs(h);
  const Vec v{f * std::sin(phi), f * std::cos(phi), h};
  const double inverse = 1.0 / std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
  const PF_PointDef p = read(kPosition).td;
  Light light;
  light.type = read(kType).pd.value == 2 ? 2 : 1;
  light.direction = {v.x * inverse, v.y * inverse, v.z * inverse};
  light.position = {p.x_value / 65536.0 * scales.to_layer_x + shift_x,
                    p.y_value / 65536.0 * scales.to_layer_y + shift_y, h * (width + height) * 0.5};
  light.color = LightColor<Pixel>(in, slider(kIntensity) * 0.01);
  model.Offer(light);
  return model;
}

/// Mirrored repetition of u into [r, top - r].
double Folded(double u, double top, double r) {
  const double range = top - 2 * r;
  double k = std::trunc(u / range);
  double rest = u - k * range;
  if (rest < 0) {
    k -= 1;
    rest += range;
  }
  const double folded = r + rest;
  return std::fmod(k, 2.0) != 0 ? top - folded : folded;
}

}  // namespace

template <class Pixel>
std::vector<Pixel> Frame(const Job& job, const Sampler<Pixel>& sampler) {
  PF_InData& in = *job.in;
  const Field field = StrokeField(job);
  const Scales s = ScalesOf(in);
  const double input_width = job.input->width * s.to_layer_x;
  const double input_height = job.input->height * s.to_layer_y;
  const double width = job.smart ? in.width / s.aspect_inverse : input_width;
  const double height = job.smart ? in.height : input_height;
  const PF_ParamDefUnion reflected = Read(in, kReflection, in.current_time, in.time_step);
  const double reflection = reflected.fd.value / 65536.0 * 0.0075;
  const double reach = width * reflection * 0.125;
  const Model model = LightModel<Pixel>(job, width, height);
  const double origin_x =
      job.smart ? (job.output->origin_x - job.input->origin_x) * s.to_layer_x : 0;
  const double origin_y =
      job.smart ? (job.output->origin_y - job.input->origin_y) * s.to_layer_y : 0;
  const double max_x = input_width - 1.0, max_y = input_height - 1.0;
  const double fixed_x = s.to_buffer_x * 65536.0, fixed_y = s.to_buffer_y * 65536.0;

  std::vector<Pixel> picture(field.cells.size());
  for (int y = 0; y < field.height; ++y) {
    for (int x = 0; x < field.width; ++x) {
      const double h = field.At(x, y);
      const double left = x == 0 ? h : field.At(x - 1, y);
      const double up = y == 0 ? h : field.At(x, y - 1);
      const double most = std::max({h, left, up}), least = std::min({h, left, up});
      if (most < 0) continue;
      const double gx = (left - h) * (4.0 * s.to_buffer_x);
      const double gy = (up - h) * (4.0 * s.to_buffer_y);
      const double inverse = 1.0 / (std::sqrt(gx * gx + gy * gy + h * h) + 1e-5);
      const Vec normal{gx * inverse, gy * inverse, h * inverse};
      const double ox = normal.x * reach, oy = normal.y * reach;
      PF_SampPB samp{32768, 32768, 65536, const_cast<PF_EffectWorld*>(job.input)};
      double rx = 0, ry = 0;
      if (in.quality == PF_Quality_HI) {
        rx = std::min(64.0, std::fabs(ox) * 0.25);
        ry = std::min(64.0, std::fabs(oy) * 0.25);
        samp.x_radius = static_cast<PF_Fixed>(rx * fixed_x + 32768.0);
        samp.y_radius = static_cast<PF_Fixed>(ry * fixed_y + 32768.0);
        samp.area = 4 * FixMul(samp.x_radius, samp.y_radius);
        if (max_x - 2 * rx < 1.0 || max_y - 2 * ry < 1.0) continue;
      }
      const double px = x * s.to_layer_x + origin_x, py = y * s.to_layer_y + origin_y;
      const double u = Folded(px + ox, max_x, rx), v = Folded(py + oy, max_y, ry);
      Pixel& out = picture[static_cast<std::size_t>(y * field.width + x)];
      sampler(static_cast<PF_Fixed>(u * fixed_x), static_cast<PF_Fixed>(v * fixed_y), samp, &out);
      const Rgb seen{out.red * kUnit<Pixel>, out.green * kUnit<Pixel>, out.blue * kUnit<Pixel>};
      const Rgb lit =
          Shade(model.factors, model.lights, model.ambient, seen, normal, {px, py, 0}, nullptr);
      Store(lit[0], out, &Pixel::red);
      Store(lit[1], out, &Pixel::green);
      Store(lit[2], out, &Pixel::blue);
      if (least < 0) {
        out.alpha = static_cast<decltype(Pixel::alpha)>(out.alpha * most / (most - least + 1e-5));
      }
    }
  }
  return picture;
}

template std::vector<PF_Pixel> Frame(const Job&, const Sampler<PF_Pixel>&);
template std::vector<PF_Pixel16> Frame(const Job&, const Sampler<PF_Pixel16>&);
template std::vector<PF_PixelFloat> Frame(const Job&, const Sampler<PF_PixelFloat>&);

}  // namespace oracle
