/// \file
/// \class Ostra::TimeStamp
/// A moment as read from the C runtime's process clock (clock(), one tick a
/// millisecond on Windows), reported relative to the moment the library was
/// loaded in seconds, milliseconds or microseconds. A coarse, cheap clock
/// for measuring and for timers, not a media time.
///
/// Threading: a TimeStamp is a value: distinct objects may be used from
/// different threads. Failures: nothing here fails or throws.
#pragma once

#include <memory>

#include "Ostra/OstraConfig.h"

namespace Ostra {

class OSTRA_API TimeStamp {
 public:
  /// Reads the clock now.
  TimeStamp();
  /// A stamp at a given clock reading, in clock ticks (milliseconds).
  explicit TimeStamp(double inClockReading);
  /// Copies are independent values.
  ///@{
  TimeStamp(const TimeStamp& inOther);
  TimeStamp& operator=(const TimeStamp& inOther);
  ///@}
  ~TimeStamp();

  void Swap(TimeStamp& ioOther);  ///< exchanges the readings; never throws

  /// The stamp taken when the library was loaded.
  static const TimeStamp& GetStartTime();

  /// The clock reading itself, in clock ticks.
  double GetClockReading() const;

  /// Milliseconds since the start time (negative for a stamp made before it).
  double GetElapsedValue() const;
  double GetMilliSeconds() const;  ///< the same as GetElapsedValue
  /// GetElapsedValue in other units.
  ///@{
  double GetMicroSeconds() const;
  double GetSeconds() const;
  ///@}

  /// The elapsed time split into whole seconds and the remaining whole
  /// milliseconds, both truncated toward zero and carrying the sign of the
  /// elapsed time. Computed in 64 bits, so a process running for more than
  /// 24.8 days still gets correct parts.
  ///@{
  int GetSecondsPart() const;
  int GetMilliSecondsPart() const;
  ///@}
  /// Always 0: the clock has no resolution below a millisecond.
  int GetMicroSecondsPart() const;

  /// Compare the clock readings.
  ///@{
  friend bool operator==(const TimeStamp& inA, const TimeStamp& inB) {
    return inA.GetClockReading() == inB.GetClockReading();
  }
  friend bool operator!=(const TimeStamp& inA, const TimeStamp& inB) { return !(inA == inB); }
  friend bool operator<(const TimeStamp& inA, const TimeStamp& inB) {
    return inA.GetClockReading() < inB.GetClockReading();
  }
  ///@}

 private:
  class PrivateImpl;
  std::unique_ptr<PrivateImpl> mImpl;
};

}  // namespace Ostra
