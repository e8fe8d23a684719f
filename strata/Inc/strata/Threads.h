// Thread primitives of the core library.
#pragma once

#include <memory>

#include "strata/StrataConfig.h"

namespace strata {
namespace threads {

// A mutex that the owning thread may lock again; it is released when each
// Lock has been matched by an Unlock.
class STRATA_API RecursiveMutex {
 public:
  RecursiveMutex();
  ~RecursiveMutex();
  RecursiveMutex(const RecursiveMutex&) = delete;
  RecursiveMutex& operator=(const RecursiveMutex&) = delete;

  void Lock();
  bool TryLock();
  void Unlock();

  // Holds the mutex for the lifetime of the object.
  class ScopedLock {
   public:
    explicit ScopedLock(RecursiveMutex& inMutex) : mMutex(inMutex) { mMutex.Lock(); }
    ~ScopedLock() { mMutex.Unlock(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

   private:
    RecursiveMutex& mMutex;
  };

 private:
  class PrivateImpl;
  std::unique_ptr<PrivateImpl> mImpl;
};

}  // namespace threads
}  // namespace strata
