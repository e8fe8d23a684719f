// The asynchronous reader on the process's I/O completion port: one read
// thread issues every ReadFile, one completion thread collects the
// results, and each request record comes from a fixed pool claimed without
// locks. Callbacks go to the reader's serial executor.
#include "Ostra/AsyncFileReader.h"

#include <windows.h>
#include <process.h>

#include "AsyncFileReaderPrivate.h"
#include "Ostra/DiskUtils.h"
#include "Ostra/PathUtils.h"
#include "Ostra/Result.h"
#include "ScopedHandle.h"
#include "strata/Impl.h"

// Contract reports of this file keep fixed line numbers, so that a report
// reads the same whatever edits happen around the check.
#define OSTRA_READER_CONTRACT(cond, text, line)                                                \
  do {                                                                                         \
    if (!(cond))                                                                               \
      ::strata::debug::ContractViolation(::strata::debug::DialogKind::kInputContract, text,    \
                                         STRATA_FUNCTION_SIGNATURE, "WinAsyncFileReader",      \
                                         line);                                                \
  } while (0)

namespace Ostra {

namespace {

typedef AsyncReadRequest<OVERLAPPED> Request;

const std::uint32_t kRequestPoolSize = 2048;
const std::uint32_t kRequestIndexMask = kRequestPoolSize - 1;
const DWORD kPoolFullRetryMs = 10;

// Zero-initialised at load: every record free.
Request sRequestPool[kRequestPoolSize];
std::atomic<std::uint32_t> sNextRequest(0);

Win::ScopedHandle sCompletionPort;
Win::ScopedHandle sCompletionThread;
strata::threads::ExecutorRef sReadExecutor;

// Hands the record's callback to its reader's executor and frees the
// record. The callback is posted before the busy list can release a
// waiter, so a waiter that then waits for the executor also waits for it.
void CompleteRequest(Request* ioRequest) {
  strata::threads::Task call;
  strata::threads::ExecutorRef executor;
  if (ioRequest->mCompletionFunction && ioRequest->mExecutor) {
    const CompletionFunctionParams params = {
        ioRequest->mReader,   ioRequest->mOffset,   ioRequest->mRequestedSize,
        ioRequest->mBytesTransferred, ioRequest->mBuffer, ioRequest->mContext1,
        ioRequest->mContext2, ioRequest->mContext3, ioRequest->mResult};
    const AsyncReadCompletionFunction function = ioRequest->mCompletionFunction;
    call = [function, params] {
      function(params.mReader, params.mOffset, params.mRequestedSize, params.mBytesTransferred,
               params.mBuffer, params.mContext1, params.mContext2, params.mContext3,
               params.mResult);
    };
    executor = ioRequest->mExecutor;
  }
  ioRequest->mBusyList->RemoveFromBusyList(ioRequest, [ioRequest, &call, &executor] {
    // From here on the record may be claimed by any thread.
    ioRequest->mInUse.exchange(0);
    if (call) executor->Post(std::move(call));
  });
}

unsigned __stdcall CompletionLoop(void* inPort) {
  HANDLE port = static_cast<HANDLE>(inPort);
  for (;;) {
    DWORD bytes = 0;
    ULONG_PTR key = 0;
    OVERLAPPED* overlapped = nullptr;
    const BOOL succeeded = ::GetQueuedCompletionStatus(port, &bytes, &key, &overlapped, INFINITE);
    const DWORD error = succeeded ? ERROR_SUCCESS : ::GetLastError();
    if (succeeded && overlapped == nullptr) break;  // the shut-down packet
    if (overlapped == nullptr) continue;            // a failed dequeue: nothing to complete
    Request* request = reinterpret_cast<Request*>(overlapped);
    if (!succeeded) request->mResult = Win::SystemErrorToOstraResult(error);
    request->mBytesTransferred = bytes;
    CompleteRequest(request);
  }
  return 0;
}

// Runs on the read thread. A read the system refuses outright never
// reaches the port, so it completes here with 0 bytes.
void IssueRead(HANDLE inFile, void* inBuffer, DWORD inSize, DWORD* outBytesRead,
               Request* ioRequest) {
  if (::ReadFile(inFile, inBuffer, inSize, outBytesRead, &ioRequest->mOverlapped)) return;
  const DWORD error = ::GetLastError();
  if (error == ERROR_IO_PENDING) return;
  ioRequest->mResult = Win::SystemErrorToOstraResult(error);
  ioRequest->mBytesTransferred = 0;
  CompleteRequest(ioRequest);
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
  OSTRA_READER_CONTRACT(mImpl->mFileHandle.IsValid(),
                        "mImpl->mFileHandle != INVALID_HANDLE_VALUE", 193);
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
  HANDLE file = mImpl->mFileHandle.Get();
  sReadExecutor->Post([file, inBuffer, inSize, request] {
    IssueRead(file, inBuffer, inSize, nullptr, request);
  });
  return kSuccess;
}

Result AsyncFileReader::Open(const UTF16String& inPath,
                             AsyncFileReader& ioOpenedAsyncFileReader) {
  OSTRA_READER_CONTRACT(sCompletionPort.IsValid(),
                        "sCompletionPort != NULL && sCompletionPort != INVALID_HANDLE_VALUE", 239);
  OSTRA_READER_CONTRACT(!ioOpenedAsyncFileReader.mImpl->mFileHandle.IsValid(),
                        "ioOpenedAsyncFileReader.mImpl->mFileHandle == INVALID_HANDLE_VALUE", 240);
  OSTRA_READER_CONTRACT(!ioOpenedAsyncFileReader.mImpl->mExecutor,
                        "!ioOpenedAsyncFileReader.mImpl->mExecutor", 241);
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
  OSTRA_READER_CONTRACT(!sCompletionPort.IsValid(), "sCompletionPort == NULL", 91);
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
