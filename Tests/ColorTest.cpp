#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "Ostra/Color.h"

namespace {

using Ostra::RGBColor;

const std::uint32_t kUntouched = 999;

struct Reading {
  std::uint32_t hue = kUntouched, saturation = kUntouched, level = kUntouched;
  bool hueWritten = true, saturationWritten = false;
};

Reading HSL(const RGBColor& inColor) {
  Reading reading;
  Ostra::ColorRGBtoHSL(inColor, reading.hue, reading.saturation, reading.level,
                       &reading.hueWritten, &reading.saturationWritten);
  return reading;
}

Reading HSV(const RGBColor& inColor) {
  Reading reading;
  Ostra::ColorRGBtoHSV(inColor, reading.hue, reading.saturation, reading.level,
                       &reading.hueWritten, &reading.saturationWritten);
  return reading;
}

void ExpectReading(const Reading& inReading, std::uint32_t inHue, std::uint32_t inSaturation,
                   std::uint32_t inLevel) {
  EXPECT_EQ(inHue, inReading.hue);
  EXPECT_EQ(inSaturation, inReading.saturation);
  EXPECT_EQ(inLevel, inReading.level);
  EXPECT_EQ(inHue != kUntouched, inReading.hueWritten);
  EXPECT_EQ(inSaturation != kUntouched, inReading.saturationWritten);
}

TEST(ColorRGBtoHSL, WritesOnlyWhatIsDefinedAndUsesChromaAsSaturation) {
  const struct {
    RGBColor color;
    std::uint32_t hue, saturation, lightness;
  } rows[] = {
      {RGBColor(0, 0, 0), kUntouched, kUntouched, 0},
      {RGBColor(128, 128, 128), kUntouched, 0, 50},
      {RGBColor(255, 255, 255), kUntouched, 0, 100},
      {RGBColor(255, 0, 0), 0, 100, 50},
      {RGBColor(0, 255, 0), 120, 100, 50},
      {RGBColor(0, 0, 255), 240, 100, 50},
      // Chroma, not the usual 100 * C / (2 - 2L) = 99.
      {RGBColor(255, 128, 128), 0, 50, 75},
      // Just below a full turn rounds up to 360.
      {RGBColor(255, 0, 1), 360, 100, 50},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << int(row.color.mRed) << "," << int(row.color.mGreen)
                                      << "," << int(row.color.mBlue));
    ExpectReading(HSL(row.color), row.hue, row.saturation, row.lightness);
  }
}

TEST(ColorRGBtoHSV, WritesOnlyWhatIsDefined) {
  const struct {
    RGBColor color;
    std::uint32_t hue, saturation, value;
  } rows[] = {
      {RGBColor(0, 0, 0), kUntouched, kUntouched, 0},
      {RGBColor(128, 128, 128), kUntouched, 0, 50},
      {RGBColor(0, 0, 255), 240, 100, 100},
      {RGBColor(255, 255, 0), 60, 100, 100},
      {RGBColor(255, 128, 128), 0, 50, 100},
      {RGBColor(0, 128, 128), 180, 100, 50},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << int(row.color.mRed) << "," << int(row.color.mGreen)
                                      << "," << int(row.color.mBlue));
    ExpectReading(HSV(row.color), row.hue, row.saturation, row.value);
  }
  // Null flags are allowed.
  std::uint32_t h = 0, s = 0, v = 0;
  Ostra::ColorRGBtoHSV(RGBColor(10, 20, 30), h, s, v);
  EXPECT_EQ(210u, h);
}

