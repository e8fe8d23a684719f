// Threads of the POSIX build: pthreads, with the C++ library's mutex and
// condition under Lock and Condition so that the thread sanitizer sees
// every hand-over.
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <thread>

#include "Platform.h"

namespace strata {
namespace platform {

namespace {

static_assert(sizeof(pthread_t) <= sizeof(std::uint64_t), "a pthread_t fits the thread's id");

void* RunThreadBody(void* inBody) {
  std::unique_ptr<std::function<void()>> body(static_cast<std::function<void()>*>(inBody));
  (*body)();
  return nullptr;
}

const std::uint32_t kNoSlot = 0xFFFFFFFFu;

}  // namespace

std::unique_ptr<Thread> Thread::Start(std::size_t inStackSize, std::function<void()> inBody) {
  std::unique_ptr<std::function<void()>> body(new std::function<void()>(std::move(inBody)));
  std::unique_ptr<Thread> thread(new Thread(nullptr, 0));
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) return nullptr;
  // A size the system refuses (below its minimum) leaves the default.
  if (inStackSize != 0) pthread_attr_setstacksize(&attributes, inStackSize);
  pthread_t handle;
  const int error = pthread_create(&handle, &attributes, RunThreadBody, body.get());
  pthread_attr_destroy(&attributes);
  if (error != 0) return nullptr;  // the body was not handed over
  body.release();                  // the thread owns it now
  thread->mId = static_cast<std::uint64_t>(handle);
  thread->mHandle = thread.get();  // joinable until Join or Detach
  return thread;
}

Thread::~Thread() { Detach(); }

void Thread::Join() {
  if (!mHandle) return;
  pthread_join(static_cast<pthread_t>(mId), nullptr);
  mHandle = nullptr;
}

void Thread::Detach() {
  if (!mHandle) return;
  pthread_detach(static_cast<pthread_t>(mId));
  mHandle = nullptr;
}

bool Thread::IsCurrentThread() const {
  return pthread_equal(static_cast<pthread_t>(mId), pthread_self()) != 0;
}

ThreadSlot::ThreadSlot() : mIndex(kNoSlot) {
  pthread_key_t key;
  if (pthread_key_create(&key, nullptr) == 0) mIndex = static_cast<std::uint32_t>(key);
}

ThreadSlot::~ThreadSlot() {
  if (mIndex != kNoSlot) pthread_key_delete(static_cast<pthread_key_t>(mIndex));
}

void* ThreadSlot::Get() const {
  return mIndex != kNoSlot ? pthread_getspecific(static_cast<pthread_key_t>(mIndex)) : nullptr;
}

void ThreadSlot::Set(void* inValue) {
  if (mIndex != kNoSlot) pthread_setspecific(static_cast<pthread_key_t>(mIndex), inValue);
}

std::uint32_t GetCurrentThreadId() { return static_cast<std::uint32_t>(::gettid()); }

unsigned GetProcessorCount() {
  cpu_set_t set;
  if (sched_getaffinity(0, sizeof(set), &set) == 0 && CPU_COUNT(&set) > 0)
    return static_cast<unsigned>(CPU_COUNT(&set));
  const unsigned count = std::thread::hardware_concurrency();
  return count > 0 ? count : 1;
}

void SetCurrentThreadName(const std::string& inName) {
  // The kernel keeps 15 bytes of a thread's name.
  pthread_setname_np(pthread_self(), inName.substr(0, 15).c_str());
}

// Ordinary threads of Linux share one scheduler level; raising one needs
// privileges a test run does not have, and this build only verifies.
void SetCurrentThreadPriority(int) {}

}  // namespace platform

namespace threads {

void Lock::lock() { mState.lock(); }

void Lock::unlock() { mState.unlock(); }

void Condition::WaitOnce(Lock& ioLock, std::uint32_t inTimeoutMs) {
  std::unique_lock<std::mutex> held(ioLock.mState, std::adopt_lock);
  if (inTimeoutMs == kNoLimit)
    mState.wait(held);
  else
    mState.wait_for(held, std::chrono::milliseconds(inTimeoutMs));
  held.release();  // the caller's lock object still owns it
}

void Condition::NotifyOne() { mState.notify_one(); }

void Condition::NotifyAll() { mState.notify_all(); }

}  // namespace threads
}  // namespace strata
