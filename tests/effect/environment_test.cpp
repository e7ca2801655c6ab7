// The suite cache, the environment of a command, and the scratch world.
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "fake_host.h"
#include "host/fxenv.h"
#include "host/suite_handler.h"
#include "render/scratch_world.h"

namespace {

using fake::FailNth;
using fake::Host;
using fake::Log;
using vorlin::AEGP_SuiteHandler;
using vorlin::FX_NewWorld;
using vorlin::Fxenv;
using vorlin::SuiteId;

/// Suites with their versions, in the order in which they are released.
const char* const kReleaseOrder =
    "AEGP Marker Suite 1; AEGP Layer Suite 8,10; AEGP Stream Suite 8,7,4; "
    "AEGP Dynamic Stream Suite 2,3; AEGP Keyframe Suite 4,3,1; AEGP Comp Suite 9,11,14; "
    "AEGP Proj Suite 2,5; AEGP Canvas Suite 10,11; AEGP Camera Suite 2; AEGP Register Suite 2; "
    "AEGP Item Suite 11,10,7,3; AEGP PF Interface Suite 1; PF Path Query Suite 1; "
    "AEGP Memory Suite 1; PF Path Data Suite 1; PF Param Utils Suite 1; PF AE App Suite 2,5; "
    "PF AE Adv App Suite 2; AEGP Light Suite 1,2; AEGP Effect Suite 1,2,3; "
    "AEGP Layer Mask Suite 5; AEGP Mask Outline Suite 3; AEGP Footage Suite 7; "
    "AEGP Command Suite 1; AEGP Utility Suite 7; AEGP Render Suite 1,2; PF ANSI Suite 1; "
    "PF Handle Suite 1; PF Fill Matte Suite 1; PF World Transform Suite 1; "
    "AEGP QueryXform Suite 4; AEGP Composite Suite 2; PF World Suite 1; AEGP IO In Suite 1; "
    "AEGP IO Out Suite 1,6; AEGP Persistent Data Suite 1; AEGP Render Queue Suite 1; "
    "AEGP Render Queue Item Suite 3; AEGP Output Module Suite 1,2; "
    "AEGP File Import Manager Suite 2; PF Sampling8 Suite 1; PF Sampling16 Suite 1; "
    "PF Iterate8 Suite 1; PF iterate16 Suite 1; PF iterateFloat Suite 1; "
    "AEGP Collection Suite 2; AEGP Text Document Suite 1; AEGP Sound Data Suite 1; "
    "AEGP Text Layer Suite 1; AEGP Artisan Util Suite 1; AEGP World Suite 2; "
    "AEGP Render Options Suite 1; AEGP Tracker Suite 1; AEGP Tracker Utility Suite 1; "
    "AE Plugin Helper Suite2 2; AEGP Layer Suite 11; PF AE Adv Item Suite 1; AEGP Layer Suite 5; "
    "AEGP Layer Mask Suite 2; AEGP Comp Suite 4; AEGP Collection Suite 1; AEGP Register Suite 1; "
    "AEGP Mask Outline Suite 2; PF AE Adv App Suite 1; AEGP Utility Suite 3; "
    "AEGP Render Options Suite 2; AEGP Proj Suite 7; AEGP Footage Suite 10; "
    "AEGP Render Queue Item Suite 4; AEGP Utility Suite 10; PF Color Settings Suite 3,1; "
    "PF ColorParamSuite 1; PF SamplingFloat Suite 1; AEGP Utility Suite 11; "
    "PF Effect UI Suite 1; PF World Suite 2; AEGP Keyframe Suite 2";

/// The call with each suite and version of that list.
Log Named(const std::string& call, const std::string& suites) {
  Log lines;
  std::istringstream list(suites);
  for (std::string suite; std::getline(list >> std::ws, suite, ';');) {
    const std::size_t space = suite.rfind(' ');
    std::istringstream versions(suite.substr(space + 1));
    for (std::string version; std::getline(versions, version, ',');) {
      lines.push_back(call + ' ' + suite.substr(0, space + 1) + version);
    }
  }
  return lines;
}

/// The integer thrown by run, or 0.
template <class Run>
int Thrown(Run run) {
  try {
    run();
  } catch (int code) {
    return code;
  }
  return 0;
}

TEST(SuiteHandler, ReleasesAllPairsInItsOwnOrderUnderTheirOwnNames) {
  Host host;
  constexpr std::size_t kPairs = 98;
  {
    AEGP_SuiteHandler suites(&host.basic);
    for (std::size_t i = kPairs; i-- > 0;) suites.Use(SuiteId<char>{i});
    for (std::size_t i = 0; i < kPairs; ++i) suites.Use(SuiteId<char>{i});
    Log acquired = host.Lines({"AcquireSuite"});
    EXPECT_EQ(acquired, host.log);
    EXPECT_EQ(Log(acquired.rbegin(), acquired.rend()), Named("AcquireSuite", kReleaseOrder));
  }
  EXPECT_EQ(host.Lines({"ReleaseSuite"}), Named("ReleaseSuite", kReleaseOrder));
}

TEST(SuiteHandler, MissingSuiteIsTheInteger516) {
  Host host;
  EXPECT_EQ(Thrown([] { AEGP_SuiteHandler suites(nullptr); }), 516);
  host.missing = {{"PF World Suite", 1}};
  for (const bool null_table : {false, true}) {
    host.null_tables = null_table;
    host.log.clear();
    EXPECT_EQ(Thrown([&] {
                AEGP_SuiteHandler suites(&host.basic);
                suites.Use(vorlin::kLightSuite);
                suites.Use(vorlin::kWorldSuite1);
              }),
              516);
    EXPECT_EQ(host.log, (Log{"AcquireSuite AEGP Light Suite 1", "AcquireSuite PF World Suite 1",
                             "ReleaseSuite AEGP Light Suite 1"}));
  }
}

TEST(SuiteHandler, AMissingFunctionIsAMissingSuite) {
  Host host;
  static constexpr PF_WorldSuite1 kNoDisposal{
      [](PF_ProgPtr, A_long, A_long, PF_NewWorldFlags, PF_EffectWorld*) {
        return Host::Current().Say("new_world");
      },
      nullptr};
  static constexpr PF_ParamUtilsSuite1 kEmpty{};
  host.replaced = {{{"PF World Suite", 1}, &kNoDisposal}, {{"PF Param Utils Suite", 1}, &kEmpty}};
  Fxenv env(&host.in, &host.out, nullptr, nullptr);
  EXPECT_EQ(Thrown([&] { FX_NewWorld(env).New(2, 2, PF_PixelFormat_ARGB32, false); }), 516);
  EXPECT_EQ(host.Lines({"new_world"}), Log{}) << "what could not be disposed of is not made";
  EXPECT_EQ(host.Run(PF_Cmd_UPDATE_PARAMS_UI), 516);
}

TEST(SuiteHandler, ReleaseThatThrowsNeitherReplacesTheExceptionNorStopsTheOthers) {
  Host host;
  host.answer = [](const std::string& line) -> PF_Err {
    if (line.starts_with("ReleaseSuite")) throw std::runtime_error(line);
    return PF_Err_NONE;
  };
  EXPECT_EQ(Thrown([&] {
              AEGP_SuiteHandler suites(&host.basic);
              suites.Use(vorlin::kLightSuite);
              suites.Use(vorlin::kWorldSuite1);
              throw 99;
            }),
            99);
  EXPECT_EQ(host.Lines({"ReleaseSuite"}).size(), 2u);
}

TEST(Environment, TellsThePixelFormatByTheDeepFlagWithoutTheSuite) {
  for (const bool null_table : {false, true}) {
    for (const PF_WorldFlags flags : {0, 1, 2, 3}) {
      Host host;
      host.missing = {{"PF World Suite", 2}};
      host.null_tables = null_table;
      host.Allocate(host.output, 2, 2, 16);
      host.output.world_flags = flags;
      Fxenv env(&host.in, &host.out, nullptr, &host.output);
      EXPECT_EQ(env.PixelFormat(), (flags & 1) != 0 ? 0x36316561 : 0x62677261);
      EXPECT_EQ(env.PixelFormat(), (flags & 1) != 0 ? 0x36316561 : 0x62677261);
      EXPECT_EQ(host.log, Log{"AcquireSuite PF World Suite 2"});
    }
  }
}

TEST(Environment, HasNoPixelFormatWithoutAnOutput) {
  Host host;
  Fxenv env(&host.in, &host.out, nullptr, nullptr);
  EXPECT_EQ(env.PixelFormat(), PF_PixelFormat_INVALID);
  EXPECT_EQ(host.log, Log{});
}

TEST(Environment, GivesBackTheSuiteThatCannotTellThePixelFormat) {
  static constexpr PF_WorldSuite2 kEmpty{};
  const Log lent_and_returned{"AcquireSuite PF World Suite 2", "ReleaseSuite PF World Suite 2"};
  Host mute;
  mute.replaced = {{{"PF World Suite", 2}, &kEmpty}};
  mute.output.world_flags = PF_WorldFlag_DEEP;
  Fxenv env(&mute.in, &mute.out, nullptr, &mute.output);
  EXPECT_EQ(env.PixelFormat(), PF_PixelFormat_ARGB64);
  EXPECT_EQ(mute.log, lent_and_returned);

  Host throwing;
  throwing.answer = [](const std::string& line) -> PF_Err {
    if (line.starts_with("PF_GetPixelFormat")) throw 7;
    if (line.starts_with("ReleaseSuite")) throw std::runtime_error(line);
    return PF_Err_NONE;
  };
  EXPECT_EQ(
      Thrown([&] { Fxenv(&throwing.in, &throwing.out, nullptr, &throwing.output).PixelFormat(); }),
      7);
  EXPECT_EQ(throwing.Lines({"AcquireSuite", "ReleaseSuite"}), lent_and_returned);
}

struct WorldCase {
  PF_PixelFormat format;
  bool clear;
  const char* suite;
  const char* allocation;
  const char* disposal;
};

TEST(ScratchWorld, UsesTheSuiteOfItsFormat) {
  const WorldCase cases[]{
      {PF_PixelFormat_ARGB128, false, "PF World Suite 2", "PF_NewWorld 7 3 0 842229089",
       "PF_DisposeWorld"},
      {PF_PixelFormat_ARGB128, true, "PF World Suite 2", "PF_NewWorld 7 3 1 842229089",
       "PF_DisposeWorld"},
      {PF_PixelFormat_ARGB64, false, "PF World Suite 1", "new_world 7 3 2", "dispose_world"},
      {PF_PixelFormat_ARGB64, true, "PF World Suite 1", "new_world 7 3 3", "dispose_world"},
      {PF_PixelFormat_ARGB32, false, "PF World Suite 1", "new_world 7 3 0", "dispose_world"},
      {PF_PixelFormat_ARGB32, true, "PF World Suite 1", "new_world 7 3 1", "dispose_world"},
      {12345, true, "PF World Suite 1", "new_world 7 3 1", "dispose_world"},
  };
  for (const WorldCase& c : cases) {
    Host host;
    Fxenv env(&host.in, &host.out, nullptr, nullptr);
    {
      FX_NewWorld world(env);
      EXPECT_EQ(world.Layer(), nullptr);
      EXPECT_EQ(world.Dispose(), 0);
      EXPECT_EQ(host.log, Log{});
      EXPECT_EQ(world.New(7, 3, c.format, c.clear), 0);
      ASSERT_NE(world.Layer(), nullptr);
      EXPECT_EQ(world.Layer()->width, 7);
    }
    EXPECT_EQ(host.log, (Log{std::string("AcquireSuite ") + c.suite, c.allocation, c.disposal}));
    EXPECT_TRUE(host.memory.empty());
  }
}

TEST(ScratchWorld, ReplacesItsWorldAndForgetsItOnce) {
  Host host;
  Fxenv env(&host.in, &host.out, nullptr, nullptr);
  FX_NewWorld world(env);
  EXPECT_EQ(world.New(2, 2, PF_PixelFormat_ARGB128, true), 0);
  EXPECT_EQ(world.New(3, 3, PF_PixelFormat_ARGB64, true), 0);
  host.answer = FailNth("dispose_world", 33);
  EXPECT_EQ(world.New(4, 4, PF_PixelFormat_ARGB32, false), 33) << "nothing is allocated after it";
  EXPECT_EQ(world.Layer(), nullptr);
  EXPECT_EQ(world.Dispose(), 0);
  host.answer = FailNth("new_world", 44);
  EXPECT_EQ(world.New(5, 5, PF_PixelFormat_ARGB32, false), 44);
  EXPECT_EQ(world.Layer(), nullptr);
  EXPECT_EQ(world.Dispose(), 0);
  EXPECT_EQ(host.Lines({"PF_NewWorld", "PF_DisposeWorld", "new_world", "dispose_world"}),
            (Log{"PF_NewWorld 2 2 1 842229089", "PF_DisposeWorld", "new_world 3 3 3",
                 "dispose_world", "new_world 5 5 0"}));
}

}  // namespace
