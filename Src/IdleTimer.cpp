#include "Ostra/IdleTimer.h"

#include <memory>

#include "Ostra/TimeStamp.h"
#include "strata/Impl.h"

namespace Ostra {

const strata::utility::ImmutableString kStation_Idle("ostra.idle");
const strata::utility::ImmutableString kStation_Repeat("ostra.repeat");
const strata::utility::ImmutableString kStation_AppSuspend("ostra.app.suspend");
const strata::utility::ImmutableString kStation_AppResume("ostra.app.resume");
const strata::utility::ImmutableString kStation_AboutDialog("ostra.aboutdialog");
const strata::utility::ImmutableString kStation_StatusBar("ostra.app.status.bar");

// ------------------------------------------------------------- messages

ApplicationIdleMessage::ApplicationIdleMessage() : Message(GetID()) {}
ApplicationIdleMessage::~ApplicationIdleMessage() = default;

strata::messaging::Message* ApplicationIdleMessage::Clone() const {
  return new ApplicationIdleMessage(*this);
}

strata::messaging::MessageID ApplicationIdleMessage::GetID() {
  return strata::messaging::GetMessageIDOf<ApplicationIdleMessage>();
}

IdleCountdownTimerMessage::IdleCountdownTimerMessage(std::uint32_t inCookie)
    : Message(GetID()), mCookie(inCookie) {}
IdleCountdownTimerMessage::IdleCountdownTimerMessage(const IdleCountdownTimerMessage& inOther) =
    default;
IdleCountdownTimerMessage::~IdleCountdownTimerMessage() = default;

strata::messaging::Message* IdleCountdownTimerMessage::Clone() const {
  return new IdleCountdownTimerMessage(*this);
}

void IdleCountdownTimerMessage::PostDeferred(const strata::messaging::StationID& inStation) const {
  strata::messaging::PostDeferredMessage(inStation,
                                         std::unique_ptr<strata::messaging::Message>(Clone()));
}

strata::messaging::MessageID IdleCountdownTimerMessage::GetID() {
  return strata::messaging::GetMessageIDOf<IdleCountdownTimerMessage>();
}

// ------------------------------------------------------------- the timer

namespace {

// Milliseconds of library uptime, truncated and kept as the low 32 bits.
std::uint32_t Now() {
  return static_cast<std::uint32_t>(static_cast<std::int64_t>(TimeStamp().GetElapsedValue()));
}

}  // namespace

class IdleCountdownTimer::PrivateImpl : public strata::Impl {
 public:
  strata::utility::ImmutableString mStationID;
  bool mListening = false;
  std::uint32_t mDuration = 0;
  std::uint32_t mDeadline = 0;
  std::uint32_t mCookie = 0;
  bool mFiring = false;
};

IdleCountdownTimer::IdleCountdownTimer() : mImpl(new PrivateImpl) {
  mImpl->mStationID = strata::messaging::RegisterUniqueStation();
}

IdleCountdownTimer::~IdleCountdownTimer() {
  if (mImpl->mListening) {
    mImpl->mListening = false;
    strata::messaging::RemoveListener(kStation_Idle, this);
  }
  strata::messaging::DisposeStation(mImpl->mStationID);
  delete mImpl;
}

void IdleCountdownTimer::SetDuration(unsigned int inMilliseconds) {
  mImpl->mDuration = inMilliseconds;
}

void IdleCountdownTimer::SetCookie(unsigned int inCookie) { mImpl->mCookie = inCookie; }

void IdleCountdownTimer::ArmTimer() {
  mImpl->mDeadline = Now() + mImpl->mDuration;  // wraps on purpose
  if (!mImpl->mListening) {
    mImpl->mListening = true;
    strata::messaging::AddListener(kStation_Idle, this);
  }
}

strata::utility::ImmutableString IdleCountdownTimer::GetStationID() const {
  return mImpl->mStationID;
}

void IdleCountdownTimer::ListenToMessage(const strata::messaging::StationID& /*inStation*/,
                                         const strata::messaging::Message& inMessage) {
  if (inMessage.GetMessageID() != ApplicationIdleMessage::GetID()) return;
  if (!mImpl->mListening) return;
  if (Now() < mImpl->mDeadline) return;
  // A handler of our message may cause another idle broadcast.
  if (mImpl->mFiring) return;
  mImpl->mFiring = true;
  strata::messaging::RemoveListener(kStation_Idle, this);
  mImpl->mListening = false;
  const IdleCountdownTimerMessage message(mImpl->mCookie);
  try {
    strata::messaging::BroadcastMessage(mImpl->mStationID, message);
  } catch (...) {
    mImpl->mFiring = false;
    throw;
  }
  mImpl->mFiring = false;
}

}  // namespace Ostra
