#include "strata/Threads.h"

#if defined(_WIN32)
#  include <windows.h>
#else
#  include <mutex>
#endif

#include "strata/Impl.h"

namespace strata {
namespace threads {

#if defined(_WIN32)
// A critical section rather than std::recursive_mutex: MinGW's thread
// library does not close the semaphore a contended mutex creates, so every
// mutex that ever saw two threads at once would leak a handle.
class RecursiveMutex::PrivateImpl : public Impl {
 public:
  PrivateImpl() { ::InitializeCriticalSection(&mSection); }
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

}  // namespace threads
}  // namespace strata
