// Timecode text both ways for a million consecutive frames at 30000/1001
// drop-frame, and the colour conversions over a 1920x1080 frame, each next
// to a trivial loop over the same items measured in the same run.
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "BenchHarness.h"
#include "Ostra/OstraFoundation.h"

namespace {

using namespace stratamedia;
using OstraBench::KeepAlive;
using OstraBench::Measure;
using OstraBench::Measurement;
using OstraBench::Report;

const std::int64_t kFrames = 1000000;
const int kPixels = 1920 * 1080;

void TimecodeBenchmarks() {
  const FrameRate rate = kFrameRate_VideoNTSC;
  const TimeDisplay format(TimeDisplayType::kTimecodeNTSCDrop);

  std::vector<UString> texts(kFrames);
  for (std::int64_t frame = 0; frame < kFrames; ++frame)
    texts[frame] = TimeToTimecode(FramesToTime(frame, rate), rate, format);

  OstraBench::PrintHeader("Timecode, 1,000,000 consecutive frames at 30000/1001 drop-frame");
  const Measurement baseline = Measure("baseline: frame start times", kFrames, [&] {
    std::uint64_t sum = 0;
    for (std::int64_t frame = 0; frame < kFrames; ++frame)
      sum += static_cast<std::uint64_t>(FramesToTime(frame, rate).GetTicks());
    KeepAlive(sum);
  });
  Report(baseline, baseline);
  Report(Measure("TimeToTimecode", kFrames,
                 [&] {
                   std::uint64_t sum = 0;
                   for (std::int64_t frame = 0; frame < kFrames; ++frame)
                     sum += TimeToTimecode(FramesToTime(frame, rate), rate, format).size();
                   KeepAlive(sum);
                 }),
         baseline);
  Report(Measure("TimecodeToTime", kFrames,
                 [&] {
                   std::uint64_t sum = 0;
                   for (const UString& text : texts)
                     sum += static_cast<std::uint64_t>(TimecodeToTime(text, rate, format).GetTicks());
                   KeepAlive(sum);
                 }),
         baseline);
  Ostra::Timecode timecode;
  Report(Measure("Ostra::Timecode SetTime + GetString", kFrames,
                 [&] {
                   std::uint64_t sum = 0;
                   for (std::int64_t frame = 0; frame < kFrames; ++frame) {
                     timecode.SetTime(FramesToTime(frame, rate));
                     sum += timecode.GetString().size();
                   }
                   KeepAlive(sum);
                 }),
         baseline);
  Report(Measure("Ostra::Timecode SetTime(text)", kFrames,
                 [&] {
                   std::uint64_t sum = 0;
                   for (const UString& text : texts) {
                     timecode.SetTime(text);
                     sum += static_cast<std::uint64_t>(timecode.GetTime().GetTicks());
                   }
                   KeepAlive(sum);
                 }),
         baseline);
}

void ColorBenchmarks() {
  // A frame with every hue, level and grey in it.
  std::vector<Ostra::RGBColor> frame(kPixels);
  std::uint32_t seed = 12345;
  for (Ostra::RGBColor& pixel : frame) {
    seed = seed * 1664525u + 1013904223u;
    pixel = Ostra::RGBColor(static_cast<unsigned char>(seed >> 24),
                            static_cast<unsigned char>(seed >> 16),
                            static_cast<unsigned char>(seed >> 8));
  }
  struct Hsx {
    std::uint32_t h, s, x;
  };
  struct Yuv {
    unsigned char y;
    signed char u, v;
  };
  std::vector<Hsx> hsl(kPixels), hsv(kPixels);
  std::vector<Yuv> yuv(kPixels);
  for (int i = 0; i < kPixels; ++i) {
    Ostra::ColorRGBtoHSL(frame[i], hsl[i].h, hsl[i].s, hsl[i].x);
    Ostra::ColorRGBtoHSV(frame[i], hsv[i].h, hsv[i].s, hsv[i].x);
    Ostra::ColorRGBtoYUV(frame[i], yuv[i].y, yuv[i].u, yuv[i].v);
  }

  OstraBench::PrintHeader("Colour, one 1920x1080 frame");
  const Measurement baseline = Measure("baseline: sum of channels", kPixels, [&] {
    std::uint64_t sum = 0;
    for (const Ostra::RGBColor& pixel : frame) sum += pixel.mRed + pixel.mGreen + pixel.mBlue;
    KeepAlive(sum);
  });
  Report(baseline, baseline);
  Report(Measure("ColorRGBtoHSL", kPixels,
                 [&] {
                   std::uint64_t sum = 0;
                   std::uint32_t h = 0, s = 0, l = 0;
                   for (const Ostra::RGBColor& pixel : frame) {
                     Ostra::ColorRGBtoHSL(pixel, h, s, l);
                     sum += h + s + l;
                   }
                   KeepAlive(sum);
                 }),
         baseline);
  Report(Measure("ColorRGBtoHSV", kPixels,
                 [&] {
                   std::uint64_t sum = 0;
                   std::uint32_t h = 0, s = 0, v = 0;
                   for (const Ostra::RGBColor& pixel : frame) {
                     Ostra::ColorRGBtoHSV(pixel, h, s, v);
                     sum += h + s + v;
                   }
                   KeepAlive(sum);
                 }),
         baseline);
  Report(Measure("ColorRGBtoYUV", kPixels,
                 [&] {
                   std::uint64_t sum = 0;
                   unsigned char y;
                   signed char u, v;
                   for (const Ostra::RGBColor& pixel : frame) {
                     Ostra::ColorRGBtoYUV(pixel, y, u, v);
                     sum += y + u + v;
                   }
                   KeepAlive(sum);
                 }),
         baseline);
  Report(Measure("ColorHSLtoRGB", kPixels,
                 [&] {
                   std::uint64_t sum = 0;
                   Ostra::RGBColor out;
                   for (const Hsx& pixel : hsl) {
                     Ostra::ColorHSLtoRGB(pixel.h, pixel.s, pixel.x, out);
                     sum += out.mRed + out.mGreen + out.mBlue;
                   }
                   KeepAlive(sum);
                 }),
         baseline);
  Report(Measure("ColorHSVtoRGB", kPixels,
                 [&] {
                   std::uint64_t sum = 0;
                   Ostra::RGBColor out;
                   for (const Hsx& pixel : hsv) {
                     Ostra::ColorHSVtoRGB(pixel.h, pixel.s, pixel.x, out);
                     sum += out.mRed + out.mGreen + out.mBlue;
                   }
                   KeepAlive(sum);
                 }),
         baseline);
  Report(Measure("ColorYUVtoRGB", kPixels,
                 [&] {
                   std::uint64_t sum = 0;
                   Ostra::RGBColor out;
                   for (const Yuv& pixel : yuv) {
                     sum += Ostra::ColorYUVtoRGB(pixel.y, pixel.u, pixel.v, out);
                     sum += out.mRed + out.mGreen + out.mBlue;
                   }
                   KeepAlive(sum);
                 }),
         baseline);
}

}  // namespace

int main() {
  std::printf("MediaBench: cost per item; \"x base\" is the multiple of the baseline loop\n");
  TimecodeBenchmarks();
  ColorBenchmarks();
  return 0;
}
