// The Windows half of File: opening with the cache decision, direct
// reads and writes, the file pointer, times and sizes, shared positional
// reads, and the operations on files by path.
#include <windows.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "../BlockCachePrivate.h"
#include "../FilePrivate.h"
#include "../LibraryState.h"
#include "Ostra/DiskUtils.h"
#include "Ostra/PathUtils.h"
#include "Ostra/Result.h"
#include "strata/Debug.h"

namespace Ostra {

namespace {

static_assert(FileShareModeFlags::kShareRead == FILE_SHARE_READ &&
                  FileShareModeFlags::kShareWrite == FILE_SHARE_WRITE &&
                  FileShareModeFlags::kShareDelete == FILE_SHARE_DELETE,
              "share modes pass to Windows bit for bit");
static_assert(FilePointerMoveMethod::kBegin == FILE_BEGIN &&
                  FilePointerMoveMethod::kCurrent == FILE_CURRENT &&
                  FilePointerMoveMethod::kEnd == FILE_END,
              "move methods pass to Windows unchanged");

const std::uint32_t kMinimumBlockSize = 0x10000;
const std::uint32_t kLargeFileBlockSize = 0x200000;
const std::uint64_t kLargeFileThreshold = 0x400001;

DWORD MapAccess(int inAccess) {
  DWORD access = 0;
  if (inAccess & FileAccessFlags::kFileRead) access |= GENERIC_READ;
  if (inAccess & FileAccessFlags::kFileWrite) access |= GENERIC_WRITE;
  if (inAccess & FileAccessFlags::kFileExecute) access |= GENERIC_EXECUTE;
  return access;
}

// Or-ed over every bit set: a combination is passed on, not rejected.
DWORD MapDisposition(int inDisposition) {
  DWORD disposition = 0;
  if (inDisposition & FileCreateDispositionFlags::kCreateNew) disposition |= CREATE_NEW;
  if (inDisposition & FileCreateDispositionFlags::kCreateAlways) disposition |= CREATE_ALWAYS;
  if (inDisposition & FileCreateDispositionFlags::kOpenAlways) disposition |= OPEN_ALWAYS;
  if (inDisposition & FileCreateDispositionFlags::kOpenExisting) disposition |= OPEN_EXISTING;
  if (inDisposition & FileCreateDispositionFlags::kTruncateExisting)
    disposition |= TRUNCATE_EXISTING;
  return disposition;
}

DWORD MapAttributes(int inAttributes) {
  DWORD attributes = 0;
  if (inAttributes & FileAttributesFlags::kNormal) attributes |= FILE_ATTRIBUTE_NORMAL;
  if (inAttributes & FileAttributesFlags::kSequentialScan) attributes |= FILE_FLAG_SEQUENTIAL_SCAN;
  if (inAttributes & FileAttributesFlags::kNoBuffering) attributes |= FILE_FLAG_NO_BUFFERING;
  if (inAttributes & FileAttributesFlags::kBackupSemantics)
    attributes |= FILE_FLAG_BACKUP_SEMANTICS;
  return attributes;
}

std::uint64_t FromFileTime(const FILETIME& inTime) {
  return (static_cast<std::uint64_t>(inTime.dwHighDateTime) << 32) | inTime.dwLowDateTime;
}

// target = inBase + inDelta, kept within 0..inSize without overflowing.
std::uint64_t ClampedMove(std::uint64_t inBase, std::int64_t inDelta, std::uint64_t inSize) {
  if (inBase > inSize) inBase = inSize;
  if (inDelta >= 0) {
    const std::uint64_t delta = static_cast<std::uint64_t>(inDelta);
    return delta >= inSize - inBase ? inSize : inBase + delta;
  }
  const std::uint64_t back = static_cast<std::uint64_t>(-(inDelta + 1)) + 1;
  return back >= inBase ? 0 : inBase - back;
}

// ReadFile at an offset given in an OVERLAPPED (no event): the file
// pointer is not consulted. The end of the file is success with 0 bytes.
Result ReadAtOffset(HANDLE inHandle, std::uint64_t inOffset, void* outData, std::uint32_t inSize,
                    std::uint32_t& outBytes) {
  OVERLAPPED overlapped = {};
  overlapped.Offset = static_cast<DWORD>(inOffset);
  overlapped.OffsetHigh = static_cast<DWORD>(inOffset >> 32);
  DWORD got = 0;
  if (!::ReadFile(inHandle, outData, inSize, &got, &overlapped)) {
    const DWORD error = ::GetLastError();
    if (error != ERROR_HANDLE_EOF) {
      outBytes = got;
      return Win::SystemErrorToOstraResult(error);
    }
    // The request has completed already on a handle opened for synchronous
    // I/O, so this returns at once with the count (0).
    ::GetOverlappedResult(inHandle, &overlapped, &got, TRUE);
  }
  outBytes = got;
  return kSuccess;
}

strata::debug::DebugOption& SwapRetryIntervalOption() {
  static strata::debug::DebugOption sOption("Ostra.Win.SwapTempFileRetryIntervalMs", "10");
  return sOption;
}

// Unsigned decimal milliseconds; text that is not a number gives 0.
DWORD SwapRetryIntervalMs() {
  const std::string text = SwapRetryIntervalOption().GetText();
  return static_cast<DWORD>(std::strtoul(text.c_str(), nullptr, 10));
}

BOOL ReplaceNormalized(const UTF16String& inTarget, const UTF16String& inTemp,
                       const UTF16String& inBackup) {
  return ::ReplaceFileW(PathUtils::ToNormalizedPath(inTarget).c_str(),
                        PathUtils::ToNormalizedPath(inTemp).c_str(),
                        PathUtils::ToNormalizedPath(inBackup).c_str(),
                        REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr, nullptr);
}

struct CopyProgressContext {
  FileCopyProgressCallback mCallback;
  void* mUserData;
};

DWORD CALLBACK CopyProgressRoutine(LARGE_INTEGER inTotalSize, LARGE_INTEGER inTransferred,
                                   LARGE_INTEGER, LARGE_INTEGER, DWORD, DWORD, HANDLE, HANDLE,
                                   LPVOID inContext) {
  const CopyProgressContext* context = static_cast<const CopyProgressContext*>(inContext);
  if (!context) return PROGRESS_CANCEL;
  // An empty file reports 0 of 0: the callback sees not-a-number.
  const float fraction =
      static_cast<float>(inTransferred.QuadPart) / static_cast<float>(inTotalSize.QuadPart);
  return context->mCallback(fraction, context->mUserData) ? PROGRESS_CONTINUE : PROGRESS_CANCEL;
}

// The attribute data behind the time queries by path: ePathNotFound for a
// path the system cannot take, eFileNotFound when nothing of the wanted
// kind (a folder when inWantFolder, else a file) is there.
Result GetPathAttributes(const UTF16String& inPath, bool inWantFolder,
                         WIN32_FILE_ATTRIBUTE_DATA& outData) {
  if (!PathUtils::IsValidPath(inPath)) return ePathNotFound;
  const UTF16String normalized = PathUtils::ToNormalizedPath(inPath);
  if (!PathUtils::IsWinAPIAcceptablePath(normalized)) return ePathNotFound;
  if (!::GetFileAttributesExW(normalized.c_str(), GetFileExInfoStandard, &outData))
    return eFileNotFound;
  const bool isFolder = (outData.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return isFolder == inWantFolder ? kSuccess : eFileNotFound;
}

// What tells this version of the open file from the next beyond path,
// write time and size. The id comes from FileIdInfo (128 bits, ReFS needs
// them all) or, where a file system or older Windows refuses that, from
// the 64-bit index. Fields a query does not fill stay 0 (unknown); Wine
// fills them all, from the device, inode and ctime of the file.
FileIdentity ReadFileIdentity(HANDLE inHandle) {
  FileIdentity identity;
  FILE_BASIC_INFO basic = {};
  if (::GetFileInformationByHandleEx(inHandle, FileBasicInfo, &basic, sizeof basic) &&
      basic.ChangeTime.QuadPart > 0)
    identity.changeTime = static_cast<std::uint64_t>(basic.ChangeTime.QuadPart);
  FILE_ID_INFO id = {};
  BY_HANDLE_FILE_INFORMATION information = {};
  if (::GetFileInformationByHandleEx(inHandle, FileIdInfo, &id, sizeof id)) {
    identity.volume = id.VolumeSerialNumber;
    static_assert(sizeof id.FileId.Identifier == 16, "a 128-bit file id");
    std::memcpy(&identity.idLow, id.FileId.Identifier, 8);
    std::memcpy(&identity.idHigh, id.FileId.Identifier + 8, 8);
  } else if (::GetFileInformationByHandle(inHandle, &information)) {
    identity.volume = information.dwVolumeSerialNumber;
    identity.idLow = static_cast<std::uint64_t>(information.nFileIndexHigh) << 32 |
                     information.nFileIndexLow;
  }
  return identity;
}

}  // namespace

// ---------------------------------------------------------------- reading

void* ReopenForReading(void* inHandle) {
  return ::ReOpenFile(inHandle, GENERIC_READ,
                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                      FILE_FLAG_NO_BUFFERING);
}

Result ReadSequentially(void* inHandle, std::uint64_t inOffset, std::uint64_t& ioPointer,
                        void* outData, std::uint32_t inSize, std::uint32_t& outBytes) {
  outBytes = 0;
  if (ioPointer != inOffset) {
    LARGE_INTEGER start;
    start.QuadPart = static_cast<LONGLONG>(inOffset);
    ioPointer = UINT64_MAX;
    if (!::SetFilePointerEx(inHandle, start, nullptr, FILE_BEGIN))
      return Win::SystemErrorToOstraResult(::GetLastError());
  }
  DWORD got = 0;
  if (!::ReadFile(inHandle, outData, inSize, &got, nullptr)) {
    ioPointer = UINT64_MAX;
    return Win::SystemErrorToOstraResult(::GetLastError());
  }
  ioPointer = inOffset + got;
  outBytes = got;
  return kSuccess;
}

Result File::PrivateImpl::ReadBlockFromDisk(std::uint64_t inBlockStart, bool inPositional,
                                            unsigned char* outData, std::uint32_t inSize,
                                            std::uint32_t& outBytes) {
  outBytes = 0;
  if (inPositional) return ReadAtOffset(mHandle.Get(), inBlockStart, outData, inSize, outBytes);
  // Always moved: whoever holds the File's handle may have moved it.
  std::uint64_t unknown = UINT64_MAX;
  return ReadSequentially(mHandle.Get(), inBlockStart, unknown, outData, inSize, outBytes);
}

Result File::Read(void* outBuffer, std::uint32_t inCount, std::uint32_t& outRead) {
  PrivateImpl& impl = *mImpl;
  // The hit path: all of it inside the last block (never true for a File
  // that is closed or uncached, whose hit length is 0).
  const std::uint64_t offset = impl.mPosition - impl.mHitStart;
  if (offset < impl.mHitLength && inCount <= impl.mHitLength - offset) {
    CopyBytes(outBuffer, impl.mHitData + offset, inCount);
    impl.mPosition += inCount;
    outRead = inCount;
    return kSuccess;
  }
  return impl.ReadBeyondHitBlock(*this, outBuffer, inCount, outRead);
}

Result File::PrivateImpl::ReadBeyondHitBlock(const File& inFile, void* outBuffer,
                                             std::uint32_t inCount, std::uint32_t& outRead) {
  outRead = 0;
  // Read has no assertion of its own; a closed File reads nothing.
  if (!inFile.IsOpen()) return eFileNotFound;
  if (IsCached()) {
    const Result result =
        CachedRead(mPosition, inFile.SizeOnDisk(), outBuffer, inCount, outRead, nullptr);
    if (strata::ResultSucceeded(result)) mPosition += outRead;
    return result;
  }
  DWORD got = 0;
  const BOOL succeeded = ::ReadFile(mHandle.Get(), outBuffer, inCount, &got, nullptr);
  outRead = got;
  return succeeded ? kSuccess : Win::SystemErrorToOstraResult(::GetLastError());
}

Result SharedFile::ReadAt(void* outBuffer, std::int64_t inOffset, std::uint32_t inCount,
                          std::uint32_t& outRead) {
  outRead = 0;
  if (!IsOpen()) return eFileNotFound;
  if (inOffset < 0) return eUnknown;
  const std::uint64_t offset = static_cast<std::uint64_t>(inOffset);
  if (mImpl->IsCached())
    return mImpl->CachedRead(offset, SizeOnDisk(), outBuffer, inCount, outRead,
                             &mSharedImpl->mReads);
  if (inCount == 0) return kSuccess;
  return ReadAtOffset(mImpl->mHandle.Get(), offset, outBuffer, inCount, outRead);
}

// ---------------------------------------------------------- open and close

Result File::Create(const UTF16String& inPath, FileAccessFlags::Type inAccess,
                    FileShareModeFlags::Type inShareMode,
                    FileCreateDispositionFlags::Type inDisposition,
                    FileAttributesFlags::Type inAttributes, bool inAllowDirectory) {
  STRATA_INPUT_CONTRACT(!IsOpen());
  if (!inAllowDirectory && PathUtils::IsDirectory(inPath)) return eUnknown;
  // Copied before anything is opened: storing it later cannot fail then.
  UTF16String path(inPath);

  int attributes = inAttributes;
  // Only a file nobody else writes (or whose owner says caching is safe)
  // may be served from blocks read earlier.
  const bool cacheable = inAccess == FileAccessFlags::kFileRead &&
                         !(inAttributes & FileAttributesFlags::kNoBuffering) &&
                         ((inAttributes & FileAttributesFlags::kAllowCaching) ||
                          !(inShareMode & FileShareModeFlags::kShareWrite));
  if (cacheable) {
    const strata::classref::InterfaceRef<IFileBufferFactory> factory =
        Foundation::GetFileBufferFactory();
    if (factory) {
      mImpl->mFileBuffer = factory->CreateFileBuffer();
      mImpl->mPosition = 0;
      if (!mImpl->mBufferSizeSet)
        DiskUtils::GetEfficientDiskBufferSizeFromPath(inPath, mImpl->mBlockSize);
      if (mImpl->mBlockSize < kMinimumBlockSize) mImpl->mBlockSize = kMinimumBlockSize;
      // Whole blocks go to the cache; Windows need not buffer them too.
      if (mImpl->mFileBuffer) attributes |= FileAttributesFlags::kNoBuffering;
    }
  }

  Result result = kSuccess;
  if (!PathUtils::IsWinAPIAcceptablePath(inPath)) {
    result = ePathNotFound;
  } else {
    const DWORD disposition = MapDisposition(inDisposition);
    HANDLE handle = ::CreateFileW(PathUtils::ToNormalizedPath(inPath).c_str(),
                                  MapAccess(inAccess), static_cast<DWORD>(inShareMode) & 7,
                                  nullptr, disposition, MapAttributes(attributes), nullptr);
    if (handle == INVALID_HANDLE_VALUE)
      result = Win::SystemErrorToOstraResult(::GetLastError());
    else
      mImpl->mHandle.Reset(handle);
  }
  mImpl->mPath.swap(path);
  if (!strata::ResultSucceeded(result)) {
    // A File that did not open holds no cache of its own.
    mImpl->mFileBuffer.Reset();
    return result;
  }

  if (mImpl->IsCached()) {
    std::uint64_t time = 0;
    GetLastModificationTime(time);
    const std::uint64_t size = SizeOnDisk();
    // The library's own cache also learns what tells this version from a
    // same-size rewrite that kept the write time, and how far this File
    // reads ahead; a host's cache only the three.
    LibraryFileBuffer* const own = AsLibraryFileBuffer(mImpl->mFileBuffer.Get());
    if (own) own->SetFileIdentity(ReadFileIdentity(mImpl->mHandle.Get()));
    try {
      mImpl->mFileBuffer->SetFile(time, inPath, size);
    } catch (...) {
      // A cache that cannot take the file leaves nothing open behind it.
      Close();
      throw;
    }
    if (own) own->SetReadAhead(mImpl->mReadAheadBlocks);
    if (!mImpl->mBufferSizeSet && size >= kLargeFileThreshold &&
        mImpl->mBlockSize < kLargeFileBlockSize)
      mImpl->mBlockSize = kLargeFileBlockSize;
  }
  return kSuccess;
}

Result File::Open(const UTF16String& inPath, FileAccessFlags::Type inAccess, File& ioFile,
                  bool inExistsCheckFlag) {
  if (!PathUtils::ExistsOnDisk(inPath, inExistsCheckFlag)) return kFileMinusOne;
  return ioFile.Create(inPath, inAccess,
                       FileShareModeFlags::kShareRead | FileShareModeFlags::kShareWrite |
                           FileShareModeFlags::kShareDelete,
                       FileCreateDispositionFlags::kOpenExisting, FileAttributesFlags::kNormal,
                       false);
}

void File::Close() {
  // Read-ahead ends first; it waits for the read in progress.
  mImpl->StopReadAhead();
  mImpl->ClearHitBlock();
  mImpl->mHandle.Close();
  // Close always closes, also from the destructor: a cache that throws
  // loses the rest of its unpins rather than keeping the File half open.
  std::map<std::uint64_t, std::uint64_t> pinned;
  pinned.swap(mImpl->mPinnedBlocks);
  if (!pinned.empty()) {
    IFileBuffer& buffer = *mImpl->mFileBuffer;
    try {
      for (const auto& block : pinned) buffer.UnpinBlock(block.second, mImpl->mBlockSize);
    } catch (...) {
    }
  }
  mImpl->mFileBuffer.Reset();
  mImpl->mLastBlock.reset();
  if (mImpl->mThreadBlocks) mImpl->mThreadBlocks->Clear();
  mImpl->mKnownSize.store(0);
}

bool File::IsOpen() const { return mImpl->mHandle.Get() != INVALID_HANDLE_VALUE; }

void* File::GetPlatformFileHandle() { return mImpl->mHandle.Get(); }

// ---------------------------------------------------------------- writing

Result File::Write(const void* inBuffer, std::uint32_t inCount, std::uint32_t& outWritten) {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(IsOpen(), "Write called on a File that isn't open. Please report this error.");
    return eFileNotFound;
  }
  DWORD written = 0;
  const BOOL succeeded = ::WriteFile(mImpl->mHandle.Get(), inBuffer, inCount, &written, nullptr);
  const DWORD error = succeeded ? 0 : ::GetLastError();
  outWritten = written;
  return succeeded ? kSuccess : Win::SystemErrorToOstraResult(error);
}

Result File::Flush() {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(IsOpen(), "Flush called on a File that isn't open. Please report this error.");
    return eFileNotFound;
  }
  if (!::FlushFileBuffers(mImpl->mHandle.Get()))
    return Win::SystemErrorToOstraResult(::GetLastError());
  return kSuccess;
}

