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

const FrameRate kNTSC = kFrameRate_VideoNTSC;
const FrameRate kPAL = kFrameRate_VideoPAL;
const FrameRate kFilm = kFrameRate_Film24;

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
  EXPECT_EQ(kNTSC, timecode.GetFrameRate());
  EXPECT_EQ(TimeDisplay(T::kTimecodeNTSCDrop), timecode.GetFormat());
  const Timecode::Style style = timecode.GetStyle();
  EXPECT_EQ(1u, style.mStyleValue);
  EXPECT_FALSE(style.mOptionA || style.mAllowNegative || style.mOptionB || style.mOptionC);
  EXPECT_EQ("00:00:00;00", Text(timecode));
}

TEST(Timecode, StyleMapsToFlagsForTextAndParsing) {
  const struct {
    Timecode::Style style;
    unsigned formatting, parsing;
    const char* minuteOne;  // frame 1800
  } rows[] = {
      {Timecode::Style(), 0x0, 0, "00:01:00;02"},
      {MakeStyle(0, false, false, false, false), 0x1, 0, "0:01:00;02"},
      {MakeStyle(7, true, true, true, true), 0x2E, 0x8, "+00:01:00:02"},
      {MakeStyle(0, true, true, true, true), 0x2F, 0x8, "+0:01:00:02"},
      {MakeStyle(1, false, true, false, false), 0x4, 0, "00:01:00;02"},
      {MakeStyle(1, false, false, true, false), 0x8, 0x8, "00:01:00;02"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.formatting);
    EXPECT_EQ(row.formatting, Timecode::GetFormattingFlags(row.style).Get());
    EXPECT_EQ(row.parsing, Timecode::GetParsingFlags(row.style).Get());
    Timecode timecode(Frames(1800, kNTSC), kNTSC, T::kTimecodeNTSCDrop, row.style);
    EXPECT_EQ(row.minuteOne, Text(timecode));
    timecode.SetTime(timecode.GetString());
    EXPECT_EQ(Frames(1800, kNTSC), timecode.GetTime());
  }

  // Only mOptionB reaches the parser.
  Timecode timecode(kTime_Zero, kPAL, T::kTimecode25);
  timecode.SetTime(L"25:00:00:00");
  EXPECT_EQ(kTime_Zero, timecode.GetTime());
  timecode.SetStyle(MakeStyle(1, false, false, true, false));
  timecode.SetTime(L"25:00:00:00");
  EXPECT_EQ(Frames(25 * 3600 * 25, kPAL), timecode.GetTime());
  EXPECT_EQ(Frames(25 * 3600 * 25, kPAL),
            Timecode::StringToTime(L"25:00:00:00", kPAL, T::kTimecode25, true));
  EXPECT_EQ(kTime_Zero, Timecode::StringToTime(L"25:00:00:00", kPAL, T::kTimecode25, false));
}

TEST(TimecodeHMSF, NegativeReadingsAreTwentyThreeMinusHoursUnlessAllowed) {
  const struct {
    std::int64_t frame;
    bool allowNegative;
    int hours, minutes, seconds, frames;
  } rows[] = {
      {-30, false, 23, 0, 1, 0},  // not 23:59:59
      {-30, true, 0, 0, 1, 0},
      {-107892 - 1800, false, 22, 1, 0, 2},
      {-1, false, 23, 0, 0, 1},
      {107892 + 17982 + 5, false, 1, 10, 0, 5},
      // The day boundary (a day is 2,589,408 frames): 23 - hours, no modulo.
      {-2589407, false, 0, 59, 59, 29},
      {-2589408, false, -1, 0, 0, 0},
      {-2589409, false, -1, 0, 0, 1},
      {-2589408 - 107892, false, -2, 0, 0, 0},
      {-2589408 - 107892, true, 25, 0, 0, 0},
      {-2 * 2589408, false, -25, 0, 0, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.frame);
    const Timecode timecode(Frames(row.frame, kNTSC), kNTSC, T::kTimecodeNTSCDrop,
                            MakeStyle(1, false, row.allowNegative, false, false));
    int h = -1, m = -1, s = -1;
    std::int64_t f = -1;
    EXPECT_EQ(Ostra::kSuccess, timecode.GetHMSF(h, m, s, f));
    EXPECT_EQ(row.hours, h);
    EXPECT_EQ(row.minutes, m);
    EXPECT_EQ(row.seconds, s);
    EXPECT_EQ(row.frames, f);
  }
  {
    // Hours beyond int saturate: a rate of one tick a frame reaches them.
    int h = 0, m = 0, s = 0;
    std::int64_t f = 0;
    Timecode(TickTime::Min(), FrameRate(1), T::kTimecode24).GetHMSF(h, m, s, f);
    EXPECT_EQ(INT_MIN, h);
    Timecode(TickTime::Max(), FrameRate(1), T::kTimecode24).GetHMSF(h, m, s, f);
    EXPECT_EQ(INT_MAX, h);
  }
  for (T::Type format : {T::kFrameCount, T::kFeetFrames40, T::kFeetFrames16}) {
    SCOPED_TRACE(format);
    int h = 7, m = 8, s = 9;
    std::int64_t f = 10;
    EXPECT_EQ(0x80000000u,
              static_cast<std::uint32_t>(Timecode(Frames(100, kFilm), kFilm, format).GetHMSF(h, m, s, f)));
    EXPECT_EQ(7 + 8 + 9 + 10, h + m + s + f);  // nothing written
  }
}

