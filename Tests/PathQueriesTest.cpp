#include <windows.h>
#include <objbase.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "Ostra/DiskUtils.h"
#include "Ostra/PathUtils.h"
#include "Ostra/Result.h"
#include "Support/Dialogs.h"
#include "Support/TempDirectoryTest.h"
#include "Support/TraceCapture.h"

namespace {

namespace PathUtils = Ostra::PathUtils;
using Ostra::UTF16String;

using OstraTest::Show;

class PathQueriesTest : public OstraTest::TempDirectoryTest {};

TEST_F(PathQueriesTest, ExistsOnDiskAnswersInBothModes) {
  const UTF16String file = MakeFile(L"file.txt");
  const UTF16String directory = MakeDirectory(L"sub");
  const struct {
    UTF16String path;
    bool byFind, byAttributes;
  } rows[] = {
      {file, true, true},
      {PathUtils::ToNormalizedPath(file), true, true},
      {directory, true, true},
      {directory + L"\\", true, true},  // listed: it has "." and ".."
      {PathOf(L"missing.txt"), false, false},
      {PathOf(L"missing\\x.txt"), false, false},
      {L"", false, false},
      {L"rel\\x", false, false},
      {L"file.txt", false, false},
      {file + UTF16String(1, L'\0') + L"tail", false, false},  // never the path cut short
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Show(row.path));
    EXPECT_EQ(row.byFind, PathUtils::ExistsOnDisk(row.path, true));
    EXPECT_EQ(row.byAttributes, PathUtils::ExistsOnDisk(row.path, false));
  }
}

TEST_F(PathQueriesTest, DirectoryQueriesTellFilesFoldersAndEmptiness) {
  const UTF16String file = MakeFile(L"file.txt");
  const UTF16String empty = MakeDirectory(L"empty");
  const UTF16String full = MakeDirectory(L"full");
  MakeFile(L"full\\x");
  const struct {
    UTF16String path;
    bool isDirectory, isEmpty;
  } rows[] = {
      {empty, true, true},
      {empty + L"\\", true, true},
      {PathUtils::ToNormalizedPath(empty), true, true},
      {full, true, false},
      {file, false, false},
      {PathOf(L"missing"), false, false},
      {L"rel", false, false},
      {L"\\x", false, false},
      {L"", false, true},  // "nothing" counts as an empty directory
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Show(row.path));
    EXPECT_EQ(row.isDirectory, PathUtils::IsDirectory(row.path));
    EXPECT_EQ(row.isEmpty, PathUtils::IsDirectoryEmpty(row.path));
  }
}

TEST_F(PathQueriesTest, EveryQueryWorksOnPathsBeyondTheClassicLimit) {
  const UTF16String deep = MakeDeepDirectory(300);
  ASSERT_GT(deep.size(), 260u);
  const UTF16String deeper = MakeDeepDirectory(deep.size() + 200);
  ASSERT_EQ(0u, deeper.find(deep));
  const UTF16String file = deeper + L"\\long-name.txt";
  const UTF16String relative = file.substr(GetPath().size() + 1);
  MakeFile(relative);

  for (const UTF16String& form : {file, PathUtils::ToNormalizedPath(file)}) {
    SCOPED_TRACE(Show(form));
    EXPECT_TRUE(PathUtils::ExistsOnDisk(form, true));
    EXPECT_TRUE(PathUtils::ExistsOnDisk(form, false));
    EXPECT_FALSE(PathUtils::IsDirectory(form));
    EXPECT_GT(PathUtils::GetFreeDriveSpace(form), 0u);
  }
  EXPECT_TRUE(PathUtils::IsDirectory(deeper));
  EXPECT_TRUE(PathUtils::ExistsOnDisk(deeper + L"\\", true));
  EXPECT_FALSE(PathUtils::IsDirectoryEmpty(deeper));
  const UTF16String emptyDeep = MakeDirectory(deeper.substr(GetPath().size() + 1) + L"\\empty");
  EXPECT_TRUE(PathUtils::IsDirectoryEmpty(emptyDeep));
  EXPECT_FALSE(PathUtils::ExistsOnDisk(deeper + L"\\missing.txt", false));

  std::uint32_t bufferSize = 0;
  EXPECT_EQ(Ostra::kSuccess,
            Ostra::DiskUtils::GetEfficientDiskBufferSizeFromPath(file, bufferSize));

  // A hidden file beyond the limit is found by its attribute.
  ASSERT_TRUE(::SetFileAttributesW(LongForm(file).c_str(), FILE_ATTRIBUTE_HIDDEN));
  std::vector<UTF16String> listing = {deeper, file};
  PathUtils::FilterHiddenFiles(listing);
  EXPECT_EQ(std::vector<UTF16String>{deeper}, listing);

  // The display string: components beyond the shell's reach keep their
  // plain text; the path as a whole is never cut short.
  const UTF16String display =
      PathUtils::GetDisplayStringFromPath(PathUtils::ToNormalizedPath(file));
  const UTF16String tail = file.substr(deep.size());
  ASSERT_GE(display.size(), tail.size()) << Show(display);
  EXPECT_EQ(tail, display.substr(display.size() - tail.size()));
  EXPECT_EQ(L"long-name.txt",
            PathUtils::GetLeafDisplayStringFromPath(PathUtils::ToNormalizedPath(file)));
}

