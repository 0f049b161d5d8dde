#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace tlx::bench {

/// Keeps the compiler from leaving out work whose result nobody reads.
inline void keep(const void* result) {
  asm volatile("" : : "g"(result) : "memory");
}

/// Seconds that one run of `work` takes.
template <class Work>
double secondsOf(Work&& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

/// One line: name, ours and the peer in milliseconds (medians), their ratio (median of the rounds' ratios) and the
/// budget.
inline bool report(const char* name, const std::vector<double>& ours, const std::vector<double>& peer, double budget) {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < ours.size(); ++i) ratios.push_back(ours[i] / peer[i]);
  const double ratio = median(ratios);
  const bool kept = ratio <= budget;
  std::printf("%-44s ours %9.3f ms  peer %9.3f ms  ratio %5.2f  budget %4.1f  %s\n", name, median(ours) * 1e3,
              median(peer) * 1e3, ratio, budget, kept ? "kept" : "MISSED");
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
