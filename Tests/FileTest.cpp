#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "FilePrivate.h"
#include "Ostra/BlockCache.h"
#include "Ostra/File.h"
#include "Ostra/Result.h"
#include "Support/FileFixture.h"
#include "Support/Watchdog.h"
#include "strata/Debug.h"

namespace {

using namespace OstraTest::FileSupport;
using Ostra::UTF16String;

void SleepMs(int inMilliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(inMilliseconds));
}

// ----------------------------------------------------------- cached reads

TEST_F(FileTest, CachedReadsCopyExactBytesAtBlockEdgesAndEnd) {
  const std::uint64_t size = 3 * kBlock + 1234;
  const UTF16String path = MakeFile(L"data.bin", Pattern(0, size));
  InstallRecordingFactory();
  File file;
  ASSERT_EQ(Ostra::kSuccess, OpenCached(file, path));

  const struct {
    std::uint64_t position;
    std::uint32_t count;
    std::uint32_t expected;
  } cases[] = {
      {0, 100, 100},                              // inside the first block
      {kBlock - 10, 20, 20},                      // across one boundary
      {kBlock - 1, 2 * kBlock + 2, 2 * kBlock + 2},  // across two boundaries
      {2 * kBlock, kBlock, kBlock},               // exactly one whole block
      {size - 5, 100, 5},                         // cut at the end
      {size, 10, 0},                              // at the end
      {3 * kBlock, 1234, 1234},                   // the short last block, exactly
      {0, 0, 0},                                  // nothing asked
  };
  for (const auto& row : cases) {
    SCOPED_TRACE("position " + std::to_string(row.position) + " count " +
                 std::to_string(row.count));
    ASSERT_EQ(Ostra::kSuccess,
              file.SetFilePointer(static_cast<std::int64_t>(row.position),
                                  Ostra::FilePointerMoveMethod::kBegin));
    std::string buffer(row.count + 16, '\x5A');
    std::uint32_t read = 77;
    ASSERT_EQ(Ostra::kSuccess, file.Read(&buffer[0], row.count, read));
    ASSERT_EQ(row.expected, read);
    EXPECT_EQ(Pattern(row.position, read), buffer.substr(0, read));
    EXPECT_EQ(std::string(buffer.size() - read, '\x5A'), buffer.substr(read))
        << "bytes written beyond what was read";
    std::int64_t position = -1;
    EXPECT_EQ(Ostra::kSuccess, file.GetFilePointer(position));
    EXPECT_EQ(static_cast<std::int64_t>(row.position + read), position);
  }
}

TEST_F(FileTest, SmallSequentialReadsAskTheCacheOncePerBlock) {
  const std::uint64_t size = 2 * kBlock + 100;
  const UTF16String path = MakeFile(L"seq.bin", Pattern(0, size));
  InterfaceRef<RecordingFactory> factory = InstallRecordingFactory();
  {
    File file;
    ASSERT_EQ(Ostra::kSuccess, OpenCached(file, path));
    EXPECT_EQ(Pattern(0, size), ReadAll(file, 4096));
    const std::vector<std::string> expected = {"get 0", "get 65536", "get 131072"};
    EXPECT_EQ(expected, factory->mLast->Calls("get")) << "the last block was not reused";
    EXPECT_EQ(3u, factory->mLast->Calls("add").size());
    EXPECT_EQ(size, factory->mLast->mSize);
    EXPECT_EQ(path, factory->mLast->mPath);
  }
  {
    // A second File gets its own buffer; one that keeps the first's blocks
    // serves every block from memory.
    InterfaceRef<RecordingBuffer> first = factory->mLast;
    File file;
    ASSERT_EQ(Ostra::kSuccess, OpenCached(file, path));
    factory->mLast->mBlocks = first->mBlocks;
    EXPECT_EQ(Pattern(0, size), ReadAll(file, 5000));
    EXPECT_TRUE(factory->mLast->Calls("add").empty()) << "a cached block was read again";
  }
}