Result File::SetEndOfFile() {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(IsOpen(),
                       "SetEndOfFile called on a File that isn't open. Please report this error.");
    return eFileNotFound;
  }
  return ::SetEndOfFile(mImpl->mHandle.Get()) ? kSuccess : kFileMinusOne;
}

// ------------------------------------------------------------ the pointer

Result File::SetFilePointer(std::int64_t inDistance, FilePointerMoveMethod::Type inMethod) {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(IsOpen(),
                       "SetFilePointer called on a File that isn't open. Please report this error.");
    return eFileNotFound;
  }
  if (mImpl->IsCached()) {
    const std::uint64_t size = SizeOnDisk();
    switch (inMethod) {
      case FilePointerMoveMethod::kBegin:
        mImpl->mPosition = ClampedMove(0, inDistance, size);
        break;
      case FilePointerMoveMethod::kCurrent:
        mImpl->mPosition = ClampedMove(mImpl->mPosition, inDistance, size);
        break;
      case FilePointerMoveMethod::kEnd:
        // Both signs count back from the end: callers pass either.
        mImpl->mPosition = ClampedMove(size, inDistance > 0 ? -inDistance : inDistance, size);
        break;
      default:
        return eUnknown;
    }
    return kSuccess;
  }
  DWORD method = FILE_CURRENT;
  if (inMethod == FilePointerMoveMethod::kBegin) method = FILE_BEGIN;
  if (inMethod == FilePointerMoveMethod::kEnd) method = FILE_END;
  LARGE_INTEGER distance;
  distance.QuadPart = inDistance;
  // Deliberately compared with -1, which SetFilePointerEx never returns:
  // callers rely on a direct move always reporting success.
  if (::SetFilePointerEx(mImpl->mHandle.Get(), distance, nullptr, method) == -1)
    return kFileMinusOne;
  return kSuccess;
}

