// The library's block cache: one pool under one lock, an index from (file
// version, offset, size) to each block's entry, and two lists of entries:
// the unpinned ones, most recently used first, which eviction takes from
// the back, and the pinned ones, which it never touches. The lock is held
// only for that bookkeeping: the File copies from a block outside it, and
// blocks the pool drops are let go after it (freeing one takes the
// allocator's own lock).
//
// One lock rather than shards: a call holds it for a lookup and a few
// pointer moves, a File calls the cache once per block of 64 KiB or more,
// and one order of use over the whole pool needs no search across shards
// to find the block to evict.
//
// Nothing here throws. Whatever a call must allocate (a list node, an index
// node, a version, a pin record, a buffer) is made before anything changes;
// the change itself is list splices, erasures and counting, which cannot
// fail. A failed allocation thus leaves the pool as it was, and the call
// does without the optional work: the block is not kept, the pin not made,
// the version not shared.
#include "Ostra/BlockCache.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <list>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <tuple>
#include <utility>

#include "BlockCachePrivate.h"
#include "Ostra/Result.h"
#include "strata/Impl.h"
#include "strata/Threads.h"

namespace Ostra {

namespace {

using strata::threads::RecursiveMutex;

// A version last written or changed less than this (in FILETIME units)
// before its File opened it is kept for that File alone. FAT keeps write
// times to 2 s and no change time of its own, the coarsest stamps in use
// (exFAT writes to 10 ms; NTFS and ReFS keep a change time that moves with
// every write and with every setting of the times, to the clock's tick of
// about 16 ms). A write after the open is stamped later than 2 s before
// the open whichever way the file system rounds, so a version last changed
// 2 s or more before it cannot share its stamps with a later one. This
// assumes the file's times and this machine's clock agree: a file server's
// clock that runs behind shortens the window by as much.
const std::uint64_t kRacyWindow = 2 * 10000000ull;

std::uint64_t NowAsFileTime() noexcept {
  // FILETIME counts 100 ns from 1601, the system clock from 1970.
  typedef std::chrono::duration<std::int64_t, std::ratio<1, 10000000>> Ticks;
  const std::int64_t since1970 =
      std::chrono::duration_cast<Ticks>(std::chrono::system_clock::now().time_since_epoch())
          .count();
  return static_cast<std::uint64_t>(since1970) + 116444736000000000ull;
}

// The same blocks for every File on one version of a file.
struct FileKey {
  UTF16String path;
  std::uint64_t time;
  std::uint64_t size;
  FileIdentity identity;
  friend bool operator<(const FileKey& inA, const FileKey& inB) {
    const FileIdentity& a = inA.identity;
    const FileIdentity& b = inB.identity;
    return std::tie(inA.path, inA.time, inA.size, a.volume, a.idHigh, a.idLow, a.changeTime) <
           std::tie(inB.path, inB.time, inB.size, b.volume, b.idHigh, b.idLow, b.changeTime);
  }
};

// Ordered by version first, so that one version's blocks are one range.
struct BlockKey {
  std::uint64_t version;
  std::uint64_t offset;
  std::uint32_t size;
  friend bool operator<(const BlockKey& inA, const BlockKey& inB) {
    return std::tie(inA.version, inA.offset, inA.size) <
           std::tie(inB.version, inB.offset, inB.size);
  }
};

class Pool;

// One shared version of one file. Its blocks and the buffers on it hold
// it; when the last lets go it leaves the pool's table, so a long-running
// host does not collect dead paths.
class Version {
 public:
  Version(Pool* inPool, std::uint64_t inId, FileKey inKey)
      : mPool(inPool), mId(inId), mKey(std::move(inKey)) {}
  ~Version();
  std::uint64_t Id() const noexcept { return mId; }

 private:
  Pool* const mPool;
  const std::uint64_t mId;
  const FileKey mKey;
};

struct Entry {
  BlockKey key;
  SharedBlock block;
  std::shared_ptr<Version> version;  // empty for a buffer's private blocks
  int pins;
};

typedef std::list<Entry> EntryList;

class Pool {
 public:
  explicit Pool(std::uint64_t inBudget) { mCounts.byteBudget = inBudget; }
  ~Pool() {
    // Entries hold Versions, which leave the table as they go: entries first.
    mIndex.clear();
    mUnpinned.clear();
    mPinned.clear();
  }

  // A version id no file shares.
  std::uint64_t NewVersionId() noexcept { return ++mLastVersionId; }

