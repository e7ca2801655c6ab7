#include "hosting/effect.h"

#include <dlfcn.h>

#include <algorithm>

#include "command.h"
#include "hosting/errors.h"

namespace hosting {
namespace {

std::shared_ptr<void> Load(const std::filesystem::path& library) {
  // Resolved in full, so that the loader does not search its own directories for a bare name.
  std::error_code unresolved;
  const std::filesystem::path path = std::filesystem::absolute(library, unresolved);
  void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) throw Error(std::string("the effect cannot be loaded: ") + dlerror());
  return {handle, [](void* h) { dlclose(h); }};
}

PF_MainEntry FindEntry(void* library, const std::filesystem::path& path) {
  void* const symbol = dlsym(library, "MainEntry");
  if (symbol == nullptr) throw Error(path.string() + " exports no MainEntry: it is no effect");
  return reinterpret_cast<PF_MainEntry>(symbol);
}

}  // namespace

Effect::Effect(const std::filesystem::path& library, const Observer& observer)
    : library_(Load(library)), entry_(FindEntry(library_.get(), library)) {
  SetUp(observer);
}

Effect::Effect(PF_MainEntry entry, const Observer& observer) : entry_(entry) { SetUp(observer); }

void Effect::SetUp(const Observer& observer) {
  Command global(entry_, PF_Cmd_GLOBAL_SETUP, observer);
  global.Run();
  version_ = global.out_data.my_version;
  out_flags_ = global.out_data.out_flags;
  out_flags2_ = global.out_data.out_flags2;

  Command parameters(entry_, PF_Cmd_PARAMS_SETUP, observer);
  parameters.new_controls = &controls_;
  parameters.Run();
  const auto count = static_cast<A_long>(controls_.size()) + 1;
  if (parameters.out_data.num_params != count) {
    throw Breach("PF_Cmd_PARAMS_SETUP: num_params is " +
                 std::to_string(parameters.out_data.num_params) + " after " +
                 std::to_string(count - 1) + " calls of add_param, expected " +
                 std::to_string(count));
  }
}

std::string Effect::About(const Observer& observer) const {
  Command about(entry_, PF_Cmd_ABOUT, observer);
  about.Run();
  std::string text(about.out_data.return_msg);
  std::replace(text.begin(), text.end(), '\r', '\n');
  return text;
}

Panel Effect::InitialPanel() const {
  Panel panel(controls_.size() + 1);
  for (const ControlInfo& control : controls_) {
    panel[static_cast<std::size_t>(control.index)] = {!control.starts_disabled,
                                                      control.starts_collapsed};
  }
  return panel;
}

Panel Effect::Supervise(const Setup& setup, A_long layer_time, const Panel& before, int changed,
                        const Observer& observer) const {
  Command command(entry_, changed == 0 ? PF_Cmd_UPDATE_PARAMS_UI : PF_Cmd_USER_CHANGED_PARAM,
                  observer);
  Prepare(command, setup, layer_time, {});
  if (before.size() != command.params.size()) throw Error("the panel is not this effect's");
  const auto set = [](A_long& flags, A_long flag, bool on) {
    flags = on ? flags | flag : flags & ~flag;
  };
  for (std::size_t i = 0; i < before.size(); ++i) {
    set(command.params[i].ui_flags, PF_PUI_DISABLED, !before[i].enabled);
    set(command.params[i].flags, PF_ParamFlag_COLLAPSE_TWIRLY, before[i].collapsed);
  }
  Panel panel = before;
  command.panel = &panel;
  command.Run();
  return panel;
}

PF_OutFlags2 Effect::DynamicFlags(const Setup& setup, A_long layer_time,
                                  const Observer& observer) const {
  Command command(entry_, PF_Cmd_QUERY_DYNAMIC_FLAGS, observer);
  Prepare(command, setup, layer_time, {});
  command.out_data.out_flags = out_flags_;
  command.out_data.out_flags2 = out_flags2_;
  command.Run();
  return command.out_data.out_flags2;
}

}  // namespace hosting
