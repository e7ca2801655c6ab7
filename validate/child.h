// Checks in processes of their own, which may crash or hang.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "checks.h"
#include "report.h"

namespace validate {

enum class Status { kPass, kFail, kSkip, kCrash, kTimeOut };

/// As "time-out".
const char* Name(Status status);

struct Job {
  const Check* check;
  Config config;
  std::string config_text;  // "-" for a check that is run once
};

struct Result {
  Status status = Status::kCrash;
  Findings findings;
  std::string at;      // what was being tried when the process died
  std::string ending;  // as "signal 11"
  double seconds = 0;
};

/// Runs work(i, report) for each job, a few at a time, and tells done(i, result) in the order in
/// which they end. A process that outlives its check's limit is killed, with all it started.
void RunJobs(const std::vector<Job>& jobs, const std::function<void(std::size_t, Report&)>& work,
             const std::function<void(std::size_t, const Result&)>& done);

}  // namespace validate
