// The asynchronous reader's queueing and completion side with real threads
// and fake records: a read thread takes the queue, completer threads take
// mixed batches off a stand-in for the port, callbacks queue further reads,
// and a waiter destroys a reader's busy list as soon as it is released.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "AsyncReadCompletion.h"
#include "Ostra/AsyncFileReader.h"
#include "Ostra/Result.h"
#include "Support/Dialogs.h"
#include "Support/Watchdog.h"
#include "strata/Config.h"

namespace {

struct FakeOverlapped {
  int mUnused;
};
typedef Ostra::AsyncReadRequest<FakeOverlapped> Request;
typedef Ostra::RequestBusyList<Request> BusyList;

// Few records and a queue just as large: claimers wait for records that
// completions free, as the reader's own pool does.
const std::size_t kRecords = 64;
const std::size_t kMostPerBatch = 16;
const int kRefused = 87;  // the result of a read refused before the port

// Finished reads waiting for a completer, all readers mixed.
class FakePort {
 public:
  void Push(Request* inRequest) {
    {
      std::lock_guard<std::mutex> lock(mMutex);
      mFinished.push_back(inRequest);
    }
    mChanged.notify_one();
  }
  // Up to inMost records; 0 once stopped and empty.
  std::size_t Take(Request** outBatch, std::size_t inMost) {
    std::unique_lock<std::mutex> lock(mMutex);
    mChanged.wait(lock, [&] { return mStopping || !mFinished.empty(); });
    const std::size_t count = std::min(inMost, mFinished.size());
    std::copy(mFinished.begin(), mFinished.begin() + count, outBatch);
    mFinished.erase(mFinished.begin(), mFinished.begin() + count);
    return count;
  }
  void Stop() {
    {
      std::lock_guard<std::mutex> lock(mMutex);
      mStopping = true;
    }
    mChanged.notify_all();
  }

 private:
  std::mutex mMutex;
  std::condition_variable mChanged;
  std::deque<Request*> mFinished;
  bool mStopping = false;
};

// The records, the read queue, the read thread and the completers.
class FakeReads {
 public:
  FakeReads(int inCompleters, int inRefuseEvery) : mRefuseEvery(inRefuseEvery) {
    mReadThread = std::thread([this] { IssueLoop(); });
    for (int i = 0; i < inCompleters; ++i)
      mCompleters.emplace_back([this, i] { CompleteLoop(1 + i * 5); });
  }
  ~FakeReads() {
    {
      std::lock_guard<std::mutex> lock(mWakeMutex);
      mStopping = true;
    }
    mWake.notify_all();
    mReadThread.join();
    mPort.Stop();
    for (std::thread& completer : mCompleters) completer.join();
  }

  void Queue(BusyList& inList, const strata::threads::ExecutorRef& inExecutor,
             Ostra::AsyncReadCompletionFunction inCallback, void* inContext1,
             std::intptr_t inIndex) {
    Request& request = Claim();
    request.mOffset = std::uint64_t(inIndex) * 4096;
    request.mRequestedSize = 4096;
    request.mBuffer = nullptr;
    request.mBytesTransferred = 0;
    request.mCompletionFunction = inCallback;
    request.mContext1 = inContext1;
    request.mContext2 = reinterpret_cast<void*>(inIndex);
    request.mContext3 = nullptr;
    request.mResult = Ostra::kSuccess;
    request.mReader = nullptr;
    request.mBusyList = &inList;
    request.mExecutor = inExecutor;
    inList.AddToBusyList(&request);
    if (mQueue.Push(&request)) {
      {
        std::lock_guard<std::mutex> lock(mWakeMutex);
        mWoken = true;
      }
      mWake.notify_one();
    }
  }

  std::size_t CountInUse() const {
    std::size_t count = 0;
    for (const Request& request : mRecords) count += request.mInUse.load() != 0 ? 1 : 0;
    return count;
  }

 private:
  Request& Claim() {
    for (std::size_t next = 0;; ++next) {
      Request& request = mRecords[next % kRecords];
      std::uint32_t expected = 0;
      if (request.mInUse.compare_exchange_strong(expected, 1)) return request;
      if (next % kRecords == kRecords - 1) std::this_thread::yield();
    }
  }

  void IssueLoop() {
    for (;;) {
      {
        std::unique_lock<std::mutex> lock(mWakeMutex);
        mWake.wait(lock, [&] { return mWoken || mStopping; });
        if (!mWoken) return;
        mWoken = false;
      }
      Request** issuing = nullptr;
      const std::size_t count = mQueue.Take(issuing);
      for (std::size_t i = 0; i < count; ++i) {
        Request* request = issuing[i];
        const std::intptr_t index = reinterpret_cast<std::intptr_t>(request->mContext2);
        if (mRefuseEvery != 0 && index % mRefuseEvery == mRefuseEvery - 1) {
          // Refused outright: completes on the read thread, as the reader's do.
          request->mResult = kRefused;
          Ostra::AsyncRead::CompleteRequests(&request, 1);
          continue;
        }
        request->mBytesTransferred = request->mRequestedSize;
        mPort.Push(request);
      }
    }
  }

