/// \file
/// File-system support of the core library: a directory named by its
/// absolute path, a file entry, and an iterator over every file of a
/// directory tree.
///
/// Paths are handed out in the caller's absolute form (no long-path prefix
/// added); the system calls receive the long form, so trees deeper than the
/// classic 260-character limit are walked too. Objects are values owned by
/// their caller; distinct objects may be used from different threads.
#pragma once

#include <functional>
#include <memory>

#include "strata/Impl.h"
#include "strata/String.h"

namespace strata {
namespace filesupport {

/// Where a directory lives. Only the local file system is known.
struct StorageType {
  /// kFileSystem only.
  enum Type { kFileSystem = 0 };
};

/// One file found on disk, by its absolute path.
///
/// A value owned by its caller: distinct objects may be used from
/// different threads. Failures: none; the path is taken as given and not
/// checked.
class STRATA_API File {
 public:
  File();  ///< an empty path
  /// The path as given; nothing is checked.
  explicit File(const UTF16String& inFullPath);
  /// Copies are independent values.
  ///@{
  File(const File& inOther);
  File& operator=(const File& inOther);
  ///@}
  ~File();

  /// The file's absolute path.
  UTF16String FullPath() const;

 private:
  class PrivateImpl;
  std::unique_ptr<PrivateImpl> mImpl;
};

/// A directory named by its absolute path. Building one does not touch the
/// directory itself, so it may be missing.
///
/// A value owned by its caller: distinct objects may be used from
/// different threads. Failures: an empty path, or one the system cannot
/// make absolute, raises config::strata_exception.
class STRATA_API Dir {
 public:
  /// inPath made absolute; raises as described above.
  Dir(const UTF16String& inPath, StorageType::Type inStorageType);
  /// Copies are independent values.
  ///@{
  Dir(const Dir& inOther);
  Dir& operator=(const Dir& inOther);
  ///@}
  ~Dir();

  /// The absolute path without a trailing separator ("C:" for a drive root).
  UTF16String FullPath() const;
  StorageType::Type GetStorageType() const;  ///< as constructed

 private:
  class PrivateImpl;
  std::unique_ptr<PrivateImpl> mImpl;
};

/// Visits every file (never a directory) below a directory, at every depth,
/// in the order the system lists them; a default-built iterator is the end.
/// Movable, not copyable.
///
/// Threading: one thread at a time; the cancel and filter functions run on
/// it. Failures: a directory that cannot be listed, or vanishes during the
/// walk, is passed over; nothing throws.
class STRATA_API RecursiveFileIterator {
 public:
  /// true stops the walk: the iterator becomes the end.
  typedef std::function<bool()> CancelFunction;
  /// false leaves the file out of the walk.
  typedef std::function<bool(const File&)> FileFilter;

  RecursiveFileIterator();
  /// inFollowReparsePoints descends into junctions and linked directories
  /// (which may form cycles); inPattern ("*.wav") selects files by name, and
  /// empty means every file. Empty functions are not called.
  RecursiveFileIterator(const Dir& inDir, bool inFollowReparsePoints,
                        CancelFunction inCancel, const UTF16String& inPattern,
                        FileFilter inFilter);
  /// Takes over the other's walk; the other becomes the end.
  ///@{
  RecursiveFileIterator(RecursiveFileIterator&& ioOther) noexcept;
  RecursiveFileIterator& operator=(RecursiveFileIterator&& ioOther) noexcept;
  ///@}
  RecursiveFileIterator(const RecursiveFileIterator&) = delete;
  RecursiveFileIterator& operator=(const RecursiveFileIterator&) = delete;
  ~RecursiveFileIterator();

  /// The current file; only valid before the end.
  ///@{
  const File& operator*() const;
  const File* operator->() const;
  ///@}
  /// Moves to the next file, or to the end.
  RecursiveFileIterator& operator++();

  /// Iterators are equal when both are at the end (or are the same object).
  ///@{
  bool operator==(const RecursiveFileIterator& inOther) const;
  bool operator!=(const RecursiveFileIterator& inOther) const { return !(*this == inOther); }
  ///@}

 private:
  class PrivateImpl;
  std::unique_ptr<PrivateImpl> mImpl;
};

}  // namespace filesupport
}  // namespace strata
