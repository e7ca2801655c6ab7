#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace app {

/// The name of a picture, or of each picture of a numbered sequence. In the file's name (not its
/// folder), "####" stands for the frame number with at least as many digits, a lone "#" for four,
/// "@@" for two, "%04d" for four and "%d" for as many as it takes.
class FilePattern {
 public:
  /// Throws InputError when the name holds more than one such mark, or no file name at all.
  explicit FilePattern(const std::filesystem::path& path);

  bool numbered() const { return numbered_; }

  /// The same pattern, or this name with ".####" before its extension when it holds no mark.
  FilePattern Numbered() const;

  std::filesystem::path At(int frame) const;

  /// Numbers of the files that there are, rising.
  std::vector<int> Existing() const;

  /// The pattern as written.
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
  std::string before_;
  std::string after_;
  int digits_ = 0;
  bool numbered_ = false;
};

}  // namespace app
