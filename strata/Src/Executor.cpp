#include "strata/Executor.h"

#include <exception>
#include <memory>
#include <mutex>
#include <new>

#include <boost/weak_ptr.hpp>

#include "ExecutorSupport.h"
#include "Platform.h"
#include "strata/Debug.h"

namespace strata {
namespace threads {

Executor::~Executor() = default;

// ---------------------------------------------------------------- support

namespace detail {

namespace {
// The calling thread's innermost RunningScope.
platform::ThreadSlot sInnermostScope;

RunningScope* InnermostScope() { return static_cast<RunningScope*>(sInnermostScope.Get()); }
}  // namespace

RunningScope::RunningScope(const void* inOwner) : mOwner(inOwner), mOuter(InnermostScope()) {
  sInnermostScope.Set(this);
}

RunningScope::~RunningScope() { sInnermostScope.Set(mOuter); }

bool RunningScope::IsRunningFor(const void* inOwner) {
  for (const RunningScope* scope = InnermostScope(); scope; scope = scope->mOuter)
    if (scope->mOwner == inOwner) return true;
  return false;
}

bool RunningScope::IsRunningForAny() { return InnermostScope() != nullptr; }

void RunTaskReportingErrors(const Task& inTask, const std::string& inExecutorName) {
  static debug::AssertSite sSite;
  std::string failure;
  try {
    inTask();
    return;
  } catch (const std::exception& e) {
    failure = e.what();
  } catch (...) {
    failure = "an exception that is not a std::exception";
  }
  try {
    debug::ReportAssertion(sSite, false, "task returned without throwing",
                           "A task of executor \"" + inExecutorName + "\" threw: " + failure,
                           STRATA_FUNCTION_SIGNATURE, __FILE__, __LINE__);
  } catch (...) {
    // A dialog hook that throws must not end the thread either.
  }
}

void ReportWaitInsideOwnTask(const std::string& inExecutorName) {
  STRATA_ASSERT_MSG(false, "A task of executor \"" + inExecutorName +
                               "\" waited for its own executor; the wait would never end.");
}

}  // namespace detail

namespace {

// Runs the oldest queued task of inState with its mutex released, then
// marks it finished. Called and returns with the lock held.
template <class State>
void RunOldestTask(State& ioState, std::unique_lock<platform::Lock>& ioLock) {
  Task task;
  const std::uint64_t number = ioState.mTasks.PopOldest(task);
  ioLock.unlock();
  detail::RunTaskReportingErrors(task, ioState.mName);
  // Released outside the lock: the task may hold the last reference to an
  // executor, this one included.
  task = nullptr;
  ioLock.lock();
  ioState.mTasks.Finished(number);
  if (ioState.mWaiters != 0) ioState.mDone.NotifyAll();
}

// Waits until every task posted to inState so far has run. A task that
// waits for its own executor would wait for ever: it is reported instead.
template <class State>
void WaitForAllPosted(State& ioState) {
  if (detail::RunningScope::IsRunningFor(&ioState)) {
    detail::ReportWaitInsideOwnTask(ioState.mName);
    return;
  }
  std::unique_lock<platform::Lock> lock(ioState.mMutex);
  const std::uint64_t last = ioState.mTasks.GetLastPosted();
  ++ioState.mWaiters;
  ioState.mDone.Wait(lock, [&ioState, last] { return ioState.mTasks.IsDoneThrough(last); });
  --ioState.mWaiters;
}

// ------------------------------------------------------- threaded executor

// What a threaded executor shares with its threads; a thread keeps it
// alive for as long as it runs, even when the executor has gone.
struct PoolState {
  PoolState(const std::string& inName, ThreadPriority::Type inPriority, const ThreadHook& inOnStart,
            const ThreadHook& inOnEnd)
      : mName(inName), mPriority(inPriority), mOnStart(inOnStart), mOnEnd(inOnEnd) {}

  const std::string mName;
  const ThreadPriority::Type mPriority;
  const ThreadHook mOnStart;
  const ThreadHook mOnEnd;

