#include "reference.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>

#include "reference_stroke.h"

namespace reference {
namespace {

template <class Pixel>
struct PixelPass {
  Env& env;
  const Frame& frame;
  const PF_EffectWorld& field;
  const Model& model;
  double reflection_scale;
  PF_SampleFunc<Pixel> sample;
};

template <class Pixel>
constexpr double kWhite = std::is_same_v<Pixel, PF_Pixel>     ? 255.0
                          : std::is_same_v<Pixel, PF_Pixel16> ? 32768.0
                                                              : 1.0;
template <class Pixel>
constexpr double kUnit = std::is_same_v<Pixel, PF_Pixel>     ? 0.00392156862745098
                         : std::is_same_v<Pixel, PF_Pixel16> ? 3.0517578125e-05
                                                             : 1.0;

template <class Channel>
void Store(double v, double white, Channel& to) {
  if constexpr (std::is_same_v<Channel, float>) {
    to = static_cast<float>(v);
  } else {
    to = static_cast<Channel>(!(v > 0) ? 0 : v >= white ? white : v);
  }
}

double Folded(double u, double margin, double last) {
  const double range = last - 2 * margin;
  const double turns = u / range;
  if (!(range > 0) || !(std::abs(turns) < 2147483648.0)) return margin;
  int k = static_cast<int>(turns);
  double rem = u - k * range;
  if (rem < 0) {
    k -= 1;
    rem += range;
  }
  return (k & 1) != 0 ? last - (margin + rem) : margin + rem;
}

template <class Pixel>
PF_Err DrawPixel(void* refcon, A_long x, A_long y, Pixel*, Pixel* out) {
  const auto& [env, frame, field, model, reflection_scale, sample] =
      *static_cast<const PixelPass<Pixel>*>(refcon);
  const PF_InData& in = *env.in;
  const Scales& s = frame.scales;
  const double h = Cell(field, x, y);
  const double hl = x == 0 ? h : Cell(field, x - 1, y);
  const double hu = y == 0 ? h : Cell(field, x, y - 1);
  if (h < 0 && hl < 0 && hu < 0) return 0;
  const double gx = (hl - h) * (4.0 * s.to_buffer_x), gy = (hu - h) * (4.0 * s.to_buffer_y);
  const double inv = 1.0 / (in.utils->ansi.sqrt(gx * gx + gy * gy + h * h) + 1e-5);
  const Vec n{gx * inv, gy * inv, h * inv};
  const double ox = n.x * reflection_scale, oy = n.y * reflection_scale;
  const double width = env.input->width * s.to_layer_x - 1.0;
  const double height = env.input->height * s.to_layer_y - 1.0;
  const double fixed_x = s.to_buffer_x * 65536.0, fixed_y = s.to_buffer_y * 65536.0;
  PF_SampPB samp{32768, 32768, 65536, env.input};
  double rx = 0, ry = 0;
  if (in.quality == 1) {
    rx = std::min(64.0, std::abs(ox) * 0.25);
    ry = std::min(64.0, std::abs(oy) * 0.25);
    samp.x_radius = Cut(rx * fixed_x + 32768.0);
    samp.y_radius = Cut(ry * fixed_y + 32768.0);
    samp.area = Cut(4.0 * FixMul(samp.x_radius, samp.y_radius));
    if (width - 2 * rx < 1.0 || height - 2 * ry < 1.0) return 0;
  }
  const double px = x * s.to_layer_x + frame.origin_x, py = y * s.to_layer_y + frame.origin_y;
  const PF_Err err = sample(in.effect_ref, Cut(Folded(px + ox, rx, width) * fixed_x),
                            Cut(Folded(py + oy, ry, height) * fixed_y), &samp, out);
  const double unit = kUnit<Pixel> * 1.0;
  const Rgb lit =
      Shade(in.utils->ansi, model, {out->red * unit, out->green * unit, out->blue * unit}, n,
            {px, py, 0}, nullptr);
  const double white = kWhite<Pixel>;
  Store(lit.red * white, white, out->red);
  Store(lit.green * white, white, out->green);
  Store(lit.blue * white, white, out->blue);
  if (h < 0 || hl < 0 || hu < 0) {
    const double most = std::max({h, hl, hu}), least = std::min({h, hl, hu});
    Store(out->alpha * most / (most - least + 1e-5), white, out->alpha);
  }
  return err;
}

/// The field's world, disposed of whatever happens.
struct Scratch {
  Env& env;
  PF_EffectWorld world{};
  bool allocated = false;

