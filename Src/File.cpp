// The portable half of File: construction, block sizing and pinning
// settings, opening with the cache decision, the cached read loop, shared
// positional reads, and the File's checks around the platform's calls.
#include <algorithm>
#include <cstring>
#include <mutex>

#include "BlockCachePrivate.h"
#include "FilePrivate.h"
#include "LibraryState.h"
#include "Ostra/Result.h"
#include "strata/Allocator.h"
#include "strata/Debug.h"
#include "strata/Utility.h"

namespace Ostra {

namespace {

// Locks a mutex when there is one: File::Read runs the cached loop without.
class OptionalLock {
 public:
  explicit OptionalLock(strata::threads::RecursiveMutex* ioMutex) : mMutex(ioMutex) {
    if (mMutex) mMutex->Lock();
  }
  ~OptionalLock() {
    if (mMutex) mMutex->Unlock();
  }
  OptionalLock(const OptionalLock&) = delete;
  OptionalLock& operator=(const OptionalLock&) = delete;

 private:
  strata::threads::RecursiveMutex* mMutex;
};

const std::uint32_t kMinimumBlockSize = 0x10000;
const std::uint32_t kLargeFileBlockSize = 0x200000;
const std::uint64_t kLargeFileThreshold = 0x400001;

// target = inBase + inDelta, kept within 0..inSize without overflowing.
std::uint64_t ClampedMove(std::uint64_t inBase, std::int64_t inDelta, std::uint64_t inSize) {
  if (inBase > inSize) inBase = inSize;
  if (inDelta >= 0) {
    const std::uint64_t delta = static_cast<std::uint64_t>(inDelta);
    return delta >= inSize - inBase ? inSize : inBase + delta;
  }
  const std::uint64_t back = static_cast<std::uint64_t>(-(inDelta + 1)) + 1;
  return back >= inBase ? 0 : inBase - back;
}

strata::debug::DebugOption& UseNonPurgeableOption() {
  static strata::debug::DebugOption sOption("Ostra.UseNonPurgeable", "true");
  return sOption;
}

}  // namespace

// ------------------------------------------------------------ the read loop

Result File::PrivateImpl::CachedRead(std::uint64_t inPosition, std::uint64_t inSize,
                                     void* outBuffer, std::uint32_t inCount,
                                     std::uint32_t& outRead,
                                     SharedReads* ioShared) {
  outRead = 0;
  const std::uint32_t blockSize = mBlockSize;
  if (blockSize == 0) return eUnknown;
  if (inPosition >= inSize) return kSuccess;
  std::uint32_t remaining =
      static_cast<std::uint32_t>(std::min<std::uint64_t>(inCount, inSize - inPosition));
  std::uint64_t blockStart = inPosition - inPosition % blockSize;
  std::uint32_t offsetInBlock = static_cast<std::uint32_t>(inPosition - blockStart);
  unsigned char* out = static_cast<unsigned char*>(outBuffer);

  while (remaining > 0) {
    SharedBlock block;
    // Bytes of the block that hold file data; less only for a block just
    // read short because the file shrank after it was opened.
    std::uint32_t valid = blockSize;
    // A block of another size (SetBufferSize on an open File) is not reused.
    if (ioShared)
      block = ioShared->blocks.Find(blockStart, blockSize);
    else if (blockStart == mLastBlockOffset && mLastBlock && mLastBlock->GetSize() >= blockSize)
      block = mLastBlock;
    if (!block) {
      const Result result = EnterBlock(blockStart, inSize, ioShared, block, valid);
      if (!strata::ResultSucceeded(result)) return result;
    }
    if (offsetInBlock >= valid) break;
    const std::uint32_t piece = std::min(valid - offsetInBlock, remaining);
    CopyBytes(out + outRead, block->GetData() + offsetInBlock, piece);
    outRead += piece;
    remaining -= piece;
    if (remaining > 0 && offsetInBlock + piece < blockSize) break;  // the file ended early
    blockStart += blockSize;
    offsetInBlock = 0;
  }
  return kSuccess;
}

Result File::PrivateImpl::EnterBlock(std::uint64_t inBlockStart, std::uint64_t inSize,
                                     SharedReads* ioShared,
                                     SharedBlock& outBlock, std::uint32_t& outValid) {
  const std::uint32_t blockSize = mBlockSize;
  outValid = blockSize;
  // Shared reads do not read ahead: their threads' order says nothing.
  if (!ioShared && mReadAheadBlocks > 0 && !mReadAhead && !mReadAheadRefused) {
    mReadAhead = ReadAhead::Start(mHandle.Get());
    // Asked once per opening: a File that shares no reading stays without.
    mReadAheadRefused = !mReadAhead;
  }
  ReadAhead* const ahead = ioShared ? nullptr : mReadAhead.get();
  if (ahead) {
    // The block after the last one: read the next ones ahead, before this
    // one is read here. Anything else is a jump, which stops read-ahead.
    if (mLastBlock && inBlockStart == mLastBlockOffset + blockSize)
      ahead->Schedule(inBlockStart, blockSize, mReadAheadBlocks, inSize, *mFileBuffer);
    else
      ahead->Stop();
    bool fromDisk = false;
    if (ahead->Take(inBlockStart, blockSize, outBlock, outValid, fromDisk)) {
      SetLastBlock(inBlockStart, outBlock, outValid, inSize, nullptr);
      // Read from disk for this File: cached and pinned as if read here.
      if (fromDisk) AddAndPin(inBlockStart, outBlock);
      return kSuccess;
    }
  }

  SharedBlock found;
  if (strata::ResultSucceeded(mFileBuffer->GetBlock(inBlockStart, blockSize, found)) && found &&
      found->GetSize() >= blockSize) {
    outBlock = found;
    SetLastBlock(inBlockStart, outBlock, blockSize, inSize, ioShared);
    return kSuccess;
  }
  outBlock = strata::allocator::RecycledMemory::Create(blockSize);
  if (!outBlock) return eOutOfMemory;
  std::uint32_t got = 0;
  const Result result =
      ReadBlockFromDisk(inBlockStart, ioShared != nullptr, outBlock->GetData(), blockSize, got);
  if (!strata::ResultSucceeded(result)) return result;
  // Recycled memory holds whatever its last user left; a short block
  // must not show that to the cache's later readers.
  if (got < blockSize) std::memset(outBlock->GetData() + got, 0, blockSize - got);
  outValid = got;
  SetLastBlock(inBlockStart, outBlock, got, inSize, ioShared);
  OptionalLock lock(ioShared ? &ioShared->mutex : nullptr);
  AddAndPin(inBlockStart, outBlock);
  return kSuccess;
}

void File::PrivateImpl::SetLastBlock(std::uint64_t inBlockStart, const SharedBlock& inBlock,
                                     std::uint32_t inValid, std::uint64_t inSize,
                                     SharedReads* ioShared) {
  if (ioShared) {
    ioShared->blocks.Keep(inBlockStart, inBlock);
    return;
  }
  mLastBlockOffset = inBlockStart;
  mLastBlock = inBlock;
  mHitBlock = inBlock;
  mHitData = inBlock->GetData();
  mHitStart = inBlockStart;
  mHitLength = std::min<std::uint64_t>(inValid, inSize - inBlockStart);
}

void File::PrivateImpl::AddAndPin(std::uint64_t inBlockStart, const SharedBlock& inBlock) {
  mFileBuffer->AddBlock(inBlock, inBlockStart);
  PinLoadedBlock(inBlockStart);
}

void File::PrivateImpl::PinLoadedBlock(std::uint64_t inBlockStart) {
  if (mMultiBufferCount < 1) return;
  const std::uint64_t stamp = strata::utility::HighPrecisionTime::GetCurrentTimeStamp();
  if (mPinnedBlocks.size() >= static_cast<std::size_t>(mMultiBufferCount)) {
    // Forgotten first: a cache that throws here is never asked twice.
    const std::uint64_t oldest = mPinnedBlocks.begin()->second;
    mPinnedBlocks.erase(mPinnedBlocks.begin());
    mFileBuffer->UnpinBlock(oldest, mBlockSize);
  }
  // Recorded before the pin, so that no pin is made that Close would not
  // give back; a cache that throws takes the record back with it. Two
  // blocks pinned within one clock tick: the first keeps the entry.
  const auto recorded = mPinnedBlocks.insert(std::make_pair(stamp, inBlockStart));
  try {
    mFileBuffer->PinBlock(inBlockStart, mBlockSize);
  } catch (...) {
    if (recorded.second) mPinnedBlocks.erase(recorded.first);
    throw;
  }
}

// ---------------------------------------------------------------- File

File::File() : mImpl(new PrivateImpl) {}

File::~File() {
  Close();
  delete mImpl;
}

void File::SetBufferSize(std::uint32_t inBufferSize) {
  mImpl->mBlockSize = inBufferSize;
  mImpl->mBufferSizeSet = true;
  // The read loop decides again whether the last block is of the size.
  mImpl->ClearHitBlock();
}

void File::SetReadAhead(std::uint32_t inBlocks) {
  mImpl->mReadAheadBlocks = inBlocks;
  if (inBlocks == 0) mImpl->StopReadAhead();
  // The library's own cache sizes a streaming File's ring by it.
  if (mImpl->IsCached())
    if (LibraryFileBuffer* own = AsLibraryFileBuffer(mImpl->mFileBuffer.Get()))
      own->SetReadAhead(inBlocks);
}

void File::SetMultiBufferCount(int inCount) {
  if (UseNonPurgeableOption().GetText() == "true") mImpl->mMultiBufferCount = inCount;
}

// ------------------------------------------------------------ reading

Result File::PrivateImpl::ReadBlockFromDisk(std::uint64_t inBlockStart, bool inPositional,
                                            unsigned char* outData, std::uint32_t inSize,
                                            std::uint32_t& outBytes) {
  outBytes = 0;
  if (inPositional) return ReadAtOffset(mHandle.Get(), inBlockStart, outData, inSize, outBytes);
  // Always moved: whoever holds the File's handle may have moved it.
  std::uint64_t unknown = UINT64_MAX;
  return ReadSequentially(mHandle.Get(), inBlockStart, unknown, outData, inSize, outBytes);
}

Result File::Read(void* outBuffer, std::uint32_t inCount, std::uint32_t& outRead) {
  PrivateImpl& impl = *mImpl;
  // The hit path: all of it inside the last block (never true for a File
  // that is closed or uncached, whose hit length is 0).
  const std::uint64_t offset = impl.mPosition - impl.mHitStart;
  if (offset < impl.mHitLength && inCount <= impl.mHitLength - offset) {
    CopyBytes(outBuffer, impl.mHitData + offset, inCount);
    impl.mPosition += inCount;
    outRead = inCount;
    return kSuccess;
  }
  return impl.ReadBeyondHitBlock(*this, outBuffer, inCount, outRead);
}

Result File::PrivateImpl::ReadBeyondHitBlock(const File& inFile, void* outBuffer,
                                             std::uint32_t inCount, std::uint32_t& outRead) {
  outRead = 0;
  // Read has no assertion of its own; a closed File reads nothing.
  if (!inFile.IsOpen()) return eFileNotFound;
  if (IsCached()) {
    const Result result =
        CachedRead(mPosition, inFile.SizeOnDisk(), outBuffer, inCount, outRead, nullptr);
    if (strata::ResultSucceeded(result)) mPosition += outRead;
    return result;
  }
  return ReadAtPointer(mHandle.Get(), outBuffer, inCount, outRead);
}

Result SharedFile::ReadAt(void* outBuffer, std::int64_t inOffset, std::uint32_t inCount,
                          std::uint32_t& outRead) {
  outRead = 0;
  if (!IsOpen()) return eFileNotFound;
  if (inOffset < 0) return eUnknown;
  const std::uint64_t offset = static_cast<std::uint64_t>(inOffset);
  if (mImpl->IsCached())
    return mImpl->CachedRead(offset, SizeOnDisk(), outBuffer, inCount, outRead,
                             mImpl->mShared.get());
  if (inCount == 0) return kSuccess;
  return ReadAtOffset(mImpl->mHandle.Get(), offset, outBuffer, inCount, outRead);
}

// ---------------------------------------------------------- open and close

Result File::Create(const UTF16String& inPath, FileAccessFlags::Type inAccess,
                    FileShareModeFlags::Type inShareMode,
                    FileCreateDispositionFlags::Type inDisposition,
                    FileAttributesFlags::Type inAttributes, bool inAllowDirectory) {
  STRATA_INPUT_CONTRACT(!IsOpen());
  if (!inAllowDirectory && IsDirectoryOnDisk(inPath)) return eUnknown;
  // Copied before anything is opened: storing it later cannot fail then.
  UTF16String path(inPath);

  int attributes = inAttributes;
  // Only a file nobody else writes (or whose owner says caching is safe)
  // may be served from blocks read earlier.
  const bool cacheable = inAccess == FileAccessFlags::kFileRead &&
                         !(inAttributes & FileAttributesFlags::kNoBuffering) &&
                         ((inAttributes & FileAttributesFlags::kAllowCaching) ||
                          !(inShareMode & FileShareModeFlags::kShareWrite));
  if (cacheable) {
    const strata::classref::InterfaceRef<IFileBufferFactory> factory =
        Foundation::GetFileBufferFactory();
    if (factory) {
      mImpl->mFileBuffer = factory->CreateFileBuffer();
      mImpl->mPosition = 0;
      if (!mImpl->mBufferSizeSet) GetEfficientBlockSize(inPath, mImpl->mBlockSize);
      if (mImpl->mBlockSize < kMinimumBlockSize) mImpl->mBlockSize = kMinimumBlockSize;
      // Whole blocks go to the cache; the system need not buffer them too.
      if (mImpl->mFileBuffer) attributes |= FileAttributesFlags::kNoBuffering;
    }
  }

  const Result result =
      OpenSystemFile(inPath, inAccess, inShareMode, inDisposition, attributes, mImpl->mHandle);
  mImpl->mPath.swap(path);
  if (!strata::ResultSucceeded(result)) {
    // A File that did not open holds no cache of its own.
    mImpl->mFileBuffer.Reset();
    return result;
  }

  if (mImpl->IsCached()) {
    std::uint64_t time = 0;
    GetLastModificationTime(time);
    const std::uint64_t size = SizeOnDisk();
    // The library's own cache also learns what tells this version from a
    // same-size rewrite that kept the write time, and how far this File
    // reads ahead; a host's cache only the three.
    LibraryFileBuffer* const own = AsLibraryFileBuffer(mImpl->mFileBuffer.Get());
    if (own) own->SetFileIdentity(ReadFileIdentity(mImpl->mHandle.Get()));
    try {
      mImpl->mFileBuffer->SetFile(time, inPath, size);
    } catch (...) {
      // A cache that cannot take the file leaves nothing open behind it.
      Close();
      throw;
    }
    if (own) own->SetReadAhead(mImpl->mReadAheadBlocks);
    if (!mImpl->mBufferSizeSet && size >= kLargeFileThreshold &&
        mImpl->mBlockSize < kLargeFileBlockSize)
      mImpl->mBlockSize = kLargeFileBlockSize;
  }
  return kSuccess;
}

void File::Close() {
  // Read-ahead ends first; it waits for the read in progress.
  mImpl->StopReadAhead();
  mImpl->ClearHitBlock();
  mImpl->mHandle.Close();
  // Close always closes, also from the destructor: a cache that throws
  // loses the rest of its unpins rather than keeping the File half open.
  std::map<std::uint64_t, std::uint64_t> pinned;
  pinned.swap(mImpl->mPinnedBlocks);
  if (!pinned.empty()) {
    IFileBuffer& buffer = *mImpl->mFileBuffer;
    try {
      for (const auto& block : pinned) buffer.UnpinBlock(block.second, mImpl->mBlockSize);
    } catch (...) {
    }
  }
  mImpl->mFileBuffer.Reset();
  mImpl->mLastBlock.reset();
  if (mImpl->mShared) mImpl->mShared->blocks.Clear();
  mImpl->mKnownSize.store(0);
}

bool File::IsOpen() const { return mImpl->mHandle.IsValid(); }

// ---------------------------------------------------------------- writing

Result File::Write(const void* inBuffer, std::uint32_t inCount, std::uint32_t& outWritten) {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(IsOpen(), "Write called on a File that isn't open. Please report this error.");
    return eFileNotFound;
  }
  return WriteAtPointer(mImpl->mHandle.Get(), inBuffer, inCount, outWritten);
}

