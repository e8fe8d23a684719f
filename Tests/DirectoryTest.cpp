#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "HandleCount.h"
#include "Ostra/Directory.h"
#include "Ostra/Foundation.h"
#include "Ostra/PathUtils.h"
#include "Ostra/Result.h"
#include "Support/Dialogs.h"
#include "Support/TempDirectoryTest.h"
#include "strata/FileSupport.h"

namespace {

using Ostra::Directory;
using Ostra::UTF16String;

const unsigned int kNoLimit = 0xFFFFFFFFu;
const Directory::CancelFunction kNoCancel;

using OstraTest::Show;

std::vector<UTF16String> Sorted(std::vector<UTF16String> inPaths) {
  std::sort(inPaths.begin(), inPaths.end());
  return inPaths;
}

std::size_t IndexOf(const std::vector<UTF16String>& inPaths, const UTF16String& inPath) {
  return static_cast<std::size_t>(std::find(inPaths.begin(), inPaths.end(), inPath) -
                                  inPaths.begin());
}

bool Exists(const UTF16String& inPath) {
  return ::GetFileAttributesW((L"\\\\?\\" + inPath).c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Breaks the input contract of the call and returns the key it was raised
// with; the dialog goes nowhere.
template <class Call>
std::string ContractKeyOf(Call inCall) {
  OstraTest::ContinueDialogs hook;
  try {
    inCall();
  } catch (const strata::config::strata_exception& e) {
    return e.GetKey();
  }
  return std::string();
}

class DirectoryTest : public OstraTest::TempDirectoryTest {
 protected:
  Directory Root() const { return Directory::ConstructDirectory(GetPath()); }
};

// ---------------------------------------------------------- construction

TEST_F(DirectoryTest, ConstructionRefusesAnythingButAnExistingDirectory) {
  const UTF16String file = MakeFile(L"file.txt");
  for (const UTF16String& path : {file, PathOf(L"missing"), UTF16String()}) {
    SCOPED_TRACE(Show(path));
    EXPECT_THROW(Directory::ConstructDirectory(path), Ostra::eNotADirectoryPath);
  }
  // The path is kept exactly, trailing separator included.
  EXPECT_EQ(GetPath() + L"\\", Directory::ConstructDirectory(GetPath() + L"\\").AsString());
  EXPECT_EQ(GetPath(), Root().AsString());
}

// Hosts catch the library's errors as std::runtime_error, with the message
// in UTF-8.
TEST_F(DirectoryTest, EveryLibraryExceptionIsARuntimeErrorWithItsUtf8Message) {
  const UTF16String gone = MakeDirectory(L"gone");
  const Directory removed = Directory::ConstructDirectory(gone);
  ASSERT_TRUE(::RemoveDirectoryW(gone.c_str()));
  const Directory root = Root();
  std::vector<UTF16String> paths;
  const struct {
    const char* name;
    std::function<void()> raise;
    const char* message;
  } rows[] = {
      {"ThrowError",
       [] {
         strata::config::ThrowError(strata::config::ErrorLevel::kError,
                                    "$$$/Test/Runtime=Held by ^1", L"\u00e9t\u00e9 \u65e5");
       },
       "Held by \xC3\xA9t\xC3\xA9 \xE6\x97\xA5"},
      {"input contract",
       [&] { root.GetContainedFilePaths(L"", paths, false, kNoLimit, kNoCancel); },
       "An input contract violation has occurred!"},
      {"output contract", [] { STRATA_OUTPUT_CONTRACT(1 == 2); },
       "An output contract violation has occurred!"},
      {"empty interface",
       [] { strata::classref::InterfaceRef<Ostra::IFileBufferFactory>()->CreateFileBuffer(); },
       "An empty interface reference was used."},
      {"bad core path",
       [] { strata::filesupport::Dir(UTF16String(), strata::filesupport::StorageType::kFileSystem); },
       "The path is not valid: "},
      {"eNotADirectoryPath", [&] { Directory::ConstructDirectory(gone); },
       "Directory object cannot construct with this path."},
      {"emptiness of a removed directory", [&] { removed.IsDirectoryEmpty(); },
       "Directory no longer exists."},
      {"listing of a removed directory",
       [&] { removed.GetContainedPaths(paths, false, kNoLimit, kNoCancel); },
       "Directory no longer exists."},
      {"filtered listing of a removed directory",
       [&] { removed.GetContainedFilePaths(L".txt", paths, true, kNoLimit, kNoCancel); },
       "Directory no longer exists."},
  };
  OstraTest::ContinueDialogs hook;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    try {
      row.raise();
      ADD_FAILURE() << "nothing raised";
    } catch (const std::runtime_error& e) {
      EXPECT_STREQ(row.message, e.what());
    } catch (...) {
      ADD_FAILURE() << "not a std::runtime_error";
    }
  }
  EXPECT_FALSE(removed.IsDirectoryWriteable());
}

// -------------------------------------------------------------- listings

TEST_F(DirectoryTest, RecursiveListingPutsEachDirectoryAfterItsContents) {
  MakeFile(L"a.txt");
  MakeDirectory(L"sub");
  MakeFile(L"sub\\b.txt");
  MakeDirectory(L"sub\\deeper");
  MakeFile(L"sub\\deeper\\c.txt");

  std::vector<UTF16String> paths;
  Root().GetContainedPaths(paths, true, kNoLimit, kNoCancel);
  const std::vector<UTF16String> expected = {PathOf(L"a.txt"), PathOf(L"sub"),
                                             PathOf(L"sub\\b.txt"), PathOf(L"sub\\deeper"),
                                             PathOf(L"sub\\deeper\\c.txt")};
  ASSERT_EQ(expected, Sorted(paths));
  EXPECT_LT(IndexOf(paths, PathOf(L"sub\\b.txt")), IndexOf(paths, PathOf(L"sub")));
  EXPECT_LT(IndexOf(paths, PathOf(L"sub\\deeper\\c.txt")), IndexOf(paths, PathOf(L"sub\\deeper")));
  EXPECT_LT(IndexOf(paths, PathOf(L"sub\\deeper")), IndexOf(paths, PathOf(L"sub")));

  Root().GetContainedPaths(paths, false, kNoLimit, kNoCancel);
  EXPECT_EQ((std::vector<UTF16String>{PathOf(L"a.txt"), PathOf(L"sub")}), Sorted(paths));

  std::vector<UTF16String> files;
  std::vector<Directory> directories;
  Root().GetContainedFileAndDirectoryPaths(files, directories, true, kNoLimit, kNoCancel);
  EXPECT_EQ((std::vector<UTF16String>{PathOf(L"a.txt"), PathOf(L"sub\\b.txt"),
                                      PathOf(L"sub\\deeper\\c.txt")}),
            Sorted(files));
  std::vector<UTF16String> directoryPaths;
  for (const Directory& directory : directories) directoryPaths.push_back(directory.AsString());
  EXPECT_EQ((std::vector<UTF16String>{PathOf(L"sub"), PathOf(L"sub\\deeper")}),
            Sorted(directoryPaths));
}

TEST_F(DirectoryTest, LimitCountsEveryEntryOverAllLevels) {
  MakeDirectory(L"sub");
  MakeFile(L"sub\\inner.txt");
  MakeFile(L"sub\\other.txt");
  const struct {
    unsigned int limit;
    bool recursive;
    std::size_t count;
  } kRows[] = {{0, true, 0}, {1, true, 1}, {2, true, 2}, {3, true, 3},
               {4, true, 3}, {0, false, 0}, {1, false, 1}, {kNoLimit, true, 3}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << "limit " << row.limit << " recursive " << row.recursive);
    std::vector<UTF16String> paths;
    Root().GetContainedPaths(paths, row.recursive, row.limit, kNoCancel);
    EXPECT_EQ(row.count, paths.size());
  }
  // The only top-level entry is the directory: a limit of one yields the
  // first file inside it, never the directory.
  std::vector<UTF16String> paths;
  Root().GetContainedPaths(paths, true, 1, kNoCancel);
  ASSERT_EQ(1u, paths.size());
  EXPECT_EQ(PathOf(L"sub\\"), paths[0].substr(0, PathOf(L"sub\\").size()));
  // Files only: the directory still counts against the limit.
  Root().GetContainedFilePaths(paths, true, 3, kNoCancel);
  EXPECT_EQ(2u, paths.size());
  Root().GetContainedFilePaths(paths, true, 2, kNoCancel);
  EXPECT_EQ(2u, paths.size());
}

TEST_F(DirectoryTest, CancelEndsTheListingAfterTheEntryInHand) {
  for (int i = 0; i < 5; ++i) MakeFile(L"f" + std::to_wstring(i) + L".txt");
  const long handlesBefore = OstraTest::ProcessHandleCount();
  int calls = 0;
  std::vector<UTF16String> paths;
  Root().GetContainedPaths(paths, false, kNoLimit, [&calls] { return ++calls >= 1; });
  EXPECT_EQ(1u, paths.size());
  EXPECT_EQ(1, calls);

  calls = 0;
  Root().GetContainedPaths(paths, true, kNoLimit, [&calls] { return ++calls >= 3; });
  EXPECT_EQ(3u, paths.size());
  if (OstraTest::HandleCountsAreReported()) {
    EXPECT_EQ(handlesBefore, OstraTest::ProcessHandleCount()) << "a search handle leaked";
  }
}

TEST_F(DirectoryTest, SubdirectoryRemovedDuringARecursiveScanThrows) {
  MakeFile(L"a.txt");
  for (const wchar_t* name : {L"s1", L"s2", L"s3"}) {
    MakeDirectory(name);
    MakeFile(UTF16String(name) + L"\\x.bin");
  }
  bool removed = false;
  std::vector<UTF16String> seen;
  const auto cancel = [&] {
    if (removed) return false;
    // Removes a directory that the scan has not reached yet.
    for (const wchar_t* name : {L"s1", L"s2", L"s3"}) {
      const UTF16String directory = PathOf(name);
      if (std::find(seen.begin(), seen.end(), directory) != seen.end()) continue;
      bool visited = false;
      for (const UTF16String& path : seen) visited = visited || path.find(directory + L"\\") == 0;
      if (visited) continue;
      ::DeleteFileW((directory + L"\\x.bin").c_str());
      removed = ::RemoveDirectoryW(directory.c_str()) != FALSE;
      break;
    }
    return false;
  };
  // Collect what the scan appends by listing into the same vector.
  EXPECT_THROW(Root().GetContainedPaths(seen, true, kNoLimit, cancel),
               Ostra::eDirectoryNoLongerValid) << "removed " << removed;
}

TEST_F(DirectoryTest, FilterNeedsTheDotAndFoldsOnlyAsciiCase) {
  MakeFile(L"a.txt");
  MakeFile(L"b.TxT");
  MakeFile(L"c.text");
  MakeFile(L"d.txt2");
  MakeFile(L"\u65e5\u672c.txt");
  MakeFile(L"e.\u00c9");
  MakeDirectory(L"folder.txt");
  const struct {
    const wchar_t* filter;
    std::vector<UTF16String> expected;
  } kRows[] = {
      {L".TXT", {L"a.txt", L"b.TxT", L"folder.txt", L"\u65e5\u672c.txt"}},
      {L".txt", {L"a.txt", L"b.TxT", L"folder.txt", L"\u65e5\u672c.txt"}},
      {L"txt", {}},
      {L".text", {L"c.text"}},
      {L".\u00c9", {L"e.\u00c9"}},
      {L".\u00e9", {}},  // only A-Z are folded
  };
  for (const auto& row : kRows) {
    for (bool recursive : {false, true}) {
      SCOPED_TRACE(Show(row.filter) + (recursive ? " recursive" : " flat"));
      std::vector<UTF16String> expected;
      for (const UTF16String& name : row.expected) expected.push_back(PathOf(name));
      std::vector<UTF16String> paths;
      Root().GetContainedFilePaths(row.filter, paths, recursive, kNoLimit, kNoCancel);
      EXPECT_EQ(Sorted(expected), Sorted(paths));
    }
  }
  std::vector<UTF16String> paths{L"stale"};
  EXPECT_EQ("$$$/strata/utility/Error/Contract/InputContractViolation", ContractKeyOf([&] {
              Root().GetContainedFilePaths(UTF16String(), paths, false, kNoLimit, kNoCancel);
            }));
}

TEST_F(DirectoryTest, RecursiveFilterFindsEveryMatchBelowTheLimit) {
  MakeDirectory(L"logs");
  MakeDirectory(L"logs\\old");
  MakeFile(L"one.log");
  MakeFile(L"logs\\two.LOG");
  MakeFile(L"logs\\old\\three.log");
  for (int i = 0; i < 6; ++i) MakeFile(L"logs\\data" + std::to_wstring(i) + L".bin");
  std::vector<UTF16String> paths;
  Root().GetContainedFilePaths(L".log", paths, true, 20, kNoCancel);
  EXPECT_EQ((std::vector<UTF16String>{PathOf(L"logs\\old\\three.log"), PathOf(L"logs\\two.LOG"),
                                      PathOf(L"one.log")}),
            Sorted(paths));
}

TEST_F(DirectoryTest, ListingsReachNamesAndDepthsBeyondTheClassicLimits) {
  const UTF16String deep = MakeDeepDirectory(300);
  const UTF16String relative = deep.substr(GetPath().size() + 1);
  MakeFile(relative + L"\\\u30c7\u30fc\u30bf\U0001F3B5.wav");
  std::vector<UTF16String> files;
  Root().GetContainedFilePaths(files, true, kNoLimit, kNoCancel);
  ASSERT_EQ(1u, files.size());
  EXPECT_EQ(deep + L"\\\u30c7\u30fc\u30bf\U0001F3B5.wav", files[0]);
  Root().GetContainedFilePaths(L".WAV", files, true, kNoLimit, kNoCancel);
  EXPECT_EQ(1u, files.size());
}

// ------------------------------------------------- operations on the disk

TEST_F(DirectoryTest, CreateOnDiskMakesMissingParentsAndAcceptsExisting) {
  EXPECT_EQ(Ostra::eUnknown, Directory::CreateOnDisk(UTF16String(), true));
  EXPECT_EQ(Ostra::kSuccess, Directory::CreateOnDisk(GetPath(), false));
  const UTF16String nested = PathOf(L"p\\q\\r");
  EXPECT_EQ(Ostra::kSuccess, Directory::CreateOnDisk(nested, false));
  EXPECT_TRUE(Directory::IsDirectory(nested));

  const UTF16String deep = PathOf(std::wstring(120, L'x') + L"\\" + std::wstring(120, L'y') +
                                  L"\\\u97f3\u697d");
  EXPECT_EQ(Ostra::kSuccess, Directory::CreateOnDisk(deep, true));
  EXPECT_TRUE(Directory::IsDirectory(deep));
}

TEST_F(DirectoryTest, DeleteRemovesOnlyEmptyDirectories) {
  const UTF16String full = MakeDirectory(L"full");
  MakeFile(L"full\\f.txt");
  const UTF16String empty = MakeDirectory(L"empty");
  EXPECT_EQ(Ostra::kSuccess, Directory::Delete(empty));
  EXPECT_FALSE(Exists(empty));
  EXPECT_FALSE(strata::ResultSucceeded(Directory::Delete(full)));
  EXPECT_TRUE(Exists(full + L"\\f.txt"));
  EXPECT_FALSE(strata::ResultSucceeded(Directory::Delete(PathOf(L"missing"))));
}

TEST_F(DirectoryTest, ShellOperationsCopyMoveAndDeleteWholeTrees) {
  MakeDirectory(L"src");
  MakeFile(L"src\\a.txt", "alpha");
  MakeDirectory(L"src\\\u66f2");
  MakeFile(L"src\\\u66f2\\\U0001F3B5.wav", "tune");
  MakeDirectory(L"copy");

  ASSERT_EQ(Ostra::kSuccess, Directory::Copy(PathOf(L"src"), PathOf(L"copy")));
  EXPECT_TRUE(Exists(PathOf(L"copy\\a.txt")));
  EXPECT_TRUE(Exists(PathOf(L"copy\\\u66f2\\\U0001F3B5.wav")));
  EXPECT_TRUE(Exists(PathOf(L"src\\a.txt")));

  MakeDirectory(L"moved");
  ASSERT_EQ(Ostra::kSuccess, Directory::Move(PathOf(L"src"), PathOf(L"moved")));
  EXPECT_TRUE(Exists(PathOf(L"moved\\\u66f2\\\U0001F3B5.wav")));
  EXPECT_TRUE(Directory::IsDirectory(PathOf(L"src"))) << "the source itself stays";
  EXPECT_TRUE(Ostra::PathUtils::IsDirectoryEmpty(PathOf(L"src")));

  ASSERT_EQ(Ostra::kSuccess, Directory::DeleteNotEmpty(PathOf(L"copy")));
  EXPECT_FALSE(Exists(PathOf(L"copy")));
  // Windows' shell fails on the missing folder (eUnknown); Wine's finds
  // nothing to delete and the removal of the folder itself fails.
  EXPECT_FALSE(strata::ResultSucceeded(Directory::DeleteNotEmpty(PathOf(L"missing"))));
}

TEST_F(DirectoryTest, ShellOperationsRefuseLongEmptyAndNulPathsWithoutTouchingTheDisk) {
  MakeDirectory(L"src");
  MakeFile(L"src\\keep.txt");
  const UTF16String source = PathOf(L"src");
  const UTF16String target = MakeDirectory(L"dst");
  // An empty source must not reach the current directory's contents.
  const UTF16String current = MakeDirectory(L"current");
  MakeFile(L"current\\keep.txt");
  wchar_t previous[MAX_PATH + 1] = {};
  ASSERT_NE(0u, ::GetCurrentDirectoryW(MAX_PATH + 1, previous));
  ASSERT_TRUE(::SetCurrentDirectoryW(current.c_str()));

  const UTF16String withNul = target + UTF16String(1, L'\0') + source;
  const struct {
    const char* name;
    UTF16String source;
    UTF16String target;
  } kRows[] = {
      {"long source", LongForm(source), target},
      {"long target", source, LongForm(target)},
      {"empty source", UTF16String(), target},
      {"empty target", source, UTF16String()},
      {"NUL in source", withNul, target},
      {"NUL in target", source, withNul},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Ostra::ePathNotFound, Directory::Copy(row.source, row.target));
    EXPECT_EQ(Ostra::ePathNotFound, Directory::Move(row.source, row.target));
    if (row.source != source) {
      EXPECT_EQ(Ostra::ePathNotFound, Directory::DeleteNotEmpty(row.source));
    }
  }
  ::SetCurrentDirectoryW(previous);
  EXPECT_TRUE(Exists(source + L"\\keep.txt"));
  EXPECT_TRUE(Exists(current + L"\\keep.txt"));
  EXPECT_TRUE(Directory::IsDirectory(target));
  EXPECT_TRUE(Ostra::PathUtils::IsDirectoryEmpty(target));
}

