// Read-ahead of cached Files: one thread for the whole library reads the
// queued blocks of every File in the order they were queued. The thread
// exists while some File reads ahead; the File whose read-ahead ends last
// releases it on its own thread, which joins it, so no library thread
// outlives the Files that needed it and none ends up joining itself.
#include <atomic>
#include <cstring>
#include <map>
#include <mutex>
#include <utility>

#include "FilePrivate.h"
#include "Ostra/Result.h"
#include "strata/Allocator.h"

namespace Ostra {

namespace {

using strata::threads::Lock;

// The read-ahead thread and how many ReadAheads use it. At namespace scope:
// a function's statics would be raced on by Files starting together, and
// the C++ runtime's wait for them makes handles that outlive the library.
Lock sExecutorLock;
strata::threads::ExecutorRef sExecutor;
std::size_t sExecutorUsers = 0;

std::atomic<std::uint64_t> sBlocksReadAhead(0);

// How often Take looks at a block being read before it waits for it.
const int kLooksBeforeWaiting = 64;

// A use of the read-ahead thread; empty when it cannot be had.
strata::threads::ExecutorRef AcquireExecutor() {
  std::lock_guard<Lock> lock(sExecutorLock);
  if (!sExecutor) {
    // Above normal: it mostly waits for the disk, and a reader waits for it.
    sExecutor = strata::threads::CreateAsyncThreadedExecutor(
        "Ostra read-ahead", 1, strata::threads::ThreadPriority::kAboveNormal, {}, {},
        strata::threads::ThreadAttributes());
    if (!sExecutor) return {};
  }
  ++sExecutorUsers;
  return sExecutor;
}

// Ends a use; the last one takes the thread down here, on the caller's
// thread, after the tasks still queued (all of them quick no-ops by then).
void ReleaseExecutor(strata::threads::ExecutorRef& ioExecutor) {
  ioExecutor.reset();
  strata::threads::ExecutorRef last;
  {
    std::lock_guard<Lock> lock(sExecutorLock);
    if (--sExecutorUsers == 0) last.swap(sExecutor);
  }
}

}  // namespace

struct ReadAhead::State {
  struct Slot {
    enum Status { kQueued, kReading, kDone, kFailed };
    Status status = kQueued;
    std::uint32_t blockSize = 0;
    SharedBlock block;
    std::uint32_t valid = 0;
    bool fromDisk = false;
  };

  explicit State(OwnedFile&& ioHandle) : handle(std::move(ioHandle)) {}

  // Reads the block queued at inBlockStart, unless it was dropped meanwhile.
  // Every path out marks the slot done or failed and wakes the waiters.
  static void ReadOne(const std::shared_ptr<State>& inState, std::uint64_t inBlockStart);

  // Used by the read-ahead thread between taking a slot and giving it
  // back; closed only when no read is in progress.
  OwnedFile handle;
  std::uint64_t pointer = 0;

