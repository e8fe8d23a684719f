// Throughput of File reads through the host's block cache (the reference
// cache of Tools/BlockCache), each against a baseline measured in the same
// run: a memcpy of the same bytes, a plain ReadFile loop, one reading
// thread, and a hand-written block loop. Items are bytes.
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "BenchHarness.h"
#include "Ostra/BlockCache.h"
#include "Ostra/File.h"
#include "Ostra/PathUtils.h"
#include "strata/Allocator.h"

namespace {

using Ostra::File;
using Ostra::SharedFile;
using Ostra::UTF16String;
using strata::classref::InterfaceRef;
using strata::classref::MakeInterface;

const std::uint32_t kBigChunk = 64 * 1024;
const std::uint32_t kSmallChunk = 4 * 1024;
const std::uint64_t kWarmFileSize = 64ull << 20;
const std::uint64_t kColdFileSize = 256ull << 20;
const std::uint32_t kBlockSize = 2u << 20;

bool WriteTestFile(const UTF16String& inPath, std::uint64_t inSize) {
  HANDLE file = ::CreateFileW(inPath.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  std::vector<unsigned char> chunk(1 << 20);
  bool written = true;
  for (std::uint64_t done = 0; done < inSize && written; done += chunk.size()) {
    for (std::size_t i = 0; i < chunk.size(); i += 64) chunk[i] = static_cast<unsigned char>(done + i);
    DWORD count = 0;
    written = ::WriteFile(file, chunk.data(), static_cast<DWORD>(chunk.size()), &count, nullptr) &&
              count == chunk.size();
  }
  ::CloseHandle(file);
  return written;
}

Ostra::Result OpenCached(File& ioFile, const UTF16String& inPath) {
  return ioFile.Create(inPath, Ostra::FileAccessFlags::kFileRead,
                       Ostra::FileShareModeFlags::kShareRead,
                       Ostra::FileCreateDispositionFlags::kOpenExisting,
                       Ostra::FileAttributesFlags::kNormal, false);
}

// Reads the whole file from the start in inChunk pieces; returns the bytes.
std::uint64_t ReadThrough(File& ioFile, std::vector<unsigned char>& ioBuffer, std::uint32_t inChunk) {
  ioFile.SetFilePointer(0, Ostra::FilePointerMoveMethod::kBegin);
  std::uint64_t total = 0;
  for (;;) {
    std::uint32_t read = 0;
    if (!strata::ResultSucceeded(ioFile.Read(ioBuffer.data(), inChunk, read)) || read == 0) break;
    total += read;
  }
  OstraBench::KeepAlive(ioBuffer[total % inChunk]);
  return total;
}

// The same pieces with ReadFile on a handle Windows buffers.
std::uint64_t PlainReadFile(HANDLE inFile, std::vector<unsigned char>& ioBuffer, std::uint32_t inChunk) {
  LARGE_INTEGER start = {};
  ::SetFilePointerEx(inFile, start, nullptr, FILE_BEGIN);
  std::uint64_t total = 0;
  DWORD read = 0;
  while (::ReadFile(inFile, ioBuffer.data(), inChunk, &read, nullptr) && read > 0) total += read;
  OstraBench::KeepAlive(ioBuffer[total % inChunk]);
  return total;
}

// Speed relative to the baseline (higher is faster), median of the passes, against inTarget.
void Goal(const char* inWhat, const OstraBench::Measurement& inCase,
          const OstraBench::Measurement& inBaseline, double inTarget) {
  OstraBench::Goal(inWhat, OstraBench::SpeedRatio(inCase, inBaseline), inTarget, true);
}

HANDLE OpenPlain(const UTF16String& inPath) {
  return ::CreateFileW(inPath.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

}  // namespace

int main() {
  const UTF16String folder = Ostra::PathUtils::GetTempDirectory();
  const UTF16String warmPath = Ostra::PathUtils::AddTrailingSlash(folder) + L"OstraFileBench-warm.bin";
  const UTF16String coldPath = Ostra::PathUtils::AddTrailingSlash(folder) + L"OstraFileBench-cold.bin";
  if (!WriteTestFile(warmPath, kWarmFileSize) || !WriteTestFile(coldPath, kColdFileSize)) {
    std::printf("FileBench: cannot write the test files in %s\n",
                strata::string::UTF16toStdString(folder).c_str());
    return 1;
  }
  std::printf("FileBench: a %llu MiB file read warm, a %llu MiB file read cold; 2 MiB blocks\n",
              static_cast<unsigned long long>(kWarmFileSize >> 20),
              static_cast<unsigned long long>(kColdFileSize >> 20));
  std::vector<unsigned char> buffer(kBlockSize);

  // ---------------------------------------------------------- warm cache
  InterfaceRef<Ostra::BlockCache> cache = Ostra::BlockCache::Create(2 * kWarmFileSize);
  Ostra::Foundation::SetFileBufferFactory(cache);
  {
    File file;
    if (!strata::ResultSucceeded(OpenCached(file, warmPath))) return 1;
    ReadThrough(file, buffer, kBigChunk);  // fills the cache

    OstraBench::PrintHeader("Warm cache, 64 KiB reads (bytes)");
    std::vector<unsigned char> source(kWarmFileSize);
    std::memset(source.data(), 1, source.size());
    const OstraBench::Measurement copy =
        OstraBench::Measure("memcpy 64 KiB pieces (baseline)", kWarmFileSize, [&] {
          for (std::uint64_t at = 0; at < kWarmFileSize; at += kBigChunk)
            std::memcpy(buffer.data(), source.data() + at, kBigChunk);
          OstraBench::KeepAlive(buffer[17]);
        });
    const OstraBench::Measurement big = OstraBench::Measure(
        "File::Read 64 KiB", kWarmFileSize, [&] { ReadThrough(file, buffer, kBigChunk); });
    OstraBench::Report(copy, copy);
    OstraBench::Report(big, copy);
    Goal("File::Read 64 KiB vs memcpy", big, copy, 0.7);

    OstraBench::PrintHeader("Warm cache, 4 KiB reads (bytes)");
    HANDLE plain = OpenPlain(warmPath);
    const OstraBench::Measurement plainRead =
        OstraBench::Measure("ReadFile 4 KiB (baseline)", kWarmFileSize,
                            [&] { PlainReadFile(plain, buffer, kSmallChunk); });
    ::CloseHandle(plain);
    const OstraBench::Measurement small = OstraBench::Measure(
        "File::Read 4 KiB", kWarmFileSize, [&] { ReadThrough(file, buffer, kSmallChunk); });
    OstraBench::Report(plainRead, plainRead);
    OstraBench::Report(small, plainRead);
    Goal("File::Read 4 KiB vs ReadFile 4 KiB", small, plainRead, 3.0);
  }
  {
    SharedFile file;
    if (!strata::ResultSucceeded(OpenCached(file, warmPath))) return 1;
    // Each thread reads the whole file in 64 KiB pieces, from its own start.
    auto readAll = [&](int inThread, int inThreads) {
      std::vector<unsigned char> own(kBigChunk);
      const std::uint64_t start = kWarmFileSize / inThreads * inThread;
      for (std::uint64_t done = 0; done < kWarmFileSize; done += kBigChunk) {
        std::uint32_t read = 0;
        file.ReadAt(own.data(), static_cast<std::int64_t>((start + done) % kWarmFileSize),
                    kBigChunk, read);
      }
      OstraBench::KeepAlive(own[5]);
    };
    auto inThreads = [&](int inCount) {
      std::vector<std::thread> threads;
      for (int t = 0; t < inCount; ++t) threads.emplace_back(readAll, t, inCount);
      for (std::thread& thread : threads) thread.join();
    };
    OstraBench::PrintHeader("Warm cache, SharedFile::ReadAt 64 KiB (bytes)");
    const OstraBench::Measurement one =
        OstraBench::Measure("1 thread (baseline)", kWarmFileSize, [&] { inThreads(1); });
    const OstraBench::Measurement two =
        OstraBench::Measure("2 threads", 2 * kWarmFileSize, [&] { inThreads(2); });
    // The machine's own limit: the same copying without the File.
    std::vector<unsigned char> source(kWarmFileSize, 1);
    auto copyInThreads = [&](int inCount) {
      std::vector<std::thread> threads;
      for (int t = 0; t < inCount; ++t)
        threads.emplace_back([&] {
          std::vector<unsigned char> own(kBigChunk);
          for (std::uint64_t at = 0; at < kWarmFileSize; at += kBigChunk)
            std::memcpy(own.data(), source.data() + at, kBigChunk);
          OstraBench::KeepAlive(own[9]);
        });
      for (std::thread& thread : threads) thread.join();
    };
    const OstraBench::Measurement copyOne =
        OstraBench::Measure("memcpy, 1 thread (context)", kWarmFileSize, [&] { copyInThreads(1); });
    const OstraBench::Measurement copyTwo =
        OstraBench::Measure("memcpy, 2 threads (context)", 2 * kWarmFileSize, [&] { copyInThreads(2); });
    OstraBench::Report(one, one);
    OstraBench::Report(two, one);
    OstraBench::Report(copyOne, one);
    OstraBench::Report(copyTwo, one);
    Goal("ReadAt 2 threads vs 1 thread", two, one, 1.6);
    Goal("(memcpy 2 threads vs 1 thread)", copyTwo, copyOne, 1.6);
  }
  Ostra::Foundation::SetFileBufferFactory({});
  cache.Reset();

  // ---------------------------------------------------------- cold cache
  OstraBench::PrintHeader("First read of 256 MiB, 64 KiB pieces (bytes)");
  const OstraBench::Measurement byHand =
      OstraBench::Measure("2 MiB ReadFile + memcpy 64 KiB (baseline)", kColdFileSize, [&] {
        HANDLE plain = OpenPlain(coldPath);
        std::vector<unsigned char> block(kBlockSize), piece(kBigChunk);
        DWORD read = 0;
        while (::ReadFile(plain, block.data(), kBlockSize, &read, nullptr) && read > 0)
          for (DWORD at = 0; at < read; at += kBigChunk)
            std::memcpy(piece.data(), block.data() + at, kBigChunk);
        ::CloseHandle(plain);
        OstraBench::KeepAlive(piece[3]);
      }, 3, 0);
  const OstraBench::Measurement cold =
      OstraBench::Measure("File::Read, empty cache each pass", kColdFileSize, [&] {
        // A cache of 64 MiB: the pass evicts as it goes, like a real host.
        Ostra::Foundation::SetFileBufferFactory(
            Ostra::BlockCache::Create(64ull << 20));
        File file;
        if (strata::ResultSucceeded(OpenCached(file, coldPath))) ReadThrough(file, buffer, kBigChunk);
        Ostra::Foundation::SetFileBufferFactory({});
      }, 3, 0);
  // The same loop on an unbuffered handle, as a cached File opens it, with
  // a new block per read kept in a ring of 64 MiB as a cache keeps them:
  // separates the cost of holding many blocks (no reuse of one hot buffer)
  // from what the File and the cache add.
  const OstraBench::Measurement unbuffered =
      OstraBench::Measure("same loop, unbuffered, 64 MiB ring (context)", kColdFileSize, [&] {
        std::vector<strata::allocator::RecycledMemoryRef> ring(32);
        std::size_t next = 0;
        HANDLE plain = ::CreateFileW(coldPath.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                     OPEN_EXISTING, FILE_FLAG_NO_BUFFERING, nullptr);
        std::vector<unsigned char> piece(kBigChunk);
        DWORD read = 0;
        for (;;) {
          ring[next].reset();
          strata::allocator::RecycledMemoryRef block =
              strata::allocator::RecycledMemory::Create(kBlockSize);
          if (!block || !::ReadFile(plain, block->GetData(), kBlockSize, &read, nullptr) || read == 0)
            break;
          ring[next] = block;
          next = (next + 1) % ring.size();
          for (DWORD at = 0; at < read; at += kBigChunk)
            std::memcpy(piece.data(), block->GetData() + at, kBigChunk);
        }
        ::CloseHandle(plain);
      }, 3, 0);
  const OstraBench::Measurement direct =
      OstraBench::Measure("ReadFile 64 KiB into the caller (context)", kColdFileSize, [&] {
        HANDLE plain = OpenPlain(coldPath);
        PlainReadFile(plain, buffer, kBigChunk);
        ::CloseHandle(plain);
      }, 3, 0);
  OstraBench::Report(byHand, byHand);
  OstraBench::Report(cold, byHand);
  OstraBench::Report(unbuffered, byHand);
  OstraBench::Report(direct, byHand);
  Goal("first read vs the hand-written loop", cold, byHand, 0.9);

  ::DeleteFileW(warmPath.c_str());
  ::DeleteFileW(coldPath.c_str());
  return 0;
}
