// Executor threads as Windows tools see them: their description and their
// scheduler level.
#include "strata/Executor.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

namespace {

using strata::threads::ExecutorRef;
using strata::threads::ThreadAttributes;
using strata::threads::ThreadPriority;

TEST(ExecutorWinTest, ThreadsAreNamedAndRunTheirHooksOnce) {
  typedef HRESULT(WINAPI * GetDescription)(HANDLE, PWSTR*);
  const GetDescription getDescription = reinterpret_cast<GetDescription>(reinterpret_cast<void*>(
      ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "GetThreadDescription")));
  std::atomic<int> started{0}, ended{0};
  std::mutex mutex;
  std::vector<std::wstring> names;
  std::vector<int> priorities;
  {
    ExecutorRef pool = strata::threads::CreateAsyncThreadedExecutor(
        "Named Test Thread", 2, ThreadPriority::kAboveNormal,
        [&] {
          std::lock_guard<std::mutex> lock(mutex);
          ++started;
          priorities.push_back(::GetThreadPriority(::GetCurrentThread()));
          PWSTR name = nullptr;
          if (getDescription && SUCCEEDED(getDescription(::GetCurrentThread(), &name))) {
            names.push_back(name);
            ::LocalFree(name);
          }
        },
        [&] { ++ended; }, ThreadAttributes());
    ASSERT_TRUE(pool);
    pool->Post([] {});
    pool->WaitForAll();
  }
  EXPECT_EQ(2, started.load());
  EXPECT_EQ(2, ended.load());
  EXPECT_EQ(std::vector<int>(2, THREAD_PRIORITY_ABOVE_NORMAL), priorities);
  if (!getDescription) GTEST_SKIP() << "this system has no GetThreadDescription";
  EXPECT_EQ(std::vector<std::wstring>(2, L"Named Test Thread"), names);
}

}  // namespace
