// The built program, run as its users run it.
#include <algorithm>

#include "picture_file.h"
#include "support.h"

namespace app {
namespace {

using Runs = InSceneFolder;

TEST_F(Runs, FailInOneLineAndLeaveNothing) {
  WriteText("broken.json", "{");
  WriteText("unknown.json", R"({"layer": "plate.png", "duration": 1, "controls": {"Densty": 1}})");
  WriteText("unreadable.json", R"({"layer": "a_file", "duration": 1})");
  std::filesystem::create_directory("folder.png");
  struct Case {
    std::vector<std::string> arguments;
    int exit_code;
    const char* message;  // what the line begins with after "vorlin: error: "
  };
  const Case cases[] = {
      {{}, 2, "a command is missing; see vorlin --help"},
      {{"rendr"}, 2, "there is no command \"rendr\"; did you mean \"render\"?"},
      {{"render", "scene.json"}, 2, "--output is required"},
      {{"render", "scene.json", "-o", "o.png", "--depth", "12"}, 2, "--depth: "},
      {{"render", "scene.json", "-o", "o.bmp"},
       2,
       "\"o.bmp\": pictures are written as .png, .jpg, .webp, .tif or .exr"},
      {{"render", "scene.json", "-o", "o.png", "-F", "0-99999999"}, 2, "frames: more than"},
      {{"render", "scene.json", "-o", "o.png", "-F", "99999999"}, 2, "frames: "},
      {{"render", "missing.json", "-o", "o.png"}, 3, "cannot read \"missing.json\""},
      {{"render", "broken.json", "-o", "o.png"}, 2, "broken.json:1:2: missing '}'"},
      {{"render", "unknown.json", "-o", "o.png"},
       2,
       "unknown.json:1:52: unknown control \"Densty\"; did you mean \"Density\"?"},
      {{"render", "plate.png", "-o", "o.png"},
       2,
       "\"plate.png\" is no scene; to draw on a picture or a movie, add --path DRAWING"},
      {{"render", "unreadable.json", "-o", "o.png"},
       3,
       "unreadable.json:1:11: cannot read the picture \"a_file\": "},
      {{"render", "scene.json", "-o", "a_file/o.png"},
       3,
       "cannot write \"a_file/o.0000.png\": Not a directory"},
      {{"render", "scene.json", "-o", "nowhere/o.png"},
       3,
       "cannot write \"nowhere/o.0000.png\": No such file or directory"},
      {{"render", "scene.json", "-o", "folder.png", "-F", "1"},
       3,
       "cannot write \"folder.png\": Is a directory"},
      {{"render", "scene.json", "-o", "o.png", "--effect", "nothing.so"},
       3,
       "there is no effect \"nothing.so\""},
      {{"render", "scene.json", "--dpeth=8"},
       2,
       "render has no option \"--dpeth\"; did you mean \"--depth\"?"},
      {{"sheet", "o.####.png", "-o", "s.png"}, 3, "there is no picture \"o.####.png\""},
  };
  for (const Case& c : cases) ExpectRefused(c.arguments, c.exit_code, c.message);
}

TEST_F(Runs, LeaveExactlyTheirFrames) {
  const RunResult result = RunVorlin({"render", "scene.json", "-o", "o.png"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(Entries(), With({"o.0000.png", "o.0001.png", "o.0002.png", "o.0003.png"}));
  EXPECT_NE(result.err.find(": 1 of 4 done, "), std::string::npos) << result.err;

  EXPECT_EQ(
      RunVorlin({"sheet", "o.####.png", "-o", "s.png", "--columns", "3", "--width", "32"}).err, "");
  // Gaps of 8 pixels, and 11 for the label of each.
  EXPECT_EQ(SizeOfPicture("s.png"), (PictureSize{3 * (32 + 8) + 8, 2 * (18 + 11 + 8) + 8}));

  // A frame alone is that frame of the sequence, for any number of threads.
  for (const char* threads : {"1", "3"}) {
    RunVorlin(
        {"render", "scene.json", "-o", "one.png", "-F", "2", "--threads", threads, "-q", "-y"});
    EXPECT_TRUE(ReadAll("one.png") == ReadAll("o.0002.png")) << threads;
  }
}

TEST_F(Runs, MakeLabelledSheetsOfScenes) {
  const std::vector<std::string> sheet{"sheet",   "scene.json", "-F", "0-3x3",
                                       "--width", "320",        "-q"};
  const auto with = [&](std::vector<std::string> more) {
    more.insert(more.begin(), sheet.begin(), sheet.end());
    return RunVorlin(more);
  };
  const RunResult made = with({"-o", "s.png"});
  EXPECT_EQ(made.exit_code, 0) << made.err;
  EXPECT_EQ(Entries(), With({"s.png"}));
  // Pictures are not enlarged; letters are as large as the wanted width asks for.
  EXPECT_EQ(SizeOfPicture("s.png"), (PictureSize{2 * (64 + 8) + 8, 36 + 22 + 16}));

  // The cells hold what render makes, the labels' ink is below them.
  EXPECT_EQ(
      RunVorlin({"render", "scene.json", "-F", "3", "-o", "o.png", "--over", "layer"}).exit_code,
      0);
  const hosting::World frame = ReadPicture("o.png").ToWorld(hosting::Depth::k8);
  const hosting::World cells = ReadPicture("s.png").ToWorld(hosting::Depth::k8);
  EXPECT_EQ(DifferentPixels(frame, cells, 8 + 64 + 8, 8), 0);
  int ink = 0;
  for (int x = 0; x < cells.width(); ++x) ink += cells.Row<PF_Pixel>(8 + 36 + 6)[x].red > 200;
  EXPECT_GT(ink, 5);

  EXPECT_EQ(with({"-o", "s.png"}).exit_code, 3);  // it is already there
  EXPECT_EQ(with({"-o", "t.png", "--set", "Densty=4"}).exit_code, 2);
  EXPECT_EQ(with({"-o", "no/t.png"}).exit_code, 3);
  EXPECT_EQ(Entries(), With({"s.png", "o.png"}));
}

TEST_F(Runs, PutTheStrokeOverItsLayer) {
  const auto render = [](std::vector<std::string> more) {
    std::vector<std::string> arguments{"render", "scene.json", "-o", "o.png",
                                       "-F",     "3",          "-q", "-y"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    EXPECT_EQ(RunVorlin(arguments).err, "");
    return ReadPicture("o.png").ToWorld(hosting::Depth::k8);
  };
  const hosting::World plate = ReadPicture("plate.png").ToWorld(hosting::Depth::k8);
  const hosting::World alone = render({});
  const hosting::World over = render({"--over", "layer"});
  int partly = 0;
  for (int y = 0; y < plate.height(); ++y) {
    for (int x = 0; x < plate.width(); ++x) {
      const PF_Pixel& top = alone.Row<PF_Pixel>(y)[x];
      const PF_Pixel& below = plate.Row<PF_Pixel>(y)[x];
      const PF_Pixel& both = over.Row<PF_Pixel>(y)[x];
      if (top.alpha > 0 && top.alpha < 255) ++partly;
      EXPECT_EQ(both.alpha, 255);
      EXPECT_NEAR(both.green, (top.green * top.alpha + below.green * (255 - top.alpha)) / 255.0,
                  0.51);
    }
  }
  EXPECT_GT(partly, 10);
  EXPECT_EQ(alone.Row<PF_Pixel>(0)[0].alpha, 0);
}

TEST_F(Runs, TraceTheCallsOfTheirFrames) {
  for (const auto& [kind, command] :
       {std::pair("--classic", "PF_Cmd_RENDER"), std::pair("--threads=2", "PF_Cmd_SMART_RENDER")}) {
    const RunResult result = RunVorlin(
        {"render", "scene.json", "-o", "o.png", "-F", "2", "--trace", "t.txt", "-y", "-q", kind});
    EXPECT_EQ(result.err, "");
    const std::string trace = ReadAll("t.txt");
    EXPECT_NE(
        trace.find(std::string("frame 2 ") + command + " checkout_param(1 \"Brush Position\""),
        std::string::npos)
        << trace.substr(0, 500);
  }
}

}  // namespace
}  // namespace app
