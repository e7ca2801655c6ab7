// What the render command's options promise.
#include "picture_file.h"
#include "support.h"

namespace app {
namespace {

class RenderOptions : public InSceneFolder {
 protected:
  /// Renders scene.json, quietly.
  static RunResult Render(std::vector<std::string> more) {
    more.insert(more.begin(), {"render", "scene.json", "-q"});
    return RunVorlin(more);
  }
  /// The picture of frame 3 with these options.
  static hosting::World Picture(std::vector<std::string> more) {
    more.insert(more.end(), {"-o", "p.png", "-F", "3", "-y"});
    EXPECT_EQ(Render(more).err, "");
    return ReadPicture("p.png").ToWorld(hosting::Depth::k8);
  }
  static bool Same(const PF_Pixel& a, const PF_Pixel& b) {
    return a.alpha == b.alpha && a.red == b.red && a.green == b.green && a.blue == b.blue;
  }
};

TEST_F(RenderOptions, ExistingPicturesAreKeptUnlessToldOtherwise) {
  WriteText("o.0002.png", "mine");
  for (const char* flag : {"--no-overwrite", "--keep-going"}) {
    ExpectRefused({"render", "scene.json", "-q", "-o", "o.png", flag}, 3,
                  "\"o.0002.png\" is already there; -y replaces it, --skip-existing keeps "
                  "what is up to date\n");
  }
  EXPECT_EQ(Render({"-o", "o.png", "-y"}).exit_code, 0);
  EXPECT_NE(ReadAll("o.0002.png"), "mine");
}

TEST_F(RenderOptions, SkipExistingRendersWhatIsMissingBrokenOrStale) {
  const char* names[] = {"o.0000", "o.0001", "o.0002", "o.0003"};
  for (const char* extension : {".png", ".exr", ".tif"}) {
    const std::vector<std::string> run{"-o", std::string("o") + extension, "--skip-existing"};
    const auto contents = [&] {
      std::vector<std::string> all;
      for (const char* name : names) all.push_back(ReadAll(std::string(name) + extension));
      return all;
    };
    const auto times = [&] {
      std::vector<std::filesystem::file_time_type> all;
      for (const char* name : names) {
        all.push_back(std::filesystem::last_write_time(std::string(name) + extension));
      }
      return all;
    };
    EXPECT_EQ(Render(run).err, "");
    const auto first = contents();
    const auto written = times();
    EXPECT_EQ(Render(run).err, "");
    EXPECT_EQ(times(), written) << extension;

    std::filesystem::remove(std::string("o.0001") + extension);
    std::filesystem::resize_file(std::string("o.0002") + extension, first[2].size() - 20);
    EXPECT_EQ(Render(run).err, "");
    EXPECT_TRUE(contents() == first) << extension;
    EXPECT_EQ(times()[0], written[0]);

    // Stale: another setting, another layer.
    std::vector<std::string> wider = run;
    wider.insert(wider.end(), {"--set", "Stroke Width=6"});
    EXPECT_EQ(Render(wider).err, "");
    const auto second = contents();
    for (std::size_t i = 0; i < 4; ++i) EXPECT_TRUE(second[i] != first[i]) << extension;
    EXPECT_EQ(Render(run).err, "");
    EXPECT_TRUE(contents() == first) << extension;
  }
  WritePicture(hosting::Picture(64, 36, std::vector<std::uint8_t>(64 * 36 * 4, 255))
                   .ToWorld(hosting::Depth::k8),
               PictureFormat("plate.png", hosting::Depth::k8), {}, "plate.png");
  const std::string before = ReadAll("o.0003.png");
  EXPECT_EQ(Render({"-o", "o.png", "--skip-existing"}).err, "");
  EXPECT_TRUE(ReadAll("o.0003.png") != before);
}

TEST_F(RenderOptions, ChunksAndTimesGiveTheBytesOfOneRun) {
  EXPECT_EQ(Render({"-o", "all.png"}).err, "");
  for (const char* chunk : {"1/3", "2/3", "3/3"}) {
    EXPECT_EQ(Render({"-o", "part.png", "--chunk", chunk}).err, "");
  }
  for (const char* number : {"0000", "0001", "0002", "0003"}) {
    EXPECT_TRUE(ReadAll(std::string("part.") + number + ".png") ==
                ReadAll(std::string("all.") + number + ".png"));
  }
  EXPECT_EQ(Render({"-o", "still.png", "--time", "0.2s"}).err, "");
  EXPECT_TRUE(ReadAll("still.png") == ReadAll("all.0002.png"));
  EXPECT_EQ(Render({"-o", "between.png", "--time", "0.25"}).err, "");
  EXPECT_TRUE(ReadAll("between.png") != ReadAll("all.0002.png"));
  // More parts than frames: some have nothing to do.
  EXPECT_EQ(Render({"-o", "none.png", "--chunk", "1/9"}).exit_code, 0);
  EXPECT_FALSE(std::filesystem::exists("none.0000.png"));
}

TEST_F(RenderOptions, RegionsAreCropsAndDownsamplingReduces) {
  const hosting::World full = Picture({});
  const hosting::World part = Picture({"--region", "20,10,30,15"});
  ASSERT_EQ(part.width(), 30);
  ASSERT_EQ(part.height(), 15);
  EXPECT_EQ(DifferentPixels(part, full, 20, 10), 0);
  EXPECT_GT(DifferentPixels(part, hosting::World(30, 15, hosting::Depth::k8)), 10);  // drawn
  for (const char* factor : {"1/2", "2", "0.5"}) {
    EXPECT_EQ(Picture({"--downsample", factor}).width(), 32) << factor;
  }
}

TEST_F(RenderOptions, SettingsAndPresetsLieOverTheScene) {
  WriteText("preset.json", R"({"controls": {"Stroke Width": 7, "Light Color": "#ff0000"}})");
  Picture({"--set", "Stroke Width=6", "--set", "Light Color=#ff0000", "--set", "Using=AE Lights"});
  const hosting::World by_settings =
      Picture({"--set", "Stroke Width=7", "--set", "Light Color=#ff0000"});
  const hosting::World by_preset = Picture({"--preset", "preset.json"});
  const hosting::World thin = Picture({"--preset", "preset.json", "--set", "Stroke Width=1"});
  EXPECT_EQ(DifferentPixels(by_settings, by_preset), 0);
  EXPECT_GT(DifferentPixels(by_settings, thin), 20);
}

TEST_F(RenderOptions, BackdropsLieUnderTheStroke) {
  const hosting::World color = Picture({"--over", "#102030"});
  EXPECT_TRUE(Same(color.Row<PF_Pixel>(0)[0], {255, 0x10, 0x20, 0x30}));
  const hosting::World checker = Picture({"--over", "checker"});
  EXPECT_TRUE(Same(checker.Row<PF_Pixel>(0)[0], {255, 153, 153, 153}));
  EXPECT_TRUE(Same(checker.Row<PF_Pixel>(0)[16], {255, 102, 102, 102}));
  const hosting::World layer = Picture({"--over", "layer"});
  const hosting::World file = Picture({"--over", "plate.png"});
  EXPECT_EQ(DifferentPixels(layer, file), 0);
}

TEST_F(RenderOptions, KeepGoingLeavesOutOnlyWhatFails) {
  std::filesystem::create_directory("o.0001.png");
  const RunResult result = Render({"-o", "o.png", "--keep-going"});
  EXPECT_EQ(result.exit_code, 3);
  EXPECT_EQ(result.err,
            "vorlin: error: cannot write \"o.0001.png\": Is a directory\n"
            "vorlin: error: not every frame could be rendered\n");
  EXPECT_EQ(Entries(), With({"o.0000.png", "o.0001.png", "o.0002.png", "o.0003.png"}));
}

TEST_F(RenderOptions, AreRefusedInOneLine) {
  WriteText("preset.json", R"({"controls": {"Densty": 7}})");
  WritePicture(hosting::World(3, 3, hosting::Depth::k8),
               PictureFormat("small.png", hosting::Depth::k8), {}, "small.png");
  struct Case {
    std::vector<std::string> arguments;
    const char* message;
  };
  const Case cases[] = {
      {{"--set", "Densty=7"}, "--set: unknown control \"Densty\"; did you mean \"Density\"?"},
      {{"--set", "Density"}, "--set: expected \"Name=value\", found \"Density\""},
      {{"--set", "Density=700"}, "--set: \"Density\" is 700, but must be from 0 to 200"},
      {{"--preset", "preset.json"}, "preset.json:1:15: unknown control \"Densty\""},
      {{"--region", "1,2,3"}, "region: expected left,top,width,height in pixels"},
      {{"--downsample", "0"}, "downsample: \"0\" is not more than 0"},
      {{"--over", "small.png"}, "\"small.png\" has 3 x 3 pixels, the scene's layer 64 x 36"},
      {{"--chunk", "4/3"}, "chunk: expected a part and the number of parts, as 3/20"},
      {{"--time", "soon"}, "time: expected seconds as 1.25s, found \"soon\""},
      {{"--time", "1", "-F", "1"}, "--frames excludes --time"},
  };
  for (const Case& c : cases) {
    std::vector<std::string> arguments{"render", "scene.json", "-q", "-o", "o.png"};
    arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
    ExpectRefused(arguments, 2, c.message);
  }
}

}  // namespace
}  // namespace app
