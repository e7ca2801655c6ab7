// The loops that add one blob of force to a field, for the vector units that processors have.
#pragma once

#include <cstddef>
#include <span>

#include "render/force_field.h"

namespace vorlin {

/// A blob and the columns of a field that it may touch.
struct BlobStrip {
  /// Squared distances from the blob's centre, one a column, falling and then rising; followed by
  /// infinities up to a multiple of kBlobStripPadding, on a 64-byte boundary.
  const double* dx2;
  int columns;
  float* cells;  // of the first column in the first row
  std::ptrdiff_t rowbytes;
  int first_row;  // inclusive
  int last_row;
  double centre_y;    // in rows
  double row_height;  // in layer units
  double r2;          // the radius squared, layer units
  double inv;         // 1 / r2
  double amplitude;

  float* Row(int y) const {
    return reinterpret_cast<float*>(reinterpret_cast<char*>(cells) + (y - first_row) * rowbytes);
  }
  double SquaredRowDistance(int y) const {
    const double dy = (centre_y - y) * row_height;
    return dy * dy;
  }
};

inline constexpr int kBlobStripPadding = 16;

/// Adds amplitude x (1 - d^2 / r^2)^2 to the strip's cells at d^2 < r^2: k = 1.0 - d2 * inv, then
/// (amplitude * k) * k in doubles, rounded to float, added in floats. All kernels give the same
/// bytes and touch no other cell.
using BlobKernel = void (*)(const BlobStrip&);

struct NamedBlobKernel {
  const char* name;
  BlobKernel add;
};

/// The kernels that this processor runs, the plain loop first and the fastest last.
std::span<const NamedBlobKernel> BlobKernels();

void AddBlobPlain(const BlobStrip& strip);
#if defined(__x86_64__)
void AddBlobAvx2(const BlobStrip& strip);
void AddBlobAvx512(const BlobStrip& strip);  // F, VL and DQ
#endif

}  // namespace vorlin
