// The running host's own state, for its callbacks.
#pragma once

#include <bit>
#include <map>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>

#include "test_host.h"

namespace testhost {

inline constexpr std::byte kPoison{0xCD};
inline constexpr int kGuard = 64;  // bytes before and after the pixels
inline const auto kEffectRef = reinterpret_cast<PF_ProgPtr>(std::uintptr_t{0x5eed});

template <class Value>
std::int64_t Word(const Value& value) {
  if constexpr (std::is_floating_point_v<Value>) {
    return std::bit_cast<std::int64_t>(static_cast<double>(value));
  } else if constexpr (std::is_pointer_v<Value>) {
    return value == nullptr ? 0 : 1;
  } else {
    return static_cast<std::int64_t>(value);
  }
}

inline std::int64_t Word(std::string_view text) {
  std::uint64_t hash = 14695981039346656037u;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211u;
  return static_cast<std::int64_t>(hash);
}

template <class Record>
std::string_view Bytes(const Record& record) {
  return {reinterpret_cast<const char*>(&record), sizeof record};
}

struct Verdict {
  bool act;  // whether the call does its work
  PF_Err code;
  bool hollow = false;
};

/// A buffer with guards; every pixel takes that many bytes.
struct Memory {
  std::vector<std::byte> bytes;
  int row;

  Memory(int width, int height, int pixel, int padding)
      : bytes(static_cast<std::size_t>(2 * kGuard + (width * pixel + padding) * height), kPoison),
        row(width * pixel + padding) {}
  /// The world in it.
  PF_EffectWorld Lent(const World& world, PF_WorldFlags flags) {
    const A_long first = world.upward && world.height > 0 ? (world.height - 1) * row : 0;
    return {flags,
            reinterpret_cast<PF_Pixel*>(bytes.data() + kGuard + first),
            world.upward ? -row : row,
            world.width,
            world.height,
            world.origin_x,
            world.origin_y};
  }
};

/// By place in params.
inline constexpr PF_ParamType kTypes[29] = {
    PF_Param_LAYER,      PF_Param_POINT,       PF_Param_FIX_SLIDER,  PF_Param_FIX_SLIDER,
    PF_Param_FIX_SLIDER, PF_Param_FIX_SLIDER,  PF_Param_FIX_SLIDER,  PF_Param_GROUP_START,
    PF_Param_POPUP,      PF_Param_FIX_SLIDER,  PF_Param_FIX_SLIDER,  PF_Param_FIX_SLIDER,
    PF_Param_GROUP_END,  PF_Param_GROUP_START, PF_Param_POPUP,       PF_Param_FIX_SLIDER,
    PF_Param_COLOR,      PF_Param_POPUP,       PF_Param_FIX_SLIDER,  PF_Param_POINT,
    PF_Param_ANGLE,      PF_Param_GROUP_END,   PF_Param_GROUP_START, PF_Param_FIX_SLIDER,
    PF_Param_FIX_SLIDER, PF_Param_FIX_SLIDER,  PF_Param_FIX_SLIDER,  PF_Param_FIX_SLIDER,
    PF_Param_GROUP_END};

class Host;
inline Host* g_host = nullptr;  // the running command's

class Host {
 public:
  explicit Host(const Situation& situation);

  Outcome Run(PF_MainEntry entry);

  template <class... Args>
  Verdict Note(Callback callback, const Args&... args);

  const Situation& s;
  Outcome out;
  PF_InData in{};
  std::map<std::pair<std::string, int>, int> lent_suites;
  std::map<const PF_ParamDef*, int> lent_params;
  std::map<const void*, std::unique_ptr<Memory>> scratch;
  PF_EffectWorld input{};
  PF_EffectWorld output{};
  PF_EffectWorld decoy{};  // stands where a command must not look for a world
  std::vector<PF_ParamDef> params = std::vector<PF_ParamDef>(29);

  void Blame(const std::string& what) {
    if (out.ownership.empty()) out.ownership = what;
  }
  const PF_EffectWorld* Input() const {
    return s.command == PF_Cmd_RENDER ? &params[0].u.ld : &input;
  }
  /// Which world a pointer means.
  std::int64_t Name(const PF_EffectWorld* world) const {
    if (world == nullptr) return 0;
    if (world == Input()) return 1;
    if (world == &output) return 2;
    return scratch.contains(world->data) ? 3 : 99;
  }

 private:
  void FillParams();

  Memory input_memory_;
  Memory output_memory_;
  Memory decoy_memory_{5, 4, 16, 0};
};

template <class... Args>
Verdict Host::Note(Callback callback, const Args&... args) {
  if (s.threads > 1) return {true, 0};
  const auto first = static_cast<std::uint32_t>(out.words.size());
  (out.words.push_back(Word(args)), ...);
  out.calls.push_back({callback, first, static_cast<std::uint32_t>(sizeof...(args))});
  const int nth = out.counts[static_cast<std::size_t>(callback)]++;
  for (const Rule& rule : s.rules) {
    if (rule.callback != callback || (rule.from_then_on ? nth < rule.nth : nth != rule.nth))
      continue;
    switch (rule.misdeed) {
      case Misdeed::kRefuse:
        return {false, rule.code};
      case Misdeed::kRefuseYetDo:
        return {true, rule.code};
      case Misdeed::kNothing:
        return {false, 0};
      case Misdeed::kThrowInt:
        throw int{rule.code};
      case Misdeed::kThrowBadAlloc:
        throw std::bad_alloc();
      case Misdeed::kThrowOther:
        throw std::runtime_error("thrown by the host");
      case Misdeed::kHollow:
        return {true, 0, true};
    }
  }
  return {true, 0};
}

// The tables of callbacks.
extern PF_InteractCallbacks g_interact;
extern PF_UtilCallbacks g_utils;
extern PF_PreRenderCallbacks g_pre_render;
extern PF_SmartRenderCallbacks g_smart_render;
extern const AEGP_PFInterfaceSuite1 g_interface_suite;
extern const AEGP_LayerSuite5 g_layer_suite;
extern const AEGP_LightSuite1 g_light_suite;
extern const AEGP_StreamSuite4 g_stream_suite;
extern const PF_WorldSuite1 g_world_suite1;
extern const PF_WorldSuite2 g_world_suite2;
extern SPBasicSuite g_basic;

template <class Pixel, Callback kCallback>
PF_Err Iterate(PF_InData* in, A_long base, A_long final, PF_EffectWorld* src, const PF_Rect* area,
               void* refcon, PF_IteratePixelFunc<Pixel> function, PF_EffectWorld* dst);

}  // namespace testhost
