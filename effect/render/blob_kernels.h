// The loops that add one blob of force to a field, for the vector units that processors have.
#pragma once

#include <cstddef>
#include <span>

namespace vorlin {

/// A blob and the rectangle of a field that it may touch. Lengths in layer units.
struct BlobBox {
  float* cells;  // of the first column in the first row
  std::ptrdiff_t rowbytes;
  int columns;
  int rows;
  double dx;         // the first column's distance from the centre
  double column;     // its width: dx falls by it from column to column, rounded at every step
  double centre_y;   // in rows
  double first_row;  // a whole number
  double row;        // a row's height: dy is (centre_y - y) * row
  double r2;         // the radius squared
  double inv;        // 1 / r2
  double amplitude;

  float* Row(int y) const {
    return reinterpret_cast<float*>(reinterpret_cast<char*>(cells) + y * rowbytes);
  }
};

/// Adds amplitude x (1 - d^2 / r^2)^2 to the box's cells at d^2 < r^2: d2 = dx * dx + dy * dy,
/// k = 1.0 - d2 * inv, then (amplitude * k) * k in doubles, rounded to float, added in floats. All
/// kernels give the same bytes and touch no other cell.
using BlobKernel = void (*)(const BlobBox&);

struct NamedBlobKernel {
  const char* name;
  BlobKernel add;
};

/// The kernels that this processor runs, the plain loop first and the fastest last.
std::span<const NamedBlobKernel> BlobKernels();

void AddBlobPlain(const BlobBox& box);
#if defined(__x86_64__)
void AddBlobAvx2(const BlobBox& box);
void AddBlobAvx512(const BlobBox& box);  // F, VL and DQ
#endif

}  // namespace vorlin
