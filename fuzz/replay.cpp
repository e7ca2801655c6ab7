// Gives every file of the folders named to a fuzzer once. Needs no fuzzing engine.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "invariant.h"

int main(int argc, char** argv) {
  int files = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::string bytes{std::istreambuf_iterator<char>(file), {}};
      fuzz::Require(!file.bad(), entry.path().string());
      std::printf("%s\n", entry.path().filename().c_str());
      std::fflush(stdout);  // names the culprit when the next call does not return
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
      ++files;
    }
  }
  std::printf("%d inputs replayed\n", files);
  return files > 0 ? 0 : 1;
}