  ~Scratch() {
    try {
      if (allocated) {
        env.suites.Get<PF_WorldSuite1>(kPFWorldSuite, 1).dispose_world(env.in->effect_ref, &world);
      }
    } catch (...) {
    }
  }
};

template <class Pixel>
PF_Err RenderFrame(Env& env, PF_PixelFormat format) {
  PF_InData* in = env.in;
  PF_EffectWorld& output = *env.output;
  Frame frame{Scales(*in), env.input->width * Scales(*in).to_layer_x,
              env.input->height * Scales(*in).to_layer_y};
  const double span = Slider(in, 4);
  const double reflection = Slider(in, 5) * 0.0075;
  const int style = Control(in, 8).u.pd.value;
  if (env.extra != nullptr) {
    frame.width = in->width / frame.scales.aspect_inverse;
    frame.height = in->height;
    frame.shift_x = -double(output.origin_x);
    frame.shift_y = -double(output.origin_y);
    frame.origin_x = (double(output.origin_x) - env.input->origin_x) * frame.scales.to_layer_x;
    frame.origin_y = (double(output.origin_y) - env.input->origin_y) * frame.scales.to_layer_y;
  }
  const double diagonal =
      in->utils->ansi.sqrt(frame.width * frame.width + frame.height * frame.height);
  if (const PF_Err err = in->utils->fill(in->effect_ref, nullptr, nullptr, &output); err != 0) {
    return err;
  }
  if (in->local_time_step == 0) return 0;
  const double rate = double(in->time_scale) / double(in->local_time_step);
  if (rate == 0) return 0;
  const double frame_count = (span > 0 ? span : 3000.0) * rate;
  if (frame_count < 0) return 0;

  Scratch scratch{env};
  if (const PF_Err err =
          env.suites.Get<PF_WorldSuite1>(kPFWorldSuite, 1)
              .new_world(in->effect_ref, output.width, output.height, 0, &scratch.world);
      err != 0) {
    return err;
  }
  scratch.allocated = true;
  const PF_EffectWorld& field = scratch.world;
  const auto address = reinterpret_cast<std::uintptr_t>(field.data);
  if (address == 0 || address % 4 != 0 || field.rowbytes % 4 != 0) return 4;
  if (field.width < output.width || field.height < output.height) return 4;
  const PF_Pixel quarter{0x00, 0x00, 0x80, 0xBE};
  if (const PF_Err err = in->utils->fill(in->effect_ref, &quarter, nullptr, &scratch.world);
      err != 0) {
    return err;
  }
  if (const PF_Err err = LayStroke(in, frame, diagonal, style, frame_count, scratch.world);
      err != 0) {
    return err;
  }
  const char* suite = format == PF_PixelFormat_ARGB32   ? kPFSampling8Suite
                      : format == PF_PixelFormat_ARGB64 ? kPFSampling16Suite
                                                        : kPFSamplingFloatSuite;
  const auto sample = env.suites.Get<PF_SamplingSuite<Pixel>>(suite, 1).area_sample;
  const double ambient = Slider(in, 23), diffuse = Slider(in, 24), specular = Slider(in, 25),
               roughness = Slider(in, 26), metal = Slider(in, 27);
  Model model{ambient * 0.01,  diffuse * 0.01,
              specular * 0.01, 0,
              metal * 0.01,    std::max(0.5, 1.0 / roughness)};
  model.offset_x = -(output.origin_x * frame.scales.to_layer_x);
  model.offset_y = -(output.origin_y * frame.scales.to_layer_y);
  if (Control(in, 14).u.pd.value == 1 || !AddCompositionLights(env, model)) {
    AddEffectLight(env, model, format, frame.scales.to_layer_x, frame.scales.to_layer_y,
                   frame.width, frame.height);
  }
  PixelPass<Pixel> pass{env, frame, scratch.world, model, frame.width * reflection * 0.125, sample};
  const auto iterate = [&](auto function) {
    return function(in, 0, output.height, nullptr, nullptr, &pass, DrawPixel<Pixel>, &output);
  };
  if constexpr (std::is_same_v<Pixel, PF_Pixel>) return iterate(in->utils->iterate);
  if constexpr (std::is_same_v<Pixel, PF_Pixel16>) return iterate(in->utils->iterate16);
  if constexpr (std::is_same_v<Pixel, PF_PixelFloat>) {
    Suites own(in->pica_basicP);
    return iterate(own.Get<PF_iterateFloatSuite1>(kPFIterateFloatSuite, 1).iterate);
  }
}

/// Whatever the host does, there is an answer.
PF_PixelFormat Format(Env& env) {
  const void* table = nullptr;
  PF_PixelFormat format = PF_PixelFormat_INVALID;
  bool asked = false;
  SPBasicSuite* basic = env.suites.basic;
  try {
    if (basic->AcquireSuite(kPFWorldSuite, 2, &table) != 0) table = nullptr;
  } catch (...) {
    table = nullptr;
  }
  if (table != nullptr) {
    try {
      const auto ask = static_cast<const PF_WorldSuite2*>(table)->PF_GetPixelFormat;
      asked = ask != nullptr;
      if (asked) ask(env.output, &format);
    } catch (...) {
      asked = false;
    }
    try {
      basic->ReleaseSuite(kPFWorldSuite, 2);
    } catch (...) {
    }
  }
  if (asked) return format;
  return (env.output->world_flags & 1) != 0 ? PF_PixelFormat_ARGB64 : PF_PixelFormat_ARGB32;
}

PF_Err Render(Env& env) {
  const PF_PixelFormat format = Format(env);
  if (format == PF_PixelFormat_ARGB32) return RenderFrame<PF_Pixel>(env, format);
  if (format == PF_PixelFormat_ARGB64) return RenderFrame<PF_Pixel16>(env, format);
  if (format == PF_PixelFormat_ARGB128) return RenderFrame<PF_PixelFloat>(env, format);
  return 516;
}

PF_Err About(PF_InData* in, PF_OutData* out) {
  char text[1024];
  in->utils->ansi.sprintf(
      text, "%s\r%s, v%d.%d  (%s)\r%s%s", "Nuvrik 1.7.1", "ZT Vorlin", 1, 7, "MachO Intel",
      "Made by the Nuvrik team\r\rLiquid stroke from animated producer point.", out->return_msg);
  text[255] = '\0';
  in->utils->ansi.sprintf(out->return_msg, "%s", text);
  return 0;
}

bool Empty(const PF_LRect& r) { return r.left >= r.right || r.top >= r.bottom; }

PF_Err PreRender(Env& env, PF_PreRenderExtra& extra) {
  PF_InData* in = env.in;
  PF_RenderRequest request = extra.input->output_request;
  request.rect = {0, 0, 1, 1};
  request.preserve_rgb_of_zero_alpha = 0;
  PF_CheckoutResult probe{}, unused{};
  const auto checkout = [&](A_long id, PF_CheckoutResult& result) {
    return extra.cb->checkout_layer(in->effect_ref, 0, id, &request, in->current_time,
                                    in->time_step, in->time_scale, &result);
  };
  if (const PF_Err err = checkout(9999, probe); err != 0) return err;
  const PF_LRect m = probe.max_result_rect;
  request.rect = m;
  if (const PF_Err err = checkout(0, unused); err != 0) return err;
  extra.output->max_result_rect = m;
  const PF_LRect r = extra.input->output_request.rect;
  const auto clamp = [](A_long v, A_long low, A_long high) {
    return v < low ? low : v > high ? high : v;
  };
  extra.output->result_rect =
      Empty(m) ? m
               : PF_LRect{clamp(r.left, m.left, m.right), clamp(r.top, m.top, m.bottom),
                          clamp(r.right, m.left, m.right), clamp(r.bottom, m.top, m.bottom)};
  return 0;
}

PF_Err SmartRender(Env& env, PF_SmartRenderExtra& extra) {
  PF_InData* in = env.in;
  PF_EffectWorld *input = nullptr, *output = nullptr;
  if (const PF_Err err = extra.cb->checkout_layer_pixels(in->effect_ref, 0, &input); err != 0) {
    return err;
  }
  if (const PF_Err err = extra.cb->checkout_output(in->effect_ref, &output); err != 0) return err;
  if (input == nullptr || output == nullptr) return 0;
  env.output = output;
  env.input = input;
  env.extra = &extra;
  if (Empty(extra.input->output_request.rect)) {
    return in->utils->fill(in->effect_ref, nullptr, nullptr, output);
  }
  if (input->width <= 0 || input->height <= 0 || output->width <= 0 || output->height <= 0) {
    return 0;
  }
  return Render(env);
}

PF_Err Dispatch(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[],
                PF_LayerDef* output, void* extra) {
  switch (cmd) {
    case 0:
      return About(in, out);
    case 1:
      out->my_version = 0x000B8600;
      out->out_flags |= 0x06000006;
      out->out_flags2 |= 0x00001405;
      return 0;
    case 4:
      if (const PF_Err err = AddControls(in); err != 0) return err;
      out->num_params = 29;
      return 0;
    case 11: {
      Env env{in, out, params, output};
      env.input = &params[0]->u.ld;
      return Render(env);
    }
    case 13:
    case 14: {
      Env env{in, out, params, nullptr};
      return Supervise(env);
    }
    case 18: {
      Env env{in, out, params, nullptr};
      bool refused = false;
      const int lights = Control(in, 14, in->current_time, in->time_step, &refused).u.pd.value;
      if (!refused && lights == 1) out->out_flags2 &= ~4;
      if (!refused && lights != 1) out->out_flags2 |= 4;
      return 0;
    }
    case 23: {
      Env env{in, out, params, nullptr};
      return PreRender(env, *static_cast<PF_PreRenderExtra*>(extra));
    }
    case 24: {
      Env env{in, out, params, nullptr};
      return SmartRender(env, *static_cast<PF_SmartRenderExtra*>(extra));
    }
    default:
      return 0;
  }
}

}  // namespace

PF_Err MainEntry(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[],
                 PF_LayerDef* output, void* extra) {
  try {
    return Dispatch(cmd, in, out, params, output, extra);
  } catch (const std::bad_alloc&) {
    return 4;
  } catch (int err) {
    return err;
  } catch (...) {
    return 516;
  }
}

}  // namespace reference
