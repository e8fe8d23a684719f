#include "Ostra/Timecode.h"

#include <climits>

#include "Ostra/Result.h"
#include "strata/Impl.h"

namespace Ostra {

using stratamedia::FrameRate;
using stratamedia::TickTime;
using stratamedia::TimeDisplay;
using stratamedia::TimeDisplayType;
using stratamedia::TimecodeFlags;

class Timecode::PrivateImpl : public strata::Impl {
 public:
  PrivateImpl(const TickTime& inTime, const FrameRate& inRate, TimeDisplay inFormat,
              const Style& inStyle)
      : mTime(inTime), mRate(inRate), mFormat(inFormat), mStyle(inStyle) {}

  // Hours of a reading: 23 - hours for a negative time unless the style
  // allows negative times. There is no modulo: past a day before zero the
  // hours go below zero (-24 h reads -1). Saturates at the ends of int.
  int DisplayedHours(unsigned inHours, bool inNegative) const {
    const std::int64_t hours = inNegative && !mStyle.mAllowNegative
                                   ? 23 - static_cast<std::int64_t>(inHours)
                                   : static_cast<std::int64_t>(inHours);
    if (hours < INT_MIN) return INT_MIN;
    return hours > INT_MAX ? INT_MAX : static_cast<int>(hours);
  }

