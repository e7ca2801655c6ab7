#include "path_import.h"

#include <fmt/format.h>

#include <cmath>
#include <numbers>
#include <sstream>

#include "layer_source.h"
#include "picture_file.h"
#include "scene.h"
#include "scene_text.h"
#include "support.h"
#include "svg_drawing.h"
#include "tool_process.h"

namespace app {
namespace {

using hosting::Point;
using Keys = std::vector<hosting::Key<Point>>;

/// The strokes' points and handles as "x,y x,y ... | ...", rounded to thousandths of a pixel.
std::string StrokesText(const std::string& svg, const std::vector<std::string>& ids = {}) {
  std::ostringstream text;
  const auto rounded = [](double v) { return std::round(v * 1000) / 1000 + 0.0; };
  const auto add = [&](Point p) { text << ' ' << rounded(p.x) << ',' << rounded(p.y); };
  for (const Stroke& stroke : ReadSvgDrawing("p.svg", svg, ids).strokes) {
    if (text.tellp() > 0) text << " |";
    add(stroke.at(0)[0]);
    for (const Curve& curve : stroke) std::for_each(curve.begin() + 1, curve.end(), add);
  }
  return text.str();
}

TEST(SvgDrawing, ShapesLieWhereTheEditorShowsThem) {
  const std::string path = "<path d='M0 0L9 0'/></g></svg>";
  const std::string page = "<svg width='200' height='200' viewBox=";
  const std::string line = "<line x2='9'/>";
  const std::pair<std::string, const char*> cases[] = {
      {"<path d='M3,6 C1 2-3 4.5.5.5'/>", " 3,6 1,2 -3,4.5 0.5,0.5"},
      {"<path d='m3 6 c1 2 3 4 6 6'/>", " 3,6 4,8 6,10 9,12"},
      // Lines' handles lie on thirds; further pairs after a move are lines.
      {"<path d='M0 0 3 6 m6 3 l-3 3 0 0'/>", " 0,0 1,2 2,4 3,6 | 9,9 8,10 7,11 6,12"},
      {"<path d='M3 3 H6 v3 z l-3 0'/>",
       " 3,3 4,3 5,3 6,3 6,4 6,5 6,6 5,5 4,4 3,3 | 3,3 2,3 1,3 0,3"},
      // Smooth pieces begin with the last handle on the other side.
      {"<path d='M0 0 C0 3 3 3 3 0 S6 -1 6 0'/>", " 0,0 0,3 3,3 3,0 3,-3 6,-1 6,0"},
      {"<path d='M0 0 Q3 6 6 0 T12 0'/>", " 0,0 2,4 4,4 6,0 8,-4 10,-4 12,0"},
      // Flags need no space; an ellipse too small for its ends grows; one without a radius is a
      // line.
      {"<path d='M0 0a3 3 0 013 3'/>", " 0,0 1.657,0 3,1.343 3,3"},
      {"<path d='M-3 0A1 1 0 0 1 3 0'/>", " -3,0 -3,-1.657 -1.657,-3 0,-3 1.657,-3 3,-1.657 3,0"},
      {"<path d='M0 0A0 3 0 0 0 3 0'/>", " 0,0 1,0 2,0 3,0"},
      {"<svg><polyline points='0,0 3 0 3,3'/><polygon points='0,0 3 0 3,3'/></svg>",
       " 0,0 1,0 2,0 3,0 3,1 3,2 3,3 | 0,0 1,0 2,0 3,0 3,1 3,2 3,3 2,2 1,1 0,0"},
      {"<rect x='1' y='1' width='3' height='6'/>",
       " 1,1 2,1 3,1 4,1 4,3 4,5 4,7 3,7 2,7 1,7 1,5 1,3 1,1"},
      {"<rect width='6' height='2' rx='9'/>",
       " 3,0 4.657,0 6,0.448 6,1 6,1.552 4.657,2 3,2 1.343,2 0,1.552 0,1 0,0.448 1.343,0 3,0"},
      {"<svg width='18mm' height='9mm' viewBox='0 0 18 9'><g>" + path,
       " 0,0 11.339,0 22.677,0 34.016,0"},
      {"<svg width='100%' viewBox='0 0 20 10'><g>" + path, " 0,0 3,0 6,0 9,0"},
      {page + "'5 0 20 10'><g>" + path, " -50,50 -20,50 10,50 40,50"},
      {page + "'0 0 20 10' preserveAspectRatio='xMinYMax'><g>" + path,
       " 0,100 30,100 60,100 90,100"},
      {page + "'0 0 20 10' preserveAspectRatio='xMaxYMid slice'><g>" + path,
       " -200,0 -140,0 -80,0 -20,0"},
      {page + "'0 0 20 10' preserveAspectRatio='none'><g transform='translate(0,1)'>" + path,
       " 0,20 30,20 60,20 90,20"},
      {page + "'0 0 20 20'><line x1='0' x2='45%' y1='50%' y2='10'/></svg>",
       " 0,100 30,100 60,100 90,100"},
      {"<svg transform='translate(3 4) scale(2)'><g transform='rotate(90)'>" + path,
       " 3,4 3,10 3,16 3,22"},
      {"<svg><g transform='scale(9)'/><g transform = 'matrix(0 1 -1 0 5,6)' >" + path,
       " 5,6 5,9 5,12 5,15"},
      {"<svg><g transform='rotate(180, 5, 1)skewY(45)'>" + path, " 10,2 7,-1 4,-4 1,-7"},
      {"<?xml version='1.0'?><!DOCTYPE svg [<!ENTITY a 'b'>]><svg:svg><defs><path d='M1 1 2 2'/>"
       "</defs><!-- <path/> --><svg:path d='M0 0L9 0'/></svg:svg>",
       " 0,0 3,0 6,0 9,0"},
      // What is used, switched, nested, hidden.
      {"<svg><defs><line id='a' x2='9'/></defs><use href='#a' x='1' y='2'/></svg>",
       " 1,2 4,2 7,2 10,2"},
      {"<svg><symbol id='s' viewBox='0 0 9 9'>" + line +
           "</symbol><use xlink:href='#s' width='18' height='18'/></svg>",
       " 0,0 6,0 12,0 18,0"},
      {"<svg><svg x='3' width='18' height='18' viewBox='0 0 9 9'>" + line + "</svg></svg>",
       " 3,0 9,0 15,0 21,0"},
      {"<svg><switch><g requiredExtensions='x'><line x2='3'/></g><g>" + line + "</g>" + line +
           "</switch></svg>",
       " 0,0 3,0 6,0 9,0"},
      {"<svg><style>/* . */ .a, g.b{display:none} #c{stroke:red;fill:none}</style><line class='x "
       "a' "
       "x2='1'/><g class='b'><line x2='2'/></g><g style='fill:none'><line x2='3'/>"
       "<line id='c' x2='9'/></g><line style='visibility: hidden !important' x2='4'/>"
       "<g opacity='0'><line x2='5'/></g></svg>",
       " 0,0 3,0 6,0 9,0"},
  };
  for (const auto& [svg, points] : cases) EXPECT_EQ(StrokesText(svg), points) << svg;

  const std::string two =
      "<svg><g inkscape:label='top'><line id='a' x2='3'/><line x2='6'/></g>"
      "<line id='b' x2='9'/></svg>";
  EXPECT_EQ(StrokesText(two, {"b", "a"}), " 0,0 1,0 2,0 3,0 | 0,0 3,0 6,0 9,0");
  EXPECT_EQ(StrokesText(two, {"top"}), " 0,0 1,0 2,0 3,0 | 0,0 2,0 4,0 6,0");
}

TEST(SvgDrawing, CirclesAndArcsAreRound) {
  // Arcs of all four kinds, turned: each point lies on the ellipse, and the right part of it.
  for (const int flags : {0, 1, 2, 3}) {
    const std::string svg = "<path d='M10 0A20 8 30 " + std::to_string(flags / 2) + " " +
                            std::to_string(flags % 2) + " 20 9'/>";
    const Stroke stroke = ReadSvgDrawing("p.svg", svg, {}).strokes.at(0);
    const double turn = std::numbers::pi / 6;
    const auto unit = [&](Point p) {
      return Point{(p.x * std::cos(turn) + p.y * std::sin(turn)) / 20,
                   (-p.x * std::sin(turn) + p.y * std::cos(turn)) / 8};
    };
    // The centre is as far from both ends as from the middle of every piece.
    const auto middle = [](const Curve& c) {
      return Point{(c[0].x + 3 * c[1].x + 3 * c[2].x + c[3].x) / 8,
                   (c[0].y + 3 * c[1].y + 3 * c[2].y + c[3].y) / 8};
    };
    const Point a = unit({10, 0});
    const Point b = unit({20, 9});
    const double half = std::hypot(b.x - a.x, b.y - a.y) / 2;
    const double away = std::sqrt(1 - half * half) * (flags == 0 || flags == 3 ? -1 : 1);
    const Point center{(a.x + b.x) / 2 + away * (b.y - a.y) / (2 * half) * -1,
                       (a.y + b.y) / 2 + away * (b.x - a.x) / (2 * half)};
    double angle = 0;
    for (const Curve& c : stroke) {
      const Point m = unit(middle(c));
      EXPECT_NEAR(std::hypot(m.x - center.x, m.y - center.y), 1, 3e-4) << svg;
      const Point from = unit(c[0]);
      const Point to = unit(c[3]);
      angle += std::asin(std::clamp(
          (from.x - center.x) * (to.y - center.y) - (from.y - center.y) * (to.x - center.x), -1.0,
          1.0));
    }
    EXPECT_EQ(angle > 0, flags % 2 == 1) << svg;
    EXPECT_EQ(std::abs(angle) > std::numbers::pi, flags / 2 == 1) << svg;
  }
}

class ImportedPaths : public InSceneFolder {
 protected:
  /// On a layer of 64 x 36 pixels.
  static DrawnStrokes Import(const std::string& text, PenTimes times = {}) {
    const char* file = text.starts_with('<') ? "p.svg" : "p.csv";
    return ImportPath({.file = file, .ids = {}, .times = times}, text, LayerSize{64, 36});
  }
  static std::string PenOf(const DrawnStrokes& drawn) { return PenText(drawn); }
};

TEST_F(ImportedPaths, FitTheLayer) {
  struct Case {
    const char* text;
    double seconds;  // of the last key
    int notes;
  };
  for (const Case& c :
       {Case{"<svg width='128mm' height='72mm' viewBox='0 0 128 72'><path d='M32 36L96 72'/></svg>",
             3, 0},
        {"<svg><image x='100' y='50' width='32' height='18'/><path d='M108 59 L124 68'/></svg>", 3,
         0},
        // A page of another shape, and a drawing beside its page.
        {"<svg width='36' height='36'><path d='M2 18 L34 36'/></svg>", 3, 1},
        {"<svg width='64' height='36'><path d='M-100 -90 L-36 -72 M-116 -99L-36 -99M-116 "
         "-63L-36 -63'/></svg>",
         3, -1},
        {"frame,x,y\r\n0, 16,18\r\n\n90,48,36,more\n", 3, 0},
        {"Y, pen ,x,\"Time\"\n18,1,16,0\n36,1,48,2.5", 2.5, 0}}) {
    const DrawnStrokes drawn = Import(c.text);
    ASSERT_GE(drawn.keys.size(), 2U) << c.text;
    EXPECT_EQ(drawn.keys.back().seconds, c.seconds) << c.text;
    if (c.notes < 0) {  // eight tenths of the layer, in its middle
      EXPECT_NEAR(drawn.keys.back().value.x, 57.6, 1e-6);
      EXPECT_EQ(drawn.notes.size(), 1U);
      continue;
    }
    EXPECT_EQ(static_cast<int>(drawn.notes.size()), c.notes) << c.text;
    EXPECT_NEAR(std::hypot(drawn.keys[0].value.x - 16, drawn.keys[0].value.y - 18), 0, 1e-9)
        << c.text;
    EXPECT_NEAR(std::hypot(drawn.keys[1].value.x - 48, drawn.keys[1].value.y - 36), 0, 1e-9)
        << c.text;
  }
}

TEST_F(ImportedPaths, LiftThePenForWholeFrames) {
  // Lengths of 6, 3 and 3; 12 frames, two of them lifts.
  const std::string svg =
      "<svg width='64' height='36'><path d='M0 0H6M0 9H3'/><path d='M9 9v3'/></svg>";
  const hosting::Rational rate(10, 1);
  EXPECT_EQ(PenOf(Import(svg, {.to = 1.2, .frame_rate = rate})),
            "\"pen\": [[0, 0.5], [0.6, 0.8], [0.9, 1.2]],\n");
  EXPECT_EQ(PenOf(Import(svg, {.to = 1.2, .pause = 0.3, .frame_rate = rate})),
            "\"pen\": [[0, 0.3], [0.6, 0.7], [1, 1.2]],\n");
  const DrawnStrokes eased =
      Import(svg, {.from = 1, .to = 11.2, .smooth = true, .frame_rate = rate});
  const hosting::Track<Point> way(eased.keys);
  EXPECT_EQ(eased.pen.size(), 3U);
  EXPECT_LT(way.At(2).x, 0.5);  // gently
  EXPECT_EQ(way.At(eased.pen[0].out), (Point{6, 0}));
  EXPECT_EQ(way.At(eased.pen[1].in), (Point{0, 9}));
  // Too few frames for clean lifts.
  const DrawnStrokes hurried = Import(svg, {.to = 0.3, .frame_rate = rate});
  EXPECT_EQ(hurried.notes.size(), 1U);
  EXPECT_EQ(hurried.keys.back().value, (Point{9, 12}));
  EXPECT_EQ(
      PenOf(Import("frame,x,y,pen\n0,1,1,1\n3,2,2,0\n6,4,4,1\n9,5,5,1\n", {.frame_rate = rate})),
      "\"pen\": [[0, 0.3], [0.6, 1]],\n");
}

TEST_F(ImportedPaths, AreTravelledByTheirLengthInTheSceneThatIsPrinted) {
  WriteText("p.svg",
            "<svg viewBox='0 0 64 36'><path d='M9 9 1 1'/> <path id='way' "
            "d='M4 4 L7 8 V23 H7.000000000000001'/></svg>");
  std::vector<std::string> import{"import-path",  "p.svg",  "--id", "way",      "--layer",
                                  "plate.png",    "--from", "1s",   "--to",     "5",
                                  "--frame-rate", "25",     "-o",   "made.json"};
  EXPECT_EQ(RunVorlin(import).err, "");
  EXPECT_EQ(RunVorlin(import).exit_code, 3);  // it is already there
  const Scene scene = ReadScene("made.json", TheEffect(), OpenLayer);
  EXPECT_EQ(scene.frames, 126);  // the last one shows all of it
  const auto& way = std::get<hosting::Track<Point>>(scene.setup.controls.TrackOf(1));
  ASSERT_EQ(way.keys().size(), 3U);     // a piece too short for a time of its own takes none
  EXPECT_EQ(way.keys()[1].seconds, 2);  // 5 of 20 pixels
  import.insert(import.end(), {"--ease", "smooth", "-y"});
  EXPECT_EQ(RunVorlin(import).err, "");
  const Scene smooth = ReadScene("made.json", TheEffect(), OpenLayer);
  const auto& gentle = std::get<hosting::Track<Point>>(smooth.setup.controls.TrackOf(1));
  for (const double t : {0.1, 0.3, 0.5, 0.9}) {
    // All the way, over both pieces, follows 3t^2 - 2t^3.
    const double travelled = 20 * t * t * (3 - 2 * t);
    const Point at = gentle.At(1 + 4 * t);
    EXPECT_NEAR(travelled < 5 ? std::hypot(at.x - 4, at.y - 4) : at.y - 3, travelled, 1e-4) << t;
  }
}

TEST_F(ImportedPaths, AreKeysOrOneLine) {
  const std::pair<const char*, const char*> cases[] = {
      {"1,1,1\n1,2,2\n", "p.csv:2: frames must rise"},
      {"time,x,y\n1,1,1\n1,2,2\n", "p.csv:3: times must rise"},
      {"time,x\n1,1\n", "p.csv:1: the heading names x, y, and frame or time"},
      {"0,1,2\n1,nan,2\n", "p.csv:2: expected frame,x,y"},
      {"0,1,2\n1,2,3px\n", "p.csv:2: expected frame,x,y"},
      {"0,1e5,2\n", "p.csv: (100000, 2) is out of reach; points go to 32767 pixels"},
      {"<path d='L3 4'/>", "p.svg:1:2: SVG path: a path begins with M"},
      {"<svg>\n<path d='M3 4 L5'/></svg>", "p.svg:2:2: SVG path: expected a number at \"\""},
      {"<path d='M3 4 A1 1 0 2 0 2 2'/>", "p.svg:1:2: SVG path: expected 0 or 1 at \"2 0 2 2\""},
      {"<path d='M3 4 B1'/>", "p.svg:1:2: SVG path: there is no command \"B\""},
      {"<svg><g transform='fold(3)'/></svg>",
       "p.svg:1:7: SVG: the transformation \"fold\" is not understood"},
      {"<svg><text>a</text></svg>",
       "p.svg: there is no visible shape in it; the editor can turn text into paths"},
      {"<svg viewBox='0 0 64 36'><path d='M1 1 H1'/></svg>", "p.svg: there is no visible shape"},
      {"<svg><g id='a'><use href='#a'/><use href='#a'/></g></svg>",
       "p.svg:1:7: elements use each other too often"},
      {"<svg>\n <g><path d='M1 1 2 2'/>\n</svg>", "p.svg:3:3: this tag does not close"},
      {"<svg>\n <path d='M0 0", "p.svg:2:11: an attribute is written as"},
      {"<svg>\n <path d='M0 0'/>\n", "p.svg:2:18: the file ends too early"},
  };
  for (const auto& [text, message] : cases) {
    const std::string line = MessageOf([text = text] { Import(text); });
    EXPECT_TRUE(line.starts_with(message)) << line;
  }
  EXPECT_EQ(MessageOf([] { StrokesText("<svg><line id='lines' x2='1'/></svg>", {"line"}); }),
            "p.svg: nothing visible is called \"line\"; did you mean \"lines\"? There is: lines");
}

TEST_F(ImportedPaths, MakeScenesThatAreSavedAndKeepWhatIsSet) {
  WriteText("p.svg", "<svg viewBox='0 0 64 36'><path d='M4 4 60 30'/></svg>");
  std::filesystem::create_directory("kept");
  const auto density = [](std::vector<std::string> more) {
    std::vector<std::string> arguments{"check", "plate.png", "--path", "p.svg", "-y"};
    more.insert(more.end(), {"--save-scene", "kept/s.json"});
    arguments.insert(arguments.end(), more.begin(), more.end());
    EXPECT_EQ(RunVorlin(arguments).err, "");
    EXPECT_EQ(RunVorlin({"check", "kept/s.json"}).exit_code, 0);  // finds its layer
    return Parsed(ReadAll("kept/s.json"))["controls"]["Density"].asDouble();
  };
  EXPECT_EQ(density({"--preset", "honey"}), 200);  // as close as the look's own on a small layer
  EXPECT_EQ(density({"--preset", "honey", "--set", "Density=40"}), 40);
  const RunResult sheet = RunVorlin({"sheet", "plate.png", "--path", "p.svg", "--looks", "-q", "-o",
                                     "looks.png", "--save-scene", "kept/t.json"});
  EXPECT_EQ(sheet.err, "");
  EXPECT_EQ(Parsed(ReadAll("kept/t.json"))["layer"], "../plate.png");
}

TEST_F(ImportedPaths, LieOnWhatAnotherProgramDraws) {
  const std::string file = "drawing.svg";
  WriteText(file, ReadAll(SCENES "/letters.svg"));
  ToolProcess rsvg({"rsvg-convert", "-w", "960", "-o", "drawn.png", file});
  rsvg.CloseInput();
  while (rsvg.ReadErrors()) {
  }
  rsvg.Finish();
  const hosting::World drawn = ReadPicture("drawn.png").ToWorld(hosting::Depth::k8);
  const auto inked = [&](int x, int y) {
    return x >= 0 && y >= 0 && x < drawn.width() && y < drawn.height() &&
           drawn.Row<PF_Pixel>(y)[x].alpha > 100;
  };
  const DrawnStrokes ours = ImportPath({.file = file, .ids = {}, .times = {.to = 30}},
                                       ReadAll(file), LayerSize{drawn.width(), drawn.height()});
  const hosting::Track<Point> way(ours.keys);
  std::vector<char> near(static_cast<std::size_t>(drawn.width() * drawn.height()));
  // Both ways: each of our points lies on ink, each inked pixel beside one of our points.
  constexpr double kPixels = 1.5;
  int off = 0;
  int points = 0;
  for (const hosting::Span& span : ours.pen) {
    for (double t = span.in; t < span.out; t += 0.0002) {
      const Point p = way.At(t);
      bool on = false;
      for (int y = static_cast<int>(p.y) - 2; y <= static_cast<int>(p.y) + 2; ++y) {
        for (int x = static_cast<int>(p.x) - 2; x <= static_cast<int>(p.x) + 2; ++x) {
          if (std::hypot(x + 0.5 - p.x, y + 0.5 - p.y) > kPixels) continue;
          on = on || inked(x, y);
          if (inked(x, y)) near[static_cast<std::size_t>(y * drawn.width() + x)] = 1;
        }
      }
      const bool inside = p.x >= 0 && p.y >= 0 && p.x < drawn.width() && p.y < drawn.height();
      off += inside && !on;
      ++points;
    }
  }
  int ink = 0;
  int missed = 0;
  for (int i = 0; i < drawn.width() * drawn.height(); ++i) {
    if (!inked(i % drawn.width(), i / drawn.width())) continue;
    ++ink;
    missed += near[static_cast<std::size_t>(i)] == 0;
  }
  EXPECT_GT(points, 100'000);
  EXPECT_GT(ink, 3000);
  EXPECT_EQ(off, 0);
  EXPECT_EQ(missed, 0);
}

}  // namespace
}  // namespace app
