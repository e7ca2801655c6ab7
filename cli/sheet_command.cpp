#include "sheet_command.h"

#include <fmt/format.h>

#include <cmath>

#include "errors.h"
#include "file_pattern.h"
#include "frame_range.h"
#include "picture_file.h"

namespace cli {
namespace {

/// Pixels between pictures, transparent.
constexpr int kGap = 4;

hosting::World Reduced(const hosting::Picture& picture, int width) {
  const hosting::Rational factor =
      width < picture.width() ? hosting::Rational(width, picture.width()) : hosting::Rational();
  return picture.ToWorld(hosting::Depth::k8, factor, factor);
}

}  // namespace

void RunSheet(const SheetArguments& arguments) {
  const FilePattern pattern(arguments.pictures);
  const PictureFormat format(arguments.output, hosting::Depth::k8);
  const std::vector<int> numbers =
      arguments.frames.empty() ? pattern.Existing() : ParseFrames(arguments.frames);
  if (numbers.empty()) {
    throw FileError(fmt::format("there is no picture \"{}\"", pattern.path().string()));
  }
  const auto count = static_cast<int>(numbers.size());
  const int columns = arguments.columns > 0
                          ? std::min(arguments.columns, count)
                          : static_cast<int>(std::ceil(std::sqrt(static_cast<double>(count))));
  const int rows = (count + columns - 1) / columns;

  hosting::World sheet;
  for (int i = 0; i < count; ++i) {
    const hosting::Picture picture = ReadPicture(pattern.At(numbers[static_cast<std::size_t>(i)]));
    hosting::World cell = Reduced(picture, arguments.width);
    if (i == 0) {
      sheet = hosting::World(columns * (cell.width() + kGap) - kGap,
                             rows * (cell.height() + kGap) - kGap, hosting::Depth::k8);
      sheet.Clear();
    }
    // The first picture's size is every cell's; a larger one reaches under the next.
    const int cell_width = (sheet.width() + kGap) / columns;
    const int cell_height = (sheet.height() + kGap) / rows;
    cell.SetOrigin(i % columns * cell_width, i / columns * cell_height);
    hosting::CopyOverlap(cell, sheet);
  }
  WritePicture(sheet, format, {}, arguments.output);
}

}  // namespace cli
