#include "strata/FileSupport.h"

#include <windows.h>

#include <utility>
#include <vector>

#include "strata/Config.h"

namespace strata {
namespace filesupport {

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

wchar_t FoldAscii(wchar_t inChar) {
  return (inChar >= L'A' && inChar <= L'Z') ? static_cast<wchar_t>(inChar - L'A' + L'a') : inChar;
}

// '*' and '?' as the system's listing treats them, ASCII letters without
// regard to case.
bool MatchesPattern(const wchar_t* inName, const wchar_t* inPattern) {
  const wchar_t* starPattern = nullptr;
  const wchar_t* starName = nullptr;
  while (*inName) {
    if (*inPattern == L'*') {
      starPattern = ++inPattern;
      starName = inName;
    } else if (*inPattern == L'?' || (*inPattern && FoldAscii(*inPattern) == FoldAscii(*inName))) {
      ++inPattern;
      ++inName;
    } else if (starPattern) {
      inPattern = starPattern;
      inName = ++starName;
    } else {
      return false;
    }
  }
  while (*inPattern == L'*') ++inPattern;
  return *inPattern == 0;
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

// ------------------------------------------------------------------- File

class File::PrivateImpl : public strata::Impl {
 public:
  explicit PrivateImpl(const UTF16String& inPath) : mPath(inPath) {}
  UTF16String mPath;
};

File::File() : mImpl(new PrivateImpl(UTF16String())) {}
File::File(const UTF16String& inFullPath) : mImpl(new PrivateImpl(inFullPath)) {}
File::File(const File& inOther) : mImpl(new PrivateImpl(inOther.mImpl->mPath)) {}
File& File::operator=(const File& inOther) {
  mImpl->mPath = inOther.mImpl->mPath;
  return *this;
}
File::~File() = default;
UTF16String File::FullPath() const { return mImpl->mPath; }

// -------------------------------------------------------------------- Dir

class Dir::PrivateImpl : public strata::Impl {
 public:
  PrivateImpl(const UTF16String& inPath, StorageType::Type inType) : mPath(inPath), mType(inType) {}
  UTF16String mPath;
  StorageType::Type mType;
};

Dir::Dir(const UTF16String& inPath, StorageType::Type inStorageType) {
  if (inPath.empty())
    config::ThrowError(config::ErrorLevel::kError,
                       "$$$/strata/filesupport/Error/BadPath=The path is not valid: ^1", inPath);
  std::vector<wchar_t> buffer(MAX_PATH + 1);
  DWORD length = ::GetFullPathNameW(inPath.c_str(), static_cast<DWORD>(buffer.size()),
                                    buffer.data(), nullptr);
  if (length >= buffer.size()) {
    buffer.resize(length + 1);
    length = ::GetFullPathNameW(inPath.c_str(), static_cast<DWORD>(buffer.size()), buffer.data(),
                                nullptr);
  }
  if (length == 0 || length >= buffer.size())
    config::ThrowError(config::ErrorLevel::kError,
                       "$$$/strata/filesupport/Error/BadPath=The path is not valid: ^1", inPath);
  UTF16String full(buffer.data(), length);
  while (!full.empty() && IsSeparator(full.back())) full.pop_back();
  mImpl.reset(new PrivateImpl(full, inStorageType));
}

Dir::Dir(const Dir& inOther) : mImpl(new PrivateImpl(inOther.mImpl->mPath, inOther.mImpl->mType)) {}
Dir& Dir::operator=(const Dir& inOther) {
  mImpl->mPath = inOther.mImpl->mPath;
  mImpl->mType = inOther.mImpl->mType;
  return *this;
}
Dir::~Dir() = default;
UTF16String Dir::FullPath() const { return mImpl->mPath; }
StorageType::Type Dir::GetStorageType() const { return mImpl->mType; }

// -------------------------------------------------- RecursiveFileIterator

// A stack of open listings, deepest last. The walk descends into a
// directory as soon as it is found and returns to the parent when the
// directory's listing ends.
class RecursiveFileIterator::PrivateImpl : public strata::Impl {
 public:
  struct Level {
    FindHandle mFind;
    UTF16String mPath;  // caller's form, no trailing separator
    WIN32_FIND_DATAW mEntry;
    bool mFresh;  // mEntry still holds the first entry, not yet looked at
  };

  PrivateImpl(const Dir& inDir, bool inFollow, CancelFunction inCancel,
              const UTF16String& inPattern, FileFilter inFilter)
      : mFollow(inFollow), mCancel(std::move(inCancel)), mPattern(inPattern),
        mFilter(std::move(inFilter)) {
    if (mPattern.empty()) mPattern = L"*";
    Push(inDir.FullPath());
    Advance();
  }

  bool AtEnd() const { return mLevels.empty(); }

  void Push(const UTF16String& inPath) {
    WIN32_FIND_DATAW first;
    HANDLE find = ::FindFirstFileExW(ToSystemPath(inPath + L"\\*").c_str(), FindExInfoBasic,
                                     &first, FindExSearchNameMatch, nullptr, 0);
    if (find == INVALID_HANDLE_VALUE) return;  // vanished or unreadable: passed over
    mLevels.push_back(Level{FindHandle(find), inPath, first, true});
  }

  // Moves to the next file of the tree, or to the end.
  void Advance() {
    while (!mLevels.empty()) {
      if (mCancel && mCancel()) {
        mLevels.clear();
        return;
      }
      Level& level = mLevels.back();
      if (!level.mFresh && !::FindNextFileW(level.mFind.Get(), &level.mEntry)) {
        mLevels.pop_back();
        continue;
      }
      level.mFresh = false;
      const WIN32_FIND_DATAW& entry = level.mEntry;
      const UTF16String name = entry.cFileName;
      if (name == L"." || name == L"..") continue;
      const UTF16String path = level.mPath + L"\\" + name;
      if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
        if (mFollow || !(entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT)) Push(path);
        continue;
      }
      if (!MatchesPattern(name.c_str(), mPattern.c_str())) continue;
      File file(path);
      if (mFilter && !mFilter(file)) continue;
      mCurrent = file;
      return;
    }
  }

  bool mFollow;
  CancelFunction mCancel;
  UTF16String mPattern;
  FileFilter mFilter;
  std::vector<Level> mLevels;
  File mCurrent;
};

RecursiveFileIterator::RecursiveFileIterator() = default;
RecursiveFileIterator::RecursiveFileIterator(const Dir& inDir, bool inFollowReparsePoints,
                                             CancelFunction inCancel,
                                             const UTF16String& inPattern, FileFilter inFilter)
    : mImpl(new PrivateImpl(inDir, inFollowReparsePoints, std::move(inCancel), inPattern,
                            std::move(inFilter))) {}
RecursiveFileIterator::RecursiveFileIterator(RecursiveFileIterator&& ioOther) noexcept = default;
RecursiveFileIterator& RecursiveFileIterator::operator=(RecursiveFileIterator&& ioOther) noexcept =
    default;
RecursiveFileIterator::~RecursiveFileIterator() = default;

const File& RecursiveFileIterator::operator*() const { return mImpl->mCurrent; }
const File* RecursiveFileIterator::operator->() const { return &mImpl->mCurrent; }

RecursiveFileIterator& RecursiveFileIterator::operator++() {
  if (mImpl) mImpl->Advance();
  return *this;
}

bool RecursiveFileIterator::operator==(const RecursiveFileIterator& inOther) const {
  const bool atEnd = !mImpl || mImpl->AtEnd();
  const bool otherAtEnd = !inOther.mImpl || inOther.mImpl->AtEnd();
  return (atEnd && otherAtEnd) || this == &inOther;
}

}  // namespace filesupport
}  // namespace strata
