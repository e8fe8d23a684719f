#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "stratamedia/StrataMedia.h"

namespace {

using namespace stratamedia;
typedef TimeDisplayType T;
typedef TimecodeFlags F;

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
const FrameRate kNTSC = kFrameRate_VideoNTSC;

TickTime Frame(std::int64_t inFrame, FrameRate inRate) { return FramesToTime(inFrame, inRate); }

std::string Text(TickTime inTime, FrameRate inRate, TimeDisplay inFormat, unsigned inFlags = 0) {
  return strata::string::UTF16toStdString(TimeToTimecode(inTime, inRate, inFormat, inFlags));
}

TickTime Parse(const std::string& inText, FrameRate inRate, TimeDisplay inFormat,
               unsigned inFlags = 0) {
  return TimecodeToTime(strata::string::StdToUTF16String(inText), inRate, inFormat, inFlags);
}

// The rate each format is normally shown at.
FrameRate RateOf(T::Type inFormat) {
  switch (inFormat) {
    case T::kTimecode25: case T::kFrameCount: return kFrameRate_VideoPAL;
    case T::kTimecodeNTSCDrop: case T::kTimecodeNTSCNonDrop: return kNTSC;
    case T::kTimecode30: return kFrameRate_Video30;
    case T::kTimecode50: return kFrameRate_Video50;
    case T::kTimecodeNTSC60Drop: case T::kTimecodeNTSC60NonDrop: return kFrameRate_VideoNTSC60;
    case T::kTimecode60: return kFrameRate_Video60;
    case T::kTimecodeFilmNTSC: return kFrameRate_FilmNTSC;
    default: return kFrameRate_Film24;
  }
}

TEST(DropFrame, LabelsMatchTheBroadcastCount) {
  const struct {
    std::int64_t frame;
    T::Type format;
    const char* text;
  } rows[] = {
      {1799, T::kTimecodeNTSCDrop, "00:00:59;29"},   {1800, T::kTimecodeNTSCDrop, "00:01:00;02"},
      {3598, T::kTimecodeNTSCDrop, "00:02:00;02"},   {17982, T::kTimecodeNTSCDrop, "00:10:00;00"},
      {19782, T::kTimecodeNTSCDrop, "00:11:00;02"},  {107892, T::kTimecodeNTSCDrop, "01:00:00;00"},
      {2589407, T::kTimecodeNTSCDrop, "23:59:59;29"}, {3600, T::kTimecodeNTSC60Drop, "00:01:00;04"},
      {35964, T::kTimecodeNTSC60Drop, "00:10:00;00"}, {107892, T::kTimecodeNTSCNonDrop, "00:59:56:12"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(row.text, Text(Frame(row.frame, RateOf(row.format)), RateOf(row.format), row.format));
  }
  // Every frame of a day has its own label, in order, and reads back.
  strata::UTF16String previous;
  for (std::int64_t frame = 0; frame < 2589408; ++frame) {
    const strata::UTF16String text = TimeToTimecode(Frame(frame, kNTSC), kNTSC, T::kTimecodeNTSCDrop);
    ASSERT_LT(previous, text) << frame;
    ASSERT_EQ(Frame(frame, kNTSC), TimecodeToTime(text, kNTSC, T::kTimecodeNTSCDrop)) << frame;
    previous = text;
  }
  EXPECT_EQ("00:00:00;00", Text(Frame(2589408, kNTSC), kNTSC, T::kTimecodeNTSCDrop));
}

TEST(TimecodeText, RoundTripsOverAWholeDayAtEveryFormat) {
  for (int code = T::kTimecode24; code <= T::kFeetFrames16; ++code) {
    const T::Type format = static_cast<T::Type>(code);
    const FrameRate rate = RateOf(format);
    SCOPED_TRACE(code);
    const std::int64_t day = TimeToFrames(TickTime(24 * 3600 * kTicksPerSecond), rate);
    // A prime stride meets every position in a minute; +-1 crosses boundaries.
    for (std::int64_t base = 0; base < day; base += 7919) {
      for (std::int64_t frame : {base, base + 1, base - 1}) {
        if (frame < 0 || frame >= day) continue;
        const TickTime start = Frame(frame, rate);
        // Anywhere inside the frame shows that frame.
        const TickTime inside(start.GetTicks() + rate.GetTicksPerFrame() - 1);
        ASSERT_EQ(start, TimecodeToTime(TimeToTimecode(inside, rate, format), rate, format)) << frame;
        unsigned h, m, s;
        std::uint64_t f;
        bool negative;
        TimeToHMSF(h, m, s, f, negative, inside, rate, format);
        ASSERT_EQ(start, HMSFToTime(h, m, s, f, negative, rate, format)) << frame;
      }
    }
  }
}

TEST(TimecodeText, FlagsShapeTheText) {
  const TickTime secondBefore = Frame(-30, kNTSC);
  const struct {
    TickTime time;
    T::Type format;
    unsigned flags;
    const char* text;
  } rows[] = {
      {Frame(1800, kNTSC), T::kTimecodeNTSCDrop, F::kNoLeadingZeros, "0:01:00;02"},
      {Frame(1800, kNTSC), T::kTimecodeNTSCDrop, F::kNoDropFrameSeparator | F::kSignedPositive,
       "+00:01:00:02"},
      {secondBefore, T::kTimecodeNTSCDrop, F::kSignedPositive, "23:59:59;00"},  // wrapped, no '+'
      {secondBefore, T::kTimecodeNTSCDrop, F::kSignedNegative, "-00:00:01;00"},
      {TickTime(-1), T::kTimecodeNTSCDrop, F::kSignedNegative | F::kNoLeadingZeros, "-0:00:00;01"},
      {Frame(25 * 3600 * 25 + 3, kFrameRate_VideoPAL), T::kTimecode25, 0, "01:00:00:03"},
      {Frame(25 * 3600 * 25 + 3, kFrameRate_VideoPAL), T::kTimecode25, F::kUnwrappedHours,
       "25:00:00:03"},
      {Frame(1000LL * 3600 * 24, kFrameRate_Film24), T::kTimecode24,
       F::kUnwrappedHours | F::kNoLeadingZeros, "1000:00:00:00"},
      {Frame(-3, kFrameRate_VideoPAL), T::kFrameCount, 0, "-3"},
      {Frame(1234, kFrameRate_VideoPAL), T::kFrameCount, F::kSignedPositive, "+1234"},
      {Frame(16 * 12 + 7, kFrameRate_Film24), T::kFeetFrames16, 0, "0012+07"},
      {Frame(40 * 12 + 7, kFrameRate_Film24), T::kFeetFrames40, F::kNoLeadingZeros, "12+07"},
      {Frame(-41, kFrameRate_Film24), T::kFeetFrames40, 0, "-0001+01"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(row.text, Text(row.time, RateOf(row.format), row.format, row.flags));
  }
}

TEST(TimecodeText, ReadsLooseInputAndRejectsTheRest) {
  const std::int64_t kUnreadable = kMin;
  const struct {
    const char* text;
    T::Type format;
    unsigned flags;
    std::int64_t frame;
  } rows[] = {
      {"00.01.00.02", T::kTimecodeNTSCDrop, 0, 1800},
      {"  \t00:01:00:02 \r\n", T::kTimecodeNTSCDrop, 0, 1800},
      {"1:00;02", T::kTimecodeNTSCDrop, 0, 1800},      // minutes, seconds, frames
      {"+0:0:1", T::kTimecodeNTSCDrop, 0, 1},
      {"-00:00:01:00", T::kTimecodeNTSCDrop, 0, -30},
      {"9999999", T::kTimecode25, 0, 9999999},         // a lone field counts frames
      {"00:01:00;00", T::kTimecodeNTSCDrop, 0, 1800},  // skipped label: the next one
      {"00:01:00;01", T::kTimecodeNTSC60Drop, 0, 3600},
      {"25:00:00:00", T::kTimecode25, F::kUnwrappedHours, 25 * 3600 * 25},
      {"-12", T::kFrameCount, 0, -12},
      {"0012+07", T::kFeetFrames16, 0, 16 * 12 + 7},
      {"-1:1", T::kFeetFrames40, 0, -41},
      {"", T::kTimecodeNTSCDrop, 0, kUnreadable},
      {" - ", T::kTimecodeNTSCDrop, 0, kUnreadable},
      {"12:xx:00:00", T::kTimecodeNTSCDrop, 0, kUnreadable},
      {"00:00:00:00:00", T::kTimecodeNTSCDrop, 0, kUnreadable},
      {"1::2", T::kTimecodeNTSCDrop, 0, kUnreadable},
      {"1:", T::kTimecodeNTSCDrop, 0, kUnreadable},
      {"1 2", T::kTimecodeNTSCDrop, 0, kUnreadable},
      {"--1", T::kTimecodeNTSCDrop, 0, kUnreadable},
      {"00:60:00:00", T::kTimecodeNTSCDrop, 0, kUnreadable},
      {"00:00:00:30", T::kTimecodeNTSCDrop, 0, kUnreadable},
      {"24:00:00:00", T::kTimecodeNTSCDrop, 0, kUnreadable},
      {"\xEF\xBC\x91", T::kTimecodeNTSCDrop, 0, kUnreadable},  // a full-width digit
      {"1:2", T::kFrameCount, 0, kUnreadable},
      {"1+40", T::kFeetFrames40, 0, kUnreadable},
      {"1+2+3", T::kFeetFrames40, 0, kUnreadable},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const FrameRate rate = RateOf(row.format);
    const TickTime expected = row.frame == kUnreadable ? kTime_Zero : Frame(row.frame, rate);
    EXPECT_EQ(expected, Parse(row.text, rate, row.format, row.flags));
  }
  const std::string digits(10000, '9');
  EXPECT_EQ(kTime_Zero, Parse(digits + ":", kNTSC, T::kTimecodeNTSCDrop));
  // Numbers beyond the range saturate.
  EXPECT_EQ(TickTime::Max(), Parse(digits, kNTSC, T::kTimecodeNTSCDrop));
  EXPECT_EQ(TickTime::Min(), Parse("-" + digits, kNTSC, T::kFrameCount));
  EXPECT_EQ(TickTime::Max(), Parse(digits + ":00:00;00", kNTSC, T::kTimecodeNTSCDrop, F::kUnwrappedHours));
}

TEST(TimecodeText, ExtremeTimesAndRatesStayDefined) {
  const unsigned flags = F::kSignedNegative | F::kUnwrappedHours;
  for (int code = T::kTimecode24; code <= T::kFeetFrames16; ++code) {
    const T::Type format = static_cast<T::Type>(code);
    for (FrameRate rate : {RateOf(format), FrameRate(1), FrameRate(kMax - 1)}) {
      for (std::int64_t ticks : {kMax, kMin, kMin + 1, std::int64_t(-1)}) {
        SCOPED_TRACE(::testing::Message() << code << " rate " << rate.GetTicksPerFrame()
                                          << " ticks " << ticks);
        const strata::UTF16String text = TimeToTimecode(TickTime(ticks), rate, format, flags);
        ASSERT_FALSE(text.empty());
        // The frame's start, clamped at the bottom of the range.
        EXPECT_EQ(FramesToTime(TimeToFrames(TickTime(ticks), rate), rate),
                  TimecodeToTime(text, rate, format, flags));
      }
    }
  }
  for (FrameRate bad : {kFrameRate_None, FrameRate(0), FrameRate(-5)}) {
    SCOPED_TRACE(bad.GetTicksPerFrame());
    EXPECT_TRUE(TimeToTimecode(TickTime(123), bad, T::kTimecodeNTSCDrop).empty());
    EXPECT_EQ(kTime_Zero, Parse("00:00:01:00", bad, T::kTimecodeNTSCDrop));
    unsigned h = 9, m = 9, s = 9;
    std::uint64_t f = 9;
    bool negative = true;
    TimeToHMSF(h, m, s, f, negative, TickTime(kMax), bad, T::kTimecode25);
    EXPECT_EQ(0u, h + m + s + f);
    EXPECT_FALSE(negative);
    EXPECT_EQ(kTime_Zero, HMSFToTime(1, 0, 0, 0, false, bad, T::kTimecode25));
  }
  const TimeDisplay unknown(static_cast<T::Type>(99));
  EXPECT_TRUE(TimeToTimecode(TickTime(123), kFrameRate_Film24, unknown).empty());
  EXPECT_EQ(kTime_Zero, Parse("1", kFrameRate_Film24, unknown));
  EXPECT_EQ(TickTime::Max(), HMSFToTime(0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu,
                                        std::numeric_limits<std::uint64_t>::max(), false, kNTSC,
                                        T::kTimecodeNTSCDrop));
}

TEST(HMSF, SplitsMagnitudesAndCarriesOversizedFields) {
  unsigned h, m, s;
  std::uint64_t f;
  bool negative;
  TimeToHMSF(h, m, s, f, negative, Frame(-1800, kNTSC), kNTSC, T::kTimecodeNTSCDrop);
  EXPECT_EQ((std::vector<std::uint64_t>{0, 1, 0, 2}), (std::vector<std::uint64_t>{h, m, s, f}));
  EXPECT_TRUE(negative);
  TimeToHMSF(h, m, s, f, negative, Frame(30 * 3600 * 25, kFrameRate_VideoPAL), kFrameRate_VideoPAL,
             T::kTimecode25);
  EXPECT_EQ(30u, h);  // no wrap at 24

  const FrameRate pal = kFrameRate_VideoPAL;
  EXPECT_EQ(Frame(65 * 25 + 3, pal), HMSFToTime(0, 0, 65, 3, false, pal, T::kTimecode25));
  EXPECT_EQ(Frame(2 * 25 + 40, pal), HMSFToTime(0, 0, 2, 40, false, pal, T::kTimecode25));
  // Seconds carry into minutes before labels are dropped.
  EXPECT_EQ(Frame(1800, kNTSC), HMSFToTime(0, 0, 60, 2, false, kNTSC, T::kTimecodeNTSCDrop));
  // Frame counts split at the rate's whole frames per second.
  TimeToHMSF(h, m, s, f, negative, Frame(3 * 25 + 4, pal), pal, T::kFrameCount);
  EXPECT_EQ(3u, s);
  EXPECT_EQ(4u, f);

  for (int code = 95; code < 120; ++code) {
    SCOPED_TRACE(code);
    const TimeDisplay format(static_cast<T::Type>(code));
    const bool hmsf = (code >= 100 && code <= 108) || code == 110;
    const bool drop = code == 102 || code == 106;
    EXPECT_EQ(hmsf, IsHMSFTimeDisplay(format, true));
    EXPECT_EQ(hmsf && !drop, IsHMSFTimeDisplay(format, false));
    EXPECT_EQ(drop, IsDropFrameTimeDisplay(format));
    EXPECT_EQ(hmsf, GetNominalFramesPerSecond(format) != 0);
  }
}

}  // namespace
