#include "path_import.h"

#include "scene.h"
#include "support.h"
#include "svg_path.h"

namespace cli {
namespace {

using hosting::Point;

TEST(SvgPath, CommandsBecomeCurves) {
  struct Case {
    const char* d;
    std::vector<Curve> curves;
  };
  const Case cases[] = {
      {"M3,6 C1 2-3 4.5.5.5", {{{{3, 6}, {1, 2}, {-3, 4.5}, {.5, .5}}}}},
      {"m3 6 c1 2 3 4 6 6", {{{{3, 6}, {4, 8}, {6, 10}, {9, 12}}}}},
      // Lines' handles lie on thirds; further pairs after a move are lines.
      {"M0 0 3 6", {{{{0, 0}, {1, 2}, {2, 4}, {3, 6}}}}},
      {"M3 3 H6 v3 z",
       {{{{3, 3}, {4, 3}, {5, 3}, {6, 3}}},
        {{{6, 3}, {6, 4}, {6, 5}, {6, 6}}},
        {{{6, 6}, {5, 5}, {4, 4}, {3, 3}}}}},
      // Smooth pieces begin with the last handle on the other side.
      {"M0 0 C0 3 3 3 3 0 S6 -1 6 0",
       {{{{0, 0}, {0, 3}, {3, 3}, {3, 0}}}, {{{3, 0}, {3, -3}, {6, -1}, {6, 0}}}}},
      {"M0 0 Q3 6 6 0 T12 0",
       {{{{0, 0}, {2, 4}, {4, 4}, {6, 0}}}, {{{6, 0}, {8, -4}, {10, -4}, {12, 0}}}}},
      // Only the first subpath.
      {"M0 0 3 6 M9 9 L1 1", {{{{0, 0}, {1, 2}, {2, 4}, {3, 6}}}}},
  };
  for (const Case& c : cases) {
    const std::vector<Curve> curves = ParseSvgPath(c.d);
    ASSERT_EQ(curves.size(), c.curves.size()) << c.d;
    for (std::size_t i = 0; i < curves.size(); ++i) {
      for (std::size_t k = 0; k < 4; ++k) {
        EXPECT_NEAR(curves[i][k].x, c.curves[i][k].x, 1e-12) << c.d;
        EXPECT_NEAR(curves[i][k].y, c.curves[i][k].y, 1e-12) << c.d;
      }
    }
  }
  EXPECT_EQ(MessageOf([] { ParseSvgPath("L3 4"); }), "SVG path: a path begins with M");
  EXPECT_EQ(MessageOf([] { ParseSvgPath("M3 4 L5"); }), "SVG path: expected a number at \"\"");
  EXPECT_EQ(MessageOf([] { ParseSvgPath("M3 4 A1 1 0 0 0 2 2"); }),
            "SVG path: \"A\" is not supported; convert the path to lines and Bezier curves");
}

class ImportedPaths : public InSceneFolder {};

TEST_F(ImportedPaths, AreTravelledByTheirLength) {
  WriteText("p.svg", R"(<svg><path d="M9 9 1 1"/> <path id="way" class='x'
    d="M0 0 L30 40 V190"/></svg>)");
  PathImport import{.file = "p.svg", .id = "way", .from = 1, .to = 5};
  const auto keys = ImportPath(import);
  ASSERT_EQ(keys.size(), 3U);
  EXPECT_EQ(keys[0].seconds, 1);
  EXPECT_DOUBLE_EQ(keys[1].seconds, 2);  // 50 of 200 pixels
  EXPECT_EQ(keys[2].seconds, 5);
  const hosting::Track<Point> track(keys);
  EXPECT_NEAR(track.At(3).x, 30, 1e-9);
  EXPECT_NEAR(track.At(3).y, 90, 1e-6);

  import.id = "no";
  EXPECT_EQ(MessageOf([&] { ImportPath(import); }), "the SVG has no path with the id \"no\"");
  import.to = 1;
  EXPECT_EQ(MessageOf([&] { ImportPath(import); }), "--to (1 s) must come after --from (1 s)");
}

TEST_F(ImportedPaths, CsvRowsAreKeys) {
  WriteText("p.csv", "frame,x,y\r\n0, 1.5,2\r\n\n15,3,4\n");
  const auto keys = ImportPath({.file = "p.csv", .id = {}, .frame_rate = 30});
  ASSERT_EQ(keys.size(), 2U);
  EXPECT_EQ(keys[0].value, (Point{1.5, 2}));
  EXPECT_EQ(keys[1].seconds, 0.5);
  WriteText("p.csv", "1,1,1\n1,2,2\n");
  EXPECT_EQ(MessageOf([] { ImportPath({.file = "p.csv", .id = {}}); }),
            "p.csv:2: frames must rise");
  WriteText("p.csv", "1,1,1\nx\n");
  EXPECT_EQ(MessageOf([] { ImportPath({.file = "p.csv", .id = {}}); }),
            "p.csv:2: expected frame,x,y");
}

TEST_F(ImportedPaths, FitIntoAScene) {
  WriteText("p.svg", R"(<svg><path d="M4 4 C4 30 30 30 30 4"/></svg>)");
  const RunResult result =
      RunVorlin({"import-path", "p.svg", "--from", "0.5s", "--to", "2", "--ease", "smooth"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  WriteText("path.json",
            R"({"layer": "plate.png", "duration": 3, "controls": {)" + result.out + "}}");
  const Scene scene = ReadScene("path.json", TheEffect());
  const auto& track = std::get<hosting::Track<Point>>(scene.setup.controls.TrackOf(1));
  EXPECT_EQ(track.At(0.5), (Point{4, 4}));
  EXPECT_NEAR(track.At(1.25).x, 17, 1e-4);  // half of the length
  EXPECT_NEAR(track.At(1.25).y, 23.5, 1e-4);
  EXPECT_LT(track.At(0.6).y, 5);  // gently
}

}  // namespace
}  // namespace cli
