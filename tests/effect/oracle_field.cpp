#include <algorithm>
#include <cmath>
#include <cstdint>

#include "oracle.h"

namespace oracle {

Scales ScalesOf(const PF_InData& in) {
  const auto ratio = [](double factor, PF_RationalScale r) {
    return factor * static_cast<double>(r.num) / static_cast<double>(r.den);
  };
  Scales s{};
  s.aspect_inverse = static_cast<double>(in.pixel_aspect_ratio.den) /
                     static_cast<double>(in.pixel_aspect_ratio.num);
  s.to_buffer_x = ratio(s.aspect_inverse, in.downsample_x);
  s.to_buffer_y = ratio(1.0, in.downsample_y);
  s.to_layer_x = 1.0 / s.to_buffer_x;
  s.to_layer_y = 1.0 / s.to_buffer_y;
  return s;
}

void AddBlob(Field& field, const Scales& s, Vec centre, double amplitude, double radius) {
  if (!(radius >= 0.25)) {
    if (radius < 0.01) return;
    amplitude *= 4.0 * radius;
    radius = 0.25;
  }
  const double cx = centre.x * s.to_buffer_x;
  const double cy = centre.y * s.to_buffer_y;
  const double rx = radius * s.to_buffer_x;
  const double ry = radius * s.to_buffer_y;
  // Compared before they are cut to integers, so that far away blobs need no care.
  if (std::trunc(cx - rx) > field.width - 1 || std::trunc(cx + rx + 1.0) < 0) return;
  if (std::trunc(cy - ry) > field.height - 1 || std::trunc(cy + ry + 1.0) < 0) return;
  const int x0 = static_cast<int>(std::max(0.0, std::trunc(cx - rx)));
  const int y0 = static_cast<int>(std::max(0.0, std::trunc(cy - ry)));
  const int x1 = static_cast<int>(std::min(field.width - 1.0, std::trunc(cx + rx + 1.0)));
  const int y1 = static_cast<int>(std::min(field.height - 1.0, std::trunc(cy + ry + 1.0)));
  const double r2 = radius * radius;
  const double inverse = 1.0 / r2;
  for (int y = y0; y <= y1; ++y) {
    const double dy = (cy - y) * s.to_layer_y;
    double dx = (cx - x0) * s.to_layer_x;
    for (int x = x0; x <= x1; ++x, dx -= s.to_layer_x) {
      const double d2 = dx * dx + dy * dy;
      if (!(d2 < r2)) continue;
      const double k = 1.0 - d2 * inverse;
      field.At(x, y) += static_cast<float>(amplitude * k * k);
    }
  }
}

namespace {

constexpr int kBrush = 1, kWidth = 2, kDensity = 3, kSpan = 4, kStrength = 6, kStyle = 8,
              kWobbleWidth = 9, kWobbleHeight = 10, kWobbleSpeed = 11;

struct Random {
  std::uint32_t state;
  double Draw() {  // in [-1, 1)
    state = state * 1103515245u + 12345u;
    return static_cast<double>((state >> 16) & 0x7FFF) * (1.0 / 16384) - 1.0;
  }
};

/// Row vector (x, y, 0) turned by the degrees a about x, then b about y, then c about z.
Vec Turned(double x, double y, double a, double b, double c) {
  const double rad = 0.017453292519943295;
  const double s1 = std::sin(a * rad), c1 = std::cos(a * rad);
  const double s2 = std::sin(b * rad), c2 = std::cos(b * rad);
  const double s3 = std::sin(c * rad), c3 = std::cos(c * rad);
  return {x * (c2 * c3) + y * (s1 * s2 * c3 - c1 * s3),
          x * (c2 * s3) + y * (s1 * s2 * s3 + c1 * c3), 0};
}

}  // namespace

PF_ParamDefUnion Read(const PF_InData& in, int index, A_long time, A_long time_step) {
  PF_ParamDef param{};
  in.inter.checkout_param(in.effect_ref, index, time, time_step, in.time_scale, &param);
  const PF_ParamDefUnion value = param.u;
  in.inter.checkin_param(in.effect_ref, &param);
  return value;
}

Field StrokeField(const Job& job) {
  PF_InData& in = *job.in;
  const Scales scales = ScalesOf(in);
  Field field(job.output->width, job.output->height);
  std::fill(field.cells.begin(), field.cells.end(), -0.25f);

  const A_long step = in.local_time_step;
  const auto slider = [&](int index, A_long time) {
    return Read(in, index, time, step).fd.value / 65536.0;
  };
  const auto brush = [&](A_long time) {
    const PF_PointDef p = Read(in, kBrush, time, step).td;
    return Vec{p.x_value / 65536.0, p.y_value / 65536.0, 0};
  };

  const double span = Read(in, kSpan, in.current_time, in.time_step).fd.value / 65536.0;
  const bool wobbly = Read(in, kStyle, in.current_time, in.time_step).pd.value == 2;
  const double w =
      job.smart ? in.width / scales.aspect_inverse : job.input->width * scales.to_layer_x;
  const double h = job.smart ? in.height : job.input->height * scales.to_layer_y;
  const double diagonal = std::sqrt(w * w + h * h);
  const double shift_x = job.smart ? -job.output->origin_x : 0;
  const double shift_y = job.smart ? -job.output->origin_y : 0;
  const double rate = static_cast<double>(in.time_scale) / step;
  const double frames = (span > 0 ? span : 3000.0) * rate;
  const A_long frame_time = in.current_time / step * step;
  const double fraction = static_cast<double>(in.current_time - frame_time) / step;

  for (int i = 0; i < frames; ++i) {
    Random random{static_cast<std::uint32_t>(frame_time - i * step)};
    const auto t =
        static_cast<A_long>(in.current_time - static_cast<double>(step) * (i + fraction));
    if (t < 0) break;  // all that follow are earlier still
    const double density = slider(kDensity, t) * 0.01;
    const Vec p1 = brush(t), p0 = brush(t - step);
    if (density <= 0 || (p1.x == p0.x && p1.y == p0.y && t != 0)) continue;
    const double wobble_width = slider(kWobbleWidth, t) * (diagonal / 200);
    const double wobble_height = slider(kWobbleHeight, t) * (diagonal / 200);
    const double speed = slider(kWobbleSpeed, t) * 0.02;
    const double strength = slider(kStrength, t) * 0.01;
    if (strength <= 0) continue;
    const double age = 30.0 / rate * (i + fraction);
    const double mx = p1.x * scales.to_layer_x - p0.x * scales.to_layer_x;
    const double my = p1.y * scales.to_layer_y - p0.y * scales.to_layer_y;
    const double n = std::max(1.0, density * std::sqrt(mx * mx + my * my));
    for (int j = 0; j < static_cast<int>(n); ++j) {
      const double f = j / n;
      double wx = 0, wy = 0, a1 = 0, a2 = 0, a3 = 0;
      if (wobbly) {
        double u = 0, v = 0;
        do {
          u = random.Draw();
          v = random.Draw();
        } while (u * u + v * v > 1.0);
        wx = wobble_width * u;
        wy = wobble_height * v;
        a1 = 180 * random.Draw();
        a2 = 180 * random.Draw();
        a3 = 180 * random.Draw();
      }
      const auto ts = static_cast<A_long>(t - (1.0 - f) * step);
      const Vec p = brush(ts);
      Vec centre{(p.x + shift_x) * scales.to_layer_x + wx, (p.y + shift_y) * scales.to_layer_y + wy,
                 0};
      if (wobbly) {
        const double phase = (age + f) * speed;
        const Vec turned = Turned(wx, wy, phase + a1, phase + a2, a3);
        centre = {turned.x + (centre.x - wx), turned.y + (centre.y - wy), 0};
      }
      AddBlob(field, scales, centre, strength, slider(kWidth, ts) * (diagonal / 500));
    }
  }
  return field;
}

}  // namespace oracle
