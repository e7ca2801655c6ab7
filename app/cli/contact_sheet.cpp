#include "contact_sheet.h"

#include <algorithm>
#include <cmath>

#include "labels.h"
#include "over.h"

namespace app {
namespace {

/// Pixels around and between pictures.
constexpr int kGap = 8;
constexpr PF_Pixel kGround{255, 26, 26, 28};

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

int SquareColumns(int count) {
  return static_cast<int>(std::ceil(std::sqrt(static_cast<double>(count))));
}

}  // namespace

ContactSheet::ContactSheet(int count, int columns, int width)
    : count_(count),
      columns_(columns > 0 ? std::min(columns, count) : SquareColumns(count)),
      width_(width),
      scale_(std::max(1, width / 160)) {}

int ContactSheet::RowHeight() const { return cell_height_ + (kLetterHeight + 2) * scale_ + kGap; }

void ContactSheet::Begin(int cell_width, int cell_height) {
  cell_width_ = cell_width;
  cell_height_ = cell_height;
  const int rows = (count_ + columns_ - 1) / columns_;
  sheet_ = Ground(columns_ * (cell_width + kGap) + kGap, rows * RowHeight() + kGap);
}

void ContactSheet::Add(const hosting::Picture& picture, const std::string& label) {
  hosting::World reduced = Reduced(picture, width_);
  if (added_ == 0) Begin(reduced.width(), reduced.height());
  hosting::World cell = Ground(cell_width_, cell_height_);
  PutOver(reduced, cell);
  hosting::CopyOverlap(reduced, cell);
  const int left = kGap + added_ % columns_ * (cell_width_ + kGap);
  const int top = kGap + added_ / columns_ * RowHeight();
  cell.SetOrigin(left, top);
  hosting::CopyOverlap(cell, sheet_);
  DrawLabel(sheet_, label, left + cell_width_ / 2, top + cell_height_ + 3 * scale_, scale_);
  ++added_;
}

}  // namespace app
