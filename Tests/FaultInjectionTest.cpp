// Fault injection into the I/O core, the way storage engines test theirs.
// Each scenario runs once to count the calls into the host (every
// IFileBufferFactory and IFileBuffer operation, every reader callback), then
// once per call with that call failing: it throws std::runtime_error, then
// std::bad_alloc, and where it returns a result it returns a failure. In the
// fault-injection build (OSTRA_FAULT_INJECTION) each scenario then runs once
// per allocation of the libraries' own, the Nth failing, N = 1, 2, ... Runs
// go on until one passes no fault point; threads make the number of calls
// vary, so a point that a run without a fault passed is tried up to three
// times before it counts as never reached.
//
// Every run must end (the watchdog names the scenario, the fault and where
// it struck when one does not); give the file's bytes or a failure, never
// other bytes; leave the block cache's statistics adding up with no pins
// once the Files are closed; leave no host object called or held by the
// library after Close; and leave threads, handles and request records as
// they were once the library is terminated. An exception may leave a call
// the host made only when it is the fault injected on that thread during
// that call: File::Read may pass on its cache's exception, never one from
// the read-ahead thread; Close never throws.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "HandleCount.h"
#include "Ostra/AsyncFileReader.h"
#include "Ostra/BlockCache.h"
#include "Ostra/File.h"
#include "Ostra/Foundation.h"
#include "Ostra/Result.h"
#include "Support/Dialogs.h"
#include "Support/TempDirectoryTest.h"
#include "Support/ThreadCount.h"
#include "Support/Watchdog.h"
#include "Win/AsyncFileReaderPrivate.h"
#include "strata/Allocator.h"
#ifdef OSTRA_FAULT_INJECTION
#include "AllocationFaults.h"
#endif

namespace {

using Ostra::AsyncFileReader;
using Ostra::BlockCache;
using Ostra::IFileBuffer;
using strata::classref::InterfaceRef;

const std::uint32_t kBlock = 0x10000;  // the smallest block a File uses

unsigned char ByteAt(std::uint64_t inOffset) {
  return static_cast<unsigned char>((inOffset * 7) ^ (inOffset >> 9) ^ (inOffset >> 17));
}

// ------------------------------------------------------------ fault sites

enum class Fault { kNone, kRuntimeError, kBadAlloc, kFailureResult, kAllocation };

const char* Describe(Fault inFault) {
  switch (inFault) {
    case Fault::kNone:
      return "no fault";
    case Fault::kRuntimeError:
      return "std::runtime_error at host call";
    case Fault::kBadAlloc:
      return "std::bad_alloc at host call";
    case Fault::kFailureResult:
      return "a failure result at host call";
    case Fault::kAllocation:
      return "failed allocation";
  }
  return "?";
}

// The library call the host is making on this thread ("File::Read"); null
// on threads where only the library runs. Set by HostCall.
thread_local const char* tHostCall = nullptr;

// Looked up at load: a function's static would be built under the C++
// runtime's guard, whose wait makes handles of its own.
typedef HRESULT(WINAPI* GetThreadDescriptionFunction)(HANDLE, PWSTR*);
const GetThreadDescriptionFunction sGetThreadDescription =
    reinterpret_cast<GetThreadDescriptionFunction>(reinterpret_cast<void (*)()>(
        ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "GetThreadDescription")));

// The name the library gave the calling thread; empty when it gave none.
std::string ThreadName() {
  std::string name;
  PWSTR description = nullptr;
  if (sGetThreadDescription &&
      SUCCEEDED(sGetThreadDescription(::GetCurrentThread(), &description)) && description) {
    for (const wchar_t* c = description; *c; ++c) name += static_cast<char>(*c);
    ::LocalFree(description);
  }
  return name;
}

// The frames of the calling thread's stack that lie in the libraries, as
// the addresses of their link-time images (addr2line -f -C -i -e
// build/bin/<library> <address> names the function and line).
std::string LibraryStack() {
  void* frames[32];
  const USHORT count = ::RtlCaptureStackBackTrace(1, 32, frames, nullptr);
  std::string stack;
  for (USHORT i = 0, shown = 0; i < count && shown < 8; ++i) {
    HMODULE module = nullptr;
    if (!::GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            static_cast<LPCWSTR>(frames[i]), &module))
      continue;
    const char* name = module == ::GetModuleHandleW(L"strata.dll") ? "strata.dll"
                       : module == ::GetModuleHandleW(L"OstraFoundation.dll")
                           ? "OstraFoundation.dll"
                           : nullptr;
    if (!name) continue;
    const char* image = reinterpret_cast<const char*>(module);
    const IMAGE_NT_HEADERS* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(
        image + reinterpret_cast<const IMAGE_DOS_HEADER*>(image)->e_lfanew);
    char frame[64];
    // The return address, less one: inside the call.
    std::snprintf(
        frame, sizeof frame, "%s%s!0x%llx", stack.empty() ? "" : " ", name,
        static_cast<unsigned long long>(headers->OptionalHeader.ImageBase +
                                        (static_cast<const char*>(frames[i]) - image) - 1));
    stack += frame;
    ++shown;
  }
  return stack;
}

