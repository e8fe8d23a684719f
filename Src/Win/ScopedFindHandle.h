// Owner of a directory search handle of FindFirstFileW, which is closed
// with FindClose rather than CloseHandle. Closing keeps GetLastError, so a
// failure path can close first and translate the caller's error after.
// One thread at a time.
#pragma once

#include <windows.h>

namespace Ostra {
namespace Win {

class ScopedFindHandle {
 public:
  ScopedFindHandle() = default;
  explicit ScopedFindHandle(HANDLE inHandle) : mHandle(inHandle) {}
  ~ScopedFindHandle() { Reset(); }
  ScopedFindHandle(ScopedFindHandle&& ioOther) noexcept : mHandle(ioOther.Release()) {}
  ScopedFindHandle& operator=(ScopedFindHandle&& ioOther) noexcept {
    if (this != &ioOther) Reset(ioOther.Release());
    return *this;
  }
  ScopedFindHandle(const ScopedFindHandle&) = delete;
  ScopedFindHandle& operator=(const ScopedFindHandle&) = delete;

  // FindFirstFileW fails with INVALID_HANDLE_VALUE, never with NULL.
  bool IsValid() const { return mHandle != INVALID_HANDLE_VALUE; }
  HANDLE Get() const { return mHandle; }

  void Reset(HANDLE inHandle = INVALID_HANDLE_VALUE) {
    if (inHandle == mHandle) return;
    HANDLE old = mHandle;
    mHandle = inHandle;
    if (old != INVALID_HANDLE_VALUE) {
      const DWORD error = ::GetLastError();
      ::FindClose(old);
      ::SetLastError(error);
    }
  }
  HANDLE Release() {
    HANDLE handle = mHandle;
    mHandle = INVALID_HANDLE_VALUE;
    return handle;
  }

 private:
  HANDLE mHandle = INVALID_HANDLE_VALUE;
};

}  // namespace Win
}  // namespace Ostra
