// A small benchmark harness: each case is timed against a baseline loop
// measured in the same run, and reported as items per second and as a
// ratio to the baseline, so that results compare across machines.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>

#include "strata/Utility.h"

namespace OstraBench {

// Keeps a computed value alive so the optimiser cannot drop the work.
inline void KeepAlive(std::uint64_t inValue) {
  static volatile std::uint64_t sSink;
  sSink = sSink + inValue;
}

struct Measurement {
  std::string name;
  std::uint64_t items = 0;
  double seconds = 0;
  double ItemsPerSecond() const { return seconds > 0 ? items / seconds : 0; }
  double NanosecondsPerItem() const { return items ? seconds * 1e9 / items : 0; }
};

// Runs inPass (which processes inItemsPerPass items) repeatedly, best of
// inRounds rounds, each round lasting at least inMinSeconds.
inline Measurement Measure(const std::string& inName, std::uint64_t inItemsPerPass,
                           const std::function<void()>& inPass, int inRounds = 3,
                           double inMinSeconds = 0.2) {
  Measurement best;
  best.name = inName;
  for (int round = 0; round < inRounds; ++round) {
    std::uint64_t passes = 0;
    const std::uint64_t start = strata::utility::HighPrecisionTime::GetCurrentTimeStamp();
    double seconds = 0;
    do {
      inPass();
      ++passes;
      seconds = strata::utility::HighPrecisionTime::ToSeconds(
          strata::utility::HighPrecisionTime::GetCurrentTimeStamp() - start);
    } while (seconds < inMinSeconds);
    const double perItem = seconds / (passes * inItemsPerPass);
    if (round == 0 || perItem < best.seconds / best.items) {
      best.items = passes * inItemsPerPass;
      best.seconds = seconds;
    }
  }
  return best;
}

inline void PrintHeader(const char* inTitle) {
  std::printf("\n%s\n%-44s %14s %10s %9s\n", inTitle, "case", "items/s", "ns/item", "x base");
}

// One line: the case's rate and its cost as a multiple of the baseline's.
inline void Report(const Measurement& inCase, const Measurement& inBaseline) {
  const double ratio = inBaseline.NanosecondsPerItem() > 0
                           ? inCase.NanosecondsPerItem() / inBaseline.NanosecondsPerItem()
                           : 0;
  std::printf("%-44s %14.0f %10.1f %9.2f\n", inCase.name.c_str(), inCase.ItemsPerSecond(),
              inCase.NanosecondsPerItem(), ratio);
}

}  // namespace OstraBench
