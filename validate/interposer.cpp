#include "interposer.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace validate {
namespace {

Interposer* g_interposer = nullptr;  // the one of this process; null while there is none

std::string Pixels(const PF_EffectWorld& world, std::size_t pixel_size) {
  std::string pixels;
  for (A_long y = 0; y < world.height; ++y) {
    pixels.append(
        reinterpret_cast<const char*>(world.data) + static_cast<std::ptrdiff_t>(world.rowbytes) * y,
        static_cast<std::size_t>(std::max(world.width, 0)) * pixel_size);
  }
  return pixels;
}

struct Place {
  A_long x;
  A_long y;
};

std::vector<Place> Ordered(A_long width, A_long height, const PixelOrder& order) {
  std::vector<Place> places;
  places.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  const auto block = [&](A_long left, A_long top, A_long right, A_long bottom) {
    for (A_long y = top; y < std::min(bottom, height); ++y) {
      for (A_long x = left; x < std::min(right, width); ++x) places.push_back({x, y});
    }
  };
  switch (order.kind) {
    case PixelOrder::Kind::kColumns:
      for (A_long x = 0; x < width; ++x) block(x, 0, x + 1, height);
      break;
    case PixelOrder::Kind::kTiles: {
      constexpr A_long kTile = 5;
      for (A_long y = 0; y < height; y += kTile) {
        for (A_long x = 0; x < width; x += kTile) block(x, y, x + kTile, y + kTile);
      }
      break;
    }
    default:
      block(0, 0, width, height);
  }
  if (order.kind == PixelOrder::Kind::kReversed) std::reverse(places.begin(), places.end());
  if (order.kind == PixelOrder::Kind::kShuffled) {
    std::shuffle(places.begin(), places.end(), std::mt19937(order.seed));
  }
  return places;
}

template <class Pixel>
PF_Err RunPass(const PixelOrder& order, void* refcon, PF_IteratePixelFunc<Pixel> function,
               PF_EffectWorld& world) {
  const std::vector<Place> places = Ordered(world.width, world.height, order);
  const auto threads = static_cast<std::size_t>(order.threads);
  std::vector<PF_Err> errors(threads, 0);
  const auto work = [&](std::size_t thread) {
    for (std::size_t i = thread; i < places.size() && errors[thread] == 0; i += threads) {
      const auto [x, y] = places[i];
      auto* const row = reinterpret_cast<Pixel*>(reinterpret_cast<char*>(world.data) +
                                                 static_cast<std::ptrdiff_t>(world.rowbytes) * y);
      errors[thread] = function(refcon, x, y, nullptr, row + x);
    }
  };
  {
    std::vector<std::jthread> others;
    for (std::size_t i = 1; i < threads; ++i) others.emplace_back(work, i);
    work(0);
  }
  const auto failed = std::find_if(errors.begin(), errors.end(), [](PF_Err e) { return e != 0; });
  return failed == errors.end() ? 0 : *failed;
}

bool AnswersInOutData(PF_Cmd cmd) {
  return cmd == PF_Cmd_ABOUT || cmd == PF_Cmd_GLOBAL_SETUP || cmd == PF_Cmd_PARAMS_SETUP ||
         cmd == PF_Cmd_QUERY_DYNAMIC_FLAGS;
}

/// Every byte, padding too: the effect has no business with any of them.
template <class Record>
bool Same(const Record& a, const Record& b) {
  // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
  return std::memcmp(&a, &b, sizeof(Record)) == 0;
}

}  // namespace

