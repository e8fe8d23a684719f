// The state of a File and the steps shared by its portable and platform
// halves: the cached read loop, opening with the cache decision and the
// pinning of loaded blocks live in File.cpp, read-ahead in
// FileReadAhead.cpp, the calls that touch the system's file in
// Win/WinFile.cpp and Posix/PosixFile.cpp.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>

#include "BlockCachePrivate.h"
#include "Ostra/File.h"
#include "Ostra/Foundation.h"
#include "strata/Executor.h"
#include "strata/Impl.h"
#include "strata/Threads.h"

#if defined(_WIN32)
#include "Win/FilePlatform.h"
#else
#include "Posix/FilePlatform.h"
#endif

namespace Ostra {

// -1 as the plain failure of the few File operations that report no code.
constexpr Result kFileMinusOne = static_cast<Result>(0xFFFFFFFFu);

// ------------------------------------------------ the platform's file calls
// Each is one system call or a few, in Win/WinFile.cpp and
// Posix/PosixFile.cpp; none reports by exception.

// Opens inPath as File::Create asks (the flags as File::Create takes
// them); a path the system cannot take is ePathNotFound.
Result OpenSystemFile(const UTF16String& inPath, int inAccess, int inShareMode, int inDisposition,
                      int inAttributes, OwnedFile& outFile);
// Whether inPath names a directory on disk.
bool IsDirectoryOnDisk(const UTF16String& inPath);
// The block size the volume of inPath reads best in, when the system
// says; ioSize stays as it is otherwise.
void GetEfficientBlockSize(const UTF16String& inPath, std::uint32_t& ioSize);

// A second handle on the open file of inHandle, for reading only and
// unbuffered like a cached File's, with a file pointer of its own; an
// invalid one when the system refuses (the File shares no reading).
NativeFile ReopenForReading(NativeFile inHandle);

// Reads inSize bytes at inOffset with the file pointer, moving it there
// first unless ioPointer says it is there already; ioPointer then says
// where it is (unknown after a failure).
Result ReadSequentially(NativeFile inHandle, std::uint64_t inOffset, std::uint64_t& ioPointer,
                        void* outData, std::uint32_t inSize, std::uint32_t& outBytes);
// Reads at inOffset without consulting the file pointer (Windows may move
// it all the same). The end of the file is success with 0 bytes.
Result ReadAtOffset(NativeFile inHandle, std::uint64_t inOffset, void* outData,
                    std::uint32_t inSize, std::uint32_t& outBytes);
// Reads and writes at the file pointer, moving it on.
Result ReadAtPointer(NativeFile inHandle, void* outData, std::uint32_t inSize,
                     std::uint32_t& outBytes);
Result WriteAtPointer(NativeFile inHandle, const void* inData, std::uint32_t inSize,
                      std::uint32_t& outBytes);
Result FlushSystemFile(NativeFile inHandle);
// Cuts or extends the file at the file pointer; kFileMinusOne on failure.
Result EndSystemFileHere(NativeFile inHandle);
// Moves the file pointer (inMethod a FilePointerMoveMethod) and says where
// it is then; kFileMinusOne on failure. Windows refuses a move before the
// start, which callers see as success all the same.
Result MoveSystemFilePointer(NativeFile inHandle, std::int64_t inDistance, int inMethod,
                             std::int64_t& outPosition);
// The size on disk; 0 when the system cannot say.
std::uint64_t SystemFileSize(NativeFile inHandle);
// FILETIME units (100 ns since 1601) on both platforms: the block cache
// compares them with its own clock.
Result GetSystemFileTimes(NativeFile inHandle, std::uint64_t* outCreated,
                          std::uint64_t* outWritten);
// What tells this version of the open file from the next beyond path,
// write time and size; fields the system does not fill stay 0.
FileIdentity ReadFileIdentity(NativeFile inHandle);

// The blocks a sequentially read File asks for before it gets there, read
// on the library's read-ahead thread through a handle of its own (reads at
// an offset cost twice what reads in order cost under Wine). The read-ahead
// thread only reads the disk into blocks of its own: every call into the
// host's cache stays on the File's thread, so a host never sees the File's
// cache calls at once, and none after Close. The File's thread calls every
// member. Nothing here reports a failure: a block that could not be read
// ahead is read by the File itself.
class ReadAhead {
 public:
  // Null when the read-ahead thread or a second handle on the File's file
  // cannot be had.
  static std::unique_ptr<ReadAhead> Start(NativeFile inFileHandle);
  // Drops what is queued, waits for the read in progress and closes the
  // second handle; the last one to go ends the read-ahead thread.
  ~ReadAhead();
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;

