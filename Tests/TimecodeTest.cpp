#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>

#include "Ostra/Result.h"
#include "Ostra/Timecode.h"

namespace {

using Ostra::Timecode;
using namespace stratamedia;
typedef TimeDisplayType T;

TickTime Frames(std::int64_t inFrames, FrameRate inRate) { return FramesToTime(inFrames, inRate); }

std::string Text(const Timecode& inTimecode) {
  return strata::string::UTF16toStdString(inTimecode.GetString());
}

Timecode::Style MakeStyle(std::uint32_t inValue, bool inA, bool inNegative, bool inB, bool inC) {
  Timecode::Style style;
  style.mStyleValue = inValue;
  style.mOptionA = inA;
  style.mAllowNegative = inNegative;
  style.mOptionB = inB;
  style.mOptionC = inC;
  return style;
}

TEST(Timecode, DefaultIsZeroAtNTSCDropFrame) {
  const Timecode timecode;
  EXPECT_EQ(kTime_Zero, timecode.GetTime());
  EXPECT_EQ(kFrameRate_VideoNTSC, timecode.GetFrameRate());
  EXPECT_EQ(TimeDisplay(T::kTimecodeNTSCDrop), timecode.GetFormat());
  const Timecode::Style style = timecode.GetStyle();
  EXPECT_EQ(1u, style.mStyleValue);
  EXPECT_FALSE(style.mOptionA || style.mAllowNegative || style.mOptionB || style.mOptionC);
  EXPECT_EQ(0u, Timecode::GetFormattingFlags(style).Get());
  EXPECT_EQ("00:00:00;00", Text(timecode));
}

TEST(Timecode, StyleMapsToConversionFlags) {
  const struct {
    Timecode::Style style;
    unsigned formatting, parsing;
  } rows[] = {
      {MakeStyle(0, false, false, false, false), 0x1, 0},
      {MakeStyle(7, true, true, true, true), 0x2E, 0x8},
      {MakeStyle(0, true, true, true, true), 0x2F, 0x8},
      {MakeStyle(1, true, false, false, false), 0x2, 0},
      {MakeStyle(1, false, true, false, false), 0x4, 0},
      {MakeStyle(1, false, false, true, false), 0x8, 0x8},
      {MakeStyle(1, false, false, false, true), 0x20, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.formatting);
    EXPECT_EQ(row.formatting, Timecode::GetFormattingFlags(row.style).Get());
    EXPECT_EQ(row.parsing, Timecode::GetParsingFlags(row.style).Get());
  }
}

TEST(Timecode, TextFollowsTheStyle) {
  const TickTime minuteOne = Frames(1800, kFrameRate_VideoNTSC);
  const TickTime secondBefore = Frames(-30, kFrameRate_VideoNTSC);
  const struct {
    TickTime time;
    Timecode::Style style;
    const char* text;
  } rows[] = {
      {minuteOne, Timecode::Style(), "00:01:00;02"},
      {minuteOne, MakeStyle(0, false, false, false, false), "0:01:00;02"},
      {minuteOne, MakeStyle(1, true, false, false, true), "+00:01:00:02"},
      {secondBefore, Timecode::Style(), "23:59:59;00"},
      {secondBefore, MakeStyle(1, false, true, false, false), "-00:00:01;00"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    Timecode timecode(row.time, kFrameRate_VideoNTSC, T::kTimecodeNTSCDrop, row.style);
    EXPECT_EQ(row.text, Text(timecode));
    // Reading the text back lands on the same frame, or its place in the day.
    timecode.SetTime(timecode.GetString());
    const TickTime day = Frames(2589408, kFrameRate_VideoNTSC);
    EXPECT_TRUE(timecode.GetTime() == row.time || timecode.GetTime() == row.time + day);
  }
}

TEST(Timecode, ParsingHonoursOnlyTheHoursOption) {
  Timecode timecode(kTime_Zero, kFrameRate_VideoPAL, T::kTimecode25);
  timecode.SetTime(L"25:00:00:00");
  EXPECT_EQ(kTime_Zero, timecode.GetTime());
  timecode.SetStyle(MakeStyle(0, true, true, true, true));
  timecode.SetTime(L"25:00:00:00");
  EXPECT_EQ(Frames(25 * 3600 * 25, kFrameRate_VideoPAL), timecode.GetTime());
  EXPECT_EQ(kFrameRate_VideoPAL, timecode.GetFrameRate());
  EXPECT_EQ(TimeDisplay(T::kTimecode25), timecode.GetFormat());

  EXPECT_EQ(Frames(25 * 3600 * 25, kFrameRate_VideoPAL),
            Timecode::StringToTime(L"25:00:00:00", kFrameRate_VideoPAL, T::kTimecode25, true));
  EXPECT_EQ(kTime_Zero,
            Timecode::StringToTime(L"25:00:00:00", kFrameRate_VideoPAL, T::kTimecode25, false));
  EXPECT_EQ(kTime_Zero, Timecode::StringToTime(L"garbage", kFrameRate_VideoPAL, T::kTimecode25, true));
}

TEST(TimecodeHMSF, NegativeReadingsWrapHoursOnlyUnlessAllowed) {
  const FrameRate rate = kFrameRate_VideoNTSC;
  const struct {
    std::int64_t frame;
    bool allowNegative;
    int hours, minutes, seconds;
    std::int64_t frames;
  } rows[] = {
      {-30, false, 23, 0, 1, 0},   // not 23:59:59
      {-30, true, 0, 0, 1, 0},
      {-107892 - 1800, false, 22, 1, 0, 2},
      {1800, false, 0, 1, 0, 2},
      {107892 + 17982 + 5, false, 1, 10, 0, 5},
      {-1, false, 23, 0, 0, 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.frame);
    const Timecode timecode(Frames(row.frame, rate), rate, T::kTimecodeNTSCDrop,
                            MakeStyle(1, false, row.allowNegative, false, false));
    int h = -1, m = -1, s = -1;
    std::int64_t f = -1;
    EXPECT_EQ(Ostra::kSuccess, timecode.GetHMSF(h, m, s, f));
    EXPECT_EQ(row.hours, h);
    EXPECT_EQ(row.minutes, m);
    EXPECT_EQ(row.seconds, s);
    EXPECT_EQ(row.frames, f);
  }
}

TEST(TimecodeHMSF, FormatsWithoutFieldsFailAndWriteNothing) {
  for (T::Type format : {T::kFrameCount, T::kFeetFrames40, T::kFeetFrames16}) {
    SCOPED_TRACE(format);
    const Timecode timecode(Frames(100, kFrameRate_Film24), kFrameRate_Film24, format);
    int h = 7, m = 8, s = 9;
    std::int64_t f = 10;
    const Ostra::Result result = timecode.GetHMSF(h, m, s, f);
    EXPECT_EQ(0x80000000u, static_cast<std::uint32_t>(result));
    EXPECT_FALSE(strata::ResultSucceeded(result));
    EXPECT_EQ(7, h);
    EXPECT_EQ(8, m);
    EXPECT_EQ(9, s);
    EXPECT_EQ(10, f);
  }
}

TEST(TimecodeIncrement, AnyNegativeFieldMovesBackByAllMagnitudes) {
  const FrameRate rate = kFrameRate_VideoPAL;
  const struct {
    int h, m, s, f;
    std::int64_t movedFrames;
  } rows[] = {
      {0, 1, -5, 0, -(65 * 25)}, {0, 1, 5, 0, 65 * 25},  {1, 0, 0, -1, -(3600 * 25 + 1)},
      {0, 0, 0, 30, 30},         {-2, 0, 0, 0, -(2 * 3600 * 25)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << row.h << "," << row.m << "," << row.s << "," << row.f);
    Timecode timecode(Frames(1000, rate), rate, T::kTimecode25);
    timecode.IncrementHMSF(row.h, row.m, row.s, row.f);
    EXPECT_EQ(Frames(1000 + row.movedFrames, rate), timecode.GetTime());
  }
  // The magnitude of INT_MIN frames is taken whole; the move saturates.
  Timecode far(kTime_Zero, rate, T::kTimecode25);
  far.IncrementHMSF(0, 0, 0, INT_MIN);
  EXPECT_EQ(TickTime::Min(), far.GetTime());
  far.IncrementHMSF(0, 0, 0, INT_MAX);
  EXPECT_EQ(Frames(INT_MAX, rate) + TickTime::Min(), far.GetTime());

  // Drop-frame fields are labels: one hour is 107,892 frames.
  Timecode ntsc;
  ntsc.IncrementHMSF(1, 0, 0, 0);
  EXPECT_EQ(Frames(107892, kFrameRate_VideoNTSC), ntsc.GetTime());
  EXPECT_EQ("01:00:00;00", Text(ntsc));
}

TEST(TimecodeIncrement, FeetAreSixteenFramesOnlyInTheSixteenFrameFormat) {
  const struct {
    T::Type format;
    int feet, frames;
    std::int64_t moved;
  } rows[] = {
      {T::kFeetFrames16, 1, 0, 16},  {T::kFeetFrames40, 1, 0, 40}, {T::kTimecode24, 1, 0, 40},
      {T::kFeetFrames16, 2, -3, 29}, {T::kFeetFrames40, -1, 0, -40},
      // 32-bit arithmetic wraps: INT_MAX feet of 16 frames is -16 frames.
      {T::kFeetFrames16, INT_MAX, 0, -16},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << row.format << " " << row.feet << "+" << row.frames);
    Timecode timecode(Frames(500, kFrameRate_Film24), kFrameRate_Film24, row.format);
    timecode.IncrementFeetFrames(row.feet, row.frames);
    EXPECT_EQ(Frames(500 + row.moved, kFrameRate_Film24), timecode.GetTime());
  }
  Timecode noRate(TickTime(5), kFrameRate_None, T::kFeetFrames16);
  noRate.IncrementFeetFrames(3, 3);
  EXPECT_EQ(TickTime(5), noRate.GetTime());
}

TEST(TimecodeConform, ScalesTheFrameFieldAndKeepsTheReading) {
  const FrameRate rate30 = kFrameRate_Video30;
  const struct {
    TickTime time;
    FrameRate rate;
    T::Type format;
    FrameRate targetRate;
    T::Type targetFormat;
    const char* expected;
  } rows[] = {
      {Frames(10, kFrameRate_Film24), kFrameRate_Film24, T::kTimecode24, rate30, T::kTimecode30,
       "00:00:00:13"},  // 12.5 rounds up
      {Frames((3600 + 60) * 24 + 12, kFrameRate_Film24), kFrameRate_Film24, T::kTimecode24,
       kFrameRate_VideoNTSC, T::kTimecodeNTSCDrop, "01:01:00;15"},  // 14.985 rounds to 15
      {Frames(59, kFrameRate_Video60), kFrameRate_Video60, T::kTimecode60, kFrameRate_Film24,
       T::kTimecode24, "00:00:01:00"},  // 23.6 rounds to 24: a whole second
      {Frames(-25, kFrameRate_VideoPAL), kFrameRate_VideoPAL, T::kTimecode25, rate30,
       T::kTimecode30, "23:00:01:00"},  // the wrapped reading, sign dropped
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.expected);
    const Timecode source(row.time, row.rate, row.format);
    Timecode out;
    EXPECT_EQ(Ostra::kSuccess,
              Timecode::ConformTimecode(source, row.targetRate, row.targetFormat, out));
    EXPECT_EQ(row.targetRate, out.GetFrameRate());
    EXPECT_EQ(TimeDisplay(row.targetFormat), out.GetFormat());
    EXPECT_EQ(row.expected, Text(out));
  }
}

