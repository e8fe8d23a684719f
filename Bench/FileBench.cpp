// Throughput of File reads through the library's BlockCache, each case
// against a baseline measured in the same run, their passes interleaved so
// that both see the same load: a memcpy of the same pieces from memory,
// the same copy on one and two threads, and a hand-written block loop.
// Items are bytes. Then the cache's policy: the share of lookups that hit
// where a plain LRU pool would lose everything or keep its ground.
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <functional>
#include <list>
#include <random>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "BenchHarness.h"
#include "Ostra/BlockCache.h"
#include "Ostra/File.h"
#include "Ostra/PathUtils.h"

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
const std::uint64_t kHotFileSize = 16ull << 20;
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
  // On disk before any pass: the system's writeback would otherwise run
  // during the passes, on one of the cores they measure.
  written = written && ::FlushFileBuffers(file);
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

// Cases of one section, run together; the measurements in the same order.
std::vector<OstraBench::Measurement> RunTogether(const char* inTitle,
                                                 const std::vector<OstraBench::Case>& inCases,
                                                 double inMinSeconds = 0.2,
                                                 int inPasses = OstraBench::kDefaultPasses) {
  OstraBench::PrintHeader(inTitle);
  const std::vector<OstraBench::Measurement> measured =
      OstraBench::MeasureTogether(inCases, inPasses, inMinSeconds);
  for (const OstraBench::Measurement& measurement : measured)
    OstraBench::Report(measurement, measured.front());
  return measured;
}

// How much faster inMany runs than inOne, as a multiple of how much faster
// inManyCopy runs than inOneCopy, pass by pass (items are already scaled
// by the thread count).
OstraBench::Spread RelativeScaling(const OstraBench::Measurement& inOne,
                                   const OstraBench::Measurement& inMany,
                                   const OstraBench::Measurement& inOneCopy,
                                   const OstraBench::Measurement& inManyCopy) {
  std::vector<double> relative;
  for (std::size_t i = 0; i < inOne.nanosecondsPerItem.size(); ++i) {
    const double scaling = inOne.nanosecondsPerItem[i] / inMany.nanosecondsPerItem[i];
    const double copyScaling = inOneCopy.nanosecondsPerItem[i] / inManyCopy.nanosecondsPerItem[i];
    relative.push_back(scaling / copyScaling);
  }
  return OstraBench::Summarize(relative);
}

// Plain least-recently-used replacement of inCapacity blocks, as the pool
// was before it told streams from reuse: what its policy is compared with.
class LruModel {
 public:
  explicit LruModel(std::size_t inCapacity) : mCapacity(inCapacity) {}
  // Whether inKey was held; it is held now.
  bool Use(std::uint64_t inKey) {
    const auto found = mWhere.find(inKey);
    if (found != mWhere.end()) {
      mOrder.splice(mOrder.begin(), mOrder, found->second);
      return true;
    }
    mOrder.push_front(inKey);
    mWhere[inKey] = mOrder.begin();
    if (mOrder.size() > mCapacity) {
      mWhere.erase(mOrder.back());
      mOrder.pop_back();
    }
    return false;
  }

 private:
  const std::size_t mCapacity;
  std::list<std::uint64_t> mOrder;  // most recently used first
  std::unordered_map<std::uint64_t, std::list<std::uint64_t>::iterator> mWhere;
};

// Lookups that hit, in per cent, since the counters were last reset.
double HitPercent(const Ostra::BlockCache& inCache) { return 100 * inCache.GetStatistics().HitRate(); }

