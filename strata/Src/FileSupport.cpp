#include "strata/FileSupport.h"

#include <utility>
#include <vector>

#include "Platform.h"
#include "strata/Config.h"

namespace strata {
namespace filesupport {

namespace {

wchar_t FoldAscii(wchar_t inChar) {
  return (inChar >= L'A' && inChar <= L'Z') ? static_cast<wchar_t>(inChar - L'A' + L'a') : inChar;
}

// '*' and '?' as the Windows listing treats them, on every platform; ASCII
// letters without regard to case.
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
  UTF16String full;
  if (inPath.empty() || !platform::MakeAbsolutePath(inPath, full))
    config::ThrowError(config::ErrorLevel::kError,
                       "$$$/strata/filesupport/Error/BadPath=The path is not valid: ^1", inPath);
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
    std::unique_ptr<platform::DirectoryListing> mListing;
    UTF16String mPath;  // caller's form, no trailing separator
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
    std::unique_ptr<platform::DirectoryListing> listing = platform::DirectoryListing::Open(inPath);
    if (!listing) return;  // vanished or unreadable: passed over
    mLevels.push_back(Level{std::move(listing), inPath});
  }

  // Moves to the next file of the tree, or to the end.
  void Advance() {
    platform::DirectoryListing::Entry entry;
    while (!mLevels.empty()) {
      if (mCancel && mCancel()) {
        mLevels.clear();
        return;
      }
      Level& level = mLevels.back();
      if (!level.mListing->Next(entry)) {
        mLevels.pop_back();
        continue;
      }
      if (entry.mName == L"." || entry.mName == L"..") continue;
      const UTF16String path = level.mPath + platform::kPathSeparator + entry.mName;
      if (entry.mIsDirectory) {
        if (mFollow || !entry.mIsLink) Push(path);
        continue;
      }
      if (!MatchesPattern(entry.mName.c_str(), mPattern.c_str())) continue;
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
