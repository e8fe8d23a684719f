// The application's main thread as a place to defer calls to: one queue
// per process, run by the host's pump on the registered thread.
#include <atomic>
#include <mutex>

#include "ExecutorSupport.h"
#include "Platform.h"
#include "strata/Debug.h"
#include "strata/Executor.h"
#include "strata/Impl.h"

namespace strata {
namespace threads {

namespace {

const char kMainThreadName[] = "main thread";

struct MainThreadState {
  platform::Lock mMutex;
  platform::Condition mDone;  // a call finished while somebody waits
  detail::TaskLedger mCalls;
  std::uint32_t mThreadId = 0;       // meaningful while registered
  std::uint32_t mRegistrations = 0;  // nested registrations of mThreadId
  std::uint32_t mWaiters = 0;
  ThreadHook mWakeHook;
};

MainThreadState& GetState() {
  static MainThreadState sState;
  return sState;
}

bool IsRegisteredMainThread(const MainThreadState& inState) {
  return inState.mRegistrations != 0 && inState.mThreadId == platform::GetCurrentThreadId();
}

class MainThreadExecutor : public Executor {
 public:
  void Post(Task inTask, PostOptions::Type) override { PostToMainThread(std::move(inTask)); }

  void WaitForAll() override {
    MainThreadState& state = GetState();
    if (detail::RunningScope::IsRunningFor(&state)) {
      detail::ReportWaitInsideOwnTask(kMainThreadName);
      return;
    }
    std::unique_lock<platform::Lock> lock(state.mMutex);
    if (IsRegisteredMainThread(state)) {
      // Nobody else runs these calls: one pump runs all posted so far.
      lock.unlock();
      RunMainThreadCalls();
      return;
    }
    const std::uint64_t last = state.mCalls.GetLastPosted();
    ++state.mWaiters;
    state.mDone.Wait(lock, [&state, last] { return state.mCalls.IsDoneThrough(last); });
    --state.mWaiters;
  }

  std::string GetName() const override { return kMainThreadName; }
};

}  // namespace

class AsyncEventLoopAdaptor::PrivateImpl : public Impl {
 public:
  std::atomic<bool> mRegistered{false};
};

AsyncEventLoopAdaptor::AsyncEventLoopAdaptor() : mImpl(new PrivateImpl) {
  MainThreadState& state = GetState();
  bool registered = false;
  {
    std::lock_guard<platform::Lock> lock(state.mMutex);
    const std::uint32_t current = platform::GetCurrentThreadId();
    if (state.mRegistrations == 0 || state.mThreadId == current) {
      state.mThreadId = current;
      ++state.mRegistrations;
      registered = true;
    }
  }
  mImpl->mRegistered.store(registered);
  STRATA_ASSERT_MSG(registered,
                    "Another thread is registered as the main thread; this registration is refused.");
}

AsyncEventLoopAdaptor::~AsyncEventLoopAdaptor() { Unregister(); }

bool AsyncEventLoopAdaptor::IsRegistered() const { return mImpl->mRegistered.load(); }

void AsyncEventLoopAdaptor::Unregister() {
  if (!mImpl->mRegistered.exchange(false)) return;
  MainThreadState& state = GetState();
  bool last = false;
  {
    std::lock_guard<platform::Lock> lock(state.mMutex);
    last = state.mRegistrations == 1 && state.mThreadId == platform::GetCurrentThreadId();
  }
  // Deferred work (messages, completions) must not be lost with the main
  // thread: run it while this thread still counts as the main thread.
  if (last) RunMainThreadCalls();
  std::lock_guard<platform::Lock> lock(state.mMutex);
  if (--state.mRegistrations == 0) state.mThreadId = 0;
}

AsyncEventLoopAdaptorRef RegisterCurrentThreadAsMainThread() {
  // Should the reference fail to allocate, it deletes the adaptor, which
  // ends the registration again.
  return AsyncEventLoopAdaptorRef(new AsyncEventLoopAdaptor);
}

bool IsMainThread() {
  MainThreadState& state = GetState();
  std::lock_guard<platform::Lock> lock(state.mMutex);
  return IsRegisteredMainThread(state);
}

void PostToMainThread(Task inTask) {
  STRATA_INPUT_CONTRACT(inTask != nullptr);
  MainThreadState& state = GetState();
  ThreadHook wake;
  {
    std::lock_guard<platform::Lock> lock(state.mMutex);
    if (state.mCalls.IsEmpty()) wake = state.mWakeHook;
    state.mCalls.Push(std::move(inTask));
  }
  if (wake) wake();
}

std::size_t RunMainThreadCalls() {
  MainThreadState& state = GetState();
  std::unique_lock<platform::Lock> lock(state.mMutex);
  if (!IsRegisteredMainThread(state)) return 0;
  // Calls posted from here on wait for the next pump, so a call that posts
  // itself again cannot keep the host from returning to its loop.
  const std::uint64_t last = state.mCalls.GetLastPosted();
  std::size_t ran = 0;
  while (IsRegisteredMainThread(state) && !state.mCalls.IsEmpty() &&
         state.mCalls.GetOldestNumber() <= last) {
    Task call;
    const std::uint64_t number = state.mCalls.PopOldest(call);
    lock.unlock();
    {
      detail::RunningScope scope(&state);
      detail::RunTaskReportingErrors(call, kMainThreadName);
      call = nullptr;
    }
    ++ran;
    lock.lock();
    state.mCalls.Finished(number);
    if (state.mWaiters != 0) state.mDone.NotifyAll();
  }
  // Calls left for the next pump: a posting thread saw a non-empty queue
  // and did not wake the host, so wake it now.
  ThreadHook wake;
  if (!state.mCalls.IsEmpty()) wake = state.mWakeHook;
  lock.unlock();
  if (wake) wake();
  return ran;
}

ThreadHook SetMainThreadWakeHook(ThreadHook inHook) {
  MainThreadState& state = GetState();
  std::lock_guard<platform::Lock> lock(state.mMutex);
  std::swap(state.mWakeHook, inHook);
  return inHook;
}

ExecutorRef GetMainThreadExecutor() {
  static const ExecutorRef sExecutor(new MainThreadExecutor);
  return sExecutor;
}

}  // namespace threads
}  // namespace strata
