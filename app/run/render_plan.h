#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "backdrop.h"
#include "fingerprint.h"
#include "hosting/effect.h"
#include "hosting/render.h"
#include "movie_format.h"
#include "picture_file.h"
#include "render_request.h"
#include "scene_source.h"
#include "shots.h"

namespace app {

/// Everything about a run that is decided, and judged, before its first frame.
class RenderPlan {
 public:
  /// `arguments` must outlive the plan. Throws Error, and Interrupted.
  explicit RenderPlan(const RenderArguments& arguments);

  const RenderArguments& arguments() const { return arguments_; }
  const hosting::Effect& effect() const { return effect_; }
  const Scene& scene() const { return scene_; }
  const Backdrop& backdrop() const { return backdrop_; }
  /// The frames to render, in order.
  const std::vector<Shot>& shots() const { return shots_; }
  /// Those whose pictures are there and up to date.
  const std::vector<Shot>& skipped() const { return skipped_; }
  /// How frames become pictures; nothing when they become a movie.
  const std::optional<PictureFormat>& format() const { return format_; }
  const std::optional<MovieFormat>& movie() const { return movie_; }
  /// Pixels of a frame.
  int width() const;
  int height() const;

  /// What the user likely does not mean, a line each.
  const std::vector<std::string>& notes() const { return opened_.notes; }

  /// The layer's sound during the shots of a movie, if it is wanted and there is any.
  std::optional<MovieSound> Sound() const;

  /// Of the pictures that are written. Without a number of threads, progress and observer, which
  /// are a process's own.
  hosting::RenderOptions Options() const;
  /// Memory that a process needs to render frames, about.
  std::uint64_t BytesAWorker() const;

  /// The layer's picture in a shot; null when the layer is not there then. Throws FileError.
  std::shared_ptr<const hosting::Picture> Layer(const Shot& shot) const;
  /// What a shot's picture says it was made by: skipping existing pictures relies on it.
  std::string Software(const Shot& shot) const;

 private:
  /// Whether the files that are written have it.
  bool HasAlpha() const;
  /// Of the scene's first frame.
  int FirstNumber() const;
  void TakeNotes();
  void AddCommonFingerprint();
  void LeaveOutWhatIsUpToDate();

  const RenderArguments& arguments_;
  std::filesystem::path effect_file_;
  hosting::Effect effect_;
  OpenedScene opened_;
  const Scene& scene_ = opened_.scene;
  std::optional<PF_LRect> region_;
  std::optional<MovieFormat> movie_;
  std::optional<PictureFormat> format_;
  std::vector<Shot> shots_;
  std::vector<Shot> skipped_;
  Backdrop backdrop_;
  Fingerprint common_;
};

}  // namespace app
