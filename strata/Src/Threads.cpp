#include "strata/Threads.h"

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

}  // namespace threads
}  // namespace strata
