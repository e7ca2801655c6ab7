// The exact sequence of host calls of one frame, against a plain walk through what a frame does.
#include <gtest/gtest.h>

#include <algorithm>

#include "frame_support.h"

namespace {

using fake::Log;
using hosting::Depth;

constexpr int kStep = 1024;
constexpr int kScale = 30720;
constexpr int kTime = 5 * kStep + 100;

struct Case {
  Depth depth;
  bool smart;
  bool wobbly;
  bool composition_light;
};

/// The brush moves 40 layer units a frame; the span of 0.09 s reaches into a third frame.
class Walk {
 public:
  explicit Walk(const Case& c) : case_(c) {
    if (c.smart) Say({"checkout_layer_pixels 0", "checkout_output"});
    Say({"AcquireSuite PF World Suite 2", "PF_GetPixelFormat", "ReleaseSuite PF World Suite 2"});
    ReadAll({4, 5, 8});
    Say({"fill 0 0 0 0 96 54", "AcquireSuite PF World Suite 1", "new_world 96 54 0 8",
         "fill 0 0 128 190 96 54"});
    for (int i = 0; i < 3; ++i) Slice(i);
    const std::string sampling = c.depth == Depth::k8    ? "PF Sampling8 Suite 1"
                                 : c.depth == Depth::k16 ? "PF Sampling16 Suite 1"
                                                         : "PF SamplingFloat Suite 1";
    Say({"AcquireSuite " + sampling});
    ReadAll({23, 24, 25, 26, 27, 14});
    if (c.composition_light) {
      CompositionLight();
    } else {
      ReadAll({17, 18, 20, 19, 15});
      Color();
    }
    Iterate();
    Say({"dispose_world"});
    if (c.composition_light) {
      Say({"ReleaseSuite AEGP Stream Suite 4", "ReleaseSuite AEGP PF Interface Suite 1",
           "ReleaseSuite AEGP Light Suite 1"});
    }
    Say({"ReleaseSuite PF World Suite 1"});
    if (c.depth != Depth::k32) Say({"ReleaseSuite " + sampling});
    if (c.composition_light) {
      Say({"ReleaseSuite AEGP Layer Suite 5"});
    } else if (c.depth != Depth::k8) {
      Say({"ReleaseSuite PF ColorParamSuite 1"});
    }
    if (c.depth == Depth::k32) Say({"ReleaseSuite " + sampling});
  }
  const Log& log() const { return log_; }

 private:
  void Say(const Log& lines) { log_.insert(log_.end(), lines.begin(), lines.end()); }
  void Read(int index, int time = kTime) {
    const std::string i = std::to_string(index);
    Say({"checkout_param " + i + ' ' + std::to_string(time) + ' ' + std::to_string(kStep) + ' ' +
             std::to_string(kScale),
         "checkin_param " + i});
  }
  void ReadAll(const std::vector<int>& indices) {
    for (const int index : indices) Read(index);
  }
  void Slice(int i) {
    const int t = (5 - i) * kStep;
    Read(3, t);
    Read(1, t);
    Read(1, t - kStep);
    for (const int index : {9, 10, 11, 6}) Read(index, t);
    for (int j = 0; j < 10; ++j) {
      const int at = static_cast<int>(t - (1.0 - j / 10.0) * kStep);
      Read(1, at);
      Read(2, at);
    }
    Say({"progress " + std::to_string(i) + " 5"});  // of twice 2.7 frames
  }
  void CompositionLight() {
    const std::string time = std::to_string(kTime);
    Say({"AcquireSuite AEGP PF Interface Suite 1",
         "AEGP_ConvertEffectToCompTime " + time + ' ' + std::to_string(kScale),
         "AEGP_GetEffectLayer", "AcquireSuite AEGP Layer Suite 5", "AEGP_GetLayerParentComp",
         "AEGP_GetCompNumLayers", "AEGP_GetCompLayerByIndex 0", "AEGP_IsVideoActive",
         "AEGP_GetLayerObjectType", "AcquireSuite AEGP Light Suite 1", "AEGP_GetLightType",
         "AEGP_GetLayerToWorldXformFromView", "AcquireSuite AEGP Stream Suite 4",
         "AEGP_GetLayerStreamValue", "AEGP_GetLayerStreamValue", "AEGP_GetCompLayerByIndex 1",
         "AEGP_IsVideoActive", "AEGP_GetLayerObjectType"});
  }
  void Color() {
    Read(16);
    if (case_.depth == Depth::k8) return;
    log_.insert(log_.end() - 1,
                {"AcquireSuite PF ColorParamSuite 1", "PF_GetFloatingPointColorFromColorDef 16"});
  }
  void Iterate() {
    if (case_.depth == Depth::k8) Say({"iterate 0 54 none all 96 54"});
    if (case_.depth == Depth::k16) Say({"iterate16 0 54 none all 96 54"});
    if (case_.depth == Depth::k32) {
      Say({"AcquireSuite PF iterateFloat Suite 1", "iterate_float 0 54 none all 96 54",
           "ReleaseSuite PF iterateFloat Suite 1"});
    }
  }

