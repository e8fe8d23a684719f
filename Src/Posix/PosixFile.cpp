// The Posix build's half of File: the calls on an open descriptor that
// File.cpp's shared code makes. It serves the tests' own files: a path is
// taken as the system's (UTF-8 on disk, absolute), share modes have no
// counterpart and are not enforced, and nothing bypasses the page cache.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string>

#include "../FilePrivate.h"
#include "Ostra/Result.h"
#include "strata/String.h"

namespace Ostra {

namespace {

Result ErrnoToResult(int inError) {
  switch (inError) {
    case ENOENT: return eFileNotFound;
    case ENOTDIR:
    case ENAMETOOLONG: return ePathNotFound;
    case EACCES:
    case EPERM:
    case EROFS: return eAccessDenied;
    case ETXTBSY: return eSharingViolation;
    case ENOSPC:
    case EDQUOT: return eDiskFull;
    case EEXIST: return eFileAlreadyExists;
    case ENOMEM: return eOutOfMemory;
    default: return eUnknown;
  }
}

// FILETIME units, as on Windows: 100 ns since 1601.
std::uint64_t FromTimespec(const struct timespec& inTime) {
  if (inTime.tv_sec < 0) return 0;
  return kFileTimeAt1970 + static_cast<std::uint64_t>(inTime.tv_sec) * 10000000ull +
         static_cast<std::uint64_t>(inTime.tv_nsec) / 100;
}

int OpenFlags(int inAccess, int inDisposition) {
  int flags = O_CLOEXEC;
  const bool reads = (inAccess & FileAccessFlags::kFileRead) != 0;
  const bool writes = (inAccess & FileAccessFlags::kFileWrite) != 0;
  flags |= writes ? (reads ? O_RDWR : O_WRONLY) : O_RDONLY;
  // The strongest disposition asked for wins, as the or-ed Windows values do.
  if (inDisposition & FileCreateDispositionFlags::kCreateNew)
    flags |= O_CREAT | O_EXCL;
  else if (inDisposition & FileCreateDispositionFlags::kCreateAlways)
    flags |= O_CREAT | O_TRUNC;
  else if (inDisposition & FileCreateDispositionFlags::kOpenAlways)
    flags |= O_CREAT;
  else if (inDisposition & FileCreateDispositionFlags::kTruncateExisting)
    flags |= O_TRUNC;
  return flags;
}

// Reads until inSize bytes or the end of the file: a regular file's read
// may still come back short when a signal interrupts it.
Result ReadFully(int inDescriptor, const std::uint64_t* inOffset, void* outData,
                 std::uint32_t inSize, std::uint32_t& outBytes) {
  outBytes = 0;
  unsigned char* const out = static_cast<unsigned char*>(outData);
  while (outBytes < inSize) {
    const ssize_t got =
        inOffset ? ::pread(inDescriptor, out + outBytes, inSize - outBytes,
                           static_cast<off_t>(*inOffset + outBytes))
                 : ::read(inDescriptor, out + outBytes, inSize - outBytes);
    if (got < 0) {
      if (errno == EINTR) continue;
      return ErrnoToResult(errno);
    }
    if (got == 0) break;
    outBytes += static_cast<std::uint32_t>(got);
  }
  return kSuccess;
}

}  // namespace

void OwnedFile::Reset(int inDescriptor) {
  if (inDescriptor == mDescriptor) return;
  const int old = mDescriptor;
  mDescriptor = inDescriptor;
  if (old >= 0) ::close(old);
}

// ---------------------------------------------------------- open and close

Result OpenSystemFile(const UTF16String& inPath, int inAccess, int, int inDisposition, int,
                      OwnedFile& outFile) {
  if (inPath.empty() || inPath[0] != L'/') return ePathNotFound;
  const std::string path = strata::string::UTF16toStdString(inPath);
  const int descriptor = ::open(path.c_str(), OpenFlags(inAccess, inDisposition), 0666);
  if (descriptor < 0) return ErrnoToResult(errno);
  outFile.Reset(descriptor);
  return kSuccess;
}

bool IsDirectoryOnDisk(const UTF16String& inPath) {
  struct stat status;
  return ::stat(strata::string::UTF16toStdString(inPath).c_str(), &status) == 0 &&
         S_ISDIR(status.st_mode);
}

// The floor of File's block size serves.
void GetEfficientBlockSize(const UTF16String&, std::uint32_t&) {}

void* File::GetPlatformFileHandle() {
  return reinterpret_cast<void*>(static_cast<std::intptr_t>(mImpl->mHandle.Get()));
}

// ---------------------------------------------------------------- reading

// Reads go by offset (pread), so a duplicate descriptor, which shares the
// file offset, still reads apart from the File's own reads.
NativeFile ReopenForReading(NativeFile inHandle) { return ::fcntl(inHandle, F_DUPFD_CLOEXEC, 0); }

Result ReadSequentially(NativeFile inHandle, std::uint64_t inOffset, std::uint64_t& ioPointer,
                        void* outData, std::uint32_t inSize, std::uint32_t& outBytes) {
  const Result result = ReadFully(inHandle, &inOffset, outData, inSize, outBytes);
  ioPointer = strata::ResultSucceeded(result) ? inOffset + outBytes : UINT64_MAX;
  return result;
}

Result ReadAtOffset(NativeFile inHandle, std::uint64_t inOffset, void* outData,
                    std::uint32_t inSize, std::uint32_t& outBytes) {
  return ReadFully(inHandle, &inOffset, outData, inSize, outBytes);
}

Result ReadAtPointer(NativeFile inHandle, void* outData, std::uint32_t inSize,
                     std::uint32_t& outBytes) {
  return ReadFully(inHandle, nullptr, outData, inSize, outBytes);
}

// ------------------------------------------------------ writing and more

Result WriteAtPointer(NativeFile inHandle, const void* inData, std::uint32_t inSize,
                      std::uint32_t& outBytes) {
  outBytes = 0;
  const unsigned char* const in = static_cast<const unsigned char*>(inData);
  while (outBytes < inSize) {
    const ssize_t written = ::write(inHandle, in + outBytes, inSize - outBytes);
    if (written < 0) {
      if (errno == EINTR) continue;
      return ErrnoToResult(errno);
    }
    outBytes += static_cast<std::uint32_t>(written);
  }
  return kSuccess;
}

Result FlushSystemFile(NativeFile inHandle) {
  return ::fsync(inHandle) == 0 ? kSuccess : ErrnoToResult(errno);
}

Result EndSystemFileHere(NativeFile inHandle) {
  const off_t here = ::lseek(inHandle, 0, SEEK_CUR);
  return here >= 0 && ::ftruncate(inHandle, here) == 0 ? kSuccess : kFileMinusOne;
}

// A move the system refuses leaves the pointer and reports success, as
// Windows callers are used to.
Result MoveSystemFilePointer(NativeFile inHandle, std::int64_t inDistance, int inMethod,
                             std::int64_t& outPosition) {
  int whence = SEEK_CUR;
  if (inMethod == FilePointerMoveMethod::kBegin) whence = SEEK_SET;
  if (inMethod == FilePointerMoveMethod::kEnd) whence = SEEK_END;
  off_t position = ::lseek(inHandle, static_cast<off_t>(inDistance), whence);
  if (position < 0) position = ::lseek(inHandle, 0, SEEK_CUR);
  outPosition = position < 0 ? 0 : static_cast<std::int64_t>(position);
  return kSuccess;
}

// ---------------------------------------------------------- times and size

std::uint64_t SystemFileSize(NativeFile inHandle) {
  struct stat status;
  return ::fstat(inHandle, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

// Linux keeps no creation time in struct stat: the last change of data
// or attributes stands in for it.
Result GetSystemFileTimes(NativeFile inHandle, std::uint64_t* outCreated,
                          std::uint64_t* outWritten) {
  struct stat status;
  if (::fstat(inHandle, &status) != 0) return ErrnoToResult(errno);
  if (outCreated) *outCreated = FromTimespec(status.st_ctim);
  if (outWritten) *outWritten = FromTimespec(status.st_mtim);
  return kSuccess;
}

// The device and inode tell files apart, the change time (which moves
// with every write and every setting of the times) versions.
FileIdentity ReadFileIdentity(NativeFile inHandle) {
  FileIdentity identity;
  struct stat status;
  if (::fstat(inHandle, &status) != 0) return identity;
  identity.volume = static_cast<std::uint64_t>(status.st_dev);
  identity.idLow = static_cast<std::uint64_t>(status.st_ino);
  identity.changeTime = FromTimespec(status.st_ctim);
  return identity;
}

}  // namespace Ostra
