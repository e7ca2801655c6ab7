// The commands that tell about the effect and its scenes.
#include <map>

#include "hosting/controls.h"
#include "support.h"

namespace app {
namespace {

using About = InSceneFolder;

Json::Value RunForJson(const std::vector<std::string>& arguments) {
  const RunResult result = RunVorlin(arguments);
  EXPECT_EQ(result.exit_code, 0) << result.err;
  return Parsed(result.out);
}

/// The controls that are greyed, by name.
std::map<std::string, bool> Greyed(const Json::Value& list) {
  std::map<std::string, bool> greyed;
  for (const Json::Value& control : list["controls"]) {
    if (control.isMember("greyed")) greyed[control["name"].asString()] = control["greyed"].asBool();
  }
  return greyed;
}

TEST_F(About, ControlsAreTheEffectsOwn) {
  const Json::Value list = RunForJson({"controls", "--json"});
  const auto& controls = TheEffect().controls();
  ASSERT_EQ(list["controls"].size(), controls.size());
  for (Json::ArrayIndex i = 0; i < list["controls"].size(); ++i) {
    EXPECT_EQ(list["controls"][i]["index"].asInt(), controls[i].index);
    EXPECT_EQ(list["controls"][i]["id"].asInt(), controls[i].id);
    EXPECT_EQ(list["controls"][i]["name"].asString(), controls[i].name);
  }
  EXPECT_TRUE(Greyed(list)["Wobble Width"]);
  EXPECT_TRUE(Greyed(list)["Light Position"]);
  EXPECT_FALSE(Greyed(list)["Light Direction"]);

  WriteText("wobbly.json", R"({"layer": "plate.png", "duration": 1, "controls":
    {"Paint Style": "Wobbly", "Light Type": "Point Light"}})");
  const Json::Value of_scene = RunForJson({"controls", "wobbly.json", "--json"});
  EXPECT_FALSE(Greyed(of_scene)["Wobble Width"]);
  EXPECT_FALSE(Greyed(of_scene)["Light Position"]);
  EXPECT_TRUE(Greyed(of_scene)["Light Direction"]);

  const std::string text = RunVorlin({"controls"}).out;
  EXPECT_NE(text.find("26  25    Roughness          slider  0.025  (0.001 to 0.5)\n"), text.npos);
  EXPECT_NE(
      text.find("14  28    Using              popup   Effect Light  (Effect Light, AE Lights)\n"),
      text.npos);
}

TEST_F(About, TheSchemaNamesEveryControlAndItsLimits) {
  const Json::Value rules = RunForJson({"schema"});
  const Json::Value& properties = rules["properties"];
  const Json::Value& schemas = rules["$defs"]["controls"]["properties"];
  std::size_t count = 0;
  for (const hosting::ControlInfo& control : TheEffect().controls()) {
    if (!control.has_value()) continue;
    ++count;
    ASSERT_TRUE(schemas.isMember(control.name)) << control.name;
    const Json::Value& schema = schemas[control.name];
    EXPECT_EQ(schema.isMember("anyOf"), control.can_vary) << control.name;
    if (control.type == hosting::ControlType::kSlider) {
      EXPECT_EQ(schema["anyOf"][0]["maximum"].asDouble(), control.valid.max) << control.name;
    }
    if (control.type == hosting::ControlType::kPopup) {
      EXPECT_EQ(schema["enum"].size(), control.choices.size()) << control.name;
    }
  }
  EXPECT_EQ(schemas.size(), count);
  EXPECT_EQ(properties["lights"]["items"]["oneOf"].size(), 4U);
}

TEST_F(About, ChecksJudgeWithoutRendering) {
  const RunResult good = RunVorlin({"check", "scene.json"});
  EXPECT_EQ(good.exit_code, 0);
  EXPECT_EQ(good.out, "scene.json: good: 64 x 36 pixels, 4 frames at 10 a second, 0 lights\n");
  WriteText("bad.json", R"({"layer": "plate.png", "duration": 1, "controls": {"Densty": 4}})");
  ExpectRefused({"check", "bad.json"}, 2,
                "bad.json:1:52: unknown control \"Densty\"; did you mean \"Density\"?\n");
  EXPECT_EQ(RunVorlin({"about"}).out, TheEffect().About() + "\n");
}

}  // namespace
}  // namespace app
