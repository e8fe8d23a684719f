#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Ostra/AsyncFileReader.h"
#include "Ostra/Foundation.h"
#include "Ostra/Module.h"
#include "Ostra/Result.h"
#include "Support/Dialogs.h"
#include "Support/TempDirectoryTest.h"
#include "Support/TraceCapture.h"
#include "Support/Watchdog.h"
#include "Win/AsyncFileReaderPrivate.h"
#include "strata/Config.h"

namespace {

using Ostra::AsyncFileReader;

// Each 64-bit word of a test file holds its own offset, so any slice of
// the file can be checked on its own.
std::uint64_t WordAt(std::uint64_t inOffset) { return inOffset * 0x9E3779B97F4A7C15ull + 1; }

bool SliceIsExact(const void* inBuffer, std::uint64_t inOffset, std::uint32_t inSize) {
  const std::uint64_t* words = static_cast<const std::uint64_t*>(inBuffer);
  for (std::uint32_t i = 0; i < inSize / 8; ++i)
    if (words[i] != WordAt(inOffset + i * 8ull)) return false;
  return true;
}

// Page-aligned memory, as unbuffered reads need.
class AlignedBuffer {
 public:
  explicit AlignedBuffer(std::size_t inSize)
      : mData(::VirtualAlloc(nullptr, inSize, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE)) {}
  ~AlignedBuffer() { ::VirtualFree(mData, 0, MEM_RELEASE); }
  AlignedBuffer(const AlignedBuffer&) = delete;
  AlignedBuffer& operator=(const AlignedBuffer&) = delete;
  char* Get() const { return static_cast<char*>(mData); }

 private:
  void* mData;
};

// What the callbacks of one test saw. Callbacks of one reader never run at
// once, but several readers share a record.
struct Completions {
  std::atomic<int> count{0};
  std::atomic<int> wrongData{0};
  std::atomic<int> failures{0};
  std::atomic<int> lastResult{0};
  std::atomic<std::uint32_t> lastBytes{0xFFFFFFFFu};
  std::atomic<bool> onReaderThread{false};
};

void CheckingCallback(const AsyncFileReader*, std::uint64_t inOffset, std::uint32_t inRequested,
                      std::uint32_t inRead, void* inBuffer, void* inCompletions, void*, void*,
                      int inResult) {
  Completions& completions = *static_cast<Completions*>(inCompletions);
  completions.lastResult = inResult;
  completions.lastBytes = inRead;
  if (inResult != Ostra::kSuccess) ++completions.failures;
  else if (inRead != inRequested || !SliceIsExact(inBuffer, inOffset, inRead))
    ++completions.wrongData;
  ++completions.count;
}

class AsyncFileReaderTest : public OstraTest::TempDirectoryTest {
 protected:
  void SetUp() override {
    TempDirectoryTest::SetUp();
    Ostra::Foundation::Initialize();
  }
  void TearDown() override {
    EXPECT_EQ(0u, Ostra::Internal::CountAsyncReadRequestsInUse()) << "a request record leaked";
    Ostra::Foundation::Terminate();
    TempDirectoryTest::TearDown();
  }

