/// \file
/// Time display formats of the stratamedia library, and the conversions
/// between a media time and its timecode text or its hours, minutes, seconds
/// and frames (HMSF).
///
/// A format fixes how many frames a second has on the display (the nominal
/// count: 30 for 30000/1001 video) and whether labels are dropped; the frame
/// rate passed with it turns ticks into frames. A time always shows as the
/// frame that contains it. Drop-frame formats count by the broadcast rule: at
/// 30000/1001 the labels ;00 and ;01 are skipped at the start of every minute
/// except each tenth, at 60000/1001 the labels ;00 to ;03, so the labels keep
/// pace with the clock (one hour is frame 107,892 at 30000/1001).
///
/// Text layouts:
///   HMSF formats     "HH:MM:SS:FF"; drop-frame "HH:MM:SS;FF"
///   frame count      "1234"
///   feet and frames  "FEET+FF", feet at least four digits: "0012+07"
///
/// Nothing here throws or fails: a rate that is not valid, or a format code
/// that is not one of TimeDisplayType, gives empty text, kTime_Zero or zero
/// fields. All functions are pure and thread-safe.
#pragma once

#include <cstdint>
#include <string>

#include "stratamedia/StrataMediaConfig.h"
#include "stratamedia/TickTime.h"
#include "strata/String.h"
#include "strata/Utility.h"

namespace stratamedia {

typedef strata::UTF16String UString;  ///< the text type of this library

/// The display formats of media time.
struct TimeDisplayType {
  /// Timecode at a rate, a plain frame count, or film feet and frames.
  enum Type {
    kTimecode24 = 100,
    kTimecode25 = 101,
    kTimecodeNTSCDrop = 102,       ///< 30000/1001, drop-frame
    kTimecodeNTSCNonDrop = 103,    ///< 30000/1001, every label counted
    kTimecode30 = 104,
    kTimecode50 = 105,
    kTimecodeNTSC60Drop = 106,     ///< 60000/1001, drop-frame
    kTimecodeNTSC60NonDrop = 107,  ///< 60000/1001, every label counted
    kTimecode60 = 108,
    kFrameCount = 109,
    kTimecodeFilmNTSC = 110,       ///< 24000/1001, every label counted
    kFeetFrames40 = 111,           ///< 40 frames to the foot
    kFeetFrames16 = 112            ///< 16 frames to the foot
  };
};

/// A display format as a value; NTSC drop-frame timecode by default.
///
/// A plain value, safe to share between threads. Failures: none; a code
/// that is not one of TimeDisplayType makes the conversions answer empty
/// text or zero.
class TimeDisplay {
 public:
  constexpr TimeDisplay() : mType(TimeDisplayType::kTimecodeNTSCDrop) {}
  /// Any TimeDisplayType converts.
  constexpr TimeDisplay(TimeDisplayType::Type inType) : mType(inType) {}  // NOLINT: implicit

  constexpr TimeDisplayType::Type GetType() const { return mType; }  ///< as constructed

  /// Compare the formats.
  ///@{
  friend constexpr bool operator==(TimeDisplay inA, TimeDisplay inB) { return inA.mType == inB.mType; }
  friend constexpr bool operator!=(TimeDisplay inA, TimeDisplay inB) { return inA.mType != inB.mType; }
  ///@}

 private:
  TimeDisplayType::Type mType;
};

/// Flags of TimeToTimecode and TimecodeToTime.
struct TimecodeFlags {
  /// Bits; combine them in a TimecodeFlagSet.
  enum Type : unsigned int {
    kNone = 0,
    /// The leading field (hours, or feet) is written without zero padding.
    kNoLeadingZeros = 0x1,
    /// Drop-frame formats are written with ':' before the frames too.
    kNoDropFrameSeparator = 0x2,
    /// Negative times are written with a leading '-' instead of wrapping
    /// around 24 hours. Frame counts and feet always take the '-'.
    kSignedNegative = 0x4,
    /// Formatting: hours do not wrap at 24. Parsing: hours of 24 or more
    /// are accepted.
    kUnwrappedHours = 0x8,
    /// Times of zero or more are written with a leading '+'.
    kSignedPositive = 0x20
  };
};

typedef strata::utility::Flags<unsigned int> TimecodeFlagSet;  ///< TimecodeFlags bits

/// True for the formats shown as hours, minutes, seconds and frames (codes
/// 100-108 and 110). With inCountDropFrame false the two drop-frame formats
/// are left out.
STRATAMEDIA_API bool IsHMSFTimeDisplay(TimeDisplay inFormat, bool inCountDropFrame);

/// True for the two drop-frame formats (kTimecodeNTSCDrop and
/// kTimecodeNTSC60Drop).
STRATAMEDIA_API bool IsDropFrameTimeDisplay(TimeDisplay inFormat);

/// The frames a second has on the display of an HMSF format (30 for both
/// 30000/1001 formats); 0 for the other formats.
STRATAMEDIA_API unsigned GetNominalFramesPerSecond(TimeDisplay inFormat);

/// The text of the frame that contains inTime. Without kSignedNegative a
/// negative HMSF time is shown as its place in the 24-hour day before zero
/// (one frame before zero is the day's last frame).
STRATAMEDIA_API UString TimeToTimecode(TickTime inTime, FrameRate inRate, TimeDisplay inFormat,
                                       TimecodeFlagSet inFlags = TimecodeFlags::kNone);

/// The start of the frame that inText names. Accepted: surrounding blanks, a
/// leading '+' or '-', and up to four fields of digits separated by ':', ';'
/// or '.' (feet and frames also by '+'), the rightmost being frames. A single
/// field is a frame count of any size. With two or more fields each must be
/// in its range (minutes and seconds below 60, frames below the format's
/// count per second or per foot, hours below 24 unless kUnwrappedHours is
/// given). A drop-frame label that is skipped reads as the next label. A
/// value beyond the range of TickTime saturates at its end.
/// Text that cannot be read this way yields kTime_Zero.
STRATAMEDIA_API TickTime TimecodeToTime(const UString& inText, FrameRate inRate,
                                        TimeDisplay inFormat,
                                        TimecodeFlagSet inFlags = TimecodeFlags::kNone);

/// Splits the frame that contains inTime into the fields of its magnitude
/// (drop-frame labels for drop-frame formats), and whether the time is
/// negative. Hours do not wrap at 24; they saturate at the 32-bit maximum.
/// For frame counts and feet and frames the fields count whole seconds of
/// the rate (rounded to whole frames per second). All zero when the rate or
/// format is not valid.
STRATAMEDIA_API void TimeToHMSF(unsigned& outHours, unsigned& outMinutes, unsigned& outSeconds,
                                std::uint64_t& outFrames, bool& outNegative, TickTime inTime,
                                FrameRate inRate, TimeDisplay inFormat);

/// The start of the frame with the given fields, negated when inNegative.
/// Fields may exceed their ranges: seconds and minutes carry, and frames
/// beyond a second count on as frames. A skipped drop-frame label is taken
/// as the next label. Saturates at the ends of the range; kTime_Zero when
/// the rate or format is not valid.
STRATAMEDIA_API TickTime HMSFToTime(unsigned inHours, unsigned inMinutes, unsigned inSeconds,
                                    std::uint64_t inFrames, bool inNegative, FrameRate inRate,
                                    TimeDisplay inFormat);

}  // namespace stratamedia
