#include "strata/Messaging.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <typeinfo>
#include <utility>
#include <vector>

#include "strata/Allocator.h"
#include "strata/Executor.h"

namespace {

using strata::messaging::GetMessageIDOf;
using strata::messaging::Listener;
using strata::messaging::Message;
using strata::messaging::StationID;

struct PingMessage : Message {
  explicit PingMessage(int inValue = 0) : Message(GetMessageIDOf<PingMessage>()), mValue(inValue) {
    ++sLive;
  }
  PingMessage(const PingMessage& inOther) : Message(inOther), mValue(inOther.mValue) { ++sLive; }
  ~PingMessage() override { --sLive; }
  Message* Clone() const override { return new PingMessage(*this); }
  int mValue;
  static std::atomic<int> sLive;
};
std::atomic<int> PingMessage::sLive{0};

struct OtherMessage : Message {
  OtherMessage() : Message(GetMessageIDOf<OtherMessage>()) {}
};

// Records what it hears and then runs its action (which may change the
// station's listeners).
struct Recorder : Listener {
  Recorder(std::vector<std::string>& ioLog, const char* inName) : mLog(ioLog), mName(inName) {}
  void ListenToMessage(const StationID&, const Message& inMessage) override {
    const PingMessage* ping = strata::messaging::MessageCast<PingMessage>(inMessage);
    mLog.push_back(mName + (ping ? std::to_string(ping->mValue) : std::string("?")));
    if (mAction) mAction();
  }
  std::vector<std::string>& mLog;
  std::string mName;
  std::function<void()> mAction;
};

class MessagingTest : public ::testing::Test {
 public:
  std::size_t Send(int inValue) { return strata::messaging::BroadcastMessage(mStation, PingMessage(inValue)); }

 protected:
  void SetUp() override { mStation = strata::messaging::RegisterUniqueStation(); }
  void TearDown() override { strata::messaging::DisposeStation(mStation); }

