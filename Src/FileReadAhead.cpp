// Read-ahead of cached Files: one thread for the whole library, made when
// the first File starts reading ahead and ended when the last stops, reads
// the queued blocks of every File in the order they were queued.
#include <cstring>
#include <utility>

#include <boost/weak_ptr.hpp>

#include "FilePrivate.h"
#include "Ostra/Result.h"
#include "strata/Allocator.h"

namespace Ostra {

namespace {

using strata::threads::RecursiveMutex;

// At namespace scope rather than in the function: Files that start reading
// ahead together would race on a function's statics, and the C++ runtime's
// wait for them makes handles that outlive the library.
RecursiveMutex sExecutorMutex;
boost::weak_ptr<strata::threads::Executor> sExecutor;

strata::threads::ExecutorRef AcquireReadAheadExecutor() {
  RecursiveMutex::ScopedLock lock(sExecutorMutex);
  strata::threads::ExecutorRef executor = sExecutor.lock();
  if (!executor) {
    // Above normal: it mostly waits for the disk, and a reader waits for it.
    executor = strata::threads::CreateAsyncThreadedExecutor(
        "Ostra read-ahead", 1, strata::threads::ThreadPriority::kAboveNormal, {}, {},
        strata::threads::ThreadAttributes());
    sExecutor = executor;
  }
  return executor;
}

}  // namespace

struct ReadAhead::Slot {
  enum State { kQueued, kReading, kDone, kFailed };
  State state = kQueued;
  std::uint32_t blockSize = 0;
  SharedBlock block;
  std::uint32_t valid = 0;
  bool fromDisk = false;
};

std::shared_ptr<ReadAhead> ReadAhead::Start(void* inFileHandle,
                                            strata::classref::InterfaceRef<IFileBuffer> inBuffer) {
  Win::ScopedHandle handle(ReopenForReading(inFileHandle));
  if (!handle.IsValid()) return {};
  strata::threads::ExecutorRef executor = AcquireReadAheadExecutor();
  if (!executor) return {};
  return std::make_shared<ReadAhead>(std::move(handle), std::move(inBuffer), std::move(executor));
}

ReadAhead::ReadAhead(Win::ScopedHandle&& ioHandle,
                     strata::classref::InterfaceRef<IFileBuffer> inBuffer,
                     strata::threads::ExecutorRef inExecutor)
    : mHandle(std::move(ioHandle)), mExecutor(std::move(inExecutor)), mChanged(true),
      mBuffer(std::move(inBuffer)) {}

void ReadAhead::Schedule(std::uint64_t inBlockStart, std::uint32_t inBlockSize,
                         std::uint32_t inDepth, std::uint64_t inSize) {
  RecursiveMutex::ScopedLock lock(mMutex);
  if (mShutDown) return;
  std::uint64_t next = inBlockStart;
  for (std::uint32_t ahead = 0; ahead < inDepth; ++ahead) {
    next += inBlockSize;
    if (next >= inSize) break;
    std::shared_ptr<Slot>& slot = mSlots[next];
    if (slot) continue;
    slot = std::make_shared<Slot>();
    slot->blockSize = inBlockSize;
    // The task holds this object, not the File: it may run after Close.
    std::weak_ptr<ReadAhead> self = weak_from_this();
    mExecutor->Post([self, next] {
      if (const std::shared_ptr<ReadAhead> alive = self.lock()) alive->ReadOne(next);
    });
  }
}

void ReadAhead::ReadOne(std::uint64_t inBlockStart) {
  std::shared_ptr<Slot> slot;
  strata::classref::InterfaceRef<IFileBuffer> buffer;
  {
    RecursiveMutex::ScopedLock lock(mMutex);
    const auto found = mSlots.find(inBlockStart);
    if (mShutDown || found == mSlots.end() || found->second->state != Slot::kQueued) return;
    slot = found->second;
    slot->state = Slot::kReading;
    buffer = mBuffer;
    ++mReading;
  }
  const std::uint32_t blockSize = slot->blockSize;
  SharedBlock block;
  std::uint32_t valid = 0;
  bool fromDisk = false;
  if (strata::ResultSucceeded(buffer->GetBlock(inBlockStart, blockSize, block)) && block &&
      block->GetSize() >= blockSize) {
    valid = blockSize;
  } else {
    block = strata::allocator::RecycledMemory::Create(blockSize);
    if (block && strata::ResultSucceeded(ReadSequentially(mHandle.Get(), inBlockStart, mPointer,
                                                          block->GetData(), blockSize, valid))) {
      // As the File's own read: a short block shows no stale memory.
      if (valid < blockSize) std::memset(block->GetData() + valid, 0, blockSize - valid);
      fromDisk = true;
    } else {
      block.reset();
    }
  }
  RecursiveMutex::ScopedLock lock(mMutex);
  if (fromDisk && !mShutDown) buffer->AddBlock(block, inBlockStart);
  slot->state = block ? Slot::kDone : Slot::kFailed;
  slot->block = std::move(block);
  slot->valid = valid;
  slot->fromDisk = fromDisk;
  --mReading;
  mChanged.Open();
}

bool ReadAhead::Take(std::uint64_t inBlockStart, std::uint32_t inBlockSize, SharedBlock& outBlock,
                     std::uint32_t& outValid, bool& outFromDisk) {
  RecursiveMutex::ScopedLock lock(mMutex);
  for (;;) {
    const auto found = mSlots.find(inBlockStart);
    if (found == mSlots.end()) return false;
    const std::shared_ptr<Slot> slot = found->second;
    if (slot->state == Slot::kReading) {
      WaitForChange();
      continue;
    }
    mSlots.erase(found);
    if (slot->state != Slot::kDone || slot->blockSize != inBlockSize) return false;
    outBlock = std::move(slot->block);
    outValid = slot->valid;
    outFromDisk = slot->fromDisk;
    return true;
  }
}

void ReadAhead::WaitForChange() {
  // Closed under the lock, opened under it by the reader: no wake-up is lost.
  mChanged.Close();
  mMutex.Unlock();
  mChanged.PassThrough();
  mMutex.Lock();
}

void ReadAhead::Stop() {
  RecursiveMutex::ScopedLock lock(mMutex);
  // Reads in progress finish and still reach the cache.
  mSlots.clear();
}

void ReadAhead::Shutdown() {
  RecursiveMutex::ScopedLock lock(mMutex);
  mShutDown = true;
  mSlots.clear();
  while (mReading > 0) WaitForChange();
  mBuffer.Reset();
  mHandle.Close();
}

}  // namespace Ostra
