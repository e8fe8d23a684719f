/// \file
/// Files: the buffered File object, the shared File that several threads
/// read at once, the operations on files by path, and the flags they take.
#pragma once

#include <cstdint>

#include "Ostra/OstraConfig.h"

namespace Ostra {

/// Desired access of File::Create.
struct FileAccessFlags {
  /// Bits; combine with |.
  enum Type { kFileRead = 1, kFileWrite = 2, kFileExecute = 4 };
};

/// Who else may open the file while it is open; bit for bit the Windows share mode.
struct FileShareModeFlags {
  /// Bits; combine with |.
  enum Type { kShareRead = 1, kShareWrite = 2, kShareDelete = 4 };
};

/// What Create does when the file does or does not exist. Give exactly one.
struct FileCreateDispositionFlags {
  /// The Windows creation dispositions of the same names.
  enum Type {
    kCreateNew = 1,
    kCreateAlways = 2,
    kOpenAlways = 4,
    kOpenExisting = 8,
    kTruncateExisting = 16
  };
};

/// How File::Create opens the file; bits, combined with |.
struct FileAttributesFlags {
  /// The first four set the Windows attribute or flag of the same name.
  enum Type {
    kNormal = 1,
    kSequentialScan = 2,
    kNoBuffering = 4,
    kBackupSemantics = 8,
    /// Use the block cache although the share mode lets others write.
    kAllowCaching = 16
  };
};

/// Where File::SetFilePointer counts from.
struct FilePointerMoveMethod {
  /// FILE_BEGIN, FILE_CURRENT and FILE_END.
  enum Type { kBegin = 0, kCurrent = 1, kEnd = 2 };
};

/// The kind of file system a File lies on; this platform always reports kUnknown.
struct FileSystemType {
  /// kUnknown only.
  enum Type { kUnknown = 0 };
};

/// Combine flags.
///@{
inline FileAccessFlags::Type operator|(FileAccessFlags::Type inA, FileAccessFlags::Type inB) {
  return static_cast<FileAccessFlags::Type>(static_cast<int>(inA) | static_cast<int>(inB));
}
inline FileShareModeFlags::Type operator|(FileShareModeFlags::Type inA,
                                          FileShareModeFlags::Type inB) {
  return static_cast<FileShareModeFlags::Type>(static_cast<int>(inA) | static_cast<int>(inB));
}
inline FileAttributesFlags::Type operator|(FileAttributesFlags::Type inA,
                                           FileAttributesFlags::Type inB) {
  return static_cast<FileAttributesFlags::Type>(static_cast<int>(inA) | static_cast<int>(inB));
}
///@}

/// Called by File::CopyWithProgress with the fraction copied so far (0 to 1;
/// not a number for an empty file); return false to cancel the copy.
typedef bool (*FileCopyProgressCallback)(float inFraction, void* inUserData);

/// A file opened by path, read through the block cache where it can be; the
/// static members work on files by path.
///
/// A File owns one open Windows file handle. A File opened for reading
/// only (and not shared with writers, unless kAllowCaching says so) is
/// served block by block from the host's block cache when a factory is
/// installed (Foundation::SetFileBufferFactory); every other File goes
/// straight to the handle.
///
/// Threading: a File is not thread-safe: one thread uses it at a time
/// (SharedFile::ReadAt excepted). The static members are thread-safe.
///
/// Failures: operations return Result codes and never throw on a Windows
/// failure. An operation on a File that is not open shows a once-only
/// assertion and returns eFileNotFound (queries returning a value give 0);
/// Create on an open File breaks its contract, which throws. Whatever the
/// host's cache throws leaves the call that made it.
class OSTRA_API File {
 public:
  File();  ///< not open
  /// Closes the file.
  virtual ~File();
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  /// Opens or creates inPath, an absolute path (a drive letter and ':', or
  /// `\\`); a relative path gives ePathNotFound, a directory eUnknown unless
  /// inAllowDirectory. Decides whether reads go through the block cache.
  /// The File must not be open (a contract violation, which throws).
  Result Create(const UTF16String& inPath, FileAccessFlags::Type inAccess,
                FileShareModeFlags::Type inShareMode,
                FileCreateDispositionFlags::Type inDisposition,
                FileAttributesFlags::Type inAttributes, bool inAllowDirectory);
  /// Opens an existing file with every share mode. A path that does not
  /// exist (ExistsOnDisk with inExistsCheckFlag) gives -1 (0xFFFFFFFF),
  /// which is no named code: test with ResultSucceeded.
  static Result Open(const UTF16String& inPath, FileAccessFlags::Type inAccess, File& ioFile,
                     bool inExistsCheckFlag);

  /// Reads up to inCount bytes at the current position. At or past the end
  /// of the file: success with outRead 0.
  Result Read(void* outBuffer, std::uint32_t inCount, std::uint32_t& outRead);
  /// Writes at the Windows file pointer, never through the cache.
  Result Write(const void* inBuffer, std::uint32_t inCount, std::uint32_t& outWritten);
  /// Cached: moves the logical position, clamped to 0..size; kEnd counts
  /// back from the end for either sign of inDistance. Uncached: moves the
  /// Windows file pointer and reports 0 whatever happened (the Windows
  /// result is compared with -1, which it never is).
  Result SetFilePointer(std::int64_t inDistance, FilePointerMoveMethod::Type inMethod);
  /// Uncached, a failed query gives position 0 and success (see SetFilePointer).
  Result GetFilePointer(std::int64_t& outPosition) const;
  /// Writes the system's buffers for the file to the disk; the mapped
  /// system error when that fails.
  Result Flush();
  /// 0 on success, -1 (0xFFFFFFFF) on failure.
  Result SetEndOfFile();
  /// Closes the handle and unpins the blocks this File kept resident.
  void Close();
  /// Whether Create or Open succeeded and Close has not been called since.
  bool IsOpen() const;
  /// The Windows HANDLE.
  void* GetPlatformFileHandle();

