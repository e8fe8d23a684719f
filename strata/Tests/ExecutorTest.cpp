#include "strata/Executor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Support/Dialogs.h"
#include "Support/ThreadCount.h"
#include "strata/Threads.h"

namespace {

using strata::threads::ExecutorRef;
using strata::threads::Gate;
using strata::threads::ThreadAttributes;
using strata::threads::ThreadHook;
using strata::threads::ThreadPriority;

ExecutorRef MakePool(std::uint32_t inThreads, const char* inName = "Test Pool Thread") {
  return strata::threads::CreateAsyncThreadedExecutor(inName, inThreads, ThreadPriority::kNormal,
                                                      ThreadHook(), ThreadHook(), ThreadAttributes());
}

// Every assertion dialog is recorded instead of shown.
class ExecutorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // The process's first new thread may bring a helper thread of the
    // runtime that lives as long as the process (the thread sanitizer's
    // does): threads are counted from after one pool came and went.
    static const bool sFirstThreadMade = [] {
      MakePool(1).reset();
      return true;
    }();
    (void)sFirstThreadMade;
    mBaselineThreads = OstraTest::CountThreadsOfThisProcess();
    mDialogs.reset(new OstraTest::ContinueDialogs);
  }
  void TearDown() override {
    mDialogs.reset();
    // Whatever a test made, its threads must be gone when it ends.
    EXPECT_EQ(mBaselineThreads, OstraTest::CountThreadsOfThisProcess());
  }
  std::vector<std::string> Dialogs() const { return mDialogs->Messages(); }

  int mBaselineThreads = 0;
  std::unique_ptr<OstraTest::ContinueDialogs> mDialogs;
};

TEST_F(ExecutorTest, EveryKindRunsAllTasksAndSerialOnesKeepPostingOrder) {
  ExecutorRef pool = MakePool(4);
  const struct {
    const char* name;
    ExecutorRef executor;
    int limit;  // tasks at a time; 1 keeps posting order
  } rows[] = {
      {"one thread", MakePool(1), 1},
      {"three threads", MakePool(3), 3},
      {"serial view", strata::threads::CreateSubExecutor(pool, 1), 1},
      {"second serial view of the same pool", strata::threads::CreateSubExecutor(pool, 1), 1},
      {"view of two at a time", strata::threads::CreateSubExecutor(pool, 2), 2},
      {"CPU pool", strata::threads::CreateCPUBoundExecutor(), 64},
  };
  const int kPosters = 4, kTasks = 3000;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    std::vector<std::vector<int>> order(kPosters);  // per poster; filled when serial
    std::atomic<int> ran{0}, inside{0}, most{0};
    std::vector<std::thread> posters;
    for (int p = 0; p < kPosters; ++p)
      posters.emplace_back([&, p] {
        for (int i = 0; i < kTasks; ++i)
          row.executor->Post([&, p, i] {
            const int now = inside.fetch_add(1) + 1;
            for (int seen = most.load(); now > seen && !most.compare_exchange_weak(seen, now);) {
            }
            if (row.limit == 1) order[p].push_back(i);
            inside.fetch_sub(1);
            ran.fetch_add(1);
          });
      });
    for (std::thread& poster : posters) poster.join();
    row.executor->WaitForAll();
    EXPECT_EQ(kPosters * kTasks, ran.load());
    EXPECT_LE(most.load(), row.limit);
    if (row.limit != 1) continue;
    for (const std::vector<int>& posted : order) {
      ASSERT_EQ(static_cast<std::size_t>(kTasks), posted.size());
      EXPECT_TRUE(std::is_sorted(posted.begin(), posted.end()));
    }
  }
}

TEST_F(ExecutorTest, ThrowingTaskIsReportedAndItsThreadCarriesOn) {
  ExecutorRef pool = MakePool(1);
  std::thread::id firstThread, lastThread;
  bool lastRan = false;
  pool->Post([&] {
    firstThread = std::this_thread::get_id();
    throw std::runtime_error("disk on fire");
  });
  pool->Post([] { throw 42; });
  pool->Post([&] {
    lastThread = std::this_thread::get_id();
    lastRan = true;
  });
  pool->WaitForAll();
  EXPECT_TRUE(lastRan);
  EXPECT_EQ(firstThread, lastThread);
  const std::vector<std::string> dialogs = Dialogs();
  ASSERT_EQ(2u, dialogs.size());
  EXPECT_NE(std::string::npos, dialogs[0].find("Test Pool Thread")) << dialogs[0];
  EXPECT_NE(std::string::npos, dialogs[0].find("disk on fire")) << dialogs[0];
  EXPECT_NE(std::string::npos, dialogs[1].find("not a std::exception")) << dialogs[1];
}

