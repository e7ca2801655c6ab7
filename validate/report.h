// What a check found, as its child process tells it to the parent.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace validate {

struct Failure {
  std::string fault;  // what to replay; may be empty
  std::string what;
};

struct Findings {
  std::map<std::string, std::uint64_t> counts;  // "runs" says that something was checked at all
  std::vector<Failure> failures;
  std::uint64_t failure_count = 0;           // failures holds the first few
  std::map<std::string, std::string> facts;  // that must be the same wherever they are told
  bool complete = false;                     // the child came to its end
};

/// The child's end.
class Report {
 public:
  /// Writes to the file descriptor. at: shared memory that says what is being tried, for the case
  /// that the process dies; of kAtSize bytes.
  Report(int fd, char* at) : fd_(fd), at_(at) {}

  static constexpr std::size_t kAtSize = 256;

  /// Says what is about to be tried.
  void Trying(const std::string& fault);
  void Count(const std::string& what, std::uint64_t n = 1) { counts_[what] += n; }
  /// Of what is being tried.
  void Fail(const std::string& what);
  /// Fails unless the condition holds.
  void Expect(bool condition, const std::string& what) {
    if (!condition) Fail(what);
  }
  void Fact(const std::string& key, const std::string& value);
  /// Tells the counts; to be called at the end.
  void Finish();

 private:
  void Tell(const char* kind, const std::string& first, const std::string& second) const;

  int fd_;
  char* at_;
  std::map<std::string, std::uint64_t> counts_;
  std::uint64_t failures_ = 0;
};

/// Reads what a Report wrote; what is cut off is left out.
Findings ParseFindings(const std::string& text);

}  // namespace validate
