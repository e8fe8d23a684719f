// The half of the path family that asks the system: the shell's path
// functions, queries of paths on disk and shell display names.
#include <windows.h>
#include <shlobj.h>
#include <shlwapi.h>

#include <algorithm>
#include <cwchar>
#include <ios>
#include <ostream>
#include <vector>

#include "DiskUtilsPrivate.h"
#include "Ostra/DiskUtils.h"
#include "Ostra/PathUtils.h"
#include "PathUtilsPrivate.h"
#include "ScopedHandle.h"
#include "strata/Debug.h"
#include "strata/Utility.h"

namespace Ostra {
namespace PathUtils {

namespace {

bool HasEmbeddedNul(const UTF16String& inPath) { return inPath.find(L'\0') != UTF16String::npos; }

// The normal form of a path for a file-system call, or empty when the
// system cannot take it: a relative path, or one that the call would
// silently cut short and so answer for another path (an embedded NUL, or
// more characters than the system's limit).
UTF16String ToQueryablePath(const UTF16String& inPath) {
  if (inPath.empty() || HasEmbeddedNul(inPath)) return UTF16String();
  UTF16String normalized = ToNormalizedPath(inPath);
  if (!IsWinAPIAcceptablePath(normalized) || normalized.size() > kSystemMaxPathLength)
    return UTF16String();
  return normalized;
}

bool GetAttributes(const UTF16String& inNormalizedPath, DWORD& outAttributes) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!::GetFileAttributesExW(inNormalizedPath.c_str(), GetFileExInfoStandard, &data)) return false;
  outAttributes = data.dwFileAttributes;
  return outAttributes != INVALID_FILE_ATTRIBUTES;
}

bool IsDotOrDotDot(const wchar_t* inName) {
  return inName[0] == L'.' && (inName[1] == L'\0' || (inName[1] == L'.' && inName[2] == L'\0'));
}

// The shell's output buffers; the longest path its emptiness test takes
// (it appends "\*.*" in a buffer of the same size); and the limit of the
// folders it creates (room is kept for an 8.3 file name).
const std::size_t kShellMaxPath = MAX_PATH;
const std::size_t kShellEmptinessMaxPath = MAX_PATH - 5;
const std::size_t kShellMaxDirectoryPath = MAX_PATH - 12;

// PathIsDirectoryEmptyW's rules for paths too long for it: a directory
// whose listing works and shows nothing but "." and "..".
bool IsLongDirectoryEmpty(const UTF16String& inNormalizedPath) {
  DWORD attributes = 0;
  if (!GetAttributes(inNormalizedPath, attributes) || !(attributes & FILE_ATTRIBUTE_DIRECTORY))
    return false;
  WIN32_FIND_DATAW entry;
  Ostra::Win::ScopedFindHandle find(
      ::FindFirstFileW(AddTrailingSlash(inNormalizedPath).append(1, L'*').c_str(), &entry));
  if (!find.IsValid()) return false;
  do {
    if (!IsDotOrDotDot(entry.cFileName)) return false;
  } while (::FindNextFileW(find.Get(), &entry));
  return true;
}

// Whether PathRelativePathToW answers for inFrom and inTo within its
// MAX_PATH buffers. It copies both inputs into such buffers (cutting them
// short), and writes its "..\" steps into the output before it checks any
// length, so the longest answer the inputs allow must fit: three
// characters for every component of inFrom, then inTo. Below three
// characters its prefix rule reads past the end of the inputs. Where it
// cannot answer, RelativeDirectoryPath does, within the same 260-character
// limit on the answer.
bool ShellCanRelate(const wchar_t* inFrom, const wchar_t* inTo) {
  const std::size_t fromLength = std::wcslen(inFrom), toLength = std::wcslen(inTo);
  const std::size_t fromComponents = std::count(inFrom, inFrom + fromLength, L'\\') + 1;
  return fromLength >= 3 && toLength >= 3 && fromLength < kShellMaxPath &&
         toLength < kShellMaxPath && 3 * fromComponents + toLength < kShellMaxPath;
}

// ------------------------------------------------------------ display names

template <class T>
class ComRef {
 public:
  ComRef() = default;
  ~ComRef() {
    if (mObject) mObject->Release();
  }
  ComRef(const ComRef&) = delete;
  ComRef& operator=(const ComRef&) = delete;
  T* Get() const { return mObject; }
  T* operator->() const { return mObject; }
  T** Receive() { return &mObject; }

