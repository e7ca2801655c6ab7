// The validator is tested by what it must catch: effects with one fault each, each by its own
// check.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

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

class PlantedFaults : public testing::TestWithParam<Planted> {};

TEST_P(PlantedFaults, IsCaughtByItsCheck) {
  const auto& [fault, check, config] = GetParam();
  ASSERT_EQ(Validate(FAULTY_EFFECT, "", check, config), 0) << "the sound effect must pass";
  EXPECT_EQ(Validate(FAULTY_EFFECT, fault, check, config), 4);
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
};

INSTANTIATE_TEST_SUITE_P(All, PlantedFaults, testing::ValuesIn(kPlanted), [](const auto& info) {
  std::string name(info.param.fault);
  for (char& c : name) c = c == '-' ? '_' : c;
  return name;
});

TEST(PlantedFaults, ASecondSymbolIsCaught) {
  EXPECT_EQ(Validate(FAULTY_EFFECT, "", "exports", kOnce), 0);
  EXPECT_EQ(Validate(TWO_SYMBOLS, "", "exports", kOnce), 4);
}

TEST(PlantedFaults, AProcessOfItsOwnIsCaught) {
  // Only two processes can tell that they disagree.
  EXPECT_EQ(Validate(FAULTY_EFFECT, "", "", k8), 0);
  EXPECT_EQ(Validate(FAULTY_EFFECT, "process", "", k8), 4);
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