  // The version every File on inFile shares. Throws std::bad_alloc (and
  // then changes nothing).
  std::shared_ptr<Version> SharedVersion(const FileKey& inFile) {
    RecursiveMutex::ScopedLock lock(mMutex);
    const auto found = mVersions.find(inFile);
    std::shared_ptr<Version> version;
    if (found != mVersions.end()) version = found->second.lock();
    if (version) return version;
    version = std::make_shared<Version>(this, NewVersionId(), inFile);
    if (found != mVersions.end())
      found->second = version;
    else
      mVersions.emplace(inFile, version);
    return version;
  }

  // Called by a Version on its way out: its table slot goes unless a new
  // Version of the same file took it meanwhile.
  void Forget(const FileKey& inFile) noexcept {
    RecursiveMutex::ScopedLock lock(mMutex);
    const auto found = mVersions.find(inFile);
    if (found != mVersions.end() && found->second.expired()) mVersions.erase(found);
  }

  bool Get(const BlockKey& inKey, SharedBlock& outBlock) noexcept {
    RecursiveMutex::ScopedLock lock(mMutex);
    const auto found = mIndex.find(inKey);
    if (found == mIndex.end()) {
      ++mCounts.misses;
      return false;
    }
    ++mCounts.hits;
    Entry& entry = *found->second;
    if (entry.pins == 0) mUnpinned.splice(mUnpinned.begin(), mUnpinned, found->second);
    outBlock = entry.block;
    return true;
  }

  void Add(const BlockKey& inKey, std::shared_ptr<Version> inVersion,
           SharedBlock inBlock) noexcept {
    const std::uint64_t size = inBlock->GetSize();
    // Declared before the lock, so that they are let go after it.
    EntryList made, dropped;
    try {
      made.push_back(Entry{inKey, std::move(inBlock), std::move(inVersion), 0});
    } catch (const std::bad_alloc&) {
      // Not kept; still counted as offered.
    }
    RecursiveMutex::ScopedLock lock(mMutex);
    ++mCounts.additions;
    if (made.empty()) return;
    const auto found = mIndex.find(inKey);
    if (found != mIndex.end()) {
      // Read again by another File meanwhile: the same bytes; the held copy
      // stays and counts as used.
      if (found->second->pins == 0) mUnpinned.splice(mUnpinned.begin(), mUnpinned, found->second);
      return;
    }
    try {
      mIndex.emplace(inKey, made.begin());
    } catch (const std::bad_alloc&) {
      return;
    }
    mUnpinned.splice(mUnpinned.begin(), made);
    ++mCounts.blocks;
    mCounts.bytes += size;
    EvictToBudget(dropped);
  }

  // Adds inDelta (+1 or -1) to the block's pins; false when the block is
  // not held (nothing changes then).
  bool Pin(const BlockKey& inKey, int inDelta) noexcept {
    EntryList dropped;
    RecursiveMutex::ScopedLock lock(mMutex);
    const auto found = mIndex.find(inKey);
    if (found == mIndex.end()) return false;
    Entry& entry = *found->second;
    const std::uint64_t size = entry.block->GetSize();
    if (inDelta > 0 && entry.pins++ == 0) {
      mPinned.splice(mPinned.begin(), mUnpinned, found->second);
      ++mCounts.pinnedBlocks;
      mCounts.pinnedBytes += size;
    } else if (inDelta < 0 && entry.pins > 0 && --entry.pins == 0) {
      // Back among the evictable blocks as if just used; the budget acts at once.
      mUnpinned.splice(mUnpinned.begin(), mPinned, found->second);
      --mCounts.pinnedBlocks;
      mCounts.pinnedBytes -= size;
      EvictToBudget(dropped);
    }
    return true;
  }

  // Drops every block of version inId, pinned or not (a buffer's private
  // blocks when the buffer goes).
  void DropVersion(std::uint64_t inId) noexcept {
    EntryList dropped;
    RecursiveMutex::ScopedLock lock(mMutex);
    auto found = mIndex.lower_bound(BlockKey{inId, 0, 0});
    while (found != mIndex.end() && found->first.version == inId) {
      const EntryList::iterator entry = found->second;
      found = mIndex.erase(found);
      Drop(entry->pins > 0 ? mPinned : mUnpinned, entry, dropped);
    }
  }

