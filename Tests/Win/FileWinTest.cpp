// The File suites that need Windows itself: File::Open's existence check,
// share modes and bad paths as the system reports them, the direct file
// pointer, and times read back by path.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "FilePrivate.h"
#include "Support/FileFixture.h"

namespace {

using namespace OstraTest::FileSupport;
using Ostra::UTF16String;

TEST_F(FileTest, OpenIsDirectAndItsPointerReportsSuccessEvenWhenWindowsRefuses) {
  const UTF16String path = MakeFile(L"direct.bin", Pattern(0, 1000));
  InterfaceRef<RecordingFactory> factory = InstallRecordingFactory();
  File file;
  ASSERT_EQ(Ostra::kSuccess, File::Open(path, Ostra::FileAccessFlags::kFileRead, file, false));
  EXPECT_EQ(0, factory->mCreated) << "File::Open shares writing, so it never caches";
  ASSERT_EQ(Ostra::kSuccess, file.SetFilePointer(-5, Ostra::FilePointerMoveMethod::kEnd));
  std::int64_t position = -1;
  ASSERT_EQ(Ostra::kSuccess, file.GetFilePointer(position));
  EXPECT_EQ(995, position) << "direct kEnd moves by the signed distance";
  // A move before the start fails in Windows but is reported as success.
  EXPECT_EQ(Ostra::kSuccess, file.SetFilePointer(-2000, Ostra::FilePointerMoveMethod::kCurrent));
  ASSERT_EQ(Ostra::kSuccess, file.GetFilePointer(position));
  EXPECT_EQ(995, position);
  // Past the end is allowed directly; the read there gives nothing.
  ASSERT_EQ(Ostra::kSuccess, file.SetFilePointer(5000, Ostra::FilePointerMoveMethod::kBegin));
  char buffer[8];
  std::uint32_t read = 3;
  EXPECT_EQ(Ostra::kSuccess, file.Read(buffer, sizeof buffer, read));
  EXPECT_EQ(0u, read);
}

TEST_F(FileTest, OpenAndCreateReportBadPathsAndSharing) {
  const UTF16String path = MakeFile(L"locked.bin", "abc");
  const UTF16String folder = MakeDirectory(L"folder");
  using Access = Ostra::FileAccessFlags;
  File file;
  EXPECT_EQ(static_cast<Ostra::Result>(0xFFFFFFFFu),
            File::Open(PathOf(L"missing.bin"), Access::kFileRead, file, false));
  EXPECT_EQ(Ostra::ePathNotFound,
            file.Create(L"relative\\name.bin", Access::kFileWrite, Ostra::FileShareModeFlags::kShareRead,
                        Ostra::FileCreateDispositionFlags::kCreateAlways,
                        Ostra::FileAttributesFlags::kNormal, false));
  EXPECT_EQ(Ostra::eUnknown, File::Open(folder, Access::kFileRead, file, false));
  EXPECT_EQ(Ostra::eFileNotFound,
            file.Create(PathOf(L"missing.bin"), Access::kFileRead, Ostra::FileShareModeFlags::kShareRead,
                        Ostra::FileCreateDispositionFlags::kOpenExisting,
                        Ostra::FileAttributesFlags::kNormal, false));
  EXPECT_FALSE(file.IsOpen());

  HANDLE exclusive = ::CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(INVALID_HANDLE_VALUE, exclusive);
  EXPECT_EQ(Ostra::eSharingViolation, File::Open(path, Access::kFileRead, file, false));
  ::CloseHandle(exclusive);

  ASSERT_EQ(Ostra::kSuccess, File::Open(path, Access::kFileRead, file, true));
  strata::debug::SetDialogHook(
      [](const strata::debug::DialogInfo&) { return strata::debug::DialogAction::kContinue; });
  EXPECT_THROW(File::Open(path, Access::kFileRead, file, false), strata::config::strata_exception)
      << "opening an open File is a contract violation";
  strata::debug::SetDialogHook({});
}

// ----------------------------------------------------- writing and times

TEST_F(FileTest, DirectWriteReadTruncateAndTimes) {
  const UTF16String path = PathOf(L"written.bin");
  File file;
  ASSERT_EQ(Ostra::kSuccess,
            file.Create(path, Ostra::FileAccessFlags::kFileRead | Ostra::FileAccessFlags::kFileWrite,
                        Ostra::FileShareModeFlags::kShareRead,
                        Ostra::FileCreateDispositionFlags::kCreateNew,
                        Ostra::FileAttributesFlags::kNormal, false));
  EXPECT_EQ(mFilesBefore + 1, OstraTest::CountOpenFiles()) << "the leak check sees no files";
  const std::string data = Pattern(0, 5000);
  std::uint32_t written = 0;
  ASSERT_EQ(Ostra::kSuccess, file.Write(data.data(), 5000, written));
  EXPECT_EQ(5000u, written);
  EXPECT_EQ(Ostra::kSuccess, file.Flush());
  EXPECT_EQ(5000u, file.SizeOnDisk());
  ASSERT_EQ(Ostra::kSuccess, file.SetFilePointer(1000, Ostra::FilePointerMoveMethod::kBegin));
  EXPECT_EQ(Ostra::kSuccess, file.SetEndOfFile());
  EXPECT_EQ(1000u, file.SizeOnDisk()) << "an uncached File asks Windows every time";
  ASSERT_EQ(Ostra::kSuccess, file.SetFilePointer(0, Ostra::FilePointerMoveMethod::kBegin));
  std::string back(2000, '\0');
  std::uint32_t read = 0;
  ASSERT_EQ(Ostra::kSuccess, file.Read(&back[0], 2000, read));
  EXPECT_EQ(data.substr(0, 1000), back.substr(0, read));

  std::uint64_t created = 0, modified = 0, byPath = 0;
  ASSERT_EQ(Ostra::kSuccess, file.GetCreationTime(created));
  ASSERT_EQ(Ostra::kSuccess, file.GetLastModificationTime(modified));
  EXPECT_GT(created, 116444736000000000ull) << "not a FILETIME after 1970";
  EXPECT_GE(modified, created);
  file.Close();
  ASSERT_EQ(Ostra::kSuccess, File::GetLastModificationTime(path, byPath));
  EXPECT_EQ(modified, byPath);
  ASSERT_EQ(Ostra::kSuccess, File::GetCreationTime(path, byPath));
  EXPECT_EQ(created, byPath);
  EXPECT_FALSE(strata::ResultSucceeded(
            file.Create(path, Ostra::FileAccessFlags::kFileWrite,
                        Ostra::FileShareModeFlags::kShareRead,
                        Ostra::FileCreateDispositionFlags::kCreateNew,
                        Ostra::FileAttributesFlags::kNormal, false)))
      << "kCreateNew over an existing file";
}

// Windows refuses a second handle on a file opened without sharing reads:
// such a File reads on its own.
TEST_F(FileTest, ReadAheadWithoutASecondHandleReadsAlone) {
  const std::uint64_t size = 24 * kBlock + 300;
  const UTF16String path = MakeFile(L"close.bin", Pattern(0, size));
  InterfaceRef<RecordingFactory> factory = InstallRecordingFactory();
  File file;
  file.SetReadAhead(4);
  file.SetBufferSize(kBlock);
  ASSERT_EQ(Ostra::kSuccess,
            file.Create(path, Ostra::FileAccessFlags::kFileRead, Ostra::FileShareModeFlags::kShareDelete,
                        Ostra::FileCreateDispositionFlags::kOpenExisting,
                        Ostra::FileAttributesFlags::kNormal, false));
  const std::uint64_t readAhead = Ostra::Internal::CountBlocksReadAhead();
  EXPECT_EQ(Pattern(0, size), ReadAll(file, 10000));
  EXPECT_EQ(readAhead, Ostra::Internal::CountBlocksReadAhead());
}

}  // namespace
