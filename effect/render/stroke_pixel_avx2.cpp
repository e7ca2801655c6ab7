// A stroke pixel in vectors of AVX2: coordinates in pairs, colours whole, cosines four lights at
// once. Every number is formed by the plain function's operations, in their order.
//
// The next pixel gets going when the last power of this one does, so what counts is the way from
// the field to the powers, and how much waits for them: the colour but for its highlight is made
// before them.
//
// The functions carry their target themselves, so that what this file uses of other headers stays
// code for every processor.

#if defined(__x86_64__)

#include <immintrin.h>

#include <cstring>

#include "render/pixel.h"
#include "render/stroke_pixel.h"

#define VORLIN_AVX2 [[gnu::target("avx2"), gnu::always_inline]] inline

namespace vorlin {
namespace {

VORLIN_AVX2 __m128d Two(double v) { return _mm_set1_pd(v); }
VORLIN_AVX2 __m256d Four(double v) { return _mm256_set1_pd(v); }
/// Two doubles that follow each other.
VORLIN_AVX2 __m128d PairAt(const double& first) { return _mm_loadu_pd(&first); }
/// Alpha, red, green and blue.
VORLIN_AVX2 __m256d ColorAt(const FX_Double_Pixel& color) { return _mm256_loadu_pd(&color.alpha); }
VORLIN_AVX2 __m256d Sum(__m256d a, __m256d b) { return _mm256_add_pd(a, b); }
VORLIN_AVX2 __m256d Product(__m256d a, __m256d b) { return _mm256_mul_pd(a, b); }

// Pixels to and from colours on a 0..1 scale. Storing leaves the pixel's alpha.

VORLIN_AVX2 __m256d Unit(const PF_Pixel* pixel) {
  std::int32_t bytes;
  std::memcpy(&bytes, pixel, sizeof bytes);
  return Product(_mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(bytes))),
                 Four(PixelTraits<PF_Pixel>::kToUnit));
}
VORLIN_AVX2 __m256d Unit(const PF_Pixel16* pixel) {
  const __m128i words = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pixel));
  return Product(_mm256_cvtepi32_pd(_mm_cvtepu16_epi32(words)),
                 Four(PixelTraits<PF_Pixel16>::kToUnit));
}
VORLIN_AVX2 __m256d Unit(const PF_PixelFloat* pixel) {
  return _mm256_cvtps_pd(_mm_loadu_ps(&pixel->alpha));
}

/// Truncated to words of 0..white. The minimum keeps a NaN, the conversion makes it the least
/// integer, and packing makes 0 of all that is negative.
VORLIN_AVX2 __m128i Words(__m256d lit, double white) {
  const __m256d limited = _mm256_min_pd(Four(white), Product(lit, Four(white)));
  const __m128i channels = _mm256_cvttpd_epi32(limited);
  return _mm_packus_epi32(channels, channels);
}
VORLIN_AVX2 void StoreColor(__m256d lit, PF_Pixel* pixel) {
  const A_u_char alpha = pixel->alpha;
  const __m128i words = Words(lit, 255.0);
  const std::int32_t bytes = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
  std::memcpy(pixel, &bytes, sizeof bytes);
  pixel->alpha = alpha;
}
VORLIN_AVX2 void StoreColor(__m256d lit, PF_Pixel16* pixel) {
  const A_u_short alpha = pixel->alpha;
  _mm_storel_epi64(reinterpret_cast<__m128i*>(pixel), Words(lit, PixelTraits<PF_Pixel16>::kWhite));
  pixel->alpha = alpha;
}
VORLIN_AVX2 void StoreColor(__m256d lit, PF_PixelFloat* pixel) {
  const float alpha = pixel->alpha;
  _mm_storeu_ps(&pixel->alpha, _mm256_cvtpd_ps(lit));
  pixel->alpha = alpha;
}

struct Sample {
  PF_SampPB box;
  PF_Fixed x;
  PF_Fixed y;
};