  // Queues the inDepth blocks after inBlockStart that are below inSize and
  // not queued yet. A block ioBuffer holds already is taken from it here
  // instead of being read; a cache that fails is taken for a miss.
  void Schedule(std::uint64_t inBlockStart, std::uint32_t inBlockSize, std::uint32_t inDepth,
                std::uint64_t inSize, IFileBuffer& ioBuffer);
  // The block at inBlockStart if it was read ahead: waits while it is being
  // read; one only queued is dropped (the caller reads it sooner itself).
  // outValid: the bytes that hold file data; outFromDisk: read from disk
  // rather than found in the cache (the caller then hands it to the cache).
  bool Take(std::uint64_t inBlockStart, std::uint32_t inBlockSize, SharedBlock& outBlock,
            std::uint32_t& outValid, bool& outFromDisk);
  // Drops what is queued (a jump: reading is not sequential any more).
  void Stop();

 private:
  struct State;
  ReadAhead(std::shared_ptr<State> inState, strata::threads::ExecutorRef inExecutor);

  // Shared with the tasks queued on the read-ahead thread, which may run
  // after this object is gone; it holds nothing of the host's.
  const std::shared_ptr<State> mState;
  strata::threads::ExecutorRef mExecutor;
};

namespace Internal {

// Blocks the read-ahead thread has read from disk since the library was
// loaded; exported only so that the library's tests can see read-ahead work.
OSTRA_API std::uint64_t CountBlocksReadAhead();

}  // namespace Internal

// The block each thread reading a SharedFile used last, so that a thread's
// reads within one block ask the cache once. One slot per thread (threads
// beyond kSlots share one), each under its own lock on its own cache line:
// threads reading at once neither wait for each other nor replace each
// other's block.
class ThreadBlocks {
 public:
  // The calling thread's last block if it starts at inBlockStart and holds
  // at least inBlockSize bytes; empty otherwise.
  SharedBlock Find(std::uint64_t inBlockStart, std::uint32_t inBlockSize);
  void Keep(std::uint64_t inBlockStart, const SharedBlock& inBlock);
  void Clear();

 private:
  static const std::size_t kSlots = 8;
  struct alignas(64) Slot {
    strata::threads::Lock lock;
    std::uint64_t offset = 0;
    SharedBlock block;
  };
  Slot& ThisThreadsSlot();
  Slot mSlots[kSlots];
};

// What a SharedFile's reads share besides the File's state.
struct SharedReads {
  // Guards AddBlock and pinning.
  strata::threads::RecursiveMutex mutex;
  ThreadBlocks blocks;
};

class File::PrivateImpl : public strata::Impl {
 public:
  PrivateImpl() = default;

  bool IsCached() const { return mHandle.IsValid() && !mFileBuffer.IsEmpty(); }

  // Serves up to inCount bytes at inPosition block by block: from the last
  // block, else from the cache, else from disk (the block then goes to the
  // cache and is pinned). inSize is the file size the read is cut to.
  // With ioShared (a SharedFile's reads) blocks are found by thread,
  // AddBlock and pinning run under its mutex, and misses are read
  // positionally. outRead counts the bytes copied even when a later block
  // fails.
  Result CachedRead(std::uint64_t inPosition, std::uint64_t inSize, void* outBuffer,
                    std::uint32_t inCount, std::uint32_t& outRead,
                    SharedReads* ioShared);

