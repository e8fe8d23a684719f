// Disk queries on the volume root of a path.
#include <windows.h>
#include <shlwapi.h>

#include "DiskUtilsPrivate.h"
#include "Ostra/DiskUtils.h"
#include "Ostra/ErrorReports.h"
#include "Ostra/PathUtils.h"
#include "Ostra/Result.h"
#include "PathUtilsPrivate.h"
#include "strata/Debug.h"

namespace Ostra {
namespace DiskUtils {

namespace Internal {

UTF16String GetVolumeRootFromPath(const UTF16String& inPath) {
  if (inPath.empty()) return UTF16String();
  UTF16String form = PathUtils::ToNormalizedPath(inPath);

  // \\?\C:\...  =>  \\?\C:\ as it stands.
  if (form.size() >= 7 && PathUtils::StartsWithLongPathPrefix(form) && form[5] == L':' &&
      form[6] == L'\\')
    return form.substr(0, 7);

  // \\?\UNC\server\share\...  =>  \\?\UNC\server\share\ ; an empty server
  // name (a backslash right behind the prefix) is left to the walk.
  const std::size_t kServerStart = 8;
  if (PathUtils::StartsWith(form, L"\\\\?\\UNC\\", kServerStart)) {
    const std::size_t serverEnd = form.find(L'\\', kServerStart);
    if (serverEnd != UTF16String::npos && serverEnd != kServerStart) {
      const std::size_t shareEnd = form.find(L'\\', serverEnd + 1);
      if (shareEnd != UTF16String::npos) return form.substr(0, shareEnd + 1);
      if (form.size() > serverEnd + 1) return PathUtils::AddTrailingSlash(form);
    }
  }

  // Anything else walks up one component at a time until the shell calls
  // it a root or nothing is left to cut: C:\a\b => C:\a => C:.
  if (form != L"\\\\") {
    for (;;) {
      if (::PathIsRootW(form.c_str()) || form.size() < 2) break;
      // Skips a trailing backslash: the cut is behind the last component.
      const std::size_t cut = form.rfind(L'\\', form.size() - 2);
      if (cut == UTF16String::npos) break;
      form.erase(cut);
      if (form == L"\\\\") break;
    }
  }
  return PathUtils::AddTrailingSlash(form);
}

}  // namespace Internal

Result GetEfficientDiskBufferSizeFromPath(const UTF16String& inPath, std::uint32_t& outBufferSize) {
  const UTF16String root = Internal::GetVolumeRootFromPath(inPath);
  DWORD sectorsPerCluster = 0, bytesPerSector = 0, freeClusters = 0, totalClusters = 0;
  const BOOL succeeded = ::GetDiskFreeSpaceW(root.c_str(), &sectorsPerCluster, &bytesPerSector,
                                             &freeClusters, &totalClusters);
  const DWORD error = succeeded ? ERROR_SUCCESS : ::GetLastError();
  // The sector size, not the cluster size: unbuffered I/O is aligned to it.
  outBufferSize = Internal::EfficientBufferSizeFromSectorSize(succeeded ? bytesPerSector : 0);
  if (succeeded) return kSuccess;
  STRATA_TRACE("Ostra:WinDiskUtils", 7,
               "GetDiskFreeSpaceW failed with error: "
                   << strata::string::UTF16toStdString(Win32ErrorCodeToMessage(error)));
  return Win::SystemErrorToOstraResult(error);
}

std::uint64_t GetFreeSpaceFromPath(const UTF16String& inPath) {
  const UTF16String root = Internal::GetVolumeRootFromPath(inPath);
  // The bytes available to the caller, which honours disk quotas, rather
  // than the volume's total free bytes. A failure reads as a full disk.
  ULARGE_INTEGER available;
  if (!::GetDiskFreeSpaceExW(root.c_str(), &available, nullptr, nullptr)) return 0;
  return available.QuadPart;
}

Result GetMaxFileSize(const UTF16String& inPath, std::uint64_t& outMaxSize) {
  const UTF16String root = Internal::GetVolumeRootFromPath(inPath);
  ULARGE_INTEGER available;
  if (!::GetDiskFreeSpaceExW(root.c_str(), &available, nullptr, nullptr)) {
    const Result result = Win::SystemErrorToOstraResult(::GetLastError());
    if (!strata::ResultSucceeded(result)) return result;
    outMaxSize = 0;
    return kSuccess;
  }
  const std::uint64_t freeBytes = available.QuadPart;
  // Only a volume with more free space than a FAT file can hold needs its
  // file system asked.
  if (freeBytes <= 0xFFFFFFFFull) {
    outMaxSize = freeBytes;
    return kSuccess;
  }
  wchar_t fileSystemName[256] = {};
  if (!::GetVolumeInformationW(root.c_str(), nullptr, 0, nullptr, nullptr, nullptr, fileSystemName,
                               256))
    return Win::SystemErrorToOstraResult(::GetLastError());
  outMaxSize = Internal::CapFileSizeForFileSystem(freeBytes, fileSystemName);
  return kSuccess;
}

}  // namespace DiskUtils
}  // namespace Ostra
