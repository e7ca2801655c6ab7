// What the tests of the command line share.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "errors.h"
#include "hosting/effect.h"

namespace cli {

/// Tests that work in an empty folder of their own, the current one.
class InFolder : public testing::Test {
 protected:
  InFolder();
  ~InFolder() override;

  /// Names of the folder's entries, hidden ones too.
  static std::set<std::string> Entries();

 private:
  std::filesystem::path before_;
  std::filesystem::path folder_;
};

void WriteText(const std::filesystem::path& path, std::string_view text);
std::string ReadAll(const std::filesystem::path& path);

/// A small opaque PNG, 64 x 36 pixels, in the current folder.
void WritePlate(const std::string& name);

/// Tests that work beside a small scene.json of four frames, its plate.png and an empty a_file.
class InSceneFolder : public InFolder {
 protected:
  InSceneFolder();
  /// Names of these files and more.
  static std::set<std::string> With(std::set<std::string> more);
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
  double seconds_after_signal = 0;
};

/// Runs the built program to its end. `signal` above 0 is sent a moment after the program has begun
/// to write a file.
RunResult RunVorlin(std::vector<std::string> arguments, int signal = 0);

}  // namespace cli
