#include "render/force_field.h"

#include <optional>

#include "render/blob_kernels.h"

namespace vorlin {
namespace {

constexpr double kSmallestRadius = 0.25;  // layer units
constexpr double kNegligibleRadius = 0.01;

// Chosen once, when the library is loaded.
const BlobKernel kAddBlob = BlobKernels().back().add;

/// Inclusive.
struct Span {
  int first;
  int last;
};

/// The cells of [0, size) that a blob may touch along one axis, in buffer pixels: from
/// centre - radius to centre + radius + 1, both cut toward zero. None when it lies outside.
[[gnu::always_inline]] inline std::optional<Span> Touched(double centre, double radius, int size) {
  const double first = centre - radius;
  const double last = centre + radius + 1.0;
  if (first >= size || last <= -1.0) return std::nullopt;
  return Span{first > 0.0 ? static_cast<int>(first) : 0,
              last < size ? static_cast<int>(last) : size - 1};
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
  kAddBlob({.cells = FieldRow(*field, rows->first) + columns->first,
            .rowbytes = field->rowbytes,
            .columns = columns->last - columns->first + 1,
            .rows = rows->last - rows->first + 1,
            .dx = (cx - columns->first) * scales->toLayerX,
            .column = scales->toLayerX,
            .centre_y = cy,
            .first_row = static_cast<double>(rows->first),
            .row = scales->toLayerY,
            .r2 = r2,
            .inv = 1.0 / r2,
            .amplitude = amplitude});
}

}  // namespace vorlin
