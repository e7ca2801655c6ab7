// An effect under the validator's hands: loaded, interposed, with a renderer of one setup.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "config.h"
#include "hosting/effect.h"
#include "hosting/render.h"
#include "interposer.h"

namespace validate {

/// How one command, or the commands of one frame, ended.
struct Outcome {
  PF_Err code = 0;
  std::string breach;  // of the interface's rules; empty when they were kept
};

class Bench {
 public:
  explicit Bench(const std::filesystem::path& plugin, const Config& config);

  const Config& config() const { return config_; }
  const hosting::Effect& effect() const { return effect_; }
  /// Where the plug-in itself begins.
  PF_MainEntry plugin_entry() const { return plugin_.entry(); }
  Interposer& interposer() { return interposer_; }
  const Interposer::Seen& seen() const { return interposer_.seen; }

  /// Told of every call while it is not empty.
  hosting::Observer observer;
  /// Asked at every report of progress in a pass while it is not empty.
  hosting::Progress progress;

  /// The options of every renderer: guarded worlds, one thread.
  hosting::RenderOptions Options();
  /// Gives the setup and options to a new renderer; StrokeSetup and Options() to begin with.
  void Use(hosting::Setup setup, hosting::RenderOptions options);
  const hosting::Setup& setup() const { return renderer_->setup(); }

  /// The frame of StrokeSetup that shows its stroke.
  Outcome Render() { return RenderAt(kStrokeFrame); }
  Outcome RenderAt(int frame);
  /// Anything that gives the effect a command.
  Outcome Run(const std::function<void()>& command) const;

 private:
  Config config_;
  hosting::Effect plugin_;
  Interposer interposer_;
  hosting::Effect effect_;  // the plug-in through the interposer
  std::optional<hosting::Renderer> renderer_;
};

/// A short digest of a picture.
std::string Digest(const std::string& bytes);

}  // namespace validate
