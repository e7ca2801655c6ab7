// What the host says of effects that break the rules.
#include <stdexcept>
#include <string>
#include <thread>

#include "fixture_effect.h"

namespace hosting {
namespace {

constexpr const char* kWorlds = kPFWorldSuite;

const PF_WorldSuite1& WorldsOf(const Commanded& c) { return c.Borrow<PF_WorldSuite1>(kWorlds, 1); }

PF_EffectWorld NewWorld(const Commanded& c) {
  PF_EffectWorld world{};
  EXPECT_EQ(WorldsOf(c).new_world(c.ref(), 5, 4, PF_NewWorldFlag_NONE, &world), 0);
  return world;
}

void CheckInElsewhere(const Commanded& c) {
  PF_ParamDef def{};
  c.CheckOut(1, &def);
  PF_ParamDef copy = def;
  c.CheckIn(&copy);
}

void CheckOutOnly(const Commanded& c, int index, bool refused) {
  PF_ParamDef def{};
  EXPECT_EQ(c.CheckOut(index, &def) != 0, refused);
}

void ReleaseAnotherVersion(const Commanded& c) {
  c.Acquire(kWorlds, 2);
  c.Release(kWorlds, 1);
}

void DisposeTwice(const Commanded& c) {
  PF_EffectWorld world = NewWorld(c);
  PF_EffectWorld copy = world;
  WorldsOf(c).dispose_world(c.ref(), &world);
  WorldsOf(c).dispose_world(c.ref(), &copy);
}

void FillForeignWorld(const Commanded& c) {
  PF_Pixel pixel{};
  PF_EffectWorld own{0, &pixel, 4, 1, 1, 0, 0};
  EXPECT_NE(c.Fill(&own), 0);
}

void AskColorOfNothing(const Commanded& c) {
  PF_ParamDef def{};
  PF_PixelFloat color{};
  c.Borrow<PF_ColorParamSuite1>(kPFColorParamSuite, 1)
      .PF_GetFloatingPointColorFromColorDef(c.ref(), &def, &color);
}

void CallByAnotherName(const Commanded& c) {
  int other = 0;
  EXPECT_NE(c.in->inter.progress(reinterpret_cast<PF_ProgPtr>(&other), 0, 1), 0);
}

void WriteBesideOutput(const Commanded& c) {
  c.output->data[9 * c.output->rowbytes / 4 + 20] = {};
  c.Fill(c.output);
}

void WriteBesideOwnWorld(const Commanded& c) {
  const PF_WorldSuite1& worlds = WorldsOf(c);
  PF_EffectWorld world = NewWorld(c);
  world.data[3 * world.rowbytes / 4 + 5] = {};
  worlds.dispose_world(c.ref(), &world);
}

TEST(Bookkeeping, NamesTheCallThatBrokeTheRules) {
  using C = const Commanded&;
  const struct {
    const char* said;
    std::function<void(C)> render;
    bool guards = false;  // stray writes are found where it is asked
  } cases[] = {
      {"no ReleaseSuite for AcquireSuite of \"PF World Suite\" version 2",
       [](C c) { c.Acquire(kWorlds, 2); }},
      {"ReleaseSuite of \"PF World Suite\" version 1, which is not acquired",
       ReleaseAnotherVersion},
      {"no checkin_param for checkout_param of control 1", [](C c) { CheckOutOnly(c, 1, false); }},
      {"no checkin_param for checkout_param of control 99",  // refused, but to be checked in
       [](C c) { CheckOutOnly(c, 99, true); }},
      {"checkin_param of a record that nothing is checked out into", CheckInElsewhere},
      {"no disposal of a new world of 5 x 4 pixels", [](C c) { NewWorld(c); }},
      {"dispose of a world of 5 x 4 pixels that the effect does not hold", DisposeTwice},
      {"dispose of a world of 20 x 10 pixels that the effect does not hold",
       [](C c) { WorldsOf(c).dispose_world(c.ref(), c.output); }},
      {"fill of a world that the host did not lend", FillForeignWorld},
      {"colour asked of a record that nothing is checked out into", AskColorOfNothing},
      {"a call with an effect_ref that is not the command's", CallByAnotherName},
      {"progress called from a thread that does not run the command",
       [](C c) { std::thread([&] { c.in->inter.progress(c.ref(), 0, 1); }).join(); }},
      {"the effect wrote to PF_InData", [](C c) { c.in->width = 5; }},
      {"the effect wrote to the host's control records", [](C c) { c.params[1]->u.fd.value = 5; }},
      {"an exception left the effect", [](C) { throw std::runtime_error("unfenced"); }},
      {"before fill the effect wrote outside the output world: 0 bytes after the end of row 9",
       WriteBesideOutput, true},
      {"before the command's end the effect wrote outside the input world: 4 bytes before row 0",
       [](C c) { c.params[0]->u.ld.data[-1] = {}; }, true},
      {"the effect wrote to the input world", [](C c) { c.params[0]->u.ld.data->red ^= 1; }, true},
      {"the effect wrote outside its own world of 5 x 4 pixels: 0 bytes after the end of row 3",
       WriteBesideOwnWorld, true},
  };
  for (const auto& c : cases) {
    // An error of the effect's own does not hide it.
    for (const PF_Err answer : {PF_Err_NONE, PF_Err_OUT_OF_MEMORY}) {
      const auto render = [&](C command) { return c.render(command), answer; };
      const auto options = [&](Scene&, RenderOptions& o) { o.layout.guards = c.guards; };
      EXPECT_EQ(RefusalOf<Breach>([&] { Provoke(render, options); }),
                std::string("PF_Cmd_RENDER: ") + c.said);
    }
  }
}

std::string CheckOutLayer(const Commanded& c, A_long id, PF_LRect rect, A_long later = 0) {
  PF_RenderRequest request{};
  request.rect = rect;
  PF_CheckoutResult result{};
  const PF_Err err =
      c.pre().cb->checkout_layer(c.ref(), 0, id, &request, c.in->current_time + later,
                                 c.in->time_step, c.in->time_scale, &result);
  const PF_LRect& r = result.result_rect;
  return err != 0 ? "refused" : Text(r.left, r.top, r.right, r.bottom);
}

TEST(Bookkeeping, HoldsTheEffectToTheSmartProtocol) {
  const struct {
    const char* said;
    A_long id;      // that pre-render takes
    A_long bottom;  // of what it promises
    A_long asked;   // the id that render uses
  } cases[] = {
      {"PF_Cmd_SMART_PRE_RENDER: checkout_layer with id -1, which is negative or taken", -1, 10, 1},
      {"PF_Cmd_SMART_PRE_RENDER: result_rect (0, 0, 20, 11) reaches out of max_result_rect "
       "(0, 0, 20, 10)",
       1, 11, 1},
      {"PF_Cmd_SMART_RENDER: checkout_layer_pixels with id 7, which no checkout_layer announced", 1,
       10, 7},
      {"the effect answered PF_Cmd_SMART_RENDER with 4 (PF_Err_OUT_OF_MEMORY)", 1, 10, 1}};
  for (const auto& c : cases) {
    const auto behave = [&](const Commanded& command) -> PF_Err {
      if (command.cmd == PF_Cmd_SMART_PRE_RENDER) {
        EXPECT_EQ(CheckOutLayer(command, 2, {0, 0, 20, 10}, 1), "refused");
        EXPECT_EQ(CheckOutLayer(command, 2, {30, 0, 40, 10}), "0 0 0 0");
        EXPECT_EQ(CheckOutLayer(command, c.id, {15, 7, 99, 8}), c.id < 0 ? "refused" : "15 7 20 8");
        command.pre().output->max_result_rect = {0, 0, 20, 10};
        command.pre().output->result_rect = {0, 0, 20, c.bottom};
        return 0;
      }
      PF_EffectWorld* world = nullptr;
      EXPECT_EQ(command.smart().cb->checkout_layer_pixels(command.ref(), 2, &world), 0);
      EXPECT_EQ(world, nullptr);  // nothing of the layer
      command.smart().cb->checkout_layer_pixels(command.ref(), c.asked, &world);
      if (world == nullptr) return 0;
      EXPECT_EQ(Text(world->origin_x, world->origin_y, world->width, +world->data[0].red),
                Text(15, 7, 5, 7 * 20 + 15));
      return PF_Err_OUT_OF_MEMORY;
    };
    const auto smart = [](Scene&, RenderOptions& o) { o.smart = true; };
    EXPECT_EQ(RefusalOf([&] { Provoke(behave, smart); }), c.said);
  }
}

TEST(Commands, CannotBeGivenFromWithinAnother) {
  Provoke([](const Commanded&) -> PF_Err {
    EXPECT_REFUSED(const Effect nested{FixtureEntry}, "from within another");
    return 0;
  });
}

}  // namespace
}  // namespace hosting
