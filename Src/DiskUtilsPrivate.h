// Steps of the disk queries, exported only so that the library's tests can
// check them on inputs no test machine has (network shares, FAT volumes,
// odd sector sizes). Not part of the public interface.
#pragma once

#include <cstdint>

#include "Ostra/OstraConfig.h"

namespace Ostra {
namespace DiskUtils {
namespace Internal {

// The root of the volume a path lies on, in normal form and ending in '\':
// \\?\D:\x\y => \\?\D:\ ; \\?\UNC\srv\share\x => \\?\UNC\srv\share\ ;
// "" => "". Only the text is looked at; nothing is opened.
OSTRA_API UTF16String GetVolumeRootFromPath(const UTF16String& inPath);

// A sector size rounded up to a power of two; 0 gives 4096.
OSTRA_API std::uint32_t EfficientBufferSizeFromSectorSize(std::uint32_t inBytesPerSector);

// The largest file a volume with inFreeBytes free can take: capped at
// 0xFFFFFFFF when its file system is a FAT ("FAT", "FAT16", "FAT32").
OSTRA_API std::uint64_t CapFileSizeForFileSystem(std::uint64_t inFreeBytes,
                                                 const UTF16String& inFileSystemName);

}  // namespace Internal
}  // namespace DiskUtils
}  // namespace Ostra