// "GetBlock in File::Read", "AddBlock on library thread 'Ostra read-ahead'".
std::string SiteOf(const char* inOperation) {
  if (tHostCall) return std::string(inOperation) + " in " + tHostCall;
  const std::string name = ThreadName();
  return std::string(inOperation) +
         (name.empty() ? " on the unnamed library thread" : " on library thread '" + name + "'");
}

// ------------------------------------------------------------------- runs

// One run of a scenario with at most one fault, and what it saw. Shared by
// the host objects of the run, which may outlive it on library threads.
class FaultRun {
 public:
  FaultRun(const std::string& inScenario, Fault inFault, std::uint64_t inAt,
           OstraTest::Watchdog& ioWatchdog)
      : mScenario(inScenario), mFault(inFault), mAt(inAt), mWatchdog(ioWatchdog) {}

  Fault GetFault() const { return mFault; }
  std::string Name() const {
    return mFault == Fault::kNone ? "no fault" : Describe(mFault) + (" " + std::to_string(mAt));
  }

  // Called first by every host operation that may fail. Throws the fault
  // when this is the call to fail; true when it is to return its failure.
  bool Enter(const char* inOperation, bool inHasFailureResult) {
    if (!tHostCall) ++mLibraryCalls;
    Touch(inOperation);
    ++mHostCalls;
    if (inHasFailureResult) ++mResultCalls;
    if (mFault == Fault::kAllocation || mFault == Fault::kNone) return false;
    if (mFault == Fault::kFailureResult && !inHasFailureResult) return false;
    const std::uint64_t call =
        mFault == Fault::kFailureResult ? mResultCalls.load() : mHostCalls.load();
    if (call != mAt) return false;
    Strike(SiteOf(inOperation));
    if (mFault == Fault::kRuntimeError) throw std::runtime_error("injected fault");
    if (mFault == Fault::kBadAlloc) throw std::bad_alloc();
    return true;
  }

  // Every use of a host object, failing or not: none may come after the
  // run's end, and library threads are slowed while asked to be.
  void Touch(const char* inOperation) {
    if (mEnded.load()) Violation("host object called after Close", SiteOf(inOperation));
    if (mSlowLibraryThreads.load() && !tHostCall) ::Sleep(1);
  }

  // Waits (at most inLimitMs) until library threads have made inCount more
  // host calls than inSince, which a test read from mLibraryCalls.
  void WaitForLibraryCalls(int inSince, int inCount, int inLimitMs) {
    for (int waited = 0; waited < inLimitMs && mLibraryCalls.load() < inSince + inCount;
         waited += 2)
      ::Sleep(2);
  }

  // Whether the allocation the countdown reached may fail.
  bool AllowAllocationFault() {
    Strike(SiteOf("allocation"));
    return true;
  }

  // An exception left inCall, a library call the host made on this thread.
  void ExceptionLeft(const char* inCall, bool inMayThrow, std::exception_ptr inException) {
    std::string what = "an exception that is not a std::exception";
    bool injected = false;
    try {
      std::rethrow_exception(inException);
    } catch (const std::bad_alloc&) {
      what = "std::bad_alloc";
      injected = mFault == Fault::kBadAlloc || mFault == Fault::kAllocation;
    } catch (const std::exception& e) {
      what = e.what();
      injected = mFault == Fault::kRuntimeError && what == "injected fault";
    } catch (...) {
    }
    std::lock_guard<std::mutex> lock(mMutex);
    const bool here = mStruck && mStruckThread == ::GetCurrentThreadId() && mStruckCall == inCall;
    if (!(inMayThrow && injected && here))
      mViolations.push_back({std::string("an exception escaped ") + inCall, what});
  }

  // A library call failed: only a fault may make it fail.
  bool Succeeded(const char* inCall, Ostra::Result inResult) {
    if (strata::ResultSucceeded(inResult)) return true;
    if (!Struck())
      Violation(std::string(inCall) + " failed without a fault", std::to_string(inResult));
    return false;
  }

  void Violation(const std::string& inCheck, const std::string& inDetail) {
    std::lock_guard<std::mutex> lock(mMutex);
    mViolations.push_back({inCheck, inDetail});
  }
  void Expect(bool inHolds, const std::string& inCheck, const std::string& inDetail = "") {
    if (!inHolds) Violation(inCheck, inDetail);
  }

  // From here on no host object may be called.
  void End() { mEnded = true; }

