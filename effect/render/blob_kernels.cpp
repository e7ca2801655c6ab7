#include "render/blob_kernels.h"

namespace vorlin {

void AddBlobPlain(const BlobBox& box) {
  for (int y = 0; y < box.rows; ++y) {
    float* const cells = box.Row(y);
    const double dy = (box.centre_y - (box.first_row + y)) * box.row;
    double dx = box.dx;
    for (int x = 0; x < box.columns; ++x) {
      const double d2 = dx * dx + dy * dy;
      if (d2 < box.r2) {
        const double k = 1.0 - d2 * box.inv;
        cells[x] += static_cast<float>(box.amplitude * k * k);
      }
      dx -= box.column;
    }
  }
}

std::span<const NamedBlobKernel> BlobKernels() {
  static constexpr NamedBlobKernel kKernels[] = {
    {"plain", AddBlobPlain},
#if defined(__x86_64__)
    {"AVX2", AddBlobAvx2},
    {"AVX-512", AddBlobAvx512},
#endif
  };
  std::size_t runnable = 1;
#if defined(__x86_64__)
  __builtin_cpu_init();  // may run before the constructors of the run-time library
  if (__builtin_cpu_supports("avx2")) {
    runnable = 2;
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
        __builtin_cpu_supports("avx512dq")) {
      runnable = 3;
    }
  }
#endif
  return std::span(kKernels).first(runnable);
}

}  // namespace vorlin