TEST_F(FileTest, CacheThatAlwaysMissesStillReadsCorrectly) {
  const std::uint64_t size = 3 * kBlock + 7;
  const UTF16String path = MakeFile(L"miss.bin", Pattern(0, size));
  InterfaceRef<RecordingFactory> factory = InstallRecordingFactory(true);
  File file;
  ASSERT_EQ(Ostra::kSuccess, OpenCached(file, path));
  EXPECT_EQ(Pattern(0, size), ReadAll(file, 3000));
  EXPECT_EQ(4u, factory->mLast->Calls("add").size());
  // Backwards: every block comes from disk again, through the file pointer.
  std::string chunk(kBlock, '\0');
  for (int block = 3; block >= 0; --block) {
    SCOPED_TRACE(block);
    ASSERT_EQ(Ostra::kSuccess, file.SetFilePointer(block * std::int64_t(kBlock) + 3,
                                                   Ostra::FilePointerMoveMethod::kBegin));
    std::uint32_t read = 0;
    ASSERT_EQ(Ostra::kSuccess, file.Read(&chunk[0], 10, read));
    EXPECT_EQ(Pattern(block * std::uint64_t(kBlock) + 3, read), chunk.substr(0, read));
  }
}

TEST_F(FileTest, ZeroByteAndChangingFilesGiveClearResults) {
  const UTF16String empty = MakeFile(L"empty.bin", "");
  InstallRecordingFactory();
  {
    File file;
    ASSERT_EQ(Ostra::kSuccess, OpenCached(file, empty));
    char buffer[16];
    std::uint32_t read = 5;
    EXPECT_EQ(Ostra::kSuccess, file.Read(buffer, sizeof buffer, read));
    EXPECT_EQ(0u, read);
    EXPECT_EQ(0u, file.SizeOnDisk());
  }
  // A cached File shared with a writer (kAllowCaching): the file shrinks
  // under it. Reads stop short or give what the disk has; never stale memory.
  const std::uint64_t size = 2 * kBlock;
  const UTF16String path = MakeFile(L"shrink.bin", Pattern(0, size));
  File file;
  ASSERT_EQ(Ostra::kSuccess, OpenBesideWriters(file, path));
  EXPECT_EQ(size, file.SizeOnDisk());
  Resize(path, kBlock + 100);

  EXPECT_EQ(size, file.SizeOnDisk()) << "a cached File keeps the size it saw";
  std::string buffer(size, '\0');
  std::uint32_t read = 0;
  ASSERT_EQ(Ostra::kSuccess, file.Read(&buffer[0], static_cast<std::uint32_t>(size), read));
  EXPECT_EQ(kBlock + 100, read);
  EXPECT_EQ(Pattern(0, read), buffer.substr(0, read));
}

TEST_F(FileTest, PinningKeepsNewestBlocksAndCloseUnpinsThem) {
  const UTF16String path = MakeFile(L"pin.bin", Pattern(0, 4 * kBlock));
  InterfaceRef<RecordingFactory> factory = InstallRecordingFactory();
  InterfaceRef<RecordingBuffer> buffer;
  {
    File file;
    file.SetMultiBufferCount(2);
    ASSERT_EQ(Ostra::kSuccess, OpenCached(file, path));
    buffer = factory->mLast;
    ReadAll(file, kBlock / 2);
    const std::vector<std::string> whileReading = {"pin 0",      "pin 65536",  "unpin 0",
                                                   "pin 131072", "unpin 65536", "pin 196608"};
    EXPECT_EQ(whileReading, buffer->PinCalls());
    buffer->ClearLog();
    file.Close();
    const std::vector<std::string> onClose = {"unpin 131072", "unpin 196608"};
    EXPECT_EQ(onClose, buffer->PinCalls()) << "Close must unpin the oldest first";
    buffer->ClearLog();
  }
  EXPECT_TRUE(buffer->PinCalls().empty()) << "the destructor unpinned again";
  factory->mLast.Reset();
  EXPECT_EQ(1, buffer->GetRefCount()) << "the File kept its buffer after Close";

  // With the debug option off the count is ignored.
  strata::debug::DebugDatabase::SetOption("Ostra.UseNonPurgeable", "false");
  File file;
  file.SetMultiBufferCount(2);
  ASSERT_EQ(Ostra::kSuccess, OpenCached(file, path));
  ReadAll(file, kBlock);
  EXPECT_TRUE(factory->mLast->PinCalls().empty());
}

// ------------------------------------------------------------ read-ahead

// Waits (bounded) until inDone holds: read-ahead works on its own thread.
template <class Condition>
bool Eventually(Condition inDone) {
  for (int i = 0; i < 1000 && !inDone(); ++i) SleepMs(5);
  return inDone();
}

