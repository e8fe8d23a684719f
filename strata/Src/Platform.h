// What the portable sources of strata need from the operating system.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
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

std::uint32_t GetCurrentThreadId();
// Logical processors the process may run on; at least 1.
unsigned GetProcessorCount();
// The name a debugger and the system tools show for the calling thread.
void SetCurrentThreadName(const std::string& inName);
// inPriority is a strata::threads::ThreadPriority::Type.
void SetCurrentThreadPriority(int inPriority);

}  // namespace platform
}  // namespace strata
