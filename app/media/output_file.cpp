#include "output_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "errors.h"

namespace app {
namespace {

constexpr std::string_view kSuffix = ".part";

/// What hidden files of this machine have before their process: others' processes cannot be looked
/// up.
std::string MachineMark() {
  char name[256] = {};
  gethostname(name, sizeof name - 1);
  return fmt::format(".{}-", name);
}

/// The process in a hidden file's name; 0 when it is not one of ours.
pid_t ProcessOf(std::string_view name, std::string_view mark) {
  if (!name.starts_with('.') || !name.ends_with(kSuffix)) return 0;
  name.remove_suffix(kSuffix.size());
  const std::size_t at = name.rfind(mark);
  if (at == name.npos) return 0;
  name.remove_prefix(at + mark.size());
  pid_t process = 0;
  const char* end = name.data() + name.size();
  return std::from_chars(name.data(), end, process).ptr == end && process > 0 ? process : 0;
}

/// A process that has ended may stay in the table until it is waited for.
bool HasEnded(pid_t process) {
  if (kill(process, 0) != 0) return errno == ESRCH;
  std::string stat;
  std::getline(std::ifstream(fmt::format("/proc/{}/stat", process)), stat);
  return stat.find(") Z ") != stat.npos;
}

}  // namespace

void ClearLeftovers(const std::filesystem::path& folder) {
  const std::string mark = MachineMark();
  std::error_code ignored;
  std::vector<std::filesystem::path> leftovers;
  for (const auto& entry :
       std::filesystem::directory_iterator(folder.empty() ? "." : folder, ignored)) {
    const pid_t process = ProcessOf(entry.path().filename().string(), mark);
    if (process != 0 && HasEnded(process)) leftovers.push_back(entry.path());
  }
  for (const auto& leftover : leftovers) std::filesystem::remove(leftover, ignored);
}

OutputFile::OutputFile(std::filesystem::path path) : path_(std::move(path)) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path_, ignored)) Fail(EISDIR);
  hidden_ = path_.parent_path() /
            fmt::format(".{}{}{}{}", path_.filename().string(), MachineMark(), getpid(), kSuffix);
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

}  // namespace app
