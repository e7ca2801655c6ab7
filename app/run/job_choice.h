#pragma once

#include <cstdint>

namespace app {

/// How a run shares the machine.
struct JobChoice {
  int jobs;     // processes, a frame each
  int threads;  // in each of them
};

/// `jobs` and `threads` are what the user asks for, 0 where they do not. A process for every core
/// wastes least, if there are as many frames and memory allows; what cores are left become threads.
JobChoice ChooseJobs(int jobs, int threads, std::size_t frames, std::uint64_t bytes_a_job);

}  // namespace app
