// The library's block cache: blocks spread over shards by a hash of (file
// version, offset, size), each shard with its own lock, its own map and two
// lists (unpinned blocks newest first, pinned blocks). Every use stamps a
// block from one process-wide clock, so the oldest unpinned block of the
// whole pool is the oldest of the shards' list tails: eviction looks at the
// tails one shard at a time and never holds two shard locks.
#include "Ostra/BlockCache.h"

#include <array>
#include <atomic>
#include <list>
#include <map>
#include <memory>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "Ostra/Result.h"
#include "strata/Impl.h"
#include "strata/Threads.h"

namespace Ostra {

namespace {

using strata::threads::RecursiveMutex;

// The same blocks for every File on one version of a file.
struct FileKey {
  UTF16String path;
  std::uint64_t time;
  std::uint64_t size;
  friend bool operator<(const FileKey& inA, const FileKey& inB) {
    return std::tie(inA.path, inA.time, inA.size) < std::tie(inB.path, inB.time, inB.size);
  }
};

struct BlockKey {
  std::uint64_t version;
  std::uint64_t offset;
  std::uint32_t size;
  friend bool operator==(const BlockKey& inA, const BlockKey& inB) {
    return inA.version == inB.version && inA.offset == inB.offset && inA.size == inB.size;
  }
};

struct BlockKeyHash {
  std::size_t operator()(const BlockKey& inKey) const {
    std::uint64_t mixed = inKey.version * 0x9E3779B97F4A7C15ull ^ inKey.offset ^
                          (static_cast<std::uint64_t>(inKey.size) << 40);
    mixed ^= mixed >> 29;
    mixed *= 0xBF58476D1CE4E5B9ull;
    return static_cast<std::size_t>(mixed ^ (mixed >> 32));
  }
};

class Pool;

// One version of one file (or the private version of a buffer never told
// its file). Blocks and buffers hold it; when the last lets go it leaves
// the pool's table, so a long-running host does not collect dead paths.
class Version {
 public:
  Version(Pool* inPool, std::uint64_t inId, const FileKey* inKey)
      : mPool(inPool), mId(inId), mKey(inKey ? new FileKey(*inKey) : nullptr) {}
  ~Version();
  std::uint64_t Id() const { return mId; }

 private:
  Pool* const mPool;
  const std::uint64_t mId;
  const std::unique_ptr<FileKey> mKey;
};

struct Entry {
  BlockKey key;
  SharedBlock block;
  std::shared_ptr<Version> version;
  std::uint64_t stamp;
  int pins;
};

typedef std::list<Entry> EntryList;

struct Shard {
  RecursiveMutex mutex;
  std::unordered_map<BlockKey, EntryList::iterator, BlockKeyHash> index;
  EntryList unpinned;  // newest first
  EntryList pinned;
  BlockCacheStatistics counts;  // byteBudget unused
};

const std::size_t kShardCount = 16;

class Pool {
 public:
  explicit Pool(std::uint64_t inBudget) : mBudget(inBudget) {}

  std::shared_ptr<Version> PrivateVersion() {
    return std::make_shared<Version>(this, ++mLastVersionId, nullptr);
  }

  std::shared_ptr<Version> VersionFor(const FileKey& inFile) {
    RecursiveMutex::ScopedLock lock(mVersionsMutex);
    std::weak_ptr<Version>& slot = mVersions[inFile];
    std::shared_ptr<Version> version = slot.lock();
    if (!version) {
      version = std::make_shared<Version>(this, ++mLastVersionId, &inFile);
      slot = version;
    }
    return version;
  }

  // Called by a Version on its way out: its table slot goes unless a new
  // Version of the same file took it meanwhile.
  void Forget(const FileKey& inFile) {
    RecursiveMutex::ScopedLock lock(mVersionsMutex);
    const auto found = mVersions.find(inFile);
    if (found != mVersions.end() && found->second.expired()) mVersions.erase(found);
  }

  bool Get(const BlockKey& inKey, SharedBlock& outBlock) {
    Shard& shard = ShardOf(inKey);
    RecursiveMutex::ScopedLock lock(shard.mutex);
    const auto found = shard.index.find(inKey);
    if (found == shard.index.end()) {
      ++shard.counts.misses;
      return false;
    }
    Entry& entry = *found->second;
    entry.stamp = ++mClock;
    if (entry.pins == 0) shard.unpinned.splice(shard.unpinned.begin(), shard.unpinned, found->second);
    ++shard.counts.hits;
    outBlock = entry.block;
    return true;
  }