TEST_F(ExecutorTest, ReleasingTheLastReferenceRunsQueuedTasksAndJoinsThreads) {
  for (bool view : {false, true}) {
    SCOPED_TRACE(view ? "serial view of a pool" : "pool");
    std::atomic<int> ran{0};
    {
      ExecutorRef pool = MakePool(4);
      EXPECT_EQ(mBaselineThreads + 4, OstraTest::CountThreadsOfThisProcess());
      // The view holds the pool's last reference once the pool is dropped.
      ExecutorRef executor = view ? strata::threads::CreateSubExecutor(pool, 1) : pool;
      pool.reset();
      for (int i = 0; i < 200; ++i)
        executor->Post([&ran, i] {
          std::this_thread::sleep_for(std::chrono::milliseconds(i % 7 == 0 ? 1 : 0));
          ran.fetch_add(1);
        });
    }
    EXPECT_EQ(200, ran.load());
    EXPECT_EQ(mBaselineThreads, OstraTest::CountThreadsOfThisProcess());
  }
}

TEST_F(ExecutorTest, LastReferenceReleasedInsideOwnTaskDoesNotDeadlock) {
  Gate done;
  {
    ExecutorRef pool = MakePool(2);
    // The task holds the only reference once the test drops its own.
    ExecutorRef* held = new ExecutorRef(pool);
    pool.reset();
    (*held)->Post([held, &done] {
      delete held;
      done.Open();
    });
  }
  ASSERT_TRUE(done.PassThrough(10000));
  // The thread that released it ends on its own, right after the task.
  for (int i = 0; i < 500 && OstraTest::CountThreadsOfThisProcess() != mBaselineThreads; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

TEST_F(ExecutorTest, WaitForAllDoesNotWaitForTasksPostedAfterIt) {
  ExecutorRef pool = MakePool(2);
  Gate firstMayEnd, laterMayEnd, waiting;
  std::atomic<bool> laterDone{false};
  pool->Post([&] { firstMayEnd.PassThrough(); });
  std::atomic<bool> waited{false};
  std::thread waiter([&] {
    waiting.Open();
    pool->WaitForAll();
    waited = true;
  });
  waiting.PassThrough();
  std::this_thread::sleep_for(std::chrono::milliseconds(200));  // the waiter is inside WaitForAll by now
  pool->Post([&] {
    laterMayEnd.PassThrough();
    laterDone = true;
  });
  firstMayEnd.Open();
  for (int i = 0; i < 1000 && !waited; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_TRUE(waited.load());
  EXPECT_FALSE(laterDone.load());
  laterMayEnd.Open();
  waiter.join();
  pool->WaitForAll();
  EXPECT_TRUE(laterDone.load());
}

TEST_F(ExecutorTest, WaitingForOwnExecutorInsideATaskIsReportedNotDeadlocked) {
  ExecutorRef pool = MakePool(1);
  ExecutorRef serial = strata::threads::CreateSubExecutor(pool, 1);
  serial->Post([&] {
    serial->WaitForAll();
    pool->WaitForAll();
  });
  serial->WaitForAll();
  ASSERT_EQ(2u, Dialogs().size());
  EXPECT_NE(std::string::npos, Dialogs()[0].find("(serial)")) << Dialogs()[0];
  EXPECT_NE(std::string::npos, Dialogs()[1].find("Test Pool Thread")) << Dialogs()[1];
}

TEST_F(ExecutorTest, CPUPoolIsOnePerProcessAndSizedToTheMachine) {
  {
    ExecutorRef first = strata::threads::CreateCPUBoundExecutor();
    ExecutorRef second = strata::threads::CreateCPUBoundExecutor();
    ASSERT_TRUE(first);
    EXPECT_EQ(first.get(), second.get());
    EXPECT_EQ(mBaselineThreads + static_cast<int>(std::thread::hardware_concurrency()), OstraTest::CountThreadsOfThisProcess());
  }
  // Released by everyone: its threads are gone (TearDown), and a new one
  // starts when asked for.
  ExecutorRef again = strata::threads::CreateCPUBoundExecutor();
  std::atomic<bool> ran{false};
  again->Post([&ran] { ran = true; });
  again->WaitForAll();
  EXPECT_TRUE(ran.load());
}

// -------------------------------------------------------------- main thread

class MainThreadTest : public ExecutorTest {
 protected:
  void SetUp() override {
    ExecutorTest::SetUp();
    mRegistration = strata::threads::RegisterCurrentThreadAsMainThread();
  }
  void TearDown() override {
    if (mRegistration) mRegistration->Unregister();
    mRegistration.reset();
    strata::threads::SetMainThreadWakeHook({});
    ExecutorTest::TearDown();
  }
  strata::threads::AsyncEventLoopAdaptorRef mRegistration;
};

TEST_F(MainThreadTest, DeferredCallsRunOnTheMainThreadOnlyWhenItPumps) {
  ASSERT_TRUE(mRegistration->IsRegistered());
  EXPECT_TRUE(strata::threads::IsMainThread());
  const std::thread::id mainThread = std::this_thread::get_id();
  std::vector<std::thread::id> ranOn;
  std::size_t pumpedElsewhere = 99;
  std::thread other([&] {
    EXPECT_FALSE(strata::threads::IsMainThread());
    for (int i = 0; i < 3; ++i)
      strata::threads::PostToMainThread([&ranOn] { ranOn.push_back(std::this_thread::get_id()); });
    pumpedElsewhere = strata::threads::RunMainThreadCalls();
  });
  other.join();
  EXPECT_EQ(0u, pumpedElsewhere);
  EXPECT_TRUE(ranOn.empty());
  EXPECT_EQ(3u, strata::threads::RunMainThreadCalls());
  EXPECT_EQ(std::vector<std::thread::id>(3, mainThread), ranOn);
  EXPECT_EQ(0u, strata::threads::RunMainThreadCalls());
}

TEST_F(MainThreadTest, CallsPostedByACallWaitForTheNextPumpAndWakeTheHost) {
  int wakes = 0;
  strata::threads::SetMainThreadWakeHook([&wakes] { ++wakes; });
  std::vector<int> order;
  strata::threads::PostToMainThread([&] {
    order.push_back(1);
    strata::threads::PostToMainThread([&order] { order.push_back(3); });
  });
  strata::threads::PostToMainThread([&order] { order.push_back(2); });
  EXPECT_EQ(1, wakes);  // only the first post found the queue empty
  EXPECT_EQ(2u, strata::threads::RunMainThreadCalls());
  EXPECT_EQ((std::vector<int>{1, 2}), order);
  EXPECT_EQ(2, wakes);  // the pump left a call behind and said so
  EXPECT_EQ(1u, strata::threads::RunMainThreadCalls());
  EXPECT_EQ((std::vector<int>{1, 2, 3}), order);
}

TEST_F(MainThreadTest, EndingTheRegistrationRunsWhatIsPendingAndNestsByCount) {
  strata::threads::AsyncEventLoopAdaptorRef nested = strata::threads::RegisterCurrentThreadAsMainThread();
  EXPECT_TRUE(nested->IsRegistered());
  int ran = 0;
  strata::threads::PostToMainThread([&ran] { ++ran; });
  nested->Unregister();
  EXPECT_EQ(0, ran);  // the outer registration is still active
  EXPECT_TRUE(strata::threads::IsMainThread());
  mRegistration->Unregister();
  EXPECT_EQ(1, ran);
  EXPECT_FALSE(mRegistration->IsRegistered());
  EXPECT_FALSE(strata::threads::IsMainThread());

  // Without a main thread a posted call waits for the next one.
  strata::threads::PostToMainThread([&ran] { ++ran; });
  EXPECT_EQ(0u, strata::threads::RunMainThreadCalls());
  mRegistration = strata::threads::RegisterCurrentThreadAsMainThread();
  EXPECT_EQ(1u, strata::threads::RunMainThreadCalls());
  EXPECT_EQ(2, ran);
}

TEST_F(MainThreadTest, RegistrationFromAnotherThreadIsRefused) {
  bool registered = true;
  std::thread([&registered] {
    strata::threads::AsyncEventLoopAdaptorRef refused = strata::threads::RegisterCurrentThreadAsMainThread();
    registered = refused->IsRegistered();
  }).join();
  EXPECT_FALSE(registered);
  EXPECT_EQ(1u, Dialogs().size());
  EXPECT_TRUE(strata::threads::IsMainThread());
}

TEST_F(MainThreadTest, MainThreadExecutorWaitsForThePump) {
  ExecutorRef main = strata::threads::GetMainThreadExecutor();
  std::atomic<int> ran{0};
  std::atomic<bool> waited{false};
  std::thread worker([&] {
    main->Post([&ran] { ran.fetch_add(1); });
    main->WaitForAll();
    waited = true;
  });
  while (ran.load() == 0) {
    strata::threads::RunMainThreadCalls();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  worker.join();
  EXPECT_TRUE(waited.load());
  // On the main thread itself, waiting pumps.
  main->Post([&ran] { ran.fetch_add(1); });
  main->WaitForAll();
  EXPECT_EQ(2, ran.load());
}

}  // namespace
