#include "sheet_command.h"

#include <fmt/format.h>
#include <stdlib.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <functional>

#include "errors.h"
#include "file_pattern.h"
#include "frame_range.h"
#include "labels.h"
#include "layer_source.h"
#include "output_file.h"
#include "over.h"
#include "picture_file.h"
#include "program_paths.h"

namespace app {
namespace {

/// Pixels around and between pictures.
constexpr int kGap = 8;
constexpr PF_Pixel kGround{255, 26, 26, 28};

/// Numbered pictures and what is written below each.
struct Strip {
  FilePattern pattern;
  std::vector<int> numbers;
  std::function<std::string(int number)> label;
};

hosting::World Reduced(const hosting::Picture& picture, int width) {
  const hosting::Rational factor =
      width < picture.width() ? hosting::Rational(width, picture.width()) : hosting::Rational();
  return picture.ToWorld(hosting::Depth::k8, factor, factor);
}

hosting::World Ground(int width, int height) {
  hosting::World world(width, height, hosting::Depth::k8);
  for (int y = 0; y < height; ++y) std::fill_n(world.Row<PF_Pixel>(y), width, kGround);
  return world;
}

/// The first picture's size is every cell's.
hosting::World Draw(const Strip& strip, const SheetArguments& arguments) {
  const auto count = static_cast<int>(strip.numbers.size());
  const int columns = arguments.columns > 0
                          ? std::min(arguments.columns, count)
                          : static_cast<int>(std::ceil(std::sqrt(static_cast<double>(count))));
  const int rows = (count + columns - 1) / columns;
  const int scale = std::max(1, arguments.width / 160);
  const int label_height = (kLetterHeight + 2) * scale;
  hosting::World sheet;
  int width = 0;
  int height = 0;
  for (int i = 0; i < count; ++i) {
    const int number = strip.numbers[static_cast<std::size_t>(i)];
    hosting::World picture = Reduced(ReadPicture(strip.pattern.At(number)), arguments.width);
    if (i == 0) {
      width = picture.width();
      height = picture.height();
      sheet = Ground(columns * (width + kGap) + kGap, rows * (height + label_height + kGap) + kGap);
    }
    hosting::World cell = Ground(width, height);
    PutOver(picture, cell);
    hosting::CopyOverlap(picture, cell);
    const int left = kGap + i % columns * (width + kGap);
    const int top = kGap + i / columns * (height + label_height + kGap);
    cell.SetOrigin(left, top);
    hosting::CopyOverlap(cell, sheet);
    DrawLabel(sheet, strip.label(number), left + width / 2, top + height + 3 * scale, scale);
  }
  return sheet;
}

void WriteSheet(const Strip& strip, const SheetArguments& arguments) {
  const PictureFormat format(arguments.output, hosting::Depth::k8);
  WritePicture(Draw(strip, arguments), format, {}, arguments.output);
}

void SheetOfPictures(const SheetArguments& arguments) {
  Strip strip{FilePattern(arguments.source), {}, [](int n) { return std::to_string(n); }};
  strip.numbers =
      arguments.frames.empty() ? strip.pattern.Existing() : ParseFrames(arguments.frames);
  if (strip.numbers.empty()) {
    throw FileError(fmt::format("there is no picture \"{}\"", arguments.source.string()));
  }
  WriteSheet(strip, arguments);
}

/// A folder that goes away with this object.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "vorlin_sheet_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
      throw FileError(fmt::format("cannot make the folder \"{}\": {}", name, std::strerror(errno)));
    }
    path_ = name;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

void SheetOfScene(const SheetArguments& arguments) {
  RenderArguments render = arguments.render;
  const ScratchFolder folder;
  render.scene = arguments.source;
  render.shots.frames = arguments.frames;
  render.shots.output = folder.path() / "####.png";
  RunRender(render);

  const hosting::Effect effect(FindEffect(render.effect));
  const hosting::TimeBase time =
      ReadScene(render.scene, effect, OpenLayer, render.changes).setup.time;
  Strip strip{FilePattern(render.shots.output), {}, [&](int number) {
                return fmt::format("{}  {:.2f} s", number, number / time.frame_rate().value());
              }};
  strip.numbers =
      arguments.frames.empty() ? strip.pattern.Existing() : ParseFrames(arguments.frames);
  WriteSheet(strip, arguments);
}

}  // namespace

void RunSheet(const SheetArguments& arguments) {
  CheckOverwriting({{0, 0, arguments.output}}, arguments.overwrite);
  {
    // Said before the frames are rendered: a kind that is not written, a place that cannot be.
    const PictureFormat format(arguments.output, hosting::Depth::k8);
    const OutputFile probe(arguments.output);
  }
  arguments.source.extension() == ".json" ? SheetOfScene(arguments) : SheetOfPictures(arguments);
}

}  // namespace app