  Lock lock;
  // Notified whenever a read ends; guarded by lock, like everything below.
  strata::threads::Condition readEnded;
  std::map<std::uint64_t, std::shared_ptr<Slot>> slots;
  int reading = 0;
  bool shutDown = false;
};

void ReadAhead::State::ReadOne(const std::shared_ptr<State>& inState, std::uint64_t inBlockStart) {
  State& state = *inState;
  std::shared_ptr<Slot> slot;
  {
    std::lock_guard<Lock> lock(state.lock);
    const auto found = state.slots.find(inBlockStart);
    if (state.shutDown || found == state.slots.end() || found->second->status != Slot::kQueued)
      return;
    slot = found->second;
    slot->status = Slot::kReading;
    ++state.reading;
  }
  const std::uint32_t blockSize = slot->blockSize;
  SharedBlock block;
  std::uint32_t valid = 0;
  try {
    block = strata::allocator::RecycledMemory::Create(blockSize);
    if (block && strata::ResultSucceeded(ReadSequentially(state.handle.Get(), inBlockStart,
                                                          state.pointer, block->GetData(),
                                                          blockSize, valid))) {
      // As the File's own read: a short block shows no stale memory.
      if (valid < blockSize) std::memset(block->GetData() + valid, 0, blockSize - valid);
      sBlocksReadAhead.fetch_add(1, std::memory_order_relaxed);
    } else {
      block.reset();
    }
  } catch (...) {
    // Out of memory: the File reads this block itself.
    block.reset();
  }
  {
    std::lock_guard<Lock> lock(state.lock);
    slot->status = block ? Slot::kDone : Slot::kFailed;
    slot->block = std::move(block);
    slot->valid = valid;
    slot->fromDisk = true;
    --state.reading;
  }
  state.readEnded.NotifyAll();
}

std::unique_ptr<ReadAhead> ReadAhead::Start(NativeFile inFileHandle) {
  try {
    OwnedFile handle(ReopenForReading(inFileHandle));
    if (!handle.IsValid()) return nullptr;
    // Everything that may fail comes before the thread is taken, which the
    // ReadAhead then owns.
    std::unique_ptr<ReadAhead> ahead(new ReadAhead(std::make_shared<State>(std::move(handle)), {}));
    ahead->mExecutor = AcquireExecutor();
    if (!ahead->mExecutor) return nullptr;
    return ahead;
  } catch (...) {
    // Read-ahead is optional: without memory for it the File reads alone.
    return nullptr;
  }
}

ReadAhead::ReadAhead(std::shared_ptr<State> inState, strata::threads::ExecutorRef inExecutor)
    : mState(std::move(inState)), mExecutor(std::move(inExecutor)) {}

ReadAhead::~ReadAhead() {
  {
    std::unique_lock<Lock> lock(mState->lock);
    mState->shutDown = true;
    mState->slots.clear();
    mState->readEnded.Wait(lock, [this] { return mState->reading == 0; });
    mState->handle.Close();
  }
  if (mExecutor) ReleaseExecutor(mExecutor);
}

void ReadAhead::Schedule(std::uint64_t inBlockStart, std::uint32_t inBlockSize,
                         std::uint32_t inDepth, std::uint64_t inSize, IFileBuffer& ioBuffer) {
  typedef State::Slot Slot;
  std::uint64_t next = inBlockStart;
  for (std::uint32_t ahead = 0; ahead < inDepth; ++ahead) {
    next += inBlockSize;
    if (next >= inSize) break;
    {
      std::lock_guard<Lock> lock(mState->lock);
      if (mState->slots.count(next) != 0) continue;
    }
    // Only this thread adds slots, so nobody queues this block meanwhile.
    try {
      std::shared_ptr<Slot> slot = std::make_shared<Slot>();
      slot->blockSize = inBlockSize;
      SharedBlock cached;
      bool hit = false;
      try {
        hit = strata::ResultSucceeded(ioBuffer.GetBlock(next, inBlockSize, cached)) && cached &&
              cached->GetSize() >= inBlockSize;
      } catch (...) {
        // A cache that fails here only costs the read from disk.
      }
      if (hit) {
        slot->status = Slot::kDone;
        slot->block = std::move(cached);
        slot->valid = inBlockSize;
      }
      {
        std::lock_guard<Lock> lock(mState->lock);
        mState->slots[next] = slot;
      }
      if (hit) continue;
      const std::shared_ptr<State> state = mState;
      try {
        mExecutor->Post([state, next] { State::ReadOne(state, next); });
      } catch (...) {
        // Not queued: the slot would wait for ever; the File reads it itself.
        std::lock_guard<Lock> lock(mState->lock);
        mState->slots.erase(next);
        throw;
      }
    } catch (...) {
      // Out of memory: read-ahead is optional, the File reads on alone.
      return;
    }
  }
}

bool ReadAhead::Take(std::uint64_t inBlockStart, std::uint32_t inBlockSize, SharedBlock& outBlock,
                     std::uint32_t& outValid, bool& outFromDisk) {
  typedef State::Slot Slot;
  std::unique_lock<Lock> lock(mState->lock);
  const auto found = mState->slots.find(inBlockStart);
  if (found == mState->slots.end()) return false;
  const std::shared_ptr<Slot> slot = found->second;
  mState->slots.erase(found);
  // A block being read is usually a fraction of a read away: looking again
  // a few times costs less than the sleep and wake-up of a wait, which
  // would come once per block of a File catching up with its read-ahead.
  for (int look = 0; look < kLooksBeforeWaiting && slot->status == Slot::kReading; ++look) {
    lock.unlock();
    strata::threads::YieldThread();
    lock.lock();
  }
  // The reading thread gives every slot it took back, whatever happens.
  mState->readEnded.Wait(lock, [&slot] { return slot->status != Slot::kReading; });
  if (slot->status != Slot::kDone || slot->blockSize != inBlockSize) return false;
  outBlock = std::move(slot->block);
  outValid = slot->valid;
  outFromDisk = slot->fromDisk;
  return true;
}

void ReadAhead::Stop() {
  std::lock_guard<Lock> lock(mState->lock);
  // A read in progress finishes into its own slot, which nobody takes.
  mState->slots.clear();
}

namespace Internal {

std::uint64_t CountBlocksReadAhead() { return sBlocksReadAhead.load(); }

}  // namespace Internal
}  // namespace Ostra
