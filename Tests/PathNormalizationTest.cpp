#include <gtest/gtest.h>

#include <string>

#include "Fuzz/Rules.h"
#include "Ostra/PathUtils.h"
#include "Support/Dialogs.h"

namespace {

namespace PathUtils = Ostra::PathUtils;
using Ostra::UTF16String;

using OstraTest::Show;

struct NormalRow {
  UTF16String path, normalized;
  bool normalizedBefore;  // IsNormalizedPath of the input
};

const NormalRow kNormalRows[] = {
    {L"C:", LR"(\\?\C:\)", false},
    {LR"(\\?\C:)", LR"(\\?\C:\)", false},  // a drive root is not normal until it has its '\'
    {LR"(C:\)", LR"(\\?\C:\)", false},
    {LR"(\\?\C:\)", LR"(\\?\C:\)", true},
    {LR"(C:\a)", LR"(\\?\C:\a)", false},
    {L"C:a", LR"(\\?\C:a)", false},  // drive-relative, prefixed all the same
    {L"z:/a/b", LR"(\\?\z:/a/b)", false},  // slashes are kept
    {LR"(\\?\D:\x)", LR"(\\?\D:\x)", true},
    {LR"(\\srv\share)", LR"(\\?\UNC\srv\share)", false},
    {LR"(\\?\UNC\srv\share)", LR"(\\?\UNC\srv\share)", true},
    {LR"(\\)", LR"(\\?\UNC\)", false},
    {LR"(\\?\)", LR"(\\?\)", true},
    {LR"(\\?\Volume{x}\a)", LR"(\\?\Volume{x}\a)", true},
    {LR"(rel\x)", LR"(rel\x)", false},
    {LR"(\x)", LR"(\x)", false},
    {L"/a", L"/a", false},
    {LR"(1:\x)", LR"(1:\x)", false},
    {L"C", L"C", false},
    {L"", L"", false},
};

TEST(PathNormalization, AddsOnlyTheLongPathPrefixes) {
  for (const NormalRow& row : kNormalRows) {
    SCOPED_TRACE(Show(row.path));
    const UTF16String normalized = PathUtils::ToNormalizedPath(row.path);
    EXPECT_EQ(row.normalized, normalized);
    EXPECT_EQ(row.normalizedBefore, PathUtils::IsNormalizedPath(row.path));
    // Normalising twice changes nothing, what the system takes stays
    // takeable, and stripping gives drive and UNC paths back.
    EXPECT_EQ(nullptr, OstraRules::NormalForm(row.path));
  }
}

TEST(PathNormalization, StripUNCUndoesOnlyTheDriveAndUncForms) {
  const struct {
    UTF16String path, expected;
  } rows[] = {
      {LR"(\\?\C:\a)", LR"(C:\a)"},
      {LR"(\\?\UNC\srv\s)", LR"(\\srv\s)"},
      {LR"(\\?\UNC\)", LR"(\\)"},
      {LR"(\\?\C:)", LR"(\\?\C:)"},  // kept: no backslash behind the colon
      {LR"(\\?\C:a)", LR"(\\?\C:a)"},
      {LR"(\\?\unc\srv\s)", LR"(\\?\unc\srv\s)"},  // UNC is compared case-sensitively
      {LR"(\\?\1:\a)", LR"(\\?\1:\a)"},
      {LR"(C:\a)", LR"(C:\a)"},
      {LR"(\\?\)", LR"(\\?\)"},
      {L"", L""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Show(row.path));
    EXPECT_EQ(row.expected, PathUtils::Win::StripUNC(row.path));
  }
}

TEST(PathNormalization, AcceptablePathsAreDriveAndDoubleBackslashPaths) {
  for (const wchar_t* path : {L"c:", L"Z:\\", L"\\\\x", L"\\\\", L"C:rel"})
    EXPECT_TRUE(PathUtils::IsWinAPIAcceptablePath(path)) << Show(path);
  for (const wchar_t* path : {L"x", L"1:\\", L"/a", L"", L"\\", L"//srv/share", L"rel\\x"})
    EXPECT_FALSE(PathUtils::IsWinAPIAcceptablePath(path)) << Show(path);
}

TEST(PathNormalization, OddInputsComeBackUnchangedOrPrefixed) {
  const UTF16String huge = LR"(C:\)" + UTF16String(32 * 1024, L'a');
  EXPECT_EQ(LR"(\\?\)" + huge, PathUtils::ToNormalizedPath(huge));
  EXPECT_EQ(huge, PathUtils::Win::StripUNC(PathUtils::ToNormalizedPath(huge)));
  const UTF16String withNul(L"C:\\a\0b", 6);
  EXPECT_EQ(LR"(\\?\)" + withNul, PathUtils::ToNormalizedPath(withNul));
  const UTF16String surrogate = L"\xD800";
  EXPECT_EQ(surrogate, PathUtils::ToNormalizedPath(surrogate));
  EXPECT_FALSE(PathUtils::IsNormalizedPath(surrogate));
}

// A folder inLevels deep below C:, every level named "a".
UTF16String DeepFolder(int inLevels) {
  UTF16String path = L"C:\\";
  for (int i = 0; i < inLevels; ++i) path += L"a\\";
  return path;
}

// "..\" inSteps times, then the target's rest.
UTF16String Climb(int inSteps, const UTF16String& inRest) {
  UTF16String path;
  for (int i = 0; i < inSteps; ++i) path += L"..\\";
  return path + inRest;
}

// Through the shell on Windows and through its model elsewhere: both give
// these answers.
TEST(CombinePaths, JoinsOnlyOnAnAcceptableBase) {
  const struct {
    UTF16String base, more, expected;
  } rows[] = {
      {LR"(C:\a\b)", LR"(..\c)", LR"(C:\a\c)"},
      {LR"(C:\a\b)", LR"(.\c\.\d)", LR"(C:\a\b\c\d)"},
      {LR"(C:\a)", LR"(D:\x)", LR"(D:\x)"},  // a rooted second path wins
      {LR"(C:\a\b)", LR"(\x)", LR"(C:\x)"},  // a single '\' keeps only the base's root
      {LR"(\\srv\share\a)", LR"(\x)", LR"(\\srv\share\x)"},
      {LR"(C:\a)", LR"(\\srv\s)", LR"(\\srv\s)"},
      {LR"(\\srv\share)", L"x", LR"(\\srv\share\x)"},
      {LR"(\\srv)", L"..", LR"(\\srv)"},  // never above the server
      {LR"(C:\)", LR"(..\..\x)", LR"(C:\x)"},           // nor above the drive's root
      {L"C:", L"x", LR"(C:\x)"},
      {LR"(C:\a\b\..)", L"", LR"(C:\a)"},  // an empty second path: the base alone
      {L"rel", L"x", L""},
      {L"rel", LR"(C:\x)", L""},
      {L"", L"x", L""},
      // The join's limit is the shell's 260 characters, terminator included.
      {LR"(C:\a)", UTF16String(300, L'x'), L""},
      {LR"(C:\a)", UTF16String(254, L'x'), LR"(C:\a\)" + UTF16String(254, L'x')},
      {LR"(C:\a)", UTF16String(255, L'x'), L""},
      {LR"(C:\a)", LR"(x\..\)" + UTF16String(252, L'y'), L""},  // before resolving
      {LR"(C:\)" + UTF16String(300, L'b') + LR"(\..)", L"x", L""},  // a long base
      // An input used alone is never cut short to fit (the shell would
      // answer for the shorter path).
      {LR"(C:\)" + UTF16String(300, L'b'), L"", L""},
      {LR"(C:\a)", LR"(D:\)" + UTF16String(300, L'b'), L""},
      {LR"(C:\)" + UTF16String(300, L'b'), LR"(\x)", LR"(C:\x)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Show(row.base) + " + " + Show(row.more));
    EXPECT_EQ(row.expected, PathUtils::CombinePaths(row.base, row.more));
  }
}

TEST(ArePathsRelative, RelatesTheDirectoriesBelowTheDrive) {
  const struct {
    UTF16String from, to;
    bool related;
    UTF16String expected;
  } rows[] = {
      {LR"(C:\a\b\file.txt)", LR"(C:\a\c\)", true, LR"(..\c\)"},
      {LR"(C:/a/b/file.txt)", LR"(C:/a/c/)", true, LR"(..\c\)"},  // slashes are turned first
      // The drive is dropped before comparing: different drives still relate.
      {LR"(C:\a\x\f)", LR"(D:\a\y\g)", true, LR"(..\y\)"},
      // UNC paths count as being on drive C: and compare by their components.
      {LR"(\\srv\share\x\f)", LR"(\\srv\share\y\)", true, LR"(..\y\)"},
      {LR"(C:\A\B\)", LR"(c:\a\b\d\)", true, LR"(\d\)"},  // case-blind; the shell's form
      {LR"(C:\a\f)", LR"(C:\a\g)", true, L"."},  // the same folder
      {LR"(C:\a\x\f)", LR"(C:\b\y\g)", false, L""},  // no first component in common
      {LR"(rel\a\f)", LR"(C:\rel\a\)", false, L""},
      {LR"(C:\a\f)", L"", false, L""},
      {LR"(C:\)" + UTF16String(300, L'a') + L"\\", LR"(C:\a\)", false, L""},
      // Deep folders. Whether the shell answers or, where it would overrun,
      // the library's own walk, the answer must fit the shell's buffer of
      // 260 characters with its NUL: 259 do, 260 are a refusal, however
      // short or long the inputs.
      {DeepFolder(60), LR"(C:\a\x\)", true, Climb(59, LR"(x\)")},
      {DeepFolder(60), LR"(C:\a\)" + UTF16String(81, L'x') + L"\\", true,
       Climb(59, UTF16String(81, L'x') + L"\\")},  // 259
      {DeepFolder(60), LR"(C:\a\)" + UTF16String(82, L'x') + L"\\", false, L""},  // 260
      {DeepFolder(120), LR"(C:\a\x\)", false, L""},
      {DeepFolder(400), LR"(C:\a\x\)", false, L""},
      {LR"(C:\a\x\)", DeepFolder(400) + L"f", false, L""},
      {DeepFolder(400), DeepFolder(400), true, L"."},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Show(row.from) + " -> " + Show(row.to));
    UTF16String relative = L"untouched";
    EXPECT_EQ(row.related, PathUtils::ArePathsRelative(row.from, row.to, relative));
    EXPECT_EQ(row.related ? row.expected : L"untouched", relative);
  }
}

}  // namespace
