#include <gtest/gtest.h>

#include <set>
#include <string>

#include "Fuzz/Rules.h"
#include "Ostra/PathUtils.h"
#include "Support/Dialogs.h"
#include "strata/Utility.h"

namespace {

namespace PathUtils = Ostra::PathUtils;
using Ostra::UTF16String;

using OstraTest::Show;

TEST(PathConstants, DisplayStringShowsExactlyTheCharactersThatAreRemoved) {
  std::set<wchar_t> shown;
  for (wchar_t c : PathUtils::kIllegalFilenameCharactersDisplay)
    if (c != L' ') shown.insert(c);
  const UTF16String rules = strata::utility::FileUtils::GetIllegalFilenameCharacters();
  EXPECT_EQ(shown, std::set<wchar_t>(rules.begin(), rules.end()));
  for (wchar_t c : shown) {
    UTF16String name = UTF16String(L"a") + c + L"b";
    SCOPED_TRACE(Show(name));
    EXPECT_TRUE(PathUtils::RemoveIllegalFileNameCharacters(name));
    EXPECT_EQ(L"ab", name);
  }
}

struct SplitRow {
  UTF16String path, drive, directory, file, extension;
};

TEST(SplitPath, SplitsIntoDriveDirectoryNameAndExtension) {
  const SplitRow rows[] = {
      {LR"(C:\dir\file.ext)", L"C:", LR"(\dir\)", L"file", L".ext"},
      {L"file", L"", L"", L"file", L""},
      {LR"(dir.d\file)", L"", LR"(dir.d\)", L"file", L""},  // a dot in a folder is no extension
      {LR"(a/b\c.txt)", L"", LR"(a/b\)", L"c", L".txt"},    // both separators count
      {L"1:x", L"1:", L"", L"x", L""},                      // the letter is not checked
      // A leading dot starts the extension.
      {LR"(C:\a\.hidden)", L"C:", LR"(\a\)", L"", L".hidden"},
      {L"a.b.c", L"", L"", L"a.b", L".c"},
      {LR"(C:\a\b.)", L"C:", LR"(\a\)", L"b", L"."},
      {L"C:", L"C:", L"", L"", L""},
      {LR"(C:\)", L"C:", LR"(\)", L"", L""},
      {L"C:name", L"C:", L"", L"name", L""},
      {LR"(\)", L"", LR"(\)", L"", L""},
      {LR"(\\)", L"", LR"(\\)", L"", L""},
      {LR"(\\?\)", L"", LR"(\\?\)", L"", L""},
      {LR"(\\?\C:\x.y)", L"", LR"(\\?\C:\)", L"x", L".y"},  // the prefix hides the drive
      {LR"(\\srv\share\f)", L"", LR"(\\srv\share\)", L"f", L""},
      {L".", L"", L"", L"", L"."},
      {L"..", L"", L"", L".", L"."},
      {L"", L"", L"", L"", L""},
  };
  for (const SplitRow& row : rows) {
    SCOPED_TRACE(Show(row.path));
    UTF16String drive = L"old", directory = L"old", file = L"old", extension = L"old";
    PathUtils::SplitPath(row.path, &drive, &directory, &file, &extension);
    EXPECT_EQ(row.drive, drive);
    EXPECT_EQ(row.directory, directory);
    EXPECT_EQ(row.file, file);
    EXPECT_EQ(row.extension, extension);
    // The single-part functions agree with the split, and the parts join
    // back to the path.
    EXPECT_EQ(nullptr, OstraRules::PathParts(row.path));
  }
}

TEST(SplitPath, StopsAtTheFirstNulAndSkipsNullOutputs) {
  const UTF16String path(LR"(C:\dir\na)" L"\0" LR"(me\x.txt)", 19);
  ASSERT_EQ(19u, path.size());
  UTF16String drive, file, extension = L"old";
  PathUtils::SplitPath(path, &drive, nullptr, &file, &extension);
  EXPECT_EQ(L"C:", drive);
  EXPECT_EQ(L"na", file);
  EXPECT_EQ(L"", extension);
  EXPECT_EQ(LR"(\dir\)", PathUtils::GetDirectoryPart(path));
  PathUtils::SplitPath(path, nullptr, nullptr, nullptr, nullptr);
  EXPECT_FALSE(PathUtils::FileHasExtension(path, L"txt"));

  // A NUL in the second place leaves no drive.
  EXPECT_EQ(L"", PathUtils::GetDrivePart(UTF16String(L"C\0:x", 4)));
  EXPECT_EQ(L"", PathUtils::GetFilePart(UTF16String(L"\0abc", 4)));
}

TEST(GetFileNamePart, CutsTheWholePathBeforeItsLastDot) {
  const struct {
    UTF16String path, expected;
  } rows[] = {
      {LR"(C:\a\b.txt)", LR"(C:\a\b)"},
      {LR"(C:\ver1.2\readme)", LR"(C:\ver1)"},  // deliberately cut inside the folder name
      {L"noext", L"noext"},
      {L"a.b.c", L"a.b"},
      {L".", L""},
      {L"", L""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Show(row.path));
    EXPECT_EQ(row.expected, PathUtils::GetFileNamePart(row.path));
  }
}

TEST(MakePath, JoinsByTheRuntimeRules) {
  const struct {
    UTF16String drive, directory, file, extension, expected;
  } rows[] = {
      {L"C:", LR"(\dir)", L"name", L"ext", LR"(C:\dir\name.ext)"},
      {L"C", L"dir/", L"n", L".e", L"C:dir/n.e"},  // the drive's first letter; '/' ends a folder
      {L"Cxyz", L"", L"", L"", L"C:"},
      {L"", L"", L"n", L"", L"n"},
      {L"", LR"(\)", L"", L"e", LR"(\.e)"},
      {L"", L"", L"", L"", L""},
      {UTF16String(L"\0D", 2), UTF16String(L"d\0x", 3), L"f", L"e", LR"(d\f.e)"},  // C strings
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Show(row.expected));
    EXPECT_EQ(row.expected, PathUtils::MakePath(row.drive, row.directory, row.file, row.extension));
    EXPECT_EQ(row.expected,
              PathUtils::MakeFullPath(row.drive, row.directory, row.file, row.extension));
  }
}

