#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Ostra/BlockCache.h"
#include "Ostra/File.h"
#include "Ostra/Result.h"
#include "Support/TempDirectoryTest.h"

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

bool Has(IFileBuffer& ioBuffer, std::uint64_t inOffset) {
  SharedBlock found;
  return strata::ResultSucceeded(ioBuffer.GetBlock(inOffset, kSize, found)) && found;
}

// Budget never exceeded but by pinned blocks: whatever the pool holds
// beyond the budget is pinned.
void ExpectWithinBudget(const BlockCache& inCache) {
  const Ostra::BlockCacheStatistics statistics = inCache.GetStatistics();
  EXPECT_LE(statistics.bytes, std::max(statistics.byteBudget, statistics.pinnedBytes))
      << statistics.bytes << " bytes held, " << statistics.pinnedBytes << " pinned";
}

TEST(BlockCacheTest, EvictsLeastRecentlyUsedUnpinnedBlocksFirst) {
  // Each step, then which of the blocks 0..5 (offsets in blocks) the pool
  // holds. The budget is three blocks.
  enum Op { kAdd, kGet, kPin, kUnpin, kBudget };
  const struct {
    Op op;
    std::uint64_t block;  // for kBudget: the budget in blocks
    const char* held;     // '1' for each block 0..5 held
  } steps[] = {
      {kAdd, 0, "100000"},   {kAdd, 1, "110000"},    {kAdd, 2, "111000"},
      {kAdd, 3, "011100"},   // 0 was the oldest
      {kGet, 1, "011100"},   {kAdd, 4, "010110"},    // 2 went: 1 was used since
      {kPin, 1, "010110"},   {kAdd, 5, "010011"},    // 3 went, not the pinned 1
      {kPin, 4, "010011"},   {kPin, 5, "010011"},
      {kAdd, 0, "010011"},    // all others pinned: the new block does not fit
      {kUnpin, 4, "010011"},  {kBudget, 1, "010001"},  // 4 goes; pinned 1 and 5 stay
      {kUnpin, 1, "000001"},  // an unpin lets the budget act at once
      {kUnpin, 5, "000001"},  {kUnpin, 5, "000001"},  // an extra unpin is ignored
      {kBudget, 0, "000000"},
  };
  InterfaceRef<BlockCache> cache = BlockCache::Create(3 * kSize);
  InterfaceRef<IFileBuffer> buffer = BufferFor(*cache, L"C:\\order.bin");
  // The test keeps no block alive: a block is held exactly while the pool
  // holds it, which a lookup could not tell without making it the newest.
  std::weak_ptr<strata::allocator::RecycledMemory> added[6];
  int step = 0;
  for (const auto& row : steps) {
    SCOPED_TRACE("step " + std::to_string(step++));
    const std::uint64_t offset = row.block * kSize;
    switch (row.op) {
      case kAdd: {
        SharedBlock block = MakeBlock(offset);
        added[row.block] = block;
        buffer->AddBlock(block, offset);
        break;
      }
      case kGet: EXPECT_TRUE(Has(*buffer, offset)); break;
      case kPin: buffer->PinBlock(offset, kSize); break;
      case kUnpin: buffer->UnpinBlock(offset, kSize); break;
      case kBudget: cache->SetByteBudget(row.block * kSize); break;
    }
    ExpectWithinBudget(*cache);
    std::string held;
    for (const auto& block : added) held += block.expired() ? '0' : '1';
    EXPECT_EQ(row.held, held);
    EXPECT_EQ(static_cast<std::uint64_t>(std::count(held.begin(), held.end(), '1')),
              cache->GetStatistics().blocks);
  }
}

TEST(BlockCacheTest, BlocksAreKeptPerFileVersion) {
  const struct {
    const wchar_t* path;
    std::uint64_t time;
    std::uint64_t size;
    bool hits;
  } reopenings[] = {
      {L"C:\\media\\clip.mov", 100, 5000, true},    // the same version again
      {L"C:\\media\\clip.mov", 101, 5000, false},   // written since
      {L"C:\\media\\clip.mov", 100, 5001, false},   // grew
      {L"C:\\media\\other.mov", 100, 5000, false},  // another file
  };
  InterfaceRef<BlockCache> cache = BlockCache::Create(64 * kSize);
  {
    InterfaceRef<IFileBuffer> first = BufferFor(*cache, L"C:\\media\\clip.mov", 100, 5000);
    first->AddBlock(MakeBlock(kSize), kSize);
  }  // the first buffer is gone; its blocks stay
  for (const auto& row : reopenings) {
    SCOPED_TRACE(strata::string::UTF16toStdString(row.path) + " " + std::to_string(row.time) +
                 " " + std::to_string(row.size));
    InterfaceRef<IFileBuffer> buffer = BufferFor(*cache, row.path, row.time, row.size);
    SharedBlock found;
    EXPECT_EQ(row.hits, strata::ResultSucceeded(buffer->GetBlock(kSize, kSize, found)));
    if (row.hits) {
      EXPECT_TRUE(HoldsBytesOf(found, kSize));
    }
    EXPECT_FALSE(Has(*buffer, 0)) << "a block that was never added";
  }
  // Another block size is another block; a buffer never told its file
  // shares with nobody.
  InterfaceRef<IFileBuffer> same = BufferFor(*cache, L"C:\\media\\clip.mov", 100, 5000);
  SharedBlock found;
  EXPECT_FALSE(strata::ResultSucceeded(same->GetBlock(kSize, 2 * kSize, found)));
  InterfaceRef<IFileBuffer> anonymous = cache->CreateFileBuffer();
  EXPECT_FALSE(Has(*anonymous, kSize));
}

