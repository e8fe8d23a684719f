#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "Ostra/Foundation.h"
#include "Ostra/IdleTimer.h"
#include "strata/Executor.h"

namespace {

using Ostra::ApplicationIdleMessage;
using Ostra::IdleCountdownTimer;
using Ostra::IdleCountdownTimerMessage;

// Records the cookies of the timer messages it hears, and runs an optional
// reaction inside its handler.
class TimerMessageRecorder : public strata::messaging::Listener {
 public:
  void ListenToMessage(const strata::messaging::StationID&,
                       const strata::messaging::Message& inMessage) override {
    const IdleCountdownTimerMessage* message =
        strata::messaging::MessageCast<IdleCountdownTimerMessage>(inMessage);
    if (!message) return;
    mCookies.push_back(message->GetCookie());
    if (mReaction) mReaction();
  }
  std::vector<std::uint32_t> mCookies;
  std::function<void()> mReaction;
};

class IdleTimerTest : public ::testing::Test {
 protected:
  void SetUp() override { Ostra::Foundation::Initialize(); }
  void TearDown() override { Ostra::Foundation::Terminate(); }

  static void Idle() {
    strata::messaging::BroadcastMessage(Ostra::kStation_Idle, ApplicationIdleMessage());
  }
};

TEST_F(IdleTimerTest, FiresOnceWithTheLatestCookieAndStaysSilentUntilRearmed) {
  IdleCountdownTimer timer;
  TimerMessageRecorder recorder;
  ASSERT_TRUE(strata::messaging::AddListener(timer.GetStationID(), &recorder));
  timer.SetCookie(1);
  Idle();  // not armed yet
  timer.ArmTimer();
  timer.SetCookie(7);
  Idle();
  Idle();
  EXPECT_EQ(std::vector<std::uint32_t>({7}), recorder.mCookies);
  timer.ArmTimer();
  Idle();
  EXPECT_EQ(std::vector<std::uint32_t>({7, 7}), recorder.mCookies);
}

TEST_F(IdleTimerTest, WaitsForTheDeadlineAndIgnoresOtherMessages) {
  IdleCountdownTimer timer;
  TimerMessageRecorder recorder;
  strata::messaging::AddListener(timer.GetStationID(), &recorder);
  timer.SetDuration(60 * 60 * 1000);
  timer.ArmTimer();
  Idle();
  EXPECT_TRUE(recorder.mCookies.empty()) << "fired an hour early";
  timer.SetDuration(0);
  EXPECT_EQ(1u, strata::messaging::BroadcastMessage(Ostra::kStation_Idle,
                                                    IdleCountdownTimerMessage(3)));
  EXPECT_TRUE(recorder.mCookies.empty()) << "a duration change applied before re-arming";
  timer.ArmTimer();  // moves the deadline to now
  strata::messaging::BroadcastMessage(Ostra::kStation_Idle, IdleCountdownTimerMessage(3));
  EXPECT_TRUE(recorder.mCookies.empty()) << "fired on a message that is not the idle message";
  Idle();
  EXPECT_EQ(1u, recorder.mCookies.size());
}

TEST_F(IdleTimerTest, HandlerThatRearmsAndGoesIdleIsHonouredWithoutReentry) {
  IdleCountdownTimer timer;
  TimerMessageRecorder recorder;
  strata::messaging::AddListener(timer.GetStationID(), &recorder);
  // The handler re-arms the timer and makes the application idle again
  // at once; the timer must not fire from inside its own broadcast.
  recorder.mReaction = [&timer] {
    timer.ArmTimer();
    Idle();
  };
  timer.ArmTimer();
  Idle();
  EXPECT_EQ(1u, recorder.mCookies.size());
  recorder.mReaction = nullptr;
  Idle();  // armed again by the handler
  EXPECT_EQ(2u, recorder.mCookies.size());
  Idle();
  EXPECT_EQ(2u, recorder.mCookies.size());
}

TEST_F(IdleTimerTest, DestroyingAnArmedTimerDetachesItAndDisposesItsStation) {
  strata::utility::ImmutableString station;
  {
    IdleCountdownTimer timer;
    station = timer.GetStationID();
    EXPECT_TRUE(strata::messaging::IsStationRegistered(station));
    timer.ArmTimer();
    EXPECT_EQ(1u, strata::messaging::BroadcastMessage(Ostra::kStation_Idle,
                                                      IdleCountdownTimerMessage(0)));
  }
  EXPECT_FALSE(strata::messaging::IsStationRegistered(station));
  EXPECT_EQ(0u, strata::messaging::BroadcastMessage(Ostra::kStation_Idle, ApplicationIdleMessage()));
}

TEST_F(IdleTimerTest, DeferredTimerMessageArrivesOnTheMainThreadPump) {
  IdleCountdownTimer timer;
  TimerMessageRecorder recorder;
  strata::messaging::AddListener(timer.GetStationID(), &recorder);
  IdleCountdownTimerMessage(42).PostDeferred(timer.GetStationID());
  EXPECT_TRUE(recorder.mCookies.empty());
  strata::threads::RunMainThreadCalls();
  EXPECT_EQ(std::vector<std::uint32_t>({42}), recorder.mCookies);
}

}  // namespace