TEST_F(PathQueriesTest, PreparePathForWriteCreatesTheWholePath) {
  const UTF16String target = PathOf(L"a\\b\\c");
  EXPECT_TRUE(PathUtils::PreparePathForWrite(target));
  EXPECT_TRUE(PathUtils::IsDirectory(target));
  EXPECT_TRUE(PathUtils::PreparePathForWrite(target)) << "an existing directory is ready";

  UTF16String deep = PathOf(L"long");
  while (deep.size() < 300) deep += L"\\missing-level";
  EXPECT_TRUE(PathUtils::PreparePathForWrite(deep + L"\\"));
  EXPECT_TRUE(PathUtils::IsDirectory(deep));

  const UTF16String file = MakeFile(L"file");
  EXPECT_FALSE(PathUtils::PreparePathForWrite(file)) << "a file is no directory";
  EXPECT_FALSE(PathUtils::PreparePathForWrite(file + L"\\below"));
  EXPECT_FALSE(PathUtils::PreparePathForWrite(L"rel\\x"));
  EXPECT_FALSE(PathUtils::PreparePathForWrite(L""));
}

TEST_F(PathQueriesTest, FilterHiddenFilesKeepsTheOrderOfTheRest) {
  const UTF16String visible1 = MakeFile(L"one.txt");
  const UTF16String hidden = MakeFile(L"hidden.txt");
  ASSERT_TRUE(::SetFileAttributesW(hidden.c_str(), FILE_ATTRIBUTE_HIDDEN));
  const UTF16String visible2 = MakeFile(L"two");

  // The dot rule looks at the name without its extension, so ".a.b" goes
  // by name while ".git" and ".profile" (all extension) are judged by
  // their attribute only; these do not exist, so they have none.
  std::vector<UTF16String> paths = {visible1,    L"x\\.a.b", hidden,
                                    L"x\\.git", visible2,   PathOf(L".profile")};
  PathUtils::FilterHiddenFiles(paths);
  const std::vector<UTF16String> expected = {visible1, L"x\\.git", visible2, PathOf(L".profile")};
  EXPECT_EQ(expected, paths);
}

TEST(GetTempDirectory, IsAnExistingDirectoryEndingInABackslash) {
  const UTF16String temp = PathUtils::GetTempDirectory();
  ASSERT_FALSE(temp.empty());
  EXPECT_EQ(L'\\', temp.back());
  EXPECT_TRUE(PathUtils::IsDirectory(temp));
}

TEST(GetTempDirectory, IsEmptyWhenTheSystemAnswerExceeds512Characters) {
  const UTF16String longTemp = L"C:\\" + UTF16String(600, L't');
  wchar_t saved[32768] = {};
  const DWORD savedLength = ::GetEnvironmentVariableW(L"TMP", saved, 32768);
  ASSERT_TRUE(::SetEnvironmentVariableW(L"TMP", longTemp.c_str()));
  const DWORD systemLength = ::GetTempPathW(0, nullptr);
  const UTF16String temp = PathUtils::GetTempDirectory();
  ::SetEnvironmentVariableW(L"TMP", savedLength ? saved : nullptr);
  if (systemLength <= 513)
    GTEST_SKIP() << "the system ignores a TMP longer than MAX_PATH "
                    "(Wine reads it into a MAX_PATH buffer)";
  EXPECT_EQ(L"", temp);
}

TEST(PathQueries, RejectOddInputsWithoutTouchingTheDisk) {
  const UTF16String odd[] = {
      L"",
      L"\\",
      L"\\\\",
      L"\\\\?\\",
      L"\xD800:\\x",
      UTF16String(L"C:\\\0", 4),
      L"C:\\" + UTF16String(32 * 1024, L'a'),
      L"\\\\?\\UNC\\",
  };
  for (const UTF16String& path : odd) {
    SCOPED_TRACE(path.size());
    EXPECT_FALSE(PathUtils::ExistsOnDisk(path, true));
    EXPECT_FALSE(PathUtils::ExistsOnDisk(path, false));
    EXPECT_FALSE(PathUtils::IsDirectory(path));
    EXPECT_EQ(path.empty(), PathUtils::IsDirectoryEmpty(path));
    PathUtils::GetDisplayStringFromPath(path);
    PathUtils::GetLeafDisplayStringFromPath(path);
  }
  // Longer than the system takes: never handed on to be cut short.
  EXPECT_FALSE(PathUtils::PreparePathForWrite(L"C:\\" + UTF16String(32 * 1024, L'a')));
}

