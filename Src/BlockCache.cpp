// The library's block cache: one pool under one lock, an index from (file
// version, offset, size) to each block's entry, and the entries in
// segments, each a list, most recently used first:
//
// - a ring for each File that streams: the blocks it read in order and
//   nobody used since;
// - probation: blocks seen once, read by Files that do not stream;
// - protected: blocks used again;
// - pinned: blocks some File pinned, whatever their segment, to which they
//   return when the last pin goes; eviction never touches them;
// - ghosts: the keys of blocks that left a ring, without their memory.
//
// Why. A host plays or imports clips larger than the whole budget. Under
// plain LRU one such read walks every other block out of the pool
// (sequential flooding), and each of its blocks is written into memory the
// pool let go a budget's worth of reading earlier, long out of the
// processor's caches. Storage engines answer both the same way: a scan
// gets a few buffers of its own (PostgreSQL's ring for sequential scans),
// and a block joins the protected set only when it is used again (Linux's
// inactive and active lists; 2Q; segmented LRU). A ring's oldest block
// goes back to the allocator's pool, which hands out the storage freed
// last first, so the stream's next block lands in memory it used a few
// blocks before, still in the processor's caches.
//
// Two fixed queues rather than adaptive replacement (ARC): what ARC adapts
// to, long reads of blocks used once, never reaches the shared segments
// here, and ARC would let a stream into its recency list up to its adaptive
// target, which is the flood this avoids. A fixed cap on the protected
// segment (3/4 of the budget) keeps room for new blocks to prove
// themselves. The rules:
//
// - A File streams when it adds blocks in order (each at most 4 blocks
//   after the one before, two steps in a row) and its file is larger than a
//   quarter of the budget. A smaller file read in order (a project, a
//   thumbnail) is likely to be read again whole and goes through probation,
//   as PostgreSQL rings only tables larger than a quarter of its buffers.
// - A streaming File's blocks go to its ring, which keeps the File's
//   read-ahead depth + 2 blocks, counting those the File asked for ahead
//   and has not added yet: mid-stream that is its current block and the one
//   before (the read-ahead thread holds the next ones), at the end of the
//   file its last depth + 2 blocks, so that scrubbing back hits. A miss
//   ahead makes room at once, so that the memory freed is what the next
//   block is read into. All rings together keep at most half the budget.
// - Each use moves a block one step up: from a ring to probation, from
//   probation to protected, to the front within protected. A stream's
//   block thus needs two more uses to be protected, whether its own File
//   goes back to it (a demuxer reading back and forth, a reference 2Q
//   would call correlated) or another File reads it. Beyond the protected
//   cap, the least recently used protected blocks go back to the front of
//   probation.
// - A block that left a ring leaves a ghost; the ghosts stand for at most
//   the budget. A block added again while its ghost remains goes to
//   probation, not to a ring: a clip played twice is cached from its second
//   play on, when it fits, while a file longer than the budget played in a
//   loop finds no ghosts of its own and floods nothing.
// - A closing File's ring goes to the front of probation: a host that
//   opens the file again to go on or look back finds its last blocks, and
//   they go before any block used twice.
// - Over the budget the pool evicts the back of probation, then of
//   protected, then of the fullest ring. Pinned blocks count towards the
//   budget but are never evicted.
//
// The lock is held only for bookkeeping: the File copies from a block
// outside it, and blocks the pool drops are let go after it (freeing one
// takes the allocator's own lock). One lock rather than shards: a call
// holds it for a lookup and a few pointer moves, a File calls the cache
// once per block of 64 KiB or more, and one order of use over the whole
// pool needs no search across shards to find the block to evict.
//
// Nothing here throws. Whatever a call must allocate (a list node, an index
// node, a version, a pin record, a buffer, a stream record) is made before
// anything changes; the change itself is list splices, erasures and
// counting, which cannot fail. A failed allocation thus leaves the pool as
// it was, and the call does without the optional work: the block is not
// kept, the pin not made, the version not shared, the ghost not left.
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

