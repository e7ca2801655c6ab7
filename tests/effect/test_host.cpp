#include "test_host.h"

#include <cmath>
#include <cstring>

#include "host_state.h"

namespace testhost {
Host::Host(const Situation& situation)
    : s(situation),
      input_memory_(std::max(s.input.width, 0), std::max(s.input.height, 0), 16, s.input.padding),
      output_memory_(std::max(s.output.width, 0), std::max(s.output.height, 0), 16,
                     s.output.padding) {
  in.inter = g_interact;
  in.utils = &g_utils;
  in.effect_ref = kEffectRef;
  in.quality = s.quality;
  in.version = s.version;
  in.current_time = s.current_time;
  in.time_step = s.time_step;
  in.local_time_step = s.local_time_step;
  in.time_scale = s.time_scale;
  in.width = s.width;
  in.height = s.height;
  in.downsample_x = s.downsample_x;
  in.downsample_y = s.downsample_y;
  in.pixel_aspect_ratio = s.pixel_aspect;
  in.shutter_angle = s.shutter_angle;
  in.pica_basicP = s.has_basic_suite ? &g_basic : nullptr;
  input = input_memory_.Lent(s.input, s.world_flags);
  output = output_memory_.Lent(s.output, s.world_flags);
  decoy = decoy_memory_.Lent({5, 4, 91, -7}, s.world_flags);
  FillParams();
}

void Host::FillParams() {
  for (std::size_t i = 0; i < params.size(); ++i) {
    std::memset(&params[i], 0x2a, sizeof params[i]);
    params[i].param_type =
        s.other_types == 0 ? kTypes[i] : (static_cast<int>(i) + s.other_types) % 15;
    params[i].flags = s.flags;
    params[i].ui_flags = s.ui_flags;
    if (kTypes[i] == PF_Param_POPUP) params[i].u.pd.value = s.popups_passed[i];
  }
  params[0].u.ld = s.command == PF_Cmd_RENDER ? input : decoy;
}

Outcome Host::Run(PF_MainEntry entry) {
  g_host = this;
  PF_OutData out_data{};
  out_data.my_version = 0x1234;
  out_data.num_params = -5;
  out_data.out_flags = s.out_flags;
  out_data.out_flags2 = s.out_flags2;
  std::memset(out_data.return_msg, 0x2a, sizeof out_data.return_msg);
  s.message.copy(out_data.return_msg, PF_MAX_EFFECT_MSG_LEN);
  out_data.return_msg[std::min<std::size_t>(s.message.size(), PF_MAX_EFFECT_MSG_LEN)] = '\0';
  std::vector<PF_ParamDef*> pointers;
  for (PF_ParamDef& param : params) pointers.push_back(&param);

  PF_PreRenderInput pre_input{s.request};
  PF_PreRenderOutput pre_output{{1, 2, 3, 4}, {5, 6, 7, 8}, 1, 9, &pre_input};
  PF_PreRenderCallbacks pre_callbacks = g_pre_render;
  PF_PreRenderExtra pre_extra{&pre_input, &pre_output, &pre_callbacks};
  PF_SmartRenderInput smart_input{s.request};
  PF_SmartRenderCallbacks smart_callbacks = g_smart_render;
  PF_SmartRenderExtra smart_extra{&smart_input, &smart_callbacks};
  void* extra = &smart_extra;
  if (s.command == PF_Cmd_SMART_PRE_RENDER) extra = &pre_extra;
  if (s.command != PF_Cmd_SMART_PRE_RENDER && s.command != PF_Cmd_SMART_RENDER && !s.has_extra) {
    extra = nullptr;
  }
  const std::vector<std::byte> input_before = input_memory_.bytes;
  const std::vector<std::byte> decoy_before = decoy_memory_.bytes;
  const auto worlds = [&] {
    std::string bytes;
    for (const PF_EffectWorld* w : {&params[0].u.ld, &input, &output, &decoy}) bytes += Bytes(*w);
    return bytes;
  };
  const std::string worlds_before = worlds();
  PF_EffectWorld* const world = s.command == PF_Cmd_RENDER ? &output : &decoy;
  try {
    out.code = entry(s.command, &in, &out_data, pointers.data(), world, extra);
  } catch (...) {
    out.escaped = "an exception passed the entry point";
  }
  out.output = output_memory_.bytes;
  out.input_touched = input_memory_.bytes != input_before || decoy_memory_.bytes != decoy_before;
  if (worlds() != worlds_before || pre_output.pre_render_data != &pre_input) {
    Blame("a world of the host's or a pointer in its records was changed");
  }
  params[0].u.ld.data = nullptr;  // an address of this host's
  pre_output.pre_render_data = nullptr;
  const auto keep = [&](const auto& record) {
    const auto* bytes = reinterpret_cast<const std::byte*>(&record);
    out.records.insert(out.records.end(), bytes, bytes + sizeof record);
  };
  keep(in);
  keep(out_data);
  for (const PF_ParamDef& param : params) keep(param);
  keep(pre_input);
  keep(pre_output.result_rect);
  keep(pre_output.max_result_rect);
  keep(pre_output.solid);
  keep(pre_output.flags);
  keep(smart_input);
  for (const auto& [suite, count] : lent_suites) {
    if (count > 0) Blame("not released: " + suite.first);
  }
  for (const auto& [param, count] : lent_params) {
    if (count > 0) Blame("a control was not checked in");
  }
  if (!scratch.empty()) Blame("a world was not disposed of");
  g_host = nullptr;
  return std::move(out);
}

Outcome RunCommand(const Situation& situation, PF_MainEntry entry) {
  return Host(situation).Run(entry);
}

}  // namespace testhost
