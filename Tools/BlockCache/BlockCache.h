// A reference block cache for hosts of OstraFoundation: a factory whose
// buffers share one pool of blocks under a byte budget. Copy it into a host
// and adapt the budget and statistics to taste.
//
// Blocks are keyed by the file's path, last-write time and size (from
// IFileBuffer::SetFile), its offset and block size, so two Files opened on
// the same version of a file share blocks, and a changed file gets new
// ones. When the pool grows past its budget the least recently used
// unpinned blocks go; pinned blocks are never evicted, so the pool may
// exceed the budget while Files keep many blocks pinned. The block added
// last is kept until the next addition, so that a File may pin it.
//
// Thread-safe: every operation of the factory and of its buffers may run on
// any thread at any time (one mutex guards the pool). Buffers keep the pool
// alive after the factory is gone.
#pragma once

#include <cstdint>
#include <memory>

#include "Ostra/Foundation.h"

namespace OstraTools {

struct BlockCacheStatistics {
  std::uint64_t hits = 0;        // GetBlock found the block
  std::uint64_t misses = 0;      // GetBlock did not
  std::uint64_t additions = 0;   // AddBlock calls
  std::uint64_t evictions = 0;   // blocks dropped for the budget
  std::uint64_t blocks = 0;      // blocks held now
  std::uint64_t bytes = 0;       // bytes held now
  std::uint64_t pinnedBlocks = 0;  // blocks with at least one pin now
  double HitRate() const {
    return hits + misses ? static_cast<double>(hits) / static_cast<double>(hits + misses) : 0;
  }
};

class BlockCacheFactory : public Ostra::IFileBufferFactory {
 public:
  explicit BlockCacheFactory(std::uint64_t inByteBudget);
  ~BlockCacheFactory() override;
  BlockCacheFactory(const BlockCacheFactory&) = delete;
  BlockCacheFactory& operator=(const BlockCacheFactory&) = delete;

  strata::classref::InterfaceRef<Ostra::IFileBuffer> CreateFileBuffer() override;

  BlockCacheStatistics GetStatistics() const;
  // Zeroes the hit, miss, addition and eviction counters.
  void ResetCounters();
  // Drops every unpinned block.
  void Clear();

  class Pool;

 private:
  std::shared_ptr<Pool> mPool;
};

}  // namespace OstraTools