TEST(MakePath, EmptyOnlyWhenThePartsExceedTheRuntimeBuffer) {
  // 2 + 1001 + 1000 + 40 = 2043 characters of parts still join.
  const UTF16String directory = UTF16String(1000, L'd') + L"\\";
  const UTF16String file(1000, L'f');
  const UTF16String extension = L"." + UTF16String(39, L'e');
  const UTF16String joined = PathUtils::MakePath(L"C:", directory, file, extension);
  EXPECT_EQ(2043u, joined.size());
  EXPECT_EQ(L"", PathUtils::MakePath(L"C:", directory, file, extension + L"e"));
  EXPECT_EQ(L"", PathUtils::MakePath(L"C:", UTF16String(32768, L'd'), L"", L""));
}

TEST(FileHasExtension, MatchesWithOrWithoutTheDotAndIsCaseSensitive) {
  const struct {
    UTF16String path, extension;
    bool expected;
  } rows[] = {
      {L"x.txt", L"txt", true},         {L"x.txt", L".txt", true},
      {L"x.TXT", L"txt", false},        {L"x.txt", L"", false},
      {L"", L"txt", false},             {L"x", L"", false},
      {L"x.tar.gz", L"gz", true},       {L"x.tar.gz", L"tar.gz", false},
      {LR"(d.txt\x)", L"txt", false},   {L".txt", L"txt", true},
      {L"x.txt", L"tx", false},         {L"x.txt", L"..txt", false},
      {L"x.", L".", true},              {L"x.", L"", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Show(row.path) + " / " + Show(row.extension));
    EXPECT_EQ(row.expected, PathUtils::FileHasExtension(row.path, row.extension));
  }
}

TEST(RemoveIllegalFileNameCharacters, RemovesEveryIllegalCharacterInPlace) {
  const struct {
    UTF16String name, expected;
    bool removed;
  } rows[] = {
      {L"a*b?c", L"abc", true},
      {L"abc", L"abc", false},
      {L"", L"", false},
      {L"\\/:*?\"<>|", L"", true},
      {L"**a**", L"a", true},
      {UTF16String(L"a\0b", 3), UTF16String(L"a\0b", 3), false},  // NUL is not in the set
      {L"\xD800x:", L"\xD800x", true},                             // a lone surrogate stays
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Show(row.name));
    UTF16String name = row.name;
    EXPECT_EQ(row.removed, PathUtils::RemoveIllegalFileNameCharacters(name));
    EXPECT_EQ(row.expected, name);
  }
}

TEST(PathPredicates, AnswerByTheirStatedRules) {
  EXPECT_TRUE(PathUtils::IsValidPath(L" "));
  EXPECT_TRUE(PathUtils::IsValidPath(L"*?"));
  EXPECT_FALSE(PathUtils::IsValidPath(L""));

  for (wchar_t letter : {L'A', L'Z', L'a', L'z', L'm'})
    EXPECT_TRUE(PathUtils::IsWinDriveLetter(letter));
  for (wchar_t other : {L'1', L'@', L'[', L'`', L'{', L':', L'\0', L'\x00C4', L'\xFF21'})
    EXPECT_FALSE(PathUtils::IsWinDriveLetter(other)) << static_cast<int>(other);
}

TEST(PathStrings, OddAndHugeInputsGiveConsistentParts) {
  const UTF16String huge = L"C:" + UTF16String(32 * 1024, L'\\') + L"x.y";
  const UTF16String inputs[] = {
      huge,
      UTF16String(32 * 1024, L'.'),
      UTF16String(32 * 1024, L'/'),
      L"\xDC00:\\\xD800.\xDFFF",  // unpaired surrogates are ordinary code units here
      UTF16String(1, L'\0'),
      UTF16String(L"\\\0\\", 3),
  };
  for (const UTF16String& path : inputs) {
    SCOPED_TRACE(path.size());
    EXPECT_EQ(nullptr, OstraRules::PathParts(path));
    UTF16String cleaned = path;
    PathUtils::RemoveIllegalFileNameCharacters(cleaned);
    EXPECT_TRUE(cleaned.find_first_of(L"\\/:*?\"<>|") == UTF16String::npos);
  }
  EXPECT_EQ(L".y", PathUtils::GetExtensionPart(huge));
  EXPECT_EQ(L"C:", PathUtils::GetDrivePart(huge));
}

}  // namespace