  bool Struck() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mStruck;
  }
  // The fault's call was reached (and struck).
  bool Reached() { return Struck(); }
  std::string Site() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mSite;
  }
  // The scenario, the fault, and where it struck.
  std::string Title() {
    std::lock_guard<std::mutex> lock(mMutex);
    return TitleLocked();
  }
  std::vector<std::pair<std::string, std::string>> Violations() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mViolations;
  }

  // The fault points this run passed for inFault's kind.
  std::uint64_t Calls(Fault inFault) const {
    return inFault == Fault::kAllocation      ? mAllocations
           : inFault == Fault::kFailureResult ? mResultCalls.load()
                                              : mHostCalls.load();
  }

  std::atomic<std::uint64_t> mHostCalls{0};
  std::atomic<std::uint64_t> mResultCalls{0};  // of operations that return a result
  std::uint64_t mAllocations = 0;
  std::atomic<int> mLiveBuffers{0};
  std::atomic<int> mLibraryCalls{0};  // host calls from library threads
  std::atomic<bool> mSlowLibraryThreads{false};

 private:
  // The fault's call is here.
  void Strike(const std::string& inSite) {
    std::lock_guard<std::mutex> lock(mMutex);
    mSite = inSite;
    mStruck = true;
    mStruckThread = ::GetCurrentThreadId();
    mStruckCall = tHostCall;
    mStack = LibraryStack();
    // A hang from here on is reported with the site.
    mWatchdog.Arm(TitleLocked(), std::chrono::seconds(60));
  }

  std::string TitleLocked() const {
    std::string title = mScenario + ", " + Name();
    if (!mSite.empty()) title += " (" + mSite + (mStack.empty() ? "" : ", at " + mStack) + ")";
    return title;
  }

  const std::string mScenario;
  const Fault mFault;
  const std::uint64_t mAt;
  OstraTest::Watchdog& mWatchdog;
  std::atomic<bool> mEnded{false};
  std::mutex mMutex;
  bool mStruck = false;
  DWORD mStruckThread = 0;
  const char* mStruckCall = nullptr;
  std::string mSite;
  std::string mStack;
  std::vector<std::pair<std::string, std::string>> mViolations;
};

// What a host thread does outside the calls it names: constructors,
// settings, destructors.
const char kOtherHostCalls[] = "other host calls";

// A library call the host makes on this thread; false when it threw (which
// ExceptionLeft judges).
template <class Call>
bool HostCall(FaultRun& ioRun, const char* inWhat, Call&& inCall, bool inMayThrow = true) {
  const char* const outer = tHostCall;
  tHostCall = inWhat;
  bool returned = true;
  try {
    inCall();
  } catch (...) {
    ioRun.ExceptionLeft(inWhat, inMayThrow, std::current_exception());
    returned = false;
  }
  tHostCall = outer;
  return returned;
}

// The run going on, for a process that ends in std::terminate (an
// exception out of a library thread) to say which.
std::atomic<FaultRun*> sCurrentRun{nullptr};

std::string sLastRunTitle;  // the title of the last run that ended

void ReportEnd(const char* inHow) {
  if (FaultRun* run = sCurrentRun.load())
    std::fprintf(stderr, "\n%s during %s\n", inHow, run->Title().c_str());
  else
    std::fprintf(stderr, "\n%s after %s\n", inHow, sLastRunTitle.c_str());
  std::fflush(stderr);
  // Not abort(): under Wine a process aborting with threads blocked may
  // never finish ending.
  ::TerminateProcess(::GetCurrentProcess(), 3);
}

[[noreturn]] void ReportTerminate() {
  ReportEnd("std::terminate");
  std::abort();
}

// An exception out of a thread the C runtime started ends the process
// without std::terminate.
LONG WINAPI ReportUnhandledException(EXCEPTION_POINTERS*) {
  ReportEnd("an unhandled exception");
  return EXCEPTION_CONTINUE_SEARCH;
}

#ifdef OSTRA_FAULT_INJECTION
std::atomic<FaultRun*> sAllocationRun{nullptr};
bool AllowAllocationFault() {
  FaultRun* run = sAllocationRun.load();
  return !run || run->AllowAllocationFault();
}
#endif

// ------------------------------------------------------------ host objects

// A host's block cache that fails on demand: each operation asks the run
// first, then passes the call on to the library's own BlockCache, so that
// the bytes are real. It counts itself and its references itself, so that
// a library thread holding it after Close shows.
class FaultyBuffer : public IFileBuffer {
 public:
  FaultyBuffer(std::shared_ptr<FaultRun> inRun, InterfaceRef<IFileBuffer> inCache)
      : mRun(std::move(inRun)), mCache(std::move(inCache)) {
    ++mRun->mLiveBuffers;
  }
  ~FaultyBuffer() override { --mRun->mLiveBuffers; }

  void AddRef() const noexcept override {
    mRun->Touch("AddRef");
    ++mReferences;
  }
  void Release() const noexcept override {
    mRun->Touch("Release");
    if (--mReferences == 0) delete this;
  }
  std::int32_t GetRefCount() const noexcept override { return mReferences.load(); }

  void SetFile(const std::uint64_t& inTime, const Ostra::UTF16String& inPath,
               const std::uint64_t& inSize) override {
    mRun->Enter("SetFile", false);
    mCache->SetFile(inTime, inPath, inSize);
  }
  void AddBlock(Ostra::SharedBlock inBlock, std::uint64_t inOffset) override {
    mRun->Enter("AddBlock", false);
    mCache->AddBlock(std::move(inBlock), inOffset);
  }
  Ostra::Result GetBlock(std::uint64_t inOffset, std::uint32_t inSize,
                         Ostra::SharedBlock& outBlock) override {
    if (mRun->Enter("GetBlock", true)) return Ostra::eUnknown;
    return mCache->GetBlock(inOffset, inSize, outBlock);
  }
  void UnpinBlock(std::uint64_t inOffset, std::uint32_t inSize) override {
    mRun->Enter("UnpinBlock", false);
    mCache->UnpinBlock(inOffset, inSize);
  }
  void PinBlock(std::uint64_t inOffset, std::uint32_t inSize) override {
    mRun->Enter("PinBlock", false);
    mCache->PinBlock(inOffset, inSize);
  }

