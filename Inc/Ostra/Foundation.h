/// \file
/// The host's block cache: the interfaces a host implements to share file
/// blocks between Files, and the call that installs its factory.
///
/// Both interfaces are reference counted (strata::classref::IRefCounted).
/// A File calls its buffer only on the threads that call the File (Create,
/// Read, SharedFile::ReadAt, Close), never on a thread of the library's
/// own, and lets it go in Close: a lock a host holds around those calls may
/// be taken inside the buffer too, and nothing of the library touches the
/// buffer after Close. IFileBuffer::GetBlock, AddBlock and pinning must
/// accept calls from several threads at once when SharedFile::ReadAt runs
/// on several. Whatever a buffer throws leaves the File call that made it.
#pragma once

#include <cstdint>

#include "Ostra/OstraConfig.h"
#include "strata/Allocator.h"
#include "strata/ClassRef.h"

namespace Ostra {

/// A shared block: page-aligned memory of exactly the File's block size.
typedef strata::allocator::RecycledMemoryRef SharedBlock;

/// The cache of one open file, implemented by the host: the File hands it
/// the blocks it reads and asks it for blocks before reading them itself.
///
/// Threading: a File calls its buffer only on the threads that call the
/// File, one call at a time, except that SharedFile::ReadAt on several
/// threads makes concurrent GetBlock, AddBlock and pinning calls, which the
/// buffer must then accept. Nothing of the library calls it after the
/// File's Close.
///
/// Failures: a negative result of GetBlock is a miss, not an error; the
/// File then reads the block from disk. An exception the buffer throws
/// leaves the File call that made it.
class IFileBuffer : public strata::classref::IRefCounted {
 public:
  /// Which file, and which version of it (FILETIME of the last write, size
  /// in bytes), the buffer serves; called once after the file was opened.
  virtual void SetFile(const std::uint64_t& inLastModificationTime, const UTF16String& inPath,
                       const std::uint64_t& inSize) = 0;
  /// A block freshly read from disk at inOffset.
  virtual void AddBlock(SharedBlock inBlock, std::uint64_t inOffset) = 0;
  /// A negative result means the block is not cached.
  virtual Result GetBlock(std::uint64_t inOffset, std::uint32_t inSize, SharedBlock& outBlock) = 0;
  /// The File no longer needs the block resident; the cache may purge it.
  virtual void UnpinBlock(std::uint64_t inOffset, std::uint32_t inSize) = 0;
  /// Keep the block resident until it is unpinned.
  virtual void PinBlock(std::uint64_t inOffset, std::uint32_t inSize) = 0;
};

/// Makes a buffer for each File opened for cached reading; installed with
/// Foundation::SetFileBufferFactory and implemented by the host (or
/// BlockCache, the library's own).
///
/// Threading: CreateFileBuffer is called on the thread that creates a
/// File, under the library's lock (a recursive one, so the factory may
/// call back into the library on that thread); Files on several threads
/// may call it at once.
///
/// Failures: an empty reference makes the File read uncached; an exception
/// leaves File::Create.
class IFileBufferFactory : public strata::classref::IRefCounted {
 public:
  /// May return an empty reference: the File is then read uncached.
  virtual strata::classref::InterfaceRef<IFileBuffer> CreateFileBuffer() = 0;
};

namespace Foundation {

/// Installs the factory that Files created from now on ask for a buffer; an
/// empty reference uninstalls it. Open Files keep the buffer they have. The
/// library keeps its own reference until the factory is replaced; shutting
/// the library down does not release it. Thread-safe.
OSTRA_API void SetFileBufferFactory(strata::classref::InterfaceRef<IFileBufferFactory> inFactory);

/// Starts the library: the first call starts the asynchronous file
/// operations, makes the calling thread the application's main thread and
/// registers the six message stations; later calls only count. Call
/// Terminate once for each Initialize. Thread-safe.
OSTRA_API void Initialize();

/// Ends one Initialize; the last ends the main-thread registration, stops
/// the asynchronous file operations (every reader must be closed by then)
/// and shuts tracing down; its I/O threads have ended when it returns.
/// The read-ahead thread ends in the Close of the last File reading ahead,
/// and the CPU pool's threads with the last reference to it (a reader holds
/// one until it is destroyed). Stations stay registered and the factory
/// stays installed. A Terminate without its Initialize is not caught.
OSTRA_API void Terminate();

}  // namespace Foundation
}  // namespace Ostra
