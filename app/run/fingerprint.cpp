#include "fingerprint.h"

#include <fmt/format.h>

#include "text_file.h"

namespace app {

void Fingerprint::Add(std::string_view text) {
  const auto mix = [this](unsigned char byte) { hash_ = (hash_ ^ byte) * 0x100000001b3; };
  for (const char c : text) mix(static_cast<unsigned char>(c));
  for (std::size_t length = text.size(), i = 0; i < 8; ++i, length >>= 8) {
    mix(static_cast<unsigned char>(length));
  }
}

void Fingerprint::AddFile(const std::filesystem::path& path) { Add(ReadTextFile(path)); }

std::string Fingerprint::Text() const { return fmt::format("{:016x}", hash_); }

}  // namespace app