// The most blocks the pin calls of inCalls ("pin N"/"unpin N") ever kept pinned.
std::size_t MostPinned(const std::vector<std::string>& inCalls) {
  std::size_t pinned = 0, most = 0;
  for (const std::string& call : inCalls) {
    pinned = call.compare(0, 3, "pin") == 0 ? pinned + 1 : pinned - 1;
    most = std::max(most, pinned);
  }
  return most;
}

TEST_F(FileTest, ReadAheadReadsSequentialBlocksEarlyAndNothingExtraOnJumps) {
  const std::uint64_t blocks = 12;
  const std::uint64_t size = blocks * kBlock + 100;
  const UTF16String path = MakeFile(L"ahead.bin", Pattern(0, size));
  const std::int64_t block = kBlock;
  // Reads as (position, count).
  const struct {
    const char* what;
    std::vector<std::pair<std::int64_t, std::uint32_t>> reads;
    std::uint64_t blocksTouched;
    bool readsAhead;
  } patterns[] = {
      {"backwards", {{9 * block, 10}, {7 * block + 5, 100}, {5 * block, 10}, {2 * block, 3}, {0, 1}},
       5, false},
      {"strides of two blocks", {{0, 10}, {2 * block, 10}, {4 * block, 10}, {6 * block + 7, 10}},
       4, false},
      {"the same block again and again", {{3 * block, 10}, {3 * block + 100, 10}, {3 * block, 10}},
       1, false},
      {"two blocks, then a jump back", {{0, 10}, {block, 10}, {0, 10}, {5 * block, 10}}, 3, true},
  };
  for (std::uint32_t ahead : {0u, 3u}) {
    for (const auto& pattern : patterns) {
      SCOPED_TRACE(std::string(pattern.what) + ", read-ahead " + std::to_string(ahead));
      InterfaceRef<RecordingFactory> factory = InstallRecordingFactory();
      const std::uint64_t readAheadBefore = Ostra::Internal::CountBlocksReadAhead();
      File file;
      file.SetReadAhead(ahead);
      ASSERT_EQ(Ostra::kSuccess, OpenCached(file, path));
      for (const auto& read : pattern.reads) {
        ASSERT_EQ(Ostra::kSuccess, file.SetFilePointer(read.first, Ostra::FilePointerMoveMethod::kBegin));
        std::string buffer(read.second, '\0');
        std::uint32_t got = 0;
        ASSERT_EQ(Ostra::kSuccess, file.Read(&buffer[0], read.second, got));
        EXPECT_EQ(Pattern(static_cast<std::uint64_t>(read.first), read.second), buffer);
      }
      // A read wrongly queued would show up by now.
      SleepMs(50);
      file.Close();
      const std::uint64_t readAhead = Ostra::Internal::CountBlocksReadAhead() - readAheadBefore;
      EXPECT_EQ(pattern.blocksTouched, factory->mLast->Calls("add").size());
      if (ahead && pattern.readsAhead) {
        EXPECT_GE(ahead, readAhead);
      } else {
        EXPECT_EQ(0u, readAhead) << "a block read that nobody asked for";
      }
      EXPECT_EQ(0, factory->mLast->mCallsFromOtherThreads.load());
    }
  }

  // Reading straight through: the blocks ahead are looked up in the cache
  // when they are queued and read on the read-ahead thread; each reaches
  // the cache once, from this thread, and the pins stay within the count.
  InterfaceRef<RecordingFactory> factory = InstallRecordingFactory();
  const std::uint64_t readAheadBefore = Ostra::Internal::CountBlocksReadAhead();
  File file;
  file.SetReadAhead(4);
  file.SetMultiBufferCount(2);
  ASSERT_EQ(Ostra::kSuccess, OpenCached(file, path));
  std::string head(kBlock + 10, '\0');
  std::uint32_t read = 0;
  ASSERT_EQ(Ostra::kSuccess, file.Read(&head[0], kBlock + 10, read));  // blocks 0 and 1
  InterfaceRef<RecordingBuffer> buffer = factory->mLast;
  const std::vector<std::string> lookups = {"get 0",      "get 131072", "get 196608",
                                            "get 262144", "get 327680", "get 65536"};
  EXPECT_EQ(lookups, buffer->Calls("get"));
  EXPECT_TRUE(Eventually([&] { return Ostra::Internal::CountBlocksReadAhead() - readAheadBefore == 4; }))
      << Ostra::Internal::CountBlocksReadAhead() - readAheadBefore << " blocks read ahead";
  EXPECT_EQ(Pattern(0, read), head.substr(0, read));
  const std::uint32_t headRead = read;
  EXPECT_EQ(Pattern(headRead, size - headRead), ReadAll(file, 3000));
  EXPECT_EQ(blocks + 1, buffer->Calls("add").size()) << "a block was added twice or not at all";
  EXPECT_EQ(2u, MostPinned(buffer->PinCalls()));
  EXPECT_EQ(0, buffer->mCallsFromOtherThreads.load());
}

