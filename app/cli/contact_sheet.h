#pragma once

#include <string>

#include "hosting/picture.h"
#include "hosting/world.h"

namespace app {

/// Pictures, reduced, side by side in rows, each with a text below.
class ContactSheet {
 public:
  /// For `count` pictures of `width` pixels on the sheet, or fewer when they are smaller; at most
  /// `columns` in a row, 0 for about as many as rows.
  ContactSheet(int count, int columns, int width);

  /// The first picture's shape is every cell's. To be called `count` times.
  void Add(const hosting::Picture& picture, const std::string& label);

  /// The sheet, of 8 bits, once all are added.
  const hosting::World& world() const { return sheet_; }

 private:
  void Begin(int cell_width, int cell_height);
  int RowHeight() const;

  int count_;
  int columns_;
  int width_;  // of a picture, at most
  int scale_;  // of letters
  int added_ = 0;
  int cell_width_ = 0;
  int cell_height_ = 0;
  hosting::World sheet_;
};

}  // namespace app
