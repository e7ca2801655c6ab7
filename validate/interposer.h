// Stands between host and effect: the host is given Interposer::Entry, which passes every command
// on. On the way it can change what the host says, and it keeps what the effect leaves behind.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "hosting/world.h"
#include "pf_effect.h"
#include "pf_smart.h"

namespace validate {

/// In which order, and by how many threads, a pass over the pixels is run in the host's place.
struct PixelOrder {
  enum class Kind { kHost, kForward, kReversed, kShuffled, kColumns, kTiles };
  Kind kind = Kind::kHost;
  unsigned seed = 1;  // of the shuffle
  int threads = 1;
};

class Interposer {
 public:
  /// One at a time in a process.
  explicit Interposer(PF_MainEntry effect);
  ~Interposer();
  Interposer(const Interposer&) = delete;
  Interposer& operator=(const Interposer&) = delete;

  static PF_Err Entry(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                      PF_LayerDef* output, void* extra);

  /// What is told to the effect instead of the host's word. Empty functions change nothing.
  struct Changes {
    std::function<void(PF_Cmd, PF_InData&)> in_data;
    std::function<void(PF_EffectWorld& input, PF_EffectWorld& output)> worlds;  // smart render
    std::function<void(PF_RenderRequest&)> request;                             // smart render
    bool no_input = false;  // null worlds in smart render
    bool no_output = false;
    std::function<void(A_long index, PF_ParamDef&)> control;
    /// A suite's table as the host gives it, null when it has none: what the effect gets.
    std::function<const void*(std::string_view name, int version, const void* table)> suite;
    PixelOrder order;
  };
  Changes changes;
  hosting::Depth depth = hosting::Depth::k8;  // of the pictures to come

  /// Of the latest command; the worlds of the latest render.
  struct Seen {
    PF_Err result = 0;
    std::string output;  // the output's pixels, rows without padding
    std::string field;   // of the scratch world when the pass began
    bool pass_begun = false;
    bool cleared = false;  // all of the output was transparent when the pass began
    std::string breach;    // what the effect did wrong; empty when nothing
  };
  Seen seen;

 private:
  class Passage;

  PF_MainEntry effect_;
};

}  // namespace validate