  // A file of inSize bytes (a multiple of 8) in the pattern of WordAt.
  std::wstring MakePatternFile(const std::wstring& inName, std::uint64_t inSize) {
    std::string content(static_cast<std::size_t>(inSize), '\0');
    for (std::uint64_t offset = 0; offset < inSize; offset += 8) {
      const std::uint64_t word = WordAt(offset);
      std::memcpy(&content[static_cast<std::size_t>(offset)], &word, 8);
    }
    return MakeFile(inName, content);
  }
};

TEST_F(AsyncFileReaderTest, OpenRefusesMissingPathsAndDirectoriesAndStaysOpenable) {
  const std::wstring file = MakePatternFile(L"data.bin", 64 * 1024);
  const std::wstring refused[] = {PathOf(L"missing.bin"), MakeDirectory(L"folder"), L""};
  for (const std::wstring& path : refused) {
    SCOPED_TRACE(strata::string::UTF16toStdString(path));
    AsyncFileReader reader;
    OstraTest::TraceCapture trace("Ostra::WinAsyncFileReader", 7);
    EXPECT_EQ(-1, AsyncFileReader::Open(path, reader));
    ASSERT_EQ(1u, trace.Lines().size());
    EXPECT_EQ("Ostra::WinAsyncFileReader:7 File path doesn't exist on disk", trace.Lines()[0]);
    // Still closed and never opened: a second Open is allowed.
    EXPECT_EQ(Ostra::kSuccess, AsyncFileReader::Open(file, reader));
  }
}

TEST_F(AsyncFileReaderTest, OpenReportsPowerOfTwoSectorSizeAndTracesTheQueryResult) {
  const std::wstring file = MakePatternFile(L"data.bin", 64 * 1024);
  AsyncFileReader reader;
  OstraTest::TraceCapture trace("Ostra:WinAsyncFileReader", 7);
  ASSERT_EQ(Ostra::kSuccess, AsyncFileReader::Open(file, reader));
  const std::uint32_t sector = reader.GetDiskSectorSize();
  EXPECT_GE(sector, 512u);
  EXPECT_EQ(0u, sector & (sector - 1)) << sector;
  const std::vector<std::string> lines = trace.Lines();
  ASSERT_EQ(1u, lines.size());
  EXPECT_EQ("Ostra:WinAsyncFileReader:7 GetEfficientDiskBufferSizeFromPath failed with error: 0",
            lines[0]);
}

// Reports of these checks are matched by their documented condition,
// source and line, so moving a check must not change its report.
TEST_F(AsyncFileReaderTest, MisuseRaisesInputContractNamingDocumentedConditionSourceAndLine) {
  const std::wstring file = MakePatternFile(L"data.bin", 64 * 1024);
  struct Row {
    const char* name;
    void (*misuse)(const std::wstring& inFile);
    const char* function;
    const char* condition;
    const char* source;
    int line;
  } const rows[] = {
      {"load an empty module path",
       [](const std::wstring&) {
         boost::shared_ptr<Ostra::Module> module;
         Ostra::Module::Load(std::wstring(), module);
       },
       "Ostra::Module::Load", "!inModulePath.empty()", "WinModule", 68},
      {"look up an empty procedure name",
       [](const std::wstring&) {
         boost::shared_ptr<Ostra::Module> module;
         Ostra::Module::Create(nullptr, module);
         module->GetProcAddress(std::string());
       },
       "Ostra::Module::GetProcAddress", "!inProcName.empty()", "WinModule", 168},
      {"start twice", [](const std::wstring&) { Ostra::StartupAsyncFileOperations(); },
       "Ostra::StartupAsyncFileOperations", "sCompletionPort == NULL", "WinAsyncFileReader", 91},
      {"queue on a never-opened reader",
       [](const std::wstring&) {
         AsyncFileReader reader;
         reader.QueueReadRequest(0, 4096, nullptr, nullptr, nullptr, nullptr, nullptr);
       },
       "Ostra::AsyncFileReader::QueueReadRequest",
       "mImpl->mFileHandle != INVALID_HANDLE_VALUE", "WinAsyncFileReader", 193},
      {"open before start-up",
       [](const std::wstring& inFile) {
         Ostra::Foundation::Terminate();
         struct Restart {
           ~Restart() { Ostra::Foundation::Initialize(); }
         } restart;
         AsyncFileReader reader;
         AsyncFileReader::Open(inFile, reader);
       },
       "Ostra::AsyncFileReader::Open",
       "sCompletionPort != NULL && sCompletionPort != INVALID_HANDLE_VALUE", "WinAsyncFileReader",
       239},
      {"open an open reader",
       [](const std::wstring& inFile) {
         AsyncFileReader reader;
         AsyncFileReader::Open(inFile, reader);
         AsyncFileReader::Open(inFile, reader);
       },
       "Ostra::AsyncFileReader::Open",
       "ioOpenedAsyncFileReader.mImpl->mFileHandle == INVALID_HANDLE_VALUE", "WinAsyncFileReader",
       240},
      {"open a closed reader",
       [](const std::wstring& inFile) {
         AsyncFileReader reader;
         AsyncFileReader::Open(inFile, reader);
         reader.Close();
         AsyncFileReader::Open(inFile, reader);
       },
       "Ostra::AsyncFileReader::Open",
       "!ioOpenedAsyncFileReader.mImpl->mExecutor", "WinAsyncFileReader", 241},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    OstraTest::ContinueDialogs dialogs;
    EXPECT_THROW(row.misuse(file), strata::config::strata_exception);
    const std::vector<strata::debug::DialogInfo> seen = dialogs.Seen();
    ASSERT_EQ(1u, seen.size());
    EXPECT_EQ(strata::debug::DialogKind::kInputContract, seen[0].kind);
    EXPECT_EQ(row.function, seen[0].function);
    EXPECT_EQ(row.condition, seen[0].condition);
    EXPECT_EQ(row.source, seen[0].file);
    EXPECT_EQ(row.line, seen[0].line);
  }
}

TEST_F(AsyncFileReaderTest, HundredThousandReadsOfVariedOffsetsAndSizesDeliverExactBytes) {
  const std::uint64_t kFileSize = 4 * 1024 * 1024;
  const std::wstring file = MakePatternFile(L"data.bin", kFileSize);
  AsyncFileReader reader;
  ASSERT_EQ(Ostra::kSuccess, AsyncFileReader::Open(file, reader));
  const std::uint32_t sector = reader.GetDiskSectorSize();
  const int kSlots = 1000;
  const std::uint32_t kMaxSectors = 4;
  AlignedBuffer memory(static_cast<std::size_t>(kSlots) * kMaxSectors * sector);
  std::mt19937 random(8);
  Completions completions;
  const int kReads = 100000;
  for (int batch = 0; batch < kReads / kSlots; ++batch) {
    for (int slot = 0; slot < kSlots; ++slot) {
      const std::uint32_t size = sector * (1 + random() % kMaxSectors);
      const std::uint64_t offset = sector * (random() % ((kFileSize - size) / sector + 1));
      reader.QueueReadRequest(offset, size, memory.Get() + slot * kMaxSectors * sector,
                              &CheckingCallback, &completions, nullptr, nullptr);
    }
    reader.WaitForPendingReads();
    ASSERT_EQ((batch + 1) * kSlots, completions.count.load()) << "a callback was still to come";
  }
  EXPECT_EQ(0, completions.wrongData.load());
  EXPECT_EQ(0, completions.failures.load());
}

TEST_F(AsyncFileReaderTest, MoreReadsThanPoolRecordsFromTwoThreadsAllComplete) {
  const std::wstring file = MakePatternFile(L"data.bin", 1024 * 1024);
  AsyncFileReader reader;
  ASSERT_EQ(Ostra::kSuccess, AsyncFileReader::Open(file, reader));
  const std::uint32_t sector = reader.GetDiskSectorSize();
  const int kPerThread = 3000;  // 6000 in all, three times the pool
  AlignedBuffer memory(2 * static_cast<std::size_t>(kPerThread) * sector);
  Completions completions;
  std::atomic<std::uint32_t> mostInUse{0};
  auto queue = [&](int inFirst) {
    for (int i = inFirst; i < inFirst + kPerThread; ++i) {
      const std::uint64_t offset = (i % (1024 * 1024 / sector)) * std::uint64_t(sector);
      reader.QueueReadRequest(offset, sector, memory.Get() + std::size_t(i) * sector,
                              &CheckingCallback, &completions, nullptr, nullptr);
      const std::uint32_t inUse = Ostra::Internal::CountAsyncReadRequestsInUse();
      if (inUse > mostInUse) mostInUse = inUse;
    }
  };
  std::thread other(queue, kPerThread);
  queue(0);
  other.join();
  reader.WaitForPendingReads();
  EXPECT_EQ(2 * kPerThread, completions.count.load());
  EXPECT_EQ(0, completions.wrongData.load());
  EXPECT_EQ(0, completions.failures.load());
  EXPECT_LE(mostInUse.load(), 2048u);
}

// One reader of a busy-readers test: its reads are numbered, each
// callback marks its read's slot, checks that no other callback of the
// same reader is running, and in chained runs queues the next read. A
// callback that runs once the owner's Close or destructor has returned
// counts as late (and queues nothing: the reader may be gone).
struct BusyReader {
  std::unique_ptr<AsyncFileReader> reader{new AsyncFileReader};
  // Callbacks queue through this: unique_ptr::reset empties the pointer
  // before the destructor has waited for them.
  AsyncFileReader* const target = reader.get();
  char* memory = nullptr;
  std::uint32_t sector = 0;
  int total = 0;
  bool chained = false;
  bool slow = false;
  bool throws = false;
  std::atomic<int> queued{0};
  std::atomic<int> running{0};
  std::atomic<int> overlaps{0};
  std::atomic<bool> closed{false};
  std::atomic<int> late{0};
  Completions completions;
  std::vector<std::atomic<int>> calls;  // per read: how often its callback ran

