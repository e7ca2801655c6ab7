#pragma once

#include <filesystem>
#include <string>

#include "hosting/render.h"
#include "movie_format.h"
#include "render_progress.h"
#include "scene_source.h"
#include "shots.h"

namespace app {

/// What a run is asked to do.
struct RenderArguments {
  SceneSource scene;
  SceneChanges changes;
  ShotChoice shots;
  Overwrite overwrite = Overwrite::kAsk;
  bool skip_existing = false;  // leave alone what is up to date, replace what is not
  bool keep_going = false;     // a frame that fails does not end the run
  hosting::Depth depth = hosting::Depth::k8;
  bool field = false;        // the relief itself instead of the picture
  bool small_files = false;  // pack pictures tighter and slower
  std::string alpha;         // "straight", "premultiplied"; empty: as the kind of file has it
  std::string over;          // a Backdrop; empty: nothing, and the layer where there is no alpha
  std::string region;        // as 10,20,300,200: left, top, width, height in pixels; empty: all
  hosting::Rational downsample;  // pixels written for each of the layer's
  int supersample = 1;           // pixels rendered for each that is written, in x and in y
  std::filesystem::path effect;  // empty: the one that belongs to this program
  int jobs = 0;                  // processes; 0: as many as are of use
  int threads = 0;               // in each of them; 0: as many as are left
  bool classic = false;
  bool fine_sampling = true;
  std::string codec;  // of a movie; empty: the usual one of its kind of file
  MovieQuality quality = MovieQuality::kHigh;
  bool sound = true;            // the layer's, in a movie
  std::filesystem::path trace;  // empty: none
  ProgressStyle progress = ProgressStyle::kAuto;
  bool json = false;        // results as JSON on standard output
  bool statistics = false;  // and what it took
};

}  // namespace app
