// The host's scratch worlds and its composition.
#include "host_state.h"

namespace testhost {
namespace {

PF_Err MakeWorld(const Verdict& v, A_long width, A_long height, PF_EffectWorld* world) {
  Host& h = *g_host;
  if (!v.act) return v.code;
  auto memory = std::make_unique<Memory>(std::max(width, 0), std::max(height, 0), 4, 4);
  *world = memory->Lent({.width = width, .height = height, .upward = h.s.input.upward}, 0);
  const Scratch scratch = h.s.scratch;
  world->width -= scratch == Scratch::kNarrow;
  world->height -= scratch == Scratch::kLow;
  world->rowbytes -= 2 * (scratch == Scratch::kOddRows);
  if (scratch == Scratch::kMisplaced) {
    world->data = reinterpret_cast<PF_Pixel*>(reinterpret_cast<char*>(world->data) + 1);
  }
  // One that the effect was told not to have is nobody's.
  if (v.code == 0) h.scratch[world->data] = std::move(memory);
  return v.code;
}

/// As an effect's record is before it holds a world.
bool Empty(const PF_EffectWorld& w) {
  return w.data == nullptr && (w.world_flags | w.rowbytes | w.width | w.height) == 0;
}

PF_Err NewWorld1(PF_ProgPtr ref, A_long width, A_long height, PF_NewWorldFlags flags,
                 PF_EffectWorld* world) {
  return MakeWorld(
      g_host->Note(Callback::kNewWorld1, ref == kEffectRef, width, height, flags, Empty(*world)),
      width, height, world);
}

PF_Err NewWorld2(PF_ProgPtr ref, A_long width, A_long height, PF_Boolean clear,
                 PF_PixelFormat format, PF_EffectWorld* world) {
  return MakeWorld(g_host->Note(Callback::kNewWorld2, ref == kEffectRef, width, height, clear,
                                format, Empty(*world)),
                   width, height, world);
}

template <Callback kCallback>
PF_Err DisposeWorld(PF_ProgPtr ref, PF_EffectWorld* world) {
  Host& h = *g_host;
  const auto found = h.scratch.find(world->data);
  std::unique_ptr<Memory> memory;
  if (found != h.scratch.end()) {
    memory = std::move(found->second);
    h.scratch.erase(found);
  } else if (world->data != nullptr) {
    h.Blame("a world was disposed of that is not lent");
  }
  // The field as it was left: what the stroke summed up to.
  const std::string_view field =
      memory ? std::string_view(reinterpret_cast<const char*>(memory->bytes.data()),
                                memory->bytes.size())
             : std::string_view();
  return h.Note(kCallback, ref == kEffectRef, world->width, world->height, field).code;
}

PF_Err PixelFormat(const PF_EffectWorld* world, PF_PixelFormat* format) {
  Host& h = *g_host;
  const Verdict v = h.Note(Callback::kPixelFormat, h.Name(world));
  if (v.act) *format = h.s.format;
  return v.code;
}

// The composition. A handle is the layer's place, counted from 1; the effect's own is a hundred.

AEGP_LayerH Handle(std::size_t number) { return reinterpret_cast<AEGP_LayerH>(number); }
const auto kComp = reinterpret_cast<AEGP_CompH>(std::uintptr_t{0xc0});
constexpr std::size_t kEffectLayer = 100;
const Layer& Of(AEGP_LayerH layer) {
  return g_host->s.layers[reinterpret_cast<std::uintptr_t>(layer) - 1];
}
std::int64_t Number(AEGP_LayerH layer) {
  return static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(layer));
}

PF_Err GetEffectLayer(PF_ProgPtr ref, AEGP_LayerH* layer) {
  const Verdict v = g_host->Note(Callback::kEffectLayer, ref == kEffectRef);
  *layer = v.act && g_host->s.has_effect_layer ? Handle(kEffectLayer) : nullptr;
  return v.code;
}

PF_Err ConvertTime(PF_ProgPtr ref, A_long time, A_u_long scale, A_Time* comp_time) {
  const Verdict v = g_host->Note(Callback::kConvertTime, ref == kEffectRef, time, scale);
  if (v.act) *comp_time = {time + 17, scale ^ 3};
  return v.code;
}

PF_Err NumLayers(AEGP_CompH comp, A_long* count) {
  const Verdict v = g_host->Note(Callback::kNumLayers, comp == kComp);
  if (v.act) *count = static_cast<A_long>(g_host->s.layers.size());
  return v.code;
}

PF_Err LayerByIndex(AEGP_CompH comp, A_long index, AEGP_LayerH* layer) {
  const Verdict v = g_host->Note(Callback::kLayerByIndex, comp == kComp, index);
  const auto i = static_cast<std::size_t>(index);
  *layer = v.act && !g_host->s.layers[i].null ? Handle(i + 1) : nullptr;
  return v.code;
}

PF_Err ParentComp(AEGP_LayerH layer, AEGP_CompH* comp) {
  const Verdict v = g_host->Note(Callback::kParentComp, Number(layer));
  *comp = v.act && g_host->s.has_comp ? kComp : nullptr;
  return v.code;
}

PF_Err IsVideoActive(AEGP_LayerH layer, AEGP_LTimeMode mode, const A_Time* time,
                     A_Boolean* active) {
  const Verdict v =
      g_host->Note(Callback::kIsVideoActive, Number(layer), mode, time->value, time->scale);
  if (v.act) *active = Of(layer).active;
  return v.code;
}

PF_Err ObjectType(AEGP_LayerH layer, AEGP_ObjectType* type) {
  const Verdict v = g_host->Note(Callback::kObjectType, Number(layer));
  if (v.act) *type = Of(layer).object;
  return v.code;
}

PF_Err LightType(AEGP_LayerH layer, AEGP_LightType* type) {
  const Verdict v = g_host->Note(Callback::kLightType, Number(layer));
  if (v.act) *type = Of(layer).light;
  return v.code;
}

PF_Err ToWorld(AEGP_LayerH layer, const A_Time* view, const A_Time* time, A_Matrix4* matrix) {
  const Verdict v = g_host->Note(Callback::kToWorld, Number(layer), view->value, view->scale,
                                 time->value, time->scale);
  if (v.act) *matrix = Of(layer).world;
  return v.code;
}

PF_Err StreamValue(AEGP_LayerH layer, AEGP_LayerStream stream, AEGP_LTimeMode mode,
                   const A_Time* time, A_Boolean pre_expression, AEGP_StreamVal* value,
                   AEGP_StreamType* type) {
  const Verdict v = g_host->Note(Callback::kStreamValue, Number(layer), stream, mode, time->value,
                                 time->scale, pre_expression, type);
  if (!v.act) return v.code;
  const Layer& l = Of(layer);
  switch (stream) {
    case AEGP_LayerStream_INTENSITY:
      value->one_d = l.intensity;
      break;
    case AEGP_LayerStream_COLOR:
      value->color = {1, l.color[0], l.color[1], l.color[2]};
      break;
    case AEGP_LayerStream_CONE_ANGLE:
      value->one_d = l.cone_angle;
      break;
    case AEGP_LayerStream_CONE_FEATHER:
      value->one_d = l.cone_feather;
      break;
    default:
      g_host->Blame("a stream was asked for that lights do not have");
  }
  return v.code;
}

}  // namespace

const PF_WorldSuite1 g_world_suite1{NewWorld1, DisposeWorld<Callback::kDisposeWorld1>};
const PF_WorldSuite2 g_world_suite2{NewWorld2, DisposeWorld<Callback::kDisposeWorld2>, PixelFormat};
const AEGP_PFInterfaceSuite1 g_interface_suite{GetEffectLayer, ConvertTime};
const AEGP_LayerSuite5 g_layer_suite{NumLayers,     LayerByIndex, ParentComp,
                                     IsVideoActive, ObjectType,   ToWorld};
const AEGP_LightSuite1 g_light_suite{LightType};
const AEGP_StreamSuite4 g_stream_suite{StreamValue};

}  // namespace testhost
