#include "entry_running.h"

#include <algorithm>
#include <new>
#include <string>

#include "invariant.h"

namespace fuzz {
namespace {

constexpr PF_Err kEnough = 4713;  // thrown by a host that has been asked too often
constexpr int kMostQuestions = 400;

struct Foreign {};  // of no type that the effect could know

bool GivesBack(CallKind call) {
  return call == CallKind::kReleaseSuite || call == CallKind::kCheckinParam ||
         call == CallKind::kDisposeWorld;
}

/// Whether a failure of the call is the command's result.
bool IsReturned(CallKind call) {
  switch (call) {
    case CallKind::kAddParam:
    case CallKind::kProgress:
    case CallKind::kFill:
    case CallKind::kIterate:
    case CallKind::kCheckoutLayer:
    case CallKind::kCheckoutPixels:
    case CallKind::kCheckoutOutput:
    case CallKind::kNewWorld:
    case CallKind::kSample:
    case CallKind::kUpdateParamUI:
      return true;
    default:
      return false;
  }
}

}  // namespace

Running* Running::now = nullptr;

Running::Running(const Plan& of, const Command& what)
    : plan(of),
      command(what),
      input(of.input, of.channel_bytes),
      output(of.output, of.channel_bytes) {
  Paint(input, plan.pixels);
  Paint(output, plan.pixels + 1);
  now = this;
}

PF_Err Running::Arrive(CallKind call, bool matters) {
  if (decided_ && swallowed_.empty() && !GivesBack(call)) {
    // A pixel is shaded also when its sample failed.
    const bool shading = decided_by_ == CallKind::kSample && call == CallKind::kArithmetic;
    Require(shading, "a call after the result was decided");
  }
  const bool question = call == CallKind::kCheckoutParam || call == CallKind::kComposition;
  if (question && ++questions_ > kMostQuestions) {
    Decide(call, kEnough);
    throw int{kEnough};
  }
  const std::uint32_t nth = calls_[static_cast<std::size_t>(call)]++;
  for (const Fault& fault : plan.faults) {
    if (fault.call != call) continue;
    if (nth == fault.nth || (fault.persists && nth > fault.nth)) return Strike(fault, matters);
  }
  return PF_Err_NONE;
}

PF_Err Running::Strike(const Fault& fault, bool matters) {
  if (fault.misfortune == Misfortune::kFail) {
    if (fault.call == CallKind::kArithmetic) return PF_Err_NONE;
    if (!matters || GivesBack(fault.call)) return fault.code;
    if (IsReturned(fault.call)) Decide(fault.call, fault.code);
    if (fault.call == CallKind::kAcquireSuite || fault.call == CallKind::kGetPixelFormat) {
      Decide(fault.call, PF_Err_BAD_CALLBACK_PARAM);
    }
    return fault.code;
  }
  const PF_Err code = fault.misfortune == Misfortune::kThrowCode    ? fault.code
                      : fault.misfortune == Misfortune::kThrowAlloc ? PF_Err_OUT_OF_MEMORY
                                                                    : PF_Err_BAD_CALLBACK_PARAM;
  if (GivesBack(fault.call)) {
    swallowed_.push_back(code);
  } else {
    Decide(fault.call, code);
  }
  if (fault.misfortune == Misfortune::kThrowCode) throw int{fault.code};
  if (fault.misfortune == Misfortune::kThrowAlloc) throw std::bad_alloc();
  throw Foreign{};
}

void Running::Decide(CallKind call, PF_Err code) {
  // What is thrown while a pixel is shaded whose sample failed is thrown before that is told.
  const bool told = decided_by_ != CallKind::kSample || call != CallKind::kArithmetic;
  if (decided_ && told) return;
  decided_ = code;
  decided_by_ = call;
}

World& Running::Find(const PF_EffectWorld& view) {
  const auto is = [&](const World& world) { return world.view.data == view.data; };
  if (is(input)) return input;
  if (is(output)) return output;
  const auto found =
      std::find_if(worlds.begin(), worlds.end(), [&](const auto& world) { return is(*world); });
  Require(found != worlds.end(), "a world that is not the host's");
  return **found;
}

/// Whether the host is such that a command may fail by itself.
bool Running::IsOdd() const {
  return plan.no_basic_suite || plan.output.null || plan.input.null ||
         plan.scratch != Scratch::kSound || plan.format != Format::kTold ||
         std::any_of(plan.suites.begin(), plan.suites.end(), [](auto mode) { return mode != 0; }) ||
         std::any_of(plan.faults.begin(), plan.faults.end(), [](const Fault& fault) {
           // The format is then told from flags, which know nothing of float pixels.
           return fault.call == CallKind::kAcquireSuite;
         });
}

void Running::CheckEnd(PF_Err code) const {
  std::vector<PF_Err> allowed = swallowed_;
  if (decided_) {
    allowed.push_back(*decided_);
  } else {
    allowed.push_back(PF_Err_NONE);
    if (IsOdd()) allowed.insert(allowed.end(), {PF_Err_OUT_OF_MEMORY, PF_Err_BAD_CALLBACK_PARAM});
  }
  Require(std::find(allowed.begin(), allowed.end(), code) != allowed.end(),
          "command " + std::to_string(command.cmd) + " gave " + std::to_string(code) + ", not " +
              std::to_string(allowed.back()));
  Require(check_outs.empty(), "a control is still checked out");
  Require(worlds.empty(), "a world was kept");
  Require(std::all_of(acquired.begin(), acquired.end(), [](int n) { return n == 0; }),
          "a suite was kept");
}

}  // namespace fuzz
