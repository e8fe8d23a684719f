#include <gtest/gtest.h>

#include "Ostra/TimeStamp.h"

namespace {

using Ostra::TimeStamp;

TimeStamp Elapsed(double inMilliseconds) {
  return TimeStamp(TimeStamp::GetStartTime().GetClockReading() + inMilliseconds);
}

TEST(TimeStamp, SplitsElapsedTimeIntoSecondsAndMilliseconds) {
  const struct {
    double elapsed;
    int seconds, milliseconds;
  } rows[] = {
      {0.0, 0, 0},   {2500.7, 2, 500},     {999.9, 0, 999},
      {-1.5, 0, -1}, {-2500.7, -2, -500},  {3.0e9 + 12.0, 3000000, 12},  // past 24.8 days
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.elapsed);
    const TimeStamp stamp = Elapsed(row.elapsed);
    // A reading is the start's plus the elapsed time, so the difference
    // carries the start reading's rounding: exact only while that is small
    // (a process whose clock had run a while before the library loaded).
    EXPECT_NEAR(row.elapsed, stamp.GetElapsedValue(), 1e-6);
    EXPECT_EQ(stamp.GetElapsedValue(), stamp.GetMilliSeconds());
    EXPECT_DOUBLE_EQ(stamp.GetElapsedValue() * 1000.0, stamp.GetMicroSeconds());
    EXPECT_DOUBLE_EQ(stamp.GetElapsedValue() / 1000.0, stamp.GetSeconds());
    EXPECT_EQ(row.seconds, stamp.GetSecondsPart());
    EXPECT_EQ(row.milliseconds, stamp.GetMilliSecondsPart());
    EXPECT_EQ(0, stamp.GetMicroSecondsPart());
  }
}

TEST(TimeStamp, ReadsTheClockAndCopiesReadings) {
  EXPECT_EQ(0.0, TimeStamp::GetStartTime().GetElapsedValue());
  const TimeStamp first;
  const TimeStamp second;
  EXPECT_GE(first.GetElapsedValue(), 0.0);
  EXPECT_LE(first.GetClockReading(), second.GetClockReading());

  TimeStamp a = Elapsed(10), b = Elapsed(20);
  const TimeStamp copy(a);
  a.Swap(b);
  EXPECT_DOUBLE_EQ(20, a.GetElapsedValue());
  EXPECT_DOUBLE_EQ(10, b.GetElapsedValue());
  EXPECT_EQ(b, copy);
  b = a;
  EXPECT_EQ(a, b);
  EXPECT_TRUE(copy < a);
}

}  // namespace
