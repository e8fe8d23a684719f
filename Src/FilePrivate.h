// The state of a File and the steps shared by its portable and Windows
// halves: the cached read loop and the pinning of loaded blocks live in
// File.cpp, the calls that touch the handle in Win/WinFile.cpp.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>

#include "Ostra/File.h"
#include "Ostra/Foundation.h"
#include "Win/ScopedHandle.h"
#include "strata/Impl.h"
#include "strata/Threads.h"

namespace Ostra {

// -1 as the plain failure of the few File operations that report no code.
constexpr Result kFileMinusOne = static_cast<Result>(0xFFFFFFFFu);

class File::PrivateImpl : public strata::Impl {
 public:
  PrivateImpl() = default;

  bool IsCached() const { return mHandle.IsValid() && !mFileBuffer.IsEmpty(); }

  // Serves up to inCount bytes at inPosition block by block: from the last
  // block, else from the cache, else from disk (the block then goes to the
  // cache and is pinned). inSize is the file size the read is cut to.
  // With ioMutex (shared reads) only the last-block pair, AddBlock and
  // pinning run under it, and misses are read positionally. outRead counts
  // the bytes copied even when a later block fails.
  Result CachedRead(std::uint64_t inPosition, std::uint64_t inSize, void* outBuffer,
                    std::uint32_t inCount, std::uint32_t& outRead,
                    strata::threads::RecursiveMutex* ioMutex);

  // Keeps the most recently loaded blocks pinned, oldest out first.
  void PinLoadedBlock(std::uint64_t inBlockStart);

  // Reads inSize bytes at inBlockStart into outData: positionally (an
  // OVERLAPPED offset) or by moving the file pointer first. outBytes is
  // what Windows delivered (short at the end of the file). Win/WinFile.cpp.
  Result ReadBlockFromDisk(std::uint64_t inBlockStart, bool inPositional, unsigned char* outData,
                           std::uint32_t inSize, std::uint32_t& outBytes);

  Win::ScopedHandle mHandle;
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
};

class SharedFile::PrivateImpl : public strata::Impl {
 public:
  // Guards the File's last-block pair, AddBlock and pinning during ReadAt.
  strata::threads::RecursiveMutex mMutex;
};

}  // namespace Ostra
