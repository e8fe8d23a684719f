#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "stratamedia/StrataMedia.h"

namespace {

using namespace stratamedia;
typedef TimeDisplayType T;
typedef TimecodeFlags F;

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();

TickTime Frame(std::int64_t inFrame, FrameRate inRate) { return FramesToTime(inFrame, inRate); }

std::string Text(TickTime inTime, FrameRate inRate, TimeDisplay inFormat, unsigned inFlags = 0) {
  return strata::string::UTF16toStdString(TimeToTimecode(inTime, inRate, inFormat, inFlags));
}

TickTime Parse(const std::string& inText, FrameRate inRate, TimeDisplay inFormat,
               unsigned inFlags = 0) {
  return TimecodeToTime(strata::string::StdToUTF16String(inText), inRate, inFormat, inFlags);
}

// Every format with the rate it is normally shown at.
const struct {
  T::Type format;
  FrameRate rate;
} kFormats[] = {
    {T::kTimecode24, kFrameRate_Film24},           {T::kTimecode25, kFrameRate_VideoPAL},
    {T::kTimecodeNTSCDrop, kFrameRate_VideoNTSC},  {T::kTimecodeNTSCNonDrop, kFrameRate_VideoNTSC},
    {T::kTimecode30, kFrameRate_Video30},          {T::kTimecode50, kFrameRate_Video50},
    {T::kTimecodeNTSC60Drop, kFrameRate_VideoNTSC60},
    {T::kTimecodeNTSC60NonDrop, kFrameRate_VideoNTSC60},
    {T::kTimecode60, kFrameRate_Video60},          {T::kFrameCount, kFrameRate_VideoPAL},
    {T::kTimecodeFilmNTSC, kFrameRate_FilmNTSC},   {T::kFeetFrames40, kFrameRate_Film24},
    {T::kFeetFrames16, kFrameRate_Film24},
};

TEST(DropFrame, LabelsMatchTheBroadcastCount) {
  const struct {
    std::int64_t frame;
    T::Type format;
    const char* text;
  } rows[] = {
      {0, T::kTimecodeNTSCDrop, "00:00:00;00"},     {1799, T::kTimecodeNTSCDrop, "00:00:59;29"},
      {1800, T::kTimecodeNTSCDrop, "00:01:00;02"},  {3597, T::kTimecodeNTSCDrop, "00:01:59;29"},
      {3598, T::kTimecodeNTSCDrop, "00:02:00;02"},  {17981, T::kTimecodeNTSCDrop, "00:09:59;29"},
      {17982, T::kTimecodeNTSCDrop, "00:10:00;00"}, {19781, T::kTimecodeNTSCDrop, "00:10:59;29"},
      {19782, T::kTimecodeNTSCDrop, "00:11:00;02"}, {107892, T::kTimecodeNTSCDrop, "01:00:00;00"},
      {2589407, T::kTimecodeNTSCDrop, "23:59:59;29"}, {2589408, T::kTimecodeNTSCDrop, "00:00:00;00"},
      {3599, T::kTimecodeNTSC60Drop, "00:00:59;59"}, {3600, T::kTimecodeNTSC60Drop, "00:01:00;04"},
      {35964, T::kTimecodeNTSC60Drop, "00:10:00;00"}, {215784, T::kTimecodeNTSC60Drop, "01:00:00;00"},
      // The same frames without dropping.
      {1800, T::kTimecodeNTSCNonDrop, "00:01:00:00"}, {107892, T::kTimecodeNTSCNonDrop, "00:59:56:12"},
  };
  for (const auto& row : rows) {
    const FrameRate rate =
        row.format == T::kTimecodeNTSC60Drop ? kFrameRate_VideoNTSC60 : kFrameRate_VideoNTSC;
    SCOPED_TRACE(::testing::Message() << row.format << " frame " << row.frame);
    EXPECT_EQ(row.text, Text(Frame(row.frame, rate), rate, row.format));
    EXPECT_EQ(Frame(row.frame % 2589408, rate), Parse(row.text, rate, row.format));
  }
}

TEST(DropFrame, EveryFrameOfADayHasItsOwnLabelAndReadsBack) {
  const FrameRate rate = kFrameRate_VideoNTSC;
  std::wstring previous;
  for (std::int64_t frame = 0; frame < 2589408; ++frame) {
    const TickTime time = Frame(frame, rate);
    const strata::UTF16String text = TimeToTimecode(time, rate, T::kTimecodeNTSCDrop);
    // Equal widths: text order is time order, so labels never repeat.
    ASSERT_LT(previous, text) << frame;
    ASSERT_EQ(time, TimecodeToTime(text, rate, T::kTimecodeNTSCDrop)) << frame;
    previous = text;
  }
}

TEST(TimecodeText, RoundTripsOverAWholeDayAtEveryFormat) {
  for (const auto& row : kFormats) {
    SCOPED_TRACE(row.format);
    const std::int64_t day = TimeToFrames(TickTime(24 * 3600 * kTicksPerSecond), row.rate);
    // A prime stride visits every frame position within a minute, plus the
    // frames on either side of each minute boundary.
    for (std::int64_t frame = 0; frame < day; frame += 7919) {
      for (std::int64_t near : {frame, frame + 1, frame - 1}) {
        if (near < 0 || near >= day) continue;
        const TickTime time = Frame(near, row.rate);
        // Anywhere inside the frame shows that frame.
        const TickTime inside(time.GetTicks() + row.rate.GetTicksPerFrame() - 1);
        const strata::UTF16String text = TimeToTimecode(inside, row.rate, row.format);
        ASSERT_EQ(time, TimecodeToTime(text, row.rate, row.format))
            << near << " " << strata::string::UTF16toStdString(text);

        unsigned h, m, s;
        std::uint64_t f;
        bool negative;
        TimeToHMSF(h, m, s, f, negative, inside, row.rate, row.format);
        ASSERT_FALSE(negative);
        ASSERT_EQ(time, HMSFToTime(h, m, s, f, false, row.rate, row.format)) << near;
      }
    }
  }
}

TEST(TimecodeText, FlagsShapeTheText) {
  const FrameRate ntsc = kFrameRate_VideoNTSC;
  const TickTime oneSecondBefore(-kTicksPerSecond * 1001 / 1000);  // exactly -30 frames
  const TickTime twentyFiveHours = Frame(25 * 3600 * 25 + 3, kFrameRate_VideoPAL);
  const struct {
    TickTime time;
    FrameRate rate;
    T::Type format;
    unsigned flags;
    const char* text;
  } rows[] = {
      {Frame(1800, ntsc), ntsc, T::kTimecodeNTSCDrop, F::kNoLeadingZeros, "0:01:00;02"},
      {Frame(1800, ntsc), ntsc, T::kTimecodeNTSCDrop, F::kNoDropFrameSeparator, "00:01:00:02"},
      {Frame(1800, ntsc), ntsc, T::kTimecodeNTSCDrop, F::kSignedPositive, "+00:01:00;02"},
      {oneSecondBefore, ntsc, T::kTimecodeNTSCDrop, 0, "23:59:59;00"},
      {oneSecondBefore, ntsc, T::kTimecodeNTSCDrop, F::kSignedNegative, "-00:00:01;00"},
      {oneSecondBefore, ntsc, T::kTimecodeNTSCDrop, F::kSignedPositive, "23:59:59;00"},
      {TickTime(-1), ntsc, T::kTimecodeNTSCDrop, F::kSignedNegative | F::kNoLeadingZeros,
       "-0:00:00;01"},
      {twentyFiveHours, kFrameRate_VideoPAL, T::kTimecode25, 0, "01:00:00:03"},
      {twentyFiveHours, kFrameRate_VideoPAL, T::kTimecode25, F::kUnwrappedHours, "25:00:00:03"},
      {Frame(1000LL * 3600 * 24, kFrameRate_Film24), kFrameRate_Film24, T::kTimecode24,
       F::kUnwrappedHours | F::kNoLeadingZeros, "1000:00:00:00"},
      {Frame(-3, ntsc), ntsc, T::kFrameCount, 0, "-3"},
      {Frame(1234, ntsc), ntsc, T::kFrameCount, F::kSignedPositive | F::kNoLeadingZeros, "+1234"},
      {Frame(16 * 12 + 7, kFrameRate_Film24), kFrameRate_Film24, T::kFeetFrames16, 0, "0012+07"},
      {Frame(40 * 12 + 7, kFrameRate_Film24), kFrameRate_Film24, T::kFeetFrames40,
       F::kNoLeadingZeros, "12+07"},
      {Frame(-41, kFrameRate_Film24), kFrameRate_Film24, T::kFeetFrames40, 0, "-0001+01"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(row.text, Text(row.time, row.rate, row.format, row.flags));
  }
}

TEST(TimecodeText, AcceptsLooseButReadableInput) {
  const FrameRate ntsc = kFrameRate_VideoNTSC;
  const struct {
    const char* text;
    T::Type format;
    unsigned flags;
    std::int64_t frame;
  } rows[] = {
      {"00:01:00;02", T::kTimecodeNTSCDrop, 0, 1800},
      {"00.01.00.02", T::kTimecodeNTSCDrop, 0, 1800},
      {"  \t00:01:00:02 \r\n", T::kTimecodeNTSCDrop, 0, 1800},
      {"1:00;02", T::kTimecodeNTSCDrop, 0, 1800},            // minutes, seconds, frames
      {"+0:0:1", T::kTimecodeNTSCDrop, 0, 1},
      {"-00:00:01:00", T::kTimecodeNTSCDrop, 0, -30},
      {"45", T::kTimecodeNTSCDrop, 0, 45},                   // a lone field counts frames
      {"9999999", T::kTimecode25, 0, 9999999},
      {"00:01:00;00", T::kTimecodeNTSCDrop, 0, 1800},        // skipped label: the next one
      {"00:01:00;01", T::kTimecodeNTSC60Drop, 0, 3600},
      {"00:10:00;00", T::kTimecodeNTSCDrop, 0, 17982},       // tenth minute keeps ;00
      {"25:00:00:00", T::kTimecode25, F::kUnwrappedHours, 25 * 3600 * 25},
      {"-12", T::kFrameCount, 0, -12},
      {"0012+07", T::kFeetFrames16, 0, 16 * 12 + 7},
      {"12:07", T::kFeetFrames40, 0, 40 * 12 + 7},
      {"-1+1", T::kFeetFrames40, 0, -41},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const FrameRate rate = row.format == T::kTimecodeNTSC60Drop ? kFrameRate_VideoNTSC60 : ntsc;
    EXPECT_EQ(Frame(row.frame, rate), Parse(row.text, rate, row.format, row.flags));
  }
}

TEST(TimecodeText, UnreadableTextYieldsTimeZero) {
  const std::string rows[] = {
      "", "   ", "-", "+", "abc", "12:xx:00:00", "00:00:00:00:00", "1::2", ":1", "1:", "1 2",
      "00:60:00:00", "00:00:60:00", "00:00:00:30", "24:00:00:00", "--1", "1-", "0x10",
      "\xEF\xBC\x91",  // a full-width digit
      std::string(10000, '7') + ":",
  };
  const FrameRate rate = kFrameRate_VideoNTSC;
  for (const std::string& text : rows) {
    SCOPED_TRACE(text.substr(0, 40));
    EXPECT_EQ(kTime_Zero, Parse(text, rate, T::kTimecodeNTSCDrop));
  }
  EXPECT_EQ(kTime_Zero, Parse("1:2", rate, T::kFrameCount));
  EXPECT_EQ(kTime_Zero, Parse("1+40", rate, T::kFeetFrames40));
  EXPECT_EQ(kTime_Zero, Parse("1+2+3", rate, T::kFeetFrames40));
}

TEST(TimecodeText, HugeValuesSaturateAtTheEndsOfTheRange) {
  const FrameRate rate = kFrameRate_VideoNTSC;
  const std::string digits(10000, '9');
  EXPECT_EQ(TickTime::Max(), Parse(digits, rate, T::kTimecodeNTSCDrop));
  EXPECT_EQ(TickTime::Min(), Parse("-" + digits, rate, T::kFrameCount));
  EXPECT_EQ(TickTime::Max(),
            Parse(digits + ":00:00;00", rate, T::kTimecodeNTSCDrop, F::kUnwrappedHours));
  EXPECT_EQ(TickTime::Max(), HMSFToTime(0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu,
                                        std::numeric_limits<std::uint64_t>::max(), false, rate,
                                        T::kTimecodeNTSCDrop));
}

TEST(TimecodeText, ExtremeTimesAndRatesStayDefined) {
  for (const auto& row : kFormats) {
    for (FrameRate rate : {row.rate, FrameRate(1), FrameRate(kMax - 1)}) {
      for (std::int64_t ticks : {kMax, kMin, kMin + 1, std::int64_t(-1)}) {
        SCOPED_TRACE(::testing::Message() << row.format << " rate " << rate.GetTicksPerFrame()
                                          << " ticks " << ticks);
        const unsigned flags = F::kSignedNegative | F::kUnwrappedHours;
        const strata::UTF16String text = TimeToTimecode(TickTime(ticks), rate, row.format, flags);
        ASSERT_FALSE(text.empty());
        // The frame's start, clamped at the bottom of the range.
        const std::int64_t frame = TimeToFrames(TickTime(ticks), rate);
        EXPECT_EQ(FramesToTime(frame, rate), TimecodeToTime(text, rate, row.format, flags));
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
    EXPECT_EQ(0u, h + m + s);
    EXPECT_EQ(0u, f);
    EXPECT_FALSE(negative);
    EXPECT_EQ(kTime_Zero, HMSFToTime(1, 0, 0, 0, false, bad, T::kTimecode25));
  }
  const TimeDisplay unknown(static_cast<T::Type>(99));
  EXPECT_TRUE(TimeToTimecode(TickTime(123), kFrameRate_Film24, unknown).empty());
  EXPECT_EQ(kTime_Zero, Parse("1", kFrameRate_Film24, unknown));
}

TEST(HMSF, SplitsMagnitudesAndCarriesOversizedFields) {
  const FrameRate ntsc = kFrameRate_VideoNTSC;
  unsigned h, m, s;
  std::uint64_t f;
  bool negative;
  TimeToHMSF(h, m, s, f, negative, Frame(-1800, ntsc), ntsc, T::kTimecodeNTSCDrop);
  EXPECT_EQ(0u, h);
  EXPECT_EQ(1u, m);
  EXPECT_EQ(0u, s);
  EXPECT_EQ(2u, f);
  EXPECT_TRUE(negative);
  EXPECT_EQ(Frame(-1800, ntsc), HMSFToTime(0, 1, 0, 2, true, ntsc, T::kTimecodeNTSCDrop));

  TimeToHMSF(h, m, s, f, negative, Frame(30 * 3600 * 25, kFrameRate_VideoPAL),
             kFrameRate_VideoPAL, T::kTimecode25);
  EXPECT_EQ(30u, h);  // no wrap at 24

  EXPECT_EQ(Frame(65 * 25 + 3, kFrameRate_VideoPAL),
            HMSFToTime(0, 0, 65, 3, false, kFrameRate_VideoPAL, T::kTimecode25));
  EXPECT_EQ(Frame(2 * 25 + 40, kFrameRate_VideoPAL),
            HMSFToTime(0, 0, 2, 40, false, kFrameRate_VideoPAL, T::kTimecode25));
  // Seconds carry into minutes before the drop-frame count is applied.
  EXPECT_EQ(Frame(1800, ntsc), HMSFToTime(0, 0, 60, 2, false, ntsc, T::kTimecodeNTSCDrop));
  // Frame counts split at the rate's whole frames per second.
  TimeToHMSF(h, m, s, f, negative, Frame(3 * 25 + 4, kFrameRate_VideoPAL), kFrameRate_VideoPAL,
             T::kFrameCount);
  EXPECT_EQ(3u, s);
  EXPECT_EQ(4u, f);
}

TEST(TimeDisplayKinds, HMSFFormatsAreTheTimecodes) {
  for (int code = 95; code < 120; ++code) {
    SCOPED_TRACE(code);
    const TimeDisplay format(static_cast<T::Type>(code));
    const bool hmsf = (code >= 100 && code <= 108) || code == 110;
    const bool drop = code == 102 || code == 106;
    EXPECT_EQ(hmsf, IsHMSFTimeDisplay(format, true));
    EXPECT_EQ(hmsf && !drop, IsHMSFTimeDisplay(format, false));
    EXPECT_EQ(drop, IsDropFrameTimeDisplay(format));
  }
  EXPECT_EQ(TimeDisplay(T::kTimecodeNTSCDrop), TimeDisplay());
  EXPECT_EQ(30u, GetNominalFramesPerSecond(T::kTimecodeNTSCNonDrop));
  EXPECT_EQ(24u, GetNominalFramesPerSecond(T::kTimecodeFilmNTSC));
  EXPECT_EQ(0u, GetNominalFramesPerSecond(T::kFeetFrames40));
}

}  // namespace
