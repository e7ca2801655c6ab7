// vorlin-validate [--level 1|2|3] [--only ID] [--config C] [--fault F] [--seed N] [--json] PLUGIN
#include <cstdio>
#include <cstdlib>
#include <string>

#include "run_main.h"

int main(int argc, char** argv) {
  validate::Options options;
  options.program = "vorlin-validate";
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    const auto value = [&]() -> std::string { return i + 1 < argc ? argv[++i] : ""; };
    if (word == "--level") {
      options.level = std::atoi(value().c_str());
    } else if (word == "--only") {
      options.only = value();
    } else if (word == "--config") {
      options.config = value();
    } else if (word == "--fault") {
      options.fault = value();
    } else if (word == "--seed") {
      options.seed = static_cast<unsigned>(std::strtoul(value().c_str(), nullptr, 10));
    } else if (word == "--json") {
      options.json = true;
    } else {
      options.plugin = word;
    }
  }
  if (options.plugin.empty()) {
    std::fputs("vorlin-validate: error: which plug-in?\n", stderr);
    return 2;
  }
  return validate::RunMain(options);
}
