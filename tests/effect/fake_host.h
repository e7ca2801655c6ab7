// A host for tests: answers every callback from tables and writes down each call.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "aegp_suites.h"
#include "oracle.h"
#include "pf_effect.h"
#include "pf_smart.h"

extern "C" PF_Err MainEntry(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                            PF_ParamDef* params[], PF_LayerDef* output, void* extra);

namespace fake {

struct Layer {
  AEGP_ObjectType object = AEGP_ObjectType_LIGHT;
  AEGP_LightType light = AEGP_LightType_POINT;
  bool active = true;
  bool null = false;  // the host answers with a null handle
  double intensity = 100;
  oracle::Rgb color{1, 1, 1};
  double cone_angle = 90;
  double cone_feather = 50;
  A_Matrix4 world{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {100, 200, -300, 1}}};
};

using Log = std::vector<std::string>;

/// The one host of a test. Every call is logged as "function argument argument ...".
class Host {
 public:
  Host();
  ~Host();
  Host(const Host&) = delete;

  PF_Err Run(PF_Cmd cmd, PF_LayerDef* output_world = nullptr, void* extra = nullptr);
  /// Renders output from input; the rectangle asked for is the whole output.
  PF_Err RenderClassic() { return Run(PF_Cmd_RENDER, &output); }
  PF_Err RenderSmart(PF_LRect asked = {0, 0, 1, 1});

  /// Gives memory, filled with 0xCD, to a world; rows are padded unless padding is 0.
  void Allocate(PF_EffectWorld& world, int width, int height, int bytes, int padding = 12);
  template <class Pixel>
  std::vector<Pixel> Pixels(const PF_EffectWorld& world) const;

  void SetSlider(int index, double v) { Param(index).u.fd.value = Fixed(v); }
  void SetPopup(int index, int v) { Param(index).u.pd.value = v; }
  void SetPoint(int index, double x, double y);
  PF_ParamDef& Param(int index) { return records[static_cast<std::size_t>(index)]; }
  static PF_Fixed Fixed(double v) { return static_cast<PF_Fixed>(v * 65536.0); }

  /// The log's lines that start with one of the words; all without words.
  Log Lines(const std::set<std::string>& words = {}) const;

  PF_InData in{};
  PF_OutData out{};
  PF_UtilCallbacks utils{};
  SPBasicSuite basic{};
  std::vector<PF_ParamDef> records;  // answered by check-outs, and passed as params
  std::function<void(PF_ParamDef&, int index, A_long time)> animate;
  PF_PixelFloat float_color{1, 1, 1, 1};
  std::vector<Layer> layers;
  int effect_layer = -1;  // index of an extra non-light layer, or -1 for "none"
  PF_EffectWorld input{};
  PF_EffectWorld output{};
  PF_EffectWorld* lent_input = &input;
  PF_EffectWorld* lent_output = &output;
  PF_CheckoutResult checkout_result{};
  std::vector<PF_RenderRequest> requests;
  /// Asked at each call; non-zero is the call's result. May throw.
  std::function<PF_Err(const std::string& line)> answer;
  std::set<std::pair<std::string, int>> missing;  // suites; acquisition fails
  bool null_tables = false;                       // missing suites give null and no error
  std::map<std::pair<std::string, int>, const void*> replaced;  // suites of the test's own
  PF_PixelFormat format = PF_PixelFormat_INVALID;  // of worlds; INVALID: as their memory says

  Log log;
  std::vector<PF_ParamDef> added;
  std::vector<std::pair<int, PF_ParamDef>> updates;
  std::map<void*, std::pair<std::unique_ptr<char[]>, int>> memory;  // pixels, bytes a pixel

  template <class... Args>
  PF_Err Say(const char* name, Args... args) {
    std::ostringstream line;
    line << name;
    ((line << ' ' << args), ...);
    log.push_back(line.str());
    return answer ? answer(log.back()) : PF_Err_NONE;
  }
  static Host& Current();
};

/// For Host::answer: the nth call that starts with prefix gets the code.
std::function<PF_Err(const std::string&)> FailNth(std::string prefix, PF_Err code, int nth = 1);

template <class Pixel>
std::vector<Pixel> Host::Pixels(const PF_EffectWorld& world) const {
  std::vector<Pixel> pixels;
  for (int y = 0; y < world.height; ++y) {
    const auto* row = reinterpret_cast<const Pixel*>(reinterpret_cast<const char*>(world.data) +
                                                     std::ptrdiff_t{y} * world.rowbytes);
    pixels.insert(pixels.end(), row, row + world.width);
  }
  return pixels;
}

}  // namespace fake
