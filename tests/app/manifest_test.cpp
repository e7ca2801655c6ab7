// The manifest that ports make their property resource from says what the library itself answers.
#include "support.h"

namespace app {
namespace {

TEST(Manifest, SaysWhatTheLibraryAnswers) {
  const Json::Value manifest = Parsed(ReadAll(MANIFEST));
  const std::string about = TheEffect().About();
  EXPECT_EQ(manifest["version"].asUInt(), TheEffect().version());
  EXPECT_EQ(manifest["out_flags"].asInt(), TheEffect().out_flags());
  EXPECT_EQ(manifest["out_flags2"].asInt(), TheEffect().out_flags2());
  EXPECT_EQ(manifest["num_params"].asUInt(), TheEffect().controls().size() + 1);
  EXPECT_EQ(manifest["entry_point"].asString(), "MainEntry");  // what the host library looks up
  // One release: the project's, of which the effect's own version holds the first two numbers.
  const std::string release = RELEASE;
  EXPECT_EQ(manifest["version_text"].asString(), release.substr(0, release.rfind('.')));
  for (const std::string& said :
       {manifest["name"].asString(), manifest["version_text"].asString(), "Nuvrik " + release}) {
    EXPECT_NE(about.find(said), about.npos) << said << " in " << about;
  }
}

}  // namespace
}  // namespace app
