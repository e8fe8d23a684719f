// The reference block cache: one pool of blocks in least-recently-used
// order, shared by the buffers a factory makes.
#include "BlockCache.h"

#include <iterator>
#include <list>
#include <map>
#include <tuple>

#include "Ostra/Result.h"
#include "strata/Threads.h"

namespace OstraTools {

namespace {

struct BlockKey {
  std::uint64_t fileId;
  std::uint64_t offset;
  std::uint32_t size;
  friend bool operator<(const BlockKey& inA, const BlockKey& inB) {
    return std::tie(inA.fileId, inA.offset, inA.size) < std::tie(inB.fileId, inB.offset, inB.size);
  }
};

struct FileKey {
  Ostra::UTF16String path;
  std::uint64_t time;
  std::uint64_t size;
  friend bool operator<(const FileKey& inA, const FileKey& inB) {
    return std::tie(inA.path, inA.time, inA.size) < std::tie(inB.path, inB.time, inB.size);
  }
};

struct Entry {
  BlockKey key;
  Ostra::SharedBlock block;
  int pins;
};

}  // namespace

class BlockCacheFactory::Pool {
 public:
  explicit Pool(std::uint64_t inBudget) : mBudget(inBudget) {}

  // A file id of its own for a buffer that has not been told its file.
  std::uint64_t NewFileId() {
    strata::threads::RecursiveMutex::ScopedLock lock(mMutex);
    return ++mLastFileId;
  }

  // The same id for every buffer of one version of a file.
  std::uint64_t FileIdFor(const FileKey& inFile) {
    strata::threads::RecursiveMutex::ScopedLock lock(mMutex);
    const auto found = mFiles.find(inFile);
    if (found != mFiles.end()) return found->second;
    return mFiles[inFile] = ++mLastFileId;
  }

  bool Get(const BlockKey& inKey, Ostra::SharedBlock& outBlock) {
    strata::threads::RecursiveMutex::ScopedLock lock(mMutex);
    const auto found = mIndex.find(inKey);
    if (found == mIndex.end()) {
      ++mStatistics.misses;
      return false;
    }
    mOrder.splice(mOrder.begin(), mOrder, found->second);
    ++mStatistics.hits;
    outBlock = found->second->block;
    return true;
  }

  void Add(const BlockKey& inKey, Ostra::SharedBlock inBlock) {
    if (!inBlock) return;
    strata::threads::RecursiveMutex::ScopedLock lock(mMutex);
    ++mStatistics.additions;
    const auto found = mIndex.find(inKey);
    if (found != mIndex.end()) {
      // Read again by another File (or thread) meanwhile: keep the newer copy.
      mStatistics.bytes -= found->second->block->GetSize();
      found->second->block = inBlock;
      mOrder.splice(mOrder.begin(), mOrder, found->second);
    } else {
      mOrder.push_front(Entry{inKey, inBlock, 0});
      mIndex[inKey] = mOrder.begin();
      ++mStatistics.blocks;
    }
    mStatistics.bytes += inBlock->GetSize();
    EvictLocked();
  }

  void Pin(const BlockKey& inKey, int inDelta) {
    strata::threads::RecursiveMutex::ScopedLock lock(mMutex);
    const auto found = mIndex.find(inKey);
    if (found == mIndex.end()) return;
    Entry& entry = *found->second;
    const bool wasPinned = entry.pins > 0;
    entry.pins += inDelta;
    if (entry.pins < 0) entry.pins = 0;  // more unpins than pins: ignore the extra
    const bool isPinned = entry.pins > 0;
    if (isPinned && !wasPinned) ++mStatistics.pinnedBlocks;
    if (!isPinned && wasPinned) --mStatistics.pinnedBlocks;
    if (!isPinned) EvictLocked();
  }

  void Clear() {
    strata::threads::RecursiveMutex::ScopedLock lock(mMutex);
    for (auto entry = mOrder.begin(); entry != mOrder.end();)
      entry = entry->pins > 0 ? std::next(entry) : RemoveLocked(entry);
  }

