// Values over time.
//
// Between two keys the change makes progress from 0 to 1 along a cubic Bezier curve over the time
// between them, both measured as fractions. Each key bends the curve on its own sides with a
// handle: linear handles give a straight line, smooth handles on both ends the smoothstep 3t^2 -
// 2t^3.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "hosting/errors.h"
#include "hosting/motion_path.h"
#include "hosting/values.h"

namespace hosting {

/// Where the curve's control point lies, away from the key: a fraction (0..1) of the time to the
/// neighbouring key, and a fraction of the change (any number; beyond 0..1 overshoots).
struct Handle {
  double time = 1.0 / 3;
  double progress = 1.0 / 3;
  bool operator==(const Handle&) const = default;
};
inline constexpr Handle kLinear{};
inline constexpr Handle kSmooth{1.0 / 3, 0};

/// Progress at the fraction t (0..1) of the time between two keys.
double EasedProgress(const Handle& out, const Handle& in, double t);

template <class Value>
struct Key {
  double seconds = 0;
  Value value{};
  bool hold = false;  // the value stays until the next key
  Handle in = kLinear;
  Handle out = kLinear;
  // Points only: where the motion path heads, relative to the key. Between keys with tangents the
  // point travels along the path by its length.
  Point in_tangent{};
  Point out_tangent{};
};

/// A constant, or keys in order of time. The first and the last key hold outside their times.
template <class Value>
class Track {
 public:
  Track() : Track(Value{}) {}
  Track(Value constant) : keys_{{.seconds = 0, .value = constant}} {}
  /// Throws Error unless there is a key and times rise strictly, numbers are finite and handle
  /// times lie in 0..1.
  explicit Track(std::vector<Key<Value>> keys);

  Value At(double seconds) const;
  bool constant() const { return keys_.size() == 1; }
  const std::vector<Key<Value>>& keys() const { return keys_; }

 private:
  std::size_t After(double seconds) const;

  std::vector<Key<Value>> keys_;
  // For points, the path from each key to the next; null where it is straight.
  std::vector<std::shared_ptr<const MotionPath>> paths_;
};

template <class Value>
Track<Value>::Track(std::vector<Key<Value>> keys) : keys_(std::move(keys)) {
  if (keys_.empty()) throw Error("a track of keys needs at least one key");
  const auto valid = [](const Handle& h) {
    return h.time >= 0 && h.time <= 1 && std::isfinite(h.progress);
  };
  for (std::size_t i = 0; i < keys_.size(); ++i) {
    const Key<Value>& key = keys_[i];
    if (!std::isfinite(key.seconds)) throw Error("a key's time is not a finite number");
    if (i > 0 && !(keys_[i - 1].seconds < key.seconds)) {
      throw Error("keys must rise in time: " + std::to_string(key.seconds) + " s follows " +
                  std::to_string(keys_[i - 1].seconds) + " s");
    }
    if (!valid(key.in) || !valid(key.out)) {
      throw Error("a key's handle must lie within 0 to 1 of the time to its neighbour");
    }
  }
  if constexpr (std::is_same_v<Value, Point>) {
    for (std::size_t i = 0; i + 1 < keys_.size(); ++i) {
      paths_.push_back(MotionPath::Between(keys_[i].value, keys_[i].out_tangent,
                                           keys_[i + 1].in_tangent, keys_[i + 1].value));
    }
  }
}

/// The first key after a time, or as many as there are keys. Keys of a recorded brush are evenly
/// spaced, one a frame, and found where they must be; others are searched for.
template <class Value>
std::size_t Track<Value>::After(double seconds) const {
  const std::size_t last = keys_.size() - 1;
  const double first_time = keys_.front().seconds;
  const double last_time = keys_.back().seconds;
  const double share = (seconds - first_time) / (last_time - first_time);
  if (share >= 0 && share <= 1) {
    const auto near = static_cast<std::size_t>(share * static_cast<double>(last));
    for (std::size_t i = std::max<std::size_t>(near, 1); i <= std::min(near + 2, last); ++i) {
      if (keys_[i - 1].seconds <= seconds && seconds < keys_[i].seconds) return i;
    }
  }
  const auto after =
      std::upper_bound(keys_.begin(), keys_.end(), seconds,
                       [](double t, const Key<Value>& key) { return t < key.seconds; });
  return static_cast<std::size_t>(after - keys_.begin());
}

template <class Value>
Value Track<Value>::At(double seconds) const {
  const std::size_t after = After(seconds);
  if (after == 0) return keys_.front().value;
  const Key<Value>& from = keys_[after - 1];
  if (after == keys_.size() || from.hold) return from.value;
  const Key<Value>& to = keys_[after];
  const double t = (seconds - from.seconds) / (to.seconds - from.seconds);
  const double progress = EasedProgress(from.out, to.in, t);
  if constexpr (std::is_same_v<Value, Point>) {
    const auto& path = paths_[after - 1];
    if (path) return path->At(progress);
  }
  return Blend(from.value, to.value, progress);
}

}  // namespace hosting
