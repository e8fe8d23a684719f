/// \file
/// Colour conversions between 8-bit RGB, HSL and HSV as shown to users
/// (whole degrees and percent), normalised floating-point RGB/HSL/HSV,
/// studio-range 8-bit YUV (BT.601), Y'PbPr and YIQ, and the analogue video
/// measures IRE and millivolts; and two restrictions to safe colours.
///
/// All are pure functions without state, allocation or failure, safe from
/// any thread. They reproduce fixed formulas exactly, oddities included:
/// the HSL saturation is the chroma (max - min), an HSL hue of a full turn
/// (360 degrees, or 1.0) gives black, and MakeRGBNTSCSafe restricts nothing.
/// Rounding adds 0.5 and truncates toward zero; a result outside its output
/// type wraps as a two's-complement conversion would (NaN gives 0), so
/// out-of-range inputs give defined, if meaningless, values.
#pragma once

#include <cstdint>

#include "Ostra/OstraConfig.h"

namespace Ostra {

/// A colour of three channels in the order red, green, blue; no alpha.
template <class T>
struct ParamColor {
  /// All channels zero, or the given values.
  ///@{
  ParamColor() : mRed(), mGreen(), mBlue() {}
  ParamColor(T inRed, T inGreen, T inBlue) : mRed(inRed), mGreen(inGreen), mBlue(inBlue) {}
  ///@}
  /// Equal when all three channels are.
  ///@{
  friend bool operator==(const ParamColor& inA, const ParamColor& inB) {
    return inA.mRed == inB.mRed && inA.mGreen == inB.mGreen && inA.mBlue == inB.mBlue;
  }
  friend bool operator!=(const ParamColor& inA, const ParamColor& inB) { return !(inA == inB); }
  ///@}

