#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "stratamedia/StrataMedia.h"

namespace {

using namespace stratamedia;

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();

TEST(FrameRate, NamedRatesAreTheExactFrameLengths) {
  const struct {
    FrameRate rate;
    std::int64_t numerator, denominator;
  } rows[] = {
      {kFrameRate_Film24, 24, 1},          {kFrameRate_FilmNTSC, 24000, 1001},
      {kFrameRate_VideoPAL, 25, 1},        {kFrameRate_Video30, 30, 1},
      {kFrameRate_VideoNTSC, 30000, 1001}, {kFrameRate_Video50, 50, 1},
      {kFrameRate_VideoNTSC60, 60000, 1001}, {kFrameRate_Video60, 60, 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.numerator);
    EXPECT_EQ(row.rate, FrameRate::FromFramesPerSecond(row.numerator, row.denominator));
    // Whole frames make whole seconds: no rounding anywhere.
    EXPECT_EQ(kTicksPerSecond * row.denominator,
              row.rate.GetTicksPerFrame() * row.numerator);
  }
  EXPECT_EQ(8475667200, kFrameRate_VideoNTSC.GetTicksPerFrame());
}

TEST(FrameRate, UnusableRatiosGiveNoRate) {
  const struct {
    std::int64_t numerator, denominator;
  } rows[] = {{0, 1}, {-30, 1}, {30, 0}, {30, -1}, {kMax, 1}, {1, kMax}, {1, 1000000000}};
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << row.numerator << "/" << row.denominator);
    const FrameRate rate = FrameRate::FromFramesPerSecond(row.numerator, row.denominator);
    EXPECT_EQ(kFrameRate_None, rate);
    EXPECT_FALSE(rate.IsValid());
  }
  // Fractions of a tick round to the nearest tick; the 128-bit product is
  // needed for the large denominator.
  EXPECT_EQ(FrameRate(2), FrameRate::FromFramesPerSecond(kTicksPerSecond * 2 / 3, 1));
  EXPECT_EQ(FrameRate(254016000000LL * 36000), FrameRate::FromFramesPerSecond(1, 36000));
  EXPECT_EQ(FrameRate(kMax - 1), FrameRate::FromFramesPerSecond(kTicksPerSecond, kMax - 1));
  EXPECT_FALSE(FrameRate(0).IsValid());
  EXPECT_TRUE(FrameRate(1).IsValid());
}

TEST(TickTime, FramesContainTheirTimesAcrossZero) {
  const FrameRate rate = kFrameRate_VideoNTSC;
  const std::int64_t frame = rate.GetTicksPerFrame();
  const struct {
    std::int64_t ticks, expectedFrame;
  } rows[] = {{0, 0}, {1, 0}, {frame - 1, 0}, {frame, 1}, {-1, -1}, {-frame, -1},
              {-frame - 1, -2}, {kMax, kMax / frame}, {kMin, kMin / frame - 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.ticks);
    EXPECT_EQ(row.expectedFrame, TimeToFrames(TickTime(row.ticks), rate));
  }
  EXPECT_EQ(0, TimeToFrames(TickTime(12345), kFrameRate_None));
  EXPECT_EQ(0, TimeToFrames(TickTime(12345), FrameRate(0)));
  EXPECT_EQ(kMin, TimeToFrames(TickTime(kMin), FrameRate(1)));
}

TEST(TickTime, ArithmeticSaturatesInsteadOfWrapping) {
  EXPECT_EQ(TickTime::Max(), TickTime(kMax - 5) + TickTime(10));
  EXPECT_EQ(TickTime::Min(), TickTime(kMin + 5) - TickTime(10));
  EXPECT_EQ(TickTime::Max(), TickTime(0) - TickTime::Min());
  EXPECT_EQ(TickTime(kMax), TickTime(-1) - TickTime::Min());
  EXPECT_EQ(TickTime(-1), TickTime::Max() + TickTime::Min());

  TickTime time;
  time.AddFrames(kMax, kFrameRate_Film24);
  EXPECT_EQ(TickTime::Max(), time);
  time.AddFrames(kMin, FrameRate(1));
  EXPECT_EQ(TickTime(-1), time);

  // A distance beyond the signed range that still lands inside it.
  TickTime fromMin = TickTime::Min();
  fromMin.AddFrames(kMax, FrameRate(2));
  EXPECT_EQ(TickTime(kMax - 1), fromMin);

  TickTime unchanged(77);
  unchanged.AddFrames(5, kFrameRate_None);
  unchanged.AddFrames(5, FrameRate(0));
  unchanged.AddFrames(5, FrameRate(-3));
  EXPECT_EQ(TickTime(77), unchanged);

  EXPECT_EQ(TickTime(3 * 8475667200LL), FramesToTime(3, kFrameRate_VideoNTSC));
  EXPECT_EQ(TickTime::Min(), FramesToTime(kMin, kFrameRate_VideoNTSC));
  EXPECT_EQ(kTime_Zero, FramesToTime(3, kFrameRate_None));
}

}  // namespace
