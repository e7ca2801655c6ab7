#pragma once

#include <string_view>

namespace app {

/// A file of the page, which is part of the program.
struct PageFile {
  std::string_view path;  // as "/style.css"; "/" is the page itself
  std::string_view type;  // its media type
  std::string_view bytes;
};

/// Null when there is none of that path.
const PageFile* FindPageFile(std::string_view path);

}  // namespace app