 private:
  const std::shared_ptr<FaultRun> mRun;
  const InterfaceRef<IFileBuffer> mCache;
  mutable std::atomic<std::int32_t> mReferences{0};
};

class FaultyFactory : public Ostra::IFileBufferFactory {
 public:
  FaultyFactory(std::shared_ptr<FaultRun> inRun, InterfaceRef<BlockCache> inCache)
      : mRun(std::move(inRun)), mCache(std::move(inCache)) {}
  // A failure result is an empty buffer: the File reads uncached.
  InterfaceRef<IFileBuffer> CreateFileBuffer() override {
    if (mRun->Enter("CreateFileBuffer", true)) return {};
    InterfaceRef<IFileBuffer> inner = mCache->CreateFileBuffer();
    if (!inner) return {};  // the cache had no memory for one: the File reads uncached
    return InterfaceRef<IFileBuffer>(new FaultyBuffer(mRun, inner));
  }

 private:
  const std::shared_ptr<FaultRun> mRun;
  const InterfaceRef<BlockCache> mCache;
};

// -------------------------------------------------------------- scenarios

// What a scenario's body works with in one run.
struct Stage {
  FaultRun& run;
  const std::wstring& path;  // a file of ByteAt bytes
  std::uint64_t size;
  BlockCache& cache;  // behind the installed factory
};

// inCall read inRead bytes at inOffset into inData; inExpected were there.
// False when they are not the file's.
bool ExpectFileBytes(FaultRun& ioRun, const char* inCall, const void* inData,
                     std::uint64_t inOffset, std::uint32_t inRead, std::uint64_t inExpected) {
  const unsigned char* bytes = static_cast<const unsigned char*>(inData);
  std::uint32_t same = 0;
  while (same < inRead && bytes[same] == ByteAt(inOffset + same)) ++same;
  if (inRead == inExpected && same == inRead) return true;
  ioRun.Violation(std::string("wrong bytes from ") + inCall,
                  std::to_string(inRead) + " of " + std::to_string(inExpected) + " bytes at " +
                      std::to_string(inOffset) + ", the first wrong at " +
                      std::to_string(inOffset + same));
  return false;
}

bool OpenCached(FaultRun& ioRun, Ostra::File& ioFile, const std::wstring& inPath) {
  ioFile.SetBufferSize(kBlock);
  Ostra::Result result = Ostra::eUnknown;
  const bool returned = HostCall(ioRun, "File::Create", [&] {
    result = ioFile.Create(inPath, Ostra::FileAccessFlags::kFileRead,
                           Ostra::FileShareModeFlags::kShareRead,
                           Ostra::FileCreateDispositionFlags::kOpenExisting,
                           Ostra::FileAttributesFlags::kNormal, false);
  });
  if (returned && ioRun.Succeeded("File::Create", result)) return true;
  ioRun.Expect(!ioFile.IsOpen(), "a failed Create left the File open");
  return false;
}

void CloseFile(FaultRun& ioRun, Ostra::File& ioFile) {
  HostCall(
      ioRun, "File::Close", [&] { ioFile.Close(); }, false);
}

// Reads ioFile from ioPosition (where it is) on until at least inEnd, in
// pieces of inChunk, checking every byte; ioPosition follows. A failed read
// is tried again where the File is, which must be where it was.
void ReadThrough(Stage& ioStage, Ostra::File& ioFile, std::uint64_t& ioPosition,
                 std::uint64_t inEnd, std::uint32_t inChunk) {
  FaultRun& run = ioStage.run;
  std::vector<unsigned char> buffer(inChunk);
  int failures = 0;
  while (ioPosition < inEnd) {
    std::uint32_t read = 0;
    Ostra::Result result = Ostra::eUnknown;
    if (HostCall(run, "File::Read", [&] { result = ioFile.Read(buffer.data(), inChunk, read); }) &&
        run.Succeeded("File::Read", result)) {
      if (!ExpectFileBytes(run, "File::Read", buffer.data(), ioPosition, read,
                           std::min<std::uint64_t>(inChunk, ioStage.size - ioPosition)))
        return;
      ioPosition += read;
      continue;
    }
    std::int64_t pointer = -1;
    ioFile.GetFilePointer(pointer);
    run.Expect(pointer == static_cast<std::int64_t>(ioPosition),
               "a failed File::Read moved the position");
    if (++failures == 3) return run.Violation("File::Read kept failing after one fault", "");
  }
}