TEST(ColorToRGB, FullTurnIsBlackInHSLAndRedInHSV) {
  const struct {
    bool hsl;
    std::uint32_t a, b, c;
    RGBColor expected;
  } rows[] = {
      {true, 360, 100, 50, RGBColor(0, 0, 0)},     {true, 0, 100, 50, RGBColor(255, 0, 0)},
      {true, 120, 100, 50, RGBColor(0, 255, 0)},   {true, 240, 100, 25, RGBColor(0, 0, 128)},
      {true, 0, 0, 50, RGBColor(128, 128, 128)},   {true, 0, 0, 0, RGBColor(0, 0, 0)},
      {false, 360, 100, 100, RGBColor(255, 0, 0)}, {false, 60, 100, 100, RGBColor(255, 255, 0)},
      {false, 0, 0, 50, RGBColor(128, 128, 128)},  {false, 300, 50, 100, RGBColor(255, 128, 255)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << (row.hsl ? "HSL " : "HSV ") << row.a << "," << row.b
                                      << "," << row.c);
    RGBColor color(1, 2, 3);
    if (row.hsl)
      Ostra::ColorHSLtoRGB(row.a, row.b, row.c, color);
    else
      Ostra::ColorHSVtoRGB(row.a, row.b, row.c, color);
    EXPECT_EQ(row.expected, color);
  }
  // An HSV hue without a sextant leaves the caller's colour.
  RGBColor kept(1, 2, 3);
  Ostra::ColorHSVtoRGB(400, 100, 100, kept);
  EXPECT_EQ(RGBColor(1, 2, 3), kept);
  float r = 0.25f, g = 0.5f, b = 0.75f;
  Ostra::NormalizedHSVtoRGB(std::numeric_limits<float>::quiet_NaN(), 1, 1, r, g, b);
  EXPECT_EQ(0.25f, r);
}

TEST(ColorRoundTrips, RGBThroughHSVAndYUVComeBackClose) {
  for (int r = 0; r < 256; r += 5) {
    for (int g = 0; g < 256; g += 5) {
      for (int b = 0; b < 256; b += 5) {
        const RGBColor color(r, g, b);
        std::uint32_t h = 0, s = 0, v = 0;
        Ostra::ColorRGBtoHSV(color, h, s, v);
        RGBColor back;
        Ostra::ColorHSVtoRGB(h, s, v, back);
        // Whole degrees and percent hold about 1.3 steps of 8 bits.
        ASSERT_LE(std::abs(back.mRed - r) + std::abs(back.mGreen - g) + std::abs(back.mBlue - b),
                  9)
            << r << "," << g << "," << b;

        unsigned char y;
        signed char u, w;
        Ostra::ColorRGBtoYUV(color, y, u, w);
        ASSERT_GE(y, 16);
        ASSERT_LE(y, 235);
        RGBColor fromYUV;
        // A colour that came from RGB always has a channel in range.
        ASSERT_TRUE(Ostra::ColorYUVtoRGB(y, u, w, fromYUV));
        // Both directions truncate: at most four steps.
        ASSERT_LE(std::abs(fromYUV.mRed - r), 4) << r << "," << g << "," << b;
        ASSERT_LE(std::abs(fromYUV.mGreen - g), 4) << r << "," << g << "," << b;
        ASSERT_LE(std::abs(fromYUV.mBlue - b), 4) << r << "," << g << "," << b;
      }
    }
  }
}

