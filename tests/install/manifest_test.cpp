// The manifest that ports make their property resource from says what the library itself answers.

#include <gtest/gtest.h>
#include <json/json.h>

#include <fstream>

#include "hosting/effect.h"

TEST(Manifest, SaysWhatTheLibraryAnswers) {
  Json::Value manifest;
  std::ifstream(MANIFEST) >> manifest;
  const hosting::Effect effect{std::filesystem::path(EFFECT)};

  EXPECT_EQ(manifest["version"].asUInt(), effect.version());
  EXPECT_EQ(manifest["out_flags"].asInt(), effect.out_flags());
  EXPECT_EQ(manifest["out_flags2"].asInt(), effect.out_flags2());
  EXPECT_EQ(manifest["num_params"].asUInt(), effect.controls().size() + 1);
  const std::string about = effect.About();
  for (const char* key : {"name", "category", "version_text"}) {
    const std::string said = manifest[key].asString();
    EXPECT_FALSE(said.empty()) << key;
    EXPECT_NE(about.find(said), std::string::npos) << said << " in " << about;
  }
  // One version: the project's, of which the effect's own word holds the first two numbers.
  const std::string release = VERSION;
  EXPECT_NE(about.find("Nuvrik " + release), std::string::npos) << about;
  EXPECT_EQ(manifest["version_text"].asString(), release.substr(0, release.rfind('.')));
  EXPECT_EQ(manifest["entry_point"].asString(), "MainEntry");  // what the host library looks up
}
