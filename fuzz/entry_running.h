// The command that is running: what the host has lent, what goes wrong, and what it may end with.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <vector>

#include "entry_host.h"
#include "entry_world.h"

namespace fuzz {

/// The one command that is running.
class Running {
 public:
  Running(const Plan& plan, const Command& command);
  ~Running() { now = nullptr; }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

  /// Counts a call of the effect's: gives the code it is to fail with, or throws. A call that does
  /// not matter may fail without consequence.
  PF_Err Arrive(CallKind call, bool matters);
  /// The host's world that this is the effect's view of.
  World& Find(const PF_EffectWorld& view);
  /// Whether the command may have ended so, and has given everything back.
  void CheckEnd(PF_Err code) const;

  static Running* now;

  const Plan& plan;
  const Command& command;
  World input;
  World output;
  bool output_filled = false;
  std::vector<const PF_ParamDef*> check_outs;
  std::array<int, kSuites> acquired{};
  std::vector<std::unique_ptr<World>> worlds;  // made for the effect
  std::array<std::array<const void*, 8>, kSuites> tables{};

 private:
  PF_Err Strike(const Fault& fault, bool matters);
  void Decide(CallKind call, PF_Err code);
  bool IsOdd() const;

  std::array<std::uint32_t, kCallKinds> calls_{};
  int questions_ = 0;
  std::optional<PF_Err> decided_;
  CallKind decided_by_{};
  std::vector<PF_Err> swallowed_;  // thrown while giving back: may or may not have an effect
};

inline Running& Now() { return *Running::now; }
inline PF_Err Arrive(CallKind call, bool matters = true) { return Now().Arrive(call, matters); }

}  // namespace fuzz
