#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "Ostra/Color.h"

namespace {

using Ostra::RGBColor;

const std::uint32_t kNotWritten = 999;

TEST(ColorRGBtoHSLandHSV, WriteOnlyWhatIsDefinedWithChromaAsHSLSaturation) {
  const struct {
    bool hsl;
    RGBColor color;
    std::uint32_t hue, saturation, level;
  } rows[] = {
      {true, RGBColor(0, 0, 0), kNotWritten, kNotWritten, 0},
      {true, RGBColor(128, 128, 128), kNotWritten, 0, 50},
      {true, RGBColor(255, 0, 0), 0, 100, 50},
      {true, RGBColor(0, 255, 0), 120, 100, 50},
      {true, RGBColor(255, 128, 128), 0, 50, 75},  // the usual formula gives 99
      {true, RGBColor(255, 0, 1), 360, 100, 50},   // just below a full turn
      {false, RGBColor(0, 0, 0), kNotWritten, kNotWritten, 0},
      {false, RGBColor(128, 128, 128), kNotWritten, 0, 50},
      {false, RGBColor(0, 0, 255), 240, 100, 100},
      {false, RGBColor(255, 128, 128), 0, 50, 100},
      {false, RGBColor(10, 20, 30), 210, 67, 12},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << (row.hsl ? "HSL " : "HSV ") << int(row.color.mRed) << ","
                                      << int(row.color.mGreen) << "," << int(row.color.mBlue));
    std::uint32_t h = kNotWritten, s = kNotWritten, level = kNotWritten;
    bool hueWritten = true, saturationWritten = false;
    if (row.hsl)
      Ostra::ColorRGBtoHSL(row.color, h, s, level, &hueWritten, &saturationWritten);
    else
      Ostra::ColorRGBtoHSV(row.color, h, s, level, &hueWritten, &saturationWritten);
    EXPECT_EQ(row.hue, h);
    EXPECT_EQ(row.saturation, s);
    EXPECT_EQ(row.level, level);
    EXPECT_EQ(row.hue != kNotWritten, hueWritten);
    EXPECT_EQ(row.saturation != kNotWritten, saturationWritten);
  }
}