Result File::GetFilePointer(std::int64_t& outPosition) const {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(IsOpen(),
                       "GetFilePointer called on a File that isn't open. Please report this error.");
    return eFileNotFound;
  }
  if (mImpl->IsCached()) {
    outPosition = static_cast<std::int64_t>(mImpl->mPosition);
    return kSuccess;
  }
  LARGE_INTEGER zero = {};
  LARGE_INTEGER position;
  position.QuadPart = 0;
  // The same comparison with -1 as SetFilePointer: a failed query gives 0.
  if (::SetFilePointerEx(mImpl->mHandle.Get(), zero, &position, FILE_CURRENT) == -1)
    return kFileMinusOne;
  outPosition = position.QuadPart;
  return kSuccess;
}

// ---------------------------------------------------------- times and size

Result File::GetCreationTime(std::uint64_t& outTime) const {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(IsOpen(),
                       "GetCreationTime called on a File that isn't open. Please report this error.");
    return eFileNotFound;
  }
  FILETIME created;
  if (!::GetFileTime(mImpl->mHandle.Get(), &created, nullptr, nullptr))
    return Win::SystemErrorToOstraResult(::GetLastError());
  outTime = FromFileTime(created);
  return kSuccess;
}

Result File::GetLastModificationTime(std::uint64_t& outTime) const {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(
        IsOpen(),
        "GetLastModificationTime called on a File that isn't open. Please report this error.");
    return eFileNotFound;
  }
  FILETIME written;
  if (!::GetFileTime(mImpl->mHandle.Get(), nullptr, nullptr, &written))
    return Win::SystemErrorToOstraResult(::GetLastError());
  outTime = FromFileTime(written);
  return kSuccess;
}

