// Sequences of commands given to the effect by a host that says and does anything the interface
// leaves open, with failing and throwing calls in between.
#include <climits>
#include <cmath>
#include <limits>

#include "entry_host.h"
#include "invariant.h"
#include "program.h"

namespace {

using fuzz::Command;
using fuzz::Plan;
using fuzz::Require;
using fuzz::Step;
using fuzz::StepKind;

constexpr std::size_t kMostSteps = 40;
constexpr int kMostCommands = 6;
constexpr A_long kLargestSide = 24;

/// A number for lights: some ordinary, some not numbers at all.
double Number(unsigned choice) {
  static constexpr double kNumbers[]{0,   1,    -1,   0.5,    12,    -30,    90,   100, 180,
                                     400, 1e-9, 1e12, 1e-320, 1e308, -1e308, M_PI, NAN, INFINITY};
  return kNumbers[choice % std::size(kNumbers)];
}

fuzz::Layer MakeLayer(const Step& step) {
  fuzz::Layer layer;
  layer.light = step.a % 4;
  if ((step.a & 0x10) != 0) layer.light = step.v;
  layer.object = (step.a & 0x20) != 0 ? AEGP_ObjectType_AV : AEGP_ObjectType_LIGHT;
  layer.active = (step.a & 0x40) == 0;
  layer.null = (step.a & 0x80) != 0;
  auto digits = static_cast<std::uint32_t>(step.v);
  const auto next = [&] {
    const double number = Number(digits % 18);
    digits = digits / 18 + 77777;
    return number;
  };
  if ((step.b & 1) != 0) {
    for (double& stream : layer.streams) stream = next();
  }
  for (std::size_t i = 0; i < 4; ++i) layer.world.mat[i][i] = 1;
  layer.world.mat[3][2] = -20;
  if ((step.b & 2) != 0) {
    for (auto& row : layer.world.mat) {
      for (double& cell : row) cell = next();
    }
  }
  return layer;
}

void SetValue(const Step& step, Plan& plan) {
  PF_ParamDef& record = plan.values[1 + step.a % fuzz::kControls];
  switch (record.param_type) {
    case PF_Param_FIX_SLIDER:
      record.u.fd.value = step.v;
      break;
    case PF_Param_ANGLE:
      record.u.ad.value = step.v;
      break;
    case PF_Param_POPUP:
      record.u.pd.value = step.v;
      break;
    case PF_Param_COLOR:
      std::memcpy(&record.u.cd.value, &step.v, sizeof record.u.cd.value);
      break;
    case PF_Param_POINT:
      ((step.b & 1) != 0 ? record.u.td.y_value : record.u.td.x_value) = step.v;
      break;
    default:
      break;
  }
}

void SetTime(const Step& step, PF_InData& in) {
  switch (step.a % 5) {
    case 0:
      in.current_time = step.v;
      break;
    case 1:
      in.time_step = step.v;
      break;
    case 2:
      in.local_time_step = step.v;
      break;
    case 3:
      in.time_scale = static_cast<A_u_long>(step.v);
      break;
    default:
      in.shutter_angle = step.v;
  }
}

void SetScale(const Step& step, PF_InData& in) {
  PF_RationalScale* const scales[]{&in.downsample_x, &in.downsample_y, &in.pixel_aspect_ratio};
  PF_RationalScale& scale = *scales[step.a % 3];
  if ((step.a & 4) != 0) {
    scale.den = static_cast<A_u_long>(step.v);
  } else {
    scale.num = step.v;
  }
}

/// From -1 to the largest side; smart render tells of layers that are not there as of empty worlds.
A_long Side(unsigned choice) { return static_cast<A_long>(choice % (kLargestSide + 2)) - 1; }

void SetStack(const Step& step, Plan& plan) {
  switch (step.a % 4) {
    case 0:
      plan.no_effect_layer = !plan.no_effect_layer;
      break;
    case 1:
      plan.no_composition = !plan.no_composition;
      break;
    case 2:
      plan.layer_count = step.v;
      break;
    default:
      plan.no_basic_suite = !plan.no_basic_suite;
  }
}

fuzz::Fault MakeFault(const Step& step) {
  using fuzz::Misfortune;
  fuzz::Fault fault;
  fault.call = static_cast<fuzz::CallKind>(step.a % fuzz::kCallKinds);
  fault.misfortune =
      static_cast<Misfortune>((step.b >> 12) % static_cast<unsigned>(Misfortune::kCount));
  fault.persists = (step.b & 0x800) != 0;
  fault.nth = step.b & 0x7FF;
  fault.code = step.v == 0 ? PF_Interrupt_CANCEL : step.v;
  return fault;
}

void Apply(const Step& step, Plan& plan) {
  fuzz::WorldPlan& world = (step.a & 1) != 0 ? plan.output : plan.input;
  A_long* const edges[]{&plan.asked.left,   &plan.asked.top,    &plan.asked.right,
                        &plan.asked.bottom, &plan.extent.left,  &plan.extent.top,
                        &plan.extent.right, &plan.extent.bottom};
  switch (KindOf(step)) {
    case StepKind::kValue:
      return SetValue(step, plan);
    case StepKind::kSlope:
      plan.slopes[1 + step.a % fuzz::kControls][step.b & 1] = step.v;
      return;
    case StepKind::kTime:
      return SetTime(step, plan.in);
    case StepKind::kScale:
      return SetScale(step, plan.in);
    case StepKind::kLayerSize:
      ((step.a & 1) != 0 ? plan.in.height : plan.in.width) = step.v;
      return;
    case StepKind::kVersion:
      plan.in.quality = step.a;
      std::memcpy(&plan.in.version, &step.v, sizeof plan.in.version);
      return;
    case StepKind::kDepth:
      plan.channel_bytes = 1 << (step.a % 3);
      return;
    case StepKind::kWorld:
      world.width = Side(step.b & 0xFF);
      world.height = Side(step.b >> 8);
      if ((step.a & 2) != 0) world.origin_x = step.v;
      if ((step.a & 4) != 0) world.origin_y = step.v;
      return;
    case StepKind::kLayout:
      world.padding = step.b & fuzz::kMostPadding;
      world.upward = (step.b & 0x20) != 0;
      world.null = step.v == 1;
      return;
    case StepKind::kPixels:
      plan.pixels = step.a;
      return;
    case StepKind::kRequest:
      *edges[step.a % std::size(edges)] = step.v;
      return;
    case StepKind::kLight:
      if (plan.layers.size() < 5) plan.layers.push_back(MakeLayer(step));
      return;
    case StepKind::kStack:
      return SetStack(step, plan);
    case StepKind::kSuite:
      plan.suites[step.a % fuzz::kSuites] = static_cast<std::uint8_t>(step.b % 10);
      return;
    case StepKind::kScratch:
      plan.scratch = static_cast<fuzz::Scratch>(step.a % unsigned(fuzz::Scratch::kCount));
      return;
    case StepKind::kFormat:
      plan.format = static_cast<fuzz::Format>(step.a % unsigned(fuzz::Format::kCount));
      return;
    case StepKind::kFault:
      if (plan.faults.size() < 4) plan.faults.push_back(MakeFault(step));
      return;
    default:
      plan.faults.clear();
  }
}

void Run(const Step& step, const Plan& plan) {
  static constexpr PF_Cmd kCommands[]{PF_Cmd_SMART_RENDER,
                                      PF_Cmd_RENDER,
                                      PF_Cmd_SMART_PRE_RENDER,
                                      PF_Cmd_UPDATE_PARAMS_UI,
                                      PF_Cmd_QUERY_DYNAMIC_FLAGS,
                                      PF_Cmd_USER_CHANGED_PARAM,
                                      PF_Cmd_ABOUT,
                                      PF_Cmd_GLOBAL_SETUP,
                                      PF_Cmd_PARAMS_SETUP};
  Command command;
  command.cmd = step.a < std::size(kCommands) ? kCommands[step.a] : step.v;
  command.backward = (step.b & 1) != 0;
  command.no_params = (step.b & 2) != 0;
  // A classic render has an input: it is the first of its controls.
  const bool classic = command.cmd == PF_Cmd_RENDER;
  const auto empty = [](const fuzz::WorldPlan& w) { return w.width < 0 || w.height < 0; };
  if (classic && (empty(plan.input) || empty(plan.output))) return;
  const fuzz::Result once = fuzz::Give(plan, command);
  if ((step.b & 4) == 0 || !plan.faults.empty()) return;
  command.backward = !command.backward;
  const fuzz::Result again = fuzz::Give(plan, command);
  Require(once.code == again.code, "another code the second time");
  Require(once.output == again.output, "another picture in another order of pixels");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Plan plan = fuzz::SoundPlan();
  int commands = 0;
  std::size_t steps = 0;
  for (const Step& step : fuzz::ReadProgram({data, size})) {
    if (++steps > kMostSteps) break;
    if (KindOf(step) != StepKind::kCommand) {
      Apply(step, plan);
    } else if (++commands <= kMostCommands) {
      Run(step, plan);
    }
  }
  if (commands == 0) Run(Step{}, plan);
  return 0;
}