  void CompleteLoop(std::size_t inMost) {
    Request* batch[kMostPerBatch];
    const std::size_t most = std::min(inMost, kMostPerBatch);
    while (const std::size_t count = mPort.Take(batch, most))
      Ostra::AsyncRead::CompleteBatch<kMostPerBatch>(batch, count);
  }

  const int mRefuseEvery;
  Request mRecords[kRecords] = {};
  Ostra::AsyncRead::ReadQueue<Request, kRecords> mQueue;
  FakePort mPort;
  std::mutex mWakeMutex;
  std::condition_variable mWake;
  bool mWoken = false;
  bool mStopping = false;
  std::thread mReadThread;
  std::vector<std::thread> mCompleters;
};

// One reader: a busy list that its waiter destroys, a serial executor, and
// the marks its callbacks leave. Each callback checks that no other of the
// same reader runs, and in chained runs queues the next read, and every
// third time one without a callback as well.
struct FakeReader {
  FakeReads* reads = nullptr;
  std::unique_ptr<BusyList> list{new BusyList};
  strata::threads::ExecutorRef executor =
      strata::threads::CreateSubExecutor(strata::threads::CreateCPUBoundExecutor(), 1);
  int total = 0;
  int refuseEvery = 0;
  bool chained = false;
  bool throws = false;
  std::atomic<int> queued{0};
  std::atomic<int> running{0};
  std::atomic<int> overlaps{0};
  std::atomic<int> wrongResults{0};
  std::atomic<bool> released{false};
  std::atomic<int> late{0};
  std::vector<std::atomic<int>> calls;  // per read: how often its callback ran

  void QueueNext() {
    const int index = queued++;
    reads->Queue(*list, executor, &FakeReader::Callback, this, index);
    if (chained && index % 3 == 0) reads->Queue(*list, executor, nullptr, nullptr, -1);
  }

  static void Callback(const Ostra::AsyncFileReader*, std::uint64_t, std::uint32_t inRequested,
                       std::uint32_t inRead, void*, void* inSelf, void* inIndex, void*,
                       int inResult) {
    FakeReader& self = *static_cast<FakeReader*>(inSelf);
    if (self.released) {
      ++self.late;
      return;
    }
    if (self.running++ != 0) ++self.overlaps;
    const int index = static_cast<int>(reinterpret_cast<std::intptr_t>(inIndex));
    ++self.calls[static_cast<std::size_t>(index)];
    const bool refused = self.refuseEvery != 0 && index % self.refuseEvery == self.refuseEvery - 1;
    if (refused ? inResult != kRefused || inRead != 0
                : inResult != Ostra::kSuccess || inRead != inRequested)
      ++self.wrongResults;
    if (self.chained && self.queued < self.total) self.QueueNext();
    --self.running;
    if (self.throws) throw std::runtime_error("a host callback failed");
  }
};

// Waits for idle must not return while a read is busy or its callback is
// still to come, however the completers group the readers' records, and
// the list must be free to go as soon as its waiter is released.
TEST(AsyncReadCompletionTest, WaitersReleasedOnlyWhenIdleMayDestroyTheListAtOnce) {
  struct Row {
    const char* name;
    int readers;
    int reads;
    int inFlight;  // queued up front; chained runs queue the rest from callbacks
    int completers;
    int refuseEvery;  // 0: the port takes every read
    bool throws;
  } const rows[] = {
      {"three readers, all queued up front, three completers", 3, 300, 300, 3, 0, false},
      {"three readers, chains from 1 in flight", 3, 400, 1, 3, 0, false},
      {"two readers, chains from 8, some reads refused", 2, 500, 8, 2, 5, false},
      {"three readers, throwing callbacks chain from 4", 3, 200, 4, 3, 0, true},
      {"three readers, chains from 2, one completer", 3, 300, 2, 1, 7, false},
  };
  OstraTest::ContinueDialogs reports;  // of the throwing callbacks
  OstraTest::Watchdog dog;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    dog.Arm(row.name);
    FakeReads reads(row.completers, row.refuseEvery);
    std::vector<std::unique_ptr<FakeReader>> readers;
    for (int r = 0; r < row.readers; ++r) {
      readers.emplace_back(new FakeReader);
      FakeReader& reader = *readers.back();
      reader.reads = &reads;
      reader.total = row.reads;
      reader.refuseEvery = row.refuseEvery;
      reader.chained = row.inFlight < row.reads;
      reader.throws = row.throws;
      reader.calls = std::vector<std::atomic<int>>(row.reads);
    }
    for (int i = 0; i < row.inFlight; ++i)
      for (const std::unique_ptr<FakeReader>& reader : readers) reader->QueueNext();
    // One waiter per reader, all at once: each destroys its list the moment
    // its wait returns, while the other readers' work goes on.
    std::vector<std::thread> waiters;
    std::vector<int> callsAtRelease(readers.size());
    for (std::size_t r = 0; r < readers.size(); ++r) {
      waiters.emplace_back([&, r] {
        FakeReader& reader = *readers[r];
        reader.list->WaitUntilIdle();
        reader.list.reset();
        reader.released = true;
        int calls = 0;
        for (const std::atomic<int>& count : reader.calls) calls += count.load();
        callsAtRelease[r] = calls;
      });
    }
    for (std::thread& waiter : waiters) waiter.join();
    for (std::size_t r = 0; r < readers.size(); ++r) {
      const FakeReader& reader = *readers[r];
      EXPECT_EQ(row.reads, callsAtRelease[r]) << "a waiter was released before every callback ran";
      EXPECT_EQ(0, reader.late.load()) << "a callback ran after its waiter was released";
      EXPECT_EQ(0, reader.overlaps.load()) << "two callbacks of one reader ran at once";
      EXPECT_EQ(0, reader.wrongResults.load());
      int notOnce = 0;
      for (const std::atomic<int>& calls : reader.calls) notOnce += calls.load() != 1 ? 1 : 0;
      EXPECT_EQ(0, notOnce) << "reads whose callback did not run exactly once";
    }
    EXPECT_EQ(0u, reads.CountInUse()) << "a record was left taken";
  }
}

