#pragma once

#include <filesystem>
#include <string>

namespace cli {

struct SheetArguments {
  std::filesystem::path pictures;  // a pattern
  std::filesystem::path output;
  std::string frames;  // empty: all that there are
  int columns = 0;     // 0: about as many as rows
  int width = 240;     // of one picture on the sheet, pixels
};

/// Puts numbered pictures, reduced, side by side into one. Throws Error.
void RunSheet(const SheetArguments& arguments);

}  // namespace cli
