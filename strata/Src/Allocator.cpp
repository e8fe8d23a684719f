#include "strata/Allocator.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <new>
#include <unordered_map>
#include <vector>

#include "Platform.h"

#ifdef OSTRA_FAULT_INJECTION
#include "AllocationFaults.h"
#endif

namespace strata {
namespace allocator {

namespace {

const std::size_t kAlignment = 4096;
const std::size_t kMaxPooledBytes = std::size_t(64) << 20;

void FreeStorage(unsigned char* inData) { platform::FreeAligned(inData); }

// Block storage bypasses operator new, so it asks the fault countdown itself.
unsigned char* AllocateStorage(std::size_t inSize) {
#ifdef OSTRA_FAULT_INJECTION
  if (internal::AllocationShouldFail()) return nullptr;
#endif
  return static_cast<unsigned char*>(platform::AllocateAligned(inSize, kAlignment));
}

// Storage of released blocks, by block size, for the next Create of that size.
class Pool {
 public:
  Pool() { sAlive.store(true); }
  ~Pool() {
    sAlive.store(false);
    ReleaseUnused();
  }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

  // Set while the pool exists, so that blocks outliving it at process exit
  // free their storage instead of touching a destroyed pool. Constant
  // initialised, so it is valid before and after the pool.
  static std::atomic<bool> sAlive;

  unsigned char* Take(std::size_t inSize) {
    std::lock_guard<std::mutex> lock(mMutex);
    auto it = mFree.find(inSize);
    if (it == mFree.end() || it->second.empty()) return nullptr;
    unsigned char* data = it->second.back();
    it->second.pop_back();
    mPooledBytes -= inSize;
    return data;
  }

  // Keeps the storage for reuse, or frees it when the pool is full.
  void Give(unsigned char* inData, std::size_t inSize) {
    {
      std::lock_guard<std::mutex> lock(mMutex);
      if (inSize <= kMaxPooledBytes - mPooledBytes) {
        try {
          mFree[inSize].push_back(inData);
          mPooledBytes += inSize;
          return;
        } catch (const std::bad_alloc&) {
          // No room to remember it: free it below.
        }
      }
    }
    FreeStorage(inData);
  }

  std::size_t ReleaseUnused() {
    std::unordered_map<std::size_t, std::vector<unsigned char*>> released;
    std::size_t bytes = 0;
    {
      std::lock_guard<std::mutex> lock(mMutex);
      released.swap(mFree);
      bytes = mPooledBytes;
      mPooledBytes = 0;
    }
    for (auto& entry : released) {
      for (unsigned char* data : entry.second) FreeStorage(data);
    }
    return bytes;
  }

  std::size_t GetPooledBytes() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mPooledBytes;
  }

