// The asynchronous reader on the process's I/O completion port: one read
// thread issues every ReadFile, one completion thread collects the
// results, and each request record comes from a fixed pool claimed without
// locks. Callbacks go to the reader's serial executor. Both threads work in
// batches, so that a busy reader pays one wake-up, one busy-list lock and
// one executor post per batch rather than per read.
#include "Ostra/AsyncFileReader.h"

#include <windows.h>
#include <process.h>

#include <exception>
#include <vector>

#include "AsyncFileReaderPrivate.h"
#include "Ostra/DiskUtils.h"
#include "Ostra/PathUtils.h"
#include "Ostra/Result.h"
#include "ScopedHandle.h"
#include "strata/Impl.h"

namespace Ostra {

namespace {

typedef AsyncReadRequest<OVERLAPPED> Request;

// Contract reports of this file name it so, with their documented lines.
const char kContractSource[] = "WinAsyncFileReader";

const std::uint32_t kRequestPoolSize = 2048;
const std::uint32_t kRequestIndexMask = kRequestPoolSize - 1;
const DWORD kPoolFullRetryMs = 10;

// Zero-initialised at load: every record free.
Request sRequestPool[kRequestPoolSize];
std::atomic<std::uint32_t> sNextRequest(0);

Win::ScopedHandle sCompletionPort;
Win::ScopedHandle sCompletionThread;
strata::threads::ExecutorRef sReadExecutor;

// Records waiting for the read thread, newest first: a stack that
// QueueReadRequest pushes without a lock and the read thread takes whole.
// A record's link and file handle sit beside the pool, by record index.
struct QueuedRead {
  Request* mNext;
  HANDLE mFile;
};
QueuedRead sQueuedReads[kRequestPoolSize];
std::atomic<Request*> sReadQueue(nullptr);

QueuedRead& QueuedReadOf(const Request* inRequest) {
  return sQueuedReads[inRequest - sRequestPool];
}

// Most completions taken from the port in one call.
const ULONG kCompletionBatch = 64;

// Reads the read thread has handed to the system whose completions the
// completion thread has not taken yet; it may lag behind the port, never
// run ahead of it. The completion thread asks the port for no more than
// this: where the system takes completions off one at a time, asking for
// more than are there costs one more empty look each time.
std::atomic<long> sReadsOnTheirWay(0);

// One callback to run, copied out of its record.
struct Completion {
  AsyncReadCompletionFunction mFunction;
  CompletionFunctionParams mParams;