  platform::Lock mMutex;
  platform::Condition mWork;  // a task arrived, or stopping
  platform::Condition mDone;  // a task finished while somebody waits
  detail::TaskLedger mTasks;
  bool mStopping = false;
  std::uint32_t mWaiters = 0;
};

void RunPoolThread(const std::shared_ptr<PoolState>& inState) {
  PoolState& state = *inState;
  try {
    platform::SetCurrentThreadName(state.mName);
  } catch (...) {
    // A name is for debuggers only: without memory for it the thread works unnamed.
  }
  platform::SetCurrentThreadPriority(state.mPriority);
  detail::RunningScope scope(&state);
  if (state.mOnStart) detail::RunTaskReportingErrors(state.mOnStart, state.mName);

  std::unique_lock<platform::Lock> lock(state.mMutex);
  for (;;) {
    state.mWork.Wait(lock, [&state] { return state.mStopping || !state.mTasks.IsEmpty(); });
    // Stopping still runs what was posted before.
    if (state.mTasks.IsEmpty()) break;
    RunOldestTask(state, lock);
  }
  lock.unlock();
  if (state.mOnEnd) detail::RunTaskReportingErrors(state.mOnEnd, state.mName);
}

class ThreadedExecutor : public Executor {
 public:
  explicit ThreadedExecutor(const std::shared_ptr<PoolState>& inState) : mState(inState) {}

  ~ThreadedExecutor() override {
    {
      std::lock_guard<platform::Lock> lock(mState->mMutex);
      mState->mStopping = true;
    }
    mState->mWork.NotifyAll();
    for (const std::unique_ptr<platform::Thread>& thread : mThreads) {
      // The last reference went inside one of our tasks: that thread
      // cannot wait for itself, and ends after the task.
      if (thread->IsCurrentThread())
        thread->Detach();
      else
        thread->Join();
    }
  }

  bool AddThread(std::size_t inStackSize) {
    const std::shared_ptr<PoolState> state = mState;
    {
      std::lock_guard<platform::Lock> lock(mState->mMutex);
      mState->mTasks.ReserveRunners(mThreads.size() + 1);
    }
    mThreads.reserve(mThreads.size() + 1);
    std::unique_ptr<platform::Thread> thread =
        platform::Thread::Start(inStackSize, [state] { RunPoolThread(state); });
    if (!thread) return false;
    mThreads.push_back(std::move(thread));
    return true;
  }

  void Post(Task inTask, PostOptions::Type) override {
    STRATA_INPUT_CONTRACT(inTask != nullptr);
    // Once queued, the task may run and drop this executor's last
    // reference before Post returns: from then on only locals are used.
    const std::shared_ptr<PoolState> state = mState;
    {
      std::lock_guard<platform::Lock> lock(state->mMutex);
      state->mTasks.Push(std::move(inTask));
    }
    state->mWork.NotifyOne();
  }

  void WaitForAll() override { WaitForAllPosted(*mState); }

  std::string GetName() const override { return mState->mName; }

 private:
  const std::shared_ptr<PoolState> mState;
  std::vector<std::unique_ptr<platform::Thread>> mThreads;
};

// ---------------------------------------------------------- sub-executor

// What a view shares with its runs on the parent. The parent is owned by
// the view object, not by this state: a run ending on a parent thread must
// never drop the parent's last reference there (a pool cannot join its own
// thread). Only a view released inside a task, which cannot wait for its
// runs, hands its reference over to mParentKeepAlive.
struct SubState {
  SubState(Executor* inParent, std::uint32_t inMaxConcurrency)
      : mParent(inParent),
        mMaxConcurrency(inMaxConcurrency),
        mName(inParent->GetName() + (inMaxConcurrency == 1
                                         ? std::string(" (serial)")
                                         : " (" + std::to_string(inMaxConcurrency) + " at a time)")) {
    mTasks.ReserveRunners(inMaxConcurrency);
  }

  Executor* const mParent;
  const std::uint32_t mMaxConcurrency;
  const std::string mName;

  platform::Lock mMutex;
  platform::Condition mDone;
  detail::TaskLedger mTasks;
  std::uint32_t mActiveRunners = 0;  // runs of RunSubTasks posted or running
  std::uint32_t mWaiters = 0;
  ExecutorRef mParentKeepAlive;
};

void RunSubTasks(const std::shared_ptr<SubState>& inState);

// Posts a turn of the view's tasks to its parent; false when the parent
// could not take it (no memory for the task).
bool PostTurn(const std::shared_ptr<SubState>& inState) {
  try {
    inState->mParent->Post([inState] { RunSubTasks(inState); });
    return true;
  } catch (...) {
    return false;
  }
}

// One turn on the parent: runs the view's tasks one after the other, then
// hands the thread back so that a busy view cannot starve the parent's
// other work; without memory to hand it back, the turn carries on.
void RunSubTasks(const std::shared_ptr<SubState>& inState) {
  const int kTasksPerTurn = 32;
  SubState& state = *inState;
  detail::RunningScope scope(&state);
  std::unique_lock<platform::Lock> lock(state.mMutex);
  for (int ran = 0;; ++ran) {
    if (state.mTasks.IsEmpty()) {
      --state.mActiveRunners;
      if (state.mWaiters != 0) state.mDone.NotifyAll();
      return;
    }
    if (ran == kTasksPerTurn) {
      lock.unlock();
      if (PostTurn(inState)) return;  // the next turn carries on
      lock.lock();
      ran = 0;
    }
    RunOldestTask(state, lock);
  }
}

class SubExecutor : public Executor {
 public:
  SubExecutor(const ExecutorRef& inParent, std::uint32_t inMaxConcurrency)
      : mParent(inParent), mState(std::make_shared<SubState>(inParent.get(), inMaxConcurrency)) {}

