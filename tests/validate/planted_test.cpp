// The validator is tested by what it must catch: effects and hosts with one fault each, each by its
// own check.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "faulty_host.h"
#include "run_main.h"

namespace {

struct Planted {
  const char* fault;
  const char* check;
  const char* config;
};

void PrintTo(const Planted& planted, std::ostream* out) { *out << planted.fault; }

constexpr const char* k8 = "8-classic-distant-plain";
constexpr const char* k8Smart = "8-smart-distant-plain";
constexpr const char* kFloat = "32-classic-distant-plain";
constexpr const char* kOnce = "-";

int Validate(const std::string& plugin, const char* fault, const char* check, const char* config) {
  setenv("VORLIN_PLANTED", fault, 1);
  validate::Options options;
  options.plugin = plugin;
  options.only = check;
  options.config = config;
  const int code = validate::RunMain(options);
  unsetenv("VORLIN_PLANTED");
  return code;
}

/// Says at the end how many faults were caught.
class Tally : public testing::Environment {
 public:
  static inline int planted = 0;
  static inline int caught = 0;
  void TearDown() override {
    if (planted > 0) std::printf("%d of %d planted faults caught\n", caught, planted);
  }
};
const testing::Environment* const kTally = testing::AddGlobalTestEnvironment(new Tally);

void Count(bool caught) {
  ++Tally::planted;
  Tally::caught += caught;
}

class PlantedFaults : public testing::TestWithParam<Planted> {};

TEST_P(PlantedFaults, IsCaughtByItsCheck) {
  const auto& [fault, check, config] = GetParam();
  ASSERT_EQ(Validate(FAULTY_EFFECT, "", check, config), 0) << "the sound effect must pass";
  const int code = Validate(FAULTY_EFFECT, fault, check, config);
  EXPECT_EQ(code, 4);
  Count(code == 4);
}

constexpr Planted kPlanted[]{
    {"leak-suite", "books", k8},
    {"wrong-version", "books", k8},
    {"no-checkin", "books", k8},
    {"checkin-twice", "books", k8},
    {"other-record", "books", k8},
    {"keep-world", "books", k8},
    {"dispose-twice", "books", k8},
    {"write-padding", "books", k8},
    {"write-input", "books", k8},
    {"write-params", "books", k8},
    {"write-in-data", "books", k8},
    {"write-out-data", "books", k8},
    {"outside-stroke", "books", k8},
    {"no-clear", "books", k8},
    {"swallows-code", "faults", k8},
    {"other-code", "faults", k8},
    {"late-call", "faults", k8},
    {"lets-throw", "faults", k8},
    {"swallows-cancel", "cancel", k8},
    {"swallows-alloc", "memory", k8},
    {"null-table", "suites", k8},
    {"hang", "identity", kOnce},
    {"assigns-flags", "identity", kOnce},
    {"crash", "unknown", kOnce},
    {"answers-unknown", "unknown", kOnce},
    {"renumber", "controls", kOnce},
    {"no-clamp", "prerender", kOnce},
    {"no-supervision", "supervision", kOnce},
    {"keeps-files", "reload", kOnce},
    {"empty-request", "worlds", k8Smart},
    {"order", "orders", k8},
    {"remembers", "repeats", k8},
    {"field-by-size", "regions", k8Smart},
    {"samples-outside", "values", k8},
    {"time-division", "times", k8},
    {"scale-division", "scales", k8},
    {"second-row", "sizes", k8},
    {"stops-at-nan", "pixels", kFloat},
    {"swallows-code", "pairs", k8},
    {"remembers", "sequences", k8},
    {"time-division", "mixes", k8},
};

INSTANTIATE_TEST_SUITE_P(All, PlantedFaults, testing::ValuesIn(kPlanted), [](const auto& info) {
  std::string name = std::string(info.param.check) + "_" + info.param.fault;
  for (char& c : name) c = c == '-' ? '_' : c;
  return name;
});

struct HostFault {
  const char* fault;
  const char* told;  // a part of what is said of it
};

constexpr HostFault kHostFaults[]{
    {"does not clear", "is cleared when asked"},
    {"swaps width and height", "the size asked for"},
    {"hands out a world twice", "new worlds lie apart"},
    {"keeps worlds", "no disposal of a new world"},
    {"tells another format", "the output's format is told"},
    {"samples beside", "a sample of one pixel"},
    {"takes any version", "versions are tables of their own"},
    {"has every suite", "a suite that is not there is refused"},
    {"forgets a release", "no ReleaseSuite"},
    {"releases another version", "which is not acquired"},
    {"answers for another time", "answered for any time"},
    {"answers for another control", "a point is answered"},
    {"refuses nothing", "a control that is not there is refused"},
    {"forgets a check-in", "no checkin_param"},
    {"never cancels", "cancelled when the user asks"},
    {"fills all but the last row", "fill clears all"},
    {"leaves out a column", "visits every pixel once"},
    {"renders a row twice", "visits every pixel once"},
    {"mirrors the rows", "visits every pixel once"},
    {"loses a pixel's code", "returns its pixel's code"},
    {"reckons crudely", "arithmetic"},
    {"writes the input", "holds the layer's pixels"},
    {"forgets the padding", "rows are padded"},
    {"lends a smaller output", "covers what was asked for"},
    {"lends one world as both", "input and output lie apart"},
    {"forgets the origin", "covers what was asked for"},
    {"lends nothing", "worlds are lent"},
    {"tells another extent", "extent is told"},
    {"is late", "PF_Cmd_SMART_PRE_RENDER with 516"},
    {"halves the layer", "has the layer's size"},
};

// With the address sanitizer some of these faults end the check's process before it can tell them.
#if defined(__has_feature)
#define SANITIZED __has_feature(address_sanitizer)
#else
#define SANITIZED 0
#endif
constexpr bool kCrashTells = SANITIZED != 0;

int ValidateHost(const char* fault) {
  PlantHostFault(fault);
  validate::Options options;
  options.plugin = FAULTY_EFFECT;
  options.only = "host";
  options.between = FaultyHost;
  return validate::RunMain(options);
}

TEST(PlantedFaults, OfTheHostAreCaught) {
  EXPECT_EQ(ValidateHost(""), 0) << "the sound host must pass";
  for (const auto& [fault, told] : kHostFaults) {
    testing::internal::CaptureStdout();
    const int code = ValidateHost(fault);
    const std::string said = testing::internal::GetCapturedStdout();
    const bool caught =
        code == 4 && (said.find(told) != std::string::npos ||
                      (kCrashTells && said.find("crash: host") != std::string::npos));
    EXPECT_TRUE(caught) << fault << "\n" << said;
    Count(caught);
  }
}

TEST(PlantedFaults, ASecondSymbolIsCaught) {
  EXPECT_EQ(Validate(FAULTY_EFFECT, "", "exports", kOnce), 0);
  const int code = Validate(TWO_SYMBOLS, "", "exports", kOnce);
  EXPECT_EQ(code, 4);
  Count(code == 4);
}

TEST(PlantedFaults, AProcessOfItsOwnIsCaught) {
  // Only two processes can tell that they disagree.
  EXPECT_EQ(Validate(FAULTY_EFFECT, "", "", k8), 0);
  const int code = Validate(FAULTY_EFFECT, "process", "", k8);
  EXPECT_EQ(code, 4);
  Count(code == 4);
}

TEST(Selection, OfNothingFails) {
  EXPECT_THROW(Validate(FAULTY_EFFECT, "", "no-such-check", ""), validate::NothingSelected);
  EXPECT_THROW(Validate(FAULTY_EFFECT, "", "books", "64-smart"), validate::NothingSelected);
  validate::Options options;
  options.plugin = FAULTY_EFFECT;
  options.only = "books";
  options.config = k8;
  options.fault = "no such fault";
  EXPECT_EQ(validate::RunMain(options), 4) << "a check that tries nothing is skipped, and fails";
}

TEST(Selection, OfNoLibraryFails) {
  EXPECT_EQ(Validate("/nonexistent.so", "", "controls", kOnce), 4);
}

}  // namespace
