#include "strata/Allocator.h"

#include <atomic>
#include <cstdint>
#include <malloc.h>
#include <mutex>
#include <new>
#include <unordered_map>
#include <vector>

namespace strata {
namespace allocator {

namespace {

const std::size_t kAlignment = 4096;
const std::size_t kMaxPooledBytes = std::size_t(64) << 20;

void FreeStorage(unsigned char* inData) { _aligned_free(inData); }

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
  if (!data) data = static_cast<unsigned char*>(_aligned_malloc(inSize, kAlignment));
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

}  // namespace allocator
}  // namespace strata
