#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "hosting/picture.h"
#include "hosting/world.h"

namespace app {

struct PictureSize {
  int width = 0;
  int height = 0;
  bool operator==(const PictureSize&) const = default;
};

/// From now on pictures are read and written without threads, so that the process can be forked. To
/// be called before anything else here.
void KeepPicturesSingleThreaded();

/// Whether a file of this name is a movie: its extension is that of one, or none that pictures
/// have.
bool IsMovieName(const std::filesystem::path& path);

/// What the file's header says, of the upright picture. Throws FileError.
PictureSize SizeOfPicture(const std::filesystem::path& path);

/// Reads PNG, JPEG, EXR, TIFF and what else the picture library knows. Integers of up to 8 bits
/// stay 8, of 16 bits 16, all else becomes float. Grey and RGB become opaque RGBA; premultiplied
/// colours are divided by their alpha where that is not zero. Turned upright as the file's EXIF
/// data says. No colour conversion. Throws FileError.
hosting::Picture ReadPicture(const std::filesystem::path& path);

/// A picture as its file's bytes.
struct EncodedPicture {
  std::vector<unsigned char> bytes;
  bool clipped = false;            // some colour was darker than black or brighter than white
  bool hidden_color_lost = false;  // some colour was premultiplied by an alpha of zero
};

/// How pictures are written.
struct PictureFormat {
  enum class Kind { kPng, kTiff, kExr, kJpeg, kWebp };

  /// From the name's extension: PNG (8 or 16 bits, straight alpha), TIFF (8, 16 or float,
  /// straight), EXR (half, or float for 32 bits; premultiplied), WebP (8 bits, straight) or JPEG (8
  /// bits, over black). Throws InputError for another extension.
  PictureFormat(const std::filesystem::path& name, hosting::Depth depth);

  /// `software` is written into the field of that name. Throws FileError naming `path`.
  EncodedPicture Encode(const hosting::World& world, const std::string& software,
                        const std::filesystem::path& path) const;

  Kind kind;
  hosting::Depth depth;
  bool premultiplied;        // colours are stored multiplied by their alpha
  bool small = false;        // smaller files for several times the work; lossless either way
  bool one_channel = false;  // only red is written, as the channel "Y"
  bool fleeting = false;     // a JPEG for a moment: smaller, its colours at half the resolution
  bool has_alpha() const { return kind != Kind::kJpeg; }
};

/// Whether integers cannot hold some colour of these rows: darker than black, brighter than white.
bool IsClipped(const hosting::World& world, int first_row, int rows);

/// Stores a picture whole or not at all. Throws FileError.
void StorePicture(const EncodedPicture& picture, const std::filesystem::path& path);

/// Encodes and stores a picture.
void WritePicture(const hosting::World& world, const PictureFormat& format,
                  const std::string& software, const std::filesystem::path& path);

/// What a whole, readable picture says it was written by; empty when it does not say or is neither.
std::string SoftwareOf(const std::filesystem::path& path);

}  // namespace app