// One File read straight through (inReadAhead blocks ahead), then again
// from a jump back, pinning the two newest blocks.
void SequentialRead(Stage& ioStage, std::uint32_t inReadAhead) {
  FaultRun& run = ioStage.run;
  Ostra::File file;
  file.SetMultiBufferCount(2);
  file.SetReadAhead(inReadAhead);
  if (!OpenCached(run, file, ioStage.path)) return;
  // Into block 1, which queues blocks 2 and 3; the rest once the read-ahead
  // thread has had them (a block only queued is read by Read itself).
  const std::uint64_t second = kBlock + 4464;
  std::uint64_t position = 0;
  int calls = run.mLibraryCalls;
  ReadThrough(ioStage, file, position, second, 40000);
  if (inReadAhead) run.WaitForLibraryCalls(calls, 4, 20);
  ReadThrough(ioStage, file, position, ioStage.size, 40000);
  position = second;
  if (!HostCall(run, "File::SetFilePointer", [&] {
        file.SetFilePointer(static_cast<std::int64_t>(second),
                            Ostra::FilePointerMoveMethod::kBegin);
      }))
    return CloseFile(run, file);
  // Reading on from the jump queues blocks ahead again. Slowed down, the
  // read-ahead thread is still reading one when Close begins.
  run.mSlowLibraryThreads = inReadAhead > 0;
  calls = run.mLibraryCalls;
  ReadThrough(ioStage, file, position, second + 100000, 40000);
  if (inReadAhead) run.WaitForLibraryCalls(calls, 1, 20);
  CloseFile(run, file);
}

// A SharedFile read by three threads at once, each at other blocks first.
void SharedReads(Stage& ioStage) {
  FaultRun& run = ioStage.run;
  Ostra::SharedFile file;
  file.SetMultiBufferCount(2);
  if (!OpenCached(run, file, ioStage.path)) return;
  const std::uint64_t blocks = (ioStage.size + kBlock - 1) / kBlock;
  std::vector<std::thread> threads;
  for (std::uint64_t t = 0; t < 3; ++t) {
    threads.emplace_back([&, t] {
      HostCall(run, kOtherHostCalls, [&] {
        std::vector<unsigned char> buffer(70000);
        for (std::uint64_t i = 0; i < blocks; ++i) {
          const std::uint64_t offset = ((i + 2 * t) % blocks) * kBlock + t * 1000;
          std::uint32_t read = 0;
          Ostra::Result result = Ostra::eUnknown;
          if (!HostCall(run, "SharedFile::ReadAt",
                        [&] {
                          result = file.ReadAt(buffer.data(), static_cast<std::int64_t>(offset),
                                               70000, read);
                        }) ||
              !run.Succeeded("SharedFile::ReadAt", result))
            continue;
          ExpectFileBytes(
              run, "SharedFile::ReadAt", buffer.data(), offset, read,
              offset < ioStage.size ? std::min<std::uint64_t>(70000, ioStage.size - offset) : 0);
        }
      });
    });
  }
  for (std::thread& thread : threads) thread.join();
  CloseFile(run, file);
}

// Two Files read by two threads while the host keeps changing the cache's
// budget and clearing it.
void BudgetChangesUnderReaders(Stage& ioStage) {
  FaultRun& run = ioStage.run;
  std::atomic<int> reading{2};
  std::vector<std::thread> readers;
  for (int r = 0; r < 2; ++r) {
    readers.emplace_back([&] {
      HostCall(run, kOtherHostCalls, [&] {
        Ostra::File file;
        file.SetMultiBufferCount(1);
        if (OpenCached(run, file, ioStage.path)) {
          std::uint64_t position = 0;
          ReadThrough(ioStage, file, position, ioStage.size, 30000);
          position = 0;
          if (HostCall(run, "File::SetFilePointer",
                       [&] { file.SetFilePointer(0, Ostra::FilePointerMoveMethod::kBegin); }))
            ReadThrough(ioStage, file, position, ioStage.size, 50000);
          CloseFile(run, file);
        }
      });
      --reading;
    });
  }
  const std::uint64_t budgets[] = {0, kBlock, 3 * kBlock, std::uint64_t(1) << 30};
  for (int i = 0; reading.load() > 0; ++i) {
    HostCall(run, "BlockCache::SetByteBudget",
             [&] { ioStage.cache.SetByteBudget(budgets[i % 4]); });
    if (i % 5 == 4) HostCall(run, "BlockCache::Clear", [&] { ioStage.cache.Clear(); });
    ::Sleep(1);
  }
  for (std::thread& reader : readers) reader.join();
}

// --------------------------------------------------- the reader's chains

// One chain of reads, of every second sector from next on to end: each read
// is queued by the callback of the one before.
struct Chain {
  FaultRun* run;
  AsyncFileReader* reader;
  unsigned char* memory;
  std::uint32_t sector;
  std::uint32_t next;
  std::uint32_t end;
  std::atomic<bool> inFlight{false};
  const std::atomic<bool>* closed;  // set once Close has returned
};

void ChainCallback(const AsyncFileReader*, std::uint64_t inOffset, std::uint32_t inRequested,
                   std::uint32_t inRead, void* inBuffer, void* inChain, void*, void*, int inResult);

void QueueNextLink(Chain& ioChain) {
  if (ioChain.next >= ioChain.end) return;
  const std::uint64_t offset = std::uint64_t(ioChain.next) * ioChain.sector;
  ioChain.next += 2;
  ioChain.inFlight = true;
  if (!HostCall(*ioChain.run, "AsyncFileReader::QueueReadRequest", [&] {
        ioChain.reader->QueueReadRequest(offset, ioChain.sector, ioChain.memory + offset,
                                         &ChainCallback, &ioChain, nullptr, nullptr);
      }))
    ioChain.inFlight = false;
}

