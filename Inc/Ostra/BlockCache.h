/// \file
/// The library's own block cache (Ostra::BlockCache) and its statistics.
#pragma once

#include <cstdint>

#include "Ostra/Foundation.h"
#include "Ostra/OstraConfig.h"

namespace Ostra {

/// What a BlockCache has done and holds; BlockCache::GetStatistics. Each
/// block held is in exactly one of four places (see the file comment): a
/// streaming File's ring, probation, protected, or pinned, so blocks is
/// streamBlocks + probationBlocks + protectedBlocks + pinnedBlocks, and the
/// same holds for bytes.
struct BlockCacheStatistics {
  /// \name Counters since the cache was made or ResetCounters was called.
  ///@{
  std::uint64_t hits = 0;       ///< GetBlock found the block
  std::uint64_t misses = 0;     ///< GetBlock did not
  std::uint64_t additions = 0;  ///< AddBlock calls
  std::uint64_t evictions = 0;  ///< blocks dropped (budget, rings, Clear, a File's own on its close)
  std::uint64_t streamAdditions = 0;  ///< blocks added to a streaming File's ring
  std::uint64_t promotions = 0;  ///< uses that moved a block up: ring to probation, probation to protected
  ///@}
  /// \name The state now.
  ///@{
  std::uint64_t blocks = 0;           ///< blocks held
  std::uint64_t bytes = 0;            ///< bytes held
  std::uint64_t streamBlocks = 0;     ///< blocks in the rings of streaming Files
  std::uint64_t streamBytes = 0;      ///< bytes of those blocks
  std::uint64_t probationBlocks = 0;  ///< blocks seen once, outside the rings
  std::uint64_t probationBytes = 0;   ///< bytes of those blocks
  std::uint64_t protectedBlocks = 0;  ///< blocks used again
  std::uint64_t protectedBytes = 0;   ///< bytes of those blocks
  std::uint64_t pinnedBlocks = 0;     ///< blocks with at least one pin
  std::uint64_t pinnedBytes = 0;      ///< bytes of those blocks
  std::uint64_t byteBudget = 0;       ///< SetByteBudget's last value
  ///@}

  /// Hits as a share of lookups, 0 to 1; 0 before any lookup.
  double HitRate() const {
    return hits + misses ? static_cast<double>(hits) / static_cast<double>(hits + misses) : 0;
  }
};

/// The library's own block cache: a file-buffer factory a host installs in
/// one line instead of writing its own,
///
/// ```
///   Ostra::Foundation::SetFileBufferFactory(Ostra::BlockCache::Create(256u << 20));
/// ```
///
/// One BlockCache is one pool of blocks under a byte budget, shared by every
/// File it serves; a host normally installs one for the whole process and
/// keeps a reference to read its statistics or change its budget.
///
/// Blocks are kept per version of a file: its path, last-write time and
/// size as the File reports them when it opens (IFileBuffer::SetFile), and,
/// from the library's own File, the volume, the file's id and its change
/// time, which every write and every setting of the times moves. Two Files
/// on the same unchanged file share blocks, also after a reopen; a changed
/// file is a new version and never sees the old one's blocks (they age
/// out). A version last written or changed less than 2 s before the File
/// opened it (the step of FAT's write times) may yet have a successor with
/// the same stamps: its blocks serve that File alone and go when it closes.
/// What remains unseen is a same-size rewrite that sets the write time
/// back on a file system that keeps no change time (FAT, exFAT); a host's
/// own cache, told only path, write time and size, cannot see one that
/// keeps the write time on any file system. Paths are
/// compared as given, so two spellings of one path do not share.
///
/// One long read cannot flood the pool. A File that reads a file larger
/// than a quarter of the budget in order keeps its blocks in a small ring
/// of its own, whose memory is reused for its next blocks while it is still
/// in the processor's caches. The ring keeps the File's read-ahead depth
/// (File::SetReadAhead) + 2 blocks, counting those it asked for ahead and
/// has not read yet: mid-stream the block being read and the one before,
/// at the end of the file its last depth + 2 blocks; all rings together
/// keep at most half the budget. Other blocks start on probation.
/// Each use moves a block one step up: from a ring to probation, from
/// probation to the protected blocks (at most 3/4 of the budget), which go
/// last. A block read again soon after it left a ring starts on probation,
/// so a clip played twice is cached from then on, if it fits; a closing
/// File's ring goes to probation. When the pool holds more than its budget,
/// the least recently used blocks on probation go first, then protected
/// ones, then those of the rings. Pinned blocks count towards the budget but
/// are never evicted, so the pool exceeds the budget only by blocks pinned
/// when it was reached; a block that does not fit beside them is not kept
/// at all.
///
/// Threading: every member, and every operation of the buffers it makes,
/// may be called from any thread at any time. One lock guards the pool, held
/// only to look a block up or file it, never while one is copied or read.
/// Buffers keep the pool alive after the last reference to the BlockCache
/// itself is gone.
///
/// Failures: nothing here throws or reports one. A block that cannot be
/// kept (no memory, no room beside pinned blocks) is simply not cached;
/// GetBlock then misses and the File reads the block from disk again. A pin
/// that cannot be recorded is not made; a version that cannot be shared
/// for want of memory keeps its blocks for its File alone.
class OSTRA_API BlockCache : public IFileBufferFactory {
 public:
  /// A new, empty pool that holds at most inByteBudget bytes of blocks
  /// (beyond that only pinned ones). Empty only when there is no memory for
  /// it (installing that leaves Files uncached).
  static strata::classref::InterfaceRef<BlockCache> Create(std::uint64_t inByteBudget) noexcept;

  /// A per-File view of this pool; empty only when there is no memory for
  /// it (the File is then read uncached).
  strata::classref::InterfaceRef<IFileBuffer> CreateFileBuffer() noexcept override;

  /// A new budget; when it is lower than what the pool holds, unpinned
  /// blocks are evicted before the call returns (for memory pressure).
  void SetByteBudget(std::uint64_t inByteBudget) noexcept;
  /// The budget in bytes, as last set.
  std::uint64_t GetByteBudget() const noexcept;

  /// A snapshot, taken under the pool's lock: its fields agree.
  BlockCacheStatistics GetStatistics() const noexcept;
  /// Zeroes the hit, miss, addition and eviction counters.
  void ResetCounters() noexcept;
  /// Evicts every unpinned block.
  void Clear() noexcept;

  class PrivateImpl;  // the pool's hidden state

 protected:
  /// Made by Create only: the cache lives by its reference count.
  explicit BlockCache(std::uint64_t inByteBudget);
  ~BlockCache() override;
  BlockCache(const BlockCache&) = delete;
  BlockCache& operator=(const BlockCache&) = delete;

 private:
  PrivateImpl* mImpl;
};

}  // namespace Ostra
