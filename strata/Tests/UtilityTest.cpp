#include "strata/Utility.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <set>
#include <utility>

using strata::UTF16String;
using strata::utility::FileUtils;
using strata::utility::Guid;
using strata::utility::ImmutableString;

TEST(UtilityTest, ImmutableStringCopiesShareTextAndEmptiesShareOneString) {
  const ImmutableString text("Ostra"), copy = text;
  EXPECT_EQ(copy.c_str(), text.c_str());
  EXPECT_EQ(ImmutableString(std::string("Ostra")), text);
  EXPECT_LT(ImmutableString("A"), text);
  EXPECT_EQ(ImmutableString().c_str(), ImmutableString("").c_str());
  EXPECT_EQ(ImmutableString(static_cast<const char*>(nullptr)).c_str(), ImmutableString().c_str());

  ImmutableString moved("moved");
  ImmutableString target = std::move(moved);
  EXPECT_EQ(target.str(), "moved");
  EXPECT_TRUE(moved.empty());  // NOLINT: reading a moved-from object is allowed
}

TEST(UtilityTest, TrailingSeparatorsAreAddedOnceAndRemovedEntirely) {
  struct Case { const wchar_t* path; const wchar_t* added; const wchar_t* removed; bool has; };
  const Case cases[] = {
      {L"", L"", L"", false},
      {L"C:\\Dir", L"C:\\Dir\\", L"C:\\Dir", false},
      {L"C:\\Dir\\", L"C:\\Dir\\", L"C:\\Dir", true},
      {L"a/b/", L"a/b/", L"a/b", true},
      {L"a\\/\\", L"a\\/\\", L"a", true},
      {L"\\", L"\\", L"", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(UTF16String(c.path)));
    EXPECT_EQ(FileUtils::AddTrailingSlash(c.path), c.added);
    EXPECT_EQ(FileUtils::RemoveTrailingSlash(c.path), c.removed);
    EXPECT_EQ(FileUtils::HasTrailingSlash(c.path), c.has);
  }
}

TEST(UtilityTest, FileNamesMustBeNonEmptyAndFreeOfIllegalCharacters) {
  EXPECT_EQ(FileUtils::GetIllegalFilenameCharacters(), L"\\/:*?\"<>|");
  EXPECT_TRUE(FileUtils::IsValidFileName(L"Report 2024 (final).txt"));
  EXPECT_FALSE(FileUtils::IsValidFileName(L""));
  for (wchar_t illegal : FileUtils::GetIllegalFilenameCharacters()) {
    SCOPED_TRACE(static_cast<char>(illegal));
    EXPECT_FALSE(FileUtils::IsValidFileName(UTF16String(L"a") + illegal + L"b"));
  }
}

TEST(UtilityTest, CreatedGuidsAreDistinctVersion4AndPrintedInWindowsFieldOrder) {
  EXPECT_EQ(Guid().AsString(), L"00000000-0000-0000-0000-000000000000");
  std::set<UTF16String> seen;
  for (int i = 0; i < 1000; ++i) {
    const Guid guid = Guid::CreateUnique();
    ASSERT_FALSE(guid.IsNull());
    ASSERT_NE(guid, Guid());
    ASSERT_TRUE(seen.insert(guid.AsString()).second);
  }
  // Read the bytes as the Windows structure does on this little-endian CPU.
  const Guid guid = Guid::CreateUnique();
  struct { std::uint32_t d1; std::uint16_t d2, d3; std::uint8_t d4[8]; } f;
  std::memcpy(&f, guid.GetBytes(), sizeof(f));
  wchar_t expected[40];
  std::swprintf(expected, 40, L"%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", unsigned(f.d1),
                unsigned(f.d2), unsigned(f.d3), f.d4[0], f.d4[1], f.d4[2], f.d4[3], f.d4[4],
                f.d4[5], f.d4[6], f.d4[7]);
  EXPECT_EQ(guid.AsString(), expected);
  EXPECT_EQ(f.d3 >> 12, 4);
  EXPECT_EQ(f.d4[0] & 0xC0, 0x80);
}

TEST(UtilityTest, ExecutablePathIsAbsoluteAndEndsInExe) {
  const UTF16String exe = strata::utility::GetModulePath(nullptr);
  ASSERT_GT(exe.size(), 6u);
  EXPECT_EQ(_wcsicmp(exe.c_str() + exe.size() - 4, L".exe"), 0) << testing::PrintToString(exe);
  EXPECT_EQ(exe.substr(1, 2), L":\\");
}

TEST(UtilityTest, IsHiddenReadsTheAttributeAlsoBeyondMaxPath) {
  wchar_t temp[MAX_PATH];
  ASSERT_GT(::GetTempPathW(MAX_PATH, temp), 0u);
  // Made through the extended-length form; the file's path passes the legacy
  // limit and holds a '/', which that form would not take.
  const UTF16String folder = UTF16String(temp) + L"strata-" + Guid::CreateUnique().AsString();
  const UTF16String inner = folder + L"\\" + UTF16String(240, L'x');
  const UTF16String file = inner + L"/file.txt", systemFile = L"\\\\?\\" + inner + L"\\file.txt";
  ASSERT_TRUE(::CreateDirectoryW((L"\\\\?\\" + folder).c_str(), nullptr));
  ASSERT_TRUE(::CreateDirectoryW((L"\\\\?\\" + inner).c_str(), nullptr));
  ::CloseHandle(::CreateFileW(systemFile.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));

  EXPECT_FALSE(FileUtils::IsHidden(file));
  ASSERT_TRUE(::SetFileAttributesW(systemFile.c_str(), FILE_ATTRIBUTE_HIDDEN));
  EXPECT_TRUE(FileUtils::IsHidden(file));
  EXPECT_FALSE(FileUtils::IsHidden(file + L".missing"));

  ::SetFileAttributesW(systemFile.c_str(), FILE_ATTRIBUTE_NORMAL);
  ::DeleteFileW(systemFile.c_str());
  ::RemoveDirectoryW((L"\\\\?\\" + inner).c_str());
  ::RemoveDirectoryW((L"\\\\?\\" + folder).c_str());
}
