// The asynchronous reader on the process's I/O completion port: one read
// thread issues every ReadFile, one completion thread collects the
// results, and each request record comes from a fixed pool claimed without
// locks. Callbacks go to the reader's serial executor (AsyncReadCompletion.h
// holds that side and the read thread's queue). Both threads work in
// batches, so that a busy reader pays one wake-up, one busy-list lock and
// one executor post per batch rather than per read.
#include "Ostra/AsyncFileReader.h"

#include <windows.h>
#include <process.h>

#include <new>

#include "AsyncFileReaderPrivate.h"
#include "AsyncReadCompletion.h"
#include "Ostra/DiskUtils.h"
#include "Ostra/PathUtils.h"
#include "Ostra/Result.h"
#include "ScopedHandle.h"
#include "strata/Impl.h"

namespace Ostra {

namespace {

typedef AsyncReadRequest<OVERLAPPED> Request;
typedef RequestBusyList<Request> BusyList;

// Contract reports of this file name it so, with their documented lines.
const char kContractSource[] = "WinAsyncFileReader";

const std::uint32_t kRequestPoolSize = 2048;
const std::uint32_t kRequestIndexMask = kRequestPoolSize - 1;

// Zero-initialised at load: every record free.
Request sRequestPool[kRequestPoolSize];
std::atomic<std::uint32_t> sNextRequest(0);
// The file each taken record reads, by record index: the record's own
// layout has no room for it.
HANDLE sRequestFile[kRequestPoolSize];

HANDLE& FileOf(const Request* inRequest) { return sRequestFile[inRequest - sRequestPool]; }

Win::ScopedHandle sCompletionPort;
Win::ScopedHandle sCompletionThread;
strata::threads::ExecutorRef sReadExecutor;

AsyncRead::ReadQueue<Request, kRequestPoolSize> sReadQueue;

// Most completions taken from the port in one call.
const ULONG kCompletionBatch = 64;

// Reads issued and not yet taken off the port: the most the port can hold.
// The read thread counts each read just before issuing it, so the count is
// never below what the port holds. The completion thread asks the port for
// no more than this: where the system takes completions off one at a time,
// asking for more than are there costs one more empty look each time,
// which matters most with few reads in flight.
std::atomic<long> sReadsOnTheirWay(0);

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
      if (!::GetOverlappedResult(FileOf(request), &request->mOverlapped, &ignored, FALSE))
        request->mResult = Win::SystemErrorToOstraResult(::GetLastError());
      request->mBytesTransferred = entries[i].dwNumberOfBytesTransferred;
      batch[requests++] = request;
    }
    sReadsOnTheirWay.fetch_sub(long(requests), std::memory_order_relaxed);
    AsyncRead::CompleteBatch<kCompletionBatch>(batch, requests);
  }
  return 0;
}

// Runs on the read thread: issues the reads queued so far, oldest first. A
// read the system refuses outright never reaches the port, so it completes
// here with 0 bytes.
void IssueQueuedReads() {
  Request** issuing = nullptr;
  const std::size_t count = sReadQueue.Take(issuing);
  for (std::size_t i = 0; i < count; ++i) {
    Request* request = issuing[i];
    sReadsOnTheirWay.fetch_add(1, std::memory_order_relaxed);
    // Once issued, the record may complete, be freed and be taken again.
    const BOOL done = ::ReadFile(FileOf(request), request->mBuffer, request->mRequestedSize,
                                 nullptr, &request->mOverlapped);
    const DWORD error = done ? ERROR_SUCCESS : ::GetLastError();
    if (done || error == ERROR_IO_PENDING) continue;
    sReadsOnTheirWay.fetch_sub(1, std::memory_order_relaxed);
    request->mResult = Win::SystemErrorToOstraResult(error);
    request->mBytesTransferred = 0;
    AsyncRead::CompleteRequests(&request, 1);
  }
}

// Hands a record to the read thread. Without the wake-up no later read
// would be issued either.
void QueueRead(Request* ioRequest) {
  if (sReadQueue.Push(ioRequest))
    AsyncRead::RetryUntilMemory([] { sReadExecutor->Post(&IssueQueuedReads); });
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
    ::Sleep(AsyncRead::kRetryMs);
  }
}

}  // namespace

class AsyncFileReader::PrivateImpl : public strata::Impl {
 public:
  Win::ScopedHandle mFileHandle;
  BusyList mBusyList;
  strata::threads::ExecutorRef mExecutor;  // empty until Open
};

AsyncFileReader::AsyncFileReader() : mImpl(new PrivateImpl), mSectorSize(0) {}

AsyncFileReader::~AsyncFileReader() {
  if (mImpl->mFileHandle.IsValid()) Close();
  // Nothing may be left to touch the list once it is gone.
  mImpl->mBusyList.WaitUntilIdle();
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
  FileOf(request) = mImpl->mFileHandle.Get();

  try {
    mImpl->mBusyList.AddToBusyList(request);
  } catch (...) {
    request->mInUse.exchange(0);
    throw;
  }
  QueueRead(request);
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

// The busy list counts callbacks until they have run, so waiting for it
// covers the executor too; reads that callbacks queue meanwhile keep it
// busy, so once it is idle no callback is left to queue another.
void AsyncFileReader::WaitForPendingReads() {
  if (mImpl) mImpl->mBusyList.WaitUntilIdle();
}

void AsyncFileReader::Close() {
  if (!mImpl->mFileHandle.IsValid()) return;
  mImpl->mBusyList.WaitUntilIdle();
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
  try {
    sReadExecutor = strata::threads::CreateAsyncThreadedExecutor(
        "WinAsyncFileReader Async Read Thread", 1, strata::threads::ThreadPriority::kAboveNormal,
        strata::threads::ThreadHook(), strata::threads::ThreadHook(),
        strata::threads::ThreadAttributes());
  } catch (const std::bad_alloc&) {
    sReadExecutor.reset();
  }
  // Without either thread no read would ever complete: the port goes again,
  // so that Open refuses instead of handing out a reader that hangs.
  if (!sCompletionThread.IsValid() || !sReadExecutor) ShutdownAsyncFileOperations();
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
