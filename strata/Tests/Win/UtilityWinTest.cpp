// Utilities whose answers are Windows facts: the executable's drive path,
// and the hidden attribute.
#include "strata/Utility.h"

#include <windows.h>

#include <gtest/gtest.h>

using strata::UTF16String;
using strata::utility::FileUtils;
using strata::utility::Guid;

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