TEST_F(DirectoryTest, CopyContentsCopiesEveryFileAndPassesOverLockedOnes) {
  MakeDirectory(L"src");
  MakeFile(L"src\\a.txt", "alpha");
  MakeFile(L"src\\locked.bin", "held");
  MakeDirectory(L"src\\empty");
  MakeDirectory(L"src\\\u66f2");
  MakeFile(L"src\\\u66f2\\\U0001F3B5.wav", "tune");
  MakeDirectory(L"tree");
  const UTF16String deepSource = PathOf(L"tree");
  MakeDirectory(L"tree\\" + std::wstring(130, L'n'));
  MakeDirectory(L"tree\\" + std::wstring(130, L'n') + L"\\" + std::wstring(130, L'm'));
  const UTF16String farFile = std::wstring(130, L'n') + L"\\" + std::wstring(130, L'm') + L"\\far.txt";
  MakeFile(L"tree\\" + farFile, "far");

  HANDLE held = ::CreateFileW(PathOf(L"src\\locked.bin").c_str(), GENERIC_READ, 0, nullptr,
                              OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(INVALID_HANDLE_VALUE, held);
  const Ostra::Result copied = Directory::CopyContents(PathOf(L"src"), PathOf(L"out\\new"));
  ::CloseHandle(held);
  EXPECT_EQ(Ostra::kSuccess, copied);
  EXPECT_TRUE(Exists(PathOf(L"out\\new\\a.txt")));
  EXPECT_TRUE(Exists(PathOf(L"out\\new\\\u66f2\\\U0001F3B5.wav")));
  EXPECT_FALSE(Exists(PathOf(L"out\\new\\locked.bin"))) << "a locked file cannot be copied";
  EXPECT_FALSE(Exists(PathOf(L"out\\new\\empty"))) << "empty folders are not reproduced";

  // Into an existing destination, through paths beyond the classic limit.
  EXPECT_EQ(Ostra::kSuccess, Directory::CopyContents(deepSource, PathOf(L"out\\new")));
  EXPECT_TRUE(Exists(PathOf(L"out\\new\\" + farFile)));

  EXPECT_EQ(Ostra::eFileNotFound, Directory::CopyContents(PathOf(L"missing"), PathOf(L"out")));
  EXPECT_EQ(Ostra::eFileNotFound,
            Directory::CopyContents(PathOf(L"src\\a.txt"), PathOf(L"out")));
  const UTF16String blocker = MakeFile(L"blocker");
  EXPECT_FALSE(strata::ResultSucceeded(Directory::CopyContents(PathOf(L"src"), blocker)))
      << "the destination is a file";
}

// ------------------------------------------------------------ writability

TEST_F(DirectoryTest, WritabilityProbeLeavesNothingBehind) {
  EXPECT_TRUE(Root().IsDirectoryWriteable());
  EXPECT_TRUE(Ostra::PathUtils::IsDirectoryEmpty(GetPath())) << "the probe was left behind";
  EXPECT_FALSE(Ostra::PathUtils::IsReadOnly(GetPath()));
}

TEST_F(DirectoryTest, IsReadOnlyReadsTheAttributeAndCountsUnreadablePathsAsReadOnly) {
  const UTF16String writable = MakeFile(L"w.txt");
  const UTF16String locked = MakeFile(L"r.txt");
  ASSERT_TRUE(::SetFileAttributesW(locked.c_str(), FILE_ATTRIBUTE_READONLY));
  const struct {
    UTF16String path;
    bool readOnly;
  } kRows[] = {
      {writable, false},
      {LongForm(writable), false},
      {locked, true},
      {LongForm(locked) + L"\\", true},
      {PathOf(L"missing.txt"), true},
      {UTF16String(), false},
      {L"relative\\file.txt", false},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(Show(row.path));
    EXPECT_EQ(row.readOnly, Ostra::PathUtils::IsReadOnly(row.path));
  }
}

}  // namespace
