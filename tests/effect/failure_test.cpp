// Every call of a frame fails or throws once: the stated code comes back and all is given back.
#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <stdexcept>

#include "fake_host.h"
#include "light/light_shade.h"
#include "refusing_new.h"

namespace {

using fake::Host;
using fake::Log;

constexpr PF_Err kCode = 4711;

/// A short stroke, lit by one composition light or by the effect's own.
struct Frame : Host {
  Frame(int bytes, bool composition_light) {
    Allocate(input, 24, 16, bytes);
    Allocate(output, 24, 16, bytes);
    in.current_time = 4 * 1024;
    SetSlider(2, 60);
    SetSlider(4, 0.05);
    SetPopup(14, composition_light ? 2 : 1);
    animate = [](PF_ParamDef& p, int index, A_long time) {
      if (index == 1) p.u.td.x_value = Fixed(time / 400.0);
    };
    layers.resize(2);
    layers[1].object = AEGP_ObjectType_AV;
    effect_layer = 1;
    worlds = memory.size();
  }
  std::size_t worlds;
};

bool StartsWithAny(const std::string& line, const std::vector<std::string>& words) {
  return std::any_of(words.begin(), words.end(),
                     [&](const std::string& word) { return line.starts_with(word); });
}

const std::vector<std::string> kGivesBack{"ReleaseSuite", "dispose_world", "checkin_param"};
const std::vector<std::string> kReturned{"fill",    "new_world",      "progress",
                                         "iterate", "checkout_layer", "checkout_output"};

/// What the frame returns when that call is answered with kCode.
PF_Err Expected(const std::string& line) {
  if (StartsWithAny(line, kReturned)) return kCode;
  if (line.starts_with("PF_GetPixelFormat")) return 516;  // the format stays unknown
  if (line.starts_with("AcquireSuite")) return line == "AcquireSuite PF World Suite 2" ? 0 : 516;
  return 0;
}

constexpr std::size_t kNone = ~std::size_t{0};

/// failed: the call that lent nothing.
void ExpectAllGivenBack(const Frame& host, std::size_t failed) {
  std::multiset<std::string> lent, returned;
  for (std::size_t i = 0; i < host.log.size(); ++i) {
    const std::string& line = host.log[i];
    const std::string suite = line.substr(line.find(' ') + 1);
    if (line.starts_with("AcquireSuite") && i != failed) lent.insert(suite);
    if (line.starts_with("ReleaseSuite")) returned.insert(suite);
    if (line.starts_with("checkout_param") && i != failed) lent.insert("control");
    if (line.starts_with("checkin_param")) returned.insert("control");
  }
  EXPECT_EQ(lent, returned) << (failed < host.log.size() ? host.log[failed] : "");
  EXPECT_EQ(host.memory.size(), host.worlds);
}

/// Runs the frame once for every one of its calls, answering that one, and the later ones too where
/// the failure persists, with act(line).
template <class Act>
void ForEachCall(int bytes, bool composition_light, Act act) {
  Frame whole(bytes, composition_light);
  ASSERT_EQ(whole.RenderSmart(), 0);
  const std::size_t calls = whole.log.size();
  ASSERT_GT(calls, 80u);
  for (std::size_t k = 0; k < calls; ++k) {
    Frame host(bytes, composition_light);
    std::string at;
    std::size_t call = 0;
    host.answer = [&](const std::string& line) -> PF_Err {
      const std::size_t now = call++;
      if (now == k) at = line;
      return now == k || (now > k && act.persists) ? act(line) : PF_Err_NONE;
    };
    const PF_Err err = host.RenderSmart();
    act.Check(host, at, err, k);
  }
}

struct Refuse {
  bool persists = false;
  PF_Err operator()(const std::string&) const { return kCode; }
  void Check(const Frame& host, const std::string& at, PF_Err err, std::size_t k) const {
    EXPECT_EQ(err, Expected(at)) << at;
    // A refused check-out is checked in all the same.
    ExpectAllGivenBack(host, at.starts_with("AcquireSuite") ? k : kNone);
    if (err == 0) return;
    for (std::size_t i = k + 1; i < host.log.size(); ++i) {
      EXPECT_TRUE(StartsWithAny(host.log[i], kGivesBack)) << host.log[i] << " after " << at;
    }
  }
};

template <class Exception>
struct Throw {
  Exception exception;
  PF_Err code;
  bool persists = false;
  PF_Err operator()(const std::string&) const { throw exception; }
  void Check(const Frame& host, const std::string& at, PF_Err err, std::size_t k) const {
    const bool gives_back = StartsWithAny(at, kGivesBack);
    EXPECT_TRUE(err == code || (gives_back && err == 0)) << at << " gave " << err;
    ExpectAllGivenBack(host, k);
  }
};

template <class Act>
void Sweep(const Act& act) {
  for (const int bytes : {4, 8, 16}) {
    for (const bool composition_light : {false, true}) ForEachCall(bytes, composition_light, act);
  }
}

TEST(Failures, RefusedCallsGiveTheirCodeOrAreIgnored) { Sweep(Refuse{}); }

TEST(Failures, ThrowingCallsGiveTheExceptionsCode) {
  Sweep(Throw<int>{kCode, kCode});
  Sweep(Throw<int>{kCode, kCode, true});
  Sweep(Throw<std::bad_alloc>{{}, 4});
  Sweep(Throw<std::runtime_error>{std::runtime_error("host"), 516});
}

TEST(Failures, NoMemoryForTheLightModelIs4) {
  Frame host(4, false);
  g_refused_size = sizeof(vorlin::LightShade);
  EXPECT_EQ(host.RenderSmart(), PF_Err_OUT_OF_MEMORY);
  g_refused_size = 0;
  EXPECT_EQ(host.log.back(), "ReleaseSuite PF Sampling8 Suite 1");
  ExpectAllGivenBack(host, kNone);
}

TEST(Failures, ScratchWorldThatCannotHoldTheFieldIsOutOfMemory) {
  static PF_EffectWorld made;
  // The host says that it made the world, but there are no pixels, too few, or none that can be
  // read as floats.
  static const PF_WorldSuite1 kSuite{
      [](PF_ProgPtr, A_long, A_long, PF_NewWorldFlags, PF_EffectWorld* world) {
        *world = made;
        return Host::Current().Say("new_world");
      },
      [](PF_ProgPtr, PF_EffectWorld*) { return Host::Current().Say("dispose_world"); }};
  std::vector<float> pixels(24 * 16 + 1);
  auto* const data = reinterpret_cast<PF_Pixel*>(pixels.data());
  auto* const askew = reinterpret_cast<PF_Pixel*>(reinterpret_cast<char*>(pixels.data()) + 2);
  for (const PF_EffectWorld& world :
       {PF_EffectWorld{0, nullptr, 96, 24, 16, 0, 0}, PF_EffectWorld{0, data, 96, 23, 16, 0, 0},
        PF_EffectWorld{0, data, 96, 24, 15, 0, 0}, PF_EffectWorld{0, data, 92, 24, 16, 0, 0},
        PF_EffectWorld{0, data, -92, 24, 16, 0, 0}, PF_EffectWorld{0, data, 98, 24, 16, 0, 0},
        PF_EffectWorld{0, askew, 96, 24, 16, 0, 0}}) {
    Frame host(4, false);
    made = world;
    host.replaced = {{{kPFWorldSuite, 1}, &kSuite}};
    EXPECT_EQ(host.RenderSmart(), PF_Err_OUT_OF_MEMORY);
    EXPECT_EQ(host.Lines({"new_world", "dispose_world"}), (Log{"new_world", "dispose_world"}));
  }
  Frame host(4, false);
  host.Allocate(made, 24, 16, 4, 0);
  host.replaced = {{{kPFWorldSuite, 1}, &kSuite}};
  EXPECT_EQ(host.RenderSmart(), 0) << "rows need no padding";
}

}  // namespace