std::uint64_t File::SizeOnDisk() const {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(IsOpen(),
                       "SizeOnDisk called on a File that isn't open. Please report this error.");
    return 0;
  }
  const std::uint64_t known = mImpl->mKnownSize.load();
  if (known != 0 && mImpl->IsCached()) return known;
  LARGE_INTEGER size;
  if (!::GetFileSizeEx(mImpl->mHandle.Get(), &size)) size.QuadPart = 0;
  mImpl->mKnownSize.store(static_cast<std::uint64_t>(size.QuadPart));
  return static_cast<std::uint64_t>(size.QuadPart);
}

FileSystemType::Type File::GetFileSystemType() const {
  if (!IsOpen()) {
    STRATA_ASSERT_ONCE(
        IsOpen(), "GetFileSystemType called on a File that isn't open. Please report this error.");
  }
  return FileSystemType::kUnknown;
}

// ---------------------------------------------------------- files by path

Result File::Copy(const UTF16String& inFrom, const UTF16String& inTo) {
  if (!::CopyFileW(inFrom.c_str(), inTo.c_str(), FALSE))
    return Win::SystemErrorToOstraResult(::GetLastError());
  return kSuccess;
}

Result File::CopyWithProgress(const UTF16String& inFrom, const UTF16String& inTo,
                              FileCopyProgressCallback inCallback, void* inUserData) {
  STRATA_INPUT_CONTRACT(inCallback != nullptr);
  CopyProgressContext context = {inCallback, inUserData};
  BOOL cancel = FALSE;
  if (::CopyFileExW(inFrom.c_str(), inTo.c_str(), CopyProgressRoutine, &context, &cancel, 0))
    return kSuccess;
  // This copy has its own rule: anything unexpected means the target
  // could not be written.
  switch (::GetLastError()) {
    case ERROR_FILE_NOT_FOUND: return eFileNotFound;
    case ERROR_PATH_NOT_FOUND: return ePathNotFound;
    case ERROR_ACCESS_DENIED: return eAccessDenied;
    case ERROR_REQUEST_ABORTED: return eCanceled;
    default: return eDiskFull;
  }
}

