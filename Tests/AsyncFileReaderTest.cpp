#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "Ostra/AsyncFileReader.h"
#include "Ostra/Foundation.h"
#include "Ostra/Result.h"
#include "Support/TempDirectoryTest.h"
#include "Support/TraceCapture.h"
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

void SlowCallback(const AsyncFileReader* inReader, std::uint64_t inOffset,
                  std::uint32_t inRequested, std::uint32_t inRead, void* inBuffer,
                  void* inCompletions, void* inC2, void* inC3, int inResult) {
  ::Sleep(2);
  CheckingCallback(inReader, inOffset, inRequested, inRead, inBuffer, inCompletions, inC2, inC3,
                   inResult);
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

struct ContractCase {
  const char* name;
  void (*misuse)(const std::wstring& inFile);
  const char* condition;
  int line;
};

TEST_F(AsyncFileReaderTest, MisuseRaisesInputContractNamingConditionAndLine) {
  const std::wstring file = MakePatternFile(L"data.bin", 64 * 1024);
  const ContractCase cases[] = {
      {"queue on a never-opened reader",
       [](const std::wstring&) {
         AsyncFileReader reader;
         reader.QueueReadRequest(0, 4096, nullptr, nullptr, nullptr, nullptr, nullptr);
       },
       "mImpl->mFileHandle != INVALID_HANDLE_VALUE", 193},
      {"open an open reader",
       [](const std::wstring& inFile) {
         AsyncFileReader reader;
         AsyncFileReader::Open(inFile, reader);
         AsyncFileReader::Open(inFile, reader);
       },
       "ioOpenedAsyncFileReader.mImpl->mFileHandle == INVALID_HANDLE_VALUE", 240},
      {"open a closed reader",
       [](const std::wstring& inFile) {
         AsyncFileReader reader;
         AsyncFileReader::Open(inFile, reader);
         reader.Close();
         AsyncFileReader::Open(inFile, reader);
       },
       "!ioOpenedAsyncFileReader.mImpl->mExecutor", 241},
      {"start twice", [](const std::wstring&) { Ostra::StartupAsyncFileOperations(); },
       "sCompletionPort == NULL", 91},
  };
  for (const ContractCase& test : cases) {
    SCOPED_TRACE(test.name);
    std::vector<strata::debug::DialogInfo> dialogs;
    strata::debug::DialogHook previous =
        strata::debug::SetDialogHook([&dialogs](const strata::debug::DialogInfo& inInfo) {
          dialogs.push_back(inInfo);
          return strata::debug::DialogAction::kContinue;
        });
    EXPECT_THROW(test.misuse(file), strata::config::strata_exception);
    strata::debug::SetDialogHook(previous);
    ASSERT_EQ(1u, dialogs.size());
    EXPECT_EQ(strata::debug::DialogKind::kInputContract, dialogs[0].kind);
    EXPECT_EQ(test.condition, dialogs[0].condition);
    EXPECT_EQ("WinAsyncFileReader", dialogs[0].file);
    EXPECT_EQ(test.line, dialogs[0].line);
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

// Each completion queues the next read until the chain is long enough.
struct Chain {
  AsyncFileReader* reader;
  char* buffer;
  std::uint32_t sector;
  Completions completions;
  int length;
};

void ChainCallback(const AsyncFileReader* inReader, std::uint64_t inOffset,
                   std::uint32_t inRequested, std::uint32_t inRead, void* inBuffer,
                   void* inChain, void*, void*, int inResult) {
  Chain& chain = *static_cast<Chain*>(inChain);
  CheckingCallback(inReader, inOffset, inRequested, inRead, inBuffer, &chain.completions, nullptr,
                   nullptr, inResult);
  if (chain.completions.count < chain.length)
    chain.reader->QueueReadRequest(inOffset + chain.sector, chain.sector, chain.buffer,
                                   &ChainCallback, &chain, nullptr, nullptr);
}

TEST_F(AsyncFileReaderTest, CallbackMayQueueFurtherReads) {
  const std::wstring file = MakePatternFile(L"data.bin", 1024 * 1024);
  AsyncFileReader reader;
  ASSERT_EQ(Ostra::kSuccess, AsyncFileReader::Open(file, reader));
  AlignedBuffer memory(reader.GetDiskSectorSize());
  Chain chain{&reader, memory.Get(), reader.GetDiskSectorSize(), {}, 100};
  reader.QueueReadRequest(0, chain.sector, chain.buffer, &ChainCallback, &chain, nullptr, nullptr);
  // A wait can end between two links of the chain; it never ends while
  // a link's read is busy.
  for (int i = 0; i < 1000 && chain.completions.count < chain.length; ++i)
    reader.WaitForPendingReads();
  EXPECT_EQ(chain.length, chain.completions.count.load());
  EXPECT_EQ(0, chain.completions.wrongData.load());
}

TEST_F(AsyncFileReaderTest, CloseAndDestructorWaitForReadsInFlightAndTheirCallbacks) {
  const std::wstring file = MakePatternFile(L"data.bin", 1024 * 1024);
  for (const bool destroy : {false, true}) {
    SCOPED_TRACE(destroy ? "destructor" : "Close");
    Completions completions;
    const int kReads = 200;
    // The buffers must outlive the reader, whose destructor waits.
    AlignedBuffer memory(kReads * std::size_t(64 * 1024));
    {
      AsyncFileReader reader;
      ASSERT_EQ(Ostra::kSuccess, AsyncFileReader::Open(file, reader));
      const std::uint32_t sector = reader.GetDiskSectorSize();
      ASSERT_LE(sector, 64u * 1024);
      for (int i = 0; i < kReads; ++i)
        reader.QueueReadRequest(std::uint64_t(i) * sector, sector, memory.Get() + i * sector,
                                &SlowCallback, &completions, nullptr, nullptr);
      if (!destroy) {
        reader.Close();
        EXPECT_EQ(kReads, completions.count.load());
        reader.Close();  // nothing to do
      }
    }
    EXPECT_EQ(kReads, completions.count.load());
    EXPECT_EQ(0, completions.wrongData.load());
  }
}

TEST_F(AsyncFileReaderTest, ReadPastEndReportsMappedErrorWithNoBytes) {
  const std::wstring file = MakePatternFile(L"data.bin", 64 * 1024);
  AsyncFileReader reader;
  ASSERT_EQ(Ostra::kSuccess, AsyncFileReader::Open(file, reader));
  AlignedBuffer memory(reader.GetDiskSectorSize());
  Completions completions;
  int context2 = 0;
  reader.QueueReadRequest(1024 * 1024, reader.GetDiskSectorSize(), memory.Get(),
                          &CheckingCallback, &completions, &context2, nullptr);
  reader.WaitForPendingReads();
  ASSERT_EQ(1, completions.count.load());
  EXPECT_EQ(Ostra::Win::SystemErrorToOstraResult(ERROR_HANDLE_EOF), completions.lastResult.load());
  EXPECT_EQ(0u, completions.lastBytes.load());
}

TEST_F(AsyncFileReaderTest, MisalignedReadsReachTheCallbackAsSystemErrors) {
  const std::wstring file = MakePatternFile(L"data.bin", 64 * 1024);
  AsyncFileReader reader;
  ASSERT_EQ(Ostra::kSuccess, AsyncFileReader::Open(file, reader));
  const std::uint32_t sector = reader.GetDiskSectorSize();
  AlignedBuffer memory(4 * sector);
  struct Misaligned {
    const char* name;
    std::uint64_t offset;
    std::uint32_t size;
    std::size_t bufferShift;
  } const cases[] = {{"offset", 1, sector, 0}, {"size", 0, sector + 1, 0}, {"buffer", 0, sector, 1}};
  for (const Misaligned& test : cases) {
    SCOPED_TRACE(test.name);
    Completions completions;
    reader.QueueReadRequest(test.offset, test.size, memory.Get() + test.bufferShift,
                            &CheckingCallback, &completions, nullptr, nullptr);
    reader.WaitForPendingReads();
    ASSERT_EQ(1, completions.count.load());
    if (completions.lastResult == Ostra::kSuccess)
      GTEST_SKIP() << "Wine does not enforce sector alignment on unbuffered reads";
    EXPECT_EQ(0u, completions.lastBytes.load());
  }
}

TEST_F(AsyncFileReaderTest, TwoReadersOnOneFileFromTwoThreadsEachGetTheirOwnData) {
  const std::uint64_t kFileSize = 2 * 1024 * 1024;
  const std::wstring file = MakePatternFile(L"data.bin", kFileSize);
  AsyncFileReader first, second;
  ASSERT_EQ(Ostra::kSuccess, AsyncFileReader::Open(file, first));
  ASSERT_EQ(Ostra::kSuccess, AsyncFileReader::Open(file, second));
  const std::uint32_t kChunk = 64 * 1024;
  const int kChunks = static_cast<int>(kFileSize / kChunk);
  Completions firstSeen, secondSeen;
  AlignedBuffer firstMemory(kFileSize), secondMemory(kFileSize);
  auto readAll = [&](AsyncFileReader& ioReader, char* inMemory, Completions& ioSeen, bool inBackwards) {
    for (int round = 0; round < 4; ++round) {
      for (int i = 0; i < kChunks; ++i) {
        const int chunk = inBackwards ? kChunks - 1 - i : i;
        ioReader.QueueReadRequest(std::uint64_t(chunk) * kChunk, kChunk, inMemory + chunk * kChunk,
                                  &CheckingCallback, &ioSeen, nullptr, nullptr);
      }
      ioReader.WaitForPendingReads();
    }
  };
  std::thread other([&] { readAll(second, secondMemory.Get(), secondSeen, true); });
  readAll(first, firstMemory.Get(), firstSeen, false);
  other.join();
  for (Completions* seen : {&firstSeen, &secondSeen}) {
    EXPECT_EQ(4 * kChunks, seen->count.load());
    EXPECT_EQ(0, seen->wrongData.load());
    EXPECT_EQ(0, seen->failures.load());
  }
}

}  // namespace
