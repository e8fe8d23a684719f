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
#include "strata/Threads.h"

namespace strata {
namespace platform {

// Sends a diagnostic text to the debugger's output and to standard error.
void WriteDiagnosticText(const std::string& inText);
void BreakIntoDebugger();
// The value of an environment variable, empty when unset.
std::string GetEnvironmentText(const char* inName);

// Fills inCount bytes from the system's secure generator; false when it
// failed.
bool GetRandomBytes(unsigned char* outBytes, std::size_t inCount);

// inSize bytes at a multiple of inAlignment (a power of two); null when
// memory runs out. Freed only by FreeAligned.
void* AllocateAligned(std::size_t inSize, std::size_t inAlignment);
void FreeAligned(void* inData);

// ---------------------------------------------------------------- threads

// The system's own lock and condition (strata/Threads.h), under the names
// the portable sources use.
using Lock = threads::Lock;
using Condition = threads::Condition;

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
  Thread(void* inHandle, std::uint64_t inId) : mHandle(inHandle), mId(inId) {}
  void* mHandle;      // null once joined or detached
  std::uint64_t mId;  // the system's name of the thread (POSIX: its pthread_t)
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
// The executable's file name without folder and extension ("Host" for
// "C:\Apps\Host.exe"); empty when the path is unknown.
UTF16String GetExecutableBaseName();
// Logical processors the process may run on; at least 1.
unsigned GetProcessorCount();
// The name a debugger and the system tools show for the calling thread.
void SetCurrentThreadName(const std::string& inName);
// inPriority is a strata::threads::ThreadPriority::Type.
void SetCurrentThreadPriority(int inPriority);

// ------------------------------------------------------------ file system

// The separator this system's paths are joined with.
extern const wchar_t kPathSeparator;

// inPath (not empty) as an absolute path, "." and ".." resolved, without a
// trailing separator; false when the system cannot make it absolute.
bool MakeAbsolutePath(const UTF16String& inPath, UTF16String& outFull);

// One open listing of a directory, in the order the system gives it, "."
// and ".." included or not as the system has them.
class DirectoryListing {
 public:
  struct Entry {
    UTF16String mName;
    bool mIsDirectory;
    bool mIsLink;  // a junction or a symbolic link, whatever it points at
  };
  // Null when the directory cannot be listed (missing, unreadable).
  static std::unique_ptr<DirectoryListing> Open(const UTF16String& inPath);
  virtual ~DirectoryListing() = default;
  // The next entry; false at the end of the listing.
  virtual bool Next(Entry& outEntry) = 0;
};

}  // namespace platform
}  // namespace strata
