#include "entry_host.h"

#include <algorithm>
#include <cstring>

#include "entry_callbacks.h"
#include "entry_running.h"
#include "invariant.h"

extern "C" PF_Err MainEntry(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                            PF_ParamDef* params[], PF_LayerDef* output, void* extra);

namespace fuzz {
namespace {

// Smart render.

PF_Err CheckoutLayer(PF_ProgPtr, A_long index, A_long id, const PF_RenderRequest* request, A_long,
                     A_long, A_u_long, PF_CheckoutResult* result) {
  Require(index == 0 && id >= 0 && request != nullptr, "an odd check-out");
  if (const PF_Err err = Arrive(CallKind::kCheckoutLayer)) return err;
  *result = {request->rect, Now().plan.extent};
  return PF_Err_NONE;
}

PF_Err CheckoutPixels(PF_ProgPtr, A_long, PF_EffectWorld** pixels) {
  if (const PF_Err err = Arrive(CallKind::kCheckoutPixels)) return err;
  *pixels = Now().plan.input.null ? nullptr : &Now().input.view;
  return PF_Err_NONE;
}

PF_Err CheckoutOutput(PF_ProgPtr, PF_EffectWorld** output) {
  if (const PF_Err err = Arrive(CallKind::kCheckoutOutput)) return err;
  *output = Now().plan.output.null ? nullptr : &Now().output.view;
  return PF_Err_NONE;
}

// The command.

template <class Record>
bool Same(const Record& a, const Record& b) {
  // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
  return std::memcmp(&a, &b, sizeof a) == 0;
}

bool AnswersInOutData(PF_Cmd cmd) {
  return cmd == PF_Cmd_ABOUT || cmd == PF_Cmd_GLOBAL_SETUP || cmd == PF_Cmd_PARAMS_SETUP ||
         cmd == PF_Cmd_QUERY_DYNAMIC_FLAGS;
}

bool NeedsParams(PF_Cmd cmd) {
  return cmd == PF_Cmd_RENDER || cmd == PF_Cmd_USER_CHANGED_PARAM || cmd == PF_Cmd_UPDATE_PARAMS_UI;
}

void CheckExtent(const PF_LRect& all, const PF_PreRenderOutput& told) {
  const PF_LRect& given = told.result_rect;
  Require(Same(told.max_result_rect, all), "another extent");
  if (all.left >= all.right || all.top >= all.bottom) return;
  for (const A_long x : {given.left, given.right}) {
    Require(x >= all.left && x <= all.right, "x");
  }
  for (const A_long y : {given.top, given.bottom}) {
    Require(y >= all.top && y <= all.bottom, "y");
  }
}

/// The controls as the effect describes them.
std::array<PF_ParamDef, kControls + 1> Defaults() {
  static std::vector<PF_ParamDef> added;
  added.clear();
  PF_UtilCallbacks utils{};
  utils.ansi.strcpy = [](A_char* to, const A_char* from) { return std::strcpy(to, from); };
  PF_InData in{};
  in.utils = &utils;
  in.inter.add_param = [](PF_ProgPtr, A_long, PF_ParamDef* def) {
    added.push_back(*def);
    return PF_Err_NONE;
  };
  PF_OutData out{};
  MainEntry(PF_Cmd_PARAMS_SETUP, &in, &out, nullptr, nullptr, nullptr);
  Require(added.size() == kControls, "another number of controls");
  std::array<PF_ParamDef, kControls + 1> records;
  std::memset(records.data(), 0, sizeof records);
  std::copy(added.begin(), added.end(), records.begin() + 1);
  return records;
}

}  // namespace

Plan SoundPlan() {
  static const auto kDefaults = Defaults();
  Plan plan;
  plan.values = kDefaults;
  plan.values[1].u.td.x_value = 65536;
  plan.values[1].u.td.y_value = 2 * 65536;
  plan.slopes[1] = {2 * 65536, 65536};
  plan.values[2].u.fd.value = 80 * 65536;  // "Stroke Width"
  plan.values[4].u.fd.value = 65536 / 20;  // "Time Span (sec)"
  plan.in.quality = PF_Quality_HI;
  plan.in.version = {13, 0};
  plan.in.current_time = 3 * 1024;
  plan.in.time_step = plan.in.local_time_step = 1024;
  plan.in.time_scale = 30720;
  plan.in.width = 12;
  plan.in.height = 8;
  plan.in.downsample_x = plan.in.downsample_y = plan.in.pixel_aspect_ratio = {1, 1};
  return plan;
}

Result Give(const Plan& plan, const Command& command) {
  Running running(plan, command);
  World& input = running.input;
  World& output = running.output;
  PF_UtilCallbacks utils = kUtilities;
  SPBasicSuite basic = kBasic;
  PF_InData in = plan.in;
  in.inter = kInteract;
  in.utils = &utils;
  in.effect_ref = kRef;
  in.pica_basicP = plan.no_basic_suite ? nullptr : &basic;
  std::array<PF_ParamDef, kControls + 1> records = plan.values;
  records[0].u.ld = input.view;
  std::array<PF_ParamDef*, kControls + 1> params{};
  std::transform(records.begin(), records.end(), params.begin(), [](auto& r) { return &r; });
  PF_OutData out;
  std::memset(&out, 'x', sizeof out);

  PF_PreRenderInput pre_input{{plan.asked, 1, 2, 1}};
  PF_PreRenderOutput pre_output{};
  PF_PreRenderCallbacks pre_callbacks{CheckoutLayer};
  PF_PreRenderExtra pre{&pre_input, &pre_output, &pre_callbacks};
  PF_SmartRenderInput smart_input{{plan.asked, 0, 0, 0}};
  PF_SmartRenderCallbacks smart_callbacks{CheckoutPixels, CheckoutOutput};
  PF_SmartRenderExtra smart{&smart_input, &smart_callbacks};
  void* const extra = command.cmd == PF_Cmd_SMART_PRE_RENDER ? static_cast<void*>(&pre)
                      : command.cmd == PF_Cmd_SMART_RENDER   ? static_cast<void*>(&smart)
                                                             : nullptr;

  const PF_InData in_before = in;
  const auto records_before = records;
  const PF_OutData out_before = out;
  const std::vector<char> input_before = input.memory;
  const std::vector<char> output_before = output.memory;
  const bool classic = command.cmd == PF_Cmd_RENDER;
  const bool with_params = NeedsParams(command.cmd) || !command.no_params;

  Result result;
  result.code = MainEntry(command.cmd, &in, &out, with_params ? params.data() : nullptr,
                          classic && !plan.output.null ? &output.view : nullptr, extra);

  running.CheckEnd(result.code);
  Require(Same(in, in_before) && Same(utils, kUtilities), "the effect wrote to PF_InData");
  Require(Same(records, records_before), "the effect wrote to the controls");
  // The about text is ended before it is read, and so before anything can fail.
  const bool wrote =
      AnswersInOutData(command.cmd) && (result.code == 0 || command.cmd == PF_Cmd_ABOUT);
  Require(wrote || Same(out, out_before), "the effect wrote to PF_OutData");
  Require(input.memory == input_before, "the effect wrote to the input");
  Require(output.PaddingIsSound(), "the effect wrote beside the output");
  Require(running.output_filled || output.memory == output_before,
          "the effect drew before clearing");
  if (command.cmd == PF_Cmd_SMART_PRE_RENDER && result.code == 0) {
    CheckExtent(plan.extent, pre_output);
  }
  result.output.assign(output.memory.begin(), output.memory.end());
  return result;
}

}  // namespace fuzz
