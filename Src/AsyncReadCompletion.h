// What the asynchronous reader does apart from the system's port and files:
// the queue of records for the read thread, and the completion side, where a
// finished read's record is freed and its callback handed to the reader's
// executor, one run per reader and batch, which the reader's busy list
// counts until it has ended. Templates over the record type, so that the
// same code serves the reader's records and a test's. Internal to the
// library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "Ostra/AsyncFileReader.h"
#include "Ostra/OstraConfig.h"
#include "strata/Executor.h"
#include "strata/Threads.h"

namespace Ostra {
namespace AsyncRead {

// Wait between tries when memory or a free record is lacking.
const std::uint32_t kRetryMs = 10;

// Calls inStep until memory for it can be had. A completion's callback
// and the read thread's wake-up must never be lost (the host would wait for
// them for ever), and the I/O threads have nothing better to do meanwhile.
template <class Step>
void RetryUntilMemory(Step inStep) {
  for (;;) {
    try {
      inStep();
      return;
    } catch (const std::bad_alloc&) {
      strata::threads::SleepFor(kRetryMs);
    }
  }
}

// Records waiting for the read thread, oldest first. The read thread swaps
// the two lists under the mutex and issues from its own list outside it.
// Only taken records wait, so lists with room for the whole pool never
// overflow and queueing never allocates.
template <class Request, std::size_t kCapacity>
class ReadQueue {
 public:
  ReadQueue() = default;
  ReadQueue(const ReadQueue&) = delete;
  ReadQueue& operator=(const ReadQueue&) = delete;

  // True when the queue was empty: only then must the read thread be
  // woken. Those queued after it, until the read thread takes the queue, go
  // with the same wake-up.
  bool Push(Request* inRequest) {
    std::lock_guard<strata::threads::Lock> lock(mMutex);
    mQueued[mQueuedCount++] = inRequest;
    return mQueuedCount == 1;
  }

  // The read thread's: the records queued so far, oldest first, in a list
  // that stays the caller's until its next Take.
  std::size_t Take(Request**& outRequests) {
    std::size_t count = 0;
    {
      std::lock_guard<strata::threads::Lock> lock(mMutex);
      std::swap(mQueued, mIssuing);
      std::swap(mQueuedCount, count);
    }
    outRequests = mIssuing;
    return count;
  }

 private:
  strata::threads::Lock mMutex;
  Request* mListA[kCapacity];
  Request* mListB[kCapacity];
  Request** mQueued = mListA;    // guarded by mMutex
  std::size_t mQueuedCount = 0;  // guarded by mMutex
  Request** mIssuing = mListB;   // the read thread's
};

// One callback to run, copied out of its record.
struct Completion {
  AsyncReadCompletionFunction mFunction;
  CompletionFunctionParams mParams;
};

// The callbacks of one reader from one batch of completions. The reader's
// busy list counts them as outstanding until Ended.
class CallbackBatch {
 public:
  CallbackBatch() = default;
  CallbackBatch(const CallbackBatch&) = delete;
  CallbackBatch& operator=(const CallbackBatch&) = delete;
  virtual ~CallbackBatch() = default;

  std::uint32_t Count() const { return static_cast<std::uint32_t>(mCompletions.size()); }
  virtual void Starting() const = 0;
  // The run's last touch of the busy list.
  virtual void Ended() const = 0;

  std::vector<Completion> mCompletions;
};

// Runs a batch's callbacks in order. Each runs once even when one throws;
// the first exception then goes on to the executor's report. However the
// run ends, the busy list learns that the callbacks have run, last.
// Exported only for the library's tests.
OSTRA_API void RunCallbacks(const CallbackBatch& inBatch);

template <class BusyList>
class BusyListBatch : public CallbackBatch {
 public:
  explicit BusyListBatch(BusyList& inBusyList) : mBusyList(inBusyList) {}
  void Starting() const override { mBusyList.CallbacksStarting(); }
  void Ended() const override { mBusyList.CallbacksEnded(Count()); }

 private:
  BusyList& mBusyList;
};

// Completes inCount records of one reader (one busy list): frees them and
// hands their callbacks to the reader's executor as one run, in the order
// given.
template <class Request>
void CompleteRequests(Request* const* inRequests, std::size_t inCount) {
  typedef RequestBusyList<Request> BusyList;
  BusyList& busyList = *inRequests[0]->mBusyList;
  strata::threads::ExecutorRef executor;
  std::shared_ptr<BusyListBatch<BusyList>> batch;
  for (std::size_t i = 0; i < inCount; ++i) {
    const Request& request = *inRequests[i];
    if (!request.mCompletionFunction || !request.mExecutor) continue;
    if (!batch) {
      RetryUntilMemory([&] {
        batch = std::make_shared<BusyListBatch<BusyList>>(busyList);
        batch->mCompletions.reserve(inCount - i);
      });
    }
    const CompletionFunctionParams params = {
        request.mReader,           request.mOffset,   request.mRequestedSize,
        request.mBytesTransferred, request.mBuffer,   request.mContext1,
        request.mContext2,         request.mContext3, request.mResult};
    batch->mCompletions.push_back(Completion{request.mCompletionFunction, params});
    executor = request.mExecutor;
  }
  busyList.RemoveFromBusyList(inRequests, inCount, [&]() -> std::uint32_t {
    // From here on the records may be claimed by any thread.
    for (std::size_t i = 0; i < inCount; ++i) inRequests[i]->mInUse.exchange(0);
    if (!batch) return 0;
    // Posted under the busy list's mutex, so that runs reach the executor
    // in the order their reads left the list. A Post that throws has queued
    // nothing.
    RetryUntilMemory([&] { executor->Post([batch] { RunCallbacks(*batch); }); });
    return batch->Count();
  });
}

// Completes a batch of at most kMaxBatch records, one reader at a time,
// each reader's records in the order given. Empties the batch.
template <std::size_t kMaxBatch, class Request>
void CompleteBatch(Request** ioBatch, std::size_t inCount) {
  Request* group[kMaxBatch];
  for (std::size_t first = 0; first < inCount; ++first) {
    if (ioBatch[first] == nullptr) continue;  // already completed with an earlier reader
    const void* busyList = ioBatch[first]->mBusyList;
    std::size_t grouped = 0;
    for (std::size_t i = first; i < inCount; ++i) {
      if (ioBatch[i] != nullptr && ioBatch[i]->mBusyList == busyList) {
        group[grouped++] = ioBatch[i];
        ioBatch[i] = nullptr;
      }
    }
    CompleteRequests(group, grouped);
  }
}

}  // namespace AsyncRead
}  // namespace Ostra
