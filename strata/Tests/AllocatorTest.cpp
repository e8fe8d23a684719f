#include "strata/Allocator.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

using strata::allocator::RecycledMemory;
using strata::allocator::RecycledMemoryRef;

namespace {

const std::size_t kMiB = std::size_t(1) << 20;

// The pool is process-wide: each test starts from an empty one.
class AllocatorTest : public testing::Test {
 protected:
  void SetUp() override { RecycledMemory::ReleaseUnusedMemory(); }
  void TearDown() override { RecycledMemory::ReleaseUnusedMemory(); }
};

}  // namespace

TEST_F(AllocatorTest, BlocksArePageAlignedAndWritableToTheirFullSize) {
  for (std::size_t size : {std::size_t(1), std::size_t(5000), 3 * kMiB + 7}) {
    RecycledMemoryRef block = RecycledMemory::Create(size);
    ASSERT_TRUE(block) << size;
    EXPECT_EQ(block->GetSize(), size);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block->GetData()) % 4096, 0u) << size;
    std::memset(block->GetData(), 0xA5, size);
  }
  for (std::size_t size : {std::size_t(0), SIZE_MAX, SIZE_MAX - 4095, std::size_t(1) << 50}) {
    EXPECT_FALSE(RecycledMemory::Create(size)) << size;
  }
}

TEST_F(AllocatorTest, ReleasedStorageIsReusedForTheSameSizeUntilReleased) {
  const std::size_t kSize = 123457;
  RecycledMemoryRef block = RecycledMemory::Create(kSize);
  const unsigned char* storage = block->GetData();
  block.reset();
  EXPECT_EQ(RecycledMemory::GetPooledBytes(), kSize);

  EXPECT_NE(RecycledMemory::Create(kSize + 1)->GetData(), storage);
  block = RecycledMemory::Create(kSize);
  EXPECT_EQ(block->GetData(), storage);
  EXPECT_EQ(RecycledMemory::GetPooledBytes(), kSize + 1);
  block.reset();
  EXPECT_EQ(RecycledMemory::ReleaseUnusedMemory(), 2 * kSize + 1);
  EXPECT_EQ(RecycledMemory::GetPooledBytes(), 0u);
}

TEST_F(AllocatorTest, PoolKeepsAtMost64MiB) {
  std::vector<RecycledMemoryRef> blocks;
  for (std::size_t size : {30 * kMiB, 30 * kMiB, 30 * kMiB, 65 * kMiB}) {
    blocks.push_back(RecycledMemory::Create(size));
    ASSERT_TRUE(blocks.back());
  }
  blocks.clear();
  EXPECT_EQ(RecycledMemory::GetPooledBytes(), 60 * kMiB);
}

TEST_F(AllocatorTest, ConcurrentUsersNeverShareStorage) {
  std::vector<std::thread> threads;
  std::vector<int> corruptions(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &corruptions] {
      std::vector<RecycledMemoryRef> held;  // a few live blocks, oldest checked and dropped
      for (int i = 0; i < 3000; ++i) {
        held.push_back(RecycledMemory::Create(4096 * (1 + i % 3)));
        std::memset(held.back()->GetData(), t + 1, held.back()->GetSize());
        if (held.size() < 5) continue;
        for (std::size_t b = 0; b < held[0]->GetSize(); b += 512) {
          if (held[0]->GetData()[b] != t + 1) ++corruptions[t];
        }
        held.erase(held.begin());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(corruptions, std::vector<int>(4, 0));
}

TEST(SmallBlockAllocator, FreedBlockServesTheNextRequestOfItsSizeClass) {
  using strata::allocator::SmallBlockAllocator;
  // One class is 16 bytes wide: 17..32 bytes share blocks.
  void* block = SmallBlockAllocator::Allocate(20);
  std::memset(block, 0xAB, 32);
  SmallBlockAllocator::Free(block, 20);
  EXPECT_EQ(block, SmallBlockAllocator::Allocate(32));
  void* other = SmallBlockAllocator::Allocate(33);
  EXPECT_NE(block, other);
  SmallBlockAllocator::Free(other, 33);
  SmallBlockAllocator::Free(block, 32);
  SmallBlockAllocator::Free(nullptr, 8);

  // Sizes above the pooled range go straight to the heap and back.
  const std::size_t pooled = SmallBlockAllocator::GetPooledBytes();
  void* large = SmallBlockAllocator::Allocate(SmallBlockAllocator::kLargestPooledSize + 1);
  std::memset(large, 1, SmallBlockAllocator::kLargestPooledSize + 1);
  SmallBlockAllocator::Free(large, SmallBlockAllocator::kLargestPooledSize + 1);
  EXPECT_EQ(pooled, SmallBlockAllocator::GetPooledBytes());
}