  void operator()() const {
    mFunction(mParams.mReader, mParams.mOffset, mParams.mRequestedSize, mParams.mBytesTransferred,
              mParams.mBuffer, mParams.mContext1, mParams.mContext2, mParams.mContext3,
              mParams.mResult);
  }
};

// Runs the callbacks of one reader's batch in order. Each runs once even
// when one throws; the first exception then goes on to the executor's report.
void RunCompletions(const std::vector<Completion>& inCompletions) {
  std::exception_ptr failure;
  for (const Completion& completion : inCompletions) {
    try {
      completion();
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  }
  if (failure) std::rethrow_exception(failure);
}

// Completes inCount records of one reader (one busy list): hands their
// callbacks to the reader's executor as one task, in the order given, and
// frees the records. The task is posted before the busy list can release a
// waiter, so a waiter that then waits for the executor also waits for it.
void CompleteRequests(Request* const* inRequests, std::size_t inCount) {
  strata::threads::Task call;
  strata::threads::ExecutorRef executor;
  std::vector<Completion> completions;
  for (std::size_t i = 0; i < inCount; ++i) {
    const Request& request = *inRequests[i];
    if (!request.mCompletionFunction || !request.mExecutor) continue;
    const CompletionFunctionParams params = {
        request.mReader,           request.mOffset,   request.mRequestedSize,
        request.mBytesTransferred, request.mBuffer,   request.mContext1,
        request.mContext2,         request.mContext3, request.mResult};
    completions.push_back(Completion{request.mCompletionFunction, params});
    executor = request.mExecutor;
  }
  // A single callback, the common case under light load, goes without the
  // vector's second allocation.
  if (completions.size() == 1)
    call = completions.front();
  else if (!completions.empty())
    call = [completions] { RunCompletions(completions); };
  inRequests[0]->mBusyList->RemoveFromBusyList(inRequests, inCount, [&] {
    // From here on the records may be claimed by any thread.
    for (std::size_t i = 0; i < inCount; ++i) inRequests[i]->mInUse.exchange(0);
    if (call) executor->Post(std::move(call));
  });
}

// Completes a batch taken from the port, one reader at a time, each
// reader's records in the order the port gave them.
void CompleteBatch(Request** ioBatch, std::size_t inCount) {
  Request* group[kCompletionBatch];
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

unsigned __stdcall CompletionLoop(void* inPort) {
  HANDLE port = static_cast<HANDLE>(inPort);
  OVERLAPPED_ENTRY entries[kCompletionBatch];
  Request* batch[kCompletionBatch];
  for (bool stopping = false; !stopping;) {
    const long expected = sReadsOnTheirWay.load(std::memory_order_relaxed);
    const ULONG wanted =
        expected <= 1 ? 1 : expected >= long(kCompletionBatch) ? kCompletionBatch : ULONG(expected);
    ULONG count = 0;
    // A failed dequeue takes nothing off the port.
    if (!::GetQueuedCompletionStatusEx(port, entries, wanted, &count, INFINITE, FALSE)) continue;
    std::size_t requests = 0;
    for (ULONG i = 0; i < count; ++i) {
      if (entries[i].lpOverlapped == nullptr) {
        stopping = true;  // the shut-down packet
        continue;
      }
      Request* request = reinterpret_cast<Request*>(entries[i].lpOverlapped);
      // The read's own status is in its overlapped structure; asking for
      // the overlapped result turns a failure into the system error.
      DWORD ignored = 0;
      if (!::GetOverlappedResult(QueuedReadOf(request).mFile, &request->mOverlapped, &ignored,
                                 FALSE))
        request->mResult = Win::SystemErrorToOstraResult(::GetLastError());
      request->mBytesTransferred = entries[i].dwNumberOfBytesTransferred;
      batch[requests++] = request;
    }
    sReadsOnTheirWay.fetch_sub(long(requests), std::memory_order_relaxed);
    CompleteBatch(batch, requests);
  }
  return 0;
}

// Runs on the read thread: issues the reads queued so far, oldest first. A
// read the system refuses outright never reaches the port, so it completes
// here with 0 bytes.
void IssueQueuedReads() {
  Request* newestFirst = sReadQueue.exchange(nullptr, std::memory_order_acquire);
  Request* oldestFirst = nullptr;
  while (newestFirst != nullptr) {
    Request* next = QueuedReadOf(newestFirst).mNext;
    QueuedReadOf(newestFirst).mNext = oldestFirst;
    oldestFirst = newestFirst;
    newestFirst = next;
  }
  while (oldestFirst != nullptr) {
    Request* request = oldestFirst;
    // Read before the read is issued: from then on the record may
    // complete, be freed and be queued again.
    oldestFirst = QueuedReadOf(request).mNext;
    const BOOL done = ::ReadFile(QueuedReadOf(request).mFile, request->mBuffer,
                                 request->mRequestedSize, nullptr, &request->mOverlapped);
    const DWORD error = done ? ERROR_SUCCESS : ::GetLastError();
    if (done || error == ERROR_IO_PENDING) {
      sReadsOnTheirWay.fetch_add(1, std::memory_order_relaxed);
      continue;
    }
    request->mResult = Win::SystemErrorToOstraResult(error);
    request->mBytesTransferred = 0;
    CompleteRequests(&request, 1);
  }
}

// Hands a record to the read thread. Only the push that finds the queue
// empty wakes the read thread: the reads pushed after it, until the read
// thread takes the queue, go with the same wake-up.
void QueueRead(Request* ioRequest, HANDLE inFile) {
  QueuedRead& queued = QueuedReadOf(ioRequest);
  queued.mFile = inFile;
  Request* head = sReadQueue.load(std::memory_order_relaxed);
  do {
    queued.mNext = head;
  } while (!sReadQueue.compare_exchange_weak(head, ioRequest, std::memory_order_release,
                                             std::memory_order_relaxed));
  if (head == nullptr) sReadExecutor->Post(&IssueQueuedReads);
}

// Claims a free record, spreading concurrent claimers over the pool; waits
// while every record is taken.
Request* ClaimRequest() {
  for (;;) {
    for (std::uint32_t attempt = 0; attempt < kRequestPoolSize; ++attempt) {
      Request& request = sRequestPool[sNextRequest.fetch_add(1) & kRequestIndexMask];
      std::uint32_t expected = 0;
      if (request.mInUse.compare_exchange_strong(expected, 1)) return &request;
    }
    ::Sleep(kPoolFullRetryMs);
  }
}

}  // namespace

class AsyncFileReader::PrivateImpl : public strata::Impl {
 public:
  Win::ScopedHandle mFileHandle;
  RequestBusyList<Request> mBusyList;
  strata::threads::ExecutorRef mExecutor;  // empty until Open
};

AsyncFileReader::AsyncFileReader() : mImpl(new PrivateImpl), mSectorSize(0) {}

AsyncFileReader::~AsyncFileReader() {
  if (mImpl->mFileHandle.IsValid()) Close();
  delete mImpl;
}

std::uint32_t AsyncFileReader::GetDiskSectorSize() const { return mSectorSize; }

Result AsyncFileReader::QueueReadRequest(std::uint64_t inOffset, std::uint32_t inSize,
                                         void* inBuffer, CompletionFunction inCallback,
                                         void* inContext1, void* inContext2, void* inContext3) {
  STRATA_INPUT_CONTRACT_AT(mImpl->mFileHandle.IsValid(),
                           "mImpl->mFileHandle != INVALID_HANDLE_VALUE", kContractSource, 193);
  Request* request = ClaimRequest();
  request->mOffset = inOffset;
  request->mRequestedSize = inSize;
  request->mBuffer = inBuffer;
  request->mBytesTransferred = 0;
  request->mCompletionFunction = inCallback;
  request->mContext1 = inContext1;
  request->mContext2 = inContext2;
  request->mContext3 = inContext3;
  request->mReader = this;
  request->mBusyList = &mImpl->mBusyList;
  request->mExecutor = mImpl->mExecutor;  // releases the previous user's reference
  request->mResult = kSuccess;
  request->mOverlapped.Internal = 0;
  request->mOverlapped.InternalHigh = 0;
  request->mOverlapped.hEvent = nullptr;
  request->mOverlapped.Offset = static_cast<DWORD>(inOffset & 0xFFFFFFFFu);
  request->mOverlapped.OffsetHigh = static_cast<DWORD>(inOffset >> 32);

  mImpl->mBusyList.AddToBusyList(request);
  QueueRead(request, mImpl->mFileHandle.Get());
  return kSuccess;
}

Result AsyncFileReader::Open(const UTF16String& inPath,
                             AsyncFileReader& ioOpenedAsyncFileReader) {
  STRATA_INPUT_CONTRACT_AT(sCompletionPort.IsValid(),
                           "sCompletionPort != NULL && sCompletionPort != INVALID_HANDLE_VALUE",
                           kContractSource, 239);
  STRATA_INPUT_CONTRACT_AT(!ioOpenedAsyncFileReader.mImpl->mFileHandle.IsValid(),
                           "ioOpenedAsyncFileReader.mImpl->mFileHandle == INVALID_HANDLE_VALUE",
                           kContractSource, 240);
  STRATA_INPUT_CONTRACT_AT(!ioOpenedAsyncFileReader.mImpl->mExecutor,
                           "!ioOpenedAsyncFileReader.mImpl->mExecutor", kContractSource, 241);
  PrivateImpl& impl = *ioOpenedAsyncFileReader.mImpl;

  if (!PathUtils::ExistsOnDisk(inPath, false) || PathUtils::IsDirectory(inPath)) {
    STRATA_TRACE("Ostra::WinAsyncFileReader", 7, "File path doesn't exist on disk");
    return -1;
  }
  // Writers may share the file: a media file is often read while it grows.
  impl.mFileHandle.Reset(::CreateFileW(PathUtils::ToNormalizedPath(inPath).c_str(), GENERIC_READ,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                       FILE_FLAG_OVERLAPPED | FILE_FLAG_NO_BUFFERING, nullptr));
  if (!impl.mFileHandle.IsValid()) {
    STRATA_TRACE("Ostra::WinAsyncFileReader", 7, "CreateFileW failed");
    return -1;
  }
  // Without the port no read of this file would ever complete; the open
  // still goes on, and the trace is the only sign.
  if (::CreateIoCompletionPort(impl.mFileHandle.Get(), sCompletionPort.Get(), 0, 1) == nullptr) {
    const DWORD error = ::GetLastError();
    STRATA_TRACE("Ostra:WinAsyncFileReader", 7,
                 "CreateIoCompletionPort failed with error: " << error);
  }
  impl.mExecutor =
      strata::threads::CreateSubExecutor(strata::threads::CreateCPUBoundExecutor(), 1);
  const Result result =
      DiskUtils::GetEfficientDiskBufferSizeFromPath(inPath, ioOpenedAsyncFileReader.mSectorSize);
  // Traced on success too, with the result 0.
  STRATA_TRACE("Ostra:WinAsyncFileReader", 7,
               "GetEfficientDiskBufferSizeFromPath failed with error: "
                   << static_cast<int>(result));
  return result;
}

void AsyncFileReader::WaitForPendingReads() {
  if (!mImpl) return;
  mImpl->mBusyList.WaitUntilEmpty();
  if (mImpl->mExecutor) mImpl->mExecutor->WaitForAll();
}

void AsyncFileReader::Close() {
  if (!mImpl->mFileHandle.IsValid()) return;
  mImpl->mBusyList.WaitUntilEmpty();
  if (mImpl->mExecutor) mImpl->mExecutor->WaitForAll();
  mImpl->mFileHandle.Close();
  // The executor stays: a closed reader is not opened again.
}

void StartupAsyncFileOperations() {
  STRATA_INPUT_CONTRACT_AT(!sCompletionPort.IsValid(), "sCompletionPort == NULL", kContractSource,
                           91);
  // Reads left in flight by an earlier shut-down never reach the new port.
  sReadsOnTheirWay = 0;
  sCompletionPort.Reset(::CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 1));
  if (!sCompletionPort.IsValid()) return;
  sCompletionThread.Reset(reinterpret_cast<HANDLE>(
      ::_beginthreadex(nullptr, 0, &CompletionLoop, sCompletionPort.Get(), 0, nullptr)));
  sReadExecutor = strata::threads::CreateAsyncThreadedExecutor(
      "WinAsyncFileReader Async Read Thread", 1, strata::threads::ThreadPriority::kAboveNormal,
      strata::threads::ThreadHook(), strata::threads::ThreadHook(),
      strata::threads::ThreadAttributes());
}

void ShutdownAsyncFileOperations() {
  if (sCompletionPort.IsValid() && sCompletionThread.IsValid() &&
      ::PostQueuedCompletionStatus(sCompletionPort.Get(), 0, 0, nullptr))
    ::WaitForSingleObject(sCompletionThread.Get(), INFINITE);
  sCompletionThread.Close();
  sCompletionPort.Close();
  sReadExecutor.reset();
  // The last references to readers' executors may be here; releasing them
  // lets the CPU pool's threads end.
  for (Request& request : sRequestPool) request.mExecutor.reset();
}

namespace Internal {

std::uint32_t CountAsyncReadRequestsInUse() {
  std::uint32_t count = 0;
  for (const Request& request : sRequestPool) count += request.mInUse.load() != 0 ? 1 : 0;
  return count;
}

}  // namespace Internal
}  // namespace Ostra
