// Suites of the effect interface and the basic suite through which all suites are had.
//
// A suite is a table of functions that belongs to the host. It may be used from its acquisition to
// its release, which names the same suite and version. Unless said otherwise a function is called
// on the thread that runs the command, borrows what it is given, and returns 0 or a code of the
// host's.
#pragma once

#include "pf_params.h"
#include "pf_types.h"

struct PF_InData;

using SPErr = std::int32_t;

struct SPBasicSuite {
  /// Lends the table; on failure returns non-zero or leaves *suite null.
  SPErr (*AcquireSuite)(const char* name, std::int32_t version, const void** suite);
  /// Ends one acquisition; called once for each that succeeded, also after a failed command.
  SPErr (*ReleaseSuite)(const char* name, std::int32_t version);
};

inline constexpr char kPFWorldSuite[] = "PF World Suite";
inline constexpr char kPFParamUtilsSuite[] = "PF Param Utils Suite";
inline constexpr char kPFSampling8Suite[] = "PF Sampling8 Suite";
inline constexpr char kPFSampling16Suite[] = "PF Sampling16 Suite";
inline constexpr char kPFSamplingFloatSuite[] = "PF SamplingFloat Suite";
inline constexpr char kPFIterateFloatSuite[] = "PF iterateFloat Suite";
inline constexpr char kPFColorParamSuite[] = "PF ColorParamSuite";

using PF_NewWorldFlags = A_long;
inline constexpr PF_NewWorldFlags PF_NewWorldFlag_NONE = 0;
inline constexpr PF_NewWorldFlags PF_NewWorldFlag_CLEAR_PIXELS =
    1;                                                              // else the content is undefined
inline constexpr PF_NewWorldFlags PF_NewWorldFlag_DEEP_PIXELS = 2;  // 16-bit, else 8-bit

/// Version 1: worlds of 8 and 16 bits. The host owns the pixels; the effect owns the world from a
/// successful new_world to its one dispose_world.
struct PF_WorldSuite1 {
  PF_Err (*new_world)(PF_ProgPtr effect_ref, A_long width, A_long height, PF_NewWorldFlags flags,
                      PF_EffectWorld* world);
  PF_Err (*dispose_world)(PF_ProgPtr effect_ref, PF_EffectWorld* world);
};

/// Version 2: worlds of any format.
struct PF_WorldSuite2 {
  PF_Err (*PF_NewWorld)(PF_ProgPtr effect_ref, A_long width, A_long height, PF_Boolean clear_pixels,
                        PF_PixelFormat format, PF_EffectWorld* world);
  PF_Err (*PF_DisposeWorld)(PF_ProgPtr effect_ref, PF_EffectWorld* world);
  PF_Err (*PF_GetPixelFormat)(const PF_EffectWorld* world, PF_PixelFormat* format);
};

struct PF_ParamUtilsSuite1 {
  /// Shows the control at index with the record's ui_flags and flags; the record is copied.
  PF_Err (*PF_UpdateParamUI)(PF_ProgPtr effect_ref, A_long index, const PF_ParamDef* def);
};

/// What the samplers need to know. Radii are half the box's sides, 16.16 pixels of src; area is the
/// box's area, 16.16 square pixels.
struct PF_SampPB {
  PF_Fixed x_radius;
  PF_Fixed y_radius;
  PF_Fixed area;
  PF_EffectWorld* src;
};

/// Samplers: (x, y) are 16.16 pixels of params->src, pixel (i, j) covering [i-0.5, i+0.5] x
/// [j-0.5, j+0.5]. The area sampler averages over the box: alpha is its mean with transparent
/// outside the world, colour the alpha-weighted mean. Called from iteration threads, many at once;
/// writes only *dst. A null entry is not offered.
template <class Pixel>
using PF_SampleFunc = PF_Err (*)(PF_ProgPtr effect_ref, PF_Fixed x, PF_Fixed y,
                                 const PF_SampPB* params, Pixel* dst);

template <class Pixel>
struct PF_SamplingSuite {
  PF_SampleFunc<Pixel> nn_sample;
  PF_SampleFunc<Pixel> subpixel_sample;
  PF_SampleFunc<Pixel> area_sample;
};
using PF_Sampling8Suite1 = PF_SamplingSuite<PF_Pixel>;
using PF_Sampling16Suite1 = PF_SamplingSuite<PF_Pixel16>;
using PF_SamplingFloatSuite1 = PF_SamplingSuite<PF_PixelFloat>;

/// Called once for every pixel of an iteration, from any thread, many at once. in is null when the
/// iteration has no source. A non-zero result ends the iteration and becomes its result.
template <class Pixel>
using PF_IteratePixelFunc = PF_Err (*)(void* refcon, A_long x, A_long y, Pixel* in, Pixel* out);

/// Runs the pixel function over area of dst (null: all of it). Reports progress between
/// progress_base and progress_final, and returns the cancel code when the user cancels. An
/// exception of the pixel function is thrown on to the caller after all threads have stopped.
template <class Pixel>
using PF_IterateFunc = PF_Err (*)(PF_InData* in_data, A_long progress_base, A_long progress_final,
                                  PF_EffectWorld* src, const PF_Rect* area, void* refcon,
                                  PF_IteratePixelFunc<Pixel> pix_fn, PF_EffectWorld* dst);

struct PF_iterateFloatSuite1 {
  PF_IterateFunc<PF_PixelFloat> iterate;
};

struct PF_ColorParamSuite1 {
  /// The colour of a checked-out colour control, not rounded to 8 bits.
  PF_Err (*PF_GetFloatingPointColorFromColorDef)(PF_ProgPtr effect_ref,
                                                 const PF_ParamDef* color_def,
                                                 PF_PixelFloat* fp_color);
};