Result File::Flush() {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(IsOpen(), "Flush called on a File that isn't open. Please report this error.");
    return eFileNotFound;
  }
  return FlushSystemFile(mImpl->mHandle.Get());
}

Result File::SetEndOfFile() {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(IsOpen(),
                       "SetEndOfFile called on a File that isn't open. Please report this error.");
    return eFileNotFound;
  }
  return EndSystemFileHere(mImpl->mHandle.Get());
}

// ------------------------------------------------------------ the pointer

Result File::SetFilePointer(std::int64_t inDistance, FilePointerMoveMethod::Type inMethod) {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(IsOpen(),
                       "SetFilePointer called on a File that isn't open. Please report this error.");
    return eFileNotFound;
  }
  if (mImpl->IsCached()) {
    const std::uint64_t size = SizeOnDisk();
    switch (inMethod) {
      case FilePointerMoveMethod::kBegin:
        mImpl->mPosition = ClampedMove(0, inDistance, size);
        break;
      case FilePointerMoveMethod::kCurrent:
        mImpl->mPosition = ClampedMove(mImpl->mPosition, inDistance, size);
        break;
      case FilePointerMoveMethod::kEnd:
        // Both signs count back from the end: callers pass either.
        mImpl->mPosition = ClampedMove(size, inDistance > 0 ? -inDistance : inDistance, size);
        break;
      default:
        return eUnknown;
    }
    return kSuccess;
  }
  std::int64_t position = 0;
  return MoveSystemFilePointer(mImpl->mHandle.Get(), inDistance, inMethod, position);
}

