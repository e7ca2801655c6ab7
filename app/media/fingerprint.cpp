#include "fingerprint.h"

#include <OpenImageIO/hash.h>
#include <fmt/format.h>

#include "files.h"

namespace app {

// What came before is the seed of what follows.
void Fingerprint::Add(std::string_view text) {
  hash_ = OIIO::xxhash::XXH64(text.data(), text.size(), hash_);
}

void Fingerprint::AddFile(const std::filesystem::path& path) { Add(ReadTextFile(path)); }

std::string Fingerprint::Text() const { return fmt::format("{:016x}", hash_); }

}  // namespace app
