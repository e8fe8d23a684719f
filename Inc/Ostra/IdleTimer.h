/// \file
/// The library's six message stations, the idle message an application
/// broadcasts on kStation_Idle, and a one-shot countdown that fires at the
/// first idle message after a set time.
///
/// The stations are registered by Foundation::Initialize. The timer takes
/// no locks: it belongs to the thread that broadcasts the idle messages
/// (the application's main thread in normal use), and its own message is
/// broadcast synchronously on that thread.
#pragma once

#include <cstdint>

#include "Ostra/OstraConfig.h"
#include "strata/Messaging.h"

namespace Ostra {

OSTRA_API extern const strata::utility::ImmutableString kStation_Idle;         ///< "ostra.idle"
OSTRA_API extern const strata::utility::ImmutableString kStation_Repeat;       ///< "ostra.repeat"
OSTRA_API extern const strata::utility::ImmutableString kStation_AppSuspend;   ///< "ostra.app.suspend"
OSTRA_API extern const strata::utility::ImmutableString kStation_AppResume;    ///< "ostra.app.resume"
OSTRA_API extern const strata::utility::ImmutableString kStation_AboutDialog;  ///< "ostra.aboutdialog"
OSTRA_API extern const strata::utility::ImmutableString kStation_StatusBar;  ///< "ostra.app.status.bar"

/// Broadcast by the application on kStation_Idle whenever it is idle; it
/// drives every IdleCountdownTimer.
///
/// It carries nothing but its type. Broadcast it on the thread the timers
/// belong to (the main thread in normal use): the listeners run on the
/// broadcasting thread. Making one never fails; its type identifier is
/// computed once, thread-safely.
class OSTRA_API ApplicationIdleMessage : public strata::messaging::Message {
 public:
  ApplicationIdleMessage();
  ~ApplicationIdleMessage() override;
  Message* Clone() const override;

  /// The type identifier, from the class's run-time type name; cached.
  static strata::messaging::MessageID GetID();
};

/// Broadcast by an IdleCountdownTimer on its own station when it fires,
/// carrying the timer's cookie.
///
/// A plain value: it may be copied to another thread, and PostDeferred
/// sends a heap copy to the main thread's next pump from any thread.
/// Nothing fails but the heap copy, which throws std::bad_alloc when
/// memory runs out.
class OSTRA_API IdleCountdownTimerMessage : public strata::messaging::Message {
 public:
  /// A message carrying the firing timer's cookie (IdleCountdownTimer::SetCookie).
  explicit IdleCountdownTimerMessage(std::uint32_t inCookie);
  IdleCountdownTimerMessage(const IdleCountdownTimerMessage& inOther);  ///< same cookie
  ~IdleCountdownTimerMessage() override;

  /// A heap copy from the small-block allocator, for deferred delivery.
  Message* Clone() const override;
  /// Posts a heap copy for broadcast on inStation at the main thread's next
  /// pump.
  void PostDeferred(const strata::messaging::StationID& inStation) const;

  std::uint32_t GetCookie() const { return mCookie; }  ///< as constructed

  /// The type identifier, from the class's run-time type name; cached.
  static strata::messaging::MessageID GetID();

 private:
  /// A message is plain data copied between threads; no implementation
  /// object to hide.
  std::uint32_t mCookie;
};

/// Once armed, waits for the idle messages on kStation_Idle and, at the
/// first one that arrives at or after the deadline (now + duration), stops
/// listening and broadcasts an IdleCountdownTimerMessage with the current
/// cookie on its own station. One-shot: ArmTimer again to re-start, also
/// from inside a handler of the timer's message.
///
/// Deadlines are milliseconds of library uptime kept in 32 bits on purpose:
/// they wrap after about 49.7 days, and a deadline that wrapped past zero
/// counts as already reached.
///
/// Threading: no locks. The timer belongs to the thread that broadcasts the
/// idle messages (the main thread in normal use), and its own message is
/// broadcast synchronously on that thread.
///
/// Failures: none of its own; an exception thrown by a listener of its
/// message leaves the idle broadcast that fired it.
class OSTRA_API IdleCountdownTimer : public strata::messaging::Listener {
 public:
  IdleCountdownTimer();
  /// Detaches from kStation_Idle and disposes of the timer's station.
  virtual ~IdleCountdownTimer();
  IdleCountdownTimer(const IdleCountdownTimer&) = delete;
  IdleCountdownTimer& operator=(const IdleCountdownTimer&) = delete;

  /// Milliseconds; takes effect at the next ArmTimer.
  void SetDuration(unsigned int inMilliseconds);
  /// The value current when the timer fires is sent.
  void SetCookie(unsigned int inCookie);
  /// Sets the deadline to now + duration and listens for idle messages;
  /// when already armed, only moves the deadline.
  void ArmTimer();
  /// Where clients listen for IdleCountdownTimerMessage.
  strata::utility::ImmutableString GetStationID() const;

  void ListenToMessage(const strata::messaging::StationID& inStation,
                       const strata::messaging::Message& inMessage) override;

 private:
  class PrivateImpl;
  PrivateImpl* mImpl;
};

}  // namespace Ostra
