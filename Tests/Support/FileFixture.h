// What the File suites share: a byte pattern, a host cache that records
// every call the File makes, and a fixture that starts and ends each test
// without a factory and checks that it gave back every file it opened.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Ostra/File.h"
#include "Ostra/Foundation.h"
#include "Ostra/Result.h"
#include "Support/TempFiles.h"
#include "strata/Debug.h"

namespace OstraTest {
namespace FileSupport {

using Ostra::File;
using Ostra::SharedFile;
using strata::classref::InterfaceRef;
using strata::classref::MakeInterface;

const std::uint32_t kBlock = 0x10000;

// A byte pattern that does not repeat at any block size.
inline unsigned char PatternByte(std::uint64_t inOffset) {
  return static_cast<unsigned char>((inOffset * 7) ^ (inOffset >> 9) ^ (inOffset >> 17));
}
inline std::string Pattern(std::uint64_t inStart, std::size_t inSize) {
  std::string text(inSize, '\0');
  for (std::size_t i = 0; i < inSize; ++i) text[i] = static_cast<char>(PatternByte(inStart + i));
  return text;
}

// Records every call a File makes and keeps the blocks it is given (or,
// with inAlwaysMiss, finds none of them). Every call also notes whether it
// came from another thread than the test's or began inside another call,
// and takes mHostLock when there is one, as a host that guards its cache
// with the lock it holds around its reads would.
class RecordingBuffer : public Ostra::IFileBuffer {
 public:
  explicit RecordingBuffer(bool inAlwaysMiss) : mAlwaysMiss(inAlwaysMiss) {}
  void SetFile(const std::uint64_t& inTime, const Ostra::UTF16String& inPath,
               const std::uint64_t& inSize) override {
    Call call(*this);
    mFileTime = inTime;
    mPath = inPath;
    mSize = inSize;
  }
  void AddBlock(Ostra::SharedBlock inBlock, std::uint64_t inOffset) override {
    Call call(*this);
    mLog.push_back("add " + std::to_string(inOffset));
    mBlocks[inOffset] = inBlock;
  }
  Ostra::Result GetBlock(std::uint64_t inOffset, std::uint32_t inSize,
                         Ostra::SharedBlock& outBlock) override {
    Call call(*this);
    mLog.push_back("get " + std::to_string(inOffset));
    mLastGetSize = inSize;
    const auto found = mBlocks.find(inOffset);
    if (mAlwaysMiss || found == mBlocks.end()) return Ostra::eFileNotFound;
    outBlock = found->second;
    return Ostra::kSuccess;
  }
  void UnpinBlock(std::uint64_t inOffset, std::uint32_t) override {
    Call call(*this);
    mLog.push_back("unpin " + std::to_string(inOffset));
  }
  void PinBlock(std::uint64_t inOffset, std::uint32_t) override {
    Call call(*this);
    mLog.push_back("pin " + std::to_string(inOffset));
  }

  // The log lines starting with inPrefix or inOther ("pin ", "add ", ...), in order.
  std::vector<std::string> Calls(const std::string& inPrefix, const std::string& inOther = "-") {
    std::lock_guard<std::mutex> lock(mMutex);
    std::vector<std::string> calls;
    for (const std::string& line : mLog)
      if (line.compare(0, inPrefix.size(), inPrefix) == 0 ||
          line.compare(0, inOther.size(), inOther) == 0)
        calls.push_back(line);
    return calls;
  }
  std::vector<std::string> PinCalls() { return Calls("pin ", "unpin "); }
  void ClearLog() {
    std::lock_guard<std::mutex> lock(mMutex);
    mLog.clear();
  }

  std::mutex mMutex;
  const bool mAlwaysMiss;
  const std::thread::id mReaderThread = std::this_thread::get_id();
  std::recursive_mutex* mHostLock = nullptr;
  std::atomic<int> mCallsFromOtherThreads{0};
  std::atomic<int> mOverlappingCalls{0};
  std::vector<std::string> mLog;
  std::map<std::uint64_t, Ostra::SharedBlock> mBlocks;
  std::uint64_t mFileTime = 0, mSize = 0;
  std::uint32_t mLastGetSize = 0;
  Ostra::UTF16String mPath;