TEST(ColorYUV, StudioRangeAndTheAnyChannelRule) {
  unsigned char y;
  signed char u, v;
  Ostra::ColorRGBtoYUV(RGBColor(255, 255, 255), y, u, v);
  EXPECT_EQ(235, y);
  EXPECT_EQ(0, u);
  EXPECT_EQ(0, v);
  Ostra::ColorRGBtoYUV(RGBColor(0, 0, 0), y, u, v);
  EXPECT_EQ(16, y);
  EXPECT_EQ(0, u);
  EXPECT_EQ(0, v);
  Ostra::ColorRGBtoYUV(RGBColor(0, 0, 255), y, u, v);
  EXPECT_EQ(40, y);
  EXPECT_EQ(111, u);
  EXPECT_EQ(-19, v);

  const struct {
    unsigned char y;
    signed char u, v;
    bool result;
    RGBColor color;
  } rows[] = {
      {16, 0, 0, true, RGBColor(0, 0, 0)},
      {235, 0, 0, true, RGBColor(254, 254, 254)},
      // Only green in range: still true.
      {255, 127, -128, true, RGBColor(73, 255, 255)},
      // All three clamped: the only false.
      {0, -67, 11, false, RGBColor(0, 0, 0)},
      {255, 83, -13, false, RGBColor(255, 255, 255)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << int(row.y) << "," << int(row.u) << "," << int(row.v));
    RGBColor color;
    EXPECT_EQ(row.result, Ostra::ColorYUVtoRGB(row.y, row.u, row.v, color));
    EXPECT_EQ(row.color, color);
  }

  // The float form rounds half away from zero where the byte form truncates.
  RGBColor rounded, truncated;
  Ostra::ColorYUVtoRGBf(235.0f, 0.0f, 0.0f, rounded);
  EXPECT_EQ(RGBColor(255, 255, 255), rounded);
  Ostra::ColorYUVtoRGB(235, 0, 0, truncated);
  EXPECT_EQ(RGBColor(254, 254, 254), truncated);
  Ostra::ColorYUVtoRGBf(std::numeric_limits<float>::quiet_NaN(), 1e30f, -1e30f, rounded);
  EXPECT_EQ(0, rounded.mRed);

  // The compound forms agree with their two steps.
  std::uint32_t h = kUntouched, s = kUntouched, l = kUntouched;
  Ostra::ColorYUVtoHSL(235, 0, 0, h, s, l);
  EXPECT_EQ(kUntouched, h);  // grey: no hue
  EXPECT_EQ(0u, s);
  EXPECT_EQ(100u, l);
  Ostra::ColorHSVtoYUV(240, 100, 100, y, u, v);
  EXPECT_EQ(40, y);
  EXPECT_EQ(111, u);
}

TEST(ColorHSLandHSV, ConvertThroughRGBKeepingHueAndBlackSaturation) {
  const struct {
    bool fromHSL;
    std::uint32_t h, s, level, expectedS, expectedLevel;
  } rows[] = {
      {true, 0, 100, 50, 100, 100},  {true, 200, 40, 0, 40, 0},   // black keeps S
      {true, 120, 0, 50, 0, 50},     {false, 0, 100, 100, 100, 50},
      {false, 77, 60, 0, 60, 0},     {false, 240, 50, 100, 50, 75},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << row.fromHSL << " " << row.h << "," << row.s << ","
                                      << row.level);
    std::uint32_t h = 0, s = 0, level = 0;
    if (row.fromHSL)
      Ostra::ColorHSLtoHSV(row.h, row.s, row.level, h, s, level);
    else
      Ostra::ColorHSVtoHSL(row.h, row.s, row.level, h, s, level);
    EXPECT_EQ(row.h, h);
    EXPECT_EQ(row.expectedS, s);
    EXPECT_EQ(row.expectedLevel, level);
  }
}

