#include "job_choice.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <string>
#include <thread>

#include "render_board.h"

namespace app {
namespace {

/// Memory that processes can have without driving others out; a great deal when nobody knows.
std::uint64_t AvailableBytes() {
  std::ifstream file("/proc/meminfo");
  std::string name;
  std::uint64_t kib = 0;
  while (file >> name >> kib) {
    if (name == "MemAvailable:") return kib << 10;
    std::getline(file, name);
  }
  return std::numeric_limits<std::uint64_t>::max();
}

}  // namespace

JobChoice ChooseJobs(int jobs, int threads, std::size_t frames, std::uint64_t bytes_a_job) {
  const int cores = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  const auto bounded = [](std::uint64_t n) {
    return static_cast<int>(std::clamp<std::uint64_t>(n, 1, kMostJobs));
  };
  const int useful = bounded(frames);
  if (jobs == 0) {
    const int for_memory = bounded(AvailableBytes() / 4 * 3 / bytes_a_job);
    jobs = std::min({useful, for_memory, threads > 0 ? std::max(1, cores / threads) : cores});
  }
  jobs = std::min(jobs, useful);
  return {jobs, threads > 0 ? threads : std::max(1, cores / jobs)};
}

}  // namespace app
