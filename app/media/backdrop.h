#pragma once

#include <memory>
#include <string>
#include <variant>

#include "hosting/picture.h"
#include "hosting/render.h"

namespace app {

/// What the stroke is put over.
class Backdrop {
 public:
  /// "layer" (the scene's own), "#rrggbb", "checker", or a picture's file; empty: nothing. Throws
  /// FileError when the picture cannot be read.
  explicit Backdrop(const std::string& text);

  /// Throws InputError unless a picture has the layer's size.
  void CheckSize(int width, int height) const;

  /// Puts the frame's stroke over it.
  void PutUnder(hosting::Frame& frame, const hosting::RenderOptions& options) const;

 private:
  struct Nothing {};
  struct OwnLayer {};
  struct Checker {};

  std::string text_;
  std::variant<Nothing, OwnLayer, Checker, hosting::Color, std::shared_ptr<const hosting::Picture>>
      kind_;
};

}  // namespace app
