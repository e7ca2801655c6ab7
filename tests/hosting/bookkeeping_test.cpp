// What the host says of effects that break the rules.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>

#include "fixture_effect.h"
#include "refusal.h"

namespace hosting {
namespace {

constexpr const char* kWorlds = kPFWorldSuite;

/// Has a world of 5 x 4 pixels made, and something done with it.
void WithWorld(const Commanded& c,
               const std::function<void(const PF_WorldSuite1&, PF_EffectWorld*)>& use) {
  const auto* const suite = c.Acquire<PF_WorldSuite1>(kWorlds, 1);
  PF_EffectWorld world{};
  EXPECT_EQ(suite->new_world(c.ref(), 5, 4, PF_NewWorldFlag_NONE, &world), 0);
  use(*suite, &world);
  c.Release(kWorlds, 1);
}

TEST(Bookkeeping, NamesTheCallThatBrokeTheRules) {
  const struct {
    const char* said;
    std::function<void(const Commanded&)> render;
    bool guards = false;  // stray writes are found where it is asked
  } cases[] = {
      {"no ReleaseSuite for AcquireSuite of \"PF World Suite\" version 2",
       [](const Commanded& c) { c.Acquire<void>(kWorlds, 2); }},
      {"no ReleaseSuite for AcquireSuite of \"PF World Suite\" version 2",  // twice, released once
       [](const Commanded& c) {
         for (int i = 0; i < 2; ++i) c.Acquire<void>(kWorlds, 2);
         c.Release(kWorlds, 2);
       }},
      {"ReleaseSuite of \"PF World Suite\" version 1, which is not acquired",
       [](const Commanded& c) {
         c.Acquire<void>(kWorlds, 2);
         c.Release(kWorlds, 1);
       }},
      {"ReleaseSuite of \"PF World Suite\" version 2, which is not acquired",
       [](const Commanded& c) {
         c.Acquire<void>(kWorlds, 2);
         for (int i = 0; i < 2; ++i) c.Release(kWorlds, 2);
       }},
      {"no checkin_param for checkout_param of control 1",
       [](const Commanded& c) {
         PF_ParamDef def{};
         c.CheckOut(1, &def);
       }},
      {"no checkin_param for checkout_param of control 99",  // refused, but to be checked in
       [](const Commanded& c) {
         PF_ParamDef def{};
         EXPECT_NE(c.CheckOut(99, &def), 0);
       }},
      {"checkin_param of a record that nothing is checked out into",
       [](const Commanded& c) {
         PF_ParamDef def{};
         c.CheckOut(1, &def);
         PF_ParamDef copy = def;
         c.CheckIn(&copy);
       }},
      {"checkin_param of a record that nothing is checked out into",
       [](const Commanded& c) {
         PF_ParamDef def{};
         c.CheckOut(1, &def);
         for (int i = 0; i < 2; ++i) c.CheckIn(&def);
       }},
      {"no disposal of a new world of 5 x 4 pixels",
       [](const Commanded& c) { WithWorld(c, [](const auto&, auto*) {}); }},
      {"dispose of a world of 5 x 4 pixels that the effect does not hold",
       [](const Commanded& c) {
         WithWorld(c, [&](const PF_WorldSuite1& suite, PF_EffectWorld* world) {
           PF_EffectWorld copy = *world;
           suite.dispose_world(c.ref(), world);
           suite.dispose_world(c.ref(), &copy);
         });
       }},
      {"dispose of a world of 20 x 10 pixels that the effect does not hold",  // the host's own
       [](const Commanded& c) {
         WithWorld(c, [&](const PF_WorldSuite1& suite, PF_EffectWorld* world) {
           suite.dispose_world(c.ref(), world);
           suite.dispose_world(c.ref(), c.output);
         });
       }},
      {"fill of a world that the host did not lend",
       [](const Commanded& c) {
         PF_Pixel pixel{};
         PF_EffectWorld own{0, &pixel, 4, 1, 1, 0, 0};
         EXPECT_NE(c.Fill(&own), 0);
       }},
      {"colour asked of a record that nothing is checked out into",
       [](const Commanded& c) {
         const auto* const suite = c.Acquire<PF_ColorParamSuite1>(kPFColorParamSuite, 1);
         PF_ParamDef def{};
         PF_PixelFloat color{};
         suite->PF_GetFloatingPointColorFromColorDef(c.ref(), &def, &color);
         c.Release(kPFColorParamSuite, 1);
       }},
      {"a call with an effect_ref that is not the command's",
       [](const Commanded& c) {
         int other = 0;
         EXPECT_NE(c.in->inter.progress(reinterpret_cast<PF_ProgPtr>(&other), 0, 1), 0);
       }},
      {"progress called from a thread that does not run the command",
       [](const Commanded& c) {
         std::thread([&] { EXPECT_NE(c.in->inter.progress(c.ref(), 0, 1), 0); }).join();
       }},
      {"the effect wrote to PF_InData", [](const Commanded& c) { c.in->width = 5; }},
      {"the effect wrote to the host's control records",
       [](const Commanded& c) { c.params[1]->u.fd.value = 5; }},
      {"an exception left the effect",
       [](const Commanded&) { throw std::runtime_error("unfenced"); }},
      {"before fill the effect wrote outside the output world: 0 bytes after the end of row 9",
       [](const Commanded& c) {
         c.output->data[9 * c.output->rowbytes / 4 + 20] = {};
         c.Fill(c.output);
       },
       true},
      {"before the command's end the effect wrote outside the input world: 4 bytes before row 0",
       [](const Commanded& c) { c.params[0]->u.ld.data[-1] = {}; }, true},
      {"the effect wrote to the input world",
       [](const Commanded& c) { c.params[0]->u.ld.data[0].red ^= 1; }, true},
      {"the effect wrote outside its own world of 5 x 4 pixels: 0 bytes after the end of row 3",
       [](const Commanded& c) {
         WithWorld(c, [&](const PF_WorldSuite1& suite, PF_EffectWorld* world) {
           world->data[3 * world->rowbytes / 4 + 5] = {};
           suite.dispose_world(c.ref(), world);
         });
       },
       true},
  };
  for (const auto& c : cases) {
    // An error of the effect's own does not hide it.
    for (const PF_Err answer : {PF_Err_NONE, PF_Err_OUT_OF_MEMORY}) {
      const auto render = [&](const Commanded& command) -> PF_Err {
        c.render(command);
        return answer;
      };
      const auto options = [&](Scene&, RenderOptions& o) { o.layout.guards = c.guards; };
      EXPECT_EQ(RefusalOf<Breach>([&] { Provoke(render, options); }),
                std::string("PF_Cmd_RENDER: ") + c.said);
    }
  }
}

TEST(Bookkeeping, NamesWhatBreaksTheSmartProtocol) {
  const struct {
    const char* said;
    std::function<void(const Commanded&)> pre;
    std::function<void(const Commanded&)> render;
  } cases[] = {
      {"PF_Cmd_SMART_PRE_RENDER: checkout_layer with id -1, which is negative or taken",
       [](const Commanded& c) {
         PF_RenderRequest request{};
         PF_CheckoutResult result{};
         c.pre().cb->checkout_layer(c.ref(), 0, -1, &request, c.in->current_time, c.in->time_step,
                                    c.in->time_scale, &result);
       },
       {}},
      {"PF_Cmd_SMART_PRE_RENDER: result_rect (0, 0, 20, 11) reaches out of max_result_rect (0, 0, "
       "20, 10)",
       [](const Commanded& c) {
         c.pre().output->max_result_rect = {0, 0, 20, 10};
         c.pre().output->result_rect = {0, 0, 20, 11};
       },
       {}},
      {"PF_Cmd_SMART_RENDER: checkout_layer_pixels with id 7, which no checkout_layer announced",
       [](const Commanded& c) {
         c.pre().output->max_result_rect = c.pre().output->result_rect = {0, 0, 20, 10};
       },
       [](const Commanded& c) {
         PF_EffectWorld* world = nullptr;
         c.smart().cb->checkout_layer_pixels(c.ref(), 7, &world);
       }},
  };
  for (const auto& c : cases) {
    const auto behave = [&](const Commanded& command) -> PF_Err {
      if (command.cmd == PF_Cmd_SMART_PRE_RENDER) c.pre(command);
      if (command.cmd == PF_Cmd_SMART_RENDER && c.render) c.render(command);
      return 0;
    };
    const auto smart = [](Scene&, RenderOptions& o) { o.smart = true; };
    EXPECT_EQ(RefusalOf<Breach>([&] { Provoke(behave, smart); }), c.said);
  }
}

TEST(Commands, PassTheEffectsOwnErrorsOn) {
  EXPECT_EQ(RefusalOf<EffectError>([] { Provoke([](const Commanded&) { return 4; }); }),
            "the effect answered PF_Cmd_RENDER with 4 (PF_Err_OUT_OF_MEMORY)");
  // Rules are kept to the letter: nested check-outs given back in any order.
  EXPECT_NO_THROW(Provoke([](const Commanded& c) -> PF_Err {
    PF_ParamDef slider{};
    PF_ParamDef color{};
    EXPECT_EQ(c.CheckOut(1, &slider), 0);
    EXPECT_EQ(c.CheckOut(2, &color), 0);
    c.CheckIn(&slider);
    return c.CheckIn(&color);
  }));
}

TEST(Commands, CannotBeGivenFromWithinAnother) {
  Provoke([](const Commanded&) -> PF_Err {
    EXPECT_REFUSED(const Effect nested{FixtureEntry}, "from within another");
    return 0;
  });
}

}  // namespace
}  // namespace hosting
