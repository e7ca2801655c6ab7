#include "reference_stroke.h"

#include <algorithm>
#include <cmath>

namespace reference {
namespace {

void AddBlob(PF_EffectWorld& field, const Scales& s, double x, double y, double a, double r) {
  if (!(r >= 0.25)) {
    if (!(r >= 0.01)) return;
    a *= 4 * r;
    r = 0.25;
  }
  const double cx = x * s.to_buffer_x, cy = y * s.to_buffer_y;
  const double rx = r * s.to_buffer_x, ry = r * s.to_buffer_y;
  const int x0 = Cut(cx - rx), x1 = Cut(cx + rx + 1.0), y0 = Cut(cy - ry), y1 = Cut(cy + ry + 1.0);
  if (x0 > field.width - 1 || x1 < 0 || y0 > field.height - 1 || y1 < 0) return;
  const double r2 = r * r, inv = 1.0 / r2;
  for (int row = std::max(y0, 0); row <= std::min(y1, field.height - 1); ++row) {
    const double dy = (cy - row) * s.to_layer_y;
    double dx = (cx - std::max(x0, 0)) * s.to_layer_x;
    for (int column = std::max(x0, 0); column <= std::min(x1, field.width - 1); ++column) {
      const double d2 = dx * dx + dy * dy;
      if (d2 < r2) {
        const double k = 1.0 - d2 * inv;
        Cell(field, column, row) += static_cast<float>((a * k) * k);
      }
      dx -= s.to_layer_x;
    }
  }
}

}  // namespace

PF_Err LayStroke(PF_InData* in, const Frame& frame, double diagonal, int style, double frame_count,
                 PF_EffectWorld& field) {
  const A_long step = in->local_time_step;
  const double L = step;
  const auto whole = static_cast<A_long>(static_cast<A_u_long>(Cut(in->current_time / L)) *
                                         static_cast<A_u_long>(step));
  A_long frame_time = in->current_time;
  double fraction = 0;
  if (step != in->time_step || in->current_time != whole) {
    frame_time = whole;
    fraction = (in->current_time - whole) / L;
  }
  const double frame_unit = 30.0 / (in->time_scale / L);
  const auto slider = [&](int index, A_long time) {
    return Control(in, index, time, step).u.fd.value / 65536.0;
  };
  const auto brush = [&](A_long time) {
    const PF_PointDef p = Control(in, 1, time, step).u.td;
    return Vec{p.x_value / 65536.0, p.y_value / 65536.0, 0};
  };
  for (int i = 0; i < frame_count; ++i) {
    std::uint32_t random =
        static_cast<A_u_long>(frame_time) - static_cast<A_u_long>(i) * static_cast<A_u_long>(step);
    const auto draw = [&] {
      random = random * 1103515245u + 12345u;
      return ((random >> 16) & 0x7FFF) * (1.0 / 16384) - 1.0;
    };
    const A_long t = Cut(in->current_time - L * (i + fraction));
    if (t < 0) break;  // and so do all that follow
    const double density = slider(3, t) * 0.01;
    if (density <= 0) continue;
    const Vec p1 = brush(t), p0 = brush(t - step);
    if (p1.x == p0.x && p1.y == p0.y && t != 0) continue;
    const double wobble_w = slider(9, t) * (diagonal / 200.0);
    const double wobble_h = slider(10, t) * (diagonal / 200.0);
    const double speed = slider(11, t) * 0.02;
    const double strength = slider(6, t) * 0.01;
    const double age = frame_unit * (i + fraction);
    if (strength <= 0) continue;
    const double dx = p1.x * frame.scales.to_layer_x - p0.x * frame.scales.to_layer_x;
    const double dy = p1.y * frame.scales.to_layer_y - p0.y * frame.scales.to_layer_y;
    const double wanted = density * in->utils->ansi.sqrt(dx * dx + dy * dy);
    const double n = std::isfinite(wanted) ? std::max(1.0, wanted) : 1.0;  // scales of 0
    for (int j = 0; j < Cut(n); ++j) {
      const double f = j / n;
      double wx = 0, wy = 0, a[3] = {};
      if (style == 2) {
        double u, v;
        do {
          u = draw();
          v = draw();
        } while (u * u + v * v > 1.0);
        wx = wobble_w * u;
        wy = wobble_h * v;
        for (double& angle : a) angle = 180.0 * draw();
      }
      const A_long ts = Cut(t - (1.0 - f) * L);
      const Vec p = brush(ts);
      double x = (p.x + frame.shift_x) * frame.scales.to_layer_x + wx;
      double y = (p.y + frame.shift_y) * frame.scales.to_layer_y + wy;
      const double radius = slider(2, ts) * (diagonal / 500.0);
      if (style == 2) {
        const double phase = (age + f) * speed;
        constexpr double kRadians = 0.017453292519943295;
        const double angles[3] = {(phase + a[0]) * kRadians, (phase + a[1]) * kRadians,
                                  a[2] * kRadians};
        double c[3], s[3];
        for (int k = 0; k < 3; ++k) {
          c[k] = in->utils->ansi.cos(angles[k]);
          s[k] = in->utils->ansi.sin(angles[k]);
        }
        const double m00 = c[1] * c[2], m01 = c[1] * s[2];
        const double m10 = s[0] * s[1] * c[2] - c[0] * s[2];
        const double m11 = s[0] * s[1] * s[2] + c[0] * c[2];
        x = wx * m00 + wy * m10 + (x - wx);
        y = wx * m01 + wy * m11 + (y - wy);
      }
      AddBlob(field, frame.scales, x, y, strength, radius);
    }
    const PF_Err err = in->inter.progress(in->effect_ref, i, Cut(2 * frame_count));
    if (err != 0) return err;
  }
  return 0;
}

}  // namespace reference