void ChainCallback(const AsyncFileReader*, std::uint64_t inOffset, std::uint32_t inRequested,
                   std::uint32_t inRead, void* inBuffer, void* inChain, void*, void*,
                   int inResult) {
  Chain& chain = *static_cast<Chain*>(inChain);
  FaultRun& run = *chain.run;
  chain.inFlight = false;
  if (chain.closed->load())
    return run.Violation("a reader callback after Close", std::to_string(inOffset));
  // A failing callback fails before it does anything: its chain ends.
  run.Enter("reader callback", false);
  if (run.Succeeded("a queued read", inResult))
    ExpectFileBytes(run, "the reader", inBuffer, inOffset, inRead, inRequested);
  QueueNextLink(chain);
}

// Page-aligned memory, as unbuffered reads need.
struct SectorMemory {
  explicit SectorMemory(std::size_t inSize)
      : data(static_cast<unsigned char*>(
            ::VirtualAlloc(nullptr, inSize, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE))) {}
  ~SectorMemory() { ::VirtualFree(data, 0, MEM_RELEASE); }
  unsigned char* const data;
};

// Two chains of reads on one reader; Close comes when they have run out,
// or at once, while their callbacks still queue reads.
void ReaderChains(Stage& ioStage, bool inCloseAtOnce) {
  FaultRun& run = ioStage.run;
  const std::uint32_t kReads = 8;  // per chain
  // Everything a read or callback may still touch, so that a read that
  // never ends can keep it.
  struct Reading {
    std::atomic<bool> closed{false};
    std::unique_ptr<SectorMemory> memory;
    std::vector<std::unique_ptr<Chain>> chains;
    AsyncFileReader reader;  // last: goes first
    bool AnyInFlight() const {
      for (const std::unique_ptr<Chain>& chain : chains)
        if (chain->inFlight.load()) return true;
      return false;
    }
  };
  std::unique_ptr<Reading> reading;
  if (!HostCall(run, "AsyncFileReader::AsyncFileReader", [&] { reading.reset(new Reading); }))
    return;
  AsyncFileReader& reader = reading->reader;
  Ostra::Result opened = Ostra::eUnknown;
  if (!HostCall(run, "AsyncFileReader::Open",
                [&] { opened = AsyncFileReader::Open(ioStage.path, reader); }) ||
      !run.Succeeded("AsyncFileReader::Open", opened))
    return;
  const std::uint32_t sector = reader.GetDiskSectorSize();
  if (sector == 0 || sector * 2ull * kReads > ioStage.size)
    return run.Violation("unusable sector size", std::to_string(sector));
  reading->memory.reset(new SectorMemory(sector * 2 * kReads));
  for (std::uint32_t first = 0; first < 2; ++first) {
    reading->chains.emplace_back(new Chain);
    Chain& chain = *reading->chains.back();
    chain.run = &run;
    chain.reader = &reader;
    chain.memory = reading->memory->data;
    chain.sector = sector;
    chain.next = first;
    chain.end = 2 * kReads;
    chain.closed = &reading->closed;
  }
  for (const std::unique_ptr<Chain>& chain : reading->chains) QueueNextLink(*chain);
  for (int i = 0; !inCloseAtOnce && i < 1000 && reading->AnyInFlight(); ++i)
    HostCall(run, "AsyncFileReader::WaitForPendingReads", [&] { reader.WaitForPendingReads(); });
  HostCall(
      run, "AsyncFileReader::Close", [&] { reader.Close(); }, false);
  run.Expect(!reading->AnyInFlight(), "a read still in flight after Close");
  reading->closed = true;
  // What comes after Close must end before the reader and the memory go;
  // what does not end keeps them.
  for (int i = 0; i < 200 && reading->AnyInFlight(); ++i) ::Sleep(5);
  if (reading->AnyInFlight()) {
    run.Violation("a read queued before Close never completed after Close", "");
    reading.release();
  }
}

// ------------------------------------------------------------- the runner

typedef std::function<void(Stage&)> Body;

struct Scenario {
  const char* test;  // the test's name
  const char* name;  // what failures call it
  std::uint64_t fileSize;
  std::uint64_t budget;  // the cache's, in bytes
  Body body;
};

// What one scenario's runs found.
struct Report {
  std::map<Fault, std::uint64_t> counted;  // fault points of the counting runs
  std::map<Fault, std::uint64_t> reached;  // points a run reached
  std::map<Fault, std::uint64_t> missed;   // points no run reached
  std::uint64_t runs = 0;
  std::vector<std::string> failures;
};

