// Names of frames and of files.
#include "file_pattern.h"
#include "frame_range.h"
#include "support.h"

namespace app {
namespace {

TEST(Frames, AreNamedInOrderAndOnce) {
  const std::pair<const char*, std::vector<int>> cases[] = {
      {"5", {5}},
      {"1-10x4,2", {1, 5, 9, 2}},
      {"-5--3,0,-4", {-5, -4, -3, 0}},
      {"2147483645-2147483647x2", {2147483645, 2147483647}}};
  for (const auto& [text, frames] : cases) EXPECT_EQ(ParseFrames(text), frames) << text;
  const std::pair<const char*, const char*> refused[] = {
      {"", "\"\" is neither a frame (5) nor a range (0-89, 1-100x2 for every second)"},
      {"1-", "\"1-\" is neither a frame"},
      {"99999999999", "\"99999999999\" is neither a frame"},
      {"1-3x0", "\"1-3x0\": the step must be 1 or more"},
      {"9-1", "\"9-1\" runs backwards; write 1-9"},
      {"1:3", "\"1:3\": ':' means different things in different programs"},
      {"0-1000000", "more than 1000000 frames"}};
  for (const auto& [text, message] : refused) {
    const std::string line = MessageOf([text = text] { ParseFrames(text); });
    EXPECT_TRUE(line.starts_with(std::string("frames: ") + message)) << line;
  }
}

using FilePatterns = InFolder;

TEST_F(FilePatterns, NameFramesAndFindTheirFilesOnly) {
  const std::tuple<const char*, int, const char*> cases[] = {
      {"a/out.####.png", 7, "a/out.0007.png"},
      {"out.#.png", 7, "out.0007.png"},
      {"out@@.png", 7, "out07.png"},
      {"out.%03d.png", 7, "out.007.png"},
      {"out.%d.png", 7, "out.7.png"},
      {"out.##.png", 12345, "out.12345.png"},
      {"out.####.png", -7, "out.-007.png"},
      {"a#b/out.png", 7, "a#b/out.png"},
      {"50%.png", 7, "50%.png"}};
  for (const auto& [pattern, frame, name] : cases) EXPECT_EQ(FilePattern(pattern).At(frame), name);
  EXPECT_EQ(FilePattern("a/out.png").Numbered().At(3), "a/out.0003.png");
  EXPECT_EQ(MessageOf([] { FilePattern("a##b##.png"); }),
            "\"a##b##.png\" holds more than one frame number");
  EXPECT_EQ(MessageOf([] { FilePattern("folder/"); }), "\"folder/\" names no file");
  for (const char* name : {"a.0010.png", "a.0002.png", "a.12345.png", "a.2.png", "a.0003.jpg",
                           "b.0004.png", "a.00x5.png", "a.-001.png"}) {
    WriteText(name, "");
  }
  EXPECT_EQ(FilePattern("a.####.png").Existing(), (std::vector<int>{-1, 2, 10, 12345}));
}

}  // namespace
}  // namespace app