 private:
  // One call: the host's lock, the checks, then the buffer's own lock.
  class Call {
   public:
    explicit Call(RecordingBuffer& ioBuffer) : mBuffer(ioBuffer) {
      if (mBuffer.mHostLock) mBuffer.mHostLock->lock();
      if (std::this_thread::get_id() != mBuffer.mReaderThread) ++mBuffer.mCallsFromOtherThreads;
      if (mBuffer.mInCall.fetch_add(1) != 0) ++mBuffer.mOverlappingCalls;
      mBuffer.mMutex.lock();
    }
    ~Call() {
      mBuffer.mMutex.unlock();
      --mBuffer.mInCall;
      if (mBuffer.mHostLock) mBuffer.mHostLock->unlock();
    }

   private:
    RecordingBuffer& mBuffer;
  };
  std::atomic<int> mInCall{0};
};

class RecordingFactory : public Ostra::IFileBufferFactory {
 public:
  explicit RecordingFactory(bool inAlwaysMiss = false) : mAlwaysMiss(inAlwaysMiss) {}
  InterfaceRef<Ostra::IFileBuffer> CreateFileBuffer() override {
    ++mCreated;
    mLast = MakeInterface<RecordingBuffer>(mAlwaysMiss);
    return mLast;
  }
  const bool mAlwaysMiss;
  int mCreated = 0;
  InterfaceRef<RecordingBuffer> mLast;
};

// Each test gets a temp directory, starts and ends without a factory, and
// must give back every handle it took.
class FileTest : public OstraTest::TempFilesTest {
 protected:
  void SetUp() override {
    TempFilesTest::SetUp();
    Ostra::Foundation::SetFileBufferFactory({});
    mFilesBefore = OstraTest::CountOpenFiles();
  }
  void TearDown() override {
    Ostra::Foundation::SetFileBufferFactory({});
    strata::debug::DebugDatabase::ClearOption("Ostra.UseNonPurgeable");
    EXPECT_EQ(mFilesBefore, OstraTest::CountOpenFiles()) << "the test leaked file handles";
    TempFilesTest::TearDown();
  }

  InterfaceRef<RecordingFactory> InstallRecordingFactory(bool inAlwaysMiss = false) {
    InterfaceRef<RecordingFactory> factory = MakeInterface<RecordingFactory>(inAlwaysMiss);
    Ostra::Foundation::SetFileBufferFactory(factory);
    return factory;
  }

  // Opens inPath for cached reading (read access, readers only).
  static Ostra::Result OpenCached(File& ioFile, const Ostra::UTF16String& inPath,
                                  std::uint32_t inBlockSize = kBlock) {
    if (inBlockSize) ioFile.SetBufferSize(inBlockSize);
    return ioFile.Create(inPath, Ostra::FileAccessFlags::kFileRead,
                         Ostra::FileShareModeFlags::kShareRead,
                         Ostra::FileCreateDispositionFlags::kOpenExisting,
                         Ostra::FileAttributesFlags::kNormal, false);
  }

  // Opens inPath for reading beside writers, cached all the same.
  static Ostra::Result OpenBesideWriters(File& ioFile, const Ostra::UTF16String& inPath) {
    ioFile.SetBufferSize(kBlock);
    return ioFile.Create(inPath, Ostra::FileAccessFlags::kFileRead,
                         Ostra::FileShareModeFlags::kShareRead |
                             Ostra::FileShareModeFlags::kShareWrite,
                         Ostra::FileCreateDispositionFlags::kOpenExisting,
                         Ostra::FileAttributesFlags::kAllowCaching, false);
  }

  std::string ReadAll(File& ioFile, std::uint32_t inChunk) {
    std::string all, chunk(inChunk, '\0');
    for (;;) {
      std::uint32_t read = 0;
      EXPECT_EQ(Ostra::kSuccess, ioFile.Read(&chunk[0], inChunk, read));
      if (read == 0) return all;
      all.append(chunk, 0, read);
    }
  }

  unsigned long mFilesBefore = 0;
};

}  // namespace FileSupport
}  // namespace OstraTest
