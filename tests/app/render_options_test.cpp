// What the render command's options promise.
#include "picture_file.h"
#include "support.h"

namespace app {
namespace {

class RenderOptions : public InSceneFolder {
 protected:
  /// Renders scene.json, quietly; what it says.
  static std::string Render(std::vector<std::string> more) {
    more.insert(more.begin(), {"render", "scene.json", "-q"});
    return RunVorlin(more).err;
  }
  /// The picture of frame 3 with these options.
  static hosting::World Picture(std::vector<std::string> more) {
    more.insert(more.end(), {"-o", "p.png", "-F", "3", "-y"});
    EXPECT_EQ(Render(more), "");
    return ReadPicture("p.png").ToWorld(hosting::Depth::k8);
  }
  static std::string Pictures(const std::string& name) {
    std::string all;
    for (const char* number : {"0000", "0001", "0002", "0003"}) {
      all += ReadAll(name + number + ".png");
    }
    return all;
  }
};

TEST_F(RenderOptions, SkipExistingRendersWhatIsMissingBrokenOrStale) {
  for (const char* extension : {".png", ".exr", ".tif"}) {
    const std::string end = extension;
    const std::vector<std::string> run{"-o", "o" + end, "--skip-existing"};
    const auto written = [&] { return std::filesystem::last_write_time("o.0000" + end); };
    EXPECT_EQ(Render(run), "");
    const auto first = written();
    const std::string picture = ReadAll("o.0002" + end);
    std::filesystem::remove("o.0001" + end);
    std::filesystem::resize_file("o.0002" + end, picture.size() - 20);
    EXPECT_EQ(Render(run), "");
    EXPECT_EQ(written(), first);
    EXPECT_TRUE(ReadAll("o.0002" + end) == picture && std::filesystem::exists("o.0001" + end));
    std::vector<std::string> wider = run;
    wider.insert(wider.end(), {"--set", "Stroke Width=6"});
    EXPECT_EQ(Render(wider), "");
    EXPECT_FALSE(ReadAll("o.0002" + end) == picture) << extension;
  }
  const std::string before = ReadAll("o.0003.png");
  WritePicture(hosting::World(64, 36, hosting::Depth::k8),
               PictureFormat("plate.png", hosting::Depth::k8), {}, "plate.png");
  EXPECT_EQ(Render({"-o", "o.png", "--skip-existing"}), "");
  EXPECT_FALSE(ReadAll("o.0003.png") == before);
}

TEST_F(RenderOptions, ChunksAndTimesGiveTheBytesOfOneRun) {
  EXPECT_EQ(Render({"-o", "all.####.png"}), "");
  for (const char* chunk : {"1/3", "2/3", "3/3"}) Render({"-o", "part.png", "--chunk", chunk});
  EXPECT_TRUE(Pictures("part.") == Pictures("all."));
  EXPECT_EQ(Render({"-o", "still.png", "--time", "0.2s"}), "");
  EXPECT_TRUE(ReadAll("still.png") == ReadAll("all.0002.png"));
  // More parts than frames: some have nothing to do.
  EXPECT_EQ(Render({"-o", "none.png", "--chunk", "1/9"}), "");
  EXPECT_FALSE(std::filesystem::exists("none.0000.png"));
}

TEST_F(RenderOptions, ChooseThePicture) {
  const auto different = [](std::vector<std::string> one, std::vector<std::string> other) {
    return DifferentPixels(Picture(std::move(one)), Picture(std::move(other)));
  };
  WriteText("preset.json", R"({"controls": {"Stroke Width": 7, "Light Color": "#ff0000"}})");
  const std::vector<std::string> preset{"--preset", "preset.json"};
  EXPECT_EQ(different({"--set", "Stroke Width=7", "--set", "Light Color=#ff0000"}, preset), 0);
  EXPECT_GT(different({"--preset", "preset.json", "--set", "Stroke Width=1"}, preset), 20);
  EXPECT_EQ(different({"--over", "layer"}, {"--over", "plate.png"}), 0);
  EXPECT_EQ(Picture({"--over", "#102030"}).Row<PF_Pixel>(0)[0].blue, 0x30);
  EXPECT_EQ(Picture({"--over", "checker"}).Row<PF_Pixel>(0)[16].red, 102);
  EXPECT_EQ(Picture({"--downsample", "1/2"}).width(), 32);
  const hosting::World part = Picture({"--region", "20,10,30,15"});
  EXPECT_EQ(part.width() * 100 + part.height(), 3015);
  EXPECT_EQ(DifferentPixels(part, Picture({}), 20, 10), 0);
  // Rendered larger it is the same picture, a little smoother; the layer stays as it is.
  const hosting::World fine = Picture({"--supersample", "2", "--over", "layer"});
  EXPECT_EQ(fine.width() * 100 + fine.height(), 6436);
  const int changed = DifferentPixels(fine, Picture({"--over", "layer"}));
  EXPECT_TRUE(0 < changed && changed < 64 * 36 / 2) << changed;
  EXPECT_EQ(DifferentPixels(Picture({"--supersample", "3", "--set", "Stroke Width=0"}),
                            Picture({"--set", "Stroke Width=0"})),
            0);
}

TEST_F(RenderOptions, FramesAreNumberedAsTheLayersPictures) {
  for (const char* name : {"q.1001.png", "q.1003.png"}) WritePlate(name);
  WriteText("scene.json", R"({"layer": "q.####.png", "missing": "hold"})");
  EXPECT_EQ(Render({"-o", "o.jpg"}), "");
  EXPECT_EQ(Render({"-o", "p.webp", "--start-number", "7", "-F", "8"}), "");
  EXPECT_EQ(Entries(),
            With({"q.1001.png", "q.1003.png", "o.1001.jpg", "o.1002.jpg", "o.1003.jpg", "p.webp"}));
  WriteText("scene.json", R"({"layer": "q.####.png"})");
  EXPECT_NE(Render({"-o", "o.png"}).find("\"q.1002.png\" is missing"), std::string::npos);
  Render({"-o", "k.png", "--keep-going"});
  EXPECT_TRUE(std::filesystem::exists("k.1001.png") && std::filesystem::exists("k.1003.png") &&
              !std::filesystem::exists("k.1002.png"));
}

TEST_F(RenderOptions, AreRefusedInOneLine) {
  WriteText("preset.json", R"({"controls": {"Densty": 7}})");
  WriteText("o.0002.png", "mine");
  const std::pair<std::vector<std::string>, const char*> cases[] = {
      {{"--set", "Densty=7"}, "--set: unknown control \"Densty\"; did you mean \"Density\"?"},
      {{"--set", "Density"}, "--set: expected \"Name=value\", found \"Density\""},
      {{"--set", "Density=700"}, "--set: \"Density\" is 700, but must be from 0 to 200"},
      {{"--preset", "preset.json"}, "preset.json:1:15: unknown control \"Densty\""},
      {{"--region", "1,2,3"}, "region: expected left,top,width,height in pixels"},
      {{"--downsample", "0"}, "downsample: \"0\" is not more than 0"},
      {{"--over", "a_file"}, "cannot read the picture \"a_file\""},
      {{"--over", "cheker"},
       "\"cheker\" is neither layer, checker, a colour #rrggbb nor a picture; "
       "did you mean \"checker\"?"},
      {{"--chunk", "4/3"}, "chunk: expected a part and the number of parts, as 3/20"},
      {{"--time", "soon"}, "time: expected seconds as 1.25s, found \"soon\""},
      {{"--time", "1", "-F", "1"}, "--frames excludes --time"},
      {{"--depth", "12"}, "--depth: 12 not in {8,16,32}"},
      {{"--dept", "8"}, "render has no option \"--dept\"; did you mean \"--depth\"?"},
      {{"--frames"}, "--frames needs a value"},
      {{"--no-overwrite"},
       "\"o.0002.png\" is already there; -y replaces it, --skip-existing keeps"},
  };
  for (const auto& [more, message] : cases) {
    std::vector<std::string> arguments{"render", "scene.json", "-q", "-o", "o.png"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const bool file = more.back() == "a_file" || more[0] == "--no-overwrite";
    ExpectRefused(arguments, file ? 3 : 2, message);
  }
  ExpectRefused({"rendr"}, 2, "there is no command \"rendr\"; did you mean \"render\"?");
  WriteText("preset.json", R"({"controls": {}})");
  ExpectRefused({"check", "preset.json"}, 2, "preset.json:1:1: \"layer\" is missing");
}

TEST_F(RenderOptions, ASceneGreysControls) {
  const auto greyed = [](const std::vector<std::string>& arguments) {
    std::set<std::string> names;
    const Json::Value list = Parsed(RunVorlin(arguments).out);
    for (const Json::Value& control : list["controls"]) {
      if (control["greyed"].asBool()) names.insert(control["name"].asString());
    }
    return names;
  };
  WriteText("point.json", R"({"layer": "plate.png", "duration": 1,
    "controls": {"Light Type": "Point Light"}})");
  EXPECT_EQ(greyed({"controls", "--json"}).count("Light Position"), 1U);
  EXPECT_EQ(greyed({"controls", "point.json", "--json"}).count("Light Position"), 0U);
}

}  // namespace
}  // namespace app
