// Pieces the executors share: the ledger of posted tasks that tells a
// waiter when everything posted before it has run, the record of which
// executor the calling thread is working for, and the guarded task call.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "strata/Executor.h"

namespace strata {
namespace threads {
namespace detail {

// Posted tasks in order, numbered from 1, and the numbers of those being
// run. Not thread-safe: its owner guards it with the owner's mutex.
class TaskLedger {
 public:
  std::uint64_t Push(Task inTask) {
    mQueue.emplace_back(mNextNumber, std::move(inTask));
    return mNextNumber++;
  }
  bool IsEmpty() const { return mQueue.empty(); }
  // Room for inRunners tasks running at once, made up front: PopOldest then
  // never allocates, so a runner cannot fail between taking a task and
  // running it.
  void ReserveRunners(std::size_t inRunners) { mRunning.reserve(inRunners); }
  std::uint64_t GetOldestNumber() const { return mQueue.front().first; }

  // Moves the oldest task out (the ledger must not be empty) and counts it
  // as running until Finished is called with the number returned.
  std::uint64_t PopOldest(Task& outTask) {
    const std::uint64_t number = mQueue.front().first;
    outTask = std::move(mQueue.front().second);
    mQueue.pop_front();
    mRunning.push_back(number);
    return number;
  }

  // Takes back the queued task numbered inNumber; false when it is not
  // queued (running or run already).
  bool RemoveQueued(std::uint64_t inNumber) {
    for (auto queued = mQueue.begin(); queued != mQueue.end(); ++queued) {
      if (queued->first == inNumber) {
        mQueue.erase(queued);
        return true;
      }
    }
    return false;
  }

  void Finished(std::uint64_t inNumber) {
    for (std::size_t i = 0; i < mRunning.size(); ++i) {
      if (mRunning[i] == inNumber) {
        mRunning[i] = mRunning.back();
        mRunning.pop_back();
        return;
      }
    }
  }

  // The number of the last task posted; 0 before the first.
  std::uint64_t GetLastPosted() const { return mNextNumber - 1; }

  // True when no task numbered up to inNumber is queued or running. Tasks
  // leave the queue in order, so the queue's front is its oldest.
  bool IsDoneThrough(std::uint64_t inNumber) const {
    if (!mQueue.empty() && mQueue.front().first <= inNumber) return false;
    for (std::uint64_t running : mRunning)
      if (running <= inNumber) return false;
    return true;
  }

 private:
  std::deque<std::pair<std::uint64_t, Task>> mQueue;
  std::vector<std::uint64_t> mRunning;  // at most one entry per thread
  std::uint64_t mNextNumber = 1;
};

// Marks, for the calling thread and its lifetime, that the thread works for
// the executor identified by inOwner. Scopes nest (a serial view's task
// runs inside its pool's thread).
class RunningScope {
 public:
  explicit RunningScope(const void* inOwner);
  ~RunningScope();
  RunningScope(const RunningScope&) = delete;
  RunningScope& operator=(const RunningScope&) = delete;

  static bool IsRunningFor(const void* inOwner);
  static bool IsRunningForAny();

 private:
  const void* mOwner;
  RunningScope* mOuter;
};

// Runs inTask; an exception it throws is reported as an assertion naming
// inExecutorName instead of ending the thread.
void RunTaskReportingErrors(const Task& inTask, const std::string& inExecutorName);

// Reports a wait that could never end: a task waiting for its own executor.
void ReportWaitInsideOwnTask(const std::string& inExecutorName);

}  // namespace detail
}  // namespace threads
}  // namespace strata
