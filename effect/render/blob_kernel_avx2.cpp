// Compiled for AVX2.

#if defined(__x86_64__)

#include <immintrin.h>

#include "render/blob_vectors.h"

namespace vorlin {
namespace {

struct Avx2 {
  using Doubles = __m256d;
  static constexpr int kLanes = 4;

  /// From registers: stored one by one and loaded at once, they would have to wait for memory.
  static Doubles Gathered(const double (&v)[kLanes]) {
    return _mm256_set_pd(v[3], v[2], v[1], v[0]);
  }
  static Doubles Load(const double* v) { return _mm256_loadu_pd(v); }
  static void Store(double* v, Doubles d) { _mm256_storeu_pd(v, d); }
  static Doubles Broadcast(double v) { return _mm256_set1_pd(v); }
  static Doubles Add(Doubles a, Doubles b) { return _mm256_add_pd(a, b); }
  static Doubles Subtract(Doubles a, Doubles b) { return _mm256_sub_pd(a, b); }
  static Doubles Multiply(Doubles a, Doubles b) { return _mm256_mul_pd(a, b); }

  static void AddWhereLess(float* cells, Doubles low, Doubles high, Doubles r2, Doubles force_low,
                           Doubles force_high) {
    const __m256 in_low = _mm256_castpd_ps(_mm256_cmp_pd(low, r2, _CMP_LT_OQ));
    const __m256 in_high = _mm256_castpd_ps(_mm256_cmp_pd(high, r2, _CMP_LT_OQ));
    // Every second half of the two masks; the shuffle works within 128 bits, the permutation undoes
    // that.
    const __m256 shuffled = _mm256_shuffle_ps(in_low, in_high, 0x88);
    const __m256i mask = _mm256_permute4x64_epi64(_mm256_castps_si256(shuffled), 0xD8);
    const __m256 force = _mm256_insertf128_ps(_mm256_castps128_ps256(_mm256_cvtpd_ps(force_low)),
                                              _mm256_cvtpd_ps(force_high), 1);
    if (_mm256_movemask_ps(_mm256_castsi256_ps(mask)) == 0xFF) {
      _mm256_storeu_ps(cells, _mm256_add_ps(_mm256_loadu_ps(cells), force));
    } else {
      _mm256_maskstore_ps(cells, mask, _mm256_add_ps(_mm256_maskload_ps(cells, mask), force));
    }
  }
};

}  // namespace

void AddBlobAvx2(const BlobBox& box) { AddBlob<Avx2>(box); }

}  // namespace vorlin

#endif
