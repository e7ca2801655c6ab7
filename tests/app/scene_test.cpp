#include "scene.h"

#include "layer_source.h"
#include "scene_notes.h"
#include "support.h"

namespace app {
namespace {

/// Works beside a picture plate.png of 64 x 36 pixels.
class Scenes : public InFolder {
 protected:
  Scenes() { WritePlate("plate.png"); }

  static Scene Read(const std::string& text) {
    WriteText("scene.json", text);
    return ReadScene("scene.json", TheEffect(), OpenLayer);
  }
  /// A scene with these controls.
  static Scene ReadControls(const std::string& controls) {
    return Read(R"({"layer": "plate.png", "duration": 1, "controls": {)" + controls + "}}");
  }
  template <class Value>
  static Value ValueOf(const Scene& scene, const char* control, double seconds) {
    const hosting::ControlTracks& controls = scene.setup.controls;
    return std::get<hosting::Track<Value>>(controls.TrackOf(controls.Control(control).index))
        .At(seconds);
  }
};

TEST_F(Scenes, SayWhatIsWrongAndWhere) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "1:1: syntax error: value, object or array expected"},
      {"[]", "1:1: expected a scene {...}, found []"},
      {"{\"layer\": \"plate.png\",\n\"duration\": 1\n\"frame_rate\": 30}",
       "3:1: missing ',' or '}' in object declaration"},
      {R"({"layer": "plate.png", "duration": 1} x)", "1:39: extra non-whitespace after JSON value"},
      {"{\"duration\": 1,\n \"duration\": 2}", "2:2: duplicate key: 'duration'"},
      {"{\"duration\": 1,\n // the \"layer\"\n \"layr\": 2}",
       "3:2: a scene has no \"layr\"; did you mean \"layer\"?"},
      {R"({"duration": 1})", "1:1: \"layer\" is missing"},
      {R"({"layer": 5, "duration": 1})", "1:11: expected a text, found 5"},
      {R"({"layer": "plate.png", "duration": "long"})", "1:36: expected a number, found \"long\""},
      {R"({"layer": "plate.png", "duration": 1e999})", "1:36: '1e999' is not a number"},
      {R"({"layer": "plate.png", "duration": 01})", "1:36: '01' is not a number"},
      {R"({"layer": "plate.png", "duration": [1, 2.]})", "1:40: '2.' is not a number"},
      {R"({"layer": "plate.png", "duration": -})", "1:36: '-' is not a number"},
      {"\xEF\xBB\xBF{\"duratio\": 1}",
       "1:2: a scene has no \"duratio\"; did you mean \"duration\"?"},
      {R"({"layer": "plate.png", "duration": 0})",
       "1:36: the duration is more than 0 and at most 66904 seconds, not 0"},
      {R"({"layer": "plate.png", "duration": 1, "frame_rate": 0})",
       "1:53: the frame rate must be positive, not 0"},
      {R"({"layer": "plate.png", "duration": 1, "frame_rate": "30/0"})",
       "1:53: \"30/0\" is no ratio: expected 30, 29.97 or 30000/1001"},
      {R"({"layer": "plate.png", "duration": 1, "pixel_aspect": [1, 0]})",
       "1:55: the pixel aspect is a ratio of whole numbers, as [10, 11]"},
      {R"({"layer": "plate.png", "duration": 1, "pen": [[0, 1], [0.5, 2]]})",
       "1:55: spans follow each other in time"},
      {R"({"layer": "plate.png", "duration": 1, "pen": [[1, 1]]})",
       "1:47: a span ends after it begins"},
  };
  for (const auto& [text, message] : cases) {
    EXPECT_EQ(MessageOf([&text = text] { Read(text); }), std::string("scene.json:") + message)
        << text;
  }
  const std::string digits(300000, '1');
  EXPECT_EQ(MessageOf([&] { Read("{\"duration\": " + digits + "x}"); }).substr(0, 18),
            "scene.json:1:14: '");
  EXPECT_EQ(MessageOf([&] { Read(R"({"layer": "a#.#.png", "duration": 1})"); }),
            "scene.json:1:11: \"a#.#.png\" holds more than one frame number");
  EXPECT_EQ(MessageOf([] { Read(std::string(5000, '[')); }),
            "scene.json:1:100: nested deeper than 100 levels");
}

TEST_F(Scenes, SayWhatIsWrongWithAControl) {
  // Columns count from the controls' opening brace, which is at 1:51.
  const std::pair<const char*, const char*> cases[] = {
      {R"("Densty": 4)", "52: unknown control \"Densty\"; did you mean \"Density\"?"},
      {R"("Style": 4)", "52: \"Style\" is a group of controls, without a value"},
      {R"("Density": 201)", "63: \"Density\" is 201, but must be from 0 to 200"},
      {R"("Density": "thick")", "63: expected a number, found \"thick\""},
      {R"("Brush Position": [1, 2, 3])", "70: expected a point [x, y], found [1, 2, 3]"},
      {R"("Brush Position": [1, 40000])",
       "70: \"Brush Position\" is 40000, but must be from -32767 to 32767"},
      {R"("Paint Style": "Wobly")",
       "67: \"Paint Style\" is one of \"Plain\", \"Wobbly\", not \"Wobly\"; did you mean "
       "\"Wobbly\"?"},
      {R"("Light Color": "#ff00")", "67: expected a colour \"#rrggbb\", found \"#ff00\""},
      {R"("Density": {"key": []})", "64: an animated value has no \"key\"; did you mean \"keys\"?"},
      {R"("Density": {"keys": []})", "72: expected a list of keys, found []"},
      {R"("Density": {"keys": [{"time": 0}]})", "73: \"value\" is missing"},
      {R"("Density": {"keys": [{"time": 0, "value": 1, "eas": 2}]})",
       "97: a key has no \"eas\"; did you mean \"ease\"?"},
      {R"("Density": {"keys": [{"time": 0, "value": 1, "ease": "smoth"}]})",
       "105: \"ease\" is one of \"linear\", \"smooth\", \"hold\", not \"smoth\"; did you mean "
       "\"smooth\"?"},
      {R"("Density": {"keys": [{"time": 1, "value": 1}, {"time": 1, "value": 1}]})",
       "107: keys must rise in time"},
      {R"("Density": {"keys": [{"time": 1, "value": 300}]})",
       "94: \"Density\" is 300, but must be from 0 to 200"},
      {R"("Density": {"keys": [{"time": 1, "value": 1, "in": [2, 0]}]})",
       "104: a handle's time goes from 0 to 1, not 2"},
      {R"("Density": {"keys": [{"time": 1, "value": 1, "in_tangent": [2, 0]}]})",
       "97: only points in the plane have tangents"},
      {R"("Using": {"keys": [{"time": 0, "value": "AE Lights"}, {"time": 1, "value": "AE Lights"}]})",
       "61: \"Using\" cannot change over time"},
  };
  for (const auto& [text, message] : cases) {
    EXPECT_EQ(MessageOf([&text = text] { ReadControls(text); }),
              std::string("scene.json:1:") + message);
  }
}

TEST_F(Scenes, SayWhatIsWrongWithALight) {
  // The list's opening bracket is at 1:49.
  const std::pair<const char*, const char*> cases[] = {
      {"5", "50: expected a light {\"type\": ..., ...}"},
      {R"({"type": "spt"})",
       "59: a light's type is one of \"parallel\", \"spot\", \"point\", \"ambient\", not \"spt\"; "
       "did "
       "you mean \"spot\"?"},
      {R"({"type": "spot"})", "50: \"position\" is missing"},
      {R"({"type": "ambient", "position": [0, 0, 0]})",
       "70: a light of type \"ambient\" has no \"position\""},
      {R"({"type": "point", "position": [0, 0]})", "80: expected [x, y, z], found [0, 0]"},
      {R"({"type": "spot", "position": [0, 0, 0], "cone_angle": 181})",
       "104: \"cone_angle\" is 181, but must be from 0 to 180"},
  };
  for (const auto& [text, message] : cases) {
    EXPECT_EQ(
        MessageOf([&text = text] {
          Read(R"({"layer": "plate.png", "duration": 1, "lights": [)" + std::string(text) + "]}");
        }),
        std::string("scene.json:1:") + message);
  }
}

TEST_F(Scenes, KeepWhatTheySay) {
  const Scene scene = Read(R"({
    "$schema": "anything", "layer": "plate.png", // comments are welcome
    "frame_rate": 29.97, "duration": 2, "pixel_aspect": [10, 11],
    "layer_start": 0.5, "layer_in": 1, "layer_out": 1.5, "layer_frame_rate": "24",
    "controls": {
      "Brush Position": {"keys": [
        {"time": 0, "value": [0, 0], "out_tangent": [0, 20]},
        {"time": 1, "value": [10, 0], "in_tangent": [0, 20], "ease": "hold"},
        {"time": 2, "value": [30, 7.5]}]},
      "Stroke Width": {"keys": [
        {"time": 0, "value": 0, "out": [0.5, 0]}, {"time": 1, "value": 8, "in": [0.5, 1]}]},
      "Strength": {"keys": [
        {"time": 0, "value": 0, "ease": "smooth"}, {"time": 1, "value": 100, "ease": "smooth"}]},
      "Paint Style": "Wobbly", "Light Color": "#ff8000", "Light Direction": -400.5
    },
    "lights": [
      {"type": "point", "position": {"keys": [
        {"time": 0, "value": [0, 0, -8]}, {"time": 4, "value": [4, 8, -8]}]}, "intensity": -20},
      {"type": "parallel", "name": "sun", "target": [1, 2, 3], "in": 1, "out": 2}]
  })");
  EXPECT_EQ(scene.frames, 60);
  const hosting::Setup& setup = scene.setup;
  EXPECT_EQ(setup.time.frame_rate(), hosting::Rational(30000, 1001));
  EXPECT_EQ(setup.time.layer_step() * 24, static_cast<A_long>(setup.time.scale()));
  EXPECT_EQ(setup.pixel_aspect, hosting::Rational(10, 11));
  EXPECT_EQ(setup.layer_start, setup.time.Time(0.5));
  const hosting::Span span = setup.composition.EffectLayer().span;
  EXPECT_TRUE(span.Holds(1) && !span.Holds(1.5));
  EXPECT_EQ(setup.width, 64);
  EXPECT_EQ(setup.height, 36);

  const auto middle = ValueOf<hosting::Point>(scene, "Brush Position", 0.5);
  EXPECT_NEAR(middle.x, 5, 1e-6);
  EXPECT_NEAR(middle.y, 15, 1e-6);  // of the curve with both tangents 20 down: 3/4 of 20
  EXPECT_EQ(ValueOf<hosting::Point>(scene, "Brush Position", 1.9), (hosting::Point{10, 0}));
  EXPECT_EQ(ValueOf<hosting::Point>(scene, "Brush Position", 2), (hosting::Point{30, 7.5}));
  EXPECT_DOUBLE_EQ(ValueOf<double>(scene, "Strength", 0.25), 100 * 0.15625);  // 3t^2 - 2t^3
  EXPECT_NEAR(ValueOf<double>(scene, "Stroke Width", 0.5), 1, 1e-6);  // progress 1/8 at s = 1/2
  EXPECT_EQ(ValueOf<int>(scene, "Paint Style", 0), 2);
  EXPECT_EQ(ValueOf<double>(scene, "Light Direction", 0), -400.5);
  EXPECT_EQ(ValueOf<hosting::Color>(scene, "Light Color", 0), (hosting::Color{1, 128 / 255.0, 0}));
  EXPECT_EQ(ValueOf<double>(scene, "Density", 0), 25);

  const auto& layers = setup.composition.layers;
  ASSERT_EQ(layers.size(), 3U);
  EXPECT_EQ(layers[0].light.kind, hosting::LightKind::kPoint);
  EXPECT_EQ(layers[0].light.position.At(1), (hosting::Vec3{1, 2, -8}));
  EXPECT_EQ(layers[0].light.intensity.At(0), -20);
  EXPECT_EQ(layers[1].name, "sun");
  EXPECT_EQ(layers[1].light.target->At(0), (hosting::Vec3{1, 2, 3}));
  EXPECT_TRUE(layers[1].ActiveAt(1) && !layers[1].ActiveAt(2));
  EXPECT_EQ(layers[2].kind, hosting::Layer::Kind::kEffect);
}

TEST_F(Scenes, LayersMayBeNumberedPictures) {
  WritePlate("p.0007.png");
  WritePlate("p.0008.png");
  const std::string text = R"({"layer": "p.####.png", "duration": 1})";
  const Scene scene = Read(text);
  const auto first = scene.setup.picture(0);
  EXPECT_EQ(first->width(), 64);
  EXPECT_EQ(scene.setup.picture(-5), first);
  const auto second = scene.setup.picture(1);
  EXPECT_NE(second, first);
  EXPECT_EQ(scene.setup.picture(100), second);

  // A bad picture is an error of its own frame, unless another takes its place.
  WritePlate("p.0011.png");
  WriteText("p.0010.png", "no picture");
  const Scene gap = Read(text);
  EXPECT_EQ(gap.layer.bad_frames.size(), 2U);
  EXPECT_EQ(MessageOf([&] { gap.CheckLayer(); }), "\"p.0009.png\" is missing in its sequence");
  EXPECT_THROW(gap.setup.picture(2), FileError);
  EXPECT_EQ(gap.setup.picture(4)->width(), 64);
  const Scene held = Read(R"({"layer": "p.####.png", "missing": "hold"})");
  EXPECT_NO_THROW(held.CheckLayer());
  EXPECT_EQ(held.frames, 5);
  for (const int frame : {2, 3}) EXPECT_EQ(held.setup.picture(frame), held.setup.picture(1));
  EXPECT_EQ(MessageOf([] { Read(R"({"layer": "q.####.png", "duration": 1})"); }),
            "scene.json:1:11: there is no picture \"q.####.png\"");
}

TEST_F(Scenes, TellAllMistakesAtOnce) {
  try {
    Read(R"({"layer": "plat.png", "fps": 25, "lights": [{"type": "spt"}],
             "controls": {"Densty": 1, "Density": -1}})");
    FAIL();
  } catch (const InputError& error) {
    const std::vector<std::string> others{
        "scene.json:1:11: cannot read the picture \"plat.png\": No such file",
        "scene.json:1:54: a light's type is one of", "scene.json:2:27: unknown control \"Densty\"",
        "scene.json:2:51: \"Density\" is -1"};
    EXPECT_STREQ(error.what(),
                 "scene.json:1:23: a scene has no \"fps\"; did you mean \"frame_rate\"?");
    ASSERT_EQ(error.others().size(), others.size());
    for (std::size_t i = 0; i < others.size(); ++i) {
      EXPECT_TRUE(error.others()[i].starts_with(others[i])) << error.others()[i];
    }
  }
}

TEST_F(Scenes, AreNotedWhereTheyCanHardlyBeMeant) {
  WritePlate("p.0001.png");
  WritePlate("p.0002.png");
  const std::string moves = R"("Brush Position": {"keys": [{"time": 0, "value": [1, 1]},
                                                          {"time": 0.5, "value": [60, 30]}]})";
  const auto lights = [](int count, const std::string& more = "") {
    std::string list;
    for (int i = 0; i < count; ++i) {
      list += (i == 0 ? "" : ", ") + (R"({"type": "ambient")" + more + "}");
    }
    return R"("lights": [)" + list + "], ";
  };
  const std::string used = R"(, "Using": "AE Lights")";
  struct Case {
    std::string scene;
    std::string controls;
    std::vector<std::string> notes;  // how each begins
  };
  const Case cases[] = {
      {R"("layer": "plate.png", "duration": 1, )", moves, {}},
      {R"("layer": "plate.png", )", moves, {}},
      {R"("layer": "plate.png", "duration": 1, )", R"("Density": 4)", {"\"Brush Position\" never"}},
      {R"("layer": "plate.png", "duration": 1, )",
       R"("Brush Position": [64, 3])",
       {"\"Brush Position\" never moves", "\"Brush Position\" is never inside"}},
      {R"("layer": "plate.png", "duration": 0.4, )", moves, {"1 of the 2 keys of \"Brush"}},
      {R"("layer": "p.####.png", )", moves, {"1 of the 2 keys"}},
      {R"("layer": "p.####.png", "duration": 1, )",
       moves,
       {"the sequence has 2 pictures, the scene"}},
      {R"("layer": "plate.png", "duration": 1, "layer_in": 2, )", moves, {"the layer is never"}},
      {R"("layer": "plate.png", "duration": 1, )" + lights(1),
       moves,
       {"the scene's lights do not"}},
      {R"("layer": "plate.png", "duration": 1, )" + lights(19), moves + used, {}},
      {R"("layer": "plate.png", "duration": 1, )" + lights(20), moves + used, {"20 lights are on"}},
      {R"("layer": "plate.png", "duration": 1, )" + lights(1, R"(, "in": 3, "name": "a")"),
       moves + used,
       {"light 1 (\"a\") is never on"}},
  };
  for (const Case& c : cases) {
    const auto notes = SceneNotes(Read("{" + c.scene + R"("controls": {)" + c.controls + "}}"));
    ASSERT_EQ(notes.size(), c.notes.size()) << c.scene << (notes.empty() ? "" : notes[0]);
    for (std::size_t i = 0; i < notes.size(); ++i) {
      EXPECT_TRUE(notes[i].starts_with(c.notes[i])) << notes[i];
    }
  }
}

}  // namespace
}  // namespace app