  void SetBudget(std::uint64_t inBudget) noexcept {
    EntryList dropped;
    RecursiveMutex::ScopedLock lock(mMutex);
    mCounts.byteBudget = inBudget;
    EvictToBudget(dropped);
  }

  std::uint64_t GetBudget() noexcept {
    RecursiveMutex::ScopedLock lock(mMutex);
    return mCounts.byteBudget;
  }

  void Clear() noexcept {
    EntryList dropped;
    RecursiveMutex::ScopedLock lock(mMutex);
    while (!mUnpinned.empty()) EvictOldest(dropped);
  }

  BlockCacheStatistics GetStatistics() noexcept {
    RecursiveMutex::ScopedLock lock(mMutex);
    return mCounts;
  }

  void ResetCounters() noexcept {
    RecursiveMutex::ScopedLock lock(mMutex);
    mCounts.hits = mCounts.misses = mCounts.additions = mCounts.evictions = 0;
  }

 private:
  // With the lock held: oldest unpinned blocks first, until the pool fits
  // its budget or holds only pinned blocks.
  void EvictToBudget(EntryList& ioDropped) noexcept {
    while (mCounts.bytes > mCounts.byteBudget && !mUnpinned.empty()) EvictOldest(ioDropped);
  }

  void EvictOldest(EntryList& ioDropped) noexcept {
    const EntryList::iterator oldest = std::prev(mUnpinned.end());
    mIndex.erase(oldest->key);
    Drop(mUnpinned, oldest, ioDropped);
  }

  // Moves an entry already out of the index from ioList to ioDropped and
  // out of the counts.
  void Drop(EntryList& ioList, EntryList::iterator inEntry, EntryList& ioDropped) noexcept {
    const std::uint64_t size = inEntry->block->GetSize();
    if (inEntry->pins > 0) {
      --mCounts.pinnedBlocks;
      mCounts.pinnedBytes -= size;
    }
    --mCounts.blocks;
    mCounts.bytes -= size;
    ++mCounts.evictions;
    ioDropped.splice(ioDropped.begin(), ioList, inEntry);
  }

  RecursiveMutex mMutex;
  std::atomic<std::uint64_t> mLastVersionId{0};
  std::map<FileKey, std::weak_ptr<Version>> mVersions;
  std::map<BlockKey, EntryList::iterator> mIndex;
  EntryList mUnpinned;  // most recently used first
  EntryList mPinned;
  BlockCacheStatistics mCounts;  // byteBudget: the budget
};

Version::~Version() { mPool->Forget(mKey); }

// The buffers the pool made, while they live; see BlockCachePrivate.h. At
// namespace scope, like the read-ahead executor's: Files opened together
// would otherwise wait on a function static's guard, whose handles outlive
// the library.
RecursiveMutex sLibraryBuffersMutex;
std::set<const IFileBuffer*> sLibraryBuffers;

// One File's view of the pool. It remembers what it pinned, so that an
// unpin never takes away another File's pin and a buffer released with
// pins left gives them back. Its private blocks go with it.
class PoolBuffer : public IFileBuffer, public LibraryFileBuffer {
 public:
  // Throws std::bad_alloc when it cannot be registered.
  explicit PoolBuffer(std::shared_ptr<Pool> inPool)
      : mPool(std::move(inPool)), mPrivateId(mPool->NewVersionId()), mVersionId(mPrivateId) {
    RecursiveMutex::ScopedLock lock(sLibraryBuffersMutex);
    sLibraryBuffers.insert(this);
  }

  ~PoolBuffer() override {
    {
      RecursiveMutex::ScopedLock lock(sLibraryBuffersMutex);
      sLibraryBuffers.erase(this);
    }
    for (const auto& pinned : mPins)
      for (int pin = 0; pin < pinned.second; ++pin) mPool->Pin(pinned.first, -1);
    mPool->DropVersion(mPrivateId);
  }

  void SetFileIdentity(const FileIdentity& inIdentity) noexcept override { mIdentity = inIdentity; }

  void SetFile(const std::uint64_t& inLastModificationTime, const UTF16String& inPath,
               const std::uint64_t& inSize) noexcept override {
    mShared.reset();
    mVersionId = mPrivateId;
    // Without a time of the last write or change there is nothing to tell
    // versions apart by; one changed too recently may have a successor
    // with the same stamps (a time ahead of ours counts as too recent).
    const std::uint64_t lastChange = std::max(inLastModificationTime, mIdentity.changeTime);
    const std::uint64_t now = NowAsFileTime();
    if (lastChange == 0 || lastChange > now || now - lastChange < kRacyWindow) return;
    try {
      mShared = mPool->SharedVersion(FileKey{inPath, inLastModificationTime, inSize, mIdentity});
      mVersionId = mShared->Id();
    } catch (const std::bad_alloc&) {
      // The blocks stay this File's own.
    }
  }

