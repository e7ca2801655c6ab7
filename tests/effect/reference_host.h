// The reference's side of the host: suites, controls at any time, numbers.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <utility>

#include "aegp_suites.h"
#include "pf_effect.h"
#include "pf_smart.h"

namespace reference {

/// The suites of one command, released in the effect's stated order when it ends.
class Suites {
 public:
  explicit Suites(SPBasicSuite* basic);
  ~Suites();
  Suites(const Suites&) = delete;

  template <class Table>
  const Table& Get(const char* name, int version) {
    return *static_cast<const Table*>(Load(name, version));
  }
  SPBasicSuite* const basic;

 private:
  const void* Load(const char* name, int version);

  const void* tables_[12] = {};
};

struct Env {
  PF_InData* in;
  PF_OutData* out;
  PF_ParamDef** params;
  PF_EffectWorld* output;
  PF_EffectWorld* input = nullptr;
  PF_SmartRenderExtra* extra = nullptr;
  Suites suites{in->pica_basicP};
};

/// A control as it is after its check-out and check-in; its default when that is refused.
PF_ParamDef Control(PF_InData* in, int index, A_long time, A_long step, bool* refused = nullptr);
/// At the frame's time.
PF_ParamDef Control(PF_InData* in, int index);
double Slider(PF_InData* in, int index);

/// Cut toward zero, to the nearest number that fits.
std::int32_t Cut(double v);

struct Rgb {
  double red, green, blue;
};
/// "Light Color" on a 0..1 scale times k, in the precision of the render.
Rgb LightColor(Env& env, PF_PixelFormat format, double k);

PF_Err AddControls(PF_InData* in);
PF_Err Supervise(Env& env);

}  // namespace reference
