/// \file
/// \class Ostra::Timecode
/// A media time tied to the frame rate and display format it is shown in,
/// with conversions to and from timecode text, hours-minutes-seconds-frames
/// fields and film feet and frames. The time arithmetic and text layout are
/// stratamedia's; this class maps its Style to the conversion flags and
/// adds the "23 - hours" reading of negative HMSF times, feet-and-frames
/// steps and conforming to another rate.
///
/// Threading: a Timecode is a value owned by its caller: copies are
/// independent, and distinct objects may be used from different threads.
///
/// Failures: nothing throws. Text that cannot be read gives time zero, a
/// rate that is not valid empty text; GetHMSF and ConformTimecode return
/// eFailure for formats that are not shown as hours, minutes, seconds and
/// frames.
#pragma once

#include <cstdint>
#include <memory>

#include "Ostra/OstraConfig.h"
#include "stratamedia/TickTime.h"
#include "stratamedia/TimeDisplay.h"
#include "strata/Utility.h"

namespace Ostra {

class OSTRA_API Timecode {
 public:
  /// How the text is written. Each field drives one conversion flag.
  struct Style {
    /// 0: the leading field is not zero-padded (flag 0x1).
    std::uint32_t mStyleValue = 1;
    /// Drop-frame formats written with ':' throughout (0x2).
    bool mOptionA = false;
    /// Negative times written with '-' (0x4), and GetHMSF reads them as
    /// their magnitude rather than as 23 - hours.
    bool mAllowNegative = false;
    /// Hours do not wrap at 24 (0x8); the one flag also used for parsing,
    /// where it accepts hours of 24 or more.
    bool mOptionB = false;
    /// Times of zero or more written with '+' (0x20).
    bool mOptionC = false;
  };

  /// Time zero at the NTSC video rate, 30000/1001 drop-frame, default style.
  Timecode();
  /// The given time, rate and format, in the given or the default style.
  ///@{
  Timecode(const stratamedia::TickTime& inTime, const stratamedia::FrameRate& inRate,
           stratamedia::TimeDisplay inFormat);
  Timecode(const stratamedia::TickTime& inTime, const stratamedia::FrameRate& inRate,
           stratamedia::TimeDisplay inFormat, const Style& inStyle);
  ///@}
  /// Copies are independent values.
  ///@{
  Timecode(const Timecode& inOther);
  Timecode& operator=(const Timecode& inOther);
  ///@}
  ~Timecode();

  /// The time, rate, format and style, as constructed or last set.
  ///@{
  stratamedia::TickTime GetTime() const;
  void SetTime(const stratamedia::TickTime& inTime);
  stratamedia::FrameRate GetFrameRate() const;
  stratamedia::TimeDisplay GetFormat() const;
  ///@}
  /// The format and the rate change together.
  void SetFormat(stratamedia::TimeDisplay inFormat, const stratamedia::FrameRate& inRate);
  /// The style, as constructed or last set.
  ///@{
  Style GetStyle() const;
  void SetStyle(const Style& inStyle);
  ///@}

  /// The flags a style gives for formatting and for parsing.
  ///@{
  static strata::utility::Flags<unsigned int> GetFormattingFlags(const Style& inStyle);
  static strata::utility::Flags<unsigned int> GetParsingFlags(const Style& inStyle);
  ///@}

  /// The timecode text in the format and style.
  UTF16String GetString() const;
  /// Sets the time from text at the stored rate and format; text that cannot
  /// be read sets time zero (see stratamedia::TimecodeToTime).
  void SetTime(const UTF16String& inText);
  /// The time of the text; inUnwrappedHours accepts hours of 24 or more.
  static stratamedia::TickTime StringToTime(const UTF16String& inText,
                                            const stratamedia::FrameRate& inRate,
                                            stratamedia::TimeDisplay inFormat,
                                            bool inUnwrappedHours);

  /// The displayed fields. A negative time without mAllowNegative reads as
  /// 23 - hours with the magnitude's other fields (one second before zero
  /// is 23:00:01:00, not a point before midnight). The hours are not taken
  /// modulo 24, so from a day before zero on they are negative: hours -1
  /// at -24 h, -2 at -25 h, -25 at -48 h. eFailure, with nothing written,
  /// when the format is not an HMSF format.
  Result GetHMSF(int& outHours, int& outMinutes, int& outSeconds, std::int64_t& outFrames) const;

  /// Moves the time by the fields at the stored rate and format. The fields'
  /// magnitudes are taken together and the move is backwards when any field
  /// is negative: (0, 1, -5, 0) moves back 1 minute 5 seconds.
  void IncrementHMSF(int inHours, int inMinutes, int inSeconds, int inFrames);

  /// Moves the time by feet and frames: 16 frames to the foot in the
  /// 16-frame feet format, 40 in every other format. The frame count is
  /// computed in 32 bits and wraps on overflow.
  void IncrementFeetFrames(int inFeet, int inFrames);

  /// Re-expresses inSource at inRate and inFormat keeping its HMSF reading,
  /// with the frame field scaled by the ratio of the rates (rounded half up).
  /// The reading is GetHMSF's, applied with IncrementHMSF from time zero:
  /// a negative source without mAllowNegative lands after zero within a day
  /// of it, and before zero (negative hours move backwards) from a day on.
  /// A copy of the source and eFailure when either format is not HMSF; an
  /// exact copy when rate and format are already the same.
  static Result ConformTimecode(const Timecode& inSource, const stratamedia::FrameRate& inRate,
                                const stratamedia::TimeDisplay& inFormat, Timecode& outTimecode);

 private:
  class PrivateImpl;
  std::unique_ptr<PrivateImpl> mImpl;
};

}  // namespace Ostra
