#include "path_import.h"

#include <cmath>
#include <sstream>

#include "layer_source.h"
#include "support.h"
#include "svg_drawing.h"

namespace app {
namespace {

using Keys = std::vector<hosting::Key<hosting::Point>>;

/// The path's points and handles as "x,y x,y ...", rounded to thousandths of a pixel.
std::string PathText(const std::string& svg) {
  const std::vector<Curve> curves = ReadDrawnPath("p.svg", svg, "").curves;
  std::ostringstream text;
  const auto rounded = [](double v) { return std::round(v * 1000) / 1000 + 0.0; };
  const auto add = [&](hosting::Point p) { text << ' ' << rounded(p.x) << ',' << rounded(p.y); };
  add(curves.at(0)[0]);
  for (const Curve& curve : curves) std::for_each(curve.begin() + 1, curve.end(), add);
  return text.str();
}

TEST(SvgDrawing, PathsLieWhereTheEditorShowsThem) {
  const std::string path = "<path d='M0 0L9 0'/></g></svg>";
  const std::string page = "<svg width='200' height='200' viewBox=";
  const std::pair<std::string, const char*> cases[] = {
      {"<path d='M3,6 C1 2-3 4.5.5.5'/>", " 3,6 1,2 -3,4.5 0.5,0.5"},
      {"<path d='m3 6 c1 2 3 4 6 6'/>", " 3,6 4,8 6,10 9,12"},
      // Lines' handles lie on thirds; further pairs after a move are lines; only one subpath.
      {"<path d='M0 0 3 6 M9 9 L1 1'/>", " 0,0 1,2 2,4 3,6"},
      {"<path d='M3 3 H6 v3 z'/>", " 3,3 4,3 5,3 6,3 6,4 6,5 6,6 5,5 4,4 3,3"},
      // Smooth pieces begin with the last handle on the other side.
      {"<path d='M0 0 C0 3 3 3 3 0 S6 -1 6 0'/>", " 0,0 0,3 3,3 3,0 3,-3 6,-1 6,0"},
      {"<path d='M0 0 Q3 6 6 0 T12 0'/>", " 0,0 2,4 4,4 6,0 8,-4 10,-4 12,0"},
      {"<svg width='18mm' height='9mm' viewBox='0 0 18 9'><g>" + path,
       " 0,0 11.339,0 22.677,0 34.016,0"},
      {"<svg width='100%' viewBox='0 0 20 10'><g>" + path, " 0,0 3,0 6,0 9,0"},
      {page + "'5 0 20 10'><g>" + path, " -50,50 -20,50 10,50 40,50"},
      {page + "'0 0 20 10' preserveAspectRatio='none'><g transform='translate(0,1)'>" + path,
       " 0,20 30,20 60,20 90,20"},
      {"<svg transform='translate(3 4) scale(2)'><g transform='rotate(90)'>" + path,
       " 3,4 3,10 3,16 3,22"},
      {"<svg><g transform='scale(9)'/><g transform = 'matrix(0 1 -1 0 5,6)' >" + path,
       " 5,6 5,9 5,12 5,15"},
      {"<svg><g transform='rotate(180, 5, 1)skewY(45)'>" + path, " 10,2 7,-1 4,-4 1,-7"},
      {"<?xml version='1.0'?><!DOCTYPE svg [<!ENTITY a 'b'>]><svg:svg><defs><path d='M1 1 2 2'/>"
       "</defs><!-- <path/> --><svg:path d='M0 0L9 0'/></svg:svg>",
       " 0,0 3,0 6,0 9,0"},
  };
  for (const auto& [svg, points] : cases) EXPECT_EQ(PathText(svg), points) << svg;
}

class ImportedPaths : public InSceneFolder {
 protected:
  /// On a layer of 64 x 36 pixels.
  static Keys Import(const std::string& text) {
    const char* file = text.starts_with('<') ? "p.svg" : "p.csv";
    return ImportPath({.file = file, .id = {}, .layer = "plate.png"}, text, OpenLayer);
  }
};

TEST_F(ImportedPaths, FitTheLayer) {
  for (const char* text :
       {"<svg width='128mm' height='72mm' viewBox='0 0 128 72'><path d='M32 36L96 72'/></svg>",
        "<svg><image x='100' y='50' width='32' height='18'/><path d='M108 59 L124 68'/></svg>",
        "frame,x,y\r\n0, 16,18\r\n\n90,48,36,more\n"}) {
    const Keys keys = Import(text);
    ASSERT_EQ(keys.size(), 2U) << text;
    EXPECT_NEAR(std::hypot(keys[0].value.x - 16, keys[0].value.y - 18), 0, 1e-9) << text;
    EXPECT_NEAR(std::hypot(keys[1].value.x - 48, keys[1].value.y - 36), 0, 1e-9) << text;
    EXPECT_EQ(keys[1].seconds, 3) << text;
  }
}

TEST_F(ImportedPaths, AreTravelledByTheirLengthInTheSceneThatIsPrinted) {
  WriteText("p.svg",
            "<svg viewBox='0 0 64 36'><path d='M9 9 1 1'/> <path id='way' "
            "d='M4 4 L7 8 V23 H7.000000000000001'/></svg>");
  const RunResult printed =
      RunVorlin({"import-path", "p.svg", "--id", "way", "--layer", "plate.png", "--from", "1s",
                 "--to", "5", "--frame-rate", "25", "--ease", "smooth"});
  WriteText("made.json", printed.out);
  const Scene scene = ReadScene("made.json", TheEffect(), OpenLayer);
  EXPECT_EQ(scene.frames, 125) << printed.err;
  const auto& way = std::get<hosting::Track<hosting::Point>>(scene.setup.controls.TrackOf(1));
  ASSERT_EQ(way.keys().size(), 3U);     // a piece too short for a time of its own takes none
  EXPECT_EQ(way.keys()[1].seconds, 2);  // 5 of 20 pixels
  EXPECT_LT(way.At(1.1).y, 4.1);        // gently
}

TEST_F(ImportedPaths, AreKeysOrOneLine) {
  const std::pair<const char*, const char*> cases[] = {
      {"1,1,1\n1,2,2\n", "p.csv:2: frames must rise"},
      {"0,1,2\n1,nan,2\n", "p.csv:2: expected frame,x,y"},
      {"0,1,2\n1,2,3px\n", "p.csv:2: expected frame,x,y"},
      {"0,1e5,2\n", "p.csv: (100000, 2) is out of reach; points go to 32767 pixels"},
      {"<path d='L3 4'/>", "SVG path: a path begins with M"},
      {"<path d='M3 4 L5'/>", "SVG path: expected a number at \"\""},
      {"<path d='M3 4 A1 1 0 0 0 2 2'/>", "SVG path: \"A\" is not supported"},
      {"<g transform='fold(3)'/>", "SVG: the transformation \"fold\" is not understood"},
      {"<svg/>", "the SVG has no path; an editor makes paths of other shapes"},
      {"<svg viewBox='0 0 64 36'><path d='M1 1 H1'/></svg>", "the SVG's path has no length"},
      {"<svg>\n <g><path d='M1 1 2 2'/>\n</svg>", "p.svg:3:3: this tag does not close"},
      {"<svg>\n <path d='M0 0", "p.svg:2:11: an attribute is written as"},
      {"<svg>\n <path d='M0 0'/>\n", "p.svg:2:18: the file ends too early"},
      {"<svg width='210mm' height='297mm'><path d='M1 1L2 2'/></svg>",
       "the drawing's page (794 x 1123) and the layer (64 x 36) differ in shape"},
  };
  for (const auto& [text, message] : cases) {
    const std::string line = MessageOf([text = text] { Import(text); });
    EXPECT_TRUE(line.starts_with(message)) << line;
  }
}

}  // namespace
}  // namespace app