/// One command on its way: what the host gave, and the copies that the effect is given.
class Interposer::Passage {
 public:
  Passage(Interposer& interposer, PF_Cmd cmd, PF_InData* in_data)
      : interposer_(interposer), host_(*in_data), in_(*in_data) {
    current_ = this;
    if (in_.utils != nullptr) {
      utils_ = *in_.utils;
      utils_.fill = Fill;
      utils_.iterate = [](PF_InData* in, A_long base, A_long final, PF_EffectWorld* src,
                          const PF_Rect* area, void* refcon, PF_IteratePixelFunc<PF_Pixel> function,
                          PF_EffectWorld* dst) {
        return Iterate(current_->host_.utils->iterate, in, base, final, src, area, refcon, function,
                       dst);
      };
      utils_.iterate16 = [](PF_InData* in, A_long base, A_long final, PF_EffectWorld* src,
                            const PF_Rect* area, void* refcon,
                            PF_IteratePixelFunc<PF_Pixel16> function, PF_EffectWorld* dst) {
        return Iterate(current_->host_.utils->iterate16, in, base, final, src, area, refcon,
                       function, dst);
      };
      in_.utils = &utils_;
    }
    in_.inter.checkout_param = CheckoutParam;
    in_.pica_basicP = &basic_;
    if (interposer.changes.in_data) interposer.changes.in_data(cmd, in_);
    in_before_ = in_;
    utils_before_ = utils_;
  }
  ~Passage() { current_ = nullptr; }
  Passage(const Passage&) = delete;
  Passage& operator=(const Passage&) = delete;

  PF_Err Run(PF_Cmd cmd, PF_OutData* out_data, PF_ParamDef* params[], PF_LayerDef* output,
             void* extra) {
    PF_SmartRenderInput smart_input{};
    PF_SmartRenderExtra smart{};
    if (cmd == PF_Cmd_RENDER) {
      output_ = output;
    } else if (cmd == PF_Cmd_SMART_RENDER) {
      const auto& given = *static_cast<PF_SmartRenderExtra*>(extra);
      smart_host_ = given.cb;
      smart_input = *given.input;
      smart = {&smart_input, &smart_callbacks_};
      if (interposer_.changes.request) interposer_.changes.request(smart_input.output_request);
      extra = &smart;
    }
    const PF_OutData out_before = *out_data;
    const PF_Err result = interposer_.effect_(cmd, &in_, out_data, params, output, extra);
    if (!Same(in_, in_before_)) interposer_.seen.breach = "wrote to PF_InData";
    if (!Same(utils_, utils_before_)) interposer_.seen.breach = "wrote to the utility callbacks";
    if ((result != 0 || !AnswersInOutData(cmd)) && !Same(*out_data, out_before)) {
      interposer_.seen.breach = "wrote to PF_OutData";
    }
    if (output_ != nullptr) {
      interposer_.seen.output = Pixels(*output_, hosting::PixelSize(interposer_.depth));
    }
    return result;
  }

 private:
  static PF_Err CheckoutParam(PF_ProgPtr effect_ref, A_long index, A_long time, A_long step,
                              A_u_long scale, PF_ParamDef* param) {
    Passage& me = *current_;
    const PF_Err err = me.host_.inter.checkout_param(effect_ref, index, time, step, scale, param);
    if (me.interposer_.changes.control) me.interposer_.changes.control(index, *param);
    return err;
  }

  static PF_Err Fill(PF_ProgPtr effect_ref, const PF_Pixel* color, const PF_Rect* rect,
                     PF_EffectWorld* world) {
    Passage& me = *current_;
    if (me.output_ == nullptr || world->data != me.output_->data) me.field_ = world;
    return me.host_.utils->fill(effect_ref, color, rect, world);
  }

  template <class Pixel>
  static PF_Err Iterate(PF_IterateFunc<Pixel> host, PF_InData* in, A_long base, A_long final,
                        PF_EffectWorld* src, const PF_Rect* area, void* refcon,
                        PF_IteratePixelFunc<Pixel> function, PF_EffectWorld* dst) {
    Passage& me = *current_;
    Seen& seen = me.interposer_.seen;
    const std::string before = Pixels(*dst, sizeof(Pixel));
    seen.pass_begun = true;
    seen.cleared = before.find_first_not_of('\0') == std::string::npos;
    if (me.field_ != nullptr) seen.field = Pixels(*me.field_, sizeof(float));
    const PixelOrder& order = me.interposer_.changes.order;
    if (order.kind != PixelOrder::Kind::kHost) return RunPass(order, refcon, function, *dst);
    return host(in, base, final, src, area, refcon, function, dst);
  }

