#include "backdrop.h"

#include <fmt/format.h>

#include <array>
#include <filesystem>

#include "color_text.h"
#include "errors.h"
#include "over.h"
#include "picture_file.h"
#include "suggest.h"

namespace app {
namespace {

/// Pixels of a square's side, and the greys of the two kinds of square.
constexpr int kSquare = 16;
constexpr hosting::Color kDark{0.4, 0.4, 0.4};
constexpr hosting::Color kBright{0.6, 0.6, 0.6};

/// A picture of `color(x, y)`, opaque, that lies under `top`.
template <class F>
hosting::World Painted(const hosting::World& top, F color) {
  std::vector<float> pixels;
  const PF_LRect rect = top.rect();
  for (int y = rect.top; y < rect.bottom; ++y) {
    for (int x = rect.left; x < rect.right; ++x) {
      const hosting::Color c = color(x, y);
      for (const double v : {c.red, c.green, c.blue, 1.0}) pixels.push_back(static_cast<float>(v));
    }
  }
  hosting::World world =
      hosting::Picture(top.width(), top.height(), std::move(pixels)).ToWorld(top.depth());
  world.SetOrigin(rect.left, rect.top);
  return world;
}

bool IsBright(int x, int y) {
  const auto odd = [](int v) { return (v < 0 ? v - kSquare + 1 : v) / kSquare % 2 != 0; };
  return odd(x) == odd(y);
}

}  // namespace

Backdrop::Backdrop(const std::string& text) : text_(text) {
  if (text.empty()) return;
  if (text == "layer") {
    kind_ = OwnLayer{};
  } else if (text == "checker") {
    kind_ = Checker{};
  } else if (const auto color = ParseColor(text)) {
    kind_ = *color;
  } else {
    std::error_code ignored;
    if (!std::filesystem::exists(text, ignored) &&
        std::filesystem::path(text).extension().empty()) {
      throw InputError(
          fmt::format("\"{}\" is neither layer, checker, a colour #rrggbb nor a picture{}", text,
                      DidYouMean(text, std::array<std::string, 2>{"layer", "checker"})));
    }
    kind_ = std::make_shared<const hosting::Picture>(ReadPicture(text));
  }
}

void Backdrop::CheckSize(int width, int height) const {
  const auto* picture = std::get_if<std::shared_ptr<const hosting::Picture>>(&kind_);
  if (picture == nullptr || ((*picture)->width() == width && (*picture)->height() == height))
    return;
  throw InputError(fmt::format("\"{}\" has {} x {} pixels, the scene's layer {} x {}", text_,
                               (*picture)->width(), (*picture)->height(), width, height));
}

void Backdrop::PutUnder(hosting::Frame& frame, const hosting::RenderOptions& options) const {
  hosting::World& top = frame.picture;
  if (top.width() == 0 || top.height() == 0) return;
  if (std::holds_alternative<OwnLayer>(kind_)) {
    if (frame.layer) PutOver(top, *frame.layer);
  } else if (std::holds_alternative<Checker>(kind_)) {
    PutOver(top, Painted(top, [](int x, int y) { return IsBright(x, y) ? kBright : kDark; }));
  } else if (const auto* color = std::get_if<hosting::Color>(&kind_)) {
    PutOver(top, Painted(top, [&](int, int) { return *color; }));
  } else if (const auto* picture = std::get_if<std::shared_ptr<const hosting::Picture>>(&kind_)) {
    PutOver(top, (*picture)->ToWorld(options.depth, options.downsample_x, options.downsample_y));
  }
}

}  // namespace app