 private:
  T* mObject = nullptr;
};

// An item-ID list allocated by the shell, freed with the shell's allocator.
class ScopedItemIdList {
 public:
  explicit ScopedItemIdList(IMalloc* inAllocator) : mAllocator(inAllocator) {}
  ~ScopedItemIdList() {
    if (mList) mAllocator->Free(mList);
  }
  ScopedItemIdList(const ScopedItemIdList&) = delete;
  ScopedItemIdList& operator=(const ScopedItemIdList&) = delete;
  LPITEMIDLIST Get() const { return mList; }
  LPITEMIDLIST* Receive() { return &mList; }

 private:
  IMalloc* mAllocator;
  LPITEMIDLIST mList = nullptr;
};

class ScopedCoTaskText {
 public:
  ScopedCoTaskText() = default;
  ~ScopedCoTaskText() { ::CoTaskMemFree(mText); }
  ScopedCoTaskText(const ScopedCoTaskText&) = delete;
  ScopedCoTaskText& operator=(const ScopedCoTaskText&) = delete;
  const wchar_t* Get() const { return mText; }
  LPWSTR* Receive() { return &mText; }

 private:
  LPWSTR mText = nullptr;
};

// The last item of a parsed item-ID list (the list is never empty when
// parsing succeeded, but an empty one yields itself).
LPCITEMIDLIST LastItem(LPCITEMIDLIST inList) {
  LPCITEMIDLIST last = inList;
  for (LPCITEMIDLIST item = inList; item->mkid.cb != 0;
       item = reinterpret_cast<LPCITEMIDLIST>(reinterpret_cast<const BYTE*>(item) + item->mkid.cb))
    last = item;
  return last;
}

// Asks the shell for the in-folder display name of the last component of
// inPath. COM must already be initialised; every object taken here is
// released before returning, on failure too.
HRESULT QueryShellDisplayName(const UTF16String& inPath, UTF16String& outName,
                              const char*& outFailedStep) {
  ComRef<IMalloc> allocator;
  HRESULT result = ::SHGetMalloc(allocator.Receive());
  if (FAILED(result)) {
    outFailedStep = "SHGetMalloc";
    return result;
  }
  ComRef<IShellFolder> desktop;
  result = ::SHGetDesktopFolder(desktop.Receive());
  if (FAILED(result) || !desktop.Get()) {
    outFailedStep = "SHGetDesktopFolder";
    return FAILED(result) ? result : E_FAIL;
  }

  ScopedItemIdList items(allocator.Get());
  UTF16String displayName(inPath);  // ParseDisplayName wants writable text
  result = desktop->ParseDisplayName(nullptr, nullptr, &displayName[0], nullptr, items.Receive(),
                                     nullptr);
  if (FAILED(result)) {
    outFailedStep = "ParseDisplayName";
    return result;
  }

  STRRET name;
  const LPCITEMIDLIST last = LastItem(items.Get());
  result = desktop->GetDisplayNameOf(last, SHGDN_INFOLDER, &name);
  if (FAILED(result)) {
    outFailedStep = "GetDisplayNameOf";
    return result;
  }
  ScopedCoTaskText text;
  result = ::StrRetToStrW(&name, last, text.Receive());
  if (FAILED(result)) {
    outFailedStep = "StrRetToStr";
    return result;
  }
  outName = text.Get() ? text.Get() : L"";
  return S_OK;
}

// The display text of the last component of ioPath; ioPath is shortened
// to its parent (cleared when nothing is left above the component).
UTF16String LeafDisplayStep(UTF16String& ioPath) {
  const UTF16String copy = ioPath;
  const std::size_t lastSlash = copy.rfind(L'\\');
  if (copy.size() > kShellMaxPath) {
    // Beyond the shell's reach: the plain text of the component.
    if (lastSlash == UTF16String::npos || copy.find(L'\\') == copy.size() - 1) return copy;
    ioPath.erase(lastSlash);
    return copy.substr(lastSlash + 1);
  }
  // A drive (C:), a server share (\\server\share) and a bare name are
  // leaves of their own.
  if (copy.size() < 4 ||
      (StartsWith(copy, L"\\\\", 2) && std::count(copy.begin(), copy.end(), L'\\') < 4) ||
      lastSlash == UTF16String::npos) {
    ioPath.clear();
    return copy;
  }
  UTF16String leaf = copy.substr(lastSlash + 1);
  ioPath.erase(lastSlash);

  HRESULT result = ::CoInitialize(nullptr);
  const char* failedStep = "CoInitialize";
  if (SUCCEEDED(result)) {
    UTF16String name;
    result = QueryShellDisplayName(copy, name, failedStep);
    if (SUCCEEDED(result)) {
      ::CoUninitialize();
      return name;
    }
  }
  // Deliberately no CoUninitialize after a failure, even of a later step:
  // the thread is left with COM as the failure found it.
  STRATA_TRACE("Ostra.PathUtils", 2,
               "Failure HRESULT:" << std::hex << static_cast<unsigned long>(result) << " during "
                                  << failedStep << std::endl);
  return leaf;
}

}  // namespace

