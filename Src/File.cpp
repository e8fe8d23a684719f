// The portable half of File: construction, block sizing and pinning
// settings, the cached read loop, and unique temporary names.
#include <algorithm>
#include <cstring>
#include <mutex>

#include "BlockCachePrivate.h"
#include "FilePrivate.h"
#include "Ostra/PathUtils.h"
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

UTF16String File::MakeUniqueTempPath(const UTF16String& inPath, bool inKeepExtension) {
  const UTF16String directory = PathUtils::GetFullDirectoryPart(inPath);
  UTF16String file = PathUtils::GetFilePart(inPath);
  const UTF16String extension = PathUtils::GetExtensionPart(inPath);

  // Only the name and extension are kept within the classic limit; the
  // folder may be as long as the long-path form allows.
  const std::size_t guidLength = strata::utility::Guid().AsString().size();
  const std::size_t limit = static_cast<std::size_t>(OSTRA_MAX_PATH) - guidLength;
  if (file.size() + extension.size() > limit)
    file.resize(extension.size() < limit ? limit - extension.size() : 0);

  const UTF16String prefix = directory + file + L"~";
  for (;;) {
    UTF16String candidate = prefix + strata::utility::Guid::CreateUnique().AsString();
    if (inKeepExtension) candidate += extension;
    if (!PathUtils::ExistsOnDisk(candidate, false)) return candidate;
  }
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

SharedFile::SharedFile() : mSharedImpl(new PrivateImpl) {
  mImpl->mThreadBlocks = &mSharedImpl->mReads.blocks;
}

SharedFile::~SharedFile() {
  // The File's Close, which comes after, must not reach the blocks.
  Close();
  mImpl->mThreadBlocks = nullptr;
  delete mSharedImpl;
}

}  // namespace Ostra