  void AddBlock(SharedBlock inBlock, std::uint64_t inOffset) noexcept override {
    if (!inBlock) return;
    const BlockKey key{mVersionId, inOffset, static_cast<std::uint32_t>(inBlock->GetSize())};
    mPool->Add(key, mShared, std::move(inBlock));
  }

  Result GetBlock(std::uint64_t inOffset, std::uint32_t inSize,
                  SharedBlock& outBlock) noexcept override {
    return mPool->Get(BlockKey{mVersionId, inOffset, inSize}, outBlock) ? kSuccess : eFileNotFound;
  }

  void UnpinBlock(std::uint64_t inOffset, std::uint32_t inSize) noexcept override {
    const BlockKey key{mVersionId, inOffset, inSize};
    RecursiveMutex::ScopedLock lock(mPinsMutex);
    const auto found = mPins.find(key);
    if (found == mPins.end()) return;
    if (--found->second == 0) mPins.erase(found);
    mPool->Pin(key, -1);
  }

  void PinBlock(std::uint64_t inOffset, std::uint32_t inSize) noexcept override {
    const BlockKey key{mVersionId, inOffset, inSize};
    RecursiveMutex::ScopedLock lock(mPinsMutex);
    std::map<BlockKey, int>::iterator record;
    bool recordMade = false;
    try {
      std::tie(record, recordMade) = mPins.emplace(key, 0);
    } catch (const std::bad_alloc&) {
      return;  // a pin that could not be given back is not made
    }
    if (mPool->Pin(key, +1))
      ++record->second;
    else if (recordMade)
      mPins.erase(record);
  }

 private:
  const std::shared_ptr<Pool> mPool;
  const std::uint64_t mPrivateId;
  // Set by SetFile before the File reads; read-ahead threads start later.
  std::uint64_t mVersionId;
  std::shared_ptr<Version> mShared;  // empty while the blocks are private
  FileIdentity mIdentity;
  RecursiveMutex mPinsMutex;
  // Keyed with the version, so that every pin goes back where it was made.
  std::map<BlockKey, int> mPins;
};

}  // namespace

LibraryFileBuffer* AsLibraryFileBuffer(IFileBuffer* inBuffer) noexcept {
  RecursiveMutex::ScopedLock lock(sLibraryBuffersMutex);
  return sLibraryBuffers.count(inBuffer) ? static_cast<PoolBuffer*>(inBuffer) : nullptr;
}

class BlockCache::PrivateImpl : public strata::Impl {
 public:
  explicit PrivateImpl(std::uint64_t inBudget) : mPool(std::make_shared<Pool>(inBudget)) {}
  const std::shared_ptr<Pool> mPool;
};

strata::classref::InterfaceRef<BlockCache> BlockCache::Create(std::uint64_t inByteBudget) noexcept {
  try {
    return strata::classref::MakeInterface<BlockCache>(inByteBudget);
  } catch (const std::bad_alloc&) {
    return {};
  }
}

BlockCache::BlockCache(std::uint64_t inByteBudget) : mImpl(new PrivateImpl(inByteBudget)) {}

BlockCache::~BlockCache() { delete mImpl; }

strata::classref::InterfaceRef<IFileBuffer> BlockCache::CreateFileBuffer() noexcept {
  try {
    return strata::classref::MakeInterface<PoolBuffer>(mImpl->mPool);
  } catch (const std::bad_alloc&) {
    return {};
  }
}

void BlockCache::SetByteBudget(std::uint64_t inByteBudget) noexcept {
  mImpl->mPool->SetBudget(inByteBudget);
}

std::uint64_t BlockCache::GetByteBudget() const noexcept { return mImpl->mPool->GetBudget(); }

BlockCacheStatistics BlockCache::GetStatistics() const noexcept {
  return mImpl->mPool->GetStatistics();
}

void BlockCache::ResetCounters() noexcept { mImpl->mPool->ResetCounters(); }

void BlockCache::Clear() noexcept { mImpl->mPool->Clear(); }

}  // namespace Ostra