  Case case_;
  Log log_;
};

std::vector<Case> Cases() {
  std::vector<Case> cases;
  for (const Depth depth : {Depth::k8, Depth::k16, Depth::k32}) {
    for (const int bits : {0, 1, 2, 3, 4, 5, 6, 7}) {
      cases.push_back({depth, (bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0});
    }
  }
  return cases;
}

/// For calls that a host reports in less detail: the function's name only.
Log Shortened(const Log& log, const std::set<std::string>& whole) {
  Log lines;
  for (const std::string& line : log) {
    const std::string name = line.substr(0, line.find(' '));
    lines.push_back(whole.contains(name) ? line : name);
  }
  return lines;
}

/// The two logs' first difference, for a message shorter than both.
std::string Difference(const Log& got, const Log& want) {
  for (std::size_t i = 0; i < std::max(got.size(), want.size()); ++i) {
    const std::string g = i < got.size() ? got[i] : "(end)",
                      w = i < want.size() ? want[i] : "(end)";
    if (g != w) return "call " + std::to_string(i) + ": " + g + ", expected " + w;
  }
  return "";
}

/// A call's name and its arguments without labels, controls by index.
std::string Line(const hosting::Call& call) {
  std::string line = Name(call.kind);
  for (std::size_t i = 0; i < call.argument_count; ++i) {
    const bool is_control_name = line.starts_with("check") && i == 1;
    if (const auto* number = std::get_if<std::int64_t>(&call.arguments[i].value)) {
      line += ' ' + std::to_string(*number);
    } else if (const auto* text = std::get_if<std::string_view>(&call.arguments[i].value);
               text != nullptr && !is_control_name) {
      line += ' ' + std::string(*text);
    }
  }
  return line;
}

TEST(CallOrder, OfAFrameWithTheHostLibrary) {
  const std::set<std::string> whole{"checkout_layer_pixels",
                                    "AcquireSuite",
                                    "ReleaseSuite",
                                    "checkout_param",
                                    "checkin_param",
                                    "progress",
                                    "fill",
                                    "new_world",
                                    "iterate",
                                    "iterate16",
                                    "iterate_float",
                                    "AEGP_ConvertEffectToCompTime",
                                    "AEGP_GetCompLayerByIndex"};
  for (const Case& c : Cases()) {
    hosting::Setup setup = frames::TestSetup();
    setup.controls.Set("Brush Position",
                       frames::Keys<hosting::Point>({{-10, {-12000, 20}}, {10, {12000, 20}}}));
    setup.controls.Set("Time Span (sec)", hosting::Track<double>(0.09));
    setup.controls.Set("Paint Style", hosting::Track<int>(c.wobbly ? 2 : 1));
    setup.controls.Set("Using", hosting::Track<int>(c.composition_light ? 2 : 1));
    hosting::Layer light{hosting::Layer::Kind::kLight, "Light", true, {}, {}};
    light.light.kind = hosting::LightKind::kAmbient;
    setup.composition.AddLight(light);
    hosting::RenderOptions options;
    options.depth = c.depth;
    options.smart = c.smart;
    options.threads = 1;
    Log log;
    const std::set<hosting::CallKind> arithmetic{hosting::CallKind::kCos,
                                                 hosting::CallKind::kSin,
                                                 hosting::CallKind::kSqrt,
                                                 hosting::CallKind::kPow,
                                                 hosting::CallKind::kAreaSample8,
                                                 hosting::CallKind::kAreaSample16,
                                                 hosting::CallKind::kAreaSampleFloat};
    options.observer = [&](const hosting::Call& call) -> PF_Err {
      if (!arithmetic.contains(call.kind)) log.push_back(Line(call));
      return PF_Err_NONE;
    };
    hosting::Renderer(frames::TheEffect(), setup, options).Render(kTime);
    Log want = Walk(c).log();
    if (c.smart) want.insert(want.begin(), 2, "checkout_layer");
    EXPECT_EQ(Difference(Shortened(log, whole), Shortened(want, whole)), "");
  }
}

}  // namespace
