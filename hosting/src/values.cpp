#include "hosting/values.h"

#include <cmath>
#include <limits>

namespace hosting {

PF_Fixed ToFixed(double v) {
  using Limits = std::numeric_limits<PF_Fixed>;
  const double scaled = std::round(v * 65536);
  if (scaled >= static_cast<double>(Limits::max())) return Limits::max();
  if (scaled <= static_cast<double>(Limits::min())) return Limits::min();
  return scaled == scaled ? static_cast<PF_Fixed>(scaled) : 0;
}

}  // namespace hosting