  TickTime mTime;
  FrameRate mRate;
  TimeDisplay mFormat;
  Style mStyle;
};

namespace {

// Whole frames per second of a rate; 0 for no rate.
double FramesPerSecond(const FrameRate& inRate) {
  if (inRate.GetTicksPerFrame() == FrameRate::kNoRate) return 0.0;
  return static_cast<double>(stratamedia::kTicksPerSecond) /
         static_cast<double>(inRate.GetTicksPerFrame());
}

// A field's magnitude; that of INT_MIN too.
unsigned Magnitude(int inValue) {
  return inValue < 0 ? 0u - static_cast<unsigned>(inValue) : static_cast<unsigned>(inValue);
}

// Two's-complement narrowing, the same on every compiler.
std::int32_t WrapTo32(std::uint64_t inValue) {
  const std::uint32_t low = static_cast<std::uint32_t>(inValue);
  return low <= 0x7FFFFFFFu ? static_cast<std::int32_t>(low)
                            : -static_cast<std::int32_t>(~low) - 1;
}

}  // namespace

Timecode::Timecode()
    : mImpl(new PrivateImpl(stratamedia::kTime_Zero, stratamedia::kFrameRate_VideoNTSC,
                            TimeDisplay(TimeDisplayType::kTimecodeNTSCDrop), Style())) {}

Timecode::Timecode(const TickTime& inTime, const FrameRate& inRate, TimeDisplay inFormat)
    : mImpl(new PrivateImpl(inTime, inRate, inFormat, Style())) {}

Timecode::Timecode(const TickTime& inTime, const FrameRate& inRate, TimeDisplay inFormat,
                   const Style& inStyle)
    : mImpl(new PrivateImpl(inTime, inRate, inFormat, inStyle)) {}

Timecode::Timecode(const Timecode& inOther)
    : mImpl(new PrivateImpl(inOther.mImpl->mTime, inOther.mImpl->mRate, inOther.mImpl->mFormat,
                            inOther.mImpl->mStyle)) {}

Timecode& Timecode::operator=(const Timecode& inOther) {
  if (this != &inOther) {
    // The new state is complete before the old one goes.
    mImpl.reset(new PrivateImpl(inOther.mImpl->mTime, inOther.mImpl->mRate,
                                inOther.mImpl->mFormat, inOther.mImpl->mStyle));
  }
  return *this;
}

Timecode::~Timecode() = default;

TickTime Timecode::GetTime() const { return mImpl->mTime; }

void Timecode::SetTime(const TickTime& inTime) { mImpl->mTime = inTime; }

FrameRate Timecode::GetFrameRate() const { return mImpl->mRate; }

TimeDisplay Timecode::GetFormat() const { return mImpl->mFormat; }

void Timecode::SetFormat(TimeDisplay inFormat, const FrameRate& inRate) {
  mImpl->mFormat = inFormat;
  mImpl->mRate = inRate;
}

Timecode::Style Timecode::GetStyle() const { return mImpl->mStyle; }

void Timecode::SetStyle(const Style& inStyle) { mImpl->mStyle = inStyle; }

strata::utility::Flags<unsigned int> Timecode::GetFormattingFlags(const Style& inStyle) {
  strata::utility::Flags<unsigned int> flags;
  if (inStyle.mStyleValue == 0) flags.Set(TimecodeFlags::kNoLeadingZeros);
  if (inStyle.mOptionA) flags.Set(TimecodeFlags::kNoDropFrameSeparator);
  if (inStyle.mAllowNegative) flags.Set(TimecodeFlags::kSignedNegative);
  if (inStyle.mOptionB) flags.Set(TimecodeFlags::kUnwrappedHours);
  if (inStyle.mOptionC) flags.Set(TimecodeFlags::kSignedPositive);
  return flags;
}

strata::utility::Flags<unsigned int> Timecode::GetParsingFlags(const Style& inStyle) {
  return inStyle.mOptionB ? TimecodeFlags::kUnwrappedHours : TimecodeFlags::kNone;
}

UTF16String Timecode::GetString() const {
  return stratamedia::TimeToTimecode(mImpl->mTime, mImpl->mRate, mImpl->mFormat,
                                     GetFormattingFlags(mImpl->mStyle));
}

void Timecode::SetTime(const UTF16String& inText) {
  mImpl->mTime = stratamedia::TimecodeToTime(inText, mImpl->mRate, mImpl->mFormat,
                                             GetParsingFlags(mImpl->mStyle));
}

TickTime Timecode::StringToTime(const UTF16String& inText, const FrameRate& inRate,
                                TimeDisplay inFormat, bool inUnwrappedHours) {
  return stratamedia::TimecodeToTime(
      inText, inRate, inFormat,
      inUnwrappedHours ? TimecodeFlags::kUnwrappedHours : TimecodeFlags::kNone);
}

Result Timecode::GetHMSF(int& outHours, int& outMinutes, int& outSeconds,
                         std::int64_t& outFrames) const {
  if (!stratamedia::IsHMSFTimeDisplay(mImpl->mFormat, true)) return eFailure;
  unsigned hours = 0, minutes = 0, seconds = 0;
  std::uint64_t frames = 0;
  bool negative = false;
  stratamedia::TimeToHMSF(hours, minutes, seconds, frames, negative, mImpl->mTime, mImpl->mRate,
                          mImpl->mFormat);
  outHours = mImpl->DisplayedHours(hours, negative);
  outMinutes = static_cast<int>(minutes);
  outSeconds = static_cast<int>(seconds);
  outFrames = static_cast<std::int64_t>(frames);
  return kSuccess;
}

void Timecode::IncrementHMSF(int inHours, int inMinutes, int inSeconds, int inFrames) {
  const bool negative = inHours < 0 || inMinutes < 0 || inSeconds < 0 || inFrames < 0;
  mImpl->mTime += stratamedia::HMSFToTime(Magnitude(inHours), Magnitude(inMinutes),
                                          Magnitude(inSeconds), Magnitude(inFrames), negative,
                                          mImpl->mRate, mImpl->mFormat);
}

void Timecode::IncrementFeetFrames(int inFeet, int inFrames) {
  const std::uint32_t framesPerFoot =
      mImpl->mFormat == TimeDisplay(TimeDisplayType::kFeetFrames16) ? 16 : 40;
  const std::int32_t frames = WrapTo32(static_cast<std::uint32_t>(inFeet) * framesPerFoot +
                                       static_cast<std::uint32_t>(inFrames));
  mImpl->mTime.AddFrames(frames, mImpl->mRate);
}

Result Timecode::ConformTimecode(const Timecode& inSource, const FrameRate& inRate,
                                 const TimeDisplay& inFormat, Timecode& outTimecode) {
  const PrivateImpl& source = *inSource.mImpl;
  if (!stratamedia::IsHMSFTimeDisplay(source.mFormat, true) ||
      !stratamedia::IsHMSFTimeDisplay(inFormat, true)) {
    outTimecode = inSource;
    return eFailure;
  }
  if (source.mRate == inRate && source.mFormat == inFormat) {
    outTimecode = inSource;
    return kSuccess;
  }

  unsigned hours = 0, minutes = 0, seconds = 0;
  std::uint64_t frames = 0;
  bool negative = false;
  stratamedia::TimeToHMSF(hours, minutes, seconds, frames, negative, source.mTime, source.mRate,
                          source.mFormat);
  const int displayedHours = source.DisplayedHours(hours, negative);

  const double scaled =
      static_cast<double>(frames) * FramesPerSecond(inRate) / FramesPerSecond(source.mRate) + 0.5;
  // A rate of zero or none scales to infinity or NaN: no frames then.
  const std::int64_t newFrames =
      scaled > -9.0e18 && scaled < 9.0e18 ? static_cast<std::int64_t>(scaled) : 0;

  // The reading is carried, not the sign: within a day before zero the
  // fields are all non-negative and the result lies after zero; past a day
  // the hours are negative, and so the move is backwards.
  Timecode conformed(stratamedia::kTime_Zero, inRate, inFormat, source.mStyle);
  conformed.IncrementHMSF(displayedHours, static_cast<int>(minutes), static_cast<int>(seconds),
                          WrapTo32(static_cast<std::uint64_t>(newFrames)));
  outTimecode = conformed;
  return kSuccess;
}

}  // namespace Ostra