TEST(DisplayStrings, OnlyNormalisedLocalPathsAreTranslated) {
  const struct {
    UTF16String path, display;
  } rows[] = {
      {LR"(C:\Users\x)", LR"(C:\Users\x)"},  // not normalised
      {L"", L""},
      {L"C:", L"C:"},
      {LR"(\\?\C:)", LR"(\\?\C:)"},  // a drive root
      {LR"(\\?\UNC\srv\share\f)", LR"(\\srv\share\f)"},  // network: the prefix goes, nothing else
      {LR"(\\?\UNC\srv\share\)", LR"(\\srv\share)"},
      {LR"(\\?\C:\)", L"C:"},
      {LR"(\\?\Volume{0}\x)", LR"(\\?\Volume{0}\x)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Show(row.path));
    EXPECT_EQ(row.display, PathUtils::GetDisplayStringFromPath(row.path));
  }
  const struct {
    UTF16String path, leaf;
  } leaves[] = {
      {LR"(C:\a)", LR"(C:\a)"},  // not normalised
      {LR"(\\?\C:)", LR"(\\?\C:)"},
      {L"", L""},
      {LR"(\\?\C:\)", LR"(C:\)"},  // too short to ask the shell: its own leaf
      {LR"(\\?\UNC\srv\share)", LR"(\\srv\share)"},  // a share root is one leaf
  };
  for (const auto& row : leaves) {
    SCOPED_TRACE(Show(row.path));
    EXPECT_EQ(row.leaf, PathUtils::GetLeafDisplayStringFromPath(row.path));
  }
}

TEST_F(PathQueriesTest, DisplayStringNamesEachComponentOfALocalPath) {
  const UTF16String file = MakeFile(L"report.txt");
  const UTF16String display =
      PathUtils::GetDisplayStringFromPath(PathUtils::ToNormalizedPath(file));
  // The shell may show other names than the folders' own (and hide known
  // extensions), but not other components.
  EXPECT_EQ(file.substr(0, 2), display.substr(0, 2)) << Show(display);
  EXPECT_EQ(std::count(file.begin(), file.end(), L'\\'),
            std::count(display.begin(), display.end(), L'\\'))
      << Show(display);
  EXPECT_EQ(0u, display.substr(display.rfind(L'\\') + 1).find(L"report")) << Show(display);
  EXPECT_EQ(0u, PathUtils::GetLeafDisplayStringFromPath(PathUtils::ToNormalizedPath(file))
                    .find(L"report"));
}

TEST_F(PathQueriesTest, DisplayNameFallsBackToThePlainTextAndTracesTheFailedStep) {
  const UTF16String missing = PathOf(L"missing-file.txt");
  OstraTest::TraceCapture trace("Ostra.PathUtils", 2);
  EXPECT_EQ(L"missing-file.txt",
            PathUtils::GetLeafDisplayStringFromPath(PathUtils::ToNormalizedPath(missing)));
  const std::vector<std::string> lines = trace.Lines();
  ASSERT_EQ(1u, lines.size());
  EXPECT_EQ(0u, lines[0].find("Ostra.PathUtils:2 Failure HRESULT:")) << lines[0];
  EXPECT_NE(std::string::npos, lines[0].find(" during ParseDisplayName\n")) << lines[0];
}

TEST_F(PathQueriesTest, DisplayNameFallsBackWhenTheThreadsApartmentRefusesCom) {
  const UTF16String file = MakeFile(L"shown.txt");
  OstraTest::TraceCapture trace("Ostra.PathUtils", 2);
  UTF16String leaf;
  std::thread worker([&] {
    // A multithreaded apartment makes the single-threaded CoInitialize fail.
    const HRESULT joined = ::CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    leaf = PathUtils::GetLeafDisplayStringFromPath(PathUtils::ToNormalizedPath(file));
    if (SUCCEEDED(joined)) ::CoUninitialize();
  });
  worker.join();
  EXPECT_EQ(L"shown.txt", leaf);
  const std::vector<std::string> lines = trace.Lines();
  ASSERT_EQ(1u, lines.size());
  EXPECT_EQ("Ostra.PathUtils:2 Failure HRESULT:80010106 during CoInitialize\n", lines[0]);
}

}  // namespace
