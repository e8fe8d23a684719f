#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "HandleCount.h"
#include "Ostra/AsyncFileReader.h"
#include "Ostra/BlockCache.h"
#include "Ostra/File.h"
#include "Ostra/Foundation.h"
#include "Ostra/IdleTimer.h"
#include "Ostra/Result.h"
#include "Support/TempDirectoryTest.h"
#include "Support/ThreadCount.h"
#include "Support/TraceCapture.h"
#include "Win/AsyncFileReaderPrivate.h"
#include "strata/Config.h"
#include "strata/Executor.h"
#include "strata/Messaging.h"

namespace {

using Ostra::AsyncFileReader;

// Whether asynchronous reading is available, judged by what Open does.
bool ReaderCanOpen(const std::wstring& inFile) {
  strata::debug::DialogHook previous = strata::debug::SetDialogHook(
      [](const strata::debug::DialogInfo&) { return strata::debug::DialogAction::kContinue; });
  bool opened = false;
  try {
    AsyncFileReader reader;
    opened = AsyncFileReader::Open(inFile, reader) == Ostra::kSuccess;
  } catch (const strata::config::strata_exception&) {
  }
  strata::debug::SetDialogHook(previous);
  return opened;
}

void CountCallback(const AsyncFileReader*, std::uint64_t, std::uint32_t, std::uint32_t, void*,
                   void* inCount, void*, void*, int inResult) {
  if (inResult == Ostra::kSuccess) ++*static_cast<int*>(inCount);
}

// Reads inFile's inSize bytes sector by sector and closes: every read completes.
void ReadThroughAReader(const std::wstring& inFile, std::uint32_t inSize) {
  AsyncFileReader reader;
  ASSERT_EQ(Ostra::kSuccess, AsyncFileReader::Open(inFile, reader));
  void* memory = ::VirtualAlloc(nullptr, inSize, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
  ASSERT_TRUE(memory != nullptr);
  int done = 0;
  const std::uint32_t sector = reader.GetDiskSectorSize();
  for (std::uint32_t offset = 0; offset < inSize; offset += sector)
    reader.QueueReadRequest(offset, sector, static_cast<char*>(memory) + offset, &CountCallback,
                            &done, nullptr, nullptr);
  reader.Close();
  EXPECT_EQ(int(inSize / sector), done);
  ::VirtualFree(memory, 0, MEM_RELEASE);
}

// Reads inFile through the library's block cache with read-ahead, which
// starts the read-ahead thread; closing the File ends it.
void ReadThroughAFileReadingAhead(const std::wstring& inFile, std::uint32_t inSize) {
  Ostra::Foundation::SetFileBufferFactory(Ostra::BlockCache::Create(1u << 20));
  {
    Ostra::File file;
    file.SetBufferSize(0x10000);
    file.SetReadAhead(4);
    ASSERT_EQ(Ostra::kSuccess,
              file.Create(inFile, Ostra::FileAccessFlags::kFileRead,
                          Ostra::FileShareModeFlags::kShareRead,
                          Ostra::FileCreateDispositionFlags::kOpenExisting,
                          Ostra::FileAttributesFlags::kNormal, false));
    std::string data(inSize, '\0');
    std::uint32_t read = 0;
    for (std::uint32_t at = 0; at < inSize; at += read) {
      ASSERT_EQ(Ostra::kSuccess, file.Read(&data[at], std::min(0x3000u, inSize - at), read));
      ASSERT_NE(0u, read);
    }
  }
  Ostra::Foundation::SetFileBufferFactory({});
}

class LifecycleTest : public OstraTest::TempDirectoryTest {};

TEST_F(LifecycleTest, NestedInitializeRunsUntilTheMatchingLastTerminate) {
  const std::wstring file = MakeFile(L"data.bin", std::string(8192, 'x'));
  ASSERT_FALSE(ReaderCanOpen(file)) << "the library was left running by an earlier test";
  Ostra::Foundation::Initialize();
  Ostra::Foundation::Initialize();
  EXPECT_TRUE(strata::threads::IsMainThread());
  Ostra::Foundation::Terminate();
  EXPECT_TRUE(ReaderCanOpen(file)) << "the first Terminate shut the library down";
  EXPECT_TRUE(strata::threads::IsMainThread());
  Ostra::Foundation::Terminate();
  EXPECT_FALSE(ReaderCanOpen(file));
  EXPECT_FALSE(strata::threads::IsMainThread());
}

TEST_F(LifecycleTest, OnlyTheFirstInitializeLogsStartupAndRegistersTheStations) {
  OstraTest::TraceCapture trace("strata.Time", 1);
  Ostra::Foundation::Initialize();
  Ostra::Foundation::Initialize();
  const std::vector<std::string> lines = trace.Lines();
  ASSERT_EQ(2u, lines.size());
  EXPECT_EQ(0u, lines[0].find("strata.Time:1 StartupTime: Start Initializing OstraFoundation"))
      << lines[0];
  EXPECT_EQ(0u, lines[1].find("strata.Time:1 StartupTime: Finish Initializing OstraFoundation"))
      << lines[1];
  const char* const stations[] = {"ostra.idle",        "ostra.repeat",      "ostra.app.suspend",
                                  "ostra.app.resume",  "ostra.aboutdialog", "ostra.app.status.bar"};
  for (const char* station : stations) {
    SCOPED_TRACE(station);
    EXPECT_TRUE(strata::messaging::IsStationRegistered(station));
  }
  Ostra::Foundation::Terminate();
  Ostra::Foundation::Terminate();
  // Stations outlive the library's shut-down.
  EXPECT_TRUE(strata::messaging::IsStationRegistered(Ostra::kStation_Idle));
}

TEST_F(LifecycleTest, FullRestartsLeaveNoThreadOrRequestRecordBehind) {
  const int kSize = 256 * 1024;
  const std::wstring file = MakeFile(L"data.bin", std::string(kSize, 'x'));
  const int threadsBefore = OstraTest::CountThreadsOfThisProcess();
  ASSERT_GT(threadsBefore, 0);
  for (int start = 0; start < 3; ++start) {
    SCOPED_TRACE(start);
    Ostra::Foundation::Initialize();
    ReadThroughAReader(file, kSize);
    ReadThroughAFileReadingAhead(file, kSize);
    EXPECT_GT(OstraTest::CountThreadsOfThisProcess(), threadsBefore) << "no I/O threads while running";
    Ostra::Foundation::Terminate();
    EXPECT_EQ(threadsBefore, OstraTest::CountThreadsOfThisProcess()) << "a thread outlived Terminate";
    EXPECT_EQ(0u, Ostra::Internal::CountAsyncReadRequestsInUse());
  }
}

// The process's first cycle, with everything that makes threads and
// handles: the reader's threads and port, the CPU pool and its views, a
// reader, a File reading ahead, an idle timer. The thread library makes process-wide objects on
// first use that are never freed, so the count must start before any
// library thread ever ran: Tests/CMakeLists.txt runs this test alone too.
TEST_F(LifecycleTest, AFirstFullCycleReleasesEveryHandleItMade) {
  if (!OstraTest::HandleCountsAreReported())
    GTEST_SKIP() << "the system reports no handle counts";
  const int kSize = 64 * 1024;
  const std::wstring file = MakeFile(L"data.bin", std::string(kSize, 'x'));
  const long before = OstraTest::ProcessHandleCount();
  Ostra::Foundation::Initialize();
  {
    ReadThroughAReader(file, kSize);
    ReadThroughAFileReadingAhead(file, kSize);
    strata::threads::ExecutorRef serial =
        strata::threads::CreateSubExecutor(strata::threads::CreateCPUBoundExecutor(), 1);
    int ran = 0;
    for (int i = 0; i < 8; ++i) serial->Post([&ran] { ++ran; });
    serial->WaitForAll();
    EXPECT_EQ(8, ran);

    Ostra::IdleCountdownTimer timer;
    timer.SetDuration(0);
    timer.ArmTimer();
    strata::messaging::BroadcastMessage(Ostra::kStation_Idle, Ostra::ApplicationIdleMessage());
  }
  Ostra::Foundation::Terminate();
  EXPECT_EQ(before, OstraTest::ProcessHandleCount()) << "a handle outlived Terminate";
}

}  // namespace
