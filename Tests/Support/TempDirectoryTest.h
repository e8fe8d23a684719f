// A test fixture that gives each test its own new directory under the
// system's temporary folder and removes it afterwards. A test that leaves a
// file open (or anything else that stops the removal) fails in TearDown.
//
// It works with the system's calls directly, never with the library under
// test, so a fault in the library cannot hide a leak. One thread at a time.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "strata/Utility.h"

namespace OstraTest {

class TempDirectoryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    wchar_t temp[MAX_PATH + 1] = {};
    const DWORD length = ::GetTempPathW(MAX_PATH + 1, temp);
    ASSERT_TRUE(length > 0 && length <= MAX_PATH) << "no temporary folder";
    mPath = std::wstring(temp, length) + L"OstraTest-" +
            strata::utility::Guid::CreateUnique().AsString();
    ASSERT_TRUE(::CreateDirectoryW(LongForm(mPath).c_str(), nullptr))
        << "cannot create the test directory, error " << ::GetLastError();
  }

  void TearDown() override {
    if (mPath.empty()) return;
    EXPECT_TRUE(RemoveTree(LongForm(mPath)))
        << "the test directory could not be removed (a file left open?), error "
        << ::GetLastError();
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, ::GetFileAttributesW(LongForm(mPath).c_str()));
  }

  // The test's directory: an absolute path without a trailing backslash
  // and without the long-path prefix.
  const std::wstring& GetPath() const { return mPath; }

  // inRelative below the test's directory.
  std::wstring PathOf(const std::wstring& inRelative) const { return mPath + L"\\" + inRelative; }

  // Creates a directory (its parent must exist); returns its full path.
  std::wstring MakeDirectory(const std::wstring& inRelative) {
    const std::wstring path = PathOf(inRelative);
    EXPECT_TRUE(::CreateDirectoryW(LongForm(path).c_str(), nullptr))
        << "error " << ::GetLastError();
    return path;
  }

  // Creates (or replaces) a file holding inContent; returns its full path.
  std::wstring MakeFile(const std::wstring& inRelative, const std::string& inContent = "x") {
    const std::wstring path = PathOf(inRelative);
    HANDLE file = ::CreateFileW(LongForm(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_NE(INVALID_HANDLE_VALUE, file) << "error " << ::GetLastError();
    if (file == INVALID_HANDLE_VALUE) return path;
    DWORD written = 0;
    EXPECT_TRUE(::WriteFile(file, inContent.data(), static_cast<DWORD>(inContent.size()), &written,
                            nullptr));
    ::CloseHandle(file);
    return path;
  }

  // Creates nested directories named inComponent below the test's
  // directory until the full path is at least inMinLength characters long;
  // returns that path (no trailing backslash). Levels that exist are kept,
  // so a second call goes on deeper.
  std::wstring MakeDeepDirectory(std::size_t inMinLength,
                                 const std::wstring& inComponent = L"deep-directory-level") {
    std::wstring relative;
    while (PathOf(relative).size() < inMinLength) {
      relative += (relative.empty() ? L"" : L"\\") + inComponent;
      if (!::CreateDirectoryW(LongForm(PathOf(relative)).c_str(), nullptr) &&
          ::GetLastError() != ERROR_ALREADY_EXISTS) {
        ADD_FAILURE() << "error " << ::GetLastError();
        break;
      }
    }
    return PathOf(relative);
  }

  // \\?\C:\... for C:\..., so that paths of any length reach the system.
  static std::wstring LongForm(const std::wstring& inPath) {
    return inPath.compare(0, 4, L"\\\\?\\") == 0 ? inPath : L"\\\\?\\" + inPath;
  }

 private:
  // Deletes a directory and everything in it (read-only entries included);
  // false on the first entry that cannot be removed.
  static bool RemoveTree(const std::wstring& inLongPath) {
    WIN32_FIND_DATAW entry;
    HANDLE find = ::FindFirstFileW((inLongPath + L"\\*").c_str(), &entry);
    bool removed = true;
    if (find != INVALID_HANDLE_VALUE) {
      do {
        const std::wstring name = entry.cFileName;
        if (name == L"." || name == L"..") continue;
        const std::wstring child = inLongPath + L"\\" + name;
        if (entry.dwFileAttributes & FILE_ATTRIBUTE_READONLY)
          ::SetFileAttributesW(child.c_str(), entry.dwFileAttributes & ~FILE_ATTRIBUTE_READONLY);
        if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
          removed = RemoveTree(child) && removed;
        else
          removed = ::DeleteFileW(child.c_str()) && removed;
      } while (::FindNextFileW(find, &entry));
      ::FindClose(find);
    }
    return ::RemoveDirectoryW(inLongPath.c_str()) && removed;
  }

  std::wstring mPath;
};

}  // namespace OstraTest
