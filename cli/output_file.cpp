#include "output_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "errors.h"

namespace cli {

OutputFile::OutputFile(std::filesystem::path path) : path_(std::move(path)) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path_, ignored)) Fail(EISDIR);
  hidden_ = path_.parent_path() / fmt::format(".{}.{}.part", path_.filename().string(), getpid());
  descriptor_ = open(hidden_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (descriptor_ < 0) Fail(errno);
}

OutputFile::~OutputFile() {
  if (descriptor_ >= 0) close(descriptor_);
  if (!hidden_.empty()) unlink(hidden_.c_str());
}

void OutputFile::Write(std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      Fail(errno);
    }
  }
}

void OutputFile::Commit() {
  if (fsync(descriptor_) != 0) Fail(errno);
  if (close(std::exchange(descriptor_, -1)) != 0) Fail(errno);
  if (rename(hidden_.c_str(), path_.c_str()) != 0) Fail(errno);
  hidden_.clear();
}

void OutputFile::Fail(int error) const {
  throw FileError(fmt::format("cannot write \"{}\": {}", path_.string(), std::strerror(error)));
}

}  // namespace cli
