#include "path_import.h"

#include "layer_source.h"
#include "scene.h"
#include "support.h"
#include "svg_drawing.h"

namespace app {
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

TEST(SvgDrawing, PathsLieWhereTheEditorShowsThem) {
  // The path M0 0 L10 0 within different surroundings.
  const std::string path = R"(<path d="M0 0L10 0" id="p"/>)";
  struct Case {
    std::string root;
    std::string within;
    Point start;
    Point end;
  };
  const Case cases[] = {
      {"<svg>", path, {0, 0}, {10, 0}},
      {"<svg width='20mm' height='10mm' viewBox='0 0 20 10'>", path, {0, 0}, {37.795, 0}},
      {"<svg width='200' height='100px' viewBox='5 0 20 10'>", path, {-50, 0}, {50, 0}},
      // A page of another shape than the view box: the box in its middle, or stretched.
      {"<svg width='200' height='200' viewBox='0 0 20 10'>", path, {0, 50}, {100, 50}},
      {"<svg width='200' height='200' viewBox='0 0 20 10' preserveAspectRatio=\"none\">",
       "<g transform='translate(0,1)'>" + path + "</g>",
       {0, 20},
       {100, 20}},
      {"<svg width='100%' height='100%' viewBox='0 0 20 10'>", path, {0, 0}, {10, 0}},
      {"<svg>",
       "<g transform='translate(3 4) scale(2)'><g transform='rotate(90)'>" + path + "</g></g>",
       {3, 4},
       {3, 24}},
      {"<svg>",
       "<g transform='scale(9)'/><svg:g transform = 'matrix(0 1 -1 0 5,6)' >" + path + "</svg:g>",
       {5, 6},
       {5, 16}},
      {"<svg>", "<g transform='rotate(180, 5, 1)skewY(45)'>" + path + "</g>", {10, 2}, {0, -8}},
      // Not drawn, not an element, and an attribute as large as an embedded picture.
      {"<svg>",
       "<defs><path d='M9 9L8 8'/></defs><!-- <path d='M9 9L8 8'/> --><text>a > b</text>"
       "<image xlink:href='data:image/png;base64," +
           std::string(3'000'000, 'A') + "'/>" + path,
       {0, 0},
       {10, 0}},
  };
  for (const Case& c : cases) {
    const DrawnPath drawn = ReadDrawnPath(c.root + c.within + "</svg>", "");
    ASSERT_EQ(drawn.curves.size(), 1U);
    EXPECT_NEAR(drawn.curves[0][0].x, c.start.x, 1e-3) << c.root;
    EXPECT_NEAR(drawn.curves[0][0].y, c.start.y, 1e-3) << c.root;
    EXPECT_NEAR(drawn.curves[0][3].x, c.end.x, 1e-3) << c.root;
    EXPECT_NEAR(drawn.curves[0][3].y, c.end.y, 1e-3) << c.root;
  }
  EXPECT_EQ(MessageOf([] { ReadDrawnPath("<svg><g transform='fold(3)'/></svg>", ""); }),
            "SVG: the transformation \"fold\" is not understood");
  // Cut off anywhere, it ends in a path or a message.
  const std::string whole = cases[6].root + cases[6].within + "</svg>";
  for (std::size_t i = 0; i < whole.size(); ++i) {
    try {
      ReadDrawnPath(whole.substr(0, i), "");
    } catch (const Error&) {
    }
  }
}

class ImportedPaths : public InSceneFolder {};

TEST_F(ImportedPaths, FitTheLayer) {
  // The layer is 64 x 36; the drawing's page has its shape, or holds the picture.
  for (
      const char* svg :
      {R"(<svg width="128mm" height="72mm" viewBox="0 0 128 72"><path d="M32 36L96 72"/></svg>)",
       R"(<svg><image x="100" y="50" width="32" height="18"/><path d="M108 59 L124 68"/></svg>)"}) {
    WriteText("p.svg", svg);
    const auto keys = ImportPath({.file = "p.svg", .id = {}, .layer = "plate.png"});
    ASSERT_EQ(keys.size(), 2U);
    EXPECT_NEAR(keys[0].value.x, 16, 1e-9);
    EXPECT_NEAR(keys[0].value.y, 18, 1e-9);
    EXPECT_NEAR(keys[1].value.x, 48, 1e-9);
    EXPECT_NEAR(keys[1].value.y, 36, 1e-9);
  }
  const RunResult scene = RunVorlin({"import-path", "p.svg", "--layer", "plate.png", "--to", "2s"});
  EXPECT_EQ(scene.exit_code, 0) << scene.err;
  WriteText("made.json", scene.out);
  EXPECT_EQ(RunVorlin({"check", "made.json"}).out,
            "made.json: good: 64 x 36 pixels, 60 frames at 30 a second, 0 lights\n");

  WriteText("p.svg", R"(<svg width="210mm" height="297mm"><path d="M1 1L2 2"/></svg>)");
  EXPECT_EQ(
      MessageOf([] { ImportPath({.file = "p.svg", .id = {}, .layer = "plate.png"}); }),
      "the drawing's page (794 x 1123) and the layer (64 x 36) differ in shape; draw the path "
      "over the picture itself, opened in the editor");
}

TEST_F(ImportedPaths, AreTravelledByTheirLength) {
  WriteText("p.svg", R"(<svg><path d="M9 9 1 1"/> <path id="way" class='x'
    d="M0 0 L30 40 V190"/></svg>)");
  PathImport import{.file = "p.svg", .id = "way", .from = 1, .to = 5, .layer = {}};
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
  const auto keys = ImportPath({.file = "p.csv", .id = {}, .frame_rate = 30, .layer = {}});
  ASSERT_EQ(keys.size(), 2U);
  EXPECT_EQ(keys[0].value, (Point{1.5, 2}));
  EXPECT_EQ(keys[1].seconds, 0.5);
  WriteText("p.csv", "1,1,1\n1,2,2\n");
  EXPECT_EQ(MessageOf([] { ImportPath({.file = "p.csv", .id = {}, .layer = {}}); }),
            "p.csv:2: frames must rise");
  WriteText("p.csv", "1,1,1\nx\n");
  EXPECT_EQ(MessageOf([] { ImportPath({.file = "p.csv", .id = {}, .layer = {}}); }),
            "p.csv:2: expected frame,x,y");
}

TEST_F(ImportedPaths, RefuseWhatNoSceneTakes) {
  const std::pair<const char*, const char*> cases[] = {
      {"0,1,2\n1,nan,2\n", "p.csv:2: expected frame,x,y"},
      {"0,1,2\n0x10,1,2\n", "p.csv:2: expected frame,x,y"},
      {"0,1,2\n1,2,3px\n", "p.csv:2: expected frame,x,y"},
      {"0,1e5,2\n", "p.csv: (100000, 2) is out of reach; points go to 32767 pixels"},
      {"<path d='M0 0 Q9 1e300 3 3'/>",
       "p.svg: (6, 6.666666666666667e+299) is out of reach; points go to 32767 pixels"},
      {"<path d='M0 0 H0'/>", "the SVG's path has no length"},
  };
  for (const auto& [text, message] : cases) {
    PathImport import;
    import.file = text[0] == '<' ? "p.svg" : "p.csv";
    EXPECT_EQ(MessageOf([&, text = text] { ImportPath(import, text); }), message) << text;
  }
  // A piece too short to take any time of its own takes none.
  PathImport svg;
  svg.file = "p.svg";
  EXPECT_EQ(ImportPath(svg, "<path d='M0 0 H100 H100.00000000000001 H200'/>").size(), 3U);
}

TEST_F(ImportedPaths, FitIntoAScene) {
  WriteText("p.svg", R"(<svg><path d="M4 4 C4 30 30 30 30 4"/></svg>)");
  const RunResult result =
      RunVorlin({"import-path", "p.svg", "--from", "0.5s", "--to", "2", "--ease", "smooth"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  WriteText("path.json",
            R"({"layer": "plate.png", "duration": 3, "controls": {)" + result.out + "}}");
  const Scene scene = ReadScene("path.json", TheEffect(), OpenLayer);
  const auto& track = std::get<hosting::Track<Point>>(scene.setup.controls.TrackOf(1));
  EXPECT_EQ(track.At(0.5), (Point{4, 4}));
  EXPECT_NEAR(track.At(1.25).x, 17, 1e-4);  // half of the length
  EXPECT_NEAR(track.At(1.25).y, 23.5, 1e-4);
  EXPECT_LT(track.At(0.6).y, 5);  // gently
}

}  // namespace
}  // namespace app