  StationID mStation;
  std::vector<std::string> mLog;
};

TEST_F(MessagingTest, BroadcastReachesListenersInOrderOnlyOnTheirStation) {
  const StationID named("test.messaging.named");
  EXPECT_TRUE(strata::messaging::RegisterStation(named));
  EXPECT_FALSE(strata::messaging::RegisterStation(named));
  const StationID unique = strata::messaging::RegisterUniqueStation();
  EXPECT_NE(mStation, unique);
  EXPECT_TRUE(strata::messaging::DisposeStation(unique));
  Recorder a(mLog, "a"), b(mLog, "b");
  EXPECT_TRUE(strata::messaging::AddListener(mStation, &a));
  EXPECT_TRUE(strata::messaging::AddListener(mStation, &b));
  EXPECT_FALSE(strata::messaging::AddListener(mStation, &a));  // once per station
  EXPECT_FALSE(strata::messaging::AddListener("test.messaging.unknown", &a));
  EXPECT_EQ(0u, strata::messaging::BroadcastMessage("test.messaging.unknown", PingMessage(9)));
  EXPECT_EQ(2u, Send(1));
  EXPECT_TRUE(strata::messaging::RemoveListener(mStation, &a));
  EXPECT_FALSE(strata::messaging::RemoveListener(mStation, &a));
  EXPECT_EQ(1u, Send(2));
  EXPECT_EQ((std::vector<std::string>{"a1", "b1", "b2"}), mLog);
  EXPECT_TRUE(strata::messaging::DisposeStation(mStation));
  EXPECT_FALSE(strata::messaging::DisposeStation(mStation));
  EXPECT_EQ(0u, Send(3));
  EXPECT_FALSE(strata::messaging::AddListener(mStation, &a));
  strata::messaging::DisposeStation(named);
}

TEST_F(MessagingTest, ListenersMayChangeTheStationFromInsideTheirHandler) {
  // Three listeners a, b, c and a spare d; what a's handler does, and who
  // hears the first and the second broadcast.
  struct Row {
    const char* name;
    std::function<void(Recorder* const*)> action;  // given a, b, c, d
    std::vector<std::string> expected;
  };
  const StationID station = mStation;
  using strata::messaging::AddListener;
  using strata::messaging::RemoveListener;
  const std::vector<Row> rows = {
      {"removes itself", [&](Recorder* const* r) { RemoveListener(station, r[0]); },
       {"a1", "b1", "c1", "b2", "c2"}},
      {"removes a later one", [&](Recorder* const* r) { RemoveListener(station, r[2]); },
       {"a1", "b1", "a2", "b2"}},
      {"adds one: heard from the next broadcast on",
       [&](Recorder* const* r) { AddListener(station, r[3]); },
       {"a1", "b1", "c1", "a2", "b2", "c2", "d2"}},
      {"removes and re-adds a later one: it moves to the end",
       [&](Recorder* const* r) {
         RemoveListener(station, r[1]);
         AddListener(station, r[1]);
       },
       {"a1", "c1", "a2", "c2", "b2"}},
      {"disposes the station",
       [&](Recorder* const*) { strata::messaging::DisposeStation(station); }, {"a1"}},
      {"broadcasts again on the same station, once", [&](Recorder* const*) { Send(7); },
       {"a1", "a7", "b7", "c7", "b1", "c1", "a2", "b2", "c2"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    mLog.clear();
    strata::messaging::RegisterStation(mStation);
    Recorder a(mLog, "a"), b(mLog, "b"), c(mLog, "c"), d(mLog, "d");
    Recorder* const recorders[] = {&a, &b, &c, &d};
    for (Recorder* r : {&a, &b, &c}) AddListener(mStation, r);
    bool acted = false;
    a.mAction = [&] { if (!std::exchange(acted, true)) row.action(recorders); };
    Send(1);
    Send(2);
    EXPECT_EQ(row.expected, mLog);
    strata::messaging::DisposeStation(mStation);
  }
}

TEST_F(MessagingTest, DestroyedListenerIsDetachedFromEveryStation) {
  const StationID second = strata::messaging::RegisterUniqueStation();
  {
    Recorder gone(mLog, "gone");
    strata::messaging::AddListener(mStation, &gone);
    strata::messaging::AddListener(second, &gone);
  }
  EXPECT_EQ(0u, Send(1));
  EXPECT_EQ(0u, strata::messaging::BroadcastMessage(second, PingMessage(1)));
  // Destroyed from inside its own handler, during a broadcast.
  Recorder* self = new Recorder(mLog, "self");
  Recorder after(mLog, "after");
  self->mAction = [self] { delete self; };
  strata::messaging::AddListener(mStation, self);
  strata::messaging::AddListener(mStation, &after);
  EXPECT_EQ(2u, Send(2));
  EXPECT_EQ(1u, Send(3));
  EXPECT_EQ((std::vector<std::string>{"self2", "after2", "after3"}), mLog);
  strata::messaging::DisposeStation(second);
}

TEST(MessageID, ComesFromTheRunTimeTypeNameAndTellsClassesApart) {
  EXPECT_EQ(strata::messaging::HashMessageTypeNameToMessageID(typeid(PingMessage).name()),
            GetMessageIDOf<PingMessage>());
  EXPECT_NE(GetMessageIDOf<PingMessage>(), GetMessageIDOf<OtherMessage>());
  EXPECT_EQ(GetMessageIDOf<OtherMessage>(), OtherMessage().GetMessageID());
  EXPECT_EQ(strata::messaging::HashMessageTypeNameToMessageID("N5Ostra9SomethingE"),
            strata::messaging::HashMessageTypeNameToMessageID("N5Ostra9SomethingE"));
  EXPECT_EQ(nullptr, strata::messaging::MessageCast<PingMessage>(OtherMessage()));
}

TEST_F(MessagingTest, DeferredCopyIsBroadcastOnTheMainThreadPumpThenFreed) {
  strata::threads::AsyncEventLoopAdaptorRef main = strata::threads::RegisterCurrentThreadAsMainThread();
  Recorder listener(mLog, "l");
  strata::messaging::AddListener(mStation, &listener);
  const int liveBefore = PingMessage::sLive.load();
  {
    PingMessage original(5);
    // From another thread, as a worker would.
    std::thread([&] { EXPECT_TRUE(strata::messaging::PostDeferredCopy(mStation, original)); }).join();
    original.mValue = 6;  // the copy was taken at posting time
  }
  EXPECT_EQ(liveBefore + 1, PingMessage::sLive.load());
  EXPECT_TRUE(mLog.empty());
  const std::size_t pooledBefore = strata::allocator::SmallBlockAllocator::GetPooledBytes();
  EXPECT_EQ(1u, strata::threads::RunMainThreadCalls());
  EXPECT_EQ(std::vector<std::string>{"l5"}, mLog);
  EXPECT_EQ(liveBefore, PingMessage::sLive.load());
  // The copy's memory went back to the small-block pool.
  EXPECT_GT(strata::allocator::SmallBlockAllocator::GetPooledBytes(), pooledBefore);

  EXPECT_FALSE(strata::messaging::PostDeferredCopy(mStation, OtherMessage()));  // no Clone
  // A copy still pending when the main thread ends is delivered, not lost.
  strata::messaging::PostDeferredMessage(mStation, std::unique_ptr<Message>(new PingMessage(8)));
  main->Unregister();
  EXPECT_EQ((std::vector<std::string>{"l5", "l8"}), mLog);
  EXPECT_EQ(liveBefore, PingMessage::sLive.load());
}

TEST_F(MessagingTest, ConcurrentBroadcastsWhileListenersComeAndGo) {
  struct Counter : Listener {
    void ListenToMessage(const StationID&, const Message&) override { mHeard.fetch_add(1); }
    std::atomic<int> mHeard{0};
  };
  Counter steady;
  strata::messaging::AddListener(mStation, &steady);
  std::atomic<bool> stop{false};
  // Each churner adds and removes its own listener on its own thread.
  std::vector<std::thread> churners;
  for (int t = 0; t < 2; ++t)
    churners.emplace_back([&] {
      Counter mine;
      while (!stop.load()) {
        strata::messaging::AddListener(mStation, &mine);
        strata::messaging::RemoveListener(mStation, &mine);
      }
    });
  std::vector<std::thread> senders;
  for (int t = 0; t < 3; ++t)
    senders.emplace_back([&] {
      for (int i = 0; i < 3000; ++i) Send(i);
    });
  for (std::thread& sender : senders) sender.join();
  stop = true;
  for (std::thread& churner : churners) churner.join();
  EXPECT_EQ(3 * 3000, steady.mHeard.load());
}

}  // namespace
