#include "fingerprint.h"

#include <OpenImageIO/hash.h>
#include <fmt/format.h>

#include <algorithm>
#include <fstream>

#include "errors.h"

namespace app {

// What came before is the seed of what follows.
void Fingerprint::Add(std::string_view text) {
  hash_ = OIIO::xxhash::XXH64(text.data(), text.size(), hash_);
}

void Fingerprint::AddFile(const std::filesystem::path& path) {
  constexpr std::uint64_t kBlock = 1 << 20;
  constexpr std::uint64_t kMostBlocks = 64;
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  const auto size = static_cast<std::uint64_t>(std::max<std::streamoff>(0, file.tellg()));
  Add(std::to_string(size));
  const std::uint64_t blocks = std::min(kMostBlocks, (size + kBlock - 1) / kBlock);
  std::string block;
  for (std::uint64_t i = 0; i < blocks; ++i) {
    // The last block ends with the file.
    const std::uint64_t at = blocks > 1 ? (size - kBlock) * i / (blocks - 1) : 0;
    block.resize(std::min(kBlock, size));
    file.seekg(static_cast<std::streamoff>(at));
    file.read(block.data(), static_cast<std::streamsize>(block.size()));
    Add(block);
  }
  if (!file) throw FileError(fmt::format("cannot read \"{}\"", path.string()));
}

std::string Fingerprint::Text() const { return fmt::format("{:016x}", hash_); }

}  // namespace app