// ---------------------------------------------------- shell path functions

namespace Shell {

bool Combine(const wchar_t* inDirectory, const wchar_t* inFile, UTF16String& outCombined) {
  // The shell copies an input into a MAX_PATH buffer, cutting a longer one
  // short, and may then answer for that other path: the model answers
  // wherever an input is that long.
  if ((inDirectory && std::wcslen(inDirectory) >= kShellMaxPath) ||
      (inFile && std::wcslen(inFile) >= kShellMaxPath))
    return Internal::CombinedPath(inDirectory, inFile, outCombined);
  // Room for the longest join two such inputs allow, so that no version of
  // the shell can write past it; an answer beyond MAX_PATH is a failure.
  wchar_t combined[2 * kShellMaxPath] = {};
  if (!::PathCombineW(combined, inDirectory, inFile)) return false;
  const std::size_t length = std::wcslen(combined);
  if (length >= kShellMaxPath) return false;
  outCombined.assign(combined, length);
  return true;
}

const wchar_t* FindNextComponent(const wchar_t* inPath) { return ::PathFindNextComponentW(inPath); }

bool RelateDirectories(const wchar_t* inFrom, const wchar_t* inTo, UTF16String& outRelative) {
  if (!ShellCanRelate(inFrom, inTo))
    return Internal::RelativeDirectoryPath(inFrom, inTo, outRelative);
  wchar_t relative[kShellMaxPath] = {};
  if (!::PathRelativePathToW(relative, inFrom, FILE_ATTRIBUTE_DIRECTORY, inTo,
                             FILE_ATTRIBUTE_DIRECTORY))
    return false;
  outRelative = relative;
  return true;
}

}  // namespace Shell

// ---------------------------------------------------------- queries on disk

bool ExistsOnDisk(const UTF16String& inPath, bool inUseFind) {
  UTF16String path = ToQueryablePath(inPath);
  if (path.empty()) return false;
  if (inUseFind) {
    // A trailing backslash asks for the directory's listing, so an empty
    // drive root (no "." entry) reads as missing.
    if (path.back() == L'\\') path += L'*';
    WIN32_FIND_DATAW entry;
    const Ostra::Win::ScopedFindHandle find(::FindFirstFileW(path.c_str(), &entry));
    return find.IsValid();
  }
  DWORD attributes = 0;
  return GetAttributes(path, attributes);
}