  /// Fixes the block size of cached reads (at least 64 KiB when the file is
  /// opened) instead of asking the disk; keeps it below 2 MiB for big files.
  void SetBufferSize(std::uint32_t inBufferSize);
  /// Keeps the inCount most recently loaded blocks pinned in the cache;
  /// takes effect only while the debug option "Ostra.UseNonPurgeable" is "true".
  void SetMultiBufferCount(int inCount);
  /// Reads up to inBlocks blocks ahead of a cached File that Read reads
  /// sequentially (0, the default: none); kept across Close. Each is asked
  /// of the cache (GetBlock) when it is queued; the ones it lacks are read
  /// on the library's read-ahead thread and reach the cache (AddBlock) when
  /// Read gets to them. Every call into the cache stays on the thread that
  /// calls Read, so the cache sees one call at a time from this File and
  /// none from a thread of the library's. Read waits for a block still
  /// being read. A jump elsewhere stops
  /// read-ahead until two blocks are read one after the other again, so
  /// random access reads nothing extra. Blocks read ahead are held by the
  /// File until Read reaches them (at most inBlocks beyond the cache's
  /// budget) and are pinned only then, like a block Read loads itself, so
  /// SetMultiBufferCount still bounds the pins. What Read returns never
  /// changes: a block that could not be read ahead is read by Read as
  /// without read-ahead, and reports its own failure if it has one. Close
  /// waits for the block being read. Read-ahead reads through a second
  /// handle on the file, so a File that does not share reading (no
  /// kShareRead) reads without it. SharedFile::ReadAt does not read ahead.
  /// The library's BlockCache also sizes from it the ring in which it keeps
  /// the blocks of a File that streams.
  void SetReadAhead(std::uint32_t inBlocks);

  /// FILETIME values of the open handle.
  ///@{
  Result GetCreationTime(std::uint64_t& outTime) const;
  Result GetLastModificationTime(std::uint64_t& outTime) const;
  ///@}
  /// The size in bytes. A cached File keeps the first non-zero size it saw.
  std::uint64_t SizeOnDisk() const;
  /// Always FileSystemType::kUnknown.
  FileSystemType::Type GetFileSystemType() const;

  // ------------------------------------------------------ files by path

  /// Overwrites inTo. Paths are passed to Windows unchanged.
  static Result Copy(const UTF16String& inFrom, const UTF16String& inTo);
  /// Copies with progress reports; inCallback must not be null. Failures:
  /// eFileNotFound, ePathNotFound, eAccessDenied, eCanceled, and eDiskFull
  /// for every other error. Paths are passed unchanged.
  static Result CopyWithProgress(const UTF16String& inFrom, const UTF16String& inTo,
                                 FileCopyProgressCallback inCallback, void* inUserData);
  /// Moves or renames a file; an existing inTo is not replaced. The mapped
  /// system error on failure.
  static Result Move(const UTF16String& inFrom, const UTF16String& inTo);
  /// The mapped system error on failure.
  static Result Delete(const UTF16String& inPath);
  /// Replaces inTargetPath by inTempPath, keeping no backup; retries once
  /// after the "Ostra.Win.SwapTempFileRetryIntervalMs" interval. On failure
  /// the target keeps its old contents and the temporary file stays.
  static Result SwapTempFile(const UTF16String& inTempPath, const UTF16String& inTargetPath);
  /// `<folder>\<file>~<GUID>[<extension>]`, a path that does not exist yet.
  static UTF16String MakeUniqueTempPath(const UTF16String& inPath, bool inKeepExtension);
  /// FILETIME values. A relative path gives ePathNotFound; a folder given to
  /// the file variants, or a file given to the folder variant, eFileNotFound.
  ///@{
  static Result GetCreationTime(const UTF16String& inPath, std::uint64_t& outTime);
  static Result GetLastModificationTime(const UTF16String& inPath, std::uint64_t& outTime);
  static Result GetLastModificationTimeForFolder(const UTF16String& inPath, std::uint64_t& outTime);
  ///@}
  /// A folder succeeds with its attribute-data size (normally 0).
  static Result SizeOnDisk(const UTF16String& inPath, std::uint64_t& outSize);

 private:
  friend class SharedFile;
  class PrivateImpl;
  PrivateImpl* mImpl;
};

/// A File that several threads may read at once with ReadAt, which neither
/// uses nor moves a cached File's position (for an uncached File, Windows
/// itself moves the pointer of the synchronous handle to the read's end).
///
/// Threading: ReadAt may run on several threads at once; the host's cache
/// then sees concurrent GetBlock, AddBlock and pinning calls. The other
/// operations keep the File's rule: one thread at a time, and not while
/// ReadAt calls are running.
///
/// Failures: as File's; ReadAt fails with the mapped system error of a
/// failed read and with eUnknown for a negative offset, and reads past the
/// end succeed with nothing read.
class OSTRA_API SharedFile : public File {
 public:
  SharedFile();
  ~SharedFile() override;

  /// Reads up to inCount bytes at inOffset. Past the end: success, outRead 0;
  /// a negative offset: eUnknown.
  Result ReadAt(void* outBuffer, std::int64_t inOffset, std::uint32_t inCount,
                std::uint32_t& outRead);

 private:
  class PrivateImpl;
  PrivateImpl* mSharedImpl;
};

}  // namespace Ostra
