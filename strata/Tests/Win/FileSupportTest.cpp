#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "strata/Config.h"
#include "strata/FileSupport.h"
#include "strata/Utility.h"

namespace {

using strata::UTF16String;
using namespace strata::filesupport;

std::wstring LongForm(const std::wstring& inPath) { return L"\\\\?\\" + inPath; }

class FileSupportTest : public ::testing::Test {
 protected:
  void SetUp() override {
    wchar_t temp[MAX_PATH + 1] = {};
    const DWORD length = ::GetTempPathW(MAX_PATH + 1, temp);
    mRoot = std::wstring(temp, length) + L"StrataFiles-" +
            strata::utility::Guid::CreateUnique().AsString();
    ASSERT_TRUE(::CreateDirectoryW(mRoot.c_str(), nullptr));
  }
  void TearDown() override {
    for (auto it = mCreated.rbegin(); it != mCreated.rend(); ++it) {
      if (!::DeleteFileW(LongForm(*it).c_str())) ::RemoveDirectoryW(LongForm(*it).c_str());
    }
    EXPECT_TRUE(::RemoveDirectoryW(mRoot.c_str())) << "left behind, error " << ::GetLastError();
  }
  std::wstring Dir_(const std::wstring& inRelative) {
    const std::wstring path = mRoot + L"\\" + inRelative;
    EXPECT_TRUE(::CreateDirectoryW(LongForm(path).c_str(), nullptr));
    mCreated.push_back(path);
    return path;
  }
  std::wstring File_(const std::wstring& inRelative) {
    const std::wstring path = mRoot + L"\\" + inRelative;
    HANDLE file = ::CreateFileW(LongForm(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0,
                                nullptr);
    EXPECT_NE(INVALID_HANDLE_VALUE, file);
    ::CloseHandle(file);
    mCreated.push_back(path);
    return path;
  }
  std::vector<UTF16String> Walk(const UTF16String& inPath, const UTF16String& inPattern = L"",
                                RecursiveFileIterator::CancelFunction inCancel = nullptr) {
    std::vector<UTF16String> files;
    for (RecursiveFileIterator it(Dir(inPath, StorageType::kFileSystem), false, inCancel,
                                  inPattern, nullptr);
         it != RecursiveFileIterator(); ++it)
      files.push_back(it->FullPath());
    std::sort(files.begin(), files.end());
    return files;
  }
  std::wstring mRoot;
  std::vector<std::wstring> mCreated;
};

TEST_F(FileSupportTest, DirGivesTheAbsolutePathWithoutTrailingSeparator) {
  EXPECT_EQ(mRoot, Dir(mRoot + L"\\", StorageType::kFileSystem).FullPath());
  EXPECT_EQ(mRoot, Dir(mRoot + L"\\sub\\..", StorageType::kFileSystem).FullPath());
  EXPECT_EQ(mRoot + L"\\missing", Dir(mRoot + L"\\missing", StorageType::kFileSystem).FullPath());
  EXPECT_THROW(Dir(UTF16String(), StorageType::kFileSystem), strata::config::strata_exception);
}

TEST_F(FileSupportTest, IteratorVisitsEveryFileAtEveryDepthAndNoDirectory) {
  File_(L"a.wav");
  Dir_(L"empty");
  Dir_(L"one");
  File_(L"one\\b.txt");
  Dir_(L"one\\two");
  File_(L"one\\two\\\u97f3\U0001F3B5.wav");
  std::wstring deep = L"one\\two";
  while ((mRoot + deep).size() < 300) deep = Dir_(deep + L"\\level").substr(mRoot.size() + 1);
  File_(deep + L"\\far.wav");

  std::vector<UTF16String> expected = {
      mRoot + L"\\a.wav", mRoot + L"\\" + deep + L"\\far.wav", mRoot + L"\\one\\b.txt",
      mRoot + L"\\one\\two\\\u97f3\U0001F3B5.wav"};
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(expected, Walk(mRoot));
  expected.erase(std::find(expected.begin(), expected.end(), mRoot + L"\\one\\b.txt"));
  EXPECT_EQ(expected, Walk(mRoot, L"*.WAV"));
  EXPECT_EQ(std::vector<UTF16String>(), Walk(mRoot + L"\\empty"));
  EXPECT_EQ(std::vector<UTF16String>(), Walk(mRoot + L"\\missing"));
  EXPECT_EQ(std::vector<UTF16String>(), Walk(mRoot, L"", [] { return true; }));
}

}  // namespace
