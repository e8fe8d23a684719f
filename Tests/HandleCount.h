// The number of kernel handles the test process holds, for tests that check
// an operation leaks none. GetProcessHandleCount answers 0 under Wine, so the
// system's handle list is counted there instead.
#pragma once

#include <windows.h>

#include <utility>
#include <vector>

namespace OstraTest {

// The object type of each handle of this process, from the system's handle
// table; false when the table is not to be had.
inline bool ProcessHandleTypes(std::vector<std::pair<HANDLE, USHORT>>& outHandles) {
  struct Entry {  // SYSTEM_HANDLE_TABLE_ENTRY_INFO_EX
    ULONG_PTR object;
    ULONG_PTR processID;
    ULONG_PTR handle;
    ULONG access;
    USHORT backTrace;
    USHORT type;
    ULONG attributes;
    ULONG reserved;
  };
  struct Table {  // SYSTEM_HANDLE_INFORMATION_EX
    ULONG_PTR count;
    ULONG_PTR reserved;
    Entry entries[1];
  };
  typedef LONG(WINAPI * QueryProc)(ULONG, void*, ULONG, ULONG*);
  const ULONG kSystemExtendedHandleInformation = 64;
  const LONG kInfoLengthMismatch = static_cast<LONG>(0xC0000004L);
  QueryProc query = reinterpret_cast<QueryProc>(reinterpret_cast<void (*)()>(
      ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
  if (!query) return false;
  std::vector<char> buffer(1 << 16);
  LONG status;
  ULONG length = 0;
  while ((status = query(kSystemExtendedHandleInformation, buffer.data(),
                         static_cast<ULONG>(buffer.size()), &length)) == kInfoLengthMismatch)
    buffer.resize(buffer.size() * 2);
  if (status != 0) return false;
  const Table* table = reinterpret_cast<const Table*>(buffer.data());
  outHandles.clear();
  for (ULONG_PTR i = 0; i < table->count; ++i)
    if (table->entries[i].processID == ::GetCurrentProcessId())
      outHandles.emplace_back(reinterpret_cast<HANDLE>(table->entries[i].handle),
                              table->entries[i].type);
  return true;
}

// -1 when neither source answers.
inline long ProcessHandleCount() {
  DWORD count = 0;
  if (::GetProcessHandleCount(::GetCurrentProcess(), &count) && count != 0)
    return static_cast<long>(count);
  std::vector<std::pair<HANDLE, USHORT>> handles;
  return ProcessHandleTypes(handles) ? static_cast<long>(handles.size()) : -1;
}

// As ProcessHandleCount, but events are left out: the threads library makes
// an event for a mutex the first time two threads meet at it and keeps it
// as long as the mutex, so process-wide mutexes add events at random
// moments. For tests that run threads; -1 when the table is not to be had.
inline long ProcessHandleCountWithoutEvents() {
  std::vector<std::pair<HANDLE, USHORT>> handles;
  HANDLE event = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const bool listed = ProcessHandleTypes(handles);
  ::CloseHandle(event);
  if (!listed) return -1;
  USHORT eventType = 0;
  for (const auto& handle : handles)
    if (handle.first == event) eventType = handle.second;
  long count = 0;
  for (const auto& handle : handles)
    if (handle.second != eventType) ++count;
  return count;
}

// Whether the count follows a handle being opened and closed.
inline bool HandleCountsAreReported() {
  const long before = ProcessHandleCount();
  HANDLE event = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const long during = ProcessHandleCount();
  ::CloseHandle(event);
  return before > 0 && during == before + 1 && ProcessHandleCount() == before;
}

}  // namespace OstraTest
