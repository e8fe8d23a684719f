#include "stratamedia/TickTime.h"

#include "WideArithmetic.h"

namespace stratamedia {

FrameRate FrameRate::FromFramesPerSecond(std::int64_t inNumerator, std::int64_t inDenominator) {
  if (inNumerator <= 0 || inDenominator <= 0) return FrameRate();
  // ticks per frame = kTicksPerSecond * denominator / numerator, rounded
  // half up; the product needs up to 102 bits.
  const wide::U128 product = wide::Multiply(static_cast<std::uint64_t>(kTicksPerSecond),
                                            static_cast<std::uint64_t>(inDenominator));
  const std::uint64_t numerator = static_cast<std::uint64_t>(inNumerator);
  std::uint64_t quotient = 0, remainder = 0;
  if (!wide::Divide(product, numerator, quotient, remainder)) return FrameRate();
  if (remainder >= numerator - remainder) ++quotient;  // remainder >= numerator / 2
  if (quotient == 0 || quotient >= static_cast<std::uint64_t>(kNoRate)) return FrameRate();
  return FrameRate(static_cast<std::int64_t>(quotient));
}

TickTime& TickTime::AddFrames(std::int64_t inFrames, const FrameRate& inRate) {
  if (!inRate.IsValid() || inFrames == 0) return *this;
  const wide::U128 product =
      wide::Multiply(wide::Magnitude(inFrames), static_cast<std::uint64_t>(inRate.GetTicksPerFrame()));
  const std::uint64_t distance = product.mHigh != 0 ? wide::kU64Max : product.mLow;
  // Work on magnitudes: the distance may exceed the signed range and still
  // land inside it (from Min() forward to a positive time).
  const bool forward = inFrames > 0;
  const bool startNegative = mTicks < 0;
  const std::uint64_t start = wide::Magnitude(mTicks);
  if (forward != startNegative) {
    // Away from zero: the magnitudes add.
    mTicks = wide::ToSigned(wide::SaturatingAdd(start, distance), startNegative);
  } else if (distance <= start) {
    mTicks = wide::ToSigned(start - distance, startNegative);
  } else {
    mTicks = wide::ToSigned(distance - start, !startNegative);
  }
  return *this;
}

std::int64_t TimeToFrames(TickTime inTime, FrameRate inRate) {
  if (!inRate.IsValid()) return 0;
  return wide::FloorDivide(inTime.GetTicks(), inRate.GetTicksPerFrame());
}

TickTime FramesToTime(std::int64_t inFrame, FrameRate inRate) {
  if (!inRate.IsValid()) return kTime_Zero;
  return TickTime().AddFrames(inFrame, inRate);
}

}  // namespace stratamedia