Result File::Move(const UTF16String& inFrom, const UTF16String& inTo) {
  if (!::MoveFileW(PathUtils::ToNormalizedPath(inFrom).c_str(),
                   PathUtils::ToNormalizedPath(inTo).c_str()))
    return Win::SystemErrorToOstraResult(::GetLastError());
  return kSuccess;
}

Result File::Delete(const UTF16String& inPath) {
  if (!::DeleteFileW(PathUtils::ToNormalizedPath(inPath).c_str()))
    return Win::SystemErrorToOstraResult(::GetLastError());
  return kSuccess;
}

Result File::SwapTempFile(const UTF16String& inTempPath, const UTF16String& inTargetPath) {
  if (inTempPath.empty() || inTargetPath.empty()) {
    STRATA_ASSERT_ONCE(!inTempPath.empty() && !inTargetPath.empty(),
                       "SwapTempFile(" + strata::string::UTF16toStdString(inTempPath) + ", " +
                           strata::string::UTF16toStdString(inTargetPath) +
                           ") called with an empty path. Please report this error.");
    return eFileNotFound;
  }
  const UTF16String backup =
      MakeUniqueTempPath(inTargetPath, !PathUtils::GetExtensionPart(inTempPath).empty());

  // ReplaceFile either leaves the target as it was or puts the new file in
  // place; a virus scanner or indexer holding the target briefly is the
  // usual reason to fail, hence one retry after a pause.
  if (!ReplaceNormalized(inTargetPath, inTempPath, backup)) {
    const DWORD error = ::GetLastError();
    STRATA_TRACE("Ostra.File", 6,
                 "SwapTempFile(): ReplaceFile failed, GetLastError: " << error << "\n");
    ::Sleep(SwapRetryIntervalMs());
    if (!ReplaceNormalized(inTargetPath, inTempPath, backup)) {
      const DWORD retryError = ::GetLastError();
      STRATA_TRACE("Ostra.File", 6,
                   "SwapTempFile() Retry: ReplaceFile failed, GetLastError: " << retryError
                                                                              << "\n");
      return Win::SystemErrorToOstraResult(retryError);
    }
  }

  const UTF16String normalizedBackup = PathUtils::ToNormalizedPath(backup);
  if (!::DeleteFileW(normalizedBackup.c_str())) {
    const DWORD error = ::GetLastError();
    STRATA_TRACE("Ostra.File", 6,
                 "SwapTempFile(): DeleteFile failed, GetLastError: " << error << "\n");
    ::Sleep(SwapRetryIntervalMs());
    if (!::DeleteFileW(normalizedBackup.c_str())) {
      const DWORD retryError = ::GetLastError();
      STRATA_TRACE("Ostra.File", 6,
                   "SwapTempFile() Retry: DeleteFile failed, GetLastError: " << retryError
                                                                             << "\n");
    }
  }
  // A stale backup beside the target is no reason to fail: the target holds
  // the new contents.
  return kSuccess;
}

Result File::GetCreationTime(const UTF16String& inPath, std::uint64_t& outTime) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  const Result result = GetPathAttributes(inPath, false, data);
  if (strata::ResultSucceeded(result)) outTime = FromFileTime(data.ftCreationTime);
  return result;
}

Result File::GetLastModificationTime(const UTF16String& inPath, std::uint64_t& outTime) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  const Result result = GetPathAttributes(inPath, false, data);
  if (strata::ResultSucceeded(result)) outTime = FromFileTime(data.ftLastWriteTime);
  return result;
}

Result File::GetLastModificationTimeForFolder(const UTF16String& inPath, std::uint64_t& outTime) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  const Result result = GetPathAttributes(inPath, true, data);
  if (strata::ResultSucceeded(result)) outTime = FromFileTime(data.ftLastWriteTime);
  return result;
}

Result File::SizeOnDisk(const UTF16String& inPath, std::uint64_t& outSize) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!::GetFileAttributesExW(inPath.c_str(), GetFileExInfoStandard, &data)) return eFileNotFound;
  outSize = (static_cast<std::uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
  return kSuccess;
}

}  // namespace Ostra
