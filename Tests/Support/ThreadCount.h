// Counts the threads of this process, so that a test can check that every
// thread it caused to start has ended. -1 when the system cannot tell.
#pragma once

#include <windows.h>
#include <tlhelp32.h>

namespace OstraTest {

inline int CountThreadsOfThisProcess() {
  HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  if (snapshot == INVALID_HANDLE_VALUE) return -1;
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof(entry);
  int count = 0;
  for (BOOL more = ::Thread32First(snapshot, &entry); more; more = ::Thread32Next(snapshot, &entry))
    if (entry.th32OwnerProcessID == ::GetCurrentProcessId()) ++count;
  ::CloseHandle(snapshot);
  return count;
}

}  // namespace OstraTest
