/// \file
/// Thread primitives of the core library: a recursive mutex and a gate.
/// Executors and the main thread's deferred calls are in strata/Executor.h.
#pragma once

#include <memory>

#include "strata/StrataConfig.h"

namespace strata {
namespace threads {

/// A mutex that the owning thread may lock again; it is released when each
/// Lock has been matched by an Unlock.
class STRATA_API RecursiveMutex {
 public:
  RecursiveMutex();
  ~RecursiveMutex();
  RecursiveMutex(const RecursiveMutex&) = delete;
  RecursiveMutex& operator=(const RecursiveMutex&) = delete;

  void Lock();  ///< waits for the mutex
  bool TryLock();  ///< takes the mutex only if that needs no wait; true when taken
  void Unlock();  ///< by the owning thread only

  /// Holds the mutex for the lifetime of the object.
  class ScopedLock {
   public:
    /// Locks inMutex until destroyed.
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

/// A gate threads pass through while it is open and wait at while it is
/// closed. Opening releases every waiter at once; the gate stays open until
/// it is closed again. All members are thread-safe; waiting never spins.
class STRATA_API Gate {
 public:
  explicit Gate(bool inOpen = false);  ///< closed unless inOpen
  ~Gate();
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;

  void Open();  ///< releases every waiter
  void Close();  ///< later passers wait
  bool IsOpen() const;  ///< already stale when another thread opens or closes

  /// Waits until the gate is open, at most inTimeoutMs milliseconds (-1, or
  /// any negative value: no limit; 0: only looks). True when the gate was
  /// open, false on time-out.
  bool PassThrough(int inTimeoutMs = -1);

 private:
  class PrivateImpl;
  std::unique_ptr<PrivateImpl> mImpl;
};

}  // namespace threads
}  // namespace strata
