/// \file
/// Unbuffered, overlapped reads of one file without blocking the caller
/// (Ostra::AsyncFileReader), and the process-wide start and stop of the
/// machinery behind them.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <set>

#include <boost/shared_ptr.hpp>

#include "Ostra/OstraConfig.h"
#include "strata/Debug.h"
#include "strata/Executor.h"
#include "strata/Threads.h"

namespace Ostra {

class AsyncFileReader;

/// Called when a read has finished: the reader, the read's offset, the bytes
/// requested, the bytes read, the buffer, the three contexts given to
/// QueueReadRequest, and the read's Result (kSuccess or a mapped system
/// error, with 0 bytes when the read never started).
typedef void (*AsyncReadCompletionFunction)(const AsyncFileReader* inReader,
                                            std::uint64_t inOffset,
                                            std::uint32_t inRequestedSize,
                                            std::uint32_t inBytesRead, void* inBuffer,
                                            void* inContext1, void* inContext2,
                                            void* inContext3, int inResult);

template <class RequestType>
class RequestBusyList;

/// One pooled read. The system's overlapped structure comes first, so the
/// pointer the completion port hands back is the record itself. The
/// template keeps the system's headers out of this one.
template <class OverlappedType>
struct AsyncReadRequest {
  OverlappedType mOverlapped;
  std::uint64_t mOffset;
  std::uint32_t mRequestedSize;
  void* mBuffer;  ///< the caller's; never owned
  std::uint32_t mBytesTransferred;
  AsyncReadCompletionFunction mCompletionFunction;  ///< may be null
  void* mContext1;
  void* mContext2;
  void* mContext3;
  Result mResult;
  const AsyncFileReader* mReader;
  RequestBusyList<AsyncReadRequest>* mBusyList;
  /// Taken at queueing; kept until the record is reused or shut-down.
  strata::threads::ExecutorRef mExecutor;
  std::atomic<std::uint32_t> mInUse;  ///< 0 free, 1 taken; changed atomically only
};

/// What a completion callback receives, copied out of the record when the
/// read completes (the record is free again before the callback runs).
struct CompletionFunctionParams {
  const AsyncFileReader* mReader;
  std::uint64_t mOffset;
  std::uint32_t mRequestedSize;
  std::uint32_t mBytesTransferred;
  void* mBuffer;
  void* mContext1;
  void* mContext2;
  void* mContext3;
  int mResult;
};

/// The requests one reader has queued that have not completed yet, the
/// number of its callbacks queued or running, and the gate its waiters pass
/// once both are zero. Thread-safe. The mutex is never held while waiting
/// and no lock but the executor's is taken under it. Whoever makes the list
/// idle takes the gate off it under the mutex and opens it afterwards
/// through its own reference, and released waiters touch the list no more:
/// a waiter may destroy the list as soon as it is released.
template <class RequestType>
class RequestBusyList {
 public:
  RequestBusyList() : mCallbacks(0), mCallbackThread(0) {}
  RequestBusyList(const RequestBusyList&) = delete;
  RequestBusyList& operator=(const RequestBusyList&) = delete;

  void AddToBusyList(RequestType* inRequest) {
    strata::threads::RecursiveMutex::ScopedLock lock(mMutex);
    STRATA_INPUT_CONTRACT_AT(mBusyList.find(inRequest) == mBusyList.end(),
                             "mBusyList.find(inRequest) == mBusyList.end()", "AsyncFileReader",
                             90);
    mBusyList.insert(inRequest);
  }

  /// Erases inCount requests, then calls inHandOn under the mutex: it frees
  /// the records and queues their callbacks, and returns how many callbacks
  /// it queued. Those keep the list busy until CallbacksEnded, so a waiter
  /// released later finds them run.
  template <class Function>
  void RemoveFromBusyList(RequestType* const* inRequests, std::size_t inCount,
                          const Function& inHandOn) {
    GateRef release;
    {
      strata::threads::RecursiveMutex::ScopedLock lock(mMutex);
      for (std::size_t i = 0; i < inCount; ++i) {
        RequestType* const inRequest = inRequests[i];
        STRATA_INPUT_CONTRACT_AT(mBusyList.find(inRequest) != mBusyList.end(),
                                 "mBusyList.find(inRequest) != mBusyList.end()",
                                 "AsyncFileReader", 97);
        mBusyList.erase(inRequest);
      }
      mCallbacks += inHandOn();
      release = TakeGateIfIdle();
    }
    if (release) release->Open();
  }

  /// Bracket a run of inCount callbacks counted by RemoveFromBusyList, on
  /// the thread that runs them. CallbacksEnded is the run's last touch of
  /// the list: a waiter may destroy it once released.
  ///@{
  void CallbacksStarting() { mCallbackThread.store(strata::threads::GetCurrentThreadNumber()); }
  void CallbacksEnded(std::uint32_t inCount) {
    mCallbackThread.store(0);
    GateRef release;
    {
      strata::threads::RecursiveMutex::ScopedLock lock(mMutex);
      mCallbacks -= inCount;
      release = TakeGateIfIdle();
    }
    if (release) release->Open();
  }
  ///@}

