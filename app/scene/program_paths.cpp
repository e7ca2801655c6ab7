#include "program_paths.h"

#include <fmt/format.h>

#include <cstdlib>

#include "errors.h"

namespace app {
namespace {

std::filesystem::path Checked(const std::filesystem::path& path) {
  std::error_code ignored;
  if (std::filesystem::is_regular_file(path, ignored)) return path;
  throw FileError(fmt::format("there is no effect \"{}\"", path.string()));
}

}  // namespace

std::filesystem::path ProgramFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

std::filesystem::path FindEffect(const std::filesystem::path& chosen) {
  if (!chosen.empty()) return Checked(chosen);
  const char* environment = std::getenv("VORLIN_EFFECT");
  if (environment != nullptr && *environment != '\0') return Checked(environment);

  const std::filesystem::path folder = ProgramFolder();
  for (const char* place : {"../../effect/vorlin.so", VORLIN_INSTALLED_EFFECT}) {
    std::filesystem::path path = (folder / place).lexically_normal();
    std::error_code ignored;
    if (std::filesystem::is_regular_file(path, ignored)) return path;
  }
  throw FileError(fmt::format(
      "the effect vorlin.so is not installed with \"{}\"; name it with --effect or VORLIN_EFFECT",
      folder.string()));
}

}  // namespace app