// A host that holds its own lock around Read and takes it in its cache: no
// call may come from another thread (it would wait for the lock while Read
// waits for it), and none may begin while another is running.
TEST_F(FileTest, ReadAheadCallsTheCacheOnlyFromTheReadingThreadOneAtATime) {
  OstraTest::Watchdog watchdog("a host lock around Read and the cache", std::chrono::seconds(60));
  const std::uint64_t size = 40 * kBlock + 3;
  const UTF16String path = MakeFile(L"lock.bin", Pattern(0, size));
  std::recursive_mutex hostLock;
  for (bool alwaysMiss : {true, false}) {
    SCOPED_TRACE(alwaysMiss ? "cache always misses" : "cache keeps blocks");
    InterfaceRef<RecordingFactory> factory = InstallRecordingFactory(alwaysMiss);
    File file;
    file.SetReadAhead(8);
    file.SetMultiBufferCount(3);
    ASSERT_EQ(Ostra::kSuccess, OpenCached(file, path));
    factory->mLast->mHostLock = &hostLock;
    std::string all;
    for (int pass = 0; pass < 2; ++pass) {
      ASSERT_EQ(Ostra::kSuccess, file.SetFilePointer(0, Ostra::FilePointerMoveMethod::kBegin));
      all.clear();
      std::string chunk(7000, '\0');
      for (;;) {
        std::uint32_t read = 0;
        std::lock_guard<std::recursive_mutex> lock(hostLock);
        ASSERT_EQ(Ostra::kSuccess, file.Read(&chunk[0], 7000, read));
        if (read == 0) break;
        all.append(chunk, 0, read);
      }
      EXPECT_TRUE(all == Pattern(0, size)) << "pass " << pass;
    }
    {
      std::lock_guard<std::recursive_mutex> lock(hostLock);
      file.Close();
    }
    EXPECT_EQ(0, factory->mLast->mCallsFromOtherThreads.load());
    EXPECT_EQ(0, factory->mLast->mOverlappingCalls.load());
  }
}

TEST_F(FileTest, ReadAheadEndsWithCloseAndNeverChangesWhatReadReturns) {
  const std::uint64_t size = 24 * kBlock + 300;
  const UTF16String path = MakeFile(L"close.bin", Pattern(0, size));
  // Close and the destructor while blocks are queued and being read; the
  // fixture checks that no handle is left and the folder can go.
  for (bool destroy : {false, true}) {
    SCOPED_TRACE(destroy ? "destructor" : "Close");
    InterfaceRef<RecordingFactory> factory = InstallRecordingFactory();
    std::unique_ptr<File> file(new File);
    file->SetReadAhead(16);
    ASSERT_EQ(Ostra::kSuccess, OpenCached(*file, path));
    std::string head(2 * kBlock, '\0');
    std::uint32_t read = 0;
    ASSERT_EQ(Ostra::kSuccess, file->Read(&head[0], 2 * kBlock, read));
    if (destroy) {
      file.reset();
    } else {
      file->Close();
    }
    const std::uint64_t readAhead = Ostra::Internal::CountBlocksReadAhead();
    SleepMs(20);
    EXPECT_EQ(readAhead, Ostra::Internal::CountBlocksReadAhead()) << "a read after Close";
    EXPECT_EQ(1, factory->mLast->GetRefCount()) << "read-ahead kept the buffer";
  }

  // A cache that finds nothing, and a file cut short under a File that lets
  // writers in (read-ahead then reads short blocks and nothing past the
  // new end): the same bytes, read by read, with and without read-ahead.
  for (bool shrink : {false, true}) {
    std::vector<std::string> expected;
    for (std::uint32_t ahead : {0u, 5u}) {
      SCOPED_TRACE(std::string(shrink ? "file cut short" : "cache always misses") +
                   ", read-ahead " + std::to_string(ahead));
      const UTF16String errorsPath = MakeFile(
          L"errors" + strata::string::StdToUTF16String(std::to_string(ahead)) + L".bin",
          Pattern(0, 10 * kBlock));
      InstallRecordingFactory(!shrink);
      File file;
      file.SetReadAhead(ahead);
      ASSERT_EQ(Ostra::kSuccess, OpenBesideWriters(file, errorsPath));
      if (shrink) Resize(errorsPath, 4 * kBlock + 77);
      // Each read as its length and whether its bytes are the file's.
      std::vector<std::string> reads;
      std::string chunk(5000, '\0');
      std::uint64_t position = 0;
      for (int i = 0; i < 140; ++i) {
        std::uint32_t read = 0;
        ASSERT_EQ(Ostra::kSuccess, file.Read(&chunk[0], 5000, read));
        const bool exact = chunk.compare(0, read, Pattern(position, read)) == 0;
        reads.push_back(std::to_string(read) + (exact ? "" : " not the file's bytes"));
        position += read;
      }
      // Past a cut the File gives zeros up to the size it saw, as it always did.
      if (!shrink) {
        EXPECT_EQ(10 * kBlock, position);
      }
      if (ahead == 0) {
        expected = reads;
      } else {
        EXPECT_EQ(expected, reads) << "read-ahead changed what Read returned";
      }
    }
  }
}