  /// Returns when no request is busy and no callback is queued or running;
  /// at once when that holds already. One of the list's own callbacks
  /// cannot wait for that (it is running itself): it gets an assertion and
  /// returns at once.
  void WaitUntilIdle() {
    if (mCallbackThread.load() == strata::threads::GetCurrentThreadNumber()) {
      STRATA_ASSERT_MSG(false, "A reader's callback waited for the reader's own reads.");
      return;
    }
    for (;;) {
      GateRef gate;
      {
        strata::threads::RecursiveMutex::ScopedLock lock(mMutex);
        if (IsIdle()) return;
        try {
          if (!mGate) mGate.reset(new strata::threads::Gate(false));
          gate = mGate;
        } catch (const std::bad_alloc&) {
          // Without a gate, look again shortly.
        }
      }
      if (gate) {
        gate->PassThrough(-1);
        return;
      }
      strata::threads::SleepFor(1);
    }
  }

 private:
  typedef boost::shared_ptr<strata::threads::Gate> GateRef;

  bool IsIdle() const { return mBusyList.empty() && mCallbacks == 0; }

  // Under the mutex: the gate to open, when the list has become idle.
  GateRef TakeGateIfIdle() {
    GateRef gate;
    if (IsIdle()) gate.swap(mGate);
    return gate;
  }

  strata::threads::RecursiveMutex mMutex;
  GateRef mGate;              ///< only while somebody waits
  std::uint32_t mCallbacks;  ///< queued on the reader's executor or running
  std::atomic<std::uint32_t> mCallbackThread;  ///< running the callbacks now, if any (0: none)
  std::set<RequestType*> mBusyList;              ///< ordered by address
};

/// A reader of one existing file: unbuffered, overlapped reads that do not
/// block the caller. Not copyable.
///
/// The process shares one I/O completion port, one completion thread, one
/// read thread and a fixed pool of 2048 request records; they exist between
/// StartupAsyncFileOperations and ShutdownAsyncFileOperations (the library's
/// Initialize and Terminate call them). Offsets, sizes and buffer addresses
/// must be multiples of GetDiskSectorSize(); the reader does not check this.
///
/// Threading: QueueReadRequest may be called from any thread, callbacks
/// included. Each reader runs its completion callbacks one at a time, in
/// completion order, on its own serial view of the CPU pool, never on the
/// caller's thread nor on the I/O threads. Open, WaitForPendingReads,
/// Close and the destructor belong to the reader's owner and must not be
/// called from one of its own callbacks.
///
/// Failures: Open returns -1 for a file it cannot open. A read's failure
/// (a misaligned read among them) reaches its callback as a mapped system
/// error, with 0 bytes when the read never started; QueueReadRequest itself
/// never fails. Misuse (queueing on a closed reader, opening one twice,
/// opening before the library is initialised) breaks a contract, which
/// throws.
class OSTRA_API AsyncFileReader {
 public:
  typedef AsyncReadCompletionFunction CompletionFunction;  ///< the callback's type

  AsyncFileReader();  ///< closed
  /// Closes as Close does when the file is open.
  ~AsyncFileReader();
  AsyncFileReader(const AsyncFileReader&) = delete;
  AsyncFileReader& operator=(const AsyncFileReader&) = delete;

  /// Opens inPath for unbuffered reading into a reader that was never
  /// opened. -1 for a missing path, a directory or a file the system
  /// refuses (the reader stays closed and may be opened again); otherwise
  /// the result of finding the volume's sector size. Requires the library
  /// to be initialised.
  static Result Open(const UTF16String& inPath, AsyncFileReader& ioOpenedAsyncFileReader);

  /// Queues a read of inSize bytes at inOffset into inBuffer and returns
  /// kSuccess at once; inCallback (may be null) runs when it has finished.
  /// Blocks, in steps of 10 ms, while 2048 reads are outstanding in the
  /// process. The file must be open.
  Result QueueReadRequest(std::uint64_t inOffset, std::uint32_t inSize, void* inBuffer,
                          CompletionFunction inCallback, void* inContext1, void* inContext2,
                          void* inContext3);

  /// Returns when no read of this reader is busy and none of its callbacks
  /// is queued or running: every read queued so far has completed and its
  /// callback has run, and so have the reads that callbacks queued
  /// meanwhile. From one of the reader's own callbacks it reports an
  /// assertion and returns at once.
  void WaitForPendingReads();

  /// Waits as WaitForPendingReads, then closes the file; nothing when the
  /// file is not open. A read that a callback queues while Close waits
  /// completes, and its callback runs, before Close returns; after that
  /// nothing of this reader runs. A closed reader cannot be opened again.
  void Close();

  /// Bytes; a power of two found by Open (4096 when the volume reports none).
  std::uint32_t GetDiskSectorSize() const;

 private:
  class PrivateImpl;
  PrivateImpl* mImpl;
  std::uint32_t mSectorSize;
};

/// Process-wide start and stop of the completion port, its two threads and
/// the request pool. Not nested: the library's Initialize and Terminate
/// call them once each.
///@{
OSTRA_API void StartupAsyncFileOperations();
OSTRA_API void ShutdownAsyncFileOperations();
///@}

}  // namespace Ostra
