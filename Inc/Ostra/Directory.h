/// \file
/// Directories: a small value naming an existing directory, with listings
/// of what it contains, static operations on directories by path (create,
/// delete, copy, move, tree copy), and the two exceptions of the listings.
#pragma once

#include <memory>
#include <vector>

#include <boost/function.hpp>

#include "Ostra/OstraConfig.h"
#include "strata/Config.h"

namespace Ostra {

/// Thrown by Directory::ConstructDirectory for a path that is not an
/// existing directory.
///
/// Its message is "Directory object cannot construct with this path." It
/// is a plain value, raised on the thread that made the call and safe to
/// copy to another; catch it as strata::config::strata_exception or
/// std::runtime_error.
class OSTRA_API eNotADirectoryPath : public strata::config::strata_exception {
 public:
  eNotADirectoryPath();
};

/// Thrown by the listings and IsDirectoryEmpty once the directory (or,
/// during a recursive listing, one of its subdirectories) is gone.
///
/// Its message is "Directory no longer exists."; the entries found before
/// it was raised are lost with the listing. Raised on the thread that made
/// the call; a plain value, safe to copy to another thread.
class OSTRA_API eDirectoryNoLongerValid : public strata::config::strata_exception {
 public:
  eDirectoryNoLongerValid();
};

/// An existing directory by its path, as given, with listings of what it
/// contains; the static members work on directories by path.
///
/// A Directory keeps its path exactly as given. Listings walk the tree with
/// the system's find calls in post-order (a directory after its contents),
/// honour a limit counted over every level, and stop as soon as the cancel
/// function returns true.
///
/// Threading: no locking. Distinct objects may be used on different
/// threads, two listings of one directory may run at once, and the cancel
/// function runs on the listing's thread.
///
/// Failures: ConstructDirectory throws eNotADirectoryPath; the listings and
/// IsDirectoryEmpty throw eDirectoryNoLongerValid once the directory, or
/// one below it during a recursive listing, is gone. The static operations
/// return Result codes and never throw.
class OSTRA_API Directory {
 public:
  /// Returns true to stop a listing; the entries found so far are kept.
  typedef boost::function<bool()> CancelFunction;

  /// Throws eNotADirectoryPath unless the path is an existing directory.
  static Directory ConstructDirectory(const UTF16String& inPath);

  /// Copies name the same directory.
  ///@{
  Directory(const Directory& inOther);
  Directory& operator=(const Directory& inOther);
  ///@}
  ~Directory();

  /// The path exactly as given when constructed.
  UTF16String AsString() const;
  /// Whether the path names an existing directory; false for an empty path
  /// and on any failure.
  static bool IsDirectory(const UTF16String& inPath);
  /// Whether the directory holds nothing; throws eDirectoryNoLongerValid
  /// once it is gone.
  bool IsDirectoryEmpty() const;
  /// Whether a hidden probe file can be created and written here (it is
  /// deleted when closed). Any failure answers false.
  bool IsDirectoryWriteable() const;

  /// Every entry. inLimit counts files and directories together over all
  /// levels (0xFFFFFFFF: no limit, 0: nothing); entries of one directory
  /// keep the system's order, and a directory follows its contents.
  void GetContainedPaths(std::vector<UTF16String>& outPaths, bool inRecursive,
                         unsigned int inLimit, CancelFunction inCancel) const;
  /// Files only; the limit still counts directories, so fewer files than
  /// the limit may come back.
  void GetContainedFilePaths(std::vector<UTF16String>& outPaths, bool inRecursive,
                             unsigned int inLimit, CancelFunction inCancel) const;
  /// Entries whose extension is inFilterExtension, given with its dot
  /// (".txt"; ASCII letters match regardless of case). Directories named
  /// like files match too. An empty filter breaks the input contract.
  void GetContainedFilePaths(const UTF16String& inFilterExtension,
                             std::vector<UTF16String>& outPaths, bool inRecursive,
                             unsigned int inLimit, CancelFunction inCancel) const;
  /// The entries of GetContainedPaths, split into files and directories.
  void GetContainedFileAndDirectoryPaths(std::vector<UTF16String>& outFiles,
                                         std::vector<Directory>& outDirectories,
                                         bool inRecursive, unsigned int inLimit,
                                         CancelFunction inCancel) const;

  /// Creates the directory and its missing parents; an existing directory is
  /// success, an empty path eUnknown. The bool is accepted and ignored.
  static Result CreateOnDisk(const UTF16String& inPath, bool inCreateParents);
  /// Removes an empty directory.
  static Result Delete(const UTF16String& inPath);
  /// Deletes everything in the directory, then the directory.
  static Result DeleteNotEmpty(const UTF16String& inPath);
  /// Copies (moves) the source's contents into the destination through the
  /// shell. Long-path forms (`\\?\...`), empty paths and paths holding a NUL
  /// are refused with ePathNotFound, as by DeleteNotEmpty; any failure of
  /// the shell is eUnknown. A move then deletes whatever is left
  /// in the source; the source directory itself stays.
  ///@{
  static Result Copy(const UTF16String& inSource, const UTF16String& inDestination);
  static Result Move(const UTF16String& inSource, const UTF16String& inDestination);
  ///@}
  /// Copies every file of the source tree to the same relative place under
  /// the destination, file by file. Files that cannot be copied are passed
  /// over silently; empty directories are not reproduced. eFileNotFound for
  /// a missing source (or any exception on the way), else the destination's
  /// creation failure, else kSuccess.
  static Result CopyContents(const UTF16String& inSource, const UTF16String& inDestination);

 private:
  class PrivateImpl;
  /// No check: listings build values straight from the paths they find.
  explicit Directory(const UTF16String& inPath);

  std::unique_ptr<PrivateImpl> mImpl;
};

namespace PathUtils {

/// Whether the path cannot be written: a directory by creating a probe file
/// in it, anything else by its read-only attribute. A path that cannot be
/// read counts as read-only (a missing file is read-only); empty and
/// relative paths are not.
OSTRA_API bool IsReadOnly(const UTF16String& inPath);

}  // namespace PathUtils
}  // namespace Ostra