class FaultInjectionTest : public OstraTest::TempDirectoryTest,
                           public ::testing::WithParamInterface<Scenario> {
 protected:
  // Runs the scenario without faults, then once per host call for each
  // kind of host fault, then once per allocation; reports what failed.
  void Exhaust(const Scenario& inScenario) {
    const std::string name = inScenario.name;
    const auto start = std::chrono::steady_clock::now();
    std::string content(static_cast<std::size_t>(inScenario.fileSize), '\0');
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(ByteAt(i));
    mScenario = &inScenario;
    mFilePath = MakeFile(L"data.bin", content);
    OstraTest::ContinueDialogs dialogs;  // executors report a callback's exception as an assertion
    mWatchdog.reset(new OstraTest::Watchdog);
    const std::terminate_handler previousTerminate = std::set_terminate(&ReportTerminate);
    const LPTOP_LEVEL_EXCEPTION_FILTER previousFilter =
        ::SetUnhandledExceptionFilter(&ReportUnhandledException);
    Report report;

    RunOnce(Fault::kNone, 0, nullptr);  // a warm-up: first uses make lasting objects
    const std::shared_ptr<FaultRun> counting = RunOnce(Fault::kNone, 0, &report);
    std::vector<Fault> faults = {Fault::kRuntimeError, Fault::kBadAlloc, Fault::kFailureResult};
    for (Fault fault : faults) report.counted[fault] = counting->Calls(fault);
#ifdef OSTRA_FAULT_INJECTION
    faults.push_back(Fault::kAllocation);
    report.counted[Fault::kAllocation] =
        RunOnce(Fault::kAllocation, 0, &report)->Calls(Fault::kAllocation);
#endif
    for (Fault fault : faults) {
      std::uint64_t most = report.counted[fault];
      for (std::uint64_t at = 1;; ++at) {
        // Threads make calls in varying order and number: a point that a
        // run without a fault passed is tried up to three times.
        bool reached = false;
        for (int attempt = 0; attempt < 3 && !reached; ++attempt) {
          const std::shared_ptr<FaultRun> run = RunOnce(fault, at, &report);
          reached = run->Reached();
          if (!reached) most = std::max(most, run->Calls(fault));
          if (at > most) break;
        }
        if (reached)
          ++report.reached[fault];
        else if (at <= most)
          ++report.missed[fault];
        else
          break;
      }
    }
    std::set_terminate(previousTerminate);
    ::SetUnhandledExceptionFilter(previousFilter);
    mWatchdog.reset();

    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    char time[32];
    std::snprintf(time, sizeof time, "%.1f s", seconds);
    std::string summary = name + ": fault points";
    for (Fault fault : faults) {
      summary += std::string(" / ") + Describe(fault) + ": " +
                 std::to_string(report.counted[fault]) + " counted, " +
                 std::to_string(report.reached[fault]) + " run";
      if (report.missed[fault])
        summary += ", " + std::to_string(report.missed[fault]) + " never reached";
    }
    summary += " / " + std::to_string(report.runs) + " runs in " + time;
    std::printf("[ faults   ] %s\n", summary.c_str());
    std::fflush(stdout);
    RecordProperty("fault_points", summary);

    const std::size_t kShown = 25;
    for (std::size_t i = 0; i < report.failures.size() && i < kShown; ++i)
      ADD_FAILURE() << report.failures[i];
    if (report.failures.size() > kShown)
      ADD_FAILURE() << report.failures.size() - kShown << " more failures of " << name;
  }

 private:
  // One run: the library started, a fresh cache installed, the body run
  // with the fault armed, then every check. ioReport null: a warm-up that
  // is not judged.
  std::shared_ptr<FaultRun> RunOnce(Fault inFault, std::uint64_t inAt, Report* ioReport) {
    const std::shared_ptr<FaultRun> run =
        std::make_shared<FaultRun>(mScenario->name, inFault, inAt, *mWatchdog);
    mWatchdog->Arm(run->Title(), std::chrono::seconds(60));
    sCurrentRun = run.get();
    const int threadsBefore = OstraTest::CountThreadsOfThisProcess();
    const long handlesBefore = OstraTest::ProcessHandleCountWithoutEvents();
    const std::uint32_t recordsBefore = Ostra::Internal::CountAsyncReadRequestsInUse();
    Ostra::Foundation::Initialize();
    {
      InterfaceRef<BlockCache> cache = BlockCache::Create(mScenario->budget);
      Ostra::Foundation::SetFileBufferFactory(
          strata::classref::MakeInterface<FaultyFactory>(run, cache));
      // Each run takes its block memory from the system, as the first does.
      strata::allocator::RecycledMemory::ReleaseUnusedMemory();
      Stage stage{*run, mFilePath, mScenario->fileSize, *cache};
#ifdef OSTRA_FAULT_INJECTION
      if (inFault == Fault::kAllocation) {
        sAllocationRun = run.get();
        strata::internal::ArmAllocationFault(inAt, &AllowAllocationFault);
      }
#endif
      HostCall(*run, kOtherHostCalls, [&] { mScenario->body(stage); });
#ifdef OSTRA_FAULT_INJECTION
      if (inFault == Fault::kAllocation) {
        run->mAllocations = strata::internal::DisarmAllocationFault();
        sAllocationRun = nullptr;
      }
#endif
      run->End();
      run->Expect(run->mLiveBuffers == 0, "a library thread held the host's buffer after Close");
      for (int i = 0; i < 200 && run->mLiveBuffers != 0; ++i) ::Sleep(5);
      run->mSlowLibraryThreads = false;

      Ostra::BlockCacheStatistics statistics = cache->GetStatistics();
      run->Expect(statistics.pinnedBlocks == 0 && statistics.pinnedBytes == 0,
                  "blocks left pinned after every File closed",
                  std::to_string(statistics.pinnedBlocks) + " blocks, " +
                      std::to_string(statistics.pinnedBytes) + " bytes");
      run->Expect(statistics.bytes == statistics.blocks * kBlock &&
                      statistics.bytes <= std::max(statistics.byteBudget, statistics.pinnedBytes),
                  "cache statistics do not add up",
                  std::to_string(statistics.blocks) + " blocks, " +
                      std::to_string(statistics.bytes) + " bytes, budget " +
                      std::to_string(statistics.byteBudget));
      // Whatever is not pinned goes; Clear meets blocks eviction might miss.
      cache->SetByteBudget(0);
      cache->Clear();
      const Ostra::BlockCacheStatistics emptied = cache->GetStatistics();
      run->Expect(emptied.blocks == emptied.pinnedBlocks && emptied.bytes == emptied.pinnedBytes,
                  "cache statistics do not add up after emptying it",
                  std::to_string(emptied.blocks) + " blocks, " + std::to_string(emptied.bytes) +
                      " bytes, of them " + std::to_string(emptied.pinnedBlocks) + " pinned");
      Ostra::Foundation::SetFileBufferFactory({});
    }
    Ostra::Foundation::Terminate();
    run->Expect(Ostra::Internal::CountAsyncReadRequestsInUse() == recordsBefore,
                "request records left taken after Terminate");
    // Threads that ended on their own may take a moment to leave the list.
    int threads = OstraTest::CountThreadsOfThisProcess();
    long handles = OstraTest::ProcessHandleCountWithoutEvents();
    for (int i = 0; ioReport && i < 100 && (threads != threadsBefore || handles != handlesBefore);
         ++i) {
      ::Sleep(10);
      threads = OstraTest::CountThreadsOfThisProcess();
      handles = OstraTest::ProcessHandleCountWithoutEvents();
    }
    run->Expect(threads == threadsBefore, "threads left after Terminate",
                std::to_string(threadsBefore) + " before, " + std::to_string(threads) + " after");
    run->Expect(handles == handlesBefore, "handles left after Terminate",
                std::to_string(handlesBefore) + " before, " + std::to_string(handles) + " after");
    mWatchdog->Disarm();
    sCurrentRun = nullptr;
    sLastRunTitle = run->Title();
    if (ioReport) Judge(*run, *ioReport);
    return run;
  }

  static void Judge(FaultRun& ioRun, Report& ioReport) {
    ++ioReport.runs;
    for (const auto& violation : ioRun.Violations()) {
      ioReport.failures.push_back(ioRun.Title() + ": " + violation.first +
                                  (violation.second.empty() ? "" : ": " + violation.second));
    }
  }

  const Scenario* mScenario = nullptr;
  std::wstring mFilePath;  // a file of ByteAt bytes
  std::unique_ptr<OstraTest::Watchdog> mWatchdog;
};

