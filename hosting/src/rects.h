// Rectangles of pixels, half open.
#pragma once

#include <algorithm>

#include "pf_types.h"

namespace hosting {

inline bool IsEmpty(const PF_LRect& r) { return r.left >= r.right || r.top >= r.bottom; }

/// What lies in both; all zero where that is nothing.
inline PF_LRect Intersection(const PF_LRect& a, const PF_LRect& b) {
  const PF_LRect r{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                   std::min(a.bottom, b.bottom)};
  return IsEmpty(r) ? PF_LRect{} : r;
}

inline bool Inside(const PF_LRect& r, const PF_LRect& bounds) {
  return IsEmpty(r) || (r.left >= bounds.left && r.right <= bounds.right && r.top >= bounds.top &&
                        r.bottom <= bounds.bottom);
}

}  // namespace hosting
