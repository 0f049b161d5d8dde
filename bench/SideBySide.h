#pragma once

#include <algorithm>
#include <cstdio>
#include <thread>
#include <vector>

#include <time.h>

namespace tlx::bench {

/// Keeps the compiler from leaving out work whose result nobody reads.
inline void keep(const void* result) {
  asm volatile("" : : "g"(result) : "memory");
}

/// Seconds that the calling thread has had of a processor. What runs on one thread is measured with it, so that a
/// machine that is busy otherwise does not show in the figures.
inline double threadSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Seconds that one run of `work` takes the calling thread.
template <class Work>
double secondsOf(Work&& work) {
  const double start = threadSeconds();
  work();
  return threadSeconds() - start;
}

/// Reference counts are cheaper in a process that never had a second thread. A program with a picker has several, so
/// the figures are taken as they are there.
inline void becomeMultithreaded() {
  std::thread([] {}).join();
}

inline double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

/// One line: name, ours and the peer in milliseconds (medians), their ratio (median of the rounds' ratios) and the
/// budget, 0 where there is none. Answers whether the budget is kept.
inline bool report(const char* name, const std::vector<double>& ours, const std::vector<double>& peer, double budget) {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < ours.size(); ++i) ratios.push_back(ours[i] / peer[i]);
  const double ratio = median(ratios);
  std::printf("%-44s ours %9.3f ms  peer %9.3f ms  ratio %5.2f", name, median(ours) * 1e3, median(peer) * 1e3, ratio);
  if (budget == 0) {
    std::printf("  no budget\n");
    return true;
  }
  const bool kept = ratio <= budget;
  std::printf("  budget %4.1f  %s\n", budget, kept ? "kept" : "MISSED");
  return kept;
}

/// Runs both in turn, so that whatever else the machine does falls on both alike. Each of the two answers the seconds
/// that count.
template <class Ours, class Peer>
bool sideBySide(const char* name, double budget, int rounds, Ours&& ours, Peer&& peer) {
  ours(), peer();
  std::vector<double> oursSeconds, peerSeconds;
  for (int round = 0; round < rounds; ++round) {
    oursSeconds.push_back(ours());
    peerSeconds.push_back(peer());
  }
  return report(name, oursSeconds, peerSeconds, budget);
}

}  // namespace tlx::bench
