#include "checks.h"

namespace validate {

std::span<const Check> AllChecks() {
  static constexpr Check kChecks[]{
      {"exports", "the library exports MainEntry and nothing else", 1, Axes::kOnce, 5,
       CheckExports},
      {"identity", "version, flags and about text; flags are added, not assigned", 1, Axes::kOnce,
       5, CheckIdentity},
      {"controls", "identifier, type and name of all 28 controls are those of saved work", 1,
       Axes::kOnce, 5, CheckControls},
      {"unknown", "a command that is not answered does nothing", 1, Axes::kOnce, 5,
       CheckUnknownCommands},
      {"prerender", "result rectangles for requests inside, outside, inverted and huge", 1,
       Axes::kOnce, 5, CheckPreRender},
      {"supervision", "controls are greyed as the popups say, the host's records left alone", 1,
       Axes::kOnce, 5, CheckSupervision},
      {"reload", "1000 times loaded and unloaded without leaving anything open", 1, Axes::kOnce, 20,
       CheckReload},
      {"host", "the host itself keeps its word, as an effect sees it", 1, Axes::kOnce, 10,
       CheckHost},
      {"books", "all is given back in order; input, padding and all but the stroke untouched", 1,
       Axes::kAll, 5, CheckBooks},
      {"worlds", "null worlds, no pixels, empty request, unknown format", 1, Axes::kAll, 5,
       CheckSmartWorlds},
      {"cancel", "every report of progress cancels, or throws", 1, Axes::kAll, 10, SweepProgress},
      {"faults", "every call of every command fails or throws", 2, Axes::kAll, 120, SweepFaults},
      {"suites", "every suite missing, without table, without one of its functions", 2, Axes::kAll,
       20, CheckSuites},
      {"memory", "every allocation of the effect fails, once and from then on", 2, Axes::kAll, 20,
       SweepAllocations},
      {"orders", "any order of pixels and number of threads gives the same bytes", 2, Axes::kAll,
       30, CheckOrders},
      {"repeats", "after other frames and failed ones a frame is the same", 2, Axes::kAll, 30,
       CheckRepeats},
      {"fresh", "the first frame of a process is the same", 2, Axes::kAll, 10, CheckFresh},
      {"regions", "the field of a part is that part of the whole field", 2, Axes::kSmart, 30,
       CheckRegions},
      {"values", "controls at their limits and beyond, and at the extremes of 16.16", 2, Axes::kAll,
       60, CheckControlValues},
      {"times", "times, steps and scales of 0, -1 and the integer limits", 2, Axes::kAll, 60,
       CheckTimes},
      {"scales", "down-sampling and pixel aspect of 0, negative and the integer limits", 2,
       Axes::kAll, 60, CheckScales},
      {"sizes", "tiny, thin and 30000-wide layers; padded, unpadded and upward rows", 2, Axes::kAll,
       60, CheckSizes},
      {"pixels", "float pixels that are infinite, no numbers, immense or subnormal", 2,
       Axes::kFloat, 20, CheckFloatPixels},
      {"pairs", "two calls of a frame fail or throw, drawn by lot", 3, Axes::kAll, 600, SweepPairs},
      {"sequences", "after random commands with random faults a frame is the same", 3, Axes::kAll,
       600, CheckSequences},
      {"mixes", "controls, times and scales at their extremes together, drawn by lot", 3,
       Axes::kAll, 600, CheckMixes},
  };
  return kChecks;
}

}  // namespace validate
