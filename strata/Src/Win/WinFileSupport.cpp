// The file system of the Windows build: absolute paths by the system's
// rules, and listings through the long-path form.
#include <windows.h>

#include <memory>
#include <vector>

#include "Platform.h"

namespace strata {
namespace platform {

namespace {

bool IsSeparator(wchar_t inChar) { return inChar == L'\\' || inChar == L'/'; }

// The form the system calls receive: \\?\C:\... and \\?\UNC\srv\..., so
// that no component limit of the classic API applies.
UTF16String ToSystemPath(const UTF16String& inPath) {
  if (inPath.compare(0, 4, L"\\\\?\\") == 0) return inPath;
  if (inPath.size() >= 2 && IsSeparator(inPath[0]) && IsSeparator(inPath[1]))
    return L"\\\\?\\UNC\\" + inPath.substr(2);
  return L"\\\\?\\" + inPath;
}

// Owns one search handle of FindFirstFileW.
class FindHandle {
 public:
  explicit FindHandle(HANDLE inHandle) : mHandle(inHandle) {}
  ~FindHandle() {
    if (mHandle != INVALID_HANDLE_VALUE) ::FindClose(mHandle);
  }
  FindHandle(FindHandle&& ioOther) noexcept : mHandle(ioOther.mHandle) {
    ioOther.mHandle = INVALID_HANDLE_VALUE;
  }
  FindHandle& operator=(FindHandle&&) = delete;
  FindHandle(const FindHandle&) = delete;
  FindHandle& operator=(const FindHandle&) = delete;
  HANDLE Get() const { return mHandle; }

 private:
  HANDLE mHandle;
};

}  // namespace

const wchar_t kPathSeparator = L'\\';

bool MakeAbsolutePath(const UTF16String& inPath, UTF16String& outFull) {
  std::vector<wchar_t> buffer(MAX_PATH + 1);
  DWORD length = ::GetFullPathNameW(inPath.c_str(), static_cast<DWORD>(buffer.size()),
                                    buffer.data(), nullptr);
  if (length >= buffer.size()) {
    buffer.resize(length + 1);
    length = ::GetFullPathNameW(inPath.c_str(), static_cast<DWORD>(buffer.size()), buffer.data(),
                                nullptr);
  }
  if (length == 0 || length >= buffer.size()) return false;
  outFull.assign(buffer.data(), length);
  while (!outFull.empty() && IsSeparator(outFull.back())) outFull.pop_back();
  return true;
}

namespace {

// FindFirstFileExW hands over the first entry with the handle; Next gives
// it out before asking for more.
class WinDirectoryListing : public DirectoryListing {
 public:
  WinDirectoryListing(HANDLE inFind, const WIN32_FIND_DATAW& inFirst)
      : mFind(inFind), mEntry(inFirst) {}

  bool Next(Entry& outEntry) override {
    if (!mFresh && !::FindNextFileW(mFind.Get(), &mEntry)) return false;
    mFresh = false;
    outEntry.mName = mEntry.cFileName;
    outEntry.mIsDirectory = (mEntry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    outEntry.mIsLink = (mEntry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    return true;
  }

 private:
  FindHandle mFind;
  WIN32_FIND_DATAW mEntry;
  bool mFresh = true;  // mEntry still holds the first entry, not yet given out
};

}  // namespace

std::unique_ptr<DirectoryListing> DirectoryListing::Open(const UTF16String& inPath) {
  WIN32_FIND_DATAW first;
  HANDLE find = ::FindFirstFileExW(ToSystemPath(inPath + L"\\*").c_str(), FindExInfoBasic, &first,
                                   FindExSearchNameMatch, nullptr, 0);
  if (find == INVALID_HANDLE_VALUE) return nullptr;
  return std::unique_ptr<DirectoryListing>(new WinDirectoryListing(find, first));
}

}  // namespace platform
}  // namespace strata
