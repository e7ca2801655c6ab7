#include "command.h"

#include <cstring>

#include "hosting/errors.h"

namespace hosting {
namespace {

// Effects keep state in their process, so that two commands must never run at once in one.
std::mutex g_command_mutex;

/// Set while this thread runs a command: an observer that gave another would wait for itself.
thread_local bool t_commanding = false;

struct Commanding {
  Commanding() {
    if (t_commanding) throw Error("a command cannot be given from within another");
    t_commanding = true;
  }
  ~Commanding() { t_commanding = false; }
  Commanding(const Commanding&) = delete;
  Commanding& operator=(const Commanding&) = delete;
};

/// The bytes of a record, for finding out whether anybody wrote to it.
template <class Record>
std::string Bytes(const Record* records, std::size_t count) {
  return {reinterpret_cast<const char*>(records), sizeof(Record) * count};
}

}  // namespace

// Callbacks without an effect_ref find the command here. Written with g_command_mutex held.
Command* Command::current_ = nullptr;

Command::Command(PF_MainEntry entry, PF_Cmd cmd, const Observer& observer)
    : entry_(entry),
      cmd_(cmd),
      observer_(observer ? &observer : nullptr),
      utils_(UtilCallbacks(observed())),
      basic_suite_(BasicSuite()) {
  in_data.inter = InteractCallbacks();
  in_data.utils = &utils_;
  in_data.effect_ref = reinterpret_cast<PF_ProgPtr>(this);
  in_data.version = RenderOptions{}.interface_version;
  in_data.downsample_x = in_data.downsample_y = in_data.pixel_aspect_ratio = {1, 1};
  in_data.pica_basicP = &basic_suite_;
}

/// Costs as much as the picture, so only where writes are watched anyway.
std::string Command::InputPixels() const {
  std::string pixels;
  if (input == nullptr || !layout.guards) return pixels;
  const std::size_t row = static_cast<std::size_t>(input->width()) * PixelSize(input->depth());
  for (int y = 0; y < input->height(); ++y) pixels += Bytes(input->RowBytes(y), row);
  return pixels;
}

void Command::Run(PF_LayerDef* output_record, void* extra) {
  const Commanding commanding;
  const std::lock_guard lock(g_command_mutex);
  thread_ = std::this_thread::get_id();
  std::vector<PF_ParamDef*> pointers;
  for (PF_ParamDef& param : params) pointers.push_back(&param);
  const std::string before[]{Bytes(&in_data, 1), Bytes(params.data(), params.size()),
                             InputPixels()};

  current_ = this;
  PF_Err result = 0;
  try {
    result = entry_(cmd_, &in_data, &out_data, pointers.empty() ? nullptr : pointers.data(),
                    output_record, extra);
  } catch (...) {
    current_ = nullptr;
    throw Breach(CommandName(cmd_) + ": an exception left the effect");
  }
  current_ = nullptr;

  if (before[0] != Bytes(&in_data, 1)) ledger.Note("the effect wrote to PF_InData");
  if (before[1] != Bytes(params.data(), params.size())) {
    ledger.Note("the effect wrote to the host's control records");
  }
  if (before[2] != InputPixels()) ledger.Note("the effect wrote to the input world");
  CheckGuards("the command's end");
  if (const std::string verdict = ledger.Verdict(); !verdict.empty()) {
    throw Breach(CommandName(cmd_) + ": " + verdict);
  }
  if (result != 0) throw EffectError(cmd_, result);
}

Command* Command::Of(PF_ProgPtr effect_ref) {
  Command* const command = current_;
  if (command == nullptr || command->in_data.effect_ref == effect_ref) return command;
  const std::lock_guard lock(command->mutex_);
  command->ledger.Note("a call with an effect_ref that is not the command's");
  return nullptr;
}

PF_Err Command::Arrive(CallKind kind, std::initializer_list<Argument> arguments) {
  if (std::this_thread::get_id() != thread_) {
    const std::lock_guard lock(mutex_);
    ledger.Note(std::string(Name(kind)) + " called from a thread that does not run the command");
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (layout.guards) CheckGuards(Name(kind));
  return ArriveFromAnyThread(kind, arguments);
}

PF_Err Command::ArriveFromAnyThread(CallKind kind, std::initializer_list<Argument> arguments) {
  return observer_ == nullptr ? PF_Err_NONE : Tell(kind, arguments);
}

PF_Err Command::Tell(CallKind kind, std::initializer_list<Argument> arguments) {
  Call call;
  call.command = cmd_;
  call.kind = kind;
  call.ordinal = ++calls_;
  for (const Argument& argument : arguments) call.arguments[call.argument_count++] = argument;
  return (*observer_)(call);
}

const char* Command::ControlName(int index) const {
  if (index == 0) return "layer";
  if (setup == nullptr || index < 0) return "";
  const auto& controls = setup->controls.controls();
  const auto i = static_cast<std::size_t>(index - 1);
  return i < controls.size() ? controls[i].name.c_str() : "";
}

const World* Command::Find(const PF_EffectWorld* world) const {
  if (world == nullptr) return nullptr;
  for (const World* lent : lent_) {
    if (lent->Holds(*world)) return lent;
  }
  for (const World& own : ledger.worlds()) {
    if (own.Holds(*world)) return &own;
  }
  return nullptr;
}

void Command::CheckGuards(const std::string& when) {
  const auto check = [&](const World& world, const std::string& whose) {
    if (const std::string damage = world.GuardDamage(); !damage.empty()) {
      ledger.Note("before " + when + " the effect wrote outside " + whose + ": " + damage);
    }
  };
  for (const World* lent : lent_)
    check(*lent, lent == input ? "the input world" : "the output world");
  for (const World& own : ledger.worlds()) check(own, "its own world");
}

void Prepare(Command& command, const Setup& setup, A_long layer_time,
             const RenderOptions& options) {
  command.setup = &setup;
  command.downsample_x = options.downsample_x.value();
  command.downsample_y = options.downsample_y.value();
  command.layout = options.layout;
  const auto scale = [](Rational r) {
    return PF_RationalScale{static_cast<A_long>(r.num()), static_cast<A_u_long>(r.den())};
  };
  PF_InData& in = command.in_data;
  in.quality = options.high_quality ? PF_Quality_HI : PF_Quality_LO;
  in.version = options.interface_version;
  in.current_time = layer_time;
  in.time_step = setup.time.step();
  in.local_time_step = setup.time.layer_step();
  in.time_scale = setup.time.scale();
  in.width = setup.width;
  in.height = setup.height;
  in.downsample_x = scale(options.downsample_x);
  in.downsample_y = scale(options.downsample_y);
  in.pixel_aspect_ratio = scale(setup.pixel_aspect);
  in.shutter_angle = ToFixed(options.shutter_angle);

  PF_ParamDef layer{};
  layer.param_type = PF_Param_LAYER;
  command.params.push_back(layer);
  const double seconds = setup.time.Seconds(layer_time);
  for (const ControlInfo& control : setup.controls.controls()) {
    command.params.push_back(
        setup.controls.At(control.index, seconds, command.downsample_x, command.downsample_y));
  }
}

}  // namespace hosting