// A File streams from its kStreamSteps-th step in a row on, a step being an
// addition at most kStreamStride blocks after the one before (the blocks
// between may have been found in the pool and not added).
const int kStreamSteps = 2;
const std::uint64_t kStreamStride = 4;

std::uint64_t NowAsFileTime() noexcept {
  typedef std::chrono::duration<std::int64_t, std::ratio<1, 10000000>> Ticks;
  const std::int64_t since1970 =
      std::chrono::duration_cast<Ticks>(std::chrono::system_clock::now().time_since_epoch())
          .count();
  return static_cast<std::uint64_t>(since1970) + kFileTimeAt1970;
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

struct Segment;
struct Stream;

struct Entry {
  BlockKey key;
  std::uint64_t bytes = 0;  // the block's size, also kept by a ghost
  SharedBlock block;        // empty for a ghost
  std::shared_ptr<Version> version;  // empty for a buffer's private blocks
  int pins = 0;
  Segment* home = nullptr;  // where it is, or returns to when its last pin goes
};

typedef std::list<Entry> EntryList;

struct Tally {
  std::uint64_t blocks = 0;
  std::uint64_t bytes = 0;
};

// Entries, most recently used first, and what they hold.
struct Segment {
  EntryList entries;
  Tally tally;
  Tally* group = nullptr;    // counted here too (all rings together)
  Stream* stream = nullptr;  // the File a ring belongs to
};

// What the pool knows of one buffer's reading; under the pool's lock.
struct Stream {
  Stream() { ring.stream = this; }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  Segment ring;
  std::uint64_t fileSize = 0;
  std::uint64_t depth = 0;       // the File's read-ahead in blocks
  bool started = false;          // a block was added since SetFile
  std::uint64_t lastAdded = 0;   // the offset of the block added last
  std::uint32_t blockSize = 0;   // and its size
  int steps = 0;                 // additions in order just before
  std::uint64_t askedAhead = 0;  // the furthest block asked for ahead of lastAdded
};

typedef std::list<Stream> StreamList;

class Pool {
 public:
  explicit Pool(std::uint64_t inBudget) : mBudget(inBudget) {}
  ~Pool() {
    // Entries hold Versions, which leave the table as they go: entries first.
    mIndex.clear();
    mStreams.clear();
    for (Segment* segment : {&mProbation, &mProtected, &mPinned, &mGhosts})
      segment->entries.clear();
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

  // A new buffer's stream record. Throws std::bad_alloc (and then changes
  // nothing).
  StreamList::iterator NewStream() {
    StreamList made;
    made.emplace_back();
    made.front().ring.group = &mRings;
    RecursiveMutex::ScopedLock lock(mMutex);
    mStreams.splice(mStreams.end(), made);
    return std::prev(mStreams.end());
  }

  // A buffer going: its ring goes to the front of probation, and so do its
  // pinned blocks when their pins go.
  void EndStream(StreamList::iterator inStream) noexcept {
    StreamList ended;
    RecursiveMutex::ScopedLock lock(mMutex);
    Segment& ring = inStream->ring;
    for (Entry& entry : ring.entries) entry.home = &mProbation;
    for (Entry& entry : mPinned.entries)
      if (entry.home == &ring) entry.home = &mProbation;
    mProbation.tally.blocks += ring.tally.blocks;
    mProbation.tally.bytes += ring.tally.bytes;
    mRings.blocks -= ring.tally.blocks;
    mRings.bytes -= ring.tally.bytes;
    mProbation.entries.splice(mProbation.entries.begin(), ring.entries);
    ended.splice(ended.begin(), mStreams, inStream);
  }

  // SetFile: a new file, nothing read of it yet.
  void StartFile(Stream& ioStream, std::uint64_t inSize) noexcept {
    RecursiveMutex::ScopedLock lock(mMutex);
    ioStream.fileSize = inSize;
    ioStream.started = false;
    ioStream.steps = 0;
  }

  void SetDepth(Stream& ioStream, std::uint32_t inDepth) noexcept {
    EntryList dropped;
    RecursiveMutex::ScopedLock lock(mMutex);
    ioStream.depth = inDepth;
    TrimRing(ioStream, dropped);
  }

  bool Get(const BlockKey& inKey, Stream& ioAsker, SharedBlock& outBlock) noexcept {
    EntryList dropped;
    RecursiveMutex::ScopedLock lock(mMutex);
    const auto found = mIndex.find(inKey);
    if (found == mIndex.end() || !found->second->block) {
      ++mCounts.misses;
      NoteAskedAhead(ioAsker, inKey, dropped);
      return false;
    }
    ++mCounts.hits;
    Use(found->second);
    outBlock = found->second->block;
    return true;
  }

  void Add(const BlockKey& inKey, std::shared_ptr<Version> inVersion, SharedBlock inBlock,
           Stream& ioAdder) noexcept {
    const std::uint64_t size = inBlock->GetSize();
    // Declared before the lock, so that they are let go after it.
    EntryList made, dropped;
    try {
      made.push_back(Entry{inKey, size, std::move(inBlock), std::move(inVersion), 0, nullptr});
    } catch (const std::bad_alloc&) {
      // Not kept; still counted as offered.
    }
    RecursiveMutex::ScopedLock lock(mMutex);
    ++mCounts.additions;
    const bool streaming = NoteAdded(ioAdder, inKey);
    const auto found = mIndex.find(inKey);
    bool cameBack = false;
    if (found != mIndex.end() && found->second->block) {
      // Read again by another File meanwhile: the same bytes; the held copy
      // stays and counts as used.
      Use(found->second);
      return;
    }
    if (made.empty()) return;
    if (found != mIndex.end()) {
      // A ghost: the block left a ring and is wanted again.
      Unlink(found->second, dropped);
      found->second = made.begin();
      cameBack = true;
    } else {
      try {
        mIndex.emplace(inKey, made.begin());
      } catch (const std::bad_alloc&) {
        return;
      }
    }
    Segment& to = streaming && !cameBack ? ioAdder.ring : mProbation;
    made.front().home = &to;
    Count(to, made.front(), true);
    to.entries.splice(to.entries.begin(), made);
    if (&to == &ioAdder.ring) {
      ++mCounts.streamAdditions;
      TrimRing(ioAdder, dropped);
    }
    Settle(dropped);
  }

  // Adds inDelta (+1 or -1) to the block's pins; false when the block is
  // not held (nothing changes then).
  bool Pin(const BlockKey& inKey, int inDelta) noexcept {
    EntryList dropped;
    RecursiveMutex::ScopedLock lock(mMutex);
    const auto found = mIndex.find(inKey);
    if (found == mIndex.end() || !found->second->block) return false;
    Entry& entry = *found->second;
    if (inDelta > 0 && entry.pins++ == 0) {
      Move(*entry.home, found->second, mPinned);
    } else if (inDelta < 0 && entry.pins > 0 && --entry.pins == 0) {
      // Back where it was, as if just used; the limits act at once.
      Move(mPinned, found->second, *entry.home);
      if (entry.home->stream) TrimRing(*entry.home->stream, dropped);
      Settle(dropped);
    }
    return true;
  }

  // Drops every block and ghost of version inId, pinned or not (a buffer's
  // private blocks when the buffer goes).
  void DropVersion(std::uint64_t inId) noexcept {
    EntryList dropped;
    RecursiveMutex::ScopedLock lock(mMutex);
    auto found = mIndex.lower_bound(BlockKey{inId, 0, 0});
    while (found != mIndex.end() && found->first.version == inId) {
      const EntryList::iterator entry = found->second;
      found = mIndex.erase(found);
      Unlink(entry, dropped);
    }
  }

  void SetBudget(std::uint64_t inBudget) noexcept {
    EntryList dropped;
    RecursiveMutex::ScopedLock lock(mMutex);
    mBudget = inBudget;
    for (Stream& stream : mStreams) TrimRing(stream, dropped);
    while (mGhosts.tally.bytes > mBudget) Remove(Oldest(mGhosts), dropped);
    Settle(dropped);
  }

  std::uint64_t GetBudget() noexcept {
    RecursiveMutex::ScopedLock lock(mMutex);
    return mBudget;
  }

  // Drops every unpinned block, and the ghosts.
  void Clear() noexcept {
    EntryList dropped;
    RecursiveMutex::ScopedLock lock(mMutex);
    for (Segment* segment : {&mProbation, &mProtected, &mGhosts})
      while (!segment->entries.empty()) Remove(Oldest(*segment), dropped);
    for (Stream& stream : mStreams)
      while (!stream.ring.entries.empty()) Remove(Oldest(stream.ring), dropped);
  }

  BlockCacheStatistics GetStatistics() noexcept {
    RecursiveMutex::ScopedLock lock(mMutex);
    BlockCacheStatistics statistics = mCounts;
    statistics.streamBlocks = mRings.blocks;
    statistics.streamBytes = mRings.bytes;
    statistics.probationBlocks = mProbation.tally.blocks;
    statistics.probationBytes = mProbation.tally.bytes;
    statistics.protectedBlocks = mProtected.tally.blocks;
    statistics.protectedBytes = mProtected.tally.bytes;
    statistics.pinnedBlocks = mPinned.tally.blocks;
    statistics.pinnedBytes = mPinned.tally.bytes;
    statistics.blocks = mRings.blocks + mProbation.tally.blocks + mProtected.tally.blocks +
                        mPinned.tally.blocks;
    statistics.bytes = Held();
    statistics.byteBudget = mBudget;
    return statistics;
  }

  void ResetCounters() noexcept {
    RecursiveMutex::ScopedLock lock(mMutex);
    mCounts = BlockCacheStatistics();
  }

 private:
  // Everything below runs with the lock held.

  std::uint64_t Held() const noexcept {
    return mRings.bytes + mProbation.tally.bytes + mProtected.tally.bytes + mPinned.tally.bytes;
  }

  static EntryList::iterator Oldest(Segment& inSegment) noexcept {
    return std::prev(inSegment.entries.end());
  }

  static void Count(Segment& ioSegment, const Entry& inEntry, bool inIn) noexcept {
    for (Tally* tally : {&ioSegment.tally, ioSegment.group}) {
      if (!tally) continue;
      if (inIn) {
        ++tally->blocks;
        tally->bytes += inEntry.bytes;
      } else {
        --tally->blocks;
        tally->bytes -= inEntry.bytes;
      }
    }
  }

  // The segment whose list holds the entry now.
  Segment& Where(const Entry& inEntry) noexcept {
    return inEntry.pins > 0 ? mPinned : *inEntry.home;
  }

  // Moves inEntry from ioFrom's list to the front of ioTo's.
  static void Move(Segment& ioFrom, EntryList::iterator inEntry, Segment& ioTo) noexcept {
    Count(ioFrom, *inEntry, false);
    ioTo.entries.splice(ioTo.entries.begin(), ioFrom.entries, inEntry);
    Count(ioTo, *inEntry, true);
  }

  // One step up on a use: a ring to probation, probation to protected,
  // and the front of protected.
  void Use(EntryList::iterator inEntry) noexcept {
    Entry& entry = *inEntry;
    Segment& from = Where(entry);
    Segment* const home = entry.home == &mProbation || entry.home == &mProtected ? &mProtected
                                                                                : &mProbation;
    if (home != entry.home) ++mCounts.promotions;
    entry.home = home;
    Move(from, inEntry, Where(entry));
    KeepProtectedWithinCap();
  }

  void KeepProtectedWithinCap() noexcept {
    while (mProtected.tally.bytes > mBudget - mBudget / 4 && mProtected.tally.blocks > 1) {
      const EntryList::iterator last = Oldest(mProtected);
      last->home = &mProbation;
      Move(mProtected, last, mProbation);
    }
  }

  bool Streaming(const Stream& inStream) const noexcept {
    return inStream.started && inStream.steps >= kStreamSteps && inStream.fileSize > mBudget / 4;
  }

  // An addition by inStream's buffer at inKey: whether it continues a stream.
  bool NoteAdded(Stream& ioStream, const BlockKey& inKey) noexcept {
    const bool step = ioStream.started && inKey.size == ioStream.blockSize &&
                      inKey.offset > ioStream.lastAdded &&
                      inKey.offset - ioStream.lastAdded <= kStreamStride * inKey.size;
    ioStream.steps = step ? ioStream.steps + 1 : 0;
    ioStream.started = true;
    ioStream.lastAdded = inKey.offset;
    ioStream.blockSize = inKey.size;
    if (!step || ioStream.askedAhead < inKey.offset) ioStream.askedAhead = inKey.offset;
    return Streaming(ioStream);
  }

  // A miss of inStream's buffer: when it is one of the blocks a streaming
  // File reads next, its ring makes room now.
  void NoteAskedAhead(Stream& ioStream, const BlockKey& inKey, EntryList& ioDropped) noexcept {
    if (!Streaming(ioStream) || inKey.size != ioStream.blockSize ||
        inKey.offset <= ioStream.lastAdded ||
        (inKey.offset - ioStream.lastAdded) / inKey.size > ioStream.depth + 1)
      return;
    ioStream.askedAhead = std::max(ioStream.askedAhead, inKey.offset);
    TrimRing(ioStream, ioDropped);
  }

  // A ring keeps depth + 2 of its File's blocks, those asked for ahead
  // included, and at least the block added last; all rings together keep
  // at most half the budget, the adder giving up its own blocks first.
  void TrimRing(Stream& ioStream, EntryList& ioDropped) noexcept {
    Segment& ring = ioStream.ring;
    const std::uint64_t ahead = ioStream.blockSize > 0 && ioStream.askedAhead > ioStream.lastAdded
                                    ? (ioStream.askedAhead - ioStream.lastAdded) / ioStream.blockSize
                                    : 0;
    const std::uint64_t reach = ioStream.depth + 2;
    const std::uint64_t keep = reach - std::min(ahead, reach - 1);
    while (ring.tally.blocks > keep) Release(Oldest(ring), ioDropped);
    while (mRings.bytes > mBudget / 2 && ring.tally.blocks > 1) Release(Oldest(ring), ioDropped);
  }

  // Over the cap on protected blocks, or over the budget.
  void Settle(EntryList& ioDropped) noexcept {
    KeepProtectedWithinCap();
    while (Held() > mBudget) {
      if (!mProbation.entries.empty()) {
        Remove(Oldest(mProbation), ioDropped);
      } else if (!mProtected.entries.empty()) {
        Remove(Oldest(mProtected), ioDropped);
      } else {
        Stream* fullest = nullptr;
        for (Stream& stream : mStreams)
          if (stream.ring.tally.bytes > (fullest ? fullest->ring.tally.bytes : 0)) fullest = &stream;
        if (!fullest) break;  // only pinned blocks left
        Release(Oldest(fullest->ring), ioDropped);
      }
    }
  }

  // A ring's block goes and leaves its ghost: the entry stays in the index
  // and joins the ghosts, and the block leaves in another node, the oldest
  // ghost's when the ghosts are full, else a new one (without memory for
  // that, or when no ghost can stand for it, the block goes without one).
  void Release(EntryList::iterator inEntry, EntryList& ioDropped) noexcept {
    if (inEntry->bytes > mBudget) return Remove(inEntry, ioDropped);
    EntryList carrier;
    while (mGhosts.tally.bytes + inEntry->bytes > mBudget) {
      const EntryList::iterator oldest = Oldest(mGhosts);
      mIndex.erase(oldest->key);
      Count(mGhosts, *oldest, false);
      carrier.splice(carrier.begin(), mGhosts.entries, oldest);
    }
    if (carrier.empty()) {
      try {
        carrier.emplace_back();
      } catch (const std::bad_alloc&) {
        return Remove(inEntry, ioDropped);
      }
    }
    carrier.front().block = std::move(inEntry->block);
    ++mCounts.evictions;
    Segment& ring = *inEntry->home;
    inEntry->home = &mGhosts;
    Move(ring, inEntry, mGhosts);
    ioDropped.splice(ioDropped.begin(), carrier);
  }

  // Takes an entry out of the index and of its list, into ioDropped.
  void Remove(EntryList::iterator inEntry, EntryList& ioDropped) noexcept {
    mIndex.erase(inEntry->key);
    Unlink(inEntry, ioDropped);
  }

  // Moves an entry already out of the index from its list to ioDropped and
  // out of the counts.
  void Unlink(EntryList::iterator inEntry, EntryList& ioDropped) noexcept {
    Segment& from = Where(*inEntry);
    Count(from, *inEntry, false);
    if (inEntry->block) ++mCounts.evictions;
    ioDropped.splice(ioDropped.begin(), from.entries, inEntry);
  }

  RecursiveMutex mMutex;
  std::atomic<std::uint64_t> mLastVersionId{0};
  std::map<FileKey, std::weak_ptr<Version>> mVersions;
  std::map<BlockKey, EntryList::iterator> mIndex;
  std::uint64_t mBudget;
  Segment mProbation, mProtected, mPinned, mGhosts;
  StreamList mStreams;
  Tally mRings;  // all rings together
  BlockCacheStatistics mCounts;  // the counters only
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
// pins left gives them back, and it has the pool's record of its reading.
// Its private blocks go with it; its ring goes to probation.
class PoolBuffer : public IFileBuffer, public LibraryFileBuffer {
 public:
  // Throws std::bad_alloc when it cannot be registered.
  explicit PoolBuffer(std::shared_ptr<Pool> inPool)
      : mPool(std::move(inPool)),
        mStream(mPool->NewStream()),
        mPrivateId(mPool->NewVersionId()),
        mVersionId(mPrivateId) {
    try {
      RecursiveMutex::ScopedLock lock(sLibraryBuffersMutex);
      sLibraryBuffers.insert(this);
    } catch (...) {
      mPool->EndStream(mStream);
      throw;
    }
  }

  ~PoolBuffer() override {
    {
      RecursiveMutex::ScopedLock lock(sLibraryBuffersMutex);
      sLibraryBuffers.erase(this);
    }
    for (const auto& pinned : mPins)
      for (int pin = 0; pin < pinned.second; ++pin) mPool->Pin(pinned.first, -1);
    mPool->EndStream(mStream);
    mPool->DropVersion(mPrivateId);
  }

  void SetFileIdentity(const FileIdentity& inIdentity) noexcept override { mIdentity = inIdentity; }

  void SetReadAhead(std::uint32_t inBlocks) noexcept override { mPool->SetDepth(*mStream, inBlocks); }

  void SetFile(const std::uint64_t& inLastModificationTime, const UTF16String& inPath,
               const std::uint64_t& inSize) noexcept override {
    mPool->StartFile(*mStream, inSize);
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
    mPool->Add(key, mShared, std::move(inBlock), *mStream);
  }

  Result GetBlock(std::uint64_t inOffset, std::uint32_t inSize,
                  SharedBlock& outBlock) noexcept override {
    return mPool->Get(BlockKey{mVersionId, inOffset, inSize}, *mStream, outBlock) ? kSuccess
                                                                                   : eFileNotFound;
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
  const StreamList::iterator mStream;
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
