#include "Ostra/TimeStamp.h"

#include <cstdint>
#include <ctime>

#include "strata/Impl.h"

namespace Ostra {

class TimeStamp::PrivateImpl : public strata::Impl {
 public:
  explicit PrivateImpl(double inReading) : mReading(inReading) {}
  double mReading;  // clock() ticks
};

namespace {

// The factors assume the Windows runtime's clock of 1000 ticks a second;
// they are fixed on purpose, not taken from CLOCKS_PER_SEC.
const double kMicroSecondsPerTick = 1000.0;
const double kTicksPerSecond = 1000.0;

// Truncates toward zero into 64 bits; NaN and values beyond the range
// give 0.
std::int64_t TruncateElapsed(double inValue) {
  if (!(inValue > -9.0e18 && inValue < 9.0e18)) return 0;
  return static_cast<std::int64_t>(inValue);
}

int ToInt(std::int64_t inValue) {
  return inValue > 2147483647 ? 2147483647 : inValue < -2147483647 - 1 ? -2147483647 - 1
                                                                         : static_cast<int>(inValue);
}

// Made during static initialisation, when the DLL loads.
const TimeStamp sStartTime;

}  // namespace

TimeStamp::TimeStamp() : mImpl(new PrivateImpl(static_cast<double>(std::clock()))) {}

TimeStamp::TimeStamp(double inClockReading) : mImpl(new PrivateImpl(inClockReading)) {}

TimeStamp::TimeStamp(const TimeStamp& inOther) : mImpl(new PrivateImpl(inOther.mImpl->mReading)) {}

TimeStamp& TimeStamp::operator=(const TimeStamp& inOther) {
  mImpl->mReading = inOther.mImpl->mReading;
  return *this;
}

TimeStamp::~TimeStamp() = default;

void TimeStamp::Swap(TimeStamp& ioOther) { mImpl.swap(ioOther.mImpl); }

const TimeStamp& TimeStamp::GetStartTime() { return sStartTime; }

double TimeStamp::GetClockReading() const { return mImpl->mReading; }

double TimeStamp::GetElapsedValue() const { return mImpl->mReading - sStartTime.mImpl->mReading; }

double TimeStamp::GetMilliSeconds() const { return GetElapsedValue(); }

double TimeStamp::GetMicroSeconds() const { return GetElapsedValue() * kMicroSecondsPerTick; }

double TimeStamp::GetSeconds() const { return GetElapsedValue() / kTicksPerSecond; }

int TimeStamp::GetSecondsPart() const { return ToInt(TruncateElapsed(GetElapsedValue()) / 1000); }

int TimeStamp::GetMilliSecondsPart() const {
  const std::int64_t elapsed = TruncateElapsed(GetElapsedValue());
  return ToInt(elapsed - 1000 * (elapsed / 1000));
}

int TimeStamp::GetMicroSecondsPart() const { return 0; }

}  // namespace Ostra
