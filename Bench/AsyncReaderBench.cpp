// What the asynchronous reader adds to the system's own overlapped reads.
// The baseline is a hand-written loop on the same mechanism (unbuffered
// overlapped ReadFile on a completion port, GetQueuedCompletionStatus),
// same file, same request size, same number in flight. Both keep the
// requests flowing from their completions: the loop issues the next read
// when it dequeues one, the reader's callback queues the next read.
// A synchronous unbuffered 1 MiB loop is printed for context.
#include <windows.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <vector>

#include "BenchHarness.h"
#include "Ostra/AsyncFileReader.h"
#include "Ostra/Foundation.h"
#include "strata/Utility.h"

namespace {

using OstraBench::Measure;
using OstraBench::Measurement;

const std::uint64_t kFileSize = 512ull * 1024 * 1024;
const std::uint32_t kInFlight = 32;

std::wstring MakeBenchFile() {
  wchar_t temp[MAX_PATH + 1] = {};
  ::GetTempPathW(MAX_PATH + 1, temp);
  const std::wstring path =
      std::wstring(temp) + L"AsyncReaderBench-" + strata::utility::Guid::CreateUnique().AsString();
  HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return std::wstring();
  std::vector<char> chunk(8 * 1024 * 1024);
  for (std::size_t i = 0; i < chunk.size(); ++i) chunk[i] = static_cast<char>(i * 31 + 7);
  bool written = true;
  for (std::uint64_t done = 0; done < kFileSize && written; done += chunk.size()) {
    DWORD count = 0;
    written = ::WriteFile(file, chunk.data(), static_cast<DWORD>(chunk.size()), &count, nullptr) &&
              count == chunk.size();
  }
  // On disk before any pass, as in FileBench.
  written = written && ::FlushFileBuffers(file);
  ::CloseHandle(file);
  if (!written) ::DeleteFileW(path.c_str());
  return written ? path : std::wstring();
}

// Page-aligned memory for kInFlight requests of inSize bytes.
struct Slots {
  explicit Slots(std::uint32_t inSize)
      : size(inSize),
        memory(static_cast<char*>(::VirtualAlloc(nullptr, std::size_t(inSize) * kInFlight,
                                                 MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE))) {}
  ~Slots() { ::VirtualFree(memory, 0, MEM_RELEASE); }
  char* Slot(std::uint32_t inIndex) const { return memory + std::size_t(inIndex) * size; }
  std::uint32_t size;
  char* memory;
};

// ------------------------------------------------------------- baseline

struct LoopRequest {
  OVERLAPPED overlapped;
  std::uint32_t slot;
};

// Reads inCount requests of the slots' size, sequentially through the
// file (wrapping), keeping kInFlight in flight. False on any failure.
bool HandWrittenLoop(HANDLE inFile, HANDLE inPort, const Slots& inSlots, std::uint64_t inCount) {
  std::vector<LoopRequest> requests(kInFlight);
  std::uint64_t issued = 0, completed = 0;
  auto issue = [&](LoopRequest& ioRequest) {
    const std::uint64_t offset = (issued++ * inSlots.size) % kFileSize;
    ioRequest.overlapped = OVERLAPPED();
    ioRequest.overlapped.Offset = static_cast<DWORD>(offset);
    ioRequest.overlapped.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return ::ReadFile(inFile, inSlots.Slot(ioRequest.slot), inSlots.size, nullptr,
                      &ioRequest.overlapped) ||
           ::GetLastError() == ERROR_IO_PENDING;
  };
  for (std::uint32_t i = 0; i < kInFlight && issued < inCount; ++i) {
    requests[i].slot = i;
    if (!issue(requests[i])) return false;
  }
  while (completed < issued) {
    DWORD bytes = 0;
    ULONG_PTR key = 0;
    OVERLAPPED* overlapped = nullptr;
    if (!::GetQueuedCompletionStatus(inPort, &bytes, &key, &overlapped, INFINITE) ||
        bytes != inSlots.size)
      return false;
    ++completed;
    if (issued < inCount && !issue(*reinterpret_cast<LoopRequest*>(overlapped))) return false;
  }
  return true;
}

// --------------------------------------------------------------- reader

struct ReaderRun {
  Ostra::AsyncFileReader* reader;
  const Slots* slots;
  std::uint64_t count;
  std::atomic<std::uint64_t> issued;
  std::atomic<std::uint64_t> completed;
  std::atomic<bool> failed;
  HANDLE done;
};

void QueueNext(ReaderRun& ioRun, void* inSlot);

void OnRead(const Ostra::AsyncFileReader*, std::uint64_t, std::uint32_t inRequested,
            std::uint32_t inRead, void* inBuffer, void* inRun, void*, void*, int inResult) {
  ReaderRun& run = *static_cast<ReaderRun*>(inRun);
  if (inResult != 0 || inRead != inRequested) run.failed = true;
  if (run.issued < run.count && !run.failed) QueueNext(run, inBuffer);
  if (++run.completed == run.issued.load() && (run.issued == run.count || run.failed))
    ::SetEvent(run.done);
}

void QueueNext(ReaderRun& ioRun, void* inSlot) {
  const std::uint64_t offset = (ioRun.issued++ * ioRun.slots->size) % kFileSize;
  ioRun.reader->QueueReadRequest(offset, ioRun.slots->size, inSlot, &OnRead, &ioRun, nullptr,
                                 nullptr);
}

bool ReaderLoop(Ostra::AsyncFileReader& ioReader, const Slots& inSlots, std::uint64_t inCount,
                HANDLE inDone) {
  ReaderRun run;
  run.reader = &ioReader;
  run.slots = &inSlots;
  run.count = inCount;
  run.issued = 0;
  run.completed = 0;
  run.failed = false;
  run.done = inDone;
  ::ResetEvent(inDone);
  for (std::uint32_t i = 0; i < kInFlight && run.issued < inCount; ++i)
    QueueNext(run, inSlots.Slot(i));
  ::WaitForSingleObject(inDone, INFINITE);
  ioReader.WaitForPendingReads();
  return !run.failed;
}

// Runs the loop and the reader in alternating passes on inSlots' request
// size and prints both with the goal line. Returns the loop's figures. A
// pass is short and the system's share of it noisy, so there are eleven.
Measurement CompareWithLoop(const char* inTitle, const char* inUnit, const Slots& inSlots,
                            std::uint64_t inCount, HANDLE inFile, HANDLE inPort,
                            Ostra::AsyncFileReader& ioReader, HANDLE inDone, bool& ioOk,
                            const char* inGoal, double inTarget, bool inThroughput) {
  const std::vector<Measurement> measured = OstraBench::MeasureTogether({
      {std::string("baseline: IOCP loop") + inUnit, inCount,
       [&] { ioOk = HandWrittenLoop(inFile, inPort, inSlots, inCount) && ioOk; }},
      {std::string("AsyncFileReader") + inUnit, inCount,
       [&] { ioOk = ReaderLoop(ioReader, inSlots, inCount, inDone) && ioOk; }},
  }, 11);
  OstraBench::PrintHeader(inTitle);
  OstraBench::Report(measured[0], measured[0]);
  OstraBench::Report(measured[1], measured[0]);
  OstraBench::Goal(inGoal,
                   inThroughput ? OstraBench::SpeedRatio(measured[1], measured[0])
                                : OstraBench::CostRatio(measured[1], measured[0]),
                   inTarget, inThroughput);
  return measured[0];
}

}  // namespace

