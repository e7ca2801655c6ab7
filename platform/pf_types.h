// Scalar types, pixels, rectangles, times and result codes of the host interface.
#pragma once

#include <cstdint>

using A_char = char;
using A_u_char = std::uint8_t;
using A_short = std::int16_t;
using A_u_short = std::uint16_t;
using A_long = std::int32_t;
using A_u_long = std::uint32_t;
using A_FpShort = float;
using A_FpLong = double;
using A_Boolean = std::uint8_t;

using PF_Boolean = A_Boolean;
using PF_FpShort = float;
using PF_FpLong = double;

/// 16.16 fixed point: value / 65536.
using PF_Fixed = std::int32_t;

/// Result of a command or a callback; 0 is success. A host may return codes of its own.
using PF_Err = std::int32_t;
inline constexpr PF_Err PF_Err_NONE = 0;
inline constexpr PF_Err PF_Err_OUT_OF_MEMORY = 4;
inline constexpr PF_Err PF_Err_BAD_CALLBACK_PARAM = 516;
/// What a host answers when the user has cancelled.
inline constexpr PF_Err PF_Interrupt_CANCEL = 517;

/// The host's handle of one applied effect; opaque to the effect.
using PF_ProgPtr = struct PF_OpaqueProgress*;

/// Half-open: covers left <= x < right, top <= y < bottom. Empty when left >= right or top >=
/// bottom.
struct PF_LRect {
  A_long left;
  A_long top;
  A_long right;
  A_long bottom;
};
using PF_Rect = PF_LRect;

/// seconds = value / scale.
struct A_Time {
  A_long value;
  A_u_long scale;
};

/// num / den.
struct PF_RationalScale {
  A_long num;
  A_u_long den;
};

/// Straight alpha; white is 255.
struct PF_Pixel {
  A_u_char alpha;
  A_u_char red;
  A_u_char green;
  A_u_char blue;
};

/// Straight alpha; white is 32768, not 65535.
struct PF_Pixel16 {
  A_u_short alpha;
  A_u_short red;
  A_u_short green;
  A_u_short blue;
};

/// Straight alpha; white is 1.0; never clamped.
struct PF_PixelFloat {
  PF_FpShort alpha;
  PF_FpShort red;
  PF_FpShort green;
  PF_FpShort blue;
};

/// Four-character codes; the bytes, lowest first, spell the name.
using PF_PixelFormat = std::int32_t;
inline constexpr PF_PixelFormat PF_PixelFormat_ARGB32 = 0x62677261;   // "argb": PF_Pixel
inline constexpr PF_PixelFormat PF_PixelFormat_ARGB64 = 0x36316561;   // "ae16": PF_Pixel16
inline constexpr PF_PixelFormat PF_PixelFormat_ARGB128 = 0x32336561;  // "ae32": PF_PixelFloat
inline constexpr PF_PixelFormat PF_PixelFormat_INVALID = 0x66646162;  // "badf"

using PF_WorldFlags = A_long;
inline constexpr PF_WorldFlags PF_WorldFlag_DEEP = 0x1;  // 16-bit pixels

/// An image lent by the host. Row y starts at data + y * rowbytes bytes; rowbytes may be larger
/// than the pixels of a row, and negative for a world stored bottom up. Pixel (0, 0) of the world
/// is pixel (origin_x, origin_y) of the layer, in buffer pixels.
struct PF_LayerDef {
  PF_WorldFlags world_flags;
  PF_Pixel* data;  // the pixels, whatever their depth
  A_long rowbytes;
  A_long width;
  A_long height;
  A_long origin_x;
  A_long origin_y;
};
using PF_EffectWorld = PF_LayerDef;

/// Product of two 16.16 numbers, rounded to nearest; what does not fit becomes the nearest that
/// does.
inline constexpr PF_Fixed FixMul(PF_Fixed a, PF_Fixed b) {
  const std::int64_t product = (static_cast<std::int64_t>(a) * b + 0x8000) >> 16;
  if (product > INT32_MAX) return INT32_MAX;
  if (product < INT32_MIN) return INT32_MIN;
  return static_cast<PF_Fixed>(product);
}