// ---------------------------------------------------------- the pointer

TEST_F(FileTest, CachedPointerMovesAreClampedAndEndCountsBackForBothSigns) {
  const UTF16String path = MakeFile(L"ptr.bin", Pattern(0, 1000));
  InstallRecordingFactory();
  File file;
  ASSERT_EQ(Ostra::kSuccess, OpenCached(file, path));
  using Method = Ostra::FilePointerMoveMethod;
  const struct {
    std::int64_t distance;
    Method::Type method;
    std::int64_t expected;
  } cases[] = {
      {10, Method::kBegin, 10},       {5, Method::kCurrent, 15},
      {-20, Method::kCurrent, 0},     {5, Method::kEnd, 995},
      {-5, Method::kEnd, 995},        {0, Method::kEnd, 1000},
      {2000, Method::kEnd, 0},        {1001, Method::kBegin, 1000},
      {-1, Method::kBegin, 0},        {INT64_MAX, Method::kCurrent, 1000},
      {INT64_MIN, Method::kCurrent, 0},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(std::to_string(row.distance) + " method " + std::to_string(row.method));
    ASSERT_EQ(Ostra::kSuccess, file.SetFilePointer(row.distance, row.method));
    std::int64_t position = -1;
    ASSERT_EQ(Ostra::kSuccess, file.GetFilePointer(position));
    EXPECT_EQ(row.expected, position);
  }
  // 3: the one value beyond the methods that the enumeration can hold.
  EXPECT_EQ(Ostra::eUnknown, file.SetFilePointer(0, static_cast<Method::Type>(3)));
}

// ------------------------------------------------ the cache decision

TEST_F(FileTest, OnlyReadOnlyFilesWithoutWritersAreCached) {
  const UTF16String path = MakeFile(L"decide.bin", Pattern(0, 100));
  InterfaceRef<RecordingFactory> factory = InstallRecordingFactory();
  using Access = Ostra::FileAccessFlags;
  using Share = Ostra::FileShareModeFlags;
  using Attributes = Ostra::FileAttributesFlags;
  const struct {
    Access::Type access;
    Share::Type share;
    Attributes::Type attributes;
    bool cached;
  } cases[] = {
      {Access::kFileRead, Share::kShareRead, Attributes::kNormal, true},
      {Access::kFileRead, Share::kShareRead | Share::kShareDelete, Attributes::kSequentialScan, true},
      {Access::kFileRead, Share::kShareRead | Share::kShareWrite, Attributes::kNormal, false},
      {Access::kFileRead, Share::kShareRead | Share::kShareWrite,
       Attributes::kNormal | Attributes::kAllowCaching, true},
      {Access::kFileRead, Share::kShareRead, Attributes::kNoBuffering, false},
      {Access::kFileRead | Access::kFileWrite, Share::kShareRead, Attributes::kNormal, false},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(std::to_string(row.access) + "/" + std::to_string(row.share) + "/" +
                 std::to_string(row.attributes));
    const int before = factory->mCreated;
    File file;
    ASSERT_EQ(Ostra::kSuccess, file.Create(path, row.access, row.share,
                                           Ostra::FileCreateDispositionFlags::kOpenExisting,
                                           row.attributes, false));
    EXPECT_EQ(row.cached ? before + 1 : before, factory->mCreated);
  }
}