TEST(BlockCacheTest, StatisticsCountersAndPinsOfReleasedBuffers) {
  InterfaceRef<BlockCache> cache = BlockCache::Create(4 * kSize);
  InterfaceRef<IFileBuffer> one = BufferFor(*cache, L"C:\\a.bin");
  InterfaceRef<IFileBuffer> two = BufferFor(*cache, L"C:\\a.bin");
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
  EXPECT_EQ(0u, statistics.hits + statistics.misses + statistics.additions);

  cache->SetByteBudget(8 * kSize);
  one->AddBlock(MakeBlock(0), 0);
  one->AddBlock(MakeBlock(kSize), kSize);
  one->PinBlock(kSize, kSize);
  cache->Clear();
  EXPECT_FALSE(Has(*one, 0));
  EXPECT_TRUE(Has(*one, kSize)) << "Clear dropped a pinned block";
}

TEST(BlockCacheTest, EightThreadsGetAndAddWithEveryByteChecked) {
  // A budget of a fraction of the blocks keeps evicting while the threads race.
  const std::uint64_t blocks = 64;
  InterfaceRef<BlockCache> cache = BlockCache::Create(16 * kSize);
  std::atomic<int> wrong{0}, found{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      // Each thread its own buffer on the same file version, as Files are.
      InterfaceRef<IFileBuffer> buffer = BufferFor(*cache, L"C:\\shared.bin");
      std::uint64_t seed = 0x9E3779B97F4A7C15ull * (t + 1);
      for (int i = 0; i < 2000; ++i) {
        seed = seed * 6364136223846793005ull + 1442695040888963407ull;
        const std::uint64_t offset = ((seed >> 33) % blocks) * kSize;
        SharedBlock block;
        if (strata::ResultSucceeded(buffer->GetBlock(offset, kSize, block))) {
          ++found;
          if (!block || !HoldsBytesOf(block, offset)) ++wrong;
        } else {
          buffer->AddBlock(MakeBlock(offset), offset);
        }
        if (i % 97 == 0) {
          buffer->PinBlock(offset, kSize);
          buffer->UnpinBlock(offset, kSize);
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, wrong.load());
  EXPECT_GT(found.load(), 0);
  const Ostra::BlockCacheStatistics statistics = cache->GetStatistics();
  EXPECT_LE(statistics.bytes, 16u * kSize);
  EXPECT_EQ(statistics.blocks * kSize, statistics.bytes);
  EXPECT_EQ(0u, statistics.pinnedBlocks);
  EXPECT_EQ(8u * 2000, statistics.hits + statistics.misses);
}

// Through Files: a reopened unchanged file is read from memory; a file
// written since is read from disk again.
class BlockCacheFileTest : public OstraTest::TempDirectoryTest {};

TEST_F(BlockCacheFileTest, ReopenedFileHitsAndChangedFileMisses) {
  const std::uint32_t block = 0x10000;
  std::string content(3 * block + 100, '\0');
  for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 13 + (i >> 16));
  const std::wstring path = MakeFile(L"clip.bin", content);
  InterfaceRef<BlockCache> cache = BlockCache::Create(64u * block);
  Ostra::Foundation::SetFileBufferFactory(cache);

  auto readAll = [&](std::string& outText) {
    Ostra::File file;
    file.SetBufferSize(block);
    file.SetMultiBufferCount(2);
    ASSERT_EQ(Ostra::kSuccess,
              file.Create(path, Ostra::FileAccessFlags::kFileRead, Ostra::FileShareModeFlags::kShareRead,
                          Ostra::FileCreateDispositionFlags::kOpenExisting,
                          Ostra::FileAttributesFlags::kNormal, false));
    outText.assign(content.size() + 10, '\0');
    std::uint32_t read = 0;
    ASSERT_EQ(Ostra::kSuccess, file.Read(&outText[0], static_cast<std::uint32_t>(outText.size()), read));
    outText.resize(read);
  };
  const struct {
    const char* what;
    bool change;
    std::uint64_t additions;  // blocks read from disk
  } passes[] = {{"first read", false, 4}, {"reopened", false, 0}, {"rewritten", true, 4}};
  for (const auto& row : passes) {
    SCOPED_TRACE(row.what);
    if (row.change) {
      content[5] = 'x';
      content += "tail";
      MakeFile(L"clip.bin", content);
    }
    cache->ResetCounters();
    std::string text;
    readAll(text);
    EXPECT_EQ(content, text);
    const Ostra::BlockCacheStatistics statistics = cache->GetStatistics();
    EXPECT_EQ(row.additions, statistics.additions);
    EXPECT_EQ(0u, statistics.pinnedBlocks) << "Close left pins";
  }
  Ostra::Foundation::SetFileBufferFactory({});
}

}  // namespace
