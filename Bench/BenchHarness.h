// A small benchmark harness: each case is timed against a baseline measured
// in the same run, and reported as items per second and as a ratio to the
// baseline, so that results compare across machines. Every case runs several
// passes and reports their median, minimum and maximum: on a shared machine a
// single pass says little.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "strata/Utility.h"

namespace OstraBench {

// Passes per case unless a benchmark asks for more.
constexpr int kDefaultPasses = 5;

// Keeps a computed value alive so the optimiser cannot drop the work.
inline void KeepAlive(std::uint64_t inValue) {
  static volatile std::uint64_t sSink;
  sSink = sSink + inValue;
}

// Median, minimum and maximum of a set of samples.
struct Spread {
  double median = 0;
  double min = 0;
  double max = 0;
};

inline Spread Summarize(std::vector<double> inSamples) {
  Spread spread;
  if (inSamples.empty()) return spread;
  std::sort(inSamples.begin(), inSamples.end());
  const std::size_t middle = inSamples.size() / 2;
  spread.median = inSamples.size() % 2 ? inSamples[middle]
                                       : (inSamples[middle - 1] + inSamples[middle]) / 2;
  spread.min = inSamples.front();
  spread.max = inSamples.back();
  return spread;
}

// One case: the cost of an item in each pass, in nanoseconds.
struct Measurement {
  std::string name;
  std::vector<double> nanosecondsPerItem;
  double NanosecondsPerItem() const { return Summarize(nanosecondsPerItem).median; }
  double ItemsPerSecond() const {
    const double cost = NanosecondsPerItem();
    return cost > 0 ? 1e9 / cost : 0;
  }
};

// A named piece of work that processes itemsPerPass items each time it runs.
struct Case {
  std::string name;
  std::uint64_t itemsPerPass;
  std::function<void()> pass;
};

// Runs inPass repeatedly for at least inMinSeconds and returns the cost of one item.
inline double TimeOnePass(std::uint64_t inItemsPerPass, const std::function<void()>& inPass,
                          double inMinSeconds) {
  std::uint64_t runs = 0;
  const std::uint64_t start = strata::utility::HighPrecisionTime::GetCurrentTimeStamp();
  double seconds = 0;
  do {
    inPass();
    ++runs;
    seconds = strata::utility::HighPrecisionTime::ToSeconds(
        strata::utility::HighPrecisionTime::GetCurrentTimeStamp() - start);
  } while (seconds < inMinSeconds);
  return seconds * 1e9 / (runs * inItemsPerPass);
}

// Runs the cases in turn, one pass of each per round, so that a baseline and
// the cases compared with it see the same state of a shared machine.
inline std::vector<Measurement> MeasureTogether(const std::vector<Case>& inCases,
                                                int inPasses = kDefaultPasses,
                                                double inMinSeconds = 0.2) {
  std::vector<Measurement> measurements(inCases.size());
  for (std::size_t i = 0; i < inCases.size(); ++i) measurements[i].name = inCases[i].name;
  for (int round = 0; round < inPasses; ++round) {
    for (std::size_t i = 0; i < inCases.size(); ++i) {
      measurements[i].nanosecondsPerItem.push_back(
          TimeOnePass(inCases[i].itemsPerPass, inCases[i].pass, inMinSeconds));
    }
  }
  return measurements;
}

// One case on its own.
inline Measurement Measure(const std::string& inName, std::uint64_t inItemsPerPass,
                           const std::function<void()>& inPass, int inPasses = kDefaultPasses,
                           double inMinSeconds = 0.2) {
  return MeasureTogether({{inName, inItemsPerPass, inPass}}, inPasses, inMinSeconds).front();
}

// The case's speed as a multiple of the baseline's, pass by pass (higher is
// faster); passes pair up in the order they ran.
inline Spread SpeedRatio(const Measurement& inCase, const Measurement& inBaseline) {
  std::vector<double> ratios;
  const std::size_t count =
      std::min(inCase.nanosecondsPerItem.size(), inBaseline.nanosecondsPerItem.size());
  for (std::size_t i = 0; i < count; ++i) {
    if (inCase.nanosecondsPerItem[i] > 0)
      ratios.push_back(inBaseline.nanosecondsPerItem[i] / inCase.nanosecondsPerItem[i]);
  }
  return Summarize(ratios);
}

// The case's cost as a multiple of the baseline's, pass by pass (lower is cheaper).
inline Spread CostRatio(const Measurement& inCase, const Measurement& inBaseline) {
  const Spread speed = SpeedRatio(inCase, inBaseline);
  Spread cost;
  if (speed.median > 0) cost.median = 1 / speed.median;
  if (speed.max > 0) cost.min = 1 / speed.max;
  if (speed.min > 0) cost.max = 1 / speed.min;
  return cost;
}

inline void PrintHeader(const char* inTitle) {
  std::printf("\n%s\n%-48s %14s %10s %21s\n", inTitle, "case (median of passes)", "items/s",
              "ns/item", "x base (min-max)");
}

// One line: the case's median rate and its cost as a multiple of the baseline's.
inline void Report(const Measurement& inCase, const Measurement& inBaseline) {
  const Spread cost = CostRatio(inCase, inBaseline);
  std::printf("%-48s %14.0f %10.1f %9.2f (%.2f-%.2f)\n", inCase.name.c_str(),
              inCase.ItemsPerSecond(), inCase.NanosecondsPerItem(), cost.median, cost.min,
              cost.max);
}

// A goal line: what it measures, the median with its range, the target and
// whether the median meets it. inAtLeast: the figure must reach the target
// (a speed); otherwise it must stay at or below it (a cost). inUnit follows
// each number: "x" for ratios, "%" or " points" for shares.
inline bool Goal(const char* inWhat, const Spread& inFigure, double inTarget, bool inAtLeast,
                 const char* inUnit = "x") {
  const bool met = inAtLeast ? inFigure.median >= inTarget : inFigure.median <= inTarget;
  std::printf("  goal: %-62s %5.2f%s (%.2f-%.2f), target %s %.2f%s: %s\n", inWhat, inFigure.median,
              inUnit, inFigure.min, inFigure.max, inAtLeast ? ">=" : "<=", inTarget, inUnit,
              met ? "met" : "NOT MET");
  return met;
}

}  // namespace OstraBench
