#include "strata/Threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

using strata::threads::RecursiveMutex;

TEST(ThreadsTest, OwnerRelocksAndOthersWaitUntilEveryLockIsMatched) {
  RecursiveMutex mutex;
  auto LockedElsewhere = [&] {
    bool locked = false;
    std::thread([&] { if ((locked = mutex.TryLock())) mutex.Unlock(); }).join();
    return locked;
  };
  mutex.Lock();
  EXPECT_TRUE(mutex.TryLock());
  mutex.Unlock();
  EXPECT_FALSE(LockedElsewhere());
  mutex.Unlock();
  EXPECT_TRUE(LockedElsewhere());
}

TEST(ThreadsTest, NestedScopedLocksKeepThreadsOutOfEachOthersSection) {
  RecursiveMutex mutex;
  int inside = 0, overlaps = 0;
  long counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 20000; ++i) {
        RecursiveMutex::ScopedLock outer(mutex);
        RecursiveMutex::ScopedLock inner(mutex);
        if (++inside != 1) ++overlaps;
        ++counter;
        --inside;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(overlaps, 0);
  EXPECT_EQ(counter, 4 * 20000);
}

using strata::threads::Gate;

TEST(GateTest, ClosedGateTimesOutAndOpenGateLetsThrough) {
  Gate gate;
  EXPECT_FALSE(gate.IsOpen());
  EXPECT_FALSE(gate.PassThrough(0));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(gate.PassThrough(60));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
  gate.Open();
  EXPECT_TRUE(gate.PassThrough(0));
  EXPECT_TRUE(gate.PassThrough(-1));  // stays open for everyone after
  gate.Close();
  EXPECT_FALSE(gate.PassThrough(0));
  EXPECT_TRUE(Gate(true).PassThrough(0));
}

TEST(GateTest, OpeningReleasesEveryWaiterWithoutALimit) {
  Gate gate;
  std::atomic<int> through{0};
  std::vector<std::thread> waiters;
  for (int t = 0; t < 6; ++t)
    waiters.emplace_back([&gate, &through, t] {
      if (gate.PassThrough(t % 2 ? -1 : 60000)) through.fetch_add(1);
    });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(0, through.load());
  gate.Open();
  for (std::thread& waiter : waiters) waiter.join();
  EXPECT_EQ(6, through.load());
}
