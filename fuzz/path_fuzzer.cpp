// Any bytes as an SVG or CSV path: keys that a scene accepts as its "Brush Position", or an error.
// The first byte chooses the kind of file and the options.
#include <cmath>
#include <optional>
#include <string>

#include "errors.h"
#include "hosting/effect.h"
#include "invariant.h"
#include "path_import.h"
#include "pf_effect.h"
#include "scene_controls.h"
#include "scene_text.h"

extern "C" PF_Err MainEntry(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                            PF_ParamDef* params[], PF_LayerDef* output, void* extra);

namespace {

using fuzz::Require;
using hosting::Point;

app::PathImport Options(unsigned choice) {
  app::PathImport options;
  options.file = (choice & 1) != 0 ? "p.csv" : "p.svg";
  if ((choice & 2) != 0) options.ids.emplace_back("b");
  if ((choice & 4) != 0) options.times.from = -1.5;
  if ((choice & 8) != 0) options.times.to = 60000;
  if ((choice & 128) != 0) options.fit = 1;
  options.times.smooth = (choice & 16) != 0;
  if ((choice & 32) != 0) options.times.frame_rate = hosting::Rational(24000, 1001);
  return options;
}

bool Near(double a, double b) { return std::abs(a - b) <= 1e-5 * std::max(1.0, std::abs(a)); }

/// What is printed, pasted into a scene, gives the keys back.
void CheckInScene(const app::DrawnStrokes& drawn) {
  const auto& keys = drawn.keys;
  static const hosting::Effect effect(MainEntry);
  hosting::ControlTracks controls(effect.controls(), 640, 360);
  const std::string text = '{' + app::BrushPositionText(drawn) + '}';
  const app::JsonText json("printed", text);
  app::ReadControls(app::Node(json), controls);
  const auto& read = std::get<hosting::Track<Point>>(controls.TrackOf(1)).keys();
  Require(read.size() == keys.size(), text);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    Require(Near(read[i].seconds, keys[i].seconds), text);
    Require(read[i].hold == keys[i].hold, text);
    Require(Near(read[i].value.x, keys[i].value.x) && Near(read[i].value.y, keys[i].value.y), text);
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  app::DrawnStrokes drawn;
  std::optional<app::LayerSize> layer;
  if ((data[0] & 64) != 0) layer = {640, 360};
  try {
    drawn = app::ImportPath(Options(data[0]), text, layer);
  } catch (const app::InputError&) {
    return 0;
  }
  try {
    CheckInScene(drawn);
  } catch (const app::Error& error) {
    Require(false, std::string(error.what()).append(": ").append(app::BrushPositionText(drawn)));
  }
  return 0;
}