  // File::Read when the hit path cannot serve it (kept out of line, so
  // that the hit path needs no stack frame).
  Result ReadBeyondHitBlock(const File& inFile, void* outBuffer, std::uint32_t inCount,
                            std::uint32_t& outRead);
  // Finds the block at inBlockStart that is not the last block: read
  // ahead, from the cache, or from disk; outValid as for ReadAhead::Take.
  Result EnterBlock(std::uint64_t inBlockStart, std::uint64_t inSize,
                    SharedReads* ioShared, SharedBlock& outBlock,
                    std::uint32_t& outValid);
  // Makes inBlock the last block: the calling thread's with ioShared, else
  // the File's and the block of File::Read's hit path.
  void SetLastBlock(std::uint64_t inBlockStart, const SharedBlock& inBlock, std::uint32_t inValid,
                    std::uint64_t inSize, SharedReads* ioShared);
  // AddBlock and pinning of a block read from disk, here or ahead.
  void AddAndPin(std::uint64_t inBlockStart, const SharedBlock& inBlock);
  // Keeps the most recently loaded blocks pinned, oldest out first.
  void PinLoadedBlock(std::uint64_t inBlockStart);
  // Forgets the hit path's block.
  void ClearHitBlock() {
    mHitBlock.reset();
    mHitData = nullptr;
    mHitStart = 0;
    mHitLength = 0;
  }
  // Stops read-ahead and waits for the read in progress.
  void StopReadAhead() {
    mReadAhead.reset();
    mReadAheadRefused = false;
  }

  // Reads inSize bytes at inBlockStart into outData: positionally (an
  // OVERLAPPED offset) or by moving the file pointer first. outBytes is
  // what the system delivered (short at the end of the file).
  Result ReadBlockFromDisk(std::uint64_t inBlockStart, bool inPositional, unsigned char* outData,
                           std::uint32_t inSize, std::uint32_t& outBytes);

  OwnedFile mHandle;
  strata::classref::InterfaceRef<IFileBuffer> mFileBuffer;
  std::uint32_t mBlockSize = 0;
  std::uint64_t mPosition = 0;
  // Atomic: shared readers of a cached File may all ask for the size.
  mutable std::atomic<std::uint64_t> mKnownSize{0};
  UTF16String mPath;
  std::uint64_t mLastBlockOffset = 0;
  SharedBlock mLastBlock;
  bool mBufferSizeSet = false;
  int mMultiBufferCount = 0;
  // Time stamp of pinning => block offset.
  std::map<std::uint64_t, std::uint64_t> mPinnedBlocks;

  // What File::Read copies from without entering the read loop: file bytes
  // [mHitStart, mHitStart + mHitLength) at mHitData, inside mHitBlock (its
  // own reference: ReadAt may replace the last block meanwhile).
  SharedBlock mHitBlock;
  const unsigned char* mHitData = nullptr;
  std::uint64_t mHitStart = 0;
  std::uint64_t mHitLength = 0;

  // A SharedFile's state for ReadAt, whose blocks Close lets go; null for a
  // plain File. Kept here rather than in SharedFile's own object, so that
  // File::Close reaches it.
  std::unique_ptr<SharedReads> mShared;

  // Blocks to read ahead of a sequential File::Read; 0: none. Kept across Close.
  std::uint32_t mReadAheadBlocks = 0;
  // While open, cached and reading ahead.
  std::unique_ptr<ReadAhead> mReadAhead;
  // Read-ahead could not start for this opening.
  bool mReadAheadRefused = false;
};

// Empty: what ReadAt shares is File::PrivateImpl::mShared.
class SharedFile::PrivateImpl : public strata::Impl {};

}  // namespace Ostra
