#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace app {

/// A short text that differs when anything that was added differs: 64 bits. For noticing
/// change, not for keeping out malice.
class Fingerprint {
 public:
  /// "ab" and "c" differ from "a" and "bc".
  void Add(std::string_view text);
  /// The file's size and bytes; of a large file a part of them, spread over all of it, so that long
  /// movies take no longer than pictures. Throws FileError when they cannot be read.
  void AddFile(const std::filesystem::path& path);

  /// 16 hexadecimal digits.
  std::string Text() const;

 private:
  std::uint64_t hash_ = 0;
};

}  // namespace app
