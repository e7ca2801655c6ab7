// The (suite name, version) pairs that the effect family knows, in the order of their release.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace vorlin {

struct SuitePair {
  const char* name;
  std::int32_t version;
};

inline constexpr SuitePair kSuitePairs[] = {
    {"AEGP Marker Suite", 1},
    {"AEGP Layer Suite", 8},
    {"AEGP Layer Suite", 10},
    {"AEGP Stream Suite", 8},
    {"AEGP Stream Suite", 7},
    {"AEGP Stream Suite", 4},
    {"AEGP Dynamic Stream Suite", 2},
    {"AEGP Dynamic Stream Suite", 3},
    {"AEGP Keyframe Suite", 4},
    {"AEGP Keyframe Suite", 3},
    {"AEGP Keyframe Suite", 1},
    {"AEGP Comp Suite", 9},
    {"AEGP Comp Suite", 11},
    {"AEGP Comp Suite", 14},
    {"AEGP Proj Suite", 2},
    {"AEGP Proj Suite", 5},
    {"AEGP Canvas Suite", 10},
    {"AEGP Canvas Suite", 11},
    {"AEGP Camera Suite", 2},
    {"AEGP Register Suite", 2},
    {"AEGP Item Suite", 11},
    {"AEGP Item Suite", 10},
    {"AEGP Item Suite", 7},
    {"AEGP Item Suite", 3},
    {"AEGP PF Interface Suite", 1},
    {"PF Path Query Suite", 1},
    {"AEGP Memory Suite", 1},
    {"PF Path Data Suite", 1},
    {"PF Param Utils Suite", 1},
    {"PF AE App Suite", 2},
    {"PF AE App Suite", 5},
    {"PF AE Adv App Suite", 2},
    {"AEGP Light Suite", 1},
    {"AEGP Light Suite", 2},
    {"AEGP Effect Suite", 1},
    {"AEGP Effect Suite", 2},
    {"AEGP Effect Suite", 3},
    {"AEGP Layer Mask Suite", 5},
    {"AEGP Mask Outline Suite", 3},
    {"AEGP Footage Suite", 7},
    {"AEGP Command Suite", 1},
    {"AEGP Utility Suite", 7},
    {"AEGP Render Suite", 1},
    {"AEGP Render Suite", 2},
    {"PF ANSI Suite", 1},
    {"PF Handle Suite", 1},
    {"PF Fill Matte Suite", 1},
    {"PF World Transform Suite", 1},
    {"AEGP QueryXform Suite", 4},
    {"AEGP Composite Suite", 2},
    {"PF World Suite", 1},
    {"AEGP IO In Suite", 1},
    {"AEGP IO Out Suite", 1},
    {"AEGP IO Out Suite", 6},
    {"AEGP Persistent Data Suite", 1},
    {"AEGP Render Queue Suite", 1},
    {"AEGP Render Queue Item Suite", 3},
    {"AEGP Output Module Suite", 1},
    {"AEGP Output Module Suite", 2},
    {"AEGP File Import Manager Suite", 2},
    {"PF Sampling8 Suite", 1},
    {"PF Sampling16 Suite", 1},
    {"PF Iterate8 Suite", 1},
    {"PF iterate16 Suite", 1},
    {"PF iterateFloat Suite", 1},
    {"AEGP Collection Suite", 2},
    {"AEGP Text Document Suite", 1},
    {"AEGP Sound Data Suite", 1},
    {"AEGP Text Layer Suite", 1},
    {"AEGP Artisan Util Suite", 1},
    {"AEGP World Suite", 2},
    {"AEGP Render Options Suite", 1},
    {"AEGP Tracker Suite", 1},
    {"AEGP Tracker Utility Suite", 1},
    {"AE Plugin Helper Suite2", 2},
    {"AEGP Layer Suite", 11},
    {"PF AE Adv Item Suite", 1},
    {"AEGP Layer Suite", 5},
    {"AEGP Layer Mask Suite", 2},
    {"AEGP Comp Suite", 4},
    {"AEGP Collection Suite", 1},
    {"AEGP Register Suite", 1},
    {"AEGP Mask Outline Suite", 2},
    {"PF AE Adv App Suite", 1},
    {"AEGP Utility Suite", 3},
    {"AEGP Render Options Suite", 2},
    {"AEGP Proj Suite", 7},
    {"AEGP Footage Suite", 10},
    {"AEGP Render Queue Item Suite", 4},
    {"AEGP Utility Suite", 10},
    {"PF Color Settings Suite", 3},
    {"PF Color Settings Suite", 1},
    {"PF ColorParamSuite", 1},
    {"PF SamplingFloat Suite", 1},
    {"AEGP Utility Suite", 11},
    {"PF Effect UI Suite", 1},
    {"PF World Suite", 2},
    {"AEGP Keyframe Suite", 2},
};
inline constexpr std::size_t kSuitePairCount = std::size(kSuitePairs);
static_assert(kSuitePairCount == 98);

/// Position of a pair in the table; a pair that is not listed does not compile.
consteval std::size_t SuiteSlot(std::string_view name, std::int32_t version) {
  std::size_t slot = 0;
  while (kSuitePairs[slot].name != name || kSuitePairs[slot].version != version) ++slot;
  return slot;
}

}  // namespace vorlin
