#include <windows.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "Ostra/File.h"
#include "Ostra/PathUtils.h"
#include "Ostra/Result.h"
#include "Support/Dialogs.h"
#include "Support/HandleCount.h"
#include "Support/TempDirectoryTest.h"
#include "Support/TraceCapture.h"

namespace {

using Ostra::File;

class FileOperationsTest : public OstraTest::TempDirectoryTest {
 protected:
  void SetUp() override {
    TempDirectoryTest::SetUp();
    mFilesBefore = OstraTest::CountOpenFileHandles();
  }
  void TearDown() override {
    strata::debug::DebugDatabase::ClearOption("Ostra.Win.SwapTempFileRetryIntervalMs");
    EXPECT_EQ(mFilesBefore, OstraTest::CountOpenFileHandles()) << "the test leaked file handles";
    TempDirectoryTest::TearDown();
  }

  static std::string Contents(const std::wstring& inPath) {
    HANDLE file = ::CreateFileW(inPath.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return "<missing>";
    std::string text;
    char chunk[65536];
    DWORD read = 0;
    while (::ReadFile(file, chunk, sizeof chunk, &read, nullptr) && read > 0) text.append(chunk, read);
    ::CloseHandle(file);
    return text;
  }
  static bool Exists(const std::wstring& inPath) {
    return ::GetFileAttributesW(inPath.c_str()) != INVALID_FILE_ATTRIBUTES;
  }
  // The names in the test's directory.
  std::vector<std::wstring> Listing() const {
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW entry;
    HANDLE find = ::FindFirstFileW((GetPath() + L"\\*").c_str(), &entry);
    if (find == INVALID_HANDLE_VALUE) return names;
    do {
      if (entry.cFileName != std::wstring(L".") && entry.cFileName != std::wstring(L".."))
        names.push_back(entry.cFileName);
    } while (::FindNextFileW(find, &entry));
    ::FindClose(find);
    return names;
  }

  unsigned long mFilesBefore = 0;
};

struct ProgressLog {
  std::vector<float> fractions;
  int cancelAfter = -1;  // calls answered true before a false; -1: never cancel
};

bool RecordProgress(float inFraction, void* inUserData) {
  ProgressLog* log = static_cast<ProgressLog*>(inUserData);
  log->fractions.push_back(inFraction);
  return log->cancelAfter < 0 || static_cast<int>(log->fractions.size()) <= log->cancelAfter;
}

// ------------------------------------------------------------------ copy

TEST_F(FileOperationsTest, CopyOverwritesAndMoveAndDeleteTranslateErrors) {
  const std::wstring source = MakeFile(L"source.txt", "new contents");
  const std::wstring target = MakeFile(L"target.txt", "old");
  EXPECT_EQ(Ostra::kSuccess, File::Copy(source, target));
  EXPECT_EQ("new contents", Contents(target));
  EXPECT_EQ(Ostra::eFileNotFound, File::Copy(PathOf(L"none.txt"), target));

  const std::wstring moved = PathOf(L"moved.txt");
  EXPECT_EQ(Ostra::kSuccess, File::Move(target, moved));
  EXPECT_FALSE(Exists(target));
  EXPECT_EQ(Ostra::eFileAlreadyExists, File::Move(source, moved));
  EXPECT_EQ(Ostra::kSuccess, File::Delete(moved));
  EXPECT_EQ(Ostra::eFileNotFound, File::Delete(moved));
  EXPECT_EQ(Ostra::ePathNotFound, File::Delete(PathOf(L"no-folder\\x.txt")));

  std::uint64_t size = 0;
  EXPECT_EQ(Ostra::kSuccess, File::SizeOnDisk(source, size));
  EXPECT_EQ(12u, size);
  EXPECT_EQ(Ostra::kSuccess, File::SizeOnDisk(GetPath(), size)) << "a folder has a size too";
  EXPECT_EQ(Ostra::eFileNotFound, File::SizeOnDisk(PathOf(L"none.txt"), size));
}

TEST_F(FileOperationsTest, CopyWithProgressReportsCancelsAndMapsItsOwnErrors) {
  const std::string data(3 << 20, 'q');
  const std::wstring source = MakeFile(L"big.bin", data);
  const std::wstring target = PathOf(L"copy.bin");

  ProgressLog errors;
  EXPECT_EQ(Ostra::eFileNotFound,
            File::CopyWithProgress(PathOf(L"none.bin"), target, RecordProgress, &errors));
  HANDLE locked = ::CreateFileW(source.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(INVALID_HANDLE_VALUE, locked);
  EXPECT_EQ(Ostra::eDiskFull, File::CopyWithProgress(source, target, RecordProgress, &errors))
      << "a sharing violation counts as 'could not write'";
  ::CloseHandle(locked);

  ProgressLog log;
  ASSERT_EQ(Ostra::kSuccess, File::CopyWithProgress(source, target, RecordProgress, &log));
  EXPECT_EQ(data, Contents(target));
  if (log.fractions.empty()) GTEST_SKIP() << "Wine's CopyFileExW never calls the progress routine";
  for (std::size_t i = 1; i < log.fractions.size(); ++i)
    EXPECT_LE(log.fractions[i - 1], log.fractions[i]) << "progress went backwards";
  EXPECT_FLOAT_EQ(1.0f, log.fractions.back());

  ProgressLog cancel;
  cancel.cancelAfter = 0;
  EXPECT_EQ(Ostra::eCanceled, File::CopyWithProgress(source, PathOf(L"cancelled.bin"),
                                                     RecordProgress, &cancel));
  EXPECT_EQ(1u, cancel.fractions.size()) << "the copy went on after the cancel";

  ProgressLog empty;
  ASSERT_EQ(Ostra::kSuccess, File::CopyWithProgress(MakeFile(L"empty.bin", ""),
                                                    PathOf(L"empty-copy.bin"), RecordProgress,
                                                    &empty));
  ASSERT_FALSE(empty.fractions.empty());
  EXPECT_TRUE(std::isnan(empty.fractions.front())) << "0 of 0 bytes is not a number";
}

// ------------------------------------------------------------------ swap

TEST_F(FileOperationsTest, SwapReplacesTheTargetAndLeavesNothingBehind) {
  const std::wstring target = MakeFile(L"document.txt", "old version");
  const std::wstring temp = MakeFile(L"document.tmp", "new version");
  ASSERT_EQ(Ostra::kSuccess, File::SwapTempFile(temp, target));
  EXPECT_EQ("new version", Contents(target));
  EXPECT_FALSE(Exists(temp));
  EXPECT_EQ(std::vector<std::wstring>{L"document.txt"}, Listing()) << "a backup was left";
}

TEST_F(FileOperationsTest, FailedSwapKeepsBothFilesAndTracesTheRetry) {
  strata::debug::DebugDatabase::SetOption("Ostra.Win.SwapTempFileRetryIntervalMs", "1");
  const std::wstring temp = MakeFile(L"new.tmp", "new version");
  {
    // No target: nothing to replace, and the temporary file stays.
    OstraTest::TraceCapture trace("Ostra.File", 6);
    const std::wstring missing = PathOf(L"missing.txt");
    EXPECT_FALSE(strata::ResultSucceeded(File::SwapTempFile(temp, missing)));
    EXPECT_EQ("new version", Contents(temp));
    const std::vector<std::string> lines = trace.Lines();
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ(0u, lines[0].find("Ostra.File:6 SwapTempFile(): ReplaceFile failed, GetLastError: "));
    EXPECT_EQ(0u, lines[1].find("Ostra.File:6 SwapTempFile() Retry: ReplaceFile failed, GetLastError: "));
    EXPECT_EQ('\n', lines[1].back());
  }
  // A target held open without sharing cannot be replaced: old contents stay.
  const std::wstring target = MakeFile(L"held.txt", "old version");
  HANDLE held = ::CreateFileW(target.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(INVALID_HANDLE_VALUE, held);
  EXPECT_FALSE(strata::ResultSucceeded(File::SwapTempFile(temp, target)));
  ::CloseHandle(held);
  EXPECT_EQ("old version", Contents(target));
  EXPECT_EQ("new version", Contents(temp));
  EXPECT_EQ(2u, Listing().size()) << "a backup was left";

  OstraTest::ContinueDialogs hook;
  EXPECT_EQ(Ostra::eFileNotFound, File::SwapTempFile(L"", target));
  EXPECT_EQ(Ostra::eFileNotFound, File::SwapTempFile(temp, L""));
}

// ------------------------------------------------------ temporary names

TEST_F(FileOperationsTest, UniqueTempPathsSitBesideThePathAndDoNotExist) {
  const std::size_t guidLength = strata::utility::Guid().AsString().size();
  const std::wstring folder = GetPath() + L"\\";
  const std::wstring longName(300, L'n');
  const struct {
    std::wstring path;
    bool keepExtension;
    std::wstring start;
    std::wstring end;
  } cases[] = {
      {folder + L"name.ext", true, folder + L"name~", L".ext"},
      {folder + L"name.ext", false, folder + L"name~", L""},
      {folder + L"noext", true, folder + L"noext~", L""},
      {folder + longName + L".wav", true,
       folder + longName.substr(0, 260 - guidLength - 4) + L"~", L".wav"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(strata::string::UTF16toStdString(row.path.substr(0, 80)));
    const std::wstring unique = File::MakeUniqueTempPath(row.path, row.keepExtension);
    ASSERT_EQ(row.start.size() + guidLength + row.end.size(), unique.size());
    EXPECT_EQ(row.start, unique.substr(0, row.start.size()));
    EXPECT_EQ(row.end, unique.substr(unique.size() - row.end.size()));
    EXPECT_FALSE(Ostra::PathUtils::ExistsOnDisk(unique, false));
    EXPECT_NE(unique, File::MakeUniqueTempPath(row.path, row.keepExtension));
  }
}

// ------------------------------------------------------------ time queries

TEST_F(FileOperationsTest, TimeQueriesCheckPathsAndKinds) {
  const std::wstring file = MakeFile(L"timed.txt", "t");
  const std::wstring folder = MakeDirectory(L"timed-folder");
  typedef Ostra::Result (*Query)(const Ostra::UTF16String&, std::uint64_t&);
  const struct {
    const char* name;
    Query query;
    std::wstring path;
    Ostra::Result expected;
  } cases[] = {
      {"creation of file", File::GetCreationTime, file, Ostra::kSuccess},
      {"modification of file", File::GetLastModificationTime, file, Ostra::kSuccess},
      {"folder time of folder", File::GetLastModificationTimeForFolder, folder, Ostra::kSuccess},
      {"modification of folder", File::GetLastModificationTime, folder, Ostra::eFileNotFound},
      {"creation of folder", File::GetCreationTime, folder, Ostra::eFileNotFound},
      {"folder time of file", File::GetLastModificationTimeForFolder, file, Ostra::eFileNotFound},
      {"missing", File::GetLastModificationTime, PathOf(L"none.txt"), Ostra::eFileNotFound},
      {"relative", File::GetLastModificationTime, L"timed.txt", Ostra::ePathNotFound},
      {"relative folder", File::GetLastModificationTimeForFolder, L"sub\\dir", Ostra::ePathNotFound},
      {"empty", File::GetCreationTime, L"", Ostra::ePathNotFound},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    std::uint64_t time = 42;
    EXPECT_EQ(row.expected, row.query(row.path, time));
    if (row.expected == Ostra::kSuccess)
      EXPECT_GT(time, 116444736000000000ull);
    else
      EXPECT_EQ(42u, time) << "a failed query wrote its output";
  }
}

}  // namespace
