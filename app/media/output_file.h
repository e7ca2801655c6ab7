#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string_view>

namespace app {

/// Removes hidden files in a folder that processes of this machine, killed since, left there.
void ClearLeftovers(const std::filesystem::path& folder);

/// A file that appears under its name only when it is complete. Until then it is a hidden file
/// beside it, which goes away with this object.
class OutputFile {
 public:
  /// Throws FileError when the file cannot be made, or a folder has its name.
  explicit OutputFile(std::filesystem::path path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// Both throw FileError when the bytes cannot be stored.
  void Write(std::span<const std::byte> bytes);
  void Write(std::string_view text) { Write(std::as_bytes(std::span(text))); }

  /// What the file is called until then, for others to write it.
  const std::filesystem::path& hidden() const { return hidden_; }

  /// Stores what was written for good and gives it its name. Throws FileError.
  void Commit();

 private:
  [[noreturn]] void Fail(int error) const;

  std::filesystem::path path_;
  std::filesystem::path hidden_;
  int descriptor_ = -1;
};

}  // namespace app