/// The sample of a reflection displaced by offset. False where anything is out of the ordinary: the
/// point outside the layer, the layer too small, or a number that fits no integer, for the
/// conversion makes that the least one.
template <class Pixel>
VORLIN_AVX2 bool Place(const RIPInfo<Pixel>& info, __m128d offset, A_long x, A_long y,
                       Sample& sample) {
  const __m128d to_fixed = PairAt(info.toFixedX);
  const __m128d pixel = _mm_cvtepi32_pd(_mm_insert_epi32(_mm_cvtsi32_si128(x), y, 1));
  const __m128d on_layer =
      _mm_add_pd(_mm_mul_pd(pixel, PairAt(info.toLayerX)), PairAt(info.originX));
  const __m128d point = _mm_add_pd(on_layer, offset);
  __m128d range = PairAt(info.layerMaxX);
  __m128d blur = _mm_setzero_pd();
  __m128i radii = _mm_setzero_si128();
  sample.box = info.samp;
  if (info.highQuality) {
    const __m128d magnitude = _mm_andnot_pd(Two(-0.0), offset);
    blur = _mm_min_pd(_mm_mul_pd(magnitude, Two(kBlurPerOffset)), Two(kMaxBlurRadius));
    radii = _mm_cvttpd_epi32(_mm_add_pd(_mm_mul_pd(blur, to_fixed), Two(kHalfPixelFixed)));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(&sample.box.x_radius), radii);
    const __m128i product = _mm_mul_epi32(radii, _mm_shuffle_epi32(radii, 0x55));
    const std::int64_t quarter = (_mm_cvtsi128_si64(product) + 0x8000) >> 16;
    if (static_cast<std::uint64_t>(quarter) > INT32_MAX / 4) return false;
    sample.box.area = static_cast<PF_Fixed>(quarter) * 4;
    range = _mm_sub_pd(range, _mm_add_pd(blur, blur));
    if (_mm_movemask_pd(_mm_cmp_pd(range, Two(1.0), _CMP_GE_OQ)) != 3) return false;
  }
  const __m128d inside = _mm_and_pd(_mm_cmp_pd(point, _mm_setzero_pd(), _CMP_GE_OQ),
                                    _mm_cmp_pd(point, range, _CMP_LT_OQ));
  const __m128i fixed = _mm_cvttpd_epi32(_mm_mul_pd(_mm_add_pd(blur, point), to_fixed));
  const int negative = _mm_movemask_ps(_mm_castsi128_ps(_mm_unpacklo_epi64(radii, fixed)));
  if (_mm_movemask_pd(inside) != 3 || negative != 0) return false;
  sample.x = _mm_cvtsi128_si32(fixed);
  sample.y = _mm_extract_epi32(fixed, 1);
  return true;
}

/// The cosines of a direction with four rays.
VORLIN_AVX2 __m256d Cosines(const __m256d (&direction)[3], const LightRays& rays, std::size_t i) {
  return Sum(Sum(Product(direction[0], _mm256_loadu_pd(rays.x + i)),
                 Product(direction[1], _mm256_loadu_pd(rays.y + i))),
             Product(direction[2], _mm256_loadu_pd(rays.z + i)));
}

/// The lights as a pixel meets them.
struct LightsHere {
  VORLIN_AVX2 LightsHere(const LightShade& m, const LightRays& r) : model(m), rays(r) {}

  const LightShade& model;
  const LightRays& rays;
  const bool has_cones = !model.HasOnlyDistantLights();  // else every spot factor is 1
  // Set for the model's lights only.
  double facing[LightRays::kCapacity];        // cosines of the normal and each light's ray
  double minus_glance[LightRays::kCapacity];  // the mirrored viewing ray's, negative
};

VORLIN_AVX2 void FindCosines(LightsHere& lights, const FX_D_Point& n) {
  const double k = -2.0 * n.z;
  const __m256d normal[3]{Four(n.x), Four(n.y), Four(n.z)};
  const __m256d mirrored[3]{Four(k * n.x), Four(k * n.y), Four(k * n.z + 1.0)};
  for (std::size_t i = 0; i < lights.model.numLights; i += 4) {
    _mm256_storeu_pd(lights.facing + i, Cosines(normal, lights.rays, i));
    _mm256_storeu_pd(lights.minus_glance + i, Cosines(mirrored, lights.rays, i));
  }
}

VORLIN_AVX2 __m256d Diffuse(const LightsHere& lights) {
  __m256d sum = ColorAt(lights.model.ambientLight);
  for (std::size_t i = 0; i < lights.model.numLights; ++i) {
    const double d = lights.facing[i];
    const __m256d lit = _mm256_cmp_pd(Four(d), _mm256_setzero_pd(), _CMP_GT_OQ);
    const double weight = lights.has_cones ? lights.rays.spot[i] * d : d;
    const __m256d added = Product(Four(weight), ColorAt(lights.model.lights[i].diffuseColor));
    sum = Sum(sum, _mm256_and_pd(lit, added));
  }
  return sum;
}

