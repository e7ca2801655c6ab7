// The checks: each a name, a line, and a function that runs in a child process of its own.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "config.h"
#include "pf_effect.h"
#include "report.h"

namespace validate {

/// What a check is given.
struct Case {
  std::filesystem::path plugin;
  Config config;
  std::string fault;  // to be tried alone; empty: all
  unsigned seed = 1;
  PF_MainEntry between = nullptr;  // what a test puts between the host and its probe
  Report& report;

  /// Whether to try that fault; if so, it is what is being tried from now on.
  bool Tries(const std::string& text) const {
    if (!fault.empty() && fault != text) return false;
    report.Trying(text);
    report.Count("runs");
    return true;
  }
};

/// Which configurations a check is run on.
enum class Axes { kOnce, kAll, kSmart, kFloat };

struct Check {
  const char* id;
  const char* line;
  int level;  // the lowest that it belongs to
  Axes axes;
  int seconds;  // the time limit of each of its processes
  void (*run)(const Case&);
};

std::span<const Check> AllChecks();

// The checks' functions, by file.
void CheckExports(const Case&);  // basics.cpp
void CheckIdentity(const Case&);
void CheckControls(const Case&);
void CheckUnknownCommands(const Case&);
void CheckPreRender(const Case&);
void CheckSupervision(const Case&);
void CheckReload(const Case&);
void CheckBooks(const Case&);
void CheckHost(const Case&);    // host.cpp
void SweepFaults(const Case&);  // sweep.cpp
void SweepPairs(const Case&);
void SweepProgress(const Case&);
void SweepAllocations(const Case&);
void CheckSuites(const Case&);  // suites.cpp
void CheckOrders(const Case&);  // determinism.cpp
void CheckRepeats(const Case&);
void CheckSequences(const Case&);
void CheckRegions(const Case&);
void CheckFresh(const Case&);
void CheckControlValues(const Case&);  // hostile.cpp
void CheckMixes(const Case&);
void CheckTimes(const Case&);
void CheckScales(const Case&);
void CheckSizes(const Case&);
void CheckSmartWorlds(const Case&);
void CheckFloatPixels(const Case&);

}  // namespace validate
