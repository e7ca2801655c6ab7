// Processes that render, and movies.
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <thread>

#include "picture_file.h"
#include "support.h"

namespace app {
namespace {

class RenderRuns : public InSceneFolder {
 protected:
  static RunResult Render(std::vector<std::string> more) {
    more.insert(more.begin(), {"render", "scene.json", "-y"});
    return RunVorlin(more);
  }
};

/// What a command of the shell prints, without its last line break.
std::string Printed(const std::string& command) {
  EXPECT_EQ(std::system((command + " > printed.txt 2>&1").c_str()), 0) << ReadAll("printed.txt");
  std::string text = ReadAll("printed.txt");
  while (text.ends_with('\n')) text.pop_back();
  std::filesystem::remove("printed.txt");
  return text;
}

TEST_F(RenderRuns, GiveTheSameBytesForAnyNumberOfJobs) {
  for (const char* extension : {".png", ".exr", ".tif", ".mov"}) {
    std::vector<std::string> first;
    for (const char* jobs : {"1", "2", "4"}) {
      const RunResult result =
          Render({"-o", std::string("o") + extension, "-j", jobs, "-q", "--depth", "16"});
      EXPECT_EQ(result.err, "");
      std::vector<std::string> all;
      for (const std::string& name : Entries()) {
        if (name.starts_with("o.") && name.ends_with(extension)) all.push_back(ReadAll(name));
      }
      EXPECT_EQ(all.size(), std::string(extension) == ".mov" ? 1U : 4U);
      if (first.empty()) first = all;
      EXPECT_TRUE(all == first) << extension << " " << jobs;
    }
  }
}

TEST_F(RenderRuns, TellResultsAndProgressAsJson) {
  std::filesystem::create_directory("o.0002.png");
  const RunResult result =
      Render({"-o", "o.png", "--json", "--stats", "json", "--progress", "json", "--keep-going"});
  EXPECT_EQ(result.exit_code, 3);
  const Json::Value results = Parsed(result.out);
  EXPECT_EQ(results["written"].asInt(), 3);
  EXPECT_EQ(results["failed"].asInt(), 1);
  EXPECT_EQ(results["frames"][2]["state"].asString(), "failed");
  EXPECT_EQ(results["frames"][3]["file"].asString(), "o.0003.png");
  for (const char* key : {"net", "encode", "peak_rss_mib"}) {
    EXPECT_GT(results["stats"][key].asDouble(), 0) << key;
  }
  EXPECT_EQ(results["stats"]["frames"].asInt(), 3);
  std::istringstream lines(result.err);
  std::map<std::string, int> events;
  for (std::string line; std::getline(lines, line);) ++events[Parsed(line)["event"].asString()];
  EXPECT_EQ(events["frame"], 3) << result.err;
  EXPECT_EQ(events["error"], 2) << result.err;  // the frame's and the run's

  const RunResult skipped = Render({"-o", "s.png", "-q", "--stats", "json"});
  EXPECT_EQ(std::count(skipped.out.begin(), skipped.out.end(), '\n'), 1);
  EXPECT_EQ(Parsed(skipped.out)["frames"].asInt(), 4);
}

TEST_F(RenderRuns, SayWhatCannotBeStored) {
  const std::string vorlin = std::string(VORLIN) + " render scene.json -q -y -F 0-1 ";
  struct Case {
    std::string command;
    int exit_code;
    const char* message;
  };
  const Case cases[] = {
      {vorlin + "-o o.png --json > /dev/full", 3,
       "vorlin: error: cannot write to standard output: No space left on device\n"},
      {vorlin + "-o o.png --json >&-", 3,
       "vorlin: error: cannot write to standard output: Bad file descriptor\n"},
      {"ulimit -f 1; " + vorlin + "-j 1 -o p.exr --depth 32 --over layer", 3,
       "vorlin: error: cannot write \"p.0000.exr\": File too large\n"},
      {"PATH=/nowhere " + vorlin + "-o p.mp4", 3,
       "vorlin: error: cannot run ffmpeg: it is not installed; movies are made by that program\n"},
      {"mkdir -p bin; printf '#!/bin/sh\\necho 1 >&2; echo no encoder >&2; exit 1' > bin/ffmpeg; "
       "chmod +x bin/ffmpeg; PATH=$PWD/bin:$PATH " +
           vorlin + "-o p.mp4",
       3, "vorlin: error: ffmpeg failed: no encoder\n"},
      {vorlin + "-o p.mp4 --chunk 1/2", 2, "vorlin: error: --chunk is for pictures, not movies\n"},
      {vorlin + "-o p.##.mp4", 2,
       "vorlin: error: \"p.##.mp4\": a movie is one file, without a frame number\n"},
      {vorlin + "-o p.png --pass field", 2,
       "vorlin: error: \"p.png\": the field is written as .exr only\n"},
  };
  for (const Case& c : cases) {
    const int status = std::system(("{ " + c.command + "; } 2> err.txt").c_str());
    EXPECT_EQ(WEXITSTATUS(status), c.exit_code) << c.command;
    const std::string err = ReadAll("err.txt");
    EXPECT_EQ(err.find(c.message), 0U) << c.command << err;
    EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
    std::filesystem::remove("err.txt");
  }
  EXPECT_EQ(Entries(), With({"o.0000.png", "o.0001.png", "bin"}));
}

/// The program at work, for tests that end its processes.
class Running {
 public:
  explicit Running(const std::vector<std::string>& arguments) : process_(fork()) {
    if (process_ != 0) return;
    std::vector<char*> argv{const_cast<char*>(VORLIN)};
    for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    alarm(60);
    if (std::freopen("err.txt", "w", stderr) != nullptr) execv(VORLIN, argv.data());
    _exit(127);
  }

