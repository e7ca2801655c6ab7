// Compiled for AVX-512 F, VL and DQ.

#if defined(__x86_64__)

#include <immintrin.h>

#include "render/blob_vectors.h"

namespace vorlin {
namespace {

struct Avx512 {
  using Doubles = __m512d;
  static constexpr int kLanes = 8;

  /// From registers: stored one by one and loaded at once, they would have to wait for memory.
  static Doubles Gathered(const double (&v)[kLanes]) {
    return _mm512_set_pd(v[7], v[6], v[5], v[4], v[3], v[2], v[1], v[0]);
  }
  static Doubles Load(const double* v) { return _mm512_loadu_pd(v); }
  static void Store(double* v, Doubles d) { _mm512_storeu_pd(v, d); }
  static Doubles Broadcast(double v) { return _mm512_set1_pd(v); }
  static Doubles Add(Doubles a, Doubles b) { return _mm512_add_pd(a, b); }
  static Doubles Subtract(Doubles a, Doubles b) { return _mm512_sub_pd(a, b); }
  static Doubles Multiply(Doubles a, Doubles b) { return _mm512_mul_pd(a, b); }

  /// The masked form with a full mask: g++ 12 warns of its own header for the plain one.
  static __m256 Rounded(Doubles v) { return _mm512_maskz_cvtpd_ps(0xFF, v); }

  static void AddWhereLess(float* cells, Doubles low, Doubles high, Doubles r2, Doubles force_low,
                           Doubles force_high) {
    const __mmask16 inside = _mm512_kunpackb(_mm512_cmp_pd_mask(high, r2, _CMP_LT_OQ),
                                             _mm512_cmp_pd_mask(low, r2, _CMP_LT_OQ));
    const __m512 force =
        _mm512_insertf32x8(_mm512_castps256_ps512(Rounded(force_low)), Rounded(force_high), 1);
    _mm512_mask_storeu_ps(cells, inside,
                          _mm512_add_ps(_mm512_maskz_loadu_ps(inside, cells), force));
  }
};

}  // namespace

void AddBlobAvx512(const BlobBox& box) { AddBlob<Avx512>(box); }

}  // namespace vorlin

#endif
