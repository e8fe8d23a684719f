// Counts the threads of this process, so that a test can check that every
// thread it caused to start has ended. -1 when the system cannot tell.
#pragma once

#if defined(_WIN32)
#  include <windows.h>
#  include <tlhelp32.h>
#else
#  include <dirent.h>
#endif

#include <cstring>
#include <vector>

namespace OstraTest {

#if defined(_WIN32)
// From the system's process list, which under Wine costs a small part of a
// tool-help snapshot: tests that count after each of hundreds of runs need
// that. -1 when the list is not to be had.
inline int CountThreadsFromProcessList() {
  typedef LONG(WINAPI * QueryProc)(ULONG, void*, ULONG, ULONG*);
  const QueryProc query = reinterpret_cast<QueryProc>(reinterpret_cast<void (*)()>(
      ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
  if (!query) return -1;
  const ULONG kSystemProcessInformation = 5;
  const LONG kInfoLengthMismatch = static_cast<LONG>(0xC0000004L);
  // SYSTEM_PROCESS_INFORMATION, x64: the next entry's offset at 0, the
  // thread count at 4, the process id at 0x50.
  std::vector<char> buffer(1 << 18);
  ULONG length = 0;
  LONG status;
  while ((status = query(kSystemProcessInformation, buffer.data(),
                         static_cast<ULONG>(buffer.size()), &length)) == kInfoLengthMismatch)
    buffer.resize(buffer.size() * 2);
  if (status != 0) return -1;
  // Read with memcpy: Wine does not keep the entries aligned, and the
  // hardened build traps a misaligned load.
  const auto field = [&buffer](std::size_t inAt, auto& outValue) {
    std::memcpy(&outValue, buffer.data() + inAt, sizeof outValue);
  };
  for (std::size_t at = 0; at + 0x58 <= buffer.size();) {
    ULONG_PTR process = 0;
    ULONG threads = 0, next = 0;
    field(at + 0x50, process);
    field(at + 4, threads);
    field(at, next);
    if (process == ::GetCurrentProcessId()) return static_cast<int>(threads);
    if (next == 0) return -1;
    at += next;
  }
  return -1;
}

#endif

inline int CountThreadsOfThisProcess() {
#if defined(_WIN32)
  const int listed = CountThreadsFromProcessList();
  if (listed > 0) return listed;
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
