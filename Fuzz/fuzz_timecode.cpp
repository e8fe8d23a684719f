// Timecode: every frame's text reads back as its time in every format, and
// any text parses as some time without failing.
#include <cstring>

#include "FuzzSupport.h"
#include "Ostra/Timecode.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
  using namespace stratamedia;
  typedef TimeDisplayType T;
  static const struct {
    T::Type format;
    FrameRate rate;
  } kFormats[] = {
      {T::kTimecode24, kFrameRate_Film24},          {T::kTimecode25, kFrameRate_VideoPAL},
      {T::kTimecodeNTSCDrop, kFrameRate_VideoNTSC}, {T::kTimecodeNTSCNonDrop, kFrameRate_VideoNTSC},
      {T::kTimecode30, kFrameRate_Video30},         {T::kTimecode50, kFrameRate_Video50},
      {T::kTimecodeNTSC60Drop, kFrameRate_VideoNTSC60},
      {T::kTimecodeNTSC60NonDrop, kFrameRate_VideoNTSC60},
      {T::kTimecode60, kFrameRate_Video60},         {T::kFrameCount, kFrameRate_VideoPAL},
      {T::kTimecodeFilmNTSC, kFrameRate_FilmNTSC},  {T::kFeetFrames40, kFrameRate_Film24},
      {T::kFeetFrames16, kFrameRate_Film24},
  };
  if (inSize < 6) return 0;
  const auto& format = kFormats[inData[0] % 13];
  std::int32_t raw;
  std::memcpy(&raw, inData + 1, sizeof(raw));
  // Frames within about 100 hours either side of zero.
  const std::int64_t frame = raw % 22000000;
  Ostra::Timecode::Style style;  // signed, unwrapped hours: every frame has its own text
  style.mAllowNegative = true;
  style.mOptionB = true;
  const TickTime time = FramesToTime(frame, format.rate);
  const strata::UTF16String text = Ostra::Timecode(time, format.rate, format.format, style).GetString();
  FUZZ_CHECK(Ostra::Timecode::StringToTime(text, format.rate, format.format, true) == time);

  const strata::UTF16String noise = OstraFuzz::UnitsOf(inData + 6, inSize - 6);
  Ostra::Timecode::StringToTime(noise, format.rate, format.format, (inData[5] & 1) != 0);
  return 0;
}