int main() {
  Ostra::Foundation::Initialize();
  const std::wstring path = MakeBenchFile();
  if (path.empty()) {
    std::printf("cannot write the 512 MiB bench file in the temporary folder\n");
    Ostra::Foundation::Terminate();
    return 1;
  }
  HANDLE file =
      ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, FILE_FLAG_OVERLAPPED | FILE_FLAG_NO_BUFFERING, nullptr);
  HANDLE port = ::CreateIoCompletionPort(file, nullptr, 0, 1);
  HANDLE done = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  bool ok = file != INVALID_HANDLE_VALUE && port != nullptr && done != nullptr;
  {
    Ostra::AsyncFileReader reader;
    ok = ok && Ostra::AsyncFileReader::Open(path, reader) == 0;

    if (ok) {
      const Slots large(1024 * 1024);
      const std::uint64_t kLargeCount = kFileSize / large.size;
      const Measurement loop = CompareWithLoop(
          "512 MiB in 1 MiB requests, 32 in flight", ", 1 MiB x 32 (MiB)", large, kLargeCount, file,
          port, reader, done, ok, "AsyncFileReader 1 MiB x 32 throughput vs IOCP loop", 1.3, true);

      const Slots small(4096);
      CompareWithLoop("4 KiB requests, 32 in flight", ", 4 KiB x 32", small, 4000, file, port,
                      reader, done, ok, "AsyncFileReader 4 KiB x 32 cost per request vs IOCP loop",
                      1.0, false);

      HANDLE sync = ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_NO_BUFFERING, nullptr);
      if (sync != INVALID_HANDLE_VALUE) {
        const Measurement syncLoop =
            Measure("synchronous unbuffered 1 MiB (MiB)", kLargeCount, [&] {
              ::SetFilePointer(sync, 0, nullptr, FILE_BEGIN);
              DWORD count = 0;
              for (std::uint64_t i = 0; i < kLargeCount; ++i)
                ok = ::ReadFile(sync, large.Slot(0), large.size, &count, nullptr) && ok;
            });
        OstraBench::PrintHeader("for context: one synchronous reader, same file");
        OstraBench::Report(syncLoop, loop);
        ::CloseHandle(sync);
      }
    }
  }
  if (!ok) std::printf("\nA read failed: the figures above are not valid.\n");
  if (done) ::CloseHandle(done);
  if (port) ::CloseHandle(port);
  if (file != INVALID_HANDLE_VALUE) ::CloseHandle(file);
  ::DeleteFileW(path.c_str());
  Ostra::Foundation::Terminate();
  std::printf(
      "\nPost-to-run costs of the reader's serial executor and the CPU pool: "
      "scripts/bench ExecutorBench.\n");
  return ok ? 0 : 1;
}
