// Any bytes as a scene's file: a scene whose every value can be asked for at any time, or one error
// with its line and column.
#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>

#include "errors.h"
#include "file_pattern.h"
#include "invariant.h"
#include "pf_effect.h"
#include "scene.h"

extern "C" PF_Err MainEntry(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                            PF_ParamDef* params[], PF_LayerDef* output, void* extra);

namespace {

using fuzz::Require;

const hosting::Effect& TheEffect() {
  static const hosting::Effect effect(MainEntry);
  return effect;
}

/// No file is read: every layer is the same picture.
app::LayerSource OpenNothing(const std::filesystem::path& path) {
  const app::FilePattern pattern(path);  // refuses some names
  static const auto kPicture =
      std::make_shared<const hosting::Picture>(2, 1, std::vector<std::uint8_t>(8));
  return {[](std::int64_t, hosting::Rational) { return kPicture; },
          [path](std::int64_t) { return path; }, 640, 360};
}

app::Scene Read(const app::JsonText& json) {
  return app::ReadScene(json, "folder", TheEffect(), OpenNothing);
}

/// The number that text begins with, which is taken off together with the colon behind it; 0 when
/// there is none.
std::size_t TakeNumber(std::string_view& text) {
  std::size_t number = 0;
  const char* const end = text.data() + text.size();
  const char* const behind = std::from_chars(text.data(), end, number).ptr;
  if (behind == end || *behind != ':') return 0;
  text.remove_prefix(static_cast<std::size_t>(behind - text.data()) + 1);
  return number;
}

void CheckMessage(std::string_view message, std::string_view text) {
  Require(message.starts_with("s.json:"), message);
  std::string_view rest = message.substr(7);
  const std::size_t line = TakeNumber(rest);
  const std::size_t column = TakeNumber(rest);
  const auto ends =
      std::count_if(text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; });
  Require(line >= 1 && line <= static_cast<std::size_t>(ends) + 1, message);
  Require(column >= 1 && column <= text.size() + 1, message);
  Require(rest.size() > 1 && rest.front() == ' ', message);
}

/// The records that the effect would be given at some moments of the scene, and just beyond.
std::vector<PF_ParamDef> Records(const app::Scene& scene) {
  const hosting::Setup& setup = scene.setup;
  const double end = setup.time.Seconds(setup.time.FrameTime(scene.frames - 1));
  std::vector<PF_ParamDef> records;
  for (const double seconds : {-1.0, 0.0, 0.3, 0.7 * end, end, 1e9}) {
    for (const hosting::ControlInfo& control : setup.controls.controls()) {
      records.push_back(setup.controls.At(control.index, seconds, 1, 1));
    }
    for (const hosting::Layer& layer : setup.composition.layers)
      layer.light.ToWorld(seconds, setup.pixel_aspect.value());
  }
  return records;
}

void CheckScene(const app::Scene& scene) {
  Require(scene.frames >= 1, "a scene without frames");
  for (const PF_ParamDef& record : Records(scene)) {
    if (record.param_type == PF_Param_FIX_SLIDER) {
      const PF_FixedSliderDef& slider = record.u.fd;
      Require(slider.value >= slider.valid_min && slider.value <= slider.valid_max,
              "a slider's value is out of its range");
    } else if (record.param_type == PF_Param_POPUP) {
      Require(record.u.pd.value >= 1 && record.u.pd.value <= record.u.pd.num_choices,
              "a popup has no such choice");
    }
  }
}

/// Whether the rates are left to their default: they are read as written, to the last digit, which
/// another way to write the same number changes.
bool HasPlainRates(const Json::Value& root) {
  return !root.isMember("frame_rate") && !root.isMember("layer_frame_rate");
}

/// The same scene, written in another way, is the same scene.
void CheckWrittenAgain(const app::Scene& scene, const Json::Value& root) {
  Json::StreamWriterBuilder writer;
  writer["indentation"] = "\t";
  const std::string text = Json::writeString(writer, root);
  try {
    const std::vector<PF_ParamDef> before = Records(scene);
    const std::vector<PF_ParamDef> after = Records(Read(app::JsonText("again.json", text)));
    const bool same = std::equal(before.begin(), before.end(), after.begin(), after.end(),
                                 [](const PF_ParamDef& a, const PF_ParamDef& b) {
                                   return std::memcmp(&a, &b, sizeof a) == 0;
                                 });
    Require(same, "written again it has other values: " + text);
  } catch (const app::Error& error) {
    Require(false, std::string(error.what()).append(": ").append(text));
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  try {
    const app::JsonText json("s.json", text);
    const app::Scene scene = Read(json);
    CheckScene(scene);
    const bool ascii = std::all_of(text.begin(), text.end(), [](char c) { return c > 0; });
    if (ascii && HasPlainRates(json.root())) CheckWrittenAgain(scene, json.root());
  } catch (const app::InputError& error) {
    CheckMessage(error.what(), text);
  }
  return 0;
}
