// Watches the calls of one run, puts a fault into one of them, and works out what must come of it.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "fault.h"
#include "hosting/calls.h"
#include "hosting/world.h"

namespace validate {

class Injector {
 public:
  /// depth is the output's.
  explicit Injector(hosting::Depth depth, std::vector<Fault> faults = {})
      : depth_(depth), faults_(std::move(faults)) {}

  /// What the observer answers, or throws.
  PF_Err Observe(const hosting::Call& call);

  /// In order.
  const std::vector<hosting::CallKind>& calls() const { return calls_; }
  /// Of the call that the fault befell.
  bool struck() const { return struck_; }
  /// How far the render had come when its result was decided, or at the end.
  bool output_filled() const { return output_filled_; }
  bool pass_reached() const { return pass_reached_; }
  /// Whether the picture must be that of a run without faults, should the run succeed.
  bool harmless() const { return harmless_; }

  /// What is wrong with the code that the run ended with; empty when it is as it must be.
  std::string Judge(PF_Err code) const;
  /// The first call after the result was decided that is no clean-up; empty when there is none.
  const std::string& late_call() const { return late_call_; }

 private:
  const Fault* FaultAt(std::uint64_t ordinal) const;
  PF_Err Strike(const hosting::Call& call, Injection injection);
  std::optional<PF_Err> CodeOfFailure(const hosting::Call& call);
  void Decide(const hosting::Call& call, PF_Err code, bool thrown);
  bool MayFollow(const hosting::Call& call) const;

  hosting::Depth depth_;
  std::vector<Fault> faults_;
  std::vector<hosting::CallKind> calls_;
  bool struck_ = false;
  bool harmless_ = true;
  bool output_filled_ = false;
  bool pass_reached_ = false;
  std::optional<PF_Err> decided_;     // the run must end with this
  std::optional<PF_Err> eventually_;  // or, undecided, with this, but not at once
  std::vector<PF_Err> may_;           // or as well with one of these
  hosting::CallKind decided_by_{};
  bool decided_by_throw_ = false;
  std::string late_call_;
};

}  // namespace validate
