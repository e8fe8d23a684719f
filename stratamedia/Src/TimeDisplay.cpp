#include "stratamedia/TimeDisplay.h"

#include "WideArithmetic.h"

namespace stratamedia {

namespace {

enum class Layout { kHMSF, kFrameCount, kFeetFrames };

// What a format means for the arithmetic, resolved once per call.
struct FormatInfo {
  Layout mLayout = Layout::kHMSF;
  // Frames of one displayed second: the nominal count of an HMSF format,
  // the rate's own rounded count for the other formats.
  std::uint64_t mFramesPerSecond = 0;
  // Labels skipped at the start of each minute but every tenth.
  std::uint64_t mDropPerMinute = 0;
  std::uint64_t mFramesPerFoot = 0;
};

std::uint64_t RoundedFramesPerSecond(FrameRate inRate) {
  const std::uint64_t rate = static_cast<std::uint64_t>(inRate.GetTicksPerFrame());
  const std::uint64_t whole = static_cast<std::uint64_t>(kTicksPerSecond) / rate;
  const std::uint64_t remainder = static_cast<std::uint64_t>(kTicksPerSecond) % rate;
  const std::uint64_t rounded = remainder >= rate - remainder ? whole + 1 : whole;
  return rounded == 0 ? 1 : rounded;
}

bool DescribeFormat(TimeDisplay inFormat, FrameRate inRate, FormatInfo& outInfo) {
  if (!inRate.IsValid()) return false;
  FormatInfo info;
  switch (inFormat.GetType()) {
    case TimeDisplayType::kTimecode24:
    case TimeDisplayType::kTimecodeFilmNTSC: info.mFramesPerSecond = 24; break;
    case TimeDisplayType::kTimecode25: info.mFramesPerSecond = 25; break;
    case TimeDisplayType::kTimecodeNTSCDrop: info.mDropPerMinute = 2; info.mFramesPerSecond = 30; break;
    case TimeDisplayType::kTimecodeNTSCNonDrop:
    case TimeDisplayType::kTimecode30: info.mFramesPerSecond = 30; break;
    case TimeDisplayType::kTimecode50: info.mFramesPerSecond = 50; break;
    case TimeDisplayType::kTimecodeNTSC60Drop: info.mDropPerMinute = 4; info.mFramesPerSecond = 60; break;
    case TimeDisplayType::kTimecodeNTSC60NonDrop:
    case TimeDisplayType::kTimecode60: info.mFramesPerSecond = 60; break;
    case TimeDisplayType::kFrameCount:
      info.mLayout = Layout::kFrameCount;
      info.mFramesPerSecond = RoundedFramesPerSecond(inRate);
      break;
    case TimeDisplayType::kFeetFrames40:
    case TimeDisplayType::kFeetFrames16:
      info.mLayout = Layout::kFeetFrames;
      info.mFramesPerFoot = inFormat.GetType() == TimeDisplayType::kFeetFrames16 ? 16 : 40;
      info.mFramesPerSecond = RoundedFramesPerSecond(inRate);
      break;
    default: return false;
  }
  outInfo = info;
  return true;
}

std::uint64_t FramesPerDay(const FormatInfo& inInfo) {
  const std::uint64_t perTenMinutes = 600 * inInfo.mFramesPerSecond - 9 * inInfo.mDropPerMinute;
  return 24 * 6 * perTenMinutes;
}

// The label position of frame inFrame: the frame number it would have if
// no label were skipped.
std::uint64_t FrameToLabel(std::uint64_t inFrame, const FormatInfo& inInfo) {
  const std::uint64_t drop = inInfo.mDropPerMinute;
  if (drop == 0) return inFrame;
  const std::uint64_t perMinute = 60 * inInfo.mFramesPerSecond - drop;
  const std::uint64_t perTenMinutes = 600 * inInfo.mFramesPerSecond - 9 * drop;
  const std::uint64_t tens = inFrame / perTenMinutes;
  const std::uint64_t rest = inFrame % perTenMinutes;
  std::uint64_t label = inFrame + 9 * drop * tens;
  if (rest >= drop) label += drop * ((rest - drop) / perMinute);
  return label;
}

// The frame of the label inSeconds (whole seconds, minutes and hours
// together) and inFrames. A skipped drop-frame label becomes the next one.
// Saturates at the 64-bit maximum.
std::uint64_t LabelToFrame(std::uint64_t inSeconds, std::uint64_t inFrames,
                           const FormatInfo& inInfo) {
  if (inSeconds == wide::kU64Max) return wide::kU64Max;
  std::uint64_t frame = wide::SaturatingAdd(
      wide::SaturatingMultiply(inSeconds, inInfo.mFramesPerSecond), inFrames);
  const std::uint64_t drop = inInfo.mDropPerMinute;
  if (drop == 0 || frame == wide::kU64Max) return frame;
  const std::uint64_t minutes = inSeconds / 60;
  if (inSeconds % 60 == 0 && minutes % 10 != 0 && inFrames < drop) {
    frame = wide::SaturatingAdd(frame, drop - inFrames);
    if (frame == wide::kU64Max) return frame;
  }
  // Never below zero: each minute holds at least 60 * frames per second.
  return frame - drop * (minutes - minutes / 10);
}

TickTime FrameToTime(std::uint64_t inFrame, bool inNegative, FrameRate inRate) {
  const std::uint64_t ticks =
      wide::SaturatingMultiply(inFrame, static_cast<std::uint64_t>(inRate.GetTicksPerFrame()));
  return TickTime(wide::ToSigned(ticks, inNegative));
}

struct Fields {
  std::uint64_t mHours, mMinutes, mSeconds, mFrames;
};

Fields SplitLabel(std::uint64_t inLabel, std::uint64_t inFramesPerSecond) {
  Fields fields;
  const std::uint64_t perMinute = 60 * inFramesPerSecond;
  const std::uint64_t perHour = 60 * perMinute;
  fields.mHours = inLabel / perHour;
  std::uint64_t rest = inLabel % perHour;
  fields.mMinutes = rest / perMinute;
  rest %= perMinute;
  fields.mSeconds = rest / inFramesPerSecond;
  fields.mFrames = rest % inFramesPerSecond;
  return fields;
}

// Writes inValue in decimal with at least inWidth digits; returns the end.
wchar_t* WriteNumber(wchar_t* outText, std::uint64_t inValue, int inWidth) {
  wchar_t digits[20];
  int count = 0;
  do {
    digits[count++] = static_cast<wchar_t>(L'0' + inValue % 10);
    inValue /= 10;
  } while (inValue != 0);
  for (int pad = count; pad < inWidth; ++pad) *outText++ = L'0';
  while (count > 0) *outText++ = digits[--count];
  return outText;
}

bool IsBlank(wchar_t inChar) {
  return inChar == L' ' || inChar == L'\t' || inChar == L'\r' || inChar == L'\n' ||
         inChar == L'\v' || inChar == L'\f';
}

bool IsFieldSeparator(wchar_t inChar, Layout inLayout) {
  switch (inLayout) {
    case Layout::kHMSF: return inChar == L':' || inChar == L';' || inChar == L'.';
    case Layout::kFeetFrames:
      return inChar == L'+' || inChar == L':' || inChar == L';' || inChar == L'.';
    case Layout::kFrameCount: return false;
  }
  return false;
}

}  // namespace

bool IsHMSFTimeDisplay(TimeDisplay inFormat, bool inCountDropFrame) {
  switch (inFormat.GetType()) {
    case TimeDisplayType::kTimecodeNTSCDrop:
    case TimeDisplayType::kTimecodeNTSC60Drop: return inCountDropFrame;
    case TimeDisplayType::kTimecode24:
    case TimeDisplayType::kTimecode25:
    case TimeDisplayType::kTimecodeNTSCNonDrop:
    case TimeDisplayType::kTimecode30:
    case TimeDisplayType::kTimecode50:
    case TimeDisplayType::kTimecodeNTSC60NonDrop:
    case TimeDisplayType::kTimecode60:
    case TimeDisplayType::kTimecodeFilmNTSC: return true;
    default: return false;
  }
}

bool IsDropFrameTimeDisplay(TimeDisplay inFormat) {
  return inFormat == TimeDisplayType::kTimecodeNTSCDrop ||
         inFormat == TimeDisplayType::kTimecodeNTSC60Drop;
}

unsigned GetNominalFramesPerSecond(TimeDisplay inFormat) {
  FormatInfo info;
  if (!IsHMSFTimeDisplay(inFormat, true) || !DescribeFormat(inFormat, kFrameRate_Video30, info))
    return 0;
  return static_cast<unsigned>(info.mFramesPerSecond);
}

UString TimeToTimecode(TickTime inTime, FrameRate inRate, TimeDisplay inFormat,
                       TimecodeFlagSet inFlags) {
  FormatInfo info;
  if (!DescribeFormat(inFormat, inRate, info)) return UString();

  const std::int64_t frame = wide::FloorDivide(inTime.GetTicks(), inRate.GetTicksPerFrame());
  bool negative = frame < 0;
  std::uint64_t magnitude = wide::Magnitude(frame);
  const bool padLeading = !inFlags.IsSet(TimecodeFlags::kNoLeadingZeros);

  if (info.mLayout == Layout::kHMSF) {
    const std::uint64_t day = FramesPerDay(info);
    if (negative && !inFlags.IsSet(TimecodeFlags::kSignedNegative)) {
      // The place in the day before zero.
      magnitude = (day - magnitude % day) % day;
      negative = false;
    } else if (!inFlags.IsSet(TimecodeFlags::kUnwrappedHours)) {
      magnitude %= day;
    }
  }

  // Longest text: sign, 20 hour digits and ":MM:SS;FF".
  wchar_t text[40];
  wchar_t* end = text;
  if (negative)
    *end++ = L'-';
  else if (inTime.GetTicks() >= 0 && inFlags.IsSet(TimecodeFlags::kSignedPositive))
    *end++ = L'+';

  switch (info.mLayout) {
    case Layout::kFrameCount: end = WriteNumber(end, magnitude, 1); break;
    case Layout::kFeetFrames:
      end = WriteNumber(end, magnitude / info.mFramesPerFoot, padLeading ? 4 : 1);
      *end++ = L'+';
      end = WriteNumber(end, magnitude % info.mFramesPerFoot, 2);
      break;
    case Layout::kHMSF: {
      const Fields fields = SplitLabel(FrameToLabel(magnitude, info), info.mFramesPerSecond);
      end = WriteNumber(end, fields.mHours, padLeading ? 2 : 1);
      *end++ = L':';
      end = WriteNumber(end, fields.mMinutes, 2);
      *end++ = L':';
      end = WriteNumber(end, fields.mSeconds, 2);
      *end++ = info.mDropPerMinute != 0 && !inFlags.IsSet(TimecodeFlags::kNoDropFrameSeparator)
                   ? L';'
                   : L':';
      end = WriteNumber(end, fields.mFrames, 2);
      break;
    }
  }
  return UString(text, end);
}

TickTime TimecodeToTime(const UString& inText, FrameRate inRate, TimeDisplay inFormat,
                        TimecodeFlagSet inFlags) {
  FormatInfo info;
  if (!DescribeFormat(inFormat, inRate, info)) return kTime_Zero;

  std::size_t position = 0, end = inText.size();
  while (position < end && IsBlank(inText[position])) ++position;
  while (end > position && IsBlank(inText[end - 1])) --end;

  bool negative = false;
  if (position < end && (inText[position] == L'+' || inText[position] == L'-')) {
    negative = inText[position] == L'-';
    ++position;
  }

  const int maxFields = info.mLayout == Layout::kHMSF ? 4 : info.mLayout == Layout::kFeetFrames ? 2 : 1;
  std::uint64_t fields[4];
  int count = 0;
  for (;;) {
    if (count == maxFields) return kTime_Zero;
    // A field: one or more digits; values beyond 64 bits saturate.
    std::uint64_t value = 0;
    const std::size_t start = position;
    for (; position < end && inText[position] >= L'0' && inText[position] <= L'9'; ++position)
      value = wide::SaturatingAdd(wide::SaturatingMultiply(value, 10),
                                  static_cast<std::uint64_t>(inText[position] - L'0'));
    if (position == start) return kTime_Zero;
    fields[count++] = value;
    if (position == end) break;
    if (!IsFieldSeparator(inText[position], info.mLayout)) return kTime_Zero;
    ++position;
  }

  std::uint64_t frame = 0;
  if (count == 1) {
    frame = fields[0];
  } else if (info.mLayout == Layout::kFeetFrames) {
    if (fields[1] >= info.mFramesPerFoot) return kTime_Zero;
    frame = wide::SaturatingAdd(wide::SaturatingMultiply(fields[0], info.mFramesPerFoot), fields[1]);
  } else {
    // Right to left: frames, seconds, minutes, hours.
    const std::uint64_t frames = fields[count - 1];
    const std::uint64_t seconds = fields[count - 2];
    const std::uint64_t minutes = count >= 3 ? fields[count - 3] : 0;
    const std::uint64_t hours = count == 4 ? fields[0] : 0;
    if (frames >= info.mFramesPerSecond || seconds >= 60 || minutes >= 60) return kTime_Zero;
    if (hours >= 24 && !inFlags.IsSet(TimecodeFlags::kUnwrappedHours)) return kTime_Zero;
    const std::uint64_t totalSeconds =
        wide::SaturatingAdd(wide::SaturatingMultiply(hours, 3600), minutes * 60 + seconds);
    frame = LabelToFrame(totalSeconds, frames, info);
  }
  return FrameToTime(frame, negative, inRate);
}

void TimeToHMSF(unsigned& outHours, unsigned& outMinutes, unsigned& outSeconds,
                std::uint64_t& outFrames, bool& outNegative, TickTime inTime, FrameRate inRate,
                TimeDisplay inFormat) {
  outHours = outMinutes = outSeconds = 0;
  outFrames = 0;
  outNegative = false;
  FormatInfo info;
  if (!DescribeFormat(inFormat, inRate, info)) return;

  const std::int64_t frame = wide::FloorDivide(inTime.GetTicks(), inRate.GetTicksPerFrame());
  const Fields fields =
      SplitLabel(FrameToLabel(wide::Magnitude(frame), info), info.mFramesPerSecond);
  outHours = fields.mHours > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<unsigned>(fields.mHours);
  outMinutes = static_cast<unsigned>(fields.mMinutes);
  outSeconds = static_cast<unsigned>(fields.mSeconds);
  outFrames = fields.mFrames;
  outNegative = frame < 0;
}

TickTime HMSFToTime(unsigned inHours, unsigned inMinutes, unsigned inSeconds,
                    std::uint64_t inFrames, bool inNegative, FrameRate inRate,
                    TimeDisplay inFormat) {
  FormatInfo info;
  if (!DescribeFormat(inFormat, inRate, info)) return kTime_Zero;
  const std::uint64_t totalSeconds = std::uint64_t(inHours) * 3600 +
                                     std::uint64_t(inMinutes) * 60 + std::uint64_t(inSeconds);
  return FrameToTime(LabelToFrame(totalSeconds, inFrames, info), inNegative, inRate);
}

}  // namespace stratamedia
