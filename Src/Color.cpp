#include "Ostra/Color.h"

#include <cmath>

namespace Ostra {

namespace {

// Truncation toward zero into 64 bits. NaN and values beyond the 64-bit
// range give 0 instead of undefined behaviour.
std::int64_t Truncate(double inValue) {
  if (!(inValue > -9.0e18 && inValue < 9.0e18)) return 0;
  return static_cast<std::int64_t>(inValue);
}

// The low bits of the truncated value, as a conversion that does not clamp.
unsigned char TruncateToByte(double inValue) {
  return static_cast<unsigned char>(static_cast<std::uint64_t>(Truncate(inValue)) & 0xFFu);
}

std::uint32_t Round(double inValue) {
  return static_cast<std::uint32_t>(static_cast<std::uint64_t>(Truncate(inValue + 0.5)) &
                                    0xFFFFFFFFu);
}

unsigned char ClampToByte(std::int64_t inValue) {
  return static_cast<unsigned char>(inValue < 0 ? 0 : inValue > 255 ? 255 : inValue);
}

bool IsByte(std::int64_t inValue) { return inValue >= 0 && inValue <= 255; }

// The byte of a normalised channel: truncate(channel x 255 + 0.5).
unsigned char ChannelToByte(float inChannel) {
  return TruncateToByte(static_cast<double>(inChannel) * 255.0 + 0.5);
}

void SetFlags(bool* outHueWritten, bool inHue, bool* outSaturationWritten, bool inSaturation) {
  if (outHueWritten) *outHueWritten = inHue;
  if (outSaturationWritten) *outSaturationWritten = inSaturation;
}

enum Channel { kRed, kGreen, kBlue };

// The hue of a colour whose largest channel is inMax, as a fraction of a
// full turn; inChroma is not zero.
float Hue(float inRed, float inGreen, float inBlue, float inChroma, Channel inMax) {
  float h;
  switch (inMax) {
    case kRed: h = (inGreen - inBlue) / inChroma; break;
    case kGreen: h = (inBlue - inRed) / inChroma + 2.0f; break;
    default: h = (inRed - inGreen) / inChroma + 4.0f; break;
  }
  double turn = h;
  if (turn < 0) turn += 6.0;
  return static_cast<float>(turn / 6.0);
}

float ChannelOf(float inRed, float inGreen, float inBlue, Channel inChannel) {
  return inChannel == kRed ? inRed : inChannel == kGreen ? inGreen : inBlue;
}

}  // namespace

// ------------------------------------------------------------ normalised

void NormalizedRGBtoHSL(float inRed, float inGreen, float inBlue, float& outHue,
                        float& outSaturation, float& outLightness, bool* outHueWritten,
                        bool* outSaturationWritten) {
  const Channel maxChannel = (inBlue >= inRed && inBlue >= inGreen)    ? kBlue
                             : (inGreen >= inRed && inGreen >= inBlue) ? kGreen
                                                                       : kRed;
  const Channel minChannel = (inRed >= inBlue && inGreen >= inBlue)    ? kBlue
                             : (inRed >= inGreen && inBlue >= inGreen) ? kGreen
                                                                       : kRed;
  const float maximum = ChannelOf(inRed, inGreen, inBlue, maxChannel);
  const float minimum = ChannelOf(inRed, inGreen, inBlue, minChannel);
  const float chroma = maximum - minimum;
  const float lightness = (maximum + minimum) * 0.5f;
  outLightness = lightness;
  bool hueWritten = false, saturationWritten = false;
  if (!(std::fabs(lightness) < 0.0001f)) {
    // The saturation is the chroma itself, not divided by anything.
    outSaturation = chroma;
    saturationWritten = true;
    if (!(std::fabs(chroma) < 0.0001f)) {
      outHue = Hue(inRed, inGreen, inBlue, chroma, maxChannel);
      hueWritten = true;
    }
  }
  SetFlags(outHueWritten, hueWritten, outSaturationWritten, saturationWritten);
}

void NormalizedRGBtoHSV(float inRed, float inGreen, float inBlue, float& outHue,
                        float& outSaturation, float& outValue, bool* outHueWritten,
                        bool* outSaturationWritten) {
  Channel maxChannel = kRed, minChannel = kRed;
  if (inGreen > inRed)
    maxChannel = inBlue > inGreen ? kBlue : kGreen;
  else if (inBlue > inRed)
    maxChannel = kBlue;
  if (inRed > inGreen)
    minChannel = inGreen > inBlue ? kBlue : kGreen;
  else if (inRed > inBlue)
    minChannel = kBlue;
  const float maximum = ChannelOf(inRed, inGreen, inBlue, maxChannel);
  const float minimum = ChannelOf(inRed, inGreen, inBlue, minChannel);
  const float chroma = maximum - minimum;
  outValue = maximum;
  bool hueWritten = false, saturationWritten = false;
  if (!(std::fabs(maximum) < 0.0001f)) {
    const float saturation = chroma / maximum;
    outSaturation = saturation;
    saturationWritten = true;
    if (!(std::fabs(saturation) < 0.0001f)) {
      outHue = Hue(inRed, inGreen, inBlue, chroma, maxChannel);
      hueWritten = true;
    }
  }
  SetFlags(outHueWritten, hueWritten, outSaturationWritten, saturationWritten);
}

void NormalizedHSLtoRGB(float inHue, float inSaturation, float inLightness, float& outRed,
                        float& outGreen, float& outBlue) {
  const float m2 = inLightness <= 0.5f ? inLightness * (1.0f + inSaturation)
                                       : inLightness + inSaturation - inLightness * inSaturation;
  const float m1 = 2.0f * inLightness - m2;
  outRed = outGreen = outBlue = 0.0f;
  if (!(m2 > 0.0f)) return;
  const float x = inHue * 6.0f;
  // Only sextants 0..5 have a colour: a full turn (k = 6) stays black.
  if (!(x > -1.0f && x < 7.0f)) return;
  const int k = static_cast<int>(x);
  const float d = (m2 - m1) / m2 * m2 * (x - static_cast<float>(k));
  const float down = m2 - d;
  const float up = m1 + d;
  switch (k) {
    case 0: outRed = m2; outGreen = up; outBlue = m1; break;
    case 1: outRed = down; outGreen = m2; outBlue = m1; break;
    case 2: outRed = m1; outGreen = m2; outBlue = up; break;
    case 3: outRed = m1; outGreen = down; outBlue = m2; break;
    case 4: outRed = up; outGreen = m1; outBlue = m2; break;
    case 5: outRed = m2; outGreen = m1; outBlue = down; break;
    default: break;
  }
}

void NormalizedHSVtoRGB(float inHue, float inSaturation, float inValue, float& outRed,
                        float& outGreen, float& outBlue) {
  if (inSaturation == 0.0f) {
    outRed = outGreen = outBlue = inValue;
    return;
  }
  const double hue = inHue == 1.0f ? 0.0 : static_cast<double>(inHue);
  const double x = hue * 6.0;
  const double k = std::floor(x);
  if (!(k >= 0.0 && k <= 5.0)) return;
  const double f = x - k;
  const double s = inSaturation, v = inValue;
  const float p = static_cast<float>((1.0 - s) * v);
  const float q = static_cast<float>((1.0 - f * s) * v);
  const float t = static_cast<float>((1.0 - (1.0 - f) * s) * v);
  switch (static_cast<int>(k)) {
    case 0: outRed = inValue; outGreen = t; outBlue = p; break;
    case 1: outRed = q; outGreen = inValue; outBlue = p; break;
    case 2: outRed = p; outGreen = inValue; outBlue = t; break;
    case 3: outRed = p; outGreen = q; outBlue = inValue; break;
    case 4: outRed = t; outGreen = p; outBlue = inValue; break;
    default: outRed = inValue; outGreen = p; outBlue = q; break;
  }
}

// --------------------------------------------------------------- integer

void ColorRGBtoHSL(const RGBColor& inColor, std::uint32_t& outHue, std::uint32_t& outSaturation,
                   std::uint32_t& outLightness, bool* outHueWritten,
                   bool* outSaturationWritten) {
  float hue = 0, saturation = 0, lightness = 0;
  bool hueWritten = false, saturationWritten = false;
  NormalizedRGBtoHSL(inColor.mRed / 255.0f, inColor.mGreen / 255.0f, inColor.mBlue / 255.0f, hue,
                     saturation, lightness, &hueWritten, &saturationWritten);
  outLightness = Round(lightness * 100.0);
  if (saturationWritten) outSaturation = Round(saturation * 100.0);
  if (hueWritten) outHue = Round(hue * 360.0);
  SetFlags(outHueWritten, hueWritten, outSaturationWritten, saturationWritten);
}

void ColorRGBtoHSV(const RGBColor& inColor, std::uint32_t& outHue, std::uint32_t& outSaturation,
                   std::uint32_t& outValue, bool* outHueWritten, bool* outSaturationWritten) {
  float hue = 0, saturation = 0, value = 0;
  bool hueWritten = false, saturationWritten = false;
  NormalizedRGBtoHSV(inColor.mRed / 255.0f, inColor.mGreen / 255.0f, inColor.mBlue / 255.0f, hue,
                     saturation, value, &hueWritten, &saturationWritten);
  outValue = Round(value * 100.0);
  if (saturationWritten) outSaturation = Round(saturation * 100.0);
  if (hueWritten) outHue = Round(hue * 360.0);
  SetFlags(outHueWritten, hueWritten, outSaturationWritten, saturationWritten);
}

void ColorHSLtoRGB(std::uint32_t inHue, std::uint32_t inSaturation, std::uint32_t inLightness,
                   RGBColor& outColor) {
  float red, green, blue;
  NormalizedHSLtoRGB(inHue / 360.0f, inSaturation / 100.0f, inLightness / 100.0f, red, green,
                     blue);
  outColor.mRed = ChannelToByte(red);
  outColor.mGreen = ChannelToByte(green);
  outColor.mBlue = ChannelToByte(blue);
}

void ColorHSVtoRGB(std::uint32_t inHue, std::uint32_t inSaturation, std::uint32_t inValue,
                   RGBColor& outColor) {
  // Start from the caller's colour so that a hue without a sextant leaves
  // it unchanged, as in the normalised form.
  float red = outColor.mRed / 255.0f, green = outColor.mGreen / 255.0f,
        blue = outColor.mBlue / 255.0f;
  NormalizedHSVtoRGB(inHue / 360.0f, inSaturation / 100.0f, inValue / 100.0f, red, green, blue);
  outColor.mRed = ChannelToByte(red);
  outColor.mGreen = ChannelToByte(green);
  outColor.mBlue = ChannelToByte(blue);
}

void ColorHSLtoHSV(std::uint32_t inHue, std::uint32_t inSaturation, std::uint32_t inLightness,
                   std::uint32_t& outHue, std::uint32_t& outSaturation, std::uint32_t& outValue) {
  float red, green, blue;
  NormalizedHSLtoRGB(inHue / 360.0f, inSaturation / 100.0f, inLightness / 100.0f, red, green,
                     blue);
  // For black the saturation is not written and the input's comes back.
  float hue = 0, saturation = inSaturation / 100.0f, value = 0;
  NormalizedRGBtoHSV(red, green, blue, hue, saturation, value);
  outHue = inHue;
  outSaturation = Round(saturation * 100.0);
  outValue = Round(value * 100.0);
}

void ColorHSVtoHSL(std::uint32_t inHue, std::uint32_t inSaturation, std::uint32_t inValue,
                   std::uint32_t& outHue, std::uint32_t& outSaturation,
                   std::uint32_t& outLightness) {
  float red = 0, green = 0, blue = 0;
  NormalizedHSVtoRGB(inHue / 360.0f, inSaturation / 100.0f, inValue / 100.0f, red, green, blue);
  float hue = 0, saturation = inSaturation / 100.0f, lightness = 0;
  NormalizedRGBtoHSL(red, green, blue, hue, saturation, lightness);
  outHue = inHue;
  outSaturation = Round(saturation * 100.0);
  outLightness = Round(lightness * 100.0);
}

// ---------------------------------------------------------------- 8-bit YUV

void ColorRGBtoYUV(const RGBColor& inColor, unsigned char& outY, signed char& outU,
                   signed char& outV) {
  const double r = inColor.mRed, g = inColor.mGreen, b = inColor.mBlue;
  outY = ClampToByte(Truncate(0.257 * r + 0.504 * g + 0.098 * b + 16));
  const int u = ClampToByte(Truncate(-0.148 * r - 0.291 * g + 0.439 * b + 128));
  const int v = ClampToByte(Truncate(0.439 * r - 0.368 * g - 0.071 * b + 128));
  outU = static_cast<signed char>(u - 128);
  outV = static_cast<signed char>(v - 128);
}

bool ColorYUVtoRGB(unsigned char inY, signed char inU, signed char inV, RGBColor& outColor) {
  const double c = (inY - 16) * 1.164;
  const std::int64_t red = Truncate(c + 1.596 * inV);
  const std::int64_t green = Truncate(c - 0.392 * inU - 0.813 * inV);
  const std::int64_t blue = Truncate(c + 2.017 * inU);
  outColor.mRed = ClampToByte(red);
  outColor.mGreen = ClampToByte(green);
  outColor.mBlue = ClampToByte(blue);
  // One channel inside the range is enough.
  return IsByte(red) || IsByte(green) || IsByte(blue);
}

void ColorYUVtoRGBf(float inY, float inU, float inV, RGBColor& outColor) {
  const float c = (inY - 16.0f) * 1.164f;
  const float channels[3] = {c + 1.596f * inV, c - 0.392f * inU - 0.813f * inV, c + 2.017f * inU};
  unsigned char bytes[3];
  for (int i = 0; i < 3; ++i) {
    const float rounded = std::trunc(channels[i] >= 0.0f ? channels[i] + 0.5f : channels[i] - 0.5f);
    bytes[i] = rounded >= 255.0f ? 255 : rounded > 0.0f ? static_cast<unsigned char>(rounded) : 0;
  }
  outColor.mRed = bytes[0];
  outColor.mGreen = bytes[1];
  outColor.mBlue = bytes[2];
}

void ColorHSLtoYUV(std::uint32_t inHue, std::uint32_t inSaturation, std::uint32_t inLightness,
                   unsigned char& outY, signed char& outU, signed char& outV) {
  RGBColor color;
  ColorHSLtoRGB(inHue, inSaturation, inLightness, color);
  ColorRGBtoYUV(color, outY, outU, outV);
}

void ColorHSVtoYUV(std::uint32_t inHue, std::uint32_t inSaturation, std::uint32_t inValue,
                   unsigned char& outY, signed char& outU, signed char& outV) {
  RGBColor color;
  ColorHSVtoRGB(inHue, inSaturation, inValue, color);
  ColorRGBtoYUV(color, outY, outU, outV);
}

void ColorYUVtoHSL(unsigned char inY, signed char inU, signed char inV, std::uint32_t& outHue,
                   std::uint32_t& outSaturation, std::uint32_t& outLightness) {
  RGBColor color;
  ColorYUVtoRGB(inY, inU, inV, color);
  ColorRGBtoHSL(color, outHue, outSaturation, outLightness);
}

void ColorYUVtoHSV(unsigned char inY, signed char inU, signed char inV, std::uint32_t& outHue,
                   std::uint32_t& outSaturation, std::uint32_t& outValue) {
  RGBColor color;
  ColorYUVtoRGB(inY, inU, inV, color);
  ColorRGBtoHSV(color, outHue, outSaturation, outValue);
}

// ------------------------------------------------------------ Y'PbPr, YIQ

void ColorRGBToYPbPr(float inRed, float inGreen, float inBlue, float& outY, float& outPb,
                     float& outPr) {
  outY = 0.299f * inRed + 0.587f * inGreen + 0.114f * inBlue;
  outPb = -0.168736f * inRed - 0.331264f * inGreen + 0.5f * inBlue;
  outPr = 0.5f * inRed - 0.418688f * inGreen - 0.081312f * inBlue;
}

void ColorYPbPrToRGB(float inY, float inPb, float inPr, float& outRed, float& outGreen,
                     float& outBlue) {
  outRed = inY + 1.402f * inPr;
  outGreen = inY - 0.344136f * inPb - 0.714136f * inPr;
  outBlue = inY + 1.772f * inPb;
}

void ColorYPbPrToYIQ(float inY, float inPb, float inPr, float& outY, float& outI, float& outQ) {
  outY = inY;
  outI = 0.838671f * inPr - 0.544639f * inPb;
  outQ = 0.544639f * inPr + 0.838671f * inPb;
}

void ColorYPbPrToHSL(float inY, float inPb, float inPr, float& outHue, float& outSaturation,
                     float& outLightness) {
  float red, green, blue;
  ColorYPbPrToRGB(inY, inPb, inPr, red, green, blue);
  NormalizedRGBtoHSL(red, green, blue, outHue, outSaturation, outLightness);
}

void ColorPbPrToHue(float inPb, float inPr, float& outHue) {
  const float kTurn = 6.2831855f;
  float angle = std::atan2(-0.9475003f * inPb - 0.31975487f * inPr,
                           0.9475003f * inPr - 0.31975487f * inPb);
  if (angle < 0.0f) angle += kTurn;
  outHue = angle / kTurn;
}

// ------------------------------------------------------------- video levels

namespace {
const float kMillivoltsPerIRE = 7.142857f;
}  // namespace

void ColorRGBToIRE(float inRed, float inGreen, float inBlue, float& outLuma, float& outChroma) {
  outLuma = (0.299f * inRed + 0.587f * inGreen + 0.114f * inBlue) * 100.0f;
  const float u = -0.147141f * inRed - 0.288869f * inGreen + 0.43601f * inBlue;
  const float v = 0.614975f * inRed - 0.514965f * inGreen - 0.10001f * inBlue;
  outChroma = std::sqrt(u * u + v * v) * 100.0f;
}

void ColorRGBToMV(float inRed, float inGreen, float inBlue, float& outLuma, float& outChroma) {
  ColorRGBToIRE(inRed, inGreen, inBlue, outLuma, outChroma);
  outLuma *= kMillivoltsPerIRE;
  outChroma *= kMillivoltsPerIRE;
}

void ColorYPbPrToIRE(float inY, float inPb, float inPr, float& outLuma, float& outChroma) {
  outLuma = inY * 100.0f;
  const float pr = 1.23f * inPr, pb = 0.87202f * inPb;
  outChroma = std::sqrt(pr * pr + pb * pb) * 100.0f;
}

void ColorYPbPrToMV(float inY, float inPb, float inPr, float& outLuma, float& outChroma) {
  ColorYPbPrToIRE(inY, inPb, inPr, outLuma, outChroma);
  outLuma *= kMillivoltsPerIRE;
  outChroma *= kMillivoltsPerIRE;
}

// ------------------------------------------------------------- safe colours

bool MakeRGBNTSCSafe(const RGBColor& inColor, RGBColor& outColor) {
  outColor = inColor;
  return true;
}

bool MakeRGBWebSafe(const RGBColor& inColor, RGBColor& outColor) {
  // Built aside: the caller may pass one colour as both arguments.
  const RGBColor safe(static_cast<unsigned char>(inColor.mRed & 0xE0),
                      static_cast<unsigned char>(inColor.mGreen & 0xE0),
                      static_cast<unsigned char>(inColor.mBlue & 0xE0));
  const bool wasSafe = safe == inColor;
  outColor = safe;
  return wasSafe;
}

}  // namespace Ostra
