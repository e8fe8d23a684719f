// The Windows half of Directory: the find-based scanner, the writability
// probe, the shell's operations on contents, creation and removal.
#include <windows.h>
#include <shellapi.h>
#include <shlobj.h>

#include "DirectoryPrivate.h"
#include "Ostra/Directory.h"
#include "Ostra/PathUtils.h"
#include "Ostra/Result.h"
#include "ScopedHandle.h"
#include "strata/Utility.h"

namespace Ostra {

namespace {

const unsigned int kNoLimit = 0xFFFFFFFFu;

bool IsDotEntry(const wchar_t* inName) {
  return (inName[0] == L'.' && inName[1] == 0) ||
         (inName[0] == L'.' && inName[1] == L'.' && inName[2] == 0);
}

}  // namespace

// ---------------------------------------------------------------- scanner

void Directory::PrivateImpl::Scan(const UTF16String& inPath, std::vector<UTF16String>& ioPaths,
                                  bool inRecursive, unsigned int inLimit, unsigned int& ioCount,
                                  const UTF16String& inFilterExtension,
                                  const CancelFunction& inCancel) {
  const UTF16String prefix = PathUtils::AddTrailingSlash(inPath);
  // A recursive scan lists everything so that subdirectories are found;
  // the filter then only narrows what the caller keeps.
  UTF16String pattern = prefix + L"*";
  if (!inRecursive && !inFilterExtension.empty() && inFilterExtension != L"*")
    pattern += inFilterExtension;

  // The path as the caller stored it, not its normal form.
  WIN32_FIND_DATAW entry;
  Win::ScopedFindHandle find(::FindFirstFileW(pattern.c_str(), &entry));
  // The listing itself answers whether the directory is empty (only the
  // dot entries come back), so the separate emptiness query is asked only
  // when the listing fails: a vanished directory, also a subdirectory met
  // during a recursive scan, throws; any other failure ends this level.
  // One listing per directory instead of three keeps deep trees cheap.
  if (!find.IsValid()) {
    Make(inPath).IsDirectoryEmpty();
    return;
  }

  while (inLimit == kNoLimit || ioCount < inLimit) {
    if (IsDotEntry(entry.cFileName)) {
      // Not an entry of the listing: no cancel check is owed for it.
      if (!::FindNextFileW(find.Get(), &entry)) break;
      continue;
    }
    const UTF16String path = prefix + entry.cFileName;
    if (inRecursive && entry.dwFileAttributes != INVALID_FILE_ATTRIBUTES &&
        (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
      Scan(path, ioPaths, inRecursive, inLimit, ioCount, inFilterExtension, inCancel);
    if (inLimit == kNoLimit || ioCount < inLimit) {
      ++ioCount;
      ioPaths.push_back(path);
    }
    const bool more = ::FindNextFileW(find.Get(), &entry) != FALSE;
    if (!inCancel.empty() && inCancel()) return;
    if (!more) break;
  }
}

// --------------------------------------------------------- writability

bool Directory::IsDirectoryWriteable() const {
  const UTF16String probe = PathUtils::ToNormalizedPath(
      PathUtils::AddTrailingSlash(mImpl->mPath) +
      strata::utility::Guid::CreateUnique().AsString());
  // Delete-on-close and hidden: the probe never outlives this call, even
  // when the process dies between the write and the close.
  Win::ScopedHandle file(::CreateFileW(probe.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE,
                                       FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                                       FILE_FLAG_DELETE_ON_CLOSE | FILE_ATTRIBUTE_HIDDEN,
                                       nullptr));
  if (!file.IsValid()) return false;
  const char byte = 'X';
  DWORD written = 0;
  return ::WriteFile(file.Get(), &byte, 1, &written, nullptr) && written == 1;
}

// --------------------------------------------------- the shell operation

bool Directory::PrivateImpl::IsRefusedByShell(const UTF16String& inPath) {
  // The shell cannot take long-path forms. Its path lists are ended by NULs,
  // so a NUL inside a path would add paths of its own, and an empty path
  // would make "*.*" act on the current directory.
  return inPath.empty() || inPath.find(L'\0') != UTF16String::npos ||
         PathUtils::IsNormalizedPath(inPath);
}

// Runs without an owner window and without FOF_SILENT or FOF_NOERRORUI, so
// an interactive session sees the shell's progress and error boxes. An
// unattended process does not hang on them: the shell's error boxes are
// modal message boxes that return at once when no desktop can be shown, and
// the operation itself reports through its return value. Checked headless
// under Wine: copy, move and delete complete, and a failure comes back as
// a non-zero return, without any environment or extra flag.
Result Directory::PrivateImpl::RunShellOperation(ShellOperation inOperation,
                                                 const UTF16String& inSource,
                                                 const UTF16String& inDestination) {
  static_assert(static_cast<int>(ShellOperation::kMove) == FO_MOVE &&
                    static_cast<int>(ShellOperation::kCopy) == FO_COPY &&
                    static_cast<int>(ShellOperation::kDelete) == FO_DELETE,
                "shell operation codes");
  if (IsRefusedByShell(inSource)) return ePathNotFound;
  UTF16String from = PathUtils::AddTrailingSlash(inSource) + L"*.*";
  from.push_back(L'\0');
  from.push_back(L'\0');

  UTF16String to;
  if (inOperation != ShellOperation::kDelete) {
    if (IsRefusedByShell(inDestination)) return ePathNotFound;
    to = inDestination;
    to.push_back(L'\0');
    to.push_back(L'\0');
  }

  SHFILEOPSTRUCTW operation = {};
  operation.hwnd = nullptr;
  operation.wFunc = static_cast<UINT>(inOperation);
  operation.pFrom = from.c_str();
  operation.pTo = to.empty() ? nullptr : to.c_str();
  operation.fFlags = FOF_NOCONFIRMATION | FOF_SIMPLEPROGRESS | FOF_NOCONFIRMMKDIR;  // 0x310
  return ::SHFileOperationW(&operation) == 0 ? kSuccess : eUnknown;
}

// --------------------------------------------------- create and delete

Result Directory::CreateOnDisk(const UTF16String& inPath, bool /*inCreateParents*/) {
  if (inPath.empty()) return eUnknown;
  const UTF16String path = PathUtils::ToNormalizedPath(inPath);
  const HRESULT result = ::SHPathPrepareForWriteW(nullptr, nullptr, path.c_str(), SHPPFW_DIRCREATE);
  if (SUCCEEDED(result)) return kSuccess;
  // The shell creates nothing beyond its classic limit, even in the long
  // form; such paths are created level by level instead.
  if (path.size() >= static_cast<std::size_t>(MAX_PATH) && PathUtils::PreparePathForWrite(inPath))
    return kSuccess;
  return Win::SystemErrorToOstraResult(static_cast<unsigned long>(result));
}

Result Directory::Delete(const UTF16String& inPath) {
  if (!::RemoveDirectoryW(PathUtils::ToNormalizedPath(inPath).c_str()))
    return Win::SystemErrorToOstraResult(::GetLastError());
  return kSuccess;
}

// ----------------------------------------------------------- read-only

namespace PathUtils {

bool IsReadOnly(const UTF16String& inPath) {
  if (inPath.empty() || !IsWinAPIAcceptablePath(inPath)) return false;
  if (PathUtils::IsDirectory(inPath)) {
    try {
      return !Directory::ConstructDirectory(inPath).IsDirectoryWriteable();
    } catch (const eNotADirectoryPath&) {
      // Removed since the check: answer for what is there now.
    }
  }

  UTF16String path;
  if (IsNormalizedPath(inPath)) {
    path = inPath;
    if (!path.empty() && path.back() == L'\\') path.pop_back();
  } else {
    path = ToNormalizedPath(inPath);
  }
  WIN32_FILE_ATTRIBUTE_DATA attributes;
  // A path that cannot be read counts as read-only, deliberately: a caller
  // asking before writing must not be told to go ahead.
  if (!::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &attributes)) return true;
  return (attributes.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
}

}  // namespace PathUtils
}  // namespace Ostra