TEST_F(FileTest, BlockSizeHasAFloorAndGrowsForLargeFiles) {
  const UTF16String small = MakeFile(L"small.bin", Pattern(0, 1000));
  const UTF16String large = MakeFile(L"large.bin", Pattern(0, 0x400001));
  InterfaceRef<RecordingFactory> factory = InstallRecordingFactory();
  const struct {
    const UTF16String* path;
    std::uint32_t setSize;  // 0: not set
    std::uint32_t expected;
  } cases[] = {
      {&small, 0, kBlock},         {&large, 0, 0x200000},    {&small, 4096, kBlock},
      {&large, 0x20000, 0x20000},  {&small, 0x30000, 0x30000},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(std::to_string(row.setSize));
    File file;
    ASSERT_EQ(Ostra::kSuccess, OpenCached(file, *row.path, row.setSize));
    char byte;
    std::uint32_t read = 0;
    ASSERT_EQ(Ostra::kSuccess, file.Read(&byte, 1, read));
    EXPECT_EQ(row.expected, factory->mLast->mLastGetSize);
  }
}

TEST_F(FileTest, ReplacingTheFactoryLeavesAnOpenFileOnItsBuffer) {
  const std::uint64_t size = 3 * kBlock;
  const UTF16String path = MakeFile(L"swap.bin", Pattern(0, size));
  InterfaceRef<RecordingFactory> first = InstallRecordingFactory();
  File file;
  ASSERT_EQ(Ostra::kSuccess, OpenCached(file, path));
  std::string buffer(kBlock, '\0');
  std::uint32_t read = 0;
  ASSERT_EQ(Ostra::kSuccess, file.Read(&buffer[0], kBlock, read));

  InterfaceRef<RecordingFactory> second = InstallRecordingFactory();
  Ostra::Foundation::SetFileBufferFactory({});
  ASSERT_EQ(Ostra::kSuccess, file.Read(&buffer[0], kBlock, read));
  EXPECT_EQ(Pattern(kBlock, kBlock), buffer);
  EXPECT_EQ(2u, first->mLast->Calls("add").size());
  EXPECT_EQ(0, second->mCreated);

  // Reopening decides again: no factory now, so the File is direct.
  file.Close();
  ASSERT_EQ(Ostra::kSuccess, OpenCached(file, path));
  EXPECT_EQ(1, first->mCreated);
  EXPECT_EQ(Pattern(0, size), ReadAll(file, 10000));
}

// ------------------------------------------------ bad input and misuse

TEST_F(FileTest, ClosedFileOperationsAssertOnceAndReturnFileNotFound) {
  std::vector<std::string> messages;
  strata::debug::SetDialogHook([&](const strata::debug::DialogInfo& inInfo) {
    messages.push_back(inInfo.message);
    return strata::debug::DialogAction::kContinue;
  });
  File file;
  for (int pass = 0; pass < 2; ++pass) {
    std::int64_t position = 0;
    std::uint64_t time = 0;
    std::uint32_t count = 0;
    EXPECT_EQ(Ostra::eFileNotFound, file.SetFilePointer(0, Ostra::FilePointerMoveMethod::kBegin));
    EXPECT_EQ(Ostra::eFileNotFound, file.GetFilePointer(position));
    EXPECT_EQ(0u, file.SizeOnDisk());
    EXPECT_EQ(Ostra::FileSystemType::kUnknown, file.GetFileSystemType());
    EXPECT_EQ(Ostra::eFileNotFound, file.Write("x", 1, count));
    EXPECT_EQ(Ostra::eFileNotFound, file.Flush());
    EXPECT_EQ(Ostra::eFileNotFound, file.SetEndOfFile());
    EXPECT_EQ(Ostra::eFileNotFound, file.GetLastModificationTime(time));
    EXPECT_EQ(Ostra::eFileNotFound, file.GetCreationTime(time));
    char byte;
    EXPECT_EQ(Ostra::eFileNotFound, file.Read(&byte, 1, count));
  }
  strata::debug::SetDialogHook({});
  std::vector<std::string> expected;
  for (const char* call : {"SetFilePointer", "GetFilePointer", "SizeOnDisk", "GetFileSystemType",
                           "Write", "Flush", "SetEndOfFile", "GetLastModificationTime",
                           "GetCreationTime"})
    expected.push_back(std::string(call) +
                       " called on a File that isn't open. Please report this error.");
  EXPECT_EQ(expected, messages);
}