  void Add(const BlockKey& inKey, const std::shared_ptr<Version>& inVersion, SharedBlock inBlock) {
    const std::uint64_t size = inBlock->GetSize();
    SharedBlock replaced;
    {
      Shard& shard = ShardOf(inKey);
      RecursiveMutex::ScopedLock lock(shard.mutex);
      ++shard.counts.additions;
      const auto found = shard.index.find(inKey);
      if (found != shard.index.end()) {
        // Read again by another File meanwhile: the newer copy stays.
        Entry& entry = *found->second;
        const std::uint64_t oldSize = entry.block->GetSize();
        shard.counts.bytes += size - oldSize;
        if (entry.pins > 0) shard.counts.pinnedBytes += size - oldSize;
        mBytes += size - oldSize;
        replaced.swap(entry.block);
        entry.block = std::move(inBlock);
        entry.stamp = ++mClock;
        if (entry.pins == 0)
          shard.unpinned.splice(shard.unpinned.begin(), shard.unpinned, found->second);
      } else {
        shard.unpinned.push_front(Entry{inKey, std::move(inBlock), inVersion, ++mClock, 0});
        shard.index[inKey] = shard.unpinned.begin();
        ++shard.counts.blocks;
        shard.counts.bytes += size;
        mBytes += size;
      }
    }
    EvictToBudget();
  }

  // Adds inDelta (+1 or -1) to the block's pins; false when the block is
  // not held (nothing changes then).
  bool Pin(const BlockKey& inKey, int inDelta) {
    bool unpinned = false;
    {
      Shard& shard = ShardOf(inKey);
      RecursiveMutex::ScopedLock lock(shard.mutex);
      const auto found = shard.index.find(inKey);
      if (found == shard.index.end()) return false;
      Entry& entry = *found->second;
      const std::uint64_t size = entry.block->GetSize();
      if (inDelta > 0 && entry.pins++ == 0) {
        shard.pinned.splice(shard.pinned.begin(), shard.unpinned, found->second);
        ++shard.counts.pinnedBlocks;
        shard.counts.pinnedBytes += size;
      } else if (inDelta < 0 && entry.pins > 0 && --entry.pins == 0) {
        // Back among the evictable blocks as if just used.
        entry.stamp = ++mClock;
        shard.unpinned.splice(shard.unpinned.begin(), shard.pinned, found->second);
        --shard.counts.pinnedBlocks;
        shard.counts.pinnedBytes -= size;
        unpinned = true;
      }
    }
    if (unpinned) EvictToBudget();
    return true;
  }

  void SetBudget(std::uint64_t inBudget) {
    mBudget = inBudget;
    EvictToBudget();
  }
  std::uint64_t GetBudget() const { return mBudget; }

  void Clear() {
    for (Shard& shard : mShards) {
      EntryList dropped;
      {
        RecursiveMutex::ScopedLock lock(shard.mutex);
        for (const Entry& entry : shard.unpinned) RemoveCounted(shard, entry);
        dropped.splice(dropped.begin(), shard.unpinned);
      }
      // Blocks and versions are let go outside the lock.
    }
  }

  BlockCacheStatistics GetStatistics() {
    BlockCacheStatistics total;
    for (Shard& shard : mShards) {
      RecursiveMutex::ScopedLock lock(shard.mutex);
      const BlockCacheStatistics& counts = shard.counts;
      total.hits += counts.hits;
      total.misses += counts.misses;
      total.additions += counts.additions;
      total.evictions += counts.evictions;
      total.blocks += counts.blocks;
      total.bytes += counts.bytes;
      total.pinnedBlocks += counts.pinnedBlocks;
      total.pinnedBytes += counts.pinnedBytes;
    }
    total.byteBudget = mBudget;
    return total;
  }

  void ResetCounters() {
    for (Shard& shard : mShards) {
      RecursiveMutex::ScopedLock lock(shard.mutex);
      shard.counts.hits = shard.counts.misses = shard.counts.additions = shard.counts.evictions = 0;
    }
  }

 private:
  Shard& ShardOf(const BlockKey& inKey) { return mShards[BlockKeyHash()(inKey) % kShardCount]; }

  // Takes an entry's block out of the shard's counts and index (the caller
  // removes it from its list).
  void RemoveCounted(Shard& ioShard, const Entry& inEntry) {
    const std::uint64_t size = inEntry.block->GetSize();
    ioShard.index.erase(inEntry.key);
    --ioShard.counts.blocks;
    ioShard.counts.bytes -= size;
    ++ioShard.counts.evictions;
    mBytes -= size;
  }

  // Oldest unpinned blocks first, until the pool fits its budget or holds
  // only pinned blocks. One evicting thread at a time, so that two do not
  // both drop a block for the same excess.
  void EvictToBudget() {
    if (mBytes.load() <= mBudget.load()) return;
    RecursiveMutex::ScopedLock evicting(mEvictMutex);
    while (mBytes.load() > mBudget.load()) {
      Shard* oldest = nullptr;
      std::uint64_t oldestStamp = 0;
      for (Shard& shard : mShards) {
        RecursiveMutex::ScopedLock lock(shard.mutex);
        if (!shard.unpinned.empty() && (!oldest || shard.unpinned.back().stamp < oldestStamp)) {
          oldest = &shard;
          oldestStamp = shard.unpinned.back().stamp;
        }
      }
      if (!oldest) return;
      EntryList dropped;
      RecursiveMutex::ScopedLock lock(oldest->mutex);
      // The tail may have moved since it was looked at; any unpinned tail will do.
      if (oldest->unpinned.empty()) continue;
      RemoveCounted(*oldest, oldest->unpinned.back());
      dropped.splice(dropped.begin(), oldest->unpinned, std::prev(oldest->unpinned.end()));
    }
  }