TEST(ColorToRGB, FullTurnIsBlackInHSLAndRedInHSV) {
  const struct {
    bool hsl;
    std::uint32_t a, b, c;
    RGBColor expected;
  } rows[] = {
      {true, 360, 100, 50, RGBColor(0, 0, 0)},     {true, 0, 100, 50, RGBColor(255, 0, 0)},
      {true, 240, 100, 25, RGBColor(0, 0, 128)},   {true, 0, 0, 50, RGBColor(128, 128, 128)},
      {true, 0, 0, 150, RGBColor(127, 127, 127)},  // 383 is not clamped: the byte wraps
      {false, 360, 100, 100, RGBColor(255, 0, 0)}, {false, 60, 100, 100, RGBColor(255, 255, 0)},
      {false, 300, 50, 100, RGBColor(255, 128, 255)},
      {false, 400, 100, 100, RGBColor(1, 2, 3)},   // no sextant: the caller's colour stays
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
  // Huge inputs must not reach an undefined float-to-integer conversion.
  RGBColor color;
  Ostra::ColorHSLtoRGB(0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu, color);
  Ostra::ColorHSVtoRGB(0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu, color);
}

TEST(ColorHSLandHSV, ConvertThroughRGBKeepingHueAndBlackSaturation) {
  const struct {
    bool fromHSL;
    std::uint32_t h, s, level, expectedS, expectedLevel;
  } rows[] = {
      {true, 0, 100, 50, 100, 100}, {true, 200, 40, 0, 40, 0},  // black keeps its S
      {true, 120, 0, 50, 0, 50},    {false, 0, 100, 100, 100, 50},
      {false, 77, 60, 0, 60, 0},    {false, 240, 50, 100, 50, 75},
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

TEST(ColorRoundTrips, RGBThroughHSVAndYUVComeBackClose) {
  for (int r = 0; r < 256; r += 5) {
    for (int g = 0; g < 256; g += 5) {
      for (int b = 0; b < 256; b += 5) {
        const RGBColor color(r, g, b);
        std::uint32_t h = 0, s = 0, v = 0;
        Ostra::ColorRGBtoHSV(color, h, s, v);
        RGBColor back;
        Ostra::ColorHSVtoRGB(h, s, v, back);
        // Whole degrees and percent: about a step and a third per channel.
        ASSERT_LE(std::abs(back.mRed - r) + std::abs(back.mGreen - g) + std::abs(back.mBlue - b), 9)
            << r << "," << g << "," << b;

        unsigned char y;
        signed char u, w;
        Ostra::ColorRGBtoYUV(color, y, u, w);
        ASSERT_TRUE(y >= 16 && y <= 235);
        // A colour that came from RGB always has a channel in range.
        ASSERT_TRUE(Ostra::ColorYUVtoRGB(y, u, w, back));
        // Both directions truncate: at most four steps.
        ASSERT_LE(std::abs(back.mRed - r), 4) << r << "," << g << "," << b;
        ASSERT_LE(std::abs(back.mGreen - g), 4) << r << "," << g << "," << b;
        ASSERT_LE(std::abs(back.mBlue - b), 4) << r << "," << g << "," << b;
      }
    }
  }
}

TEST(ColorYUV, StudioRangeAndTheAnyChannelRule) {
  const struct {
    RGBColor color;
    int y, u, v;
  } forward[] = {{RGBColor(255, 255, 255), 235, 0, 0}, {RGBColor(0, 0, 0), 16, 0, 0},
                 {RGBColor(0, 0, 255), 40, 111, -19}};
  for (const auto& row : forward) {
    SCOPED_TRACE(row.y);
    unsigned char y;
    signed char u, v;
    Ostra::ColorRGBtoYUV(row.color, y, u, v);
    EXPECT_EQ(row.y, y);
    EXPECT_EQ(row.u, u);
    EXPECT_EQ(row.v, v);
  }
  const struct {
    unsigned char y;
    signed char u, v;
    bool result;
    RGBColor color;
  } back[] = {
      {235, 0, 0, true, RGBColor(254, 254, 254)},
      {255, 127, -128, true, RGBColor(73, 255, 255)},  // only red in range: still true
      {0, -67, 11, false, RGBColor(0, 0, 0)},          // all three clamped
      {255, 83, -13, false, RGBColor(255, 255, 255)},
  };
  for (const auto& row : back) {
    SCOPED_TRACE(::testing::Message() << int(row.y) << "," << int(row.u) << "," << int(row.v));
    RGBColor color;
    EXPECT_EQ(row.result, Ostra::ColorYUVtoRGB(row.y, row.u, row.v, color));
    EXPECT_EQ(row.color, color);
  }
  // The float form rounds where the byte form truncates; NaN gives 0.
  RGBColor color;
  Ostra::ColorYUVtoRGBf(235.0f, 0.0f, 0.0f, color);
  EXPECT_EQ(RGBColor(255, 255, 255), color);
  Ostra::ColorYUVtoRGBf(std::numeric_limits<float>::quiet_NaN(), 1e30f, -1e30f, color);
  EXPECT_EQ(0, color.mRed);

  std::uint32_t h = kNotWritten, s = 0, l = 0;
  Ostra::ColorYUVtoHSL(235, 0, 0, h, s, l);
  EXPECT_EQ(kNotWritten, h);  // grey: no hue
  EXPECT_EQ(100u, l);
  unsigned char y;
  signed char u, v;
  Ostra::ColorHSVtoYUV(240, 100, 100, y, u, v);
  EXPECT_EQ(40, y);
}

TEST(ColorFloat, YPbPrYIQAndVideoLevels) {
  for (float r : {0.0f, 0.3f, 1.0f}) {
    for (float g : {0.0f, 0.6f, 1.0f}) {
      for (float b : {0.0f, 0.1f, 1.0f}) {
        SCOPED_TRACE(::testing::Message() << r << "," << g << "," << b);
        float y, pb, pr, r2, g2, b2, i, q, hue = -1;
        Ostra::ColorRGBToYPbPr(r, g, b, y, pb, pr);
        Ostra::ColorYPbPrToRGB(y, pb, pr, r2, g2, b2);
        EXPECT_NEAR(r, r2, 1e-5f);
        EXPECT_NEAR(g, g2, 1e-5f);
        EXPECT_NEAR(b, b2, 1e-5f);
        Ostra::ColorYPbPrToYIQ(y, pb, pr, y, i, q);
        EXPECT_NEAR(pb * pb + pr * pr, i * i + q * q, 1e-5f);  // a rotation
        Ostra::ColorPbPrToHue(pb, pr, hue);
        EXPECT_TRUE(hue >= 0.0f && hue <= 1.0f) << hue;
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
  EXPECT_NEAR(61.5f * 7.142857f, chroma, 1e-2f);

  float h = -1, s = -1, l = -1, y, pb, pr;
  Ostra::ColorRGBToYPbPr(1, 0, 0, y, pb, pr);
  Ostra::ColorYPbPrToHSL(y, pb, pr, h, s, l);
  EXPECT_NEAR(0.5f, l, 1e-5f);
  EXPECT_NEAR(1.0f, s, 1e-5f);  // chroma
}

TEST(SafeColors, WebSafeClearsLowBitsAndNTSCPassesThrough) {
  const struct {
    RGBColor in, out;
    bool wasSafe;
  } rows[] = {
      {RGBColor(255, 31, 32), RGBColor(224, 0, 32), false},
      {RGBColor(224, 0, 32), RGBColor(224, 0, 32), true},
      {RGBColor(0, 0, 1), RGBColor(0, 0, 0), false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(int(row.in.mRed));
    RGBColor out(9, 9, 9);
    EXPECT_EQ(row.wasSafe, Ostra::MakeRGBWebSafe(row.in, out));
    EXPECT_EQ(row.out, out);
    RGBColor inPlace = row.in;  // one colour as both arguments
    EXPECT_EQ(row.wasSafe, Ostra::MakeRGBWebSafe(inPlace, inPlace));
    EXPECT_EQ(row.out, inPlace);
    EXPECT_TRUE(Ostra::MakeRGBNTSCSafe(row.in, out));
    EXPECT_EQ(row.in, out);
  }
}

}  // namespace