const std::uint64_t kFileSize = 5 * kBlock + 1000;  // six blocks, the last one short
const std::uint64_t kRoomy = 64 * kBlock;

const Scenario kScenarios[] = {
    {"SequentialRead", "File::Read, read-ahead off", kFileSize, kRoomy,
     [](Stage& ioStage) { SequentialRead(ioStage, 0); }},
    {"SequentialReadAhead", "File::Read, read-ahead on", kFileSize, kRoomy,
     [](Stage& ioStage) { SequentialRead(ioStage, 2); }},
    {"SharedReadsFromThreeThreads", "SharedFile::ReadAt, three threads", kFileSize, kRoomy,
     SharedReads},
    {"ReaderCallbacksQueueReads", "reader, chains run out before Close", kFileSize, kRoomy,
     [](Stage& ioStage) { ReaderChains(ioStage, false); }},
    {"ReaderClosedWhileCallbacksQueueReads", "reader closed with chains running", kFileSize, kRoomy,
     [](Stage& ioStage) { ReaderChains(ioStage, true); }},
    {"BudgetChangesUnderReaders", "BlockCache budget changes under two readers", 3 * kBlock + 1000,
     2 * kBlock, BudgetChangesUnderReaders},
};

TEST_P(FaultInjectionTest, EveryFaultPointEndsCleanly) { Exhaust(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Scenarios, FaultInjectionTest, ::testing::ValuesIn(kScenarios),
                         [](const ::testing::TestParamInfo<Scenario>& inInfo) {
                           return std::string(inInfo.param.test);
                         });

}  // namespace

// Ends the process without the C runtime's exit. Under Wine, an ordinary
// exit after the thousands of threads these scenarios start was once seen
// to hang with one thread waiting on the system for ever; every scenario
// has checked by then that the library left nothing behind.
int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  const int result = RUN_ALL_TESTS();
  std::fflush(stdout);
  std::fflush(stderr);
  ::TerminateProcess(::GetCurrentProcess(), static_cast<UINT>(result));
  return result;
}
