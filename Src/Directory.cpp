// The portable half of Directory: the value, the listings built on the
// scanner, and the tree copy file by file.
#include "Ostra/Directory.h"

#include <algorithm>
#include <exception>

#include "DirectoryPrivate.h"
#include "Ostra/File.h"
#include "Ostra/PathUtils.h"
#include "Ostra/Result.h"
#include "strata/Debug.h"
#include "strata/FileSupport.h"

namespace Ostra {

namespace {

const char kNotADirectoryMessage[] = "Directory object cannot construct with this path.";
const char kNoLongerValidMessage[] = "Directory no longer exists.";

wchar_t FoldAscii(wchar_t inChar) {
  return (inChar >= L'A' && inChar <= L'Z') ? static_cast<wchar_t>(inChar - L'A' + L'a') : inChar;
}

}  // namespace

eNotADirectoryPath::eNotADirectoryPath()
    : strata::config::strata_exception(strata::config::ErrorLevel::kError, kNotADirectoryMessage,
                                       strata::string::StdToUTF16String(kNotADirectoryMessage)) {}

eDirectoryNoLongerValid::eDirectoryNoLongerValid()
    : strata::config::strata_exception(strata::config::ErrorLevel::kError, kNoLongerValidMessage,
                                       strata::string::StdToUTF16String(kNoLongerValidMessage)) {}

namespace Internal {

bool ExtensionMatchesFilter(const UTF16String& inEntry, const UTF16String& inFilterExtension) {
  const UTF16String extension = PathUtils::GetExtensionPart(inEntry);
  if (extension.size() != inFilterExtension.size()) return false;
  for (std::size_t i = 0; i < extension.size(); ++i)
    if (FoldAscii(extension[i]) != FoldAscii(inFilterExtension[i])) return false;
  return true;
}

}  // namespace Internal

// -------------------------------------------------------------- the value

Directory::Directory(const UTF16String& inPath) : mImpl(new PrivateImpl(inPath)) {}
Directory::Directory(const Directory& inOther) : mImpl(new PrivateImpl(inOther.mImpl->mPath)) {}
Directory& Directory::operator=(const Directory& inOther) {
  mImpl->mPath = inOther.mImpl->mPath;
  return *this;
}
Directory::~Directory() = default;

Directory Directory::ConstructDirectory(const UTF16String& inPath) {
  if (!PathUtils::IsDirectory(inPath)) throw eNotADirectoryPath();
  return Directory(inPath);
}

UTF16String Directory::AsString() const { return mImpl->mPath; }

bool Directory::IsDirectory(const UTF16String& inPath) { return PathUtils::IsDirectory(inPath); }

bool Directory::IsDirectoryEmpty() const {
  if (!PathUtils::IsDirectory(mImpl->mPath)) throw eDirectoryNoLongerValid();
  return PathUtils::IsDirectoryEmpty(mImpl->mPath);
}

// ------------------------------------------------------------- listings

void Directory::GetContainedPaths(std::vector<UTF16String>& outPaths, bool inRecursive,
                                  unsigned int inLimit, CancelFunction inCancel) const {
  if (!PathUtils::IsDirectory(mImpl->mPath)) throw eDirectoryNoLongerValid();
  outPaths.clear();
  unsigned int count = 0;
  PrivateImpl::Scan(mImpl->mPath, outPaths, inRecursive, inLimit, count, UTF16String(), inCancel);
}

void Directory::GetContainedFileAndDirectoryPaths(std::vector<UTF16String>& outFiles,
                                                  std::vector<Directory>& outDirectories,
                                                  bool inRecursive, unsigned int inLimit,
                                                  CancelFunction inCancel) const {
  outFiles.clear();
  outDirectories.clear();
  if (PathUtils::IsDirectoryEmpty(mImpl->mPath)) return;
  std::vector<UTF16String> entries;
  GetContainedPaths(entries, inRecursive, inLimit, inCancel);
  for (const UTF16String& entry : entries) {
    if (PathUtils::IsDirectory(entry))
      outDirectories.push_back(Directory(entry));
    else
      outFiles.push_back(entry);
  }
}

void Directory::GetContainedFilePaths(std::vector<UTF16String>& outPaths, bool inRecursive,
                                      unsigned int inLimit, CancelFunction inCancel) const {
  std::vector<Directory> directories;
  GetContainedFileAndDirectoryPaths(outPaths, directories, inRecursive, inLimit, inCancel);
}

void Directory::GetContainedFilePaths(const UTF16String& inFilterExtension,
                                      std::vector<UTF16String>& outPaths, bool inRecursive,
                                      unsigned int inLimit, CancelFunction inCancel) const {
  STRATA_INPUT_CONTRACT(!inFilterExtension.empty());
  outPaths.clear();
  std::vector<UTF16String> entries;
  unsigned int count = 0;
  PrivateImpl::Scan(mImpl->mPath, entries, inRecursive, inLimit, count, inFilterExtension,
                    inCancel);
  // Entries are not checked for being files: a directory named x.txt
  // matches ".txt" as well.
  for (const UTF16String& entry : entries)
    if (Internal::ExtensionMatchesFilter(entry, inFilterExtension)) outPaths.push_back(entry);
}

// ------------------------------------------------ operations on the disk

Result Directory::DeleteNotEmpty(const UTF16String& inPath) {
  const Result result =
      PrivateImpl::RunShellOperation(PrivateImpl::ShellOperation::kDelete, inPath, UTF16String());
  if (!strata::ResultSucceeded(result)) return result;
  return Delete(inPath);
}

Result Directory::Copy(const UTF16String& inSource, const UTF16String& inDestination) {
  return PrivateImpl::RunShellOperation(PrivateImpl::ShellOperation::kCopy, inSource,
                                        inDestination);
}

Result Directory::Move(const UTF16String& inSource, const UTF16String& inDestination) {
  // Refused forms are refused before anything is moved or deleted.
  if (PrivateImpl::IsRefusedByShell(inSource) || PrivateImpl::IsRefusedByShell(inDestination))
    return ePathNotFound;
  // The move's own result is not reported: what counts is that the source
  // is emptied of whatever the move left behind.
  PrivateImpl::RunShellOperation(PrivateImpl::ShellOperation::kMove, inSource, inDestination);
  return PrivateImpl::RunShellOperation(PrivateImpl::ShellOperation::kDelete, inSource,
                                        UTF16String());
}

Result Directory::CopyContents(const UTF16String& inSource, const UTF16String& inDestination) {
  if (!PathUtils::ExistsOnDisk(inSource, false) || !PathUtils::IsDirectory(inSource))
    return eFileNotFound;
  try {
    const Result created = CreateOnDisk(inDestination, true);
    if (!strata::ResultSucceeded(created) && created != eFileAlreadyExists) return created;

    const strata::filesupport::Dir source(inSource, strata::filesupport::StorageType::kFileSystem);
    const UTF16String sourcePath = source.FullPath();
    const UTF16String destinationPath =
        strata::filesupport::Dir(inDestination, strata::filesupport::StorageType::kFileSystem)
            .FullPath();
    for (strata::filesupport::RecursiveFileIterator file(
             source, false, strata::filesupport::RecursiveFileIterator::CancelFunction(),
             UTF16String(), strata::filesupport::RecursiveFileIterator::FileFilter());
         file != strata::filesupport::RecursiveFileIterator(); ++file) {
      const UTF16String filePath = file->FullPath();
      UTF16String relative = filePath.substr(std::min(sourcePath.size(), filePath.size()));
      relative.erase(0, relative.find_first_not_of(L'\\'));
      if (relative.empty()) continue;
      const UTF16String target = destinationPath + L"\\" + relative;
      const std::size_t lastSlash = relative.rfind(L'\\');
      if (lastSlash != UTF16String::npos)
        CreateOnDisk(destinationPath + L"\\" + relative.substr(0, lastSlash), true);
      // A file that cannot be copied (locked, say) does not stop the rest.
      File::Copy(filePath, target);
    }
  } catch (...) {
    return eFileNotFound;
  }
  return kSuccess;
}

}  // namespace Ostra