Result File::GetFilePointer(std::int64_t& outPosition) const {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(IsOpen(),
                       "GetFilePointer called on a File that isn't open. Please report this error.");
    return eFileNotFound;
  }
  if (mImpl->IsCached()) {
    outPosition = static_cast<std::int64_t>(mImpl->mPosition);
    return kSuccess;
  }
  std::int64_t position = 0;
  const Result result =
      MoveSystemFilePointer(mImpl->mHandle.Get(), 0, FilePointerMoveMethod::kCurrent, position);
  if (strata::ResultSucceeded(result)) outPosition = position;
  return result;
}

// ---------------------------------------------------------- times and size

Result File::GetCreationTime(std::uint64_t& outTime) const {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(IsOpen(),
                       "GetCreationTime called on a File that isn't open. Please report this error.");
    return eFileNotFound;
  }
  return GetSystemFileTimes(mImpl->mHandle.Get(), &outTime, nullptr);
}

Result File::GetLastModificationTime(std::uint64_t& outTime) const {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(
        IsOpen(),
        "GetLastModificationTime called on a File that isn't open. Please report this error.");
    return eFileNotFound;
  }
  return GetSystemFileTimes(mImpl->mHandle.Get(), nullptr, &outTime);
}

std::uint64_t File::SizeOnDisk() const {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(IsOpen(),
                       "SizeOnDisk called on a File that isn't open. Please report this error.");
    return 0;
  }
  const std::uint64_t known = mImpl->mKnownSize.load();
  if (known != 0 && mImpl->IsCached()) return known;
  const std::uint64_t size = SystemFileSize(mImpl->mHandle.Get());
  mImpl->mKnownSize.store(size);
  return size;
}

