// The portable half of File: construction, block sizing and pinning
// settings, the cached read loop, and unique temporary names.
#include <algorithm>
#include <cstring>

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
                                     strata::threads::RecursiveMutex* ioMutex) {
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
    {
      OptionalLock lock(ioMutex);
      // A block of another size (SetBufferSize on an open File) is not reused.
      if (blockStart == mLastBlockOffset && mLastBlock && mLastBlock->GetSize() >= blockSize)
        block = mLastBlock;
    }
    if (!block) {
      SharedBlock found;
      if (strata::ResultSucceeded(mFileBuffer->GetBlock(blockStart, blockSize, found)) && found &&
          found->GetSize() >= blockSize) {
        block = found;
        OptionalLock lock(ioMutex);
        mLastBlockOffset = blockStart;
        mLastBlock = block;
      } else {
        block = strata::allocator::RecycledMemory::Create(blockSize);
        if (!block) return eOutOfMemory;
        std::uint32_t got = 0;
        const Result result =
            ReadBlockFromDisk(blockStart, ioMutex != nullptr, block->GetData(), blockSize, got);
        if (!strata::ResultSucceeded(result)) return result;
        // Recycled memory holds whatever its last user left; a short block
        // must not show that to the cache's later readers.
        if (got < blockSize) std::memset(block->GetData() + got, 0, blockSize - got);
        valid = got;
        OptionalLock lock(ioMutex);
        mLastBlockOffset = blockStart;
        mLastBlock = block;
        mFileBuffer->AddBlock(block, blockStart);
        PinLoadedBlock(blockStart);
      }
    }
    if (offsetInBlock >= valid) break;
    const std::uint32_t piece = std::min(valid - offsetInBlock, remaining);
    std::memcpy(out + outRead, block->GetData() + offsetInBlock, piece);
    outRead += piece;
    remaining -= piece;
    if (remaining > 0 && offsetInBlock + piece < blockSize) break;  // the file ended early
    blockStart += blockSize;
    offsetInBlock = 0;
  }
  return kSuccess;
}

void File::PrivateImpl::PinLoadedBlock(std::uint64_t inBlockStart) {
  if (mMultiBufferCount < 1) return;
  const std::uint64_t stamp = strata::utility::HighPrecisionTime::GetCurrentTimeStamp();
  if (mPinnedBlocks.size() >= static_cast<std::size_t>(mMultiBufferCount)) {
    const auto oldest = mPinnedBlocks.begin();
    mFileBuffer->UnpinBlock(oldest->second, mBlockSize);
    mPinnedBlocks.erase(oldest);
  }
  mFileBuffer->PinBlock(inBlockStart, mBlockSize);
  // Two blocks pinned within one clock tick: the first keeps the entry.
  mPinnedBlocks.insert(std::make_pair(stamp, inBlockStart));
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

SharedFile::SharedFile() : mSharedImpl(new PrivateImpl) {}

SharedFile::~SharedFile() { delete mSharedImpl; }

}  // namespace Ostra
