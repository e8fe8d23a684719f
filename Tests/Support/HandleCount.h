// The number of open disk-file handles of the process, for leak checks
// around each test of a group.
//
// Only disk files are counted: the thread library and lazily built
// process-wide objects take event and semaphore handles on first use,
// which would make a count of every handle depend on test order. Wine's
// GetProcessHandleCount always reports 0, so the handle table is probed
// (handle values are multiples of 4; the probe covers the first 1024).
#pragma once

#include <windows.h>

namespace OstraTest {

inline unsigned long CountOpenFileHandles() {
  unsigned long count = 0;
  DWORD flags = 0;
  for (ULONG_PTR value = 4; value <= 4 * 1024; value += 4) {
    HANDLE handle = reinterpret_cast<HANDLE>(value);
    if (::GetHandleInformation(handle, &flags) && ::GetFileType(handle) == FILE_TYPE_DISK) ++count;
  }
  return count;
}

}  // namespace OstraTest
