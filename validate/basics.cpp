// What can be checked in a moment: the library's face, its answers without a frame, and one whole
// frame.
#include <elf.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

#include "bench.h"
#include "checks.h"
#include "hosting/errors.h"
#include "pf_suites.h"

namespace validate {
namespace {

std::string FileBytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

template <class Record>
Record At(const std::string& bytes, std::size_t offset) {
  if (offset + sizeof(Record) > bytes.size()) throw hosting::Error("the library file is cut off");
  Record record;
  std::memcpy(&record, bytes.data() + offset, sizeof record);
  return record;
}

/// Names that the library defines for others.
std::vector<std::string> ExportedNames(const std::string& elf) {
  std::vector<std::string> names;
  const auto header = At<Elf64_Ehdr>(elf, 0);
  const auto section = [&](std::size_t i) {
    return At<Elf64_Shdr>(elf, header.e_shoff + i * header.e_shentsize);
  };
  for (std::size_t i = 0; i < header.e_shnum; ++i) {
    const Elf64_Shdr symbols = section(i);
    if (symbols.sh_type != SHT_DYNSYM) continue;
    const Elf64_Shdr strings = section(symbols.sh_link);
    for (std::size_t at = 0; at < symbols.sh_size; at += sizeof(Elf64_Sym)) {
      const auto symbol = At<Elf64_Sym>(elf, symbols.sh_offset + at);
      const bool exported = symbol.st_shndx != SHN_UNDEF && symbol.st_shndx != SHN_ABS &&
                            ELF64_ST_BIND(symbol.st_info) != STB_LOCAL;
      if (exported) names.emplace_back(elf.c_str() + strings.sh_offset + symbol.st_name);
    }
  }
  return names;
}

/// Of the control's place, identifier, type and name; saved work knows controls by them.
struct ControlFacts {
  A_long id;
  PF_ParamType type;
  const char* name;
};

constexpr ControlFacts kControls[]{
    {1, PF_Param_POINT, "Brush Position"},
    {2, PF_Param_FIX_SLIDER, "Stroke Width"},
    {3, PF_Param_FIX_SLIDER, "Density"},
    {4, PF_Param_FIX_SLIDER, "Time Span (sec)"},
    {5, PF_Param_FIX_SLIDER, "Reflection"},
    {6, PF_Param_FIX_SLIDER, "Strength"},
    {7, PF_Param_GROUP_START, "Style"},
    {8, PF_Param_POPUP, "Paint Style"},
    {9, PF_Param_FIX_SLIDER, "Wobble Width"},
    {10, PF_Param_FIX_SLIDER, "Wobble Height"},
    {11, PF_Param_FIX_SLIDER, "Wobble Speed"},
    {12, PF_Param_GROUP_END, ""},
    {13, PF_Param_GROUP_START, "Light"},
    {28, PF_Param_POPUP, "Using"},
    {14, PF_Param_FIX_SLIDER, "Light Intensity"},
    {15, PF_Param_COLOR, "Light Color"},
    {16, PF_Param_POPUP, "Light Type"},
    {17, PF_Param_FIX_SLIDER, "Light Height"},
    {18, PF_Param_POINT, "Light Position"},
    {19, PF_Param_ANGLE, "Light Direction"},
    {20, PF_Param_GROUP_END, ""},
    {21, PF_Param_GROUP_START, "Shading"},
    {22, PF_Param_FIX_SLIDER, "Ambient"},
    {23, PF_Param_FIX_SLIDER, "Diffuse"},
    {24, PF_Param_FIX_SLIDER, "Specular"},
    {25, PF_Param_FIX_SLIDER, "Roughness"},
    {26, PF_Param_FIX_SLIDER, "Metal"},
    {27, PF_Param_GROUP_END, ""},
};

// Of the suites that are used, the order in which they are released.
constexpr std::pair<std::string_view, std::int64_t> kReleaseOrder[]{
    {kAEGPStreamSuite, 4},     {kAEGPPFInterfaceSuite, 1}, {kPFParamUtilsSuite, 1},
    {kAEGPLightSuite, 1},      {kPFWorldSuite, 1},         {kPFSampling8Suite, 1},
    {kPFSampling16Suite, 1},   {kAEGPLayerSuite, 5},       {kPFColorParamSuite, 1},
    {kPFSamplingFloatSuite, 1}};

std::size_t ReleasePlace(const hosting::Call& call) {
  const std::pair<std::string_view, std::int64_t> suite{
      std::get<std::string_view>(call.arguments[0].value),
      std::get<std::int64_t>(call.arguments[1].value)};
  return static_cast<std::size_t>(
      std::find(std::begin(kReleaseOrder), std::end(kReleaseOrder), suite) - kReleaseOrder);
}

// What the pre-render asks of its host, and what it is told.
struct PreRenderHost {
  PF_LRect max{};
  int fails_at = 0;  // the call that is refused; 0: none
  int calls = 0;
  std::array<A_long, 2> ids{};
  std::array<PF_LRect, 2> rects{};
};
PreRenderHost* g_pre_render = nullptr;

PF_Err CheckoutLayer(PF_ProgPtr, A_long, A_long id, const PF_RenderRequest* request, A_long, A_long,
                     A_u_long, PF_CheckoutResult* result) {
  PreRenderHost& host = *g_pre_render;
  const int call = host.calls++;
  if (call < 2) {
    host.ids[static_cast<std::size_t>(call)] = id;
    host.rects[static_cast<std::size_t>(call)] = request->rect;
  }
  if (host.calls == host.fails_at) return 4711;
  *result = {request->rect, host.max};
  return PF_Err_NONE;
}

bool Same(const PF_LRect& a, const PF_LRect& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

std::string Text(const PF_LRect& r) {
  return std::to_string(r.left) + "," + std::to_string(r.top) + "," + std::to_string(r.right) +
         "," + std::to_string(r.bottom);
}

SPErr NoSuite(const char*, std::int32_t, const void**) { return PF_Err_BAD_CALLBACK_PARAM; }
SPErr NoRelease(const char*, std::int32_t) { return PF_Err_NONE; }

std::size_t OpenFiles() {
  return static_cast<std::size_t>(std::distance(
      std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator()));
}

/// Of memory, that the file is mapped into.
std::size_t MappedAreas(const std::filesystem::path& file) {
  const std::string maps = FileBytes("/proc/self/maps");
  const std::string name = "/" + file.filename().string() + "\n";
  std::size_t areas = 0;
  for (std::size_t at = 0; (at = maps.find(name, at)) != std::string::npos; ++at) ++areas;
  return areas;
}

}  // namespace

void CheckExports(const Case& c) {
  if (!c.Tries("symbols")) return;
  for (const std::string& name : ExportedNames(FileBytes(c.plugin))) {
    if (name == "MainEntry") {
      c.report.Count("symbols");
    } else {
      c.report.Fail("it exports " + name);
    }
  }
}

void CheckIdentity(const Case& c) {
  const hosting::Effect effect(c.plugin);
  PF_InData in{};
  PF_UtilCallbacks utils{};
  utils.ansi.sprintf = std::sprintf;
  in.utils = &utils;
  if (c.Tries("global setup")) {
    PF_OutData out{};
    out.out_flags = 0x40;
    out.out_flags2 = 0x20;
    const PF_Err err = effect.entry()(PF_Cmd_GLOBAL_SETUP, &in, &out, nullptr, nullptr, nullptr);
    c.report.Expect(err == 0, "gave " + std::to_string(err));
    c.report.Expect(out.my_version == 0x000B8600, "version " + std::to_string(out.my_version));
    c.report.Expect(out.out_flags == (0x06000006 | 0x40), "flags " + std::to_string(out.out_flags));
    c.report.Expect(out.out_flags2 == (0x00001405 | 0x20),
                    "second flags " + std::to_string(out.out_flags2));
  }
  for (const std::size_t length : {0u, 3u, 254u, 255u}) {
    if (!c.Tries("about after " + std::to_string(length))) continue;
    PF_OutData out{};
    std::memset(out.return_msg, 'x', length);
    const PF_Err err = effect.entry()(PF_Cmd_ABOUT, &in, &out, nullptr, nullptr, nullptr);
    const std::string text(out.return_msg, strnlen(out.return_msg, sizeof out.return_msg));
    c.report.Expect(err == 0, "gave " + std::to_string(err));
    c.report.Expect(text.starts_with("Nuvrik 1.7.1\rZT Vorlin, v1.7  (MachO Intel)\r"),
                    "begins otherwise: " + text);
    const std::size_t body = text.find("\r\rLiquid stroke from animated producer point.");
    c.report.Expect(body != std::string::npos, "has another body: " + text);
    const std::size_t own = text.find('x', body);
    const std::size_t kept = own == std::string::npos ? 0 : text.size() - own;
    const std::size_t room = 255 - (text.size() - kept);
    c.report.Expect(kept == std::min(length, room),
                    "keeps " + std::to_string(kept) + " characters of the host's message");
  }
}

void CheckControls(const Case& c) {
  const hosting::Effect effect(c.plugin);
  const auto& controls = effect.controls();
  if (!c.Tries("controls")) return;
  c.report.Expect(controls.size() == std::size(kControls),
                  std::to_string(controls.size()) + " controls");
  for (std::size_t i = 0; i < std::min(controls.size(), std::size(kControls)); ++i) {
    const ControlFacts& fact = kControls[i];
    const hosting::ControlInfo& control = controls[i];
    c.report.Count("controls");
    c.report.Expect(control.id == fact.id && control.record.param_type == fact.type &&
                        control.name == fact.name,
                    "control " + std::to_string(i + 1) + " is \"" + control.name +
                        "\", identifier " + std::to_string(control.id));
  }
}

void CheckUnknownCommands(const Case& c) {
  const hosting::Effect effect(c.plugin);
  constexpr PF_Cmd kAnswered[]{0, 1, 4, 11, 13, 14, 18, 23, 24};
  std::vector<PF_Cmd> commands{INT_MIN, INT_MAX, -1, -2, 1000, 65536};
  for (PF_Cmd cmd = 0; cmd < 64; ++cmd) {
    if (std::find(std::begin(kAnswered), std::end(kAnswered), cmd) == std::end(kAnswered)) {
      commands.push_back(cmd);
    }
  }
  for (const PF_Cmd cmd : commands) {
    if (!c.Tries("command " + std::to_string(cmd))) continue;
    PF_OutData out;
    std::memset(&out, 0x5A, sizeof out);
    const PF_OutData before = out;
    const PF_Err err = effect.entry()(cmd, nullptr, &out, nullptr, nullptr, nullptr);
    c.report.Expect(err == 0, "gave " + std::to_string(err));
    c.report.Expect(std::memcmp(&out, &before, sizeof out) == 0, "wrote to PF_OutData");
  }
}

void CheckPreRender(const Case& c) {
  const hosting::Effect effect(c.plugin);
  const PF_LRect all{-3, 0, 20, 10};
  struct Row {
    PF_LRect max;
    PF_LRect asked;
    PF_LRect result;
  };
  const Row rows[]{
      {all, {0, 1, 5, 6}, {0, 1, 5, 6}},
      {all, {-9, -9, 99, 99}, all},
      {all, {30, 2, 40, 4}, {20, 2, 20, 4}},
      {all, {-30, -8, -20, -4}, {-3, 0, -3, 0}},
      {all, {9, 7, 2, 3}, {9, 7, 2, 3}},
      {all, {INT_MIN, INT_MIN, INT_MAX, INT_MAX}, all},
      {all, {INT_MAX, INT_MAX, INT_MIN, INT_MIN}, {20, 10, -3, 0}},
      {{0, 0, 0, 7}, {1, 1, 2, 2}, {0, 0, 0, 7}},
      {{5, 5, 2, 2}, {1, 1, 2, 2}, {5, 5, 2, 2}},
      {{INT_MIN, INT_MIN, INT_MAX, INT_MAX}, {1, 1, 2, 2}, {1, 1, 2, 2}},
  };
  PF_InData in{};
  SPBasicSuite basic{NoSuite, NoRelease};
  in.pica_basicP = &basic;
  PF_PreRenderCallbacks callbacks{CheckoutLayer};
  for (const Row& row : rows) {
    for (const int fails_at : {0, 1, 2}) {
      const std::string at = fails_at == 0 ? "" : ":refused " + std::to_string(fails_at);
      if (!c.Tries(Text(row.asked) + " of " + Text(row.max) + at)) continue;
      PreRenderHost host{.max = row.max, .fails_at = fails_at};
      g_pre_render = &host;
      PF_PreRenderInput input{};
      input.output_request.rect = row.asked;
      PF_PreRenderOutput output{};
      output.flags = 77;
      PF_PreRenderExtra extra{&input, &output, &callbacks};
      PF_OutData out{};
      const PF_Err err =
          effect.entry()(PF_Cmd_SMART_PRE_RENDER, &in, &out, nullptr, nullptr, &extra);
      const bool fails = fails_at != 0;
      c.report.Expect(err == (fails ? 4711 : 0), "gave " + std::to_string(err));
      c.report.Expect(host.calls == (fails ? fails_at : 2),
                      std::to_string(host.calls) + " check-outs");
      c.report.Expect(host.ids[0] == 9999 && host.ids[1] == 0, "other check-out identifiers");
      c.report.Expect(Same(host.rects[0], {0, 0, 1, 1}), "probes " + Text(host.rects[0]));
      c.report.Expect(fails_at == 1 || Same(host.rects[1], row.max),
                      "checks out " + Text(host.rects[1]));
      c.report.Expect(Same(output.max_result_rect, fails ? PF_LRect{} : row.max),
                      "maximum " + Text(output.max_result_rect));
      c.report.Expect(Same(output.result_rect, fails ? PF_LRect{} : row.result),
                      "result " + Text(output.result_rect));
      c.report.Expect(output.flags == 77, "wrote to the output flags");
    }
  }
}

void CheckSupervision(const Case& c) {
  Bench bench(c.plugin, {});
  const hosting::Effect& effect = bench.effect();
  for (const int style : {1, 2}) {
    for (const int source : {1, 2}) {
      for (const int type : {1, 2}) {
        hosting::Setup setup = StrokeSetup(effect, {});
        setup.controls.Set("Paint Style", hosting::Track<int>(style));
        setup.controls.Set("Using", hosting::Track<int>(source));
        setup.controls.Set("Light Type", hosting::Track<int>(type));
        if (!c.Tries("popups " + std::to_string(style) + std::to_string(source) +
                     std::to_string(type))) {
          continue;
        }
        hosting::Panel panel;
        const hosting::Panel before = effect.InitialPanel();
        const Outcome outcome = bench.Run([&] { panel = effect.Supervise(setup, 0, before, 8); });
        c.report.Expect(outcome.code == 0 && outcome.breach.empty(), outcome.breach);
        if (panel.size() != before.size()) continue;
        for (std::size_t i = 0; i < panel.size(); ++i) {
          bool enabled = before[i].enabled;
          if (i >= 9 && i <= 11) enabled = style == 2;
          if (i >= 15 && i <= 18) enabled = source == 1;
          if (i == 19) enabled = source == 1 && type == 2;
          if (i == 20) enabled = source == 1 && type == 1;
          c.report.Expect(panel[i].enabled == enabled,
                          "control " + std::to_string(i) + " is shown otherwise");
          const bool closes = !enabled && ((i >= 9 && i <= 11) || i == 15 || i == 18 || i == 20);
          c.report.Expect(panel[i].collapsed == (before[i].collapsed || closes),
                          "control " + std::to_string(i) + " is opened or closed otherwise");
        }
      }
    }
  }
}

void CheckReload(const Case& c) {
  constexpr int kLoads = 1000;
  constexpr int kWarm = 10;
  if (!c.Tries("loads")) return;
  std::size_t files = 0;
  std::size_t areas = 0;
  for (int i = 0; i < kLoads; ++i) {
    if (i == kWarm) {
      files = OpenFiles();
      areas = MappedAreas(c.plugin);
    }
    const hosting::Effect effect(c.plugin);
    c.report.Count("loads");
  }
  c.report.Expect(OpenFiles() <= files, "files stay open");
  c.report.Expect(MappedAreas(c.plugin) <= areas, "the library stays mapped");
}

void CheckBooks(const Case& c) {
  Bench bench(c.plugin, c.config);
  for (const int alignment : {4, 64, 4096}) {
    for (const bool upward : {false, true}) {
      const std::string what =
          "rows " + std::to_string(alignment) + (upward ? " upward" : " downward");
      if (!c.Tries(what)) continue;
      hosting::RenderOptions options = bench.Options();
      options.layout.alignment = alignment;
      options.layout.bottom_up = upward;
      bench.Use(StrokeSetup(bench.effect(), c.config), options);
      std::size_t place = 0;
      std::uint64_t acquired = 0;
      std::string disorder;
      bench.observer = [&](const hosting::Call& call) {
        acquired += call.kind == hosting::CallKind::kAcquireSuite;
        if (call.kind != hosting::CallKind::kReleaseSuite) return PF_Err_NONE;
        const std::size_t now = ReleasePlace(call);
        // The suites outside the order are released at once after their use.
        if (now == std::size(kReleaseOrder)) return PF_Err_NONE;
        if (now < place) disorder = call.Text();
        place = now;
        return PF_Err_NONE;
      };
      const Outcome outcome = bench.Render();
      c.report.Expect(outcome.code == 0, "gave " + std::to_string(outcome.code));
      c.report.Expect(outcome.breach.empty(), outcome.breach);
      c.report.Expect(disorder.empty(), disorder + " is out of order");
      c.report.Expect(acquired > 0, "no suite was acquired");
      const std::string& output = bench.seen().output;
      c.report.Expect(bench.seen().cleared, "the output was not cleared before the pass");
      c.report.Expect(output.find_first_not_of('\0') != std::string::npos, "nothing was drawn");
      c.report.Fact("small frame " + c.config.Text(), Digest(output));
      // Rows apart from the stroke hold nothing, poison least of all.
      const std::size_t size = hosting::PixelSize(c.config.depth);
      const auto& field = bench.seen().field;
      const int width = bench.setup().width;
      for (int y = 0; y < bench.setup().height; ++y) {
        for (int x = 0; x < width; ++x) {
          const auto cell = [&](int cx, int cy) {
            float v = 0;
            std::memcpy(&v, field.data() + sizeof v * static_cast<std::size_t>(cy * width + cx),
                        sizeof v);
            return v;
          };
          const bool outside =
              cell(x, y) < 0 && cell(std::max(x - 1, 0), y) < 0 && cell(x, std::max(y - 1, 0)) < 0;
          if (!outside) continue;
          c.report.Count("empty pixels");
          const std::string pixel =
              output.substr(size * static_cast<std::size_t>(y * width + x), size);
          c.report.Expect(pixel.find_first_not_of('\0') == std::string::npos,
                          "drew outside the stroke");
        }
      }
    }
  }
}

}  // namespace validate
