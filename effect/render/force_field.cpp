#include "render/force_field.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "host/safe_cast.h"
#include "render/blob_kernels.h"

namespace vorlin {
namespace {

constexpr double kSmallestRadius = 0.25;  // layer units
constexpr double kNegligibleRadius = 0.01;

// Columns that are done at once: 8 KiB of distances, which stay in the first cache.
constexpr int kStripColumns = 1024;
static_assert(kStripColumns % kBlobStripPadding == 0);

// Chosen once, when the library is loaded.
const BlobKernel kAddBlob = BlobKernels().back().add;

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
  BlobStrip strip{.dx2 = nullptr,
                  .columns = 0,
                  .cells = nullptr,
                  .rowbytes = field->rowbytes,
                  .first_row = rows->first,
                  .last_row = rows->last,
                  .centre_y = cy,
                  .row_height = scales->toLayerY,
                  .r2 = r2,
                  .inv = 1.0 / r2,
                  .amplitude = amplitude};
  float* const first_row = FieldRow(*field, rows->first);
  double dx = (cx - columns->first) * scales->toLayerX;
  alignas(64) double dx2[kStripColumns];
  for (int left = columns->first; left <= columns->last; left += kStripColumns) {
    // The columns' distances are the same in all rows. They are stepped, not multiplied: the
    // roundings of the steps belong to the result.
    strip.columns = std::min(kStripColumns, columns->last - left + 1);
    for (int x = 0; x < strip.columns; ++x) {
      dx2[x] = dx * dx;
      dx -= scales->toLayerX;
    }
    for (int x = strip.columns; x % kBlobStripPadding != 0; ++x) {
      dx2[x] = std::numeric_limits<double>::infinity();
    }
    strip.dx2 = dx2;
    strip.cells = first_row + left;
    kAddBlob(strip);
  }
}

}  // namespace vorlin
