/// \file
/// Questions about the volume a path lies on. Each function first reduces
/// the path to the root of its volume (`C:\a\b.txt` => `C:\`, `\\srv\share\x` =>
/// `\\srv\share\`), so the path may name a file or folder that does not exist
/// yet as long as the volume does. Nothing is opened but the volume root.
/// All functions are thread-safe.
#pragma once

#include <cstdint>

#include "Ostra/OstraConfig.h"

namespace Ostra {
namespace DiskUtils {

/// The size that reads and writes on the volume should be a multiple of:
/// its sector size rounded up to a power of two (4096 when the volume
/// reports 0), never its cluster size. outBufferSize is meaningful only on
/// success.
OSTRA_API Result GetEfficientDiskBufferSizeFromPath(const UTF16String& inPath,
                                                    std::uint32_t& outBufferSize);
/// Bytes the calling user may still write to the volume (disk quotas
/// honoured). 0 means a full disk or a failure.
OSTRA_API std::uint64_t GetFreeSpaceFromPath(const UTF16String& inPath);
/// The largest file that fits on the volume now: the free space, capped at
/// 0xFFFFFFFF on FAT volumes. On failure outMaxSize is left untouched.
OSTRA_API Result GetMaxFileSize(const UTF16String& inPath, std::uint64_t& outMaxSize);
/// A byte count as a memory size with two decimals: "1.50 GB".
OSTRA_API UTF16String MakeDiskSpaceString(std::uint64_t inBytes);

}  // namespace DiskUtils
}  // namespace Ostra
