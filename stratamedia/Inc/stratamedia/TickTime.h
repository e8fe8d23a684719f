/// \file
/// Media time and frame rates of the stratamedia library.
///
/// A TickTime is a signed 64-bit count of ticks, 254,016,000,000 to the
/// second: a common multiple of every usual frame and audio sample rate, so
/// that the start of every frame is an exact tick. A FrameRate is the length
/// of one frame in ticks. All conversions are exact integer arithmetic, and
/// arithmetic that would leave the 64-bit range saturates at its ends rather
/// than wrapping. Both are plain values, safe to share between threads.
#pragma once

#include <cstdint>
#include <limits>

#include "stratamedia/StrataMediaConfig.h"

namespace stratamedia {

/// Divisible by every usual frame rate, so frames start on whole ticks.
constexpr std::int64_t kTicksPerSecond = 254016000000LL;

/// The length of one frame in ticks; kNoRate when no rate is set.
///
/// A plain value, safe to share between threads. Failures: none; a rate
/// that is not valid makes the conversions answer zero or empty text.
class FrameRate {
 public:
  /// The largest 64-bit value: no rate is set.
  static constexpr std::int64_t kNoRate = (std::numeric_limits<std::int64_t>::max)();

  constexpr FrameRate() : mTicksPerFrame(kNoRate) {}  ///< no rate
  /// Taken as given; see IsValid.
  constexpr explicit FrameRate(std::int64_t inTicksPerFrame) : mTicksPerFrame(inTicksPerFrame) {}

  /// The rate of inNumerator / inDenominator frames per second (30000, 1001
  /// for NTSC video), rounded to the nearest tick when the frame length is
  /// not a whole number of ticks. No rate when either value is not positive
  /// or the frame would be shorter than one tick or longer than the range.
  STRATAMEDIA_API static FrameRate FromFramesPerSecond(std::int64_t inNumerator,
                                                       std::int64_t inDenominator);

  constexpr std::int64_t GetTicksPerFrame() const { return mTicksPerFrame; }  ///< kNoRate for none
  /// A rate that times can be converted with: positive and not "no rate".
  constexpr bool IsValid() const { return mTicksPerFrame > 0 && mTicksPerFrame != kNoRate; }

  /// Compare the frame lengths.
  ///@{
  friend constexpr bool operator==(FrameRate inA, FrameRate inB) {
    return inA.mTicksPerFrame == inB.mTicksPerFrame;
  }
  friend constexpr bool operator!=(FrameRate inA, FrameRate inB) { return !(inA == inB); }
  ///@}

 private:
  std::int64_t mTicksPerFrame;
};

inline constexpr FrameRate kFrameRate_None{};                        ///< no rate
inline constexpr FrameRate kFrameRate_Film24{10584000000LL};         ///< 24
inline constexpr FrameRate kFrameRate_FilmNTSC{10594584000LL};       ///< 24000/1001
inline constexpr FrameRate kFrameRate_VideoPAL{10160640000LL};       ///< 25
inline constexpr FrameRate kFrameRate_Video30{8467200000LL};         ///< 30
inline constexpr FrameRate kFrameRate_VideoNTSC{8475667200LL};       ///< 30000/1001
inline constexpr FrameRate kFrameRate_Video50{5080320000LL};         ///< 50
inline constexpr FrameRate kFrameRate_VideoNTSC60{4237833600LL};     ///< 60000/1001
inline constexpr FrameRate kFrameRate_Video60{4233600000LL};         ///< 60

/// A media time in ticks (kTicksPerSecond to the second).
///
/// A plain value, safe to share between threads. Failures: none;
/// arithmetic that would leave the 64-bit range saturates at its ends.
class TickTime {
 public:
  constexpr TickTime() : mTicks(0) {}  ///< time zero
  constexpr explicit TickTime(std::int64_t inTicks) : mTicks(inTicks) {}  ///< inTicks ticks

  /// The ends of the range, where arithmetic saturates.
  ///@{
  static constexpr TickTime Min() { return TickTime((std::numeric_limits<std::int64_t>::min)()); }
  static constexpr TickTime Max() { return TickTime((std::numeric_limits<std::int64_t>::max)()); }
  ///@}

  constexpr std::int64_t GetTicks() const { return mTicks; }  ///< the time in ticks

  /// Moves the time by inFrames whole frames of inRate (back when negative),
  /// saturating at the ends of the range. A rate that is not valid leaves
  /// the time unchanged.
  STRATAMEDIA_API TickTime& AddFrames(std::int64_t inFrames, const FrameRate& inRate);

  /// Saturating sum and difference.
  ///@{
  TickTime& operator+=(const TickTime& inOther) {
    mTicks = SaturatingAdd(mTicks, inOther.mTicks);
    return *this;
  }
  TickTime& operator-=(const TickTime& inOther) {
    // -Min() is out of range: subtracting it adds Max() and one more tick.
    if (inOther.mTicks == Min().mTicks) {
      mTicks = mTicks >= 0 ? Max().mTicks : mTicks + Max().mTicks + 1;
      return *this;
    }
    mTicks = SaturatingAdd(mTicks, -inOther.mTicks);
    return *this;
  }
  friend TickTime operator+(TickTime inA, const TickTime& inB) { return inA += inB; }
  friend TickTime operator-(TickTime inA, const TickTime& inB) { return inA -= inB; }
  ///@}

  /// Compare the ticks.
  ///@{
  friend constexpr bool operator==(TickTime inA, TickTime inB) { return inA.mTicks == inB.mTicks; }
  friend constexpr bool operator!=(TickTime inA, TickTime inB) { return inA.mTicks != inB.mTicks; }
  friend constexpr bool operator<(TickTime inA, TickTime inB) { return inA.mTicks < inB.mTicks; }
  friend constexpr bool operator>(TickTime inA, TickTime inB) { return inA.mTicks > inB.mTicks; }
  friend constexpr bool operator<=(TickTime inA, TickTime inB) { return inA.mTicks <= inB.mTicks; }
  friend constexpr bool operator>=(TickTime inA, TickTime inB) { return inA.mTicks >= inB.mTicks; }
  ///@}

 private:
  static std::int64_t SaturatingAdd(std::int64_t inA, std::int64_t inB) {
    if (inB > 0 && inA > (std::numeric_limits<std::int64_t>::max)() - inB)
      return (std::numeric_limits<std::int64_t>::max)();
    if (inB < 0 && inA < (std::numeric_limits<std::int64_t>::min)() - inB)
      return (std::numeric_limits<std::int64_t>::min)();
    return inA + inB;
  }

  std::int64_t mTicks;
};

inline constexpr TickTime kTime_Zero{};  ///< time zero

/// The number of the frame of inRate that contains inTime: frame 0 starts at
/// time zero, frame -1 ends there. 0 when the rate is not valid.
STRATAMEDIA_API std::int64_t TimeToFrames(TickTime inTime, FrameRate inRate);

/// The start of frame inFrame of inRate, saturating at the ends of the
/// range; kTime_Zero when the rate is not valid.
STRATAMEDIA_API TickTime FramesToTime(std::int64_t inFrame, FrameRate inRate);

}  // namespace stratamedia