TEST(TimecodeIncrement, AnyNegativeFieldMovesBackByAllMagnitudes) {
  const struct {
    int h, m, s, f;
    std::int64_t moved;
  } rows[] = {
      {0, 1, -5, 0, -(65 * 25)}, {0, 1, 5, 0, 65 * 25}, {1, 0, 0, -1, -(3600 * 25 + 1)},
      {0, 0, 0, 30, 30},         {-2, 0, 0, 0, -(2 * 3600 * 25)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << row.h << "," << row.m << "," << row.s << "," << row.f);
    Timecode timecode(Frames(1000, kPAL), kPAL, T::kTimecode25);
    timecode.IncrementHMSF(row.h, row.m, row.s, row.f);
    EXPECT_EQ(Frames(1000 + row.moved, kPAL), timecode.GetTime());
  }
  // INT_MIN's magnitude is taken whole; the move saturates.
  Timecode far(kTime_Zero, kPAL, T::kTimecode25);
  far.IncrementHMSF(0, 0, 0, INT_MIN);
  EXPECT_EQ(TickTime::Min(), far.GetTime());
  // Drop-frame fields are labels: one hour is 107,892 frames.
  Timecode ntsc;
  ntsc.IncrementHMSF(1, 0, 0, 0);
  EXPECT_EQ(Frames(107892, kNTSC), ntsc.GetTime());
}

TEST(TimecodeIncrement, FeetAreSixteenFramesOnlyInTheSixteenFrameFormat) {
  const struct {
    T::Type format;
    int feet, frames;
    std::int64_t moved;
  } rows[] = {
      {T::kFeetFrames16, 1, 0, 16},  {T::kFeetFrames40, 1, 0, 40},     {T::kTimecode24, 1, 0, 40},
      {T::kFeetFrames16, 2, -3, 29}, {T::kFeetFrames40, -1, 0, -40},
      {T::kFeetFrames16, INT_MAX, 0, -16},  // 32-bit arithmetic wraps
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << row.format << " " << row.feet << "+" << row.frames);
    Timecode timecode(Frames(500, kFilm), kFilm, row.format);
    timecode.IncrementFeetFrames(row.feet, row.frames);
    EXPECT_EQ(Frames(500 + row.moved, kFilm), timecode.GetTime());
  }
}