TEST(ColorFloat, YPbPrYIQAndVideoLevels) {
  for (float r : {0.0f, 0.3f, 1.0f}) {
    for (float g : {0.0f, 0.6f, 1.0f}) {
      for (float b : {0.0f, 0.1f, 1.0f}) {
        SCOPED_TRACE(::testing::Message() << r << "," << g << "," << b);
        float y, pb, pr, r2, g2, b2;
        Ostra::ColorRGBToYPbPr(r, g, b, y, pb, pr);
        Ostra::ColorYPbPrToRGB(y, pb, pr, r2, g2, b2);
        EXPECT_NEAR(r, r2, 1e-5f);
        EXPECT_NEAR(g, g2, 1e-5f);
        EXPECT_NEAR(b, b2, 1e-5f);
        float y3, i, q;
        Ostra::ColorYPbPrToYIQ(y, pb, pr, y3, i, q);
        EXPECT_EQ(y, y3);
        EXPECT_NEAR(pb * pb + pr * pr, i * i + q * q, 1e-5f);  // a rotation
        float hue = -1;
        Ostra::ColorPbPrToHue(pb, pr, hue);
        EXPECT_GE(hue, 0.0f);
        EXPECT_LE(hue, 1.0f);  // a hue just below zero wraps to a full turn
      }
    }
  }
  float luma, chroma;
  Ostra::ColorRGBToIRE(1, 1, 1, luma, chroma);
  EXPECT_NEAR(100.0f, luma, 1e-3f);
  EXPECT_NEAR(0.0f, chroma, 1e-3f);
  Ostra::ColorRGBToMV(1, 1, 1, luma, chroma);
  EXPECT_NEAR(714.2857f, luma, 1e-2f);
  Ostra::ColorYPbPrToIRE(0.5f, 0.0f, 0.5f, luma, chroma);
  EXPECT_FLOAT_EQ(50.0f, luma);
  EXPECT_NEAR(61.5f, chroma, 1e-3f);
  Ostra::ColorYPbPrToMV(0.5f, 0.0f, 0.5f, luma, chroma);
  EXPECT_NEAR(357.14285f, luma, 1e-2f);
  EXPECT_NEAR(61.5f * 7.142857f, chroma, 1e-2f);

  // YPbPr of pure red comes back as red in normalised HSL (chroma 1).
  float y, pb, pr, h = -1, s = -1, l = -1;
  Ostra::ColorRGBToYPbPr(1, 0, 0, y, pb, pr);
  Ostra::ColorYPbPrToHSL(y, pb, pr, h, s, l);
  EXPECT_NEAR(0.5f, l, 1e-5f);
  EXPECT_NEAR(1.0f, s, 1e-5f);
  EXPECT_TRUE(h < 1e-5f || h > 1.0f - 1e-5f) << h;
}

TEST(SafeColors, WebSafeClearsLowBitsAndNTSCPassesThrough) {
  const struct {
    RGBColor in, out;
    bool wasSafe;
  } rows[] = {
      {RGBColor(255, 31, 32), RGBColor(224, 0, 32), false},
      {RGBColor(224, 0, 32), RGBColor(224, 0, 32), true},
      {RGBColor(0, 0, 1), RGBColor(0, 0, 0), false},
      {RGBColor(255, 255, 255), RGBColor(224, 224, 224), false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << int(row.in.mRed) << "," << int(row.in.mGreen) << ","
                                      << int(row.in.mBlue));
    RGBColor out(9, 9, 9);
    EXPECT_EQ(row.wasSafe, Ostra::MakeRGBWebSafe(row.in, out));
    EXPECT_EQ(row.out, out);
    // One colour as both arguments.
    RGBColor inPlace = row.in;
    EXPECT_EQ(row.wasSafe, Ostra::MakeRGBWebSafe(inPlace, inPlace));
    EXPECT_EQ(row.out, inPlace);
    EXPECT_TRUE(Ostra::MakeRGBNTSCSafe(row.in, out));
    EXPECT_EQ(row.in, out);
  }
}

TEST(ColorBadInput, OutOfRangeValuesGiveDefinedResults) {
  // Nothing to compare against: these must simply not trap or hang (the
  // conversions guard every float-to-integer step).
  RGBColor color;
  const std::uint32_t big = 0xFFFFFFFFu;
  Ostra::ColorHSLtoRGB(big, big, big, color);
  Ostra::ColorHSVtoRGB(big, big, big, color);
  std::uint32_t a = 0, b = 0, c = 0;
  Ostra::ColorHSLtoHSV(big, big, 50, a, b, c);
  EXPECT_EQ(big, a);
  Ostra::ColorHSVtoHSL(100, big, big, a, b, c);
  EXPECT_EQ(100u, a);
  // "Without clamping": 150% lightness at 0% saturation wraps the byte.
  Ostra::ColorHSLtoRGB(0, 0, 150, color);
  EXPECT_EQ(static_cast<unsigned char>(383 & 0xFF), color.mRed);
}

}  // namespace
