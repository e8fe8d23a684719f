// What the portable sources of strata need from the operating system.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "strata/String.h"

namespace strata {
namespace platform {

// Sends a diagnostic text to the debugger's output and to standard error.
void WriteDiagnosticText(const std::string& inText);
void BreakIntoDebugger();
// The value of an environment variable, empty when unset.
std::string GetEnvironmentText(const char* inName);

// ---------------------------------------------------------------- threads

// A plain (not recursive) lock and a condition to wait for under it, made
// of the system's own primitives: under Wine, waking a thread through them
// costs a fraction of what the C++ runtime's thread emulation costs. Lock
// meets BasicLockable, so std::unique_lock and std::lock_guard take it.
// Both start in their ready state without any system call.
class Lock {
 public:
  Lock() = default;
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
  void lock();
  void unlock();

 private:
  friend class Condition;
  void* mState = nullptr;  // the system lock's one word
};

class Condition {
 public:
  Condition() = default;
  Condition(const Condition&) = delete;
  Condition& operator=(const Condition&) = delete;

  // Waits until inDone() holds; ioLock is held on entry and on return.
  template <class Predicate>
  void Wait(std::unique_lock<Lock>& ioLock, Predicate inDone) {
    while (!inDone()) WaitOnce(*ioLock.mutex(), kNoLimit);
  }

  // As Wait, for at most inTimeoutMs milliseconds; returns inDone().
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

  void NotifyOne();
  void NotifyAll();

 private:
  static const std::uint32_t kNoLimit = 0xFFFFFFFFu;
  // Releases ioLock, waits for a notification (or a spurious wake-up, or
  // inTimeoutMs), and takes ioLock again.
  void WaitOnce(Lock& ioLock, std::uint32_t inTimeoutMs);
  void* mState = nullptr;  // the system condition's one word
};

// One thread of the operating system, owned by this object. The owner
// either joins it (waits for its end) or detaches it (lets it end alone);
// the destructor detaches a thread that was neither.
class Thread {
 public:
  // Starts inBody on a new thread; inStackSize 0 means the default. Returns
  // null when the system refuses the thread.
  static std::unique_ptr<Thread> Start(std::size_t inStackSize, std::function<void()> inBody);
  ~Thread();
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  void Join();
  void Detach();
  bool IsCurrentThread() const;

 private:
  Thread(void* inHandle, std::uint32_t inId) : mHandle(inHandle), mId(inId) {}
  void* mHandle;
  std::uint32_t mId;
};

// One pointer per thread, kept in a slot of the system's own. The C++
// runtime's thread_local would do the same through the thread library's
// keys, whose first use makes a lock with two semaphores that live as long
// as the process. Without a free slot Get answers null and Set does
// nothing. A ThreadSlot lives as long as its module (a namespace-scope
// object).
class ThreadSlot {
 public:
  ThreadSlot();
  ~ThreadSlot();
  ThreadSlot(const ThreadSlot&) = delete;
  ThreadSlot& operator=(const ThreadSlot&) = delete;
  void* Get() const;
  void Set(void* inValue);

 private:
  std::uint32_t mIndex;
};

std::uint32_t GetCurrentThreadId();
// Logical processors the process may run on; at least 1.
unsigned GetProcessorCount();
// The name a debugger and the system tools show for the calling thread.
void SetCurrentThreadName(const std::string& inName);
// inPriority is a strata::threads::ThreadPriority::Type.
void SetCurrentThreadPriority(int inPriority);

}  // namespace platform
}  // namespace strata
