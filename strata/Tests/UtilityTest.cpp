#include "strata/Utility.h"

#include <gtest/gtest.h>

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
  char expected[40];
  std::snprintf(expected, sizeof(expected), "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", unsigned(f.d1),
                unsigned(f.d2), unsigned(f.d3), f.d4[0], f.d4[1], f.d4[2], f.d4[3], f.d4[4],
                f.d4[5], f.d4[6], f.d4[7]);
  EXPECT_EQ(strata::string::UTF16toStdString(guid.AsString()), expected);
  EXPECT_EQ(f.d3 >> 12, 4);
  EXPECT_EQ(f.d4[0] & 0xC0, 0x80);
}
