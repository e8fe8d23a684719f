#include "strata/Threads.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "strata/Impl.h"

namespace strata {
namespace threads {

class RecursiveMutex::PrivateImpl : public Impl {
 public:
  std::recursive_mutex mMutex;
};

RecursiveMutex::RecursiveMutex() : mImpl(new PrivateImpl) {}

RecursiveMutex::~RecursiveMutex() = default;

void RecursiveMutex::Lock() { mImpl->mMutex.lock(); }

bool RecursiveMutex::TryLock() { return mImpl->mMutex.try_lock(); }

void RecursiveMutex::Unlock() { mImpl->mMutex.unlock(); }

class Gate::PrivateImpl : public Impl {
 public:
  explicit PrivateImpl(bool inOpen) : mOpen(inOpen) {}
  mutable std::mutex mMutex;
  std::condition_variable mOpened;
  bool mOpen;
};

Gate::Gate(bool inOpen) : mImpl(new PrivateImpl(inOpen)) {}

Gate::~Gate() = default;

void Gate::Open() {
  {
    std::lock_guard<std::mutex> lock(mImpl->mMutex);
    mImpl->mOpen = true;
  }
  mImpl->mOpened.notify_all();
}

void Gate::Close() {
  std::lock_guard<std::mutex> lock(mImpl->mMutex);
  mImpl->mOpen = false;
}

bool Gate::IsOpen() const {
  std::lock_guard<std::mutex> lock(mImpl->mMutex);
  return mImpl->mOpen;
}

bool Gate::PassThrough(int inTimeoutMs) {
  std::unique_lock<std::mutex> lock(mImpl->mMutex);
  const auto isOpen = [this] { return mImpl->mOpen; };
  if (inTimeoutMs < 0) {
    mImpl->mOpened.wait(lock, isOpen);
    return true;
  }
  // A steady clock, so that a change of the wall clock cannot stretch or
  // cut the wait.
  return mImpl->mOpened.wait_until(
      lock, std::chrono::steady_clock::now() + std::chrono::milliseconds(inTimeoutMs), isOpen);
}

}  // namespace threads
}  // namespace strata
