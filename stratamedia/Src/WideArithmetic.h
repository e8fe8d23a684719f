// Exact 64-bit arithmetic helpers of the time conversions: full 128-bit
// products and quotients built from 32-bit halves (portable to every
// compiler, no 128-bit integer type needed), and saturating forms.
#pragma once

#include <cstdint>
#include <limits>

namespace stratamedia {
namespace wide {

constexpr std::uint64_t kU64Max = (std::numeric_limits<std::uint64_t>::max)();
constexpr std::int64_t kI64Max = (std::numeric_limits<std::int64_t>::max)();
constexpr std::int64_t kI64Min = (std::numeric_limits<std::int64_t>::min)();

struct U128 {
  std::uint64_t mHigh;
  std::uint64_t mLow;
};

inline U128 Multiply(std::uint64_t inA, std::uint64_t inB) {
  const std::uint64_t aLow = inA & 0xFFFFFFFFu, aHigh = inA >> 32;
  const std::uint64_t bLow = inB & 0xFFFFFFFFu, bHigh = inB >> 32;
  const std::uint64_t lowLow = aLow * bLow;
  const std::uint64_t highLow = aHigh * bLow;
  const std::uint64_t lowHigh = aLow * bHigh;
  const std::uint64_t highHigh = aHigh * bHigh;
  // The middle column: never overflows (each term is below 2^64 - 2^33).
  const std::uint64_t middle = (lowLow >> 32) + (highLow & 0xFFFFFFFFu) + (lowHigh & 0xFFFFFFFFu);
  U128 product;
  product.mLow = (middle << 32) | (lowLow & 0xFFFFFFFFu);
  product.mHigh = highHigh + (highLow >> 32) + (lowHigh >> 32) + (middle >> 32);
  return product;
}

// inNumerator / inDivisor when the quotient fits in 64 bits (the high half
// is below the divisor); the remainder goes to outRemainder. False, with
// nothing written, when it does not fit or the divisor is 0.
inline bool Divide(U128 inNumerator, std::uint64_t inDivisor, std::uint64_t& outQuotient,
                   std::uint64_t& outRemainder) {
  if (inDivisor == 0 || inNumerator.mHigh >= inDivisor) return false;
  std::uint64_t remainder = inNumerator.mHigh;
  std::uint64_t quotient = 0;
  for (int bit = 63; bit >= 0; --bit) {
    // The remainder stays below the divisor; shifting it can carry out of
    // 64 bits, and then it certainly exceeds the divisor.
    const bool carry = (remainder >> 63) != 0;
    remainder = (remainder << 1) | ((inNumerator.mLow >> bit) & 1u);
    if (carry || remainder >= inDivisor) {
      remainder -= inDivisor;
      quotient |= std::uint64_t(1) << bit;
    }
  }
  outQuotient = quotient;
  outRemainder = remainder;
  return true;
}

inline std::uint64_t SaturatingMultiply(std::uint64_t inA, std::uint64_t inB) {
  const U128 product = Multiply(inA, inB);
  return product.mHigh != 0 ? kU64Max : product.mLow;
}

inline std::uint64_t SaturatingAdd(std::uint64_t inA, std::uint64_t inB) {
  return inA > kU64Max - inB ? kU64Max : inA + inB;
}

// |inValue| without overflow (the magnitude of the minimum is 2^63).
inline std::uint64_t Magnitude(std::int64_t inValue) {
  return inValue < 0 ? 0 - static_cast<std::uint64_t>(inValue) : static_cast<std::uint64_t>(inValue);
}

// A magnitude and a sign as a signed value, saturating at either end.
inline std::int64_t ToSigned(std::uint64_t inMagnitude, bool inNegative) {
  if (inNegative) {
    if (inMagnitude >= static_cast<std::uint64_t>(kI64Max) + 1) return kI64Min;
    return -static_cast<std::int64_t>(inMagnitude);
  }
  return inMagnitude > static_cast<std::uint64_t>(kI64Max) ? kI64Max
                                                           : static_cast<std::int64_t>(inMagnitude);
}

// Division rounding toward negative infinity; inDivisor must be positive.
inline std::int64_t FloorDivide(std::int64_t inValue, std::int64_t inDivisor) {
  std::int64_t quotient = inValue / inDivisor;
  if (inValue % inDivisor != 0 && inValue < 0) --quotient;
  return quotient;
}

}  // namespace wide
}  // namespace stratamedia
