#pragma once

#include <string>
#include <vector>

#include "command_tree.h"

namespace app {

/// The manual page, section 1, in roff with the man macros.
std::string ManPage(const std::vector<CommandInfo>& commands, const std::string& version);

}  // namespace app
