// CombinePaths asks the shell, which the Posix build does not model yet.
#include <gtest/gtest.h>

#include "Ostra/PathUtils.h"
#include "Support/Dialogs.h"

namespace {

namespace PathUtils = Ostra::PathUtils;
using Ostra::UTF16String;
using OstraTest::Show;

TEST(CombinePaths, JoinsThroughTheShellOnlyOnAnAcceptableBase) {
  const struct {
    UTF16String base, more, expected;
  } rows[] = {
      {LR"(C:\a\b)", LR"(..\c)", LR"(C:\a\c)"},
      {LR"(C:\a\b)", LR"(.\c\.\d)", LR"(C:\a\b\c\d)"},
      {LR"(C:\a)", LR"(D:\x)", LR"(D:\x)"},  // a rooted second path wins
      {LR"(\\srv\share)", L"x", LR"(\\srv\share\x)"},
      {L"rel", L"x", L""},
      {L"rel", LR"(C:\x)", L""},
      {L"", L"x", L""},
      // The result's limit is the shell's 260 characters, terminator included.
      {LR"(C:\a)", UTF16String(300, L'x'), L""},
      {LR"(C:\a)", UTF16String(254, L'x'), LR"(C:\a\)" + UTF16String(254, L'x')},
      {LR"(C:\a)", UTF16String(255, L'x'), L""},
      {LR"(C:\)" + UTF16String(300, L'b') + LR"(\..)", L"x", L""},  // a long base
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Show(row.base) + " + " + Show(row.more));
    EXPECT_EQ(row.expected, PathUtils::CombinePaths(row.base, row.more));
  }
}

}  // namespace
