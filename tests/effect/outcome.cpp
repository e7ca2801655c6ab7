// What a command left behind, in words.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>

#include "test_host.h"

namespace testhost {

const char* CallbackName(Callback callback) {
  constexpr const char* kNames[] = {
#define VORLIN_CALLBACK(id, name) name,
      VORLIN_CALLBACKS(VORLIN_CALLBACK)
#undef VORLIN_CALLBACK
  };
  return kNames[static_cast<std::size_t>(callback)];
}

PF_Fixed Track::At(A_long time) const {
  if (time <= start) return first;
  if (time >= end) return last;
  const double part = (double{1.0} * time - start) / (double{1.0} * end - start);
  return static_cast<PF_Fixed>(std::lround(first + part * (double{1.0} * last - first)));
}

std::string Text(const Outcome& outcome, std::size_t call) {
  if (call >= outcome.calls.size()) return "nothing more";
  const Call& c = outcome.calls[call];
  std::string text = CallbackName(c.callback);
  for (std::uint32_t i = 0; i < c.count; ++i) {
    const std::int64_t word = outcome.words[c.first + i];
    char number[64];
    const bool whole = word > -4'000'000'000 && word < 4'000'000'000'000;
    if (whole) {
      std::snprintf(number, sizeof number, " %lld", static_cast<long long>(word));
    } else {
      std::snprintf(number, sizeof number, " %.17g", std::bit_cast<double>(word));
    }
    text += number;
  }
  return text;
}

std::string FirstDifference(const Outcome& effect, const Outcome& reference) {
  if (!effect.escaped.empty()) return effect.escaped;
  if (!effect.ownership.empty()) return effect.ownership;
  if (effect.input_touched) return "the input's pixels were changed";
  const auto same_call = [&](std::size_t i) {
    const Call &a = effect.calls[i], &b = reference.calls[i];
    return a.callback == b.callback && a.count == b.count &&
           std::equal(effect.words.begin() + a.first, effect.words.begin() + a.first + a.count,
                      reference.words.begin() + b.first);
  };
  const std::size_t common = std::min(effect.calls.size(), reference.calls.size());
  std::size_t i = 0;
  while (i < common && same_call(i)) ++i;
  if (i < effect.calls.size() || i < reference.calls.size()) {
    return "call " + std::to_string(i) + (i > 0 ? ", after " + Text(effect, i - 1) : "") +
           "\n  effect:    " + Text(effect, i) + "\n  reference: " + Text(reference, i);
  }
  if (effect.code != reference.code) {
    return "result " + std::to_string(effect.code) + ", not " + std::to_string(reference.code);
  }
  const auto first_byte = [](const auto& a, const auto& b) {
    return std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first - a.begin();
  };
  if (effect.output != reference.output) {
    return "the output differs at byte " +
           std::to_string(first_byte(effect.output, reference.output));
  }
  if (effect.records != reference.records) {
    return "the records differ at byte " +
           std::to_string(first_byte(effect.records, reference.records));
  }
  return {};
}

}  // namespace testhost