TEST(TimecodeConform, CopiesWhenNothingToDoOrWhenItCannot) {
  const Timecode::Style style = MakeStyle(0, true, true, true, false);
  const Timecode source(Frames(-1234, kFrameRate_VideoNTSC), kFrameRate_VideoNTSC,
                        T::kTimecodeNTSCDrop, style);
  Timecode out(Frames(9, kFrameRate_Film24), kFrameRate_Film24, T::kTimecode24);
  EXPECT_EQ(Ostra::kSuccess, Timecode::ConformTimecode(source, kFrameRate_VideoNTSC,
                                                       T::kTimecodeNTSCDrop, out));
  EXPECT_EQ(source.GetTime(), out.GetTime());
  EXPECT_EQ(Text(source), Text(out));
  EXPECT_EQ(0xFu, Timecode::GetFormattingFlags(out.GetStyle()).Get());

  out = Timecode();
  EXPECT_EQ(Ostra::eFailure,
            Timecode::ConformTimecode(source, kFrameRate_Film24, T::kFeetFrames16, out));
  EXPECT_EQ(source.GetTime(), out.GetTime());
  EXPECT_EQ(kFrameRate_VideoNTSC, out.GetFrameRate());
  const Timecode feet(Frames(3, kFrameRate_Film24), kFrameRate_Film24, T::kFeetFrames40);
  EXPECT_EQ(Ostra::eFailure, Timecode::ConformTimecode(feet, kFrameRate_Film24, T::kTimecode24, out));
  EXPECT_EQ(TimeDisplay(T::kFeetFrames40), out.GetFormat());

  // The output may be the source itself.
  Timecode inPlace(Frames(10, kFrameRate_Film24), kFrameRate_Film24, T::kTimecode24);
  EXPECT_EQ(Ostra::kSuccess,
            Timecode::ConformTimecode(inPlace, kFrameRate_Video30, T::kTimecode30, inPlace));
  EXPECT_EQ("00:00:00:13", Text(inPlace));

  // A source without a rate has no frames to scale; nothing breaks.
  const Timecode noRate(TickTime(77), kFrameRate_None, T::kTimecode24);
  EXPECT_EQ(Ostra::kSuccess, Timecode::ConformTimecode(noRate, kFrameRate_Video30, T::kTimecode30, out));
  EXPECT_EQ(kTime_Zero, out.GetTime());
}

TEST(TimecodeCopies, AreIndependentValues) {
  Timecode original(Frames(42, kFrameRate_VideoPAL), kFrameRate_VideoPAL, T::kTimecode25,
                    MakeStyle(0, false, true, false, false));
  Timecode copy(original);
  copy.SetTime(Frames(7, kFrameRate_VideoPAL));
  copy.SetFormat(T::kTimecode30, kFrameRate_Video30);
  copy.SetStyle(Timecode::Style());
  EXPECT_EQ(Frames(42, kFrameRate_VideoPAL), original.GetTime());
  EXPECT_EQ(kFrameRate_VideoPAL, original.GetFrameRate());
  EXPECT_EQ(0u, original.GetStyle().mStyleValue);

  Timecode assigned;
  assigned = original;
  original.SetTime(kTime_Zero);
  EXPECT_EQ(Frames(42, kFrameRate_VideoPAL), assigned.GetTime());
  EXPECT_TRUE(assigned.GetStyle().mAllowNegative);
  EXPECT_EQ("0:00:01:17", Text(assigned));

  Timecode& self = assigned;
  assigned = self;
  EXPECT_EQ("0:00:01:17", Text(assigned));
}

}  // namespace