  // Declared before the shards: the shards' entries hold Versions, which
  // reach the table when the shards are destroyed.
  RecursiveMutex mVersionsMutex;
  std::map<FileKey, std::weak_ptr<Version>> mVersions;
  std::atomic<std::uint64_t> mLastVersionId{0};

  std::atomic<std::uint64_t> mBudget;
  std::atomic<std::uint64_t> mBytes{0};
  std::atomic<std::uint64_t> mClock{0};
  RecursiveMutex mEvictMutex;
  std::array<Shard, kShardCount> mShards;
};

Version::~Version() {
  if (mKey) mPool->Forget(*mKey);
}

// One File's view of the pool. It remembers what it pinned, so that an
// unpin never takes away another File's pin and a buffer released with
// pins left gives them back.
class PoolBuffer : public IFileBuffer {
 public:
  explicit PoolBuffer(std::shared_ptr<Pool> inPool)
      : mPool(std::move(inPool)), mVersion(mPool->PrivateVersion()) {}

  ~PoolBuffer() override {
    for (const auto& pinned : mPins)
      for (int pin = 0; pin < pinned.second; ++pin) mPool->Pin(KeyOf(pinned.first), -1);
  }

  void SetFile(const std::uint64_t& inLastModificationTime, const UTF16String& inPath,
               const std::uint64_t& inSize) override {
    mVersion = mPool->VersionFor(FileKey{inPath, inLastModificationTime, inSize});
  }
  void AddBlock(SharedBlock inBlock, std::uint64_t inOffset) override {
    if (!inBlock) return;
    const BlockKey key{mVersion->Id(), inOffset, static_cast<std::uint32_t>(inBlock->GetSize())};
    mPool->Add(key, mVersion, std::move(inBlock));
  }
  Result GetBlock(std::uint64_t inOffset, std::uint32_t inSize, SharedBlock& outBlock) override {
    return mPool->Get(BlockKey{mVersion->Id(), inOffset, inSize}, outBlock) ? kSuccess
                                                                            : eFileNotFound;
  }
  void UnpinBlock(std::uint64_t inOffset, std::uint32_t inSize) override {
    RecursiveMutex::ScopedLock lock(mPinsMutex);
    const auto found = mPins.find(std::make_pair(inOffset, inSize));
    if (found == mPins.end()) return;
    if (--found->second == 0) mPins.erase(found);
    mPool->Pin(BlockKey{mVersion->Id(), inOffset, inSize}, -1);
  }
  void PinBlock(std::uint64_t inOffset, std::uint32_t inSize) override {
    RecursiveMutex::ScopedLock lock(mPinsMutex);
    if (mPool->Pin(BlockKey{mVersion->Id(), inOffset, inSize}, +1))
      ++mPins[std::make_pair(inOffset, inSize)];
  }

 private:
  typedef std::pair<std::uint64_t, std::uint32_t> Place;
  BlockKey KeyOf(const Place& inPlace) const {
    return BlockKey{mVersion->Id(), inPlace.first, inPlace.second};
  }

  const std::shared_ptr<Pool> mPool;
  // Set by SetFile before the File reads; read-ahead threads start later.
  std::shared_ptr<Version> mVersion;
  RecursiveMutex mPinsMutex;
  std::map<Place, int> mPins;
};

}  // namespace

class BlockCache::PrivateImpl : public strata::Impl {
 public:
  explicit PrivateImpl(std::uint64_t inBudget) : mPool(std::make_shared<Pool>(inBudget)) {}
  const std::shared_ptr<Pool> mPool;
};

strata::classref::InterfaceRef<BlockCache> BlockCache::Create(std::uint64_t inByteBudget) {
  return strata::classref::MakeInterface<BlockCache>(inByteBudget);
}

BlockCache::BlockCache(std::uint64_t inByteBudget) : mImpl(new PrivateImpl(inByteBudget)) {}

BlockCache::~BlockCache() { delete mImpl; }

strata::classref::InterfaceRef<IFileBuffer> BlockCache::CreateFileBuffer() {
  return strata::classref::MakeInterface<PoolBuffer>(mImpl->mPool);
}

void BlockCache::SetByteBudget(std::uint64_t inByteBudget) { mImpl->mPool->SetBudget(inByteBudget); }

std::uint64_t BlockCache::GetByteBudget() const { return mImpl->mPool->GetBudget(); }

BlockCacheStatistics BlockCache::GetStatistics() const { return mImpl->mPool->GetStatistics(); }

void BlockCache::ResetCounters() { mImpl->mPool->ResetCounters(); }

void BlockCache::Clear() { mImpl->mPool->Clear(); }

}  // namespace Ostra
