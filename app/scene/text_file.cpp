#include "text_file.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include "errors.h"

namespace app {

std::string ReadTextFile(const std::filesystem::path& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) {
    throw FileError(fmt::format("cannot read \"{}\": {}", path.string(), std::strerror(EISDIR)));
  }
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  std::string text;
  if (file) text.assign(std::istreambuf_iterator<char>(file), {});
  if (!file) {
    throw FileError(fmt::format("cannot read \"{}\": {}", path.string(), std::strerror(errno)));
  }
  return text;
}

}  // namespace app
