// What the host says of effects that break the rules, and that it says nothing of others.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>

#include "fixture_effect.h"
#include "refusal.h"

namespace hosting {
namespace {

PF_Err CheckOut(const Commanded& c, int index, PF_ParamDef* def) {
  return c.in->inter.checkout_param(c.in->effect_ref, index, 0, c.in->time_step, c.in->time_scale,
                                    def);
}

PF_Err CheckIn(const Commanded& c, PF_ParamDef* def) {
  return c.in->inter.checkin_param(c.in->effect_ref, def);
}

TEST(Bookkeeping, NamesTheCallThatBrokeTheRules) {
  const struct {
    const char* said;
    std::function<void(const Commanded&)> render;
  } cases[] = {
      {"no ReleaseSuite for AcquireSuite of \"PF World Suite\" version 2",
       [](const Commanded& c) { Acquire<PF_WorldSuite2>(c, kPFWorldSuite, 2); }},
      {"ReleaseSuite of \"PF World Suite\" version 1, which is not acquired",
       [](const Commanded& c) {
         Acquire<PF_WorldSuite2>(c, kPFWorldSuite, 2);
         Release(c, kPFWorldSuite, 1);
       }},
      {"ReleaseSuite of \"PF World Suite\" version 2, which is not acquired",
       [](const Commanded& c) {
         Acquire<PF_WorldSuite2>(c, kPFWorldSuite, 2);
         Release(c, kPFWorldSuite, 2);
         Release(c, kPFWorldSuite, 2);
       }},
      {"no checkin_param for checkout_param of control 1",
       [](const Commanded& c) {
         PF_ParamDef def{};
         CheckOut(c, 1, &def);
       }},
      {"no checkin_param for checkout_param of control 99",  // refused, but to be checked in
       [](const Commanded& c) {
         PF_ParamDef def{};
         EXPECT_NE(CheckOut(c, 99, &def), 0);
       }},
      {"checkin_param of a record that nothing is checked out into",
       [](const Commanded& c) {
         PF_ParamDef def{};
         CheckOut(c, 1, &def);
         PF_ParamDef copy = def;
         CheckIn(c, &copy);
       }},
      {"no disposal of a new world of 5 x 4 pixels",
       [](const Commanded& c) {
         const auto& suite = Acquire<PF_WorldSuite1>(c, kPFWorldSuite, 1);
         PF_EffectWorld world{};
         EXPECT_EQ(suite.new_world(c.in->effect_ref, 5, 4, PF_NewWorldFlag_NONE, &world), 0);
         Release(c, kPFWorldSuite, 1);
       }},
      {"dispose of a world of 5 x 4 pixels that the effect does not hold",
       [](const Commanded& c) {
         const auto& suite = Acquire<PF_WorldSuite1>(c, kPFWorldSuite, 1);
         PF_EffectWorld world{};
         suite.new_world(c.in->effect_ref, 5, 4, PF_NewWorldFlag_NONE, &world);
         PF_EffectWorld copy = world;
         suite.dispose_world(c.in->effect_ref, &world);
         suite.dispose_world(c.in->effect_ref, &copy);
         Release(c, kPFWorldSuite, 1);
       }},
      {"dispose of a world of 20 x 10 pixels that the effect does not hold",  // the host's own
       [](const Commanded& c) {
         const auto& suite = Acquire<PF_WorldSuite1>(c, kPFWorldSuite, 1);
         suite.dispose_world(c.in->effect_ref, c.output);
         Release(c, kPFWorldSuite, 1);
       }},
      {"fill of a world that the host did not lend",
       [](const Commanded& c) {
         PF_Pixel pixel{};
         PF_EffectWorld own{0, &pixel, 4, 1, 1, 0, 0};
         EXPECT_NE(c.in->utils->fill(c.in->effect_ref, nullptr, nullptr, &own), 0);
       }},
      {"colour asked of a record that nothing is checked out into",
       [](const Commanded& c) {
         const auto& suite = Acquire<PF_ColorParamSuite1>(c, kPFColorParamSuite, 1);
         PF_ParamDef def{};
         PF_PixelFloat color{};
         suite.PF_GetFloatingPointColorFromColorDef(c.in->effect_ref, &def, &color);
         Release(c, kPFColorParamSuite, 1);
       }},
      {"a call with an effect_ref that is not the command's",
       [](const Commanded& c) {
         int other = 0;
         EXPECT_NE(c.in->inter.progress(reinterpret_cast<PF_ProgPtr>(&other), 0, 1), 0);
       }},
      {"progress called from a thread that does not run the command",
       [](const Commanded& c) {
         std::thread([&] { EXPECT_NE(c.in->inter.progress(c.in->effect_ref, 0, 1), 0); }).join();
       }},
      {"the effect wrote to PF_InData", [](const Commanded& c) { c.in->width = 5; }},
      {"the effect wrote to the host's control records",
       [](const Commanded& c) { c.params[1]->u.fd.value = 5; }},
      {"an exception left the effect",
       [](const Commanded&) { throw std::runtime_error("unfenced"); }},
  };
  for (const auto& c : cases) {
    // An error of the effect's own does not hide it.
    for (const PF_Err answer : {PF_Err_NONE, PF_Err_OUT_OF_MEMORY}) {
      const auto render = [&](const Commanded& command) -> PF_Err {
        c.render(command);
        return answer;
      };
      EXPECT_THROW(Provoke(render), Breach) << c.said;
      EXPECT_REFUSED(Provoke(render), std::string("PF_Cmd_RENDER: ") + c.said);
    }
  }
}

TEST(Bookkeeping, FindsStrayWritesWhereItIsAsked) {
  const struct {
    const char* said;
    std::function<void(const Commanded&)> write;
  } cases[] = {
      {"before fill the effect wrote outside the output world: 0 bytes after the end of row 9",
       [](const Commanded& c) {
         c.output->data[9 * c.output->rowbytes / 4 + 20] = {};
         c.in->utils->fill(c.in->effect_ref, nullptr, nullptr, c.output);
       }},
      {"before the command's end the effect wrote outside the input world: 4 bytes before row 0",
       [](const Commanded& c) { c.params[0]->u.ld.data[-1] = {}; }},
      {"the effect wrote to the input world",
       [](const Commanded& c) { c.params[0]->u.ld.data[0].red ^= 1; }},
      {"the effect wrote outside its own world of 5 x 4 pixels: 0 bytes after the end of row 3",
       [](const Commanded& c) {
         const auto& suite = Acquire<PF_WorldSuite1>(c, kPFWorldSuite, 1);
         PF_EffectWorld world{};
         suite.new_world(c.in->effect_ref, 5, 4, PF_NewWorldFlag_NONE, &world);
         world.data[3 * world.rowbytes / 4 + 5] = {};
         suite.dispose_world(c.in->effect_ref, &world);
         Release(c, kPFWorldSuite, 1);
       }},
  };
  const auto guarded = [](Scene&, RenderOptions& o) { o.layout.guards = true; };
  for (const auto& c : cases) {
    const auto render = [&](const Commanded& command) -> PF_Err {
      c.write(command);
      return 0;
    };
    EXPECT_REFUSED(Provoke(render, guarded), c.said);
  }
}

TEST(Bookkeeping, HasNothingToSayOfAProperEffect) {
  const auto render = [](const Commanded& c) -> PF_Err {
    PF_ParamDef slider{};
    PF_ParamDef color{};
    EXPECT_EQ(CheckOut(c, 1, &slider), 0);
    EXPECT_EQ(CheckOut(c, 2, &color), 0);  // nested, and given back in any order
    CheckIn(c, &slider);
    CheckIn(c, &color);
    const auto* const one = &Acquire<PF_WorldSuite1>(c, kPFWorldSuite, 1);
    const auto* const two = &Acquire<PF_WorldSuite2>(c, kPFWorldSuite, 2);
    EXPECT_EQ(&Acquire<PF_WorldSuite2>(c, kPFWorldSuite, 2), two);  // twice, and released twice
    const void* none = nullptr;
    EXPECT_NE(c.in->pica_basicP->AcquireSuite(kPFWorldSuite, 3, &none), 0);
    EXPECT_NE(c.in->pica_basicP->AcquireSuite("No Such Suite", 1, &none), 0);
    EXPECT_EQ(none, nullptr);
    PF_EffectWorld world{};
    EXPECT_EQ(two->PF_NewWorld(c.in->effect_ref, 3, 3, 1, PF_PixelFormat_ARGB128, &world), 0);
    PF_PixelFormat format = 0;
    EXPECT_EQ(two->PF_GetPixelFormat(&world, &format), 0);
    EXPECT_EQ(format, PF_PixelFormat_ARGB128);
    EXPECT_EQ(two->PF_GetPixelFormat(c.output, &format), 0);
    EXPECT_EQ(format, PF_PixelFormat_ARGB32);
    EXPECT_EQ(reinterpret_cast<PF_PixelFloat*>(world.data)[2].blue, 0);
    EXPECT_EQ(two->PF_DisposeWorld(c.in->effect_ref, &world), 0);
    EXPECT_NE(one->new_world(c.in->effect_ref, -3, 3, 0, &world), 0);
    EXPECT_NE(two->PF_NewWorld(c.in->effect_ref, 3, 3, 1, PF_PixelFormat_INVALID, &world), 0);
    for (int i = 0; i < 2; ++i) Release(c, kPFWorldSuite, 2);
    Release(c, kPFWorldSuite, 1);
    return c.in->utils->fill(c.in->effect_ref, nullptr, nullptr, c.output);
  };
  EXPECT_NO_THROW(Provoke(render));
}

TEST(Bookkeeping, PassesTheEffectsOwnErrorsOn) {
  try {
    Provoke([](const Commanded&) -> PF_Err { return PF_Err_OUT_OF_MEMORY; });
    ADD_FAILURE() << "nothing was thrown";
  } catch (const EffectError& error) {
    EXPECT_EQ(error.command(), PF_Cmd_RENDER);
    EXPECT_EQ(error.code(), PF_Err_OUT_OF_MEMORY);
    EXPECT_FALSE(error.cancelled());
    EXPECT_STREQ(error.what(), "the effect answered PF_Cmd_RENDER with 4 (PF_Err_OUT_OF_MEMORY)");
  }
}

TEST(Utilities, FillOnlyWhatIsAsked) {
  const Frame frame = Provoke([](const Commanded& c) -> PF_Err {
    const auto fill = [&](PF_Pixel color, PF_Rect rect) {
      EXPECT_EQ(c.in->utils->fill(c.in->effect_ref, &color, &rect, c.output), 0);
    };
    EXPECT_EQ(c.in->utils->fill(c.in->effect_ref, nullptr, nullptr, c.output), 0);
    fill({255, 1, 2, 3}, {2, 3, 5, 4});
    fill({255, 9, 9, 9}, {18, -5, 99, 1});  // clipped
    fill({255, 7, 7, 7}, {5, 5, 5, 9});     // nothing
    fill({255, 7, 7, 7}, {30, 0, 40, 9});
    return 0;
  });
  for (int y = 0; y < 10; ++y) {
    for (int x = 0; x < 20; ++x) {
      const int expected = y == 3 && x >= 2 && x < 5 ? 1 : y == 0 && x >= 18 ? 9 : 0;
      EXPECT_EQ(frame.picture.Row<PF_Pixel>(y)[x].red, expected) << x << ", " << y;
    }
  }
}

TEST(Utilities, FillLargeWorldsOnAllThreads) {
  for (const int threads : {1, 3}) {
    Provoke(
        [](const Commanded& c) -> PF_Err {
          const auto& worlds = Acquire<PF_WorldSuite2>(c, kPFWorldSuite, 2);
          PF_EffectWorld world{};
          EXPECT_EQ(
              worlds.PF_NewWorld(c.in->effect_ref, 701, 600, 0, PF_PixelFormat_ARGB32, &world), 0);
          const PF_Pixel color{4, 3, 2, 1};
          const PF_Rect inner{1, 2, 700, 599};
          EXPECT_EQ(c.in->utils->fill(c.in->effect_ref, nullptr, nullptr, &world), 0);
          EXPECT_EQ(c.in->utils->fill(c.in->effect_ref, &color, &inner, &world), 0);
          int wrong = 0;
          for (int y = 0; y < 600; ++y) {
            const auto* const row = reinterpret_cast<const PF_Pixel*>(
                reinterpret_cast<const char*>(world.data) + y * world.rowbytes);
            for (int x = 0; x < 701; ++x) {
              const bool inside = x >= 1 && x < 700 && y >= 2 && y < 599;
              if (row[x].alpha != (inside ? 4 : 0) || row[x].blue != (inside ? 1 : 0)) ++wrong;
            }
          }
          EXPECT_EQ(wrong, 0);
          EXPECT_EQ(worlds.PF_DisposeWorld(c.in->effect_ref, &world), 0);
          Release(c, kPFWorldSuite, 2);
          return c.in->utils->fill(c.in->effect_ref, nullptr, nullptr, c.output);
        },
        [&](Scene&, RenderOptions& o) { o.threads = threads; });
  }
}

TEST(Utilities, IterateOverAnAreaWithASource) {
  for (const int threads : {1, 4}) {
    std::vector<A_long> reported;
    const Frame frame = Provoke(
        [](const Commanded& c) -> PF_Err {
          c.in->utils->fill(c.in->effect_ref, nullptr, nullptr, c.output);
          const PF_Rect area{1, 2, 19, 99};
          const auto pixel = [](void* refcon, A_long x, A_long y, PF_Pixel* in,
                                PF_Pixel* out) -> PF_Err {
            EXPECT_EQ(refcon, &fixture_behaviour);
            *out = {in->alpha, static_cast<A_u_char>(x), static_cast<A_u_char>(y), in->red};
            return 0;
          };
          return c.in->utils->iterate(c.in, 10, 30, &c.params[0]->u.ld, &area, &fixture_behaviour,
                                      pixel, c.output);
        },
        [&](Scene&, RenderOptions& o) {
          o.threads = threads;
          o.progress = [&](A_long current, A_long total) {
            EXPECT_EQ(total, 30);
            reported.push_back(current);
            return true;
          };
        });
    EXPECT_EQ(reported.back(), 30);
    for (int y = 0; y < 10; ++y) {
      for (int x = 0; x < 20; ++x) {
        const PF_Pixel& p = frame.picture.Row<PF_Pixel>(y)[x];
        const bool inside = x >= 1 && x < 19 && y >= 2;
        EXPECT_EQ(p.alpha, inside ? 255 : 0);
        EXPECT_EQ(p.red, inside ? x : 0);
        EXPECT_EQ(p.green, inside ? y : 0);
        EXPECT_EQ(p.blue, inside ? 20 * y + x : 0);
      }
    }
  }
}

TEST(Utilities, RefuseToIterateOverTheWrongDepth) {
  Provoke([](const Commanded& c) -> PF_Err {
    const auto pixel = [](void*, A_long, A_long, PF_Pixel16*, PF_Pixel16*) -> PF_Err { return 0; };
    EXPECT_EQ(c.in->utils->iterate16(c.in, 0, 1, nullptr, nullptr, nullptr, pixel, c.output),
              PF_Err_BAD_CALLBACK_PARAM);
    return c.in->utils->fill(c.in->effect_ref, nullptr, nullptr, c.output);
  });
}

}  // namespace
}  // namespace hosting