HANDLE OpenPlain(const UTF16String& inPath) {
  return ::CreateFileW(inPath.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

}  // namespace

int main() {
  const UTF16String folder = Ostra::PathUtils::GetTempDirectory();
  const UTF16String warmPath = Ostra::PathUtils::AddTrailingSlash(folder) + L"OstraFileBench-warm.bin";
  const UTF16String coldPath = Ostra::PathUtils::AddTrailingSlash(folder) + L"OstraFileBench-cold.bin";
  const UTF16String hotPath = Ostra::PathUtils::AddTrailingSlash(folder) + L"OstraFileBench-hot.bin";
  // Written first: Files share a file's blocks only once it is 2 s old.
  if (!WriteTestFile(hotPath, kHotFileSize) || !WriteTestFile(warmPath, kWarmFileSize) ||
      !WriteTestFile(coldPath, kColdFileSize)) {
    std::printf("FileBench: cannot write the test files in %s\n",
                strata::string::UTF16toStdString(folder).c_str());
    return 1;
  }
  std::printf("FileBench: a %llu MiB file read warm, a %llu MiB file read cold; 2 MiB blocks;"
              " %d passes a case, interleaved with the baseline\n",
              static_cast<unsigned long long>(kWarmFileSize >> 20),
              static_cast<unsigned long long>(kColdFileSize >> 20), OstraBench::kDefaultPasses);
  std::vector<unsigned char> buffer(kBlockSize);

  // ---------------------------------------------------------- warm cache
  InterfaceRef<Ostra::BlockCache> cache = Ostra::BlockCache::Create(2 * kWarmFileSize);
  Ostra::Foundation::SetFileBufferFactory(cache);
  {
    File file;
    if (!strata::ResultSucceeded(OpenCached(file, warmPath))) return 1;
    // Fills the cache: a file larger than a quarter of the budget streams
    // through a ring when first read, and is kept from its second read on.
    ReadThrough(file, buffer, kBigChunk);
    ReadThrough(file, buffer, kBigChunk);

    // The same pieces copied from memory the size of the file, as the
    // cache's blocks are: what a read costs at the least.
    std::vector<unsigned char> source(kWarmFileSize, 1);
    auto copyPieces = [&](std::uint32_t inChunk) {
      for (std::uint64_t at = 0; at < kWarmFileSize; at += inChunk)
        std::memcpy(buffer.data(), source.data() + at, inChunk);
      OstraBench::KeepAlive(buffer[17]);
    };
    HANDLE plain = OpenPlain(warmPath);
    const std::vector<OstraBench::Measurement> warm = RunTogether(
        "Warm cache, File::Read against memcpy of the same pieces (bytes)",
        {{"memcpy 4 KiB pieces (baseline)", kWarmFileSize, [&] { copyPieces(kSmallChunk); }},
         {"File::Read 4 KiB", kWarmFileSize, [&] { ReadThrough(file, buffer, kSmallChunk); }},
         {"memcpy 64 KiB pieces", kWarmFileSize, [&] { copyPieces(kBigChunk); }},
         {"File::Read 64 KiB", kWarmFileSize, [&] { ReadThrough(file, buffer, kBigChunk); }},
         {"ReadFile 4 KiB, buffered handle (context)", kWarmFileSize,
          [&] { PlainReadFile(plain, buffer, kSmallChunk); }}});
    ::CloseHandle(plain);
    OstraBench::Goal("warm File::Read 4 KiB, speed vs memcpy 4 KiB",
                     OstraBench::SpeedRatio(warm[1], warm[0]), 0.8, true);
    OstraBench::Goal("warm File::Read 64 KiB, speed vs memcpy 64 KiB",
                     OstraBench::SpeedRatio(warm[3], warm[2]), 0.9, true);
  }
  {
    SharedFile file;
    if (!strata::ResultSucceeded(OpenCached(file, warmPath))) return 1;
    // Each thread reads the whole file, starting at its own share of it.
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
    // The machine's own limit: the same copying without the File.
    std::vector<unsigned char> source(kWarmFileSize, 1);
    auto copyAll = [&](int inThread, int inThreads) {
      std::vector<unsigned char> own(kBigChunk);
      const std::uint64_t start = kWarmFileSize / inThreads * inThread;
      for (std::uint64_t done = 0; done < kWarmFileSize; done += kBigChunk)
        std::memcpy(own.data(), source.data() + (start + done) % kWarmFileSize, kBigChunk);
      OstraBench::KeepAlive(own[9]);
    };
    auto inThreads = [](int inCount, const std::function<void(int, int)>& inWork) {
      std::vector<std::thread> threads;
      for (int t = 0; t < inCount; ++t) threads.emplace_back(inWork, t, inCount);
      for (std::thread& thread : threads) thread.join();
    };
    // Two threads on two cores feel any other load on the machine: more
    // passes than elsewhere, so that the median holds still.
    const int kSharedPasses = 11;
    // Fills the cache, twice as above: the File above may have kept its
    // blocks to itself (a file written moments before it opened is not shared).
    inThreads(1, readAll);
    inThreads(1, readAll);
    const std::vector<OstraBench::Measurement> shared = RunTogether(
        "Warm cache, SharedFile::ReadAt 64 KiB on one and two threads (bytes)",
        {{"ReadAt, 1 thread (baseline)", kWarmFileSize, [&] { inThreads(1, readAll); }},
         {"ReadAt, 2 threads", 2 * kWarmFileSize, [&] { inThreads(2, readAll); }},
         {"memcpy, 1 thread", kWarmFileSize, [&] { inThreads(1, copyAll); }},
         {"memcpy, 2 threads", 2 * kWarmFileSize, [&] { inThreads(2, copyAll); }}},
        0.2, kSharedPasses);
    std::printf("  (2 threads vs 1: ReadAt %.2fx, memcpy %.2fx)\n",
                OstraBench::SpeedRatio(shared[1], shared[0]).median,
                OstraBench::SpeedRatio(shared[3], shared[2]).median);
    OstraBench::Goal("ReadAt 2-thread scaling vs memcpy 2-thread scaling",
                     RelativeScaling(shared[0], shared[1], shared[2], shared[3]), 0.95, true);
  }
  Ostra::Foundation::SetFileBufferFactory({});
  cache.Reset();

  // ---------------------------------------------------------- cold cache
  // A File through a new, empty 64 MiB cache each pass: the pass evicts as
  // it goes, like a real host.
  const std::uint64_t kColdBudget = 64ull << 20;
  const std::uint32_t kReadAhead = 4;
  // A pass is one read of some 25 ms, which the machine's load moves by
  // half: more passes than elsewhere.
  const int kColdPasses = 21;
  auto coldRead = [&](std::uint32_t inReadAhead) {
    Ostra::Foundation::SetFileBufferFactory(Ostra::BlockCache::Create(kColdBudget));
    File file;
    file.SetReadAhead(inReadAhead);
    if (strata::ResultSucceeded(OpenCached(file, coldPath))) ReadThrough(file, buffer, kBigChunk);
    Ostra::Foundation::SetFileBufferFactory({});
  };
  // What any read-ahead could get here: blocks go round the 7 a stream
  // reading 4 ahead keeps (its ring: the block being copied and the one
  // before; the 4 read ahead; the one the next read goes into), as the
  // cache's do. Without the copy: the reading thread
  // alone; with it: a reading thread kept 4 blocks ahead of a copying one,
  // both polling (yielding, so that load elsewhere does not starve them),
  // nothing else.
  const std::uint32_t kRingBlocks = kReadAhead + 3;
  std::vector<std::vector<unsigned char>> ring(kRingBlocks, std::vector<unsigned char>(kBlockSize, 1));
  const std::uint32_t coldBlocks = static_cast<std::uint32_t>(kColdFileSize / kBlockSize);
  auto readIntoRing = [&] {
    HANDLE plain = OpenPlain(coldPath);
    DWORD read = 0;
    for (std::uint32_t at = 0; ::ReadFile(plain, ring[at % kRingBlocks].data(), kBlockSize, &read, nullptr) && read > 0; ++at) {}
    ::CloseHandle(plain);
  };
  auto pipelineByHand = [&] {
    std::atomic<std::uint32_t> readBlocks{0}, copiedBlocks{0};
    std::thread reader([&] {
      HANDLE plain = OpenPlain(coldPath);
      DWORD read = 0;
      for (std::uint32_t at = 0; at < coldBlocks; ++at) {
        while (at - copiedBlocks.load(std::memory_order_acquire) >= kReadAhead) ::SwitchToThread();
        ::ReadFile(plain, ring[at % kRingBlocks].data(), kBlockSize, &read, nullptr);
        readBlocks.store(at + 1, std::memory_order_release);
      }
      ::CloseHandle(plain);
    });
    std::vector<unsigned char> piece(kBigChunk);
    for (std::uint32_t at = 0; at < coldBlocks; ++at) {
      while (readBlocks.load(std::memory_order_acquire) <= at) ::SwitchToThread();
      for (std::uint32_t offset = 0; offset < kBlockSize; offset += kBigChunk)
        std::memcpy(piece.data(), ring[at % kRingBlocks].data() + offset, kBigChunk);
      copiedBlocks.store(at + 1, std::memory_order_release);
    }
    reader.join();
    OstraBench::KeepAlive(piece[3]);
  };
  const std::vector<OstraBench::Measurement> cold = RunTogether(
      "First read of 256 MiB, 64 KiB pieces (bytes)",
      {{"2 MiB ReadFile + memcpy 64 KiB (baseline)", kColdFileSize,
        [&] {
          HANDLE plain = OpenPlain(coldPath);
          std::vector<unsigned char> block(kBlockSize), piece(kBigChunk);
          DWORD read = 0;
          while (::ReadFile(plain, block.data(), kBlockSize, &read, nullptr) && read > 0)
            for (DWORD at = 0; at < read; at += kBigChunk)
              std::memcpy(piece.data(), block.data() + at, kBigChunk);
          ::CloseHandle(plain);
          OstraBench::KeepAlive(piece[3]);
        }},
       {"File::Read, empty BlockCache, read-ahead 4", kColdFileSize,
        [&] { coldRead(kReadAhead); }},
       {"File::Read, empty BlockCache, no read-ahead", kColdFileSize,
        [&] { coldRead(0); }},
       {"ReadFile 64 KiB into the caller (context)", kColdFileSize,
        [&] {
          HANDLE plain = OpenPlain(coldPath);
          PlainReadFile(plain, buffer, kBigChunk);
          ::CloseHandle(plain);
        }},
       {"2 MiB ReadFile into a 7-block ring (context)", kColdFileSize, readIntoRing},
       {"2 threads by hand, 7-block ring (context)", kColdFileSize, pipelineByHand}},
      0, kColdPasses);
  OstraBench::Goal("first read with read-ahead 4, speed vs the hand loop",
                   OstraBench::SpeedRatio(cold[1], cold[0]), 1.0, true);
  OstraBench::Goal("first read, read-ahead 4 vs none, speed",
                   OstraBench::SpeedRatio(cold[1], cold[2]), 1.0, true);
  const auto shown = [&](const char* inWhat, const OstraBench::Measurement& inCase) {
    const OstraBench::Spread ratio = OstraBench::SpeedRatio(inCase, cold[0]);
    std::printf("  %-68s %5.2fx (%.2f-%.2f), shown\n", inWhat, ratio.median, ratio.min, ratio.max);
  };
  shown("first read without read-ahead, speed vs the hand loop", cold[2]);
  shown("ceiling: the reading thread alone into a stream's ring of blocks", cold[4]);
  shown("ceiling: best two-thread pipeline by hand, same ring", cold[5]);

  // ---------------------------------------------------------- policy
  // Hit shares, in per cent, of a 64 MiB cache under loads that flood a
  // plain LRU pool, next to the same lookups through an LRU model of the
  // same size. Each pass is a new cache.
  const int kPolicyPasses = 5;
  std::printf("\nCache policy, 64 MiB BlockCache, 2 MiB blocks unless told (per cent of lookups that hit)\n");
  std::vector<double> hotAfterStream, scrubBack;
  for (int pass = 0; pass < kPolicyPasses; ++pass) {
    InterfaceRef<Ostra::BlockCache> policy = Ostra::BlockCache::Create(kColdBudget);
    Ostra::Foundation::SetFileBufferFactory(policy);
    auto readWhole = [&](const UTF16String& inPath) {
      File file;
      file.SetReadAhead(kReadAhead);
      if (strata::ResultSucceeded(OpenCached(file, inPath))) ReadThrough(file, buffer, kBigChunk);
    };
    // A hot set read twice, then a file four times the budget streamed
    // through, and, right after, its last read-ahead + 2 blocks read again.
    readWhole(hotPath);
    readWhole(hotPath);
    {
      File stream;
      stream.SetReadAhead(kReadAhead);
      if (strata::ResultSucceeded(OpenCached(stream, coldPath))) ReadThrough(stream, buffer, kBigChunk);
      policy->ResetCounters();
      stream.SetFilePointer(-static_cast<std::int64_t>((kReadAhead + 2) * kBlockSize),
                            Ostra::FilePointerMoveMethod::kEnd);
      std::uint32_t read = 0;
      while (strata::ResultSucceeded(stream.Read(buffer.data(), kBigChunk, read)) && read > 0) {}
      scrubBack.push_back(HitPercent(*policy));
    }
    policy->ResetCounters();
    readWhole(hotPath);
    hotAfterStream.push_back(HitPercent(*policy));
    Ostra::Foundation::SetFileBufferFactory({});
  }
  // The same blocks through plain LRU: the hot set twice, the stream, the hot set.
  LruModel hotLru(kColdBudget / kBlockSize);
  const std::uint64_t hotBlocks = kHotFileSize / kBlockSize, coldFile = 1ull << 32;
  for (int round = 0; round < 2; ++round)
    for (std::uint64_t block = 0; block < hotBlocks; ++block) hotLru.Use(block);
  for (std::uint64_t block = 0; block < coldBlocks; ++block) hotLru.Use(coldFile + block);
  int hotHits = 0;
  for (std::uint64_t block = 0; block < hotBlocks; ++block) hotHits += hotLru.Use(block);
  std::printf("  %-68s %5.2f%%, shown\n", "plain LRU: the hot set after the stream",
              100.0 * hotHits / hotBlocks);
  OstraBench::Goal("16 MiB hot set read twice, hits after a 256 MiB stream",
                   OstraBench::Summarize(hotAfterStream), 90, true, "%");
  OstraBench::Goal("the stream's last read-ahead + 2 blocks read again, hits",
                   OstraBench::Summarize(scrubBack), 100, true, "%");

  // Skewed random reads: 4 KiB at blocks of 64 KiB drawn by Zipf's law
  // (exponent 1) from the first 128 MiB of the cold file, twice the budget,
  // the hottest blocks scattered over it. The first half of the reads warms
  // the cache; the second is counted.
  const std::uint32_t kZipfBlock = 64 * 1024;
  const std::uint64_t zipfBlocks = 2 * kColdBudget / kZipfBlock;
  const int kZipfReads = 40000;
  std::vector<double> cumulative(zipfBlocks);
  double sum = 0;
  for (std::uint64_t rank = 0; rank < zipfBlocks; ++rank) cumulative[rank] = sum += 1.0 / (rank + 1);
  std::vector<double> zipfPoints, zipfOurs, zipfLru;
  for (int pass = 0; pass < kPolicyPasses; ++pass) {
    std::mt19937_64 random(1234 + pass);
    std::vector<std::uint64_t> blockOfRank(zipfBlocks);
    for (std::uint64_t rank = 0; rank < zipfBlocks; ++rank) blockOfRank[rank] = rank;
    std::shuffle(blockOfRank.begin(), blockOfRank.end(), random);
    std::uniform_real_distribution<double> uniform(0, sum);
    InterfaceRef<Ostra::BlockCache> policy = Ostra::BlockCache::Create(kColdBudget);
    Ostra::Foundation::SetFileBufferFactory(policy);
    LruModel lru(kColdBudget / kZipfBlock);
    int lruHits = 0, lruLookups = 0;
    File file;
    file.SetBufferSize(kZipfBlock);
    if (!strata::ResultSucceeded(OpenCached(file, coldPath))) return 1;
    std::uint64_t lastBlock = UINT64_MAX;
    for (int read = 0; read < 2 * kZipfReads; ++read) {
      if (read == kZipfReads) {
        policy->ResetCounters();
        lruHits = lruLookups = 0;
      }
      const std::uint64_t rank =
          std::lower_bound(cumulative.begin(), cumulative.end(), uniform(random)) - cumulative.begin();
      const std::uint64_t block = blockOfRank[std::min(rank, zipfBlocks - 1)];
      file.SetFilePointer(static_cast<std::int64_t>(block * kZipfBlock), Ostra::FilePointerMoveMethod::kBegin);
      std::uint32_t got = 0;
      file.Read(buffer.data(), kSmallChunk, got);
      // The File asks the cache only for a block other than its last.
      if (block != lastBlock) {
        ++lruLookups;
        lruHits += lru.Use(block);
      }
      lastBlock = block;
    }
    file.Close();
    Ostra::Foundation::SetFileBufferFactory({});
    zipfOurs.push_back(HitPercent(*policy));
    zipfLru.push_back(100.0 * lruHits / lruLookups);
    zipfPoints.push_back(zipfOurs.back() - zipfLru.back());
  }
  std::printf("  %-68s %5.2f%% (%.2f-%.2f), shown\n", "Zipf reads, 128 MiB over 64 KiB blocks: this cache",
              OstraBench::Summarize(zipfOurs).median, OstraBench::Summarize(zipfOurs).min,
              OstraBench::Summarize(zipfOurs).max);
  std::printf("  %-68s %5.2f%% (%.2f-%.2f), shown\n", "Zipf reads, the same lookups: plain LRU",
              OstraBench::Summarize(zipfLru).median, OstraBench::Summarize(zipfLru).min,
              OstraBench::Summarize(zipfLru).max);
  OstraBench::Goal("Zipf reads, hit share vs plain LRU", OstraBench::Summarize(zipfPoints), -2,
                   true, " points");

  ::DeleteFileW(warmPath.c_str());
  ::DeleteFileW(coldPath.c_str());
  ::DeleteFileW(hotPath.c_str());
  return 0;
}
