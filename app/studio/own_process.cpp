#include "own_process.h"

#include <fmt/format.h>
#include <spawn.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "errors.h"

extern char** environ;

namespace app {

pid_t StartOwnProgram(std::vector<std::string> words,
                      const std::vector<std::pair<int, int>>& descriptors, bool own_group) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe");
  words.insert(words.begin(), "vorlin");
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (const auto& [from, to] : descriptors) posix_spawn_file_actions_adddup2(&actions, from, to);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  if (own_group) posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  pid_t process = 0;
  const int failed =
      posix_spawn(&process, program.c_str(), &actions, &attributes, arguments.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (failed != 0)
    throw FileError(fmt::format("cannot start a process: {}", std::strerror(failed)));
  return process;
}

}  // namespace app
