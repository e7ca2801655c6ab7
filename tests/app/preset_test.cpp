// Looks that are found by name.
#include "support.h"

namespace app {
namespace {

using Presets = InSceneFolder;

TEST_F(Presets, AreFoundByNameAndLaidOverTheScene) {
  ExpectRefused({"render", "scene.json", "--preset", "hony", "-o", "a.png"}, 2,
                "there is no preset \"hony\"; did you mean \"honey\"?\n");

  std::set<std::string> pictures;
  for (const char* name : {"glass-thread", "honey", "ink", "lava", "mercury", "neon"}) {
    const RunResult good =
        RunVorlin({"render", "scene.json", "--preset", name, "--time", "0.3", "-o", "a.png", "-y"});
    EXPECT_EQ(good.exit_code, 0) << good.err;
    pictures.insert(ReadAll("a.png"));
  }
  EXPECT_EQ(pictures.size(), 6U);

  // A file of one's own goes before a look of that name.
  WriteText("honey", R"({"controls": {"Densty": 1}})");
  ExpectRefused({"render", "scene.json", "--preset", "honey", "-o", "b.png"}, 2,
                "honey:1:15: unknown control \"Densty\"; did you mean \"Density\"?\n");
}

}  // namespace
}  // namespace app
