#pragma once

#include <chrono>

#include <time.h>

namespace tlx::bench {

/// Seconds of processor time that one run of `work` takes all threads of the process together. What works on several
/// threads is measured with it on both sides, so that a machine that is busy otherwise does not show in the figures.
template <class Work>
double processorSecondsOf(Work&& work) {
  const auto now = [] {
    timespec time{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
  };
  const double start = now();
  work();
  return now() - start;
}

/// Seconds that pass meanwhile, for what runs on several threads or in several processes.
template <class Work>
double wallSecondsOf(Work&& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace tlx::bench
