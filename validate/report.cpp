#include "report.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <sstream>

namespace validate {
namespace {

constexpr std::uint64_t kFailuresTold = 5;

/// Tabs and line ends part the fields.
std::string Field(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\t' || c == '\n'; }, ' ');
  return text;
}

}  // namespace

void Report::Trying(const std::string& fault) {
  const std::size_t length = std::min(fault.size(), kAtSize - 1);
  std::memcpy(at_, fault.data(), length);
  at_[length] = '\0';
}

void Report::Fail(const std::string& what) {
  if (++failures_ <= kFailuresTold) Tell("fail", at_, what);
}

void Report::Fact(const std::string& key, const std::string& value) { Tell("fact", key, value); }

void Report::Finish() {
  for (const auto& [what, n] : counts_) Tell("count", what, std::to_string(n));
  Tell("failures", "", std::to_string(failures_));
  Tell("end", "", "");
}

void Report::Tell(const char* kind, const std::string& first, const std::string& second) const {
  const std::string line = std::string(kind) + "\t" + Field(first) + "\t" + Field(second) + "\n";
  for (std::size_t done = 0; done < line.size();) {
    const ssize_t n = write(fd_, line.data() + done, line.size() - done);
    if (n <= 0) return;  // the parent is gone
    done += static_cast<std::size_t>(n);
  }
}

Findings ParseFindings(const std::string& text) {
  Findings findings;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    std::string kind, first, second;
    std::getline(fields, kind, '\t');
    std::getline(fields, first, '\t');
    std::getline(fields, second);
    if (kind == "fail") findings.failures.push_back({first, second});
    if (kind == "fact") findings.facts[first] = second;
    if (kind == "count") findings.counts[first] = std::stoull(second);
    if (kind == "failures") findings.failure_count = std::stoull(second);
    if (kind == "end") findings.complete = true;
  }
  return findings;
}

}  // namespace validate
