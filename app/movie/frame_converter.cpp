#include "frame_converter.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "hosting/errors.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace app {
namespace {

/// Lines from which on a movie that does not say so is taken for HD.
constexpr int kHdLines = 720;

bool IsFullRange(const AVFrame& frame) {
  switch (frame.format) {
    case AV_PIX_FMT_YUVJ411P:
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ440P:
    case AV_PIX_FMT_YUVJ444P:
      return true;
    default:
      return frame.color_range == AVCOL_RANGE_JPEG;
  }
}

/// What the library's 16 bits lack to their white: 65283 from Y'CbCr and grey, the top bits alone
/// from others and for alpha.
void StretchToWhite(std::vector<std::uint16_t>& pixels, const AVPixFmtDescriptor& kind) {
  const bool rgb = (kind.flags & AV_PIX_FMT_FLAG_RGB) != 0;
  const int depth = kind.comp[0].depth;
  const auto repeat = [depth](std::uint16_t v) {
    return static_cast<std::uint16_t>(depth < 16 ? v | (v >> depth) : v);
  };
  const auto stretch = [](std::uint16_t v) {
    return static_cast<std::uint16_t>(std::min(65535, v + (v >> 8)));
  };
  for (std::size_t i = 0; i < pixels.size(); i += 4) {
    for (std::size_t c = i; c < i + 3; ++c)
      pixels[c] = rgb ? repeat(pixels[c]) : stretch(pixels[c]);
    pixels[i + 3] = repeat(pixels[i + 3]);
  }
}

}  // namespace

AVColorSpace FrameConverter::MatrixOf(const AVFrame& frame) const {
  if (frame.colorspace != AVCOL_SPC_UNSPECIFIED) return frame.colorspace;
  if (stated_ != AVCOL_SPC_UNSPECIFIED) return stated_;
  return frame.height >= kHdLines ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
}

template <class Channel>
std::vector<Channel> FrameConverter::Scaled(const AVFrame& frame, AVPixelFormat to) {
  scaler_.reset(sws_getCachedContext(
      scaler_.release(), frame.width, frame.height, static_cast<AVPixelFormat>(frame.format),
      width_, height_, to,
      SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP, nullptr, nullptr,
      nullptr));
  if (!scaler_) throw hosting::Error("its kind of pixels is not known");
  const int* matrix = sws_getCoefficients(MatrixOf(frame));
  constexpr int kOne = 1 << 16;
  sws_setColorspaceDetails(scaler_.get(), matrix, IsFullRange(frame) ? 1 : 0, matrix, 1, 0, kOne,
                           kOne);
  std::vector<Channel> pixels(4 * static_cast<std::size_t>(width_) *
                              static_cast<std::size_t>(height_));
  std::uint8_t* rows[4] = {reinterpret_cast<std::uint8_t*>(pixels.data())};
  const int strides[4] = {width_ * 4 * static_cast<int>(sizeof(Channel))};
  sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, rows, strides);
  return pixels;
}

hosting::Picture FrameConverter::Convert(const AVFrame& frame) {
  const AVPixFmtDescriptor* kind = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
  if (kind == nullptr) throw hosting::Error("its kind of pixels is not known");
  if (kind->comp[0].depth <= 8) {
    return {width_, height_, Scaled<std::uint8_t>(frame, AV_PIX_FMT_RGBA)};
  }
  auto pixels = Scaled<std::uint16_t>(frame, AV_PIX_FMT_RGBA64LE);
  StretchToWhite(pixels, *kind);
  return {width_, height_, std::move(pixels)};
}

}  // namespace app