  static SPErr AcquireSuite(const char* name, std::int32_t version, const void** suite) {
    Passage& me = *current_;
    const void* table = nullptr;
    const SPErr err = me.host_.pica_basicP->AcquireSuite(name, version, &table);
    if (table != nullptr && std::string_view(name) == kPFIterateFloatSuite) {
      me.iterate_float_ = static_cast<const PF_iterateFloatSuite1*>(table)->iterate;
      static constexpr PF_iterateFloatSuite1 kOurs{
          [](PF_InData* in, A_long base, A_long final, PF_EffectWorld* src, const PF_Rect* area,
             void* refcon, PF_IteratePixelFunc<PF_PixelFloat> function, PF_EffectWorld* dst) {
            return Iterate(current_->iterate_float_, in, base, final, src, area, refcon, function,
                           dst);
          }};
      table = &kOurs;
    }
    const auto& change = me.interposer_.changes.suite;
    *suite = change ? change(name, version, table) : table;
    // A host that gives no table has not lent anything either.
    if (*suite == nullptr && table != nullptr) ReleaseSuite(name, version);
    return err;
  }

  static SPErr ReleaseSuite(const char* name, std::int32_t version) {
    return current_->host_.pica_basicP->ReleaseSuite(name, version);
  }

  static PF_Err CheckoutLayerPixels(PF_ProgPtr effect_ref, A_long id, PF_EffectWorld** pixels) {
    Passage& me = *current_;
    const PF_Err err = me.smart_host_->checkout_layer_pixels(effect_ref, id, pixels);
    if (err == 0 && *pixels != nullptr) *pixels = &(me.input_ = **pixels);
    if (err == 0 && me.interposer_.changes.no_input) *pixels = nullptr;
    return err;
  }

  static PF_Err CheckoutOutput(PF_ProgPtr effect_ref, PF_EffectWorld** output) {
    Passage& me = *current_;
    const PF_Err err = me.smart_host_->checkout_output(effect_ref, output);
    if (err != 0 || *output == nullptr) return err;
    me.output_ = *output;
    *output = &(me.lent_output_ = **output);
    const Changes& changes = me.interposer_.changes;
    if (changes.worlds) changes.worlds(me.input_, me.lent_output_);
    if (changes.no_output) *output = nullptr;
    return err;
  }

  static Passage* current_;

  Interposer& interposer_;
  const PF_InData host_;
  PF_InData in_;
  PF_InData in_before_{};
  PF_UtilCallbacks utils_{};
  PF_UtilCallbacks utils_before_{};
  SPBasicSuite basic_{AcquireSuite, ReleaseSuite};
  PF_SmartRenderCallbacks* smart_host_ = nullptr;
  PF_SmartRenderCallbacks smart_callbacks_{CheckoutLayerPixels, CheckoutOutput};
  PF_IterateFunc<PF_PixelFloat> iterate_float_ = nullptr;
  PF_EffectWorld input_{};  // as lent in smart render
  PF_EffectWorld lent_output_{};
  const PF_EffectWorld* output_ = nullptr;  // the host's
  PF_EffectWorld* field_ = nullptr;         // the latest world filled besides the output
};

Interposer::Passage* Interposer::Passage::current_ = nullptr;

Interposer::Interposer(PF_MainEntry effect) : effect_(effect) {
  if (g_interposer != nullptr) throw std::logic_error("two interposers");
  g_interposer = this;
}

Interposer::~Interposer() { g_interposer = nullptr; }

PF_Err Interposer::Entry(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                         PF_ParamDef* params[], PF_LayerDef* output, void* extra) {
  Interposer& me = *g_interposer;
  me.seen = {};
  Passage passage(me, cmd, in_data);
  me.seen.result = passage.Run(cmd, out_data, params, output, extra);
  return me.seen.result;
}

}  // namespace validate
