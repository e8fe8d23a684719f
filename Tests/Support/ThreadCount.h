// Counts the threads of this process, so that a test can check that every
// thread it caused to start has ended. -1 when the system cannot tell.
#pragma once

#if defined(_WIN32)
#  include <windows.h>
#  include <tlhelp32.h>
#else
#  include <dirent.h>
#endif

namespace OstraTest {

inline int CountThreadsOfThisProcess() {
#if defined(_WIN32)
  HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  if (snapshot == INVALID_HANDLE_VALUE) return -1;
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof(entry);
  int count = 0;
  for (BOOL more = ::Thread32First(snapshot, &entry); more; more = ::Thread32Next(snapshot, &entry))
    if (entry.th32OwnerProcessID == ::GetCurrentProcessId()) ++count;
  ::CloseHandle(snapshot);
  return count;
#else
  // One entry per thread, besides "." and "..".
  DIR* tasks = ::opendir("/proc/self/task");
  if (!tasks) return -1;
  int count = 0;
  while (const dirent* entry = ::readdir(tasks))
    if (entry->d_name[0] != '.') ++count;
  ::closedir(tasks);
  return count;
#endif
}

}  // namespace OstraTest
