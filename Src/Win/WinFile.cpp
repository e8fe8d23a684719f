// The Windows half of File: the calls on the open handle that File.cpp's
// shared code makes, and the operations on files by path.
#include <windows.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "../FilePrivate.h"
#include "Ostra/DiskUtils.h"
#include "Ostra/PathUtils.h"
#include "Ostra/Result.h"
#include "strata/Debug.h"
#include "strata/Utility.h"

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

}  // namespace

// ---------------------------------------------------------------- reading

NativeFile ReopenForReading(NativeFile inHandle) {
  return ::ReOpenFile(inHandle, GENERIC_READ,
                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                      FILE_FLAG_NO_BUFFERING);
}

Result ReadSequentially(NativeFile inHandle, std::uint64_t inOffset, std::uint64_t& ioPointer,
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

// At an offset given in an OVERLAPPED (no event): the file pointer is not
// consulted.
Result ReadAtOffset(NativeFile inHandle, std::uint64_t inOffset, void* outData,
                    std::uint32_t inSize, std::uint32_t& outBytes) {
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

Result ReadAtPointer(NativeFile inHandle, void* outData, std::uint32_t inSize,
                     std::uint32_t& outBytes) {
  DWORD got = 0;
  const BOOL succeeded = ::ReadFile(inHandle, outData, inSize, &got, nullptr);
  outBytes = got;
  return succeeded ? kSuccess : Win::SystemErrorToOstraResult(::GetLastError());
}

Result WriteAtPointer(NativeFile inHandle, const void* inData, std::uint32_t inSize,
                      std::uint32_t& outBytes) {
  DWORD written = 0;
  const BOOL succeeded = ::WriteFile(inHandle, inData, inSize, &written, nullptr);
  const DWORD error = succeeded ? 0 : ::GetLastError();
  outBytes = written;
  return succeeded ? kSuccess : Win::SystemErrorToOstraResult(error);
}

Result FlushSystemFile(NativeFile inHandle) {
  if (!::FlushFileBuffers(inHandle)) return Win::SystemErrorToOstraResult(::GetLastError());
  return kSuccess;
}

Result EndSystemFileHere(NativeFile inHandle) {
  return ::SetEndOfFile(inHandle) ? kSuccess : kFileMinusOne;
}

Result MoveSystemFilePointer(NativeFile inHandle, std::int64_t inDistance, int inMethod,
                             std::int64_t& outPosition) {
  DWORD method = FILE_CURRENT;
  if (inMethod == FilePointerMoveMethod::kBegin) method = FILE_BEGIN;
  if (inMethod == FilePointerMoveMethod::kEnd) method = FILE_END;
  LARGE_INTEGER distance;
  distance.QuadPart = inDistance;
  LARGE_INTEGER position;
  position.QuadPart = 0;
  // Deliberately compared with -1, which SetFilePointerEx never returns:
  // callers rely on a direct move always reporting success, and a failed
  // query gives 0.
  if (::SetFilePointerEx(inHandle, distance, &position, method) == -1) return kFileMinusOne;
  outPosition = position.QuadPart;
  return kSuccess;
}

std::uint64_t SystemFileSize(NativeFile inHandle) {
  LARGE_INTEGER size;
  if (!::GetFileSizeEx(inHandle, &size)) size.QuadPart = 0;
  return static_cast<std::uint64_t>(size.QuadPart);
}

Result GetSystemFileTimes(NativeFile inHandle, std::uint64_t* outCreated,
                          std::uint64_t* outWritten) {
  FILETIME created, written;
  if (!::GetFileTime(inHandle, outCreated ? &created : nullptr, nullptr,
                     outWritten ? &written : nullptr))
    return Win::SystemErrorToOstraResult(::GetLastError());
  if (outCreated) *outCreated = FromFileTime(created);
  if (outWritten) *outWritten = FromFileTime(written);
  return kSuccess;
}

// The id comes from FileIdInfo (128 bits, ReFS needs them all) or, where a
// file system or older Windows refuses that, from the 64-bit index. Fields
// a query does not fill stay 0 (unknown); Wine fills them all, from the
// device, inode and ctime of the file.
FileIdentity ReadFileIdentity(NativeFile inHandle) {
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

// ---------------------------------------------------------- open and close

Result OpenSystemFile(const UTF16String& inPath, int inAccess, int inShareMode, int inDisposition,
                      int inAttributes, OwnedFile& outFile) {
  if (!PathUtils::IsWinAPIAcceptablePath(inPath)) return ePathNotFound;
  HANDLE handle =
      ::CreateFileW(PathUtils::ToNormalizedPath(inPath).c_str(), MapAccess(inAccess),
                    static_cast<DWORD>(inShareMode) & 7, nullptr, MapDisposition(inDisposition),
                    MapAttributes(inAttributes), nullptr);
  if (handle == INVALID_HANDLE_VALUE) return Win::SystemErrorToOstraResult(::GetLastError());
  outFile.Reset(handle);
  return kSuccess;
}

bool IsDirectoryOnDisk(const UTF16String& inPath) { return PathUtils::IsDirectory(inPath); }

void GetEfficientBlockSize(const UTF16String& inPath, std::uint32_t& ioSize) {
  DiskUtils::GetEfficientDiskBufferSizeFromPath(inPath, ioSize);
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

void* File::GetPlatformFileHandle() { return mImpl->mHandle.Get(); }

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

UTF16String File::MakeUniqueTempPath(const UTF16String& inPath, bool inKeepExtension) {
  const UTF16String directory = PathUtils::GetFullDirectoryPart(inPath);
  UTF16String file = PathUtils::GetFilePart(inPath);
  const UTF16String extension = PathUtils::GetExtensionPart(inPath);

  // Only the name and extension are kept within the classic limit; the
  // folder may be as long as the long-path form allows.
  const std::size_t guidLength = strata::utility::Guid().AsString().size();
  const std::size_t limit = static_cast<std::size_t>(OSTRA_MAX_PATH) - guidLength;
  if (file.size() + extension.size() > limit)
    file.resize(extension.size() < limit ? limit - extension.size() : 0);

  const UTF16String prefix = directory + file + L"~";
  for (;;) {
    UTF16String candidate = prefix + strata::utility::Guid::CreateUnique().AsString();
    if (inKeepExtension) candidate += extension;
    if (!PathUtils::ExistsOnDisk(candidate, false)) return candidate;
  }
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