bool IsDirectory(const UTF16String& inPath) {
  const UTF16String path = ToQueryablePath(inPath);
  DWORD attributes = 0;
  return !path.empty() && GetAttributes(path, attributes) &&
         (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool IsDirectoryEmpty(const UTF16String& inPath) {
  if (inPath.empty()) return true;  // "nothing" counts as an empty directory
  const UTF16String path = ToQueryablePath(inPath);
  if (path.empty()) return false;
  if (path.size() <= kShellEmptinessMaxPath) return ::PathIsDirectoryEmptyW(path.c_str()) != FALSE;
  // The shell answers "not empty" for anything longer than its buffer.
  return IsLongDirectoryEmpty(path);
}

UTF16String GetTempDirectory() {
  const DWORD kBufferLength = 512;
  wchar_t buffer[kBufferLength + 1] = {};
  const DWORD length = ::GetTempPathW(kBufferLength, buffer);
  // Deliberately no second try with a larger buffer: a temporary folder of
  // more than 512 characters counts as none, and callers treat empty so.
  if (length > kBufferLength) return UTF16String();
  return UTF16String(buffer, std::wcslen(buffer));
}

unsigned long long GetFreeDriveSpace(const UTF16String& inPath) {
  return DiskUtils::GetFreeSpaceFromPath(inPath);
}

bool PreparePathForWrite(const UTF16String& inPath) {
  if (!IsWinAPIAcceptablePath(inPath) || HasEmbeddedNul(inPath) ||
      inPath.size() > kSystemMaxPathLength)
    return false;
  // The caller's text, not the normal form: the shell asks for removable
  // media by the path the user knows.
  if (inPath.size() < kShellMaxDirectoryPath)
    return ::SHPathPrepareForWriteW(nullptr, nullptr, inPath.c_str(), SHPPFW_DIRCREATE) == S_OK;
  // The shell creates no folder beyond its limit (it stops half way);
  // longer paths are created level by level in their normal form.
  const UTF16String path = RemoveTrailingSlash(ToNormalizedPath(inPath));
  const std::size_t rootLength = DiskUtils::Internal::GetVolumeRootFromPath(path).size();
  for (std::size_t slash = path.find(L'\\', rootLength); slash != UTF16String::npos;
       slash = path.find(L'\\', slash + 1))
    ::CreateDirectoryW(path.substr(0, slash).c_str(), nullptr);  // existing levels fail here
  ::CreateDirectoryW(path.c_str(), nullptr);
  DWORD attributes = 0;
  return GetAttributes(path, attributes) && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

void FilterHiddenFiles(std::vector<UTF16String>& ioPaths) {
  const auto isHidden = [](const UTF16String& inPath) {
    UTF16String name;
    SplitPath(inPath, nullptr, nullptr, &name, nullptr);
    return (!name.empty() && name[0] == L'.') || strata::utility::FileUtils::IsHidden(inPath);
  };
  ioPaths.erase(std::remove_if(ioPaths.begin(), ioPaths.end(), isHidden), ioPaths.end());
}

UTF16String GetDisplayStringFromPath(const UTF16String& inPath) {
  if (inPath.empty() || IsDriveRoot(inPath) || !StartsWithLongPathPrefix(inPath)) return inPath;
  UTF16String path = Win::StripUNC(inPath);
  if (!path.empty() && path.back() == L'\\') path.pop_back();
  if (StartsWith(path, L"\\\\", 2)) return path;  // a network share

  switch (::GetDriveTypeW(GetFullDirectoryPart(path).c_str())) {
    case DRIVE_REMOVABLE:
    case DRIVE_FIXED:
    case DRIVE_CDROM:
    case DRIVE_RAMDISK:
      break;
    default:  // unknown, no root directory, remote
      return path;
  }
  UTF16String display;
  for (bool first = true; !path.empty(); first = false) {
    const std::size_t before = path.size();
    const UTF16String leaf = LeafDisplayStep(path);
    display = first ? leaf : leaf + L'\\' + display;
    if (path.size() >= before) break;  // a step that cannot shorten the path ends the walk
  }
  return display;
}

UTF16String GetLeafDisplayStringFromPath(const UTF16String& inPath) {
  if (inPath.empty() || IsDriveRoot(inPath) || !StartsWithLongPathPrefix(inPath)) return inPath;
  UTF16String path = Win::StripUNC(inPath);
  return LeafDisplayStep(path);
}

}  // namespace PathUtils
}  // namespace Ostra
