#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "BlockCachePrivate.h"
#include "Ostra/BlockCache.h"
#include "Ostra/File.h"
#include "Ostra/Result.h"
#include "Support/TempFiles.h"
#include "Support/Watchdog.h"

namespace {

using Ostra::BlockCache;
using Ostra::IFileBuffer;
using Ostra::SharedBlock;
using strata::classref::InterfaceRef;

const std::uint32_t kSize = 4096;

unsigned char ByteAt(std::uint64_t inOffset, std::size_t inIndex) {
  return static_cast<unsigned char>((inOffset / kSize) * 31 + inIndex * 7 + (inIndex >> 8));
}

// A block whose bytes say which offset it holds.
SharedBlock MakeBlock(std::uint64_t inOffset, std::uint32_t inSize = kSize) {
  SharedBlock block = strata::allocator::RecycledMemory::Create(inSize);
  for (std::size_t i = 0; i < inSize; ++i) block->GetData()[i] = ByteAt(inOffset, i);
  return block;
}

bool HoldsBytesOf(const SharedBlock& inBlock, std::uint64_t inOffset) {
  for (std::size_t i = 0; i < inBlock->GetSize(); ++i)
    if (inBlock->GetData()[i] != ByteAt(inOffset, i)) return false;
  return true;
}

InterfaceRef<IFileBuffer> BufferFor(BlockCache& ioCache, const wchar_t* inPath,
                                    std::uint64_t inTime = 1, std::uint64_t inSize = 1 << 20) {
  InterfaceRef<IFileBuffer> buffer = ioCache.CreateFileBuffer();
  buffer->SetFile(inTime, inPath, inSize);
  return buffer;
}

// FILETIME units: 100 ns since 1601.
std::uint64_t Now() {
  typedef std::chrono::duration<std::int64_t, std::ratio<1, 10000000>> Ticks;
  return static_cast<std::uint64_t>(
             std::chrono::duration_cast<Ticks>(std::chrono::system_clock::now().time_since_epoch())
                 .count()) +
         116444736000000000ull;
}

bool Has(IFileBuffer& ioBuffer, std::uint64_t inOffset) {
  SharedBlock found;
  return strata::ResultSucceeded(ioBuffer.GetBlock(inOffset, kSize, found)) && found;
}

typedef std::weak_ptr<strata::allocator::RecycledMemory> WeakBlock;

// The counts agree with each other, and the budget is never exceeded but
// by pinned blocks: whatever the pool holds beyond the budget is pinned.
void ExpectConsistent(const BlockCache& inCache) {
  const Ostra::BlockCacheStatistics s = inCache.GetStatistics();
  EXPECT_EQ(s.blocks, s.streamBlocks + s.probationBlocks + s.protectedBlocks + s.pinnedBlocks);
  EXPECT_EQ(s.bytes, s.streamBytes + s.probationBytes + s.protectedBytes + s.pinnedBytes);
  EXPECT_LE(s.bytes, std::max(s.byteBudget, s.pinnedBytes))
      << s.bytes << " bytes held, " << s.pinnedBytes << " pinned";
}

// inPlaces says, block by block, where each of inBlocks is: '.' not held,
// 'r' in a streaming File's ring, 'p' on probation, 'P' protected, '*'
// pinned. The test keeps no block alive, so a block is held exactly while
// the pool holds it (a lookup could not tell without moving it); it sees
// which blocks are held and how many are in each place.
void ExpectPlaces(const BlockCache& inCache, const std::string& inPlaces, const WeakBlock* inBlocks) {
  std::string held, expected;
  for (std::size_t i = 0; i < inPlaces.size(); ++i) {
    held += inBlocks[i].expired() ? '.' : '+';
    expected += inPlaces[i] == '.' ? '.' : '+';
  }
  EXPECT_EQ(expected, held) << "held: " << inPlaces;
  const auto count = [&](char inPlace) {
    return static_cast<std::uint64_t>(std::count(inPlaces.begin(), inPlaces.end(), inPlace));
  };
  const Ostra::BlockCacheStatistics statistics = inCache.GetStatistics();
  EXPECT_EQ(count('r'), statistics.streamBlocks) << "in rings: " << inPlaces;
  EXPECT_EQ(count('p'), statistics.probationBlocks) << "on probation: " << inPlaces;
  EXPECT_EQ(count('P'), statistics.protectedBlocks) << "protected: " << inPlaces;
  EXPECT_EQ(count('*'), statistics.pinnedBlocks) << "pinned: " << inPlaces;
  ExpectConsistent(inCache);
}

// One step of the tables below: what File A (or B) does with a block, or
// what is done to the cache ('-'), then where the blocks are (ExpectPlaces).
enum StepOp { kAdd, kHit, kMiss, kDepth, kPin, kUnpin, kBudget, kClose };
struct Step {
  StepOp op;
  std::uint64_t value;  // a block; for kDepth: blocks read ahead; for kBudget: the budget in blocks
  const char* places;
  char file = 'A';
};

template <std::size_t inBlocks>
void RunSteps(BlockCache& ioCache, InterfaceRef<IFileBuffer> (&ioFiles)[2],
              const std::vector<Step>& inSteps) {
  WeakBlock added[inBlocks];
  int step = 0;
  for (const Step& row : inSteps) {
    SCOPED_TRACE("step " + std::to_string(step++));
    InterfaceRef<IFileBuffer>& file = ioFiles[row.file == 'B'];
    const std::uint64_t offset = row.value * kSize;
    switch (row.op) {
      case kAdd: {
        SharedBlock block = MakeBlock(offset);
        added[row.value] = block;
        file->AddBlock(block, offset);
        break;
      }
      case kHit: EXPECT_TRUE(Has(*file, offset)); break;
      case kMiss: EXPECT_FALSE(Has(*file, offset)); break;
      case kDepth:
        Ostra::AsLibraryFileBuffer(file.Get())->SetReadAhead(static_cast<std::uint32_t>(row.value));
        break;
      case kPin: file->PinBlock(offset, kSize); break;
      case kUnpin: file->UnpinBlock(offset, kSize); break;
      case kBudget: ioCache.SetByteBudget(row.value * kSize); break;
      case kClose: file.Reset(); break;
    }
    ASSERT_EQ(inBlocks, std::string(row.places).size());
    ExpectPlaces(ioCache, row.places, added);
  }
}

TEST(BlockCacheTest, BlocksSeenOnceGoFirstAndBlocksUsedAgainAreProtected) {
  // Where the blocks 0..5 are after each step. The budget is four blocks,
  // three of them at most protected; the file is too small to stream.
  InterfaceRef<BlockCache> cache = BlockCache::Create(4 * kSize);
  InterfaceRef<IFileBuffer> files[2] = {BufferFor(*cache, L"C:\\order.bin", 1, kSize), {}};
  RunSteps<6>(*cache, files, {
      {kAdd, 0, "p....."},   {kAdd, 1, "pp...."},   {kAdd, 2, "ppp..."},
      {kHit, 0, "Ppp..."},   // used again: protected
      {kAdd, 3, "Pppp.."},   {kAdd, 4, "P.ppp."},   // 1 goes before the older, protected 0
      {kHit, 2, "P.Ppp."},   {kHit, 3, "P.PPp."},
      {kHit, 4, "p.PPP."},   // over the protected cap: the oldest, 0, back on probation
      {kAdd, 5, "..PPPp"},   {kHit, 5, "..pPPP"},  // 0 went; then 2 back on probation
      {kPin, 3, "..p*PP"},   {kAdd, 0, "p..*PP"},   // 2 went, not the pinned 3
      {kPin, 4, "p..**P"},   {kPin, 5, "p..***"},
      {kAdd, 1, ".p.***"},   // 0 went: all others pinned
      {kUnpin, 4, ".p.*P*"},  // back where it was
      {kBudget, 1, "...*.*"},  // unpinned blocks go, probation first; pinned ones stay
      {kUnpin, 3, ".....*"},  // an unpin lets the budget act at once
      {kUnpin, 5, ".....P"},  {kUnpin, 5, ".....P"},  // an extra unpin is ignored
      {kBudget, 0, "......"},
  });
}

TEST(BlockCacheTest, AStreamKeepsItsBlocksInItsRing) {
  // Two Files, A and B, on one large file; where the blocks 0..9 are after
  // each step. The budget is 16 blocks until a row sets it.
  InterfaceRef<BlockCache> cache = BlockCache::Create(16 * kSize);
  InterfaceRef<IFileBuffer> files[2] = {BufferFor(*cache, L"C:\\clip.mov"),
                                        BufferFor(*cache, L"C:\\clip.mov")};
  RunSteps<10>(*cache, files, {
      {kAdd, 0, "p........."},  {kAdd, 1, "pp........"},
      {kAdd, 2, "ppr......."},  // the second step in order: a stream
      {kAdd, 3, "pprr......"},
      {kAdd, 4, "pp.rr....."},  // without read-ahead the ring keeps 2
      {kMiss, 5, "pp..r....."},  // a miss of the next block makes room before it is read
      {kAdd, 5, "pp..rr...."},
      {kHit, 4, "pp..pr...."},  // its own block again: one step up
      {kHit, 5, "pp..pp....", 'B'},  // another File's use: the same
      {kHit, 5, "pp..pP....", 'B'},  // and protected on the next
      {kDepth, 2, "pp..pP...."},
      {kAdd, 6, "pp..pPr..."},  {kMiss, 7, "pp..pPr..."},
      {kAdd, 7, "pp..pPrr.."},  {kAdd, 8, "pp..pPrrr."},
      {kMiss, 9, "pp..pPrrr."},  // blocks asked for ahead count: 3 + 1 of 4
      {kAdd, 9, "pp..pPrrrr"},  // the end of the file: read-ahead + 2 stay
      {kPin, 9, "pp..pPrrr*"},
      {kBudget, 6, "....pPrrr*", '-'},  // probation goes first
      {kBudget, 2, "........r*", '-'},  // rings keep half the budget, at least one block
      {kBudget, 1, ".........*", '-'},  // and go too when nothing else is left
      {kUnpin, 9, ".........r"},
      {kClose, 0, ".........p"},  // a closing File's ring goes to probation
      {kBudget, 0, "..........", '-'},
  });
}

TEST(BlockCacheTest, TheHotSetSurvivesStreamsAndAClipPlayedAgainStays) {
  // Files read whole, each pass by a new File with read-ahead 4 that looks
  // every block up and adds the ones it misses. The budget is 32 blocks;
  // files larger than 8 blocks stream.
  InterfaceRef<BlockCache> cache = BlockCache::Create(32 * kSize);
  const struct File {
    const wchar_t* path;
    std::uint64_t blocks;
  } hot{L"C:\\project.bin", 8}, clip{L"C:\\clip.mov", 20}, movie{L"C:\\movie.mov", 100};
  const struct {
    const char* what;
    const File& file;
    std::uint64_t hits;
  } passes[] = {
      {"the hot set", hot, 0},
      {"the hot set again", hot, 8},
      {"a file three times the budget", movie, 0},
      {"the hot set after it", hot, 8},
      {"a clip", clip, 0},
      {"the clip again: its first blocks and its ring hit, the others come back", clip, 8},
      {"the clip a third time", clip, 20},
      {"the hot set", hot, 8},
      {"the long file again: no ghost of it is left", movie, 0},
      {"the hot set after it", hot, 8},
  };
  for (const auto& pass : passes) {
    SCOPED_TRACE(pass.what);
    InterfaceRef<IFileBuffer> buffer = BufferFor(*cache, pass.file.path, 1, pass.file.blocks * kSize);
    Ostra::AsLibraryFileBuffer(buffer.Get())->SetReadAhead(4);
    cache->ResetCounters();
    for (std::uint64_t block = 0; block < pass.file.blocks; ++block) {
      if (!Has(*buffer, block * kSize)) buffer->AddBlock(MakeBlock(block * kSize), block * kSize);
      EXPECT_LE(cache->GetStatistics().streamBlocks, 6u) << "block " << block;
    }
    EXPECT_EQ(pass.hits, cache->GetStatistics().hits);
    ExpectConsistent(*cache);
  }
}

TEST(BlockCacheTest, BlocksAreKeptPerFileVersion) {
  // A version as a File opens it: what SetFile is told, and what the
  // library's File tells its own cache besides (nothing when volume, id
  // and change time are all 0, as for a host's code).
  struct Version {
    const wchar_t* path;
    std::uint64_t time;
    std::uint64_t size;
    Ostra::FileIdentity identity;  // volume, id high and low, change time
  };
  const wchar_t* const clip = L"C:\\media\\clip.mov";
  const Version base{clip, 100, 5000, {7, 0, 42, 200}};
  const std::uint64_t now = Now();
  const struct {
    const char* what;
    Version first, second;
    bool kept;  // the first version's block outlives its buffer
    bool hits;  // the second finds it
  } rows[] = {
      {"the same version again", base, base, true, true},
      {"written since", base, {clip, 101, 5000, {7, 0, 42, 201}}, true, false},
      {"grew", base, {clip, 100, 5001, {7, 0, 42, 201}}, true, false},
      {"another file", base, {L"C:\\media\\other.mov", 100, 5000, {7, 0, 43, 200}}, true, false},
      {"rewritten, the write time set back", base, {clip, 100, 5000, {7, 0, 42, 300}}, true, false},
      {"deleted and made again with the same times", base, {clip, 100, 5000, {7, 0, 99, 200}}, true,
       false},
      {"the same id on another volume", base, {clip, 100, 5000, {8, 0, 42, 200}}, true, false},
      {"told path, time and size only", {clip, 100, 5000, {}}, {clip, 100, 5000, {}}, true, true},
      // Too recent to tell from a successor with the same stamps: private.
      {"changed just now", {clip, 100, 5000, {7, 0, 42, now}}, {clip, 100, 5000, {7, 0, 42, now}},
       false, false},
      {"written just now, told nothing else", {clip, now, 5000, {}}, {clip, now, 5000, {}}, false,
       false},
      {"stamped ahead of this clock", {clip, now + 36000000000ull, 5000, {}},
       {clip, now + 36000000000ull, 5000, {}}, false, false},
      {"no write or change time", {clip, 0, 5000, {}}, {clip, 0, 5000, {}}, false, false},
  };
  auto openVersion = [](BlockCache& ioCache, const Version& inVersion) {
    InterfaceRef<IFileBuffer> buffer = ioCache.CreateFileBuffer();
    const Ostra::FileIdentity& identity = inVersion.identity;
    if (identity.volume || identity.idLow || identity.changeTime) {
      Ostra::LibraryFileBuffer* own = Ostra::AsLibraryFileBuffer(buffer.Get());
      EXPECT_TRUE(own);
      if (own) own->SetFileIdentity(identity);
    }
    buffer->SetFile(inVersion.time, inVersion.path, inVersion.size);
    return buffer;
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    InterfaceRef<BlockCache> cache = BlockCache::Create(64 * kSize);
    {
      InterfaceRef<IFileBuffer> first = openVersion(*cache, row.first);
      first->AddBlock(MakeBlock(kSize), kSize);
      EXPECT_TRUE(Has(*first, kSize)) << "a File's own block missed";
    }
    EXPECT_EQ(row.kept ? 1u : 0u, cache->GetStatistics().blocks);
    InterfaceRef<IFileBuffer> second = openVersion(*cache, row.second);
    SharedBlock found;
    EXPECT_EQ(row.hits, strata::ResultSucceeded(second->GetBlock(kSize, kSize, found)));
    if (row.hits) {
      EXPECT_TRUE(HoldsBytesOf(found, kSize));
    }
    EXPECT_FALSE(Has(*second, 0)) << "a block that was never added";
  }
  // Another block size is another block; a buffer never told its file
  // shares with nobody.
  InterfaceRef<BlockCache> cache = BlockCache::Create(64 * kSize);
  InterfaceRef<IFileBuffer> first = openVersion(*cache, base);
  first->AddBlock(MakeBlock(kSize), kSize);
  InterfaceRef<IFileBuffer> same = openVersion(*cache, base);
  SharedBlock found;
  EXPECT_FALSE(strata::ResultSucceeded(same->GetBlock(kSize, 2 * kSize, found)));
  InterfaceRef<IFileBuffer> anonymous = cache->CreateFileBuffer();
  EXPECT_FALSE(Has(*anonymous, kSize));
}

TEST(BlockCacheTest, StatisticsCountersAndPinsOfReleasedBuffers) {
  InterfaceRef<BlockCache> cache = BlockCache::Create(4 * kSize);
  InterfaceRef<IFileBuffer> one = BufferFor(*cache, L"C:\\a.bin", 1, kSize);
  InterfaceRef<IFileBuffer> two = BufferFor(*cache, L"C:\\a.bin", 1, kSize);
  for (std::uint64_t block = 0; block < 6; ++block) one->AddBlock(MakeBlock(block * kSize), block * kSize);
  one->PinBlock(5 * kSize, kSize);
  two->PinBlock(5 * kSize, kSize);
  two->PinBlock(4 * kSize, kSize);
  one->UnpinBlock(4 * kSize, kSize);  // not one's pin: ignored
  EXPECT_TRUE(Has(*two, 5 * kSize));
  EXPECT_FALSE(Has(*two, 0));
  Ostra::BlockCacheStatistics statistics = cache->GetStatistics();
  EXPECT_EQ(1u, statistics.hits);
  EXPECT_EQ(1u, statistics.misses);
  EXPECT_EQ(6u, statistics.additions);
  EXPECT_EQ(2u, statistics.evictions);
  EXPECT_EQ(4u, statistics.blocks);
  EXPECT_EQ(4u * kSize, statistics.bytes);
  EXPECT_EQ(2u, statistics.pinnedBlocks);
  EXPECT_EQ(2u * kSize, statistics.pinnedBytes);
  EXPECT_EQ(4u * kSize, statistics.byteBudget);
  EXPECT_EQ(1u, statistics.promotions);
  EXPECT_DOUBLE_EQ(0.5, statistics.HitRate());

  // Lowering the budget evicts before the call returns; pinned blocks stay.
  cache->SetByteBudget(0);
  statistics = cache->GetStatistics();
  EXPECT_EQ(2u, statistics.blocks);
  EXPECT_EQ(4u, statistics.evictions);
  // A buffer released with pins left gives them back: block 4 was two's
  // alone, block 5 is still one's.
  two.Reset();
  statistics = cache->GetStatistics();
  EXPECT_EQ(1u, statistics.pinnedBlocks);
  EXPECT_EQ(1u, statistics.blocks) << "the budget acts when the pins go";
  EXPECT_TRUE(Has(*one, 5 * kSize));

  cache->ResetCounters();
  one->UnpinBlock(5 * kSize, kSize);
  statistics = cache->GetStatistics();
  EXPECT_EQ(0u, statistics.blocks);
  EXPECT_EQ(0u, statistics.pinnedBytes);
  EXPECT_EQ(1u, statistics.evictions);
  EXPECT_EQ(0u, statistics.hits + statistics.misses + statistics.additions + statistics.promotions);

  cache->SetByteBudget(8 * kSize);
  one->AddBlock(MakeBlock(0), 0);
  one->AddBlock(MakeBlock(kSize), kSize);
  one->PinBlock(kSize, kSize);
  cache->Clear();
  EXPECT_FALSE(Has(*one, 0));
  EXPECT_TRUE(Has(*one, kSize)) << "Clear dropped a pinned block";
}

TEST(BlockCacheTest, EightThreadsWithEveryByteCheckedAndTheCountsAddingUp) {
  OstraTest::Watchdog dog("eight threads on one pool", std::chrono::seconds(60));
  // A budget of a fraction of the blocks keeps evicting while the threads
  // race; Files come and go, some on a version too recent to share, some
  // leaving pins for the release to give back, half of them streaming
  // (and closing mid-stream); the budget changes and the pool is cleared
  // meanwhile.
  const std::uint64_t blocks = 64;
  const int threadCount = 8, steps = 2000;
  InterfaceRef<BlockCache> cache = BlockCache::Create(16 * kSize);
  std::atomic<int> wrong{0}, found{0};
  std::vector<std::vector<std::weak_ptr<strata::allocator::RecycledMemory>>> added(threadCount);
  std::vector<std::thread> threads;
  for (int t = 0; t < threadCount; ++t) {
    threads.emplace_back([&, t] {
      InterfaceRef<IFileBuffer> buffer;
      std::uint64_t seed = 0x9E3779B97F4A7C15ull * (t + 1);
      for (int i = 0; i < steps; ++i) {
        if (i % 500 == 0) {
          buffer = BufferFor(*cache, L"C:\\shared.bin", t % 4 == 3 ? Now() : 1);
          Ostra::AsLibraryFileBuffer(buffer.Get())->SetReadAhead(t % 3);
        }
        seed = seed * 6364136223846793005ull + 1442695040888963407ull;
        const std::uint64_t offset = (t % 2 ? i : (seed >> 33)) % blocks * kSize;
        SharedBlock block;
        if (strata::ResultSucceeded(buffer->GetBlock(offset, kSize, block))) {
          ++found;
          if (!block || !HoldsBytesOf(block, offset)) ++wrong;
        } else {
          block = MakeBlock(offset);
          added[t].push_back(block);
          buffer->AddBlock(block, offset);
        }
        if (i % 97 == 0) buffer->PinBlock(offset, kSize);
        if (i % 194 == 0) buffer->UnpinBlock(offset, kSize);
        if (t == 0 && i % 400 == 0) cache->SetByteBudget(i % 800 ? 8 * kSize : 16 * kSize);
        if (t == 1 && i % 700 == 0) cache->Clear();
        if (t == 2 && i % 50 == 0) ExpectConsistent(*cache);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, wrong.load());
  EXPECT_GT(found.load(), 0);
  std::uint64_t held = 0;
  for (const auto& ofThread : added)
    for (const auto& block : ofThread) held += block.expired() ? 0 : 1;
  const Ostra::BlockCacheStatistics statistics = cache->GetStatistics();
  EXPECT_EQ(held, statistics.blocks) << "blocks held but not counted, or counted but gone";
  EXPECT_EQ(statistics.blocks * kSize, statistics.bytes);
  EXPECT_LE(statistics.bytes, statistics.byteBudget);
  EXPECT_EQ(0u, statistics.pinnedBlocks);
  EXPECT_EQ(0u, statistics.pinnedBytes);
  EXPECT_EQ(static_cast<std::uint64_t>(threadCount) * steps, statistics.hits + statistics.misses);
  EXPECT_GT(statistics.streamAdditions, 0u);
  ExpectConsistent(*cache);
}

// Through Files: a changed file is never served the old version's blocks,
// whatever its times say; an unchanged one is shared once its last change
// is too old to be confused with the next.
class BlockCacheFileTest : public OstraTest::TempFilesTest {};

TEST_F(BlockCacheFileTest, ChangedFileIsNeverServedTheOldBlocks) {
  OstraTest::Watchdog dog("Files on a rewritten file", std::chrono::seconds(60));
  const std::uint32_t block = 0x10000;
  std::string content(3 * block + 100, '\0');
  for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 13 + (i >> 16));
  const Ostra::UTF16String path = MakeFile(L"clip.bin", content);
  InterfaceRef<BlockCache> cache = BlockCache::Create(64u * block);
  Ostra::Foundation::SetFileBufferFactory(cache);

  auto readAll = [&](Ostra::File& ioFile, std::string& outText) {
    ioFile.SetBufferSize(block);
    ioFile.SetMultiBufferCount(2);
    ASSERT_EQ(Ostra::kSuccess,
              ioFile.Create(path, Ostra::FileAccessFlags::kFileRead,
                            Ostra::FileShareModeFlags::kShareRead,
                            Ostra::FileCreateDispositionFlags::kOpenExisting,
                            Ostra::FileAttributesFlags::kNormal, false));
    outText.assign(content.size() + 10, '\0');
    std::uint32_t read = 0;
    ASSERT_EQ(Ostra::kSuccess,
              ioFile.Read(&outText[0], static_cast<std::uint32_t>(outText.size()), read));
    outText.resize(read);
    ioFile.Close();
  };
  // One byte other, the size the same and the write time set back, as copy
  // tools do and as FAT's 2 s steps do by themselves.
  auto rewriteKeepingTheWriteTime = [&] {
    const auto written = WriteTime(path);
    content[5] = static_cast<char>(content[5] + 1);
    MakeFile(L"clip.bin", content);
    SetWriteTime(path, written);
  };
  enum Change { kNone, kSameSizeAndTime, kGrown };
  const struct {
    const char* what;
    Change change;
    bool waitOutWindow;  // until the last change is 2 s old: shared from then on
    bool reopen;         // the first File again, else a new one
    std::uint64_t additions;  // blocks read from disk
  } passes[] = {
      {"first read of a file just written", kNone, false, true, 4},
      {"a second File at once: too recent to share", kNone, false, false, 4},
      {"rewritten at once", kSameSizeAndTime, false, false, 4},
      {"rewritten, read once the window passed", kSameSizeAndTime, true, true, 4},
      {"a second File", kNone, false, false, 0},
      {"the first File reopened", kNone, false, true, 0},
      {"rewritten after shared reads, window passed", kSameSizeAndTime, true, false, 4},
      {"the first File reopened on that version", kNone, false, true, 0},
      {"grown", kGrown, false, false, 4},
  };
  Ostra::File first;
  for (const auto& row : passes) {
    SCOPED_TRACE(row.what);
    if (row.change == kSameSizeAndTime) rewriteKeepingTheWriteTime();
    if (row.change == kGrown) MakeFile(L"clip.bin", content += "tail");
    if (row.waitOutWindow) std::this_thread::sleep_for(std::chrono::milliseconds(2200));
    cache->ResetCounters();
    std::string text;
    Ostra::File second;
    readAll(row.reopen ? first : second, text);
    // Not EXPECT_EQ: a mismatch would print 200 KiB.
    ASSERT_EQ(content.size(), text.size());
    EXPECT_TRUE(text == content)
        << "old bytes from offset "
        << std::mismatch(text.begin(), text.end(), content.begin()).first - text.begin();
    const Ostra::BlockCacheStatistics statistics = cache->GetStatistics();
    EXPECT_EQ(row.additions, statistics.additions);
    EXPECT_EQ(0u, statistics.pinnedBlocks) << "Close left pins";
  }
  Ostra::Foundation::SetFileBufferFactory({});
}

TEST_F(BlockCacheFileTest, AFileReadingAheadStreamsThroughItsRingAndScrubbingBackHits) {
  OstraTest::Watchdog dog("a stream beside a hot set", std::chrono::seconds(60));
  // A budget of 16 blocks: a file of 4 is read whole as a hot set, one of
  // 64 streams. Both Files read 4 blocks ahead.
  const std::uint32_t block = 0x10000, depth = 4;
  const std::uint64_t clipBlocks = 64;
  std::string hotBytes(4 * block, '\0'), clipBytes(clipBlocks * block, '\0');
  for (std::size_t i = 0; i < clipBytes.size(); ++i) clipBytes[i] = static_cast<char>(i * 7 + (i >> 16));
  for (std::size_t i = 0; i < hotBytes.size(); ++i) hotBytes[i] = static_cast<char>(i * 3 + 1);
  const Ostra::UTF16String hotPath = MakeFile(L"project.bin", hotBytes);
  const Ostra::UTF16String clipPath = MakeFile(L"clip.mov", clipBytes);
  InterfaceRef<BlockCache> cache = BlockCache::Create(16 * block);
  Ostra::Foundation::SetFileBufferFactory(cache);
  auto open = [&](Ostra::File& ioFile, const Ostra::UTF16String& inPath) {
    ioFile.SetBufferSize(block);
    ioFile.SetReadAhead(depth);
    ASSERT_EQ(Ostra::kSuccess,
              ioFile.Create(inPath, Ostra::FileAccessFlags::kFileRead,
                            Ostra::FileShareModeFlags::kShareRead,
                            Ostra::FileCreateDispositionFlags::kOpenExisting,
                            Ostra::FileAttributesFlags::kNormal, false));
  };
  // Reads [inFrom, inTo) in pieces of a quarter block; every byte checked,
  // and the counts after every piece. Returns the lookups that missed.
  auto read = [&](Ostra::File& ioFile, const std::string& inBytes, std::uint64_t inFrom,
                  std::uint64_t inTo, bool inStreams = false) {
    cache->ResetCounters();
    EXPECT_EQ(Ostra::kSuccess, ioFile.SetFilePointer(static_cast<std::int64_t>(inFrom),
                                                     Ostra::FilePointerMoveMethod::kBegin));
    std::string piece(block / 4, '\0');
    for (std::uint64_t at = inFrom; at < inTo; at += piece.size()) {
      std::uint32_t got = 0;
      EXPECT_EQ(Ostra::kSuccess, ioFile.Read(&piece[0], static_cast<std::uint32_t>(piece.size()), got));
      EXPECT_TRUE(got == piece.size() && inBytes.compare(at, got, piece) == 0) << "at " << at;
      const Ostra::BlockCacheStatistics statistics = cache->GetStatistics();
      // Mid-stream the ring holds the File's current block and the one
      // before; the read-ahead thread holds the next ones.
      const std::uint64_t blockNow = at / block;
      EXPECT_LE(statistics.streamBlocks,
                inStreams && blockNow > 2 && blockNow + depth < clipBlocks ? 2u : depth + 2)
          << "at block " << blockNow;
      ExpectConsistent(*cache);
    }
    return cache->GetStatistics().misses;
  };

  Ostra::File hot, clip;
  open(hot, hotPath);
  read(hot, hotBytes, 0, hotBytes.size());
  EXPECT_EQ(0u, read(hot, hotBytes, 0, hotBytes.size())) << "the hot set read again";
  open(clip, clipPath);
  read(clip, clipBytes, 0, clipBytes.size(), true);
  EXPECT_EQ(clipBlocks, cache->GetStatistics().additions);
  EXPECT_EQ(depth + 2, cache->GetStatistics().streamBlocks) << "the end of the file";
  EXPECT_EQ(0u, read(clip, clipBytes, (clipBlocks - depth - 2) * block, clipBytes.size()))
      << "scrubbing back over the last blocks";
  EXPECT_EQ(0u, cache->GetStatistics().streamBlocks) << "used again: on probation";
  EXPECT_EQ(0u, read(hot, hotBytes, 0, hotBytes.size())) << "the hot set after the stream";

  // A File closing mid-stream gives its ring back (blocks of a file this
  // recent are its own: they go with it).
  Ostra::File second;
  open(second, clipPath);
  read(second, clipBytes, 0, clipBytes.size() / 2, true);
  EXPECT_EQ(2u, cache->GetStatistics().streamBlocks);
  second.Close();
  EXPECT_EQ(0u, cache->GetStatistics().streamBlocks);
  ExpectConsistent(*cache);
  Ostra::Foundation::SetFileBufferFactory({});
}

}  // namespace
