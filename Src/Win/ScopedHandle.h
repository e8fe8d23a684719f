// The owners of Win32 handles in the library: one template, with a traits
// class that says how a kind of handle is closed. Both NULL and
// INVALID_HANDLE_VALUE count as "no handle". Closing keeps GetLastError,
// so a failure path can close first and translate the caller's error after.
// An owner is used by one thread at a time.
#pragma once

#include <windows.h>

namespace Ostra {
namespace Win {

template <class Traits>
class GenericScopedHandle {
 public:
  GenericScopedHandle() = default;
  explicit GenericScopedHandle(HANDLE inHandle) : mHandle(inHandle) {}
  ~GenericScopedHandle() { Close(); }
  GenericScopedHandle(GenericScopedHandle&& ioOther) noexcept : mHandle(ioOther.Release()) {}
  GenericScopedHandle& operator=(GenericScopedHandle&& ioOther) noexcept {
    if (this != &ioOther) Reset(ioOther.Release());
    return *this;
  }
  GenericScopedHandle(const GenericScopedHandle&) = delete;
  GenericScopedHandle& operator=(const GenericScopedHandle&) = delete;

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
    if (!IsValidHandle(old)) return;
    const DWORD error = ::GetLastError();
    Traits::Close(old);
    ::SetLastError(error);
  }
  HANDLE Release() {
    HANDLE handle = mHandle;
    mHandle = INVALID_HANDLE_VALUE;
    return handle;
  }
  void Close() { Reset(); }

 private:
  HANDLE mHandle = INVALID_HANDLE_VALUE;
};

struct KernelHandleTraits {
  static void Close(HANDLE inHandle) { ::CloseHandle(inHandle); }
};

// A directory search of FindFirstFileW is closed with FindClose.
struct FindHandleTraits {
  static void Close(HANDLE inHandle) { ::FindClose(inHandle); }
};

typedef GenericScopedHandle<KernelHandleTraits> ScopedHandle;
typedef GenericScopedHandle<FindHandleTraits> ScopedFindHandle;

}  // namespace Win
}  // namespace Ostra