VORLIN_AVX2 __m256d Specular(const LightsHere& lights) {
  const LightShade& model = lights.model;
  __m256d sum = _mm256_setzero_pd();
  for (std::size_t i = 0; i < model.numLights; ++i) {
    if (!(lights.minus_glance[i] < 0.0)) continue;
    double power = model.inData->utils->ansi.pow(-lights.minus_glance[i], model.smoothness);
    if (lights.has_cones) [[unlikely]]
      power *= lights.rays.spot[i];
    sum = Sum(sum, Product(Four(power), ColorAt(model.lights[i].specularColor)));
  }
  return sum;
}

/// Lights the sample in out. False where a light adds what is no number, perhaps black dust: then
/// out is as it was.
template <class Pixel>
VORLIN_AVX2 bool Light(const RIPInfo<Pixel>& info, const FX_D_Point& normal, A_long x, A_long y,
                       Pixel* out) {
  const LightShade& model = *info.lightShade;
  if (model.IsDusty()) [[unlikely]]
    return false;
  LightRays rays_here;
  const bool distant = model.HasOnlyDistantLights();
  if (!distant) [[unlikely]] {
    const FX_D_Point p = OnLayer(info, x, y);
    if (!model.RaysTo(p.x, p.y, rays_here)) return false;
  }
  LightsHere lights(model, distant ? model.DistantRays() : rays_here);
  FindCosines(lights, normal);
  const __m256d diffuse = Diffuse(lights);
  // The colours' alphas are 0: this one is no number if a weight is infinite, and then black dust
  // is no number either.
  const double alpha = _mm256_cvtsd_f64(diffuse);
  if (alpha != alpha) [[unlikely]]
    return false;

  const __m256d one = Four(1.0);
  const __m256d dust = _mm256_setzero_pd();  // black; it makes 0 of -0
  const __m256d surface = Unit(out);
  const __m256d dull = Sum(Product(surface, diffuse), dust);
  const __m256d tint = Sum(one, Product(_mm256_sub_pd(surface, one), Four(model.metallicity)));
  StoreColor(Sum(dull, Product(tint, Specular(lights))), out);
  return true;
}

}  // namespace

template <class Pixel>
[[gnu::target("avx2")]] PF_Err DrawAvx2(const RIPInfo<Pixel>& info, float here, float left,
                                        float up, A_long x, A_long y, Pixel* out) {
  const double z = here;
  const __m128d neighbours = _mm_cvtps_pd(_mm_unpacklo_ps(_mm_set_ss(left), _mm_set_ss(up)));
  const __m128d gradient = _mm_mul_pd(_mm_sub_pd(neighbours, Two(z)), PairAt(info.slopeX));
  const __m128d squares = _mm_mul_pd(gradient, gradient);
  const double len = info.inData->utils->ansi.sqrt(squares[0] + squares[1] + z * z);
  const double inv = 1.0 / (len + kDivisionFloor);
  const __m128d normal_xy = _mm_mul_pd(gradient, Two(inv));
  const FX_D_Point normal{normal_xy[0], normal_xy[1], z * inv};

  Sample sample;
  if (!Place(info, _mm_mul_pd(normal_xy, Two(info.reflectionScale)), x, y, sample)) [[unlikely]]
    return PlainPixel<Pixel>::DrawFacing(info, {here, left, up}, normal, x, y, out);
  const PF_Err err = info.areaSample(info.effectRef, sample.x, sample.y, &sample.box, out);
  if (!Light(info, normal, x, y, out)) [[unlikely]] {
    PlainPixel<Pixel>::LightSample(info, {here, left, up}, normal, x, y, out);
  } else if (here < 0.0F || left < 0.0F || up < 0.0F) {
    PlainPixel<Pixel>::CoverEdge({here, left, up}, out);
  }
  return err;
}

template PF_Err DrawAvx2(const RIPInfo<PF_Pixel>&, float, float, float, A_long, A_long, PF_Pixel*);
template PF_Err DrawAvx2(const RIPInfo<PF_Pixel16>&, float, float, float, A_long, A_long,
                         PF_Pixel16*);
template PF_Err DrawAvx2(const RIPInfo<PF_PixelFloat>&, float, float, float, A_long, A_long,
                         PF_PixelFloat*);

}  // namespace vorlin

#endif