TEST(TimecodeConform, ScalesTheFrameFieldAndKeepsTheReading) {
  const struct {
    TickTime time;
    FrameRate rate;
    T::Type format;
    FrameRate targetRate;
    T::Type targetFormat;
    std::int64_t frame;  // of the result, at the target rate
  } rows[] = {
      {Frames(10, kFilm), kFilm, T::kTimecode24, kFrameRate_Video30, T::kTimecode30,
       13},  // 12.5 rounds up
      {Frames((3600 + 60) * 24 + 12, kFilm), kFilm, T::kTimecode24, kNTSC, T::kTimecodeNTSCDrop,
       107892 + 1800 + 13},  // 01:01:00;15, from 14.985
      {Frames(59, kFrameRate_Video60), kFrameRate_Video60, T::kTimecode60, kFilm, T::kTimecode24,
       24},  // 23.6 rounds to a whole second
      {Frames(-25, kPAL), kPAL, T::kTimecode25, kFrameRate_Video30, T::kTimecode30,
       23 * 3600 * 30 + 30},  // the reading 23:00:01:00; the sign is dropped
      {TickTime(77), kFrameRate_None, T::kTimecode24, kFrameRate_Video30, T::kTimecode30,
       0},  // no rate, no frames to scale
      // From a day before zero the hours of the reading are negative and
      // the result lies before zero.
      {Frames(-24 * 3600 * 25 + 1, kPAL), kPAL, T::kTimecode25, kFilm, T::kTimecode24,
       24 * 3600 - 1},  // the reading 00:59:59:24: the last frame within the day
      {Frames(-24 * 3600 * 25, kPAL), kPAL, T::kTimecode25, kFilm, T::kTimecode24, -3600 * 24},
      {Frames(-24 * 3600 * 25 - 1, kPAL), kPAL, T::kTimecode25, kFilm, T::kTimecode24,
       -3600 * 24 - 1},
      {Frames(-25 * 3600 * 25 - 10, kPAL), kPAL, T::kTimecode25, kFilm, T::kTimecode24, -172810},
      {Frames(-48 * 3600 * 25, kPAL), kPAL, T::kTimecode25, kFilm, T::kTimecode24,
       -25 * 3600 * 24},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.frame);
    Timecode out;
    EXPECT_EQ(Ostra::kSuccess, Timecode::ConformTimecode(Timecode(row.time, row.rate, row.format),
                                                         row.targetRate, row.targetFormat, out));
    EXPECT_EQ(row.targetRate, out.GetFrameRate());
    EXPECT_EQ(TimeDisplay(row.targetFormat), out.GetFormat());
    EXPECT_EQ(Frames(row.frame, row.targetRate), out.GetTime());
  }
  // The output may be the source itself.
  Timecode inPlace(Frames(10, kFilm), kFilm, T::kTimecode24);
  EXPECT_EQ(Ostra::kSuccess,
            Timecode::ConformTimecode(inPlace, kFrameRate_Video30, T::kTimecode30, inPlace));
  EXPECT_EQ("00:00:00:13", Text(inPlace));
}

TEST(TimecodeConform, CopiesWhenNothingToDoOrWhenItCannot) {
  const Timecode source(Frames(-1234, kNTSC), kNTSC, T::kTimecodeNTSCDrop,
                        MakeStyle(0, true, true, true, false));
  Timecode out(Frames(9, kFilm), kFilm, T::kTimecode24);
  EXPECT_EQ(Ostra::kSuccess, Timecode::ConformTimecode(source, kNTSC, T::kTimecodeNTSCDrop, out));
  EXPECT_EQ(source.GetTime(), out.GetTime());
  EXPECT_EQ(0xFu, Timecode::GetFormattingFlags(out.GetStyle()).Get());

  out = Timecode();
  EXPECT_EQ(Ostra::eFailure, Timecode::ConformTimecode(source, kFilm, T::kFeetFrames16, out));
  EXPECT_EQ(source.GetTime(), out.GetTime());
  EXPECT_EQ(kNTSC, out.GetFrameRate());
  const Timecode feet(Frames(3, kFilm), kFilm, T::kFeetFrames40);
  EXPECT_EQ(Ostra::eFailure, Timecode::ConformTimecode(feet, kFilm, T::kTimecode24, out));
  EXPECT_EQ(TimeDisplay(T::kFeetFrames40), out.GetFormat());
}

TEST(TimecodeCopies, AreIndependentValues) {
  Timecode original(Frames(42, kPAL), kPAL, T::kTimecode25, MakeStyle(0, false, true, false, false));
  Timecode copy(original);
  copy.SetTime(Frames(7, kPAL));
  copy.SetFormat(T::kTimecode30, kFrameRate_Video30);
  copy.SetStyle(Timecode::Style());
  EXPECT_EQ("0:00:01:17", Text(original));

  Timecode assigned;
  assigned = original;
  original.SetTime(kTime_Zero);
  EXPECT_EQ("0:00:01:17", Text(assigned));
  Timecode& self = assigned;
  assigned = self;
  EXPECT_EQ("0:00:01:17", Text(assigned));
}

}  // namespace
