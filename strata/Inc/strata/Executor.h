/// \file
/// Executors: objects that run posted tasks on threads other than the
/// poster's, and the application's main thread as a place to defer calls to.
///
/// - CreateAsyncThreadedExecutor: a pool of its own named threads.
/// - CreateCPUBoundExecutor: the process's one pool for CPU work, one thread
///   per logical processor; it exists while somebody holds a reference.
/// - CreateSubExecutor: a view of another executor that runs at most N of
///   its tasks at a time; with N = 1 they run one by one in posting order.
/// - GetMainThreadExecutor: tasks run on the registered main thread when
///   the host pumps them with RunMainThreadCalls.
///
/// Executors are held by ExecutorRef and are thread-safe. Releasing the
/// last reference runs every task already posted and then joins the
/// executor's threads, so no thread outlives its executor (the one
/// exception: when the last reference goes inside one of the executor's own
/// tasks, that thread ends on its own right after the task). A task that
/// throws is reported through the assertion dialog hook
/// (strata::debug::SetDialogHook); its thread carries on with the next task.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include <boost/shared_ptr.hpp>

#include "strata/StrataConfig.h"

namespace strata {
namespace threads {

typedef std::function<void()> Task;  ///< one unit of work

/// Levels of the system's thread scheduler.
struct ThreadPriority {
  /// In rising order.
  enum Type {
    kLowest = 0,
    kBelowNormal = 1,
    kNormal = 2,
    kAboveNormal = 3,  ///< threads that mostly wait for I/O
    kHighest = 4,
    kTimeCritical = 5
  };
};

/// How Executor::Post queues a task; only the default exists.
struct PostOptions {
  /// kDefault only.
  enum Type { kDefault = 0 };
};

/// How the threads of a threaded executor are made.
struct ThreadAttributes {
  ThreadAttributes() : mStackSize(0) {}
  std::size_t mStackSize;  ///< bytes; 0 means the system's default
};

/// Called on each new thread before its first task, and after its last.
typedef std::function<void()> ThreadHook;

/// Runs posted tasks; made by the factory functions below and shared
/// through ExecutorRef (see the kinds at the top of strata/Executor.h).
///
/// Threading: every member is thread-safe. Releasing the last reference
/// runs the tasks already posted and joins the executor's threads.
/// Failures: a task that throws is reported through the assertion dialog
/// hook and its thread goes on with the next task; a task that waits for
/// its own executor is reported and returns at once.
class STRATA_API Executor {
 public:
  virtual ~Executor();

  /// Queues inTask and returns at once. inTask must not be empty.
  virtual void Post(Task inTask, PostOptions::Type inOptions = PostOptions::kDefault) = 0;

  /// Returns when every task posted before this call has run (tasks posted
  /// meanwhile are not waited for). A task must not wait for the executor
  /// it runs on: that is reported as an assertion and returns at once.
  virtual void WaitForAll() = 0;

  virtual std::string GetName() const = 0;  ///< the name it was made with

 protected:
  Executor() = default;
  Executor(const Executor&) = delete;
  Executor& operator=(const Executor&) = delete;
};

typedef boost::shared_ptr<Executor> ExecutorRef;  ///< how executors are held

/// An executor with inThreadCount threads of its own, each named inName (the
/// name a debugger shows) and running at inPriority. Tasks start in posting
/// order; with several threads they may finish in any order. Returns an
/// empty reference when the system refuses a thread. inThreadCount must be
/// at least 1 (input contract).
STRATA_API ExecutorRef CreateAsyncThreadedExecutor(const std::string& inName,
                                                   std::uint32_t inThreadCount,
                                                   ThreadPriority::Type inPriority,
                                                   const ThreadHook& inOnStart,
                                                   const ThreadHook& inOnEnd,
                                                   const ThreadAttributes& inAttributes);

/// The shared pool for CPU work: the same executor for every caller while
/// any reference to it is held; a new one after the last has gone. Empty
/// when the system refuses its threads.
STRATA_API ExecutorRef CreateCPUBoundExecutor();

/// A view of inExecutor that runs at most inMaxConcurrency of its tasks at
/// once (1: one at a time, in posting order). The view keeps inExecutor
/// alive. Releasing the view waits for its posted tasks, except inside a
/// task of any executor (which could be the one they need); they still run
/// later. inExecutor must not be empty and inMaxConcurrency at least 1
/// (input contracts).
STRATA_API ExecutorRef CreateSubExecutor(const ExecutorRef& inExecutor,
                                         std::uint32_t inMaxConcurrency);

// -------------------------------------------------------------- main thread

/// The registration of a thread as the application's main thread. Calls
/// deferred to the main thread run when the host calls RunMainThreadCalls
/// on it; the adaptor only marks which thread that is.
///
/// Threading: thread-safe; ending a registration on the main thread runs
/// the calls still pending first. Failures: none; ending it twice does
/// nothing.
class STRATA_API AsyncEventLoopAdaptor {
 public:
  /// Registers the calling thread (RegisterCurrentThreadAsMainThread).
  AsyncEventLoopAdaptor();
  ~AsyncEventLoopAdaptor();  ///< ends the registration if still active
  AsyncEventLoopAdaptor(const AsyncEventLoopAdaptor&) = delete;
  AsyncEventLoopAdaptor& operator=(const AsyncEventLoopAdaptor&) = delete;

  /// Ends this registration; calls again do nothing. When the main thread's
  /// last registration ends on the main thread, the calls still pending run
  /// first; otherwise they wait for the next registration's pump.
  void Unregister();

  /// False once unregistered, and for a registration that was refused.
  bool IsRegistered() const;

 private:
  class PrivateImpl;
  std::unique_ptr<PrivateImpl> mImpl;
};

typedef boost::shared_ptr<AsyncEventLoopAdaptor> AsyncEventLoopAdaptorRef;  ///< how adaptors are held

/// Makes the calling thread the main thread. Registrations from the main
/// thread nest; one from another thread while the main thread is registered
/// is reported as an assertion and returns an adaptor that is not
/// registered.
STRATA_API AsyncEventLoopAdaptorRef RegisterCurrentThreadAsMainThread();

/// Whether the calling thread is the registered main thread.
STRATA_API bool IsMainThread();

/// Queues inTask for the main thread from any thread; it runs in the next
/// RunMainThreadCalls. Nothing posted is dropped while no thread is
/// registered: it waits for a main thread.
STRATA_API void PostToMainThread(Task inTask);

/// The pump a host calls on the main thread from its idle handler or message
/// loop: runs the calls that were pending when it was called (calls they
/// post wait for the next pump) and returns how many ran. Returns 0 at once
/// on any other thread.
STRATA_API std::size_t RunMainThreadCalls();

/// Called, on the posting thread, when a call is posted while none was
/// pending: a host with a blocking message loop uses it to wake the loop
/// (for example by posting a window message). Empty: no hook. Returns the
/// previous hook.
STRATA_API ThreadHook SetMainThreadWakeHook(ThreadHook inHook);

/// An executor whose tasks go to the main thread (PostToMainThread). Its
/// WaitForAll pumps when called on the main thread and otherwise waits for
/// the main thread to pump.
STRATA_API ExecutorRef GetMainThreadExecutor();

}  // namespace threads
}  // namespace strata
