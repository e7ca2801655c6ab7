// One command given to the effect, and everything its callbacks work with.
#pragma once

#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <mutex>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "hosting/area_sampler.h"
#include "hosting/calls.h"
#include "hosting/effect.h"
#include "hosting/render.h"
#include "iterate.h"
#include "ledger.h"
#include "pf_effect.h"
#include "pf_smart.h"

namespace hosting {

inline Argument Arg(const char* label, std::string_view text) { return {label, text}; }
template <class Number>
requires std::is_arithmetic_v<Number> Argument Arg(const char* label, Number number) {
  using Kept = std::conditional_t<std::is_floating_point_v<Number>, double, std::int64_t>;
  return {label, static_cast<Kept>(number)};
}

/// One of three kinds of call, by the depth of their pixels.
template <class Pixel>
constexpr CallKind ByDepth(CallKind of_8, CallKind of_16, CallKind of_float) {
  if (kDepthOf<Pixel> == Depth::k8) return of_8;
  return kDepthOf<Pixel> == Depth::k16 ? of_16 : of_float;
}

/// A frame between its two smart commands.
struct SmartFrame {
  struct CheckOut {
    A_long id;
    PF_LRect rect;
    PF_EffectWorld view;  // the pixels, while the smart render runs
  };
  PF_LRect bounds{};  // of the layer, in buffer pixels
  std::vector<CheckOut> check_outs;
};

class Command {
 public:
  /// entry and observer are borrowed; a null observer function watches nothing.
  Command(PF_MainEntry entry, PF_Cmd cmd, const Observer& observer);
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;

  /// Gives the command and checks the books. Only one command runs at a time in the process: others
  /// wait. Throws Breach or EffectError.
  void Run(PF_LayerDef* output = nullptr, void* extra = nullptr);

  /// The running command; null between commands.
  static Command* Current() { return current_; }
  /// The running command if effect_ref is its; otherwise null, and the call is noted as a breach.
  static Command* Of(PF_ProgPtr effect_ref);

  /// To be called first by every callback: tells the observer and checks the call's thread.
  /// Non-zero is to be answered at once.
  PF_Err Arrive(CallKind kind, std::initializer_list<Argument> arguments);
  /// The same for functions that may be called from iteration threads.
  PF_Err ArriveFromAnyThread(CallKind kind, std::initializer_list<Argument> arguments);

  PF_Cmd cmd() const { return cmd_; }
  bool observed() const { return observer_ != nullptr; }
  const char* ControlName(int index) const;
  /// Lends a world of the host's for the length of the command.
  void Lend(const World& world) { lent_.push_back(&world); }
  /// The host's own world with these pixels, lent or made for the effect; null for another's.
  const World* Find(const PF_EffectWorld* world) const;

  // What the effect is given.
  PF_InData in_data{};
  PF_OutData out_data{};
  std::vector<PF_ParamDef> params;

  // What callbacks work with. Pointers are borrowed; null where the command has no use for them.
  const Setup* setup = nullptr;
  double downsample_x = 1;
  double downsample_y = 1;
  const Progress* progress = nullptr;
  Workers* workers = nullptr;
  WorldLayout layout;
  std::shared_ptr<MemoryPool> memory;                // of worlds made for the effect
  std::vector<ControlInfo>* new_controls = nullptr;  // parameter setup
  Panel* panel = nullptr;                            // supervision
  SmartFrame* smart = nullptr;
  World* input = nullptr;
  World* output = nullptr;
  std::vector<World>* kept_worlds = nullptr;  // where worlds of the effect's own end up
  const AreaSampler* sampler = nullptr;       // of the whole input
  Ledger ledger;

 private:
  PF_Err Tell(CallKind kind, std::initializer_list<Argument> arguments);
  void CheckGuards(const std::string& when);
  std::string InputPixels() const;

  static Command* current_;

  PF_MainEntry entry_;
  PF_Cmd cmd_;
  const Observer* observer_;  // null when nobody watches
  std::atomic<std::uint64_t> calls_{0};
  PF_UtilCallbacks utils_;
  SPBasicSuite basic_suite_;
  std::vector<const World*> lent_;
  std::thread::id thread_;
  std::mutex mutex_;  // of the ledger's notes made from other threads
};

/// Fills in what all commands about a setup share: time, size, aspect, the controls' values.
void Prepare(Command& command, const Setup& setup, A_long layer_time, const RenderOptions& options);

// The functions that the host lends. observed: those that tell an observer of every call.
PF_InteractCallbacks InteractCallbacks();
PF_UtilCallbacks UtilCallbacks(bool observed);
PF_ANSICallbacks AnsiCallbacks(bool observed);
PF_PreRenderCallbacks PreRenderCallbacks();
PF_SmartRenderCallbacks SmartRenderCallbacks();
SPBasicSuite BasicSuite();
/// The suite's table; null when the host has none of that name and version.
const void* FindSuite(std::string_view name, int version, bool observed);
const AEGP_PFInterfaceSuite1& PFInterfaceSuite();
const AEGP_LayerSuite5& LayerSuite();
const AEGP_LightSuite1& LightSuite();
const AEGP_StreamSuite4& StreamSuite();
const PF_iterateFloatSuite1& IterateFloatSuite();

}  // namespace hosting