// A callback run cannot wait for its own list (it is running itself): the
// wait reports the misuse and returns instead of hanging.
TEST(AsyncReadCompletionTest, WaitFromTheListsOwnCallbackReportsAndReturns) {
  OstraTest::Watchdog dog("a wait inside the list's own callback", std::chrono::seconds(60));
  OstraTest::ContinueDialogs dialogs;
  FakeReads reads(1, 0);
  struct Waiter {
    BusyList list;
    std::atomic<bool> waited{false};
  } waiter;
  reads.Queue(
      waiter.list,
      strata::threads::CreateSubExecutor(strata::threads::CreateCPUBoundExecutor(), 1),
      [](const Ostra::AsyncFileReader*, std::uint64_t, std::uint32_t, std::uint32_t, void*,
         void* inWaiter, void*, void*, int) {
        Waiter& waiter = *static_cast<Waiter*>(inWaiter);
        waiter.list.WaitUntilIdle();
        waiter.waited = true;
      },
      &waiter, 0);
  waiter.list.WaitUntilIdle();
  EXPECT_TRUE(waiter.waited.load());
  EXPECT_EQ(1u, dialogs.Seen().size());
}

// Reports of these checks are matched by their documented condition,
// source and line, so moving a check must not change its report.
TEST(AsyncReadCompletionTest, BusyListMisuseRaisesInputContractNamingDocumentedSourceAndLine) {
  struct Row {
    const char* name;
    void (*misuse)();
    const char* method;  // of Ostra::RequestBusyList<...>: compilers name the argument apart
    const char* condition;
    int line;
  } const rows[] = {
      {"add a busy request twice",
       [] {
         int request = 0;
         Ostra::RequestBusyList<int> list;
         list.AddToBusyList(&request);
         list.AddToBusyList(&request);
       },
       "::AddToBusyList",
       "mBusyList.find(inRequest) == mBusyList.end()", 90},
      {"remove a request that is not busy",
       [] {
         int request = 0;
         int* const requests[] = {&request};
         Ostra::RequestBusyList<int> list;
         list.RemoveFromBusyList(requests, 1, [] { return 0u; });
       },
       "::RemoveFromBusyList",
       "mBusyList.find(inRequest) != mBusyList.end()", 97},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    OstraTest::ContinueDialogs dialogs;
    EXPECT_THROW(row.misuse(), strata::config::strata_exception);
    const std::vector<strata::debug::DialogInfo> seen = dialogs.Seen();
    ASSERT_EQ(1u, seen.size());
    EXPECT_EQ(strata::debug::DialogKind::kInputContract, seen[0].kind);
    const std::string function = seen[0].function;
    EXPECT_EQ(0u, function.find("Ostra::RequestBusyList<")) << function;
    EXPECT_EQ(function.size() - std::strlen(row.method), function.rfind(row.method)) << function;
    EXPECT_EQ(row.condition, seen[0].condition);
    EXPECT_EQ("AsyncFileReader", std::string(seen[0].file));
    EXPECT_EQ(row.line, seen[0].line);
  }
}

}  // namespace