  void QueueNext() {
    const int index = queued++;
    const std::uint64_t offset = std::uint64_t(index % 64) * sector;
    target->QueueReadRequest(offset, sector, memory + std::size_t(index) * sector,
                             &BusyReader::Callback, this,
                             reinterpret_cast<void*>(static_cast<std::intptr_t>(index)), nullptr);
  }

  static void Callback(const AsyncFileReader* inReader, std::uint64_t inOffset,
                       std::uint32_t inRequested, std::uint32_t inRead, void* inBuffer,
                       void* inSelf, void* inIndex, void*, int inResult) {
    BusyReader& self = *static_cast<BusyReader*>(inSelf);
    if (self.closed) {
      ++self.late;
      return;
    }
    if (self.running++ != 0) ++self.overlaps;
    if (self.slow) ::Sleep(1);
    ++self.calls[static_cast<std::size_t>(reinterpret_cast<std::intptr_t>(inIndex))];
    CheckingCallback(inReader, inOffset, inRequested, inRead, inBuffer, &self.completions, nullptr,
                     nullptr, inResult);
    if (self.chained && self.queued < self.total) self.QueueNext();
    --self.running;
    if (self.throws) throw std::runtime_error("a host callback failed");
  }
};

// Close, the destructor and waits must not return while a read is busy or
// its callback is still to run, however completions are grouped: many
// readers at once, callbacks that queue the next read (also while the
// owner closes or destroys the reader), slow callbacks, callbacks that
// throw.
TEST_F(AsyncFileReaderTest, CloseAndWaitCoverEveryReadAndEachCallbackRunsOnceNeverTwoAtATime) {
  const std::wstring file = MakePatternFile(L"data.bin", 1024 * 1024);
  enum End { kClose, kDestroy, kWaitThenClose };
  struct Row {
    const char* name;
    int readers;
    int reads;
    int inFlight;  // queued up front; chained runs queue the rest from callbacks
    bool slow;
    bool throws;
    End end;
  } const rows[] = {
      {"one reader, slow callbacks, Close", 1, 200, 200, true, false, kClose},
      {"one reader, slow callbacks, destructor", 1, 200, 200, true, false, kDestroy},
      {"eight readers, slow callbacks, Close", 8, 64, 64, true, false, kClose},
      {"eight readers, destructor", 8, 300, 300, false, false, kDestroy},
      {"eight readers, chains from 32 in flight", 8, 600, 32, false, false, kWaitThenClose},
      {"one reader, chain from 1 in flight", 1, 100, 1, false, false, kWaitThenClose},
      {"one reader, Close while a chain from 1 runs", 1, 300, 1, false, false, kClose},
      {"eight readers, destructors while chains from 2 run", 8, 300, 2, false, false, kDestroy},
      {"eight readers, throwing callbacks chain from 4, Close", 8, 200, 4, false, true, kClose},
  };
  OstraTest::ContinueDialogs reports;  // of the throwing callbacks
  OstraTest::Watchdog dog;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    dog.Arm(row.name);
    // The buffers must outlive the readers, whose destructors wait.
    std::vector<std::unique_ptr<AlignedBuffer>> memory;
    {
      std::vector<std::unique_ptr<BusyReader>> readers;
      for (int r = 0; r < row.readers; ++r) {
        readers.emplace_back(new BusyReader);
        BusyReader& busy = *readers.back();
        ASSERT_EQ(Ostra::kSuccess, AsyncFileReader::Open(file, *busy.reader));
        busy.sector = busy.reader->GetDiskSectorSize();
        ASSERT_LE(busy.sector, 16u * 1024);
        memory.emplace_back(new AlignedBuffer(std::size_t(row.reads) * busy.sector));
        busy.memory = memory.back()->Get();
        busy.total = row.reads;
        busy.chained = row.inFlight < row.reads;
        busy.slow = row.slow;
        busy.throws = row.throws;
        busy.calls = std::vector<std::atomic<int>>(row.reads);
      }
      for (int i = 0; i < row.inFlight; ++i)
        for (const std::unique_ptr<BusyReader>& busy : readers) busy->QueueNext();
      for (const std::unique_ptr<BusyReader>& busy : readers) {
        if (row.end == kWaitThenClose) {
          // A wait can end between two links of a chain, never while a
          // link's read is busy or its callback is to come.
          for (int i = 0; i < 10000 && busy->completions.count < row.reads; ++i)
            busy->reader->WaitForPendingReads();
          EXPECT_EQ(row.reads, busy->completions.count.load());
        }
        if (row.end == kDestroy) {
          busy->reader.reset();
          busy->closed = true;
        } else {
          busy->reader->Close();
          busy->closed = true;
          EXPECT_EQ(busy->queued.load(), busy->completions.count.load());
          busy->reader->Close();  // nothing to do
        }
      }
      // Time for a callback that Close or the destructor left behind.
      ::Sleep(50);
      for (const std::unique_ptr<BusyReader>& busy : readers) {
        EXPECT_EQ(0, busy->late.load()) << "callbacks ran after Close or the destructor returned";
        EXPECT_EQ(row.reads, busy->completions.count.load());
        EXPECT_EQ(0, busy->completions.wrongData.load());
        EXPECT_EQ(0, busy->completions.failures.load());
        EXPECT_EQ(0, busy->overlaps.load()) << "two callbacks of one reader ran at once";
        int notOnce = 0;
        for (const std::atomic<int>& calls : busy->calls) notOnce += calls.load() != 1 ? 1 : 0;
        EXPECT_EQ(0, notOnce) << "reads whose callback did not run exactly once";
      }
    }
  }
}

