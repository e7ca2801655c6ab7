#include "render/force_field.h"

#include <algorithm>
#include <optional>

#include "host/safe_cast.h"

namespace vorlin {
namespace {

constexpr double kSmallestRadius = 0.25;  // layer units
constexpr double kNegligibleRadius = 0.01;

/// Inclusive.
struct Span {
  int first;
  int last;
};

/// The cells of [0, size) that a blob may touch along one axis, in buffer pixels; none when it lies
/// outside.
std::optional<Span> Touched(double centre, double radius, int size) {
  const int first = TruncTo<int>(centre - radius);
  const int last = TruncTo<int>(centre + radius + 1.0);
  if (first > size - 1 || last < 0) return std::nullopt;
  return Span{std::max(first, 0), std::min(last, size - 1)};
}

}  // namespace

void FX_DrawForce(const FX_PAR* scales, FX_D_Point centre, double amplitude, double radius,
                  PF_LayerDef* field) {
  if (!(radius >= kSmallestRadius)) {
    if (!(radius >= kNegligibleRadius)) return;
    amplitude *= 4.0 * radius;
    radius = kSmallestRadius;
  }
  const double cx = centre.x * scales->toBufferX;
  const double cy = centre.y * scales->toBufferY;
  const auto columns = Touched(cx, radius * scales->toBufferX, field->width);
  if (!columns) return;
  const auto rows = Touched(cy, radius * scales->toBufferY, field->height);
  if (!rows) return;

  const double r2 = radius * radius;
  const double inv = 1.0 / r2;
  for (int y = rows->first; y <= rows->last; ++y) {
    float* const cells = FieldRow(*field, y);
    const double dy = (cy - y) * scales->toLayerY;
    const double dy2 = dy * dy;
    double dx = (cx - columns->first) * scales->toLayerX;
    for (int x = columns->first; x <= columns->last; ++x) {
      const double d2 = dx * dx + dy2;
      if (d2 < r2) {
        const double k = 1.0 - d2 * inv;
        cells[x] += static_cast<float>(amplitude * k * k);
      }
      dx -= scales->toLayerX;
    }
  }
}

}  // namespace vorlin
