// Looks: how they are found, and that they work on any picture.
#include <array>

#include "picture_file.h"
#include "support.h"

namespace app {
namespace {

using Presets = InSceneFolder;

TEST_F(Presets, AreFoundByNameAndLaidOverTheScene) {
  ExpectRefused({"render", "scene.json", "--preset", "hony", "-o", "a.png"}, 2,
                "there is no preset \"hony\"; did you mean \"honey\"?\n");

  std::set<std::string> pictures;
  for (const char* name : {"chrome", "crayon", "glass-thread", "honey", "ink", "lava", "mercury",
                           "neon", "paint", "water"}) {
    const RunResult good =
        RunVorlin({"render", "scene.json", "--preset", name, "--time", "0.3", "-o", "a.png", "-y"});
    EXPECT_EQ(good.exit_code, 0) << good.err;
    pictures.insert(ReadAll("a.png"));
  }
  EXPECT_EQ(pictures.size(), 10U);

  // A file of one's own goes before a look of that name.
  WriteText("honey", R"({"controls": {"Densty": 1}})");
  ExpectRefused({"render", "scene.json", "--preset", "honey", "-o", "b.png"}, 2,
                "honey:1:15: unknown control \"Densty\"; did you mean \"Density\"?\n");
}

TEST_F(Presets, NeitherBurnOutNorFadeOnAnyPicture) {
  struct Look {
    const char* name;
    double clipped;            // of a stroke's pixels, in some channel, at most
    std::array<int, 3> color;  // 1: this channel is strong, -1: it is weak, on every picture
  };
  const Look looks[] = {{"chrome", 0.15, {}},          {"glass-thread", 0.15, {}},
                        {"honey", 0.15, {1, 0, -1}},   {"ink", 0.15, {}},
                        {"mercury", 0.15, {}},         {"water", 0.15, {}},
                        {"crayon", 0.15, {1, -1, -1}}, {"paint", 0.15, {-1, 0, 1}},
                        {"lava", 1, {1, 0, -1}},       {"neon", 1, {1, -1, 0}}};
  for (const Look& look : looks) {
    for (const std::string picture : {"night", "forest", "meadow", "white"}) {
      const RunResult run = RunVorlin({"render", SCENES "/" + picture + ".jpg", "--path",
                                       SCENES "/hello.svg", "--preset", look.name, "--time", "3s",
                                       "--downsample", "1/2", "-o", "a.png", "-y", "-q"});
      ASSERT_EQ(run.exit_code, 0) << run.err;
      const hosting::World world = ReadPicture("a.png").ToWorld(hosting::Depth::k8);
      int pixels = 0;
      int clipped = 0;
      std::array<double, 3> sums{};
      for (int i = 0; i < world.width() * world.height(); ++i) {
        const PF_Pixel& p = world.Row<PF_Pixel>(i / world.width())[i % world.width()];
        if (p.alpha < 128) continue;
        ++pixels;
        clipped += p.red == 255 || p.green == 255 || p.blue == 255;
        sums[0] += p.red;
        sums[1] += p.green;
        sums[2] += p.blue;
      }
      ASSERT_GT(pixels, 1000);
      EXPECT_LT(clipped, look.clipped * pixels) << look.name << " on " << picture;
      for (std::size_t strong = 0; strong < 3; ++strong) {
        for (std::size_t weak = 0; weak < 3; ++weak) {
          if (look.color[strong] < 1 || look.color[weak] > -1) continue;
          EXPECT_LT(sums[weak], 0.75 * sums[strong]) << look.name << " on " << picture;
        }
      }
    }
  }
}

}  // namespace
}  // namespace app
