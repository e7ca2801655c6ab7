#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "hosting/picture.h"
#include "hosting/world.h"

namespace cli {

struct PictureSize {
  int width = 0;
  int height = 0;
  bool operator==(const PictureSize&) const = default;
};

/// What the file's header says. Throws FileError.
PictureSize SizeOfPicture(const std::filesystem::path& path);

/// Reads PNG, JPEG, EXR, TIFF and what else the picture library knows. Integers of up to 8 bits
/// stay 8, of 16 bits 16, all else becomes float. Grey and RGB become opaque RGBA; premultiplied
/// colours are divided by their alpha where that is not zero. No colour conversion. Throws
/// FileError.
hosting::Picture ReadPicture(const std::filesystem::path& path);

/// How pictures are written.
class PictureFormat {
 public:
  /// From the name's extension: PNG (8 or 16 bits, straight alpha), TIFF (8, 16 or float, straight)
  /// or EXR (half, or float for 32 bits; premultiplied). Throws InputError for another extension.
  PictureFormat(const std::filesystem::path& name, hosting::Depth depth);

  /// The alpha that is written, whatever the kind of file usually has.
  void SetAlpha(bool premultiplied) { premultiplied_ = premultiplied; }

  /// The file's bytes; `software` is written into its field of that name. Throws FileError naming
  /// `path`.
  std::vector<unsigned char> Encode(const hosting::World& world, const std::string& software,
                                    const std::filesystem::path& path) const;

 private:
  enum class Kind { kPng, kTiff, kExr };

  Kind kind_;
  hosting::Depth depth_;
  bool premultiplied_;
};

/// Encodes and stores a picture whole or not at all. Throws FileError.
void WritePicture(const hosting::World& world, const PictureFormat& format,
                  const std::string& software, const std::filesystem::path& path);

/// What a whole, readable picture says it was written by; empty when it does not say or is neither.
std::string SoftwareOf(const std::filesystem::path& path);

}  // namespace cli
