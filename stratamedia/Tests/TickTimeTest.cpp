#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "stratamedia/StrataMedia.h"

namespace {

using namespace stratamedia;

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();

TEST(FrameRate, RatiosGiveExactFrameLengthsOrNoRate) {
  const struct {
    std::int64_t numerator, denominator;
    FrameRate expected;
  } rows[] = {
      {24, 1, kFrameRate_Film24},         {24000, 1001, kFrameRate_FilmNTSC},
      {25, 1, kFrameRate_VideoPAL},       {30, 1, kFrameRate_Video30},
      {30000, 1001, kFrameRate_VideoNTSC}, {50, 1, kFrameRate_Video50},
      {60000, 1001, kFrameRate_VideoNTSC60}, {60, 1, kFrameRate_Video60},
      {kTicksPerSecond * 2 / 3, 1, FrameRate(2)},  // 1.5 ticks rounds up
      // Needs the full 128-bit product.
      {kTicksPerSecond, kMax - 1, FrameRate(kMax - 1)},
      {0, 1, kFrameRate_None}, {-30, 1, kFrameRate_None}, {30, 0, kFrameRate_None},
      {kMax, 1, kFrameRate_None}, {1, kMax, kFrameRate_None}, {1, 1000000000, kFrameRate_None},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << row.numerator << "/" << row.denominator);
    EXPECT_EQ(row.expected, FrameRate::FromFramesPerSecond(row.numerator, row.denominator));
  }
  EXPECT_EQ(8475667200, kFrameRate_VideoNTSC.GetTicksPerFrame());
  EXPECT_FALSE(kFrameRate_None.IsValid());
  EXPECT_FALSE(FrameRate(0).IsValid());
  EXPECT_TRUE(FrameRate(1).IsValid());
}

TEST(TickTime, FramesContainTheirTimesAcrossZero) {
  const std::int64_t frame = kFrameRate_VideoNTSC.GetTicksPerFrame();
  const struct {
    std::int64_t ticks, expectedFrame;
  } rows[] = {{0, 0}, {frame - 1, 0}, {frame, 1}, {-1, -1}, {-frame, -1}, {-frame - 1, -2},
              {kMax, kMax / frame}, {kMin, kMin / frame - 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.ticks);
    EXPECT_EQ(row.expectedFrame, TimeToFrames(TickTime(row.ticks), kFrameRate_VideoNTSC));
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
  for (FrameRate bad : {kFrameRate_None, FrameRate(0), FrameRate(-3)}) unchanged.AddFrames(5, bad);
  EXPECT_EQ(TickTime(77), unchanged);
  EXPECT_EQ(TickTime::Min(), FramesToTime(kMin, kFrameRate_VideoNTSC));
  EXPECT_EQ(kTime_Zero, FramesToTime(3, kFrameRate_None));
}

}  // namespace
