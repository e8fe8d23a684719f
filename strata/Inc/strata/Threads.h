/// \file
/// Thread primitives of the core library: a plain lock with its condition,
/// a recursive mutex and a gate.
/// Executors and the main thread's deferred calls are in strata/Executor.h.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#if !defined(_WIN32)
#  include <condition_variable>
#endif

#include "strata/StrataConfig.h"

namespace strata {
namespace threads {

/// A plain (not recursive) lock made of the system's own primitive: under
/// Wine, waking a thread through it and Condition costs a fraction of what
/// the C++ runtime's thread emulation costs, and it never makes a handle.
/// Meets BasicLockable, so std::unique_lock and std::lock_guard take it.
/// Ready without any system call; one word on Windows (elsewhere the C++
/// library's mutex, which the thread sanitizer understands).
///
/// Threading: any thread may take it; only the owner releases it, and the
/// owner must not take it again. Failures: none; locking waits, it never
/// fails or throws.
class STRATA_API Lock {
 public:
  Lock() = default;
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
  void lock();    ///< waits for the lock
  void unlock();  ///< by the owning thread only

 private:
  friend class Condition;
#if defined(_WIN32)
  void* mState = nullptr;  // the system lock's one word
#else
  std::mutex mState;
#endif
};

/// A condition to wait for under a Lock. Waits take a predicate, so that a
/// spurious wake-up or a notification meant for another waiter only makes
/// the waiter look again.
///
/// Threading: waiters hold the Lock; notifiers may hold it or not.
/// Failures: none; a timed wait reports whether the predicate held, and
/// nothing throws but the predicate.
class STRATA_API Condition {
 public:
  Condition() = default;
  Condition(const Condition&) = delete;
  Condition& operator=(const Condition&) = delete;

  /// Waits until inDone() holds; ioLock is held on entry and on return.
  template <class Predicate>
  void Wait(std::unique_lock<Lock>& ioLock, Predicate inDone) {
    while (!inDone()) WaitOnce(*ioLock.mutex(), kNoLimit);
  }

  /// As Wait, for at most inTimeoutMs milliseconds; returns inDone().
  template <class Predicate>
  bool WaitFor(std::unique_lock<Lock>& ioLock, std::uint32_t inTimeoutMs, Predicate inDone) {
    const std::chrono::steady_clock::time_point deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(inTimeoutMs);
    while (!inDone()) {
      const std::chrono::steady_clock::duration left = deadline - std::chrono::steady_clock::now();
      if (left <= std::chrono::steady_clock::duration::zero()) return false;
      // Rounded up: waking a little early would only wait again.
      WaitOnce(*ioLock.mutex(),
               static_cast<std::uint32_t>(
                   std::chrono::duration_cast<std::chrono::milliseconds>(left).count() + 1));
    }
    return true;
  }

  void NotifyOne();  ///< wakes one waiter
  void NotifyAll();  ///< wakes every waiter

 private:
  static const std::uint32_t kNoLimit = 0xFFFFFFFFu;
  // Releases ioLock, waits for a notification (or a spurious wake-up, or
  // inTimeoutMs), and takes ioLock again.
  void WaitOnce(Lock& ioLock, std::uint32_t inTimeoutMs);
#if defined(_WIN32)
  void* mState = nullptr;  // the system condition's one word
#else
  std::condition_variable mState;
#endif
};

/// The calling thread's identifier as the system knows it; never 0. Unlike
/// std::this_thread::get_id, it makes no per-thread object of the C++
/// runtime's thread library (which, for a thread the library did not start,
/// costs handles that outlive the thread).
STRATA_API std::uint32_t GetCurrentThreadNumber();

/// Gives the processor to another thread that is ready to run, if there is
/// one. Like GetCurrentThreadNumber, it makes no per-thread object of the
/// C++ runtime's thread library, as std::this_thread::yield would.
STRATA_API void YieldThread();

/// Lets the calling thread wait inMilliseconds; allocates nothing, so it
/// serves for waiting out a shortage of memory.
inline void SleepFor(std::uint32_t inMilliseconds) {
  Lock lock;
  Condition never;
  std::unique_lock<Lock> held(lock);
  never.WaitFor(held, inMilliseconds, [] { return false; });
}

/// A mutex that the owning thread may lock again; it is released when each
/// Lock has been matched by an Unlock.
///
/// Threading: any thread may lock it; only the owner unlocks. Failures:
/// none; locking waits, and TryLock answers false instead of waiting.
class STRATA_API RecursiveMutex {
 public:
  RecursiveMutex();
  ~RecursiveMutex();
  RecursiveMutex(const RecursiveMutex&) = delete;
  RecursiveMutex& operator=(const RecursiveMutex&) = delete;

  void Lock();  ///< waits for the mutex
  bool TryLock();  ///< takes the mutex only if that needs no wait; true when taken
  void Unlock();  ///< by the owning thread only

  /// Holds the mutex for the lifetime of the object: locked when made,
  /// unlocked when destroyed, also when an exception leaves the scope.
  ///
  /// Threading: it belongs to the thread that made it. Failures: none;
  /// making one waits for the mutex.
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
/// it is closed again.
///
/// Threading: all members are thread-safe; waiting never spins. Failures:
/// none; a wait with a time limit reports whether the gate opened in time.
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
