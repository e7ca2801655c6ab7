// The validator: runs the checks on a plug-in and says what they found.
#pragma once

#include <filesystem>
#include <string>

namespace validate {

struct Options {
  std::filesystem::path plugin;
  int level = 2;       // 1..3
  std::string only;    // one check's ID; empty: all of the level
  std::string config;  // one configuration; empty: all of the check
  std::string fault;   // one thing to try; empty: all
  unsigned seed = 1;
  bool json = false;
  std::string program = "vorlin validate";  // how a replay is written
};

/// Prints a line a check, and what failed; returns the exit code: 0 when all checks passed, 4 when
/// one did not, 2 when there is nothing to run.
int RunMain(const Options& options);

}  // namespace validate
