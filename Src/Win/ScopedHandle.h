// The one owner of a Win32 kernel handle in the library. Both NULL and
// INVALID_HANDLE_VALUE count as "no handle". Closing keeps GetLastError,
// so a failure path can close first and translate the caller's error after.
#pragma once

#include <windows.h>

namespace Ostra {
namespace Win {

class ScopedHandle {
 public:
  ScopedHandle() = default;
  explicit ScopedHandle(HANDLE inHandle) : mHandle(inHandle) {}
  ~ScopedHandle() { Close(); }
  ScopedHandle(ScopedHandle&& ioOther) noexcept : mHandle(ioOther.Release()) {}
  ScopedHandle& operator=(ScopedHandle&& ioOther) noexcept {
    if (this != &ioOther) Reset(ioOther.Release());
    return *this;
  }
  ScopedHandle(const ScopedHandle&) = delete;
  ScopedHandle& operator=(const ScopedHandle&) = delete;

  static bool IsValidHandle(HANDLE inHandle) {
    return inHandle != nullptr && inHandle != INVALID_HANDLE_VALUE;
  }
  bool IsValid() const { return IsValidHandle(mHandle); }
  HANDLE Get() const { return mHandle; }

  // Adopts inHandle, closing the one held before.
  void Reset(HANDLE inHandle = INVALID_HANDLE_VALUE) {
    if (inHandle == mHandle) return;
    HANDLE old = mHandle;
    mHandle = inHandle;
    CloseKeepingLastError(old);
  }
  HANDLE Release() {
    HANDLE handle = mHandle;
    mHandle = INVALID_HANDLE_VALUE;
    return handle;
  }
  void Close() { Reset(); }

 private:
  static void CloseKeepingLastError(HANDLE inHandle) {
    if (!IsValidHandle(inHandle)) return;
    const DWORD error = ::GetLastError();
    ::CloseHandle(inHandle);
    ::SetLastError(error);
  }

  HANDLE mHandle = INVALID_HANDLE_VALUE;
};

}  // namespace Win
}  // namespace Ostra