  pid_t process() const { return process_; }

  /// Its child processes, once there are so many.
  std::vector<pid_t> Children(std::size_t count) const {
    std::vector<pid_t> children;
    const std::string task = std::to_string(process_);
    for (int tries = 0; children.size() < count && tries < 3000; ++tries) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
      std::ifstream file("/proc/" + task + "/task/" + task + "/children");
      children.clear();
      for (pid_t child = 0; file >> child;) children.push_back(child);
    }
    EXPECT_EQ(children.size(), count);
    return children;
  }

  int Wait() const {
    int status = 0;
    waitpid(process_, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

 private:
  pid_t process_;
};

bool IsGone(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string number, name, state;
  return !(file >> number >> name >> state) || state == "Z" || state == "X";
}

TEST_F(RenderRuns, LeaveNoProcessBehind) {
  WriteSlowScene();
  const std::set<std::string> before = With({"slow.json", "err.txt"});
  struct Case {
    const char* output;
    std::size_t children;
    bool to_child;  // the signal goes to a worker, else to the program
    int signal;
    int exit_code;
    const char* message;
  };
  const Case cases[] = {
      {"o.png", 2, false, SIGKILL, 128 + SIGKILL, ""},
      {"o.mp4", 3, false, SIGTERM, 128 + SIGTERM, ""},
      {"o.mp4", 3, false, SIGINT, 128 + SIGINT, ""},
      {"o.png", 2, true, SIGABRT, 4, "was killed by signal 6 (Aborted)"},
      {"o.png", 2, true, SIGKILL, 3, "was killed by signal 9 (Killed)"},
  };
  for (const Case& c : cases) {
    const Running run(
        {"render", "slow.json", "-o", c.output, "-F", "80000-80009", "-j", "2", "-q"});
    const std::vector<pid_t> children = run.Children(c.children);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    kill(c.to_child ? children.back() : run.process(), c.signal);
    EXPECT_EQ(run.Wait(), c.exit_code) << c.output << c.signal;
    EXPECT_NE(ReadAll("err.txt").find(c.message), std::string::npos) << ReadAll("err.txt");
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    for (const pid_t child : children) EXPECT_TRUE(IsGone(child)) << c.signal;
    EXPECT_EQ(Entries(), before) << c.output << c.signal;
  }
}

TEST_F(RenderRuns, MakeMoviesWithRateSizeAndAlpha) {
  WriteText("ntsc.json", R"json({"layer": "plate.png", "frame_rate": "30000/1001", "duration": 0.2,
    "controls": {"Brush Position": {"keys": [{"time": 0, "value": [8, 18]},
                                             {"time": 0.2, "value": [60, 18]}]},
                 "Stroke Width": 30}})json");
  // How ffmpeg is told to decode, for alpha of VP9 its own decoder does not look at.
  const std::tuple<const char*, const char*, bool> cases[] = {{"o.mp4", "", false},
                                                              {"o.mov", "", true},
                                                              {"o.webm", "-c:v libvpx-vp9", true},
                                                              {"o.gif", "", true}};
  for (const auto& [name, decoder, has_alpha] : cases) {
    const RunResult result = RunVorlin({"render", "ntsc.json", "-o", name, "-q", "-j", "3"});
    ASSERT_EQ(result.exit_code, 0) << result.err;
    const std::string file(name);
    EXPECT_EQ(Printed("ffprobe -v error -count_frames -show_entries "
                      "stream=width,height,nb_read_frames -of csv=p=0 " +
                      file),
              "64,36,6");
    if (file != "o.gif" && file != "o.webm") {  // which count in fixed steps
      EXPECT_EQ(Printed("ffprobe -v error -show_entries stream=r_frame_rate -of csv=p=0 " + file),
                "30000/1001");
    }
    Printed(std::string("ffmpeg -v error -y ") + decoder + " -i " + file +
            " -pix_fmt rgba movie.%02d.png");
    RunVorlin({"render", "ntsc.json", "-o", "p.png", "-q", "-y"});
    for (int i = 0; i < 6; ++i) {
      const auto movie = ReadPicture("movie.0" + std::to_string(i + 1) + ".png");
      const auto picture = ReadPicture("p.000" + std::to_string(i) + ".png");
      const auto& m = std::get<std::vector<std::uint8_t>>(movie.pixels());
      const auto& p = std::get<std::vector<std::uint8_t>>(picture.pixels());
      double alpha_error = 0;
      for (std::size_t k = 3; k < p.size(); k += 4) {
        alpha_error += std::abs((has_alpha ? p[k] : 255) - m[k]) / (64 * 36.0);
      }
      EXPECT_LT(alpha_error, file == "o.gif" ? 12 : 6) << name << " frame " << i;
    }
  }
}

}  // namespace
}  // namespace app