 private:
  std::mutex mMutex;
  std::unordered_map<std::size_t, std::vector<unsigned char*>> mFree;
  std::size_t mPooledBytes = 0;
};

std::atomic<bool> Pool::sAlive{false};

Pool& GetPool() {
  static Pool sPool;
  return sPool;
}

}  // namespace

RecycledMemory::RecycledMemory(unsigned char* inData, std::size_t inSize)
    : mData(inData), mSize(inSize) {}

RecycledMemory::~RecycledMemory() {
  if (Pool::sAlive.load()) {
    GetPool().Give(mData, mSize);
  } else {
    FreeStorage(mData);
  }
}

RecycledMemoryRef RecycledMemory::Create(std::size_t inSize) {
  // Some runtimes add the alignment to the size without an overflow check.
  if (inSize == 0 || inSize > SIZE_MAX - 2 * kAlignment) return RecycledMemoryRef();
  unsigned char* data = GetPool().Take(inSize);
  if (!data) data = AllocateStorage(inSize);
  if (!data) return RecycledMemoryRef();

  RecycledMemory* block = new (std::nothrow) RecycledMemory(data, inSize);
  if (!block) {
    GetPool().Give(data, inSize);
    return RecycledMemoryRef();
  }
  try {
    return RecycledMemoryRef(block);
  } catch (const std::bad_alloc&) {
    // The shared_ptr constructor has already deleted the block, which gave
    // its storage back to the pool.
    return RecycledMemoryRef();
  }
}

std::size_t RecycledMemory::ReleaseUnusedMemory() { return GetPool().ReleaseUnused(); }

std::size_t RecycledMemory::GetPooledBytes() { return GetPool().GetPooledBytes(); }

// ---------------------------------------------------- small-block allocator

namespace {

const std::size_t kSizeClassBytes = 16;
const std::size_t kSizeClassCount = SmallBlockAllocator::kLargestPooledSize / kSizeClassBytes;
// Enough for bursts of deferred messages without holding memory for ever.
const std::size_t kMaxBlocksPerClass = 1024;

// Free blocks, linked through their first bytes, per size class.
class SmallBlockPool {
 public:
  SmallBlockPool() { sAlive.store(true); }
  ~SmallBlockPool() {
    sAlive.store(false);
    for (FreeBlock*& head : mHeads) {
      while (head) {
        FreeBlock* next = head->mNext;
        ::operator delete(head);
        head = next;
      }
    }
  }
  SmallBlockPool(const SmallBlockPool&) = delete;
  SmallBlockPool& operator=(const SmallBlockPool&) = delete;

  // As Pool::sAlive: blocks freed after the pool at process exit go back
  // to the heap.
  static std::atomic<bool> sAlive;

  static std::size_t ClassOf(std::size_t inSize) { return inSize == 0 ? 0 : (inSize - 1) / kSizeClassBytes; }

  void* Take(std::size_t inClass) {
    std::lock_guard<std::mutex> lock(mMutex);
    FreeBlock* block = mHeads[inClass];
    if (!block) return nullptr;
    mHeads[inClass] = block->mNext;
    --mCounts[inClass];
    mPooledBytes -= (inClass + 1) * kSizeClassBytes;
    return block;
  }

  bool Keep(void* inBlock, std::size_t inClass) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (mCounts[inClass] == kMaxBlocksPerClass) return false;
    FreeBlock* block = static_cast<FreeBlock*>(inBlock);
    block->mNext = mHeads[inClass];
    mHeads[inClass] = block;
    ++mCounts[inClass];
    mPooledBytes += (inClass + 1) * kSizeClassBytes;
    return true;
  }

  std::size_t GetPooledBytes() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mPooledBytes;
  }

 private:
  struct FreeBlock {
    FreeBlock* mNext;
  };
  std::mutex mMutex;
  FreeBlock* mHeads[kSizeClassCount] = {};
  std::size_t mCounts[kSizeClassCount] = {};
  std::size_t mPooledBytes = 0;
};

std::atomic<bool> SmallBlockPool::sAlive{false};

SmallBlockPool& GetSmallBlockPool() {
  static SmallBlockPool sPool;
  return sPool;
}

}  // namespace

void* SmallBlockAllocator::Allocate(std::size_t inSize) {
  if (inSize > kLargestPooledSize) return ::operator new(inSize);
  const std::size_t sizeClass = SmallBlockPool::ClassOf(inSize);
  if (void* block = GetSmallBlockPool().Take(sizeClass)) return block;
  // Every block of a class is allocated at the class's full size, so any
  // block of the class can serve any size in it.
  return ::operator new((sizeClass + 1) * kSizeClassBytes);
}

void SmallBlockAllocator::Free(void* inBlock, std::size_t inSize) {
  if (!inBlock) return;
  if (inSize <= kLargestPooledSize && SmallBlockPool::sAlive.load() &&
      GetSmallBlockPool().Keep(inBlock, SmallBlockPool::ClassOf(inSize)))
    return;
  ::operator delete(inBlock);
}

std::size_t SmallBlockAllocator::GetPooledBytes() { return GetSmallBlockPool().GetPooledBytes(); }

}  // namespace allocator
}  // namespace strata
