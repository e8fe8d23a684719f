// Colour conversions, time stamps, timecode and the time display formats.
#include "Boundary.h"
#include "Ostra/Color.h"
#include "Ostra/TimeStamp.h"
#include "Ostra/Timecode.h"
#include "stratamedia/TickTime.h"
#include "stratamedia/TimeDisplay.h"

using namespace OstraC;
using stratamedia::FrameRate;
using stratamedia::TickTime;

struct ostra_timecode {
  static constexpr HandleKind kKind = HandleKind::kTimecode;
  explicit ostra_timecode(const Ostra::Timecode& inTimecode) : mTimecode(inTimecode) {}
  Ostra::Timecode mTimecode;
};

namespace {

// Three 8-bit channel outputs as one colour: read before the call, written
// after it, so a channel the conversion leaves keeps the caller's value.
class RgbOutput {
 public:
  RgbOutput(uint8_t* ioRed, uint8_t* ioGreen, uint8_t* ioBlue)
      : mRed(OSTRA_C_REF(ioRed)), mGreen(OSTRA_C_REF(ioGreen)), mBlue(OSTRA_C_REF(ioBlue)),
        mColor(mRed, mGreen, mBlue) {}
  Ostra::RGBColor& Color() { return mColor; }
  void Store() {
    mRed = mColor.mRed;
    mGreen = mColor.mGreen;
    mBlue = mColor.mBlue;
  }

 private:
  uint8_t& mRed;
  uint8_t& mGreen;
  uint8_t& mBlue;
  Ostra::RGBColor mColor;
};

// An 8-bit conversion to three outputs and two optional written flags.
template <class Out, class Conversion>
ostra_result ToThreeFlagged(const char* inFunction, Conversion inConversion, Out* ioFirst,
                            Out* ioSecond, Out* outThird, int32_t* outFirstWritten,
                            int32_t* outSecondWritten) {
  return Call(inFunction, [&] {
    bool firstWritten = false, secondWritten = false;
    inConversion(OSTRA_C_REF(ioFirst), OSTRA_C_REF(ioSecond), OSTRA_C_REF(outThird),
                 &firstWritten, &secondWritten);
    SetOptionalFlag(outFirstWritten, firstWritten);
    SetOptionalFlag(outSecondWritten, secondWritten);
  });
}

// A conversion to three outputs of one type, bound to the caller's variables.
template <class Out, class Conversion>
ostra_result ToThree(const char* inFunction, Conversion inConversion, Out* ioFirst, Out* ioSecond,
                     Out* ioThird) {
  return Call(inFunction, [&] {
    inConversion(OSTRA_C_REF(ioFirst), OSTRA_C_REF(ioSecond), OSTRA_C_REF(ioThird));
  });
}

// A conversion to two float outputs (luma and chroma).
template <class Conversion>
ostra_result ToTwo(const char* inFunction, Conversion inConversion, float* ioFirst,
                   float* ioSecond) {
  return Call(inFunction, [&] { inConversion(OSTRA_C_REF(ioFirst), OSTRA_C_REF(ioSecond)); });
}

// A conversion to 8-bit RGB.
template <class Conversion>
ostra_result ToRgb(const char* inFunction, Conversion inConversion, uint8_t* ioRed,
                   uint8_t* ioGreen, uint8_t* ioBlue) {
  return Call(inFunction, [&] {
    RgbOutput rgb(ioRed, ioGreen, ioBlue);
    inConversion(rgb.Color());
    rgb.Store();
  });
}

ostra_result MakeSafe(const char* inFunction, bool (*inRestrict)(const Ostra::RGBColor&,
                                                                  Ostra::RGBColor&),
                      uint8_t inRed, uint8_t inGreen, uint8_t inBlue, uint8_t* ioRed,
                      uint8_t* ioGreen, uint8_t* ioBlue, int32_t* outWasSafe) {
  return Call(inFunction, [&] {
    int32_t& wasSafe = OSTRA_C_REF(outWasSafe);
    RgbOutput rgb(ioRed, ioGreen, ioBlue);
    wasSafe = inRestrict(Ostra::RGBColor(inRed, inGreen, inBlue), rgb.Color());
    rgb.Store();
  });
}

// Format codes: every value of the enumeration's range reaches stratamedia,
// which answers empty text or zero for codes it does not know.
stratamedia::TimeDisplay Format(int32_t inFormat) {
  return EnumArg<stratamedia::TimeDisplayType::Type>(inFormat, 127, "format is out of range");
}

Ostra::Timecode::Style Style(const ostra_timecode_style& inStyle) {
  if (inStyle.struct_size < sizeof(ostra_timecode_style))
    Fail(OSTRA_E_INVALID_ARGUMENT, "style->struct_size is too small");
  Ostra::Timecode::Style style;
  style.mStyleValue = inStyle.style_value;
  style.mOptionA = inStyle.option_a != 0;
  style.mAllowNegative = inStyle.allow_negative != 0;
  style.mOptionB = inStyle.option_b != 0;
  style.mOptionC = inStyle.option_c != 0;
  return style;
}

}  // namespace

