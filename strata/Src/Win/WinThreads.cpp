// Threads of the Windows build: started with the C runtime (so that the
// runtime's per-thread data is set up and freed), named for debuggers and
// tools, and given the scheduler levels of strata::threads::ThreadPriority.
#include <windows.h>
#include <process.h>

#include "Platform.h"
#include "strata/Executor.h"

namespace strata {
namespace platform {

namespace {

unsigned __stdcall RunThreadBody(void* inBody) {
  std::unique_ptr<std::function<void()>> body(static_cast<std::function<void()>*>(inBody));
  (*body)();
  return 0;
}

// The old way of naming a thread: a debugger that is attached catches this
// exception and reads the name from it.
const DWORD kSetThreadNameException = 0x406D1388;

#pragma pack(push, 8)
struct ThreadNameInfo {
  DWORD mType;        // 0x1000
  LPCSTR mName;
  DWORD mThreadId;    // -1: the calling thread
  DWORD mFlags;
};
#pragma pack(pop)

// The debugger may pass the exception back; nobody else handles it, so it
// is ended here. Installed only for the moment the exception is raised.
LONG CALLBACK ContinueAfterThreadName(EXCEPTION_POINTERS* inException) {
  if (inException->ExceptionRecord->ExceptionCode == kSetThreadNameException)
    return EXCEPTION_CONTINUE_EXECUTION;
  return EXCEPTION_CONTINUE_SEARCH;
}

void TellDebuggerThreadName(const std::string& inName) {
  ThreadNameInfo info;
  info.mType = 0x1000;
  info.mName = inName.c_str();
  info.mThreadId = static_cast<DWORD>(-1);
  info.mFlags = 0;
  PVOID handler = ::AddVectoredExceptionHandler(1, ContinueAfterThreadName);
  if (!handler) return;
  ::RaiseException(kSetThreadNameException, 0, sizeof(info) / sizeof(ULONG_PTR),
                   reinterpret_cast<const ULONG_PTR*>(&info));
  ::RemoveVectoredExceptionHandler(handler);
}

typedef HRESULT(WINAPI* SetThreadDescriptionFunction)(HANDLE, PCWSTR);

// Windows 10 1607 and later; older systems and some Wine versions lack it.
// Looked up at load rather than on first use: threads that start together
// would race on a function's static, and the C++ runtime's wait for it
// makes handles that outlive the library.
const SetThreadDescriptionFunction sSetThreadDescription = [] {
  HMODULE kernel = ::GetModuleHandleW(L"kernel32.dll");
  return kernel ? reinterpret_cast<SetThreadDescriptionFunction>(
                      reinterpret_cast<void*>(::GetProcAddress(kernel, "SetThreadDescription")))
                : nullptr;
}();

}  // namespace

std::unique_ptr<Thread> Thread::Start(std::size_t inStackSize, std::function<void()> inBody) {
  std::unique_ptr<std::function<void()>> body(new std::function<void()>(std::move(inBody)));
  // Allocated before the thread starts, so that no allocation can fail while
  // the new thread's handle has no owner.
  std::unique_ptr<Thread> thread(new Thread(nullptr, 0));
  unsigned id = 0;
  const uintptr_t handle = ::_beginthreadex(nullptr, static_cast<unsigned>(inStackSize),
                                            RunThreadBody, body.get(), 0, &id);
  if (handle == 0) return nullptr;  // the body was not handed over
  body.release();                  // the thread owns it now
  thread->mHandle = reinterpret_cast<void*>(handle);
  thread->mId = id;
  return thread;
}

Thread::~Thread() { Detach(); }

void Thread::Join() {
  if (!mHandle) return;
  ::WaitForSingleObject(mHandle, INFINITE);
  ::CloseHandle(mHandle);
  mHandle = nullptr;
}

void Thread::Detach() {
  if (!mHandle) return;
  ::CloseHandle(mHandle);
  mHandle = nullptr;
}

bool Thread::IsCurrentThread() const { return mId == ::GetCurrentThreadId(); }

ThreadSlot::ThreadSlot() : mIndex(::TlsAlloc()) {}

ThreadSlot::~ThreadSlot() {
  if (mIndex != TLS_OUT_OF_INDEXES) ::TlsFree(mIndex);
}

void* ThreadSlot::Get() const {
  return mIndex != TLS_OUT_OF_INDEXES ? ::TlsGetValue(mIndex) : nullptr;
}

void ThreadSlot::Set(void* inValue) {
  if (mIndex != TLS_OUT_OF_INDEXES) ::TlsSetValue(mIndex, inValue);
}

std::uint32_t GetCurrentThreadId() { return ::GetCurrentThreadId(); }

unsigned GetProcessorCount() {
  SYSTEM_INFO info;
  ::GetSystemInfo(&info);
  return info.dwNumberOfProcessors > 0 ? info.dwNumberOfProcessors : 1;
}

void SetCurrentThreadName(const std::string& inName) {
  if (sSetThreadDescription)
    sSetThreadDescription(::GetCurrentThread(), string::StdToUTF16String(inName).c_str());
  // Without a debugger the exception would only cost time.
  if (::IsDebuggerPresent()) TellDebuggerThreadName(inName);
}

void SetCurrentThreadPriority(int inPriority) {
  int level = THREAD_PRIORITY_NORMAL;
  switch (inPriority) {
    case threads::ThreadPriority::kLowest: level = THREAD_PRIORITY_LOWEST; break;
    case threads::ThreadPriority::kBelowNormal: level = THREAD_PRIORITY_BELOW_NORMAL; break;
    case threads::ThreadPriority::kNormal: level = THREAD_PRIORITY_NORMAL; break;
    case threads::ThreadPriority::kAboveNormal: level = THREAD_PRIORITY_ABOVE_NORMAL; break;
    case threads::ThreadPriority::kHighest: level = THREAD_PRIORITY_HIGHEST; break;
    case threads::ThreadPriority::kTimeCritical: level = THREAD_PRIORITY_TIME_CRITICAL; break;
  }
  // A refused level (some systems limit the highest ones) leaves the thread
  // at its current level, which still works.
  ::SetThreadPriority(::GetCurrentThread(), level);
}

}  // namespace platform

namespace threads {

// The portable declarations keep each primitive in one pointer-sized word.
static_assert(sizeof(SRWLOCK) == sizeof(void*), "SRWLOCK is one word");
static_assert(sizeof(CONDITION_VARIABLE) == sizeof(void*), "CONDITION_VARIABLE is one word");

void Lock::lock() { ::AcquireSRWLockExclusive(reinterpret_cast<PSRWLOCK>(&mState)); }

void Lock::unlock() { ::ReleaseSRWLockExclusive(reinterpret_cast<PSRWLOCK>(&mState)); }

void Condition::WaitOnce(Lock& ioLock, std::uint32_t inTimeoutMs) {
  // A time-out (ERROR_TIMEOUT) needs no handling: the caller looks at its
  // condition and the clock again.
  ::SleepConditionVariableSRW(reinterpret_cast<PCONDITION_VARIABLE>(&mState),
                              reinterpret_cast<PSRWLOCK>(&ioLock.mState),
                              inTimeoutMs == kNoLimit ? INFINITE : inTimeoutMs, 0);
}

void Condition::NotifyOne() { ::WakeConditionVariable(reinterpret_cast<PCONDITION_VARIABLE>(&mState)); }

void Condition::NotifyAll() { ::WakeAllConditionVariable(reinterpret_cast<PCONDITION_VARIABLE>(&mState)); }

}  // namespace threads
}  // namespace strata