  /// The channels.
  ///@{
  T mRed;
  T mGreen;
  T mBlue;
  ///@}
};

typedef ParamColor<unsigned char> RGBColor;  ///< 8-bit channels

// ------------------------------------------------ RGB, HSL and HSV (integer)

/// Hue in whole degrees 0..360 (360 possible for hues just below a full
/// turn), saturation, lightness and value in whole percent 0..100.
/// Lightness and value are always written. The saturation is written only
/// when lightness or value is not zero, the hue only when the saturation is
/// not zero either; outputs not written keep the caller's values. The flags,
/// when not null, tell which: outHueWritten and outSaturationWritten.
///@{
OSTRA_API void ColorRGBtoHSL(const RGBColor& inColor, std::uint32_t& outHue,
                             std::uint32_t& outSaturation, std::uint32_t& outLightness,
                             bool* outHueWritten = nullptr, bool* outSaturationWritten = nullptr);
OSTRA_API void ColorRGBtoHSV(const RGBColor& inColor, std::uint32_t& outHue,
                             std::uint32_t& outSaturation, std::uint32_t& outValue,
                             bool* outHueWritten = nullptr, bool* outSaturationWritten = nullptr);
/// A hue of 360 gives black (a full turn is not taken as 0 here).
OSTRA_API void ColorHSLtoRGB(std::uint32_t inHue, std::uint32_t inSaturation,
                             std::uint32_t inLightness, RGBColor& outColor);
/// A hue of 360 is taken as 0.
OSTRA_API void ColorHSVtoRGB(std::uint32_t inHue, std::uint32_t inSaturation,
                             std::uint32_t inValue, RGBColor& outColor);
/// The hue passes through; for black the saturation comes back unchanged.
OSTRA_API void ColorHSLtoHSV(std::uint32_t inHue, std::uint32_t inSaturation,
                             std::uint32_t inLightness, std::uint32_t& outHue,
                             std::uint32_t& outSaturation, std::uint32_t& outValue);
OSTRA_API void ColorHSVtoHSL(std::uint32_t inHue, std::uint32_t inSaturation,
                             std::uint32_t inValue, std::uint32_t& outHue,
                             std::uint32_t& outSaturation, std::uint32_t& outLightness);
///@}

// --------------------------------------------------------- 8-bit YUV (BT.601)

/// Y is studio range (nominally 16..235), U and V are centred on 0.
///@{
OSTRA_API void ColorRGBtoYUV(const RGBColor& inColor, unsigned char& outY, signed char& outU,
                             signed char& outV);
/// Channels are clamped to 0..255. True when at least one channel needed no
/// clamping; false only when all three did.
OSTRA_API bool ColorYUVtoRGB(unsigned char inY, signed char inU, signed char inV,
                             RGBColor& outColor);
/// The same in single precision on float Y (16..235 scale), U and V;
/// channels are rounded half away from zero, then clamped.
OSTRA_API void ColorYUVtoRGBf(float inY, float inU, float inV, RGBColor& outColor);
OSTRA_API void ColorHSLtoYUV(std::uint32_t inHue, std::uint32_t inSaturation,
                             std::uint32_t inLightness, unsigned char& outY, signed char& outU,
                             signed char& outV);
OSTRA_API void ColorHSVtoYUV(std::uint32_t inHue, std::uint32_t inSaturation,
                             std::uint32_t inValue, unsigned char& outY, signed char& outU,
                             signed char& outV);
/// Outputs the RGB-to-HSL/HSV step does not write keep the caller's values.
OSTRA_API void ColorYUVtoHSL(unsigned char inY, signed char inU, signed char inV,
                             std::uint32_t& outHue, std::uint32_t& outSaturation,
                             std::uint32_t& outLightness);
OSTRA_API void ColorYUVtoHSV(unsigned char inY, signed char inU, signed char inV,
                             std::uint32_t& outHue, std::uint32_t& outSaturation,
                             std::uint32_t& outValue);
///@}

// ------------------------------------------- Y'PbPr and YIQ (float, BT.601)

/// RGB and Y in 0..1, Pb and Pr in -0.5..0.5.
///@{
OSTRA_API void ColorRGBToYPbPr(float inRed, float inGreen, float inBlue, float& outY,
                               float& outPb, float& outPr);
OSTRA_API void ColorYPbPrToRGB(float inY, float inPb, float inPr, float& outRed,
                               float& outGreen, float& outBlue);
/// I and Q are Pr and Pb rotated by 33 degrees.
OSTRA_API void ColorYPbPrToYIQ(float inY, float inPb, float inPr, float& outY, float& outI,
                               float& outQ);
/// Normalised HSL; outputs not written keep the caller's values.
OSTRA_API void ColorYPbPrToHSL(float inY, float inPb, float inPr, float& outHue,
                               float& outSaturation, float& outLightness);
/// The hue of a colour difference, 0..1.
OSTRA_API void ColorPbPrToHue(float inPb, float inPr, float& outHue);
///@}

// ------------------------------------------------------------ video levels

/// Luma and chroma in IRE units (100 IRE = white) or millivolts (7.142857 mV
/// per IRE, so white is 714.2857 mV). RGB inputs are normalised 0..1.
///@{
OSTRA_API void ColorRGBToIRE(float inRed, float inGreen, float inBlue, float& outLuma,
                             float& outChroma);
OSTRA_API void ColorRGBToMV(float inRed, float inGreen, float inBlue, float& outLuma,
                            float& outChroma);
OSTRA_API void ColorYPbPrToIRE(float inY, float inPb, float inPr, float& outLuma,
                               float& outChroma);
OSTRA_API void ColorYPbPrToMV(float inY, float inPb, float inPr, float& outLuma,
                              float& outChroma);
///@}

// ------------------------------------------------------- normalised RGB/HSL/HSV

/// Everything in 0..1, the hue as a fraction of a full turn. The written
/// rules and flags are those of the integer forms.
///@{
OSTRA_API void NormalizedRGBtoHSL(float inRed, float inGreen, float inBlue, float& outHue,
                                  float& outSaturation, float& outLightness,
                                  bool* outHueWritten = nullptr,
                                  bool* outSaturationWritten = nullptr);
OSTRA_API void NormalizedRGBtoHSV(float inRed, float inGreen, float inBlue, float& outHue,
                                  float& outSaturation, float& outValue,
                                  bool* outHueWritten = nullptr,
                                  bool* outSaturationWritten = nullptr);
/// A hue of 1 (a full turn) gives black.
OSTRA_API void NormalizedHSLtoRGB(float inHue, float inSaturation, float inLightness,
                                  float& outRed, float& outGreen, float& outBlue);
/// A hue of 1 is taken as 0; a hue outside 0..1 leaves the outputs untouched.
OSTRA_API void NormalizedHSVtoRGB(float inHue, float inSaturation, float inValue,
                                  float& outRed, float& outGreen, float& outBlue);
///@}

// ------------------------------------------------------------- safe colours

/// Copies the colour unchanged and returns true: no colour is restricted.
OSTRA_API bool MakeRGBNTSCSafe(const RGBColor& inColor, RGBColor& outColor);
/// Clears the low five bits of each channel (0, 32, ..., 224); true when the
/// colour was already safe.
OSTRA_API bool MakeRGBWebSafe(const RGBColor& inColor, RGBColor& outColor);

}  // namespace Ostra
