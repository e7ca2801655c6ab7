#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hosting/time_base.h"

namespace app {

/// "1.25s" or "1.25". Throws InputError.
double ParseSeconds(std::string_view text);

/// One picture to render.
struct Shot {
  int number = 0;   // of its frame
  A_long time = 0;  // of the composition
  std::filesystem::path file;
};

/// Which frames a run renders, as the command line says it.
struct ShotChoice {
  std::string frames;               // as 0-89; empty: all of the scene
  std::string time;                 // as 1.25s: one picture at that time; empty: frames
  std::optional<int> first_number;  // of the scene's first frame; nothing: as its layer has it
  std::string chunk;  // as 3/20: the third of twenty equal parts of the frames; empty: all of them
  std::filesystem::path output;
};

/// The pictures to render, in order; the scene's first frame, of `frames`, has the number `first`.
/// A name without a frame number gets one when there are several
/// frames, the frames of other chunks counting too; a movie is one file. Throws InputError.
std::vector<Shot> ChooseShots(const ShotChoice& choice, bool movie, int frames, int first,
                              const hosting::TimeBase& time);

/// How existing files are dealt with.
enum class Overwrite { kAsk, kAlways, kNever };

/// Returns when the shots' files do not exist or may be replaced; throws FileError when not. Asks
/// on a terminal; without one existing files are left alone.
void CheckOverwriting(const std::vector<Shot>& shots, Overwrite overwrite);

}  // namespace app
