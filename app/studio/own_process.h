#pragma once

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

namespace app {

/// Starts this program again, by exec, with these words after its name. The first of each pair of
/// descriptors is the second in the new process. With `own_group` the terminal's Ctrl-C does not
/// reach it. Throws FileError.
pid_t StartOwnProgram(std::vector<std::string> words,
                      const std::vector<std::pair<int, int>>& descriptors, bool own_group);

}  // namespace app
