// What the tests of the command line share.
#pragma once

#include <gtest/gtest.h>
#include <json/json.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "errors.h"
#include "hosting/effect.h"
#include "hosting/world.h"

namespace app {

/// Tests that work in an empty folder of their own, the current one.
class InFolder : public testing::Test {
 public:
  /// Names of the current folder's entries, hidden ones too.
  static std::set<std::string> Entries();

 protected:
  InFolder();
  ~InFolder() override;

 private:
  std::filesystem::path before_;
  std::filesystem::path folder_;
};

void WriteText(const std::filesystem::path& path, std::string_view text);
std::string ReadAll(const std::filesystem::path& path);

/// The one JSON value that a text is.
Json::Value Parsed(const std::string& text);

/// How many pixels of `part` are not those of `whole` that lie (left, top) further; both of 8 bits.
int DifferentPixels(const hosting::World& part, const hosting::World& whole, int left = 0,
                    int top = 0);

/// A small opaque PNG, 64 x 36 pixels, in the current folder.
void WritePlate(const std::string& name);

/// Tests that work beside a small scene.json of four frames, its plate.png and an empty a_file.
class InSceneFolder : public InFolder {
 protected:
  InSceneFolder();
  /// Names of these files and more.
  static std::set<std::string> With(std::set<std::string> more);
  /// Writes slow.json, of 90000 frames. Every slice of its last ones covers the whole picture: they
  /// take far longer than any test.
  static void WriteSlowScene();
  /// Expects the program to end with this code, one line that begins with "vorlin: error: " and the
  /// message, nothing printed and nothing left.
  static void ExpectRefused(const std::vector<std::string>& arguments, int exit_code,
                            const std::string& message);
};

const hosting::Effect& TheEffect();

/// The line of the Error that f throws; fails the test when it throws none.
template <class F>
std::string MessageOf(F f) {
  try {
    f();
  } catch (const Error& error) {
    return error.what();
  }
  ADD_FAILURE() << "nothing was refused";
  return {};
}

struct RunResult {
  int exit_code = 0;  // 128 + its number after a signal
  std::string out;
  std::string err;
  long peak_kib = 0;
};

/// Runs the built program to its end. `signal` above 0 is sent a moment after the program has begun
/// to write a file.
RunResult RunVorlin(std::vector<std::string> arguments, int signal = 0);

}  // namespace app