// A callback cannot wait for its own reader's callbacks (itself among
// them): the wait reports the misuse and returns instead of hanging.
TEST_F(AsyncFileReaderTest, WaitFromTheReadersOwnCallbackReportsAndReturns) {
  const std::wstring file = MakePatternFile(L"data.bin", 64 * 1024);
  AsyncFileReader reader;
  ASSERT_EQ(Ostra::kSuccess, AsyncFileReader::Open(file, reader));
  AlignedBuffer memory(reader.GetDiskSectorSize());
  std::atomic<bool> waited{false};
  OstraTest::ContinueDialogs dialogs;
  OstraTest::Watchdog dog("a wait inside the reader's own callback", std::chrono::seconds(60));
  reader.QueueReadRequest(
      0, reader.GetDiskSectorSize(), memory.Get(),
      [](const AsyncFileReader*, std::uint64_t, std::uint32_t, std::uint32_t, void*,
         void* inReader, void* inWaited, void*, int) {
        static_cast<AsyncFileReader*>(inReader)->WaitForPendingReads();
        *static_cast<std::atomic<bool>*>(inWaited) = true;
      },
      &reader, &waited, nullptr);
  reader.WaitForPendingReads();
  EXPECT_TRUE(waited.load());
  EXPECT_EQ(1u, dialogs.Seen().size());
}