FileSystemType::Type File::GetFileSystemType() const {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(
        IsOpen(), "GetFileSystemType called on a File that isn't open. Please report this error.");
  }
  return FileSystemType::kUnknown;
}

// ---------------------------------------------------------- SharedFile

ThreadBlocks::Slot& ThreadBlocks::ThisThreadsSlot() {
  // Windows numbers threads in steps of 4; the multiplier spreads any steps.
  const std::uint32_t hash = strata::threads::GetCurrentThreadNumber() * 2654435761u;
  return mSlots[(hash >> 16) % kSlots];
}

SharedBlock ThreadBlocks::Find(std::uint64_t inBlockStart, std::uint32_t inBlockSize) {
  Slot& slot = ThisThreadsSlot();
  std::lock_guard<strata::threads::Lock> lock(slot.lock);
  if (slot.offset == inBlockStart && slot.block && slot.block->GetSize() >= inBlockSize)
    return slot.block;
  return SharedBlock();
}

void ThreadBlocks::Keep(std::uint64_t inBlockStart, const SharedBlock& inBlock) {
  SharedBlock before(inBlock);  // the slot's old block, let go after the lock
  Slot& slot = ThisThreadsSlot();
  std::lock_guard<strata::threads::Lock> lock(slot.lock);
  slot.offset = inBlockStart;
  slot.block.swap(before);
}

void ThreadBlocks::Clear() {
  for (Slot& slot : mSlots) {
    SharedBlock before;
    std::lock_guard<strata::threads::Lock> lock(slot.lock);
    slot.block.swap(before);
  }
}

SharedFile::SharedFile() : mSharedImpl(nullptr) {
  // Both made before either is kept: a failed allocation leaks neither.
  std::unique_ptr<SharedReads> shared(new SharedReads);
  mSharedImpl = new PrivateImpl;
  mImpl->mShared = std::move(shared);
}

SharedFile::~SharedFile() { delete mSharedImpl; }

}  // namespace Ostra