extern "C" {

// ------------------------------------------------------------------ colour

OSTRA_C_API ostra_result ostra_color_rgb_to_hsl(uint8_t red, uint8_t green, uint8_t blue,
                                                uint32_t* io_hue, uint32_t* io_saturation,
                                                uint32_t* out_lightness,
                                                int32_t* out_hue_written,
                                                int32_t* out_saturation_written) {
  return ToThreeFlagged(
      __func__,
      [&](uint32_t& h, uint32_t& s, uint32_t& l, bool* hw, bool* sw) {
        Ostra::ColorRGBtoHSL(Ostra::RGBColor(red, green, blue), h, s, l, hw, sw);
      },
      io_hue, io_saturation, out_lightness, out_hue_written, out_saturation_written);
}

OSTRA_C_API ostra_result ostra_color_rgb_to_hsv(uint8_t red, uint8_t green, uint8_t blue,
                                                uint32_t* io_hue, uint32_t* io_saturation,
                                                uint32_t* out_value, int32_t* out_hue_written,
                                                int32_t* out_saturation_written) {
  return ToThreeFlagged(
      __func__,
      [&](uint32_t& h, uint32_t& s, uint32_t& v, bool* hw, bool* sw) {
        Ostra::ColorRGBtoHSV(Ostra::RGBColor(red, green, blue), h, s, v, hw, sw);
      },
      io_hue, io_saturation, out_value, out_hue_written, out_saturation_written);
}

OSTRA_C_API ostra_result ostra_color_hsl_to_rgb(uint32_t hue, uint32_t saturation,
                                                uint32_t lightness, uint8_t* io_red,
                                                uint8_t* io_green, uint8_t* io_blue) {
  return ToRgb(
      __func__,
      [&](Ostra::RGBColor& rgb) { Ostra::ColorHSLtoRGB(hue, saturation, lightness, rgb); },
      io_red, io_green, io_blue);
}

OSTRA_C_API ostra_result ostra_color_hsv_to_rgb(uint32_t hue, uint32_t saturation,
                                                uint32_t value, uint8_t* io_red,
                                                uint8_t* io_green, uint8_t* io_blue) {
  return ToRgb(
      __func__, [&](Ostra::RGBColor& rgb) { Ostra::ColorHSVtoRGB(hue, saturation, value, rgb); },
      io_red, io_green, io_blue);
}

OSTRA_C_API ostra_result ostra_color_hsl_to_hsv(uint32_t hue, uint32_t saturation,
                                                uint32_t lightness, uint32_t* io_hue,
                                                uint32_t* io_saturation, uint32_t* io_value) {
  return ToThree(
      __func__,
      [&](uint32_t& h, uint32_t& s, uint32_t& v) {
        Ostra::ColorHSLtoHSV(hue, saturation, lightness, h, s, v);
      },
      io_hue, io_saturation, io_value);
}

OSTRA_C_API ostra_result ostra_color_hsv_to_hsl(uint32_t hue, uint32_t saturation,
                                                uint32_t value, uint32_t* io_hue,
                                                uint32_t* io_saturation,
                                                uint32_t* io_lightness) {
  return ToThree(
      __func__,
      [&](uint32_t& h, uint32_t& s, uint32_t& l) {
        Ostra::ColorHSVtoHSL(hue, saturation, value, h, s, l);
      },
      io_hue, io_saturation, io_lightness);
}

OSTRA_C_API ostra_result ostra_color_rgb_to_yuv(uint8_t red, uint8_t green, uint8_t blue,
                                                uint8_t* io_y, int8_t* io_u, int8_t* io_v) {
  return Call(__func__, [&] {
    Ostra::ColorRGBtoYUV(Ostra::RGBColor(red, green, blue), OSTRA_C_REF(io_y), OSTRA_C_REF(io_u),
                         OSTRA_C_REF(io_v));
  });
}

OSTRA_C_API ostra_result ostra_color_yuv_to_rgb(uint8_t y, int8_t u, int8_t v, uint8_t* io_red,
                                                uint8_t* io_green, uint8_t* io_blue,
                                                int32_t* out_in_range) {
  return Call(__func__, [&] {
    int32_t& inRange = OSTRA_C_REF(out_in_range);
    RgbOutput rgb(io_red, io_green, io_blue);
    inRange = Ostra::ColorYUVtoRGB(y, u, v, rgb.Color());
    rgb.Store();
  });
}

OSTRA_C_API ostra_result ostra_color_yuv_to_rgb_f(float y, float u, float v, uint8_t* io_red,
                                                  uint8_t* io_green, uint8_t* io_blue) {
  return ToRgb(
      __func__, [&](Ostra::RGBColor& rgb) { Ostra::ColorYUVtoRGBf(y, u, v, rgb); }, io_red,
      io_green, io_blue);
}

OSTRA_C_API ostra_result ostra_color_hsl_to_yuv(uint32_t hue, uint32_t saturation,
                                                uint32_t lightness, uint8_t* io_y,
                                                int8_t* io_u, int8_t* io_v) {
  return Call(__func__, [&] {
    Ostra::ColorHSLtoYUV(hue, saturation, lightness, OSTRA_C_REF(io_y), OSTRA_C_REF(io_u),
                         OSTRA_C_REF(io_v));
  });
}

OSTRA_C_API ostra_result ostra_color_hsv_to_yuv(uint32_t hue, uint32_t saturation,
                                                uint32_t value, uint8_t* io_y, int8_t* io_u,
                                                int8_t* io_v) {
  return Call(__func__, [&] {
    Ostra::ColorHSVtoYUV(hue, saturation, value, OSTRA_C_REF(io_y), OSTRA_C_REF(io_u),
                         OSTRA_C_REF(io_v));
  });
}

OSTRA_C_API ostra_result ostra_color_yuv_to_hsl(uint8_t y, int8_t u, int8_t v, uint32_t* io_hue,
                                                uint32_t* io_saturation,
                                                uint32_t* io_lightness) {
  return ToThree(
      __func__,
      [&](uint32_t& h, uint32_t& s, uint32_t& l) { Ostra::ColorYUVtoHSL(y, u, v, h, s, l); },
      io_hue, io_saturation, io_lightness);
}

OSTRA_C_API ostra_result ostra_color_yuv_to_hsv(uint8_t y, int8_t u, int8_t v, uint32_t* io_hue,
                                                uint32_t* io_saturation, uint32_t* io_value) {
  return ToThree(
      __func__,
      [&](uint32_t& h, uint32_t& s, uint32_t& val) { Ostra::ColorYUVtoHSV(y, u, v, h, s, val); },
      io_hue, io_saturation, io_value);
}

OSTRA_C_API ostra_result ostra_color_rgb_to_ypbpr(float red, float green, float blue,
                                                  float* io_y, float* io_pb, float* io_pr) {
  return ToThree(
      __func__,
      [&](float& y, float& pb, float& pr) { Ostra::ColorRGBToYPbPr(red, green, blue, y, pb, pr); },
      io_y, io_pb, io_pr);
}

OSTRA_C_API ostra_result ostra_color_ypbpr_to_rgb(float y, float pb, float pr, float* io_red,
                                                  float* io_green, float* io_blue) {
  return ToThree(
      __func__, [&](float& r, float& g, float& b) { Ostra::ColorYPbPrToRGB(y, pb, pr, r, g, b); },
      io_red, io_green, io_blue);
}

OSTRA_C_API ostra_result ostra_color_ypbpr_to_yiq(float y, float pb, float pr, float* io_y,
                                                  float* io_i, float* io_q) {
  return ToThree(
      __func__,
      [&](float& yy, float& i, float& q) { Ostra::ColorYPbPrToYIQ(y, pb, pr, yy, i, q); }, io_y,
      io_i, io_q);
}

OSTRA_C_API ostra_result ostra_color_ypbpr_to_hsl(float y, float pb, float pr, float* io_hue,
                                                  float* io_saturation, float* io_lightness) {
  return ToThree(
      __func__, [&](float& h, float& s, float& l) { Ostra::ColorYPbPrToHSL(y, pb, pr, h, s, l); },
      io_hue, io_saturation, io_lightness);
}

OSTRA_C_API ostra_result ostra_color_pbpr_to_hue(float pb, float pr, float* io_hue) {
  return Call(__func__, [&] { Ostra::ColorPbPrToHue(pb, pr, OSTRA_C_REF(io_hue)); });
}

OSTRA_C_API ostra_result ostra_color_rgb_to_ire(float red, float green, float blue,
                                                float* io_luma, float* io_chroma) {
  return ToTwo(
      __func__, [&](float& l, float& c) { Ostra::ColorRGBToIRE(red, green, blue, l, c); },
      io_luma, io_chroma);
}

OSTRA_C_API ostra_result ostra_color_rgb_to_mv(float red, float green, float blue,
                                               float* io_luma, float* io_chroma) {
  return ToTwo(
      __func__, [&](float& l, float& c) { Ostra::ColorRGBToMV(red, green, blue, l, c); },
      io_luma, io_chroma);
}

OSTRA_C_API ostra_result ostra_color_ypbpr_to_ire(float y, float pb, float pr, float* io_luma,
                                                  float* io_chroma) {
  return ToTwo(
      __func__, [&](float& l, float& c) { Ostra::ColorYPbPrToIRE(y, pb, pr, l, c); }, io_luma,
      io_chroma);
}

OSTRA_C_API ostra_result ostra_color_ypbpr_to_mv(float y, float pb, float pr, float* io_luma,
                                                 float* io_chroma) {
  return ToTwo(
      __func__, [&](float& l, float& c) { Ostra::ColorYPbPrToMV(y, pb, pr, l, c); }, io_luma,
      io_chroma);
}

OSTRA_C_API ostra_result ostra_color_normalized_rgb_to_hsl(float red, float green, float blue,
                                                           float* io_hue, float* io_saturation,
                                                           float* out_lightness,
                                                           int32_t* out_hue_written,
                                                           int32_t* out_saturation_written) {
  return ToThreeFlagged(
      __func__,
      [&](float& h, float& s, float& l, bool* hw, bool* sw) {
        Ostra::NormalizedRGBtoHSL(red, green, blue, h, s, l, hw, sw);
      },
      io_hue, io_saturation, out_lightness, out_hue_written, out_saturation_written);
}

OSTRA_C_API ostra_result ostra_color_normalized_rgb_to_hsv(float red, float green, float blue,
                                                           float* io_hue, float* io_saturation,
                                                           float* out_value,
                                                           int32_t* out_hue_written,
                                                           int32_t* out_saturation_written) {
  return ToThreeFlagged(
      __func__,
      [&](float& h, float& s, float& v, bool* hw, bool* sw) {
        Ostra::NormalizedRGBtoHSV(red, green, blue, h, s, v, hw, sw);
      },
      io_hue, io_saturation, out_value, out_hue_written, out_saturation_written);
}

OSTRA_C_API ostra_result ostra_color_normalized_hsl_to_rgb(float hue, float saturation,
                                                           float lightness, float* io_red,
                                                           float* io_green, float* io_blue) {
  return ToThree(
      __func__,
      [&](float& r, float& g, float& b) {
        Ostra::NormalizedHSLtoRGB(hue, saturation, lightness, r, g, b);
      },
      io_red, io_green, io_blue);
}

OSTRA_C_API ostra_result ostra_color_normalized_hsv_to_rgb(float hue, float saturation,
                                                           float value, float* io_red,
                                                           float* io_green, float* io_blue) {
  return ToThree(
      __func__,
      [&](float& r, float& g, float& b) {
        Ostra::NormalizedHSVtoRGB(hue, saturation, value, r, g, b);
      },
      io_red, io_green, io_blue);
}

OSTRA_C_API ostra_result ostra_color_make_rgb_ntsc_safe(uint8_t red, uint8_t green,
                                                        uint8_t blue, uint8_t* io_red,
                                                        uint8_t* io_green, uint8_t* io_blue,
                                                        int32_t* out_was_safe) {
  return MakeSafe(__func__, Ostra::MakeRGBNTSCSafe, red, green, blue, io_red, io_green, io_blue,
                  out_was_safe);
}

OSTRA_C_API ostra_result ostra_color_make_rgb_web_safe(uint8_t red, uint8_t green, uint8_t blue,
                                                       uint8_t* io_red, uint8_t* io_green,
                                                       uint8_t* io_blue, int32_t* out_was_safe) {
  return MakeSafe(__func__, Ostra::MakeRGBWebSafe, red, green, blue, io_red, io_green, io_blue,
                  out_was_safe);
}

// ------------------------------------------------------------- time stamps

OSTRA_C_API ostra_result ostra_time_stamp_now(double* out_clock_reading) {
  return Call(__func__,
              [&] { OSTRA_C_REF(out_clock_reading) = Ostra::TimeStamp().GetClockReading(); });
}

OSTRA_C_API ostra_result ostra_time_stamp_start(double* out_clock_reading) {
  return Call(__func__, [&] {
    OSTRA_C_REF(out_clock_reading) = Ostra::TimeStamp::GetStartTime().GetClockReading();
  });
}

OSTRA_C_API ostra_result ostra_time_stamp_elapsed_milliseconds(double clock_reading,
                                                               double* out_milliseconds) {
  return Call(__func__, [&] {
    OSTRA_C_REF(out_milliseconds) = Ostra::TimeStamp(clock_reading).GetElapsedValue();
  });
}

OSTRA_C_API ostra_result ostra_time_stamp_elapsed_microseconds(double clock_reading,
                                                               double* out_microseconds) {
  return Call(__func__, [&] {
    OSTRA_C_REF(out_microseconds) = Ostra::TimeStamp(clock_reading).GetMicroSeconds();
  });
}

OSTRA_C_API ostra_result ostra_time_stamp_elapsed_seconds(double clock_reading,
                                                          double* out_seconds) {
  return Call(__func__, [&] {
    OSTRA_C_REF(out_seconds) = Ostra::TimeStamp(clock_reading).GetSeconds();
  });
}

OSTRA_C_API ostra_result ostra_time_stamp_parts(double clock_reading, int32_t* out_seconds,
                                                int32_t* out_milliseconds,
                                                int32_t* out_microseconds) {
  return Call(__func__, [&] {
    const Ostra::TimeStamp stamp(clock_reading);
    OSTRA_C_REF(out_seconds) = stamp.GetSecondsPart();
    OSTRA_C_REF(out_milliseconds) = stamp.GetMilliSecondsPart();
    OSTRA_C_REF(out_microseconds) = stamp.GetMicroSecondsPart();
  });
}

// ------------------------------------------------------------ time display

OSTRA_C_API ostra_result ostra_frame_rate_from_frames_per_second(int64_t numerator,
                                                                 int64_t denominator,
                                                                 int64_t* out_frame_rate) {
  return Call(__func__, [&] {
    OSTRA_C_REF(out_frame_rate) =
        FrameRate::FromFramesPerSecond(numerator, denominator).GetTicksPerFrame();
  });
}

OSTRA_C_API ostra_result ostra_time_to_frames(int64_t time, int64_t frame_rate,
                                              int64_t* out_frame) {
  return Call(__func__, [&] {
    OSTRA_C_REF(out_frame) = stratamedia::TimeToFrames(TickTime(time), FrameRate(frame_rate));
  });
}

OSTRA_C_API ostra_result ostra_frames_to_time(int64_t frame, int64_t frame_rate,
                                              int64_t* out_time) {
  return Call(__func__, [&] {
    OSTRA_C_REF(out_time) = stratamedia::FramesToTime(frame, FrameRate(frame_rate)).GetTicks();
  });
}

OSTRA_C_API ostra_result ostra_time_to_timecode(int64_t time, int64_t frame_rate,
                                                int32_t format, uint32_t flags, uint16_t* out,
                                                size_t capacity, size_t* out_length) {
  return Call(__func__, [&] {
    return Out(stratamedia::TimeToTimecode(TickTime(time), FrameRate(frame_rate), Format(format),
                                           flags),
               out, capacity, out_length);
  });
}

OSTRA_C_API ostra_result ostra_timecode_to_time(const uint16_t* text, int64_t frame_rate,
                                                int32_t format, uint32_t flags,
                                                int64_t* out_time) {
  return Call(__func__, [&] {
    int64_t& time = OSTRA_C_REF(out_time);
    time = stratamedia::TimecodeToTime(OSTRA_C_TEXT(text), FrameRate(frame_rate), Format(format),
                                       flags)
               .GetTicks();
  });
}

OSTRA_C_API ostra_result ostra_time_to_hmsf(int64_t time, int64_t frame_rate, int32_t format,
                                            uint32_t* out_hours, uint32_t* out_minutes,
                                            uint32_t* out_seconds, uint64_t* out_frames,
                                            int32_t* out_negative) {
  return Call(__func__, [&] {
    int32_t& negative = OSTRA_C_REF(out_negative);
    bool isNegative = false;
    stratamedia::TimeToHMSF(OSTRA_C_REF(out_hours), OSTRA_C_REF(out_minutes),
                            OSTRA_C_REF(out_seconds), OSTRA_C_REF(out_frames), isNegative,
                            TickTime(time), FrameRate(frame_rate), Format(format));
    negative = isNegative;
  });
}

OSTRA_C_API ostra_result ostra_hmsf_to_time(uint32_t hours, uint32_t minutes, uint32_t seconds,
                                            uint64_t frames, int32_t negative,
                                            int64_t frame_rate, int32_t format,
                                            int64_t* out_time) {
  return Call(__func__, [&] {
    int64_t& time = OSTRA_C_REF(out_time);
    time = stratamedia::HMSFToTime(hours, minutes, seconds, frames, negative != 0,
                                   FrameRate(frame_rate), Format(format))
               .GetTicks();
  });
}

OSTRA_C_API ostra_result ostra_time_display_is_hmsf(int32_t format, int32_t count_drop_frame,
                                                    int32_t* out_answer) {
  return Call(__func__, [&] {
    int32_t& answer = OSTRA_C_REF(out_answer);
    answer = stratamedia::IsHMSFTimeDisplay(Format(format), count_drop_frame != 0);
  });
}

OSTRA_C_API ostra_result ostra_time_display_is_drop_frame(int32_t format, int32_t* out_answer) {
  return Call(__func__, [&] {
    int32_t& answer = OSTRA_C_REF(out_answer);
    answer = stratamedia::IsDropFrameTimeDisplay(Format(format));
  });
}

OSTRA_C_API ostra_result ostra_time_display_nominal_frames_per_second(
    int32_t format, uint32_t* out_frames_per_second) {
  return Call(__func__, [&] {
    uint32_t& perSecond = OSTRA_C_REF(out_frames_per_second);
    perSecond = stratamedia::GetNominalFramesPerSecond(Format(format));
  });
}

// ---------------------------------------------------------------- timecode

OSTRA_C_API ostra_result ostra_timecode_new(int64_t time, int64_t frame_rate, int32_t format,
                                            const ostra_timecode_style* style,
                                            ostra_timecode** out_timecode) {
  return Call(__func__, [&] {
    const Ostra::Timecode timecode(TickTime(time), FrameRate(frame_rate), Format(format),
                                   style ? Style(*style) : Ostra::Timecode::Style());
    New(out_timecode, timecode);
  });
}

OSTRA_C_API ostra_result ostra_timecode_destroy(ostra_timecode* timecode) {
  return Call(__func__, [&] { Destroy(timecode); });
}

OSTRA_C_API ostra_result ostra_timecode_copy(const ostra_timecode* timecode,
                                             ostra_timecode** out_copy) {
  return Call(__func__, [&] { New(out_copy, Use(timecode).mTimecode); });
}

OSTRA_C_API ostra_result ostra_timecode_get_time(const ostra_timecode* timecode,
                                                 int64_t* out_time) {
  return Call(__func__,
              [&] { OSTRA_C_REF(out_time) = Use(timecode).mTimecode.GetTime().GetTicks(); });
}

OSTRA_C_API ostra_result ostra_timecode_set_time(ostra_timecode* timecode, int64_t time) {
  return Call(__func__, [&] { Use(timecode).mTimecode.SetTime(TickTime(time)); });
}

OSTRA_C_API ostra_result ostra_timecode_get_frame_rate(const ostra_timecode* timecode,
                                                       int64_t* out_frame_rate) {
  return Call(__func__, [&] {
    OSTRA_C_REF(out_frame_rate) = Use(timecode).mTimecode.GetFrameRate().GetTicksPerFrame();
  });
}

OSTRA_C_API ostra_result ostra_timecode_get_format(const ostra_timecode* timecode,
                                                   int32_t* out_format) {
  return Call(__func__,
              [&] { OSTRA_C_REF(out_format) = Use(timecode).mTimecode.GetFormat().GetType(); });
}

OSTRA_C_API ostra_result ostra_timecode_set_format(ostra_timecode* timecode, int32_t format,
                                                   int64_t frame_rate) {
  return Call(__func__,
              [&] { Use(timecode).mTimecode.SetFormat(Format(format), FrameRate(frame_rate)); });
}

OSTRA_C_API ostra_result ostra_timecode_get_style(const ostra_timecode* timecode,
                                                  ostra_timecode_style* out_style) {
  return Call(__func__, [&] {
    ostra_timecode_style& out = OSTRA_C_REF(out_style);
    if (out.struct_size < sizeof(ostra_timecode_style))
      Fail(OSTRA_E_INVALID_ARGUMENT, "out_style->struct_size is too small");
    const Ostra::Timecode::Style style = Use(timecode).mTimecode.GetStyle();
    out.style_value = style.mStyleValue;
    out.option_a = style.mOptionA;
    out.allow_negative = style.mAllowNegative;
    out.option_b = style.mOptionB;
    out.option_c = style.mOptionC;
  });
}

OSTRA_C_API ostra_result ostra_timecode_set_style(ostra_timecode* timecode,
                                                  const ostra_timecode_style* style) {
  return Call(__func__,
              [&] { Use(timecode).mTimecode.SetStyle(Style(OSTRA_C_REF(style))); });
}

OSTRA_C_API ostra_result ostra_timecode_style_formatting_flags(const ostra_timecode_style* style,
                                                               uint32_t* out_flags) {
  return Call(__func__, [&] {
    uint32_t& flags = OSTRA_C_REF(out_flags);
    flags = Ostra::Timecode::GetFormattingFlags(Style(OSTRA_C_REF(style))).Get();
  });
}

OSTRA_C_API ostra_result ostra_timecode_style_parsing_flags(const ostra_timecode_style* style,
                                                            uint32_t* out_flags) {
  return Call(__func__, [&] {
    uint32_t& flags = OSTRA_C_REF(out_flags);
    flags = Ostra::Timecode::GetParsingFlags(Style(OSTRA_C_REF(style))).Get();
  });
}

OSTRA_C_API ostra_result ostra_timecode_get_string(const ostra_timecode* timecode, uint16_t* out,
                                                   size_t capacity, size_t* out_length) {
  return Call(__func__, [&] {
    return Out(Use(timecode).mTimecode.GetString(), out, capacity, out_length);
  });
}

OSTRA_C_API ostra_result ostra_timecode_set_string(ostra_timecode* timecode,
                                                   const uint16_t* text) {
  return Call(__func__, [&] { Use(timecode).mTimecode.SetTime(OSTRA_C_TEXT(text)); });
}

OSTRA_C_API ostra_result ostra_timecode_string_to_time(const uint16_t* text, int64_t frame_rate,
                                                       int32_t format, int32_t unwrapped_hours,
                                                       int64_t* out_time) {
  return Call(__func__, [&] {
    int64_t& time = OSTRA_C_REF(out_time);
    time = Ostra::Timecode::StringToTime(OSTRA_C_TEXT(text), FrameRate(frame_rate),
                                         Format(format), unwrapped_hours != 0)
               .GetTicks();
  });
}

OSTRA_C_API ostra_result ostra_timecode_get_hmsf(const ostra_timecode* timecode,
                                                 int32_t* out_hours, int32_t* out_minutes,
                                                 int32_t* out_seconds, int64_t* out_frames) {
  return Call(__func__, [&] {
    const Ostra::Timecode& found = Use(timecode).mTimecode;
    return found.GetHMSF(OSTRA_C_REF(out_hours), OSTRA_C_REF(out_minutes),
                         OSTRA_C_REF(out_seconds), OSTRA_C_REF(out_frames));
  });
}

OSTRA_C_API ostra_result ostra_timecode_increment_hmsf(ostra_timecode* timecode, int32_t hours,
                                                       int32_t minutes, int32_t seconds,
                                                       int32_t frames) {
  return Call(__func__,
              [&] { Use(timecode).mTimecode.IncrementHMSF(hours, minutes, seconds, frames); });
}

OSTRA_C_API ostra_result ostra_timecode_increment_feet_frames(ostra_timecode* timecode,
                                                              int32_t feet, int32_t frames) {
  return Call(__func__, [&] { Use(timecode).mTimecode.IncrementFeetFrames(feet, frames); });
}

OSTRA_C_API ostra_result ostra_timecode_conform(const ostra_timecode* source, int64_t frame_rate,
                                                int32_t format, ostra_timecode* target) {
  return Call(__func__, [&] {
    const Ostra::Timecode& from = Use(source).mTimecode;
    Ostra::Timecode& to = Use(target).mTimecode;
    return Ostra::Timecode::ConformTimecode(from, FrameRate(frame_rate), Format(format), to);
  });
}

}  // extern "C"