// A read past the end gets the mapped end-of-file error; misaligned reads
// fail in the system and reach the callback as errors. None gives bytes.
TEST_F(AsyncFileReaderTest, FailedReadsReachTheCallbackAsErrorsWithNoBytes) {
  const std::wstring file = MakePatternFile(L"data.bin", 64 * 1024);
  AsyncFileReader reader;
  ASSERT_EQ(Ostra::kSuccess, AsyncFileReader::Open(file, reader));
  const std::uint32_t sector = reader.GetDiskSectorSize();
  AlignedBuffer memory(4 * sector);
  const int kAnyError = Ostra::kSuccess;  // whatever error the system gives
  struct {
    const char* name;
    std::uint64_t offset;
    std::uint32_t size;
    std::size_t bufferShift;
    int result;
  } const cases[] = {
      {"past the end", 1024 * 1024, sector, 0,
       Ostra::Win::SystemErrorToOstraResult(ERROR_HANDLE_EOF)},
      {"misaligned offset", 1, sector, 0, kAnyError},
      {"misaligned size", 0, sector + 1, 0, kAnyError},
      {"misaligned buffer", 0, sector, 1, kAnyError},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    Completions completions;
    reader.QueueReadRequest(test.offset, test.size, memory.Get() + test.bufferShift,
                            &CheckingCallback, &completions, nullptr, nullptr);
    reader.WaitForPendingReads();
    ASSERT_EQ(1, completions.count.load());
    if (test.result != kAnyError) {
      EXPECT_EQ(test.result, completions.lastResult.load());
    } else if (completions.lastResult == Ostra::kSuccess) {
      GTEST_SKIP() << "Wine does not enforce sector alignment on unbuffered reads";
    }
    EXPECT_EQ(0u, completions.lastBytes.load());
  }
}

}  // namespace
