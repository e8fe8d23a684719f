// The state of a Directory and the steps its portable and Windows halves
// share. Internal to the library.
#pragma once

#include <vector>

#include "Ostra/Directory.h"
#include "strata/Impl.h"

namespace Ostra {

class Directory::PrivateImpl : public strata::Impl {
 public:
  explicit PrivateImpl(const UTF16String& inPath) : mPath(inPath) {}

  // The scanner behind every listing: post-order, one counter shared by all
  // levels, the filter used as a search pattern only when not recursive,
  // and the cancel function asked after each next step at every level.
  static void Scan(const UTF16String& inPath, std::vector<UTF16String>& ioPaths,
                   bool inRecursive, unsigned int inLimit, unsigned int& ioCount,
                   const UTF16String& inFilterExtension, const CancelFunction& inCancel);

  // Whether the shell operation refuses the path (with ePathNotFound)
  // before anything on disk is touched.
  static bool IsRefusedByShell(const UTF16String& inPath);

  // The shell's operations on a directory's contents.
  enum class ShellOperation { kMove = 1, kCopy = 2, kDelete = 3 };
  static Result RunShellOperation(ShellOperation inOperation, const UTF16String& inSource,
                                  const UTF16String& inDestination);

  // A Directory without the existence check.
  static Directory Make(const UTF16String& inPath) { return Directory(inPath); }

  UTF16String mPath;
};

namespace Internal {

// Whether the entry's extension (with its dot) equals the filter, ASCII
// letters folded to lower case and every other character exact.
bool ExtensionMatchesFilter(const UTF16String& inEntry, const UTF16String& inFilterExtension);

}  // namespace Internal
}  // namespace Ostra
