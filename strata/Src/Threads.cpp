#include "strata/Threads.h"

#if defined(_WIN32)
#  include <windows.h>
#else
#  include <sched.h>

#  include <mutex>
#endif

#include "Platform.h"

#include "strata/Impl.h"

namespace strata {
namespace threads {

#if defined(_WIN32)
// A critical section rather than std::recursive_mutex: MinGW's thread
// library does not close the semaphore a contended mutex creates, so every
// mutex that ever saw two threads at once would leak a handle. It spins a
// while before it sleeps: the library holds its mutexes for a few hundred
// nanoseconds, far less than a sleep and a wake-up cost (the system heap's
// lock spins as long). A single processor does not spin.
class RecursiveMutex::PrivateImpl : public Impl {
 public:
  PrivateImpl() { ::InitializeCriticalSectionAndSpinCount(&mSection, 4000); }
  ~PrivateImpl() override { ::DeleteCriticalSection(&mSection); }
  CRITICAL_SECTION mSection;
};

RecursiveMutex::RecursiveMutex() : mImpl(new PrivateImpl) {}

RecursiveMutex::~RecursiveMutex() = default;

void RecursiveMutex::Lock() { ::EnterCriticalSection(&mImpl->mSection); }

bool RecursiveMutex::TryLock() { return ::TryEnterCriticalSection(&mImpl->mSection) != FALSE; }

void RecursiveMutex::Unlock() { ::LeaveCriticalSection(&mImpl->mSection); }
#else
class RecursiveMutex::PrivateImpl : public Impl {
 public:
  std::recursive_mutex mMutex;
};

RecursiveMutex::RecursiveMutex() : mImpl(new PrivateImpl) {}

RecursiveMutex::~RecursiveMutex() = default;

void RecursiveMutex::Lock() { mImpl->mMutex.lock(); }

bool RecursiveMutex::TryLock() { return mImpl->mMutex.try_lock(); }

void RecursiveMutex::Unlock() { mImpl->mMutex.unlock(); }
#endif

std::uint32_t GetCurrentThreadNumber() { return platform::GetCurrentThreadId(); }

void YieldThread() {
#if defined(_WIN32)
  ::SwitchToThread();
#else
  ::sched_yield();
#endif
}

class Gate::PrivateImpl : public Impl {
 public:
  explicit PrivateImpl(bool inOpen) : mOpen(inOpen) {}
  platform::Lock mMutex;
  platform::Condition mOpened;
  bool mOpen;
};

Gate::Gate(bool inOpen) : mImpl(new PrivateImpl(inOpen)) {}

Gate::~Gate() = default;

void Gate::Open() {
  // Notified under the lock: a waiter that sees the gate open may destroy
  // it at once, so nothing of it may be touched once the lock is released.
  std::lock_guard<platform::Lock> lock(mImpl->mMutex);
  mImpl->mOpen = true;
  mImpl->mOpened.NotifyAll();
}

void Gate::Close() {
  std::lock_guard<platform::Lock> lock(mImpl->mMutex);
  mImpl->mOpen = false;
}

bool Gate::IsOpen() const {
  std::lock_guard<platform::Lock> lock(mImpl->mMutex);
  return mImpl->mOpen;
}

bool Gate::PassThrough(int inTimeoutMs) {
  std::unique_lock<platform::Lock> lock(mImpl->mMutex);
  const auto isOpen = [this] { return mImpl->mOpen; };
  if (inTimeoutMs < 0) {
    mImpl->mOpened.Wait(lock, isOpen);
    return true;
  }
  return mImpl->mOpened.WaitFor(lock, static_cast<std::uint32_t>(inTimeoutMs), isOpen);
}

}  // namespace threads
}  // namespace strata