  ~SubExecutor() override {
    SubState& state = *mState;
    std::unique_lock<platform::Lock> lock(state.mMutex);
    if (detail::RunningScope::IsRunningForAny()) {
      // Inside a task, the runs waited for might need this very thread:
      // let them finish later, with the parent kept alive for them.
      if (state.mActiveRunners != 0) state.mParentKeepAlive = mParent;
      return;
    }
    ++state.mWaiters;
    state.mDone.Wait(lock, [&state] { return state.mActiveRunners == 0; });
    --state.mWaiters;
  }

  void Post(Task inTask, PostOptions::Type) override {
    STRATA_INPUT_CONTRACT(inTask != nullptr);
    // A runner already active may run the task, and with it drop this
    // view's last reference, before Post returns: only locals after the push.
    const std::shared_ptr<SubState> state = mState;
    bool launch = false;
    std::uint64_t number = 0;
    {
      std::lock_guard<platform::Lock> lock(state->mMutex);
      number = state->mTasks.Push(std::move(inTask));
      if (state->mActiveRunners < state->mMaxConcurrency) {
        ++state->mActiveRunners;
        launch = true;
      }
    }
    if (!launch || PostTurn(state)) return;
    // No turn to run it: a task left queued would be waited for in vain.
    // Taken back and refused, unless a turn running meanwhile took it.
    bool refused = false;
    {
      std::lock_guard<platform::Lock> lock(state->mMutex);
      --state->mActiveRunners;
      refused = state->mTasks.RemoveQueued(number);
    }
    state->mDone.NotifyAll();
    if (refused) throw std::bad_alloc();
  }

  void WaitForAll() override { WaitForAllPosted(*mState); }

  std::string GetName() const override { return mState->mName; }

 private:
  const ExecutorRef mParent;
  const std::shared_ptr<SubState> mState;
};

}  // namespace

ExecutorRef CreateAsyncThreadedExecutor(const std::string& inName, std::uint32_t inThreadCount,
                                        ThreadPriority::Type inPriority, const ThreadHook& inOnStart,
                                        const ThreadHook& inOnEnd,
                                        const ThreadAttributes& inAttributes) {
  STRATA_INPUT_CONTRACT(inThreadCount >= 1);
  boost::shared_ptr<ThreadedExecutor> executor(
      new ThreadedExecutor(std::make_shared<PoolState>(inName, inPriority, inOnStart, inOnEnd)));
  for (std::uint32_t i = 0; i < inThreadCount; ++i) {
    // Dropping the executor stops and joins the threads already started.
    if (!executor->AddThread(inAttributes.mStackSize)) return ExecutorRef();
  }
  return executor;
}

ExecutorRef CreateCPUBoundExecutor() {
  static std::mutex sMutex;
  static boost::weak_ptr<Executor> sPool;
  std::lock_guard<std::mutex> lock(sMutex);
  ExecutorRef pool = sPool.lock();
  if (!pool) {
    pool = CreateAsyncThreadedExecutor("strata CPU Pool Thread", platform::GetProcessorCount(),
                                       ThreadPriority::kNormal, ThreadHook(), ThreadHook(),
                                       ThreadAttributes());
    sPool = pool;
  }
  return pool;
}

ExecutorRef CreateSubExecutor(const ExecutorRef& inExecutor, std::uint32_t inMaxConcurrency) {
  STRATA_INPUT_CONTRACT(inExecutor);
  STRATA_INPUT_CONTRACT(inMaxConcurrency >= 1);
  return ExecutorRef(new SubExecutor(inExecutor, inMaxConcurrency));
}

}  // namespace threads
}  // namespace strata
