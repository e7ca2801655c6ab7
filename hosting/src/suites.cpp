// The basic suite and the suites of the effect interface.
#include <new>

#include "command.h"
#include "hosting/errors.h"

namespace hosting {
namespace {

/// new_world and PF_NewWorld.
PF_Err MakeWorld(Command& command, CallKind kind, A_long width, A_long height, bool clear,
                 Depth depth, PF_EffectWorld* world) {
  const PF_Err err =
      command.Arrive(kind, {Arg("width", width), Arg("height", height), Arg("clear", clear),
                            Arg("depth", static_cast<int>(depth))});
  if (err != 0) return err;
  if (world == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  try {
    World& made = command.ledger.Add(World(width, height, depth, command.layout, command.memory));
    if (clear) made.Clear();
    *world = made.record();
    return PF_Err_NONE;
  } catch (const std::bad_alloc&) {
    return PF_Err_OUT_OF_MEMORY;
  } catch (const Error&) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
}

PF_Err DisposeWorld(PF_ProgPtr effect_ref, CallKind kind, PF_EffectWorld* world) {
  Command* const command = Command::Of(effect_ref);
  if (command == nullptr || world == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  const Argument width = Arg("width", world->width);
  const Argument height = Arg("height", world->height);
  std::optional<World> own = command->ledger.Dispose(*world);
  if (own && command->kept_worlds != nullptr) command->kept_worlds->push_back(std::move(*own));
  return command->Arrive(kind, {width, height});
}

PF_Err NewWorld1(PF_ProgPtr effect_ref, A_long width, A_long height, PF_NewWorldFlags flags,
                 PF_EffectWorld* world) {
  Command* const command = Command::Of(effect_ref);
  if (command == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  return MakeWorld(*command, CallKind::kNewWorld1, width, height,
                   (flags & PF_NewWorldFlag_CLEAR_PIXELS) != 0,
                   (flags & PF_NewWorldFlag_DEEP_PIXELS) != 0 ? Depth::k16 : Depth::k8, world);
}

PF_Err DisposeWorld1(PF_ProgPtr effect_ref, PF_EffectWorld* world) {
  return DisposeWorld(effect_ref, CallKind::kDisposeWorld1, world);
}

PF_Err NewWorld2(PF_ProgPtr effect_ref, A_long width, A_long height, PF_Boolean clear_pixels,
                 PF_PixelFormat format, PF_EffectWorld* world) {
  Command* const command = Command::Of(effect_ref);
  if (command == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  for (const Depth depth : {Depth::k8, Depth::k16, Depth::k32}) {
    if (format != FormatOf(depth)) continue;
    return MakeWorld(*command, CallKind::kNewWorld2, width, height, clear_pixels != 0, depth,
                     world);
  }
  return PF_Err_BAD_CALLBACK_PARAM;
}

PF_Err DisposeWorld2(PF_ProgPtr effect_ref, PF_EffectWorld* world) {
  return DisposeWorld(effect_ref, CallKind::kDisposeWorld2, world);
}

PF_Err GetPixelFormat(const PF_EffectWorld* world, PF_PixelFormat* format) {
  Command* const command = Command::Current();
  if (command == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  const PF_Err err = command->Arrive(CallKind::kGetPixelFormat, {});
  if (err != 0) return err;
  const World* const ours = command->Find(world);
  if (ours == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  *format = FormatOf(ours->depth());
  return PF_Err_NONE;
}

PF_Err UpdateParamUI(PF_ProgPtr effect_ref, A_long index, const PF_ParamDef* def) {
  Command* const command = Command::Of(effect_ref);
  if (command == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  const bool disabled = (def->ui_flags & PF_PUI_DISABLED) != 0;
  const bool collapsed = (def->flags & PF_ParamFlag_COLLAPSE_TWIRLY) != 0;
  const PF_Err err = command->Arrive(CallKind::kUpdateParamUI,
                                     {Arg("", index), Arg("", command->ControlName(index)),
                                      Arg("disabled", disabled), Arg("collapsed", collapsed)});
  if (err != 0) return err;
  Panel* const panel = command->panel;
  if (panel == nullptr || index < 0 || index >= static_cast<A_long>(panel->size())) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  (*panel)[static_cast<std::size_t>(index)] = {!disabled, collapsed};
  return PF_Err_NONE;
}

bool SameWorld(const PF_EffectWorld& a, const PF_EffectWorld& b) {
  return a.data == b.data && a.rowbytes == b.rowbytes && a.width == b.width && a.height == b.height;
}

template <class Pixel>
PF_Err AreaSample(PF_ProgPtr effect_ref, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                  Pixel* dst) {
  const Command* const command = Command::Of(effect_ref);
  if (command == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  const SampleBox box{x, y, params->x_radius, params->y_radius};
  const AreaSampler* const sampler = command->sampler;
  if (sampler != nullptr && sampler->depth() == kDepthOf<Pixel> &&
      SameWorld(sampler->source(), *params->src)) {
    sampler->Sample(box, dst);
    return PF_Err_NONE;
  }
  const World* const ours = command->Find(params->src);
  if (ours == nullptr || ours->depth() != kDepthOf<Pixel>) return PF_Err_BAD_CALLBACK_PARAM;
  PlainAreaSample(*params->src, box, dst);
  return PF_Err_NONE;
}

template <class Pixel>
PF_Err ToldAreaSample(PF_ProgPtr effect_ref, PF_Fixed x, PF_Fixed y, const PF_SampPB* params,
                      Pixel* dst) {
  Command* const command = Command::Of(effect_ref);
  if (command == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  constexpr CallKind kKind =
      ByDepth<Pixel>(CallKind::kAreaSample8, CallKind::kAreaSample16, CallKind::kAreaSampleFloat);
  const PF_Err err =
      command->ArriveFromAnyThread(kKind, {Arg("x", x / 65536.0), Arg("y", y / 65536.0),
                                           Arg("x_radius", params->x_radius / 65536.0),
                                           Arg("y_radius", params->y_radius / 65536.0)});
  return err != 0 ? err : AreaSample(effect_ref, x, y, params, dst);
}

template <class Pixel>
const void* SamplingSuite(bool observed) {
  static constexpr PF_SamplingSuite<Pixel> kSuite{nullptr, nullptr, AreaSample<Pixel>};
  static constexpr PF_SamplingSuite<Pixel> kTold{nullptr, nullptr, ToldAreaSample<Pixel>};
  return observed ? &kTold : &kSuite;
}

PF_Err GetFloatingPointColor(PF_ProgPtr effect_ref, const PF_ParamDef* color_def,
                             PF_PixelFloat* fp_color) {
  Command* const command = Command::Of(effect_ref);
  if (command == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  const Ledger::CheckOut* const check_out = command->ledger.Find(color_def);
  const int index = check_out == nullptr ? -1 : check_out->index;
  const PF_Err err = command->Arrive(CallKind::kGetFloatingPointColor,
                                     {Arg("", index), Arg("", command->ControlName(index))});
  if (err != 0) return err;
  if (check_out == nullptr) {
    command->ledger.Note("colour asked of a record that nothing is checked out into");
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  try {
    const Color color = command->setup->controls.ColorAt(index, check_out->seconds);
    *fp_color = {1, static_cast<float>(color.red), static_cast<float>(color.green),
                 static_cast<float>(color.blue)};
  } catch (const Error&) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return PF_Err_NONE;
}

SPErr AcquireSuite(const char* name, std::int32_t version, const void** suite) {
  Command* const command = Command::Current();
  if (command == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  const PF_Err err =
      command->Arrive(CallKind::kAcquireSuite, {Arg("", name), Arg("version", version)});
  if (err != 0) return err;
  *suite = FindSuite(name, version, command->observed());
  if (*suite == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  command->ledger.Acquire(name, version);
  return PF_Err_NONE;
}

SPErr ReleaseSuite(const char* name, std::int32_t version) {
  Command* const command = Command::Current();
  if (command == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
  command->ledger.Release(name, version);
  return command->Arrive(CallKind::kReleaseSuite, {Arg("", name), Arg("version", version)});
}

}  // namespace

SPBasicSuite BasicSuite() { return {AcquireSuite, ReleaseSuite}; }

const void* FindSuite(std::string_view name, int version, bool observed) {
  static constexpr PF_WorldSuite1 kWorld1{NewWorld1, DisposeWorld1};
  static constexpr PF_WorldSuite2 kWorld2{NewWorld2, DisposeWorld2, GetPixelFormat};
  static constexpr PF_ParamUtilsSuite1 kParamUtils{UpdateParamUI};
  static constexpr PF_ColorParamSuite1 kColorParam{GetFloatingPointColor};
  struct Entry {
    std::string_view name;
    int version;
    const void* table;
  };
  const Entry entries[] = {
      {kPFWorldSuite, 1, &kWorld1},
      {kPFWorldSuite, 2, &kWorld2},
      {kPFParamUtilsSuite, 1, &kParamUtils},
      {kPFSampling8Suite, 1, SamplingSuite<PF_Pixel>(observed)},
      {kPFSampling16Suite, 1, SamplingSuite<PF_Pixel16>(observed)},
      {kPFSamplingFloatSuite, 1, SamplingSuite<PF_PixelFloat>(observed)},
      {kPFIterateFloatSuite, 1, &IterateFloatSuite()},
      {kPFColorParamSuite, 1, &kColorParam},
      {kAEGPPFInterfaceSuite, 1, &PFInterfaceSuite()},
      {kAEGPLayerSuite, 5, &LayerSuite()},
      {kAEGPLightSuite, 1, &LightSuite()},
      {kAEGPStreamSuite, 4, &StreamSuite()},
  };
  for (const Entry& entry : entries) {
    if (entry.name == name && entry.version == version) return entry.table;
  }
  return nullptr;
}

}  // namespace hosting
