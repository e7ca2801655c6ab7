#include "render/time_info.h"

#include "host/safe_cast.h"

namespace vorlin {
namespace {

/// a x b modulo 2^32, as two's complement.
std::int32_t WrappingProduct(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

}  // namespace

FX_TimeInfo FX_CopyTime(const PF_InData* in_data) {
  FX_TimeInfo info{};
  info.currentTime = in_data->current_time;
  info.timeScale = in_data->time_scale;
  info.localTimeStep = in_data->local_time_step;
  info.timeStep = in_data->time_step;

  info.shutter = in_data->shutter_angle / 65536.0;
  if (info.shutter == 0.0) info.shutter = 1.0;
  info.shutter *= static_cast<double>(info.timeStep) / static_cast<double>(info.localTimeStep);

  const double frames =
      static_cast<double>(info.currentTime) / static_cast<double>(info.localTimeStep);
  const std::int32_t whole = WrappingProduct(TruncTo<std::int32_t>(frames), info.localTimeStep);
  if (info.localTimeStep != info.timeStep || info.currentTime != whole) {
    info.frameTime = whole;
    info.frameOffset = info.currentTime - whole;
    info.frameFraction =
        static_cast<double>(info.frameOffset) / static_cast<double>(info.localTimeStep);
  } else {
    info.frameTime = info.currentTime;
  }
  return info;
}

}  // namespace vorlin
