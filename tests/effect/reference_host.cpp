#include "reference_host.h"

#include <cmath>
#include <cstring>

namespace reference {
namespace {

// The pairs that are ever used, in the order of their release.
constexpr std::pair<const char*, int> kPairs[12] = {
    {kAEGPStreamSuite, 4},   {kAEGPPFInterfaceSuite, 1}, {kPFParamUtilsSuite, 1},
    {kAEGPLightSuite, 1},    {kPFWorldSuite, 1},         {kPFSampling8Suite, 1},
    {kPFSampling16Suite, 1}, {kPFIterateFloatSuite, 1},  {kAEGPLayerSuite, 5},
    {kPFColorParamSuite, 1}, {kPFSamplingFloatSuite, 1}, {kPFWorldSuite, 2}};

struct Row {
  int id;
  const char* name;
  char type;  // s slider, p popup, x point, c colour, a angle, g group, e its end
  double min, max, slider_min, slider_max, value;
  const char* choices = "";
  int flags = 0;
  bool disabled = false;
};
const Row kRows[28] = {
    {1, "Brush Position", 'x', 0, 0, 0, 0, 50},
    {2, "Stroke Width", 's', 0, 1024, 0, 25, 4},
    {3, "Density", 's', 0, 200, 2, 100, 25},
    {4, "Time Span (sec)", 's', 0, 3000, 0, 20, 0},
    {5, "Reflection", 's', 0, 200, 0, 150, 100},
    {6, "Strength", 's', 0, 100, 0, 100, 100},
    {7, "Style", 'g', 0, 0, 0, 0, 0},
    {8, "Paint Style", 'p', 0, 0, 0, 0, 1, "Plain|Wobbly", 0x42},
    {9, "Wobble Width", 's', 0, 1024, 0, 10, 2.5, "", 0x20, true},
    {10, "Wobble Height", 's', 0, 1024, 0, 10, 2.5, "", 0x20, true},
    {11, "Wobble Speed", 's', 0, 30000, 0, 250, 100, "", 0x20, true},
    {12, "", 'e', 0, 0, 0, 0, 0},
    {13, "Light", 'g', 0, 0, 0, 0, 0},
    {28, "Using", 'p', 0, 0, 0, 0, 1, "Effect Light|AE Lights", 0x42},
    {14, "Light Intensity", 's', 0, 1000, 0, 150, 100, "", 0x20},
    {15, "Light Color", 'c', 0, 0, 0, 0, 255},
    {16, "Light Type", 'p', 0, 0, 0, 0, 1, "Distant Light|Point Light", 0x42},
    {17, "Light Height", 's', -100, 100, 0, 100, 65, "", 0x20},
    {18, "Light Position", 'x', 0, 0, 0, 0, 25, "", 0, true},
    {19, "Light Direction", 'a', 0, 0, 0, 0, -45, "", 0x20},
    {20, "", 'e', 0, 0, 0, 0, 0},
    {21, "Shading", 'g', 0, 0, 0, 0, 0},
    {22, "Ambient", 's', 0, 200, 0, 100, 100},
    {23, "Diffuse", 's', 0, 100, 0, 100, 25},
    {24, "Specular", 's', 0, 100, 0, 100, 100},
    {25, "Roughness", 's', 0.001, 0.5, 0.001, 0.25, 0.025},
    {26, "Metal", 's', 0, 100, 0, 100, 100},
    {27, "", 'e', 0, 0, 0, 0, 0},
};

PF_Fixed Fixed(double v) { return static_cast<PF_Fixed>(v * 65536); }

PF_ParamDef Filled(const Row& row) {
  PF_ParamDef p;
  std::memset(&p, 0, sizeof p);
  p.uu.id = row.id;
  p.flags = row.flags;
  p.ui_flags = row.disabled ? 0x20 : 0;
  switch (row.type) {
    case 's':
      p.param_type = 2;
      p.u.fd.value = p.u.fd.dephault = Fixed(row.value);
      p.u.fd.valid_min = Fixed(row.min);
      p.u.fd.valid_max = Fixed(row.max);
      p.u.fd.slider_min = Fixed(row.slider_min);
      p.u.fd.slider_max = Fixed(row.slider_max);
      p.u.fd.precision = row.id == 25 ? 3 : 1;
      p.u.fd.display_flags = row.id == 6 ? 1 : 0;
      break;
    case 'a':
      p.param_type = 3;
      p.u.ad.value = p.u.ad.dephault = Fixed(row.value);
      break;
    case 'c':
      p.param_type = 5;
      p.u.cd.value = p.u.cd.dephault = {255, 255, 255, 255};
      break;
    case 'x':
      p.param_type = 6;
      p.u.td.x_value = p.u.td.y_value = Fixed(row.value);
      p.u.td.x_dephault = p.u.td.y_dephault = Fixed(row.value);
      break;
    case 'p':
      p.param_type = 7;
      p.u.pd.value = p.u.pd.dephault = 1;
      p.u.pd.num_choices = 2;
      p.u.pd.u.namesptr = row.choices;
      break;
    default:
      p.param_type = row.type == 'g' ? 13 : 14;
  }
  return p;
}

PF_ParamDef Default(const PF_InData& in, int index) {
  PF_ParamDef p = Filled(kRows[index - 1]);
  if (kRows[index - 1].type == 'x') {
    const double part = kRows[index - 1].value * 65536 * 0.01;
    p.u.td.x_value = Cut(part * in.width * in.downsample_x.num / in.downsample_x.den);
    p.u.td.y_value = Cut(part * in.height * in.downsample_y.num / in.downsample_y.den);
  }
  return p;
}

/// use(param, err) between check-out and check-in.
template <class Use>
void WithControl(PF_InData* in, int index, A_long time, A_long step, const Use& use) {
  PF_ParamDef p;
  std::memset(&p, 0, sizeof p);
  try {
    const PF_Err err =
        in->inter.checkout_param(in->effect_ref, index, time, step, in->time_scale, &p);
    if (err != 0) p = Default(*in, index);
    use(p, err);
  } catch (...) {
    try {
      in->inter.checkin_param(in->effect_ref, &p);
    } catch (...) {
    }
    throw;
  }
  in->inter.checkin_param(in->effect_ref, &p);
}

}  // namespace

Suites::Suites(SPBasicSuite* b) : basic(b) {
  if (basic == nullptr) throw 516;
}

Suites::~Suites() {
  for (int i = 0; i < 12; ++i) {
    try {
      if (tables_[i] != nullptr) basic->ReleaseSuite(kPairs[i].first, kPairs[i].second);
    } catch (...) {
    }
  }
}

const void* Suites::Load(const char* name, int version) {
  int slot = 0;
  while (std::strcmp(kPairs[slot].first, name) != 0 || kPairs[slot].second != version) ++slot;
  if (tables_[slot] == nullptr) {
    const void* table = nullptr;
    if (basic->AcquireSuite(name, version, &table) != 0 || table == nullptr) throw 516;
    tables_[slot] = table;
  }
  // A table without functions is as good as none.
  if (*static_cast<void* const*>(tables_[slot]) == nullptr) throw 516;
  return tables_[slot];
}

PF_ParamDef Control(PF_InData* in, int index, A_long time, A_long step, bool* refused) {
  PF_ParamDef result;
  WithControl(in, index, time, step, [&](const PF_ParamDef& p, PF_Err err) {
    result = p;
    if (refused != nullptr) *refused = err != 0;
  });
  return result;
}

PF_ParamDef Control(PF_InData* in, int index) {
  return Control(in, index, in->current_time, in->time_step);
}

double Slider(PF_InData* in, int index) { return Control(in, index).u.fd.value / 65536.0; }

std::int32_t Cut(double v) {
  if (std::isnan(v)) return 0;
  if (v >= 2147483647.0) return INT32_MAX;
  if (v <= -2147483648.0) return INT32_MIN;
  return static_cast<std::int32_t>(v);
}

Rgb LightColor(Env& env, PF_PixelFormat format, double k) {
  PF_InData* in = env.in;
  const bool is_new = in->version.major > 12 || (in->version.major == 12 && in->version.minor > 10);
  const bool deep = format != PF_PixelFormat_ARGB32;
  PF_PixelFloat f{};
  bool has_float = false;
  if (deep && is_new) {
    WithControl(in, 16, in->current_time, in->time_step, [&](PF_ParamDef& p, PF_Err) {
      has_float = env.suites.Get<PF_ColorParamSuite1>(kPFColorParamSuite, 1)
                      .PF_GetFloatingPointColorFromColorDef(in->effect_ref, &p, &f) == 0;
    });
  }
  const PF_Pixel c = has_float ? PF_Pixel{} : Control(in, 16).u.cd.value;
  const auto channel = [&](int c8, float cf) -> double {
    if (!deep) return c8 * (0.00392156862745098 * k);
    if (format == PF_PixelFormat_ARGB128) {
      return (has_float ? cf : static_cast<float>(c8) * 0.003921569F) * k;
    }
    int c16 = (c8 * 32768 + 128) / 255;
    if (has_float) {
      const float v = cf * 32768.0F;
      c16 = !(v > 0) ? 0 : v >= 32768 ? 32768 : static_cast<int>(v);
    }
    return c16 * (3.0517578125e-05 * k);
  };
  return {channel(c.red, f.red), channel(c.green, f.green), channel(c.blue, f.blue)};
}

PF_Err AddControls(PF_InData* in) {
  for (const Row& row : kRows) {
    PF_ParamDef p = Filled(row);
    if (row.name[0] != '\0') in->utils->ansi.strcpy(p.name, row.name);
    if (const PF_Err err = in->inter.add_param(in->effect_ref, -1, &p); err != 0) return err;
  }
  return 0;
}

PF_Err Supervise(Env& env) {
  const auto update = [&](int index, bool enable) {
    PF_ParamDef p = *env.params[index];
    const int t = p.param_type;
    if (enable) {
      p.ui_flags &= ~0x20;
    } else {
      p.ui_flags |= 0x20;
      if (t != 0 && t != 4 && t != 5 && t != 6 && t != 7 && t != 11 && t != 12) p.flags |= 0x20;
    }
    return env.suites.Get<PF_ParamUtilsSuite1>(kPFParamUtilsSuite, 1)
        .PF_UpdateParamUI(env.in->effect_ref, index, &p);
  };
  const int type = env.params[17]->u.pd.value;
  const int lights = env.params[14]->u.pd.value;
  const int style = env.params[8]->u.pd.value;
  for (int i = 9; i <= 11; ++i) update(i, style != 1);
  for (int i = 15; i <= 18; ++i) update(i, lights == 1);
  update(19, lights == 1 && type != 1);
  return update(20, lights == 1 && type == 1);
}

}  // namespace reference
