#include "support.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

#include "picture_file.h"

namespace app {

InFolder::InFolder() : before_(std::filesystem::current_path()) {
  std::string name = (std::filesystem::temp_directory_path() / "vorlin_test_XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
  folder_ = name;
  std::filesystem::current_path(folder_);
}

InFolder::~InFolder() {
  std::filesystem::current_path(before_);
  std::filesystem::remove_all(folder_);
}

std::set<std::string> InFolder::Entries() {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(".")) {
    names.insert(entry.path().filename().string());
  }
  return names;
}

void WriteText(const std::filesystem::path& path, std::string_view text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string ReadAll(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

Json::Value Parsed(const std::string& text) {
  Json::Value json;
  std::istringstream stream(text);
  EXPECT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), stream, &json, nullptr)) << text;
  return json;
}

int DifferentPixels(const hosting::World& part, const hosting::World& whole, int left, int top) {
  int different = 0;
  for (int y = 0; y < part.height(); ++y) {
    for (int x = 0; x < part.width(); ++x) {
      const PF_Pixel* w = whole.Row<PF_Pixel>(y + top) + x + left;
      different += std::memcmp(part.Row<PF_Pixel>(y) + x, w, sizeof *w) == 0 ? 0 : 1;
    }
  }
  return different;
}

void WritePlate(const std::string& name) {
  hosting::World world(64, 36, hosting::Depth::k8);
  for (int i = 0; i < 64 * 36; ++i) {
    world.Row<PF_Pixel>(i / 64)[i % 64] = {255, static_cast<A_u_char>(4 * (i % 64)),
                                           static_cast<A_u_char>(7 * (i / 64)), 90};
  }
  WritePicture(world, PictureFormat(name, hosting::Depth::k8), {}, name);
}

InSceneFolder::InSceneFolder() {
  WritePlate("plate.png");
  WriteText("scene.json", R"json({
    "layer": "plate.png", "frame_rate": 10, "duration": 0.4,
    "controls": {
      "Brush Position": {"keys": [{"time": 0, "value": [8, 18]}, {"time": 0.4, "value": [60, 18]}]},
      "Time Span (sec)": 0.3
    }
  })json");
  WriteText("a_file", "");
}

std::set<std::string> InSceneFolder::With(std::set<std::string> more) {
  more.insert({"plate.png", "scene.json", "a_file"});
  return more;
}

void InSceneFolder::WriteSlowScene() {
  WriteText("slow.json", R"json({"duration": 3000, "controls":
    {"Brush Position": {"keys": [{"time": 0, "value": [0, 0]}, {"time": 3000, "value": [900, 500]}]},
     "Density": 200, "Time Span (sec)": 3000, "Stroke Width": 1000},
     "layer": ")json" SCENES R"json(/dusk.jpg"})json");
}

void InSceneFolder::ExpectRefused(const std::vector<std::string>& arguments, int exit_code,
                                  const std::string& message) {
  const std::set<std::string> before = Entries();
  const RunResult result = RunVorlin(arguments);
  EXPECT_EQ(result.exit_code, exit_code) << result.err;
  EXPECT_EQ(result.err.find("vorlin: error: " + message), 0U) << result.err;
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(Entries(), before);
}

const hosting::Effect& TheEffect() {
  static const hosting::Effect effect{std::filesystem::path(EFFECT)};
  return effect;
}

namespace {

/// Seconds; a program that hangs fails its test.
constexpr unsigned kLongestRun = 120;

/// Waits for a file that is not complete in the current folder, and a moment more.
void WaitForWriting() {
  const auto is_part = [](const std::string& name) { return name.ends_with(".part"); };
  for (int i = 0; i < 3000; ++i) {
    const std::set<std::string> names = InFolder::Entries();
    if (std::any_of(names.begin(), names.end(), is_part)) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
}

/// What was written to a stream, which is closed.
std::string Close(std::FILE* stream) {
  std::string text = ReadAll("/dev/fd/" + std::to_string(fileno(stream)));
  std::fclose(stream);
  return text;
}

}  // namespace

RunResult RunVorlin(std::vector<std::string> arguments, int signal) {
  std::FILE* out = std::tmpfile();
  std::FILE* err = std::tmpfile();
  arguments.insert(arguments.begin(), VORLIN);
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    dup2(fileno(out), STDOUT_FILENO);
    dup2(fileno(err), STDERR_FILENO);
    alarm(kLongestRun);
    execv(VORLIN, argv.data());
    _exit(127);
  }
  if (signal > 0) {
    WaitForWriting();
    kill(child, signal);
  }
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return {code, Close(out), Close(err), usage.ru_maxrss};
}

}  // namespace app
