#pragma once

#include <memory>

#include "hosting/picture.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libswscale/swscale.h>
}

namespace app {

/// Turns decoded frames into straight RGBA of full range.
class FrameConverter {
 public:
  /// `stated` is the matrix that the container states, for frames that do not say theirs.
  FrameConverter(int width, int height, AVColorSpace stated)
      : width_(width), height_(height), stated_(stated) {}

  /// Throws hosting::Error when the frame's kind cannot be converted.
  hosting::Picture Convert(const AVFrame& frame);

 private:
  AVColorSpace MatrixOf(const AVFrame& frame) const;
  template <class Channel>
  std::vector<Channel> Scaled(const AVFrame& frame, AVPixelFormat to);

  struct Free {
    void operator()(SwsContext* context) const { sws_freeContext(context); }
  };

  int width_;
  int height_;
  AVColorSpace stated_;
  std::unique_ptr<SwsContext, Free> scaler_;
};

}  // namespace app
