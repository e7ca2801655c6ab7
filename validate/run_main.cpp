#include "run_main.h"

#include <chrono>
#include <cstdio>
#include <map>
#include <vector>

#include "checks.h"
#include "child.h"
#include "hosting/errors.h"

namespace validate {
namespace {

constexpr int kExitFailed = 4;

struct Failed {
  Job job;
  Status status;
  Failure failure;
};

/// Of one check, over its configurations.
struct Tally {
  std::map<Status, int> processes;
  std::map<std::string, std::uint64_t> counts;
  double seconds = 0;  // of all processes, one after the other

  bool passed() const { return processes.size() == 1 && processes.contains(Status::kPass); }
};

bool Belongs(const Config& config, Axes axes) {
  switch (axes) {
    case Axes::kSmart:
      return config.smart;
    case Axes::kFloat:
      return config.depth == hosting::Depth::k32;
    default:
      return true;
  }
}

std::string WhyNothing(const Options& options) {
  std::string ids;
  bool known = options.only.empty();
  for (const Check& check : AllChecks()) {
    known = known || options.only == check.id;
    ids += std::string(" ") + check.id;
  }
  if (!known) return "there is no check \"" + options.only + "\"; the checks are" + ids;
  return "no check is made in the configuration \"" + options.config + "\", as it would be in \"" +
         Config{}.Text() + "\"";
}

std::vector<Job> Selected(const Options& options) {
  std::vector<Job> jobs;
  for (const Check& check : AllChecks()) {
    if (options.only.empty() ? check.level > options.level : options.only != check.id) continue;
    if (check.axes == Axes::kOnce) {
      if (options.config.empty() || options.config == "-") jobs.push_back({&check, {}, "-"});
      continue;
    }
    for (const Config& config : AllConfigs()) {
      const std::string text = config.Text();
      if (!Belongs(config, check.axes)) continue;
      if (options.config.empty() || options.config == text) jobs.push_back({&check, config, text});
    }
  }
  if (jobs.empty()) throw NothingSelected(WhyNothing(options));
  return jobs;
}

std::string Replay(const Options& options, const Failed& failed) {
  std::string line = options.program + " --only " + failed.job.check->id;
  if (failed.job.config_text != "-") line += " --config " + failed.job.config_text;
  if (!failed.failure.fault.empty()) line += " --fault '" + failed.failure.fault + "'";
  if (options.seed != 1) line += " --seed " + std::to_string(options.seed);
  return line + " " + options.plugin.string();
}

std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
  }
  return quoted + "\"";
}

class Session {
 public:
  explicit Session(const Options& options) : options_(options), jobs_(Selected(options)) {}

  int Run() {
    const auto start = std::chrono::steady_clock::now();
    RunJobs(
        jobs_,
        [&](std::size_t i, Report& report) {
          jobs_[i].check->run({options_.plugin, jobs_[i].config, options_.fault, options_.seed,
                               options_.between, report});
        },
        [&](std::size_t i, const Result& result) { Note(jobs_[i], result); });
    seconds_ = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (options_.json) {
      PrintJson();
    } else {
      Print();
    }
    return failed_.empty() ? 0 : kExitFailed;
  }

 private:
  void Note(const Job& job, const Result& result) {
    Tally& tally = tallies_[job.check];
    Status status = result.status;
    for (const auto& [key, value] : result.findings.facts) {
      const auto [at, first] = facts_.emplace(key, value);
      if (first || at->second == value) continue;
      failed_.push_back(
          {job,
           Status::kFail,
           {"", key + " is " + value + " here, " + at->second + " in another process"}});
      if (status == Status::kPass) status = Status::kFail;
    }
    ++tally.processes[status];
    tally.seconds += result.seconds;
    for (const auto& [what, n] : result.findings.counts) tally.counts[what] += n;
    for (const Failure& failure : result.findings.failures) {
      failed_.push_back({job, Status::kFail, failure});
    }
    if (result.status == Status::kCrash || result.status == Status::kTimeOut) {
      failed_.push_back({job, result.status, {result.at, result.ending}});
    } else if (result.status == Status::kSkip) {
      failed_.push_back({job, result.status, {"", "nothing was tried"}});
    }
  }

  void Print() const {
    for (const Check& check : AllChecks()) {
      const auto at = tallies_.find(&check);
      if (at == tallies_.end()) continue;
      const Tally& tally = at->second;
      std::printf("%-4s  %-12s %s\n", tally.passed() ? "pass" : "FAIL", check.id, check.line);
      std::string counts;
      for (const auto& [what, n] : tally.counts) counts += std::to_string(n) + " " + what + ", ";
      std::printf("      %s%.1f s in %zu processes\n", counts.c_str(), tally.seconds,
                  Processes(tally));
    }
    for (const Failed& failed : failed_) {
      std::printf("%s: %s, %s, %s, seed %u: %s\n    replay: %s\n", Name(failed.status),
                  failed.job.check->id, failed.job.config_text.c_str(),
                  failed.failure.fault.empty() ? "no fault" : failed.failure.fault.c_str(),
                  options_.seed, failed.failure.what.c_str(), Replay(options_, failed).c_str());
    }
    std::map<std::string, std::uint64_t> totals;
    for (const auto& [check, tally] : tallies_) {
      for (const auto& [what, n] : tally.counts) totals[what] += n;
    }
    std::printf("%zu checks, %llu runs", tallies_.size(),
                static_cast<unsigned long long>(totals["runs"]));
    std::printf(", %zu failures, %.1f s\n", failed_.size(), seconds_);
  }

  void PrintJson() const {
    std::printf("{\"plugin\":%s,\"seed\":%u,\"seconds\":%.3f,\"checks\":[",
                Quoted(options_.plugin.string()).c_str(), options_.seed, seconds_);
    const char* comma = "";
    for (const auto& [check, tally] : tallies_) {
      std::printf("%s{\"id\":%s,\"line\":%s,\"passed\":%s,\"processes\":%zu,\"seconds\":%.3f",
                  comma, Quoted(check->id).c_str(), Quoted(check->line).c_str(),
                  tally.passed() ? "true" : "false", Processes(tally), tally.seconds);
      for (const auto& [what, n] : tally.counts) {
        std::printf(",%s:%llu", Quoted(what).c_str(), static_cast<unsigned long long>(n));
      }
      std::printf("}");
      comma = ",";
    }
    std::printf("],\"failures\":[");
    comma = "";
    for (const Failed& failed : failed_) {
      std::printf(
          "%s{\"check\":%s,\"status\":%s,\"config\":%s,\"fault\":%s,\"what\":%s,\"replay\":%s}",
          comma, Quoted(failed.job.check->id).c_str(), Quoted(Name(failed.status)).c_str(),
          Quoted(failed.job.config_text).c_str(), Quoted(failed.failure.fault).c_str(),
          Quoted(failed.failure.what).c_str(), Quoted(Replay(options_, failed)).c_str());
      comma = ",";
    }
    std::printf("]}\n");
  }

  static std::size_t Processes(const Tally& tally) {
    int count = 0;
    for (const auto& [status, n] : tally.processes) count += n;
    return static_cast<std::size_t>(count);
  }

  const Options& options_;
  std::vector<Job> jobs_;
  std::map<const Check*, Tally> tallies_;
  std::map<std::string, std::string> facts_;
  std::vector<Failed> failed_;
  double seconds_ = 0;
};

}  // namespace

int RunMain(const Options& options) { return Session(options).Run(); }

}  // namespace validate
