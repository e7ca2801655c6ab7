// The validator: runs the checks on a plug-in and says what they found.
#pragma once

#include <filesystem>
#include <string>

#include "hosting/errors.h"
#include "pf_effect.h"

namespace validate {

struct Options {
  std::filesystem::path plugin;
  int level = 2;       // 1..3
  std::string only;    // one check's ID; empty: all of the level
  std::string config;  // one configuration; empty: all of the check
  std::string fault;   // one thing to try; empty: all
  unsigned seed = 1;
  bool json = false;
  PF_MainEntry between = nullptr;  // a faulty host's calls, for check "host"; null: the host's own
  std::string program = "vorlin validate";  // how a replay is written
};

/// No check has that ID, or none runs in that configuration.
struct NothingSelected : hosting::Error {
  using Error::Error;
};

/// Prints a line a check, and what failed; returns the exit code: 0 when all checks passed, 4 when
/// one did not. Throws NothingSelected.
int RunMain(const Options& options);

}  // namespace validate
