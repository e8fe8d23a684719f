#include "strata/Threads.h"

#include <gtest/gtest.h>

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
