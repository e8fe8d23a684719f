/// \file
/// Recycled memory: fixed-size blocks shared by reference count, whose
/// storage goes back to a process-wide pool when the last reference drops,
/// so that a reader that keeps loading blocks of one size stops allocating.
///
/// Storage is page-aligned (4096 bytes), which makes blocks usable for
/// unbuffered I/O. Create and the release of blocks are thread-safe; the
/// contents of one block are not synchronised.
#pragma once

#include <cstddef>
#include <memory>

#include "strata/StrataConfig.h"

namespace strata {
namespace allocator {

class RecycledMemory;
typedef std::shared_ptr<RecycledMemory> RecycledMemoryRef;  ///< how blocks are held

/// One block of recycled memory: fixed-size, page-aligned storage shared by
/// reference count (RecycledMemoryRef), whose storage goes back to a
/// process-wide pool when the last reference drops.
///
/// Threading: Create and the release of blocks are thread-safe; the
/// contents of one block are not synchronised. Failures: Create returns an
/// empty reference when the size is 0 or the memory cannot be had; nothing
/// throws.
class STRATA_API RecycledMemory {
 public:
  /// A block of exactly inSize bytes (contents undefined), or an empty
  /// reference when inSize is 0 or the memory cannot be had.
  static RecycledMemoryRef Create(std::size_t inSize);

  /// Frees the pooled storage that no block uses; returns the bytes freed.
  static std::size_t ReleaseUnusedMemory();
  /// Bytes held by the pool for reuse.
  static std::size_t GetPooledBytes();

  ~RecycledMemory();
  RecycledMemory(const RecycledMemory&) = delete;
  RecycledMemory& operator=(const RecycledMemory&) = delete;

  /// The block's storage and its size in bytes, fixed for its life.
  ///@{
  unsigned char* GetData() { return mData; }
  const unsigned char* GetData() const { return mData; }
  std::size_t GetSize() const { return mSize; }
  ///@}

 private:
  RecycledMemory(unsigned char* inData, std::size_t inSize);
  /// A block is only a pointer and a length; it has no other state to hide.
  unsigned char* mData;
  std::size_t mSize;
};

/// Small objects that are made and freed often (messages sent to the main
/// thread, for one): freed blocks are kept per size class of 16 bytes and
/// handed out again. Blocks above kLargestPooledSize come straight from
/// operator new.
///
/// Threading: every member is thread-safe; a block may be freed on another
/// thread than the one that allocated it. Failures: Allocate throws
/// std::bad_alloc when memory runs out, like operator new.
class STRATA_API SmallBlockAllocator {
 public:
  static const std::size_t kLargestPooledSize = 512;  ///< bytes

  /// Like operator new: never null, std::bad_alloc when out of memory.
  static void* Allocate(std::size_t inSize);
  /// inSize is the size given to Allocate. A null block is ignored.
  static void Free(void* inBlock, std::size_t inSize);
  /// Bytes kept for reuse.
  static std::size_t GetPooledBytes();
};

}  // namespace allocator
}  // namespace strata
