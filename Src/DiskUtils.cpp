// The portable steps of the disk queries.
#include "Ostra/DiskUtils.h"

#include "DiskUtilsPrivate.h"

namespace Ostra {
namespace DiskUtils {

namespace Internal {

std::uint32_t EfficientBufferSizeFromSectorSize(std::uint32_t inBytesPerSector) {
  if (inBytesPerSector == 0) return 0x1000;
  // Fill every bit below the highest one, then step to the next power.
  std::uint32_t size = inBytesPerSector - 1;
  size |= size >> 1;
  size |= size >> 2;
  size |= size >> 4;
  size |= size >> 8;
  size |= size >> 16;
  return size + 1;
}

std::uint64_t CapFileSizeForFileSystem(std::uint64_t inFreeBytes,
                                       const UTF16String& inFileSystemName) {
  // FAT stores file sizes in 32 bits.
  const std::uint64_t kMaxFatFileSize = 0xFFFFFFFFull;
  if (inFileSystemName.size() >= 3 && inFileSystemName.compare(0, 3, L"FAT") == 0)
    return inFreeBytes < kMaxFatFileSize ? inFreeBytes : kMaxFatFileSize;
  return inFreeBytes;
}

}  // namespace Internal

UTF16String MakeDiskSpaceString(std::uint64_t inBytes) {
  return strata::string::NumberToMemoryString(inBytes, 2, false);
}

}  // namespace DiskUtils
}  // namespace Ostra
