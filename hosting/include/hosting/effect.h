// A loaded effect.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "hosting/calls.h"
#include "hosting/controls.h"
#include "hosting/setup.h"
#include "pf_effect.h"

namespace hosting {

/// How the panel shows one control.
struct ControlState {
  bool enabled = true;
  bool collapsed = false;
  bool operator==(const ControlState&) const = default;
};

/// By control index; 0 is the layer.
using Panel = std::vector<ControlState>;

class Effect {
 public:
  /// Loads the library, runs global and parameter setup. Throws Error when it cannot be loaded or
  /// does not export MainEntry, and what its setup throws.
  explicit Effect(const std::filesystem::path& library, const Observer& observer = {});
  /// The same for an entry point that is linked in.
  explicit Effect(PF_MainEntry entry, const Observer& observer = {});

  PF_MainEntry entry() const { return entry_; }
  /// controls()[i] has index i + 1.
  const std::vector<ControlInfo>& controls() const { return controls_; }
  A_u_long version() const { return version_; }
  PF_OutFlags out_flags() const { return out_flags_; }
  PF_OutFlags2 out_flags2() const { return out_flags2_; }

  /// The about text; lines end with '\n'.
  std::string About(const Observer& observer = {}) const;

  /// How the panel starts out.
  Panel InitialPanel() const;
  /// How the panel looks after the effect has arranged it for the values at a layer time. changed
  /// is the control that the user changed, or 0 for a mere refresh.
  Panel Supervise(const Setup& setup, A_long layer_time, const Panel& before, int changed = 0,
                  const Observer& observer = {}) const;
  /// out_flags2 for the values at a layer time.
  PF_OutFlags2 DynamicFlags(const Setup& setup, A_long layer_time,
                            const Observer& observer = {}) const;

 private:
  void SetUp(const Observer& observer);

  std::shared_ptr<void> library_;
  PF_MainEntry entry_;
  std::vector<ControlInfo> controls_;
  A_u_long version_ = 0;
  PF_OutFlags out_flags_ = 0;
  PF_OutFlags2 out_flags2_ = 0;
};

}  // namespace hosting