  BlockCacheStatistics GetStatistics() {
    strata::threads::RecursiveMutex::ScopedLock lock(mMutex);
    return mStatistics;
  }

  void ResetCounters() {
    strata::threads::RecursiveMutex::ScopedLock lock(mMutex);
    mStatistics.hits = mStatistics.misses = mStatistics.additions = mStatistics.evictions = 0;
  }

 private:
  typedef std::list<Entry>::iterator EntryIterator;

  EntryIterator RemoveLocked(EntryIterator inEntry) {
    mStatistics.bytes -= inEntry->block->GetSize();
    --mStatistics.blocks;
    mIndex.erase(inEntry->key);
    return mOrder.erase(inEntry);
  }

  // Oldest unpinned blocks first; the newest block stays.
  void EvictLocked() {
    if (mOrder.empty()) return;
    auto entry = std::prev(mOrder.end());
    while (mStatistics.bytes > mBudget && entry != mOrder.begin()) {
      const auto previous = std::prev(entry);
      if (entry->pins == 0) {
        RemoveLocked(entry);
        ++mStatistics.evictions;
      }
      entry = previous;
    }
  }

  // Not std::mutex: MinGW's never frees the event it makes under contention.
  strata::threads::RecursiveMutex mMutex;
  const std::uint64_t mBudget;
  std::list<Entry> mOrder;  // most recently used first
  std::map<BlockKey, EntryIterator> mIndex;
  std::map<FileKey, std::uint64_t> mFiles;
  std::uint64_t mLastFileId = 0;
  BlockCacheStatistics mStatistics;
};

namespace {

// One File's view of the pool.
class PoolBuffer : public Ostra::IFileBuffer {
 public:
  explicit PoolBuffer(std::shared_ptr<BlockCacheFactory::Pool> inPool)
      : mPool(std::move(inPool)), mFileId(mPool->NewFileId()) {}

  void SetFile(const std::uint64_t& inLastModificationTime, const Ostra::UTF16String& inPath,
               const std::uint64_t& inSize) override {
    mFileId = mPool->FileIdFor(FileKey{inPath, inLastModificationTime, inSize});
  }
  void AddBlock(Ostra::SharedBlock inBlock, std::uint64_t inOffset) override {
    if (inBlock)
      mPool->Add(BlockKey{mFileId, inOffset, static_cast<std::uint32_t>(inBlock->GetSize())},
                 inBlock);
  }
  Ostra::Result GetBlock(std::uint64_t inOffset, std::uint32_t inSize,
                         Ostra::SharedBlock& outBlock) override {
    return mPool->Get(BlockKey{mFileId, inOffset, inSize}, outBlock) ? Ostra::kSuccess
                                                                     : Ostra::eFileNotFound;
  }
  void UnpinBlock(std::uint64_t inOffset, std::uint32_t inSize) override {
    mPool->Pin(BlockKey{mFileId, inOffset, inSize}, -1);
  }
  void PinBlock(std::uint64_t inOffset, std::uint32_t inSize) override {
    mPool->Pin(BlockKey{mFileId, inOffset, inSize}, +1);
  }

 private:
  const std::shared_ptr<BlockCacheFactory::Pool> mPool;
  // Written once by SetFile, before the File reads.
  std::uint64_t mFileId;
};

}  // namespace

BlockCacheFactory::BlockCacheFactory(std::uint64_t inByteBudget)
    : mPool(std::make_shared<Pool>(inByteBudget)) {}

BlockCacheFactory::~BlockCacheFactory() = default;

strata::classref::InterfaceRef<Ostra::IFileBuffer> BlockCacheFactory::CreateFileBuffer() {
  return strata::classref::MakeInterface<PoolBuffer>(mPool);
}

BlockCacheStatistics BlockCacheFactory::GetStatistics() const { return mPool->GetStatistics(); }

void BlockCacheFactory::ResetCounters() { mPool->ResetCounters(); }

void BlockCacheFactory::Clear() { mPool->Clear(); }

}  // namespace OstraTools