// ------------------------------------------------------ shared reads

// Threads of ReadAt on one SharedFile, and beside them Files of their own
// reading straight through with read-ahead, all on one small BlockCache.
TEST_F(FileTest, ConcurrentReadAtAndReadAheadReturnExactBytesWithoutMovingThePosition) {
  OstraTest::Watchdog watchdog("ReadAt and read-ahead threads on one cache",
                               std::chrono::seconds(60));
  const std::uint64_t size = 40 * kBlock + 321;
  const UTF16String path = MakeFile(L"shared.bin", Pattern(0, size));
  // A budget of a few blocks forces evictions and re-reads while threads race.
  InterfaceRef<Ostra::BlockCache> cache = Ostra::BlockCache::Create(6 * kBlock);
  for (bool cached : {true, false}) {
    SCOPED_TRACE(cached ? "cached" : "direct");
    Ostra::Foundation::SetFileBufferFactory(
        cached ? InterfaceRef<Ostra::IFileBufferFactory>(cache) : InterfaceRef<Ostra::IFileBufferFactory>());
    SharedFile file;
    file.SetMultiBufferCount(2);
    ASSERT_EQ(Ostra::kSuccess, OpenCached(file, path));
    ASSERT_EQ(Ostra::kSuccess, file.SetFilePointer(17, Ostra::FilePointerMoveMethod::kBegin));

    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
      threads.emplace_back([&, t] {
        std::uint64_t seed = 0x9E3779B97F4A7C15ull * (t + 1);
        std::string buffer(3 * kBlock, '\0');
        for (int i = 0; i < 300; ++i) {
          seed = seed * 6364136223846793005ull + 1442695040888963407ull;
          const std::uint64_t offset = (seed >> 20) % (size + 100);
          const std::uint32_t count = static_cast<std::uint32_t>((seed >> 8) % buffer.size());
          std::uint32_t read = 0;
          const Ostra::Result result =
              file.ReadAt(&buffer[0], static_cast<std::int64_t>(offset), count, read);
          const std::uint32_t expected = offset >= size ? 0
              : static_cast<std::uint32_t>(std::min<std::uint64_t>(count, size - offset));
          if (result != Ostra::kSuccess || read != expected ||
              buffer.compare(0, read, Pattern(offset, read)) != 0)
            ++failures;
        }
      });
    }
    // Streams of their own: they read ahead, and meet the ReadAt threads'
    // blocks in the cache.
    for (int t = 0; t < 2; ++t) {
      threads.emplace_back([&, t] {
        File stream;
        stream.SetReadAhead(4);
        if (OpenCached(stream, path) != Ostra::kSuccess) {
          ++failures;
          return;
        }
        std::string chunk(5000 + 3000 * t, '\0');
        std::uint64_t position = 0;
        for (;;) {
          std::uint32_t read = 0;
          if (stream.Read(&chunk[0], static_cast<std::uint32_t>(chunk.size()), read) !=
                  Ostra::kSuccess ||
              chunk.compare(0, read, Pattern(position, read)) != 0) {
            ++failures;
            return;
          }
          if (read == 0) break;
          position += read;
        }
        if (position != size) ++failures;
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, failures.load());
    // Only the cached position is ReadAt's to keep: Windows moves the
    // pointer of a synchronous handle even for a read at an offset.
    std::int64_t position = 0;
    ASSERT_EQ(Ostra::kSuccess, file.GetFilePointer(position));
    if (cached) {
      EXPECT_EQ(17, position) << "ReadAt moved the File's position";
    }
    char byte;
    std::uint32_t read = 0;
    EXPECT_EQ(Ostra::eUnknown, file.ReadAt(&byte, -1, 1, read));
  }
  const Ostra::BlockCacheStatistics statistics = cache->GetStatistics();
  EXPECT_GT(statistics.hits, 0u);
  EXPECT_GT(statistics.evictions, 0u);
  EXPECT_EQ(0u, statistics.pinnedBlocks) << "Close left blocks pinned";
  EXPECT_LE(statistics.bytes, 6u * kBlock);
}

}  // namespace
