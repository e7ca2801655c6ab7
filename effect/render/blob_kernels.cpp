#include "render/blob_kernels.h"

namespace vorlin {

void AddBlobPlain(const BlobStrip& strip) {
  for (int y = strip.first_row; y <= strip.last_row; ++y) {
    float* const cells = strip.Row(y);
    const double dy2 = strip.SquaredRowDistance(y);
    for (int x = 0; x < strip.columns; ++x) {
      const double d2 = strip.dx2[x] + dy2;
      if (d2 < strip.r2) {
        const double k = 1.0 - d2 * strip.inv;
        cells[x] += static_cast<float>(strip.amplitude * k * k);
      }
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
